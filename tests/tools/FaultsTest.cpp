// Processes that are killed, disks that are full, many mirrors at once. The moments are random;
// what must hold afterwards is not.

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/Dump.h"
#include "support/Slow.h"
#include "tools/Captures.h"
#include "tools/ProcessFixture.h"
#include "tools/Tool.h"

namespace {

using corra::Fd;
using corra::test::captureDirectory;
using corra::test::captures;
using corra::test::Tool;
using corra::test::waitUntil;

constexpr int rounds = support::isSlow ? 20 : 100;

std::string stateOf(const std::string& moment) {
    corra::Roots roots;
    corra::importCapture(captureDirectory(moment), roots);
    std::string text;
    for (const auto& [name, root] : roots) text += corra::dump(std::string(name.view()), *root);
    return text;
}

std::string contentsOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class FaultsTest : public corra::test::ServedCapture {
  protected:
    FaultsTest() {
        std::filesystem::copy(
            captureDirectory(captures[0]),
            capture_,
            std::filesystem::copy_options::recursive |
                std::filesystem::copy_options::overwrite_existing);
    }

    Tool mirroring() const {
        return Tool({"mirror", address_, "--watch", "--states", "--quiet"});
    }
    Tool importing(const std::string& moment) const {
        return Tool({"import", captureDirectory(moment), "--at", address_});
    }
    void pass() {
        constexpr int mostMicroseconds = 40'000;
        std::this_thread::sleep_for(std::chrono::microseconds(random_() % mostMicroseconds));
    }

    std::mt19937 random_{23};
};

TEST_F(FaultsTest, WhoeverIsKilledTheOthersGoOn) {
    std::map<std::string, std::string> states;
    for (const char* const moment : captures) states[moment] = stateOf(moment);
    const auto writable = [&] {
        return Tool({"serve", capture_, "--listen", address_, "--writable"});
    };
    std::optional<Tool> server(writable());
    std::optional<Tool> mirror(mirroring());
    EXPECT_EQ(states[captures[0]], mirror->toldUntilSynced().state);
    for (int round = 0; round < rounds; ++round) {
        const std::string moment = captures[random_() % captures.size()];
        SCOPED_TRACE(std::to_string(round) + ' ' + moment);
        Tool load = importing(moment);
        pass();
        switch (random_() % 3) {
            case 0:
                server->kill(SIGKILL);
                EXPECT_EQ(-1, server->wait());
                load.wait();
                server.emplace(writable());
                // It comes back by itself.
                EXPECT_EQ(states[captures[0]], mirror->toldUntilSynced().state);
                break;
            case 1:
                mirror->kill(SIGKILL);
                mirror->wait();
                EXPECT_EQ(0, load.wait());
                mirror.emplace(mirroring());
                EXPECT_EQ(states[moment], mirror->toldUntilSynced().state);
                break;
            default:
                load.kill(SIGKILL);
                load.wait();
                EXPECT_EQ(0, importing(moment).wait());
                EXPECT_EQ(states[moment], stateOnce());
        }
        if (HasFailure()) return;
    }
}

// All find the socket that a server left behind at the same moment.
TEST_F(FaultsTest, OneOfManyServersServes) {
    const std::string inUse = ": Address already in use\n";
    for (int round = 0; round < rounds / 10; ++round) {
        {
            Tool dead = served();
            dead.kill(SIGKILL);
            dead.wait();
        }
        errors();
        std::vector<Tool> servers;
        for (int i = 0; i < 6; ++i)
            servers.push_back(Tool({"serve", capture_, "--listen", address_}));
        const auto refused = [&] {
            const std::string said = contentsOf(directory_.path() + "/errors");
            std::size_t lines = 0;
            for (auto at = said.find(inUse); at != said.npos; at = said.find(inUse, at + 1)) {
                ++lines;
            }
            return lines;
        };
        waitUntil([&] { return refused() == servers.size() - 1; });
        EXPECT_EQ(stateOf(captures[0]), stateOnce());
        std::map<int, int> ended;
        for (Tool& server : servers) {
            server.kill(SIGTERM);
            ++ended[server.wait()];
        }
        EXPECT_EQ((std::map<int, int>{{0, 1}, {2, 5}}), ended);
    }
}

// A peer that asks for all and then reads nothing stands among the others.
TEST_F(FaultsTest, TwoHundredMirrorsAreServedAlike) {
    constexpr std::size_t mirrors = 200;
    Tool server = served();
    Zin::NboAttrLog::Exports none;
    struct Mirror : Zin::NboAttrLog::Observer {
        Mirror(Fd fd, Zin::NboAttrLog::Exports& none) : stream(std::move(fd), none, *this) {
            stream.connection().mount("pw", config);
        }
        void onSynced(const Zin::String&) override { synced = true; }
        void onBarrierReached(std::uint64_t) override { reached = true; }

        const Zin::Ptr<Pseudowire::Config> config = Pseudowire::configFactory("pw");
        Zin::NboAttrLog::FdStream stream;
        bool synced = false;
        bool reached = false;
    };
    std::list<Mirror> all;
    for (std::size_t i = 0; i < mirrors; ++i) all.emplace_back(connected(), none);
    Mirror deaf(connected(), none);
    while (deaf.stream.connection().hasOutput()) deaf.stream.ready(POLLOUT);
    const auto turnUntil = [&](const auto& reached) {
        const auto deadline = std::chrono::steady_clock::now() + corra::test::hangGuard;
        for (std::size_t done = 0; done < mirrors;) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::vector<pollfd> polled;
            for (Mirror& mirror : all) {
                polled.push_back({mirror.stream.fd(), mirror.stream.wanted(), 0});
            }
            ASSERT_LE(0, ::poll(polled.data(), polled.size(), 1000));
            done = 0;
            auto at = polled.begin();
            for (Mirror& mirror : all) {
                const short events = (at++)->revents;
                const bool lives = events == 0 || mirror.stream.ready(events);
                ASSERT_TRUE(lives);
                done += reached(mirror);
            }
        }
    };
    turnUntil([](const Mirror& mirror) { return mirror.synced; });
    holdCapture(captures[3]);
    server.kill(SIGHUP);
    turnUntil([](const Mirror& mirror) { return mirror.config->patch().has("eline-new"); });
    for (Mirror& mirror : all) mirror.stream.connection().barrier(1);
    turnUntil([](const Mirror& mirror) { return mirror.reached; });
    const auto expected =
        corra::test::dumpOf(corra::test::imported(corra::test::captureText(captures[3])));
    for (const Mirror& mirror : all) {
        ASSERT_EQ(expected, corra::test::dumpOf(mirror.config));
    }
}

// Whatever happens while a file is written, it holds what it held or what it was to hold.
TEST_F(FaultsTest, AnExportReplacesAFileAsAWholeOrNotAtAll) {
    const std::string file = directory_.path() + "/state.json";
    const auto arguments = [&](const std::string& moment) {
        return std::vector<std::string>{"export", "--at", captureDirectory(moment), "-o", file};
    };
    std::vector<std::string> whole;
    for (const char* const moment : captures) {
        EXPECT_EQ(0, Tool(arguments(moment)).wait());
        whole.push_back(contentsOf(file));
    }
    for (int round = 0; round < rounds / 2; ++round) {
        Tool tool(arguments(captures[random_() % captures.size()]));
        pass();
        tool.kill(SIGKILL);
        tool.wait();
        ASSERT_NE(whole.end(), std::find(whole.begin(), whole.end(), contentsOf(file)));
    }
    // A limit that all of it exceeds stands for a disk on which half of it has room.
    const std::string before = contentsOf(file);
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
        if (entry.path().extension() == ".tmp") std::filesystem::remove(entry);
    }
    errors();
    std::vector<std::string> words = arguments(captures[1]);
    words.insert(words.begin(), {"-c", R"(ulimit -f 8; exec "$0" "$@")", CORRA_TOOL});
    EXPECT_EQ(2, Tool(words, "/bin/sh").wait());
    EXPECT_EQ("corra: " + file + ": File too large\n", errors());
    EXPECT_EQ(before, contentsOf(file));
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
        EXPECT_NE(".tmp", entry.path().extension());
    }
}

}  // namespace
