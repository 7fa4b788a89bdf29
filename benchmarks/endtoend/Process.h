// The processes of an end-to-end benchmark: forked ones that run a part of it, and servers of
// others. Each is killed with the object that stands for it, and with the benchmark itself
// however that ends.
//
// The benchmark starts no threads, so that a fork is a whole copy of it. Errors are
// exceptions; those of a forked process are thrown again where its channel is read.

#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/Process.h"

namespace endtoend {

using corra::TemporaryDirectory;
using Zin::NboAttrLog::Fd;

// One end of the socket between the benchmark and a process that it forked. It carries values
// and, in place of one, words that say what failed.
class Channel {
  public:
    explicit Channel(Fd fd) : fd_(std::move(fd)) {}

    template <class T>
    requires std::is_trivially_copyable_v<T>
    void send(const T& value) { write(Kind::value, std::as_bytes(std::span(&value, 1))); }
    void sendFailure(const std::string& words) {
        write(Kind::failure, std::as_bytes(std::span(words)));
    }
    // Waits. Throws std::runtime_error with the words of the other end, or when that is gone.
    template <class T>
    requires std::is_trivially_copyable_v<T> T receive() {
        T value;
        read(std::as_writable_bytes(std::span(&value, 1)));
        return value;
    }

    int fd() const noexcept { return fd_.get(); }

  private:
    enum class Kind : std::uint32_t { value, failure };
    struct Header {
        Kind kind;
        std::uint32_t size;
    };

    void write(Kind kind, std::span<const std::byte> bytes);
    void read(std::span<std::byte> value);
    void writeAll(std::span<const std::byte> bytes);
    void readAll(std::span<std::byte> bytes);

    Fd fd_;
};

class Process {
  public:
    // Forks a process that runs `body` and ends. What body throws goes into the channel.
    explicit Process(const std::function<void(Channel&)>& body);
    // Starts a program, whose output goes to the file. REQUIRES: command[0] is its path.
    Process(const std::vector<std::string>& command, const std::filesystem::path& output);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const noexcept { return pid_; }
    Channel& channel() noexcept { return channel_; }

    // Waits until a server listens at the path of a Unix socket. Throws when that takes more
    // than ten seconds, with what the server wrote.
    void waitForSocket(
        const std::filesystem::path& socket,
        const std::filesystem::path& output);

    // Since it was started, in user and system mode.
    double cpuSeconds() const;
    std::uint64_t residentBytes() const;

  private:
    Channel channel_;
    pid_t pid_ = -1;
};

// Runs a program to its end. Throws when it fails, with what it wrote.
void runToEnd(const std::vector<std::string>& command, const std::filesystem::path& output);

// The path of an installed program. Throws NotInstalled.
std::string installed(const std::string& program);
struct NotInstalled : std::runtime_error {
    explicit NotInstalled(const std::string& program)
        : std::runtime_error(program + " is not installed") {}
};

// What one process of a benchmark found.
struct Report {
    double seconds = 0;
    double cpuSeconds = 0;
    // That came and went on its socket.
    std::uint64_t bytes = 0;
    // Changes that it was told of.
    std::uint64_t heard = 0;
    // Follows from the values of all members (Records.h).
    std::uint64_t checksum = 0;
    double longestTurnSeconds = 0;
};

// Measures a part of the process that it runs in.
class Stopwatch {
  public:
    double seconds() const;
    double cpuSeconds() const;
    void putInto(Report& report) const {
        report.seconds = seconds();
        report.cpuSeconds = cpuSeconds();
    }

  private:
    using Clock = std::chrono::steady_clock;

    static double cpuNow();

    double cpuBegin_ = cpuNow();
    Clock::time_point begin_ = Clock::now();
};

}  // namespace endtoend
