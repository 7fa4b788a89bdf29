// `corra why`: whether a patch, a pseudowire, an instance of VPLS, a circuit or what hangs on a
// peer is up and, if not, the chain of reasons from effect to cause. All of it is read from
// entity trees, found by their types; what is not there is named as missing, and what
// contradicts itself is said.
//
// The explanation is data: functions of the trees alone, which hold on to nothing and change
// nothing. Linear in the size of the trees.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "corra/Roots.h"

namespace corra {

enum class Verdict { up, down, unknown };

struct Reason {
    enum class Kind {
        cause,
        // Two places in the state do not agree.
        contradiction,
        // What would have to be there to say more.
        missing,
    };
    Kind kind = Kind::cause;
    // A clause without its full stop.
    std::string text;
    // Paths to what says so; all of them exist.
    std::vector<std::string> places;
    std::vector<Reason> causes;
};

// Of one thing that has a name.
struct Answer {
    // "patch", "pseudowire", "instance", "circuit", "peer" or "label".
    std::string_view kind;
    std::string name;
    Verdict verdict = Verdict::unknown;
    // What follows the name in the first line: " is down.".
    std::string headline;
    // The first reason as a clause; empty for what is up.
    std::string summary;
    std::vector<Reason> reasons;
};

// An answer for each thing that has the name: none when there is none.
std::vector<Answer> explain(const Roots& roots, std::string_view name);

struct Overview {
    struct Count {
        std::string_view kind;
        std::size_t all = 0;
        std::size_t up = 0;
        std::size_t unknown = 0;
    };
    // The patches, then the pseudowires that are in no patch, each in the order of their names.
    std::vector<Answer> answers;
    std::vector<Reason> missing;
    // Of all patches, of all pseudowires and of all instances.
    std::vector<Count> counts;
};
Overview overview(const Roots& roots);

// All names that explain() knows, in order.
std::vector<std::string> namesIn(const Roots& roots);
// Names that are written nearly so: at most a few, the nearest first.
std::vector<std::string> namesLike(const Roots& roots, std::string_view name);

}  // namespace corra
