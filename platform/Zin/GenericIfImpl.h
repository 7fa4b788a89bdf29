// What the reflective interface does with values, enumerations and references to entities of
// which the caller has only an address and a handle of the type.
//
//     using Methods = Zin::GenericIfImpl::GenericIfValueMethods<Pseudowire::TimeRange>;
//     Zin::String text = Methods::genericIfStrRep(&range,
//     Zin::typeOf<Pseudowire::TimeRange>());
//
// All of it is made of the type's table (Zin/ValueInfo.h). Pointers are untyped: each must
// point at an object of that type, or at raw memory for one where something is constructed. A
// null one where something is due is a NullPointerException, a handle of another type a
// TypeException; a handle that names no type is not checked. Nothing has changed when one is
// thrown.

#pragma once

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Zin/Exceptions.h"
#include "Zin/Export.h"
#include "Zin/GenericIf.h"
#include "Zin/Module.h"
#include "Zin/String.h"
#include "Zin/ValueInfoOf.h"

namespace Zin {

namespace GenericIfImpl {

// The same operations for any type with a table.
ZIN_EXPORT void construct(const ValueInfo& own, void* destination, const void* source);
ZIN_EXPORT void destruct(const ValueInfo& own, void* object);
ZIN_EXPORT std::uint32_t
hash(const ValueInfo& own, const void* object, const ZinTypeBase& type);
ZIN_EXPORT bool nonempty(const ValueInfo& own, const void* object, const ZinTypeBase& type);
ZIN_EXPORT GenericIf::Status
less(const ValueInfo& own, void* result, const void* a, const void* b, const ZinTypeBase& type);
ZIN_EXPORT String strRep(const ValueInfo& own, const void* object, const ZinTypeBase& type);
ZIN_EXPORT void strepToValue(
    const ValueInfo& own,
    void* destination,
    const String& text,
    const ZinTypeBase& type);
ZIN_EXPORT void voidPtrIs(
    const ValueInfo& own,
    void* destination,
    const void* source,
    const ZinTypeBase& sourceType,
    const ZinTypeBase& expectedType);
// Throws a NullPointerException of the type of that name, unless there is a place for the
// result and so many arguments.
ZIN_EXPORT void requireArguments(
    std::string_view typeName,
    const void* result,
    const void* const* arguments,
    std::size_t count);
ZIN_EXPORT void
constructFromCtorArgs(const ValueInfo& own, void* result, const void* const* arguments);
ZIN_EXPORT GenericIf::Status attributeOp(
    const ValueInfo& own,
    void* result,
    const void* object,
    const ZinAttr& attr,
    GenericIf::AttributeOp op);
// The table of an enumeration that takes so many bytes; throws a TypeException when the handle
// names none.
ZIN_EXPORT const ValueInfo& enumeration(const ZinTypeBase& type, std::size_t bytes);

// Remembers the handle of a type from the first time that it is found: a module may be loaded
// later than it is asked for. Any thread may ask.
class ZIN_EXPORT FoundType {
  public:
    ZinTypeBase named(std::string_view qualifiedName);

  private:
    std::atomic<const ZinModule*> module_ = nullptr;
    std::atomic<std::uint32_t> index_ = 0;
};

template <describe::Value V>
struct GenericIfValueMethods {
    // Into raw memory: a copy, or a default value when `source` is null.
    static void genericIfConstruct(void* destination, const void* source) {
        construct(valueInfo<V>, destination, source);
    }
    static void genericIfDestruct(void* object) { destruct(valueInfo<V>, object); }
    // Under the seed of this process. Throws an UnhashableException for a type without a hash.
    static std::uint32_t genericIfHash(const void* object, const ZinTypeBase& type) {
        return hash(valueInfo<V>, object, type);
    }
    // Whether it differs from a default value.
    static bool genericIfNonempty(const void* object, const ZinTypeBase& type) {
        return nonempty(valueInfo<V>, object, type);
    }
    // Writes whether a < b to the bool at `result`. Unsupported for a type without an order.
    static GenericIf::Status
    genericIfLess(void* result, const void* a, const void* b, const ZinTypeBase& type) {
        return less(valueInfo<V>, result, a, b, type);
    }
    static String genericIfStrRep(const void* object, const ZinTypeBase& type) {
        return strRep(valueInfo<V>, object, type);
    }
    // Throws TextException, RangeException, and Exception for a type that holds a collection.
    static void
    genericIfStrepToValue(void* destination, const String& text, const ZinTypeBase& type) {
        strepToValue(valueInfo<V>, destination, text, type);
    }
    // Assigns. Throws a TypeException unless the source is of this type, or of one that derives
    // from the expected one.
    static void genericIfVoidPtrIs(
        void* destination,
        const void* source,
        const ZinTypeBase& sourceType,
        const ZinTypeBase& expectedType) {
        voidPtrIs(valueInfo<V>, destination, source, sourceType, expectedType);
    }
    // `get` assigns a field, or a constant, to the object at `result`; for a constant `object`
    // may be null. Nothing else is supported: values are changed as a whole.
    static GenericIf::Status genericIfAttributeOp(
        void* result,
        const void* object,
        const ZinAttr& attr,
        GenericIf::AttributeOp op,
        const void* /*key*/,
        const void* /*value*/) {
        return attributeOp(valueInfo<V>, result, object, attr, op);
    }
    // Into raw memory: each pointer points at a field, in their order.
    static void genericIfConstructFromCtorArgs(void* result, const void* const* arguments) {
        constructFromCtorArgs(valueInfo<V>, result, arguments);
    }
};

// Enumerations that take one byte or four: which one, the handle tells.
template <class Number>
requires std::same_as<Number, unsigned char> || std::same_as<Number, unsigned int>
struct GenericIfEnumMethods {
    static void genericIfConstruct(void* destination, const void* source) {
        construct(valueInfo<Number>, destination, source);
    }
    static void genericIfDestruct(void* object) { destruct(valueInfo<Number>, object); }
    static std::uint32_t genericIfHash(const void* object, const ZinTypeBase& type) {
        return hash(of(type), object, type);
    }
    static String genericIfStrRep(const void* object, const ZinTypeBase& type) {
        return strRep(of(type), object, type);
    }
    static void
    genericIfStrepToValue(void* destination, const String& text, const ZinTypeBase& type) {
        strepToValue(of(type), destination, text, type);
    }
    static void genericIfVoidPtrIs(
        void* destination,
        const void* source,
        const ZinTypeBase& sourceType,
        const ZinTypeBase& expectedType) {
        voidPtrIs(of(expectedType), destination, source, sourceType, expectedType);
    }

  private:
    static const ValueInfo& of(const ZinTypeBase& type) {
        return enumeration(type, sizeof(Number));
    }
};

template <class Object>
struct GenericIfPtrInterfaceMethods;

// Each object is a Ptr<Entity>, which may be null. Entities are the same when they are one.
template <>
struct ZIN_EXPORT GenericIfPtrInterfaceMethods<Entity> {
    static void genericIfConstruct(void* destination, const void* source);
    static void genericIfDestruct(void* object);
    static std::uint32_t genericIfHash(const void* object, const ZinTypeBase& type);
    // "Pseudowire::Config('pw')", or None.
    static String genericIfStrRep(const void* object, const ZinTypeBase& type);
    // Throws: entities have no text to be read.
    [[noreturn]] static void
    genericIfStrepToValue(void* destination, const String& text, const ZinTypeBase& type);
    static void genericIfVoidPtrIs(
        void* destination,
        const void* source,
        const ZinTypeBase& sourceType,
        const ZinTypeBase& expectedType);
};

}  // namespace GenericIfImpl

// The handle of a value type, an enumeration or a builtin type; of one that no module lists it
// names none.
template <class V>
ZinTypeBase typeOf() {
    static constinit GenericIfImpl::FoundType found;
    return found.named(valueInfo<V>.name);
}

// The hooks of a type: of entity types they are in frame/TypeImpl.h.
template <class T>
struct TypeImpl;
template <describe::Value V>
struct TypeImpl<V> : GenericIfImpl::GenericIfValueMethods<V> {};

}  // namespace Zin
