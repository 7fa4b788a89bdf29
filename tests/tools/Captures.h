// The captures of examples/, and what this program holds after it imported one.

#pragma once

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>
#include <string>

#include "Pseudowire/PseudowireConfig.h"
#include "corra/Dump.h"
#include "corra/Import.h"

namespace corra::test {

inline constexpr std::array<const char*, 4> captures{
    "t0-alone",
    "t1-converged",
    "t2-pe3-gone",
    "t3-pe3-back-reconfigured"};

inline std::string captureDirectory(const std::string& moment) {
    return CORRA_SOURCE_DIR "/examples/pe1/" + moment;
}

inline std::string captureText(const std::string& moment) {
    const std::string path = captureDirectory(moment) + "/running-config.txt";
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in) << path;
    return {std::istreambuf_iterator<char>(in), {}};
}

inline Zin::Ptr<::Pseudowire::Config> imported(const std::string& text) {
    const auto config = ::Pseudowire::configFactory("pw");
    importRouterConfig(text, "running-config.txt", *config);
    return config;
}

inline std::string dumpOf(const Zin::Ptr<::Pseudowire::Config>& config) {
    return dump("pw", *config);
}

}  // namespace corra::test
