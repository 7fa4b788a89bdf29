// Keys and values of the benchmarks. All containers that are compared hash keys with the same
// function, the one that the collections of the library use.

#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>

#include "Zin/Hash.h"
#include "Zin/HashMap2018Node.h"
#include "Zin/String.h"

namespace bench {

struct Value48 {
    std::array<std::uint64_t, 6> words{};
    friend bool operator==(const Value48&, const Value48&) = default;
};

// As large as an address with a prefix length.
struct Key24 {
    std::uint64_t high = 0;
    std::uint64_t low = 0;
    std::uint64_t label = 0;

    friend bool operator==(const Key24&, const Key24&) = default;
    friend auto operator<=>(const Key24&, const Key24&) = default;
    std::uint32_t hash(std::uint32_t seed) const noexcept {
        Zin::Hash hash(seed);
        hash.hashMix(Zin::hashSingleAttr(seed, high));
        hash.hashMix(Zin::hashSingleAttr(seed, low));
        hash.hashMix(Zin::hashSingleAttr(seed, label));
        return hash.result();
    }
};

// The i-th key, in no order.
template <class K>
K keyAt(std::uint64_t i) {
    const std::uint64_t scattered = (i + 1) * 0x9e3779b97f4a7c15;
    if constexpr (std::is_same_v<K, Key24>) {
        return {0x20010db800000000, scattered, i & 0xff};
    } else if constexpr (std::is_same_v<K, Zin::String>) {
        return Zin::String("pseudowire-" + std::to_string(scattered >> 24));
    } else {
        return scattered;
    }
}

template <class K>
struct Hasher {
    using is_transparent = void;
    std::size_t operator()(const K& key) const noexcept {
        const std::uint64_t hash = Zin::hashSingleAttr(0x5eed, key);
        // The peers take all bits of a word.
        return static_cast<std::size_t>(hash << 32 | hash);
    }
};

}  // namespace bench
