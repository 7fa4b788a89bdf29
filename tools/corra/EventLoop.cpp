#include "corra/EventLoop.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>
#include <system_error>
#include <utility>

namespace corra {

namespace {

// Where the handler writes to: all that it may touch.
volatile sig_atomic_t signalFd = -1;

void onSignal(int signal) {
    const int kept = errno;
    const auto byte = static_cast<unsigned char>(signal);
    // A full pipe holds signals enough.
    (void)!::write(signalFd, &byte, 1);
    errno = kept;
}

}  // namespace

EventLoop::Source::~Source() = default;

void EventLoop::add(std::unique_ptr<Source> source) {
    sources_.push_back(std::move(source));
}

void EventLoop::clear() {
    sources_.clear();
    timers_.clear();
}

void EventLoop::after(Clock::duration pause, std::function<void()> call) {
    timers_.push_back({Clock::now() + pause, std::move(call)});
}

int EventLoop::millisecondsToNextTimer() const {
    if (timers_.empty()) return -1;
    const auto next =
        std::min_element(timers_.begin(), timers_.end(), [](const Timer& a, const Timer& b) {
            return a.due < b.due;
        });
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next->due - Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(
        left.count(),
        0,
        std::numeric_limits<int>::max()));
}

void EventLoop::callDueTimers() {
    const auto now = Clock::now();
    for (std::size_t i = 0; i < timers_.size() && running_;) {
        if (timers_[i].due > now) {
            ++i;
            continue;
        }
        const auto call = std::move(timers_[i].call);
        timers_.erase(timers_.begin() + static_cast<std::ptrdiff_t>(i));
        call();
    }
}

void EventLoop::run() {
    running_ = true;
    std::vector<pollfd> polled;
    while (running_) {
        polled.clear();
        for (const auto& source : sources_) {
            const short wanted = source->wanted();
            // Without a wish not even a hang-up is reported.
            polled.push_back({wanted != 0 ? source->fd() : -1, wanted, 0});
        }
        const int count = ::poll(polled.data(), polled.size(), millisecondsToNextTimer());
        if (count < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        // Sources that come meanwhile stand behind those that were polled.
        for (std::size_t i = 0; count > 0 && i < polled.size() && running_; ++i) {
            if (polled[i].revents == 0) continue;
            if (!sources_[i]->ready(polled[i].revents)) sources_[i].reset();
        }
        std::erase(sources_, nullptr);
        if (running_) callDueTimers();
    }
}

SignalSource::SignalSource(std::initializer_list<int> signals, std::function<void(int)> call)
    : signals_(signals), call_(std::move(call)) {
    Pipe pipe = Pipe::make();
    for (const Fd* const end : {&pipe.read, &pipe.write}) {
        ::fcntl(end->get(), F_SETFL, ::fcntl(end->get(), F_GETFL) | O_NONBLOCK);
    }
    read_ = std::move(pipe.read);
    // The writing end stays open for a handler that is under way.
    static Fd written;
    written = std::move(pipe.write);
    signalFd = written.get();
    struct sigaction action {};
    action.sa_handler = &onSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : signals_) ::sigaction(signal, &action, nullptr);
}

SignalSource::~SignalSource() {
    for (const int signal : signals_) ::signal(signal, SIG_DFL);
}

short SignalSource::wanted() const {
    return POLLIN;
}

bool SignalSource::ready(short) {
    unsigned char signal = 0;
    while (::read(fd(), &signal, 1) == 1) call_(signal);
    return true;
}

Pipe Pipe::make() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    return {Fd(ends[0]), Fd(ends[1])};
}

}  // namespace corra
