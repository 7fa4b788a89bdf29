// The text forms of Zin/Strep.h under the names of this namespace: Bridging::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Bridging {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Bridging
