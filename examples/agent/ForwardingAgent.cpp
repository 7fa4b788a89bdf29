#include "agent/ForwardingAgent.h"

#include <utility>

namespace agent {

using Pseudowire::Patch;
using Pseudowire::PwAdjGroupId;

class ForwardingAgent::PatchReactor final : public Patch::Notifiee {
  public:
    PatchReactor(const Zin::Ptr<Patch>& patch, std::set<Zin::String>& changed)
        : Notifiee(patch), changed_(changed) {}

    void onEnabled() override { changed_.insert(notifier()->name()); }
    void onConnectorKey(const Key&) override { changed_.insert(notifier()->name()); }

  private:
    std::set<Zin::String>& changed_;
};

namespace {

template <class K, class V>
void removeFrom(std::map<K, std::set<V>>& sets, const K& key, const V& member) {
    const auto set = sets.find(key);
    if (set == sets.end()) return;
    set->second.erase(member);
    if (set->second.empty()) sets.erase(set);
}

}  // namespace

ForwardingAgent::ForwardingAgent(
    Zin::Ptr<Pseudowire::Config> config,
    Zin::Ptr<Pseudowire::Status> status)
    : Notifiee(config), config_(std::move(config)), status_(std::move(status)) {
    for (const auto& patch : config_->patch()) onPatch(patch.key());
    for (const auto& connector : config_->connector()) onConnector(connector.key());
}

ForwardingAgent::~ForwardingAgent() = default;

void ForwardingAgent::onPatch(const Zin::String& name) {
    changedPatches_.insert(name);
    const auto patch = config_->patch(name);
    const auto known = reactors_.find(name);
    if (known != reactors_.end() && known->second->notifier() == patch.get()) return;
    reactors_.erase(name);
    if (patch) reactors_[name] = std::make_unique<PatchReactor>(patch, changedPatches_);
}

void ForwardingAgent::onConnector(const Key& key) {
    changedConnectors_.insert(key);
}

void ForwardingAgent::peerLabelsAre(PeerLabels labels) {
    const auto takeChanges = [this](const PeerLabels& from, const PeerLabels& to) {
        for (const auto& [ldpKey, label] : from) {
            const auto other = to.find(ldpKey);
            if (other != to.end() && other->second == label) continue;
            const auto connectors = byLdpKey_.find(ldpKey);
            if (connectors == byLdpKey_.end()) continue;
            changedConnectors_.insert(connectors->second.begin(), connectors->second.end());
        }
    };
    takeChanges(labels_, labels);
    takeChanges(labels, labels_);
    labels_ = std::move(labels);
}

void ForwardingAgent::update() {
    for (const Key& key : std::exchange(changedConnectors_, {})) takeConnector(key);
    for (const auto patches = changedPatches_; const Zin::String& name : patches) {
        takePatch(name);
    }
    // All that goes goes before anything comes: a circuit may move from patch to patch.
    std::map<Zin::String, PatchForwarding> wanted;
    for (const Zin::String& name : std::exchange(changedPatches_, {})) {
        PatchForwarding& now = wanted[name];
        if (joined_.contains(name)) now = forwardingOf(configOf(name), labels_);
        withdraw(forwarding_[name], now);
        const bool staysAs = joined_.contains(name) && status_->patchToAcSet(name) &&
                             status_->patchToAcSet(name)->isLocalLocal() == now.isLocalLocal;
        if (!staysAs) status_->patchToAcSetDel(name);
    }
    for (auto& [name, now] : wanted) {
        if (joined_.contains(name)) {
            install(name, now);
            forwarding_[name] = std::move(now);
        } else {
            forwarding_.erase(name);
        }
    }
    for (const auto& peer : std::exchange(changedPeers_, {})) updateGroup(peer);
}

void ForwardingAgent::takeConnector(const Key& key) {
    const auto patches = joinedBy_.find(key);
    if (patches != joinedBy_.end()) changedPatches_.insert(*patches->second.begin());
    if (key.isLocal()) return;
    const auto known = ldpKeyOf_.find(key);
    if (known != ldpKeyOf_.end()) removeFrom(byLdpKey_, known->second, key);
    if (config_->connectorHas(key)) {
        const auto ldpKey = config_->connector(key).ldpKey();
        ldpKeyOf_[key] = ldpKey;
        byLdpKey_[ldpKey].insert(key);
    } else {
        ldpKeyOf_.erase(key);
    }
}

// Enters what the patch joins now. Patches to which a connector comes or goes by that change,
// too.
void ForwardingAgent::takePatch(const Zin::String& name) {
    std::set<Key> keys;
    const auto patch = config_->patch(name);
    const bool isEnabled = patch && patch->enabled();
    if (isEnabled) {
        for (const auto& key : patch->connectorKey()) keys.insert(key.key());
    }
    const auto firstChanged = [this](const Key& key) {
        const auto patches = joinedBy_.find(key);
        if (patches != joinedBy_.end()) changedPatches_.insert(*patches->second.begin());
    };
    for (const Key& key : joined_[name]) {
        if (keys.contains(key)) continue;
        firstChanged(key);
        removeFrom(joinedBy_, key, name);
        firstChanged(key);
    }
    for (const Key& key : keys) {
        firstChanged(key);
        joinedBy_[key].insert(name);
        firstChanged(key);
    }
    if (isEnabled) {
        joined_[name] = std::move(keys);
    } else {
        joined_.erase(name);
    }
}

PatchConfig ForwardingAgent::configOf(const Zin::String& name) const {
    PatchConfig patch{name, joined_.at(name), {}};
    for (const Key& key : patch.keys) {
        if (*joinedBy_.at(key).begin() != name || !config_->connectorHas(key)) continue;
        patch.connectors.push_back(config_->connector(key));
    }
    return patch;
}

void ForwardingAgent::withdraw(const PatchForwarding& held, const PatchForwarding& wanted) {
    for (const auto& [circuit, adjacency] : held.adjacencies) {
        if (!wanted.adjacencies.contains(circuit)) status_->encapAdjacencyDel(circuit);
    }
    for (const auto& [circuit, info] : held.info) {
        if (!wanted.info.contains(circuit)) status_->localConnectorInfoDel(circuit);
    }
    for (const auto& [key, leg] : held.legs) {
        const auto now = wanted.legs.find(key);
        if (now != wanted.legs.end() && now->second.peer == leg.peer) continue;
        groups_.at(leg.peer).members.erase(key);
        changedPeers_.insert(leg.peer);
    }
}

// What is there already is not changed by being set again.
void ForwardingAgent::install(const Zin::String& name, const PatchForwarding& wanted) {
    for (const auto& [circuit, info] : wanted.info)
        status_->localConnectorInfoIs(circuit, info);
    for (const auto& [circuit, adjacency] : wanted.adjacencies) {
        status_->encapAdjacencyIs(circuit, adjacency);
    }
    const auto set = status_->patchToAcSetIs(name, wanted.isLocalLocal);
    for (const auto& circuit : forwarding_[name].circuits) {
        if (!wanted.circuits.contains(circuit)) set->acIntfEncapDel(circuit);
    }
    for (const auto& circuit : wanted.circuits) set->acIntfEncapIs(circuit, true);
    for (const auto& [key, leg] : wanted.legs) {
        groups_[leg.peer].members[key] = leg.adjacency;
        changedPeers_.insert(leg.peer);
    }
}

void ForwardingAgent::updateGroup(const Vorn::IpGenAddr& peer) {
    Group& group = groups_.at(peer);
    if (group.members.empty()) {
        status_->adjGroupDel(group.id);
        groups_.erase(peer);
        return;
    }
    if (!group.id) group.id = freeGroupId();
    Pseudowire::PwEncapAdjGroup value(group.id);
    for (const auto& [key, adjacency] : group.members) value.pwAdjSetIs(adjacency);
    status_->adjGroupIs(value);
}

// The lowest from 1 on.
PwAdjGroupId ForwardingAgent::freeGroupId() const {
    std::uint32_t number = 1;
    while (status_->adjGroupHas(PwAdjGroupId(number))) ++number;
    return PwAdjGroupId(number);
}

}  // namespace agent
