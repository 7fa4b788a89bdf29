// Completion of command lines in a shell. The shell's script asks the tool itself how a line
// can go on, so that nothing of the commands is said twice and paths come from the state.

#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "corra/Roots.h"

namespace corra {

// A script for bash.
std::string bashCompletion();

// What may stand in place of the end of a line, from where bash replaces it. `line` ends at the
// cursor, `wordBreaks` is $COMP_WORDBREAKS. Of a state that cannot be had nothing is known.
std::vector<std::string>
completions(const CLI::App& app, std::string_view line, std::string_view wordBreaks);

// One way in which a word can go on.
struct Candidate {
    std::string text;
    // Nothing follows it in this word.
    bool isWhole = true;
    // With what it goes on, where it may also be meant itself: when it is the only one, both
    // are offered.
    std::string more = {};

    bool operator==(const Candidate&) const = default;
};

// The paths that lie next to a path that has been begun, whatever its last step begins with.
std::vector<Candidate> pathCandidates(const Roots& roots, std::string_view begun);

}  // namespace corra
