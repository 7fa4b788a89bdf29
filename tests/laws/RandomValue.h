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
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>

#include "Zin/String.h"
#include "describe/Schema.h"
#include "describe/Value.h"

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
            // Quotes, what escapes look like, control characters; UTF-8 of two to four bytes,
            // cut off, overlong, a surrogate, beyond the last character.
            using namespace std::string_view_literals;
            constexpr std::string_view awkward[] = {
                "'"sv,
                "\\"sv,
                "\\x41"sv,
                ", '"sv,
                "})"sv,
                "\n"sv,
                "\0"sv,
                "\x7f"sv,
                "\xc3\xa9"sv,
                "\xe2\x82\xac"sv,
                "\xf0\x9f\x98\x80"sv,
                "\xc3"sv,
                "\xe2\x82"sv,
                "\xf0\x9f\x98"sv,
                "\x80"sv,
                "\xc0\xaf"sv,
                "\xed\xa0\x80"sv,
                "\xf5\x80\x80\x80"sv};
            std::string bytes;
            for (std::size_t left = below(random, 6); left != 0; --left) {
                if (below(random, 2)) {
                    bytes += awkward[below(random, std::size(awkward))];
                } else {
                    bytes += static_cast<char>('a' + below(random, 26));
                }
            }
            return Zin::String(bytes);
        } else if constexpr (describe::Described<T>) {
            T value;
            describe::schemaOf<T>.forEach([&](auto field) {
                field.in(value) = randomValue<typename decltype(field)::Value>(random);
            });
            return value;
        } else if constexpr (requires(T & collection) { collection.members(); }) {
            T collection;
            for (std::size_t left = below(random, 4); left != 0; --left) {
                const auto key = randomValue<typename T::Key>(random);
                if constexpr (std::is_void_v<typename T::Value>) {
                    collection.put(key);
                } else if (!(key == typename T::Key{})) {
                    // Under the default key a member has no wire form.
                    collection.put(key, randomValue<typename T::Value>(random));
                }
            }
            return collection;
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

// Types whose hash leaves something out specialise this: whether these values, which differ in
// one field, may hash alike.
template <class T>
bool mayHashAlike(const T&, const T&) {
    return false;
}

// Types that read more than one text as the same value specialise this as false.
template <class T>
inline constexpr bool oneTextPerValue = [] {
    bool one = !std::floating_point<T>;
    if constexpr (describe::Value<T>) {
        describe::schemaOf<T>.forEach(
            [&](auto field) { one = one && oneTextPerValue<typename decltype(field)::Value>; });
    }
    return one;
}();

}  // namespace laws
