// `corra dump` and `corra get`: what a source holds.

#pragma once

#include <string>

#include "corra/Source.h"

namespace corra {

struct ShowOptions {
    SourceOptions source;
    std::string path;
    bool json = false;
    // Entities as they dump themselves, indented, instead of facts.
    bool tree = false;
};

// exitFailed when nothing is there. Throws as Source does, and std::runtime_error for a bad
// path.
int dump(const ShowOptions& options);
int get(const ShowOptions& options);

}  // namespace corra
