// The text forms of Zin/Strep.h under the names of this namespace:
// Interface::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Interface {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Interface
