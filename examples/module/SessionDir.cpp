#include "SessionDir.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _BfdSessionDir_zinModule =
    frame::moduleOf<Bfd::State, Bfd::SessionDir>("BfdSessionDir");

namespace {

// When the library is loaded, whoever loads it knows the types.
const Zin::ModuleRegistration registration(&_BfdSessionDir_zinModule);

}  // namespace

Zin::Ptr<Bfd::SessionDir> Bfd::sessionDirFactory(const Zin::String& name) {
    return frame::make<SessionDir>(name);
}
