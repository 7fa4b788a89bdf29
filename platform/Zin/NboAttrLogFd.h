// FdStream drives a Connection from a file descriptor inside of the caller's own event loop: it
// says which readiness it wants, and reads and writes what it can when it is ready. It never
// blocks.
//
//     for (;;) {
//         pollfd p{stream.fd(), stream.wanted(), 0};
//         poll(&p, 1, -1);
//         if (!stream.ready(p.revents)) break;   // over: stream.connection().error() says why
//     }
//
// The functions below make the sockets: Unix ones of mode 0600 for peers of the same user, and
// TCP on the loopback interface. They throw std::system_error, or Zin::Exception for a bad
// address.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Zin/Export.h"
#include "Zin/NboAttrLogConnection.h"

namespace Zin::NboAttrLog {

// Owns a file descriptor.
class ZIN_EXPORT Fd {
  public:
    Fd() = default;
    // Takes the descriptor over.
    explicit Fd(int fd) noexcept : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Fd();

    // The descriptor, or -1.
    int get() const noexcept { return fd_; }
    explicit operator bool() const noexcept { return fd_ >= 0; }

  private:
    int fd_ = -1;
};

class ZIN_EXPORT FdStream {
  public:
    // Takes the descriptor over and makes it non-blocking. REQUIRES: exports and observer
    // outlive it.
    FdStream(
        Fd fd,
        Exports& exports,
        Observer& observer,
        const Connection::Options& options = Connection::Options());

    // The descriptor, to be polled.
    int fd() const noexcept { return fd_.get(); }
    // The connection that it drives.
    Connection& connection() noexcept { return connection_; }

    // The poll(2) events that it waits for now.
    short wanted() const noexcept;
    // Reads and writes what it can; passes on what reactors throw, when it has read, and what
    // says that a value could not be sent: the stream goes on when this is called again. False
    // when the stream is over and the descriptor may be closed.
    bool ready(short events);

  private:
    void read();
    void readTo(const auto& feed);
    void write();

    Fd fd_;
    Connection connection_;
    bool broken_ = false;
    bool reading_ = false;
    std::unique_ptr<std::byte[]> buffer_;
};

// An address such as "unix:/run/pw.sock" or "tcp:7000" (the loopback interface).
struct ZIN_EXPORT Address {
    // A Unix socket, or TCP on the loopback interface.
    enum class Kind : std::uint8_t { unixSocket, loopback };
    // Which of the two members below counts.
    Kind kind = Kind::unixSocket;
    // Of a Unix socket.
    std::string path;
    // Of the loopback interface; 0 lets the system choose when listening.
    std::uint16_t port = 0;

    // Reads such a text. Throws Zin::Exception for any other.
    static Address fromText(std::string_view text);
};

// A listening, non-blocking socket. A Unix socket that nobody serves any more is replaced; one
// that is served is an error (EADDRINUSE).
ZIN_EXPORT Fd listenAt(const Address& address);
// The next peer, or none when nobody waits. A Unix peer of another user is turned away:
// `refused` is set and none returned.
ZIN_EXPORT Fd acceptFrom(const Fd& listening, bool& refused);
// A connected socket. Throws std::system_error.
ZIN_EXPORT Fd connectTo(const Address& address);
// The port on which a loopback socket listens.
ZIN_EXPORT std::uint16_t portOf(const Fd& listening);

}  // namespace Zin::NboAttrLog
