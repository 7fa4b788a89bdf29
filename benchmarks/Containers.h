// The containers that are compared, behind one interface: find (a pointer, or null), insert,
// erase, forEach.

#pragma once

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

#include <cstdint>
#include <map>
#include <type_traits>
#include <unordered_map>
#include <vector>

#if __has_include(<boost/unordered/unordered_flat_map.hpp>)
#include <boost/unordered/unordered_flat_map.hpp>
#endif

#include "Keys.h"
#include "Pseudowire/VplsConfig.h"
#include "Zin/HashMap2018.h"
#include "Zin/Ptr.h"
#include "Zin/RbTreeMap.h"

namespace bench {

// A collection of the library, hashed or ordered, whose key lies beside the value.
template <class M>
struct Ours {
    using Key = typename M::Key;
    using Value = typename M::Value;
    M map;

    Ours() = default;
    Ours(const Ours&) requires std::is_copy_constructible_v<M>
    = default;
    Ours(Ours&&) = default;

    const Value* find(const Key& key) const {
        const auto* const node = map.lookup(key);
        return node ? &node->value() : nullptr;
    }
    void insert(const Key& key, const Value& value) { map.put(key, value); }
    void erase(const Key& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const auto& node : map) f(node.value());
    }
};

template <class M>
struct Peer {
    using Key = typename M::key_type;
    using Value = typename M::mapped_type;
    M map;

    const Value* find(const Key& key) const {
        const auto at = map.find(key);
        return at == map.end() ? nullptr : &at->second;
    }
    void insert(const Key& key, const Value& value) { map.insert_or_assign(key, value); }
    void erase(const Key& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const auto& [key, value] : map) f(value);
    }
};

template <class K, class V>
struct HashedMembers : Zin::HashMap2018NodeExternKey<false, 0x5eed, K, V, false> {};
template <class K, class V>
struct OrderedMembers : Zin::RbTreeMapNodeExternKey<K, V> {};

template <class K, class V>
using Hashed = Ours<Zin::HashMap2018<HashedMembers<K, V>, K, V>>;
template <class K, class V>
using Absl = Peer<absl::flat_hash_map<K, V, Hasher<K>>>;
template <class K, class V>
using AbslOwnHash = Peer<absl::flat_hash_map<K, V>>;
template <class K, class V>
using Std = Peer<std::unordered_map<K, V, Hasher<K>>>;
#if __has_include(<boost/unordered/unordered_flat_map.hpp>)
template <class K, class V>
using Boost = Peer<boost::unordered_flat_map<K, V, Hasher<K>>>;
#endif

template <class K, class V>
using Ordered = Ours<Zin::RbTreeMap<OrderedMembers<K, V>, K, V>>;
template <class K, class V>
using StdMap = Peer<std::map<K, V>>;
template <class K, class V>
using AbslBtree = Peer<absl::btree_map<K, V>>;

// Children of an entity by name. In the library's collection the child is the node.
struct OrderedChildren {
    using Key = Zin::String;
    using Value = Zin::Ptr<Instance>;
    Pseudowire::VplsConfig::InstanceMap map;

    const Instance* find(const Key& key) const { return map.lookup(key); }
    void insert(const Key&, const Value& child) { map.memberNewChild(child); }
    void erase(const Key& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const Instance& child : map) f(child);
    }
};
struct StdMapOfChildren {
    using Key = Zin::String;
    using Value = Zin::Ptr<Instance>;
    std::map<Key, Value> map;

    const Instance* find(const Key& key) const {
        const auto at = map.find(key);
        return at == map.end() ? nullptr : &*at->second;
    }
    void insert(const Key& key, const Value& child) { map.try_emplace(key, child); }
    void erase(const Key& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const auto& [key, child] : map) f(*child);
    }
};

// What is inserted under the i-th key.
template <class C>
const typename C::Value& memberAt(std::size_t i) {
    using Value = typename C::Value;
    if constexpr (std::is_same_v<Value, Zin::Ptr<Instance>>) {
        static std::vector<Value> children;
        while (children.size() <= i) {
            children.push_back(
                Pseudowire::vplsInstanceConfigFactory(keyAt<Zin::String>(children.size())));
        }
        return children[i];
    } else {
        return valueAt<Value>(0);
    }
}

template <class C>
void fill(C& container, const std::vector<typename C::Key>& keys) {
    for (std::size_t i = 0; i < keys.size(); ++i) container.insert(keys[i], memberAt<C>(i));
}

}  // namespace bench
