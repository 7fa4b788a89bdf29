// What an administrator says about an interface. Status refers to it; who owns it is a matter
// of the process that holds both.

#pragma once

#include "Interface/InterfaceModule.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

namespace Interface {

class ZIN_EXPORT IntfConfig : public frame::EntityOf<IntfConfig, Vorn::IntfId> {
  public:
    struct Notifiee : frame::NotifieeOf<IntfConfig> {
        using NotifieeOf::NotifieeOf;
        virtual void onEnabled() {}
        virtual void onDescription() {}
    };

    static consteval auto schema() {
        return frame::entity<_Interface_zinModule, 0>(
            "Interface::IntfConfig",
            frame::constructorParameter<258, &IntfConfig::entityKey_>("intfId"),
            frame::attribute<259, &IntfConfig::enabled_, &Notifiee::onEnabled>("enabled"),
            frame::attribute<260, &IntfConfig::description_, &Notifiee::onDescription>(
                "description"));
    }
    static constexpr frame::AttributeId constructorAttributeIds[] = {258};

    Vorn::IntfId intfId() const { return entityKey(); }

    // ifAdminStatus of RFC 2863: whether the interface may pass packets.
    bool enabled() const { return enabled_; }
    void enabledIs(bool enabled) { valueIs<&IntfConfig::enabled_>(enabled); }

    // ifAlias of RFC 2863: what people call the interface.
    const Zin::String& description() const { return description_; }
    void descriptionIs(const Zin::String& text) { valueIs<&IntfConfig::description_>(text); }

    IntfConfig(frame::Construct construct, const Vorn::IntfId& intfId)
        : EntityOf(construct, intfId) {}

  private:
    bool enabled_ = true;
    Zin::String description_;
};

// The configuration of an Ethernet interface, which adds nothing to that of any.
class ZIN_EXPORT EthIntfConfig : public frame::DerivedOf<EthIntfConfig, IntfConfig> {
  public:
    struct Notifiee : frame::NotifieeOf<EthIntfConfig, IntfConfig> {
        using NotifieeOf::NotifieeOf;
    };

    static consteval auto schema() {
        return frame::entity<_Interface_zinModule, 1>("Interface::EthIntfConfig");
    }

    static Zin::Ptr<EthIntfConfig> EthIntfConfigIs(Vorn::IntfId intfId);

    EthIntfConfig(frame::Construct construct, const Vorn::IntfId& intfId)
        : DerivedOf(construct, intfId) {}
};

}  // namespace Interface
