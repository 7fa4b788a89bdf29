#include "agent/Server.h"

#include <poll.h>
#include <unistd.h>

#include <exception>
#include <memory>
#include <utility>

#include "Zin/NboAttrLogFd.h"
#include "agent/Program.h"

namespace agent {

using Zin::NboAttrLog::Address;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Fd;

namespace {

class Peer final : public Loop::Source, Zin::NboAttrLog::Observer {
  public:
    Peer(Fd fd, Exports& exports) : stream_(std::move(fd), exports, *this) {}

    int fd() const override { return stream_.fd(); }
    short wanted() const override { return stream_.wanted(); }
    bool ready(short events) override {
        try {
            if (stream_.ready(events)) return true;
            if (const auto* const error = stream_.connection().error()) {
                say("a mirror went: " + error->text);
            }
        } catch (const std::exception& failure) {
            say(std::string("a mirror is cut off: ") + failure.what());
        }
        return false;
    }

  private:
    Zin::NboAttrLog::FdStream stream_;
};

class Listener final : public Loop::Source {
  public:
    Listener(const Address& address, Exports& exports, Loop& loop)
        : exports_(exports), loop_(loop), path_(address.path), fd_(listenAt(address)) {}
    ~Listener() override {
        if (!path_.empty()) ::unlink(path_.c_str());
    }

    int fd() const override { return fd_.get(); }
    short wanted() const override { return paused_ ? short{0} : short{POLLIN}; }
    bool ready(short) override {
        try {
            bool refused = false;
            Fd peer = acceptFrom(fd_, refused);
            if (refused) say("a mirror of another user was refused");
            if (peer) loop_.add(std::make_unique<Peer>(std::move(peer), exports_));
        } catch (const std::exception& failure) {
            // No descriptor or no memory: those who wait are served when there is.
            say(std::string("no mirror is accepted for a second: ") + failure.what());
            paused_ = true;
            loop_.after(std::chrono::seconds(1), [this] { paused_ = false; });
        }
        return true;
    }

  private:
    Exports& exports_;
    Loop& loop_;
    std::string path_;
    bool paused_ = false;
    Fd fd_;
};

}  // namespace

void serveAt(const std::string& address, Exports& exports, Loop& loop) {
    loop.add(std::make_unique<Listener>(Address::fromText(address), exports, loop));
}

}  // namespace agent
