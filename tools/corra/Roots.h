// Entity trees by the names of their roots.

#pragma once

#include <map>

#include "Zin/Entity.h"
#include "Zin/String.h"

namespace corra {

using Roots = std::map<Zin::String, Zin::Ptr<Zin::Entity>>;

}  // namespace corra
