#include "corra/PanelOf.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace corra {

namespace {

using ::Pseudowire::Config;
using ::Pseudowire::Connector;
using ::Pseudowire::ConnectorKey;
using ::Pseudowire::ConnectorType;
using ::Pseudowire::PatchPanel;
using ::Pseudowire::PseudowireAttributeStatus;
using ::Pseudowire::PseudowireAttributeStatusColl;
using ::Pseudowire::PseudowireLdpKey;
using Status = ::Pseudowire::PseudowireConnectorStatus;

struct Joined {
    bool enabled = false;
    std::set<ConnectorKey> connectors;
};

class Derivation {
  public:
    Derivation(
        const Zin::String& name,
        const Config& config,
        const PseudowireAttributeStatusColl& signalling)
        : config_(config),
          signalling_(signalling),
          panel_(::Pseudowire::patchPanelFactory(name)) {
        for (auto it = config.patch().iteratorConst(); it; ++it) {
            const auto patch = config.patch(it.key());
            Joined& joined = patches_[it.key()];
            joined.enabled = patch->enabled();
            for (auto key = patch->connectorKey().iteratorConst(); key; ++key) {
                joined.connectors.insert(key.key());
            }
        }
        for (const auto& [patchName, joined] : patches_) {
            for (const ConnectorKey& key : joined.connectors)
                patchesOf_[key].push_back(patchName);
        }
        for (auto it = config.connector().iteratorConst(); it; ++it) {
            const Connector connector = config.connector(it.key());
            if (hasLdpKey(connector)) ++usesOf_[connector.ldpKey()];
        }
    }

    Zin::Ptr<PatchPanel> derive() {
        panel_->intfReviewDelayRangeIs(config_.intfReviewDelayRange());
        for (const auto& [key, names] : patchesOf_) {
            addPatchesOf(key, names);
            key.isLocal() ? addLocal(key) : addRemote(key);
        }
        for (const auto& [name, joined] : patches_) addPatch(name, joined);
        return panel_;
    }

  private:
    static bool hasLdpKey(const Connector& connector) {
        return connector.key().connectorType() == ConnectorType::ldp &&
               connector.ldpKey() != PseudowireLdpKey();
    }

    bool isEnabled(const Zin::String& patchName) const {
        return patches_.at(patchName).enabled;
    }
    std::size_t enabledOf(const ConnectorKey& key) const {
        const auto& names = patchesOf_.at(key);
        return static_cast<std::size_t>(
            std::count_if(names.begin(), names.end(), [&](const auto& name) {
                return isEnabled(name);
            }));
    }
    const Zin::String& patchNameOf(const ConnectorKey& key) const {
        const auto& names = patchesOf_.at(key);
        const auto enabled = std::find_if(names.begin(), names.end(), [&](const auto& name) {
            return isEnabled(name);
        });
        return enabled == names.end() ? names.front() : *enabled;
    }
    std::vector<ConnectorKey> othersOf(const ConnectorKey& key) const {
        std::vector<ConnectorKey> others;
        for (const ConnectorKey& other : patches_.at(patchNameOf(key)).connectors) {
            if (other != key) others.push_back(other);
        }
        return others;
    }

    // What configuration alone says against a connector; unknown when that is nothing.
    Status configuredStatus(const ConnectorKey& key) const {
        if (enabledOf(key) == 0) return Status::adminDown;
        if (!config_.connectorHas(key)) return Status::notConfigured;
        if (othersOf(key).empty()) return Status::patchIncomplete;
        const auto uses = usesOf_.find(config_.connector(key).ldpKey());
        const bool isShared = uses != usesOf_.end() && uses->second > 1;
        return isShared || enabledOf(key) > 1 ? Status::conflict : Status::unknown;
    }

    // Nothing for local connectors, and for kinds that only a newer build knows.
    PseudowireAttributeStatus signalled(const ConnectorKey& key) const {
        const auto type = key.connectorType();
        if (type != ConnectorType::ldp && type != ConnectorType::bgp) return {};
        return signalling_.connectorStatus(
            ::Pseudowire::PseudowireUserKey::fromConnectorKey(key));
    }

    Status localStatus(const ConnectorKey& key) const {
        const Status configured = configuredStatus(key);
        if (configured != Status::unknown) return configured;
        bool allUp = true;
        for (const ConnectorKey& other : othersOf(key)) {
            const Status status = signalled(other).status();
            const bool isLocalFault =
                status == Status::localCircuitMissing || status == Status::localCircuitDown;
            if (isLocalFault) return status;
            allUp = allUp && status == Status::up;
        }
        return allUp ? Status::up : Status::unknown;
    }

    Status remoteStatus(const ConnectorKey& key) const {
        const Status configured = configuredStatus(key);
        return configured != Status::unknown ? configured : signalled(key).status();
    }

    Status statusOf(const ConnectorKey& key) const {
        return key.isLocal() ? localStatus(key) : remoteStatus(key);
    }

    void addPatchesOf(const ConnectorKey& key, const std::vector<Zin::String>& names) {
        using ::Pseudowire::ConnectorPatchInfo;
        const auto patches = panel_->connToPatchIs(key);
        for (const Zin::String& name : names) {
            patches->patchIs(
                name,
                isEnabled(name) ? ConnectorPatchInfo::enabledValue()
                                : ConnectorPatchInfo::disabledValue());
        }
    }

    void addLocal(const ConnectorKey& key) {
        const auto local = panel_->localConnStatusIs(key);
        local->encapIs({config_.connector(key).dot1qEncap(), {}});
        local->statusIs(localStatus(key));
        const auto others = othersOf(key);
        if (others.size() == 1) local->peerConnectorKeyIs(others.front());
        local->patchNameIs(patchNameOf(key));
    }

    void addRemote(const ConnectorKey& key) {
        const Connector connector = config_.connector(key);
        const auto remote = panel_->remoteConnStatusIs(key);
        remote->connectorIs(connector);
        remote->statusIs(remoteStatus(key));
        for (const ConnectorKey& other : othersOf(key)) {
            if (other.isLocal()) remote->localConnectorKeyIs(other);
        }
        remote->patchNameIs(patchNameOf(key));
        remote->mtuIs(signalled(key).peerInfo(connector.ldpKey().peerAddr()).mtu());
        if (hasLdpKey(connector)) {
            panel_->ldpKeyToConnKeyIs(connector.ldpKey())->connKeyIs(key, enabledOf(key) != 0);
        }
    }

    void addPatch(const Zin::String& name, const Joined& joined) {
        const auto patch = panel_->patchIs(name, Vorn::IntfId());
        for (const ConnectorKey& key : joined.connectors) patch->patchConnectorKeyIs(key);
        patch->enabledIs(joined.enabled);
        patch->statusIs(patchStatus(joined));
    }

    Status patchStatus(const Joined& joined) const {
        std::set<Status> statuses;
        if (!joined.enabled) statuses.insert(Status::adminDown);
        if (joined.connectors.size() < 2) statuses.insert(Status::patchIncomplete);
        for (const ConnectorKey& key : joined.connectors) statuses.insert(statusOf(key));
        // The reasons stand behind the two that are none.
        const auto reason = statuses.upper_bound(Status::up);
        if (reason != statuses.end()) return *reason;
        return statuses.contains(Status::unknown) ? Status::unknown : Status::up;
    }

    const Config& config_;
    const PseudowireAttributeStatusColl& signalling_;
    const Zin::Ptr<PatchPanel> panel_;
    std::map<Zin::String, Joined> patches_;
    // In the order of names.
    std::map<ConnectorKey, std::vector<Zin::String>> patchesOf_;
    // By how many connectors each pseudowire is claimed.
    std::map<PseudowireLdpKey, int> usesOf_;
};

}  // namespace

Zin::Ptr<PatchPanel> panelOf(
    const Zin::String& name,
    const Config& config,
    const PseudowireAttributeStatusColl& signalling) {
    return Derivation(name, config, signalling).derive();
}

}  // namespace corra
