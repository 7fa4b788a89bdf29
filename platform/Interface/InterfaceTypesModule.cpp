// The value types of Interface, for code that knows no types.

#include "Interface/IntfTypes.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _InterfaceTypes_zinModule = Zin::moduleOf<
    Interface::OperStatus,
    Interface::ForwardingModel,
    Interface::LinkStatus,
    Interface::EthSpeed,
    Interface::OperStatusChange,
    Interface::PortId>("InterfaceTypes");

namespace {

const Zin::ModuleRegistration registration(&_InterfaceTypes_zinModule);

}  // namespace
