// The status of the Ethernet interfaces of VPLS, in a directory of interface status like that
// of any other Ethernet interface.

#pragma once

#include <cstdint>

#include "Interface/EthIntfStatus.h"
#include "Interface/IntfStatusDir.h"
#include "Vorn/IntfId.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018.h"
#include "Zin/Module.h"
#include "frame/Entity.h"
#include "frame/Reactor.h"

extern ZIN_EXPORT const Zin::ZinModule _VplsEthIntfStatus_ed047fa0_zinModule;

namespace Pseudowire {

// Made without a configuration.
class ZIN_EXPORT VplsEthIntfStatus final
    : public frame::DerivedOf<VplsEthIntfStatus, Interface::EthIntfStatus> {
  public:
    struct Notifiee : frame::NotifieeOf<VplsEthIntfStatus, Interface::EthIntfStatus> {
        using NotifieeOf::NotifieeOf;
    };

    static consteval auto schema() {
        return frame::entity<_VplsEthIntfStatus_ed047fa0_zinModule, 0>(
            "Pseudowire::VplsEthIntfStatus");
    }

    static Zin::Ptr<VplsEthIntfStatus> VplsEthIntfStatusIs(
        Vorn::IntfId intfId,
        std::uint32_t genId);

    VplsEthIntfStatus(
        frame::Construct construct,
        const Vorn::IntfId& intfId,
        std::uint32_t genId)
        : DerivedOf(construct, intfId, Zin::Ptr<Interface::EthIntfConfig>(), genId) {}
};

class ZIN_EXPORT VplsEthIntfStatusDir final
    : public frame::DerivedOf<VplsEthIntfStatusDir, Interface::IntfStatusDir> {
  public:
    struct IntfStatusKeyFunktor {
        const Vorn::IntfId& operator()(const Zin::Ptr<VplsEthIntfStatus>& status) const {
            return status->intfId();
        }
    };
    struct ZinIntfStatus : Zin::HashMap2018NodeInternalKey<
                               false,
                               0xfaa7d531,
                               Vorn::IntfId,
                               Zin::Ptr<VplsEthIntfStatus>,
                               IntfStatusKeyFunktor,
                               false> {};
    using IntfStatusMap =
        Zin::HashMap2018<ZinIntfStatus, Vorn::IntfId, Zin::Ptr<VplsEthIntfStatus>>;

    struct Notifiee : frame::NotifieeOf<VplsEthIntfStatusDir, Interface::IntfStatusDir> {
        using NotifieeOf::NotifieeOf;
        virtual void onIntfStatus(const Vorn::IntfId& /*intfId*/) {}
    };

    static consteval auto schema() {
        return frame::entity<_VplsEthIntfStatus_ed047fa0_zinModule, 1>(
            "Pseudowire::VplsEthIntfStatusDir",
            frame::attribute<386, &VplsEthIntfStatusDir::intfStatus_, &Notifiee::onIntfStatus>(
                "intfStatus"));
    }
    static constexpr bool isRoot = true;

    static Zin::Ptr<VplsEthIntfStatusDir> VplsEthIntfStatusDirIs(const Zin::String& name);

    const IntfStatusMap& intfStatus() const { return intfStatus_; }
    // Null when there is none.
    Zin::Ptr<VplsEthIntfStatus> intfStatus(Vorn::IntfId intfId) const {
        return frame::childIn(intfStatus_, intfId);
    }
    // The status of that interface, made when there is none. Throws
    // Zin::MutatorReinstantiatingException when there is one with another genId.
    Zin::Ptr<VplsEthIntfStatus> intfStatusIs(Vorn::IntfId intfId, std::uint32_t genId) {
        return childIs<&VplsEthIntfStatusDir::intfStatus_>(intfId, genId);
    }
    Zin::Ptr<VplsEthIntfStatus> intfStatusDel(Vorn::IntfId intfId) {
        return childDel<&VplsEthIntfStatusDir::intfStatus_>(intfId);
    }
    void intfStatusDelAll() { childrenDelAll<&VplsEthIntfStatusDir::intfStatus_>(); }

    VplsEthIntfStatusDir(frame::Construct construct, const Zin::String& name)
        : DerivedOf(construct, name) {}

  private:
    IntfStatusMap intfStatus_;
};

ZIN_EXPORT Zin::Ptr<VplsEthIntfStatus> vplsEthIntfStatusFactory(
    Vorn::IntfId intfId,
    std::uint32_t genId);
ZIN_EXPORT Zin::Ptr<VplsEthIntfStatusDir> vplsEthIntfStatusDirFactory(const Zin::String& name);

}  // namespace Pseudowire
