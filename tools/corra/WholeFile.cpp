#include "corra/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "corra/EventLoop.h"

namespace corra {

namespace {

[[noreturn]] void fail(const std::string& file, int error = errno) {
    throw std::system_error(error, std::generic_category(), file);
}

// The file that a chain of symbolic links ends at, whether it exists or not.
std::string withoutLinks(std::string file) {
    constexpr int mostLinks = 40;
    for (int links = 0; std::filesystem::is_symlink(file); ++links) {
        if (links == mostLinks) fail(file, ELOOP);
        const std::filesystem::path next = std::filesystem::read_symlink(file);
        file = std::filesystem::path(file).parent_path() / next;
    }
    return file;
}

// A file that exists for as long as this object does, or until it takes a place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& beside) {
        constexpr int tries = 100;
        for (int number = 0; fd_.get() < 0; ++number) {
            name_ = beside + '.' + std::to_string(::getpid()) + '-' + std::to_string(number) +
                    ".tmp";
            constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
            fd_ = Fd(::open(name_.c_str(), flags, 0666));
            if (fd_.get() < 0 && (errno != EEXIST || number == tries)) {
                const int error = errno;
                name_.clear();
                fail(beside, error);
            }
        }
    }
    ~TemporaryFile() {
        if (!name_.empty()) ::unlink(name_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int fd() const { return fd_.get(); }
    bool takePlaceOf(const std::string& file) {
        if (::rename(name_.c_str(), file.c_str()) != 0) return false;
        name_.clear();
        return true;
    }

  private:
    std::string name_;
    Fd fd_;
};

bool writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// The new file is in its place already: an error here changes nothing in that.
void syncDirectoryOf(const std::string& file) {
    const std::string parent = std::filesystem::path(file).parent_path();
    const Fd directory(
        ::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) ::fsync(directory.get());
}

}  // namespace

std::string readWholeFile(const std::string& file, std::size_t most) {
    const Fd in(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (in.get() < 0) fail(file);
    std::string text;
    constexpr std::size_t step = std::size_t{64} << 10;
    for (std::size_t size = 0; size < most;) {
        text.resize(size + std::min(step, most - size));
        const ssize_t count = ::read(in.get(), text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail(file);
        size += static_cast<std::size_t>(count);
        text.resize(size);
        if (count == 0) break;
    }
    return text;
}

void writeFileAtomically(const std::string& given, std::string_view text) {
    const std::string file = withoutLinks(given);
    struct stat existing {};
    const bool exists = ::stat(file.c_str(), &existing) == 0;
    if (!exists && errno != ENOENT) fail(given);
    if (exists && !S_ISREG(existing.st_mode)) {
        fail(given, S_ISDIR(existing.st_mode) ? EISDIR : EINVAL);
    }
    TemporaryFile made(file);
    if (exists && ::fchmod(made.fd(), existing.st_mode & 07777) != 0) fail(given);
    if (!writeAll(made.fd(), text) || ::fsync(made.fd()) != 0) fail(given);
    if (!made.takePlaceOf(file)) fail(given);
    syncDirectoryOf(file);
}

}  // namespace corra
