// The types of a module of the library's, under another name.

#include "Pseudowire/PwRunnability.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _Renamed_zinModule =
    frame::moduleOf<Pseudowire::Runnability>("Renamed");

namespace {

const Zin::ModuleRegistration registration(&_Renamed_zinModule);

}  // namespace
