// The typed entry operations of a hashed collection, for its operation table
// (Zin/HashMap2018Core.h). They are thin: what needs no types is in the core. None may throw.

#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "Zin/Hash.h"
#include "Zin/HashMap2018Core.h"

namespace Zin {

template <class Key>
concept HashableKey = requires(const Key& key) {
    { hashSingleAttr(std::uint32_t{}, key) } -> std::same_as<std::uint32_t>;
};

// Where an operation of the table has a choice, the collection takes the one for plain bytes
// when its entries allow it.
template <class Coll, class K>
struct HashMap2018Ops {
    using Node = typename Coll::Node;

    static_assert(alignof(Node) <= 16, "entries of a bucket start at a multiple of 16 bytes");
    static_assert(
        std::is_nothrow_destructible_v<Node>,
        "members must not throw when destroyed");

    static constexpr bool movesAsBytes = Node::relocatesAsBytes;
    static constexpr bool copiesAsBytes = std::is_trivially_copyable_v<Node>;

    // For what a search seldom calls: were the address of a small key needed there, each search
    // would compute it.
    using SmallKey = std::conditional_t<
        std::is_trivially_copyable_v<K> && sizeof(K) <= sizeof(void*),
        const K,
        const K&>;

    static std::uint32_t hashOf(const K& key) noexcept {
        static_assert(
            HashableKey<K>,
            "give the key a member `std::uint32_t hash(std::uint32_t seed) const`");
        return hashSingleAttr(HashHelper::hashSeed32() ^ Coll::seed_, key);
    }
    static const Node& nodeAt(const void* entry) noexcept {
        return *static_cast<const Node*>(entry);
    }

    static bool keyEqualsNode(const void* key, const void* node) noexcept {
        return *static_cast<const K*>(key) == nodeAt(node).key();
    }
    static void place(
        const HashMap2018VTable& vt,
        void* slot,
        void* from,
        HashMap2018Placing placing) noexcept {
        Node& node = *static_cast<Node*>(from);
        if (placing == HashMap2018Placing::copy) {
            new (slot) Node(std::as_const(node));
        } else if constexpr (movesAsBytes) {
            HashMap2018Generic::trivialPlace(vt, slot, from, placing);
        } else {
            new (slot) Node(std::move(node));
            std::destroy_at(&node);
        }
    }
    static std::uint32_t
    compareOrLruUnlink(const void* key, const void* nodeA, const void* nodeB) noexcept {
        const auto compared = [nodeB](const K& left) -> std::uint32_t {
            const K& right = nodeAt(nodeB).key();
            return left == right ? 0 : left < right ? 1 : 2;
        };
        return nodeA ? compared(nodeAt(nodeA).key()) : compared(*static_cast<const K*>(key));
    }
    static void destroyNode(void* node) noexcept { static_cast<Node*>(node)->~Node(); }
    static void
    hashNodes(const void* entries, unsigned positions, std::uint32_t* hashes) noexcept {
        for (; positions != 0; positions &= positions - 1) {
            *hashes++ =
                hashOf(static_cast<const Node*>(entries)[std::countr_zero(positions)].key());
        }
    }
    static void moveNodes(void* to, unsigned free, void* from, unsigned positions) noexcept {
        for (; positions != 0; positions &= positions - 1, free &= free - 1) {
            Node* const slot = static_cast<Node*>(to) + std::countr_zero(free);
            Node& node = static_cast<Node*>(from)[std::countr_zero(positions)];
            if constexpr (movesAsBytes) {
                std::memcpy(static_cast<void*>(slot), static_cast<void*>(&node), sizeof(Node));
            } else {
                new (slot) Node(std::move(node));
                std::destroy_at(&node);
            }
        }
    }
    static std::uint64_t
    settledOrder(const void* entries, std::uint64_t word, unsigned used) noexcept {
        namespace order = hashed::order;
        const Node* const nodes = static_cast<const Node*>(entries);
        unsigned count = order::settled(word);
        std::uint64_t sorted = word & order::positions;
        for (unsigned left = used & ~order::positionsIn(word); left != 0; left &= left - 1) {
            const auto position = static_cast<unsigned>(std::countr_zero(left));
            const K& key = nodes[position].key();
            unsigned first = 0;
            unsigned last = count;
            while (first < last) {
                const unsigned middle = (first + last) / 2;
                if (nodes[order::position(sorted, middle)].key() < key) {
                    first = middle + 1;
                } else {
                    last = middle;
                }
            }
            sorted = order::inserted(sorted, first, position);
            ++count;
        }
        return sorted | std::uint64_t{count} << 60;
    }
};

}  // namespace Zin
