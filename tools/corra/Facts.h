// What code that knows no types says of an entity tree, fact by fact. A fact is an entity, a
// member of one of its collections, or a single child: a path and the fields under it. An
// entity's own single attributes are its fields.
//
//     pw.connector[ldp:'pw1-2'] dot1qEncap=<0,0> ldpKey=2.2.2.2:1001 mtu=9000 ...
//
// All of it is read through Zin::AttributeInfo and Zin::ValueInfo.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Zin/Entity.h"
#include "Zin/Module.h"
#include "Zin/Place.h"
#include "Zin/ValueInfo.h"

namespace corra {

struct Field {
    // With dots where values lie inside of values; empty for the whole of a plain value.
    std::string name;
    std::string text;
    const Zin::ValueInfo* type;
    // Says what the key of its member says: left out of what people read.
    bool repeatsKey = false;

    bool operator==(const Field& other) const {
        return name == other.name && text == other.text;
    }
};

using Fields = std::vector<Field>;

// The single attributes of an entity, in the order of their numbers.
Fields fieldsOf(const Zin::Entity& entity);

// The value of a collection's member.
Fields
fieldsOf(const Zin::AttributeInfo& collection, std::string_view keyText, const void* value);

std::string textOfKey(const Zin::AttributeInfo& collection, const void* key);

// "pw.patch", "pw.patch['x']".
std::string pathOf(std::string_view entityPath, const Zin::AttributeInfo& attribute);
std::string pathOf(
    std::string_view entityPath,
    const Zin::AttributeInfo& collection,
    std::string_view keyText);

// A member of a collection, until the collection changes: the value is null for a set and for a
// child, the child is null for all others.
struct Member {
    std::string keyText;
    const void* value;
    const Zin::Entity* child;
};

// Visits the members in iteration order.
void forEachMember(
    const Zin::Entity& entity,
    const Zin::AttributeInfo& collection,
    const std::function<void(const Member&)>& visit);

// Visits them in the order of their keys' texts.
void forEachSortedMember(
    const Zin::Entity& entity,
    const Zin::AttributeInfo& collection,
    const std::function<void(const Member&)>& visit);

struct Fact {
    std::string path;
    // Of an entity; empty for others.
    std::string_view type;
    Fields fields;

    bool operator==(const Fact& other) const = default;
};
using FactVisitor = std::function<void(const Fact&)>;

// Visits the entity, then what lies in it, in the order of attributes and of keys' texts; paths
// begin with `path`.
void forEachFact(const std::string& path, const Zin::Entity& entity, const FactVisitor& visit);

// The same for whatever lies at the place, which is shown as `path`: nothing where nothing is;
// a single value as one fact.
void forEachFact(const std::string& path, const Zin::Place& place, const FactVisitor& visit);

// The name of a root, or "TYPE('NAME')" for one that a path cannot begin with.
std::string pathOfRoot(std::string_view name, const Zin::Entity& root);

}  // namespace corra
