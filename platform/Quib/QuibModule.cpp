// The value types of Quib, for code that knows no types.

#include "Quib/Tristate.h"
#include "Zin/TypeModule.h"

constinit const Zin::ZinModule _Quib_zinModule =
    Zin::moduleOf<Quib::TristateU16, Quib::TristateU32>("Quib");

namespace {

const Zin::ModuleRegistration registration(&_Quib_zinModule);

}  // namespace
