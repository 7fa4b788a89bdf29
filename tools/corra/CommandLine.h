// The commands of `corra` and their options.

#pragma once

namespace corra {

// Returns the exit status. Throws nothing: what goes wrong is said on standard error.
int runCommandLine(int argc, char** argv);

}  // namespace corra
