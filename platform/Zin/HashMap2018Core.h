// The erased core of hashed collections. It works on bytes; what it must know of an entry it
// asks through the operation table of its collection class. The typed skin (Zin/HashMap2018.h)
// inlines hashing, the lookup probe and the insertion into a bucket that has room; everything
// else crosses the border to here once per operation.
//
// Copies share structure until one of them changes. Maps that may share hold a common family
// word that counts them; a map without one owns all it reaches, so its writes check one
// pointer. A write to a shared map copies the path to the bucket it touches.
//
// A map is used by one thread at a time; its copies may live on others when
// Zin::VFPtrInterface::threadSafePointers_ is set. Where an operation throws std::bad_alloc the
// map is as it was. Cost: no operation on one member does more than divide or unite one bucket;
// there is no rehash of the whole.

#pragma once

#include <cstddef>
#include <cstdint>
#include <typeinfo>

#include "Zin/AllocTrack.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018Bucket.h"

namespace Zin {

namespace hashed {
struct TriePath;
}

// What a lookup needs. The key must stay valid during the call.
struct HashMap2018KeyAndHash {
    const void* key;
    std::uint32_t hash;
};

enum class HashMap2018Placing : std::uint8_t {
    copy,
    move,  // the source is gone afterwards: its memory holds no entry
};

// The entry operations of one collection class. None may throw. Functions that work on several
// entries at once are there so that the border is crossed once per bucket.
struct HashMap2018VTable {
    using Placing = HashMap2018Placing;

    std::size_t entryAlignment;
    std::size_t entrySize;
    // Reports and takes the memory of an empty bucket of so many slots, of a collision list
    // when they are more than a bucket has. The only one that may throw.
    hashed::Counted* (*newBucketAssemble)(const HashMap2018VTable&, std::uint32_t slotCount);
    bool (*keyEqualsNode)(const void* key, const void* node) noexcept;
    void (*place)(const HashMap2018VTable&, void* slot, void* node, Placing) noexcept;
    // Moves the entries [first, last) by so many slots. Positive counts open one slot, into
    // which the new entry, if there is one, is moved; negative ones close a hole.
    void (*shift)(
        const HashMap2018VTable&,
        void* entries,
        void* newEntry,
        std::uint32_t first,
        std::uint32_t last,
        std::int32_t slotsToShift) noexcept;
    // Drops a reference to a bucket or list; the last one destroys the entries, frees and
    // reports.
    void (*bktHdrRefDec)(const HashMap2018VTable&, hashed::Slot leaf) noexcept;
    // 0 where the keys are equal, 1 where left < right, 2 otherwise. The left one is node A's
    // where there is a node A.
    std::uint32_t (
        *compareOrLruUnlink)(const void* key, const void* nodeA, const void* nodeB) noexcept;

    void (*destroyNode)(void* node) noexcept;
    // The hashes of the entries at the positions that are set in the mask, in ascending order.
    void (*hashNodes)(const void* entries, unsigned positions, std::uint32_t* hashes) noexcept;
    // Moves the entries at the positions of one mask to those of another, in ascending order.
    void (*moveNodes)(void* to, unsigned free, void* from, unsigned positions) noexcept;
    // The order word with all used positions in key order.
    std::uint64_t (
        *settledOrder)(const void* entries, std::uint64_t order, unsigned used) noexcept;
    bool movesAsBytes;
    bool copiesAsBytes;
    bool destroysNothing;
    AllocTrackTypeInfo* allocTrack;
    const std::type_info* collection;
};

class ZIN_EXPORT HashMap2018Generic {
  public:
    using VTable = HashMap2018VTable;
    using KeyAndHash = HashMap2018KeyAndHash;

    static constexpr std::uint64_t hashEnd = std::uint64_t{1} << hashed::hashBits;

    HashMap2018Generic() noexcept : root_(hashed::emptySlot(0)) {}
    // Shares all structure.
    HashMap2018Generic(const HashMap2018Generic& other) noexcept;
    HashMap2018Generic(HashMap2018Generic&& other) noexcept;
    HashMap2018Generic& operator=(const HashMap2018Generic&) = delete;
    // REQUIRES: empty or disposed of.
    ~HashMap2018Generic() = default;

    void assignOp(const VTable& vt, const HashMap2018Generic& other) noexcept;
    void assignOp(const VTable& vt, HashMap2018Generic&& other) noexcept;
    // Removes every member. The map is empty before the first entry is destroyed.
    void _memberDelAll(const VTable& vt) noexcept;
    void emptyAllBuckets(const VTable& vt) noexcept;
    void dispose(const VTable& vt) noexcept {
        if (members_ != 0) emptyAllBuckets(vt);
    }

    std::uint32_t members() const noexcept { return members_; }
    std::uint32_t markedMembers() const noexcept { return marked_; }
    // Counts modifications modulo 2^23.
    std::uint32_t version() const noexcept { return changes_ & 0x7fffff; }
    std::uint32_t changes() const noexcept { return changes_; }

    hashed::Leaf leafOf(std::uint32_t hash) const noexcept {
        return hashed::leafOf(root_, hash);
    }
    bool sameRoot(const HashMap2018Generic& other) const noexcept {
        return root_ == other.root_;
    }

    // The entry with the key, or null. Never allocates.
    const void* lookupNodeG(const VTable& vt, KeyAndHash keyAndHash) const noexcept;
    // The part of it that looks into a list.
    static const void*
    lookupInListG(const VTable& vt, hashed::Slot list, const void* key) noexcept;
    // The member with the key of another node, such as a stale one.
    const void* lookupLikeG(const VTable& vt, const void* node) const noexcept;

    // The entry with the key in memory that no copy of the map shares, to be overwritten, which
    // is reported with valueChanged(). REQUIRES: the key is present.
    void* ownedNodeG(const VTable& vt, KeyAndHash keyAndHash);
    void valueChanged() noexcept { ++changes_; }

    // Moves the node in as a new entry. REQUIRES: the key is absent. Takes nothing when it
    // throws.
    void newMemberG(const VTable& vt, KeyAndHash keyAndHash, void* node);
    // Whether a bucket of this map may be written without asking who else refers to it.
    bool ownsAll() const noexcept { return family_ == nullptr; }
    // An entry was built at a free position of that bucket. REQUIRES: ownsAll().
    [[gnu::always_inline]] void memberAdopted(
        const VTable& vt,
        const hashed::Leaf& leaf,
        unsigned position,
        std::uint32_t hash) noexcept {
        leaf.adopt(position, hash);
        if constexpr (!hashed::settlesLate) settle(vt, hashed::bucketOf(leaf.slot));
        ++members_;
        ++changes_;
    }

    // The entry at that position was moved away, or needs no destruction.
    // REQUIRES: ownsAll(), and that the leaf keeps its shape without it.
    void memberForgotten(const hashed::Leaf& leaf, unsigned position) noexcept {
        marked_ -= hashed::bucketOf(leaf.slot).marks >> position & 1U;
        leaf.forget(position);
        --members_;
        ++changes_;
    }

    // Moves the entry to `removed`, or destroys it where that is null. False when it is absent.
    bool deleteMemberG(const VTable& vt, KeyAndHash keyAndHash, void* removed);

    void zinMarkAllForDeletion(const VTable& vt);
    bool zinMarkedForDeletionGIs(const VTable& vt, KeyAndHash keyAndHash) const noexcept;
    void zinMarkedForDeletionGIs(const VTable& vt, KeyAndHash keyAndHash, bool marked);

    // A bucket or list and the range of hashes [begin, end) that it covers.
    struct LeafRange {
        hashed::Slot leaf;
        std::uint32_t begin;
        std::uint64_t end;
        // What lies behind it in the same directory, or 0.
        hashed::Slot next;
    };
    LeafRange leafRange(std::uint32_t hash) const noexcept;

    static void settle(const VTable& vt, hashed::Bucket& bucket) noexcept {
        if (!bucket.settled()) {
            bucket.orderIs(
                vt.settledOrder(bucket.entries(), bucket.order(), bucket.usedPositions()));
        }
    }

    // For tests: asserts every invariant of the structure. Linear.
    void validate(const VTable& vt) const;

    static hashed::Counted* trivialNewBucketAssemble(const VTable& vt, std::uint32_t slotCount);
    static void
    trivialPlace(const VTable& vt, void* slot, void* node, VTable::Placing) noexcept;
    static void trivialShift(
        const VTable& vt,
        void* entries,
        void* newEntry,
        std::uint32_t first,
        std::uint32_t last,
        std::int32_t slotsToShift) noexcept;
    // For entries that own references.
    static void placingShift(
        const VTable& vt,
        void* entries,
        void* newEntry,
        std::uint32_t first,
        std::uint32_t last,
        std::int32_t slotsToShift) noexcept;
    static void leafRefDec(const VTable& vt, hashed::Slot leaf) noexcept;

  private:
    // An entry by its leaf and its index there, which copies of the leaf share.
    struct Location {
        hashed::Slot leaf;
        std::uint32_t index;
        bool found;
    };

    // The number of maps and safe iterators that may share structure with this map, one more
    // now.
    std::uint32_t* joinFamily() const noexcept;
    static void retainFamily(std::uint32_t* family) noexcept;
    static void leaveFamily(std::uint32_t* family) noexcept;
    bool ownsAllNow() noexcept;
    void swapContents(HashMap2018Generic& other) noexcept;
    Location locate(const VTable& vt, KeyAndHash keyAndHash) const noexcept;
    static Location
    locateIn(const VTable& vt, const hashed::Leaf& leaf, KeyAndHash keyAndHash) noexcept;
    static void* nodeAt(const VTable& vt, hashed::Slot leaf, std::uint32_t index) noexcept;
    hashed::TriePath pathTo(std::uint32_t hash) noexcept;
    hashed::TriePath ownedPathTo(const VTable& vt, std::uint32_t hash);
    static bool removeFromBucket(
        const VTable& vt,
        hashed::TriePath& path,
        unsigned position,
        void* removed);
    static bool removeFromList(
        const VTable& vt,
        hashed::TriePath& path,
        std::uint32_t hash,
        std::uint32_t index,
        void* removed);

    friend class HashMap2018IteratorGeneric;
    friend class HashMap2018UnsafeIteratorConstGeneric;

    hashed::Slot root_;
    mutable std::uint32_t* family_ = nullptr;
    // Without members the root is an empty bucket, nothing is allocated, and there is no
    // family.
    std::uint32_t members_ = 0;
    std::uint32_t marked_ = 0;
    std::uint32_t changes_ = 0;
};

}  // namespace Zin
