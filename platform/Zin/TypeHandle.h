// ZinTypeBase names a type: the descriptor of its module and its index in that module.

#pragma once

#include <cstdint>
#include <string_view>

#include "Zin/Export.h"

namespace Zin {

struct ZinModule;
struct EntityTypeInfo;
struct ValueInfo;

struct ZinTypeBase {
    // The module, or null for no type.
    const ZinModule* module = nullptr;
    // The type's place in the module.
    std::uint32_t index = 0;

    // What the runtime knows of an entity type, or of a value type; null when the handle names
    // none.
    ZIN_EXPORT const EntityTypeInfo* info() const noexcept;
    ZIN_EXPORT const ValueInfo* valueInfo() const noexcept;
    // The qualified name, or words that say that there is none.
    ZIN_EXPORT std::string_view name() const noexcept;

    // Whether objects of the type have identity and may be of a derived type: entity types.
    bool isPolymorphic() const noexcept { return info() != nullptr; }
    // Whether both are entity types, and this one is the other or derives from it.
    ZIN_EXPORT bool isDerived(const ZinTypeBase& base) const noexcept;

    friend bool operator==(const ZinTypeBase&, const ZinTypeBase&) = default;
};

}  // namespace Zin
