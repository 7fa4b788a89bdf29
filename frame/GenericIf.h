// The reflective interface of one attribute of an entity type (Zin/GenericIf.h): typed
// operations behind untyped pointers. What is set goes through the entity's own mutators.

#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Zin/Exceptions.h"
#include "Zin/GenericIf.h"
#include "frame/Entity.h"

namespace frame {

// A member as it is stored, of the node under its key; of null there is none.
template <Collection C, class Node>
Zin::MemberRef memberRef(const Node* node) {
    if (!node) return {};
    if constexpr (InstantiatingCollection<C>) {
        return {true, nullptr, &childOf<C>(*node)};
    } else if constexpr (SetCollection<C>) {
        return {true, nullptr, nullptr};
    } else {
        return {true, &node->value(), nullptr};
    }
}

namespace detail {

template <class V>
concept Reflected =
    (Zin::detail::kindOf<V>() != Zin::ValueKind::collection) || Zin::detail::CollectionValue<V>;

// Void where there is nothing, or nothing that has a table.
template <class V>
struct ReflectedOr {
    using Type = void;
};
template <Reflected V>
struct ReflectedOr<V> {
    using Type = V;
};

template <class Function>
struct Call {
    using Result = void;
    using Argument = void;
};
template <class R, class Owner, bool isNoexcept>
struct Call<R (Owner::*)() const noexcept(isNoexcept)> {
    using Result = typename ReflectedOr<std::remove_cvref_t<R>>::Type;
    using Argument = void;
};
template <class R, class Owner, class A, bool isNoexcept>
requires Reflected<std::remove_cvref_t<A>>
struct Call<R (Owner::*)(A) const noexcept(isNoexcept)> {
    using Result = typename ReflectedOr<std::remove_cvref_t<R>>::Type;
    using Argument = std::remove_cvref_t<A>;
};

}  // namespace detail

// How a function of an entity is called by who knows no types: `Result` is void for one that
// cannot be, because it gives nothing or takes more than one argument; `Argument` for one that
// takes none.
template <auto function>
using CallOf = detail::Call<decltype(function)>;

template <class T, class A>
struct GenericIfOf {
    using Op = Zin::GenericIf::AttributeOp;
    using Status = Zin::GenericIf::Status;

    static Status
    operate(void* result, Zin::Entity& given, Op op, const void* key, const void* value) {
        T& entity = static_cast<T&>(given);
        if constexpr (!A::stored) {
            return call(result, entity, op, key);
        } else if constexpr (Collection<typename A::Value>) {
            return onCollection(result, entity, op, key, value);
        } else if constexpr (A::kind == AttributeKind::singleton) {
            return onChild(result, entity, op, key, value);
        } else if constexpr (A::kind == AttributeKind::reference) {
            return onReference(result, entity, op, value);
        } else {
            return onSingle(result, entity, op, value);
        }
    }

  private:
    template <class V>
    static const V& due(const T& entity, const void* pointer, const char* what) {
        return *static_cast<const V*>(required(entity, pointer, what));
    }
    template <class V>
    static V& slot(const T& entity, void* pointer) {
        required(entity, pointer, "a place for the result");
        return *static_cast<V*>(pointer);
    }
    static const void* required(const T& entity, const void* pointer, const char* what) {
        if (pointer) return pointer;
        Zin::GenericIfImpl::throwNullPointerException(entity, A::id, what);
    }

    static Status call(void* result, const T& entity, Op op, const void* key) {
        using Result = typename CallOf<A::function>::Result;
        using Argument = typename CallOf<A::function>::Argument;
        if constexpr (!std::is_void_v<Result>) {
            if (op != Op::get) return Status::unsupported;
            Result& to = slot<Result>(entity, result);
            if constexpr (std::is_void_v<Argument>) {
                to = (entity.*A::function)();
            } else {
                to = (entity.*A::function)(due<Argument>(entity, key, "an argument"));
            }
            return Status::done;
        }
        return Status::unsupported;
    }

    static Status onSingle(void* result, T& entity, Op op, const void* value) {
        using V = typename A::Value;
        if (op == Op::get) {
            slot<V>(entity, result) = entity.*A::member;
            return Status::done;
        }
        if constexpr (A::writable) {
            if (op == Op::set) {
                entity.template valueIs<A::member>(due<V>(entity, value, "a value"));
                return Status::done;
            }
        }
        return Status::unsupported;
    }

    static Status onReference(void* result, T& entity, Op op, const void* value) {
        using Target = typename Zin::PointeeOf<typename A::Value>::Type;
        if (op == Op::get) {
            slot<Zin::Ptr<Zin::Entity>>(entity, result) = entity.*A::member;
            return Status::done;
        }
        if (op != Op::set) return Status::unsupported;
        const auto& named = due<Zin::Ptr<Zin::Entity>>(entity, value, "a reference");
        if (named && !named->fwkType().isDerived(handleOf<Target>)) {
            Zin::GenericIfImpl::throwTypeException(
                entity,
                A::id,
                named->fwkType(),
                handleOf<Target>);
        }
        entity.template valueIs<A::member>(Zin::Ptr<Target>(static_cast<Target*>(named.get())));
        return Status::done;
    }

    // Calls make(name, further constructor arguments...).
    template <class Child, class Make>
    static void
    makeChild(const T& entity, const void* key, const void* more, const Make& make) {
        using Arguments = typename Child::ConstructorArguments;
        const auto& name = due<std::tuple_element_t<0, Arguments>>(entity, key, "a name");
        [&]<std::size_t... place>(std::index_sequence<place...>) {
            const auto* const arguments = static_cast<const void* const*>(more);
            if constexpr (sizeof...(place) != 0)
                required(entity, arguments, "an array of arguments");
            make(
                name,
                due<std::tuple_element_t<place + 1, Arguments>>(
                    entity,
                    arguments[place],
                    "a constructor argument")...);
        }
        (std::make_index_sequence<std::tuple_size_v<Arguments> - 1>());
    }

    static Status onChild(void* result, T& entity, Op op, const void* key, const void* value) {
        using Child = typename Zin::PointeeOf<typename A::Value>::Type;
        switch (op) {
            case Op::get:
                slot<Zin::Ptr<Zin::Entity>>(entity, result) = entity.*A::member;
                return Status::done;
            case Op::set:
                makeChild<Child>(entity, key, value, [&](const auto&... arguments) {
                    entity.template singletonIs<A::member>(arguments...);
                });
                return Status::done;
            case Op::del: {
                Zin::Ptr<Zin::Entity> removed = entity.template singletonDel<A::member>();
                if (result) *static_cast<Zin::Ptr<Zin::Entity>*>(result) = std::move(removed);
                return Status::done;
            }
            default:
                return Status::unsupported;
        }
    }

    static Status
    onCollection(void* result, T& entity, Op op, const void* key, const void* value) {
        using V = typename A::Value;
        const auto& collection = entity.*A::member;
        switch (op) {
            case Op::get:
                slot<Zin::MemberRef>(entity, result) =
                    memberRef<V>(collection.lookup(due<typename V::Key>(entity, key, "a key")));
                return Status::done;
            case Op::set:
                insert(entity, key, value);
                return Status::done;
            case Op::del:
                remove(result, entity, due<typename V::Key>(entity, key, "a key"));
                return Status::done;
            case Op::members:
                slot<std::uint32_t>(entity, result) = collection.members();
                return Status::done;
            case Op::version:
                slot<std::uint32_t>(entity, result) = collection.version();
                return Status::done;
            case Op::contains:
                slot<bool>(entity, result) =
                    collection.has(due<typename V::Key>(entity, key, "a key"));
                return Status::done;
        }
        return Status::unsupported;
    }

    static void insert(T& entity, const void* key, const void* value) {
        using V = typename A::Value;
        using Key = typename V::Key;
        if constexpr (InstantiatingCollection<V>) {
            using Name = std::tuple_element_t<0, typename ChildOf<V>::ConstructorArguments>;
            static_assert(
                std::same_as<Key, Name>,
                "Children are kept under the constructor argument that they are made with "
                "first.");
            makeChild<ChildOf<V>>(entity, key, value, [&](const auto&... arguments) {
                entity.template childIs<A::member>(arguments...);
            });
        } else if constexpr (SetCollection<V>) {
            entity.template memberIs<A::member>(due<Key>(entity, key, "a key"));
        } else if constexpr (KeyInsideValue<V>) {
            const auto& member = due<typename V::Value>(entity, value, "a value");
            if (key && !(*static_cast<const Key*>(key) == keyInside<V>(member))) {
                throw Zin::Exception(
                    Zin::described(entity, A::id, key) + ": the value lies under key " +
                    Zin::textOf(keyInside<V>(member)));
            }
            entity.template memberIs<A::member>(member);
        } else {
            entity.template memberIs<A::member>(
                due<Key>(entity, key, "a key"),
                due<typename V::Value>(entity, value, "a value"));
        }
    }

    template <class Key>
    static void remove(void* result, T& entity, const Key& key) {
        using V = typename A::Value;
        if constexpr (InstantiatingCollection<V>) {
            Zin::Ptr<Zin::Entity> removed = entity.template childDel<A::member>(key);
            if (result) *static_cast<Zin::Ptr<Zin::Entity>*>(result) = std::move(removed);
        } else if constexpr (SetCollection<V>) {
            entity.template memberDel<A::member>(key);
        } else {
            auto removed = entity.template memberDel<A::member>(key);
            if (result) *static_cast<typename V::Value*>(result) = std::move(removed);
        }
    }
};

// Walks over one collection attribute.
template <class T, class A>
inline constexpr Zin::GenericIf::IteratorOps iteratorOpsOf{
    .make = [](Zin::Entity& entity) -> void* {
        using Iterator = typename A::Value::IteratorConst;
        return new Iterator((static_cast<const T&>(entity).*A::member).iteratorConst());
    },
    .nonnull = [](const void* iterator) -> bool {
        return static_cast<bool>(
            *static_cast<const typename A::Value::IteratorConst*>(iterator));
    },
    .inc = [](void* iterator) { ++*static_cast<typename A::Value::IteratorConst*>(iterator); },
    .key =
        [](const void* iterator, void* out) {
            *static_cast<typename A::Value::Key*>(out) =
                static_cast<const typename A::Value::IteratorConst*>(iterator)->key();
        },
    .obj = [](const void* iterator) -> Zin::MemberRef {
        return memberRef<typename A::Value>(
            &static_cast<const typename A::Value::IteratorConst*>(iterator)
                 ->currNodeNonStale());
    },
    .del =
        [](void* iterator) noexcept {
            delete static_cast<typename A::Value::IteratorConst*>(iterator);
        },
};

}  // namespace frame
