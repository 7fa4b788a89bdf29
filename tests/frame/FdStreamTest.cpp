// Attribute-log streams over real sockets, with poll(2), in one process.

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "Zin/NboAttrLogFd.h"
#include "support/Dump.h"
#include "support/LabTypes.h"

namespace {

using namespace support;
using namespace Zin::NboAttrLog;

// A directory of its own, gone with the test.
struct Directory {
    Directory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "corraXXXXXX").string();
        if (!::mkdtemp(pattern.data())) throw std::system_error(errno, std::generic_category());
        path = pattern;
    }
    ~Directory() { std::filesystem::remove_all(path); }
    std::filesystem::path path;
};

// Polls both streams until a turn in which neither is ready. What reactors throw is counted.
int settle(FdStream& a, FdStream& b) {
    int thrown = 0;
    for (;;) {
        std::array<pollfd, 2> polls{
            pollfd{a.fd(), a.wanted(), 0},
            pollfd{b.fd(), b.wanted(), 0}};
        if (::poll(polls.data(), polls.size(), 0) <= 0) return thrown;
        bool more = true;
        for (std::size_t i = 0; i < 2; ++i) {
            try {
                if (polls[i].revents) more &= (i ? b : a).ready(polls[i].revents);
            } catch (const std::runtime_error&) {
                ++thrown;
            }
        }
        if (!more) return thrown;
    }
}

struct SocketPair {
    SocketPair() {
        int fds[2];
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) {
            throw std::system_error(errno, std::generic_category());
        }
        a = std::make_unique<FdStream>(Fd(fds[0]), exports, quiet);
        b = std::make_unique<FdStream>(Fd(fds[1]), none, quiet);
    }

    Exports exports;
    Exports none;
    Observer quiet;
    std::unique_ptr<FdStream> a;
    std::unique_ptr<FdStream> b;
};

TEST(FdStream, MirrorsMoreThanASocketHolds) {
    SocketPair pair;
    const auto owner = Lab::Bench::BenchIs("bench");
    const std::string text(1000, 'x');
    for (std::uint32_t i = 0; i < 5000; ++i) owner->readingIs(i, text);
    pair.exports.exportIs("bench", owner);
    const auto mirror = Lab::Bench::BenchIs("bench");
    pair.b->connection().mount("bench", mirror);
    EXPECT_EQ(settle(*pair.a, *pair.b), 0);
    EXPECT_EQ(difference(dump(*owner), dump(*mirror)), "");
    EXPECT_FALSE(pair.a->wanted() & POLLOUT);

    pair.b.reset();
    EXPECT_FALSE(pair.a->ready(POLLIN));
    EXPECT_TRUE(pair.a->connection().closed());
    EXPECT_EQ(pair.a->connection().error(), nullptr);
}

// Several messages come at once, and a reactor throws at the first: the others are not
// forgotten.
TEST(FdStream, AThrowingReactorKeepsNothingBack) {
    SocketPair pair;
    const auto owner = Lab::Bench::BenchIs("bench");
    pair.exports.exportIs("bench", owner);
    const auto mirror = Lab::Bench::BenchIs("bench");
    pair.b->connection().mount("bench", mirror);
    EXPECT_EQ(settle(*pair.a, *pair.b), 0);
    const auto throwing = frame::attach<&Lab::Bench::Notifiee::onScalar>(mirror, [] {});
    struct Thrower : Lab::Bench::Notifiee {
        using Notifiee::Notifiee;
        void onScalar() override { throw std::runtime_error("thrown by a reactor"); }
    } thrower(mirror);
    owner->wideIs(1000);
    owner->labelIs("x");
    owner->readingIs(1, "y");
    EXPECT_GE(settle(*pair.a, *pair.b), 1);
    EXPECT_EQ(difference(dump(*owner), dump(*mirror)), "");
}

TEST(FdStream, AFaultIsToldToThePeer) {
    SocketPair pair;
    settle(*pair.a, *pair.b);
    const char junk[] = "this is no message at all";
    ASSERT_GT(::send(pair.b->fd(), junk, sizeof junk, 0), 0);
    settle(*pair.a, *pair.b);
    settle(*pair.a, *pair.b);
    ASSERT_NE(pair.a->connection().error(), nullptr);
    EXPECT_EQ(pair.a->connection().error()->kind, StreamErrorKind::oversized);
    ASSERT_NE(pair.b->connection().error(), nullptr);
    EXPECT_EQ(pair.b->connection().error()->kind, StreamErrorKind::peerFailed);
}

TEST(UnixSockets, AreForTheirOwnerAndReplaceWhatIsStale) {
    const Directory directory;
    const Address address = Address::fromText("unix:" + (directory.path / "s").string());
    // A server that died leaves its file.
    { const Fd dead = listenAt(address); }
    ASSERT_TRUE(std::filesystem::exists(address.path));
    const Fd listening = listenAt(address);
    struct stat status {};
    ASSERT_EQ(::stat(address.path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    try {
        listenAt(address);
        ADD_FAILURE() << "a second server at the same path";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EADDRINUSE);
    }
    // What asked whether the server lives has come and gone.
    bool refused = true;
    EXPECT_TRUE(acceptFrom(listening, refused));
    EXPECT_FALSE(acceptFrom(listening, refused));
    const Fd client = connectTo(address);
    EXPECT_TRUE(acceptFrom(listening, refused));
    EXPECT_FALSE(refused);

    const Address occupied = Address::fromText("unix:" + (directory.path / "file").string());
    std::ofstream(occupied.path) << "kept";
    EXPECT_THROW(listenAt(occupied), Zin::Exception);
    EXPECT_TRUE(std::filesystem::exists(occupied.path));
}

// The file's mode is opened up here, so that only the peer's identity stands in the way.
TEST(UnixSockets, TurnAwayAPeerOfAnotherUser) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    const Directory directory;
    const Address address = Address::fromText("unix:" + (directory.path / "socket").string());
    const Fd listening = listenAt(address);
    std::filesystem::permissions(directory.path, std::filesystem::perms(0755));
    std::filesystem::permissions(address.path, std::filesystem::perms(0666));
    const pid_t stranger = ::fork();
    if (stranger == 0) {
        const bool became = ::setgid(65534) == 0 && ::setuid(65534) == 0;
        sockaddr_un where{};
        where.sun_family = AF_UNIX;
        address.path.copy(where.sun_path, sizeof where.sun_path - 1);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const bool connected =
            ::connect(fd, reinterpret_cast<const sockaddr*>(&where), sizeof where) == 0;
        char byte = 0;
        // The end of the stream tells that it was turned away.
        ::_exit(became && connected && ::recv(fd, &byte, 1, 0) == 0 ? 0 : 1);
    }
    pollfd waiting{listening.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&waiting, 1, 5000), 1);
    bool refused = false;
    EXPECT_FALSE(acceptFrom(listening, refused));
    EXPECT_TRUE(refused);
    int status = -1;
    ASSERT_EQ(::waitpid(stranger, &status, 0), stranger);
    EXPECT_EQ(status, 0);
}

TEST(LoopbackSockets, SayTheirPort) {
    const Fd listening = listenAt(Address::fromText("tcp:0"));
    Address address;
    address.kind = Address::Kind::loopback;
    address.port = portOf(listening);
    ASSERT_NE(address.port, 0);
    const Fd client = connectTo(address);
    pollfd waiting{listening.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&waiting, 1, 5000), 1);
    bool refused = true;
    EXPECT_TRUE(acceptFrom(listening, refused));
    EXPECT_FALSE(refused);
}

TEST(Addresses, SayWhatIsWrongAndWhere) {
    EXPECT_EQ(Address::fromText("unix:/run/x").path, "/run/x");
    EXPECT_EQ(Address::fromText("tcp:65535").port, 65535);
    struct Case {
        const char* text;
        std::size_t position;
    };
    for (const Case& c :
         {Case{"", 0},
          {"unix:", 0},
          {"udp:1", 0},
          {"tcp:", 4},
          {"tcp:65536", 4},
          {"tcp:-1", 4},
          {"tcp:1x", 4},
          {"tcp: 1", 4}}) {
        try {
            Address::fromText(c.text);
            ADD_FAILURE() << c.text;
        } catch (const Zin::TextException& error) {
            EXPECT_EQ(error.position(), c.position) << c.text;
        }
    }
    EXPECT_THROW(listenAt(Address::fromText("unix:" + std::string(200, 'x'))), Zin::Exception);
}

}  // namespace
