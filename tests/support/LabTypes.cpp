#include "support/LabTypes.h"

#include "frame/TypeModule.h"

constinit const Zin::ZinModule _Lab_0_zinModule = frame::moduleOf<
    Lab::Colour,
    Lab::Bench,
    Lab::Sample,
    Lab::Rack,
    Lab::Slot,
    Lab::Reagent,
    Lab::Mixture>("Lab");

namespace {

const Zin::ModuleRegistration registration(&_Lab_0_zinModule);

}  // namespace
