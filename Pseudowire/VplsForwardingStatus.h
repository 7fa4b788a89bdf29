// VplsForwardingStatus is the resolved forwarding state of VPLS (RFC 4762): the VLANs that each
// instance bridges, and the interface, labels and tunnel of each pseudowire. It has the shape
// of VplsConfig, in hashed collections.
//
//     VplsForwardingStatus
//       VplsForwardingStatusInstance             by name
//         VplsForwardingStatusVlan               by VLAN id
//         VplsForwardingStatusPseudowireGroup    by name
//           VplsForwardingStatusPseudowire       by interface

#pragma once

#include <cstdint>

#include "Bridging/VlanId.h"
#include "Pseudowire/Strep.h"
#include "Quib/DumpContext.h"
#include "Quib/Tristate.h"
#include "Tunnel/TunnelTable/TunnelId.h"
#include "Vorn/IntfId.h"
#include "Vorn/MplsLabel.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/Value.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _VplsForwardingStatus_706b8ee4_zinModule;

namespace Pseudowire {

// A pseudowire as the hardware needs it. On the attribute log 25 bytes.
class VplsForwardingStatusPseudowire : public Zin::Value<VplsForwardingStatusPseudowire> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        using Value = VplsForwardingStatusPseudowire;
        return describe::value(
            "Pseudowire::VplsForwardingStatusPseudowire",
            describe::field<&Value::intfId_>("intfId"),
            describe::field<&Value::decapLabel_>("decapLabel"),
            describe::field<&Value::encapLabel_>("encapLabel"),
            describe::field<&Value::encapTunnel_>("encapTunnel"),
            describe::field<&Value::controlWord_>("controlWord"),
            describe::function<&Value::toStrep>("toStrep"));
    }

    VplsForwardingStatusPseudowire() = default;
    VplsForwardingStatusPseudowire(
        Vorn::IntfId intfId,
        Vorn::MplsLabel decapLabel,
        Vorn::MplsLabel encapLabel,
        Tunnel::TunnelTable::TunnelId encapTunnel,
        bool controlWord)
        : intfId_(intfId),
          decapLabel_(decapLabel),
          encapLabel_(encapLabel),
          encapTunnel_(encapTunnel),
          controlWord_(controlWord) {}
    explicit VplsForwardingStatusPseudowire(Zin::NboAttrLog::In& in)
        : VplsForwardingStatusPseudowire(in.next<VplsForwardingStatusPseudowire>()) {}
    VplsForwardingStatusPseudowire(
        Zin::String::IteratorConst& it,
        const Zin::String::IteratorConst& end)
        : VplsForwardingStatusPseudowire(Zin::parsed<VplsForwardingStatusPseudowire>(it, end)) {
    }

    const Vorn::IntfId& intfId() const { return intfId_; }
    void intfIdIs(Vorn::IntfId intfId) { intfId_ = intfId; }
    // The label that frames arrive with, and the one that they are sent with.
    Vorn::MplsLabel decapLabel() const { return decapLabel_; }
    void decapLabelIs(Vorn::MplsLabel label) { decapLabel_ = label; }
    Vorn::MplsLabel encapLabel() const { return encapLabel_; }
    void encapLabelIs(Vorn::MplsLabel label) { encapLabel_ = label; }
    // What carries frames to the other end.
    Tunnel::TunnelTable::TunnelId encapTunnel() const { return encapTunnel_; }
    void encapTunnelIs(Tunnel::TunnelTable::TunnelId tunnel) { encapTunnel_ = tunnel; }
    // Whether a control word (RFC 4385) precedes the frame.
    bool controlWord() const { return controlWord_; }
    void controlWordIs(bool controlWord) { controlWord_ = controlWord; }

    // "<intfId=Pseudowire12;decapLabel=16;encapLabel=17;encapTunnel=ldp.7;controlWord=yes>".
    ZIN_EXPORT Zin::String toStrep() const;

  private:
    Vorn::IntfId intfId_;
    Vorn::MplsLabel decapLabel_;
    Vorn::MplsLabel encapLabel_;
    Tunnel::TunnelTable::TunnelId encapTunnel_;
    bool controlWord_ = false;
};

// A VLAN that an instance bridges.
class VplsForwardingStatusVlan : public Zin::Value<VplsForwardingStatusVlan> {
  public:
    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::VplsForwardingStatusVlan",
            describe::field<&VplsForwardingStatusVlan::vlanId_>("vlanId"),
            describe::field<&VplsForwardingStatusVlan::normalizedTag_>("normalizedTag"),
            describe::function<&VplsForwardingStatusVlan::toStrep>("toStrep"));
    }

    VplsForwardingStatusVlan() = default;
    VplsForwardingStatusVlan(Bridging::VlanId vlanId, Quib::TristateU16 normalizedTag)
        : vlanId_(vlanId), normalizedTag_(normalizedTag) {}
    explicit VplsForwardingStatusVlan(Zin::NboAttrLog::In& in)
        : VplsForwardingStatusVlan(in.next<VplsForwardingStatusVlan>()) {}
    VplsForwardingStatusVlan(
        Zin::String::IteratorConst& it,
        const Zin::String::IteratorConst& end)
        : VplsForwardingStatusVlan(Zin::parsed<VplsForwardingStatusVlan>(it, end)) {}

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
class ZIN_EXPORT VplsForwardingStatusPseudowireGroup final
    : public frame::EntityOf<VplsForwardingStatusPseudowireGroup> {
  public:
    struct PseudowireKeyFunktor {
        const Vorn::IntfId& operator()(const VplsForwardingStatusPseudowire& pseudowire) const {
            return pseudowire.intfId();
        }
    };
    struct ZinPseudowire : Zin::HashMap2018NodeInternalKey<
                               false,
                               0x77dc4c85,
                               Vorn::IntfId,
                               VplsForwardingStatusPseudowire,
                               PseudowireKeyFunktor,
                               false> {};
    using PseudowireMap =
        Zin::HashMap2018<ZinPseudowire, Vorn::IntfId, VplsForwardingStatusPseudowire>;

    struct Notifiee : frame::NotifieeOf<VplsForwardingStatusPseudowireGroup> {
        using NotifieeOf::NotifieeOf;
        virtual void onPseudowire(const Vorn::IntfId& /*intfId*/) {}
    };

    static consteval auto schema() {
        using Group = VplsForwardingStatusPseudowireGroup;
        return frame::entity<_VplsForwardingStatus_706b8ee4_zinModule, 2>(
            "Pseudowire::VplsForwardingStatusPseudowireGroup",
            frame::constructorParameter<258, &Group::splitHorizon_>("splitHorizon"),
            frame::attribute<259, &Group::pseudowire_, &Notifiee::onPseudowire>("pseudowire"),
            frame::function<260, &Group::dumpState>("dumpState"));
    }
    using ConstructorArguments = std::tuple<Zin::String, bool>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {0, 258};
    ConstructorArguments constructorArguments() const { return {entityKey(), splitHorizon_}; }

    static Zin::Ptr<VplsForwardingStatusPseudowireGroup> VplsForwardingStatusPseudowireGroupIs(
        const Zin::String& name,
        bool splitHorizon);

    bool splitHorizon() const { return splitHorizon_; }

    const PseudowireMap& pseudowire() const { return pseudowire_; }
    // A default value when there is none.
    VplsForwardingStatusPseudowire pseudowire(Vorn::IntfId intfId) const {
        return memberOf<&VplsForwardingStatusPseudowireGroup::pseudowire_>(intfId);
    }
    void pseudowireIs(const VplsForwardingStatusPseudowire& pseudowire) {
        memberIs<&VplsForwardingStatusPseudowireGroup::pseudowire_>(pseudowire);
    }
    VplsForwardingStatusPseudowire pseudowireDel(Vorn::IntfId intfId) {
        return memberDel<&VplsForwardingStatusPseudowireGroup::pseudowire_>(intfId);
    }
    void pseudowireDelAll() {
        membersDelAll<&VplsForwardingStatusPseudowireGroup::pseudowire_>();
    }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    VplsForwardingStatusPseudowireGroup(
        frame::Construct construct,
        const Zin::String& name,
        bool splitHorizon)
        : EntityOf(construct, name), splitHorizon_(splitHorizon) {}

  private:
    bool splitHorizon_;
    PseudowireMap pseudowire_;
};

// One bridged network.
class ZIN_EXPORT VplsForwardingStatusInstance final
    : public frame::EntityOf<VplsForwardingStatusInstance> {
  public:
    struct VlanKeyFunktor {
        const Bridging::VlanId& operator()(const VplsForwardingStatusVlan& vlan) const {
            return vlan.vlanId();
        }
    };
    struct PseudowireGroupKeyFunktor {
        const Zin::String& operator()(
            const Zin::Ptr<VplsForwardingStatusPseudowireGroup>& group) const {
            return group->entityKey();
        }
    };
    struct ZinVlan : Zin::HashMap2018NodeInternalKey<
                         false,
                         0xbf24d3c6,
                         Bridging::VlanId,
                         VplsForwardingStatusVlan,
                         VlanKeyFunktor,
                         false> {};
    struct ZinPseudowireGroup : Zin::HashMap2018NodeInternalKey<
                                    false,
                                    0x90825aa8,
                                    Zin::String,
                                    Zin::Ptr<VplsForwardingStatusPseudowireGroup>,
                                    PseudowireGroupKeyFunktor,
                                    false> {};
    using VlanMap = Zin::HashMap2018<ZinVlan, Bridging::VlanId, VplsForwardingStatusVlan>;
    using PseudowireGroupMap = Zin::HashMap2018<
        ZinPseudowireGroup,
        Zin::String,
        Zin::Ptr<VplsForwardingStatusPseudowireGroup>>;

    struct Notifiee : frame::NotifieeOf<VplsForwardingStatusInstance> {
        using NotifieeOf::NotifieeOf;
        virtual void onVlan(const Bridging::VlanId& /*vlanId*/) {}
        virtual void onPseudowireGroup(const Zin::String& /*name*/) {}
    };

    static consteval auto schema() {
        using Instance = VplsForwardingStatusInstance;
        return frame::entity<_VplsForwardingStatus_706b8ee4_zinModule, 3>(
            "Pseudowire::VplsForwardingStatusInstance",
            frame::attribute<258, &Instance::vlan_, &Notifiee::onVlan>("vlan"),
            frame::attribute<259, &Instance::pseudowireGroup_, &Notifiee::onPseudowireGroup>(
                "pseudowireGroup"),
            frame::function<260, &Instance::dumpState>("dumpState"));
    }

    static Zin::Ptr<VplsForwardingStatusInstance> VplsForwardingStatusInstanceIs(
        const Zin::String& name);

    // The bridged VLANs.
    const VlanMap& vlan() const { return vlan_; }
    // A default value when the VLAN is not bridged.
    VplsForwardingStatusVlan vlan(Bridging::VlanId vlanId) const {
        return memberOf<&VplsForwardingStatusInstance::vlan_>(vlanId);
    }
    void vlanIs(const VplsForwardingStatusVlan& vlan) {
        memberIs<&VplsForwardingStatusInstance::vlan_>(vlan);
    }
    VplsForwardingStatusVlan vlanDel(Bridging::VlanId vlanId) {
        return memberDel<&VplsForwardingStatusInstance::vlan_>(vlanId);
    }
    void vlanDelAll() { membersDelAll<&VplsForwardingStatusInstance::vlan_>(); }

    const PseudowireGroupMap& pseudowireGroup() const { return pseudowireGroup_; }
    // Null when there is none.
    Zin::Ptr<VplsForwardingStatusPseudowireGroup> pseudowireGroup(
        const Zin::String& name) const {
        return frame::childIn(pseudowireGroup_, name);
    }
    // The group of that name, made when there is none. Throws
    // Zin::MutatorReinstantiatingException when there is one with the other splitHorizon.
    Zin::Ptr<VplsForwardingStatusPseudowireGroup> pseudowireGroupIs(
        const Zin::String& name,
        bool splitHorizon) {
        return childIs<&VplsForwardingStatusInstance::pseudowireGroup_>(name, splitHorizon);
    }
    Zin::Ptr<VplsForwardingStatusPseudowireGroup> pseudowireGroupDel(const Zin::String& name) {
        return childDel<&VplsForwardingStatusInstance::pseudowireGroup_>(name);
    }
    void pseudowireGroupDelAll() {
        childrenDelAll<&VplsForwardingStatusInstance::pseudowireGroup_>();
    }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    VplsForwardingStatusInstance(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    VlanMap vlan_;
    PseudowireGroupMap pseudowireGroup_;
};

class ZIN_EXPORT VplsForwardingStatus final : public frame::EntityOf<VplsForwardingStatus> {
  public:
    struct InstanceKeyFunktor {
        const Zin::String& operator()(
            const Zin::Ptr<VplsForwardingStatusInstance>& instance) const {
            return instance->entityKey();
        }
    };
    struct ZinInstance : Zin::HashMap2018NodeInternalKey<
                             false,
                             0x274d89c9,
                             Zin::String,
                             Zin::Ptr<VplsForwardingStatusInstance>,
                             InstanceKeyFunktor,
                             false> {};
    using InstanceMap =
        Zin::HashMap2018<ZinInstance, Zin::String, Zin::Ptr<VplsForwardingStatusInstance>>;

    struct Notifiee : frame::NotifieeOf<VplsForwardingStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onInstance(const Zin::String& /*name*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_VplsForwardingStatus_706b8ee4_zinModule, 4>(
            "Pseudowire::VplsForwardingStatus",
            frame::attribute<258, &VplsForwardingStatus::instance_, &Notifiee::onInstance>(
                "instance"),
            frame::function<259, &VplsForwardingStatus::dumpState>("dumpState"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<VplsForwardingStatus> VplsForwardingStatusIs(const Zin::String& name);

    const InstanceMap& instance() const { return instance_; }
    // Null when there is none.
    Zin::Ptr<VplsForwardingStatusInstance> instance(const Zin::String& name) const {
        return frame::childIn(instance_, name);
    }
    // The instance of that name, made when there is none.
    Zin::Ptr<VplsForwardingStatusInstance> instanceIs(const Zin::String& name) {
        return childIs<&VplsForwardingStatus::instance_>(name);
    }
    Zin::Ptr<VplsForwardingStatusInstance> instanceDel(const Zin::String& name) {
        return childDel<&VplsForwardingStatus::instance_>(name);
    }
    void instanceDelAll() { childrenDelAll<&VplsForwardingStatus::instance_>(); }

    void dumpState(const Quib::DumpContextPtr& context, unsigned indent) const;

    VplsForwardingStatus(frame::Construct construct, const Zin::String& name)
        : EntityOf(construct, name) {}

  private:
    InstanceMap instance_;
};

ZIN_EXPORT Zin::Ptr<VplsForwardingStatus> vplsForwardingStatusFactory(const Zin::String& name);
ZIN_EXPORT Zin::Ptr<VplsForwardingStatusInstance> vplsForwardingStatusInstanceFactory(
    const Zin::String& name);
ZIN_EXPORT Zin::Ptr<VplsForwardingStatusPseudowireGroup>
vplsForwardingStatusPseudowireGroupFactory(const Zin::String& name, bool splitHorizon);

}  // namespace Pseudowire
