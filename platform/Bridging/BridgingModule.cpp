// The value types of Bridging, for code that knows no types.

#include "Bridging/Dot1qEncap.h"
#include "Bridging/VlanId.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _Bridging_zinModule = Zin::moduleOf<
    Bridging::VlanId,
    Bridging::VlanIdOrNone,
    Bridging::VlanIdOrAny,
    Bridging::VlanIdOrAnyOrNone,
    Bridging::Dot1qEncap>("Bridging");

namespace {

const Zin::ModuleRegistration registration(&_Bridging_zinModule);

}  // namespace
