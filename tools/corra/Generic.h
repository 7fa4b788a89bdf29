// Steps that code without types takes on entities, through the reflective interface
// (Zin/GenericIf.h).

#pragma once

#include <vector>

#include "Zin/Any.h"
#include "Zin/Entity.h"
#include "Zin/GenericIf.h"
#include "Zin/Module.h"

namespace corra {

// Copies of a collection's keys, in iteration order: the collection may change meanwhile.
std::vector<Zin::Any> keysOf(const Zin::Entity& entity, const Zin::AttributeInfo& collection);

// What the entity was made of: its name, or key, first.
std::vector<Zin::Any> constructorArgumentsOf(const Zin::Entity& entity);

// The child of an attribute that holds children: under the key, or the single one. May be null.
Zin::Ptr<Zin::Entity>
childOf(const Zin::Entity& entity, const Zin::AttributeInfo& attribute, const void* key);

// Makes a child of these constructor arguments and returns it, or null when a reactor deleted
// it at once. REQUIRES: there is none under that key yet.
Zin::Ptr<Zin::Entity> makeChild(
    Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    const std::vector<Zin::Any>& arguments);

// Sets a value, adds a member, or deletes. Throws what the mutator throws, and a Zin::Exception
// where the attribute knows no such operation.
void set(
    Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    const void* key,
    const void* value);
void del(Zin::Entity& entity, const Zin::AttributeInfo& attribute, const void* key);

}  // namespace corra
