// The debug dumps of forwarding status.

#include <cinttypes>
#include <string>

#include "Pseudowire/PseudowireStatus.h"
#include "Zin/Format.h"
#include "frame/Dump.h"

namespace Pseudowire {

namespace {

using frame::Dump;
using frame::DumpStyle;

// The reserved labels by their names (RFC 3032, RFC 6790), and what stands in place of a label.
Zin::String labelText(Vorn::MplsLabel label) {
    const std::uint32_t number = label.value();
    const auto reserved = [&](const char* name) {
        return Zin::format("%s(%u)", name, number);
    };
    switch (number) {
        case 0:
            return reserved("exp-null-v4");
        case 1:
            return reserved("router-alert");
        case 2:
            return reserved("exp-null-v6");
        case 3:
            return reserved("imp-null");
        case 7:
            return reserved("entropy-indicator");
        case Vorn::MplsLabel::noLabel:
            return "N/A";
        case 0x100001:
            return "(any)";
        case 0x100002:
            return "(entropy)";
        case 0x800000:
            return "(lu-withdraw)";
        default:
            return Zin::format("%u", number);
    }
}

void dumpTunnel(const Dump& dump, Tunnel::TunnelTable::TunnelId id) {
    dump.line("tunnelId=%s(%" PRIu64 ")", id.stringValue().c_str(), id.value());
}

// The routine for one rewrite, under the encapsulation that frames come with.
void encapMapAndRewriteDumpState(const Dump& dump, const EncapMapAndRewrite& map) {
    const Dump fields = dump.header("EncapMapAndRewrite", map.sourceIntfEncap().stringValue());
    fields.attribute("destIntfEncap", map.destIntfEncap());
    fields.attribute("retainOuterCos", map.retainOuterCos());
    fields.attribute("retainInnerCos", map.retainInnerCos());
}

// Calls each(members, iterator) for each member, below the line of the collection.
template <class Collection, class Each>
void dumpMembers(
    const Dump& body,
    const char* name,
    const Collection& collection,
    const Each& each) {
    const Dump members = body.collection(name, collection.members());
    for (auto it = collection.iteratorConst(); it; ++it) each(members, it);
}

}  // namespace

void Status::dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
    const Dump top(context, indent, DumpStyle::assigning);
    top.line("Status %p", static_cast<const void*>(this));
    const Dump body = top.nested();

    dumpMembers(
        body,
        "localConnectorInfo",
        localConnectorInfo_,
        [](const Dump& members, const auto& it) {
            const LocalConnectorInfo& info = it.value();
            const Dump fields =
                members.header("LocalConnectorInfo", it.key().stringValue().view());
            fields.attribute("parentIntfId", info.parentIntfId());
            fields.attribute("dot1qTag", Quib::vidString(info.dot1qTag().value()));
            fields.attribute("dot1qTagInner", Quib::vidString(info.dot1qTagInner().value()));
            fields.attribute("intVlanId", Quib::vidString(info.intVlanId().value()));
        });
    body.line("localConnectorDot1qConnKeyMap");
    body.nested().child(localConnectorDot1qConnKeyMap_.get());

    dumpMembers(
        body,
        "encapAdjacency",
        encapAdjacency_,
        [](const Dump& members, const auto& it) {
            const EncapAdjacency& adjacency = it.value();
            const Dump fields = members.header("EncapAdjacency", it.key().stringValue().view());
            fields.attribute("patchName", adjacency.patchName());
            fields.attribute("encapPwLabel", labelText(adjacency.encapPwLabel()));
            fields.attribute("dot1qTagOp", adjacency.dot1qTagOp());
            fields.attribute("pseudowireType", adjacency.pseudowireType());
            fields.attribute("dot1qTag", Quib::vidString(adjacency.dot1qTag().value()));
            fields.attribute(
                "dot1qTagInner",
                Quib::vidString(adjacency.dot1qTagInner().value()));
            fields.attribute("controlWord", adjacency.controlWord());
            fields.attribute("flowLabel", adjacency.flowLabel());
            dumpTunnel(fields, adjacency.tunnelId());
            fields.attribute("entropyLabel", adjacency.entropyLabel());
            fields.attribute("destIntfId", adjacency.destIntfId());
            fields.attribute("isLocalAdj", adjacency.isLocalAdj());
        });
    body.line("encapAdjacencyDot1qConnKeyMap");
    body.nested().child(encapAdjacencyDot1qConnKeyMap_.get());

    const auto dumpRewrite = [](const Dump& members, const auto& it) {
        encapMapAndRewriteDumpState(members, it.value());
    };
    dumpMembers(body, "acToDestIntfEncap", acToDestIntfEncap_, dumpRewrite);
    dumpMembers(body, "patchToAcSet", patchToAcSet_, [](const Dump& members, const auto& it) {
        members.child(&it.node());
    });
    dumpMembers(body, "pwToAcIntfEncap", pwToAcIntfEncap_, dumpRewrite);

    dumpMembers(
        body,
        "acToPwEncapAdjGroup",
        acToPwEncapAdjGroup_,
        [](const Dump& members, const auto& it) {
            members.line("%s -> %u", it.key().stringValue().c_str(), it.value().value());
        });
    dumpMembers(body, "adjGroup", adjGroup_, [](const Dump& groups, const auto& group) {
        groups.line("PwEncapAdjGroup %u", group.key().value());
        dumpMembers(
            groups.nested(),
            "pwAdjSet",
            group.value().pwAdjSet(),
            [](const Dump& members, const auto& it) {
                const PwEncapAdjacency& adjacency = it.key();
                const Dump fields = members.header("PwEncapAdjacency");
                dumpTunnel(fields, adjacency.tunnelId());
                fields.attribute("peerLabel", labelText(adjacency.peerLabel()));
                fields.attribute("flowLabel", adjacency.flowLabel());
                fields.attribute("controlWord", adjacency.controlWord());
            });
    });
    dumpMembers(body, "qosMap", qosMap_, [](const Dump& members, const auto& it) {
        const Dump fields = members.header("QosMap", it.key().stringValue().view());
        fields.attribute("mapName", it.value().mapName());
        fields.attribute("mapType", it.value().mapType());
    });
    dumpMembers(body, "viaInfo", viaInfo_, [](const Dump& members, const auto& via) {
        const Dump fields = members.header("ViaInfo", via.key().stringValue().view());
        fields.attribute("patchName", via.value().patchName());
        dumpMembers(
            fields,
            "localIntfId",
            via.value().localIntfId(),
            [](const Dump& interfaces, const auto& it) {
                interfaces.line("%s", it.key().stringValue().c_str());
            });
    });
}

void PatchAcSet::dumpState(const Quib::DumpContextPtr& context, unsigned indent) const {
    const Dump body =
        Dump(context, indent, DumpStyle::assigning).header("PatchAcSet", name().view());
    body.attribute("isLocalLocal", isLocalLocal_);
    dumpMembers(body, "acIntfEncap", acIntfEncap_, [](const Dump& members, const auto& it) {
        members.line("%s", it.key().stringValue().c_str());
    });
}

void Dot1qConnectorKeyMap::dumpState(const Quib::DumpContextPtr& context, unsigned indent)
    const {
    const Dump body = Dump(context, indent, DumpStyle::assigning)
                          .header("Dot1qConnectorKeyMap", name().view());
    dumpMembers(body, "connectorKey", connectorKey_, [](const Dump& members, const auto& it) {
        members.line(
            "intfId=%s; dot1qEncap=%s -> %s",
            it.key().intfId().stringValue().c_str(),
            it.key().dot1qEncap().stringValue().c_str(),
            it.value().stringValue().c_str());
    });
    dumpMembers(body, "dot1qEncap", dot1qEncap_, [](const Dump& members, const auto& it) {
        members.line(
            "%s -> dot1qEncap=%s",
            it.key().stringValue().c_str(),
            it.value().stringValue().c_str());
    });
}

}  // namespace Pseudowire
