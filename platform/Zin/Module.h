// Modules and what the runtime knows of their entity types.
//
// A module descriptor is a constant. Its static initialiser hands it to the registry when the
// library is loaded; from then on the runtime finds each type by handle or by name.
// Registration order does not matter.

#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Zin/Entity.h"
#include "Zin/Export.h"
#include "Zin/TypeHandle.h"
#include "Zin/ValueInfo.h"

namespace Quib {
class DumpContext;
}

namespace Zin {

namespace NboAttrLog {
class FlowOut;
class In;
class Out;
class Sa;
enum class TransactionType : std::uint8_t;
}  // namespace NboAttrLog

namespace GenericIf {
enum class AttributeOp : std::uint32_t;
enum class Status : int;
struct IteratorOps;
}  // namespace GenericIf

enum class AttributeKind : std::uint8_t {
    single,                // a plain value or a value of a value type
    collection,            // keyed values, or keys alone
    instantiating,         // keyed child entities
    singleton,             // one child entity, or none
    reference,             // an entity that lives elsewhere, or none
    function,              // computed
    constructorParameter,  // given when the entity is made
};

// Sees the members of a collection, in iteration order.
class MemberVisitor {
  public:
    // The value is null for a set and for a child; the child is null for all others.
    virtual void onMember(const void* key, const void* value, const Entity* child) = 0;

  protected:
    ~MemberVisitor() = default;
};

// A member of a collection as it is stored: the value is null for a set and for a child.
struct MemberRef {
    // Whether there is such a member.
    bool present = false;
    // The value of a member that is one.
    const void* value = nullptr;
    // The member that is a child.
    const Entity* child = nullptr;
};

struct EntityTypeInfo;

// One attribute as code that knows no types sees it. Functions that make no sense for the kind
// are null.
struct AttributeInfo {
    // The number, which peers know too.
    AttributeId id;
    // What sort of attribute it is.
    AttributeKind kind;
    // Whether there is a mutator.
    bool writable;
    // Whether the attribute log carries it.
    bool streamed;
    // The name in the schema.
    std::string_view name;
    // Of a single value, of a collection's members, or of what a function returns; null for
    // children and sets.
    const ValueInfo* value;
    // Of a collection's keys, or of what a function takes; null for all else.
    const ValueInfo* key;
    // The type of the children.
    const EntityTypeInfo* childType;
    // The type that a referenced entity is of, or derives from.
    const EntityTypeInfo* referencedType;
    // The name of the field, or the attribute, of a member that is its key; empty where the key
    // lies outside.
    std::string_view keyField;

    // The stored value of a single attribute.
    const void* (*valueOf)(const Entity& entity);
    std::uint32_t (*members)(const Entity& entity);
    void (*forEachMember)(const Entity& entity, MemberVisitor& visitor);
    // The member under a key of the collection's key type.
    MemberRef (*member)(const Entity& entity, const void* key);
    // The single child, or the entity that is referred to.
    const Entity* (*child)(const Entity& entity);

    // --- Reflective interface (Zin/GenericIf.h) ---
    // Does one of its operations to the attribute.
    GenericIf::Status (*operate)(
        void* result,
        Entity& entity,
        GenericIf::AttributeOp op,
        const void* key,
        const void* value);
    // Walks over a collection; null for all else.
    const GenericIf::IteratorOps* iteratorOps;

    // --- Attribute log (frame/AttributeLog.h) ---
    // Writes the attribute, or one member of it, to the stream or remembers it as dirty.
    void (*send)(NboAttrLog::Sa& sa, const void* key);
    // Goes on with a collection: the walk over all members first, then the dirty keys. False
    // when the stream can take no more.
    bool (*flowOut)(NboAttrLog::Sa& sa, NboAttrLog::FlowOut& flowOut);
    void (*apply)(NboAttrLog::Sa& sa, NboAttrLog::In& in);
    void (*applyDeletion)(NboAttrLog::Sa& sa, NboAttrLog::In& in);
    // What a mirror's child holds of it, and one that was just made does not, becomes dirty.
    void (*keepHeld)(NboAttrLog::Sa& sa, const Entity& justMade);
    // Marks all members as pending deletion; deletes those that still are.
    void (*markAll)(Entity& entity);
    void (*sweep)(NboAttrLog::Sa& sa);
    // A member's key: compared, and written, for a repair request.
    bool (*sameKey)(const void* a, const void* b);
    std::size_t (*keySize)(const void* key);
    void (*putKey)(NboAttrLog::Out& out, const void* key);
    // Reads a member's key and sends what is stored under it.
    void (*resend)(NboAttrLog::Sa& sa, NboAttrLog::In& in);

    // Whether nothing of it can be seen, or set, as a value: it is a reference, or a function
    // that gives nothing or takes something.
    bool hasNoForm() const noexcept {
        return kind == AttributeKind::reference ||
               (kind == AttributeKind::function && (!value || key));
    }
    bool isCollection() const noexcept {
        return kind == AttributeKind::collection || kind == AttributeKind::instantiating;
    }
};

// The hooks of one entity type, with Zin::TypeImpl<T> behind them.
struct EntityTypeInfo {
    // The qualified name.
    std::string_view name;
    // In the order of their ids; those of the base first.
    std::span<const AttributeInfo> attributes;
    // What entities are made of: the name first.
    std::span<const ValueInfo* const> constructorArguments;
    // The arguments' attributes, by id; 0 for the name.
    std::span<const AttributeId> constructorAttributeIds;
    // The entity type that this one derives from; null for Zin::Entity.
    const EntityTypeInfo* base;
    // The module and the place in it.
    ZinTypeBase handle;

    // Null for a type that never stands at the top of a directory.
    Ptr<Entity> (*newEntityForDir)(const String& name, const void* extraArguments);
    Ptr<Entity> (*newEntityForAttrLog)(NboAttrLog::In* in);
    void (*genericIfConstructFromCtorArgs)(void* result, const void* const* arguments);
    // Reads the constructor parameters that the entity was made with.
    void (*forEachConstructorArgument)(
        const Entity& entity,
        void (*visit)(void* context, const void* argument),
        void* context);
    void (*serializeConstructorParams)(NboAttrLog::Out& out, const Entity& entity);
    std::size_t (*attrLogSizeCtorParams)(const Entity& entity);
    Ptr<NboAttrLog::FlowOut> (*newFlowOut)(NboAttrLog::Sa* sa, bool initial, AttributeId start);
    int (*streamAdapterOnAttribute)(NboAttrLog::Sa* sa, AttributeId id, const void* key);
    std::int32_t (*handleAttrFlowOut)(
        NboAttrLog::Sa* sa,
        AttributeId start,
        NboAttrLog::FlowOut* flowOut);
    int (*freeResyncState)(NboAttrLog::FlowOut* flowOut);
    void (*doHandleAttrTransaction)(
        NboAttrLog::Sa* sa,
        AttributeId id,
        NboAttrLog::TransactionType type);
    void (*doHandleAttrDeserialization)(
        NboAttrLog::Sa* sa,
        AttributeId id,
        bool fromReadOnlyProxy,
        std::uint32_t length,
        NboAttrLog::In* in);
    // Prints the entity and all below it (frame/Dump.h).
    void (*dumpState)(
        const Entity& entity,
        const Ptr<const Quib::DumpContext>& context,
        unsigned indent);

    // The attribute with this id or this name, or null. Mostly constant, at most logarithmic,
    // and linear.
    const AttributeInfo* attribute(AttributeId id) const noexcept {
        // What a type adds to its base stands at the end, mostly under ids in a row.
        const std::size_t behind = attributes.empty() ? 0 : attributes.back().id - id;
        if (behind < attributes.size()) [[likely]] {
            const AttributeInfo& guess = attributes[attributes.size() - 1 - behind];
            if (guess.id == id) [[likely]] {
                return &guess;
            }
        }
        return attributeAmongAll(id);
    }
    ZIN_EXPORT const AttributeInfo* attribute(std::string_view name) const noexcept;

    // What attribute(id) does where the ids have gaps. Logarithmic.
    ZIN_EXPORT const AttributeInfo* attributeAmongAll(AttributeId id) const noexcept;
};

// A type of a module: one of the two is null.
struct TypeInfo {
    // Of a value type or an enumeration.
    const ValueInfo* value;
    // Of an entity type.
    const EntityTypeInfo* entity;

    // The qualified name.
    constexpr std::string_view name() const { return value ? value->name : entity->name; }
};

// A module: its types in the order of their indices, and what says so to others.
struct ZinModule {
    // Unique in a process.
    std::string_view name;
    // By type index.
    std::span<const TypeInfo> types;
    // The compiled type table (Zin/TypeTable.h).
    std::span<const std::uint8_t> typeTable;
    // Differs when the module's types, attributes or fields differ: two peers of one
    // fingerprint read each other's messages alike.
    std::uint64_t fingerprint;
};

// Adds a module to the registry. A second module of the same name is a fatal assertion.
ZIN_EXPORT void zinModuleIs(const ZinModule* module);

// Hands a module to the registry when it is loaded.
struct ModuleRegistration {
    // Calls zinModuleIs.
    explicit ModuleRegistration(const ZinModule* module) { zinModuleIs(module); }
};

// Loads a shared library, found as dlopen(3) finds it, and registers the modules that its
// static initialisers hand over: all of them, or none and a ModuleException that says why: it
// cannot be loaded, brings no module, or one whose name, fingerprint or types another module
// has already. The library stays loaded in either case; to load it again returns, or throws,
// the same. Linear in the number of all types.
ZIN_EXPORT std::vector<const ZinModule*> modulesOf(const std::string& library);

// All modules, in the order of their names.
ZIN_EXPORT void forEachModule(const std::function<void(const ZinModule&)>& visit);

// The module, or the type with this qualified name, or null (a handle that names none).
ZIN_EXPORT const ZinModule* moduleNamed(std::string_view name);
ZIN_EXPORT ZinTypeBase typeNamed(std::string_view qualifiedName);

}  // namespace Zin
