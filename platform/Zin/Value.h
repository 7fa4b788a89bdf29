// Value is the base of all value types: small copyable objects that compare, hash, print and
// travel field by field, as their schema() says (describe/Schema.h).

#pragma once

#include <cstdint>

#include "Zin/Hash.h"
#include "describe/Value.h"

namespace Zin {

template <class T>
class Value : public describe::Operators<T> {
  public:
    // The hash of each field under seed 0, mixed in the order of declaration; of a value that
    // wraps a single field the hash of that field under the seed itself.
    template <class Whole = T>
    requires describe::HashedValue<Whole> std::uint32_t hash(std::uint32_t seed)
    const {
        const Whole& self = static_cast<const Whole&>(*this);
        if constexpr (describe::fieldsIn<Whole> == 1) {
            std::uint32_t hash = 0;
            describe::schemaOf<Whole>.forEach(
                [&](auto field) { hash = hashSingleAttr(seed, field.in(self)); });
            return hash;
        } else {
            Hash state(seed);
            describe::schemaOf<Whole>.forEach(
                [&](auto field) { state.hashMix(hashSingleAttr(0, field.in(self))); });
            return state.result();
        }
    }

    // Whether this value differs from a default-constructed one.
    explicit operator bool() const { return !(static_cast<const T&>(*this) == T()); }
};

}  // namespace Zin
