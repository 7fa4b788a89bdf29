#include "agent/ForwardingStatus.h"

#include <algorithm>
#include <utility>

#include "Vorn/IntfIdKinds.h"

namespace agent {

using Bridging::VlanIdOrNone;
using Pseudowire::Connector;
using Pseudowire::ConnectorType;
using Pseudowire::Dot1qTagOperation;
using Pseudowire::EncapAdjacency;
using Pseudowire::PseudowireType;

namespace {

constexpr std::uint16_t anyTag = 4095;

bool hasTags(const Connector& local) {
    return local.dot1qEncap().outer() != VlanIdOrNone();
}

Vorn::IntfId portOf(Vorn::IntfId intfId) {
    return Vorn::SubIntfId::isSubIntfId(intfId) ? Vorn::SubIntfId::parentIntfId(intfId)
                                                : intfId;
}

Pseudowire::LocalConnectorInfo infoOf(const Connector& local) {
    const Dwil::IntfEncap circuit = circuitOf(local);
    return {
        local.key().localIntfId(),
        Bridging::VlanIdOrAny(circuit.outerTag().value()),
        circuit.innerTag(),
        {}};
}

// The operation, and the tags that it is done with.
void tagsAre(EncapAdjacency& adjacency, Dot1qTagOperation operation, const Connector& local) {
    adjacency.dot1qTagOpIs(operation);
    adjacency.dot1qTagIs(local.dot1qEncap().outer());
    adjacency.dot1qTagInnerIs(local.dot1qEncap().inner());
}

// The tags by which frames were told apart here do not cross a pseudowire in raw mode; in
// tagged mode there must be one, if need be of VLAN 0 (RFC 4448, section 4.4.1).
EncapAdjacency towards(
    const Connector& pseudowire,
    const Leg& leg,
    const Connector& local,
    Zin::String patch) {
    EncapAdjacency adjacency(std::move(patch));
    adjacency.encapPwLabelIs(leg.adjacency.peerLabel());
    adjacency.pseudowireTypeIs(pseudowire.pseudowireType());
    adjacency.controlWordIs(leg.adjacency.controlWord());
    adjacency.flowLabelIs(leg.adjacency.flowLabel());
    adjacency.tunnelIdIs(leg.adjacency.tunnelId());
    const bool isTagged = pseudowire.pseudowireType() == PseudowireType::ethernetTagged;
    if (isTagged && !hasTags(local)) adjacency.dot1qTagOpIs(Dot1qTagOperation::push);
    if (!isTagged && hasTags(local)) tagsAre(adjacency, Dot1qTagOperation::pop, local);
    return adjacency;
}

EncapAdjacency across(const Connector& from, const Connector& to, Zin::String patch) {
    EncapAdjacency adjacency(std::move(patch));
    adjacency.isLocalAdjIs(true);
    adjacency.destIntfIdIs(to.key().localIntfId());
    if (from.dot1qEncap() == to.dot1qEncap()) return adjacency;
    if (!hasTags(to)) {
        tagsAre(adjacency, Dot1qTagOperation::pop, from);
    } else {
        const auto operation =
            hasTags(from) ? Dot1qTagOperation::swap : Dot1qTagOperation::push;
        tagsAre(adjacency, operation, to);
    }
    return adjacency;
}

// Frames enter the pseudowire with the label that its peer asked for.
std::map<Pseudowire::ConnectorKey, Leg> legsOf(const std::vector<PatchConnector>& connectors) {
    std::map<Pseudowire::ConnectorKey, Leg> legs;
    for (const auto& [config, signalled] : connectors) {
        if (config.key().connectorType() != ConnectorType::ldp) continue;
        const auto peer = signalled.peerInfo(config.ldpKey().peerAddr());
        if (peer.peerLabel() == Vorn::MplsLabel()) continue;
        const bool flowLabel =
            signalled.flowLabelType().bit(Pseudowire::FlowLabelDirection::transmit);
        legs.emplace(
            config.key(),
            Leg{config.ldpKey().peerAddr(),
                {peer.tunnelId(), peer.peerLabel(), flowLabel, peer.encapControlWord()}});
    }
    return legs;
}

}  // namespace

Dwil::IntfEncap circuitOf(const Connector& local) {
    using Tag = Dwil::IntfEncap::Tag;
    const Vorn::IntfId port = portOf(local.key().localIntfId());
    if (!hasTags(local)) return Dwil::IntfEncap(port, Tag(anyTag));
    return Dwil::IntfEncap(
        port,
        Tag(local.dot1qEncap().outer().value()),
        Tag(local.dot1qEncap().inner().value()));
}

PatchForwarding forwardingOf(const PatchState& patch) {
    PatchForwarding forwarding;
    std::vector<const Connector*> locals;
    for (const auto& [connector, signalled] : patch.connectors) {
        if (!connector.key().isLocal()) continue;
        locals.push_back(&connector);
        forwarding.circuits.insert(circuitOf(connector));
        forwarding.info.emplace(connector.key().localIntfId(), infoOf(connector));
    }
    forwarding.legs = legsOf(patch.connectors);
    const auto localKeys =
        std::count_if(patch.keys.begin(), patch.keys.end(), [](const auto& key) {
            return key.isLocal();
        });
    forwarding.isLocalLocal = localKeys == 2 && patch.keys.size() == 2;
    const auto adjacencyIs = [&](const Connector& local, const EncapAdjacency& adjacency) {
        forwarding.adjacencies.emplace(local.key().localIntfId(), adjacency);
    };
    if (forwarding.isLocalLocal && locals.size() == 2) {
        adjacencyIs(*locals[0], across(*locals[0], *locals[1], patch.name));
        adjacencyIs(*locals[1], across(*locals[1], *locals[0], patch.name));
    } else if (localKeys == 1 && locals.size() == 1) {
        const auto pseudowire = std::find_if(
            patch.connectors.begin(),
            patch.connectors.end(),
            [&](const PatchConnector& connector) {
                return forwarding.legs.contains(connector.config.key());
            });
        if (pseudowire != patch.connectors.end()) {
            const Connector& config = pseudowire->config;
            const Leg& leg = forwarding.legs.at(config.key());
            adjacencyIs(*locals[0], towards(config, leg, *locals[0], patch.name));
        }
    }
    return forwarding;
}

}  // namespace agent
