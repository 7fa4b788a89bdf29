// What the frame needs to know of a keyed collection, hashed or ordered, to treat them alike:
// its key, its value or child, and whether the key lies inside the value.

#pragma once

#include <concepts>
#include <type_traits>

#include "Zin/Entity.h"
#include "Zin/Ptr.h"

namespace frame {

template <class C>
concept Collection = requires(const C& collection) {
    typename C::Key;
    typename C::Value;
    { collection.members() } -> std::same_as<std::uint32_t>;
};

namespace detail {

template <class V>
struct ChildIn {
    using Type = void;
};
template <class Child>
struct ChildIn<Zin::Ptr<Child>> {
    using Type = Child;
};
// An entity that is the node of its tree.
template <class Child>
requires std::derived_from<Child, Zin::Entity>
struct ChildIn<Child> {
    using Type = Child;
};

// The class that describes the nodes of a keyed collection.
template <template <class, class, class> class Map, class Coll, class K, class V>
Coll collOf(const Map<Coll, K, V>*);

template <class V>
struct KeyIn {
    struct Type {};
};
template <class V>
requires requires {
    typename V::Key;
}
struct KeyIn<V> {
    using Type = typename V::Key;
};

}  // namespace detail

// The key of a collection; a type of its own for all others.
template <class V>
using KeyOf = typename detail::KeyIn<V>::Type;

// The child entity type of an instantiating collection, or void.
template <Collection C>
using ChildOf = typename detail::ChildIn<typename C::Value>::Type;

template <class C>
concept InstantiatingCollection = Collection<C> && !std::is_void_v<ChildOf<C>>;
template <class C>
concept SetCollection = Collection<C> && std::is_void_v<typename C::Value>;
template <class C>
concept ValueCollection = Collection<C> && !InstantiatingCollection<C> && !SetCollection<C>;
// The entity itself is the node: inserting and erasing deal in children, not in handles.
template <class C>
concept EntityNodeCollection =
    Collection<C> && std::derived_from<typename C::Value, Zin::Entity>;
// Resumes a walk at a hash position; ordered ones resume at a key.
template <class C>
concept HashedCollection = Collection<C> && requires(const C& c) {
    c.visitBucket(std::uint32_t{}, [](const typename C::Node&) {});
};
template <class C>
concept KeyInsideValue = ValueCollection<C> && requires(C& c, const typename C::Value& v) {
    c.put(v);
};

// The key that lies inside the value.
template <KeyInsideValue C>
decltype(auto) keyInside(const typename C::Value& value) {
    return decltype(detail::collOf(static_cast<const C*>(nullptr)))::keyOf(value);
}

// The child under the key, or null.
template <InstantiatingCollection C>
Zin::Ptr<ChildOf<C>> childIn(const C& collection, const typename C::Key& key) {
    const auto* const node = collection.lookup(key);
    if (!node) return {};
    if constexpr (EntityNodeCollection<C>) {
        return Zin::Ptr<ChildOf<C>>(const_cast<ChildOf<C>*>(node));
    } else {
        return node->value();
    }
}

// The child of a member that a walk came to.
template <InstantiatingCollection C, class Node>
ChildOf<C>& childOf(const Node& node) {
    if constexpr (EntityNodeCollection<C>) {
        return const_cast<ChildOf<C>&>(node);
    } else {
        return *node.value();
    }
}

// The key of a member that a walk came to.
template <InstantiatingCollection C, class Node>
decltype(auto) keyOfChild(const Node& node) {
    if constexpr (EntityNodeCollection<C>) {
        return decltype(detail::collOf(static_cast<const C*>(nullptr)))::keyOf(node);
    } else {
        return node.key();
    }
}

}  // namespace frame
