// `corra mirror` and `corra watch`: mounts what a peer exports, and shows it. It knows no type:
// entities are made from the names of their types, and read through their tables.

#pragma once

#include <string>

namespace corra {

struct MirrorOptions {
    std::string address;
    // Show each change as it comes, and go on. Otherwise: show the state once, and end.
    bool watch = false;
    // While watching: show only what concerns this path, which may lead to what does not exist
    // yet. Empty for all.
    std::string path;
    bool json = false;
    // End when the peer goes, instead of trying again.
    bool once = false;
    // While watching also show the state: once all is synchronised, and at each barrier of the
    // peer. A line "= synced N" or "= BARRIER N", then the N lines of the state.
    bool states = false;
    // Say nothing of what goes well on standard error.
    bool quiet = false;
};

struct WatchOptions {
    // A live source.
    std::string at;
    MirrorOptions mirror;
};

// Returns the exit status. Throws std::system_error when the output cannot be written, and
// std::runtime_error when no type allows the path.
int mirror(const MirrorOptions& options);

}  // namespace corra
