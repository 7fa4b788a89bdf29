// The text forms of Zin/Strep.h under the names of this namespace:
// Tunnel::TunnelTable::valueToStrep(...).

#pragma once

#include "Zin/Strep.h"

namespace Tunnel::TunnelTable {

using Zin::operator<<, Zin::sequenceToValue, Zin::strepToValue, Zin::stringValue,
    Zin::valueToStrep;

}  // namespace Tunnel::TunnelTable
