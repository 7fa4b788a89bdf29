#include "Zin/GenericIfImpl.h"

#include <new>
#include <string>

#include "Zin/Any.h"
#include "Zin/Assert.h"
#include "Zin/TypeTable.h"

namespace Zin {

namespace GenericIfImpl {

namespace {

[[noreturn]] void throwNull(std::string_view type, std::string_view what) {
    throw NullPointerException(
        std::string(type) + ": " + std::string(what) + " is due, null was given");
}

void require(const void* pointer, std::string_view type, const char* what) {
    if (!pointer) throwNull(type, what);
}

bool isOwn(const ValueInfo& own, const ZinTypeBase& type) {
    const ValueInfo* const given = type.valueInfo();
    return given ? sameType(own, *given) : !type.info();
}

void requireOwn(const ValueInfo& own, const ZinTypeBase& type) {
    if (!isOwn(own, type)) throwTypeException(type, typeNamed(own.name));
}

}  // namespace

void construct(const ValueInfo& own, void* destination, const void* source) {
    require(destination, own.name, "memory");
    own.construct(destination, source);
}

void destruct(const ValueInfo& own, void* object) {
    require(object, own.name, "a value");
    own.destruct(object);
}

std::uint32_t hash(const ValueInfo& own, const void* object, const ZinTypeBase& type) {
    requireOwn(own, type);
    if (!own.hash) throwUnhashableException(type);
    require(object, own.name, "a value");
    return own.hash(object, HashHelper::hashSeed32());
}

bool nonempty(const ValueInfo& own, const void* object, const ZinTypeBase& type) {
    requireOwn(own, type);
    require(object, own.name, "a value");
    return !own.equal(object, Any(own).get());
}

GenericIf::Status less(
    const ValueInfo& own,
    void* result,
    const void* a,
    const void* b,
    const ZinTypeBase& type) {
    requireOwn(own, type);
    if (!own.less) return GenericIf::Status::unsupported;
    require(result, own.name, "a place for the result");
    require(a, own.name, "a value");
    require(b, own.name, "a value");
    *static_cast<bool*>(result) = own.less(a, b);
    return GenericIf::Status::done;
}

String strRep(const ValueInfo& own, const void* object, const ZinTypeBase& type) {
    requireOwn(own, type);
    require(object, own.name, "a value");
    std::string text;
    appendText(text, own, object);
    return text;
}

void strepToValue(
    const ValueInfo& own,
    void* destination,
    const String& text,
    const ZinTypeBase& type) {
    requireOwn(own, type);
    require(destination, own.name, "a value");
    own.assign(destination, Any::fromText(own, text.view()).get());
}

void voidPtrIs(
    const ValueInfo& own,
    void* destination,
    const void* source,
    const ZinTypeBase& type,
    const ZinTypeBase& t) {
    if (!isOwn(own, type)) {
        if (!type.isDerived(t)) throwTypeException(type, t);
        // Only what has identity derives, and nothing that has is assigned to a value.
        ZIN_ASSERT(type.isPolymorphic(), "/usr/include/Zin/GenericIfImpl");
        ZIN_ASSERT(!t.isPolymorphic(), "/usr/include/Zin/GenericIfImpl");
    }
    require(destination, own.name, "a value to assign to");
    require(source, own.name, "a value");
    own.assign(destination, source);
}

void requireArguments(
    std::string_view typeName,
    const void* result,
    const void* const* arguments,
    std::size_t count) {
    require(result, typeName, "a place for the result");
    require(arguments, typeName, "an array of arguments");
    for (std::size_t i = 0; i < count; ++i) {
        if (!arguments[i]) throwNull(typeName, "argument " + std::to_string(i + 1));
    }
}

void constructFromCtorArgs(const ValueInfo& own, void* result, const void* const* arguments) {
    requireArguments(own.name, result, arguments, own.fields.size());
    own.construct(result, nullptr);
    try {
        for (std::size_t i = 0; i < own.fields.size(); ++i) {
            const FieldInfo& field = own.fields[i];
            field.type->assign(field.mutableIn(result), arguments[i]);
        }
    } catch (...) {
        own.destruct(result);
        throw;
    }
}

GenericIf::Status attributeOp(
    const ValueInfo& own,
    void* result,
    const void* object,
    const ZinAttr& attr,
    GenericIf::AttributeOp op) {
    using GenericIf::Status;
    // Wraps around for a handle that names no attribute.
    std::size_t place = attr.attributeId() - typeTable::firstFieldId;
    const std::size_t all = own.fields.size() + own.constants.size() + own.functions.size();
    if (!isOwn(own, attr.type()) || place >= all) return Status::unknownAttribute;
    if (op != GenericIf::AttributeOp::get) return Status::unsupported;
    if (place < own.fields.size()) {
        const FieldInfo& field = own.fields[place];
        require(result, own.name, "a place for the result");
        require(object, own.name, "a value");
        field.type->assign(result, field.in(object));
        return Status::done;
    }
    place -= own.fields.size();
    if (place >= own.constants.size()) return Status::unsupported;
    require(result, own.name, "a place for the result");
    own.constants[place].get(result);
    return Status::done;
}

const ValueInfo& enumeration(const ZinTypeBase& type, std::size_t bytes) {
    const ValueInfo* const info = type.valueInfo();
    if (!info || info->kind != ValueKind::enumeration || info->size != bytes) {
        throwTypeException(type, typeNamed(bytes == 1 ? "U8" : "U32"));
    }
    return *info;
}

ZinTypeBase FoundType::named(std::string_view qualifiedName) {
    if (const ZinModule* const module = module_.load(std::memory_order_acquire)) {
        return {module, index_.load(std::memory_order_relaxed)};
    }
    const ZinTypeBase type = typeNamed(qualifiedName);
    index_.store(type.index, std::memory_order_relaxed);
    module_.store(type.module, std::memory_order_release);
    return type;
}

// --- References to entities ---

namespace {

using Reference = Ptr<Entity>;

const Reference& reference(const void* object) {
    require(object, "Zin::Entity", "a reference");
    return *static_cast<const Reference*>(object);
}

// The entity tells its type itself; a null reference is of any.
void requireOfType(const Reference& entity, const ZinTypeBase& type) {
    if (entity && type.info() && !entity->fwkType().isDerived(type)) {
        throwTypeException(entity->fwkType(), type);
    }
}

}  // namespace

using EntityMethods = GenericIfPtrInterfaceMethods<Entity>;

void EntityMethods::genericIfConstruct(void* destination, const void* source) {
    require(destination, "Zin::Entity", "memory");
    new (destination) Reference(source ? reference(source) : Reference());
}

void EntityMethods::genericIfDestruct(void* object) {
    require(object, "Zin::Entity", "a reference");
    static_cast<Reference*>(object)->~Reference();
}

std::uint32_t EntityMethods::genericIfHash(const void* object, const ZinTypeBase& type) {
    const Reference& entity = reference(object);
    requireOfType(entity, type);
    return hashSingleAttr(
        HashHelper::hashSeed32(),
        reinterpret_cast<std::uintptr_t>(entity.get()));
}

String EntityMethods::genericIfStrRep(const void* object, const ZinTypeBase& type) {
    const Reference& entity = reference(object);
    requireOfType(entity, type);
    if (!entity) return "None";
    std::string text(entity->fwkType().name());
    text += '(';
    appendQuoted(text, entity->name().view());
    return text + ')';
}

void EntityMethods::genericIfStrepToValue(void*, const String&, const ZinTypeBase& type) {
    throw Exception(std::string(type.name()) + ": an entity cannot be read from text");
}

void EntityMethods::genericIfVoidPtrIs(
    void* destination,
    const void* source,
    const ZinTypeBase& sourceType,
    const ZinTypeBase& expectedType) {
    require(destination, "Zin::Entity", "a reference to assign to");
    const Reference& entity = reference(source);
    if (!sourceType.isDerived(expectedType)) throwTypeException(sourceType, expectedType);
    requireOfType(entity, sourceType);
    *static_cast<Reference*>(destination) = entity;
}

}  // namespace GenericIfImpl

}  // namespace Zin
