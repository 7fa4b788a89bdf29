// A server of the tool with a capture of its own, in a private directory.

#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Zin/NboAttrLogFd.h"
#include "corra/EventLoop.h"
#include "corra/Process.h"
#include "tools/Captures.h"
#include "tools/Tool.h"

namespace corra::test {

// A capture of which the configuration alone is held.
inline void holdConfiguration(const std::string& moment, const std::string& capture) {
    std::filesystem::copy_file(
        captureDirectory(moment) + "/running-config.txt",
        capture + "/running-config.txt",
        std::filesystem::copy_options::overwrite_existing);
}

class ServedCapture : public testing::Test {
  protected:
    ServedCapture() {
        ::setenv("CORRA_TEST_ERRORS", (directory_.path() + "/errors").c_str(), 1);
        std::filesystem::create_directory(capture_);
        holdCapture("t0-alone");
    }

    void holdCapture(const std::string& moment) { holdConfiguration(moment, capture_); }

    Fd connected() const {
        return Zin::NboAttrLog::connectTo(Zin::NboAttrLog::Address::fromText(address_));
    }

    // A server that serves.
    Tool served() const {
        Tool server({"serve", capture_, "--listen", address_});
        waitUntilServed(address_);
        return server;
    }

    // What was said since the last call.
    std::string errors() const {
        std::ifstream in(directory_.path() + "/errors");
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        std::filesystem::resize_file(directory_.path() + "/errors", 0);
        return text;
    }

    std::string stateOnce() const {
        Tool once({"mirror", address_, "--once"});
        const std::string state = once.rest();
        EXPECT_EQ(0, once.wait());
        return state;
    }

    const corra::TemporaryDirectory directory_;
    const std::string capture_ = directory_.path() + "/capture";
    const std::string socket_ = directory_.path() + "/pw.sock";
    const std::string address_ = "unix:" + socket_;
};

}  // namespace corra::test
