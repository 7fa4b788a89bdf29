#include "Pseudowire/PseudowireConfig.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PseudowireConfig_4a3e203c_zinModule =
    frame::moduleOf<Pseudowire::GroupIdAllocation, Pseudowire::Config>("PseudowireConfig");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PseudowireConfig_4a3e203c_zinModule);

}  // namespace

Zin::Ptr<Config> Config::ConfigIs(const Zin::String& name) {
    return frame::make<Config>(name);
}

Zin::Ptr<Config> configFactory(const Zin::String& name) {
    return Config::ConfigIs(name);
}

}  // namespace Pseudowire
