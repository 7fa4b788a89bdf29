// Dot1qEncap is the pair of VLAN tags (IEEE 802.1Q) that frames of a circuit carry: the outer
// and the inner one, 0 for a tag that is not there. An outer tag of 4095 stands for any tag.
//
// Its text is "<outer,inner>"; text of a tag above 4094 is a Zin::RangeException.

#pragma once

#include <string_view>

#include "Bridging/Strep.h"
#include "Bridging/VlanId.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Bridging {

class Dot1qEncap : public Zin::Value<Dot1qEncap> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Bridging::Dot1qEncap",
            describe::field<&Dot1qEncap::outer_>("outer"),
            describe::field<&Dot1qEncap::inner_>("inner"));
    }

    constexpr Dot1qEncap() = default;
    constexpr Dot1qEncap(VlanIdOrNone outer, VlanIdOrNone inner)
        : outer_(outer), inner_(inner) {}

    constexpr VlanIdOrNone outer() const { return outer_; }
    constexpr void outerIs(VlanIdOrNone outer) { outer_ = outer; }
    constexpr VlanIdOrNone inner() const { return inner_; }
    constexpr void innerIs(VlanIdOrNone inner) { inner_ = inner; }

    ZIN_EXPORT Zin::String stringValue() const;
    static Dot1qEncap fromStringValue(std::string_view text) {
        return Zin::wholeText<Dot1qEncap>(text);
    }
    ZIN_EXPORT static Dot1qEncap textNext(Zin::TextReader& reader);

  private:
    VlanIdOrNone outer_;
    VlanIdOrNone inner_;
};

}  // namespace Bridging
