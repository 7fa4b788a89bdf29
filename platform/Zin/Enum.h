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

// One enumerator, for code that knows no enumeration: found by number or by name. A number or a
// name that no enumerator has throws a RangeException that says which there are.
class ZIN_EXPORT EnumType {
  public:
    // The enumerator of that number.
    template <describe::DescribedEnum E>
    static EnumType instance(std::uint32_t number) {
        const auto& all = describe::enumerationOf<E>;
        return EnumType(all.typeName, all.enumerators, number);
    }
    // The enumerator of that name.
    template <describe::DescribedEnum E>
    static EnumType instance(const String& name) {
        const auto& all = describe::enumerationOf<E>;
        return EnumType(all.typeName, all.enumerators, name.view());
    }

    // The qualified name of the enumeration.
    std::string_view typeName() const noexcept { return typeName_; }
    // The number of the enumerator.
    std::uint32_t value() const noexcept { return enumerator_->number; }
    String stringValue() const { return enumerator_->name; }

  private:
    using All = std::span<const describe::Enumerator>;

    EnumType(std::string_view typeName, All all, std::uint32_t number);
    EnumType(std::string_view typeName, All all, std::string_view name);

    std::string_view typeName_;
    const describe::Enumerator* enumerator_;
};

// The enumerator's name, or its number when it has none.
template <describe::DescribedEnum E>
String stringValue(E value) {
    return enumName(describe::enumerationOf<E>.enumerators, static_cast<std::uint32_t>(value));
}

}  // namespace Zin
