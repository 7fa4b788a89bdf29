// MplsLabel holds the label of an MPLS label stack entry: 20 bits on the wire of the network
// (RFC 3032), 32 bits here, so that values beyond any label can say why there is none.
//
// Its text is the decimal number.

#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "Vorn/Strep.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Vorn {

class MplsLabel : public Zin::Value<MplsLabel> {
  public:
    // One more than the largest label: none was assigned or learned.
    static constexpr std::uint32_t noLabel = 0x100000;

    static consteval auto schema() {
        return describe::value("Vorn::MplsLabel", describe::field<&MplsLabel::value_>("value"));
    }

    constexpr MplsLabel() = default;
    constexpr explicit MplsLabel(std::uint32_t value) : value_(value) {}

    constexpr std::uint32_t value() const { return value_; }
    constexpr void valueIs(std::uint32_t value) { value_ = value; }

    Zin::String stringValue() const { return std::to_string(value_); }
    static MplsLabel fromStringValue(std::string_view text) {
        return Zin::wholeText<MplsLabel>(text);
    }
    static MplsLabel textNext(Zin::TextReader& reader) {
        constexpr std::uint32_t most = std::numeric_limits<std::uint32_t>::max();
        return MplsLabel(static_cast<std::uint32_t>(reader.number(0, most)));
    }

  private:
    std::uint32_t value_ = noLabel;
};

}  // namespace Vorn
