// PseudowireLdpKey identifies a pseudowire that LDP signals with the PWid FEC element (RFC
// 8077): the address of the peer and the number that both ends know the pseudowire by. Ordered
// by address, then by number. 24 bytes on the attribute log.
//
// Text: "3.3.3.3:1002", "[2001:db8::3]:1002", "none:1002" when no peer is given.

#pragma once

#include <string_view>

#include "Pseudowire/PseudowireId.h"
#include "Pseudowire/Strep.h"
#include "Vorn/IpGenAddr.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Pseudowire {

class PseudowireLdpKey : public Zin::Value<PseudowireLdpKey> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::PseudowireLdpKey",
            describe::field<&PseudowireLdpKey::peerAddr_>("peerAddr"),
            describe::field<&PseudowireLdpKey::pwId_>("pwId"));
    }

    PseudowireLdpKey() = default;
    PseudowireLdpKey(const Vorn::IpGenAddr& peerAddr, PseudowireId pwId)
        : peerAddr_(peerAddr), pwId_(pwId) {}

    const Vorn::IpGenAddr& peerAddr() const { return peerAddr_; }
    void peerAddrIs(const Vorn::IpGenAddr& peerAddr) { peerAddr_ = peerAddr; }
    PseudowireId pwId() const { return pwId_; }
    void pwIdIs(PseudowireId pwId) { pwId_ = pwId; }

    ZIN_EXPORT Zin::String stringValue() const;
    static PseudowireLdpKey fromStringValue(std::string_view text) {
        return Zin::wholeText<PseudowireLdpKey>(text);
    }
    ZIN_EXPORT static PseudowireLdpKey textNext(Zin::TextReader& reader);

  private:
    Vorn::IpGenAddr peerAddr_;
    PseudowireId pwId_ = 0;
};

}  // namespace Pseudowire
