// Brings nearer what a value keeps elsewhere in memory, without waiting for it: the characters
// of its strings. Who visits many values asks for those of all before the first, so that the
// processor waits for them together instead of one after the other.

#pragma once

#include <concepts>

#include "Zin/String.h"
#include "describe/Schema.h"

namespace Zin {

// Whether values of the type have strings in them, or are strings.
template <class T>
consteval bool keepsElsewhere() {
    if constexpr (describe::Described<T>) {
        return describe::schemaOf<T>.any(
            [](auto field) { return keepsElsewhere<typename decltype(field)::Value>(); });
    } else {
        return std::same_as<T, String>;
    }
}

// Asks for what one value keeps elsewhere. Costs about an instruction per string.
template <class T>
void fetchKept(const T& value) noexcept {
    if constexpr (std::same_as<T, String>) {
        value.fetch();
    } else if constexpr (keepsElsewhere<T>()) {
        describe::schemaOf<T>.forEach([&](auto field) { fetchKept(field.in(value)); });
    }
}

}  // namespace Zin
