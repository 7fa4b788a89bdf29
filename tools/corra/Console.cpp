#include "corra/Console.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace corra {

namespace {

bool isColoured() {
    static const bool coloured = [] {
        const char* const refused = std::getenv("NO_COLOR");
        const char* const terminal = std::getenv("TERM");
        return ::isatty(STDOUT_FILENO) == 1 && !(refused && *refused) &&
               !(terminal && std::string_view(terminal) == "dumb");
    }();
    return coloured;
}

std::string_view colourOf(std::string_view line) {
    if (line.starts_with("+ ")) return "\x1b[32m";
    if (line.starts_with("- ")) return "\x1b[31m";
    if (line.starts_with("~ ")) return "\x1b[33m";
    return {};
}

}  // namespace

void say(std::string_view text) {
    const std::string line = "corra: " + std::string(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void print(std::string_view text) {
    if (!text.empty()) std::fwrite(text.data(), 1, text.size(), stdout);
}

void printLine(std::string_view line) {
    const std::string_view colour = isColoured() ? colourOf(line) : std::string_view();
    print(colour);
    print(line);
    print(colour.empty() ? "\n" : "\x1b[0m\n");
}

void flushOutput() {
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        throw std::system_error(errno, std::generic_category(), "standard output");
    }
}

}  // namespace corra
