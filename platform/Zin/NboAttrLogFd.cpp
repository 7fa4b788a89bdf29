#include "Zin/NboAttrLogFd.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <exception>
#include <optional>
#include <system_error>

namespace Zin::NboAttrLog {

namespace {

constexpr std::size_t chunk = std::size_t{64} << 10;
// Chunks that one stream reads or writes before others get their turn.
constexpr int chunksAtOnce = 16;

[[noreturn]] void throwErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

void nonBlockingIs(int fd) {
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) < 0) throwErrno("fcntl");
}

Fd newSocket(int family) {
    Fd fd(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!fd) throwErrno("socket");
    return fd;
}

struct SocketAddress {
    union {
        sockaddr any;
        sockaddr_un local;
        sockaddr_in internet;
    };
    socklen_t size;

    explicit SocketAddress(const Address& address) : local(), size(0) {
        if (address.kind == Address::Kind::unixSocket) {
            local.sun_family = AF_UNIX;
            if (address.path.empty() || address.path.size() >= sizeof local.sun_path) {
                throw Exception(
                    "unix:" + address.path + ": a path of 1 to " +
                    std::to_string(sizeof local.sun_path - 1) + " bytes was expected");
            }
            std::memcpy(local.sun_path, address.path.c_str(), address.path.size() + 1);
            size = sizeof local;
        } else {
            internet = sockaddr_in{};
            internet.sin_family = AF_INET;
            internet.sin_port = htons(address.port);
            internet.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            size = sizeof internet;
        }
    }
};

std::string textOf(const Address& address) {
    return address.kind == Address::Kind::unixSocket ? "unix:" + address.path
                                                     : "tcp:" + std::to_string(address.port);
}

// While it lives, no other process is between looking whether a path in this directory is
// served and serving it: of two that find the same stale file both would replace it. Where a
// file system has no locks, and where a stranger holds this one for long, it is done without.
class ServingLock {
  public:
    explicit ServingLock(const std::string& path)
        : directory_(::open(directoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        constexpr timespec pause{0, 10'000'000};
        constexpr int mostTries = 100;
        for (int tries = 0; directory_ && tries < mostTries; ++tries) {
            if (::flock(directory_.get(), LOCK_EX | LOCK_NB) == 0) return;
            if (errno != EWOULDBLOCK && errno != EINTR) return;
            ::nanosleep(&pause, nullptr);
        }
    }

  private:
    static std::string directoryOf(const std::string& path) {
        const std::size_t slash = path.rfind('/');
        return slash == std::string::npos ? "." : path.substr(0, slash + 1);
    }

    // Closing it ends the lock.
    Fd directory_;
};

// Removes a socket file that a server left behind when it died.
void removeStale(const Address& address, const SocketAddress& where) {
    struct stat status {};
    if (::lstat(address.path.c_str(), &status) != 0) return;
    if (!S_ISSOCK(status.st_mode)) {
        throw Exception(textOf(address) + ": there is a file that is no socket");
    }
    const Fd probe = newSocket(AF_UNIX);
    // A server that lives but accepts nobody must not hold this one up.
    nonBlockingIs(probe.get());
    if (::connect(probe.get(), &where.any, where.size) == 0 || errno == EAGAIN) {
        throw std::system_error(EADDRINUSE, std::generic_category(), textOf(address));
    }
    if (errno == ECONNREFUSED) ::unlink(address.path.c_str());
}

}  // namespace

Fd::~Fd() {
    if (fd_ >= 0) ::close(fd_);
}

// --- FdStream ---

FdStream::FdStream(
    Fd fd,
    Exports& exports,
    Observer& observer,
    const Connection::Options& options)
    : fd_(std::move(fd)),
      connection_(exports, observer, options),
      buffer_(std::make_unique_for_overwrite<std::byte[]>(chunk)) {
    nonBlockingIs(fd_.get());
}

short FdStream::wanted() const noexcept {
    short events = connection_.closed() ? short{0} : short{POLLIN};
    if (connection_.hasOutput()) events = static_cast<short>(events | POLLOUT);
    return events;
}

bool FdStream::ready(short events) {
    if ((events & (POLLIN | POLLHUP | POLLERR)) != 0) read();
    // A fault that was found here is told to the peer, if it takes that at once.
    if (!broken_) write();
    return !broken_ && !connection_.closed();
}

// What a reactor throws is passed on when all that was received has been taken: nothing but
// more bytes would call for the rest.
void FdStream::read() {
    if (reading_) return;
    reading_ = true;
    std::exception_ptr thrown;
    readTo([&](std::span<const std::byte> bytes) {
        for (;;) {
            try {
                return connection_.feed(bytes);
            } catch (...) {
                if (!thrown) thrown = std::current_exception();
                bytes = {};
            }
        }
    });
    reading_ = false;
    if (thrown) std::rethrow_exception(thrown);
}

void FdStream::readTo(const auto& feed) {
    for (int i = 0; i < chunksAtOnce && !connection_.closed(); ++i) {
        const ssize_t got = ::recv(fd_.get(), buffer_.get(), chunk, 0);
        if (got > 0) {
            feed(std::span<const std::byte>(buffer_.get(), static_cast<std::size_t>(got)));
            if (static_cast<std::size_t>(got) < chunk) return;
        } else if (got == 0) {
            connection_.feedEnd();
            broken_ = true;
            return;
        } else if (errno != EINTR) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) return;
            connection_.feedEnd();
            broken_ = true;
            return;
        }
    }
}

void FdStream::write() {
    for (int i = 0; i < chunksAtOnce; ++i) {
        const std::span<const std::byte> bytes = connection_.produce(chunk);
        if (bytes.empty()) return;
        const ssize_t sent = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            connection_.consumed(static_cast<std::size_t>(sent));
            if (static_cast<std::size_t>(sent) < bytes.size()) return;
        } else if (errno != EINTR) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) return;
            broken_ = true;
            // What the peer said before it went may say why.
            read();
            connection_.feedEnd();
            return;
        }
    }
}

// --- Sockets ---

Address Address::fromText(std::string_view text) {
    Address address;
    if (text.starts_with("unix:") && text.size() > 5) {
        address.path = text.substr(5);
        return address;
    }
    if (text.starts_with("tcp:")) {
        const std::string_view digits = text.substr(4);
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), address.port);
        if (error == std::errc() && end == digits.data() + digits.size() && !digits.empty()) {
            address.kind = Kind::loopback;
            return address;
        }
        throw TextException(4, "a port from 0 to 65535", "\"" + std::string(digits) + "\"");
    }
    throw TextException(0, "unix:PATH or tcp:PORT", "\"" + std::string(text) + "\"");
}

Fd listenAt(const Address& address) {
    const SocketAddress where(address);
    Fd fd = newSocket(where.any.sa_family);
    std::optional<ServingLock> lock;
    if (address.kind == Address::Kind::unixSocket) {
        lock.emplace(address.path);
        removeStale(address, where);
        // The mode of the socket's inode is that of the file which bind makes: no moment in
        // which somebody else could connect.
        if (::fchmod(fd.get(), S_IRUSR | S_IWUSR) != 0) throwErrno(textOf(address));
    } else {
        const int on = 1;
        ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    }
    if (::bind(fd.get(), &where.any, where.size) != 0) throwErrno(textOf(address));
    if (address.kind == Address::Kind::unixSocket &&
        ::chmod(address.path.c_str(), S_IRUSR | S_IWUSR) != 0) {
        throwErrno(textOf(address));
    }
    if (::listen(fd.get(), SOMAXCONN) != 0) throwErrno(textOf(address));
    nonBlockingIs(fd.get());
    return fd;
}

Fd acceptFrom(const Fd& listening, bool& refused) {
    refused = false;
    Fd fd(::accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!fd) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR ||
            errno == ECONNABORTED) {
            return {};
        }
        throwErrno("accept");
    }
    sockaddr_storage local{};
    socklen_t size = sizeof local;
    if (::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&local), &size) != 0) {
        throwErrno("getsockname");
    }
    if (local.ss_family == AF_UNIX) {
        ucred peer{};
        socklen_t peerSize = sizeof peer;
        if (::getsockopt(fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &peerSize) != 0 ||
            peer.uid != ::geteuid()) {
            refused = true;
            return {};
        }
    } else {
        const int on = 1;
        ::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    return fd;
}

Fd connectTo(const Address& address) {
    const SocketAddress where(address);
    Fd fd = newSocket(where.any.sa_family);
    if (::connect(fd.get(), &where.any, where.size) != 0) throwErrno(textOf(address));
    if (address.kind == Address::Kind::loopback) {
        const int on = 1;
        ::setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    return fd;
}

std::uint16_t portOf(const Fd& listening) {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    if (::getsockname(listening.get(), reinterpret_cast<sockaddr*>(&local), &size) != 0) {
        throwErrno("getsockname");
    }
    return ntohs(local.sin_port);
}

}  // namespace Zin::NboAttrLog
