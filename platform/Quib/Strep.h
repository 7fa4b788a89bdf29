// The text forms of Zin/Strep.h under the names of this namespace: Quib::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Quib {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Quib
