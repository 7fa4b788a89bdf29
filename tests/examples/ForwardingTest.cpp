// What the forwarding agent computes, and what the hardware process reports, without processes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Vorn/IntfIdKinds.h"
#include "agent/ForwardingAgent.h"
#include "agent/ForwardingStatus.h"
#include "agent/HardwareTable.h"
#include "corra/Dump.h"

namespace {

using Pseudowire::Connector;
using Pseudowire::ConnectorKey;
using Pseudowire::PseudowireLdpKey;
using Pseudowire::PseudowireType;
using Pseudowire::PseudowireUserKey;
using Signalling = Pseudowire::PseudowireAttributeStatusColl;

Vorn::IntfId intf(const char* name) {
    return Vorn::IntfId::fromStringValue(name);
}

Connector local(const char* name) {
    Connector connector{ConnectorKey::fromStringValue("local:" + std::string(name))};
    const Vorn::IntfId id = connector.key().localIntfId();
    if (Vorn::SubIntfId::isSubIntfId(id)) {
        connector.dot1qEncapIs(
            {Bridging::VlanIdOrNone(Vorn::SubIntfId::outerTag(id)),
             Bridging::VlanIdOrNone(Vorn::SubIntfId::innerTag(id))});
    }
    return connector;
}

Connector ldp(const char* name, const char* ldpKey, PseudowireType type) {
    ConnectorKey key;
    key.ldpConnectorKeyIs(name);
    Connector connector(key);
    connector.ldpKeyIs(PseudowireLdpKey::fromStringValue(ldpKey));
    connector.pseudowireTypeIs(type);
    return connector;
}

// What a peer asked for.
Pseudowire::PseudowireAttributeStatus
asked(const Vorn::IpGenAddr& peer, std::uint32_t label, bool controlWord = true) {
    Pseudowire::PseudowireAttributeStatus status;
    status.peerInfoIs(peer, {Vorn::MplsLabel(label), {}, {}, 1500, controlWord});
    return status;
}

// "CIRCUIT: LABEL OPERATION TAGS", or "CIRCUIT: to OTHER OPERATION TAGS".
std::string textOf(const agent::PatchForwarding& forwarding) {
    std::string text;
    for (const auto& [circuit, adjacency] : forwarding.adjacencies) {
        const auto destination =
            adjacency.isLocalAdj()
                ? "to " + std::string(adjacency.destIntfId().stringValue().view())
                : std::to_string(adjacency.encapPwLabel().value());
        const Bridging::Dot1qEncap tags(adjacency.dot1qTag(), adjacency.dot1qTagInner());
        text += (text.empty() ? "" : "; ") + std::string(circuit.stringValue().view()) + ": " +
                destination + ' ' +
                std::string(Pseudowire::stringValue(adjacency.dot1qTagOp()).view()) +
                std::string(tags.stringValue().view());
    }
    return text;
}

TEST(ForwardingStatus, AdjacenciesFollowTheShapeOfThePatch) {
    const std::map<PseudowireLdpKey, std::uint32_t> labels{
        {PseudowireLdpKey::fromStringValue("2.2.2.2:1"), 100},
        {PseudowireLdpKey::fromStringValue("3.3.3.3:1"), 200}};
    const auto raw = ldp("raw", "2.2.2.2:1", PseudowireType::ethernet);
    const auto tagged = ldp("tagged", "3.3.3.3:1", PseudowireType::ethernetTagged);
    const auto early = ldp("early", "4.4.4.4:1", PseudowireType::ethernet);
    Connector bgp{ConnectorKey::fromStringValue("bgp:'vpn','service'")};
    bgp.ldpKeyIs(raw.ldpKey());
    const struct {
        std::vector<Connector> connectors;
        std::string expected;
    } cases[] = {
        {{local("swp1"), raw}, "swp1: 100 none<0,0>"},
        {{local("eth1.20"), raw}, "eth1.20: 100 pop<20,0>"},
        {{local("eth1.20.7"), raw}, "eth1.20.7: 100 pop<20,7>"},
        {{local("swp1"), tagged}, "swp1: 200 push<0,0>"},
        {{local("eth1.20"), tagged}, "eth1.20: 200 none<0,0>"},
        {{local("swp1"), early}, ""},
        {{local("swp1"), early, raw, tagged}, "swp1: 100 none<0,0>"},
        {{local("swp1"), bgp}, ""},
        {{local("swp1")}, ""},
        {{raw, tagged}, ""},
        {{local("swp1"), local("swp2")}, "swp1: to swp2 none<0,0>; swp2: to swp1 none<0,0>"},
        {{local("swp1"), local("bond0.9")},
         "swp1: to bond0.9 push<9,0>; bond0.9: to swp1 pop<9,0>"},
        {{local("eth1.20"), local("eth2.30.4")},
         "eth1.20: to eth2.30.4 swap<30,4>; eth2.30.4: to eth1.20 swap<20,0>"},
        {{local("swp1"), local("swp2"), raw}, ""},
        {{local("swp1"), local("swp2"), local("swp3")}, ""},
    };
    for (const auto& each : cases) {
        agent::PatchState patch{"p", {}, {}};
        for (const auto& connector : each.connectors) {
            patch.keys.insert(connector.key());
            const auto label = labels.find(connector.ldpKey());
            patch.connectors.push_back({connector, {}});
            if (label == labels.end()) continue;
            patch.connectors.back().signalled =
                asked(connector.ldpKey().peerAddr(), label->second);
        }
        EXPECT_EQ(each.expected, textOf(forwardingOf(patch)));
        // A pseudowire that is joined but not configured leaves no shortcut behind it.
        patch.keys.insert(ConnectorKey::fromStringValue("ldp:'unconfigured'"));
        if (!forwardingOf(patch).adjacencies.empty()) {
            EXPECT_EQ(each.expected.npos, each.expected.find("to ")) << each.expected;
        }
    }
}

// The lines of a dump without what depends on the past: the numbers of groups.
std::multiset<std::string> factsOf(const Pseudowire::Status& status) {
    std::multiset<std::string> facts;
    std::istringstream lines(corra::dump("status", status));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("status.adjGroup[")) line.erase(15, line.find(']') - 14);
        facts.insert(line);
    }
    return facts;
}

// A label, and whether a control word follows it.
using Labels = std::set<std::pair<std::uint32_t, bool>>;

// Of the pseudowires that enabled patches join, a set for each peer.
std::multiset<Labels> labelsByPeer(
    const Pseudowire::Config& config,
    const Signalling& signalling) {
    std::map<Vorn::IpGenAddr, Labels> byPeer;
    for (const auto& patch : config.patch()) {
        if (!patch.value()->enabled()) continue;
        for (const auto& key : patch.value()->connectorKey()) {
            const Connector connector = config.connector(key.key());
            if (connector.key().connectorType() != Pseudowire::ConnectorType::ldp) continue;
            const auto address = connector.ldpKey().peerAddr();
            const auto peer =
                signalling.connectorStatus(PseudowireUserKey::fromConnectorKey(key.key()))
                    .peerInfo(address);
            if (peer.peerLabel() == Vorn::MplsLabel()) continue;
            byPeer[address].emplace(peer.peerLabel().value(), peer.encapControlWord());
        }
    }
    std::multiset<Labels> sets;
    for (const auto& [peer, set] : byPeer) sets.insert(set);
    return sets;
}

std::multiset<Labels> labelsByGroup(const Pseudowire::Status& status) {
    std::multiset<Labels> sets;
    for (const auto& group : status.adjGroup()) {
        Labels set;
        for (const auto& member : group.value().pwAdjSet()) {
            set.emplace(member.key().peerLabel().value(), member.key().controlWord());
        }
        sets.insert(set);
    }
    return sets;
}

// Whatever came before, the agent holds what one holds that starts now.
TEST(ForwardingAgent, ComputesByChangeWhatItComputesFromScratch) {
    std::mt19937 random(11);
    const auto below = [&](std::uint32_t bound) {
        return static_cast<std::uint32_t>(random()) % bound;
    };
    const std::vector<Connector> connectors{
        local("swp1"),
        local("swp2"),
        local("eth1.20"),
        local("bond0.9"),
        ldp("a", "2.2.2.2:1", PseudowireType::ethernet),
        ldp("b", "2.2.2.2:2", PseudowireType::ethernetTagged),
        ldp("c", "3.3.3.3:1", PseudowireType::ethernet)};
    const auto anyLdpKey = [&] {
        return connectors[4 + below(3)].ldpKey();
    };
    const auto config = Pseudowire::configFactory("pw");
    const auto status = Pseudowire::statusFactory("status");
    const auto signalling = Pseudowire::pseudowireAttributeStatusCollFactory("signalling");
    agent::ForwardingAgent agent(config, signalling, status);
    std::set<std::size_t> adjacencyCounts;
    for (int step = 0; step < 4000; ++step) {
        Connector connector = connectors[below(7)];
        const auto patch = config->patchIs(std::string(1, static_cast<char>('p' + below(3))));
        switch (below(8)) {
            case 0:
                config->patchDel(patch->name());
                break;
            case 1:
                patch->enabledIs(below(4) != 0);
                break;
            case 2:
                patch->connectorKeyDel(connector.key());
                break;
            case 3:
                config->connectorDel(connector.key());
                break;
            case 4:
                if (!connector.key().isLocal()) connector.ldpKeyIs(anyLdpKey());
                connector.controlWordIs(below(2) != 0);
                config->connectorIs(connector);
                break;
            case 5:
                signalling->connectorStatusIs(
                    PseudowireUserKey::fromConnectorKey(connectors[4 + below(3)].key()),
                    asked(anyLdpKey().peerAddr(), 16 + below(3), below(2) != 0));
                signalling->connectorStatusDel(
                    PseudowireUserKey::fromConnectorKey(connectors[4 + below(3)].key()));
                break;
            default:
                patch->connectorKeyIs(connector.key());
                config->connectorIs(connector);
        }
        if (below(3) == 0) continue;
        agent.update();
        const auto fresh = Pseudowire::statusFactory("status");
        agent::ForwardingAgent starting(config, signalling, fresh);
        starting.update();
        ASSERT_EQ(factsOf(*fresh), factsOf(*status)) << step;
        ASSERT_EQ(labelsByPeer(*config, *signalling), labelsByGroup(*status)) << step;
        adjacencyCounts.insert(status->encapAdjacency().members());
    }
    EXPECT_LE(4U, adjacencyCounts.size()) << "all that was computed was alike";
}

TEST(HardwareTable, ReportsWhatDidNotGetIn) {
    constexpr std::size_t capacity = 3;
    std::mt19937 random(5);
    const std::vector<Vorn::IntfId> circuits{
        intf("swp1"),
        intf("swp2"),
        intf("eth1.20"),
        intf("bond0"),
        intf("bond0.9.1"),
        intf("Pseudowire1")};
    const auto status = Pseudowire::statusFactory("status");
    const auto hwStatus = OxoPw::pwHwStatusFactory("hw");
    // Of somebody before.
    hwStatus->unprogrammedEncapAdjIs(intf("swp9"), OxoPw::UnprogrammedReason::connInfoMissing);
    agent::HardwareTable table(status, hwStatus, capacity);
    unsigned timesFull = 0;
    for (int step = 0; step < 2000; ++step) {
        const Vorn::IntfId circuit = circuits[random() % circuits.size()];
        if (random() % 3 == 0) {
            status->encapAdjacencyDel(circuit);
        } else {
            status->encapAdjacencyIs(circuit, Pseudowire::EncapAdjacency("p"));
        }
        if (random() % 2 == 0) status->localConnectorInfoIs(circuit, {circuit, {}, {}, {}});
        if (random() % 4 == 0) status->localConnectorInfoDel(circuit);
        if (random() % 2 == 0) continue;
        table.update();
        std::set<Vorn::IntfId> programmed;
        std::size_t programmable = 0;
        for (const auto& adjacency : status->encapAdjacency()) {
            const bool isReported = hwStatus->unprogrammedEncapAdj().has(adjacency.key());
            if (adjacency.key() != intf("Pseudowire1")) ++programmable;
            if (!isReported) programmed.insert(adjacency.key());
        }
        ASSERT_EQ(std::min(capacity, programmable), programmed.size()) << step;
        ASSERT_EQ(table.programmed(), programmed.size());
        ASSERT_FALSE(programmed.contains(intf("Pseudowire1")));
        for (const auto& reported : hwStatus->unprogrammedEncapAdj()) {
            ASSERT_TRUE(status->encapAdjacency().has(reported.key())) << step;
        }
        std::set<Vorn::IntfId> unreached;
        for (const auto& info : status->localConnectorInfo()) {
            if (!programmed.contains(info.key())) unreached.insert(info.key());
        }
        std::set<Vorn::IntfId> reported;
        for (const auto& each : hwStatus->unprogrammedLocalConnector()) {
            reported.insert(each.key());
        }
        ASSERT_EQ(unreached, reported) << step;
        if (programmable > capacity) ++timesFull;
    }
    EXPECT_LE(50U, timesFull);
}

}  // namespace
