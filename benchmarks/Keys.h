// Keys and values of the benchmarks. All containers that are compared hash keys with the same
// function, the one that the collections of the library use.

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/PwEncap.h"
#include "Pseudowire/VplsConfig.h"
#include "Vorn/IntfId.h"
#include "Zin/Hash.h"
#include "Zin/Ptr.h"
#include "Zin/String.h"

namespace bench {

struct Value48 {
    std::array<std::uint64_t, 6> words{};
    friend bool operator==(const Value48&, const Value48&) = default;
};

using Instance = Pseudowire::VplsInstanceConfig;

// The i-th key, in no order.
template <class K>
K keyAt(std::uint64_t i) {
    const std::uint64_t scattered = (i + 1) * 0x9e3779b97f4a7c15;
    if constexpr (std::is_same_v<K, Pseudowire::ConnectorKey>) {
        K key;
        key.ldpConnectorKeyIs("pseudowire-" + std::to_string(scattered >> 24));
        return key;
    } else if constexpr (std::is_same_v<K, Zin::String>) {
        return Zin::String("pseudowire-" + std::to_string(scattered >> 24));
    } else {
        return K(scattered);
    }
}

template <class K>
struct Hasher {
    std::size_t operator()(const K& key) const noexcept {
        const std::uint64_t hash = Zin::hashSingleAttr(0x5eed, key);
        // The peers take all bits of a word.
        return static_cast<std::size_t>(hash << 32 | hash);
    }
};

// Keys that are stored, the same keys made anew in another order, and keys that are absent.
// Made once for each size, since a million names take longer than what is measured.
template <class K>
struct KeySet {
    explicit KeySet(std::size_t size)
        : stored(from(0, size)),
          sought(shuffled(from(0, size))),
          absent(shuffled(from(size, size))) {}

    static const KeySet& of(std::size_t size) {
        static std::map<std::size_t, KeySet> sets;
        return sets.try_emplace(size, size).first->second;
    }

    std::vector<K> stored, sought, absent;

  private:
    static std::vector<K> from(std::size_t first, std::size_t count) {
        std::vector<K> keys;
        keys.reserve(count);
        for (std::size_t i = first; i < first + count; ++i) keys.push_back(keyAt<K>(i));
        return keys;
    }
    static std::vector<K> shuffled(std::vector<K> keys) {
        std::shuffle(keys.begin(), keys.end(), std::mt19937_64(7));
        return keys;
    }
};

// Two values that differ, and what a reader of one looks at.
template <class V>
const V& valueAt(std::size_t turn);
template <>
inline const Value48& valueAt(std::size_t turn) {
    static const Value48 values[] = {{{1, 2, 3, 4, 5, 6}}, {{1, 2, 3, 4, 5, 7}}};
    return values[turn & 1];
}
template <>
inline const Pseudowire::EncapAdjacency& valueAt(std::size_t turn) {
    static const auto values = [] {
        std::array<Pseudowire::EncapAdjacency, 2> both;
        both.fill(Pseudowire::EncapAdjacency("metro-003"));
        both[1].encapPwLabelIs(Vorn::MplsLabel(17));
        return both;
    }();
    return values[turn & 1];
}

inline std::uint64_t glance(const Value48& value) {
    return value.words[3];
}
inline std::uint64_t glance(const Pseudowire::EncapAdjacency& value) {
    return value.encapPwLabel().value();
}
inline std::uint64_t glance(const Instance& instance) {
    return instance.references();
}

}  // namespace bench
