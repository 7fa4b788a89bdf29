// What is hand-written in forwarding status: its dumps to the letter, and the operations that
// no schema gives. All else about its types is in the laws and the simulator.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Pseudowire/PseudowireIntfIdMapping.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Vorn/IntfIdKinds.h"
#include "Zin/Exceptions.h"
#include "support/Dump.h"

namespace {

using namespace Pseudowire;
using Bridging::Dot1qEncap;
using Dwil::IntfEncap;
using Tunnel::TunnelTable::TunnelId;
using Tunnel::TunnelTable::TunnelType;
using Vorn::IntfId;
using Vorn::MplsLabel;

IntfId intf(const char* name) {
    return IntfId::fromStringValue(name);
}

IntfEncap encap(const char* text) {
    return IntfEncap::fromStringValue(text);
}

ConnectorKey local(const char* name) {
    ConnectorKey key;
    key.localConnectorKeyIs(intf(name));
    return key;
}

// The blocks of lines that lie deeper than the line before them, in sorted order: collections
// are dumped in an order that means nothing. Addresses are left out.
std::string sorted(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream all(text);
    for (std::string line; std::getline(all, line);) {
        const std::size_t address = line.find("0x");
        if (address != std::string::npos) line = line.substr(0, address) + "ADDRESS";
        lines.push_back(line);
    }
    const auto depth = [&](std::size_t at) {
        return std::min(lines[at].find_first_not_of(' '), lines[at].size());
    };
    const std::function<std::string(std::size_t, std::size_t)> block = [&](std::size_t from,
                                                                           std::size_t to) {
        std::vector<std::string> parts;
        bool isCollection = from > 0 && lines[from - 1].find("[] ") != std::string::npos;
        for (std::size_t at = from; at < to;) {
            std::size_t next = at + 1;
            while (next < to && (lines[next].empty() || depth(next) > depth(at))) ++next;
            parts.push_back(lines[at] + '\n' + block(at + 1, next));
            at = next;
        }
        if (isCollection) std::sort(parts.begin(), parts.end());
        std::string joined;
        for (const std::string& part : parts) joined += part;
        return joined;
    };
    return block(0, lines.size());
}

template <class T>
std::string dumped(const T& entity, unsigned indent) {
    std::string text;
    entity.dumpState(Quib::DumpContext::make(text), indent);
    return text;
}

std::string indented(const std::string& text, unsigned indent) {
    std::string all;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        all += (line.empty() ? "" : std::string(indent, ' ')) + line + '\n';
    }
    return all;
}

TEST(Status, DumpsAllThatItHolds) {
    const auto status = statusFactory("fwd");
    status->localConnectorInfoIs(
        intf("eth4.303"),
        {intf("eth4"),
         Bridging::VlanIdOrAny(303),
         Bridging::VlanIdOrAnyOrNone(),
         Bridging::VlanIdOrAnyOrNone(4095)});
    status->localConnectorDot1qConnKeyMapIs("local")->add(
        local("eth4.303"),
        Dot1qEncap(Bridging::VlanIdOrNone(303), {}));
    EncapAdjacency adjacency("metro");
    adjacency.encapPwLabelIs(MplsLabel(3));
    adjacency.dot1qTagOpIs(Dot1qTagOperation::push);
    adjacency.pseudowireTypeIs(PseudowireType::ethernetTagged);
    adjacency.dot1qTagIs(Bridging::VlanIdOrNone(4094));
    adjacency.tunnelIdIs(TunnelId(TunnelType::ldp, 7));
    adjacency.controlWordIs(true);
    status->encapAdjacencyIs(intf("eth4.303"), adjacency);
    status->encapAdjacencyIs(intf("eth5"), EncapAdjacency("lone"));
    status->acToDestIntfEncapIs({encap("eth4<303,none>"), encap("eth5<any,7>"), true, false});
    status->patchToAcSetIs("zebra", false);
    status->patchToAcSetIs("metro", true)->acIntfEncapIs(encap("eth4<303,none>"), true);
    status->patchToAcSet("metro")->acIntfEncapIs(encap("eth1<none,none>"), false);
    status->acToPwEncapAdjGroupIs(encap("eth4<303,none>"), PwAdjGroupId(12));
    PwEncapAdjGroup group(PwAdjGroupId(12));
    group.pwAdjSetIs({TunnelId(TunnelType::rsvpTe, 1), MplsLabel(100000), true, false});
    group.pwAdjSetIs({TunnelId(), MplsLabel(), false, true});
    status->adjGroupIs(group);
    status->qosMapIs(intf("Pseudowire12"), {"gold", QosMapType::trafficClassToMpls});
    ViaInfo via(intf("Pseudowire12"));
    via.patchNameIs("metro");
    via.localIntfIdIs(intf("eth4.303"));
    status->viaInfoIs(via);

    const std::string expected = R"(Status ADDRESS
  localConnectorInfo[] 1
    LocalConnectorInfo eth4.303
      parentIntfId=eth4
      dot1qTag=303
      dot1qTagInner=none
      intVlanId=any
  localConnectorDot1qConnKeyMap
    Dot1qConnectorKeyMap local
      connectorKey[] 1
        intfId=eth4; dot1qEncap=<303,0> -> local:eth4.303
      dot1qEncap[] 1
        local:eth4.303 -> dot1qEncap=<303,0>

  encapAdjacency[] 2
    EncapAdjacency eth4.303
      patchName=metro
      encapPwLabel=imp-null(3)
      dot1qTagOp=push
      pseudowireType=ethernetTagged
      dot1qTag=4094
      dot1qTagInner=none
      controlWord=yes
      flowLabel=no
      tunnelId=ldp.7(144115188075855879)
      entropyLabel=no
      destIntfId=none
      isLocalAdj=no
    EncapAdjacency eth5
      patchName=lone
      encapPwLabel=N/A
      dot1qTagOp=none
      pseudowireType=unset
      dot1qTag=none
      dot1qTagInner=none
      controlWord=no
      flowLabel=no
      tunnelId=none(0)
      entropyLabel=no
      destIntfId=none
      isLocalAdj=no
  encapAdjacencyDot1qConnKeyMap
    NULL
  acToDestIntfEncap[] 1
    EncapMapAndRewrite eth4<303,none>
      destIntfEncap=eth5<any,7>
      retainOuterCos=yes
      retainInnerCos=no
  patchToAcSet[] 2
    PatchAcSet metro
      isLocalLocal=yes
      acIntfEncap[] 2
        eth1<none,none>
        eth4<303,none>

    PatchAcSet zebra
      isLocalLocal=no
      acIntfEncap[] 0

  pwToAcIntfEncap[] 0
  acToPwEncapAdjGroup[] 1
    eth4<303,none> -> 12
  adjGroup[] 1
    PwEncapAdjGroup 12
      pwAdjSet[] 2
        PwEncapAdjacency
          tunnelId=none(0)
          peerLabel=N/A
          flowLabel=no
          controlWord=yes
        PwEncapAdjacency
          tunnelId=rsvpTe.1(216172782113783809)
          peerLabel=100000
          flowLabel=yes
          controlWord=no
  qosMap[] 1
    QosMap Pseudowire12
      mapName=gold
      mapType=trafficClassToMpls
  viaInfo[] 1
    ViaInfo Pseudowire12
      patchName=metro
      localIntfId[] 1
        eth4.303
)";
    for (const unsigned indent : {0u, 2u, 7u}) {
        EXPECT_EQ(sorted(dumped(*status, indent)), indented(expected, indent));
    }
}

TEST(Status, NamesTheLabelsThatAreNone) {
    struct Label {
        std::uint32_t number;
        const char* text;
    };
    const auto status = statusFactory("fwd");
    for (const Label& label : {
             Label{0, "exp-null-v4(0)"},
             Label{1, "router-alert(1)"},
             Label{2, "exp-null-v6(2)"},
             Label{3, "imp-null(3)"},
             Label{4, "4"},
             Label{6, "6"},
             Label{7, "entropy-indicator(7)"},
             Label{16, "16"},
             Label{0xfffff, "1048575"},
             Label{0x100000, "N/A"},
             Label{0x100001, "(any)"},
             Label{0x100002, "(entropy)"},
             Label{0x800000, "(lu-withdraw)"},
         }) {
        EncapAdjacency adjacency;
        adjacency.encapPwLabelIs(MplsLabel(label.number));
        status->encapAdjacencyIs(intf("eth1"), adjacency);
        const std::string line = "\n      encapPwLabel=" + std::string(label.text) + '\n';
        EXPECT_NE(dumped(*status, 0).find(line), std::string::npos) << line;
    }
}

TEST(Status, AbsentMembersReadAsDefaults) {
    const auto status = statusFactory("fwd");
    EXPECT_EQ(status->qosMap(intf("eth1")).mapName(), "default-map");
    EXPECT_EQ(status->encapAdjacency(intf("eth1")).encapPwLabel().value(), 0x100000u);
    EXPECT_FALSE(status->adjGroupHas(PwAdjGroupId(0)));
    EXPECT_EQ(status->adjGroup(PwAdjGroupId(5)), PwEncapAdjGroup());
    EncapAdjacency isLocal;
    EXPECT_FALSE(isLocal);
    isLocal.isLocalAdjIs(true);
    EXPECT_TRUE(isLocal);

    PwEncapAdjGroup one(PwAdjGroupId(1));
    PwEncapAdjGroup same(PwAdjGroupId(1));
    one.pwAdjSetIs({});
    EXPECT_FALSE(one == same);
    same.pwAdjSetIs({});
    EXPECT_EQ(one, same);
    EXPECT_EQ(one.hash(3), same.hash(3));
    EXPECT_EQ(
        valueToStrep(one),
        "Value('Pseudowire::PwEncapAdjGroup', ** {'pwAdjGroupId': 1, 'pwAdjSet': None})");
}

TEST(Status, APatchKeepsWhetherItIsLocal) {
    const auto status = statusFactory("fwd");
    support::Listener listener(*status);
    const auto made = status->patchToAcSetIs("metro", true);
    EXPECT_EQ(status->patchToAcSetIs("metro", true), made);
    EXPECT_THROW(status->patchToAcSetIs("metro", false), Zin::MutatorReinstantiatingException);
    EXPECT_EQ(listener.told.size(), 1u);
    EXPECT_EQ(made->name(), "metro");
    EXPECT_EQ(status->patchToAcSetDel(status->patchToAcSet().iteratorConst()), made);
    EXPECT_EQ(made->parent(), nullptr);
    EXPECT_EQ(listener.told.size(), 2u);
}

TEST(LocalConnectorInfo, LeadsToItsPort) {
    const auto portOf = [](const char* name) {
        return LocalConnectorInfo(intf(name), {}, {}, {}).localPortIntfId();
    };
    EXPECT_EQ(portOf("eth4.303.13"), intf("eth4"));
    EXPECT_EQ(portOf("Ethernet3/1"), intf("Ethernet3/1"));
    EXPECT_EQ(portOf("Port-Channel7"), intf("Port-Channel7"));
    EXPECT_EQ(portOf("Port-Channel7.5"), intf("Port-Channel7"));
    for (const char* const other : {"none", "Pseudowire12", "Vpls1"}) {
        EXPECT_DEATH(
            portOf(other),
            "Vorn::EthIntfId::isEthIntfId\\( portIntfId \\) \\|\\| "
            "Vorn::PortChannelIntfId::isPortChannelIntfId\\( portIntfId \\)");
    }
}

TEST(Dot1qConnectorKeyMap, LeadsBothWays) {
    const auto map = dot1qConnectorKeyMapFactory("map");
    const Dot1qEncap tag100(Bridging::VlanIdOrNone(100), {});
    const Dot1qEncap tag200(Bridging::VlanIdOrNone(200), {});
    const ConnectorKey circuit = local("eth4.303");
    map->add(circuit, tag100);
    EXPECT_EQ(map->connectorKey({intf("eth4"), tag100}), circuit);
    EXPECT_EQ(map->dot1qEncap(circuit), tag100);

    // Without a remove() before it the old way back stays.
    map->add(circuit, tag200);
    EXPECT_EQ(map->connectorKey().members(), 2u);
    EXPECT_EQ(map->remove(circuit), tag200);
    EXPECT_EQ(map->connectorKey().members(), 1u);

    // An unknown connector has no tags, and with them goes what is there without tags.
    map->connectorKeyIs({intf("eth4"), Dot1qEncap()}, circuit);
    EXPECT_EQ(map->remove(circuit), Dot1qEncap());
    EXPECT_EQ(map->connectorKey().members(), 1u);

    map->add(local("eth5"), tag100);
    support::Listener listener(*map);
    map->clear();
    EXPECT_TRUE(map->connectorKey().empty());
    EXPECT_TRUE(map->dot1qEncap().empty());
    ASSERT_EQ(listener.told.size(), 3u);
    EXPECT_TRUE(listener.told.front().starts_with("connectorKey"));
    EXPECT_TRUE(listener.told.back().starts_with("dot1qEncap"));
}

TEST(IntfIdDot1qEncap, ReadsNoTagThatNobodyMayWrite) {
    const Zin::String text =
        "Value('Pseudowire::IntfIdDot1qEncap', ** {'intfId': eth4, 'dot1qEncap': <4095,0>})";
    try {
        Zin::strepToValue<IntfIdDot1qEncap>(text, nullptr);
        ADD_FAILURE() << "was read";
    } catch (const Zin::RangeException& e) {
        const std::string told = e.what();
        EXPECT_NE(
            told.find("Bridging::VlanIdOrNone::value > 4094 not allowed"),
            std::string::npos)
            << told;
    }
}

TEST(PseudowireIntfIdMapping, DumpsItsPseudowires) {
    const auto mapping = pseudowireIntfIdMappingFactory("map");
    EXPECT_EQ(dumped(*mapping, 0), "PseudowireIntfIdMapping\n  psudowireIntfIds #0\n");
    const PseudowireLdpKey key = PseudowireLdpKey::fromStringValue("3.3.3.3:1002");
    mapping->psudowireIntfIdIs(key, intf("Pseudowire12"));
    support::Listener listener(*mapping);
    mapping->psudowireIntfIdIs(key, intf("Pseudowire12"));
    EXPECT_EQ(
        mapping->psudowireIntfIdDel(PseudowireLdpKey::fromStringValue("3.3.3.3:1")),
        IntfId());
    EXPECT_TRUE(listener.told.empty());
    EXPECT_EQ(
        dumped(*mapping, 3),
        "   PseudowireIntfIdMapping\n"
        "     psudowireIntfIds #1\n"
        "       3.3.3.3:1002 -> Pseudowire12\n");
}

TEST(UnprogrammedReason, BeginsAtOne) {
    EXPECT_THROW(OxoPw::UnprogrammedReasonInstance(0), Zin::RangeException);
    EXPECT_EQ(OxoPw::UnprogrammedReasonInstance(4).stringValue(), "hwProgrammingFailed");
    EXPECT_EQ(OxoPw::UnprogrammedReasonInstance("connInfoMissing").value(), 1u);
    const auto status = OxoPw::pwHwStatusFactory("hw");
    EXPECT_EQ(status->unprogrammedDecapAdj(MplsLabel(16)), std::nullopt);
    status->unprogrammedDecapAdjIs(
        MplsLabel(16),
        OxoPw::UnprogrammedReason::hwFecNotProgrammed);
    EXPECT_EQ(
        status->unprogrammedDecapAdj(MplsLabel(16)),
        OxoPw::UnprogrammedReason::hwFecNotProgrammed);
}

}  // namespace
