// The descriptor of the module that the entity types of interfaces belong to.

#pragma once

#include "Zin/Export.h"
#include "Zin/Module.h"

extern ZIN_EXPORT const Zin::ZinModule _Interface_zinModule;
