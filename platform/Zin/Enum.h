// Names of enumerators. An enumeration is described beside its definition:
//
//     enum class GroupIdAllocation : std::uint8_t { byPort, byPseudowire, manual };
//     consteval auto enumeration(GroupIdAllocation) {
//         using enum GroupIdAllocation;
//         return describe::enumerators<GroupIdAllocation>(
//             "Pseudowire::GroupIdAllocation",
//             {{byPort, "byPort"}, {byPseudowire, "byPseudowire"}, {manual, "manual"}});
//     }
//
// A value of an enumeration may be a number that has no name: a peer of a newer build knows
// more enumerators. Such a number is kept, and its text is the number.

#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <string_view>

#include "Zin/Export.h"
#include "Zin/String.h"
#include "describe/Schema.h"

namespace Zin {

// The name of `number`, or its decimal digits when no enumerator has it.
ZIN_EXPORT String enumName(std::span<const describe::Enumerator> all, std::uint32_t number);

// The number of `name`, or nothing.
ZIN_EXPORT std::optional<std::uint32_t> enumNumber(
    std::span<const describe::Enumerator> all,
    std::string_view name) noexcept;

template <describe::DescribedEnum E>
String stringValue(E value) {
    return enumName(describe::enumerationOf<E>.enumerators, static_cast<std::uint32_t>(value));
}

}  // namespace Zin
