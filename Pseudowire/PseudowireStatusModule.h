// The descriptor of the module that the types of forwarding status belong to.

#pragma once

#include "Zin/Export.h"
#include "Zin/Module.h"

extern ZIN_EXPORT const Zin::ZinModule _PseudowireStatus_6edd4dd7_zinModule;
