// HSet is a hashed set of keys: a HashMap2018 without values. Sets with different seeds hash
// the same key differently.

#pragma once

#include <cstdint>

#include "Zin/Hash.h"
#include "Zin/HashMap2018.h"

namespace Zin {

template <class K, std::uint32_t seed>
class HSet
    : public HashMap2018<HashMap2018NodeExternKey<false, seed, K, void, false>, K, void> {
  public:
    // Of all members, in the order of iteration: equal sets have equal hashes. Linear.
    std::uint32_t hash(std::uint32_t withSeed) const {
        Hash state(withSeed);
        for (const auto& member : *this) state.hashMix(hashSingleAttr(0, member.key()));
        return state.result();
    }
};

template <class K, std::uint32_t seed>
inline constexpr bool triviallyRelocatable<HSet<K, seed>> = true;

}  // namespace Zin
