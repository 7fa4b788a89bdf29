// The entity types that stand at the top of a directory, for whatever is tried with each of
// them: a type joins by standing in RootTypes.cpp.

#pragma once

#include <span>

#include "Zin/Entity.h"
#include "laws/RandomValue.h"

namespace support {

struct EntityType {
    Zin::Ptr<Zin::Entity> (*make)(const Zin::String& name);
    // One random change to the entity or to one below it.
    void (*step)(Zin::Entity& entity, laws::Random& random);
    // Nothing of it is left as it is by default, and each collection has one member; so with
    // those below it.
    void (*fill)(Zin::Entity& entity, laws::Random& random);
};

// The first one is Lab::Bench.
extern const std::span<const EntityType> rootTypes;

}  // namespace support
