// `corra set`, `corra del` and `corra import`: changes of a live owner or a state file. What
// was asked for is made of a copy here, brought there, and compared with what is there
// afterwards.

#pragma once

#include <string>
#include <vector>

#include "corra/Source.h"

namespace corra {

struct EditOptions {
    SourceOptions source;
    std::string path;
    // None: an absent member or child is made.
    std::vector<std::string> values;
    // Do not say what has changed.
    bool quiet = false;
};

struct ImportOptions {
    SourceOptions source;
    // A source as well.
    std::string from;
    bool quiet = false;
};

// These throw as Source does, std::runtime_error for a bad path, value or change, and
// Zin::Exception for what a type does not allow. Nothing has changed then, unless the
// connection to an owner was lost while it took the change.
int set(const EditOptions& options);
// exitFailed when there was nothing to delete.
int del(const EditOptions& options);
int import(const ImportOptions& options);

}  // namespace corra
