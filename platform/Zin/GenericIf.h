// The reflective interface: what a caller that knows only a type and an attribute does with an
// entity. All of it goes through Zin::TypeImpl<T> of the entity's type, and through the typed
// mutators, so reactors and mirrors hear of it.
//
// Pointers are untyped: each must point at an object of the type that the attribute's table
// names, which nobody can check here; Zin/Any.h and Zin/Place.h do. What is checked: null where
// something is due is a NullPointerException; an entity of another type, and an iterator that
// is used with another attribute than it was made for, are a TypeException; a handle of another
// type, or one whose record is none of its type's, is an unknown attribute. Nothing has changed
// then.

#pragma once

#include <cstdint>

#include "Zin/Export.h"
#include "Zin/Module.h"
#include "Zin/TypeHandle.h"

namespace Zin {

// An attribute: its type and the index of its record in the module's compiled type table, in
// the upper 16 bits; the lower ones hold the type's index.
class ZIN_EXPORT ZinAttrBase {
  public:
    constexpr ZinAttrBase() = default;
    // The attribute of the type with that record.
    constexpr ZinAttrBase(const ZinTypeBase& type, std::uint32_t record)
        : module_(type.module), place_(record << 16 | (type.index & 0xffff)) {}

    // The type that lists the attribute.
    constexpr ZinTypeBase type() const { return {module_, place_ & 0xffff}; }
    // The index of the attribute's record.
    constexpr std::uint32_t record() const { return place_ >> 16; }
    // The id that the record holds; 0 where the type has no such record.
    AttributeId attributeId() const noexcept;

    friend constexpr bool operator==(const ZinAttrBase&, const ZinAttrBase&) = default;

  private:
    const ZinModule* module_ = nullptr;
    std::uint32_t place_ = 0;
};

class ZIN_EXPORT ZinAttr : public ZinAttrBase {
  public:
    using ZinAttrBase::ZinAttrBase;
    // The attribute of the type that has the id; an inherited one is an attribute of the type
    // that lists it. One whose attributeId() is 0 when there is none. Linear in the number of
    // attributes.
    static ZinAttr of(const ZinTypeBase& type, AttributeId id) noexcept;
};

namespace GenericIf {

// What is done to an attribute; `key`, `value` and `result` are arguments of the call.
enum class AttributeOp : std::uint32_t {
    // Single attribute, function: assigns the value to the object at `result`; a function that
    // takes an argument takes *key. Single child and reference: the Ptr<Entity> at `result`.
    // Collection: finds `key`, writes the MemberRef at `result`.
    get = 0,
    // Single attribute: sets *value. Reference: sets the Ptr<Entity> at `value`, where
    // TypeException says that it is of another type. Collection of values: inserts or
    // overwrites *value under
    // *key; where the key lies inside the value `key` may be null, and must be equal otherwise.
    // Set: inserts *key. Children, single child: `value` points at the array of pointers to the
    // constructor arguments behind the name, may be null when there are none; a single child's
    // name is *key.
    set = 1,
    // Collection: removes *key. What was removed, or a default value, is assigned to the value,
    // or to the Ptr<Entity>, at `result`, unless that is null; a set writes none. Single child:
    // removes it.
    del = 2,
    // Collection: the number of members, and the count of changes (23 bits), std::uint32_t.
    members = 3,
    version = 4,
    // Collection: bool.
    contains = 5,
};

// How that went: unsupported of this kind of attribute, unknown to the type.
enum class Status : int {
    done = 0,
    unsupported = 1,
    unknownAttribute = 2,
};

// A walk over one collection, safe against changes to it, while its entity lives. Made and
// destroyed through the same table.
struct IteratorOps {
    // Stands on the first member.
    void* (*make)(Entity& entity);
    // Whether it stands on a member.
    bool (*nonnull)(const void* iterator);
    // Goes on to the next.
    void (*inc)(void* iterator);
    // Assigns to the key at `out`.
    void (*key)(const void* iterator, void* out);
    // The member on which it stands.
    MemberRef (*obj)(const void* iterator);
    // Destroys the iterator.
    void (*del)(void* iterator) noexcept;
};

// The operations on iterators that a type answers, with the attribute that the iterator was
// made for. One that stands behind the last element has no key and no element, and goes no
// further: Exception.
struct TypeIteratorOps {
    // False for null too: an attribute that is no collection has no elements.
    bool (*iterNonnull)(const ZinAttr& attr, const void* iterator);
    void (*iterInc)(const ZinAttr& attr, void* iterator);
    // Assigns to the key at `out`.
    void (*iterKey)(const ZinAttr& attr, const void* iterator, void* out);
    // Writes the MemberRef at `out`. An element that was deleted while the iterator stood on it
    // is a fatal assertion.
    void (*iterObj)(const ZinAttr& attr, const void* iterator, void* out);
    // Does nothing with null, and with an iterator of another attribute.
    void (*iterDel)(const ZinAttr& attr, void* iterator) noexcept;
};

// One table for all types: the attribute tells the type.
ZIN_EXPORT extern const TypeIteratorOps typeIteratorOps;

// What Zin::TypeImpl<T>::genericIfAttributeOp does, for the type that T is.
ZIN_EXPORT Status attributeOp(
    const EntityTypeInfo& type,
    void* result,
    Entity* object,
    const ZinAttr& attr,
    AttributeOp op,
    const void* key,
    const void* value);

// An iterator over a collection attribute, and its operations; null for any other attribute. It
// keeps the entity alive, and visits each member once that is present throughout.
ZIN_EXPORT void* iterator(
    const EntityTypeInfo& type,
    Entity* object,
    const ZinAttr& attr,
    const TypeIteratorOps** ops);

}  // namespace GenericIf

}  // namespace Zin
