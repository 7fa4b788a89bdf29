// What a router says of its signalling, and what becomes of it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "Pseudowire/PwCliPatch.h"
#include "Pseudowire/PwLabelBinding.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Zin/ValueInfo.h"
#include "corra/Import.h"
#include "corra/Process.h"
#include "corra/StateError.h"
#include "corra/StateFile.h"
#include "corra/Watch.h"
#include "corra/Why.h"
#include "tools/Captures.h"

namespace {

using corra::importCapture;
using corra::Roots;
using corra::test::captureDirectory;
using corra::test::captures;
using corra::test::captureText;
using nlohmann::json;
using Pseudowire::PseudowireUserKey;
using Zin::textOf;
using Lines = std::vector<std::string>;
using UserType = PseudowireUserKey::UserType;

constexpr const char* bindingFile = "l2vpn-atom-binding.json";
constexpr const char* circuitFile = "l2vpn-atom-vc.json";
constexpr const char* sessionFile = "mpls-ldp-neighbor.json";

const auto& labelsIn(const Roots& roots) {
    return static_cast<const Pseudowire::LabelBindingColl&>(*roots.at("labels"));
}
const auto& statusesIn(const Roots& roots) {
    return static_cast<const Pseudowire::PseudowireAttributeStatusColl&>(
        *roots.at("signalling"));
}
const auto& panelIn(const Roots& roots) {
    return static_cast<const Pseudowire::PatchPanel&>(*roots.at("panel"));
}

// --- The captures, whose JSON is read once more ---

struct Configured {
    std::string name;
    // Of a point-to-point instance.
    std::string interface = {};
    std::string patch = {};
};

// By the names that the bindings have.
std::map<std::string, Configured> configuredIn(const std::string& moment) {
    std::map<std::string, Configured> all;
    const auto router = corra::parseRouterConfig(captureText(moment), moment);
    for (const auto& instance : router.instances) {
        const bool isPatch =
            instance.interfaces.size() == 1 && instance.pseudowires.size() == 1;
        for (const auto& each : instance.pseudowires) {
            auto& configured =
                all[textOf(each.neighborLsrId) + ": " + std::to_string(each.pwId)];
            configured = {each.name};
            if (isPatch) configured = {each.name, instance.interfaces[0].name, instance.name};
        }
    }
    return all;
}

json jsonOf(const std::string& moment, const char* file) {
    std::ifstream in(captureDirectory(moment) + '/' + file);
    EXPECT_TRUE(in) << file;
    return json::parse(in);
}

std::string statusSaidBy(const json& binding, bool isSession) {
    const std::string reason = binding["lastFailureReason"];
    if (reason == "remote not forwarding") return "remoteNotForwarding";
    if (reason == "local not forwarding") return "localCircuitDown";
    if (reason == "mtu mismatch between peers") return "mtuMismatch";
    if (!isSession) return "noSession";
    if (binding["remoteLabel"] == "unassigned") return "noRemoteEnd";
    return reason == "No Error" ? "hardwareNotProgrammed" : reason;
}

Pseudowire::PseudowireType typeSaidBy(const json& word) {
    EXPECT_TRUE(word == "Ethernet" || word == "Eth Tagged");
    return word == "Ethernet" ? Pseudowire::PseudowireType::ethernet
                              : Pseudowire::PseudowireType::ethernetTagged;
}

// Held to be what the binding says, but for the status and what there is no word for.
void expectStatus(const Pseudowire::PseudowireAttributeStatus& held, const json& said) {
    Pseudowire::PseudowireAttributeStatus expected;
    expected.statusIs(held.status());
    expected.localLabelIs(Vorn::MplsLabel(said["localLabel"]));
    expected.decapControlWordIs(said["localControlWord"] == 1);
    expected.pwIdIs(said["vcId"]);
    expected.pwStatusFlagsIs(Pseudowire::PseudowireLdpStatusFlags(
        said["lastFailureReason"] == "remote not forwarding" ? 1 : 0));
    if (said["remoteLabel"] != "unassigned") {
        expected.remotePwTypeIs(typeSaidBy(said["remoteVcType"]));
        Pseudowire::PseudowirePeerAttributeStatus peer;
        peer.peerLabelIs(Vorn::MplsLabel(said["remoteLabel"]));
        peer.mtuIs(said["remoteIfMtu"]);
        peer.encapControlWordIs(said["remoteControlWord"] == 1);
        const std::string address = said["destination"];
        expected.peerInfoIs(Vorn::IpGenAddr::fromStringValue(address), peer);
    }
    EXPECT_TRUE(expected == held) << textOf(held);
}

// Held to be derived from a binding of that status.
void expectPatch(
    const Roots& roots,
    const Configured& configured,
    const std::string& status,
    const json& said) {
    const auto key = Pseudowire::ConnectorKey::fromStringValue("ldp:'" + configured.name + "'");
    const auto localKey =
        Pseudowire::ConnectorKey::fromStringValue("local:" + configured.interface);
    const auto& config = static_cast<const Pseudowire::Config&>(*roots.at("pw"));
    const auto& panel = panelIn(roots);
    EXPECT_EQ(config.intfReviewDelayRange(), panel.intfReviewDelayRange());
    const auto patch = panel.patch(configured.patch);
    const auto local = panel.localConnStatus(localKey);
    const auto remote = panel.remoteConnStatus(key);
    ASSERT_TRUE(patch && local && remote);
    EXPECT_EQ(status, textOf(patch->status()));
    EXPECT_EQ(2U, patch->patchConnectorKey().members());
    EXPECT_TRUE(
        patch->patchConnectorKey().has(key) && patch->patchConnectorKey().has(localKey));
    EXPECT_EQ(status == "localCircuitDown" ? status : "unknown", textOf(local->status()));
    EXPECT_EQ(key, local->peerConnectorKey());
    EXPECT_EQ(status, textOf(remote->status()));
    EXPECT_TRUE(remote->localConnectorKey().has(localKey));
    EXPECT_EQ(said.value("remoteIfMtu", 0U), remote->mtu());
    EXPECT_EQ(config.connector(key), remote->connector());
    EXPECT_EQ(config.connector(localKey).dot1qEncap(), local->encap().dot1qEncap());
    EXPECT_TRUE(panel.ldpKeyToConnKey(remote->connector().ldpKey())->connKey(key));
    for (const auto& each : {key, localKey}) {
        EXPECT_EQ(configured.patch, panel.connToPatch(each)->activePatch().view());
    }
}

// What `corra why` says first for each reason that the router gives.
std::string wordsFor(const json& binding, bool hasSession) {
    const std::string peer = binding["destination"];
    if (!hasSession) return "no session with " + peer;
    const std::string unlabelled = "no remote label from " + peer;
    const bool hasLabel = binding["remoteLabel"].is_number();
    const std::map<std::string, std::string> words{
        {"No Error", hasLabel ? "the forwarding hardware did not take it" : unlabelled},
        {"no remote label", unlabelled},
        {"local not forwarding", "the attachment circuit is not forwarding"},
        {"remote not forwarding", peer + " reports \"Pseudowire Not Forwarding\""},
        {"mtu mismatch between peers", " at " + peer}};
    return words.at(binding["lastFailureReason"]);
}

TEST(SignallingTest, EachCaptureIsHeldAsItsJsonSays) {
    for (const char* const moment : captures) {
        Roots roots;
        const auto warnings = importCapture(captureDirectory(moment), roots);
        const auto configured = configuredIn(moment);
        std::set<std::string> sessions;
        const json neighbors = jsonOf(moment, sessionFile);
        for (const json& neighbor : neighbors.value("neighbors", json::array())) {
            if (neighbor["state"] == "OPERATIONAL") sessions.insert(neighbor["neighborId"]);
        }
        const json circuits = jsonOf(moment, circuitFile);
        std::size_t bindings = 0, patches = 0, gone = 0;
        const json said = jsonOf(moment, bindingFile);
        for (const auto& member : said.items()) {
            SCOPED_TRACE(std::string(moment) + ' ' + member.key());
            const auto found = configured.find(member.key());
            // The one instance that was removed, whose peers still signal.
            if (found == configured.end()) {
                ++gone;
                continue;
            }
            ++bindings;
            const std::string peer = member.value()["destination"];
            const std::string name = found->second.name;
            const bool isPatch = !found->second.patch.empty();
            const PseudowireUserKey user(
                isPatch ? UserType::patchLdpConnector : UserType::vplsLdpPseudowire,
                name,
                {},
                isPatch ? Vorn::IpGenAddr() : Vorn::IpGenAddr::fromStringValue(peer));
            const Vorn::MplsLabel label(member.value()["localLabel"]);
            EXPECT_EQ(label, labelsIn(roots).localLabel(user));
            EXPECT_EQ(user, labelsIn(roots).pseudowire(label));

            EXPECT_EQ("down", circuits[name]["status"]) << "up is not looked for here";
            const auto status = statusSaidBy(member.value(), sessions.contains(peer));
            const auto held = statusesIn(roots).connectorStatus(user);
            EXPECT_EQ(status, textOf(held.status()));
            expectStatus(held, member.value());
            const auto answers = corra::explain(roots, name);
            ASSERT_EQ(1U, answers.size());
            const std::string words = wordsFor(member.value(), sessions.contains(peer));
            EXPECT_NE(words.npos, answers[0].summary.find(words)) << answers[0].summary;
            if (!isPatch) continue;
            ++patches;
            expectPatch(roots, found->second, status, member.value());
        }
        EXPECT_LT(30U, bindings);
        EXPECT_LT(3U, patches);
        EXPECT_EQ(bindings, labelsIn(roots).localLabel().members());
        EXPECT_EQ(bindings, labelsIn(roots).pseudowire().members());
        EXPECT_EQ(bindings, statusesIn(roots).connectorStatus().members());
        EXPECT_EQ(patches, panelIn(roots).patch().members());
        EXPECT_EQ(patches, panelIn(roots).localConnStatus().members());
        EXPECT_EQ(patches, panelIn(roots).remoteConnStatus().members());
        EXPECT_EQ(gone, warnings.size()) << testing::PrintToString(warnings);
    }
}

// What watchers of the roots that stay are told of an import.
std::size_t changesOfImport(const std::string& directory, Roots& roots) {
    std::size_t changes = 0;
    const corra::TreeWatcher::Listener listener = [&](const corra::Change&) {
        ++changes;
    };
    const Roots before = roots;
    std::vector<std::unique_ptr<corra::TreeWatcher>> watchers;
    for (const auto& [name, root] : before) {
        watchers.push_back(
            std::make_unique<corra::TreeWatcher>(std::string(name.view()), *root, listener));
    }
    changes = 0;
    importCapture(directory, roots);
    for (const auto& [name, root] : before) {
        EXPECT_TRUE(!roots.contains(name) || roots.at(name) == root);
    }
    return changes;
}

TEST(SignallingTest, AnUpdateEqualsAFreshImportAndASecondOneTellsNothing) {
    const corra::TemporaryDirectory configurationAlone;
    std::filesystem::copy(
        captureDirectory("t1-converged") + "/running-config.txt",
        configurationAlone.path());
    Lines directories{configurationAlone.path()};
    for (const char* const moment : captures) directories.push_back(captureDirectory(moment));
    for (const std::string& before : directories) {
        for (const std::string& after : directories) {
            SCOPED_TRACE(before + " to " + after);
            Roots roots, fresh;
            importCapture(before, roots);
            importCapture(after, fresh);
            changesOfImport(after, roots);
            EXPECT_EQ(corra::stateText(fresh), corra::stateText(roots));
            EXPECT_EQ(0U, changesOfImport(after, roots));
            EXPECT_EQ(after == configurationAlone.path() ? 2U : 5U, roots.size());
        }
    }
}

// --- A small capture, and what can be wrong with it ---

json binding(const char* peer, int id, int label) {
    json both{{"destination", peer}, {"vcId", id}, {"lastFailureReason", "No Error"}};
    for (const std::string end : {"local", "remote"}) {
        both[end + "Label"] = label;
        both[end + "ControlWord"] = 1;
        both[end + "VcType"] = "Ethernet";
        both[end + "GroupID"] = 0;
        both[end + "IfMtu"] = 1500;
    }
    return both;
}

json circuit(const char* peer, int id, const char* vpn) {
    return {
        {"peerId", peer},
        {"vcId", id},
        {"VpnName", vpn},
        {"vpnName", vpn},
        {"status", "up"}};
}

// A patch of the pseudowire p, and a VPLS instance with q. All is well.
class SmallCapture : public testing::Test {
  protected:
    SmallCapture() {
        write(
            "running-config.txt",
            "l2vpn A type vpls\n member interface eth1\n member pseudowire p\n"
            "  neighbor lsr-id 2.2.2.2\n  pw-id 7\n exit\nexit\n"
            "l2vpn B type vpls\n member interface eth2\n member interface eth3\n"
            " member pseudowire q\n  neighbor lsr-id 3.3.3.3\n  pw-id 8\n exit\nexit\n");
        for (const auto& [file, text] : files_) write(file, text.dump());
    }

    void write(const std::string& file, const std::string& text) {
        std::ofstream(directory_.path() + '/' + file) << text;
    }
    // By a JSON merge patch (RFC 7396) of the sound file.
    void change(const std::string& file, const std::string& patch) {
        json changed = files_.at(file);
        changed.merge_patch(json::parse(patch));
        write(file, changed.dump());
    }
    void mend(const std::string& file) { change(file, "{}"); }

    std::string withoutDirectory(const std::string& text) const {
        EXPECT_TRUE(text.starts_with(directory_.path())) << text;
        return text.substr(directory_.path().size() + 1);
    }

    corra::TemporaryDirectory directory_;
    const std::map<std::string, json> files_{
        {bindingFile,
         {{"2.2.2.2: 7", binding("2.2.2.2", 7, 16)},
          {"3.3.3.3: 8", binding("3.3.3.3", 8, 17)}}},
        {circuitFile, {{"p", circuit("2.2.2.2", 7, "A")}, {"q", circuit("3.3.3.3", 8, "B")}}},
        {sessionFile,
         {{"neighbors",
           {{{"neighborId", "2.2.2.2"}, {"state", "OPERATIONAL"}},
            {{"neighborId", "3.3.3.3"}, {"state", "OPERATIONAL"}}}}}}};
};

TEST_F(SmallCapture, AFaultSaysWhereAndChangesNothing) {
    const std::string anyLabel =
        R"(expected a whole number from 16 to 1048575, "unassigned" or "-", found )";
    const struct {
        const char* file;
        // Behind the member of q, or the whole text.
        std::string change;
        std::string message;
    } cases[] = {
        {bindingFile, "{\n]", ":2:1: unexpected ']', expected string literal"},
        {circuitFile, "[]", ": expected an object, found an array"},
        {circuitFile,
         R"([{"p": 1, "p": 2}])",
         ": /0/p: expected each name once, found it again"},
        {sessionFile, R"({"neighbors": 2})", ": /neighbors: expected an array, found 2"},
        {sessionFile,
         R"({"neighbors": [{"neighborId": "2.2.2.2"}]})",
         R"(: /neighbors/0: expected a member "state", found none)"},
        {bindingFile, R"("vcId": null)", R"(: expected a member "vcId", found none)"},
        {bindingFile,
         R"("vcId": 9)",
         R"(: expected the name "3.3.3.3: 9" of what is in it, found "3.3.3.3: 8")"},
        {bindingFile,
         R"("vcId": 0)",
         "/vcId: expected a whole number from 1 to 4294967295, found 0"},
        {bindingFile,
         R"("destination": "::1")",
         R"(/destination: expected an IPv4 address, found "::1")"},
        {bindingFile, R"("localLabel": 15)", "/localLabel: " + anyLabel + "15"},
        {bindingFile, R"("remoteLabel": "x")", "/remoteLabel: " + anyLabel + "\"x\""},
        {bindingFile,
         R"("localIfMtu": -1)",
         "/localIfMtu: expected a whole number from 0 to 65535, found -1"},
        {bindingFile,
         R"("remoteControlWord": true)",
         "/remoteControlWord: expected a whole number from 0 to 1, found true"},
        {bindingFile, R"("localVcType": 5)", "/localVcType: expected a string, found 5"},
        {circuitFile, R"("status": "UP")", R"(/status: expected "up" or "down", found "UP")"},
    };
    Roots roots;
    importCapture(captureDirectory("t1-converged"), roots);
    const std::string before = corra::stateText(roots);
    for (const auto& each : cases) {
        SCOPED_TRACE(each.message);
        std::string message = each.file + each.message;
        if (each.change.starts_with('"')) {
            const std::string member = each.file == circuitFile ? "q" : "3.3.3.3: 8";
            change(each.file, "{\"" + member + "\": {" + each.change + "}}");
            message = each.file + (": /" + member) + each.message;
        } else {
            write(each.file, each.change);
        }
        try {
            importCapture(directory_.path(), roots);
            ADD_FAILURE() << "no error";
        } catch (const corra::StateError& error) {
            EXPECT_EQ(message, withoutDirectory(error.what()));
        }
        EXPECT_EQ(before, corra::stateText(roots));
        mend(each.file);
    }
    EXPECT_EQ(Lines(), importCapture(directory_.path(), roots));
}

TEST_F(SmallCapture, WhatContradictsItselfIsHandledAndTold) {
    const struct {
        const char* file;
        const char* patch;
        // Of p and q.
        const char* statuses;
        // "PLACE: TEXT".
        Lines warnings;
    } cases[] = {
        {bindingFile,
         R"({"9.9.9.9: 9": {"destination": "9.9.9.9", "vcId": 9, "localLabel": "unassigned",
             "remoteLabel": "-"}})",
         "up up",
         {"/9.9.9.9: 9: left out: no such pseudowire is configured"}},
        {bindingFile,
         R"({"3.3.3.3: 8": {"localLabel": 16}})",
         "up up",
         {R"(/3.3.3.3: 8: label 16 belongs to "p" already)"}},
        {bindingFile,
         R"({"2.2.2.2: 7": null})",
         "unknown up",
         {"/p: there is no binding of it"}},
        {circuitFile, R"({"p": null})", "unknown up", {"/2.2.2.2: 7: not among the circuits"}},
        {circuitFile,
         R"({"x": {"peerId": "2.2.2.2", "vcId": 6, "vpnName": "A", "status": "down"}})",
         "up up",
         {"/x: left out: no such pseudowire is configured"}},
        {circuitFile,
         R"({"p": {"vcId": 70}})",
         "unknown up",
         {"/p: left out: the pseudowire is configured as 2.2.2.2:7",
          "/2.2.2.2: 7: not among the circuits"}},
        {circuitFile,
         R"({"p": {"VpnName": "Z"}})",
         "up up",
         {R"(/p/VpnName: "Z" left out: "vpnName" is "A")"}},
        {circuitFile,
         R"({"p": {"VpnName": "Z", "vpnName": "Z"}})",
         "up up",
         {R"(/p: instance "Z" left out: configured is "A")"}},
        {bindingFile,
         R"({"2.2.2.2: 7": {"lastFailureReason": "no remote label"}})",
         "up up",
         {"/p: is up, so its last failure is over"}},
        {bindingFile,
         R"({"2.2.2.2: 7": {"remoteLabel": "-", "remoteControlWord": null, "remoteIfMtu": null,
             "remoteGroupID": null}})",
         "noRemoteEnd up",
         {"/2.2.2.2: 7/remoteVcType: not expected, left out",
          "/p: cannot be up: a label is missing"}},
        {sessionFile,
         R"({"neighbors": [{"neighborId": "2.2.2.2", "state": "OPENSENT"},
             {"neighborId": "3.3.3.3", "state": "OPERATIONAL", "age": 1}], "more": 1})",
         "up up",
         {"/neighbors/1/age: not expected, left out",
          "/more: not expected, left out",
          "/2.2.2.2: 7: a remote label, but no session with the peer"}},
        {bindingFile,
         R"({"3.3.3.3: 8": {"localIfMtu": 1600, "localControlWord": 0,
             "localVcType": "Eth Tagged", "localGroupID": 3, "remoteVcType": "PPP"}})",
         "up up",
         {"/3.3.3.3: 8/localGroupID: group id 3 left out",
          R"(/3.3.3.3: 8/remoteVcType: unknown pseudowire type "PPP" left out)",
          "/3.3.3.3: 8: local MTU 1600 left out: configured is 1500",
          "/3.3.3.3: 8: local control word False left out: configured is True",
          "/3.3.3.3: 8: local type ethernetTagged left out: configured is ethernet"}},
    };
    const PseudowireUserKey p(UserType::patchLdpConnector, "p", {}, {});
    const PseudowireUserKey q(
        UserType::vplsLdpPseudowire,
        "q",
        {},
        Vorn::IpGenAddr::fromStringValue("3.3.3.3"));
    for (const auto& each : cases) {
        SCOPED_TRACE(each.patch);
        change(each.file, each.patch);
        Roots roots;
        Lines told;
        for (const std::string& warning : importCapture(directory_.path(), roots)) {
            std::string text = withoutDirectory(warning);
            text.erase(0, text.find(": ") + 2);
            told.push_back(text.erase(text.find("warning: "), 9));
        }
        EXPECT_EQ(each.warnings, told);
        // A label of both is the first one's.
        const auto owner = labelsIn(roots).pseudowire(labelsIn(roots).localLabel(p));
        EXPECT_EQ(labelsIn(roots).localLabel().has(p) ? p : PseudowireUserKey(), owner);
        EXPECT_EQ(
            each.statuses,
            textOf(statusesIn(roots).connectorStatus(p).status()) + ' ' +
                textOf(statusesIn(roots).connectorStatus(q).status()));
        mend(each.file);
    }
}

// Reasons that are given while the circuit is down, and without a word of it.
TEST_F(SmallCapture, EachReasonHasItsStatus) {
    const struct {
        std::string binding;
        bool isSession;
        const char* down;
        const char* unsaid;
    } cases[] = {
        {R"("lastFailureReason": "No Error")", true, "hardwareNotProgrammed", "unknown"},
        {R"("lastFailureReason": "No Error")", false, "noSession", "noSession"},
        {R"("remoteLabel": "unassigned")", true, "noRemoteEnd", "noRemoteEnd"},
        {R"("remoteLabel": "unassigned")", false, "noSession", "noSession"},
        {R"("lastFailureReason": "no remote label")", true, "noRemoteEnd", "noRemoteEnd"},
        {R"("lastFailureReason": "no remote label")", false, "noSession", "noSession"},
        {R"("lastFailureReason": "on strike")", true, "unknown", "unknown"},
        {R"("localLabel": "unassigned")", true, "noLocalLabel", "noLocalLabel"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.binding);
        change(bindingFile, R"({"2.2.2.2: 7": {)" + each.binding + "}}");
        write(sessionFile, each.isSession ? files_.at(sessionFile).dump() : "{}");
        const auto expectPatchIs = [&](const char* status) {
            Roots roots;
            const auto warnings =
                testing::PrintToString(importCapture(directory_.path(), roots));
            EXPECT_EQ(status, textOf(panelIn(roots).patch("A")->status())) << warnings;
            EXPECT_EQ(
                each.binding.find("strike") != std::string::npos,
                warnings.find("unknown failure reason") != warnings.npos);
        };
        change(circuitFile, R"({"p": {"status": "down"}})");
        expectPatchIs(each.down);
        std::filesystem::remove(directory_.path() + '/' + circuitFile);
        expectPatchIs(each.unsaid);
        if (!each.isSession) continue;
        // Nor of sessions.
        std::filesystem::remove(directory_.path() + '/' + sessionFile);
        expectPatchIs(each.unsaid);
    }
}

}  // namespace
