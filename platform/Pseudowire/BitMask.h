// BitMask<Bit> is a set of single-bit flags in one number. The enumeration Bit names the bits,
// each enumerator being a mask of one; beside it stands `consteval std::string_view
// maskName(Bit)` with the qualified name of the set's type. Bits without a name are kept.
//
// Text is the names of the bits in ascending order, "routerAlert|ttlExpiry", then the bits
// without a name as one hexadecimal number, "lspPing|0xc0"; "none" for the empty set. On the
// attribute log a set takes the bytes of its number.

#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <type_traits>

#include "Pseudowire/Strep.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Pseudowire {

namespace detail {

ZIN_EXPORT Zin::String bitsText(std::span<const describe::Enumerator> all, std::uint32_t bits);
ZIN_EXPORT std::uint32_t bitsTextNext(
    std::span<const describe::Enumerator> all,
    std::uint32_t most,
    Zin::TextReader& reader);

}  // namespace detail

template <describe::DescribedEnum Bit>
class BitMask : public Zin::Value<BitMask<Bit>> {
  public:
    // What the mask is stored in.
    using Number = std::underlying_type_t<Bit>;

    static consteval auto schema() {
        return describe::value(maskName(Bit{}), describe::field<&BitMask::value_>("value"));
    }

    constexpr BitMask() = default;
    constexpr explicit BitMask(Number value) : value_(value) {}

    constexpr Number value() const { return value_; }
    constexpr void valueIs(Number value) { value_ = value; }

    // Whether the bit is set.
    constexpr bool bit(Bit bit) const { return (value_ & static_cast<Number>(bit)) != 0; }
    // Sets or clears the bit.
    constexpr void bitIs(Bit bit, bool set) {
        const Number mask = static_cast<Number>(bit);
        value_ = static_cast<Number>(set ? value_ | mask : value_ & ~mask);
    }

    Zin::String stringValue() const { return detail::bitsText(names(), value_); }
    static BitMask fromStringValue(std::string_view text) {
        return Zin::wholeText<BitMask>(text);
    }
    static BitMask textNext(Zin::TextReader& reader) {
        return BitMask(static_cast<Number>(
            detail::bitsTextNext(names(), std::numeric_limits<Number>::max(), reader)));
    }

  private:
    static std::span<const describe::Enumerator> names() {
        return describe::enumerationOf<Bit>.enumerators;
    }

    Number value_ = 0;
};

}  // namespace Pseudowire
