// What is hand-written in signalling status: dumps to the letter, short forms, the way between
// users and connectors, and what makes forwarding be programmed anew. All else about its types
// is in the laws and the simulator.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Pseudowire/PwLabelBinding.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Zin/Exceptions.h"
#include "support/Dump.h"

namespace {

using namespace Pseudowire;
using Tunnel::TunnelTable::TunnelId;
using Tunnel::TunnelTable::TunnelType;
using Vorn::IpGenAddr;
using Vorn::MplsLabel;
using UserType = PseudowireUserKey::UserType;
using PeerStatus = PseudowirePeerAttributeStatus;
using Status = PseudowireAttributeStatus;

IpGenAddr address(const char* text) {
    return IpGenAddr::fromStringValue(text);
}

PseudowireUserKey patchUser(const char* name) {
    return {UserType::patchLdpConnector, name, {}, {}};
}

template <class T>
std::string dumped(const T& object, unsigned indent) {
    std::string text;
    object.dumpState(Quib::DumpContext::make(text), indent);
    return text;
}

// --- Users ---

TEST(PseudowireUserKey, OfAConnectorLeadsBackToIt) {
    ConnectorKey ldp;
    ldp.ldpConnectorKeyIs("pw1");
    ConnectorKey bgp;
    bgp.bgpConnectorKeyIs("site", "service");
    EXPECT_EQ(PseudowireUserKey::fromConnectorKey(ldp), patchUser("pw1"));
    EXPECT_EQ(
        PseudowireUserKey::fromConnectorKey(bgp),
        PseudowireUserKey(UserType::patchBgpVpwsConnector, "site", "service", {}));
    for (const ConnectorKey& key : {ldp, bgp}) {
        PseudowireUserKey user = PseudowireUserKey::fromConnectorKey(key);
        EXPECT_EQ(user.connectorKey(), key);
        user.peerAddrIs(address("3.3.3.3"));
        EXPECT_EQ(user.connectorKey(), key) << "a connector's key has no peer";
    }
    PseudowireUserKey named = patchUser("pw1");
    named.vpwsNameIs("service");
    EXPECT_EQ(named.connectorKey(), ldp);
}

TEST(PseudowireUserKey, OnlyUsersOfPatchesHaveConnectors) {
    const auto user = [](unsigned type) {
        return PseudowireUserKey(static_cast<UserType>(type), "n", {}, {});
    };
    const bool isPatch[] = {true, true, false, false};
    for (unsigned type = 0; type < 4; ++type) EXPECT_EQ(user(type).isPatch(), isPatch[type]);
    EXPECT_DEATH(
        user(4).isPatch(),
        "failed: false ./src/Pseudowire/PwPseudowireUserKey:59, .*isPatch");
    for (const unsigned type : {2u, 3u, 4u}) {
        EXPECT_DEATH(
            user(type).connectorKey(),
            "false ./src/Pseudowire/PwPseudowireUserKey:43, .*connectorK");
    }
    EXPECT_DEATH(
        PseudowireUserKey::fromConnectorKey(ConnectorKey()),
        "connectorKey.connectorType\\(\\) != ConnectorType::local_ "
        "./src/Pseudowire/PwPseudowireUserKey:11, ");
    const ConnectorKey unknown(static_cast<ConnectorType>(3), "n", {}, {});
    EXPECT_DEATH(
        PseudowireUserKey::fromConnectorKey(unknown),
        "false ./src/Pseudowire/PwPseudowireUserKey:24, ");
}

TEST(PseudowireUserKey, HasAShortFormWithoutQuotes) {
    EXPECT_EQ(
        PseudowireUserKey().toStrep(),
        "userType=patchLdpConnector; name=; vpwsName=; peerAddr=none");
    EXPECT_EQ(
        PseudowireUserKey(UserType::vplsLdpProfileAndPeer, "it's", "v", address("2001:db8::3"))
            .toStrep(),
        "userType=vplsLdpProfileAndPeer; name=it's; vpwsName=v; peerAddr=2001:db8::3");
    EXPECT_EQ(UserTypeInstance(1).stringValue(), "patchBgpVpwsConnector");
    EXPECT_EQ(UserTypeInstance("vplsLdpPseudowire").value(), 2u);
    EXPECT_THROW(UserTypeInstance(4), Zin::RangeException);
}

// Peers and tables count on both.
TEST(PseudowireUserKey, TakesTheBytesAndHashesThePartsThatItSays) {
    const PseudowireUserKey key(UserType::vplsLdpPseudowire, "abc", "de", address("1.2.3.4"));
    EXPECT_EQ(Zin::NboAttrLog::attrLogSize(key), 37u);
    Zin::Hash state(77);
    for (const std::uint32_t part :
         {Zin::hashSingleAttr(0, 2u),
          Zin::hashSingleAttr(0, Zin::String("abc")),
          Zin::hashSingleAttr(0, Zin::String("de")),
          key.peerAddr().address().hash(0)}) {
        state.hashMix(part);
    }
    EXPECT_EQ(key.hash(77), state.result());
    const auto functions = Zin::valueInfo<PseudowireUserKey>.functions;
    EXPECT_EQ(
        std::vector(functions.begin(), functions.end()),
        (std::vector<std::string_view>{
            "fromConnectorKey",
            "connectorKey",
            "isPatch",
            "toStrep"}));
}

// --- Labels ---

TEST(LabelBindingColl, TheTwoWaysKnowNothingOfEachOther) {
    const auto coll = labelBindingCollFactory("labels");
    coll->localLabelIs(patchUser("pw1"), MplsLabel(100));
    EXPECT_EQ(coll->pseudowire(MplsLabel(100)), PseudowireUserKey());
    EXPECT_EQ(coll->localLabel(patchUser("pw2")), MplsLabel());
    PseudowireUserKey user = patchUser("pw1");
    coll->pseudowireIs(MplsLabel(100), user);
    support::Listener listener(*coll);
    coll->pseudowireIs(MplsLabel(100), user);
    EXPECT_TRUE(listener.told.empty());
    user.peerAddrIs(address("3.3.3.3"));
    coll->pseudowireIs(MplsLabel(100), user);
    coll->localLabelDelAll();
    EXPECT_EQ(listener.told.size(), 2u);
    EXPECT_EQ(coll->pseudowireDel(MplsLabel(100)), user);
    EXPECT_EQ(coll->pseudowireDel(MplsLabel(100)), PseudowireUserKey());
}

TEST(LabelBindingColl, DumpsEachWayInItsOwnDirection) {
    const auto coll = labelBindingCollFactory("labels");
    EXPECT_EQ(dumped(*coll, 0), "LabelBindingColl\n  localLabels #0\n  pseudowire #0\n");
    coll->localLabelIs(patchUser("pw1"), MplsLabel(100));
    coll->pseudowireIs(
        MplsLabel(MplsLabel::noLabel),
        {UserType::vplsLdpPseudowire, "blue", {}, address("3.3.3.3")});
    for (const unsigned indent : {0u, 3u}) {
        const std::string i(indent, ' ');
        EXPECT_EQ(
            dumped(*coll, indent),
            i + "LabelBindingColl\n" + i + "  localLabels #1\n" + i +
                "    userType=patchLdpConnector; name=pw1; vpwsName=; peerAddr=none" +
                " -> 100\n" + i + "  pseudowire #1\n" + i +
                "    1048576 -> userType=vplsLdpPseudowire; name=blue; vpwsName=; " +
                "peerAddr=3.3.3.3\n");
    }
}

// --- What signalling learnt ---

PeerStatus peer(std::uint32_t label) {
    return {MplsLabel(label), TunnelId(TunnelType::ldp, 7), {}, 1500, true};
}

TEST(PseudowireAttributeStatus, HoldsItsPeers) {
    EXPECT_EQ(
        peer(16).toStrep(),
        "<peerLabel=16;tunnelId=ldp.7;mtu=1500;encapControlWord=yes>");
    EXPECT_EQ(
        PeerStatus().toStrep(),
        "<peerLabel=1048576;tunnelId=none;mtu=0;encapControlWord=no>");
    Status status;
    status.peerInfoIs(address("3.3.3.3"), peer(16));
    EXPECT_TRUE(status);
    EXPECT_EQ(status.peerInfo(address("3.3.3.3")), peer(16));
    EXPECT_EQ(status.peerInfo(address("4.4.4.4")), PeerStatus());
    const Status copy = status;
    status.peerInfoDel(address("3.3.3.3"));
    status.peerInfoIs(address("4.4.4.4"), peer(16));
    EXPECT_FALSE(status == copy);
    status.peerInfoDelAll();
    EXPECT_FALSE(status);
    EXPECT_EQ(copy.peerInfo().members(), 1u);
    EXPECT_DEATH(
        Zin::strepToValue<Status>(Zin::valueToStrep(status), nullptr),
        "!\"No String constructor for PseudowireAttributeStatus - has collection\" "
        ".PwRemoteConnector:");
}

TEST(PseudowireAttributeStatus, ForwardingIsProgrammedAnewForFewChanges) {
    const auto with = [](const auto& change) {
        Status status;
        status.peerInfoIs(address("3.3.3.3"), peer(16));
        change(status);
        return status;
    };
    const auto withPeer = [&](const auto& change) {
        return with([&](Status& s) {
            PeerStatus p = peer(16);
            change(p);
            s.peerInfoIs(address("3.3.3.3"), p);
        });
    };
    const Status before = with([](Status&) {});
    const std::pair<Status, bool> cases[]{
        {before, false},
        {with([](Status& s) { s.localLabelIs(MplsLabel(17)); }), true},
        {with([](Status& s) { s.flowLabelTypeIs(FlowLabelType(0x8000)); }), true},
        {with([](Status& s) { s.flowLabelTypeIs(FlowLabelType(0x7fff)); }), false},
        {with([](Status& s) { s.peerInfoDelAll(); }), true},
        {with([](Status& s) { s.peerInfoIs(address("4.4.4.4"), {}); }), true},
        {withPeer([](PeerStatus& p) { p.tunnelIdIs(TunnelId(8)); }), true},
        {withPeer([](PeerStatus& p) { p.peerLabelIs(MplsLabel(17)); }), true},
        {withPeer([](PeerStatus& p) { p.encapControlWordIs(false); }), true},
        {withPeer([](PeerStatus& p) { p.mtuIs(9000); }), false},
        {withPeer([](PeerStatus& p) { p.colorIs(Quib::TristateU32(1)); }), false},
        {with([](Status& s) { s.statusIs(PseudowireConnectorStatus::up); }), false},
        {with([](Status& s) { s.remotePwTypeIs(PseudowireType::ethernet); }), false},
        {with([](Status& s) { s.decapControlWordIs(true); }), false},
        {with([](Status& s) { s.intfDescriptionIs("d"); }), false},
        {with([](Status& s) { s.localVccvCcTypesIs(VccvCcTypes(1)); }), false},
        {with([](Status& s) { s.peerVccvCvTypesIs(VccvCvTypes(1)); }), false},
        {with([](Status& s) { s.reassemblySupportedIs(true); }), false},
        {with([](Status& s) { s.requestedDot1qTagIs(Bridging::VlanIdOrNone(7)); }), false},
        {with([](Status& s) { s.pwStatusFlagsIs(PseudowireLdpStatusFlags(1)); }), false},
        {with([](Status& s) { s.pwIdIs(7); }), false},
    };
    for (const auto& [after, changed] : cases) {
        EXPECT_EQ(after.changedForAdjProgramming(before), changed) << dumped(after, 0);
    }

    // As many peers, but others: only those that are here are looked at.
    Status known;
    known.peerInfoIs(address("3.3.3.3"), peer(16));
    Status fresh;
    fresh.peerInfoIs(address("4.4.4.4"), PeerStatus());
    EXPECT_TRUE(known.changedForAdjProgramming(fresh));
    EXPECT_FALSE(fresh.changedForAdjProgramming(known));
}

TEST(PseudowireAttributeStatusColl, DumpsWhatItKnows) {
    const auto coll = pseudowireAttributeStatusCollFactory("status");
    EXPECT_EQ(dumped(*coll, 0), "PseudowireAttributeStatusColl\n  connectorStatuss #0\n");
    Status status(
        PseudowireConnectorStatus::standby,
        MplsLabel(100),
        PseudowireType::ethernetTagged,
        true,
        FlowLabelType(0xc000),
        "to the east",
        VccvCcTypes(1),
        VccvCvTypes(2),
        VccvCcTypes(3),
        VccvCvTypes(0),
        true,
        Bridging::VlanIdOrNone(303),
        PseudowireLdpStatusFlags(0x21),
        1002);
    status.peerInfoIs(address("3.3.3.3"), peer(16));
    const std::string value = R"(status standby
localLabel 100
remotePwType ethernetTagged
decapControlWord yes
peerInfos #1
  3.3.3.3 -> <peerLabel=16;tunnelId=ldp.7;mtu=1500;encapControlWord=yes>
flowLabelType receive|transmit
intfDescription to the east
localVccvCcTypes controlWord
localVccvCvTypes lspPing
peerVccvCcTypes controlWord|routerAlert
peerVccvCvTypes none
reassemblySupported yes
requestedDot1qTag 303
pwStatusFlags 33
pwId 1002
)";
    EXPECT_EQ(dumped(status, 0), value);
    EXPECT_EQ(dumped(Status(), 2).find("\n  localLabel 1048576\n"), 16u);

    coll->connectorStatusIs(patchUser("pw1"), status);
    for (const unsigned indent : {0u, 5u}) {
        const std::string i(indent, ' ');
        EXPECT_EQ(
            dumped(*coll, indent),
            i + "PseudowireAttributeStatusColl\n" + i + "  connectorStatuss #1\n" + i +
                "    PseudowireAttributeStatus userType=patchLdpConnector; name=pw1; "
                "vpwsName=; peerAddr=none\n" +
                dumped(status, indent + 6));
    }
}

}  // namespace
