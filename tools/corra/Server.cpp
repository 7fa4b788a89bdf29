#include "corra/Server.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <utility>

#include "corra/Console.h"

namespace corra {

using Zin::NboAttrLog::Address;
using Zin::NboAttrLog::FdStream;

namespace {

// The file of a Unix socket; removed in the end, unless somebody else's is there by then.
class SocketFile {
  public:
    explicit SocketFile(std::string path) : path_(std::move(path)) {
        if (path_.empty() || ::stat(path_.c_str(), &made_) != 0) path_.clear();
    }
    ~SocketFile() {
        struct stat found {};
        if (path_.empty() || ::stat(path_.c_str(), &found) != 0) return;
        if (found.st_dev == made_.st_dev && found.st_ino == made_.st_ino)
            ::unlink(path_.c_str());
    }
    SocketFile(const SocketFile&) = delete;
    SocketFile& operator=(const SocketFile&) = delete;

  private:
    std::string path_;
    struct stat made_ {};
};

std::string processOf(int fd) {
    ucred peer{};
    socklen_t size = sizeof peer;
    const bool known = ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    return known && peer.pid > 0 ? " (process " + std::to_string(peer.pid) + ')'
                                 : std::string();
}

}  // namespace

class Server::Peer final : public EventLoop::Source, Zin::NboAttrLog::Observer {
  public:
    Peer(Fd fd, Zin::NboAttrLog::Exports& exports, std::uint64_t number)
        : name_("peer " + std::to_string(number) + processOf(fd.get())),
          stream_(std::move(fd), exports, *this) {
        say(name_ + " came");
    }

    int fd() const override { return stream_.fd(); }
    short wanted() const override { return stream_.wanted(); }

    // Nothing that happens here may reach the other peers.
    bool ready(short events) override {
        try {
            if (stream_.ready(events)) return true;
            const auto* const error = stream_.connection().error();
            say(name_ + " went" + (error ? ": " + error->text : std::string()));
        } catch (const Zin::ValueCollectionDefaultKeyException& unsendable) {
            say(name_ + " is not told of all: " + unsendable.what());
            return !stream_.connection().closed();
        } catch (const std::exception& failure) {
            say(name_ + " is cut off: " + failure.what());
        }
        return false;
    }

  private:
    void onSkipped(const Zin::String& what) override {
        say(name_ + " is of another build: " + std::string(what.view()) + ", skipped");
    }

    std::string name_;
    FdStream stream_;
};

class Server::Listener final : public EventLoop::Source {
  public:
    Listener(Server& server, const Address& address)
        : server_(server), fd_(Zin::NboAttrLog::listenAt(address)), file_(address.path) {
        const bool isLoopback = address.kind == Address::Kind::loopback;
        say("listening at " + (isLoopback
                                   ? "tcp:" + std::to_string(Zin::NboAttrLog::portOf(fd_))
                                   : "unix:" + address.path));
    }

    int fd() const override { return fd_.get(); }
    short wanted() const override { return paused_ ? short{0} : short{POLLIN}; }

    bool ready(short) override {
        try {
            accept();
        } catch (const std::exception& failure) {
            // No descriptor or no memory: those who wait are served when there is.
            say(std::string("no peer is accepted for a second: ") + failure.what());
            paused_ = true;
            server_.loop_.after(std::chrono::seconds(1), [this] { paused_ = false; });
        }
        return true;
    }

  private:
    void accept() {
        bool refused = false;
        Fd peer = Zin::NboAttrLog::acceptFrom(fd_, refused);
        if (refused) say("a peer of another user was refused");
        if (!peer) return;
        server_.loop_.add(
            std::make_unique<Peer>(std::move(peer), server_.exports_, ++server_.lastPeer_));
    }

    Server& server_;
    bool paused_ = false;
    Fd fd_;
    SocketFile file_;
};

Server::Server(EventLoop& loop, Zin::NboAttrLog::Exports& exports)
    : loop_(loop), exports_(exports) {}

void Server::listenAt(const std::string& address) {
    loop_.add(std::make_unique<Listener>(*this, Address::fromText(address)));
}

}  // namespace corra
