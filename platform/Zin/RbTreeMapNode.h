// The nodes of ordered collections. A collection class derives from one of the templates:
//
//     struct ZinAcIntfEncap : RbTreeMapNodeExternKey<IntfEncap, bool> {};
//     struct ZinVlan : RbTreeMapNodeInternalKey<VlanId, VplsVlanConfig, VlanKeyFunktor> {};
//     struct ZinInstance : RbTreeMapNodeEntity<String, VplsInstanceConfig, InstanceKeyFunktor>
//     {};
//
// The first two make nodes that hold a value; in the third the entity, which derives from
// RbTreeNode, is the node. Keys need == and <. Values need ==.

#pragma once

#include <cstddef>
#include <typeinfo>
#include <utility>

#include "Zin/AllocTrack.h"
#include "Zin/Assert.h"
#include "Zin/Ptr.h"
#include "Zin/RbTreeMapCore.h"

namespace Zin {

template <class Coll, class K, class V>
class RbTreeMap;

// What the nodes that the library makes have in common: their memory.
template <class Node>
class RbTreeMapNodeBase : public PtrInterface, public RbTreeNode {
  public:
    static constinit inline AllocTrackTypeInfo zinAllocTrackTypeInfo_;

    static void* operator new(std::size_t bytes) {
        zinAllocTrackTypeInfo_.trackAllocation(typeid(Node), bytes);
        try {
            return zinMemAlloc(bytes);
        } catch (...) {
            zinAllocTrackTypeInfo_.trackDeallocation(typeid(Node), bytes);
            throw;
        }
    }
    static void operator delete(void* memory, std::size_t bytes) noexcept {
        zinMemFree(memory, bytes);
        zinAllocTrackTypeInfo_.trackDeallocation(typeid(Node), bytes);
    }
};

template <class K, class V>
struct RbTreeMapNodeExternKey {
    using Key = K;
    using Value = V;
    static constexpr bool entityIsNode = false;
    static constexpr bool keyInsideValue = false;

    class Node final : public RbTreeMapNodeBase<Node> {
      public:
        Node(const K& key, const V& value) : key_(key), value_(value) {}
        const K& key() const noexcept { return key_; }
        const V& value() const noexcept { return value_; }

      private:
        template <class, class, class>
        friend class RbTreeMap;
        K key_;
        V value_;
    };
    static const K& keyOf(const Node& node) noexcept { return node.key(); }
};

template <class K, class V, class KeyFunktor>
struct RbTreeMapNodeInternalKey {
    using Key = K;
    using Value = V;
    static constexpr bool entityIsNode = false;
    static constexpr bool keyInsideValue = true;

    class Node final : public RbTreeMapNodeBase<Node> {
      public:
        explicit Node(const V& value) : value_(value) {}
        decltype(auto) key() const noexcept { return KeyFunktor()(value_); }
        const V& value() const noexcept { return value_; }

      private:
        template <class, class, class>
        friend class RbTreeMap;
        V value_;
    };
    static decltype(auto) keyOf(const Node& node) noexcept { return node.key(); }
    static decltype(auto) keyOf(const V& value) noexcept { return KeyFunktor()(value); }
};

// The functor takes the entity.
template <class K, class Child, class KeyFunktor>
struct RbTreeMapNodeEntity {
    using Key = K;
    using Value = Child;
    using Node = Child;
    static constexpr bool entityIsNode = true;
    static constexpr bool keyInsideValue = true;

    static decltype(auto) keyOf(const Node& node) noexcept { return KeyFunktor()(node); }
};

}  // namespace Zin
