// `corra demo`: plays captures to an owner and shows what a mirror in another process is told,
// and that both hold the same after each.

#pragma once

#include <string>

namespace corra {

struct DemoOptions {
    // Of captures, which are played in the order of their names.
    std::string directory;
    // Show every line that the mirror prints.
    bool all = false;
};

// Returns the exit status: good, failed when the two ever differ. Throws what keeps the demo
// from running.
int demo(const DemoOptions& options);

}  // namespace corra
