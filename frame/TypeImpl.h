// Zin::TypeImpl<T>: the hooks by which the runtime makes, streams and finds entities of a type,
// and the tables behind them. All follow from the schema; a module's source instantiates them
// once.

#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <type_traits>

#include "Zin/GenericIfImpl.h"
#include "Zin/Module.h"
#include "Zin/ValueInfoOf.h"
#include "frame/AttributeLog.h"
#include "frame/Entity.h"
#include "frame/GenericIf.h"

namespace frame {

// --- Attribute tables ------------------------------------------------------------------------

template <class T>
struct EntityTypeInfoOf;

namespace detail {

template <class V>
consteval const Zin::ValueInfo* valueInfoOfMembers() {
    if constexpr (InstantiatingCollection<V> || SetCollection<V>) {
        return nullptr;
    } else {
        return &Zin::valueInfo<typename V::Value>;
    }
}

template <class T, class A>
void forEachMember(const Zin::Entity& entity, Zin::MemberVisitor& visitor) {
    using V = typename A::Value;
    const V& collection = static_cast<const T&>(entity).*A::member;
    for (auto it = collection.iteratorConst(); it; ++it) {
        const typename V::Key& key = it.key();
        if constexpr (InstantiatingCollection<V>) {
            visitor.onMember(&key, nullptr, &childOf<V>(it.node()));
        } else if constexpr (SetCollection<V>) {
            visitor.onMember(&key, nullptr, nullptr);
        } else {
            visitor.onMember(&key, &it.node().value(), nullptr);
        }
    }
}

template <class T, class A>
Zin::MemberRef memberUnder(const Zin::Entity& entity, const void* key) {
    using V = typename A::Value;
    const V& collection = static_cast<const T&>(entity).*A::member;
    return memberRef<V>(collection.lookup(*static_cast<const typename V::Key*>(key)));
}

// The name of the field, or of the attribute, of a member that is its key.
template <class V>
consteval std::string_view keyFieldOf() {
    std::string_view name;
    if constexpr (InstantiatingCollection<V>) {
        name = "name";
        forEachAttribute<ChildOf<V>>([&]<class A>(const A& attribute) {
            if (A::id == ChildOf<V>::constructorAttributeIds[0]) name = attribute.name;
        });
    } else if constexpr (KeyInsideValue<V>) {
        describe::schemaOf<typename V::Value>.forEach([&]<class F>(const F& field) {
            if (std::same_as<typename F::Value, typename V::Key> && name.empty()) {
                name = field.name;
            }
        });
    }
    return name;
}

template <class T, class A>
consteval Zin::AttributeInfo attributeInfo(const A& attribute) {
    Zin::AttributeInfo info{};
    info.id = A::id;
    info.kind = A::kind;
    info.writable = A::writable;
    info.streamed = A::streamed;
    info.name = attribute.name;
    if constexpr (A::stored) {
        using V = typename A::Value;
        if constexpr (Collection<V>) {
            info.value = valueInfoOfMembers<V>();
            info.key = &Zin::valueInfo<typename V::Key>;
            info.members = [](const Zin::Entity& entity) {
                return (static_cast<const T&>(entity).*A::member).members();
            };
            info.forEachMember = &forEachMember<T, A>;
            info.member = &memberUnder<T, A>;
            info.keyField = keyFieldOf<V>();
            info.iteratorOps = &iteratorOpsOf<T, A>;
            if constexpr (InstantiatingCollection<V>) {
                info.childType = &EntityTypeInfoOf<ChildOf<V>>::info;
            }
        } else if constexpr (A::kind == AttributeKind::singleton) {
            info.childType = &EntityTypeInfoOf<typename Zin::PointeeOf<V>::Type>::info;
            info.child = [](const Zin::Entity& entity) -> const Zin::Entity* {
                return (static_cast<const T&>(entity).*A::member).get();
            };
        } else if constexpr (A::kind == AttributeKind::reference) {
            info.referencedType = &EntityTypeInfoOf<typename Zin::PointeeOf<V>::Type>::info;
            info.child = [](const Zin::Entity& entity) -> const Zin::Entity* {
                return (static_cast<const T&>(entity).*A::member).get();
            };
        } else {
            info.value = &Zin::valueInfo<V>;
            info.valueOf = [](const Zin::Entity& entity) -> const void* {
                return &(static_cast<const T&>(entity).*A::member);
            };
        }
    }
    if constexpr (!A::stored) {
        using Call = CallOf<A::function>;
        info.value = Zin::detail::valueInfoOrNull<typename Call::Result>();
        info.key = Zin::detail::valueInfoOrNull<typename Call::Argument>();
    }
    info.operate = &GenericIfOf<T, A>::operate;
    if constexpr (A::streamed) {
        using Log = AttributeLogOf<T, A>;
        info.send = &Log::send;
        info.apply = &Log::apply;
        info.resend = &Log::resend;
        info.keepHeld = &Log::keepHeld;
        if constexpr (Collection<typename A::Value>) {
            info.flowOut = &Log::handleSerializationOfColl;
            info.applyDeletion = &Log::applyDeletion;
            info.markAll = &Log::markAll;
            info.sweep = &Log::sweep;
            info.sameKey = &Log::sameKey;
            info.keySize = &Log::keySize;
            info.putKey = &Log::putKey;
        }
    }
    return info;
}

template <class T, const Zin::ZinModule& module, std::uint32_t index, class... Attributes>
consteval auto attributeInfos(const EntitySchema<module, index, Attributes...>& schema) {
    return std::array<Zin::AttributeInfo, sizeof...(Attributes)>{
        attributeInfo<T>(static_cast<const Attributes&>(schema))...};
}

template <std::size_t count>
consteval bool numbersAscend(const std::array<Zin::AttributeInfo, count>& all) {
    for (std::size_t i = 1; i < count; ++i) {
        if (all[i].id <= all[i - 1].id) return false;
    }
    return true;
}

template <std::size_t count>
consteval bool namesDiffer(const std::array<Zin::AttributeInfo, count>& all) {
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (all[i].name == all[j].name) return false;
        }
    }
    return true;
}

}  // namespace detail

// The attributes of T, by number.
template <class T>
struct AttributesOf {
    static constexpr auto all = detail::attributeInfos<T>(T::schema());
};
// The inherited ones first: their numbers are lower.
template <DerivedEntity T>
struct AttributesOf<T> {
    static_assert(
        !std::same_as<decltype(T::schema()), decltype(BaseOf<T>::schema())>,
        "An entity type that derives from another has a schema() of its own.");

    static constexpr auto& inherited = AttributesOf<BaseOf<T>>::all;
    static constexpr auto all = [] {
        constexpr auto own = detail::attributeInfos<T>(T::schema());
        std::array<Zin::AttributeInfo, inherited.size() + own.size()> attributes{};
        std::copy(inherited.begin(), inherited.end(), attributes.begin());
        std::copy(own.begin(), own.end(), attributes.begin() + inherited.size());
        return attributes;
    }();
    static_assert(
        detail::numbersAscend(all),
        "The attributes of an entity type are numbered behind those that it inherits.");
    static_assert(
        detail::namesDiffer(all),
        "An attribute of an entity type has the name of one that the type inherits.");
};

namespace detail {

template <class T>
consteval const Zin::EntityTypeInfo* baseInfo() {
    if constexpr (DerivedEntity<T>) {
        return &EntityTypeInfoOf<BaseOf<T>>::info;
    } else {
        return nullptr;
    }
}

template <class... Arguments>
consteval auto argumentInfos(const std::tuple<Arguments...>*) {
    return std::array<const Zin::ValueInfo*, sizeof...(Arguments)>{
        &Zin::valueInfo<Arguments>...};
}

}  // namespace detail

template <class T>
inline constexpr auto argumentsOf =
    detail::argumentInfos(static_cast<const typename T::ConstructorArguments*>(nullptr));

template <class T>
struct EntityTypeInfoOf {
    static constexpr Zin::EntityTypeInfo info{
        .name = entitySchemaOf<T>.typeName,
        .attributes = AttributesOf<T>::all,
        .constructorArguments = argumentsOf<T>,
        .constructorAttributeIds = T::constructorAttributeIds,
        .base = detail::baseInfo<T>(),
        .handle = handleOf<T>,
        .newEntityForDir = Zin::TypeImpl<T>::directoryHook(),
        .newEntityForAttrLog = &Zin::TypeImpl<T>::newEntityForAttrLog,
        .genericIfConstructFromCtorArgs = &Zin::TypeImpl<T>::genericIfConstructFromCtorArgs,
        .forEachConstructorArgument = &Zin::TypeImpl<T>::forEachConstructorArgument,
        .serializeConstructorParams = &Zin::TypeImpl<T>::serializeConstructorParams,
        .attrLogSizeCtorParams = &Zin::TypeImpl<T>::attrLogSizeCtorParams,
        .newFlowOut = &Zin::TypeImpl<T>::newFlowOut,
        .streamAdapterOnAttribute = &Zin::TypeImpl<T>::streamAdapterOnAttribute,
        .handleAttrFlowOut = &Zin::TypeImpl<T>::handleAttrFlowOut,
        .freeResyncState = &Zin::TypeImpl<T>::freeResyncState,
        .doHandleAttrTransaction = &Zin::TypeImpl<T>::doHandleAttrTransaction,
        .doHandleAttrDeserialization = &Zin::TypeImpl<T>::doHandleAttrDeserialization,
        .dumpState =
            [](const Zin::Entity& entity,
               const Quib::DumpContextPtr& context,
               unsigned indent) { static_cast<const T&>(entity).dumpState(context, indent); },
    };
};

template <class T>
inline constexpr const Zin::EntityTypeInfo& entityTypeInfo = EntityTypeInfoOf<T>::info;

// A type that may stand at the top of a directory says so: `static constexpr bool isRoot =
// true`.
template <class T>
concept RootEntity = requires {
    requires T::isRoot;
};

}  // namespace frame

namespace Zin {

template <frame::FrameEntity T>
struct TypeImpl<T> {
    using FlowOut = NboAttrLog::FlowOut;
    using In = NboAttrLog::In;
    using Out = NboAttrLog::Out;
    using Sa = NboAttrLog::Sa;

    // Types that are made with a name alone take no further arguments.
    static Ptr<Entity> newEntityForDir(const String& name, const void* extraArguments) requires
        frame::RootEntity<T> {
        if (extraArguments) {
            throwNewEntityArgsException(frame::handleOf<T>);
        }
        return frame::make<T>(name);
    }
    static consteval auto directoryHook() -> Ptr<Entity> (*)(const String&, const void*) {
        if constexpr (frame::RootEntity<T>) {
            return &newEntityForDir;
        } else {
            return nullptr;
        }
    }

    // Reads the constructor parameters in their order.
    static Ptr<Entity> newEntityForAttrLog(In* in) {
        typename T::ConstructorArguments arguments;
        return std::apply(
            [&](auto&... each) -> Ptr<Entity> {
                ((each = in->next<std::remove_reference_t<decltype(each)>>()), ...);
                return frame::make<T>(each...);
            },
            arguments);
    }

    // Makes an entity of arguments of which no type is known: each pointer points at a
    // constructor parameter, in their order. The result slot gets the raw pointer to the entity
    // (Zin::Entity*) and the reference that it holds.
    // Throws a NullPointerException when a pointer is null.
    static void genericIfConstructFromCtorArgs(void* result, const void* const* arguments) {
        using Arguments = typename T::ConstructorArguments;
        [&]<std::size_t... place>(std::index_sequence<place...>) {
            GenericIfImpl::requireArguments(
                frame::entitySchemaOf<T>.typeName,
                result,
                arguments,
                sizeof...(place));
            *static_cast<Entity**>(result) =
                frame::make<T>(*static_cast<const std::tuple_element_t<place, Arguments>*>(
                                   arguments[place])...)
                    .release();
        }
        (std::make_index_sequence<std::tuple_size_v<Arguments>>());
    }

    static void forEachConstructorArgument(
        const Entity& entity,
        void (*visit)(void* context, const void* argument),
        void* context) {
        std::apply(
            [&](const auto&... each) { (visit(context, &each), ...); },
            static_cast<const T&>(entity).constructorArguments());
    }

    // --- Reflective interface (Zin/GenericIf.h) ---
    static GenericIf::Status genericIfAttributeOp(
        void* result,
        Entity* object,
        const ZinAttr& attr,
        GenericIf::AttributeOp op,
        const void* key,
        const void* value) {
        return GenericIf::attributeOp(
            frame::entityTypeInfo<T>,
            result,
            object,
            attr,
            op,
            key,
            value);
    }
    static void* genericIfIterator(
        Entity* object,
        const ZinAttr& attr,
        const GenericIf::TypeIteratorOps** ops) {
        return GenericIf::iterator(frame::entityTypeInfo<T>, object, attr, ops);
    }
    static bool iterNonnull(const ZinAttr& attr, const void* iterator) {
        return GenericIf::typeIteratorOps.iterNonnull(attr, iterator);
    }
    static void iterInc(const ZinAttr& attr, void* iterator) {
        GenericIf::typeIteratorOps.iterInc(attr, iterator);
    }
    static void iterKey(const ZinAttr& attr, const void* iterator, void* out) {
        GenericIf::typeIteratorOps.iterKey(attr, iterator, out);
    }
    static void iterObj(const ZinAttr& attr, const void* iterator, void* out) {
        GenericIf::typeIteratorOps.iterObj(attr, iterator, out);
    }
    static void iterDel(const ZinAttr& attr, void* iterator) noexcept {
        GenericIf::typeIteratorOps.iterDel(attr, iterator);
    }

    static void serializeConstructorParams(Out& out, const Entity& entity) {
        std::apply(
            [&](const auto&... each) { (out << ... << each); },
            static_cast<const T&>(entity).constructorArguments());
    }
    static std::size_t attrLogSizeCtorParams(const Entity& entity) {
        return std::apply(
            [](const auto&... each) { return (NboAttrLog::attrLogSize(each) + ...); },
            static_cast<const T&>(entity).constructorArguments());
    }

    static Ptr<FlowOut> newFlowOut(Sa* sa, bool initial, AttributeId start) {
        using Made = frame::detail::MadeFlowOut<T, frame::AttributesOf<T>::all.size()>;
        AllocTrackTypeInfo& track = FlowOut::zinAllocTrackTypeInfo_;
        track.trackAllocation(typeid(FlowOut), sizeof(Made));
        Ptr<FlowOut> made;
        try {
            made = Ptr<FlowOut>(new (PtrInterface::zinMemAlloc(sizeof(Made)))
                                    Made(sa, frame::entityTypeInfo<T>, initial, start));
        } catch (...) {
            track.trackDeallocation(typeid(FlowOut), sizeof(Made));
            throw;
        }
        made->hasNotificationActiveIs(true);
        return made;
    }

    static int streamAdapterOnAttribute(Sa* sa, AttributeId id, const void* key) {
        return frame::streamAdapterOnAttribute(*sa, id, key);
    }
    static std::int32_t handleAttrFlowOut(Sa* sa, AttributeId start, FlowOut* flowOut) {
        return frame::handleAttrFlowOut(*sa, start, *flowOut);
    }
    static int freeResyncState(FlowOut* flowOut) { return frame::freeResyncState(*flowOut); }
    static void
    doHandleAttrTransaction(Sa* sa, AttributeId id, NboAttrLog::TransactionType type) {
        frame::doHandleAttrTransaction(*sa, id, type);
    }
    static void doHandleAttrDeserialization(
        Sa* sa,
        AttributeId id,
        bool fromReadOnlyProxy,
        std::uint32_t,
        In* in) {
        frame::doHandleAttrDeserialization(*sa, id, fromReadOnlyProxy, *in);
    }
};

}  // namespace Zin
