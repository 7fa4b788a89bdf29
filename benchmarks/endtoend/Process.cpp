#include "Process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace endtoend {

namespace {

[[noreturn]] void throwErrno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::pair<Fd, Fd> connectedSockets() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        throwErrno("socketpair");
    }
    return {Fd(ends[0]), Fd(ends[1])};
}

double secondsOf(clockid_t clock, const char* what) {
    timespec time{};
    if (::clock_gettime(clock, &time) != 0) throwErrno(what);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

std::string textOf(const std::filesystem::path& file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

[[noreturn]] void become(
    const std::vector<std::string>& command,
    const std::filesystem::path& output) {
    const int out = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (out < 0 || ::dup2(out, STDOUT_FILENO) < 0 || ::dup2(out, STDERR_FILENO) < 0) {
        throwErrno(output);
    }
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    ::execv(arguments[0], arguments.data());
    throwErrno(command[0]);
}

}  // namespace

// --- Channel ---

void Channel::write(Kind kind, std::span<const std::byte> bytes) {
    const Header header{kind, static_cast<std::uint32_t>(bytes.size())};
    writeAll(std::as_bytes(std::span(&header, 1)));
    writeAll(bytes);
}

void Channel::read(std::span<std::byte> value) {
    Header header;
    readAll(std::as_writable_bytes(std::span(&header, 1)));
    if (header.kind == Kind::failure) {
        std::string words(header.size, '\0');
        readAll(std::as_writable_bytes(std::span(words)));
        throw std::runtime_error(words);
    }
    if (header.size != value.size()) {
        throw std::logic_error(
            "a value of " + std::to_string(value.size()) + " bytes was expected, " +
            std::to_string(header.size) + " came");
    }
    readAll(value);
}

void Channel::writeAll(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) throwErrno("a process of the benchmark has gone");
        if (sent > 0) bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
}

void Channel::readAll(std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t got = ::recv(fd(), bytes.data(), bytes.size(), 0);
        if (got == 0) throw std::runtime_error("a process of the benchmark ended early");
        if (got < 0 && errno != EINTR) throwErrno("recv");
        if (got > 0) bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
}

// --- Process ---

Process::Process(const std::function<void(Channel&)>& body) : channel_(Fd()) {
    auto [here, there] = connectedSockets();
    const pid_t parent = ::getpid();
    pid_ = ::fork();
    if (pid_ < 0) throwErrno("fork");
    if (pid_ > 0) {
        channel_ = Channel(std::move(here));
        return;
    }
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(1);
    here = Fd();
    Channel channel(std::move(there));
    int status = 0;
    try {
        body(channel);
    } catch (const std::exception& failure) {
        status = 1;
        try {
            channel.sendFailure(failure.what());
        } catch (const std::exception&) {
            // The benchmark has gone, and nobody is there to be told.
        }
    }
    ::_exit(status);
}

Process::Process(const std::vector<std::string>& command, const std::filesystem::path& output)
    : Process([&](Channel&) { become(command, output); }) {}

Process::~Process() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void Process::waitForSocket(
    const std::filesystem::path& socket,
    const std::filesystem::path& output) {
    constexpr std::chrono::milliseconds pause(10);
    constexpr int mostTries = 1000;
    const Zin::NboAttrLog::Address address{
        Zin::NboAttrLog::Address::Kind::unixSocket,
        socket,
        0};
    for (int tries = 0; tries < mostTries; ++tries) {
        try {
            Zin::NboAttrLog::connectTo(address);
            return;
        } catch (const std::system_error&) {
            std::this_thread::sleep_for(pause);
        }
    }
    throw std::runtime_error("a server did not start: " + textOf(output));
}

double Process::cpuSeconds() const {
    clockid_t clock{};
    if (::clock_getcpuclockid(pid_, &clock) != 0) {
        throw std::runtime_error("a process of the benchmark ended early");
    }
    return secondsOf(clock, "the CPU clock of a process");
}

std::uint64_t Process::residentBytes() const {
    std::ifstream statm("/proc/" + std::to_string(pid_) + "/statm");
    std::uint64_t pages = 0;
    std::uint64_t residentPages = 0;
    if (!(statm >> pages >> residentPages)) {
        throw std::runtime_error("a process of the benchmark ended early");
    }
    return residentPages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// --- Programs ---

void runToEnd(const std::vector<std::string>& command, const std::filesystem::path& output) {
    const Process runner([&](Channel&) { become(command, output); });
    siginfo_t ended{};
    // The destructor takes it off the list of processes.
    if (::waitid(P_PID, static_cast<id_t>(runner.pid()), &ended, WEXITED | WNOWAIT) != 0) {
        throwErrno(command[0]);
    }
    if (ended.si_code == CLD_EXITED && ended.si_status == 0) return;
    throw std::runtime_error(command[0] + " failed: " + textOf(output));
}

std::string installed(const std::string& program) {
    const char* const searched = std::getenv("PATH");
    // Servers are there, which is on no ordinary user's path.
    std::istringstream directories(
        std::string(searched ? searched : "") + ":/usr/local/sbin:/usr/sbin:/sbin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        const auto path = std::filesystem::path(directory) / program;
        if (::access(path.c_str(), X_OK) == 0) return path;
    }
    throw NotInstalled(program);
}

// --- Stopwatch ---

double Stopwatch::seconds() const {
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}

double Stopwatch::cpuSeconds() const {
    return cpuNow() - cpuBegin_;
}

double Stopwatch::cpuNow() {
    return secondsOf(CLOCK_PROCESS_CPUTIME_ID, "the CPU clock of this process");
}

}  // namespace endtoend
