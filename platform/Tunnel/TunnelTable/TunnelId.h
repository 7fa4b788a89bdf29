// TunnelId names an entry of the switch's tunnel table in 64 bits: what carries a pseudowire
// across the network. The upper 8 bits say who made the tunnel, the lower 56 number it; 0 names
// none.
//
// Text: "none", the maker and the number as in "ldp.7", "rsvpTe.3", "0x" with 16 hexadecimal
// digits for an id of no known maker.

#pragma once

#include <cstdint>
#include <string_view>

#include "Tunnel/TunnelTable/Strep.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Tunnel::TunnelTable {

enum class TunnelType : std::uint8_t {
    none,
    staticLsp,
    ldp,             // RFC 5036
    rsvpTe,          // RFC 3209
    bgpLabeled,      // RFC 8277
    segmentRouting,  // RFC 8660
};

consteval auto enumeration(TunnelType) {
    using enum TunnelType;
    return describe::enumerators<TunnelType>(
        "Tunnel::TunnelTable::TunnelType",
        {{none, "none"},
         {staticLsp, "staticLsp"},
         {ldp, "ldp"},
         {rsvpTe, "rsvpTe"},
         {bgpLabeled, "bgpLabeled"},
         {segmentRouting, "segmentRouting"}});
}

class TunnelId : public Zin::Value<TunnelId> {
  public:
    // The highest index: 56 bits.
    static constexpr std::uint64_t mostIndex = 0x00ff'ffff'ffff'ffff;

    static consteval auto schema() {
        return describe::value(
            "Tunnel::TunnelTable::TunnelId",
            describe::field<&TunnelId::value_>("value"));
    }

    constexpr TunnelId() = default;
    constexpr explicit TunnelId(std::uint64_t value) : value_(value) {}
    // REQUIRES: index <= mostIndex.
    constexpr TunnelId(TunnelType type, std::uint64_t index)
        : value_(static_cast<std::uint64_t>(type) << 56 | index) {}

    constexpr std::uint64_t value() const { return value_; }
    constexpr void valueIs(std::uint64_t value) { value_ = value; }

    // What sort of tunnel it is.
    constexpr TunnelType type() const { return static_cast<TunnelType>(value_ >> 56); }
    // The tunnel's number among those of its type.
    constexpr std::uint64_t index() const { return value_ & mostIndex; }

    ZIN_EXPORT Zin::String stringValue() const;
    // The same text.
    Zin::String toStrep() const { return stringValue(); }
    static TunnelId fromStringValue(std::string_view text) {
        return Zin::wholeText<TunnelId>(text);
    }
    ZIN_EXPORT static TunnelId textNext(Zin::TextReader& reader);

  private:
    std::uint64_t value_ = 0;
};

}  // namespace Tunnel::TunnelTable
