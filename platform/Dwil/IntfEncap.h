// IntfEncap is an encapsulation on an interface: the frames that arrive on, or leave through,
// the interface with these VLAN tags (IEEE 802.1Q). It names an attachment circuit, or one end
// of a pseudowire.
//
// Text: the interface and its tags, "Ethernet3/1<100,0>", "Pseudowire12<any,none>". A tag of 0
// is not there ("none"), one of 4095 may be any ("any"). 12 bytes on the attribute log.

#pragma once

#include <string_view>

#include "Bridging/VlanId.h"
#include "Dwil/Strep.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Dwil {

class IntfEncap : public Zin::Value<IntfEncap> {
  public:
    // A VLAN tag, any, or none.
    using Tag = Bridging::VlanIdOrAnyOrNone;

    static consteval auto schema() {
        return describe::value(
            "Dwil::IntfEncap",
            describe::field<&IntfEncap::intfId_>("intfId"),
            describe::field<&IntfEncap::outerTag_>("outerTag"),
            describe::field<&IntfEncap::innerTag_>("innerTag"));
    }

    constexpr IntfEncap() = default;
    // The fields in the order of their declaration.
    constexpr explicit IntfEncap(Vorn::IntfId intfId, Tag outerTag = {}, Tag innerTag = {})
        : intfId_(intfId), outerTag_(outerTag), innerTag_(innerTag) {}

    constexpr Vorn::IntfId intfId() const { return intfId_; }
    constexpr void intfIdIs(Vorn::IntfId intfId) { intfId_ = intfId; }
    constexpr Tag outerTag() const { return outerTag_; }
    constexpr void outerTagIs(Tag outerTag) { outerTag_ = outerTag; }
    constexpr Tag innerTag() const { return innerTag_; }
    constexpr void innerTagIs(Tag innerTag) { innerTag_ = innerTag; }

    ZIN_EXPORT Zin::String stringValue() const;
    static IntfEncap fromStringValue(std::string_view text) {
        return Zin::wholeText<IntfEncap>(text);
    }
    ZIN_EXPORT static IntfEncap textNext(Zin::TextReader& reader);

  private:
    Vorn::IntfId intfId_;
    Tag outerTag_;
    Tag innerTag_;
};

}  // namespace Dwil
