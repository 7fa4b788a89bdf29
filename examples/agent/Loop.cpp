#include "agent/Loop.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "agent/Program.h"

namespace agent {

namespace {

constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t endAsked = 0;
volatile sig_atomic_t hangupAsked = 0;

void onSignal(int signal) {
    (signal == SIGHUP ? hangupAsked : endAsked) = 1;
}

}  // namespace

Loop::Source::~Source() = default;

Loop::Loop() {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    struct sigaction action {};
    action.sa_handler = &onSignal;
    for (const int signal : signals) {
        ::sigaddset(&blocked, signal);
        ::sigaction(signal, &action, nullptr);
    }
    // They arrive only while the loop waits, so none is missed between a look and a wait.
    ::sigprocmask(SIG_BLOCK, &blocked, &whileWaiting_);
    for (const int signal : signals) ::sigdelset(&whileWaiting_, signal);
}

Loop::~Loop() = default;

void Loop::add(std::unique_ptr<Source> source) {
    sources_.push_back(std::move(source));
}

void Loop::after(std::chrono::milliseconds pause, std::function<void()> call) {
    timers_.push_back({Clock::now() + pause, std::move(call)});
}

int Loop::run() {
    struct Clearing {
        Loop& loop;
        ~Clearing() {
            loop.sources_.clear();
            loop.timers_.clear();
        }
    } const clearing{*this};
    while (!status_) {
        const int count = wait();
        takeSignals();
        // Sources that come meanwhile stand behind those that were polled.
        for (std::size_t i = 0; count > 0 && i < polled_.size() && !status_; ++i) {
            if (polled_[i].revents == 0) continue;
            if (!sources_[i]->ready(polled_[i].revents)) sources_[i].reset();
        }
        std::erase(sources_, nullptr);
        callDueTimers();
    }
    return *status_;
}

// How many descriptors are ready; none when a signal came.
int Loop::wait() {
    polled_.clear();
    for (const auto& source : sources_) {
        const short wanted = source->wanted();
        // Without a wish not even a hang-up is reported.
        polled_.push_back({wanted != 0 ? source->fd() : -1, wanted, 0});
    }
    timespec left{};
    if (!timers_.empty()) {
        const auto next = std::min_element(
            timers_.begin(),
            timers_.end(),
            [](const Timer& a, const Timer& b) { return a.due < b.due; });
        const auto pause = std::max(next->due - Clock::now(), Clock::duration::zero());
        const auto seconds = std::chrono::floor<std::chrono::seconds>(pause);
        left.tv_sec = static_cast<time_t>(seconds.count());
        left.tv_nsec = static_cast<long>(std::chrono::nanoseconds(pause - seconds).count());
    }
    const int count = ::ppoll(
        polled_.data(),
        polled_.size(),
        timers_.empty() ? nullptr : &left,
        &whileWaiting_);
    if (count < 0 && errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "ppoll");
    }
    return count;
}

void Loop::takeSignals() {
    if (std::exchange(endAsked, 0) != 0) status_ = exitGood;
    if (std::exchange(hangupAsked, 0) != 0 && onHangup_) onHangup_();
}

void Loop::callDueTimers() {
    const auto now = Clock::now();
    for (std::size_t i = 0; i < timers_.size() && !status_;) {
        if (timers_[i].due > now) {
            ++i;
            continue;
        }
        const auto call = std::move(timers_[i].call);
        timers_.erase(timers_.begin() + static_cast<std::ptrdiff_t>(i));
        call();
    }
}

}  // namespace agent
