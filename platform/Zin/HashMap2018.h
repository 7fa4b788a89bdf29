// HashMap2018 is a hashed collection of members with unique keys, in three kinds that the
// collection class chooses (Zin/HashMap2018Node.h): key and value, value that contains its key,
// key alone.
//
// Copies take constant time: they share storage until one of them changes, and a change copies
// the bucket that it touches. No operation on one member rehashes the others, so each takes
// bounded time whatever the size. Maps with equal members have the same order whatever their
// history; otherwise the order means nothing, and differs between processes.
//
// References to members are valid until the map changes. One thread at a time uses a map;
// copies may be used by others when Zin::VFPtrInterface::threadSafePointers_ is set. Where an
// operation throws std::bad_alloc the map is as it was. An empty map holds no memory.
//
// Cost: in a large map a lookup misses the cache about once where the key is present and waits
// for no bucket where it is absent; it never allocates.

#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "Zin/AllocTrack.h"
#include "Zin/Export.h"
#include "Zin/Fetch.h"
#include "Zin/HashMap2018Core.h"
#include "Zin/HashMap2018Iterator.h"
#include "Zin/HashMap2018Node.h"
#include "Zin/HashMap2018Ops.h"

namespace Zin {

template <class Coll, class K, class V>
class ZIN_EXPORT HashMap2018 {
  public:
    using Key = K;
    using Value = V;
    using Node = typename Coll::Node;
    class IteratorConst;
    class Iterator;
    class UnsafeIteratorConst;

    // Whether members are keys alone.
    static constexpr bool isSet = std::is_void_v<V>;

    HashMap2018() noexcept = default;
    HashMap2018(const HashMap2018& other) noexcept = default;
    HashMap2018(HashMap2018&& other) noexcept = default;
    ~HashMap2018() { core_.dispose(vt_); }
    HashMap2018& operator=(const HashMap2018& other) noexcept {
        core_.assignOp(vt_, other.core_);
        return *this;
    }
    HashMap2018& operator=(HashMap2018&& other) noexcept {
        core_.assignOp(vt_, std::move(other.core_));
        return *this;
    }

    std::uint32_t members() const noexcept { return core_.members(); }
    bool empty() const noexcept { return members() == 0; }
    // Counts changes modulo 2^23. A put of an equal value and a failed erase change nothing.
    std::uint32_t version() const noexcept { return core_.version(); }

    // The hash of a key in this collection: under the process's seed and its own.
    static std::uint32_t hashOf(const K& key) noexcept { return Ops::hashOf(key); }

    // The member with the key, or null.
    const Node* lookup(const K& key) const noexcept {
        const std::uint32_t hash = hashOf(key);
        return find(core_.leafOf(hash), hash, key);
    }
    const Node* operator[](const K& key) const noexcept { return lookup(key); }
    bool has(const K& key) const noexcept { return lookup(key) != nullptr; }

    // Inserts a member, or overwrites the value where a different one is stored. The arguments
    // may be parts of this map.
    template <class Same = V>
    requires(!std::is_void_v<Same> && !Coll::keyInsideValue) Put
        put(const K& key, const std::type_identity_t<Same>& value) {
        return putMember(key, value, key, value);
    }
    template <class Same = V>
    requires(!std::is_void_v<Same> && Coll::keyInsideValue) Put
        put(const std::type_identity_t<Same>& value) {
        return putMember(Node::keyOf(value), value, value);
    }
    Put put(const K& key) requires(isSet) {
        const std::uint32_t hash = hashOf(key);
        const hashed::Leaf leaf = core_.leafOf(hash);
        if (find(leaf, hash, key)) return Put::unchanged;
        insert(leaf, hash, key, key);
        return Put::inserted;
    }

    // Whether there was one. The key may be part of the member.
    bool erase(const K& key) {
        if constexpr (std::is_trivially_destructible_v<Node>) {
            return remove(key, nullptr);
        } else {
            return eraseTo(key, [](Node&) {});
        }
    }
    // Moves the removed value out.
    template <class Same = V>
    requires(
        !std::is_void_v<Same>) bool erase(const K& key, std::type_identity_t<Same>* removed) {
        return eraseTo(key, [removed](Node& node) {
            *removed = std::move(node.mutableValue());
        });
    }
    void clear() noexcept { core_._memberDelAll(vt_); }

    // Marks tell members that a resynchronisation has not confirmed yet. Each member that is
    // present is marked; inserting, overwriting and copying leave marks alone.
    void zinMarkAllForDeletion() { core_.zinMarkAllForDeletion(vt_); }
    bool zinMarkedForDeletion(const K& key) const noexcept {
        return markedMembers() != 0 && core_.zinMarkedForDeletionGIs(vt_, {&key, hashOf(key)});
    }
    // Does nothing where the key is absent.
    void zinMarkedForDeletionIs(const K& key, bool marked) {
        if (!marked && markedMembers() == 0) return;
        core_.zinMarkedForDeletionGIs(vt_, {&key, hashOf(key)}, marked);
    }
    std::uint32_t markedMembers() const noexcept { return core_.markedMembers(); }

    // What a walk by positions ends with.
    static constexpr std::uint64_t visitEnd = HashMap2018Generic::hashEnd;

    // One step of a walk that may rest between steps while the map changes: visits the members
    // of the bucket that covers the hash position, without those before it, and returns the
    // position to go on with, in the end visitEnd. A walk from 0 visits each member that is
    // present throughout exactly once. REQUIRES: f(const Node&) leaves this map alone.
    template <class F>
    std::uint64_t visitBucket(std::uint32_t from, F&& f) const {
        const HashMap2018Generic::LeafRange range = core_.leafRange(from);
        if (range.next != 0) hashed::fetchLeaf(vt_, range.next);
        hashed::Chunk chunk = hashed::firstChunkFrom(vt_, range, from);
        for (;;) {
            if constexpr (keepsElsewhere<K>() || keepsElsewhere<V>()) {
                for (hashed::Chunk all = chunk; all.left > 0;) {
                    const Node& node = nodeAt(all.take(sizeof(Node)));
                    if constexpr (!Coll::keyInsideValue) fetchKept(node.key());
                    if constexpr (!isSet) fetchKept(node.value());
                }
            }
            while (chunk.left > 0) f(nodeAt(chunk.take(sizeof(Node))));
            if (chunk.listLeft == 0) return range.end;
            chunk = hashed::nextChunk(vt_, chunk.entries, chunk.listLeft);
        }
    }

    // Safe iteration; see IteratorConst.
    IteratorConst iteratorConst() const noexcept { return IteratorConst(*this); }
    Iterator iterator() noexcept { return Iterator(*this); }
    // Unsafe iteration: any change of the map ends it.
    UnsafeIteratorConst begin() const noexcept { return UnsafeIteratorConst(*this); }
    std::default_sentinel_t end() const noexcept { return {}; }

    // Equal members. Nested maps compare in turn; nothing may throw.
    friend bool operator==(const HashMap2018& a, const HashMap2018& b) noexcept {
        if (a.members() != b.members()) return false;
        if (a.core_.sameRoot(b.core_)) return true;
        UnsafeIteratorConst other = b.begin();
        for (const Node& node : a) {
            if (!membersEqual(node, *other)) return false;
            ++other;
        }
        return true;
    }

    // For tests: asserts every invariant of the structure. Linear.
    void validate() const { core_.validate(vt_); }

    static const HashMap2018VTable vt_;
    static constinit inline AllocTrackTypeInfo zinAllocTrackTypeInfo_;

  private:
    using Ops = HashMap2018Ops<Coll, K>;

    static const Node& nodeAt(const void* entry) noexcept {
        return *static_cast<const Node*>(entry);
    }
    // Of the lowest position in a mask; in 32 bits, which needs no sign extension.
    static unsigned offsetOf(unsigned positions) noexcept {
        return static_cast<unsigned>(std::countr_zero(positions)) *
               static_cast<unsigned>(sizeof(Node));
    }
    static Node* nodesOf(hashed::Bucket& bucket) noexcept {
        return reinterpret_cast<Node*>(bucket.entries());
    }

    static const Node*
    find(const hashed::Leaf& leaf, std::uint32_t hash, const K& key) noexcept {
        // At a list nothing matches.
        for (unsigned left = leaf.matches(hash); left != 0; left &= left - 1) {
            const Node& node = nodeAt(hashed::bucketOf(leaf.slot).entries() + offsetOf(left));
            if (key == node.key()) [[likely]] {
                return &node;
            }
        }
        return hashed::isList(leaf.slot) ? findInList(leaf.slot, key) : nullptr;
    }
    [[gnu::cold, gnu::noinline]] static const Node* findInList(
        hashed::Slot list,
        typename Ops::SmallKey key) noexcept {
        return static_cast<const Node*>(HashMap2018Generic::lookupInListG(vt_, list, &key));
    }

    template <class... Parts>
    Put putMember(const K& key, const auto& value, const Parts&... parts) {
        const std::uint32_t hash = hashOf(key);
        const hashed::Leaf leaf = core_.leafOf(hash);
        const Node* const found = find(leaf, hash, key);
        if (!found) {
            insert(leaf, hash, key, parts...);
            return Put::inserted;
        }
        if (found->value() == value) return Put::unchanged;
        if constexpr (Coll::keyInsideValue) found->checkKeyOf(value);
        overwrite(const_cast<Node*>(found), hash, key, value);
        return Put::changed;
    }

    void overwrite(Node* node, std::uint32_t hash, const K& key, const auto& value) {
        if constexpr (std::is_trivially_copyable_v<V>) {
            const V incoming = value;
            if (!core_.ownsAll()) node = ownedNode(key, hash);
            node->mutableValue() = incoming;
            core_.valueChanged();
        } else {
            // The old value is destroyed last: that may drop an object that looks at this map.
            V incoming = value;
            if (!core_.ownsAll()) node = ownedNode(key, hash);
            std::swap(node->mutableValue(), incoming);
            core_.valueChanged();
        }
    }
    Node* ownedNode(const K& key, std::uint32_t hash) {
        return static_cast<Node*>(core_.ownedNodeG(vt_, {&key, hash}));
    }

    template <class... Parts>
    void
    insert(const hashed::Leaf& leaf, std::uint32_t hash, const K& key, const Parts&... parts) {
        if (core_.ownsAll() && hashed::isBucket(leaf.slot)) [[likely]] {
            hashed::Bucket& bucket = hashed::bucketOf(leaf.slot);
            if (bucket.count < bucket.capacity) [[likely]] {
                const auto position =
                    static_cast<unsigned>(std::countr_zero(bucket.freePositions()));
                new (nodesOf(bucket) + position) Node(parts...);
                core_.memberAdopted(vt_, leaf, position, hash);
                return;
            }
        }
        // The core moves the node in; until then it is ours.
        union Box {
            explicit Box(const Parts&... from) : node(from...) {}
            ~Box() {}
            Node node;
        } box(parts...);
        try {
            core_.newMemberG(vt_, {&key, hash}, &box.node);
        } catch (...) {
            box.node.~Node();
            throw;
        }
    }

    // Moves the node to `removed`; where that is null it needs no destruction.
    bool remove(const K& key, Node* removed) {
        const std::uint32_t hash = hashOf(key);
        const hashed::Leaf leaf = core_.leafOf(hash);
        const Node* const found = find(leaf, hash, key);
        if (!found) return false;
        if (core_.ownsAll() && hashed::isBucket(leaf.slot) && leaf.keepsShapeWithoutOne())
            [[likely]] {
            Node* const first = nodesOf(hashed::bucketOf(leaf.slot));
            const auto position = static_cast<unsigned>(found - first);
            if (removed) Ops::place(vt_, removed, first + position, HashMap2018Placing::move);
            core_.memberForgotten(leaf, position);
            return true;
        }
        return core_.deleteMemberG(vt_, {&key, hash}, removed);
    }

    // The node leaves the map before it is destroyed: that may drop an object that looks at it.
    template <class Take>
    bool eraseTo(const K& key, Take&& take) {
        union Box {
            Box() {}
            ~Box() {}
            Node node;
        } box;
        if (!remove(key, &box.node)) return false;
        struct Guard {
            Node& node;
            ~Guard() { node.~Node(); }
        } guard{box.node};
        take(box.node);
        return true;
    }

    static bool membersEqual(const Node& a, const Node& b) noexcept {
        if constexpr (isSet) {
            return a.key() == b.key();
        } else if constexpr (Coll::keyInsideValue) {
            return a.value() == b.value();
        } else {
            return a.key() == b.key() && a.value() == b.value();
        }
    }

    HashMap2018Generic core_;
};

// A map is moved by its bytes where it is itself part of an entry.
template <class Coll, class K, class V>
inline constexpr bool triviallyRelocatable<HashMap2018<Coll, K, V>> = true;

// Survives every change of the map, and visits each member that is present throughout exactly
// once. It stands on one member, or is finished. What it yields of a deleted member is the
// member as it last was. It holds a reference to a bucket, which makes the next change of that
// bucket a copy. REQUIRES of all but its destruction: the map lives.
template <class Coll, class K, class V>
class HashMap2018<Coll, K, V>::IteratorConst {
  public:
    explicit IteratorConst(const HashMap2018& map) noexcept : generic_(vt_, map.core_) {}
    IteratorConst(const IteratorConst& other) noexcept = default;
    IteratorConst& operator=(const IteratorConst& other) noexcept {
        if (this != &other) generic_.assign(vt_, other.generic_);
        return *this;
    }
    ~IteratorConst() { generic_.dispose(vt_); }

    explicit operator bool() const noexcept { return static_cast<bool>(generic_); }
    IteratorConst& operator++() noexcept {
        generic_.advance(vt_);
        return *this;
    }

    // The key may be given to erase(). It stays valid until the iterator moves.
    decltype(auto) key() const noexcept { return currNodeMaybeStale().key(); }
    // The value as it is now; valid until the map changes.
    decltype(auto) value() const noexcept requires(!isSet) { return node().value(); }
    const Node& node() const noexcept { return nodeAt(generic_.currNode(vt_)); }
    // As it was when the iterator came to its bucket; valid until the iterator moves.
    const Node& currNodeMaybeStale() const noexcept {
        ZIN_ASSERT(static_cast<bool>(generic_), "HashMap2018");
        return nodeAt(generic_.currNodeMaybeStale());
    }
    const Node& currNodeNonStale() const noexcept {
        return nodeAt(generic_.currNodeNonStale(vt_));
    }
    // The current member was deleted from the map.
    bool markedForDeletion() const noexcept { return generic_.markedForDeletion(vt_); }

    friend bool operator==(const IteratorConst& a, const IteratorConst& b) noexcept {
        return HashMap2018IteratorGeneric::equal(vt_, a.generic_, b.generic_);
    }

  private:
    HashMap2018IteratorGeneric generic_;
};

template <class Coll, class K, class V>
class HashMap2018<Coll, K, V>::Iterator : public IteratorConst {
  public:
    explicit Iterator(HashMap2018& map) noexcept : IteratorConst(map) {}

    Iterator& operator++() noexcept {
        IteratorConst::operator++();
        return *this;
    }
};

template <class Coll, class K, class V>
class HashMap2018<Coll, K, V>::UnsafeIteratorConst {
  public:
    using value_type = Node;
    using difference_type = std::ptrdiff_t;

    UnsafeIteratorConst() noexcept = default;
    explicit UnsafeIteratorConst(const HashMap2018& map) noexcept
        : generic_(vt_, map.core_, sizeof(Node)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(generic_); }
    const Node& operator*() const noexcept { return nodeAt(generic_.node()); }
    const Node* operator->() const noexcept { return &**this; }
    UnsafeIteratorConst& operator++() noexcept {
        generic_.advance(vt_, sizeof(Node));
        return *this;
    }
    void operator++(int) noexcept { ++*this; }
    friend bool operator==(const UnsafeIteratorConst& at, std::default_sentinel_t) noexcept {
        return !at;
    }

  private:
    HashMap2018UnsafeIteratorConstGeneric generic_;
};

template <class Coll, class K, class V>
constinit const HashMap2018VTable HashMap2018<Coll, K, V>::vt_ = {
    alignof(Node),
    sizeof(Node),
    HashMap2018Generic::trivialNewBucketAssemble,
    Ops::keyEqualsNode,
    Ops::copiesAsBytes ? HashMap2018Generic::trivialPlace : Ops::place,
    Ops::movesAsBytes ? HashMap2018Generic::trivialShift : HashMap2018Generic::placingShift,
    HashMap2018Generic::leafRefDec,
    Ops::compareOrLruUnlink,
    Ops::destroyNode,
    Ops::hashNodes,
    Ops::moveNodes,
    Ops::settledOrder,
    Ops::movesAsBytes,
    Ops::copiesAsBytes,
    std::is_trivially_destructible_v<Node>,
    &zinAllocTrackTypeInfo_,
    &typeid(Coll),
};

}  // namespace Zin
