#include "corra/Process.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace corra {

TemporaryDirectory::TemporaryDirectory() {
    path_ = (std::filesystem::temp_directory_path() / "corra-XXXXXX").string();
    if (!::mkdtemp(path_.data()))
        throw std::system_error(errno, std::generic_category(), path_);
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ChildProcess::ChildProcess(
    const std::string& program,
    const std::vector<std::string>& arguments,
    int output) {
    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (const std::string& word : arguments) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    const int error =
        ::posix_spawnp(&id_, program.c_str(), &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), program);
}

ChildProcess::~ChildProcess() {
    if (id_ < 0) return;
    // It may be stuck in writing to us.
    ::kill(id_, SIGKILL);
    wait();
}

int ChildProcess::wait() {
    int status = 0;
    while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string thisProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

}  // namespace corra
