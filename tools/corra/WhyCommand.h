// `corra why`: prints the explanations of corra/Why.h.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "corra/Source.h"
#include "corra/Why.h"

namespace corra {

struct WhyOptions {
    SourceOptions source;
    // Empty: an overview of all.
    std::string name;
    bool json = false;
};

// exitGood when all that was asked about is up, exitFailed when something is not, is not known,
// or has no such name. Throws as Source does.
int why(const WhyOptions& options);

// The chain below the first line, from effect to cause: each line two blanks further in than
// what it is a cause of, followed by where it says so when `withPlaces`.
std::vector<std::string> linesOf(const std::vector<Reason>& reasons, bool withPlaces);

}  // namespace corra
