// PseudowireUserKey names the user of a signalled pseudowire or of a label: a connector of a
// patch, or a pseudowire of a VPLS instance. It converts to and from the keys of connectors.
//
// Ordered by type, name, VPWS name, peer. On the attribute log it takes 32 bytes and both
// names.

#pragma once

#include <cstdint>
#include <utility>

#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/Strep.h"
#include "Vorn/IpGenAddr.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/Module.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/Strep.h"
#include "Zin/String.h"
#include "Zin/Value.h"

extern ZIN_EXPORT const Zin::ZinModule _PwPseudowireUserKey_1d4dfff0_zinModule;

namespace Pseudowire {

class PseudowireUserKey : public Zin::Value<PseudowireUserKey> {
  public:
    // What uses the pseudowire, which decides what else the key holds.
    enum class UserType : std::uint8_t {
        patchLdpConnector,      // RFC 8077
        patchBgpVpwsConnector,  // RFC 8214
        vplsLdpPseudowire,      // RFC 4762, the pseudowire configured by name
        vplsLdpProfileAndPeer,  // RFC 4762, the peer discovered under a profile
    };

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::PseudowireUserKey",
            describe::field<&PseudowireUserKey::userType_>("userType"),
            describe::field<&PseudowireUserKey::name_>("name"),
            describe::field<&PseudowireUserKey::vpwsName_>("vpwsName"),
            describe::field<&PseudowireUserKey::peerAddr_>("peerAddr"),
            describe::function<&PseudowireUserKey::fromConnectorKey>("fromConnectorKey"),
            describe::function<&PseudowireUserKey::connectorKey>("connectorKey"),
            describe::function<&PseudowireUserKey::isPatch>("isPatch"),
            describe::function<&PseudowireUserKey::toStrep>("toStrep"));
    }

    PseudowireUserKey() = default;
    PseudowireUserKey(
        UserType userType,
        Zin::String name,
        Zin::String vpwsName,
        const Vorn::IpGenAddr& peerAddr)
        : userType_(userType),
          name_(std::move(name)),
          vpwsName_(std::move(vpwsName)),
          peerAddr_(peerAddr) {}
    explicit PseudowireUserKey(Zin::NboAttrLog::In& in)
        : PseudowireUserKey(in.next<PseudowireUserKey>()) {}
    PseudowireUserKey(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : PseudowireUserKey(Zin::parsed<PseudowireUserKey>(it, end)) {}

    UserType userType() const { return userType_; }
    void userTypeIs(UserType userType) { userType_ = userType; }
    // Of the connector, the pseudowire, or the profile.
    const Zin::String& name() const { return name_; }
    void nameIs(Zin::String name) { name_ = std::move(name); }
    // The service of a BGP connector.
    const Zin::String& vpwsName() const { return vpwsName_; }
    void vpwsNameIs(Zin::String vpwsName) { vpwsName_ = std::move(vpwsName); }
    // The other end, for VPLS.
    const Vorn::IpGenAddr& peerAddr() const { return peerAddr_; }
    void peerAddrIs(const Vorn::IpGenAddr& peerAddr) { peerAddr_ = peerAddr; }

    // The peer counts by the bytes of its address alone, whatever its family.
    ZIN_EXPORT std::uint32_t hash(std::uint32_t seed) const;

    // Whether the user is a connector of a patch. Fatal assertion for a type that has no name.
    ZIN_EXPORT bool isPatch() const;
    // The user that an LDP or a BGP connector is. Fatal assertion for a local one.
    ZIN_EXPORT static PseudowireUserKey fromConnectorKey(const ConnectorKey& connectorKey);
    // Its inverse. Fatal assertion for users of VPLS.
    ZIN_EXPORT ConnectorKey connectorKey() const;
    // Names stand as they are, without quotes:
    // "userType=patchLdpConnector; name=pw1; vpwsName=; peerAddr=none".
    ZIN_EXPORT Zin::String toStrep() const;

  private:
    UserType userType_ = UserType::patchLdpConnector;
    Zin::String name_;
    Zin::String vpwsName_;
    Vorn::IpGenAddr peerAddr_;
};

consteval auto enumeration(PseudowireUserKey::UserType) {
    using enum PseudowireUserKey::UserType;
    return describe::enumerators<PseudowireUserKey::UserType>(
        "Pseudowire::PseudowireUserKey::UserType",
        {{patchLdpConnector, "patchLdpConnector"},
         {patchBgpVpwsConnector, "patchBgpVpwsConnector"},
         {vplsLdpPseudowire, "vplsLdpPseudowire"},
         {vplsLdpProfileAndPeer, "vplsLdpProfileAndPeer"}});
}

// The enumerator of that number, or of that name; throws Zin::RangeException when there is
// none.
ZIN_EXPORT Zin::EnumType UserTypeInstance(std::uint32_t number);
ZIN_EXPORT Zin::EnumType UserTypeInstance(const Zin::String& name);

}  // namespace Pseudowire
