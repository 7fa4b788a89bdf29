// What each operation costs from a thousand members to a million.

#include <cstdint>
#include <string>

#include "Containers.h"
#include "Keys.h"
#include "Operations.h"

namespace {

using namespace bench;
using Word = std::uint64_t;

const Sizes sizes = {1000, 3162, 10000, 31623, 100000, 316228, 1000000};

template <class C>
void addHashed(const std::string& who) {
    Adder("ScaleHashed", who, sizes)("Hit", hit<C>)("Miss", miss<C>)("Insert", insert<C>)(
        "Erase",
        erase<C>)("Iterate", iterate<C>)("Copy", copy<C>)("CopyChange", copyAndChange<C>)(
        "Memory",
        memory<C>,
        1);
}
template <class C>
void addOrdered(const std::string& who) {
    Adder("ScaleOrdered", who, sizes)("Hit", hit<C>)(
        "Miss",
        miss<
            C>)("Insert", insert<C>)("Erase", erase<C>)("Iterate", iterate<C>)("Memory", memory<C>, 1);
}

[[maybe_unused]] const bool added = [] {
    addHashed<Hashed<Word, Value48>>("Corra");
    addHashed<Absl<Word, Value48>>("Absl");
    addOrdered<Ordered<Word, Value48>>("Corra");
    addOrdered<StdMap<Word, Value48>>("Std");
    return true;
}();

}  // namespace
