// What the schemas of VPLS configuration and forwarding state do not give: dumps to the letter,
// deletion by iterator, and texts and errors that people and other programs count on.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Pseudowire/VplsConfig.h"
#include "Pseudowire/VplsForwardingStatus.h"
#include "Zin/Exceptions.h"
#include "Zin/GenericIfImpl.h"
#include "support/Dump.h"

namespace {

using namespace Pseudowire;
using Bridging::VlanId;
using Quib::TristateU16;
using Tunnel::TunnelTable::TunnelId;
using Tunnel::TunnelTable::TunnelType;
using Vorn::IntfId;
using Vorn::MplsLabel;
using Told = std::vector<std::string>;

// The dump at an indent, which must be the one at no indent moved to the right.
template <class T>
std::string dumped(const T& entity) {
    std::string text;
    entity.dumpState(Quib::DumpContext::make(text), 0);
    for (const unsigned indent : {1u, 4u}) {
        std::string moved;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            moved += (line.empty() ? "" : std::string(indent, ' ')) + line + '\n';
        }
        std::string deep;
        entity.dumpState(Quib::DumpContext::make(deep), indent);
        EXPECT_EQ(deep, moved);
    }
    return text;
}

template <class Call>
std::string refusal(const Call& call) {
    try {
        call();
    } catch (const Zin::MutatorReinstantiatingException& e) {
        return e.what();
    }
    return "not refused";
}

TEST(VplsConfig, DumpsInTheOrderOfKeys) {
    const auto config = vplsConfigFactory("vpls");
    EXPECT_EQ(dumped(*config), "VplsConfig vpls\n  instances #0\n");

    config->instanceIs("zebra");
    const auto metro = config->instanceIs("metro");
    metro->vlanIs({VlanId(1000), TristateU16()});
    metro->vlanIs({VlanId(200), TristateU16(7)});
    metro->vlanBundleStrForCliSaveIs("200,1000");
    metro->normalizedTagStrForCliSaveIs("7");
    metro->macWithdrawalTriggerInterfaceIs(true);
    metro->ldpPseudowireGroupIs("spokes", false);
    const auto group = metro->ldpPseudowireGroupIs("core", true);
    group->pseudowireIs({"pw2", false, 0});
    group->pseudowireIs({"pw10", true, 10});
    group->pseudowireBgpAutoDiscoveryProfileIs("auto");
    group->macWithdrawalTriggerPseudowireIs(true);
    group->macWithdrawalPropagationIs(
        VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation::locallyTriggeredAndReceived);
    const std::string expected = R"(VplsConfig vpls
  instances #2
    VplsInstanceConfig metro
      vlans #2
        <vlanId=200;normalizedTag=7>
        <vlanId=1000;normalizedTag=unset>
      ldpPseudowireGroups #2
        VplsLdpPseudowireGroupConfig core
          splitHorizon yes
          macWithdrawalTriggerPseudowire yes
          macWithdrawalPropagation locallyTriggeredAndReceived
          pseudowireBgpAutoDiscoveryProfile auto
          pseudowires #2
            <name=pw10;secondary=yes;precedence=10>
            <name=pw2;secondary=no;precedence=0>

        VplsLdpPseudowireGroupConfig spokes
          splitHorizon no
          macWithdrawalTriggerPseudowire no
          macWithdrawalPropagation locallyTriggered
          pseudowireBgpAutoDiscoveryProfile 
          pseudowires #0

      macWithdrawalTriggerInterface yes

    VplsInstanceConfig zebra
      vlans #0
      ldpPseudowireGroups #0
      macWithdrawalTriggerInterface no

)";
    EXPECT_EQ(dumped(*config), expected);

    std::string twice;
    const auto context = Quib::DumpContext::make(twice);
    config->dumpState(context, 0);
    config->dumpState(context, 0);
    EXPECT_EQ(
        twice,
        expected +
            "VplsConfig vpls\n"
            "  instances #2\n"
            "    Pseudowire::VplsInstanceConfig dumped at line 3\n"
            "    Pseudowire::VplsInstanceConfig dumped at line 26\n");
}

TEST(VplsForwardingStatus, Dumps) {
    const auto status = vplsForwardingStatusFactory("vpls");
    const auto instance = status->instanceIs("metro");
    instance->vlanIs({VlanId(200), TristateU16()});
    instance->pseudowireGroupIs("core", true)
        ->pseudowireIs(
            {IntfId::fromStringValue("Pseudowire12"),
             MplsLabel(16),
             MplsLabel(100000),
             TunnelId(TunnelType::ldp, 7),
             true});
    EXPECT_EQ(dumped(*status), R"(VplsForwardingStatus vpls
  instances #1
    VplsForwardingStatusInstance metro
      vlans #1
        <vlanId=200;normalizedTag=unset>
      pseudowireGroups #1
        VplsForwardingStatusPseudowireGroup core
          splitHorizon yes
          pseudowires #1
            <intfId=Pseudowire12;decapLabel=16;encapLabel=100000;encapTunnel=ldp.7;controlWord=yes>


)");
    EXPECT_EQ(
        VplsForwardingStatusPseudowire().toStrep(),
        "<intfId=none;decapLabel=1048576;encapLabel=1048576;encapTunnel=none;controlWord=no>");
}

// What a walk deletes under itself, it deletes once, and nothing that came meanwhile.
TEST(VplsConfig, MembersAreDeletedByIterator) {
    const auto instance = vplsInstanceConfigFactory("metro");
    const auto group = instance->ldpPseudowireGroupIs("core", true);
    for (const char* const name : {"c", "a", "b"}) {
        instance->ldpPseudowireGroupIs(name, false);
        group->pseudowireIs({name, true, 3});
    }
    for (const std::uint16_t id : std::vector<std::uint16_t>{30, 10, 20}) {
        instance->vlanIs({VlanId(id), TristateU16(id)});
    }

    support::Listener listener(*instance);
    support::Listener inGroup(*group);
    auto vlan = instance->vlan().iteratorConst();
    EXPECT_EQ(instance->vlanDel(vlan), VplsVlanConfig(VlanId(10), TristateU16(10)));
    instance->vlanIs({VlanId(10), TristateU16()});
    EXPECT_EQ(instance->vlanDel(vlan), VplsVlanConfig());
    ++vlan;
    EXPECT_EQ(instance->vlanDel(vlan).vlanId(), VlanId(20));
    EXPECT_EQ(listener.told, (Told{"vlan[10]", "vlan[10]", "vlan[20]"}));
    EXPECT_EQ(instance->vlan().members(), 2u);

    auto pseudowire = group->pseudowire().iteratorConst();
    EXPECT_EQ(group->pseudowireDel(pseudowire), VplsLdpPseudowireConfig("a", true, 3));
    EXPECT_EQ(group->pseudowireDel(pseudowire), VplsLdpPseudowireConfig());
    EXPECT_EQ(inGroup.told, Told{"pseudowire['a']"});

    listener.told.clear();
    auto at = instance->ldpPseudowireGroup().iteratorConst();
    const auto a = instance->ldpPseudowireGroup("a");
    EXPECT_EQ(instance->ldpPseudowireGroupDel(at), a);
    EXPECT_EQ(a->parent(), nullptr);
    const auto other = instance->ldpPseudowireGroupIs("a", true);
    EXPECT_EQ(instance->ldpPseudowireGroupDel(at), nullptr);
    EXPECT_EQ(instance->ldpPseudowireGroup("a"), other);
    EXPECT_EQ(listener.told, (Told{"ldpPseudowireGroup['a']", "ldpPseudowireGroup['a']"}));

    const auto config = vplsConfigFactory("vpls");
    const auto only = config->instanceIs("only");
    auto it = config->instance().iteratorConst();
    EXPECT_EQ(config->instanceDel(it), only);
    ++it;
    EXPECT_DEATH(config->instanceDel(it), "iter_");
}

TEST(Vpls, AGroupKeepsItsSplitHorizon) {
    const auto holds = [](const auto& instance, const auto& make) {
        support::Listener listener(*instance);
        const auto group = make("g", true);
        EXPECT_EQ(make("g", true), group);
        const std::string why = refusal([&] { make("g", false); });
        EXPECT_NE(why.find("258"), std::string::npos) << why;
        EXPECT_NE(why.find("exists with true, was requested with false"), std::string::npos)
            << why;
        EXPECT_EQ(make("g", true), group);
        EXPECT_EQ(listener.told.size(), 1u);
    };
    const auto config = vplsInstanceConfigFactory("metro");
    holds(config, [&](const char* name, bool splitHorizon) {
        return config->ldpPseudowireGroupIs(name, splitHorizon);
    });
    const auto status = vplsForwardingStatusInstanceFactory("metro");
    holds(status, [&](const char* name, bool splitHorizon) {
        return status->pseudowireGroupIs(name, splitHorizon);
    });
    EXPECT_TRUE(vplsLdpPseudowireGroupConfigFactory("g", true)->splitHorizon());
    EXPECT_TRUE(vplsForwardingStatusPseudowireGroupFactory("g", true)->splitHorizon());
}

TEST(Vpls, ValuesHaveTextsAndNoHash) {
    const auto holds = [](const auto& value, const char* text, const char* shortForm) {
        using V = std::remove_cvref_t<decltype(value)>;
        EXPECT_EQ(valueToStrep(value), text);
        EXPECT_EQ(value.toStrep(), shortForm);
        EXPECT_THROW(
            Zin::TypeImpl<V>::genericIfHash(&value, Zin::typeOf<V>()),
            Zin::UnhashableException);
    };
    holds(
        VplsLdpPseudowireConfig("pw1", true, 10),
        "Value('Pseudowire::VplsLdpPseudowireConfig', ** "
        "{'name': 'pw1', 'secondary': True, 'precedence': 10})",
        "<name=pw1;secondary=yes;precedence=10>");
    holds(
        VplsVlanConfig(VlanId(7), TristateU16()),
        "Value('Pseudowire::VplsVlanConfig', ** {'vlanId': 7, 'normalizedTag': unset})",
        "<vlanId=7;normalizedTag=unset>");
    holds(
        VplsForwardingStatusVlan(VlanId(7), TristateU16(8)),
        "Value('Pseudowire::VplsForwardingStatusVlan', ** {'vlanId': 7, 'normalizedTag': 8})",
        "<vlanId=7;normalizedTag=8>");
    holds(
        VplsForwardingStatusPseudowire(),
        "Value('Pseudowire::VplsForwardingStatusPseudowire', ** {'intfId': none, "
        "'decapLabel': 1048576, 'encapLabel': 1048576, 'encapTunnel': none, "
        "'controlWord': False})",
        "<intfId=none;decapLabel=1048576;encapLabel=1048576;encapTunnel=none;controlWord=no>");
    EXPECT_FALSE(VplsLdpPseudowireConfig());
    EXPECT_TRUE(VplsLdpPseudowireConfig("", false, 1));
    EXPECT_EQ(MacWithdrawalPropagationInstance(2).stringValue(), "suppress");
    EXPECT_EQ(MacWithdrawalPropagationInstance("locallyTriggered").value(), 0u);
}

}  // namespace
