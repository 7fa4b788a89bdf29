// What the VPLS agent computes, without processes.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Pseudowire/PwPseudowireUserKey.h"
#include "agent/VplsForwarding.h"
#include "agent/VplsForwardingAgent.h"

namespace {

using Pseudowire::Connector;
using Pseudowire::PseudowireLdpKey;
using Pseudowire::PseudowireUserKey;

Pseudowire::PseudowireAttributeStatus
signalled(std::uint32_t localLabel, const Vorn::IpGenAddr& peer, std::uint32_t peerLabel) {
    Pseudowire::PseudowireAttributeStatus status;
    status.localLabelIs(Vorn::MplsLabel(localLabel));
    status.peerInfoIs(peer, {Vorn::MplsLabel(peerLabel), {}, {}, 1500, true});
    return status;
}

Connector connectorOf(const char* name, const PseudowireLdpKey& ldpKey) {
    Pseudowire::ConnectorKey key;
    key.ldpConnectorKeyIs(name);
    Connector connector(key);
    connector.ldpKeyIs(ldpKey);
    return connector;
}

TEST(VplsForwarding, SecondaryPseudowiresStandBy) {
    constexpr std::uint32_t none = Vorn::MplsLabel::noLabel;
    struct Member {
        const char* name;
        bool secondary;
        std::uint16_t precedence;
        std::uint32_t localLabel, peerLabel;
    };
    const struct {
        std::vector<Member> group;
        std::set<std::uint32_t> peerLabels;
    } cases[] = {
        {{}, {}},
        {{{"a", false, 0, 1, 21}, {"b", false, 0, 2, 22}}, {21, 22}},
        {{{"a", false, 0, none, 21}, {"b", false, 0, 2, none}}, {}},
        {{{"a", false, 0, 1, 21}, {"b", true, 0, 2, 22}}, {21}},
        {{{"a", false, 0, 1, none}, {"b", true, 9, 2, 22}, {"c", true, 8, 3, 23}}, {23}},
        {{{"a", true, 5, 1, 21}, {"b", true, 5, 2, 22}, {"c", true, 4, none, 23}}, {21}},
    };
    for (const auto& each : cases) {
        std::vector<agent::VplsPseudowire> group;
        for (const Member& member : each.group) {
            const auto number = std::to_string(group.size() + 1);
            const auto ldpKey = PseudowireLdpKey::fromStringValue("2.2.2.2:" + number);
            group.push_back(
                {{member.name, member.secondary, member.precedence},
                 connectorOf(member.name, ldpKey),
                 signalled(member.localLabel, ldpKey.peerAddr(), member.peerLabel)});
        }
        std::set<std::uint32_t> peerLabels;
        for (const auto& [ldpKey, pseudowire] : agent::forwardingOf(group)) {
            peerLabels.insert(pseudowire.encapLabel().value());
        }
        EXPECT_EQ(each.peerLabels, peerLabels);
    }
}

// An agent on its own entities, beside a configuration that others share.
struct Agent {
    Agent(
        const Zin::Ptr<Pseudowire::VplsConfig>& vpls,
        const Zin::Ptr<Pseudowire::Config>& config,
        const Zin::Ptr<Pseudowire::PseudowireAttributeStatusColl>& signalling)
        : agent(vpls, config, signalling, forwarding, interfaces) {}

    // Without what depends on the past: the numbers of interfaces.
    std::multiset<std::string> facts() const {
        std::map<Vorn::IntfId, std::string> standsFor;
        for (const auto& each : interfaces->psudowireIntfId()) {
            const auto text = std::string(each.key().stringValue().view());
            EXPECT_TRUE(standsFor.emplace(each.value(), text).second) << text;
        }
        std::multiset<std::string> facts;
        for (const auto& [intfId, text] : standsFor) facts.insert(text);
        for (const auto& instance : forwarding->instance()) {
            const std::string at(instance.key().view());
            facts.insert(at);
            for (const auto& vlan : instance.value()->vlan()) {
                facts.insert(at + std::string(vlan.value().toStrep().view()));
            }
            for (const auto& group : instance.value()->pseudowireGroup()) {
                const std::string in = at + '/' + std::string(group.key().view());
                facts.insert(in + (group.value()->splitHorizon() ? " split" : ""));
                for (const auto& each : group.value()->pseudowire()) {
                    auto value = each.value();
                    value.intfIdIs({});
                    EXPECT_TRUE(standsFor.contains(each.key()));
                    facts.insert(
                        in + standsFor[each.key()] + std::string(value.toStrep().view()));
                    ++pseudowires;
                }
            }
        }
        return facts;
    }

    const Zin::Ptr<Pseudowire::VplsForwardingStatus> forwarding =
        Pseudowire::vplsForwardingStatusFactory("forwarding");
    const Zin::Ptr<Pseudowire::PseudowireIntfIdMapping> interfaces =
        Pseudowire::pseudowireIntfIdMappingFactory("interfaces");
    agent::VplsForwardingAgent agent;
    mutable std::size_t pseudowires = 0;
};

// Whatever came before, the agent holds what one holds that starts now.
TEST(VplsForwardingAgent, ComputesByChangeWhatItComputesFromScratch) {
    std::mt19937 random(17);
    const auto below = [&](std::uint32_t bound) {
        return static_cast<std::uint32_t>(random()) % bound;
    };
    const auto vpls = Pseudowire::vplsConfigFactory("vpls");
    const auto config = Pseudowire::configFactory("pw");
    const auto signalling = Pseudowire::pseudowireAttributeStatusCollFactory("signalling");
    const char* const names[] = {"a", "b", "c", "d"};
    const char* const ldpKeys[] = {"2.2.2.2:1", "2.2.2.2:2", "3.3.3.3:1", "3.3.3.3:2"};
    const auto anyLdpKey = [&] {
        return PseudowireLdpKey::fromStringValue(ldpKeys[below(4)]);
    };
    Agent kept(vpls, config, signalling);
    std::set<std::size_t> pseudowireCounts;
    for (int step = 0; step < 6000; ++step) {
        const auto instance = vpls->instanceIs(names[below(2)]);
        const char* const groupName = names[below(2)];
        auto group = instance->ldpPseudowireGroup(groupName);
        if (!group) group = instance->ldpPseudowireGroupIs(groupName, below(2) != 0);
        const char* const name = names[below(4)];
        const Bridging::VlanId vlanId(static_cast<std::uint16_t>(1 + below(3)));
        const auto ldpKey = anyLdpKey();
        const PseudowireUserKey user(
            PseudowireUserKey::UserType::vplsLdpPseudowire,
            name,
            {},
            ldpKey.peerAddr());
        switch (below(16)) {
            case 0:
                vpls->instanceDel(instance->name());
                break;
            case 1:
                instance->ldpPseudowireGroupDel(groupName);
                break;
            case 2:
                instance->vlanDel(vlanId);
                break;
            case 3:
                group->pseudowireDel(name);
                break;
            case 4:
                config->connectorDel(connectorOf(name, ldpKey).key());
                break;
            case 5:
                signalling->connectorStatusDel(user);
                break;
            case 6:
            case 7:
                instance->vlanIs(
                    {vlanId, Quib::TristateU16(static_cast<std::uint16_t>(below(3)))});
                break;
            case 8:
            case 9:
            case 10:
                group->pseudowireIs(
                    {name, below(3) == 0, static_cast<std::uint16_t>(below(3))});
                break;
            case 11:
            case 12:
                config->connectorIs(connectorOf(name, ldpKey));
                break;
            default:
                signalling->connectorStatusIs(
                    user,
                    signalled(16 + below(3), ldpKey.peerAddr(), 32 + below(3)));
        }
        if (below(3) == 0) continue;
        kept.agent.update();
        Agent starting(vpls, config, signalling);
        starting.agent.update();
        ASSERT_EQ(starting.facts(), kept.facts()) << step;
        pseudowireCounts.insert(starting.pseudowires);
    }
    EXPECT_LE(4U, pseudowireCounts.size()) << "all that was computed was alike";
}

}  // namespace
