// Keeps a mirror in an epoll loop: connects to the owner, hears of changes, and when the owner
// dies keeps what it has and connects again. The owner is a child process that serves an MTU;
// it is killed as soon as that was heard, and another one takes its place.

#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/epoll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "Pseudowire/PseudowireConfig.h"
#include "Zin/NboAttrLogFd.h"

using namespace Zin::NboAttrLog;

namespace {

constexpr int retryMilliseconds = 20;

class MirrorLoop {
  public:
    MirrorLoop(Address address, const Zin::Ptr<Pseudowire::Config>& mirror)
        : address_(std::move(address)), mirror_(mirror) {}

    // Called when the owner goes, however it went.
    void onLost(std::function<void()> call) { onLost_ = std::move(call); }
    void end() { ended_ = true; }

    void run() {
        while (!ended_) {
            if (!stream_) connect();
            if (stream_) control(EPOLL_CTL_MOD);  // it may want something else now
            epoll_event event{};
            const int patience = stream_ ? -1 : retryMilliseconds;
            if (::epoll_wait(epoll_.get(), &event, 1, patience) != 1) continue;
            if (stream_->ready(static_cast<short>(event.events))) continue;
            stream_.reset();  // closes the descriptor, which leaves the loop with it
            onLost_();
        }
    }

  private:
    void connect() {
        try {
            stream_.emplace(connectTo(address_), exports_, observer_);
        } catch (const std::system_error&) {
            return;  // nobody serves yet
        }
        stream_->connection().mount("pw", mirror_);
        control(EPOLL_CTL_ADD);
    }
    // The events of epoll(7) have the numbers of those of poll(2).
    void control(int operation) {
        epoll_event event{};
        event.events = static_cast<std::uint32_t>(stream_->wanted());
        ::epoll_ctl(epoll_.get(), operation, stream_->fd(), &event);
    }

    const Address address_;
    const Zin::Ptr<Pseudowire::Config> mirror_;
    const Fd epoll_{::epoll_create1(EPOLL_CLOEXEC)};
    Exports exports_;  // nothing is offered to the owner
    Observer observer_;
    std::optional<FdStream> stream_;
    std::function<void()> onLost_;
    bool ended_ = false;
};

// Serves one mirror for as long as both live.
[[noreturn]] void own(const Address& address, std::uint32_t mtu) {
    const auto config = Pseudowire::configFactory("pw");
    config->mtuIs(mtu);
    Exports exports;
    exports.exportIs("pw", config);
    Observer observer;

    const Fd listening = listenAt(address);
    const auto awaited = [](int fd, short wanted) {
        pollfd polled{fd, wanted, 0};
        ::poll(&polled, 1, -1);
        return polled.revents;
    };
    awaited(listening.get(), POLLIN);
    bool refused = false;
    FdStream stream(acceptFrom(listening, refused), exports, observer);
    while (stream.ready(awaited(stream.fd(), stream.wanted()))) {
    }
    ::_exit(0);
}

pid_t ownerProcess(const Address& address, std::uint32_t mtu) {
    std::cout.flush();
    const pid_t process = ::fork();
    if (process == 0) own(address, mtu);
    return process;
}

}  // namespace

int main() {
    std::string directory = "/tmp/mirror_loop.XXXXXX";
    if (!::mkdtemp(directory.data())) return 1;
    const auto address = Address::fromText("unix:" + directory + "/pw.sock");

    const auto mirror = Pseudowire::configFactory("pw");
    MirrorLoop loop(address, mirror);
    pid_t owner = ownerProcess(address, 1500);
    const auto onMtu = frame::attach<&Pseudowire::Config::Notifiee::onMtu>(mirror, [&] {
        std::cout << "the owner says: MTU " << mirror->mtu() << '\n';
        ::kill(owner, SIGKILL);
    });
    loop.onLost([&] {
        std::cout << "the owner is gone, the mirror keeps MTU " << mirror->mtu() << '\n';
        ::waitpid(owner, nullptr, 0);
        if (mirror->mtu() == 9000) return loop.end();
        owner = ownerProcess(address, 9000);
    });
    loop.run();

    ::unlink(address.path.c_str());
    ::rmdir(directory.c_str());
}
