// EventLoop waits with poll(2) for descriptors, timers and signals, and tells whom they
// concern. One thread. What a callback throws passes through run().

#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

#include "Zin/NboAttrLogFd.h"

namespace corra {

using Zin::NboAttrLog::Fd;

class EventLoop {
  public:
    using Clock = std::chrono::steady_clock;

    class Source {
      public:
        virtual ~Source();
        virtual int fd() const = 0;
        // The poll(2) events that it waits for now; 0 for none.
        virtual short wanted() const = 0;
        // False when it is over: the loop then destroys it. May add sources and timers.
        virtual bool ready(short events) = 0;
    };

    EventLoop() = default;
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    void add(std::unique_ptr<Source> source);
    // Destroys all sources and timers. REQUIRES: the loop does not run.
    void clear();
    void after(Clock::duration pause, std::function<void()> call);

    // Until stop().
    void run();
    void stop() noexcept { running_ = false; }

  private:
    struct Timer {
        Clock::time_point due;
        std::function<void()> call;
    };

    int millisecondsToNextTimer() const;
    void callDueTimers();

    bool running_ = false;
    std::vector<std::unique_ptr<Source>> sources_;
    std::vector<Timer> timers_;
};

// Tells of signals from inside of the loop. They do what they do by default when it has gone.
// One at a time.
class SignalSource final : public EventLoop::Source {
  public:
    SignalSource(std::initializer_list<int> signals, std::function<void(int)> call);
    ~SignalSource() override;

    int fd() const override { return read_.get(); }
    short wanted() const override;
    bool ready(short events) override;

  private:
    Fd read_;
    std::vector<int> signals_;
    std::function<void(int)> call_;
};

// A pipe with both ends closed on exec: the end to read from, and the one to write to.
struct Pipe {
    Fd read;
    Fd write;

    static Pipe make();
};

}  // namespace corra
