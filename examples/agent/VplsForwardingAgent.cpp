#include "agent/VplsForwardingAgent.h"

#include <cstdint>
#include <vector>

#include "Vorn/IntfIdKinds.h"

namespace agent {

using Pseudowire::ConnectorKey;
using Pseudowire::PseudowireLdpKey;
using Pseudowire::PseudowireUserKey;
using Pseudowire::VplsForwardingStatusPseudowireGroup;
using Pseudowire::VplsInstanceConfig;
using Pseudowire::VplsLdpPseudowireGroupConfig;

class VplsForwardingAgent::InstanceReactor final : public VplsInstanceConfig::Notifiee {
  public:
    InstanceReactor(const Zin::Ptr<VplsInstanceConfig>& instance, VplsForwardingAgent& agent)
        : Notifiee(instance), agent_(agent) {
        for (const auto& group : instance->ldpPseudowireGroup()) {
            agent_.onGroup(*instance, group.name());
        }
    }

    void onVlan(const Bridging::VlanId& vlanId) override {
        agent_.changedVlans_.emplace(notifier()->name(), vlanId);
    }
    void onLdpPseudowireGroup(const Zin::String& name) override {
        agent_.onGroup(*notifier(), name);
    }

  private:
    VplsForwardingAgent& agent_;
};

class VplsForwardingAgent::GroupReactor final : public VplsLdpPseudowireGroupConfig::Notifiee {
  public:
    GroupReactor(
        const Zin::Ptr<VplsLdpPseudowireGroupConfig>& group,
        GroupName name,
        std::set<GroupName>& changed)
        : Notifiee(group), name_(std::move(name)), changed_(changed) {}

    void onPseudowire(const Zin::String&) override { changed_.insert(name_); }

  private:
    const GroupName name_;
    std::set<GroupName>& changed_;
};

namespace {

ConnectorKey connectorKeyOf(const Zin::String& pseudowire) {
    ConnectorKey key;
    key.ldpConnectorKeyIs(pseudowire);
    return key;
}

PseudowireUserKey userOf(const Zin::String& pseudowire, const Vorn::IpGenAddr& peer) {
    return {PseudowireUserKey::UserType::vplsLdpPseudowire, pseudowire, {}, peer};
}

}  // namespace

VplsForwardingAgent::VplsForwardingAgent(
    Zin::Ptr<Pseudowire::VplsConfig> vpls,
    Zin::Ptr<Pseudowire::Config> config,
    Zin::Ptr<Signalling> signalling,
    Zin::Ptr<Pseudowire::VplsForwardingStatus> forwarding,
    Zin::Ptr<Pseudowire::PseudowireIntfIdMapping> interfaces)
    : Pseudowire::VplsConfig::Notifiee(vpls),
      Pseudowire::Config::Notifiee(config),
      Signalling::Notifiee(signalling),
      vpls_(std::move(vpls)),
      config_(std::move(config)),
      signalling_(std::move(signalling)),
      forwarding_(std::move(forwarding)),
      interfaces_(std::move(interfaces)) {
    for (const auto& instance : vpls_->instance()) onInstance(instance.name());
}

VplsForwardingAgent::~VplsForwardingAgent() = default;

void VplsForwardingAgent::onInstance(const Zin::String& name) {
    changedInstances_.insert(name);
    const auto instance = vpls_->instance(name);
    const auto known = instanceReactors_.find(name);
    if (known != instanceReactors_.end() && known->second->notifier() == instance.get()) return;
    instanceReactors_.erase(name);
    // Those of an instance that went.
    auto group = groupReactors_.lower_bound({name, {}});
    while (group != groupReactors_.end() && group->first.first == name) {
        changedGroups_.insert(group->first);
        group = groupReactors_.erase(group);
    }
    if (instance) instanceReactors_[name] = std::make_unique<InstanceReactor>(instance, *this);
}

void VplsForwardingAgent::onGroup(const VplsInstanceConfig& instance, const Zin::String& name) {
    const GroupName groupName(instance.name(), name);
    changedGroups_.insert(groupName);
    const auto group = instance.ldpPseudowireGroup(name);
    const auto known = groupReactors_.find(groupName);
    if (known != groupReactors_.end() && known->second->notifier() == group.get()) return;
    groupReactors_.erase(groupName);
    if (!group) return;
    groupReactors_[groupName] =
        std::make_unique<GroupReactor>(group, groupName, changedGroups_);
}

void VplsForwardingAgent::onConnector(const ConnectorKey& key) {
    if (key.connectorType() == Pseudowire::ConnectorType::ldp) onPseudowire(key.name());
}

void VplsForwardingAgent::onConnectorStatus(const PseudowireUserKey& user) {
    if (user.userType() == PseudowireUserKey::UserType::vplsLdpPseudowire) {
        onPseudowire(user.name());
    }
}

void VplsForwardingAgent::onPseudowire(const Zin::String& name) {
    const auto& groups = names_.claimants(name);
    changedGroups_.insert(groups.begin(), groups.end());
}

void VplsForwardingAgent::update() {
    for (const Zin::String& name : std::exchange(changedInstances_, {})) updateInstance(name);
    for (const auto& [instance, vlanId] : std::exchange(changedVlans_, {})) {
        updateVlan(instance, vlanId);
    }
    for (const auto groups = changedGroups_; const GroupName& name : groups) takeGroup(name);
    // All that goes goes before anything comes: a pseudowire may move from group to group.
    std::map<GroupName, VplsForwarding> wanted;
    for (const GroupName& name : std::exchange(changedGroups_, {})) {
        wanted[name] = wantedOf(name);
        withdraw(name, wanted[name]);
    }
    updateInterfaces();
    for (const auto& [name, pseudowires] : wanted) install(name, pseudowires);
}

Zin::Ptr<VplsLdpPseudowireGroupConfig> VplsForwardingAgent::groupConfig(
    const GroupName& name) const {
    const auto instance = vpls_->instance(name.first);
    return instance ? instance->ldpPseudowireGroup(name.second) : nullptr;
}

Zin::Ptr<VplsForwardingStatusPseudowireGroup> VplsForwardingAgent::groupForwarding(
    const GroupName& name) const {
    const auto instance = forwarding_->instance(name.first);
    return instance ? instance->pseudowireGroup(name.second) : nullptr;
}

// Of an instance that came or went; what it has is looked at in turn.
void VplsForwardingAgent::updateInstance(const Zin::String& name) {
    const auto config = vpls_->instance(name);
    if (!config) {
        forwarding_->instanceDel(name);
        return;
    }
    const auto instance = forwarding_->instanceIs(name);
    for (const auto& vlan : instance->vlan()) changedVlans_.emplace(name, vlan.key());
    for (const auto& vlan : config->vlan()) changedVlans_.emplace(name, vlan.key());
}

void VplsForwardingAgent::updateVlan(const Zin::String& instance, Bridging::VlanId vlanId) {
    const auto config = vpls_->instance(instance);
    if (!config) return;
    const auto forwarding = forwarding_->instance(instance);
    if (config->vlan().has(vlanId)) {
        forwarding->vlanIs({vlanId, config->vlan(vlanId).normalizedTag()});
    } else {
        forwarding->vlanDel(vlanId);
    }
}

// Enters what the group names now. Groups to which a pseudowire comes or goes by that change,
// too.
void VplsForwardingAgent::takeGroup(const GroupName& name) {
    std::set<Zin::String> names;
    std::set<PseudowireLdpKey> ldpKeys;
    if (const auto group = groupConfig(name)) {
        for (const auto& pseudowire : group->pseudowire()) {
            const ConnectorKey key = connectorKeyOf(pseudowire.key());
            names.insert(pseudowire.key());
            if (config_->connectorHas(key)) ldpKeys.insert(config_->connector(key).ldpKey());
        }
    }
    const auto& before = pseudowires_.claims(name);
    changedPseudowires_.insert(before.begin(), before.end());
    changedPseudowires_.insert(ldpKeys.begin(), ldpKeys.end());
    pseudowires_.claimsAre(name, std::move(ldpKeys), changedGroups_);
    std::set<GroupName> namedTwice;
    names_.claimsAre(name, std::move(names), namedTwice);
}

VplsForwarding VplsForwardingAgent::wantedOf(const GroupName& name) const {
    const auto group = groupConfig(name);
    if (!group) return {};
    std::vector<VplsPseudowire> pseudowires;
    for (const auto& pseudowire : group->pseudowire()) {
        const ConnectorKey key = connectorKeyOf(pseudowire.key());
        if (!config_->connectorHas(key)) continue;
        const auto connector = config_->connector(key);
        if (!pseudowires_.has(name, connector.ldpKey())) continue;
        const auto user = userOf(pseudowire.key(), connector.ldpKey().peerAddr());
        pseudowires.push_back(
            {pseudowire.value(), connector, signalling_->connectorStatus(user)});
    }
    return forwardingOf(pseudowires);
}

void VplsForwardingAgent::withdraw(const GroupName& name, const VplsForwarding& wanted) {
    const auto group = groupForwarding(name);
    if (!group) return;
    const auto config = groupConfig(name);
    if (!config || config->splitHorizon() != group->splitHorizon()) {
        forwarding_->instance(name.first)->pseudowireGroupDel(name.second);
        return;
    }
    std::set<Vorn::IntfId> kept;
    for (const auto& [ldpKey, pseudowire] : wanted) {
        kept.insert(interfaces_->psudowireIntfId(ldpKey));
    }
    for (auto it = group->pseudowire().iteratorConst(); it; ++it) {
        if (!kept.contains(it.key())) group->pseudowireDel(it.key());
    }
}

void VplsForwardingAgent::updateInterfaces() {
    std::vector<PseudowireLdpKey> added;
    for (const PseudowireLdpKey& ldpKey : std::exchange(changedPseudowires_, {})) {
        const auto known = interfaceNumberOf_.find(ldpKey);
        const bool isKnown = known != interfaceNumberOf_.end();
        const bool isWanted = !pseudowires_.claimants(ldpKey).empty();
        if (isWanted && !isKnown) added.push_back(ldpKey);
        if (isWanted || !isKnown) continue;
        interfaceNumbers_.giveBack(known->second);
        interfaceNumberOf_.erase(known);
        interfaces_->psudowireIntfIdDel(ldpKey);
    }
    for (const PseudowireLdpKey& ldpKey : added) {
        const std::uint32_t number = interfaceNumbers_.take();
        interfaceNumberOf_[ldpKey] = number;
        interfaces_->psudowireIntfIdIs(ldpKey, Vorn::PseudowireIntfId::intfId(number));
    }
}

// What is there already is not changed by being set again.
void VplsForwardingAgent::install(const GroupName& name, const VplsForwarding& wanted) {
    const auto config = groupConfig(name);
    if (!config) return;
    const auto group = forwarding_->instance(name.first)
                           ->pseudowireGroupIs(name.second, config->splitHorizon());
    for (const auto& [ldpKey, pseudowire] : wanted) {
        auto value = pseudowire;
        value.intfIdIs(interfaces_->psudowireIntfId(ldpKey));
        group->pseudowireIs(value);
    }
}

}  // namespace agent
