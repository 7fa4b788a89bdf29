#include "corra/Why.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <set>
#include <utility>

#include "corra/WhyExplainer.h"
#include "corra/WhyState.h"

namespace corra {

namespace {

using Pseudowire::ConnectorKey;

std::string headlineOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::up:
            return " is up.";
        case Verdict::down:
            return " is down.";
        case Verdict::unknown:
            break;
    }
    return ": whether it is up is not known.";
}

// What is up has no chain, but may hold contradictions.
Answer answerOf(std::string_view kind, std::string name, Doing doing) {
    Answer answer{
        kind,
        std::move(name),
        doing.verdict,
        headlineOf(doing.verdict),
        std::move(doing.summary),
        {}};
    if (answer.verdict != Verdict::up || holdsMore(doing.reason)) {
        answer.reasons.push_back(std::move(doing.reason));
    }
    return answer;
}

// One more thing that is not up for what is asked about, without its own chain.
Reason consequence(const std::string& what, const Doing& doing) {
    const std::string how =
        doing.verdict == Verdict::down ? " is down: " : " is perhaps not up: ";
    auto places = doing.place.empty() ? doing.reason.places : std::vector{doing.place};
    return {Reason::Kind::cause, what + how + doing.summary, std::move(places), {}};
}

// --- Kinds of things that have names ---

void answerPatch(const Explainer& explainer, std::string_view name, std::vector<Answer>& to) {
    const std::string key(name);
    if (!explainer.state().patches().contains(key)) return;
    to.push_back(answerOf("patch", key, explainer.patch(key)));
}

// With the circuits that a pseudowire is down for.
Answer answerOf(const Explainer& explainer, const KnownPseudowire& pseudowire) {
    Doing doing = explainer.pseudowire(pseudowire);
    const bool isLocal = doing.status == PseudowireConnectorStatus::localCircuitDown ||
                         doing.status == PseudowireConnectorStatus::localCircuitMissing;
    const WhyState& state = explainer.state();
    if (isLocal && state.isInPatch(pseudowire)) {
        for (const std::string& patch : state.membership().at(*pseudowire.connectorKey)) {
            for (const ConnectorKey& key : state.patches().at(patch)) {
                if (!key.isLocal()) continue;
                Doing circuit = explainer.circuit(key);
                if (circuit.verdict == Verdict::up) continue;
                doing.reason.causes.push_back(std::move(circuit.reason));
            }
        }
    }
    return answerOf("pseudowire", pseudowire.name, std::move(doing));
}

bool isNamed(const KnownPseudowire& pseudowire, std::string_view name) {
    return pseudowire.name == name ||
           (pseudowire.connectorKey && textOfValue(*pseudowire.connectorKey) == name) ||
           (pseudowire.ldpKey.peerAddr() != Vorn::IpGenAddr() &&
            textOfValue(pseudowire.ldpKey) == name);
}

void answerPseudowire(
    const Explainer& explainer,
    std::string_view name,
    std::vector<Answer>& to) {
    for (const KnownPseudowire& each : explainer.state().pseudowires()) {
        if (isNamed(each, name)) to.push_back(answerOf(explainer, each));
    }
}

std::set<ConnectorKey> circuitsIn(const WhyState& state) {
    std::set<ConnectorKey> circuits;
    const auto add = [&](const ConnectorKey& key) {
        if (key.isLocal()) circuits.insert(key);
    };
    for (const auto& [key, patches] : state.membership()) add(key);
    if (state.config) {
        for (auto it = state.config->connector().iteratorConst(); it; ++it) add(it.key());
    }
    if (state.panel) {
        for (auto it = state.panel->localConnStatus().iteratorConst(); it; ++it) add(it.key());
    }
    return circuits;
}

void answerInstance(
    const Explainer& explainer,
    std::string_view name,
    std::vector<Answer>& to) {
    const auto& vpls = explainer.state().vpls;
    const auto instance = vpls ? vpls->instance(Zin::String(name)) : nullptr;
    if (!instance) return;
    Doing doing = explainer.instance(*instance);
    const bool isUpInPart = doing.isUpInPart;
    Answer answer = answerOf("instance", std::string(name), std::move(doing));
    if (isUpInPart) answer.headline = " is up in part only.";
    to.push_back(std::move(answer));
}

void answerCircuit(const Explainer& explainer, std::string_view name, std::vector<Answer>& to) {
    const WhyState& state = explainer.state();
    for (const ConnectorKey& key : circuitsIn(state)) {
        const std::string interface = textOfValue(key.localIntfId());
        if (name != interface && name != textOfValue(key)) continue;
        Answer answer = answerOf("circuit", interface, explainer.circuit(key));
        const auto patches = state.membership().find(key);
        if (patches != state.membership().end()) {
            for (const std::string& patch : patches->second) {
                const Doing doing = explainer.patch(patch);
                if (doing.verdict == Verdict::up) continue;
                answer.reasons.push_back(consequence("patch " + patch, doing));
            }
        }
        to.push_back(std::move(answer));
    }
}

void answerPeer(const Explainer& explainer, std::string_view name, std::vector<Answer>& to) {
    for (const auto& [peer, count] : explainer.state().peers()) {
        if (textOfValue(peer) != name) continue;
        Answer answer{"peer", std::string(name), Verdict::up, {}, {}, {}};
        std::size_t up = 0;
        for (const KnownPseudowire& each : explainer.state().pseudowires()) {
            if (each.ldpKey.peerAddr() != peer) continue;
            const Doing doing = explainer.pseudowire(each);
            if (doing.verdict == Verdict::up) {
                ++up;
                continue;
            }
            if (answer.summary.empty()) answer.summary = doing.summary;
            if (answer.verdict != Verdict::down) answer.verdict = doing.verdict;
            answer.reasons.push_back(consequence("pseudowire " + each.name, doing));
        }
        answer.headline =
            ": " + std::to_string(up) + " of " + std::to_string(count.all) +
            (count.all == 1 ? " pseudowire to it is up." : " pseudowires to it are up.");
        to.push_back(std::move(answer));
    }
}

void answerLabel(const Explainer& explainer, std::string_view name, std::vector<Answer>& to) {
    for (const auto& [label, users] : explainer.state().labelUsers()) {
        if (std::to_string(label) != name) continue;
        for (const auto& user : users) {
            const KnownPseudowire* const known = explainer.state().pseudowire(user);
            if (!known) {
                const std::string whose = std::string(user.name().view());
                to.push_back(
                    {"label",
                     std::string(name),
                     Verdict::unknown,
                     " is bound to " + whose + ", of which nothing else is known.",
                     "nothing is known of " + whose,
                     {}});
                continue;
            }
            Answer answer = answerOf(explainer, *known);
            answer.kind = "label";
            answer.headline =
                " is a local label of " + known->name + ". " + known->name + answer.headline;
            answer.name = name;
            to.push_back(std::move(answer));
        }
    }
}

void patchNames(const WhyState& state, std::set<std::string>& names) {
    for (const auto& [name, keys] : state.patches()) names.insert(name);
}

void pseudowireNames(const WhyState& state, std::set<std::string>& names) {
    for (const KnownPseudowire& each : state.pseudowires()) names.insert(each.name);
}

void instanceNames(const WhyState& state, std::set<std::string>& names) {
    if (!state.vpls) return;
    for (auto it = state.vpls->instance().iteratorConst(); it; ++it) {
        names.insert(std::string(it.key().view()));
    }
}

void circuitNames(const WhyState& state, std::set<std::string>& names) {
    for (const ConnectorKey& key : circuitsIn(state))
        names.insert(textOfValue(key.localIntfId()));
}

void peerNames(const WhyState& state, std::set<std::string>& names) {
    for (const auto& [peer, count] : state.peers()) names.insert(textOfValue(peer));
}

// A new kind of thing is one more line.
constexpr struct {
    void (*addAnswers)(const Explainer&, std::string_view name, std::vector<Answer>& to);
    // Null where numbers serve as names.
    void (*addNames)(const WhyState&, std::set<std::string>& names);
} kinds[] = {
    {answerPatch, patchNames},
    {answerInstance, instanceNames},
    {answerPseudowire, pseudowireNames},
    {answerCircuit, circuitNames},
    {answerPeer, peerNames},
    {answerLabel, nullptr},
};

// Of what is missing once is enough.
void dropRepeated(std::vector<Reason>& reasons, std::set<std::string>& said) {
    std::erase_if(reasons, [&](const Reason& reason) {
        return reason.kind == Reason::Kind::missing && reason.places.empty() &&
               !said.insert(reason.text).second;
    });
    for (Reason& reason : reasons) dropRepeated(reason.causes, said);
}

// How many insertions, removals and replacements make one of the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::vector<Answer> explain(const Roots& roots, std::string_view name) {
    const WhyState state(roots);
    const Explainer explainer(state);
    std::vector<Answer> answers;
    for (const auto& kind : kinds) kind.addAnswers(explainer, name, answers);
    for (Answer& answer : answers) {
        std::set<std::string> said;
        dropRepeated(answer.reasons, said);
    }
    return answers;
}

Overview overview(const Roots& roots) {
    const WhyState state(roots);
    const Explainer explainer(state);
    Overview all;
    const auto countIn = [](Overview::Count& count, Verdict verdict) {
        ++count.all;
        if (verdict == Verdict::up) ++count.up;
        if (verdict == Verdict::unknown) ++count.unknown;
    };
    Overview::Count patches{"patch"};
    Overview::Count pseudowires{"pseudowire"};
    for (const auto& [name, keys] : state.patches()) {
        all.answers.push_back(answerOf("patch", name, explainer.patch(name)));
        countIn(patches, all.answers.back().verdict);
    }
    for (const KnownPseudowire& each : state.pseudowires()) {
        Answer answer = answerOf(explainer, each);
        countIn(pseudowires, answer.verdict);
        // Otherwise its patch says why.
        if (!state.isInPatch(each)) all.answers.push_back(std::move(answer));
    }
    all.counts = {patches, pseudowires};
    if (state.vpls) {
        Overview::Count instances{"instance"};
        for (auto it = state.vpls->instance().iteratorConst(); it; ++it) {
            countIn(instances, explainer.instance(*it.value()).verdict);
        }
        all.counts.push_back(instances);
    }
    if (!state.config) all.missing.push_back(missingRoot(state.config, "the configuration"));
    if (!state.signalling) all.missing.push_back(missingRoot(state.signalling, "signalling"));
    if (!state.panel) all.missing.push_back(missingRoot(state.panel, "circuits and patches"));
    return all;
}

std::vector<std::string> namesIn(const Roots& roots) {
    const WhyState state(roots);
    std::set<std::string> names;
    for (const auto& kind : kinds) {
        if (kind.addNames) kind.addNames(state, names);
    }
    return {names.begin(), names.end()};
}

std::vector<std::string> namesLike(const Roots& roots, std::string_view name) {
    constexpr std::size_t atMost = 3;
    std::vector<std::pair<std::size_t, std::string>> near;
    for (std::string& each : namesIn(roots)) {
        const std::size_t far = distance(name, each);
        // A third of the name may be wrong.
        if (far * 3 <= std::max(name.size(), each.size()) + 2)
            near.emplace_back(far, std::move(each));
    }
    std::sort(near.begin(), near.end());
    std::vector<std::string> names;
    for (std::size_t i = 0; i < std::min(near.size(), atMost); ++i) {
        names.push_back(std::move(near[i].second));
    }
    return names;
}

}  // namespace corra
