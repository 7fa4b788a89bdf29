#include "Pseudowire/VplsEthIntfStatus.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _VplsEthIntfStatus_ed047fa0_zinModule =
    frame::moduleOf<Pseudowire::VplsEthIntfStatus, Pseudowire::VplsEthIntfStatusDir>(
        "VplsEthIntfStatus");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_VplsEthIntfStatus_ed047fa0_zinModule);

}  // namespace

Zin::Ptr<VplsEthIntfStatus> VplsEthIntfStatus::VplsEthIntfStatusIs(
    Vorn::IntfId intfId,
    std::uint32_t genId) {
    return frame::make<VplsEthIntfStatus>(intfId, genId);
}

Zin::Ptr<VplsEthIntfStatusDir> VplsEthIntfStatusDir::VplsEthIntfStatusDirIs(
    const Zin::String& name) {
    return frame::make<VplsEthIntfStatusDir>(name);
}

Zin::Ptr<VplsEthIntfStatus> vplsEthIntfStatusFactory(Vorn::IntfId intfId, std::uint32_t genId) {
    return VplsEthIntfStatus::VplsEthIntfStatusIs(intfId, genId);
}

Zin::Ptr<VplsEthIntfStatusDir> vplsEthIntfStatusDirFactory(const Zin::String& name) {
    return VplsEthIntfStatusDir::VplsEthIntfStatusDirIs(name);
}

}  // namespace Pseudowire
