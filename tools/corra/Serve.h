// `corra serve`: owns the state of a capture and serves it to mirrors.

#pragma once

#include <string>
#include <vector>

namespace corra {

struct ServeOptions {
    std::string captureDirectory;
    std::vector<std::string> addresses;
    bool writable = false;
};

// Until SIGINT or SIGTERM; SIGHUP imports the capture again. Returns the exit status.
int serve(const ServeOptions& options);

}  // namespace corra
