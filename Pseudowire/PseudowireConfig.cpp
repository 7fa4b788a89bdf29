#include "Pseudowire/PseudowireConfig.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PseudowireConfig_4a3e203c_zinModule =
    frame::moduleOf<Pseudowire::GroupIdAllocation, Pseudowire::Config>("PseudowireConfig");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PseudowireConfig_4a3e203c_zinModule);

}  // namespace

Zin::EnumType GroupIdAllocationInstance(std::uint32_t number) {
    return Zin::EnumType::instance<GroupIdAllocation>(number);
}

Zin::EnumType GroupIdAllocationInstance(const Zin::String& name) {
    return Zin::EnumType::instance<GroupIdAllocation>(name);
}

Zin::Ptr<Config> Config::ConfigIs(const Zin::String& name) {
    return frame::make<Config>(name);
}

Zin::Ptr<Config> configFactory(const Zin::String& name) {
    return Config::ConfigIs(name);
}

}  // namespace Pseudowire
