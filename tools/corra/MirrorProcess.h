// A `corra mirror` in a process of its own, joined to entities of this one by a Unix socket in
// a private directory. All of that is gone when this object goes.

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/EventLoop.h"
#include "corra/Process.h"

namespace corra {

class MirrorProcess {
  public:
    // What the mirror printed up to and including its state.
    struct Told {
        std::vector<std::string> changes;
        std::string state;
        // Sent to the mirror since the last time.
        std::uint64_t messages = 0;
        std::uint64_t bytes = 0;
    };

    // Waits until the mirror has connected. REQUIRES: the exports outlive it.
    explicit MirrorProcess(Zin::NboAttrLog::Exports& exports);
    MirrorProcess(const MirrorProcess&) = delete;
    MirrorProcess& operator=(const MirrorProcess&) = delete;

    pid_t id() const { return process_->id(); }

    // These wait, and throw std::runtime_error when the mirror goes or a signal comes that asks
    // to end. The mirror holds all: to be called once, at first.
    Told synchronised();
    // The mirror has applied all that was changed before.
    Told barrier();
    // Closes the connection and waits for the mirror to end. Its exit status.
    int end();

  private:
    class Listener;
    class Output;
    class Stream;

    void fail(const std::string& why);
    void requireNoFailure() const;
    void run();
    Told wait(const std::string& token);
    void onLine(std::string line);

    Zin::NboAttrLog::Exports& exports_;
    // Of the stream, which is gone when there is a failure.
    Zin::NboAttrLog::Connection* connection_ = nullptr;
    Zin::NboAttrLog::Connection::Counters before_;
    std::uint64_t lastBarrier_ = 0;
    // What is waited for, how many lines of it are still to come, and what came.
    std::string token_;
    std::size_t linesOfState_ = 0;
    Told told_;
    std::string failure_;
    // Signals are caught before there is something to be removed.
    EventLoop loop_;
    std::optional<TemporaryDirectory> directory_;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace corra
