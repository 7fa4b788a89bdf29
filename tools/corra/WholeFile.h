// Reads and replaces files as a whole.

#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace corra {

// What the file holds, or its first `most` bytes. Throws std::system_error when it cannot be
// read, and std::bad_alloc: what is returned is never a part that looks like the whole.
std::string readWholeFile(
    const std::string& file,
    std::size_t most = std::numeric_limits<std::size_t>::max());

// After it returns the file holds the text, also across a crash; when it throws, the file is as
// it was. There is no moment with anything in between. The text is written to a file beside
// this one that takes its place; nothing stays of that when it fails.
//
// An existing file keeps its mode, a symbolic link goes on pointing at its file; owners and
// hard links are not kept. A new file has the mode that the process's mask leaves of 0666.
// Throws std::system_error, also for anything that exists and is no regular file.
void writeFileAtomically(const std::string& file, std::string_view text);

}  // namespace corra
