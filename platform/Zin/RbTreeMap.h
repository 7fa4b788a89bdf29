// RbTreeMap is an ordered collection of members with unique keys, ascending by the key's <.
// Members are reference-counted nodes (Zin/RbTreeMapNode.h); the map holds a reference to each.
// In the third kind the members are entities, which the map and its iterators hand out as they
// are.
//
// It is moved but not copied. One thread at a time uses it. References to members are valid
// while they are in the map or somebody holds a reference to the node. An empty map holds no
// memory.
//
// Cost: find, insert and erase take logarithmic time; a step of an iterator is constant on
// average.

#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <utility>

#include "Zin/HashMap2018Node.h"
#include "Zin/Prefetch.h"
#include "Zin/Ptr.h"
#include "Zin/RbTreeMapCore.h"
#include "Zin/RbTreeMapNode.h"

namespace Zin {

template <class Coll, class K, class V>
class RbTreeMap {
  public:
    using Key = K;
    using Value = V;
    using Node = typename Coll::Node;
    // What callers get of a member: an entity they may change, a value they may not.
    using Member = std::conditional_t<Coll::entityIsNode, Node, const Node>;
    class IteratorConst;
    class Iterator;
    class UnsafeIteratorConst;

    RbTreeMap() noexcept = default;
    RbTreeMap(RbTreeMap&& other) noexcept = default;
    RbTreeMap& operator=(RbTreeMap&& other) noexcept {
        RbTreeMap taken(std::move(other));
        core_.swap(taken.core_);
        return *this;
    }
    ~RbTreeMap() { clear(); }

    std::uint32_t members() const noexcept { return core_.members(); }
    bool empty() const noexcept { return members() == 0; }
    // Counts changes modulo 2^23. A put of an equal value and a failed erase change nothing.
    std::uint32_t version() const noexcept { return core_.version(); }

    // The member with the key, or null.
    Member* lookup(const K& key) const noexcept {
        RbTreeNode* at = core_.root();
        while (at) {
            const auto where = compared(key, *at);
            if (std::is_eq(where)) break;
            at = below(*at, std::is_lt(where));
        }
        return memberOf(at);
    }
    Member* operator[](const K& key) const noexcept { return lookup(key); }
    bool has(const K& key) const noexcept { return lookup(key) != nullptr; }

    // Inserts a member, or overwrites the value where a different one is stored.
    template <class Same = V>
    requires(!Coll::keyInsideValue) Put
        put(const K& key, const std::type_identity_t<Same>& value) {
        const Found found = find(key);
        if (found.node) return overwrite(*found.node, value);
        link(found, Ptr<Node>(new Node(key, value)));
        return Put::inserted;
    }
    template <class Same = V>
    requires(Coll::keyInsideValue && !Coll::entityIsNode) Put
        put(const std::type_identity_t<Same>& value) {
        const Found found = find(Coll::keyOf(value));
        if (found.node) return overwrite(*found.node, value);
        link(found, Ptr<Node>(new Node(value)));
        return Put::inserted;
    }
    // Takes a reference to the entity. A second one with the same key is a fatal error, as is
    // one that another map holds.
    void memberNewChild(const Ptr<Node>& child) requires(Coll::entityIsNode) {
        const Found found = find(Coll::keyOf(*child));
        RbTreeMapGeneric::assertDupKey(found.node);
        link(found, child);
    }

    // Whether there was one. The key may be part of the member.
    bool erase(const K& key) requires(!Coll::entityIsNode) {
        return static_cast<bool>(unlink(lookup(key)));
    }
    // Moves the removed value out; where somebody else holds the node it is copied.
    template <class Same = V>
    requires(
        !Coll::entityIsNode) bool erase(const K& key, std::type_identity_t<Same>* removed) {
        const Ptr<Node> node = unlink(lookup(key));
        if (!node) return false;
        if (node->references() == 1) {
            *removed = std::move(node->value_);
        } else {
            *removed = node->value_;
        }
        return true;
    }
    // The entity that was removed, or null.
    Ptr<Node> erase(const K& key) requires(Coll::entityIsNode) { return unlink(lookup(key)); }
    // The member on which the iterator stands, unless it was deleted already. The iterator
    // stays there until it moves.
    auto erase(const IteratorConst& at) {
        const bool gone = at.markedForDeletion();
        if constexpr (Coll::entityIsNode) {
            return gone ? Ptr<Node>() : unlink(&at.node());
        } else {
            return !gone && unlink(&at.node());
        }
    }
    void clear() noexcept { core_.memberClearAll(vt_); }

    // Marks tell members that a resynchronisation has not confirmed yet. They stand in the
    // nodes.
    void zinMarkAllForDeletion() noexcept { core_.zinMarkAllForDeletionG(vt_); }
    bool zinMarkedForDeletion(const K& key) const noexcept {
        const Node* const node = lookup(key);
        return node && node->markedForDeletion();
    }
    // Does nothing where the key is absent.
    void zinMarkedForDeletionIs(const K& key, bool marked) noexcept {
        if (Member* const node = lookup(key)) {
            const_cast<Node*>(node)->markedForDeletionIs(marked);
        }
    }

    // Safe iteration; see IteratorConst.
    IteratorConst iteratorConst() const noexcept { return IteratorConst(*this, first()); }
    Iterator iterator() noexcept { return Iterator(*this, first()); }
    // From the first member whose key is not less.
    IteratorConst lowerBound(const K& key) const noexcept {
        return IteratorConst(*this, bound(key, true));
    }
    // Unsafe iteration: any change of the map ends it.
    UnsafeIteratorConst begin() const noexcept { return UnsafeIteratorConst(*this); }
    std::default_sentinel_t end() const noexcept { return {}; }

    // Equal members: values by their ==, entities where they are the same.
    friend bool operator==(const RbTreeMap& a, const RbTreeMap& b) noexcept {
        if (a.members() != b.members()) return false;
        UnsafeIteratorConst other = b.begin();
        for (const Node& node : a) {
            if constexpr (Coll::entityIsNode) {
                if (&node != &*other) return false;
            } else {
                if (!(node.key() == other->key() && node.value() == other->value()))
                    return false;
            }
            ++other;
        }
        return true;
    }

    // For tests: asserts every invariant of the structure. Linear.
    void validate() const { core_.validate(); }

    static const RbTreeMapVTable vt_;

  private:
    struct Found {
        RbTreeNode* node = nullptr;
        RbTreeMapGeneric::Place place;  // where a node with the key belongs
    };

    static Node& nodeOf(RbTreeNode& node) noexcept { return static_cast<Node&>(node); }
    static Member* memberOf(RbTreeNode* node) noexcept {
        return node ? &nodeOf(*node) : nullptr;
    }
    // Whether a comparison reads more memory than the node.
    static constexpr bool comparesFarAway =
        std::three_way_comparable<K> && !std::is_trivially_copyable_v<K>;

    static RbTreeNode* below(const RbTreeNode& node, bool left) noexcept {
        if constexpr (comparesFarAway) {
            // A branch that no compiler turns into a conditional move: a processor goes on with
            // the child that it guesses while it waits for what the comparison reads.
            if (left) {
                RbTreeNode* child = RbTreeMapGeneric::leftOf(node);
                asm volatile("" : "+r"(child));
                return child;
            }
            return RbTreeMapGeneric::rightOf(node);
        }
        return left ? RbTreeMapGeneric::leftOf(node) : RbTreeMapGeneric::rightOf(node);
    }

    // Where it is far away, one comparison per node; else two, which processors overlap.
    static std::weak_ordering compared(const K& key, RbTreeNode& node) noexcept {
        const auto& other = Coll::keyOf(nodeOf(node));
        if constexpr (comparesFarAway) {
            prefetch(RbTreeMapGeneric::leftOf(node));
            prefetch(RbTreeMapGeneric::rightOf(node));
            return key <=> other;
        } else {
            return key == other  ? std::weak_ordering::equivalent
                   : key < other ? std::weak_ordering::less
                                 : std::weak_ordering::greater;
        }
    }

    Found find(const K& key) const noexcept {
        Found found;
        for (RbTreeNode* at = core_.root(); at; at = below(*at, found.place.left)) {
            const auto where = compared(key, *at);
            if (std::is_eq(where)) {
                found.node = at;
                break;
            }
            found.place = {at, std::is_lt(where)};
        }
        return found;
    }
    // The first member with a greater key, or with the key itself where that is included.
    Member* bound(const K& key, bool included) const noexcept {
        RbTreeNode* best = nullptr;
        for (RbTreeNode* at = core_.root(); at;) {
            const auto where = compared(key, *at);
            if (std::is_eq(where) && included) return memberOf(at);
            const bool left = std::is_lt(where);
            if (left) best = at;
            at = below(*at, left);
        }
        return memberOf(best);
    }
    Member* first() const noexcept { return memberOf(core_.first()); }
    static Member* next(const Node& node) noexcept {
        return memberOf(RbTreeMapGeneric::next(node));
    }

    void link(const Found& found, Ptr<Node> node) noexcept {
        core_.memberNewChild(found.place, *node);
        static_cast<void>(node.release());
    }
    Ptr<Node> unlink(Member* member) noexcept {
        if (!member) return {};
        core_._memberDelG(*member);
        return Ptr<Node>::adopted(const_cast<Node*>(member));
    }
    Put overwrite(RbTreeNode& found, const auto& _value) {
        Node& node = nodeOf(found);
        if (node.value_ == _value) return Put::unchanged;
        if constexpr (Coll::keyInsideValue) {
            ZIN_ASSERT(node.key() == Coll::keyOf(_value), "RbTreeMapNodeInternalKey");
        }
        // The old value is destroyed last: that may drop an object that looks at this map.
        V incoming = _value;
        std::swap(node.value_, incoming);
        core_.valueChanged();
        return Put::changed;
    }

    RbTreeMapGeneric core_;
};

template <class Coll, class K, class V>
constinit const RbTreeMapVTable RbTreeMap<Coll, K, V>::vt_ = {
    [](RbTreeNode& node) noexcept -> PtrInterface& { return nodeOf(node); },
};

// Survives every change of the map: it holds a reference to the member on which it stands, and
// goes on behind that member's key. Visits each member that is present throughout exactly once.
// REQUIRES of all but its destruction: the map lives.
template <class Coll, class K, class V>
class RbTreeMap<Coll, K, V>::IteratorConst {
  public:
    // Whether it stands on a member.
    explicit operator bool() const noexcept { return static_cast<bool>(iter_); }
    IteratorConst& operator++() noexcept {
        const Node& now = node();
        if (changes_ == map_->core_.changes() || map_->lookup(Coll::keyOf(now)) == &now) {
            moveTo(next(now));
        } else {
            moveTo(map_->bound(Coll::keyOf(now), false));
        }
        return *this;
    }

    // The key of the member.
    decltype(auto) key() const noexcept { return Coll::keyOf(node()); }
    // The entity, or the value.
    decltype(auto) value() const noexcept {
        if constexpr (Coll::entityIsNode) {
            return static_cast<const Ptr<Node>&>(currNode());
        } else {
            return node().value();
        }
    }
    // The member on which it stands, deleted since or not; REQUIRES: it stands on one.
    Member& node() const noexcept { return *currNode(); }
    Member& currNodeMaybeStale() const noexcept { return node(); }
    // The same, of a member that was not deleted; a fatal assertion otherwise.
    Member& currNodeNonStale() const noexcept {
        ZIN_ASSERT(!markedForDeletion(), "RbTreeMap");
        return node();
    }
    // The current member was deleted from the map.
    bool markedForDeletion() const noexcept {
        const Node& now = node();
        return changes_ != map_->core_.changes() && map_->lookup(Coll::keyOf(now)) != &now;
    }

    friend bool operator==(const IteratorConst& a, const IteratorConst& b) noexcept {
        return a.iter_ == b.iter_;
    }

  private:
    friend class RbTreeMap;

    IteratorConst(const RbTreeMap& map, Member* member) noexcept : map_(&map) {
        moveTo(member);
    }
    void moveTo(Member* member) noexcept {
        iter_ = Ptr<Node>(const_cast<Node*>(member));
        changes_ = map_->core_.changes();
    }
    const Ptr<Node>& currNode() const noexcept {
        ZIN_ASSERT(iter_, "RbTreeMap");
        return iter_;
    }

    const RbTreeMap* map_;
    Ptr<Node> iter_;
    std::uint32_t changes_ = 0;
};

template <class Coll, class K, class V>
class RbTreeMap<Coll, K, V>::Iterator : public IteratorConst {
  public:
    Iterator& operator++() noexcept {
        IteratorConst::operator++();
        return *this;
    }

  private:
    friend class RbTreeMap;
    Iterator(RbTreeMap& map, Member* member) noexcept : IteratorConst(map, member) {}
};

template <class Coll, class K, class V>
class RbTreeMap<Coll, K, V>::UnsafeIteratorConst {
  public:
    using value_type = Node;
    using difference_type = std::ptrdiff_t;

    UnsafeIteratorConst() noexcept = default;
    explicit UnsafeIteratorConst(const RbTreeMap& map) noexcept
        : map_(&map), iter_(map.first()), version_(map.version()) {}

    explicit operator bool() const noexcept {
        check();
        return iter_ != nullptr;
    }
    Member& operator*() const noexcept {
        check();
        ZIN_ASSERT(iter_, "RbTreeMap");
        return *iter_;
    }
    Member* operator->() const noexcept { return &**this; }
    UnsafeIteratorConst& operator++() noexcept {
        iter_ = next(**this);
        return *this;
    }
    void operator++(int) noexcept { ++*this; }
    friend bool operator==(const UnsafeIteratorConst& at, std::default_sentinel_t) noexcept {
        return !at;
    }

  private:
    void check() const noexcept {
        ZIN_ASSERT(version_ == map_->version(), "RbTreeMapUnsafeIteratorConst");
    }

    const RbTreeMap* map_ = nullptr;
    Member* iter_ = nullptr;
    std::uint32_t version_ = 0;
};

}  // namespace Zin
