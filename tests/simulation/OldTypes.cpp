#include "simulation/OldTypes.h"

#include "frame/TypeModule.h"
#include "support/Mutate.h"

constinit const Zin::ZinModule _Old_0_zinModule = frame::moduleOf<Old::Bench, Old::Rack>("Old");

namespace {

const Zin::ModuleRegistration registration(&_Old_0_zinModule);

}  // namespace

constinit const support::EntityType Old::benchType = support::entityType<Old::Bench>();
