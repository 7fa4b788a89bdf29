// `corra diff`, and the differences of any two states.

#pragma once

#include <string>
#include <vector>

#include "corra/Facts.h"
#include "corra/Live.h"
#include "corra/Watch.h"

namespace corra {

struct DiffOptions {
    // Sources (corra/Source.h).
    std::string before;
    std::string after;
    std::chrono::milliseconds patience = usualPatience;
    bool json = false;
};

// exitGood when both hold the same, exitFailed when not. Throws as Source does.
int diff(const DiffOptions& options);

// What makes the second state of the first, in the order of the paths. An entity of another
// type is removed and added.
std::vector<Change> differences(
    const std::vector<Fact>& before,
    const std::vector<Fact>& after);

// Prints them, a line each.
void printChanges(const std::vector<Change>& changes, bool json);

}  // namespace corra
