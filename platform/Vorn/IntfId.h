// IntfId names an interface of the switch in 64 bits: a value that is stored, compared and sent
// in place of the interface's name. 0 names none. docs/interface-ids.md has the layout.
//
// Each id has one text and each text one id: the interface's name ("Ethernet3/1/2", "swp14",
// "eth4.303.13", "Port-Channel7", "Pseudowire12"), "none" for 0, and "0x" with 16 hexadecimal
// digits for a number that follows no naming. What kind of interface an id names is told by
// Vorn/IntfIdKinds.h.
//
// The order of ids is that of kind, naming, number, tags: a port comes right before its
// subinterfaces.

#pragma once

#include <cstdint>
#include <string_view>

#include "Vorn/Strep.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Vorn {

class IntfId : public Zin::Value<IntfId> {
  public:
    static consteval auto schema() {
        return describe::value("Vorn::IntfId", describe::field<&IntfId::value_>("value"));
    }

    constexpr IntfId() = default;
    constexpr explicit IntfId(std::uint64_t value) : value_(value) {}

    constexpr std::uint64_t value() const { return value_; }
    constexpr void valueIs(std::uint64_t value) { value_ = value; }

    ZIN_EXPORT Zin::String stringValue() const;
    static IntfId fromStringValue(std::string_view text) {
        return Zin::wholeText<IntfId>(text);
    }
    ZIN_EXPORT static IntfId textNext(Zin::TextReader& reader);

  private:
    std::uint64_t value_ = 0;
};

}  // namespace Vorn
