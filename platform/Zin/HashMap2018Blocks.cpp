#include "Zin/HashMap2018Blocks.h"

#include <algorithm>
#include <new>

#include "Zin/RefCount.h"

namespace Zin::hashed {

constinit const Bucket emptyBuckets[directoryBitsMax + 1] = {
    {{1}, 0, 0, 0, 0, {0}, {}},
    {{1}, 0, 0, 0, 1, {0}, {}},
    {{1}, 0, 0, 0, 2, {0}, {}},
    {{1}, 0, 0, 0, 3, {0}, {}},
    {{1}, 0, 0, 0, 4, {0}, {}},
    {{1}, 0, 0, 0, 5, {0}, {}},
    {{1}, 0, 0, 0, 6, {0}, {}},
    {{1}, 0, 0, 0, 7, {0}, {}},
};

void Leaf::manyCopiesAre(
    Fingerprints* copies,
    std::uint32_t length,
    unsigned position,
    std::uint8_t fingerprint) noexcept {
    for (std::uint32_t i = 0; i < length; ++i) copies[i].at[position] = fingerprint;
}

namespace {

// Tags need the low four bits of an address.
constexpr std::size_t blockAlignment = 16;

void* takeBlock(std::size_t bytes) {
    if constexpr (__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= blockAlignment) {
        return ::operator new(bytes);
    } else {
        return ::operator new (bytes, std::align_val_t{blockAlignment});
    }
}

void freeBlock(void* block) noexcept {
    if constexpr (__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= blockAlignment) {
        ::operator delete(block);
    } else {
        ::operator delete (block, std::align_val_t{blockAlignment});
    }
}

// A leaf is accounted as a header and an array of slots.
void reportLeaf(const VTable& vt, std::size_t headerBytes, std::uint32_t slotCount) noexcept {
    vt.allocTrack->trackAllocation(*vt.collection, headerBytes);
    vt.allocTrack->trackArrayAllocation(*vt.collection, vt.entrySize, slotCount);
}

void reportLeafFreed(
    const VTable& vt,
    std::size_t headerBytes,
    std::uint32_t slotCount) noexcept {
    vt.allocTrack->trackArrayDeallocation(*vt.collection, vt.entrySize, slotCount);
    vt.allocTrack->trackDeallocation(*vt.collection, headerBytes);
}

// Of a list: the marks count as header.
constexpr std::size_t headerBytes(std::uint32_t slotCount) noexcept {
    return slotCount <= bucketMax ? sizeof(Bucket) : sizeof(CollisionList) + slotCount;
}

constexpr std::size_t directoryBytes(unsigned bits) noexcept {
    return sizeof(Directory) + ((sizeof(Slot) + sizeof(Fingerprints)) << bits);
}

}  // namespace

void freeLeaf(const VTable& vt, void* leaf, std::uint32_t slotCount) noexcept {
    freeBlock(leaf);
    reportLeafFreed(vt, headerBytes(slotCount), slotCount);
}

Directory& newDirectory(const VTable& vt, unsigned bits) {
    vt.allocTrack->trackAllocation(*vt.collection, directoryBytes(bits));
    try {
        auto* const fingerprints = static_cast<Fingerprints*>(takeBlock(directoryBytes(bits)));
        return *new (fingerprints + (std::size_t{1} << bits)) Directory{{1}, 0};
    } catch (...) {
        vt.allocTrack->trackDeallocation(*vt.collection, directoryBytes(bits));
        throw;
    }
}

void freeDirectory(const VTable& vt, Slot directory) noexcept {
    freeBlock(directoryOf(directory).fingerprints((std::size_t{1} << bitsOf(directory)) - 1));
    vt.allocTrack->trackDeallocation(*vt.collection, directoryBytes(bitsOf(directory)));
}

void slotsAre(Slot directory, std::size_t first, std::size_t length, Slot slot) noexcept {
    std::fill_n(directoryOf(directory).slots() + first, length, slot);
    if (isDirectory(slot)) return;
    std::fill_n(
        directoryOf(directory).fingerprints(first + length - 1),
        length,
        isList(slot) ? Fingerprints{} : bucketOf(slot).fingerprints);
}

void copySlots(Slot to, Slot from) noexcept {
    const unsigned toBits = bitsOf(to);
    const unsigned fromBits = bitsOf(from);
    for (std::size_t i = 0; i < std::size_t{1} << toBits; ++i) {
        const std::size_t source = (i << fromBits) >> toBits;
        directoryOf(to).slots()[i] = directoryOf(from).slots()[source];
        *directoryOf(to).fingerprints(i) = *directoryOf(from).fingerprints(source);
    }
}

void fill(const VTable& vt, Bucket& to, Bucket& from, Placing placing) noexcept {
    to.marks = from.marks;
    to.count = from.count;
    to.depth = from.depth;
    to.orderIs(from.order());
    to.fingerprints = from.fingerprints;
    if (placing == Placing::move ? vt.movesAsBytes : vt.copiesAsBytes) {
        std::memcpy(to.entries(), from.entries(), from.capacity * vt.entrySize);
        return;
    }
    for (unsigned left = from.usedPositions(); left != 0; left &= left - 1) {
        const std::size_t offset = static_cast<unsigned>(std::countr_zero(left)) * vt.entrySize;
        vt.place(vt, to.entries() + offset, from.entries() + offset, placing);
    }
}

Counted* newLeaf(const VTable& vt, std::uint32_t slotCount) {
    const std::size_t header = headerBytes(slotCount);
    reportLeaf(vt, header, slotCount);
    void* block = nullptr;
    try {
        block = takeBlock(header + slotCount * vt.entrySize);
    } catch (...) {
        reportLeafFreed(vt, header, slotCount);
        throw;
    }
    if (slotCount > bucketMax) return new (block) CollisionList{{1}, 0, slotCount};
    Bucket* const bucket = new (block) Bucket{{1}, 0, 0, 0, 0, {0}, {}};
    bucket->capacity = slotCount & 15;
    return bucket;
}

void retain(Slot slot) noexcept {
    if (!isConstant(slot)) referenceInc(countedOf(slot).references);
}

void release(const VTable& vt, Slot slot) noexcept {
    if (!isDirectory(slot)) {
        vt.bktHdrRefDec(vt, slot);
    } else if (referenceDec(countedOf(slot).references)) {
        forEachBelow(slot, [&vt](Slot below) { release(vt, below); });
        freeDirectory(vt, slot);
    }
}

void releaseLeaf(const VTable& vt, Slot leaf) noexcept {
    if (isConstant(leaf) || !referenceDec(countedOf(leaf).references)) return;
    if (isList(leaf)) {
        CollisionList& list = listOf(leaf);
        for (std::uint32_t i = 0; !vt.destroysNothing && i < list.count; ++i) {
            vt.destroyNode(list.entries() + i * vt.entrySize);
        }
        freeLeaf(vt, &list, list.capacity);
        return;
    }
    Bucket& bucket = bucketOf(leaf);
    if (!vt.destroysNothing) {
        for (unsigned left = bucket.usedPositions(); left != 0; left &= left - 1) {
            vt.destroyNode(
                bucket.entries() +
                static_cast<unsigned>(std::countr_zero(left)) * vt.entrySize);
        }
    }
    freeLeaf(vt, &bucket, bucket.capacity);
}

void ownDirectory(const VTable& vt, Slot& holder) {
    if (referenceIsUnique(countedOf(holder).references)) return;
    const unsigned bits = bitsOf(holder);
    const Slot copy = slotOf(newDirectory(vt, bits), holder & tagMask);
    const std::size_t width = std::size_t{1} << bits;
    Directory& from = directoryOf(holder);
    Directory& to = directoryOf(copy);
    std::copy_n(from.slots(), width, to.slots());
    std::copy_n(from.fingerprints(width - 1), width, to.fingerprints(width - 1));
    forEachBelow(copy, retain);
    release(vt, holder);
    holder = copy;
}

// The fingerprints stay as they are.
void ownLeaf(const VTable& vt, Run run) {
    const Slot old = run.front();
    if (isConstant(old) || referenceIsUnique(countedOf(old).references)) return;
    if (isList(old)) {
        CollisionList& from = listOf(old);
        CollisionList& to = newList(vt, from.capacity);
        for (std::uint32_t i = 0; i < from.count; ++i) {
            const std::size_t offset = i * vt.entrySize;
            placeNode(vt, to.entries() + offset, from.entries() + offset, Placing::copy);
        }
        std::copy_n(from.marks(vt.entrySize), from.count, to.marks(vt.entrySize));
        to.count = from.count;
        run.front() = slotOf(to);
    } else {
        Bucket& to = newBucket(vt, bucketOf(old).capacity);
        fill(vt, to, bucketOf(old), Placing::copy);
        std::fill(run.begin(), run.end(), slotOf(to));
    }
    vt.bktHdrRefDec(vt, old);
}

void ownAll(const VTable& vt, Slot& holder) {
    if (!isDirectory(holder)) {
        ownLeaf(vt, {&holder, 1});
        return;
    }
    ownDirectory(vt, holder);
    Slot* const slots = directoryOf(holder).slots();
    const std::size_t width = std::size_t{1} << bitsOf(holder);
    for (std::size_t i = 0; i < width;) {
        if (isDirectory(slots[i])) {
            ownAll(vt, slots[i++]);
            continue;
        }
        std::size_t length = 1;
        if (isBucket(slots[i])) length = width >> bucketOf(slots[i]).depth;
        ownLeaf(vt, {slots + i, length});
        i += length;
    }
}

void markAll(const VTable& vt, Slot slot) noexcept {
    if (isDirectory(slot)) {
        forEachBelow(slot, [&vt](Slot below) { markAll(vt, below); });
    } else if (isList(slot)) {
        CollisionList& list = listOf(slot);
        std::fill_n(list.marks(vt.entrySize), list.count, std::uint8_t{1});
    } else if (!isConstant(slot)) {
        bucketOf(slot).marks = static_cast<std::uint16_t>(bucketOf(slot).usedPositions());
    }
}

}  // namespace Zin::hashed
