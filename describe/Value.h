// What a value type gets from its schema without help of any runtime: equality, order, and
// whether it differs from a default-constructed value.
//
// Operators<T> is an empty base. It makes argument-dependent lookup find the operators below
// for T in whatever namespace T lives.

#pragma once

#include <compare>
#include <concepts>
#include <type_traits>

#include "describe/Schema.h"

namespace describe {

template <class T>
class Operators {};

template <class T>
concept Value = Described<T> && std::derived_from<T, Operators<T>>;

// A value type that is never ordered, or never hashed, says so: `static constexpr bool ordered
// = false`. Asking for what it has not is then an error when it is compiled.
template <class T>
concept OrderedValue = Value<T> && !requires {
    requires !T::ordered;
};
template <class T>
concept HashedValue = Value<T> && !requires {
    requires !T::hashed;
};

namespace detail {

// Whether those fields are equal that lie in the value itself, or those that may not.
template <bool inValue, class T>
constexpr bool fieldsEqual(const T& a, const T& b) {
    return schemaOf<T>.all([&](auto field) {
        using Field = typename decltype(field)::Value;
        if constexpr (std::is_trivially_copyable_v<Field> == inValue) {
            return field.in(a) == field.in(b);
        } else {
            return true;
        }
    });
}

// Also of a field that knows < alone.
template <class F>
constexpr std::weak_ordering threeWay(const F& a, const F& b) {
    if constexpr (std::three_way_comparable<F, std::weak_ordering>) {
        return a <=> b;
    } else {
        return a < b   ? std::weak_ordering::less
               : b < a ? std::weak_ordering::greater
                       : std::weak_ordering::equivalent;
    }
}

}  // namespace detail

// Field by field; those that lie in the value itself first, as others may wait for memory.
template <Value T>
constexpr bool operator==(const T& a, const T& b) {
    return detail::fieldsEqual<true>(a, b) && detail::fieldsEqual<false>(a, b);
}

// The first field that differs decides, with its own order. Each field is compared once.
template <OrderedValue T>
constexpr std::weak_ordering operator<=>(const T& a, const T& b) {
    std::weak_ordering order = std::weak_ordering::equivalent;
    (void)schemaOf<T>.any([&](auto field) {
        order = detail::threeWay(field.in(a), field.in(b));
        return std::is_neq(order);
    });
    return order;
}

}  // namespace describe
