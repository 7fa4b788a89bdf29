// The text forms of Zin/Strep.h under the names of this namespace: Dwil::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Dwil {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Dwil
