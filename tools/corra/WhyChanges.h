// What came up and what went down from one overview to the next, and why.

#pragma once

#include <string>
#include <vector>

#include "corra/Why.h"

namespace corra {

// A few lines whatever the number of changes: a line for each reason, with the first names and
// a count, and the chain of reasons of the first thing that is down now. Null for `before`
// stands for nothing.
std::vector<std::string> changedLines(const Overview* before, const Overview& after);

}  // namespace corra
