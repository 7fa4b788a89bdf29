// Whether two entities and all below them hold the same, found out in two ways that have
// nothing in common.

#pragma once

#include <cstdint>
#include <string>

#include "Zin/Entity.h"

namespace support {

// Reads field by field through the reflective interface, and compares values as their types do.
// Attributes that one of the two types does not have are left out. Empty where all is equal;
// `compared` grows by the fields and members that were looked at.
std::string differenceByReflection(
    const Zin::Ptr<Zin::Entity>& expected,
    const Zin::Ptr<Zin::Entity>& found,
    std::uint64_t& compared);

// The lines of the entity's own dump, sorted, without the first one, which has its address, and
// without references, which a mirror has where its stream carries what they refer to.
std::string sortedDump(const Zin::Ptr<Zin::Entity>& entity);

}  // namespace support
