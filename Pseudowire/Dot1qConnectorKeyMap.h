// Dot1qConnectorKeyMap finds the connector that a port and a pair of tags belong to, and the
// tags of a connector. For each connector in dot1qEncap, connectorKey leads from its port and
// tags back to it.

#pragma once

#include "Bridging/Dot1qEncap.h"
#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/PseudowireStatusModule.h"
#include "Pseudowire/PwEncap.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Pseudowire {

class ZIN_EXPORT Dot1qConnectorKeyMap final : public frame::EntityOf<Dot1qConnectorKeyMap> {
  public:
    struct ZinConnectorKey : Zin::HashMap2018NodeExternKey<
                                 false,
                                 0x1a36d542,
                                 IntfIdDot1qEncap,
                                 ConnectorKey,
                                 false> {};
    struct ZinDot1qEncap : Zin::HashMap2018NodeExternKey<
                               false,
                               0xbef87e22,
                               ConnectorKey,
                               Bridging::Dot1qEncap,
                               false> {};
    using ConnectorKeyMap = Zin::HashMap2018<ZinConnectorKey, IntfIdDot1qEncap, ConnectorKey>;
    using Dot1qEncapMap = Zin::HashMap2018<ZinDot1qEncap, ConnectorKey, Bridging::Dot1qEncap>;

    struct Notifiee : frame::NotifieeOf<Dot1qConnectorKeyMap> {
        using NotifieeOf::NotifieeOf;
        virtual void onConnectorKey(const IntfIdDot1qEncap& /*key*/) {}
        virtual void onDot1qEncap(const ConnectorKey& /*key*/) {}
    };

    static consteval auto schema() {
        using Map = Dot1qConnectorKeyMap;
        return frame::entity<_PseudowireStatus_6edd4dd7_zinModule, 8>(
            "Pseudowire::Dot1qConnectorKeyMap",
            frame::attribute<258, &Map::connectorKey_, &Notifiee::onConnectorKey>(
                "connectorKey"),
            frame::attribute<259, &Map::dot1qEncap_, &Notifiee::onDot1qEncap>("dot1qEncap"),
            frame::function<260, &Map::add>("add"),
            frame::function<261, &Map::remove>("remove"),
            frame::function<262, &Map::clear>("clear"),
            frame::function<263, &Map::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<Dot1qConnectorKeyMap> Dot1qConnectorKeyMapIs(const Zin::String& name);

    // The connectors by port and tags.
    const ConnectorKeyMap& connectorKey() const { return connectorKey_; }
    // A default key when there is no such circuit.
    ConnectorKey connectorKey(const IntfIdDot1qEncap& circuit) const {
        return memberOf<&Dot1qConnectorKeyMap::connectorKey_>(circuit);
    }
    void connectorKeyIs(const IntfIdDot1qEncap& circuit, const ConnectorKey& connector) {
        memberIs<&Dot1qConnectorKeyMap::connectorKey_>(circuit, connector);
    }
    // The removed key, or a default one.
    ConnectorKey connectorKeyDel(const IntfIdDot1qEncap& circuit) {
        return memberDel<&Dot1qConnectorKeyMap::connectorKey_>(circuit);
    }
    void connectorKeyDelAll() { membersDelAll<&Dot1qConnectorKeyMap::connectorKey_>(); }

    // The tags by connector.
    const Dot1qEncapMap& dot1qEncap() const { return dot1qEncap_; }
    // Without tags when there is no such connector.
    Bridging::Dot1qEncap dot1qEncap(const ConnectorKey& connector) const {
        return memberOf<&Dot1qConnectorKeyMap::dot1qEncap_>(connector);
    }
    void dot1qEncapIs(const ConnectorKey& connector, const Bridging::Dot1qEncap& encap) {
        memberIs<&Dot1qConnectorKeyMap::dot1qEncap_>(connector, encap);
    }
    // The removed tags, or none.
    Bridging::Dot1qEncap dot1qEncapDel(const ConnectorKey& connector) {
        return memberDel<&Dot1qConnectorKeyMap::dot1qEncap_>(connector);
    }
    void dot1qEncapDelAll() { membersDelAll<&Dot1qConnectorKeyMap::dot1qEncap_>(); }

    // Enters a local connector with its tags, on its port also when it is on a subinterface.
    // What the connector had before is not looked for: remove() it first.
    void add(const ConnectorKey& connectorKey, const Bridging::Dot1qEncap& dot1qEncap);
    // Removes the connector and returns the tags that it had, none when it was unknown.
    Bridging::Dot1qEncap remove(const ConnectorKey& connectorKey);
    // Empties both maps, connectorKey first.
    void clear();

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    Dot1qConnectorKeyMap(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    ConnectorKeyMap connectorKey_;
    Dot1qEncapMap dot1qEncap_;
};

ZIN_EXPORT Zin::Ptr<Dot1qConnectorKeyMap> dot1qConnectorKeyMapFactory(const Zin::String& name);

}  // namespace Pseudowire
