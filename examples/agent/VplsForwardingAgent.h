// VplsForwardingAgent keeps a Pseudowire::VplsForwardingStatus equal to what a
// Pseudowire::VplsConfig, the pseudowires of a Pseudowire::Config and what peers signalled ask
// for. Its reactors only take down what changed; update() computes that anew, a VLAN or a group
// at a time, and nothing else.
//
// Each configured pseudowire of an instance has an interface of its own, Pseudowire1 and
// following, whether it forwards or not; a Pseudowire::PseudowireIntfIdMapping says which. A
// pseudowire that several groups name belongs to the first of them, by instance and group.

#pragma once

#include <map>
#include <memory>
#include <set>
#include <utility>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireIntfIdMapping.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/VplsConfig.h"
#include "Pseudowire/VplsForwardingStatus.h"
#include "agent/Claims.h"
#include "agent/Numbers.h"
#include "agent/VplsForwarding.h"

namespace agent {

class VplsForwardingAgent final : Pseudowire::VplsConfig::Notifiee,
                                  Pseudowire::Config::Notifiee,
                                  Pseudowire::PseudowireAttributeStatusColl::Notifiee {
  public:
    using Signalling = Pseudowire::PseudowireAttributeStatusColl;

    // The last two are this object's to write.
    VplsForwardingAgent(
        Zin::Ptr<Pseudowire::VplsConfig> vpls,
        Zin::Ptr<Pseudowire::Config> config,
        Zin::Ptr<Signalling> signalling,
        Zin::Ptr<Pseudowire::VplsForwardingStatus> forwarding,
        Zin::Ptr<Pseudowire::PseudowireIntfIdMapping> interfaces);
    ~VplsForwardingAgent();

    void update();

  private:
    // The names of the instance and of the group.
    using GroupName = std::pair<Zin::String, Zin::String>;

    class InstanceReactor;
    class GroupReactor;

    void onInstance(const Zin::String& name) override;
    void onConnector(const Pseudowire::ConnectorKey& key) override;
    void onConnectorStatus(const Pseudowire::PseudowireUserKey& user) override;
    void onGroup(const Pseudowire::VplsInstanceConfig& instance, const Zin::String& name);
    void onPseudowire(const Zin::String& name);

    Zin::Ptr<Pseudowire::VplsLdpPseudowireGroupConfig> groupConfig(const GroupName& name) const;
    Zin::Ptr<Pseudowire::VplsForwardingStatusPseudowireGroup> groupForwarding(
        const GroupName& name) const;
    void updateInstance(const Zin::String& name);
    void updateVlan(const Zin::String& instance, Bridging::VlanId vlanId);
    void takeGroup(const GroupName& name);
    VplsForwarding wantedOf(const GroupName& name) const;
    void withdraw(const GroupName& name, const VplsForwarding& wanted);
    void updateInterfaces();
    void install(const GroupName& name, const VplsForwarding& wanted);

    const Zin::Ptr<Pseudowire::VplsConfig> vpls_;
    const Zin::Ptr<Pseudowire::Config> config_;
    const Zin::Ptr<Signalling> signalling_;
    const Zin::Ptr<Pseudowire::VplsForwardingStatus> forwarding_;
    const Zin::Ptr<Pseudowire::PseudowireIntfIdMapping> interfaces_;
    std::map<Zin::String, std::unique_ptr<InstanceReactor>> instanceReactors_;
    std::map<GroupName, std::unique_ptr<GroupReactor>> groupReactors_;

    // --- What changed since the last update ---
    std::set<Zin::String> changedInstances_;
    std::set<std::pair<Zin::String, Bridging::VlanId>> changedVlans_;
    std::set<GroupName> changedGroups_;
    // Pseudowires that groups began or ceased to have.
    std::set<Pseudowire::PseudowireLdpKey> changedPseudowires_;

    // --- As of the last update ---
    Claims<Pseudowire::PseudowireLdpKey, GroupName> pseudowires_;
    // Also of pseudowires that are not configured yet.
    Claims<Zin::String, GroupName> names_;
    Numbers interfaceNumbers_;
    std::map<Pseudowire::PseudowireLdpKey, std::uint32_t> interfaceNumberOf_;
};

}  // namespace agent
