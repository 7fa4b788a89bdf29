#include "corra/WhyExplainer.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace corra {

namespace {

using Pseudowire::ConnectorKey;
using Pseudowire::PseudowireUserKey;
using enum PseudowireConnectorStatus;

void addContradiction(Reason& to, std::string text, std::vector<std::string> places) {
    to.causes.push_back({Reason::Kind::contradiction, std::move(text), std::move(places), {}});
}

void addCause(Reason& to, std::string text, std::vector<std::string> places) {
    to.causes.push_back({Reason::Kind::cause, std::move(text), std::move(places), {}});
}

void addMissing(Reason& to, std::string text, std::vector<std::string> places) {
    to.causes.push_back({Reason::Kind::missing, std::move(text), std::move(places), {}});
}

// Behind the name of what it is about.
std::string said(PseudowireConnectorStatus status, const std::string& why) {
    return status == up ? " is up" : ": " + why;
}

// Reasons that lie with the peer, or on the way to it.
bool concernsPeer(PseudowireConnectorStatus status) {
    switch (status) {
        case noSession:
        case noRemoteEnd:
        case remoteRejected:
        case noTunnel:
        case remoteNotForwarding:
        case remoteCircuitFault:
        case remoteTunnelFault:
            return true;
        default:
            return false;
    }
}

std::string titleOf(const KnownPseudowire& pseudowire) {
    std::string title = "pseudowire " + pseudowire.name;
    if (pseudowire.ldpKey.peerAddr() != Vorn::IpGenAddr()) {
        title += " (" + textOfValue(pseudowire.ldpKey) + ')';
    }
    return title;
}

std::string interfaceOf(const ConnectorKey& key) {
    return textOfValue(key.localIntfId());
}

}  // namespace

bool holdsMore(const Reason& reason) {
    return reason.kind != Reason::Kind::cause ||
           std::any_of(reason.causes.begin(), reason.causes.end(), holdsMore);
}

std::string wordsOf(OxoPw::UnprogrammedReason reason) {
    switch (reason) {
        using enum OxoPw::UnprogrammedReason;
        case connInfoMissing:
            return "the state of its connector has not arrived";
        case invalidEndPointConfig:
            return "it cannot do what is configured";
        case hwFecNotProgrammed:
            return "what it forwards to is not programmed itself";
        case hwProgrammingFailed:
            return "it refused";
    }
    return "for the reason number " + std::to_string(static_cast<unsigned>(reason)) +
           ", which is not known here";
}

void Doing::isDown(PseudowireConnectorStatus cause, const std::string& why) {
    if (verdict == Verdict::down && status <= cause) return;
    verdict = Verdict::down;
    status = cause;
    summary = why;
}

void Doing::isStated(PseudowireConnectorStatus stated, const std::string& why) {
    if (stated == up) {
        verdict = Verdict::up;
        status = up;
        summary.clear();
    } else if (stated == unknown) {
        summary = why;
    } else {
        isDown(stated, why);
    }
}

// --- Pseudowires ---

Doing Explainer::pseudowire(const KnownPseudowire& pseudowire) const {
    if (pseudowire.connectorKey) return connector(*pseudowire.connectorKey);
    return signalled(pseudowire);
}

Doing Explainer::connector(const ConnectorKey& key) const {
    if (key.isLocal()) return circuit(key);
    const KnownPseudowire* const known = state_.pseudowire(key);
    Doing doing;
    if (!known) {
        doing.summary =
            "connector " + textOfValue(key) + " is of a kind that is not known here";
        doing.reason = {Reason::Kind::missing, doing.summary, {}, {}};
        return doing;
    }
    doing = signalled(*known);
    Reason reason;
    reason.text = "connector " + textOfValue(key);
    const auto status = state_.panel ? state_.panel->remoteConnStatus(key) : nullptr;
    if (status) {
        const std::string words = findingOf(status->status(), endsOf(state_, *known)).words;
        reason.text += said(status->status(), words);
        reason.places.push_back(state_.panel.at("remoteConnStatus", key, "status"));
    } else {
        reason.text += " stands for " + titleOf(*known);
        if (state_.config && state_.config->connectorHas(key)) {
            reason.places.push_back(state_.config.at("connector", key));
        }
    }
    if (state_.config && !state_.config->connectorHas(key)) {
        const std::string words = wordsOf(notConfigured);
        doing.isDown(notConfigured, words);
        addCause(reason, words, {state_.config.at("connector")});
    }
    reason.causes.push_back(std::move(doing.reason));
    doing.reason = std::move(reason);
    return doing;
}

Doing Explainer::signalled(const KnownPseudowire& pseudowire) const {
    const Ends ends = endsOf(state_, pseudowire);
    Doing doing;
    doing.reason.text = titleOf(pseudowire);
    const auto* const node = state_.signalling && pseudowire.user
                                 ? state_.signalling->connectorStatus().lookup(*pseudowire.user)
                                 : nullptr;
    if (node) {
        const std::string place =
            state_.signalling.at("connectorStatus", *pseudowire.user, "status");
        addSignalled(doing, pseudowire, ends, node->value().status(), place);
    } else if (state_.signalling) {
        doing.summary = "signalling knows nothing of it";
        addMissing(doing.reason, doing.summary, {state_.signalling.at("connectorStatus")});
    } else {
        doing.reason.causes.push_back(missingRoot(state_.signalling, "signalling"));
        doing.summary = doing.reason.causes.back().text;
    }
    addPanel(doing, pseudowire, ends);
    if (pseudowire.user) addLabels(doing.reason, *pseudowire.user);
    if (state_.hardware && ends.localLabel.value) {
        const Vorn::MplsLabel label(*ends.localLabel.value);
        addHardware(
            doing,
            "what arrives with label " + textOfValue(label),
            state_.hardware->unprogrammedDecapAdj(label),
            state_.hardware.at("unprogrammedDecapAdj", label));
    }
    if (concernsPeer(doing.status)) addPeer(doing, pseudowire, ends);
    return doing;
}

void Explainer::addSignalled(
    Doing& doing,
    const KnownPseudowire& pseudowire,
    const Ends& ends,
    PseudowireConnectorStatus stated,
    const std::string& place) const {
    Reason& reason = doing.reason;
    const Finding stating = findingOf(stated, ends);
    const bool isRefuted = stating.holds == false;
    const std::string words = isRefuted ? wordsOf(stated, ends.peer) : stating.words;
    doing.isStated(stated, words);
    doing.place = place;
    reason.text = titleOf(pseudowire) + said(stated, words);
    reason.places.push_back(place);
    if (isRefuted) {
        addContradiction(
            reason,
            "signalling gives this reason, yet " + stating.words,
            stating.places);
    } else {
        reason.places.insert(reason.places.end(), stating.places.begin(), stating.places.end());
    }
    const bool ignoresMtu = ends.mtuIgnore.value.value_or(false);
    if (stated == mtuMismatch && ignoresMtu) {
        addContradiction(
            reason,
            "signalling gives this reason, yet differing MTUs are to be ignored",
            ends.mtuIgnore.places);
    }
    for (const auto& each : describe::enumerationOf<PseudowireConnectorStatus>.enumerators) {
        const auto status = static_cast<PseudowireConnectorStatus>(each.number);
        if (status == stated) continue;
        // Follows from the other.
        if (status == noRemoteEnd && (stated == noSession || stated == remoteRejected))
            continue;
        if (status == mtuMismatch && ignoresMtu) continue;
        const Finding finding = findingOf(status, ends);
        if (finding.holds != true) continue;
        if (stated == up) {
            addContradiction(
                reason,
                "signalling says up, yet " + finding.words,
                finding.places);
        } else {
            if (stated == unknown) doing.isDown(status, finding.words);
            const std::string prefix = stated == unknown ? "" : "besides, ";
            addCause(reason, prefix + finding.words, finding.places);
        }
    }
}

// What the panel says of the pseudowire is its word only where signalling says nothing.
void Explainer::addPanel(Doing& doing, const KnownPseudowire& pseudowire, const Ends& ends)
    const {
    if (!state_.panel || !pseudowire.connectorKey) return;
    const auto panel = state_.panel->remoteConnStatus(*pseudowire.connectorKey);
    if (!panel) return;
    const auto* const signalled =
        state_.signalling && pseudowire.user
            ? state_.signalling->connectorStatus().lookup(*pseudowire.user)
            : nullptr;
    if (!signalled)
        return doing.isStated(panel->status(), findingOf(panel->status(), ends).words);
    if (signalled->value().status() == panel->status()) return;
    addContradiction(
        doing.reason,
        "the patch panel says " + std::string(Zin::stringValue(panel->status()).view()) +
            ", yet signalling says " +
            std::string(Zin::stringValue(signalled->value().status()).view()),
        {state_.panel.at("remoteConnStatus", *pseudowire.connectorKey, "status"),
         state_.signalling.at("connectorStatus", *pseudowire.user, "status")});
}

// A label is bound in two maps, and said once more with the status.
void Explainer::addLabels(Reason& reason, const PseudowireUserKey& user) const {
    if (!state_.labels) return;
    const auto& labels = state_.labels;
    const auto* const own = labels->localLabel().lookup(user);
    const Vorn::MplsLabel label = own ? own->value() : Vorn::MplsLabel();
    if (own) {
        const auto* const back = labels->pseudowire().lookup(label);
        const std::string bound = "label " + textOfValue(label) + " is bound to it";
        if (!back) {
            addContradiction(
                reason,
                bound + ", yet nobody is bound to the label",
                {labels.at("localLabel", user), labels.at("pseudowire")});
        } else if (back->value() != user) {
            addContradiction(
                reason,
                bound + ", yet the label is bound to " +
                    std::string(back->value().name().view()),
                {labels.at("localLabel", user), labels.at("pseudowire", label)});
        }
    }
    for (const auto& [number, users] : state_.labelUsers()) {
        if (number == label.value() || !users.contains(user)) continue;
        const Vorn::MplsLabel other(number);
        const std::string rather =
            own ? ", yet it has label " + textOfValue(label) : ", yet no label is bound to it";
        const std::string ownPlace =
            own ? labels.at("localLabel", user) : labels.at("localLabel");
        const auto* const bound = labels->pseudowire().lookup(other);
        if (bound && bound->value() == user) {
            addContradiction(
                reason,
                "it is bound to label " + textOfValue(other) + rather,
                {labels.at("pseudowire", other), ownPlace});
        } else {
            addContradiction(
                reason,
                "signalling says label " + textOfValue(other) + rather,
                {state_.signalling.at("connectorStatus", user, "localLabel"), ownPlace});
        }
    }
}

void Explainer::addPeer(Doing& doing, const KnownPseudowire& pseudowire, const Ends& ends)
    const {
    const auto found = state_.peers().find(pseudowire.ldpKey.peerAddr());
    if (found == state_.peers().end() || !state_.signalling) return;
    const WhyState::PeerCount& count = found->second;
    std::string text = "peer " + ends.peer + ": " + std::to_string(count.up) + " of " +
                       std::to_string(count.all) + " pseudowires to it are up";
    if (count.withoutSession != 0) {
        text += "; without a session: " + std::to_string(count.withoutSession);
    }
    addCause(doing.reason, text, {state_.signalling.at("connectorStatus")});
}

void Explainer::addHardware(
    Doing& doing,
    const std::string& what,
    std::optional<OxoPw::UnprogrammedReason> why,
    const std::string& place) const {
    if (!why) return;
    const std::string text =
        "the hardware is not programmed for " + what + ": " + wordsOf(*why);
    doing.isDown(hardwareNotProgrammed, text);
    addCause(doing.reason, text, {place});
}

// --- Circuits ---

Doing Explainer::circuit(const ConnectorKey& key) const {
    Doing doing;
    doing.reason.text = "circuit " + interfaceOf(key);
    if (!state_.panel) {
        doing.reason.causes.push_back(missingRoot(state_.panel, "circuits and patches"));
        doing.summary = doing.reason.causes.back().text;
    } else if (const auto status = state_.panel->localConnStatus(key)) {
        const std::string words = wordsOf(status->status());
        doing.isStated(status->status(), words);
        doing.reason.text += said(status->status(), words);
        doing.reason.places.push_back(state_.panel.at("localConnStatus", key, "status"));
    } else {
        doing.summary = "the patch panel knows nothing of it";
        addMissing(doing.reason, doing.summary, {state_.panel.at("localConnStatus")});
    }
    if (state_.config && !state_.config->connectorHas(key)) {
        const std::string words = wordsOf(notConfigured);
        doing.isDown(notConfigured, words);
        addCause(doing.reason, words, {state_.config.at("connector")});
    }
    if (state_.hardware) {
        const Vorn::IntfId intf = key.localIntfId();
        addHardware(
            doing,
            "circuit " + interfaceOf(key),
            state_.hardware->unprogrammedLocalConnector(intf),
            state_.hardware.at("unprogrammedLocalConnector", intf));
        addHardware(
            doing,
            "what leaves circuit " + interfaceOf(key),
            state_.hardware->unprogrammedEncapAdj(intf),
            state_.hardware.at("unprogrammedEncapAdj", intf));
    }
    return doing;
}

// --- Patches ---

Explainer::Reasons Explainer::reasonsOfPatchItself(Reason& reason, const std::string& name)
    const {
    Reasons reasons;
    if (!state_.config) return reasons;
    const Zin::String key(name);
    const auto configured = state_.config->patch(key);
    if (!configured) {
        addContradiction(
            reason,
            "the patch panel knows it, yet no such patch is configured",
            {state_.config.at("patch")});
        return reasons;
    }
    const auto add = [&](PseudowireConnectorStatus status,
                         const std::string& words,
                         std::string_view attribute) {
        addCause(reason, words, {state_.config.at("patch", key, attribute)});
        reasons.emplace(status, words);
    };
    if (!configured->enabled()) add(adminDown, wordsOf(adminDown), "enabled");
    const std::size_t joined = state_.patches().at(name).size();
    if (joined == 0) add(patchIncomplete, "the patch joins no connectors", "connectorKey");
    if (joined == 1) add(patchIncomplete, "the patch joins one connector only", "connectorKey");
    return reasons;
}

// What forwarding is programmed from must say the same as signalling.
void Explainer::addForwarding(Doing& doing, const std::string& name) const {
    if (!state_.forwarding) return;
    for (const ConnectorKey& circuit : state_.patches().at(name)) {
        if (!circuit.isLocal()) continue;
        const Vorn::IntfId intf = circuit.localIntfId();
        const auto* const adjacency = state_.forwarding->encapAdjacency().lookup(intf);
        if (!adjacency) {
            if (doing.verdict != Verdict::up) continue;
            addContradiction(
                doing.reason,
                "it is up, yet frames of " + interfaceOf(circuit) + " are not sent anywhere",
                {state_.forwarding.at("encapAdjacency")});
            continue;
        }
        for (const ConnectorKey& key : state_.patches().at(name)) {
            const KnownPseudowire* const known = state_.pseudowire(key);
            if (!known) continue;
            const Ends ends = endsOf(state_, *known);
            const Vorn::MplsLabel sent = adjacency->value().encapPwLabel();
            if (!ends.remoteLabel.value || *ends.remoteLabel.value == sent.value()) continue;
            std::vector<std::string> places = ends.remoteLabel.places;
            places.insert(
                places.begin(),
                state_.forwarding.at("encapAdjacency", intf, "encapPwLabel"));
            const auto spoken = [](Vorn::MplsLabel label) {
                return label == Vorn::MplsLabel() ? "no label" : "label " + textOfValue(label);
            };
            addContradiction(
                doing.reason,
                "frames of " + interfaceOf(circuit) + " are sent with " + spoken(sent) +
                    ", yet " + ends.peer + " gave " +
                    spoken(Vorn::MplsLabel(*ends.remoteLabel.value)),
                places);
        }
    }
}

void Explainer::addPatchPanel(Doing& doing, const Reasons& reasons, const std::string& name)
    const {
    if (!state_.panel) return;
    const Zin::String key(name);
    const auto patch = state_.panel->patch(key);
    if (!patch) {
        addMissing(
            doing.reason,
            "the patch panel knows nothing of it",
            {state_.panel.at("patch")});
        return;
    }
    const PseudowireConnectorStatus stated = patch->status();
    const auto bearing = reasons.find(stated);
    const std::string words = bearing == reasons.end() ? wordsOf(stated) : bearing->second;
    doing.reason.text += said(stated, words);
    doing.place = state_.panel.at("patch", key, "status");
    doing.reason.places.push_back(doing.place);
    if (stated == up && doing.verdict == Verdict::down) {
        addContradiction(
            doing.reason,
            "the patch panel says up, yet: " + doing.summary,
            {state_.panel.at("patch", key, "status")});
    } else if (stated != up && stated != unknown) {
        if (bearing == reasons.end() && doing.verdict != Verdict::unknown) {
            addContradiction(
                doing.reason,
                "the patch panel gives this reason, yet nothing that it joins does",
                {state_.panel.at("patch", key, "patchConnectorKey")});
        }
        doing.verdict = Verdict::down;
        doing.status = stated;
        doing.summary = words;
    } else {
        doing.isStated(stated, words);
    }
    const auto configured = state_.config ? state_.config->patch(key) : nullptr;
    if (configured && configured->enabled() != patch->enabled()) {
        addContradiction(
            doing.reason,
            "configuration and patch panel disagree on whether it is enabled",
            {state_.config.at("patch", key, "enabled"),
             state_.panel.at("patch", key, "enabled")});
    }
}

Doing Explainer::patch(const std::string& name) const {
    Doing doing;
    doing.reason.text = "patch " + name;
    Reasons reasons = reasonsOfPatchItself(doing.reason, name);
    const auto& keys = state_.patches().at(name);
    bool allUp = keys.size() >= 2;
    std::vector<Reason> notKnown;
    for (const ConnectorKey& key : keys) {
        Doing part = connector(key);
        allUp = allUp && part.verdict == Verdict::up;
        if (part.verdict == Verdict::down) {
            reasons.emplace(part.status, part.summary);
        } else if (part.verdict == Verdict::unknown && doing.summary.empty()) {
            doing.summary = part.summary;
        }
        if (part.verdict != Verdict::up || holdsMore(part.reason)) {
            // What is known to be down comes first.
            auto& causes = part.verdict == Verdict::down ? doing.reason.causes : notKnown;
            causes.push_back(std::move(part.reason));
        }
    }
    std::move(notKnown.begin(), notKnown.end(), std::back_inserter(doing.reason.causes));
    if (!reasons.empty()) {
        doing.isDown(reasons.begin()->first, reasons.begin()->second);
    } else if (allUp) {
        doing.isStated(up, {});
    }
    addPatchPanel(doing, reasons, name);
    addForwarding(doing, name);
    return doing;
}

// --- Instances of VPLS ---

Doing Explainer::group(
    const std::string& place,
    const Pseudowire::VplsLdpPseudowireGroupConfig& group,
    Tally& tally) const {
    Doing doing;
    const auto add = [&](const std::string& name, Doing part, bool isSecondary) {
        ++tally.all;
        if (part.verdict == Verdict::up || (isSecondary && part.status == standby)) {
            ++tally.up;
            if (!holdsMore(part.reason)) return;
        } else if (part.verdict == Verdict::down) {
            doing.isDown(part.status, name + ": " + part.summary);
        } else if (doing.summary.empty()) {
            doing.summary = name + ": " + part.summary;
        }
        doing.reason.causes.push_back(std::move(part.reason));
    };
    for (auto it = group.pseudowire().iteratorConst(); it; ++it) {
        const std::string name(it.key().view());
        const auto known = state_.pseudowiresOfVpls(it.key());
        for (const KnownPseudowire* const each : known) {
            add(name, pseudowire(*each), it.value().secondary());
        }
        if (!known.empty()) continue;
        Doing absent;
        absent.summary = "nothing else is known of it";
        absent.reason = {
            Reason::Kind::missing,
            "pseudowire " + name + ": " + absent.summary,
            {place + ".pseudowire[" + textOfValue(it.key()) + ']'},
            {}};
        add(name, std::move(absent), false);
    }
    const Zin::String& profile = group.pseudowireBgpAutoDiscoveryProfile();
    if (!profile.empty()) {
        for (const KnownPseudowire* const each : state_.pseudowiresOfProfile(profile)) {
            add(each->name, pseudowire(*each), false);
        }
    }
    doing.reason.text = "group " + std::string(group.entityKey().view());
    doing.reason.places.push_back(place);
    return doing;
}

Doing Explainer::instance(const Pseudowire::VplsInstanceConfig& instance) const {
    Doing doing;
    Tally tally;
    const std::string place = state_.vpls.at("instance", instance.entityKey());
    for (auto it = instance.ldpPseudowireGroup().iteratorConst(); it; ++it) {
        const std::string path = place + ".ldpPseudowireGroup[" + textOfValue(it.key()) + ']';
        Doing part = group(path, *it.value(), tally);
        if (part.verdict == Verdict::down) {
            doing.isDown(part.status, part.summary);
        } else if (doing.summary.empty()) {
            doing.summary = part.summary;
        }
        if (!part.reason.causes.empty()) doing.reason.causes.push_back(std::move(part.reason));
    }
    if (tally.all == 0) doing.summary = "it has no pseudowires";
    if (tally.all != 0 && tally.up == tally.all) doing.isStated(up, {});
    doing.isUpInPart = tally.up != 0 && tally.up != tally.all;
    doing.reason.text = "instance " + std::string(instance.entityKey().view()) + ": " +
                        std::to_string(tally.up) + " of " + std::to_string(tally.all) +
                        (tally.all == 1 ? " pseudowire is up" : " pseudowires are up");
    doing.reason.places.push_back(place);
    return doing;
}

}  // namespace corra
