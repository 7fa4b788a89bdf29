#include "Pseudowire/PwRunnability.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _PwRunnability_4c2637c2_zinModule =
    frame::moduleOf<Pseudowire::Runnability>("PwRunnability");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_PwRunnability_4c2637c2_zinModule);

}  // namespace

Zin::Ptr<Runnability> Runnability::RunnabilityIs(const Zin::String& name) {
    return frame::make<Runnability>(name);
}

Zin::Ptr<Runnability> runnabilityFactory(const Zin::String& name) {
    return Runnability::RunnabilityIs(name);
}

}  // namespace Pseudowire
