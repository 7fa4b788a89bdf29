// What changes the shape of the trie of a hashed collection: dividing and uniting ranges of
// hashes, and giving their leaves and directories the sizes they need. Internal to the core.
//
// Functions that may throw std::bad_alloc leave a trie with the same members and the same order
// behind.

#pragma once

#include <cstddef>
#include <cstdint>

#include "Zin/HashMap2018Blocks.h"

namespace Zin::hashed {

// The slots on the way from the root to a leaf: holders[i] holds the directory of level i, the
// last one the leaf. A directory of level i covers prefixes of 7 * i bits.
struct TriePath {
    Slot* holders[levelsMax + 1];
    unsigned level;  // of the leaf

    void start(Slot& root) noexcept {
        holders[0] = &root;
        level = 0;
    }
    Slot& leaf() const noexcept { return *holders[level]; }
    // REQUIRES: the last holder holds a directory.
    void descend(std::uint32_t hash) noexcept;
    Leaf found() const noexcept;
    Run leafRun() const noexcept;
    // REQUIRES: a bucket has the depth of the old leaf.
    void leafIs(Slot slot) const noexcept;
};

// REQUIRES of all below: the path is owned.

// Gives the bucket room for so many entries; they keep their positions.
void widenBucket(const VTable& vt, TriePath& path, unsigned members);
// Gives memory back where much is free. Does nothing where there is none to move to.
void narrowBucket(const VTable& vt, TriePath& path) noexcept;
void narrowList(const VTable& vt, TriePath& path) noexcept;

// Divides the range of a bucket of 15 so that a member with this hash finds room; the path
// leads to its leaf afterwards. That is a list with room for it when all hashes are equal.
void divide(const VTable& vt, TriePath& path, std::uint32_t hash);

// The range that a leaf grows to when it has so many members.
struct Union {
    unsigned level;
    unsigned depth;
    unsigned members;
    Bucket* buddy;   // joins; null when only empty ranges do
    bool intoBuddy;  // which has room for all, while the leaf has not
    bool changes;
};
Union unionOf(const TriePath& path, unsigned depth, unsigned members) noexcept;
// The path ends with it. REQUIRES: the bucket has the capacity, or the buddy takes all.
void unite(const VTable& vt, TriePath& path, const Union& united) noexcept;

CollisionList& listWithRoom(const VTable& vt, TriePath& path);
// Moves the entries to the empty bucket, which takes the place of the list.
void listToBucket(
    const VTable& vt,
    TriePath& path,
    std::uint32_t hash,
    Bucket& bucket) noexcept;

}  // namespace Zin::hashed
