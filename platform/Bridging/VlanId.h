// The four VLAN id types (IEEE 802.1Q, 12 bits): an id from 1 to 4094, which may also be 0 for
// "no tag" or 4095 for "any tag" where the type's name says so.
//
// A value holds any 16-bit number: forwarding state says 4095 also where configuration may not,
// and what hardware reports is kept as it is. The range is checked where people write: in text,
// which is the decimal number. A number out of range there is a Zin::RangeException.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Bridging/Strep.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Bridging {

namespace detail {

// Throws a Zin::RangeException that names the type.
ZIN_EXPORT std::uint16_t vlanNumberNext(
    Zin::TextReader& reader,
    std::string_view typeName,
    std::uint16_t least,
    std::uint16_t most);

}  // namespace detail

template <bool anyAllowed, bool noneAllowed>
class VlanNumber : public Zin::Value<VlanNumber<anyAllowed, noneAllowed>> {
  public:
    // The least and the greatest number that text may hold.
    static constexpr std::uint16_t least = noneAllowed ? 0 : 1;
    // The greatest number that text may hold.
    static constexpr std::uint16_t most = anyAllowed ? 4095 : 4094;

    // The qualified name of the type.
    static constexpr std::string_view typeName() {
        if (anyAllowed)
            return noneAllowed ? "Bridging::VlanIdOrAnyOrNone" : "Bridging::VlanIdOrAny";
        return noneAllowed ? "Bridging::VlanIdOrNone" : "Bridging::VlanId";
    }
    static consteval auto schema() {
        return describe::value(typeName(), describe::field<&VlanNumber::value_>("value"));
    }

    constexpr VlanNumber() = default;
    constexpr explicit VlanNumber(std::uint16_t value) : value_(value) {}

    constexpr std::uint16_t value() const { return value_; }
    constexpr void valueIs(std::uint16_t value) { value_ = value; }

    Zin::String stringValue() const { return std::to_string(value_); }
    static VlanNumber fromStringValue(std::string_view text) {
        return Zin::wholeText<VlanNumber>(text);
    }
    static VlanNumber textNext(Zin::TextReader& reader) {
        return VlanNumber(detail::vlanNumberNext(reader, typeName(), least, most));
    }

  private:
    std::uint16_t value_ = 0;
};

// 1 to 4094.
using VlanId = VlanNumber<false, false>;
// 0 to 4094; 0 is no tag.
using VlanIdOrNone = VlanNumber<false, true>;
// 1 to 4095; 4095 is any tag.
using VlanIdOrAny = VlanNumber<true, false>;
// 0 to 4095; 0 is no tag, 4095 is any.
using VlanIdOrAnyOrNone = VlanNumber<true, true>;

}  // namespace Bridging
