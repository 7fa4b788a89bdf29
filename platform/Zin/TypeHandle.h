// ZinTypeBase names an entity type: the descriptor of its module and its index in that module.

#pragma once

#include <cstdint>

#include "Zin/Export.h"

namespace Zin {

struct ZinModule;
struct EntityTypeInfo;

struct ZinTypeBase {
    const ZinModule* module = nullptr;
    std::uint32_t index = 0;

    // What the runtime knows of the type, or null when the handle names none.
    ZIN_EXPORT const EntityTypeInfo* info() const noexcept;

    friend bool operator==(const ZinTypeBase&, const ZinTypeBase&) = default;
};

}  // namespace Zin
