// Random values of any described type, field by field, and of the basic types that fields have.
// A type whose fields depend on each other specialises RandomOf beside its tests.
//
// Fields are small numbers or extremes as often as they are anything, so that equal fields,
// unset fields and carries between bytes all come up.

#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>

#include "Zin/String.h"
#include "describe/Schema.h"

namespace laws {

// The same sequence in each run: a failure repeats.
using Random = std::mt19937_64;

inline std::size_t below(Random& random, std::size_t bound) {
    return static_cast<std::size_t>(random() % bound);
}

template <class T>
T randomValue(Random& random);

template <class T>
struct RandomOf {
    static T value(Random& random) {
        if constexpr (std::same_as<T, bool>) {
            return below(random, 2) == 1;
        } else if constexpr (std::is_enum_v<T>) {
            // Numbers without a name too: a peer of a newer build may send them.
            return static_cast<T>(randomValue<std::underlying_type_t<T>>(random));
        } else if constexpr (std::integral<T>) {
            switch (below(random, 4)) {
                case 0:
                    return static_cast<T>(below(random, 4));
                case 1:
                    return static_cast<T>(~below(random, 4));
                default:
                    return static_cast<T>(random());
            }
        } else if constexpr (std::floating_point<T>) {
            return static_cast<T>(static_cast<std::int32_t>(random())) / 1024;
        } else if constexpr (std::same_as<T, Zin::String>) {
            constexpr std::string_view awkward("'\\,\n\0 :x\xc3", 9);
            std::string bytes(below(random, 6), ' ');
            for (char& byte : bytes) {
                byte = below(random, 2) ? awkward[below(random, awkward.size())]
                                        : static_cast<char>('a' + below(random, 26));
            }
            return Zin::String(bytes);
        } else if constexpr (describe::Described<T>) {
            T value;
            describe::schemaOf<T>.forEach([&](auto field) {
                field.in(value) = randomValue<typename decltype(field)::Value>(random);
            });
            return value;
        } else {
            T bytes{};
            for (auto& byte : bytes)
                byte = below(random, 2) ? randomValue<std::uint8_t>(random) : 0;
            return bytes;
        }
    }
};

template <class T>
T randomValue(Random& random) {
    return RandomOf<T>::value(random);
}

// A value that is not equal to this one.
template <class T>
T randomOther(Random& random, const T& value) {
    for (;;) {
        T other = randomValue<T>(random);
        if (!(other == value)) return other;
    }
}

}  // namespace laws
