#include "Pseudowire/Patch.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _Pseudowire_2685b2b7_zinModule =
    frame::moduleOf<Pseudowire::Patch>("Pseudowire");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_Pseudowire_2685b2b7_zinModule);

}  // namespace

}  // namespace Pseudowire
