// What each operation costs from a thousand members to a million.

#include <cstdint>
#include <string>
#include <type_traits>

#include "Containers.h"
#include "Keys.h"
#include "Operations.h"

namespace {

using namespace bench;
using Word = std::uint64_t;

const Sizes sizes = {1000, 3162, 10000, 31623, 100000, 316228, 1000000};

template <class C>
void add(const std::string& group, const std::string& who) {
    const Adder at(group, who, sizes);
    addCommon<C>(at);
    at("Erase", erase<C>);
    if constexpr (std::is_copy_constructible_v<C>) {
        at("Copy", copy<C>);
        at("CopyChange", copyAndChange<C>);
    }
}

[[maybe_unused]] const bool added = [] {
    add<Hashed<Word, Value48>>("ScaleHashed", "Corra");
    add<Absl<Word, Value48>>("ScaleHashed", "Absl");
    add<Ordered<Word, Value48>>("ScaleOrdered", "Corra");
    add<StdMap<Word, Value48>>("ScaleOrdered", "Std");
    return true;
}();

}  // namespace
