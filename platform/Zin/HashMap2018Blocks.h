// The blocks of the trie of a hashed collection: taking and giving back, counting references,
// copying what is shared. Internal to the core.
//
// Blocks are reported to the allocation record of the collection class. Functions that may
// throw std::bad_alloc leave a trie with the same members and the same order behind.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "Zin/HashMap2018Core.h"

namespace Zin::hashed {

using VTable = HashMap2018VTable;
using Placing = HashMap2018Placing;

// Neighbouring slots that hold the same leaf.
using Run = std::span<Slot>;

inline Slot slotOf(const Directory& directory, Slot tag) noexcept {
    return reinterpret_cast<Slot>(&directory) | tag;
}
inline Slot slotOf(const Bucket& bucket) noexcept {
    return reinterpret_cast<Slot>(&bucket);
}
inline Slot slotOf(const CollisionList& list) noexcept {
    return reinterpret_cast<Slot>(&list) | listTag;
}

inline bool isConstant(Slot slot) noexcept {
    return isBucket(slot) && bucketOf(slot).capacity == 0;
}

inline Counted& countedOf(Slot slot) noexcept {
    return *reinterpret_cast<Counted*>(slot & ~tagMask);
}

// Neighbouring slots of a directory get this one, and its fingerprints.
void slotsAre(Slot directory, std::size_t first, std::size_t length, Slot slot) noexcept;
// Lays out the ranges of a directory in one of another width. Counts no references.
void copySlots(Slot to, Slot from) noexcept;

// Calls f once for each leaf and directory that the slots hold. Equal neighbours are one
// bucket, or empty constants, which need no care.
template <class F>
void forEachBelow(Slot directory, F&& f) {
    Slot* const slots = directoryOf(directory).slots();
    Slot last = 0;
    for (std::size_t i = 0; i < std::size_t{1} << bitsOf(directory); ++i) {
        if (slots[i] != last) f(last = slots[i]);
    }
}

// An empty bucket, or a list where the slots are more than a bucket has.
Counted* newLeaf(const VTable& vt, std::uint32_t slotCount);
Directory& newDirectory(const VTable& vt, unsigned bits);
// REQUIRES of both: nobody refers to the block, and entries were destroyed or moved.
void freeLeaf(const VTable& vt, void* leaf, std::uint32_t slotCount) noexcept;
void freeDirectory(const VTable& vt, Slot directory) noexcept;

inline void placeNode(const VTable& vt, void* slot, void* node, Placing placing) noexcept {
    if (placing == Placing::move ? vt.movesAsBytes : vt.copiesAsBytes) {
        std::memcpy(slot, node, vt.entrySize);
    } else {
        vt.place(vt, slot, node, placing);
    }
}

constexpr unsigned capacityFor(unsigned members) noexcept {
    return members <= 4 ? 4 : members <= 8 ? 8 : members <= 12 ? 12 : bucketMax;
}

inline Bucket& newBucket(const VTable& vt, unsigned capacity) {
    return static_cast<Bucket&>(*vt.newBucketAssemble(vt, capacity));
}
inline CollisionList& newList(const VTable& vt, std::uint32_t capacity) {
    return static_cast<CollisionList&>(*vt.newBucketAssemble(vt, capacity));
}

// The bucket gets the header and, position by position, the entries of another.
void fill(const VTable& vt, Bucket& to, Bucket& from, Placing placing) noexcept;

void retain(Slot slot) noexcept;
void release(const VTable& vt, Slot slot) noexcept;
void releaseLeaf(const VTable& vt, Slot leaf) noexcept;

// Replaces what is shared by a copy.
void ownDirectory(const VTable& vt, Slot& holder);
void ownLeaf(const VTable& vt, Run run);
void ownAll(const VTable& vt, Slot& holder);

// REQUIRES: all below is owned.
void markAll(const VTable& vt, Slot slot) noexcept;

}  // namespace Zin::hashed
