// Pictures of services. The laws hold for random trees, whose names are of the most awkward
// kind, and for captures.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwCliPatch.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/VplsConfig.h"
#include "Zin/ValueInfoOf.h"
#include "corra/Console.h"
#include "corra/Graph.h"
#include "corra/GraphCommand.h"
#include "corra/GraphDot.h"
#include "corra/Process.h"
#include "corra/StateFile.h"
#include "support/RootTypes.h"
#include "tools/Captures.h"

namespace {

using corra::Graph;
using corra::Roots;
using Kind = Graph::Kind;
using Health = Graph::Health;
using Status = Pseudowire::PseudowireConnectorStatus;
using Pseudowire::ConnectorKey;
using Pseudowire::PseudowireUserKey;

// --- A reader of what is printed ---

struct Dot {
    std::map<std::string, std::string> labels;
    std::set<std::pair<std::string, std::string>> edges;
    std::size_t lines = 0;
};

// The text of the string at the beginning, which is taken away.
std::string takeString(std::string_view& line) {
    std::string text;
    std::size_t at = 1;
    for (; at < line.size() && line[at] != '"'; ++at) {
        if (line[at] == '\\') {
            ++at;
            text += line[at] == 'n' ? '\n' : line[at];
        } else {
            text += line[at];
            if (line[at] == '&') {
                EXPECT_EQ("&amp;", line.substr(at, 5));
                at += 4;
            }
        }
    }
    EXPECT_LT(at, line.size()) << "a string without an end: " << line;
    line.remove_prefix(std::min(at + 1, line.size()));
    return text;
}

// Statements are lines. What is there for the looks alone is left out.
Dot read(const std::string& text) {
    Dot dot;
    std::istringstream lines(text);
    for (std::string whole; std::getline(lines, whole);) {
        std::string_view line(whole);
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        if (!line.starts_with('"') || line.starts_with("\"legend ")) continue;
        const std::string id = takeString(line);
        if (line.ends_with("[style=invis, weight=0]")) continue;
        ++dot.lines;
        if (line.starts_with(" -- ")) {
            line.remove_prefix(4);
            dot.edges.emplace(id, takeString(line));
            continue;
        }
        constexpr std::string_view label = " [label=";
        EXPECT_TRUE(line.starts_with(label)) << line;
        line.remove_prefix(label.size());
        dot.labels.emplace(id, takeString(line));
    }
    return dot;
}

// --- States ---

template <class Collection, class Visit>
void forEachKey(const Collection& collection, const Visit& visit) {
    for (auto it = collection.iteratorConst(); it; ++it) visit(it.key());
}

ConnectorKey localKey(const char* interface) {
    ConnectorKey key;
    key.localConnectorKeyIs(Vorn::IntfId::fromStringValue(interface));
    return key;
}

ConnectorKey ldpKey(const char* name) {
    ConnectorKey key;
    key.ldpConnectorKeyIs(name);
    return key;
}

const Graph::Node* named(const Graph& graph, const std::string& name) {
    const auto found =
        std::find_if(graph.nodes.begin(), graph.nodes.end(), [&](const auto& node) {
            return node.name == name;
        });
    return found == graph.nodes.end() ? nullptr : &*found;
}

// A patch "a" and an instance "b" to two peers, each with a circuit.
class State {
  public:
    State() {
        for (const char* const name : {"pw1", "pw2", "pw3"}) {
            Pseudowire::Connector connector(ldpKey(name));
            const auto peer = Vorn::IpGenAddr::fromStringValue(
                std::string(name) == "pw3" ? "3.3.3.3" : "2.2.2.2");
            connector.ldpKeyIs(Pseudowire::PseudowireLdpKey(
                peer,
                static_cast<Pseudowire::PseudowireId>(1000 + name[2] - '0')));
            config->connectorIs(connector);
        }
        config->connectorIs(Pseudowire::Connector(localKey("swp1")));
        Pseudowire::Connector tagged(localKey("eth4.303"));
        tagged.dot1qEncapIs({Bridging::VlanIdOrNone(303), Bridging::VlanIdOrNone()});
        config->connectorIs(tagged);
        const auto patch = config->patchIs("a");
        patch->connectorKeyIs(localKey("swp1"));
        patch->connectorKeyIs(ldpKey("pw1"));

        const auto instance = vpls->instanceIs("b");
        instance->vlanIs({Bridging::VlanId(303), {}});
        const auto group = instance->ldpPseudowireGroupIs("core", true);
        group->pseudowireIs({"pw2", false, 0});
        group->pseudowireIs({"pw3", true, 0});

        signalledIs(PseudowireUserKey::fromConnectorKey(ldpKey("pw1")), "2.2.2.2", Status::up);
        signalledIs(userOf("pw2", "2.2.2.2"), "2.2.2.2", Status::noSession);
        signalledIs(userOf("pw3", "3.3.3.3"), "3.3.3.3", Status::up);

        panel->localConnStatusIs(localKey("swp1"))->statusIs(Status::up);
        panel->patchIs("a", {})->statusIs(Status::up);
    }

    static PseudowireUserKey userOf(const char* name, const char* peer) {
        return {
            PseudowireUserKey::UserType::vplsLdpPseudowire,
            name,
            {},
            Vorn::IpGenAddr::fromStringValue(peer)};
    }
    void signalledIs(const PseudowireUserKey& user, const char* peer, Status status) {
        Pseudowire::PseudowireAttributeStatus signalled;
        signalled.statusIs(status);
        signalled.localLabelIs(Vorn::MplsLabel(16));
        Pseudowire::PseudowirePeerAttributeStatus info;
        info.peerLabelIs(Vorn::MplsLabel(17));
        signalled.peerInfoIs(Vorn::IpGenAddr::fromStringValue(peer), info);
        signalling->connectorStatusIs(user, signalled);
    }

    Roots roots() const {
        return {{"pw", config}, {"vpls", vpls}, {"signalling", signalling}, {"panel", panel}};
    }

    const Zin::Ptr<Pseudowire::Config> config = Pseudowire::configFactory("pw");
    const Zin::Ptr<Pseudowire::VplsConfig> vpls = Pseudowire::vplsConfigFactory("vpls");
    const Zin::Ptr<Pseudowire::PseudowireAttributeStatusColl> signalling =
        Pseudowire::pseudowireAttributeStatusCollFactory("signalling");
    const Zin::Ptr<Pseudowire::PatchPanel> panel = Pseudowire::patchPanelFactory("panel");
};

// --- Laws ---

// All nodes that the trees call for, by what the graph must tell apart.
std::multiset<std::string> expectedNodes(const Roots& roots) {
    std::set<std::string> nodes;
    const auto connector = [&](const ConnectorKey& key) {
        nodes.insert((key.isLocal() ? "circuit " : "pseudowire ") + Zin::textOf(key));
    };
    for (const auto& [name, root] : roots) {
        if (const auto* config = dynamic_cast<const Pseudowire::Config*>(root.get())) {
            for (auto it = config->connector().iteratorConst(); it; ++it) {
                connector(it.key());
                const auto peer = config->connector(it.key()).ldpKey().peerAddr();
                if (it.key().connectorType() == Pseudowire::ConnectorType::ldp &&
                    peer != Vorn::IpGenAddr()) {
                    nodes.insert("peer " + Zin::textOf(peer));
                }
            }
            forEachKey(config->patch(), [&](const Zin::String& patch) {
                nodes.insert("patch " + Zin::textOf(patch));
                forEachKey(config->patch(patch)->connectorKey(), connector);
            });
        }
        if (const auto* vpls = dynamic_cast<const Pseudowire::VplsConfig*>(root.get())) {
            forEachKey(vpls->instance(), [&](const Zin::String& instance) {
                nodes.insert("instance " + Zin::textOf(instance));
            });
        }
    }
    return {nodes.begin(), nodes.end()};
}

// What must hold of every graph; returns what was printed.
std::string expectWhole(const Roots& roots) {
    const Graph graph = corra::graphOf(roots);
    std::multiset<std::string> ids;
    for (const Graph::Node& node : graph.nodes) ids.insert(node.id);
    for (const std::string& expected : expectedNodes(roots)) {
        EXPECT_EQ(1U, ids.count(expected)) << expected;
    }
    const std::string text = corra::dotOf(graph);
    const Dot dot = read(text);
    EXPECT_EQ(graph.nodes.size(), dot.labels.size());
    EXPECT_EQ(graph.edges.size(), dot.edges.size());
    EXPECT_EQ(dot.lines, dot.labels.size() + dot.edges.size());
    for (const Graph::Node& node : graph.nodes) {
        const auto found = dot.labels.find(node.id);
        if (found == dot.labels.end()) {
            ADD_FAILURE() << node.id;
            continue;
        }
        EXPECT_TRUE(Zin::isUtf8(found->second));
        EXPECT_TRUE(found->second.starts_with(corra::drawable(node.name))) << found->second;
    }
    for (const auto& [from, to] : dot.edges) {
        EXPECT_TRUE(dot.labels.contains(from)) << from;
        EXPECT_TRUE(dot.labels.contains(to)) << to;
    }
    return text;
}

TEST(GraphTest, ShowsEachThingOnceWhateverItsName) {
    laws::Random random(7);
    for (int round = 0; round < 60; ++round) {
        Roots roots;
        for (const support::EntityType& type : support::rootTypes) {
            const auto root = type.make("root");
            if (laws::below(random, 4) == 0) continue;
            for (int step = 0; step < 40; ++step) type.step(*root, random);
            roots.emplace(std::to_string(roots.size()), root);
        }
        // The same state, made in another order.
        EXPECT_EQ(
            expectWhole(roots),
            expectWhole(corra::readState(corra::stateText(roots), "")));
    }
}

TEST(GraphTest, ShowsCaptures) {
    for (const char* const moment : corra::test::captures) {
        Roots roots;
        corra::importCapture(corra::test::captureDirectory(moment), roots);
        const std::string text = expectWhole(roots);
        EXPECT_LE(40, std::count(text.begin(), text.end(), '\n')) << text;
    }
}

TEST(GraphTest, DifferentBytesAreDrawnDifferently) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> cases[] = {
        {"it's \"a\" & <b>", "it's \"a\" & <b>"},
        {"\xc3\xa9\xf0\x9f\x98\x80", "\xc3\xa9\xf0\x9f\x98\x80"},
        {"a\nb\0c\x7f"s, R"(a\x0ab\x00c\x7f)"},
        {R"(a\x0ab\')", R"(a\\x0ab\\')"},
        {"\xc3(\xff", R"(\xc3(\xff)"},
        {"\xef\xbf\xbe\xef\xbf\xbf\xef\xbf\xbd", "\\xef\\xbf\\xbe\\xef\\xbf\\xbf\xef\xbf\xbd"},
    };
    for (const auto& [bytes, drawn] : cases) EXPECT_EQ(drawn, corra::drawable(bytes));
}

// --- What is said ---

TEST(GraphTest, TellsTheStateOfEachThing) {
    State state;
    std::ostringstream told;
    const Graph graph = corra::graphOf(state.roots());
    EXPECT_TRUE(graph.missing.empty());
    for (const Graph::Node& node : graph.nodes) {
        told << node.id << ':';
        for (const std::string& detail : node.details) told << ' ' << detail << ';';
        told << ' ' << node.state << '\n';
    }
    for (const Graph::Edge& edge : graph.edges) {
        told << edge.from << " -- " << edge.to << ' ' << edge.label << '\n';
    }
    EXPECT_EQ(
        R"(circuit local:eth4.303: 
circuit local:swp1: up
instance 'b': VLAN 303; 1 of 2 up
patch 'a': up
peer 2.2.2.2: 1 of 2 up
peer 3.3.3.3: 1 of 1 up
pseudowire ldp:'pw1': pw-id 1001; labels 16/17; up
pseudowire ldp:'pw2': pw-id 1002; labels 16/17; no session with 2.2.2.2
pseudowire ldp:'pw3': pw-id 1003; labels 16/17; up
circuit local:eth4.303 -- instance 'b' 
circuit local:swp1 -- patch 'a' 
instance 'b' -- pseudowire ldp:'pw2' 
instance 'b' -- pseudowire ldp:'pw3' secondary
patch 'a' -- pseudowire ldp:'pw1' 
pseudowire ldp:'pw1' -- peer 2.2.2.2 
pseudowire ldp:'pw2' -- peer 2.2.2.2 
pseudowire ldp:'pw3' -- peer 3.3.3.3 
)",
        told.str());
}

TEST(GraphTest, SortsReasonsByWhoIsWhy) {
    const std::pair<std::vector<Status>, Health> cases[] = {
        {{Status::up, Status::up}, Health::up},
        {{Status::up, Status::standby}, Health::up},
        {{Status::up, Status::unknown}, Health::partly},
        {{Status::standby, Status::adminDown}, Health::idle},
        {{Status::mtuMismatch, Status::noSession}, Health::there},
        {{Status::mtuMismatch, Status::unknown}, Health::disagree},
        {{Status::remoteNotForwarding, Status::localCircuitDown}, Health::here},
        {{Status::unknown, static_cast<Status>(200)}, Health::unknown},
    };
    for (const auto& [statuses, health] : cases) {
        State state;
        state.signalledIs(State::userOf("pw2", "2.2.2.2"), "2.2.2.2", statuses[0]);
        state.signalledIs(State::userOf("pw3", "3.3.3.3"), "3.3.3.3", statuses[1]);
        const Graph graph = corra::graphOf(state.roots());
        EXPECT_EQ(health, named(graph, "b")->health) << Zin::textOf(statuses[0]);
        EXPECT_EQ(
            statuses[1] == Status::noSession,
            named(graph, "3.3.3.3")->state.ends_with(", no session"));
    }
}

TEST(GraphTest, WhatIsNotThereIsUnknown) {
    State state;
    state.config->patchIs("off")->enabledIs(false);
    state.config->patchIs("a")->connectorKeyIs(ldpKey("nowhere"));
    const Graph graph = corra::graphOf({{"pw", state.config}});
    EXPECT_EQ(3U, graph.missing.size());
    EXPECT_EQ(Health::unknown, named(graph, "a")->health);
    EXPECT_EQ(Health::unknown, named(graph, "pw1")->health);
    EXPECT_EQ(Health::unknown, named(graph, "2.2.2.2")->health);
    // The configuration is enough for these.
    EXPECT_EQ(Health::idle, named(graph, "off")->health);
    EXPECT_EQ(Health::here, named(graph, "nowhere")->health);
    // Without it there are the names, and what signalling says of them.
    const Graph signalled =
        corra::graphOf({{"vpls", state.vpls}, {"signalling", state.signalling}});
    EXPECT_EQ(Health::partly, named(signalled, "b")->health);
    EXPECT_EQ(Health::up, named(signalled, "pw1")->health);
    EXPECT_EQ(Health::partly, named(signalled, "2.2.2.2")->health);
}

TEST(GraphTest, APartIsWhatItsNamesAreConnectedWith) {
    const State state;
    const Graph graph = corra::graphOf(state.roots());
    const std::pair<std::vector<std::string>, std::set<std::string>> cases[] = {
        {{"b"}, {"eth4.303", "b", "pw2", "pw3", "2.2.2.2", "3.3.3.3"}},
        {{"3.3.3.3"}, {"eth4.303", "b", "pw3", "3.3.3.3"}},
        {{"swp1", "pw3"}, {"swp1", "a", "pw1", "2.2.2.2", "eth4.303", "b", "pw3", "3.3.3.3"}},
        {{"none"}, {}},
    };
    for (const auto& [names, expected] : cases) {
        const Graph part = corra::partOf(graph, names);
        std::set<std::string> found;
        for (const Graph::Node& node : part.nodes) found.insert(node.name);
        EXPECT_EQ(expected, found);
        EXPECT_EQ(part.edges.size(), read(corra::dotOf(part)).edges.size());
    }
}

// --- The command ---

class GraphCommandTest : public testing::Test {
  protected:
    std::string path(const std::string& name) const { return directory_.path() + '/' + name; }
    std::string contents(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    corra::GraphOptions options(const std::string& file) const {
        return {{corra::test::captureDirectory("t1-converged")}, "", path(file), {}};
    }

    const corra::TemporaryDirectory directory_;
};

TEST_F(GraphCommandTest, WritesWhatTheEndingSays) {
    auto wanted = options("all.dot");
    EXPECT_EQ(corra::exitGood, corra::graph(wanted));
    EXPECT_TRUE(contents("all.dot").starts_with("graph services {"));
    wanted.only = {"pw1-2", "nobody"};
    EXPECT_EQ(corra::exitFailed, corra::graph(wanted));
    EXPECT_THROW(corra::graph(options("all.pdf")), std::runtime_error);
    EXPECT_EQ("", contents("all.pdf"));
}

TEST_F(GraphCommandTest, SaysWhenThePictureCannotBeMade) {
    const std::string before = std::getenv("PATH");
    const auto failure = [&] {
        try {
            corra::graph(options("all.svg"));
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    ::setenv("PATH", directory_.path().c_str(), 1);
    EXPECT_NE(std::string::npos, failure().find("the package graphviz"));
    std::ofstream(path("dot")) << "#!/bin/sh\nexit 3\n";
    std::filesystem::permissions(path("dot"), std::filesystem::perms::owner_all);
    EXPECT_EQ("the program dot failed with exit status 3", failure());
    ::setenv("PATH", before.c_str(), 1);
    EXPECT_FALSE(std::filesystem::exists(path("all.svg")));
}

TEST_F(GraphCommandTest, GraphvizDrawsAwkwardNames) {
    if (std::system("dot -V 2>/dev/null") != 0) GTEST_SKIP() << "dot is not installed";
    const std::string awkward[] = {"&amp;\\N\"<b>\\", "a\nb\xff", "\xc3\xa9 [x] {y};", "\\"};
    State state;
    for (const std::string& name : awkward) state.config->patchIs(name);
    std::ofstream(path("in.dot")) << corra::dotOf(corra::graphOf(state.roots()));
    EXPECT_EQ(
        0,
        std::system(("dot -Tsvg -o " + path("out.svg") + ' ' + path("in.dot")).c_str()));
    const std::string svg = contents("out.svg");
    for (const char* const drawn :
         {">&amp;amp;\\\\N&quot;&lt;b&gt;\\\\<",
          ">a\\x0ab\\xff<",
          ">\xc3\xa9 [x] {y};<",
          ">\\\\<"}) {
        EXPECT_NE(std::string::npos, svg.find(drawn)) << drawn;
    }
    EXPECT_EQ(corra::exitGood, corra::graph(options("all.svg")));
    EXPECT_NE(std::string::npos, contents("all.svg").find(">pw1&#45;2, pw&#45;id 1001"));
}

}  // namespace
