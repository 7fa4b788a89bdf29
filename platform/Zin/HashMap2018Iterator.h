// The erased iterators of hashed collections. Both go over leaves in the order of hashes and
// over the entries of a leaf in the order of keys.
//
// The safe one refers to the leaf it stands in, which makes the map leave that leaf as it is
// and change a copy. The map may change in any way meanwhile: a member that is present
// throughout is visited exactly once, one that is gone when its turn comes is not visited. It
// may outlive the map, but is only destroyed then.
//
// The unsafe one is a few words without references. Any use after a change of the map is a
// fatal assertion.

#pragma once

#include <cstddef>
#include <cstdint>

#include "Zin/Assert.h"
#include "Zin/Export.h"
#include "Zin/HashMap2018Core.h"

namespace Zin {

namespace hashed {

// Entries of a leaf in key order: all of a bucket, or up to 15 of a list.
struct Chunk {
    const char* entries = nullptr;
    std::uint64_t order = 0;
    std::uint32_t left = 0;
    std::uint32_t listLeft = 0;  // entries of the list behind this chunk

    // REQUIRES: left > 0.
    const char* take(std::size_t entrySize) noexcept {
        const char* const entry = entries + (order & 15) * entrySize;
        order >>= 4;
        --left;
        return entry;
    }
};

// The first chunk of a leaf; its order is settled by that.
ZIN_EXPORT Chunk firstChunk(const HashMap2018VTable& vt, Slot leaf) noexcept;
// Only the members whose hash is not less.
// REQUIRES: the range contains the hash.
ZIN_EXPORT Chunk firstChunkFrom(
    const HashMap2018VTable& vt,
    const HashMap2018Generic::LeafRange& range,
    std::uint32_t from) noexcept;
// What follows a chunk of a list with these entries. REQUIRES: all of it was taken, and
// listLeft > 0.
ZIN_EXPORT Chunk
nextChunk(const HashMap2018VTable& vt, const char* entries, std::uint32_t listLeft) noexcept;

// Brings a leaf nearer that will be visited next, without waiting for it.
ZIN_EXPORT void fetchLeaf(const HashMap2018VTable& vt, Slot leaf) noexcept;

// The leaves of a trie one after the other, in the order of hashes. The trie must stay as it
// is.
class ZIN_EXPORT Leaves {
  public:
    Leaves() noexcept = default;
    explicit Leaves(const Slot& root) noexcept : root_(&root) {}

    // The first chunk of the next leaf that has members; empty at the end.
    Chunk next(const HashMap2018VTable& vt) noexcept;
    // The same where that leaf is in the same directory and needs nothing else, or empty.
    [[gnu::always_inline]] Chunk neighbour(const HashMap2018VTable& vt) noexcept {
        if (slot_ == slotsEnd_ || !isBucket(*slot_)) return {};
        const Bucket& bucket = bucketOf(*slot_);
        if (bucket.count == 0 || !bucket.settled()) return {};
        step(vt, std::size_t{1} << (bits_ - bucket.depth));
        return {bucket.entries(), bucket.order() & order::positions, bucket.count, 0};
    }

  private:
    void step(const HashMap2018VTable& vt, std::size_t slots) noexcept {
        slot_ += slots;
        next_ += std::uint64_t{slots} << slotBits_;
        for (; slots != 0 && ahead_ != aheadEnd_; --slots, ++ahead_) {
            if (*ahead_ != fetched_) fetchLeaf(vt, fetched_ = *ahead_);
        }
    }
    void enterDirectory() noexcept;

    const Slot* root_ = nullptr;
    // The directory that holds the next leaf: its slots from there on.
    const Slot* slot_ = nullptr;
    const Slot* slotsEnd_ = nullptr;
    // In large maps, those of a directory behind it, whose leaves are fetched meanwhile.
    const Slot* ahead_ = nullptr;
    const Slot* aheadEnd_ = nullptr;
    Slot fetched_ = 0;
    std::uint64_t next_ = 0;  // the hash at which the next leaf begins
    std::uint8_t bits_ = 0;
    std::uint8_t slotBits_ = 0;  // a slot covers 2^slotBits hashes
};

}  // namespace hashed

class ZIN_EXPORT HashMap2018IteratorGeneric {
  public:
    using VTable = HashMap2018VTable;

    HashMap2018IteratorGeneric() noexcept = default;
    HashMap2018IteratorGeneric(const VTable& vt, const HashMap2018Generic& map) noexcept
        : hashMap_(&map) {
        nextLeaf(vt);
    }
    HashMap2018IteratorGeneric(const HashMap2018IteratorGeneric& other) noexcept;
    HashMap2018IteratorGeneric& operator=(const HashMap2018IteratorGeneric&) = delete;
    void assign(const VTable& vt, const HashMap2018IteratorGeneric& other) noexcept;
    void dispose(const VTable& vt) noexcept {
        if (pinned_) unpin(vt);
    }

    explicit operator bool() const noexcept { return iter_ != nullptr; }

    void advance(const VTable& vt) noexcept {
        ZIN_ASSERT(iter_, "HashMap2018");
        if (chunk_.left > 0 && changes_ == hashMap_->changes()) [[likely]] {
            iter_ = chunk_.take(vt.entrySize);
        } else {
            advancePast(vt);
        }
    }

    // The member as it was when the iterator came to its leaf. Null at the end.
    const void* currNodeMaybeStale() const noexcept { return iter_; }
    // The member as it is now. Asserts that it is still in the map.
    const void* currNodeNonStale(const VTable& vt) const noexcept;
    // The member as it is now, or as it last was known.
    const void* currNode(const VTable& vt) const noexcept;
    // The current node was deleted from the map.
    bool markedForDeletion(const VTable& vt) const noexcept;

    static bool equal(
        const VTable& vt,
        const HashMap2018IteratorGeneric& a,
        const HashMap2018IteratorGeneric& b) noexcept;

  private:
    void unpin(const VTable& vt) noexcept;
    void nextLeaf(const VTable& vt) noexcept;
    void advancePast(const VTable& vt) noexcept;
    bool takeNext(const VTable& vt) noexcept;

    const HashMap2018Generic* hashMap_ = nullptr;
    hashed::Slot pinned_ = 0;
    std::uint32_t* family_ = nullptr;
    const void* iter_ = nullptr;
    hashed::Chunk chunk_;
    std::uint64_t next_ = 0;  // where the leaves that were not visited begin
    std::uint32_t changes_ = 0;
};

class ZIN_EXPORT HashMap2018UnsafeIteratorConstGeneric {
  public:
    using VTable = HashMap2018VTable;

    HashMap2018UnsafeIteratorConstGeneric() noexcept = default;
    // The entry size of the operation table again, where the caller knows it as a constant.
    [[gnu::always_inline]] HashMap2018UnsafeIteratorConstGeneric(
        const VTable& vt,
        const HashMap2018Generic& map,
        std::size_t entrySize) noexcept
        : hashMap_(&map), version_(map.version()), leaves_(map.root_) {
        if (nextLeaf(vt)) iter_ = chunk_.take(entrySize);
    }

    explicit operator bool() const noexcept {
        check();
        return iter_ != nullptr;
    }
    const void* node() const noexcept {
        check();
        ZIN_ASSERT(iter_, "HashMap2018");
        return iter_;
    }
    // Inlined with what it calls, which works on copies: an iterator whose address nobody takes
    // is kept in registers.
    [[gnu::always_inline]] void advance(const VTable& vt, std::size_t entrySize) noexcept {
        check();
        iter_ = chunk_.left != 0 || refill(vt) ? chunk_.take(entrySize) : nullptr;
    }

  private:
    void check() const noexcept {
        ZIN_ASSERT(version_ == hashMap_->version(), "HashMap2018UnsafeIteratorConstGeneric");
    }
    // False at the end.
    [[gnu::always_inline]] bool refill(const VTable& vt) noexcept {
        if (chunk_.listLeft > 0) [[unlikely]] {
            const hashed::Chunk chunk = hashed::nextChunk(vt, chunk_.entries, chunk_.listLeft);
            chunk_ = chunk;
            return true;
        }
        chunk_ = leaves_.neighbour(vt);
        return chunk_.left != 0 || nextLeaf(vt);
    }
    [[gnu::always_inline]] bool nextLeaf(const VTable& vt) noexcept {
        hashed::Leaves leaves = leaves_;
        const hashed::Chunk chunk = leaves.next(vt);
        leaves_ = leaves;
        chunk_ = chunk;
        return chunk_.left != 0;
    }

    const HashMap2018Generic* hashMap_ = nullptr;
    const void* iter_ = nullptr;
    hashed::Chunk chunk_;
    std::uint32_t version_ = 0;
    hashed::Leaves leaves_;
};

}  // namespace Zin
