// The tool as its users meet it: processes, sockets, signals. Nothing here waits for a time to
// pass; deadlines end a test that hangs.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/EventLoop.h"
#include "corra/Process.h"
#include "corra/Watch.h"
#include "tools/Captures.h"
#include "tools/ProcessFixture.h"
#include "tools/Tool.h"

namespace {

using corra::Fd;
using corra::test::captureDirectory;
using corra::test::holdConfiguration;
using corra::test::Tool;
using Lines = std::vector<std::string>;

void import(const std::string& moment, corra::Roots& roots) {
    const corra::TemporaryDirectory capture;
    holdConfiguration(moment, capture.path());
    corra::importCapture(capture.path(), roots);
}

std::string dumpOf(const std::string& moment) {
    corra::Roots roots;
    import(moment, roots);
    std::string text;
    for (const auto& [name, root] : roots) text += corra::dump(std::string(name.view()), *root);
    return text;
}

// What a mirror prints while the first capture is replaced by the second, in some order.
Lines differences(const std::string& before, const std::string& after) {
    Lines lines;
    const corra::TreeWatcher::Listener listener = [&](const corra::Change& change) {
        lines.push_back(textOf(change));
    };
    corra::Roots roots;
    import(before, roots);
    std::list<corra::TreeWatcher> watchers;
    for (const auto& [name, root] : roots) {
        watchers.emplace_back(std::string(name.view()), *root, listener);
    }
    lines.clear();
    import(after, roots);
    std::sort(lines.begin(), lines.end());
    return lines;
}

Lines sorted(Lines lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

constexpr const char* t0 = "t0-alone";
constexpr const char* t3 = "t3-pe3-back-reconfigured";

using ProcessTest = corra::test::ServedCapture;

TEST_F(ProcessTest, AMirrorHearsOfAnUpdateWhateverOthersDo) {
    Tool server = served();
    struct stat status {};
    ASSERT_EQ(0, ::stat(socket_.c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 0777U);

    Tool mirror({"mirror", address_, "--watch", "--states", "--quiet"});
    EXPECT_EQ(dumpOf(t0), mirror.toldUntilSynced().state);

    // One mirror stands still, one peer never says a word, others talk nonsense until they are
    // cut off.
    Tool stopped({"mirror", address_, "--watch", "--states", "--quiet"});
    stopped.toldUntilSynced();
    stopped.kill(SIGSTOP);
    const Fd silent = connected();
    std::mt19937 random(7);
    for (int i = 0; i < 20; ++i) {
        const Fd garbage = connected();
        std::array<unsigned char, 4096> bytes;
        for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random());
        (void)!::send(garbage.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        ::shutdown(garbage.get(), SHUT_WR);
        pollfd polled{garbage.get(), POLLIN, 0};
        do {
            ASSERT_EQ(1, ::poll(&polled, 1, 60000));
        } while (::recv(garbage.get(), bytes.data(), bytes.size(), 0) > 0);
    }

    holdCapture("t3-pe3-back-reconfigured");
    server.kill(SIGHUP);
    Lines told;
    const Lines expected = differences(t0, t3);
    while (told.size() < expected.size()) told.push_back(mirror.line().value_or("no line"));
    EXPECT_EQ(expected, sorted(told));
    EXPECT_EQ(dumpOf(t3), stateOnce());
    stopped.kill(SIGCONT);
    told.clear();
    while (told.size() < expected.size()) told.push_back(stopped.line().value_or("no line"));
    EXPECT_EQ(expected, sorted(told));

    server.kill(SIGTERM);
    EXPECT_EQ(0, server.wait());
    EXPECT_FALSE(std::filesystem::exists(socket_));
    mirror.kill(SIGTERM);
    EXPECT_EQ(0, mirror.wait());
    EXPECT_EQ("", mirror.rest());
}

TEST_F(ProcessTest, AMirrorIsResynchronisedWhenTheServerComesBack) {
    Tool first = served();
    Tool mirror({"mirror", address_, "--watch", "--states", "--quiet"});
    mirror.toldUntilSynced();
    first.kill(SIGKILL);
    EXPECT_EQ(-1, first.wait());
    EXPECT_TRUE(std::filesystem::exists(socket_)) << "nobody could remove it";

    holdCapture("t3-pe3-back-reconfigured");
    Tool second = served();
    const Tool::Told told = mirror.toldUntilSynced();
    EXPECT_EQ(dumpOf(t3), told.state);
    EXPECT_EQ(differences(t0, t3), sorted(told.changes));
}

// Roots come and go with the files of the capture.
TEST_F(ProcessTest, AllThatACaptureSaysIsServed) {
    Tool server = served();
    for (const char* const moment : {"t1-converged", "t3-pe3-back-reconfigured"}) {
        std::filesystem::copy(
            captureDirectory(moment),
            capture_,
            std::filesystem::copy_options::recursive |
                std::filesystem::copy_options::overwrite_existing);
        server.kill(SIGHUP);
        Tool same({"diff", address_, captureDirectory(moment)});
        EXPECT_EQ("", same.rest());
        EXPECT_EQ(0, same.wait());
    }
    std::filesystem::remove(capture_ + "/l2vpn-atom-binding.json");
    server.kill(SIGHUP);
    EXPECT_EQ(dumpOf(t3), stateOnce());
}

TEST_F(ProcessTest, ABadCaptureLeavesTheServedStateAsItIs) {
    Tool server = served();
    std::ofstream(capture_ + "/running-config.txt") << "l2vpn A type vpls\n mtu many\nexit\n";
    // Taken before any mirror that comes after it.
    server.kill(SIGHUP);
    EXPECT_EQ(dumpOf(t0), stateOnce());
    server.kill(SIGINT);
    EXPECT_EQ(0, server.wait());
    const std::string said = errors();
    EXPECT_NE(
        said.npos,
        said.find("running-config.txt:2:6: expected a number from 512 to 65535, found "
                  "\"many\"; nothing is "
                  "changed\n"))
        << said;
}

TEST_F(ProcessTest, JsonIsJson) {
    Tool server = served();
    Tool once({"mirror", address_, "--once", "--json"});
    const auto facts = nlohmann::json::parse(once.rest());
    const std::string state = dumpOf(t0);
    EXPECT_EQ(
        std::count(state.begin(), state.end(), '\n'),
        static_cast<std::ptrdiff_t>(facts.size()));
    EXPECT_EQ("Pseudowire::Config", facts[0]["type"]);
}

TEST_F(ProcessTest, TheDemoEndsEqual) {
    Tool demo({"demo", std::string(CORRA_SOURCE_DIR) + "/examples/pe1", "--all"});
    const std::string shown = demo.rest();
    EXPECT_EQ(0, demo.wait());
    EXPECT_TRUE(shown.ends_with("\ndemo: 4 captures, owner and mirror equal after each\n"))
        << shown;
    for (const std::string& change : differences(t0, t3)) {
        EXPECT_NE(shown.npos, shown.find('\n' + change + '\n')) << change;
    }
}

// Whenever it is interrupted.
TEST_F(ProcessTest, TheDemoLeavesNothingBehind) {
    const corra::TemporaryDirectory place;
    ::setenv("TMPDIR", place.path().c_str(), 1);
    for (int i = 0; i < 5; ++i) {
        Tool demo({"demo", std::string(CORRA_SOURCE_DIR) + "/examples/pe1", "--all"});
        for (int line = 0; line < i * 40 + 1; ++line) demo.line();
        demo.kill(SIGINT);
        // One that waits for its reader does not look at signals.
        demo.rest();
        EXPECT_NE(1, demo.wait()) << "owner and mirror differ";
        EXPECT_TRUE(std::filesystem::is_empty(place.path()));
    }
    ::unsetenv("TMPDIR");
}

TEST_F(ProcessTest, ExitStatusesTellFailureFromTrouble) {
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string said;
    } cases[] = {
        {{"--version"}, 0, ""},
        {{"mirror", "--help"}, 0, ""},
        {{}, 2, "corra: A subcommand is required; try --help\n"},
        {{"mirror"}, 2, "corra: ADDRESS is required; try --help\n"},
        {{"mirror", "udp:9"},
         2,
         "corra: expected unix:PATH or tcp:PORT at position 0, found \"udp:9\"\n"},
        {{"mirror", address_, "--once"},
         1,
         "corra: " + address_ + ": No such file or directory\n"},
        {{"serve", socket_, "--listen", address_},
         2,
         "corra: " + socket_ + ": No such file or directory\n"},
        {{"demo", capture_},
         2,
         "corra: " + capture_ + ": no directory with a running-config.txt in it\n"},
    };
    for (const auto& each : cases) {
        Tool tool(each.arguments);
        EXPECT_EQ(each.status, tool.wait()) << testing::PrintToString(each.arguments);
        EXPECT_EQ(each.said, errors());
    }
}

// Two servers at one address: the second one must not disturb the first.
TEST_F(ProcessTest, AnAddressIsServedOnce) {
    Tool server = served();
    Tool second({"serve", capture_, "--listen", address_});
    EXPECT_EQ(2, second.wait());
    EXPECT_EQ(dumpOf(t0), stateOnce());
}

}  // namespace
