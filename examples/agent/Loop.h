// Loop waits with ppoll(2) for descriptors, timers and signals: the event loop into which an
// agent puts its streams. One thread; one loop in a process. What a callback throws passes
// through run().

#pragma once

#include <poll.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace agent {

class Loop {
  public:
    class Source {
      public:
        virtual ~Source();
        virtual int fd() const = 0;
        // The poll(2) events that it waits for now; 0 for none.
        virtual short wanted() const = 0;
        // False when it is over: the loop then destroys it. May add sources and timers.
        virtual bool ready(short events) = 0;
    };

    // From now on SIGINT, SIGTERM and SIGHUP are told to the loop while it waits.
    Loop();
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void add(std::unique_ptr<Source> source);
    void after(std::chrono::milliseconds pause, std::function<void()> call);
    void onHangup(std::function<void()> call) { onHangup_ = std::move(call); }

    // Until end(), or a signal that asks to end; returns the status. Sources and timers go with
    // the end of it.
    int run();
    void end(int status) { status_ = status; }

  private:
    using Clock = std::chrono::steady_clock;
    struct Timer {
        Clock::time_point due;
        std::function<void()> call;
    };

    int wait();
    void takeSignals();
    void callDueTimers();

    std::optional<int> status_;
    std::vector<std::unique_ptr<Source>> sources_;
    std::vector<Timer> timers_;
    std::function<void()> onHangup_;
    sigset_t whileWaiting_;
    std::vector<pollfd> polled_;
};

}  // namespace agent
