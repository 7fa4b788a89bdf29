// Attributes: the members of an entity type that peers know by a number and of whose changes
// reactors are told. The schema of an entity type lists them in the order of their numbers:
//
//     static consteval auto schema() {
//         return frame::entity<_PwRunnability_4c2637c2_zinModule, 0>(
//             "Pseudowire::Runnability",
//             frame::attribute<258, &Runnability::config_, &Notifiee::onConfig>("config"));
//     }
//
// The kind of an attribute follows from the type of the member; mutators are in frame/Entity.h.
// A Zin::Ptr is a child of the entity, unless it is listed as frame::reference<...>.
//
// A type that derives from another lists its own attributes alone, numbered behind those of its
// base.

#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Zin/Module.h"
#include "Zin/NboAttrLogProtocol.h"
#include "describe/Schema.h"
#include "frame/Collection.h"

namespace frame {

using Zin::AttributeId;
using Zin::AttributeKind;

namespace detail {

template <class V>
inline constexpr bool isPtr = false;
template <class T>
inline constexpr bool isPtr<Zin::Ptr<T>> = true;

template <class V>
consteval AttributeKind kindOf() {
    if constexpr (InstantiatingCollection<V>) {
        return AttributeKind::instantiating;
    } else if constexpr (Collection<V>) {
        return AttributeKind::collection;
    } else if constexpr (isPtr<V>) {
        return AttributeKind::singleton;
    } else {
        return AttributeKind::single;
    }
}

}  // namespace detail

// A stored attribute with a mutator. Reactors are told through `onChange`, a member function of
// the type's Notifiee: without argument, or with the key of a collection's member.
template <
    AttributeId attributeId,
    auto memberPointer,
    auto onChangePointer,
    AttributeKind attributeKind =
        detail::kindOf<typename describe::Field<memberPointer>::Value>()>
struct Attribute : describe::Field<memberPointer> {
    static constexpr AttributeId id = attributeId;
    static constexpr auto onChange = onChangePointer;
    static constexpr AttributeKind kind = attributeKind;
    static constexpr bool stored = true;
    static constexpr bool writable = true;
    static constexpr bool streamed = true;

    template <class Notifiee>
    static void tell(Notifiee& notifiee, const void* key) {
        using Value = typename describe::Field<memberPointer>::Value;
        if constexpr (Collection<Value>) {
            (notifiee.*onChange)(*static_cast<const typename Value::Key*>(key));
        } else {
            (notifiee.*onChange)();
        }
    }
};

template <AttributeId id, auto member, auto onChange>
consteval Attribute<id, member, onChange> attribute(std::string_view name) {
    return {{name}};
}

// A reference to an entity that lives elsewhere: it is held, but is no child.
template <AttributeId id, auto member, auto onChange>
consteval Attribute<id, member, onChange, AttributeKind::reference> reference(
    std::string_view name) {
    static_assert(
        detail::isPtr<describe::ValueOf<member>>,
        "A reference is held in a Zin::Ptr.");
    return {{name}};
}

// What an attribute that no mutator changes has in common with others of its kind.
template <AttributeId attributeId, AttributeKind attributeKind, bool isStored>
struct Unchanging {
    static constexpr AttributeId id = attributeId;
    static constexpr AttributeKind kind = attributeKind;
    static constexpr bool stored = isStored;
    static constexpr bool writable = false;
    static constexpr bool streamed = false;

    template <class Notifiee>
    static void tell(Notifiee&, const void*) {}
};

// A stored attribute that nobody changes: it keeps its default and is not carried to peers.
template <AttributeId id, auto member>
struct FrozenAttribute : describe::Field<member>,
                         Unchanging<id, AttributeKind::single, true> {};

template <AttributeId id, auto member>
consteval FrozenAttribute<id, member> frozen(std::string_view name) {
    return {{name}, {}};
}

// A member that is set when the entity is made, and never again.
template <AttributeId id, auto member>
struct ConstructorParameter : describe::Field<member>,
                              Unchanging<id, AttributeKind::constructorParameter, true> {};

template <AttributeId id, auto member>
consteval ConstructorParameter<id, member> constructorParameter(std::string_view name) {
    return {{name}, {}};
}

// An attribute that is computed by a member function.
template <AttributeId id, auto functionPointer>
struct FunctionAttribute : Unchanging<id, AttributeKind::function, false> {
    static constexpr auto function = functionPointer;

    std::string_view name;
};

template <AttributeId id, auto functionPointer>
consteval FunctionAttribute<id, functionPointer> function(std::string_view name) {
    return {{}, name};
}

// The description of an entity type: its place in its module, its qualified name, its
// attributes.
template <const Zin::ZinModule& typeModule, std::uint32_t typeIndex, class... Attributes>
struct EntitySchema : describe::Schema<Attributes...> {
    static constexpr const Zin::ZinModule* module = &typeModule;
    static constexpr std::uint32_t index = typeIndex;
};

namespace check {

consteval bool ascending(std::initializer_list<AttributeId> ids) {
    return std::is_sorted(ids.begin(), ids.end());
}

template <AttributeId... ids>
consteval void numbers() {
    static_assert(
        describe::check::distinct<AttributeId>({0, ids...}),
        "Two attributes of this entity type have the same id.");
    static_assert(
        ascending({0, ids...}),
        "The attributes of this entity type are not listed in the order of their ids.");
    static_assert(
        ((ids >= Zin::NboAttrLog::firstAttributeId) && ...),
        "Attributes are numbered from 258; lower ids belong to the attribute log.");
}

}  // namespace check

template <const Zin::ZinModule& module, std::uint32_t index, class... Attributes>
consteval EntitySchema<module, index, Attributes...> entity(
    std::string_view typeName,
    Attributes... attributes) {
    check::numbers<Attributes::id...>();
    describe::check::distinctNames({std::string_view(), attributes.name...});
    return {{attributes..., typeName}};
}

// Not all of an entity type is a value, so its schema is taken as it stands.
template <class T>
inline constexpr auto entitySchemaOf = T::schema();

template <class T>
inline constexpr Zin::ZinTypeBase handleOf{entitySchemaOf<T>.module, entitySchemaOf<T>.index};

// The entity type that T derives from, or void.
template <class T>
using BaseOf = typename T::SchemaBase;
template <class T>
concept DerivedEntity = !std::is_void_v<BaseOf<T>>;

// Calls visit(attribute) for each attribute of T, inherited ones first.
template <class T>
constexpr void forEachAttribute(auto&& visit) {
    if constexpr (DerivedEntity<T>) forEachAttribute<BaseOf<T>>(visit);
    entitySchemaOf<T>.forEach(visit);
}

namespace detail {

// The attribute is a base of the schema; its member tells which.
template <auto member, AttributeId id, auto onChange, AttributeKind kind>
Attribute<id, member, onChange, kind> pick(const Attribute<id, member, onChange, kind>&);

template <class T, auto member>
concept ListsMember = requires {
    pick<member>(T::schema());
};

}  // namespace detail

// The attribute under which the schema of T lists the member.
template <class T, auto member>
struct AttributeForMember {
    static_assert(
        detail::ListsMember<T, member>,
        "The member to be changed is not in schema() of its entity type as a writable "
        "attribute.");
    using Type = decltype(detail::pick<member>(T::schema()));
};
template <class T, auto member>
using AttributeFor = typename AttributeForMember<T, member>::Type;

}  // namespace frame
