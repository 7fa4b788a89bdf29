// The text forms of Zin/Strep.h under the names of this namespace: Vorn::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Vorn {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Vorn
