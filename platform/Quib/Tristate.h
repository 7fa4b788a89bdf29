// TristateU16 and TristateU32 hold a number or nothing. The number of an unset value is 0,
// always.
//
// Text is the decimal number or "unset". On the attribute log a value takes one byte more than
// its number, set or not; a number that comes with "unset" is refused.

#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "Quib/Strep.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Zin::NboAttrLog {
class In;
}

namespace Quib {

template <class Number>
class Tristate : public Zin::Value<Tristate<Number>> {
  public:
    static consteval auto schema() {
        return describe::value(
            std::is_same_v<Number, std::uint16_t> ? "Quib::TristateU16" : "Quib::TristateU32",
            describe::field<&Tristate::isSet_>("isSet"),
            describe::field<&Tristate::value_>("value"));
    }

    constexpr Tristate() = default;
    constexpr explicit Tristate(Number value) : isSet_(true), value_(value) {}
    // The number is dropped when it is not set.
    constexpr Tristate(bool isSet, Number value) : isSet_(isSet), value_(isSet ? value : 0) {}

    constexpr bool isSet() const { return isSet_; }
    // 0 when unset.
    constexpr Number value() const { return value_; }
    constexpr void valueIs(Number value) { *this = Tristate(value); }
    constexpr void valueDel() { *this = Tristate(); }

    Zin::String stringValue() const {
        return isSet_ ? Zin::String(std::to_string(value_)) : Zin::String("unset");
    }
    static Tristate fromStringValue(std::string_view text) {
        return Zin::wholeText<Tristate>(text);
    }
    static Tristate textNext(Zin::TextReader& reader) {
        if (reader.skip("unset")) return Tristate();
        return Tristate(
            static_cast<Number>(reader.number(0, std::numeric_limits<Number>::max())));
    }

    // Reads the value from a message of the attribute log.
    static Tristate attrLogNext(Zin::NboAttrLog::In& in);

  private:
    bool isSet_ = false;
    Number value_ = 0;
};

// A number of 16 bits, or none.
using TristateU16 = Tristate<std::uint16_t>;
// A number of 32 bits, or none.
using TristateU32 = Tristate<std::uint32_t>;

extern template ZIN_EXPORT TristateU16 TristateU16::attrLogNext(Zin::NboAttrLog::In& in);
extern template ZIN_EXPORT TristateU32 TristateU32::attrLogNext(Zin::NboAttrLog::In& in);

}  // namespace Quib
