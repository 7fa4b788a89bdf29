#include "Pseudowire/PseudowireOxoTypes.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PseudowireOxoTypes_e3fae1e4_zinModule =
    frame::moduleOf<OxoPw::UnprogrammedReason, OxoPw::PwHwStatus>("PseudowireOxoTypes");

namespace OxoPw {

namespace {

const Zin::ModuleRegistration registration(&_PseudowireOxoTypes_e3fae1e4_zinModule);

}  // namespace

Zin::EnumType UnprogrammedReasonInstance(std::uint32_t number) {
    return Zin::EnumType::instance<UnprogrammedReason>(number);
}

Zin::EnumType UnprogrammedReasonInstance(const Zin::String& name) {
    return Zin::EnumType::instance<UnprogrammedReason>(name);
}

Zin::Ptr<PwHwStatus> PwHwStatus::PwHwStatusIs(const Zin::String& name) {
    return frame::make<PwHwStatus>(name);
}

Zin::Ptr<PwHwStatus> pwHwStatusFactory(const Zin::String& name) {
    return PwHwStatus::PwHwStatusIs(name);
}

}  // namespace OxoPw
