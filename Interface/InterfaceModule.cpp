#include "Interface/InterfaceModule.h"

#include "Interface/EthIntfStatus.h"
#include "Interface/IntfStatusDir.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _Interface_zinModule = frame::moduleOf<
    Interface::IntfConfig,
    Interface::EthIntfConfig,
    Interface::IntfStatus,
    Interface::EthIntfStatus,
    Interface::IntfStatusDirBase,
    Interface::IntfStatusDir>("Interface");

namespace Interface {

namespace {

const Zin::ModuleRegistration registration(&_Interface_zinModule);

}  // namespace

Zin::Ptr<EthIntfConfig> EthIntfConfig::EthIntfConfigIs(Vorn::IntfId intfId) {
    return frame::make<EthIntfConfig>(intfId);
}

}  // namespace Interface
