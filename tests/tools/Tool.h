// Runs of the tool as its users meet it: processes of which the output is read.

#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/EventLoop.h"
#include "corra/Process.h"
#include "corra/WholeFile.h"

namespace corra::test {

inline constexpr std::chrono::seconds hangGuard(60);

// A run of the tool, or of another program, of which the standard output is read. What it says
// on standard error is appended to the file $CORRA_TEST_ERRORS.
class Tool {
  public:
    explicit Tool(
        const std::vector<std::string>& arguments,
        const std::string& program = CORRA_TOOL) {
        Pipe pipe = Pipe::make();
        std::vector<std::string> words{
            "-c",
            R"(exec "$0" "$@" 2>>"$CORRA_TEST_ERRORS")",
            program};
        words.insert(words.end(), arguments.begin(), arguments.end());
        process_ = std::make_unique<ChildProcess>("/bin/sh", words, pipe.write.get());
        output_ = std::move(pipe.read);
    }

    void kill(int signal) const { ::kill(process_->id(), signal); }
    int wait() { return process_->wait(); }

    // The next line, or nothing at the end of the output.
    std::optional<std::string> line() {
        std::string line;
        char c = 0;
        while (readable() && ::read(output_.get(), &c, 1) == 1) {
            if (c == '\n') return line;
            line += c;
        }
        return std::nullopt;
    }
    std::string rest() {
        std::string text;
        while (const auto next = line()) text += *next + '\n';
        return text;
    }

    // The lines of a watching mirror up to its next state, and the state.
    struct Told {
        std::vector<std::string> changes;
        std::string state;
    };
    Told toldUntilSynced() {
        Told told;
        for (auto next = line(); next; next = line()) {
            if (next->starts_with("= synced ")) {
                for (auto left = std::stoul(next->substr(9)); left != 0; --left) {
                    told.state += line().value_or("no line") + '\n';
                }
                return told;
            }
            told.changes.push_back(*next);
        }
        ADD_FAILURE() << "the mirror ended";
        return told;
    }

  private:
    bool readable() const {
        pollfd polled{output_.get(), POLLIN, 0};
        const int count =
            ::poll(&polled, 1, static_cast<int>(std::chrono::milliseconds(hangGuard).count()));
        EXPECT_EQ(1, count) << "nothing is printed";
        return count == 1;
    }

    std::unique_ptr<ChildProcess> process_;
    Fd output_;
};

inline void waitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + hangGuard;
    while (!condition()) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// Until somebody serves there.
inline void waitUntilServed(const std::string& address) {
    waitUntil([&] {
        try {
            Zin::NboAttrLog::connectTo(Zin::NboAttrLog::Address::fromText(address));
            return true;
        } catch (const std::exception&) {
            return false;
        }
    });
}

using Words = std::vector<std::string>;

struct Ran {
    int status;
    std::string output;
    std::string errors;
};

// Tests that run commands to their end, with files in a directory of their own.
class CommandTest : public testing::Test {
  protected:
    CommandTest() {
        ::setenv("CORRA_TEST_ERRORS", errors_.c_str(), 1);
        ::unsetenv("CORRA_AT");
    }

    Ran run(const Words& arguments) const {
        std::ofstream(errors_, std::ios::trunc).flush();
        Tool tool(arguments);
        const std::string output = tool.rest();
        const int status = tool.wait();
        return {status, output, readWholeFile(errors_)};
    }

    const TemporaryDirectory directory_;
    const std::string errors_ = directory_.path() + "/errors";
};

}  // namespace corra::test
