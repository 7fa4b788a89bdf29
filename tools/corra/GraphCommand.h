// `corra graph`: a picture of the services of a source (corra/Graph.h).

#pragma once

#include <string>
#include <vector>

#include "corra/Source.h"

namespace corra {

struct GraphOptions {
    SourceOptions source;
    // "dot", "svg" or "png"; empty for what the ending of the file says.
    std::string format;
    // Empty for standard output.
    std::string file;
    // Empty for all.
    std::vector<std::string> only;
};

// exitFailed when there is nothing of a name. Throws as Source does, and std::runtime_error and
// std::system_error: the file is as it was then.
int graph(const GraphOptions& options);

}  // namespace corra
