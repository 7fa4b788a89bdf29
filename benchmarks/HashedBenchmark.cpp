// The hashed collection beside hash maps of others, in one run: a 64-bit key, a string and a
// struct with strings, each with a value of 48 bytes; and a collection of an entity.

#include <cstdint>
#include <string>

#include "Containers.h"
#include "Keys.h"
#include "Operations.h"
#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Vorn/IntfId.h"
#include "Zin/String.h"

namespace {

using namespace bench;

const Sizes sizes = {1000, 65536, 1000000};

template <class C>
void addBasic(const std::string& group, const std::string& who) {
    const Adder at(group, who, sizes);
    addCommon<C>(at);
    at("EraseInsert", eraseInsert<C>);
    at("IterateFirst", iterateFirst<C>);
}
template <class C>
void add(const std::string& group, const std::string& who) {
    addBasic<C>(group, who);
    const Adder at(group, who, sizes);
    at("Copy", copy<C>);
    at("CopyChange", copyAndChange<C>);
    Adder(group, who, {1000000})("WorstInsert", worstInsert<C>, 3);
}

template <class K>
void addKey(const std::string& group) {
    add<Hashed<K, Value48>>(group, "Corra");
    add<Absl<K, Value48>>(group, "Absl");
}

[[maybe_unused]] const bool added = [] {
    using Word = std::uint64_t;
    addKey<Word>("Hashed64");
    addBasic<Std<Word, Value48>>("Hashed64", "Std");
    addBasic<AbslOwnHash<Word, Value48>>("Hashed64", "AbslOwnHash");
#if __has_include(<boost/unordered/unordered_flat_map.hpp>)
    addBasic<Boost<Word, Value48>>("Hashed64", "Boost");
#endif
    Adder("Hashed64", "Corra", sizes)("DependentHit", dependentHit<Hashed<Word, Value48>>);
    Adder("Hashed64", "Absl", sizes)("DependentHit", dependentHit<Absl<Word, Value48>>);

    addKey<Zin::String>("HashedString");
    addKey<Pseudowire::ConnectorKey>("HashedConnectorKey");

    using Pseudowire::EncapAdjacency;
    add<Ours<Pseudowire::Status::EncapAdjacencyMap>>("HashedEncapAdjacency", "Corra");
    add<Absl<Vorn::IntfId, EncapAdjacency>>("HashedEncapAdjacency", "Absl");
    return true;
}();

}  // namespace
