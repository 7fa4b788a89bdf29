// The ordered collection beside std::map, in one run: a 64-bit key, a string and a struct with
// strings, each with a value of 48 bytes; and child entities, which are the nodes themselves,
// beside a map of handles.

#include <cstdint>
#include <string>

#include "Containers.h"
#include "Keys.h"
#include "Operations.h"
#include "Pseudowire/ConnectorKey.h"
#include "Zin/String.h"

namespace {

using namespace bench;

template <class C>
void add(const std::string& group, const std::string& who, const Sizes& sizes) {
    const Adder at(group, who, sizes);
    addCommon<C>(at);
    at("Erase", erase<C>);
}

template <class K>
void addKey(const std::string& group) {
    const Sizes sizes = {1000, 65536, 1000000};
    add<Ordered<K, Value48>>(group, "Corra", sizes);
    add<StdMap<K, Value48>>(group, "Std", sizes);
}

[[maybe_unused]] const bool added = [] {
    addKey<std::uint64_t>("Ordered64");
    add<AbslBtree<std::uint64_t, Value48>>("Ordered64", "AbslBtree", {1000, 65536, 1000000});
    addKey<Zin::String>("OrderedString");
    addKey<Pseudowire::ConnectorKey>("OrderedConnectorKey");
    add<OrderedChildren>("OrderedChildren", "Corra", {1000, 65536});
    add<StdMapOfChildren>("OrderedChildren", "Std", {1000, 65536});
    return true;
}();

}  // namespace
