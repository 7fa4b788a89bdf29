// Another process, and a place to meet it. Both end with the object, also when that goes early.

#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace corra {

// A directory of mode 0700, removed in the end with all files in it.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

class ChildProcess {
  public:
    // A program without a slash is looked for in PATH. `output` becomes its standard output.
    // Throws std::system_error.
    ChildProcess(
        const std::string& program,
        const std::vector<std::string>& arguments,
        int output);
    // Kills it if it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const { return id_; }
    // Waits until it has ended. Its exit status, or -1 when a signal ended it.
    int wait();

  private:
    pid_t id_ = -1;
};

// The program that runs now.
std::string thisProgram();

}  // namespace corra
