// ConnectorKey names one end of a patch: a local circuit by its interface, an LDP pseudowire by
// its configured name, a BGP pseudowire by the names of its VPN instance and of its service
// (RFC 8214).
//
// A key is made by one of the three builders, which clear what does not belong to the kind.
// Keys from a peer are kept as they are, also those of a kind that is not known here.
//
// Text: "local:Ethernet3/1", "ldp:'pw1'", "bgp:'vpn1','service1'"; a key that no builder makes
// is written in full, "other:7,'name','vpwsName',none", beginning with the number of its kind.

#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "Pseudowire/Strep.h"
#include "Vorn/IntfId.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "Zin/TextReader.h"
#include "Zin/Value.h"

namespace Pseudowire {

enum class ConnectorType : std::uint8_t { local_, ldp, bgp };

consteval auto enumeration(ConnectorType) {
    using enum ConnectorType;
    return describe::enumerators<ConnectorType>(
        "Pseudowire::ConnectorType",
        {{local_, "local"}, {ldp, "ldp"}, {bgp, "bgp"}});
}

class ConnectorKey : public Zin::Value<ConnectorKey> {
  public:
    static consteval auto schema() {
        return describe::value(
            "Pseudowire::ConnectorKey",
            describe::field<&ConnectorKey::connectorType_>("connectorType"),
            describe::field<&ConnectorKey::name_>("name"),
            describe::field<&ConnectorKey::vpwsName_>("vpwsName"),
            describe::field<&ConnectorKey::localIntfId_>("localIntfId"));
    }

    // The local circuit on no interface.
    ConnectorKey() = default;
    ConnectorKey(
        ConnectorType connectorType,
        Zin::String name,
        Zin::String vpwsName,
        Vorn::IntfId localIntfId)
        : connectorType_(connectorType),
          name_(std::move(name)),
          vpwsName_(std::move(vpwsName)),
          localIntfId_(localIntfId) {}

    // Becomes the key of a local connector: an interface.
    void localConnectorKeyIs(Vorn::IntfId localIntfId) {
        *this = ConnectorKey(ConnectorType::local_, {}, {}, localIntfId);
    }
    // Becomes the key of an LDP connector, by its name.
    void ldpConnectorKeyIs(Zin::String name) {
        *this = ConnectorKey(ConnectorType::ldp, std::move(name), {}, {});
    }
    // Becomes the key of a BGP connector: a VPN instance, and a service of it.
    void bgpConnectorKeyIs(Zin::String name, Zin::String vpwsName) {
        *this = ConnectorKey(ConnectorType::bgp, std::move(name), std::move(vpwsName), {});
    }

    ConnectorType connectorType() const { return connectorType_; }
    // Whether it is that of a local connector.
    bool isLocal() const { return connectorType_ == ConnectorType::local_; }
    // Of an LDP connector, or the VPN instance of a BGP connector.
    const Zin::String& name() const { return name_; }
    // The service of a BGP connector.
    const Zin::String& vpwsName() const { return vpwsName_; }
    // The interface of a local connector.
    Vorn::IntfId localIntfId() const { return localIntfId_; }

    ZIN_EXPORT Zin::String stringValue() const;
    static ConnectorKey fromStringValue(std::string_view text) {
        return Zin::wholeText<ConnectorKey>(text);
    }
    ZIN_EXPORT static ConnectorKey textNext(Zin::TextReader& reader);

  private:
    // Whether a builder of the key's kind makes this key.
    bool isOfItsKind() const;

    ConnectorType connectorType_ = ConnectorType::local_;
    Zin::String name_;
    Zin::String vpwsName_;
    Vorn::IntfId localIntfId_;
};

}  // namespace Pseudowire
