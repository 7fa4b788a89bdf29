// The text forms of Zin/Strep.h under the names of this namespace:
// Routing::Rib::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Routing::Rib {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Routing::Rib
