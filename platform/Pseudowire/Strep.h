// The text forms of Zin/Strep.h under the names of these namespaces:
// Pseudowire::valueToStrep(...), Pseudowire::Fxc::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Pseudowire {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Pseudowire

namespace Pseudowire::Fxc {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Pseudowire::Fxc
