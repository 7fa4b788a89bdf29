// The value types of Routing::Rib, for code that knows no types.

#include "Routing/Rib/ResolutionRibProfileConfig.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _RoutingRib_zinModule =
    Zin::moduleOf<Routing::Rib::ResolutionRibProfileConfig>("RoutingRib");

namespace {

const Zin::ModuleRegistration registration(&_RoutingRib_zinModule);

}  // namespace
