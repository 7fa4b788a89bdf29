// `corra why` on states built by hand: a patch "metro" of eth9.901 and pw1, and pw7, a
// pseudowire of an instance. Every path that an explanation names must lead to something.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "corra/Commands.h"
#include "corra/Completion.h"
#include "corra/Locate.h"
#include "corra/StateFile.h"
#include "corra/WholeFile.h"
#include "corra/Why.h"
#include "corra/WhyChanges.h"
#include "corra/WhyCommand.h"
#include "corra/WhyState.h"
#include "tools/Tool.h"

namespace {

using namespace ::Pseudowire;
using corra::Answer;
using corra::Reason;
using corra::Verdict;
using OxoPw::UnprogrammedReason;
using Vorn::MplsLabel;
using enum PseudowireConnectorStatus;

struct Lab {
    // The things of a test: a pseudowire's names, and what signalling knows it by.
    struct Wire {
        ConnectorKey key;
        PseudowireUserKey user;
        std::string peer;
    };

    Lab() {
        config->mtuIgnoreIs(false);
        Connector local(circuit);
        config->connectorIs(local);
        panel->localConnStatusIs(circuit)->statusIs(up);
        add(metro, 1001, 22);
        add(vpls, 1007, 27);
        const auto patch = config->patchIs("metro");
        const auto shown = panel->patchIs("metro", {});
        for (const ConnectorKey& key : {circuit, metro.key}) {
            patch->connectorKeyIs(key);
            shown->patchConnectorKeyIs(key);
        }
        shown->statusIs(up);
        panel->remoteConnStatusIs(metro.key)->statusIs(up);
    }

    static ConnectorKey localKey(const char* interface) {
        ConnectorKey key;
        key.localConnectorKeyIs(Vorn::IntfId::fromStringValue(interface));
        return key;
    }
    static Wire wire(const char* name, const char* peer, bool isPatch) {
        Wire wire;
        wire.peer = peer;
        wire.key.ldpConnectorKeyIs(name);
        wire.user = isPatch ? PseudowireUserKey::fromConnectorKey(wire.key)
                            : PseudowireUserKey(
                                  PseudowireUserKey::UserType::vplsLdpPseudowire,
                                  name,
                                  {},
                                  Vorn::IpGenAddr::fromStringValue(peer));
        return wire;
    }

    void add(const Wire& wire, PseudowireId number, std::uint32_t label) {
        const auto peer = Vorn::IpGenAddr::fromStringValue(wire.peer);
        Connector connector(wire.key);
        connector.ldpKeyIs({peer, number});
        connector.pseudowireTypeIs(PseudowireType::ethernet);
        connector.mtuIs(1500);
        config->connectorIs(connector);
        PseudowireAttributeStatus status;
        status.statusIs(up);
        status.localLabelIs(MplsLabel(label));
        status.remotePwTypeIs(PseudowireType::ethernet);
        status.peerInfoIs(peer, {MplsLabel(label + 100), {}, {}, 1500, false});
        signalling->connectorStatusIs(wire.user, status);
        labels->localLabelIs(wire.user, MplsLabel(label));
        labels->pseudowireIs(MplsLabel(label), wire.user);
    }
    void change(
        const Wire& wire,
        const std::function<void(PseudowireAttributeStatus&, PseudowirePeerAttributeStatus&)>&
            how) {
        const auto peer = Vorn::IpGenAddr::fromStringValue(wire.peer);
        PseudowireAttributeStatus status = signalling->connectorStatus(wire.user);
        PseudowirePeerAttributeStatus info = status.peerInfo(peer);
        how(status, info);
        status.peerInfoIs(peer, info);
        signalling->connectorStatusIs(wire.user, status);
    }
    // Signalling and what is derived from it.
    void state(const Wire& wire, PseudowireConnectorStatus status) {
        change(wire, [&](auto& signalled, auto&) { signalled.statusIs(status); });
        if (!wire.user.isPatch()) return;
        panel->remoteConnStatus(wire.key)->statusIs(status);
        panel->patch("metro")->statusIs(status);
    }
    void configure(const Wire& wire, const std::function<void(Connector&)>& how) {
        Connector connector = config->connector(wire.key);
        how(connector);
        config->connectorIs(connector);
    }

    corra::Roots roots() const {
        corra::Roots all{
            {"pw", config},
            {"panel", panel},
            {"signalling", signalling},
            {"labels", labels},
            {"vpls", vplsConfig},
            {"hardware", hardware},
            {"forwarding", forwarding}};
        for (const char* const name : absent) all.erase(name);
        return all;
    }

    const Zin::Ptr<Config> config = configFactory("pw");
    const Zin::Ptr<PatchPanel> panel = patchPanelFactory("panel");
    const Zin::Ptr<PseudowireAttributeStatusColl> signalling =
        pseudowireAttributeStatusCollFactory("signalling");
    const Zin::Ptr<LabelBindingColl> labels = labelBindingCollFactory("labels");
    const Zin::Ptr<VplsConfig> vplsConfig = vplsConfigFactory("vpls");
    const Zin::Ptr<OxoPw::PwHwStatus> hardware = OxoPw::pwHwStatusFactory("hardware");
    const Zin::Ptr<Status> forwarding = statusFactory("forwarding");
    const ConnectorKey circuit = localKey("eth9.901");
    const Wire metro = wire("pw1", "3.3.3.3", true);
    const Wire vpls = wire("pw7", "4.4.4.4", false);
    std::set<const char*> absent{"forwarding"};
};

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text;
}

void expectPlaces(const corra::Roots& roots, const std::vector<Reason>& reasons) {
    for (const Reason& reason : reasons) {
        for (const std::string& place : reason.places) {
            EXPECT_NO_THROW(EXPECT_TRUE(corra::locate(roots, place).place.exists())) << place;
        }
        expectPlaces(roots, reason.causes);
    }
}

// The only answer.
Answer explained(const Lab& lab, const std::string& name) {
    const auto roots = lab.roots();
    const auto answers = corra::explain(roots, name);
    EXPECT_EQ(1U, answers.size()) << name;
    if (answers.empty()) return {};
    expectPlaces(roots, answers[0].reasons);
    return answers[0];
}

std::string chain(const Answer& answer) {
    return joined(corra::linesOf(answer.reasons, false));
}

#define EXPECT_HAS(text, part) EXPECT_NE(std::string::npos, (text).find(part)) << (text)

// --- Words ---

TEST(WhyWords, EachStatusHasItsOwn) {
    std::set<std::string> all;
    for (const auto& each : describe::enumerationOf<PseudowireConnectorStatus>.enumerators) {
        const auto words = corra::wordsOf(PseudowireConnectorStatus(each.number), "3.3.3.3");
        EXPECT_EQ(words.npos, words.find("not known here")) << each.name;
        EXPECT_EQ(words.npos, words.find('%')) << words;
        EXPECT_TRUE(all.insert(words).second) << words;
    }
    EXPECT_HAS(corra::wordsOf(PseudowireConnectorStatus(99)), "number 99");
    EXPECT_HAS(
        corra::wordsOf(PseudowireLdpStatusFlags(0x82)),
        "\"Local Attachment Circuit (ingress) Receive Fault\", the status bits 0x80");
}

// --- Each reason, of a patch's pseudowire and of an instance's ---

using Arrange = std::function<void(Lab&, const Lab::Wire&)>;

Arrange flags(std::uint32_t bits) {
    return [bits](Lab& lab, const Lab::Wire& wire) {
        lab.change(wire, [&](auto& status, auto&) {
            status.pwStatusFlagsIs(PseudowireLdpStatusFlags(bits));
        });
    };
}

void forgetPeer(Lab& lab, const Lab::Wire& wire) {
    lab.change(wire, [](auto&, auto& peer) { peer = {}; });
}

// "%" stands for the peer.
const struct {
    PseudowireConnectorStatus status;
    Arrange arrange;
    std::string summary;
} reasonCases[] = {
    {adminDown, {}, "disabled by configuration"},
    {notConfigured, {}, "there is no such connector in the configuration"},
    {patchIncomplete, {}, "the patch joins fewer than two connectors"},
    {conflict, {}, "its circuit, pseudowire id or connector is in use elsewhere"},
    {localCircuitMissing, {}, "the interface of the attachment circuit does not exist"},
    {localCircuitDown, {}, "the attachment circuit is not forwarding"},
    {noLocalLabel,
     [](Lab& lab, const Lab::Wire& wire) {
         const auto label = lab.labels->localLabelDel(wire.user);
         lab.labels->pseudowireDel(label);
         lab.change(wire, [](auto& status, auto&) { status.localLabelIs({}); });
     },
     "no label could be allocated here"},
    {noSession, forgetPeer, "no session with %"},
    {noRemoteEnd, forgetPeer, "no remote label from %"},
    {pwTypeMismatch,
     [](Lab& lab, const Lab::Wire& wire) {
         lab.change(wire, [](auto& status, auto&) {
             status.remotePwTypeIs(PseudowireType::ethernetTagged);
         });
     },
     "type Ethernet here and Ethernet Tagged Mode at %"},
    {controlWordMismatch,
     [](Lab& lab, const Lab::Wire& wire) {
         lab.configure(wire, [](Connector& connector) { connector.controlWordIs(true); });
     },
     "control word used here and not at %"},
    {mtuMismatch,
     [](Lab& lab, const Lab::Wire& wire) {
         lab.change(wire, [](auto&, auto& peer) { peer.mtuIs(9000); });
     },
     "MTU 1500 here and 9000 at %"},
    {mtuMismatch,
     [](Lab& lab, const Lab::Wire& wire) {
         lab.config->mtuIs(4000);
         lab.configure(wire, [](Connector& connector) { connector.mtuIs(0); });
     },
     "MTU 4000 here and 1500 at %"},
    {dot1qTagMismatch,
     [](Lab& lab, const Lab::Wire& wire) {
         lab.change(wire, [](auto& status, auto&) {
             status.requestedDot1qTagIs(Bridging::VlanIdOrNone(77));
         });
     },
     "VLAN id 77, which % requests, cannot be met"},
    {remoteRejected, {}, "% released the label that it was given"},
    {noTunnel, {}, "no tunnel leads to %"},
    {remoteNotForwarding, flags(1), "% reports \"Pseudowire Not Forwarding\""},
    {remoteCircuitFault,
     flags(4),
     "% reports \"Local Attachment Circuit (egress) Transmit Fault\""},
    {remoteTunnelFault, flags(8), "% reports \"Local PSN-facing PW (ingress) Receive Fault\""},
    {standby, {}, "another pseudowire of the redundancy group forwards"},
    {hardwareNotProgrammed, {}, "the forwarding hardware did not take it"},
};

TEST(Why, EachReasonIsNamedWithBothSides) {
    std::set<PseudowireConnectorStatus> seen{unknown, up};
    for (const auto& each : reasonCases) {
        seen.insert(each.status);
        for (const bool isPatch : {true, false}) {
            SCOPED_TRACE(each.summary + (isPatch ? " of a patch" : " of an instance"));
            Lab lab;
            const Lab::Wire& wire = isPatch ? lab.metro : lab.vpls;
            lab.state(wire, each.status);
            if (each.arrange) each.arrange(lab, wire);
            std::string summary = each.summary;
            if (const auto at = summary.find('%'); at != summary.npos) {
                summary.replace(at, 1, wire.peer);
            }
            const std::string name(wire.key.name().view());
            for (const std::string& asked : {name, std::string("metro")}) {
                if (asked == "metro" && !isPatch) continue;
                const Answer answer = explained(lab, asked);
                EXPECT_EQ(Verdict::down, answer.verdict);
                EXPECT_EQ(" is down.", answer.headline);
                EXPECT_EQ(summary, answer.summary);
                EXPECT_HAS(chain(answer), "pseudowire " + name + " (");
                EXPECT_HAS(chain(answer), "): " + summary + ".\n");
                EXPECT_EQ(chain(answer).npos, chain(answer).find("contradiction"))
                    << chain(answer);
            }
        }
    }
    EXPECT_EQ(
        describe::enumerationOf<PseudowireConnectorStatus>.enumerators.size(),
        seen.size())
        << "a reason has no case";
}

TEST(Why, TheChainLeadsFromEffectToCause) {
    Lab lab;
    lab.state(lab.metro, noSession);
    forgetPeer(lab, lab.metro);
    EXPECT_EQ(
        "patch metro: no session with 3.3.3.3.\n"
        "  connector ldp:'pw1': no session with 3.3.3.3.\n"
        "    pseudowire pw1 (3.3.3.3:1001): no session with 3.3.3.3.\n"
        "      peer 3.3.3.3: 0 of 1 pseudowires to it are up; without a session: 1.\n",
        chain(explained(lab, "metro")));
    EXPECT_EQ(" is up.", explained(lab, "pw7").headline);
    EXPECT_TRUE(explained(lab, "pw7").reasons.empty());
}

// Where the status says nothing, the rest of the state still does.
TEST(Why, WhatWasNotWorkedOutIsReadFromTheFacts) {
    Lab lab;
    lab.state(lab.vpls, unknown);
    EXPECT_EQ(Verdict::unknown, explained(lab, "pw7").verdict);
    forgetPeer(lab, lab.vpls);
    EXPECT_EQ(Verdict::down, explained(lab, "pw7").verdict);
    EXPECT_EQ("no remote label from 4.4.4.4", explained(lab, "pw7").summary);
    lab.state(lab.vpls, localCircuitDown);
    EXPECT_EQ("the attachment circuit is not forwarding", explained(lab, "pw7").summary);
    EXPECT_HAS(chain(explained(lab, "pw7")), "\n    besides, no remote label from 4.4.4.4.\n");
}

// --- Contradictions and the word of the hardware ---

TEST(Why, ContradictionsAreSaid) {
    const auto metroMtu = [](Lab& lab) {
        lab.change(lab.metro, [](auto&, auto& peer) { peer.mtuIs(9000); });
    };
    const struct {
        std::function<void(Lab&)> arrange;
        std::string said;
        Verdict verdict = Verdict::up;
    } cases[] = {
        {metroMtu, "signalling says up, yet MTU 1500 here and 9000 at 3.3.3.3."},
        {[](Lab& lab) { forgetPeer(lab, lab.metro); },
         "signalling says up, yet no remote label from 3.3.3.3."},
        {[](Lab& lab) { flags(2)(lab, lab.metro); }, "signalling says up, yet 3.3.3.3 reports"},
        {[](Lab& lab) { lab.state(lab.metro, mtuMismatch); },
         "this reason, yet the MTUs agree: 1500.",
         Verdict::down},
        {[&](Lab& lab) {
             metroMtu(lab);
             lab.state(lab.metro, mtuMismatch);
             lab.config->mtuIgnoreIs(true);
         },
         "differing MTUs are to be ignored.",
         Verdict::down},
        {[](Lab& lab) { lab.labels->pseudowireDel(MplsLabel(22)); },
         "label 22 is bound to it, yet nobody is bound to the label."},
        {[](Lab& lab) { lab.labels->pseudowireIs(MplsLabel(22), lab.vpls.user); },
         "label 22 is bound to it, yet the label is bound to pw7."},
        {[](Lab& lab) { lab.labels->pseudowireIs(MplsLabel(33), lab.metro.user); },
         "it is bound to label 33, yet it has label 22."},
        {[](Lab& lab) {
             lab.change(lab.metro, [](auto& status, auto&) {
                 status.localLabelIs(MplsLabel(34));
             });
         },
         "signalling says label 34, yet it has label 22."},
        {[](Lab& lab) { lab.panel->remoteConnStatus(lab.metro.key)->statusIs(noTunnel); },
         "the patch panel says noTunnel, yet signalling says up."},
        {[](Lab& lab) { lab.panel->patch("metro")->statusIs(noTunnel); },
         "this reason, yet nothing that it joins does.",
         Verdict::down},
        {[](Lab& lab) { lab.panel->localConnStatus(lab.circuit)->statusIs(localCircuitDown); },
         "the patch panel says up, yet: the attachment circuit is not forwarding.",
         Verdict::down},
        {[](Lab& lab) { lab.panel->patch("metro")->enabledIs(false); },
         "disagree on whether it is enabled."},
        {[](Lab& lab) { lab.absent.clear(); }, "frames of eth9.901 are not sent anywhere."},
        {[](Lab& lab) {
             lab.absent.clear();
             EncapAdjacency adjacency("metro");
             adjacency.encapPwLabelIs(MplsLabel(5));
             lab.forwarding->encapAdjacencyIs(lab.circuit.localIntfId(), adjacency);
         },
         "frames of eth9.901 are sent with label 5, yet 3.3.3.3 gave label 122."},
        {[](Lab& lab) { lab.config->patchDel("metro"); }, "yet no such patch is configured."},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.said);
        Lab lab;
        each.arrange(lab);
        const Answer answer = explained(lab, "metro");
        EXPECT_EQ(each.verdict, answer.verdict);
        EXPECT_HAS(chain(answer), "contradiction: ");
        EXPECT_HAS(chain(answer), each.said);
    }
    // What is to be ignored is no contradiction.
    Lab lab;
    metroMtu(lab);
    lab.config->mtuIgnoreIs(true);
    EXPECT_EQ("", chain(explained(lab, "metro")));
}

TEST(Why, TheConfigurationAndTheHardwareHaveTheirWord) {
    const struct {
        std::function<void(Lab&)> arrange;
        std::string summary;
    } cases[] = {
        {[](Lab& lab) { lab.config->patch("metro")->enabledIs(false); },
         "disabled by configuration"},
        {[](Lab& lab) { lab.config->connectorDel(lab.circuit); },
         "there is no such connector in the configuration"},
        {[](Lab& lab) {
             lab.config->patch("metro")->connectorKeyDel(lab.circuit);
             lab.panel->patch("metro")->patchConnectorKeyDel(lab.circuit);
         },
         "the patch joins one connector only"},
        {[](Lab& lab) {
             lab.hardware->unprogrammedDecapAdjIs(
                 MplsLabel(22),
                 UnprogrammedReason::hwProgrammingFailed);
         },
         "the hardware is not programmed for what arrives with label 22: it refused"},
        {[](Lab& lab) {
             lab.hardware->unprogrammedEncapAdjIs(
                 lab.circuit.localIntfId(),
                 UnprogrammedReason::hwFecNotProgrammed);
         },
         "the hardware is not programmed for what leaves circuit eth9.901: what it forwards to "
         "is not programmed itself"},
        {[](Lab& lab) {
             lab.hardware->unprogrammedLocalConnectorIs(
                 lab.circuit.localIntfId(),
                 UnprogrammedReason(9));
         },
         "the hardware is not programmed for circuit eth9.901: for the reason number 9, which "
         "is not known here"},
    };
    for (const auto& each : cases) {
        Lab lab;
        each.arrange(lab);
        const Answer answer = explained(lab, "metro");
        EXPECT_EQ(Verdict::down, answer.verdict);
        EXPECT_EQ(each.summary, answer.summary);
        EXPECT_HAS(chain(answer), each.summary);
    }
}

// --- What is not there ---

TEST(Why, WhatIsNotServedIsNamed) {
    const struct {
        const char* root;
        std::string said;
        Verdict metro;
        Verdict pw7;
    } cases[] = {
        {"pw", "", Verdict::down, Verdict::up},
        {"panel",
         "of circuits and patches: no Pseudowire::PatchPanel",
         Verdict::down,
         Verdict::up},
        {"signalling",
         "of signalling: no Pseudowire::PseudowireAttributeStatusColl",
         Verdict::down,
         Verdict::unknown},
        {"labels", "", Verdict::down, Verdict::up},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.root);
        Lab lab;
        lab.state(lab.metro, noRemoteEnd);
        forgetPeer(lab, lab.metro);
        lab.absent.insert(each.root);
        const Answer answer = explained(lab, "metro");
        EXPECT_EQ(each.metro, answer.verdict);
        if (!each.said.empty()) {
            EXPECT_HAS(chain(answer), "nothing is known " + each.said + " is served.\n");
        }
        EXPECT_EQ(each.pw7, explained(lab, "pw7").verdict);
        EXPECT_EQ(
            each.said.empty() && each.root != std::string("pw"),
            corra::overview(lab.roots()).missing.empty());
    }
    Lab lab;
    lab.absent = {"panel", "signalling", "labels", "hardware", "forwarding"};
    const Answer answer = explained(lab, "metro");
    EXPECT_EQ(Verdict::unknown, answer.verdict);
    EXPECT_EQ(": whether it is up is not known.", answer.headline);
    EXPECT_FALSE(answer.summary.empty());
    EXPECT_EQ(2U, corra::overview(lab.roots()).missing.size());
    EXPECT_TRUE(corra::explain({}, "metro").empty());
    EXPECT_EQ(3U, corra::overview({}).missing.size());
}

// --- Names ---

TEST(Why, EveryKindOfNameIsKnown) {
    Lab lab;
    lab.state(lab.metro, noTunnel);
    const struct {
        std::string name;
        std::string_view kind;
        std::string first;
        Verdict verdict;
    } cases[] = {
        {"metro", "patch", "metro is down.", Verdict::down},
        {"pw1", "pseudowire", "pw1 is down.", Verdict::down},
        {"ldp:'pw1'", "pseudowire", "pw1 is down.", Verdict::down},
        {"3.3.3.3:1001", "pseudowire", "pw1 is down.", Verdict::down},
        {"pw7", "pseudowire", "pw7 is up.", Verdict::up},
        {"eth9.901", "circuit", "eth9.901 is up.", Verdict::up},
        {"local:eth9.901", "circuit", "eth9.901 is up.", Verdict::up},
        {"3.3.3.3", "peer", "3.3.3.3: 0 of 1 pseudowire to it is up.", Verdict::down},
        {"4.4.4.4", "peer", "4.4.4.4: 1 of 1 pseudowire to it is up.", Verdict::up},
        {"22", "label", "22 is a local label of pw1. pw1 is down.", Verdict::down},
    };
    for (const auto& each : cases) {
        const Answer answer = explained(lab, each.name);
        EXPECT_EQ(each.kind, answer.kind) << each.name;
        EXPECT_EQ(each.first, answer.name + answer.headline);
        EXPECT_EQ(each.verdict, answer.verdict) << each.name;
    }
    const std::string why = " is down: no tunnel leads to 3.3.3.3.\n";
    EXPECT_EQ("patch metro" + why, chain(explained(lab, "eth9.901")));
    EXPECT_EQ("pseudowire pw1" + why, chain(explained(lab, "3.3.3.3")));

    // One name of several things.
    lab.config->patchIs("pw7");
    const auto both = corra::explain(lab.roots(), "pw7");
    ASSERT_EQ(2U, both.size());
    EXPECT_EQ("patch", both[0].kind);
    EXPECT_EQ("pseudowire", both[1].kind);

    using Names = std::vector<std::string>;
    EXPECT_TRUE(corra::explain(lab.roots(), "metr").empty());
    EXPECT_EQ((Names{"metro"}), corra::namesLike(lab.roots(), "mertro"));
    EXPECT_EQ((Names{"pw1", "pw7"}), corra::namesLike(lab.roots(), "pw"));
    EXPECT_EQ(Names{}, corra::namesLike(lab.roots(), "nothing like it"));
}

TEST(Why, AnInstanceIsUpWhenItsPseudowiresAre) {
    Lab lab;
    lab.add(lab.wire("spare", "5.5.5.5", false), 1008, 28);
    Lab::Wire found = lab.wire("discovered", "6.6.6.6", false);
    found.user.userTypeIs(PseudowireUserKey::UserType::vplsLdpProfileAndPeer);
    lab.add(found, 1009, 29);
    const auto instance = lab.vplsConfig->instanceIs("corp");
    EXPECT_EQ("it has no pseudowires", explained(lab, "corp").summary);
    const auto group = instance->ldpPseudowireGroupIs("core", true);
    group->pseudowireIs({"pw7", false, 0});
    group->pseudowireIs({"spare", true, 10});
    group->pseudowireBgpAutoDiscoveryProfileIs("discovered");
    lab.state(lab.wire("spare", "5.5.5.5", false), standby);
    EXPECT_EQ(" is up.", explained(lab, "corp").headline);
    EXPECT_EQ("", chain(explained(lab, "corp")));

    lab.state(lab.vpls, noTunnel);
    const Answer answer = explained(lab, "corp");
    EXPECT_EQ(Verdict::down, answer.verdict);
    EXPECT_EQ(" is up in part only.", answer.headline);
    EXPECT_EQ("pw7: no tunnel leads to 4.4.4.4", answer.summary);
    EXPECT_TRUE(chain(answer).starts_with(
        "instance corp: 2 of 3 pseudowires are up.\n"
        "  group core.\n"
        "    connector ldp:'pw7' stands for pseudowire pw7 (4.4.4.4:1007).\n"
        "      pseudowire pw7 (4.4.4.4:1007): no tunnel leads to 4.4.4.4.\n"))
        << chain(answer);
    group->pseudowireIs({"who", false, 0});
    EXPECT_HAS(chain(explained(lab, "corp")), "pseudowire who: nothing else is known of it.");
    EXPECT_EQ(0U, corra::overview(lab.roots()).counts[2].up);
}

// Keys of kinds that only a newer build knows are no reason to stop.
TEST(Why, KeysOfUnknownKindsAreTolerated) {
    Lab lab;
    const ConnectorKey odd(ConnectorType(9), "odd", {}, {});
    lab.config->connectorIs(Connector(odd));
    lab.config->patch("metro")->connectorKeyIs(odd);
    const PseudowireUserKey user(PseudowireUserKey::UserType(9), "who", {}, {});
    lab.signalling->connectorStatusIs(user, {});
    lab.labels->pseudowireIs(MplsLabel(50), {PseudowireUserKey::UserType(8), "x", {}, {}});
    EXPECT_HAS(chain(explained(lab, "metro")), "of a kind that is not known here");
    EXPECT_EQ(Verdict::unknown, explained(lab, "50").verdict);
    EXPECT_EQ(3U, corra::overview(lab.roots()).counts[1].all);
}

// --- From one state to the next ---

TEST(WhyChanges, AreGroupedByReason) {
    Lab lab;
    for (int i = 0; i < 5; ++i) {
        const std::string name = "v" + std::to_string(i);
        lab.add(lab.wire(name.c_str(), "5.5.5.5", false), 2000, 60 + static_cast<unsigned>(i));
    }
    const corra::Overview before = corra::overview(lab.roots());
    EXPECT_EQ(
        "up now: metro, pw7, v0 and 4 more\n",
        joined(corra::changedLines(nullptr, before)));
    EXPECT_EQ(
        "nothing came up or went down\n",
        joined(corra::changedLines(&before, corra::overview(lab.roots()))));
    for (int i = 0; i < 5; ++i) {
        const std::string name = "v" + std::to_string(i);
        lab.state(lab.wire(name.c_str(), "5.5.5.5", false), remoteRejected);
    }
    lab.signalling->connectorStatusDel(lab.vpls.user);
    lab.config->connectorDel(lab.vpls.key);
    lab.labels->localLabelDel(lab.vpls.user);
    const corra::Overview broken = corra::overview(lab.roots());
    const std::string why = "5.5.5.5 released the label that it was given";
    EXPECT_EQ(
        "down now: v0, v1, v2 and 2 more: " + why +
            "\n"
            "gone: pw7\n"
            "why v0:\n"
            "  connector ldp:'v0' stands for pseudowire v0 (5.5.5.5:2000).\n"
            "    pseudowire v0 (5.5.5.5:2000): " +
            why +
            ".\n"
            "      peer 5.5.5.5: 0 of 5 pseudowires to it are up.\n",
        joined(corra::changedLines(&before, broken)));
    lab.state(lab.wire("v3", "5.5.5.5", false), standby);
    EXPECT_HAS(
        joined(corra::changedLines(&broken, corra::overview(lab.roots()))),
        "down for another reason: v3: another pseudowire");
}

// --- The command ---

class WhyCommandTest : public corra::test::CommandTest {
  protected:
    WhyCommandTest() {
        Lab lab;
        lab.state(lab.metro, mtuMismatch);
        lab.change(lab.metro, [](auto&, auto& peer) { peer.mtuIs(9000); });
        corra::writeFileAtomically(file_, corra::stateText(lab.roots()));
    }

    corra::test::Ran why(corra::test::Words arguments, const std::string& at) const {
        arguments.insert(arguments.begin(), "why");
        arguments.insert(arguments.end(), {"--at", at});
        return run(arguments);
    }

    const std::string file_ = directory_.path() + "/state.json";
    const std::string live_ = "unix:" + directory_.path() + "/pw.sock";
};

TEST_F(WhyCommandTest, AnswersAlikeWhateverTheSource) {
    corra::test::Tool server({"serve", file_, "--listen", live_});
    corra::test::waitUntilServed(live_);
    for (const std::string& at : {file_, live_}) {
        const auto down = why({"metro"}, at);
        EXPECT_EQ(1, down.status);
        EXPECT_TRUE(down.output.starts_with(
            "metro is down.\n"
            "  patch metro: MTU 1500 here and 9000 at 3.3.3.3.\n"
            "    see panel.patch['metro'].status\n"
            "    connector ldp:'pw1': MTU 1500 here and 9000 at 3.3.3.3.\n"))
            << down.output;
        EXPECT_EQ(0, why({"pw7"}, at).status);
        EXPECT_EQ("pw7 is up.\n", why({"pw7"}, at).output);
        const auto all = why({}, at);
        EXPECT_EQ(1, all.status);
        EXPECT_EQ(
            "patch metro: MTU 1500 here and 9000 at 3.3.3.3\n"
            "0 of 1 patches up, 1 of 2 pseudowires up, 0 of 0 instances up\n",
            all.output);
        const auto json = nlohmann::json::parse(why({"metro", "--json"}, at).output);
        EXPECT_EQ("down", json[0]["verdict"]);
        EXPECT_EQ("MTU 1500 here and 9000 at 3.3.3.3", json[0]["summary"]);
        EXPECT_EQ("panel.patch['metro'].status", json[0]["reasons"][0]["places"][0]);
        EXPECT_EQ(2U, nlohmann::json::parse(why({"--json"}, at).output).size());
        // What a chain points at can be looked at.
        corra::test::Tool get(
            {"get",
             json[0]["reasons"][0]["causes"][0]["causes"][0]["places"].back(),
             "--at",
             at});
        EXPECT_HAS(get.rest(), "mtu=9000");
        const auto unknown = why({"mertro"}, at);
        EXPECT_EQ(1, unknown.status);
        // The server's word on who came and went is there too.
        EXPECT_HAS(unknown.errors, "corra: nothing is named 'mertro'; near it: metro\n");
        EXPECT_EQ(2, why({"metro", "more"}, at).status);
    }

    ::setenv("CORRA_AT", file_.c_str(), 1);
    corra::Commands commands;
    EXPECT_EQ(
        (std::vector<std::string>{"pw1", "pw7"}),
        corra::completions(commands.app(), "corra why p", " "));
    ::unsetenv("CORRA_AT");
}

}  // namespace
