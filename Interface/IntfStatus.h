// IntfStatus is what the switch says of an interface of any kind. Types for a kind of interface
// derive from it; their attributes are numbered from 386 on.

#pragma once

#include <cstdint>
#include <tuple>

#include "Interface/InterfaceModule.h"
#include "Interface/IntfConfig.h"
#include "Interface/IntfTypes.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Interface {

class ZIN_EXPORT IntfStatus : public frame::EntityOf<IntfStatus, Vorn::IntfId> {
  public:
    struct Notifiee : frame::NotifieeOf<IntfStatus> {
        using NotifieeOf::NotifieeOf;
        virtual void onIntfConfig() {}
        virtual void onDeviceName() {}
        virtual void onForwardingModel() {}
        virtual void onMtu() {}
        virtual void onMaxMtu() {}
        virtual void onOperStatus() {}
        virtual void onOperStatusChange() {}
        virtual void onActive() {}
        virtual void onActiveStatusChanges() {}
    };

    static consteval auto schema() {
        using Status = IntfStatus;
        using frame::attribute;
        return frame::entity<_Interface_zinModule, 2>(
            "Interface::IntfStatus",
            frame::constructorParameter<258, &Status::entityKey_>("intfId"),
            frame::reference<259, &Status::intfConfig_, &Notifiee::onIntfConfig>("intfConfig"),
            attribute<261, &Status::deviceName_, &Notifiee::onDeviceName>("deviceName"),
            attribute<262, &Status::forwardingModel_, &Notifiee::onForwardingModel>(
                "forwardingModel"),
            attribute<263, &Status::mtu_, &Notifiee::onMtu>("mtu"),
            attribute<264, &Status::maxMtu_, &Notifiee::onMaxMtu>("maxMtu"),
            attribute<265, &Status::operStatus_, &Notifiee::onOperStatus>("operStatus"),
            attribute<266, &Status::operStatusChange_, &Notifiee::onOperStatusChange>(
                "operStatusChange"),
            frame::constructorParameter<267, &Status::genId_>("genId"),
            attribute<273, &Status::active_, &Notifiee::onActive>("active"),
            attribute<274, &Status::activeStatusChanges_, &Notifiee::onActiveStatusChanges>(
                "activeStatusChanges"));
    }
    using ConstructorArguments = std::tuple<Vorn::IntfId, std::uint32_t>;
    static constexpr frame::AttributeId constructorAttributeIds[] = {258, 267};
    ConstructorArguments constructorArguments() const { return {intfId(), genId_}; }

    const Vorn::IntfId& intfId() const { return entityKey(); }
    // Tells an interface from an earlier one of the same id.
    std::uint32_t genId() const { return genId_; }

    // Null when none is attached.
    const Zin::Ptr<IntfConfig>& intfConfig() const { return intfConfig_; }
    void intfConfigIs(const Zin::Ptr<IntfConfig>& config) {
        valueIs<&IntfStatus::intfConfig_>(config);
    }
    // The name under which the operating system knows it.
    const Zin::String& deviceName() const { return deviceName_; }
    void deviceNameIs(const Zin::String& name) { valueIs<&IntfStatus::deviceName_>(name); }
    ForwardingModel forwardingModel() const { return forwardingModel_; }
    void forwardingModelIs(ForwardingModel model) {
        valueIs<&IntfStatus::forwardingModel_>(model);
    }
    // In bytes; the largest that the interface can be given below.
    std::uint32_t mtu() const { return mtu_; }
    void mtuIs(std::uint32_t bytes) { valueIs<&IntfStatus::mtu_>(bytes); }
    std::uint32_t maxMtu() const { return maxMtu_; }
    void maxMtuIs(std::uint32_t bytes) { valueIs<&IntfStatus::maxMtu_>(bytes); }
    OperStatus operStatus() const { return operStatus_; }
    void operStatusIs(OperStatus status) { valueIs<&IntfStatus::operStatus_>(status); }
    const OperStatusChange& operStatusChange() const { return operStatusChange_; }
    void operStatusChangeIs(const OperStatusChange& change) {
        valueIs<&IntfStatus::operStatusChange_>(change);
    }
    // Whether the interface is in use, and how often that has changed.
    bool active() const { return active_; }
    void activeIs(bool active) { valueIs<&IntfStatus::active_>(active); }
    std::uint32_t activeStatusChanges() const { return activeStatusChanges_; }
    void activeStatusChangesIs(std::uint32_t changes) {
        valueIs<&IntfStatus::activeStatusChanges_>(changes);
    }

    IntfStatus(frame::Construct construct, const Vorn::IntfId& intfId, std::uint32_t genId)
        : IntfStatus(construct, intfId, {}, genId) {}
    IntfStatus(
        frame::Construct construct,
        const Vorn::IntfId& intfId,
        const Zin::Ptr<IntfConfig>& intfConfig,
        std::uint32_t genId)
        : EntityOf(construct, intfId), intfConfig_(intfConfig), genId_(genId) {}

  private:
    Zin::Ptr<IntfConfig> intfConfig_;
    Zin::String deviceName_;
    ForwardingModel forwardingModel_ = ForwardingModel::unset;
    std::uint32_t mtu_ = 0;
    std::uint32_t maxMtu_ = 0;
    OperStatus operStatus_ = OperStatus::unknown;
    OperStatusChange operStatusChange_;
    std::uint32_t genId_;
    bool active_ = false;
    std::uint32_t activeStatusChanges_ = 0;
};

}  // namespace Interface
