#include "corra/SignallingState.h"

#include <map>

#include "Zin/ValueInfo.h"
#include "corra/StateError.h"

namespace corra {

namespace {

using ::Pseudowire::Config;
using ::Pseudowire::Connector;
using ::Pseudowire::ConnectorKey;
using ::Pseudowire::PseudowireAttributeStatus;
using ::Pseudowire::PseudowireConnectorStatus;
using ::Pseudowire::PseudowireLdpKey;
using ::Pseudowire::PseudowireLdpStatusFlag;
using ::Pseudowire::PseudowireLdpStatusFlags;
using ::Pseudowire::PseudowireUserKey;

constexpr std::string_view noError = "No Error";
constexpr std::string_view remoteNotForwarding = "remote not forwarding";

// All that is known of one pseudowire. What the router did not print is null.
struct Known {
    Connector connector;
    const RouterBinding* binding = nullptr;
    const RouterCircuit* circuit = nullptr;
};

class Translator {
  public:
    Translator(const RouterSignalling& router, const Config& config, Warnings& warnings)
        : router_(router), warnings_(warnings) {
        for (auto it = config.connector().iteratorConst(); it; ++it) {
            if (it.key().connectorType() != ::Pseudowire::ConnectorType::ldp) continue;
            known_.emplace(it.key(), Known{config.connector(it.key())});
        }
        for (auto it = config.patch().iteratorConst(); it; ++it) {
            const auto patch = config.patch(it.key());
            for (auto key = patch->connectorKey().iteratorConst(); key; ++key) {
                patchOf_.emplace(key.key(), it.key());
            }
        }
    }

    SignallingState translate() {
        assignBindings();
        if (router_.circuits) assignCircuits(*router_.circuits);
        for (const auto& [key, known] : known_) {
            if (known.binding) bind(known);
            if (known.binding || known.circuit) {
                state_.statuses->connectorStatusIs(user(known), status(known));
            } else {
                warnOf(key, "not in what the router printed of its signalling");
            }
        }
        return state_;
    }

  private:
    PseudowireUserKey user(const Known& known) const {
        return userOf(known.connector, patchOf_.contains(known.connector.key()));
    }

    void assignBindings() {
        std::map<PseudowireLdpKey, Known*> byLdpKey;
        for (auto& [key, known] : known_) byLdpKey.emplace(known.connector.ldpKey(), &known);
        for (const RouterBinding& binding : router_.bindings) {
            const auto found = byLdpKey.find(binding.ldpKey);
            if (found == byLdpKey.end()) {
                warn(binding.place, "left out: no such pseudowire is configured");
                continue;
            }
            found->second->binding = &binding;
            warnOfDifferences(found->second->connector, binding);
        }
    }

    void assignCircuits(const std::vector<RouterCircuit>& circuits) {
        for (const RouterCircuit& circuit : circuits) {
            ConnectorKey key;
            key.ldpConnectorKeyIs(circuit.pseudowire);
            const auto found = known_.find(key);
            if (found == known_.end()) {
                warn(circuit.place, "left out: no such pseudowire is configured");
                continue;
            }
            Known& known = found->second;
            if (known.connector.ldpKey() != circuit.ldpKey) {
                warn(
                    circuit.place,
                    "left out: the pseudowire is configured as " +
                        Zin::textOf(known.connector.ldpKey()));
                continue;
            }
            known.circuit = &circuit;
            const auto patch = patchOf_.find(key);
            if (patch != patchOf_.end() && patch->second.view() != circuit.instance) {
                warn(
                    circuit.place,
                    "instance " + inJson(circuit.instance) + " left out: configured is " +
                        inJson(patch->second.view()));
            }
            if (!known.binding) warn(circuit.place, "there is no binding of it");
        }
        for (const auto& [key, known] : known_) {
            if (known.binding && !known.circuit) {
                warn(known.binding->place, "not among the circuits");
            }
        }
    }

    // What this end announces is configured: "pw" has it.
    void warnOfDifferences(const Connector& connector, const RouterBinding& binding) {
        if (!binding.local.isBound()) return;
        const auto compare =
            [&](const char* what, const std::string& configured, const std::string& printed) {
                if (configured == printed) return;
                warn(
                    binding.place,
                    std::string("local ") + what + ' ' + printed + " left out: configured is " +
                        configured);
            };
        compare("MTU", std::to_string(connector.mtu()), std::to_string(binding.local.mtu));
        compare(
            "control word",
            Zin::textOf(connector.controlWord()),
            Zin::textOf(binding.local.controlWord));
        // Of a type that is not known there is a warning already.
        if (binding.local.pseudowireType != ::Pseudowire::PseudowireType::unset) {
            compare(
                "type",
                Zin::textOf(connector.pseudowireType()),
                Zin::textOf(binding.local.pseudowireType));
        }
    }

    void bind(const Known& known) {
        const Vorn::MplsLabel label = known.binding->local.label;
        if (!known.binding->local.isBound()) return;
        state_.labels->localLabelIs(user(known), label);
        if (state_.labels->pseudowire().has(label)) {
            return warn(
                known.binding->place,
                "label " + Zin::textOf(label) + " belongs to " +
                    inJson(state_.labels->pseudowire(label).name().view()) + " already");
        }
        state_.labels->pseudowireIs(label, user(known));
    }

    PseudowireAttributeStatus status(const Known& known) {
        PseudowireAttributeStatus status;
        status.pwIdIs(known.connector.ldpKey().pwId());
        if (!known.binding) {
            // Up without a label is no state at all.
            status.statusIs(
                known.circuit->isUp ? PseudowireConnectorStatus::unknown
                                    : PseudowireConnectorStatus::noLocalLabel);
            return status;
        }
        const RouterBinding& binding = *known.binding;
        status.statusIs(connectorStatus(known));
        status.localLabelIs(binding.local.label);
        status.decapControlWordIs(binding.local.controlWord);
        if (binding.remote.isBound()) {
            status.remotePwTypeIs(binding.remote.pseudowireType);
            ::Pseudowire::PseudowirePeerAttributeStatus peer;
            peer.peerLabelIs(binding.remote.label);
            peer.mtuIs(binding.remote.mtu);
            peer.encapControlWordIs(binding.remote.controlWord);
            status.peerInfoIs(binding.ldpKey.peerAddr(), peer);
            if (!hasSession(binding)) {
                warn(binding.place, "a remote label, but no session with the peer");
            }
        }
        // What the peer signals.
        PseudowireLdpStatusFlags flags;
        flags.bitIs(
            PseudowireLdpStatusFlag::notForwarding,
            binding.failureReason == remoteNotForwarding);
        status.pwStatusFlagsIs(flags);
        return status;
    }

    PseudowireConnectorStatus connectorStatus(const Known& known) {
        const RouterBinding& binding = *known.binding;
        const bool isBound = binding.local.isBound() && binding.remote.isBound();
        if (known.circuit && known.circuit->isUp) {
            if (!isBound) {
                warn(known.circuit->place, "cannot be up: a label is missing");
            } else {
                if (binding.failureReason != noError) {
                    warn(known.circuit->place, "is up, so its last failure is over");
                }
                return PseudowireConnectorStatus::up;
            }
        }
        if (!binding.local.isBound()) return PseudowireConnectorStatus::noLocalLabel;
        return reasonOf(known);
    }

    // Why a pseudowire with a local label is not up, or not known to be.
    PseudowireConnectorStatus reasonOf(const Known& known) {
        const RouterBinding& binding = *known.binding;
        const std::string& reason = binding.failureReason;
        const auto noRemote = hasSession(binding) ? PseudowireConnectorStatus::noRemoteEnd
                                                  : PseudowireConnectorStatus::noSession;
        if (reason == "local not forwarding")
            return PseudowireConnectorStatus::localCircuitDown;
        if (reason == remoteNotForwarding)
            return PseudowireConnectorStatus::remoteNotForwarding;
        if (reason == "mtu mismatch between peers")
            return PseudowireConnectorStatus::mtuMismatch;
        if (reason == "no remote label") return noRemote;
        if (reason != noError) {
            warn(binding.place, "unknown failure reason " + inJson(reason) + " left out");
            return PseudowireConnectorStatus::unknown;
        }
        if (!binding.remote.isBound() || !hasSession(binding)) return noRemote;
        // All that comes before forwarding is in order.
        return known.circuit ? PseudowireConnectorStatus::hardwareNotProgrammed
                             : PseudowireConnectorStatus::unknown;
    }

    // When the router was not asked there is no reason to doubt it.
    bool hasSession(const RouterBinding& binding) const {
        return !router_.sessions || router_.sessions->contains(binding.ldpKey.peerAddr());
    }

    void warn(const std::string& place, const std::string& text) {
        warnings_.push_back(warningAt(place, text));
    }
    void warnOf(const ConnectorKey& key, const std::string& text) {
        warn("pseudowire " + inJson(key.name().view()), text);
    }

    const RouterSignalling& router_;
    std::map<ConnectorKey, Zin::String> patchOf_;
    std::map<ConnectorKey, Known> known_;
    Warnings& warnings_;
    SignallingState state_{
        ::Pseudowire::labelBindingCollFactory("labels"),
        ::Pseudowire::pseudowireAttributeStatusCollFactory("signalling")};
};

}  // namespace

SignallingState
signallingStateOf(const RouterSignalling& router, const Config& config, Warnings& warnings) {
    return Translator(router, config, warnings).translate();
}

PseudowireUserKey userOf(const Connector& connector, bool isJoinedByPatch) {
    if (isJoinedByPatch) return PseudowireUserKey::fromConnectorKey(connector.key());
    return {
        PseudowireUserKey::UserType::vplsLdpPseudowire,
        connector.key().name(),
        {},
        connector.ldpKey().peerAddr()};
}

}  // namespace corra
