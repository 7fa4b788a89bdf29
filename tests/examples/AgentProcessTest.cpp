// The forwarding agent and the hardware process as their users meet them, beside an owner that
// plays the captures. Nothing waits for a time to pass; deadlines end a test that hangs.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Pseudowire/PseudowireIntfIdMapping.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Pseudowire/VplsConfig.h"
#include "Pseudowire/VplsForwardingStatus.h"
#include "corra/Process.h"
#include "corra/Source.h"
#include "tools/Captures.h"
#include "tools/Tool.h"

namespace {

using corra::test::captureDirectory;
using corra::test::captures;
using corra::test::Tool;

const std::string programs = std::filesystem::path(CORRA_TOOL).parent_path().string();
const std::string agentProgram = programs + "/example_forwarding_agent";
const std::string hardwareProgram = programs + "/example_hardware_agent";
const std::string vplsProgram = programs + "/example_vpls_agent";

// As read in the captures: patches of one circuit and one pseudowire, with the label that the
// peer asks for at each moment: "-" before there is one, "x" before there is the patch.
constexpr const char* patchLines = R"(
    eline-13    swp14     swp14<any,none>   4095 none ethernet       -  21 21 21
    eline-6     bond0.206 bond0<206,none>   206  pop  ethernet       -  22 22 22
    eline-hub-2 bond2.202 bond2<202,none>   202  none ethernetTagged -  21 -  21
    eline-hub-9 swp10     swp10<any,none>   4095 none ethernet       -  22 -  22
    eline-new   eth9.901  eth9<901,none>    901  pop  ethernet       x  x  x  -
)";
// Peers that some of these have a label of; each has two then.
constexpr std::array<unsigned, 4> groups{0, 2, 1, 2};

struct PatchLine {
    std::string patch, circuit, acEncap, tag, operation, type;
    std::array<std::string, 4> labels;

    static std::vector<PatchLine> all() {
        std::vector<PatchLine> lines;
        std::istringstream in(patchLines);
        for (PatchLine line; in >> line.patch >> line.circuit >> line.acEncap >> line.tag >>
                             line.operation >> line.type;) {
            for (std::string& label : line.labels) in >> label;
            lines.push_back(line);
        }
        EXPECT_EQ(5U, lines.size());
        return lines;
    }
};

class AgentProcessTest : public testing::Test {
  protected:
    AgentProcessTest() {
        ::setenv("CORRA_TEST_ERRORS", (place_.path() + "/errors").c_str(), 1);
    }

    Tool served(const std::string& moment) const {
        return Tool({"serve", captureDirectory(moment), "--listen", owner_, "--writable"});
    }
    Tool following() const {
        return Tool({"--config", owner_, "--listen", address_}, agentProgram);
    }
    Tool programming(unsigned capacity) const {
        return Tool(
            {"--agent", address_, "--capacity", std::to_string(capacity)},
            hardwareProgram);
    }

    void atOwner(const std::vector<std::string>& arguments) const {
        std::vector<std::string> words = arguments;
        words.insert(words.end(), {"--at", owner_});
        Tool tool(words);
        tool.rest();
        EXPECT_EQ(0, tool.wait()) << testing::PrintToString(words);
    }

    static std::string settle(Tool& process) {
        process.kill(SIGHUP);
        return process.line().value_or("no line");
    }

    static void expectToEnd(Tool& process) {
        process.kill(SIGTERM);
        EXPECT_EQ(0, process.wait());
    }

    void expectStatusOf(std::size_t moment) const;

    std::string errors() const {
        std::ifstream in(place_.path() + "/errors");
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        std::filesystem::resize_file(place_.path() + "/errors", 0);
        return text;
    }

    const corra::TemporaryDirectory place_;
    const std::string owner_ = "unix:" + place_.path() + "/pw.sock";
    const std::string address_ = "unix:" + place_.path() + "/agent.sock";
};

template <class T>
const T& root(corra::Source& source, const char* name) {
    return dynamic_cast<const T&>(*source.roots().at(name));
}

void AgentProcessTest::expectStatusOf(std::size_t moment) const {
    SCOPED_TRACE(captures[moment]);
    corra::Source source({address_});
    const auto& status = root<Pseudowire::Status>(source, "status");
    std::size_t patches = 0;
    std::size_t adjacencies = 0;
    for (const PatchLine& line : PatchLine::all()) {
        SCOPED_TRACE(line.patch);
        const std::string& label = line.labels[moment];
        const auto circuits = status.patchToAcSet(line.patch);
        EXPECT_EQ(label != "x", static_cast<bool>(circuits));
        if (!circuits) continue;
        ++patches;
        EXPECT_FALSE(circuits->isLocalLocal());
        EXPECT_EQ(1U, circuits->acIntfEncap().members());
        EXPECT_TRUE(circuits->acIntfEncap(Dwil::IntfEncap::fromStringValue(line.acEncap)));
        const auto circuit = Vorn::IntfId::fromStringValue(line.circuit);
        const auto info = status.localConnectorInfo(circuit);
        EXPECT_EQ(circuit, info.parentIntfId());
        EXPECT_EQ(line.tag, info.dot1qTag().stringValue());
        if (label == "-") continue;
        ++adjacencies;
        const auto adjacency = status.encapAdjacency(circuit);
        EXPECT_EQ(line.patch, adjacency.patchName());
        EXPECT_EQ(label, adjacency.encapPwLabel().stringValue());
        EXPECT_EQ(line.operation, Pseudowire::stringValue(adjacency.dot1qTagOp()));
        EXPECT_EQ(line.type, Pseudowire::stringValue(adjacency.pseudowireType()));
        EXPECT_TRUE(adjacency.controlWord());
    }
    EXPECT_EQ(patches, status.patchToAcSet().members());
    EXPECT_EQ(patches, status.localConnectorInfo().members());
    EXPECT_EQ(adjacencies, status.encapAdjacency().members());
    EXPECT_EQ(groups[moment], status.adjGroup().members());
    for (const auto& group : status.adjGroup()) {
        EXPECT_EQ(2U, group.value().pwAdjSet().members());
    }
}

TEST_F(AgentProcessTest, FollowsTheCaptures) {
    constexpr std::size_t capacity = 3;
    // In the order in which nobody finds whom it looks for.
    Tool hardware = programming(capacity);
    Tool agent = following();
    Tool owner = served(captures[0]);
    agent.line();
    hardware.line();
    for (std::size_t moment = 0; moment < captures.size(); ++moment) {
        atOwner({"import", captureDirectory(captures[moment])});
        settle(agent);
        expectStatusOf(moment);
        settle(hardware);
        corra::Source source({address_});
        const auto& status = root<Pseudowire::Status>(source, "status");
        const auto& hwStatus = root<OxoPw::PwHwStatus>(source, "hw");
        const std::size_t adjacencies = status.encapAdjacency().members();
        const std::size_t left = adjacencies - std::min(capacity, adjacencies);
        EXPECT_EQ(left, hwStatus.unprogrammedEncapAdj().members());
        EXPECT_EQ(
            status.localConnectorInfo().members() - adjacencies + left,
            hwStatus.unprogrammedLocalConnector().members());
    }
    expectToEnd(hardware);
    expectToEnd(agent);
    expectToEnd(owner);
    EXPECT_FALSE(std::filesystem::exists(place_.path() + "/agent.sock"));
}

TEST_F(AgentProcessTest, FollowsWhatAnOperatorChanges) {
    Tool owner = served(captures[1]);
    Tool agent = following();
    agent.line();
    expectStatusOf(1);
    atOwner({"set", "pw.patch['eline-6'].enabled", "False"});
    EXPECT_EQ("settled: patches 3, adjacencies 3, groups 2", settle(agent));
    atOwner({"del", "pw.connector[local:swp14]"});
    EXPECT_EQ("settled: patches 3, adjacencies 2, groups 2", settle(agent));
    atOwner({"del", "pw.connector[ldp:'pw13-2']"});
    EXPECT_EQ("settled: patches 3, adjacencies 2, groups 1", settle(agent));
    atOwner({"import", captureDirectory(captures[1])});
    settle(agent);
    expectStatusOf(1);
    // The peer withdraws what it asked for.
    const std::string user =
        "Value('Pseudowire::PseudowireUserKey', ** {'userType': patchLdpConnector, "
        "'name': 'pw6-2', 'vpwsName': '', 'peerAddr': none})";
    atOwner({"del", "signalling.connectorStatus[" + user + "]"});
    EXPECT_EQ("settled: patches 4, adjacencies 3, groups 2", settle(agent));
}

// Every pseudowire that has an interface forwards when the router printed a label for each end
// of it, and with these labels.
void expectLabelsOf(
    const std::string& moment,
    const Pseudowire::VplsForwardingStatus& forwarding,
    const Pseudowire::PseudowireIntfIdMapping& interfaces) {
    using Labels = std::pair<std::uint32_t, std::uint32_t>;
    std::map<Vorn::IntfId, Labels> expected;
    std::ifstream in(captureDirectory(moment) + "/l2vpn-atom-binding.json");
    for (const auto& binding : nlohmann::json::parse(in)) {
        const std::string ldpKey = binding["destination"].get<std::string>() + ':' +
                                   std::to_string(binding["vcId"].get<unsigned>());
        const auto intfId =
            interfaces.psudowireIntfId(Pseudowire::PseudowireLdpKey::fromStringValue(ldpKey));
        const auto label = [&](const char* name) {
            const auto found = binding.find(name);
            const bool isThere = found != binding.end() && found->is_number();
            return isThere ? found->get<std::uint32_t>() : 0;
        };
        const Labels labels(label("localLabel"), label("remoteLabel"));
        if (intfId && labels.first != 0 && labels.second != 0) expected[intfId] = labels;
    }
    std::map<Vorn::IntfId, Labels> found;
    for (const auto& instance : forwarding.instance()) {
        for (const auto& group : instance.value()->pseudowireGroup()) {
            EXPECT_TRUE(group.value()->splitHorizon());
            for (const auto& each : group.value()->pseudowire()) {
                found[each.key()] = {
                    each.value().decapLabel().value(),
                    each.value().encapLabel().value()};
            }
        }
    }
    EXPECT_EQ(expected, found);
}

TEST_F(AgentProcessTest, ForwardsVplsAsTheCapturesSay) {
    Tool owner = served(captures[0]);
    Tool agent({"--config", owner_, "--listen", address_}, vplsProgram);
    agent.line();
    std::set<std::string> told;
    for (const char* const moment : captures) {
        SCOPED_TRACE(moment);
        atOwner({"import", captureDirectory(moment)});
        told.insert(settle(agent));
        corra::Source at({address_});
        const auto& forwarding = root<Pseudowire::VplsForwardingStatus>(at, "vplsForwarding");
        expectLabelsOf(
            moment,
            forwarding,
            root<Pseudowire::PseudowireIntfIdMapping>(at, "interfaces"));
        corra::Source configured({captureDirectory(moment)});
        const auto& vpls = root<Pseudowire::VplsConfig>(configured, "vpls");
        EXPECT_EQ(vpls.instance().members(), forwarding.instance().members());
        for (const auto& instance : vpls.instance()) {
            SCOPED_TRACE(instance.name().view());
            std::set<Bridging::VlanId> expected;
            for (const auto& vlan : instance.vlan()) expected.insert(vlan.key());
            std::set<Bridging::VlanId> found;
            for (const auto& vlan : forwarding.instance(instance.name())->vlan()) {
                found.insert(vlan.key());
            }
            EXPECT_EQ(expected, found);
        }
    }
    EXPECT_LE(3U, told.size()) << "the captures were alike";
    expectToEnd(agent);
}

TEST_F(AgentProcessTest, KeepsForwardingWhileTheOwnerIsGone) {
    std::optional<Tool> owner(served(captures[1]));
    Tool agent = following();
    agent.line();
    Tool hardware = programming(1);
    hardware.line();
    owner->kill(SIGKILL);
    owner->wait();
    expectStatusOf(1);
    owner.emplace(served(captures[3]));
    // Said once it is synchronised again.
    EXPECT_EQ("settled: patches 5, adjacencies 4, groups 2", agent.line());
    expectStatusOf(3);

    // What the hardware said goes with the agent, and is said again to the next one.
    agent.kill(SIGKILL);
    agent.wait();
    Tool next = following();
    next.line();
    EXPECT_TRUE(hardware.line());
    settle(hardware);
    corra::Source source({address_});
    EXPECT_EQ(3U, root<OxoPw::PwHwStatus>(source, "hw").unprogrammedEncapAdj().members());
}

TEST_F(AgentProcessTest, AMirrorSaysWhatChangesUntilItsOwnerGoes) {
    Tool owner = served("t1-converged");
    corra::test::waitUntilServed(owner_);
    Tool mirror({owner_}, programs + "/example_mirror");
    const auto expectLine = [&](const std::string& expected) {
        std::optional<std::string> line;
        while ((line = mirror.line()) && *line != expected) {
        }
        EXPECT_EQ(expected, line);
    };
    expectLine("patch eline-6");
    atOwner({"set", "pw.mtu", "9000"});
    expectLine("the default MTU is 9000");
    atOwner({"del", "pw.patch['eline-6']"});
    expectLine("patch eline-6 is gone");
    expectToEnd(owner);
    EXPECT_EQ("", mirror.rest());
    EXPECT_EQ(0, mirror.wait());
}

TEST_F(AgentProcessTest, ExitStatusesTellRefusalFromTrouble) {
    Tool agentOfOthers = following();
    corra::test::waitUntil([&] { return std::filesystem::exists(address_.substr(5)); });
    errors();
    const std::string tryHelp = "; try --help\n";
    const struct {
        std::string program;
        std::vector<std::string> arguments;
        int status;
        std::string said;
    } cases[] = {
        {agentProgram, {"--help"}, 0, ""},
        {agentProgram, {}, 2, "--config is required" + tryHelp},
        {agentProgram, {"--config"}, 2, "--config needs a value" + tryHelp},
        {agentProgram,
         {"--config", "udp:9", "--listen", address_},
         2,
         "expected unix:PATH or tcp:PORT at position 0, found \"udp:9\"\n"},
        {agentProgram,
         {"--config", owner_, "--listen", address_},
         2,
         address_ + ": Address already in use\n"},
        // It serves no configuration.
        {agentProgram,
         {"--config", address_, "--listen", owner_},
         1,
         address_ + ": pw cannot be mirrored: "},
        {hardwareProgram,
         {"--agent", address_, "--capacity", "-1"},
         2,
         "expected a decimal number at position 0, found '-1'\n"},
    };
    for (const auto& each : cases) {
        Tool tool(each.arguments, each.program);
        tool.rest();
        EXPECT_EQ(each.status, tool.wait()) << testing::PrintToString(each.arguments);
        const std::string said = errors();
        const std::string name = std::filesystem::path(each.program).filename().string();
        const std::string expected = each.said.empty() ? "" : name + ": " + each.said;
        EXPECT_NE(said.npos, said.find(expected)) << said;
    }
}

// Whether it runs to its end or is stopped somewhere.
TEST_F(AgentProcessTest, TheDemoLeavesNothingBehind) {
    const corra::TemporaryDirectory temporary;
    ::setenv("TMPDIR", temporary.path().c_str(), 1);
    const std::string examples = std::string(CORRA_SOURCE_DIR) + "/examples";
    for (const int linesRead : {0, 2, 5, 1000}) {
        Tool demo(
            {programs, examples + "/pe1", place_.path() + "/services"},
            examples + "/forwarding_demo");
        std::string shown;
        for (int i = 0; i < linesRead; ++i) {
            const auto line = demo.line();
            if (!line) break;
            shown += *line + '\n';
        }
        if (linesRead < 1000) demo.kill(SIGTERM);
        demo.rest();
        const int status = demo.wait();
        if (linesRead == 1000) {
            EXPECT_EQ(0, status);
            EXPECT_NE(shown.npos, shown.find("\nforwarding: the agents followed each capture"))
                << shown;
        }
        // The processes have ended before it is.
        corra::test::waitUntil([&] { return std::filesystem::is_empty(temporary.path()); });
    }
    ::unsetenv("TMPDIR");
}

}  // namespace
