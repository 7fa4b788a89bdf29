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
// REQUIRES: chunk.listLeft > 0, and all of the chunk was taken.
ZIN_EXPORT Chunk nextChunk(const HashMap2018VTable& vt, const Chunk& chunk) noexcept;

// Brings a leaf nearer that will be visited next, without waiting for it.
ZIN_EXPORT void fetchLeaf(const HashMap2018VTable& vt, Slot leaf) noexcept;

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
    HashMap2018UnsafeIteratorConstGeneric(
        const VTable& vt,
        const HashMap2018Generic& map) noexcept
        : hashMap_(&map), version_(map.version()) {
        nextLeaf(vt);
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
    // The entry size of the operation table again, where the caller knows it as a constant.
    void advance(const VTable& vt, std::size_t entrySize) noexcept {
        check();
        if (chunk_.left == 0 && !takeNeighbour(vt)) [[unlikely]] {
            nextLeaf(vt);
            return;
        }
        iter_ = chunk_.take(entrySize);
    }

  private:
    void check() const noexcept {
        ZIN_ASSERT(version_ == hashMap_->version(), "HashMap2018UnsafeIteratorConstGeneric");
    }
    // The next leaf, where it is in the same directory and needs nothing else.
    bool takeNeighbour(const VTable& vt) noexcept {
        if (slot_ == slotsEnd_ || chunk_.listLeft != 0) return false;
        const hashed::Slot leaf = *slot_;
        if (!hashed::isBucket(leaf)) return false;
        const hashed::Bucket& bucket = hashed::bucketOf(leaf);
        if (bucket.count == 0 || !bucket.settled()) return false;
        step(vt, std::size_t{1} << (bits_ - bucket.depth));
        chunk_ = {bucket.entries(), bucket.order() & hashed::order::positions, bucket.count, 0};
        return true;
    }
    void step(const VTable& vt, std::size_t slots) noexcept {
        slot_ += slots;
        next_ += std::uint64_t{slots} << slotBits_;
        for (; slots != 0 && ahead_ != aheadEnd_; --slots, ++ahead_) {
            if (*ahead_ != fetched_) hashed::fetchLeaf(vt, fetched_ = *ahead_);
        }
    }
    void nextLeaf(const VTable& vt) noexcept;
    void enterDirectory() noexcept;

    const HashMap2018Generic* hashMap_ = nullptr;
    const void* iter_ = nullptr;
    hashed::Chunk chunk_;
    // The directory that holds the next leaf: its slots from there on.
    const hashed::Slot* slot_ = nullptr;
    const hashed::Slot* slotsEnd_ = nullptr;
    // In large maps, those of the directory behind it, whose leaves are fetched meanwhile.
    const hashed::Slot* ahead_ = nullptr;
    const hashed::Slot* aheadEnd_ = nullptr;
    hashed::Slot fetched_ = 0;
    std::uint64_t next_ = 0;  // the hash at which the next leaf begins
    std::uint32_t version_ = 0;
    std::uint8_t bits_ = 0;
    std::uint8_t slotBits_ = 0;  // a slot covers 2^slotBits hashes
};

}  // namespace Zin
