// `corra serve`: owns the state of captures and state files and serves it to mirrors.

#pragma once

#include <string>
#include <vector>

namespace corra {

struct ServeOptions {
    std::vector<std::string> sources;
    std::vector<std::string> addresses;
    bool writable = false;
};

// Until SIGINT or SIGTERM; SIGHUP loads the sources again. Returns the exit status.
int serve(const ServeOptions& options);

}  // namespace corra
