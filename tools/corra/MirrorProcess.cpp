#include "corra/MirrorProcess.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace corra {

using Zin::NboAttrLog::Address;
using Zin::NboAttrLog::FdStream;

class MirrorProcess::Stream final : public EventLoop::Source, Zin::NboAttrLog::Observer {
  public:
    Stream(MirrorProcess& mirror, Fd fd)
        : mirror_(mirror), stream_(std::move(fd), mirror.exports_, *this) {
        mirror_.connection_ = &stream_.connection();
    }

    int fd() const override { return stream_.fd(); }
    short wanted() const override { return stream_.wanted(); }
    bool ready(short events) override {
        if (stream_.ready(events)) return true;
        const auto* const error = stream_.connection().error();
        mirror_.fail(error ? "the mirror: " + error->text : "the mirror closed the connection");
        return false;
    }

  private:
    MirrorProcess& mirror_;
    FdStream stream_;
};

// Takes the one connection.
class MirrorProcess::Listener final : public EventLoop::Source {
  public:
    Listener(MirrorProcess& mirror, const Address& address)
        : mirror_(mirror), fd_(Zin::NboAttrLog::listenAt(address)) {}

    int fd() const override { return fd_.get(); }
    short wanted() const override { return POLLIN; }
    bool ready(short) override {
        bool refused = false;
        Fd peer = Zin::NboAttrLog::acceptFrom(fd_, refused);
        if (!peer) return true;
        mirror_.loop_.add(std::make_unique<Stream>(mirror_, std::move(peer)));
        mirror_.loop_.stop();
        return false;
    }

  private:
    MirrorProcess& mirror_;
    Fd fd_;
};

// Reads what the mirror prints, line by line.
class MirrorProcess::Output final : public EventLoop::Source {
  public:
    Output(MirrorProcess& mirror, Fd fd) : mirror_(mirror), fd_(std::move(fd)) {}

    int fd() const override { return fd_.get(); }
    short wanted() const override { return POLLIN; }
    bool ready(short) override {
        std::array<char, 16384> buffer;
        const ssize_t got = ::read(fd(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) return true;
        if (got <= 0) {
            mirror_.fail("the mirror has ended");
            return false;
        }
        for (const char c : std::string_view(buffer.data(), static_cast<std::size_t>(got))) {
            if (c == '\n') {
                mirror_.onLine(std::exchange(line_, {}));
            } else {
                line_ += c;
            }
        }
        return true;
    }

  private:
    MirrorProcess& mirror_;
    Fd fd_;
    std::string line_;
};

MirrorProcess::MirrorProcess(Zin::NboAttrLog::Exports& exports) : exports_(exports) {
    loop_.add(std::make_unique<SignalSource>(
        std::initializer_list<int>{SIGINT, SIGTERM, SIGHUP},
        [this](int signal) { fail("interrupted by signal " + std::to_string(signal)); }));
    directory_.emplace();
    const Address address = Address::fromText("unix:" + directory_->path() + "/pw.sock");
    loop_.add(std::make_unique<Listener>(*this, address));
    Pipe output = Pipe::make();
    process_ = std::make_unique<ChildProcess>(
        thisProgram(),
        std::vector<std::string>{
            "mirror",
            "unix:" + address.path,
            "--watch",
            "--once",
            "--states",
            "--quiet"},
        output.write.get());
    loop_.add(std::make_unique<Output>(*this, std::move(output.read)));
    output.write = Fd();
    run();
}

void MirrorProcess::fail(const std::string& why) {
    if (failure_.empty()) failure_ = why;
    loop_.stop();
}

void MirrorProcess::requireNoFailure() const {
    if (!failure_.empty()) throw std::runtime_error(failure_);
}

void MirrorProcess::run() {
    requireNoFailure();
    loop_.run();
    requireNoFailure();
}

MirrorProcess::Told MirrorProcess::synchronised() {
    return wait("synced");
}

MirrorProcess::Told MirrorProcess::barrier() {
    requireNoFailure();
    connection_->barrier(++lastBarrier_);
    return wait(std::to_string(lastBarrier_));
}

MirrorProcess::Told MirrorProcess::wait(const std::string& token) {
    token_ = token;
    told_ = {};
    run();
    const auto now = connection_->counters();
    told_.messages = now.messagesOut - before_.messagesOut;
    told_.bytes = now.bytesOut - before_.bytesOut;
    before_ = now;
    return std::move(told_);
}

// "= TOKEN LINES", a line of the state that follows it, or a change.
void MirrorProcess::onLine(std::string line) {
    const std::string header = "= " + token_ + ' ';
    if (linesOfState_ != 0) {
        told_.state += line + '\n';
        if (--linesOfState_ == 0) loop_.stop();
    } else if (line.starts_with("= ")) {
        const char* const end = line.data() + line.size();
        const bool expected =
            line.starts_with(header) &&
            std::from_chars(line.data() + header.size(), end, linesOfState_).ptr == end;
        if (!expected) return fail("\"" + header + "LINES\" expected, got \"" + line + '"');
        if (linesOfState_ == 0) loop_.stop();
    } else {
        told_.changes.push_back(std::move(line));
    }
}

int MirrorProcess::end() {
    // Before signals are no longer caught.
    directory_.reset();
    loop_.clear();
    return process_->wait();
}

}  // namespace corra
