#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Bridging/Dot1qEncap.h"
#include "Bridging/VlanId.h"
#include "Dwil/IntfEncap.h"
#include "Interface/IntfTypes.h"
#include "Pseudowire/Connector.h"
#include "Pseudowire/ConnectorKey.h"
#include "Pseudowire/Dot1qTagOperation.h"
#include "Pseudowire/FlowLabelType.h"
#include "Pseudowire/PatchEncap.h"
#include "Pseudowire/PseudowireConnectorStatus.h"
#include "Pseudowire/PseudowireLdpKey.h"
#include "Pseudowire/PseudowireLdpStatusFlags.h"
#include "Pseudowire/PseudowireType.h"
#include "Pseudowire/PwEncap.h"
#include "Pseudowire/PwPseudowireUserKey.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/QosMap.h"
#include "Pseudowire/TimeRange.h"
#include "Pseudowire/Vccv.h"
#include "Pseudowire/VidNormalization.h"
#include "Pseudowire/VplsConfig.h"
#include "Pseudowire/VplsForwardingStatus.h"
#include "Quib/Tristate.h"
#include "Routing/Rib/ResolutionRibProfileConfig.h"
#include "Tunnel/TunnelTable/TunnelId.h"
#include "Vorn/EthAddr.h"
#include "Vorn/IntfId.h"
#include "Vorn/IntfIdKinds.h"
#include "Vorn/Ip6Addr.h"
#include "Vorn/IpGenAddr.h"
#include "Vorn/MplsLabel.h"
#include "laws/RandomPlatformValues.h"
#include "laws/ValueLaws.h"

namespace {

using ValueTypes = testing::Types<
    Vorn::IntfId,
    Vorn::MplsLabel,
    Vorn::Ip6Addr,
    Vorn::IpGenAddr,
    Vorn::EthAddr,
    Bridging::VlanId,
    Bridging::VlanIdOrNone,
    Bridging::VlanIdOrAny,
    Bridging::VlanIdOrAnyOrNone,
    Bridging::Dot1qEncap,
    Routing::Rib::ResolutionRibProfileConfig,
    Quib::TristateU16,
    Quib::TristateU32,
    Pseudowire::VccvCcTypes,
    Pseudowire::VccvCvTypes,
    Pseudowire::PseudowireLdpStatusFlags,
    Pseudowire::FlowLabelType,
    Pseudowire::ConnectorKey,
    Pseudowire::PseudowireLdpKey,
    Pseudowire::TimeRange,
    Pseudowire::QosMap,
    Pseudowire::Connector,
    Dwil::IntfEncap,
    Tunnel::TunnelTable::TunnelId,
    Pseudowire::PwAdjGroupId,
    Pseudowire::LocalConnectorInfo,
    Pseudowire::EncapAdjacency,
    Pseudowire::PwEncapAdjacency,
    Pseudowire::EncapMapAndRewrite,
    Pseudowire::IntfIdDot1qEncap,
    Pseudowire::ConnectorPatchInfo,
    Pseudowire::PatchEncapAndOp,
    Pseudowire::PseudowireUserKey,
    Pseudowire::PseudowirePeerAttributeStatus,
    Pseudowire::PseudowireAttributeStatus,
    Pseudowire::VplsLdpPseudowireConfig,
    Pseudowire::VplsVlanConfig,
    Pseudowire::VplsForwardingStatusPseudowire,
    Pseudowire::VplsForwardingStatusVlan,
    Interface::OperStatusChange,
    Interface::PortId>;
INSTANTIATE_TYPED_TEST_SUITE_P(Platform, ValueLaws, ValueTypes);

// Peers count on these.
TEST(ValueTypes, TakeTheBytesThatPeersExpect) {
    const auto size = [](const auto& value) {
        return laws::encoded(value).size();
    };
    EXPECT_EQ(size(Vorn::IntfId()), 8u);
    EXPECT_EQ(size(Vorn::MplsLabel()), 4u);
    EXPECT_EQ(size(Vorn::IpGenAddr()), 20u);
    EXPECT_EQ(size(Bridging::VlanId()), 2u);
    EXPECT_EQ(size(Bridging::Dot1qEncap()), 4u);
    EXPECT_EQ(size(Quib::TristateU16(5)), 3u);
    EXPECT_EQ(size(Quib::TristateU32()), 5u);
    EXPECT_EQ(size(Pseudowire::PseudowireLdpKey()), 24u);
    EXPECT_EQ(size(Pseudowire::TimeRange()), 16u);
    EXPECT_EQ(size(Pseudowire::VccvCcTypes()), 1u);
    EXPECT_EQ(size(Pseudowire::FlowLabelType()), 2u);
    EXPECT_EQ(size(Pseudowire::PseudowireLdpStatusFlags()), 4u);
    EXPECT_EQ(size(Pseudowire::VplsLdpPseudowireConfig()), 7u);
    EXPECT_EQ(size(Pseudowire::VplsLdpPseudowireConfig("pw1", true, 10)), 10u);
    EXPECT_EQ(size(Pseudowire::VplsVlanConfig()), 5u);
    EXPECT_EQ(size(Pseudowire::VplsForwardingStatusPseudowire()), 25u);
}

// Why a text is refused: where, or for its range.
template <class T>
std::string refusal(std::string_view text) {
    try {
        return "reads as " + std::string(T::fromStringValue(text).stringValue().view());
    } catch (const Zin::TextException& e) {
        return "at " + std::to_string(e.position());
    } catch (const Zin::RangeException& e) {
        return e.what();
    }
}

struct Refused {
    const char* text;
    const char* why;
};

TEST(EthAddr, IsReadAsSixPairs) {
    EXPECT_EQ(
        Vorn::EthAddr::fromStringValue("00:1B:21:3c:9D:f8").stringValue(),
        "00:1b:21:3c:9d:f8");
    for (const char* const text :
         {"",
          "00:1b:21:3c:9d",
          "00:1b:21:3c:9d:f8:",
          "0:01b:21:3c:9d:f8",
          "001b:21:3c:9d:f8:1"}) {
        EXPECT_EQ(refusal<Vorn::EthAddr>(text), "at 0") << text;
    }
}

TEST(IntfId, StoredNumbersAndNamesBelongTogether) {
    struct Name {
        std::uint64_t value;
        const char* text;
    };
    const Name names[]{
        {0, "none"},
        {0x1000100000000000, "Ethernet1"},
        {0x1000300100000000, "Ethernet3/1"},
        {0x1000300102000000, "Ethernet3/1/2"},
        {0x10ffffffffffeffe, "Ethernet4095/4095/255.4094.4094"},
        {0x1100000004000000, "eth4"},
        {0x120000000e000000, "swp14"},
        {0x110000000412f000, "eth4.303"},
        {0x110000000412f00d, "eth4.303.13"},
        {0x2000000007000000, "Port-Channel7"},
        {0x21000000000ce000, "bond0.206"},
        {0x300000000c000000, "Pseudowire12"},
        {0x40ffffffff000000, "Vpls4294967295"},
        // What comes near to a name but has none.
        {1, "0x0000000000000001"},
        {0x1000000100000000, "0x1000000100000000"},
        {0x1000100002000000, "0x1000100002000000"},
        {0x1100000004000001, "0x1100000004000001"},
        {0x1100000004fff000, "0x1100000004fff000"},
        {0x1100000004001fff, "0x1100000004001fff"},
        {0x300000000c001000, "0x300000000c001000"},
        {0x2000000000000000, "0x2000000000000000"},
        {0x1f00000004000000, "0x1f00000004000000"},
        {0x5000000001000000, "0x5000000001000000"},
        {0xffffffffffffffff, "0xffffffffffffffff"},
    };
    for (const Name& name : names) {
        EXPECT_EQ(Vorn::IntfId(name.value).stringValue(), name.text);
        EXPECT_EQ(Vorn::IntfId::fromStringValue(name.text).value(), name.value) << name.text;
    }
}

TEST(IntfId, NoOtherTextIsRead) {
    const Refused refused[]{
        {"", "at 0"},
        {"Ethernet", "at 8"},
        {"Ethernet0", "at 8"},
        {"Ethernet01", "at 8"},
        {"Ethernet4096", "at 8"},
        {"Ethernet1/", "at 10"},
        {"Ethernet1/1/256", "at 12"},
        {"Ethernet1/1/1/1", "at 13"},
        {"ethernet1", "at 3"},
        {"eth-1", "at 3"},
        {"eth4294967296", "at 3"},
        {"eth18446744073709551620", "at 3"},
        {"eth1/1", "at 4"},
        {"eth1.", "at 5"},
        {"eth1.0", "at 5"},
        {"eth1.4095", "at 5"},
        {"eth1.5.", "at 7"},
        {"eth1.5.06", "at 7"},
        {"eth1.5.6.7", "at 8"},
        {"eth1 ", "at 4"},
        {"Pseudowire1.5", "at 11"},
        {"Port-Channel0", "at 12"},
        {"lo", "at 0"},
        {"none1", "at 4"},
        {"0x", "at 2"},
        {"0x123", "at 5"},
        {"0x00000000000000011", "at 18"},
        {"0xFFFFFFFFFFFFFFFF", "at 2"},
        {"0x0000000000000000", "at 0"},
        {"0x1100000004000000", "at 0"},
    };
    for (const Refused& r : refused) EXPECT_EQ(refusal<Vorn::IntfId>(r.text), r.why) << r.text;
}

TEST(IntfId, IsOfOneKindAtMost) {
    laws::Random random(3);
    int ofKind = 0;
    for (int round = 0; round < 2000; ++round) {
        const auto id = laws::randomValue<Vorn::IntfId>(random);
        const bool named = id && !id.stringValue().view().starts_with("0x");
        const int kinds = Vorn::EthIntfId::isEthIntfId(id) +
                          Vorn::PortChannelIntfId::isPortChannelIntfId(id) +
                          Vorn::SubIntfId::isSubIntfId(id) +
                          Vorn::PseudowireIntfId::isPseudowireIntfId(id) +
                          Vorn::VplsIntfId::isVplsIntfId(id);
        EXPECT_EQ(kinds, named ? 1 : 0) << id.stringValue().c_str();
        if (!Vorn::SubIntfId::isSubIntfId(id)) continue;
        ++ofKind;
        const Vorn::IntfId parent = Vorn::SubIntfId::parentIntfId(id);
        EXPECT_TRUE(
            Vorn::EthIntfId::isEthIntfId(parent) ||
            Vorn::PortChannelIntfId::isPortChannelIntfId(parent));
        EXPECT_LT(parent, id);
        const Vorn::IntfId rebuilt = Vorn::SubIntfId::intfId(
            parent,
            Vorn::SubIntfId::outerTag(id),
            Vorn::SubIntfId::innerTag(id));
        EXPECT_EQ(rebuilt, id);
    }
    EXPECT_GT(ofKind, 50);
}

TEST(IntfId, BuildersMakeNamesAndRefuseTheRest) {
    const Vorn::IntfId port = Vorn::EthIntfId::intfId(3, 1, 2);
    EXPECT_EQ(port.stringValue(), "Ethernet3/1/2");
    EXPECT_EQ(Vorn::EthIntfId::intfId(48).stringValue(), "Ethernet48");
    EXPECT_EQ(Vorn::PortChannelIntfId::intfId(7).stringValue(), "Port-Channel7");
    EXPECT_EQ(Vorn::PseudowireIntfId::intfId(9).stringValue(), "Pseudowire9");
    EXPECT_EQ(Vorn::VplsIntfId::intfId(2).stringValue(), "Vpls2");
    const Vorn::IntfId circuit = Vorn::SubIntfId::intfId(port, 303, 13);
    EXPECT_EQ(circuit.stringValue(), "Ethernet3/1/2.303.13");

    EXPECT_THROW(Vorn::EthIntfId::intfId(0), Zin::RangeException);
    EXPECT_THROW(Vorn::EthIntfId::intfId(1, 0, 1), Zin::RangeException);
    EXPECT_THROW(Vorn::EthIntfId::intfId(1, 0x1001), Zin::RangeException);
    EXPECT_THROW(Vorn::VplsIntfId::intfId(0), Zin::RangeException);
    EXPECT_THROW(Vorn::SubIntfId::intfId(port, 0, 5), Zin::RangeException);
    EXPECT_THROW(Vorn::SubIntfId::intfId(port, 4095), Zin::RangeException);
    EXPECT_THROW(Vorn::SubIntfId::intfId(circuit, 5), Zin::RangeException);
    EXPECT_THROW(
        Vorn::SubIntfId::intfId(Vorn::PseudowireIntfId::intfId(1), 5),
        Zin::RangeException);
    EXPECT_THROW(Vorn::SubIntfId::parentIntfId(port), Zin::RangeException);
}

TEST(Address, IsWrittenInItsRecommendedForm) {
    const char* const written[]{
        "none",
        "0.0.0.0",
        "255.1.20.3",
        "::",
        "::1",
        "1::",
        "2001:db8::1",
        "2001:db8:0:1:1:1:1:1",
        "2001:0:0:1::1",
        "2001:db8::1:0:0:1",
        "0:1:2:3:4:5:6:7",
        "1:2:3:4:5:6:7:0",
        "::ffff:192.0.2.1",
        "::ffff:0:0:0",
        "::102:304",
    };
    for (const char* const text : written) {
        EXPECT_EQ(Vorn::IpGenAddr::fromStringValue(text).stringValue(), text);
    }
    EXPECT_EQ(
        Vorn::IpGenAddr::fromStringValue("2001:DB8:0:0:0:0:0:01").stringValue(),
        "2001:db8::1");
}

TEST(Address, RefusesWhatIsNone) {
    using namespace std::string_view_literals;
    const std::string_view refused[]{
        ""sv,
        "1.2.3"sv,
        "1.2.3.4.5"sv,
        "256.0.0.1"sv,
        "01.2.3.4"sv,
        "1.2.3.4\0"sv,
        "::1\0x"sv,
        ":::"sv,
        "1::2::3"sv,
        "12345::"sv,
        "::g"sv,
        "[::1]"sv,
        "fe80::1%1"sv,
        "1:2:3:4:5:6:7"sv,
        "None"sv,
    };
    for (const std::string_view text : refused) {
        EXPECT_THROW(Vorn::IpGenAddr::fromStringValue(text), Zin::TextException) << text;
    }
    EXPECT_THROW(
        Vorn::IpGenAddr::fromStringValue(std::string(1000, '1') + "::"),
        Zin::TextException);
}

TEST(Address, WithoutMeaningIsNotReadFromTheAttributeLog) {
    const auto v4 = Vorn::IpGenAddr::fromStringValue("192.0.2.1");
    const std::vector<std::byte> good = laws::encoded(v4);
    const auto read = [](const std::vector<std::byte>& bytes) {
        Zin::NboAttrLog::In in(bytes);
        return in.next<Vorn::IpGenAddr>();
    };
    ASSERT_EQ(read(good), v4);
    for (std::size_t at = 8; at < good.size(); ++at) {
        std::vector<std::byte> bytes = good;
        bytes[at] = std::byte{1};
        EXPECT_THROW(read(bytes), Zin::NboAttrLog::DecodeException) << at;
    }
    for (const std::size_t at : {0u, 1u, 2u}) {
        std::vector<std::byte> bytes = good;
        bytes[at] = std::byte{1};
        EXPECT_THROW(read(bytes), Zin::NboAttrLog::DecodeException) << at;
    }
    for (const int family : {0, 3, 255}) {
        std::vector<std::byte> bytes = good;
        bytes[3] = static_cast<std::byte>(family);
        EXPECT_THROW(read(bytes), Zin::NboAttrLog::DecodeException) << family;
    }
    const Vorn::Ip6Addr any(Vorn::Ip6Addr::Bytes{1, 2, 3, 4, 5});
    EXPECT_THROW(Vorn::IpGenAddr(Vorn::AddressFamily::ip4, any), Zin::RangeException);
    EXPECT_THROW(Vorn::IpGenAddr(Vorn::AddressFamily{9}, any), Zin::RangeException);
}

TEST(Tristate, UnsetHasNoNumber) {
    EXPECT_EQ(Quib::TristateU32(false, 5), Quib::TristateU32());
    EXPECT_NE(Quib::TristateU32(0), Quib::TristateU32());
    const std::vector<std::byte> bytes{std::byte{0}, std::byte{0}, std::byte{5}};
    Zin::NboAttrLog::In in(bytes);
    EXPECT_THROW(in.next<Quib::TristateU16>(), Zin::NboAttrLog::DecodeException);
    EXPECT_EQ(refusal<Quib::TristateU16>("65536"), "at 0");
}

TEST(VlanId, TextIsHeldToTheRangeOfItsType) {
    using namespace Bridging;
    EXPECT_EQ(refusal<VlanId>("0"), "Bridging::VlanId::value < 1 not allowed");
    EXPECT_EQ(refusal<VlanId>("4095"), "Bridging::VlanId::value > 4094 not allowed");
    EXPECT_EQ(
        refusal<VlanIdOrNone>("4095"),
        "Bridging::VlanIdOrNone::value > 4094 not allowed");
    EXPECT_EQ(refusal<VlanIdOrAny>("0"), "Bridging::VlanIdOrAny::value < 1 not allowed");
    EXPECT_EQ(
        refusal<VlanIdOrAnyOrNone>("99999999999999999999999"),
        "Bridging::VlanIdOrAnyOrNone::value > 4095 not allowed");
    EXPECT_EQ(refusal<VlanIdOrNone>("0"), "reads as 0");
    EXPECT_EQ(refusal<VlanIdOrAny>("4095"), "reads as 4095");
    EXPECT_EQ(refusal<VlanId>("07"), "at 0");
    EXPECT_EQ(refusal<VlanId>("+7"), "at 0");
    EXPECT_EQ(refusal<VlanId>("7 "), "at 1");
}

TEST(Dot1qEncap, HoldsAnyTagThoughTextDoesNot) {
    const Bridging::Dot1qEncap any(Bridging::VlanIdOrNone(4095), Bridging::VlanIdOrNone(0));
    EXPECT_EQ(any.stringValue(), "<4095,0>");
    const Refused refused[]{
        {"<4095,0>", "Bridging::VlanIdOrNone::value > 4094 not allowed"},
        {"<1,70000>", "Bridging::VlanIdOrNone::value > 4094 not allowed"},
        {"1,2", "at 0"},
        {"<1>", "at 2"},
        {"<1,>", "at 3"},
        {"<1,2", "at 4"},
        {"<1, 2>", "at 3"},
        {"<1,2>>", "at 5"},
    };
    for (const Refused& r : refused) {
        EXPECT_EQ(refusal<Bridging::Dot1qEncap>(r.text), r.why) << r.text;
    }
}

TEST(BitMask, NamesItsBitsOnceAndInOrder) {
    using Pseudowire::VccvCcType;
    Pseudowire::VccvCcTypes types;
    types.bitIs(VccvCcType::ttlExpiry, true);
    types.bitIs(VccvCcType::routerAlert, true);
    EXPECT_EQ(types.stringValue(), "routerAlert|ttlExpiry");
    types.bitIs(VccvCcType::ttlExpiry, false);
    EXPECT_TRUE(types.bit(VccvCcType::routerAlert));
    EXPECT_FALSE(types.bit(VccvCcType::ttlExpiry));
    EXPECT_EQ(Pseudowire::VccvCcTypes(0xc8).stringValue(), "gal|0xc0");
    EXPECT_EQ(Pseudowire::FlowLabelType(0x8000).stringValue(), "transmit");

    const Refused refused[]{
        {"", "at 0"},
        {"gal|", "at 4"},
        {"gal|routerAlert", "at 0"},
        {"gal|gal", "at 0"},
        {"gal|0x08", "at 0"},
        {"0x0", "at 0"},
        {"0x100", "at 0"},
        {"gal|none", "at 4"},
        {"gal,routerAlert", "at 3"},
    };
    for (const Refused& r : refused) {
        EXPECT_EQ(refusal<Pseudowire::VccvCcTypes>(r.text), r.why) << r.text;
    }
}

TEST(ConnectorKey, BuildersClearWhatIsNotOfTheirKind) {
    Pseudowire::ConnectorKey key;
    EXPECT_TRUE(key.isLocal());
    key.bgpConnectorKeyIs("vpn", "east's");
    EXPECT_EQ(key.stringValue(), "bgp:'vpn','east\\'s'");
    key.localConnectorKeyIs(Vorn::IntfId::fromStringValue("swp14.7"));
    EXPECT_EQ(key.stringValue(), "local:swp14.7");
    key.ldpConnectorKeyIs("pw1");
    EXPECT_EQ(key.stringValue(), "ldp:'pw1'");
    EXPECT_EQ(key, Pseudowire::ConnectorKey(Pseudowire::ConnectorType::ldp, "pw1", "", {}));

    const Refused refused[]{
        {"ldp:pw1", "at 4"},
        {"ldp:'pw1", "at 8"},
        {"ldp:'\\x41'", "at 6"},
        {"ldp:'\n'", "at 5"},
        {"bgp:'vpn'", "at 9"},
        {"local:", "at 6"},
        {"other:1,'pw1','',none", "at 0"},
        {"other:256,'','',none", "at 6"},
        {"vpls:'a'", "at 0"},
    };
    for (const Refused& r : refused) {
        EXPECT_EQ(refusal<Pseudowire::ConnectorKey>(r.text), r.why) << r.text;
    }
}

TEST(PseudowireLdpKey, KeepsAddressAndIdApart) {
    const char* const written[]{"3.3.3.3:1002", "[2001:db8::3]:1002", "none:4294967295"};
    for (const char* const text : written) {
        EXPECT_EQ(Pseudowire::PseudowireLdpKey::fromStringValue(text).stringValue(), text);
    }
    const Refused refused[]{
        {"3.3.3.3", "at 7"},
        {"3.3.3:1", "at 0"},
        {"3.3.3.3:", "at 8"},
        {"3.3.3.3:4294967296", "at 8"},
        {"2001:db8::3:1", "at 0"},
        {"[3.3.3.3]:1", "at 1"},
        {"[::1:1", "at 6"},
    };
    for (const Refused& r : refused) {
        EXPECT_EQ(refusal<Pseudowire::PseudowireLdpKey>(r.text), r.why) << r.text;
    }
}

TEST(Connector, IsForwardedWithTheDefaultMapUnlessToldOtherwise) {
    const Pseudowire::Connector connector;
    EXPECT_EQ(connector.qosMapName(), "default-map");
    EXPECT_EQ(Pseudowire::QosMap().mapName(), "default-map");
    EXPECT_TRUE(connector.pwStatusTlv());
    EXPECT_EQ(Vorn::MplsLabel().value(), 1048576u);
}

// What the names of masks' bits stand for is told for each of them.
template <class Bit>
void everyBitHasARegistryName() {
    std::uint32_t seen = 0;
    for (const auto& named : describe::enumerationOf<Bit>.enumerators) {
        EXPECT_TRUE(std::has_single_bit(named.number)) << named.name;
        seen |= named.number;
        EXPECT_STRNE(Pseudowire::registryName(static_cast<Bit>(named.number)), "")
            << named.name;
    }
    EXPECT_EQ(seen & (seen + 1), 0u) << "the registries leave no gaps";
}

TEST(BitMask, EveryBitHasARegistryName) {
    everyBitHasARegistryName<Pseudowire::VccvCcType>();
    everyBitHasARegistryName<Pseudowire::VccvCvType>();
    everyBitHasARegistryName<Pseudowire::PseudowireLdpStatusFlag>();
}

// The default of each enumeration in a status or a patch is its number 0.
TEST(Enumerations, StartAtTheirDefault) {
    EXPECT_EQ(Zin::stringValue(Pseudowire::PseudowireConnectorStatus{}), "unknown");
    EXPECT_EQ(Zin::stringValue(Pseudowire::Dot1qTagOperation{}), "none");
    EXPECT_EQ(Zin::stringValue(Pseudowire::Fxc::VidNormalization{}), "none");
    EXPECT_EQ(Zin::stringValue(Pseudowire::ConnectorType{}), "local");
    EXPECT_EQ(Zin::stringValue(Pseudowire::PseudowireType{}), "unset");
    EXPECT_EQ(static_cast<int>(Pseudowire::ConnectorType::bgp), 2);
}

// Numbers that peers of other makes send.
TEST(PseudowireType, HasTheNumbersOfTheRegistry) {
    using enum Pseudowire::PseudowireType;
    const std::pair<int, Pseudowire::PseudowireType> numbers[]{
        {4, ethernetTagged},
        {5, ethernet},
        {0x11, satopE1},
        {0x19, frameRelayDlci},
        {0x1f, fcPort},
        {0x7fff, wildcard}};
    for (const auto& [number, type] : numbers) EXPECT_EQ(static_cast<int>(type), number);
    for (const auto& named : describe::enumerationOf<Pseudowire::PseudowireType>.enumerators) {
        const auto type = static_cast<Pseudowire::PseudowireType>(named.number);
        EXPECT_STRNE(Pseudowire::registryName(type), "") << named.name;
    }
    EXPECT_STREQ(Pseudowire::registryName(Pseudowire::PseudowireType{0x1001}), "");
    EXPECT_EQ(Zin::stringValue(Pseudowire::PseudowireType{0x1001}), "4097");
}

}  // namespace
