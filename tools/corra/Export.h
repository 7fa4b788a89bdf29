// `corra export` and `corra schema`: state files.

#pragma once

#include <string>

#include "corra/Source.h"

namespace corra {

struct ExportOptions {
    SourceOptions source;
    // Empty for standard output.
    std::string file;
};

// Throws as Source does, and std::system_error: the file is as it was then.
int exportState(const ExportOptions& options);

// The JSON Schema of state files.
int schema();

}  // namespace corra
