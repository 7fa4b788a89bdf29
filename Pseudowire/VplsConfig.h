// VplsConfig is the configuration of VPLS (RFC 4762): instances, the VLANs that each bridges,
// and its pseudowires in groups. All collections are ordered.
//
//     VplsConfig
//       VplsInstanceConfig               by name
//         VplsVlanConfig                 by VLAN id
//         VplsLdpPseudowireGroupConfig   by name
//           VplsLdpPseudowireConfig      by name

#pragma once

#include <cstdint>
#include <utility>

#include "Bridging/VlanId.h"
#include "Pseudowire/Strep.h"
#include "Quib/DumpContext.h"
#include "Quib/Tristate.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/Module.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/RbTreeMap.h"
#include "Zin/Value.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _VplsConfig_fdabf9f1_zinModule;

namespace Pseudowire {

// One pseudowire of a group. On the attribute log 7 bytes more than its name.
class VplsLdpPseudowireConfig : public Zin::Value<VplsLdpPseudowireConfig> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::VplsLdpPseudowireConfig",
            describe::field<&VplsLdpPseudowireConfig::name_>("name"),
            describe::field<&VplsLdpPseudowireConfig::secondary_>("secondary"),
            describe::field<&VplsLdpPseudowireConfig::precedence_>("precedence"),
            describe::function<&VplsLdpPseudowireConfig::toStrep>("toStrep"));
    }

    VplsLdpPseudowireConfig() = default;
    VplsLdpPseudowireConfig(Zin::String name, bool secondary, std::uint16_t precedence)
        : name_(std::move(name)), secondary_(secondary), precedence_(precedence) {}
    explicit VplsLdpPseudowireConfig(Zin::NboAttrLog::In& in)
        : VplsLdpPseudowireConfig(in.next<VplsLdpPseudowireConfig>()) {}
    VplsLdpPseudowireConfig(
        Zin::String::IteratorConst& it,
        const Zin::String::IteratorConst& end)
        : VplsLdpPseudowireConfig(Zin::parsed<VplsLdpPseudowireConfig>(it, end)) {}

    const Zin::String& name() const { return name_; }
    void nameIs(Zin::String name) { name_ = std::move(name); }
    // Whether it stands by for a primary one (RFC 6718).
    bool secondary() const { return secondary_; }
    void secondaryIs(bool secondary) { secondary_ = secondary; }
    // Among those that stand by; the lowest is preferred.
    std::uint16_t precedence() const { return precedence_; }
    void precedenceIs(std::uint16_t precedence) { precedence_ = precedence; }

    // "<name=pw1;secondary=yes;precedence=10>".
    ZIN_EXPORT Zin::String toStrep() const;

  private:
    Zin::String name_;
    bool secondary_ = false;
    std::uint16_t precedence_ = 0;
};

// A VLAN that an instance bridges.
class VplsVlanConfig : public Zin::Value<VplsVlanConfig> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::VplsVlanConfig",
            describe::field<&VplsVlanConfig::vlanId_>("vlanId"),
            describe::field<&VplsVlanConfig::normalizedTag_>("normalizedTag"),
            describe::function<&VplsVlanConfig::toStrep>("toStrep"));
    }

    VplsVlanConfig() = default;
    VplsVlanConfig(Bridging::VlanId vlanId, Quib::TristateU16 normalizedTag)
        : vlanId_(vlanId), normalizedTag_(normalizedTag) {}
    explicit VplsVlanConfig(Zin::NboAttrLog::In& in)
        : VplsVlanConfig(in.next<VplsVlanConfig>()) {}
    VplsVlanConfig(Zin::String::IteratorConst& it, const Zin::String::IteratorConst& end)
        : VplsVlanConfig(Zin::parsed<VplsVlanConfig>(it, end)) {}

    const Bridging::VlanId& vlanId() const { return vlanId_; }
    void vlanIdIs(Bridging::VlanId vlanId) { vlanId_ = vlanId; }
    // The tag that frames of the VLAN carry on the pseudowires, where it is another one.
    Quib::TristateU16 normalizedTag() const { return normalizedTag_; }
    void normalizedTagIs(Quib::TristateU16 tag) { normalizedTag_ = tag; }

    // "<vlanId=100;normalizedTag=unset>".
    ZIN_EXPORT Zin::String toStrep() const;

  private:
    Bridging::VlanId vlanId_;
    Quib::TristateU16 normalizedTag_;
};

// Pseudowires that treat each other alike: with split horizon no frame goes from one of them to
// another (RFC 4762, section 4.4).
class ZIN_EXPORT VplsLdpPseudowireGroupConfig final
    : public frame::EntityOf<VplsLdpPseudowireGroupConfig>,
      public Zin::RbTreeNode {
  public:
    // Which withdrawals of MAC addresses (RFC 4762, section 6.2) are sent to the group.
    enum class MacWithdrawalPropagation : std::uint8_t {
        locallyTriggered,
        locallyTriggeredAndReceived,
        suppress,
    };

    struct PseudowireKeyFunktor {
        const Zin::String& operator()(const VplsLdpPseudowireConfig& pseudowire) const {
            return pseudowire.name();
        }
    };
    struct ZinPseudowire : Zin::RbTreeMapNodeInternalKey<
                               Zin::String,
                               VplsLdpPseudowireConfig,
                               PseudowireKeyFunktor> {};
    using PseudowireMap = Zin::RbTreeMap<ZinPseudowire, Zin::String, VplsLdpPseudowireConfig>;

    struct Notifiee : frame::NotifieeOf<VplsLdpPseudowireGroupConfig> {
        using NotifieeOf::NotifieeOf;
        virtual void onPseudowire(const Zin::String& /*name*/) {}
        virtual void onPseudowireBgpAutoDiscoveryProfile() {}
        virtual void onMacWithdrawalTriggerPseudowire() {}
        virtual void onMacWithdrawalPropagation() {}
    };

    static consteval auto schema() {
        using Group = VplsLdpPseudowireGroupConfig;
        using frame::attribute;
        return frame::entity<_VplsConfig_fdabf9f1_zinModule, 3>(
            "Pseudowire::VplsLdpPseudowireGroupConfig",
            frame::constructorParameter<258, &Group::splitHorizon_>("splitHorizon"),
            attribute<259, &Group::pseudowire_, &Notifiee::onPseudowire>("pseudowire"),
            attribute<
                260,
                &Group::pseudowireBgpAutoDiscoveryProfile_,
                &Notifiee::onPseudowireBgpAutoDiscoveryProfile>(
                "pseudowireBgpAutoDiscoveryProfile"),
            attribute<
                261,
                &Group::macWithdrawalTriggerPseudowire_,
                &Notifiee::onMacWithdrawalTriggerPseudowire>("macWithdrawalTriggerPseudowire"),
            attribute<
                262,
                &Group::macWithdrawalPropagation_,
                &Notifiee::onMacWithdrawalPropagation>("macWithdrawalPropagation"),
            frame::function<263, &Group::dumpState>("dumpState"));
    }
    using ConstructorArguments = std::tuple<Zin::String, bool>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {0, 258};
    ConstructorArguments constructorArguments() const { return {entityKey(), splitHorizon_}; }

    static Zin::Ptr<VplsLdpPseudowireGroupConfig> VplsLdpPseudowireGroupConfigIs(
        const Zin::String& name,
        bool splitHorizon);

    bool splitHorizon() const { return splitHorizon_; }

    // In the order of their names.
    const PseudowireMap& pseudowire() const { return pseudowire_; }
    // A default value when there is none.
    VplsLdpPseudowireConfig pseudowire(const Zin::String& name) const {
        return memberOf<&VplsLdpPseudowireGroupConfig::pseudowire_>(name);
    }
    void pseudowireIs(const VplsLdpPseudowireConfig& pseudowire) {
        memberIs<&VplsLdpPseudowireGroupConfig::pseudowire_>(pseudowire);
    }
    VplsLdpPseudowireConfig pseudowireDel(const Zin::String& name) {
        return memberDel<&VplsLdpPseudowireGroupConfig::pseudowire_>(name);
    }
    VplsLdpPseudowireConfig pseudowireDel(const PseudowireMap::IteratorConst& at) {
        return memberDel<&VplsLdpPseudowireGroupConfig::pseudowire_>(at);
    }
    void pseudowireDelAll() { membersDelAll<&VplsLdpPseudowireGroupConfig::pseudowire_>(); }

    // The profile under which BGP finds peers (RFC 6074); empty for none.
    const Zin::String& pseudowireBgpAutoDiscoveryProfile() const {
        return pseudowireBgpAutoDiscoveryProfile_;
    }
    void pseudowireBgpAutoDiscoveryProfileIs(const Zin::String& profile) {
        valueIs<&VplsLdpPseudowireGroupConfig::pseudowireBgpAutoDiscoveryProfile_>(profile);
    }
    // Whether addresses are withdrawn when a pseudowire of the group goes down.
    bool macWithdrawalTriggerPseudowire() const { return macWithdrawalTriggerPseudowire_; }
    void macWithdrawalTriggerPseudowireIs(bool trigger) {
        valueIs<&VplsLdpPseudowireGroupConfig::macWithdrawalTriggerPseudowire_>(trigger);
    }
    MacWithdrawalPropagation macWithdrawalPropagation() const {
        return macWithdrawalPropagation_;
    }
    void macWithdrawalPropagationIs(MacWithdrawalPropagation propagation) {
        valueIs<&VplsLdpPseudowireGroupConfig::macWithdrawalPropagation_>(propagation);
    }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    VplsLdpPseudowireGroupConfig(
        frame::Construct construct,
        const Zin::String& name,
        bool splitHorizon)
        : EntityOf(construct, name), splitHorizon_(splitHorizon) {}

  private:
    bool splitHorizon_;
    PseudowireMap pseudowire_;
    Zin::String pseudowireBgpAutoDiscoveryProfile_;
    bool macWithdrawalTriggerPseudowire_ = false;
    MacWithdrawalPropagation macWithdrawalPropagation_{};
};

consteval auto enumeration(VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation) {
    using enum VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation;
    return describe::enumerators<VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation>(
        "Pseudowire::VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation",
        {{locallyTriggered, "locallyTriggered"},
         {locallyTriggeredAndReceived, "locallyTriggeredAndReceived"},
         {suppress, "suppress"}});
}

// The enumerator of that number, or of that name; throws Zin::RangeException when there is
// none.
ZIN_EXPORT Zin::EnumType MacWithdrawalPropagationInstance(std::uint32_t number);
ZIN_EXPORT Zin::EnumType MacWithdrawalPropagationInstance(const Zin::String& name);

// One bridged network.
class ZIN_EXPORT VplsInstanceConfig final : public frame::EntityOf<VplsInstanceConfig>,
                                            public Zin::RbTreeNode {
  public:
    struct VlanKeyFunktor {
        const Bridging::VlanId& operator()(const VplsVlanConfig& vlan) const {
            return vlan.vlanId();
        }
    };
    struct LdpPseudowireGroupKeyFunktor {
        const Zin::String& operator()(const VplsLdpPseudowireGroupConfig& group) const {
            return group.entityKey();
        }
    };
    struct ZinVlan
        : Zin::RbTreeMapNodeInternalKey<Bridging::VlanId, VplsVlanConfig, VlanKeyFunktor> {};
    struct ZinLdpPseudowireGroup : Zin::RbTreeMapNodeEntity<
                                       Zin::String,
                                       VplsLdpPseudowireGroupConfig,
                                       LdpPseudowireGroupKeyFunktor> {};
    using VlanMap = Zin::RbTreeMap<ZinVlan, Bridging::VlanId, VplsVlanConfig>;
    using LdpPseudowireGroupMap =
        Zin::RbTreeMap<ZinLdpPseudowireGroup, Zin::String, VplsLdpPseudowireGroupConfig>;

    struct Notifiee : frame::NotifieeOf<VplsInstanceConfig> {
        using NotifieeOf::NotifieeOf;
        virtual void onVlan(const Bridging::VlanId& /*vlanId*/) {}
        virtual void onVlanBundleStrForCliSave() {}
        virtual void onNormalizedTagStrForCliSave() {}
        virtual void onLdpPseudowireGroup(const Zin::String& /*name*/) {}
        virtual void onMacWithdrawalTriggerInterface() {}
    };

    static consteval auto schema() {
        using Instance = VplsInstanceConfig;
        using frame::attribute;
        return frame::entity<_VplsConfig_fdabf9f1_zinModule, 4>(
            "Pseudowire::VplsInstanceConfig",
            attribute<258, &Instance::vlan_, &Notifiee::onVlan>("vlan"),
            attribute<
                259,
                &Instance::vlanBundleStrForCliSave_,
                &Notifiee::onVlanBundleStrForCliSave>("vlanBundleStrForCliSave"),
            attribute<
                260,
                &Instance::normalizedTagStrForCliSave_,
                &Notifiee::onNormalizedTagStrForCliSave>("normalizedTagStrForCliSave"),
            attribute<261, &Instance::ldpPseudowireGroup_, &Notifiee::onLdpPseudowireGroup>(
                "ldpPseudowireGroup"),
            attribute<
                262,
                &Instance::macWithdrawalTriggerInterface_,
                &Notifiee::onMacWithdrawalTriggerInterface>("macWithdrawalTriggerInterface"),
            frame::function<263, &Instance::dumpState>("dumpState"));
    }

    static Zin::Ptr<VplsInstanceConfig> VplsInstanceConfigIs(const Zin::String& name);

    // The bridged VLANs, in the order of their ids.
    const VlanMap& vlan() const { return vlan_; }
    // A default value when the VLAN is not bridged.
    VplsVlanConfig vlan(Bridging::VlanId vlanId) const {
        return memberOf<&VplsInstanceConfig::vlan_>(vlanId);
    }
    void vlanIs(const VplsVlanConfig& vlan) { memberIs<&VplsInstanceConfig::vlan_>(vlan); }
    VplsVlanConfig vlanDel(Bridging::VlanId vlanId) {
        return memberDel<&VplsInstanceConfig::vlan_>(vlanId);
    }
    VplsVlanConfig vlanDel(const VlanMap::IteratorConst& at) {
        return memberDel<&VplsInstanceConfig::vlan_>(at);
    }
    void vlanDelAll() { membersDelAll<&VplsInstanceConfig::vlan_>(); }

    // As they were typed in, for whoever writes the configuration out again; not interpreted.
    const Zin::String& vlanBundleStrForCliSave() const { return vlanBundleStrForCliSave_; }
    void vlanBundleStrForCliSaveIs(const Zin::String& text) {
        valueIs<&VplsInstanceConfig::vlanBundleStrForCliSave_>(text);
    }
    const Zin::String& normalizedTagStrForCliSave() const {
        return normalizedTagStrForCliSave_;
    }
    void normalizedTagStrForCliSaveIs(const Zin::String& text) {
        valueIs<&VplsInstanceConfig::normalizedTagStrForCliSave_>(text);
    }

    // In the order of their names.
    const LdpPseudowireGroupMap& ldpPseudowireGroup() const { return ldpPseudowireGroup_; }
    // Null when there is none.
    Zin::Ptr<VplsLdpPseudowireGroupConfig> ldpPseudowireGroup(const Zin::String& name) const {
        return frame::childIn(ldpPseudowireGroup_, name);
    }
    // The group of that name, made when there is none. Throws
    // Zin::MutatorReinstantiatingException when there is one with the other splitHorizon.
    Zin::Ptr<VplsLdpPseudowireGroupConfig> ldpPseudowireGroupIs(
        const Zin::String& name,
        bool splitHorizon) {
        return childIs<&VplsInstanceConfig::ldpPseudowireGroup_>(name, splitHorizon);
    }
    Zin::Ptr<VplsLdpPseudowireGroupConfig> ldpPseudowireGroupDel(const Zin::String& name) {
        return childDel<&VplsInstanceConfig::ldpPseudowireGroup_>(name);
    }
    Zin::Ptr<VplsLdpPseudowireGroupConfig> ldpPseudowireGroupDel(
        const LdpPseudowireGroupMap::IteratorConst& at) {
        return childDel<&VplsInstanceConfig::ldpPseudowireGroup_>(at);
    }
    void ldpPseudowireGroupDelAll() {
        childrenDelAll<&VplsInstanceConfig::ldpPseudowireGroup_>();
    }

    // Whether addresses are withdrawn when an interface of the instance goes down.
    bool macWithdrawalTriggerInterface() const { return macWithdrawalTriggerInterface_; }
    void macWithdrawalTriggerInterfaceIs(bool trigger) {
        valueIs<&VplsInstanceConfig::macWithdrawalTriggerInterface_>(trigger);
    }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    VplsInstanceConfig(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    VlanMap vlan_;
    Zin::String vlanBundleStrForCliSave_;
    Zin::String normalizedTagStrForCliSave_;
    LdpPseudowireGroupMap ldpPseudowireGroup_;
    bool macWithdrawalTriggerInterface_ = false;
};

class ZIN_EXPORT VplsConfig final : public frame::EntityOf<VplsConfig> {
  public:
    struct InstanceKeyFunktor {
        const Zin::String& operator()(const VplsInstanceConfig& instance) const {
            return instance.entityKey();
        }
    };
    struct ZinInstance
        : Zin::RbTreeMapNodeEntity<Zin::String, VplsInstanceConfig, InstanceKeyFunktor> {};
    using InstanceMap = Zin::RbTreeMap<ZinInstance, Zin::String, VplsInstanceConfig>;

    struct Notifiee : frame::NotifieeOf<VplsConfig> {
        using NotifieeOf::NotifieeOf;
        virtual void onInstance(const Zin::String& /*name*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_VplsConfig_fdabf9f1_zinModule, 5>(
            "Pseudowire::VplsConfig",
            frame::attribute<258, &VplsConfig::instance_, &Notifiee::onInstance>("instance"),
            frame::function<259, &VplsConfig::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<VplsConfig> VplsConfigIs(const Zin::String& name);

    // In the order of their names.
    const InstanceMap& instance() const { return instance_; }
    // Null when there is none.
    Zin::Ptr<VplsInstanceConfig> instance(const Zin::String& name) const {
        return frame::childIn(instance_, name);
    }
    // The instance of that name, made when there is none.
    Zin::Ptr<VplsInstanceConfig> instanceIs(const Zin::String& name) {
        return childIs<&VplsConfig::instance_>(name);
    }
    Zin::Ptr<VplsInstanceConfig> instanceDel(const Zin::String& name) {
        return childDel<&VplsConfig::instance_>(name);
    }
    Zin::Ptr<VplsInstanceConfig> instanceDel(const InstanceMap::IteratorConst& at) {
        return childDel<&VplsConfig::instance_>(at);
    }
    void instanceDelAll() { childrenDelAll<&VplsConfig::instance_>(); }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    VplsConfig(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    InstanceMap instance_;
};

ZIN_EXPORT Zin::Ptr<VplsConfig> vplsConfigFactory(const Zin::String& name);
ZIN_EXPORT Zin::Ptr<VplsInstanceConfig> vplsInstanceConfigFactory(const Zin::String& name);
ZIN_EXPORT Zin::Ptr<VplsLdpPseudowireGroupConfig> vplsLdpPseudowireGroupConfigFactory(
    const Zin::String& name,
    bool splitHorizon);

}  // namespace Pseudowire
