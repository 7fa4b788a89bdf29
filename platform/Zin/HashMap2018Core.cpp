#include "Zin/HashMap2018Core.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "Zin/Assert.h"
#include "Zin/HashMap2018Trie.h"
#include "Zin/RefCount.h"

namespace Zin {

using namespace hashed;

namespace {

// The family of maps for which no family word could be allocated: they ask for every write.
std::uint32_t largeFamily = 2;

// The first index in a list whose key is not less, and whether it is equal. Either the key or
// the node tells what is looked for.
struct ListPosition {
    std::uint32_t index;
    bool found;
};

ListPosition positionInList(
    const HashMap2018VTable& vt,
    const CollisionList& list,
    const void* key,
    const void* node) noexcept {
    std::uint32_t first = 0;
    std::uint32_t last = list.count;
    while (first < last) {
        const std::uint32_t middle = first + (last - first) / 2;
        switch (vt.compareOrLruUnlink(key, node, list.entries() + middle * vt.entrySize)) {
            case 0:
                return {middle, true};
            case 1:
                last = middle;
                break;
            default:
                first = middle + 1;
        }
    }
    return {first, false};
}

void takeOut(const HashMap2018VTable& vt, void* node, void* removed) noexcept {
    if (removed) {
        vt.place(vt, removed, node, HashMap2018Placing::move);
    } else if (!vt.destroysNothing) {
        vt.destroyNode(node);
    }
}

}  // namespace

HashMap2018Generic::HashMap2018Generic(const HashMap2018Generic& other) noexcept
    : root_(other.root_),
      family_(other.joinFamily()),
      members_(other.members_),
      marked_(other.marked_) {
    retain(root_);
}

HashMap2018Generic::HashMap2018Generic(HashMap2018Generic&& other) noexcept
    : HashMap2018Generic() {
    swapContents(other);
}

void HashMap2018Generic::assignOp(const VTable& vt, const HashMap2018Generic& other) noexcept {
    if (this == &other) return;
    HashMap2018Generic old(other);
    swapContents(old);
    old.dispose(vt);
}

void HashMap2018Generic::assignOp(const VTable& vt, HashMap2018Generic&& other) noexcept {
    if (this == &other) return;
    HashMap2018Generic old(std::move(other));
    swapContents(old);
    old.dispose(vt);
}

// Both have changed then: their iterators must notice.
void HashMap2018Generic::swapContents(HashMap2018Generic& other) noexcept {
    std::swap(root_, other.root_);
    std::swap(family_, other.family_);
    std::swap(members_, other.members_);
    std::swap(marked_, other.marked_);
    ++changes_;
    ++other.changes_;
}

std::uint32_t* HashMap2018Generic::joinFamily() const noexcept {
    if (members_ == 0) return nullptr;
    if (!family_) {
        family_ = new (std::nothrow) std::uint32_t(1);
        if (!family_) family_ = &largeFamily;
    }
    retainFamily(family_);
    return family_;
}

void HashMap2018Generic::retainFamily(std::uint32_t* family) noexcept {
    if (family != &largeFamily) referenceInc(*family);
}

void HashMap2018Generic::leaveFamily(std::uint32_t* family) noexcept {
    if (family && family != &largeFamily && referenceDec(*family)) delete family;
}

bool HashMap2018Generic::ownsAllNow() noexcept {
    if (!family_) return true;
    if (family_ == &largeFamily || !referenceIsUnique(*family_)) return false;
    delete std::exchange(family_, nullptr);
    return true;
}

void HashMap2018Generic::_memberDelAll(const VTable& vt) noexcept {
    if (members_ == 0) return;
    ++changes_;
    emptyAllBuckets(vt);
}

void HashMap2018Generic::emptyAllBuckets(const VTable& vt) noexcept {
    const Slot root = std::exchange(root_, emptySlot(0));
    std::uint32_t* const family = std::exchange(family_, nullptr);
    members_ = 0;
    marked_ = 0;
    release(vt, root);
    // Last: who finds himself the only one of the family must own what it shared.
    leaveFamily(family);
}

// ---- lookup ----

HashMap2018Generic::Location HashMap2018Generic::locate(const VTable& vt, KeyAndHash keyAndHash)
    const noexcept {
    return locateIn(vt, leafOf(keyAndHash.hash), keyAndHash);
}

HashMap2018Generic::Location HashMap2018Generic::locateIn(
    const VTable& vt,
    const Leaf& found,
    KeyAndHash keyAndHash) noexcept {
    const Slot leaf = found.slot;
    if (isList(leaf)) {
        const ListPosition at = positionInList(vt, listOf(leaf), keyAndHash.key, nullptr);
        return {leaf, at.index, at.found};
    }
    for (unsigned left = found.matches(keyAndHash.hash); left != 0; left &= left - 1) {
        const auto position = static_cast<unsigned>(std::countr_zero(left));
        if (vt.keyEqualsNode(keyAndHash.key, nodeAt(vt, leaf, position))) {
            return {leaf, position, true};
        }
    }
    return {leaf, 0, false};
}

void* HashMap2018Generic::nodeAt(const VTable& vt, Slot leaf, std::uint32_t index) noexcept {
    char* const entries = isList(leaf) ? listOf(leaf).entries() : bucketOf(leaf).entries();
    return entries + index * vt.entrySize;
}

const void* HashMap2018Generic::lookupNodeG(const VTable& vt, KeyAndHash keyAndHash)
    const noexcept {
    const Location at = locate(vt, keyAndHash);
    return at.found ? nodeAt(vt, at.leaf, at.index) : nullptr;
}

const void*
HashMap2018Generic::lookupInListG(const VTable& vt, Slot leaf, const void* key) noexcept {
    const ListPosition at = positionInList(vt, listOf(leaf), key, nullptr);
    return at.found ? nodeAt(vt, leaf, at.index) : nullptr;
}

const void* HashMap2018Generic::lookupLikeG(const VTable& vt, const void* node) const noexcept {
    std::uint32_t hash = 0;
    vt.hashNodes(node, 1, &hash);
    const Leaf found = leafOf(hash);
    const Slot leaf = found.slot;
    if (isList(leaf)) {
        const ListPosition at = positionInList(vt, listOf(leaf), nullptr, node);
        return at.found ? nodeAt(vt, leaf, at.index) : nullptr;
    }
    for (unsigned left = found.matches(hash); left != 0; left &= left - 1) {
        const void* const other =
            nodeAt(vt, leaf, static_cast<unsigned>(std::countr_zero(left)));
        if (vt.compareOrLruUnlink(nullptr, node, other) == 0) return other;
    }
    return nullptr;
}

HashMap2018Generic::LeafRange HashMap2018Generic::leafRange(std::uint32_t hash) const noexcept {
    Slot slot = root_;
    Slot next = 0;
    std::uint32_t left = hash;
    unsigned shared = 0;  // leading bits that the members of the leaf share
    while (isDirectory(slot)) {
        const unsigned bits = bitsOf(slot);
        const std::uint64_t shifted = std::uint64_t{left} << bits;
        const Slot* const slots = directoryOf(slot).slots();
        const auto index = static_cast<std::size_t>(shifted >> 32);
        slot = slots[index];
        left = static_cast<std::uint32_t>(shifted);
        if (isBucket(slot)) {
            const unsigned depth = bucketOf(slot).depth;
            shared += depth;
            const std::size_t behind = (index | ((std::size_t{1} << (bits - depth)) - 1)) + 1;
            next = behind < std::size_t{1} << bits ? slots[behind] : 0;
        } else {
            shared += bits;
        }
    }
    const std::uint64_t size = hashEnd >> shared;
    const std::uint32_t begin = hash & static_cast<std::uint32_t>(~(size - 1));
    return {slot, begin, begin + size, next};
}

// ---- the way to a leaf ----

TriePath HashMap2018Generic::pathTo(std::uint32_t hash) noexcept {
    TriePath path;
    path.start(root_);
    while (isDirectory(path.leaf())) path.descend(hash);
    return path;
}

// After this nothing on the path is shared. Each step leaves a whole map behind, so a failed
// allocation needs no repair.
TriePath HashMap2018Generic::ownedPathTo(const VTable& vt, std::uint32_t hash) {
    if (ownsAllNow()) return pathTo(hash);
    TriePath path;
    path.start(root_);
    while (isDirectory(path.leaf())) {
        ownDirectory(vt, path.leaf());
        path.descend(hash);
    }
    ownLeaf(vt, path.leafRun());
    return path;
}

void* HashMap2018Generic::ownedNodeG(const VTable& vt, KeyAndHash keyAndHash) {
    // The key is not looked at afterwards: it may be part of what is given up.
    const Location at = locate(vt, keyAndHash);
    return nodeAt(vt, ownedPathTo(vt, keyAndHash.hash).leaf(), at.index);
}

// ---- insertion and removal ----

void HashMap2018Generic::newMemberG(const VTable& vt, KeyAndHash keyAndHash, void* node) {
    TriePath path = ownedPathTo(vt, keyAndHash.hash);
    if (isBucket(path.leaf())) {
        const Bucket& bucket = bucketOf(path.leaf());
        if (bucket.count == bucket.capacity) {
            if (bucket.capacity < bucketMax) {
                widenBucket(vt, path, bucket.capacity + 1U);
            } else {
                divide(vt, path, keyAndHash.hash);
            }
        }
    }
    if (isBucket(path.leaf())) {
        Bucket& bucket = bucketOf(path.leaf());
        const unsigned position =
            static_cast<unsigned>(std::countr_zero(bucket.freePositions()));
        vt.place(vt, bucket.entries() + position * vt.entrySize, node, VTable::Placing::move);
        path.found().adopt(position, keyAndHash.hash);
        if constexpr (!settlesLate) settle(vt, bucket);
    } else {
        CollisionList& list = listWithRoom(vt, path);
        const std::uint32_t at = positionInList(vt, list, keyAndHash.key, nullptr).index;
        vt.shift(vt, list.entries(), node, at, list.count, 1);
        std::uint8_t* const marks = list.marks(vt.entrySize);
        std::copy_backward(marks + at, marks + list.count, marks + list.count + 1);
        marks[at] = 0;
        ++list.count;
    }
    ++members_;
    ++changes_;
}

bool HashMap2018Generic::deleteMemberG(const VTable& vt, KeyAndHash keyAndHash, void* removed) {
    // An absent key makes nothing ours; a present one may be part of what is given up.
    TriePath path = pathTo(keyAndHash.hash);
    const Location at = locateIn(vt, path.found(), keyAndHash);
    if (!at.found) return false;
    if (!ownsAllNow()) path = ownedPathTo(vt, keyAndHash.hash);
    const bool marked = isList(at.leaf)
                            ? removeFromList(vt, path, keyAndHash.hash, at.index, removed)
                            : removeFromBucket(vt, path, at.index, removed);
    marked_ -= marked ? 1 : 0;
    ++changes_;
    if (--members_ == 0) leaveFamily(std::exchange(family_, nullptr));
    return true;
}

bool HashMap2018Generic::removeFromBucket(
    const VTable& vt,
    TriePath& path,
    unsigned position,
    void* removed) {
    const unsigned left = bucketOf(path.leaf()).count - 1U;
    const Union united = unionOf(path, bucketOf(path.leaf()).depth, left);
    if (!united.intoBuddy && united.members > bucketOf(path.leaf()).capacity) {
        widenBucket(vt, path, united.members);
    }
    Bucket& bucket = bucketOf(path.leaf());
    const bool marked = (bucket.marks >> position & 1) != 0;
    takeOut(vt, bucket.entries() + position * vt.entrySize, removed);
    path.found().forget(position);
    if (united.changes) {
        unite(vt, path, united);
    } else {
        narrowBucket(vt, path);
    }
    return marked;
}

bool HashMap2018Generic::removeFromList(
    const VTable& vt,
    TriePath& path,
    std::uint32_t hash,
    std::uint32_t at,
    void* removed) {
    CollisionList& list = listOf(path.leaf());
    const std::uint32_t left = list.count - 1;
    Counted* const bucket = left <= bucketMax ? vt.newBucketAssemble(vt, left) : nullptr;

    std::uint8_t* const marks = list.marks(vt.entrySize);
    const bool marked = marks[at] != 0;
    takeOut(vt, list.entries() + at * vt.entrySize, removed);
    vt.shift(vt, list.entries(), nullptr, at + 1, list.count, -1);
    std::copy(marks + at + 1, marks + list.count, marks + at);
    list.count = left;
    if (bucket) {
        listToBucket(vt, path, hash, static_cast<Bucket&>(*bucket));
        const Union united = unionOf(path, bucketOf(path.leaf()).depth, left);
        if (united.changes) unite(vt, path, united);
    } else {
        narrowList(vt, path);
    }
    return marked;
}

// ---- marks ----

void HashMap2018Generic::zinMarkAllForDeletion(const VTable& vt) {
    if (!ownsAllNow()) ownAll(vt, root_);
    markAll(vt, root_);
    marked_ = members_;
}

namespace {

bool isMarked(const HashMap2018VTable& vt, Slot leaf, std::uint32_t index) noexcept {
    if (isList(leaf)) return listOf(leaf).marks(vt.entrySize)[index] != 0;
    return (bucketOf(leaf).marks >> index & 1) != 0;
}

}  // namespace

bool HashMap2018Generic::zinMarkedForDeletionGIs(const VTable& vt, KeyAndHash keyAndHash)
    const noexcept {
    if (marked_ == 0) return false;
    const Location at = locate(vt, keyAndHash);
    return at.found && isMarked(vt, at.leaf, at.index);
}

void HashMap2018Generic::zinMarkedForDeletionGIs(
    const VTable& vt,
    KeyAndHash keyAndHash,
    bool marked) {
    if (marked_ == 0 && !marked) return;
    const Location at = locate(vt, keyAndHash);
    if (!at.found || isMarked(vt, at.leaf, at.index) == marked) return;
    const Slot leaf = ownedPathTo(vt, keyAndHash.hash).leaf();
    if (isList(leaf)) {
        listOf(leaf).marks(vt.entrySize)[at.index] = marked;
    } else {
        Bucket& bucket = bucketOf(leaf);
        bucket.marks = static_cast<std::uint16_t>(bucket.marks ^ 1U << at.index);
    }
    marked_ = marked ? marked_ + 1 : marked_ - 1;
}

// ---- entry operations ----

Counted* HashMap2018Generic::trivialNewBucketAssemble(
    const VTable& vt,
    std::uint32_t slotCount) {
    return newLeaf(vt, slotCount);
}

void HashMap2018Generic::trivialPlace(
    const VTable& vt,
    void* slot,
    void* node,
    VTable::Placing) noexcept {
    std::memcpy(slot, node, vt.entrySize);
}

void HashMap2018Generic::trivialShift(
    const VTable& vt,
    void* entries,
    void* newEntry,
    std::uint32_t first,
    std::uint32_t last,
    std::int32_t slotsToShift) noexcept {
    if (slotsToShift > 0) ZIN_ASSERT(slotsToShift == 1, "HashMap2018Generic");
    char* const run = static_cast<char*>(entries) + first * vt.entrySize;
    const std::ptrdiff_t distance = slotsToShift * static_cast<std::ptrdiff_t>(vt.entrySize);
    std::memmove(run + distance, run, (last - first) * vt.entrySize);
    if (newEntry) vt.place(vt, run, newEntry, VTable::Placing::move);
}

void HashMap2018Generic::placingShift(
    const VTable& vt,
    void* entries,
    void* newEntry,
    std::uint32_t first,
    std::uint32_t last,
    std::int32_t slotsToShift) noexcept {
    if (slotsToShift > 0) ZIN_ASSERT(slotsToShift == 1, "HashMap2018Generic");
    const std::ptrdiff_t distance = slotsToShift * static_cast<std::ptrdiff_t>(vt.entrySize);
    const std::uint32_t count = last - first;
    for (std::uint32_t i = 0; i < count; ++i) {
        // Each goes to a slot that is free by then.
        const std::uint32_t index = slotsToShift < 0 ? first + i : last - 1 - i;
        char* const node = static_cast<char*>(entries) + index * vt.entrySize;
        vt.place(vt, node + distance, node, VTable::Placing::move);
    }
    if (newEntry) {
        char* const slot = static_cast<char*>(entries) + first * vt.entrySize;
        vt.place(vt, slot, newEntry, VTable::Placing::move);
    }
}

void HashMap2018Generic::leafRefDec(const VTable& vt, Slot leaf) noexcept {
    releaseLeaf(vt, leaf);
}

}  // namespace Zin
