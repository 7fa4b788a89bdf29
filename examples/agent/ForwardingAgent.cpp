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

ForwardingAgent::ForwardingAgent(
    Zin::Ptr<Pseudowire::Config> config,
    Zin::Ptr<Signalling> signalling,
    Zin::Ptr<Pseudowire::Status> status)
    : Pseudowire::Config::Notifiee(config),
      Signalling::Notifiee(signalling),
      config_(std::move(config)),
      signalling_(std::move(signalling)),
      status_(std::move(status)) {
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

void ForwardingAgent::onConnectorStatus(const Pseudowire::PseudowireUserKey& user) {
    if (user.userType() == Pseudowire::PseudowireUserKey::UserType::patchLdpConnector) {
        changedConnectors_.insert(user.connectorKey());
    }
}

void ForwardingAgent::update() {
    for (const Key& key : std::exchange(changedConnectors_, {})) {
        const auto& patches = joined_.claimants(key);
        if (!patches.empty()) changedPatches_.insert(*patches.begin());
    }
    for (const auto patches = changedPatches_; const Zin::String& name : patches) {
        takePatch(name);
    }
    // All that goes goes before anything comes: a circuit may move from patch to patch.
    std::map<Zin::String, PatchForwarding> wanted;
    for (const Zin::String& name : std::exchange(changedPatches_, {})) {
        PatchForwarding& now = wanted[name];
        if (isEnabled(name)) now = forwardingOf(stateOf(name));
        withdraw(forwarding_[name], now);
        const bool staysAs = isEnabled(name) && status_->patchToAcSet(name) &&
                             status_->patchToAcSet(name)->isLocalLocal() == now.isLocalLocal;
        if (!staysAs) status_->patchToAcSetDel(name);
    }
    for (auto& [name, now] : wanted) {
        if (isEnabled(name)) {
            install(name, now);
            forwarding_[name] = std::move(now);
        } else {
            forwarding_.erase(name);
        }
    }
    for (const auto& peer : std::exchange(changedPeers_, {})) updateGroup(peer);
}

bool ForwardingAgent::isEnabled(const Zin::String& name) const {
    const auto patch = config_->patch(name);
    return patch && patch->enabled();
}

// Enters what the patch joins now. Patches to which a connector comes or goes by that change,
// too.
void ForwardingAgent::takePatch(const Zin::String& name) {
    std::set<Key> keys;
    if (isEnabled(name)) {
        for (const auto& key : config_->patch(name)->connectorKey()) keys.insert(key.key());
    }
    joined_.claimsAre(name, std::move(keys), changedPatches_);
}

PatchState ForwardingAgent::stateOf(const Zin::String& name) const {
    PatchState state{name, {}, {}};
    for (const auto& joined : config_->patch(name)->connectorKey())
        state.keys.insert(joined.key());
    for (const Key& key : state.keys) {
        if (!joined_.has(name, key) || !config_->connectorHas(key)) continue;
        PatchConnector connector{config_->connector(key), {}};
        if (!key.isLocal()) {
            connector.signalled = signalling_->connectorStatus(
                Pseudowire::PseudowireUserKey::fromConnectorKey(key));
        }
        state.connectors.push_back(std::move(connector));
    }
    return state;
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
        groupIds_.giveBack(group.id.value());
        groups_.erase(peer);
        return;
    }
    if (!group.id) group.id = PwAdjGroupId(groupIds_.take());
    Pseudowire::PwEncapAdjGroup value(group.id);
    for (const auto& [key, adjacency] : group.members) value.pwAdjSetIs(adjacency);
    status_->adjGroupIs(value);
}

}  // namespace agent
