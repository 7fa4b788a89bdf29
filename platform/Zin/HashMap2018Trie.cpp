#include "Zin/HashMap2018Trie.h"

#include <algorithm>
#include <new>
#include <utility>

#include "Zin/RefCount.h"

namespace Zin::hashed {

namespace {

// What of a bucket's settled order belongs to the entries at some positions, which go to the
// positions `targets`, and what to the rest. Without branches that nobody could predict.
struct PartedOrder {
    std::uint64_t leaving = 0;
    std::uint64_t rest = 0;

    PartedOrder(std::uint64_t whole, unsigned positions, const std::uint8_t* targets) noexcept {
        unsigned leavingCount = 0, restCount = 0;
        for (unsigned i = 0; i < order::settled(whole); ++i) {
            const unsigned position = order::position(whole, i);
            const unsigned leaves = positions >> position & 1;
            const unsigned target = targets[position] & (0 - leaves);
            leaving = order::appended(leaving, leavingCount, target);
            leavingCount += leaves;
            rest = order::appended(rest, restCount, position & (leaves - 1));
            restCount += 1 - leaves;
        }
        leaving |= std::uint64_t{leavingCount} << 60;
        rest |= std::uint64_t{restCount} << 60;
    }
};

// Entries at some positions go to free positions of another bucket. What was in key order stays
// so when the other one was empty.
void transfer(
    const VTable& vt,
    Bucket& from,
    unsigned positions,
    Bucket& to,
    Placing placing) noexcept {
    const unsigned free = to.freePositions();
    std::uint8_t targets[bucketMax + 1] = {};
    unsigned count = 0;
    for (unsigned left = positions, room = free; left != 0; left &= left - 1, ++count) {
        const auto position = static_cast<unsigned>(std::countr_zero(left));
        const auto target = static_cast<unsigned>(std::countr_zero(room));
        room &= room - 1;
        targets[position] = static_cast<std::uint8_t>(target);
        to.fingerprints.at[target] = from.fingerprints.at[position];
        to.marks =
            static_cast<std::uint16_t>(to.marks | (from.marks >> position & 1U) << target);
        if (placing == Placing::move) from.fingerprints.at[position] = 0;
    }
    if (order::settled(from.order()) != 0) {
        const PartedOrder parted(from.order(), positions, targets);
        if (to.count == 0) to.orderIs(parted.leaving);
        if (placing == Placing::move) from.orderIs(parted.rest);
    }
    to.count = (to.count + count) & 15;
    if (placing == Placing::move) {
        vt.moveNodes(to.entries(), free, from.entries(), positions);
        from.count = (from.count - count) & 15;
        from.marks = static_cast<std::uint16_t>(from.marks & ~positions);
        return;
    }
    for (unsigned left = positions; left != 0; left &= left - 1) {
        const auto position = static_cast<unsigned>(std::countr_zero(left));
        placeNode(
            vt,
            to.entries() + targets[position] * vt.entrySize,
            from.entries() + position * vt.entrySize,
            placing);
    }
}

// ---- directories ----

constexpr unsigned baseOf(unsigned level) noexcept {
    return level * directoryBitsMax;
}

constexpr std::size_t indexIn(std::uint32_t hash, unsigned level, unsigned bits) noexcept {
    return static_cast<std::size_t>(std::uint64_t{hash << baseOf(level)} << bits >> 32);
}

// The directories that a finer division of one range needs. They are taken before anything
// changes.
class Refinement {
  public:
    // The leaf of the path is to be divided so finely that `shared` bits are told apart.
    Refinement(const VTable& vt, const TriePath& path, unsigned shared)
        : vt_(vt), shared_(shared) {
        const unsigned lastLevel = (shared - 1) / directoryBitsMax;
        try {
            if (path.level > 0) {
                const unsigned wanted =
                    std::min(shared - baseOf(path.level - 1), directoryBitsMax);
                widens_ = wanted > bitsOf(*path.holders[path.level - 1]);
                if (widens_) take(wanted);
            }
            for (unsigned level = path.level; level <= lastLevel; ++level) {
                take(std::min(shared - baseOf(level), directoryBitsMax));
            }
        } catch (...) {
            giveBack();
            throw;
        }
    }
    Refinement(const Refinement&) = delete;
    Refinement& operator=(const Refinement&) = delete;
    ~Refinement() { giveBack(); }

    // Lays out the range of the old leaf of this depth: `inside` where the hash leads,
    // `outside` in the other half of the last division, nothing elsewhere.
    void apply(
        TriePath& path,
        std::uint32_t hash,
        unsigned depth,
        Slot inside,
        Slot outside) noexcept {
        if (path.level == 0) {
            hangNext(path);
        } else if (widens_) {
            widenDirectory(*path.holders[path.level - 1]);
        }
        for (;;) {
            const unsigned level = path.level - 1;
            const Slot directory = *path.holders[level];
            Slot* const slots = directoryOf(directory).slots();
            const unsigned bits = bitsOf(directory);
            const unsigned reach = std::min(shared_ - baseOf(level), directoryBitsMax);
            const bool last = baseOf(level) + reach == shared_;
            const std::size_t index = indexIn(hash, level, bits);
            while (depth < reach) {
                const std::size_t length = std::size_t{1} << (bits - ++depth);
                const Slot other = last && depth == reach ? outside : emptySlot(depth);
                slotsAre(directory, (index & ~(length - 1)) ^ length, length, other);
            }
            const std::size_t length = std::size_t{1} << (bits - reach);
            if (last) {
                slotsAre(directory, index & ~(length - 1), length, inside);
                path.holders[path.level] = slots + index;
                return;
            }
            path.holders[path.level] = slots + (index & ~(length - 1));
            hangNext(path);
            depth = 0;
        }
    }

  private:
    void take(unsigned bits) {
        taken_[count_++] = slotOf(newDirectory(vt_, bits), directoryTag(bits));
    }
    void giveBack() noexcept {
        while (used_ < count_) freeDirectory(vt_, taken_[used_++]);
    }
    void hangNext(TriePath& path) noexcept {
        if (path.level > 0) *path.holders[path.level - 1] |= innerTag;
        *path.holders[path.level++] = taken_[used_++];
    }
    void widenDirectory(Slot& holder) noexcept {
        const Slot wider = taken_[used_++];
        copySlots(wider, holder);
        freeDirectory(vt_, holder);
        holder = wider;
    }

    const VTable& vt_;
    const unsigned shared_;
    Slot taken_[levelsMax + 1] = {};
    unsigned count_ = 0;
    unsigned used_ = 0;
    bool widens_ = false;  // the directory of the old leaf, with the first one taken
};

// Halves a directory that is four times as wide as its leaves need: a little change must not
// make it grow again at once.
void narrowDirectory(const VTable& vt, Slot& holder) noexcept {
    const unsigned bits = bitsOf(holder);
    if (bits < 3) return;
    const Slot* const from = directoryOf(holder).slots();
    for (std::size_t i = 0; i < std::size_t{1} << bits; i += 4) {
        if (isDirectory(from[i]) || isList(from[i])) return;
        if (from[i] != from[i + 1] || from[i] != from[i + 2] || from[i] != from[i + 3]) return;
    }
    try {
        const Slot narrower = slotOf(newDirectory(vt, bits - 1), directoryTag(bits - 1));
        copySlots(narrower, holder);
        freeDirectory(vt, holder);
        holder = narrower;
    } catch (const std::bad_alloc&) {
        // It stays as wide as it is.
    }
}

void bucketToList(const VTable& vt, TriePath& path, std::uint32_t hash) {
    Bucket& bucket = bucketOf(path.leaf());
    Refinement refinement(vt, path, hashBits);
    CollisionList& list = newList(vt, 2 * bucketMax);
    HashMap2018Generic::settle(vt, bucket);
    const std::uint64_t order = bucket.order();
    for (unsigned i = 0; i < bucket.count; ++i) {
        const unsigned position = order::position(order, i);
        placeNode(
            vt,
            list.entries() + i * vt.entrySize,
            bucket.entries() + position * vt.entrySize,
            Placing::move);
        list.marks(vt.entrySize)[i] = bucket.marks >> position & 1;
    }
    list.count = bucket.count;
    const unsigned lastDepth = hashBits - baseOf(levelsMax - 1);
    refinement.apply(path, hash, bucket.depth, slotOf(list), emptySlot(lastDepth));
    freeLeaf(vt, &bucket, bucket.capacity);
}

CollisionList& listMoved(const VTable& vt, TriePath& path, std::uint32_t capacity) {
    CollisionList& from = listOf(path.leaf());
    CollisionList& to = newList(vt, capacity);
    for (std::uint32_t i = 0; i < from.count; ++i) {
        const std::size_t offset = i * vt.entrySize;
        placeNode(vt, to.entries() + offset, from.entries() + offset, Placing::move);
    }
    std::copy_n(from.marks(vt.entrySize), from.count, to.marks(vt.entrySize));
    to.count = from.count;
    freeLeaf(vt, &from, from.capacity);
    path.leaf() = slotOf(to);
    return to;
}

}  // namespace

void TriePath::descend(std::uint32_t hash) noexcept {
    const Slot directory = *holders[level];
    holders[level + 1] =
        directoryOf(directory).slots() + indexIn(hash, level, bitsOf(directory));
    ++level;
}

Leaf TriePath::found() const noexcept {
    if (level == 0) return {leaf(), &bucketOf(leaf()).fingerprints + 1, 0, 0};
    const Slot directory = *holders[level - 1];
    const auto index =
        static_cast<std::uint32_t>(holders[level] - directoryOf(directory).slots());
    return {leaf(), directoryOf(directory).fingerprints(index) + 1, index, bitsOf(directory)};
}

Run TriePath::leafRun() const noexcept {
    if (level == 0 || !isBucket(leaf())) return {holders[level], 1};
    const Slot directory = *holders[level - 1];
    Slot* const slots = directoryOf(directory).slots();
    const std::size_t length = std::size_t{1} << (bitsOf(directory) - bucketOf(leaf()).depth);
    const auto index = static_cast<std::size_t>(holders[level] - slots);
    return {slots + (index & ~(length - 1)), length};
}

void TriePath::leafIs(Slot slot) const noexcept {
    if (level == 0) {
        *holders[0] = slot;
        return;
    }
    const Run run = leafRun();
    const Slot directory = *holders[level - 1];
    const auto first = static_cast<std::size_t>(run.data() - directoryOf(directory).slots());
    slotsAre(directory, first, run.size(), slot);
}

void widenBucket(const VTable& vt, TriePath& path, unsigned members) {
    Bucket& from = bucketOf(path.leaf());
    Bucket& to = newBucket(vt, capacityFor(members));
    if (from.capacity == 0) {
        to.depth = from.depth;
        path.leafIs(slotOf(to));
        return;
    }
    fill(vt, to, from, Placing::move);
    path.leafIs(slotOf(to));
    freeLeaf(vt, &from, from.capacity);
}

void narrowBucket(const VTable& vt, TriePath& path) noexcept {
    Bucket& from = bucketOf(path.leaf());
    if (from.count == 0) {
        path.leafIs(emptySlot(from.depth));
        freeLeaf(vt, &from, from.capacity);
        return;
    }
    if (from.suits(from.count)) return;
    try {
        Bucket& to = newBucket(vt, capacityFor(from.count + 1U));
        to.depth = from.depth;
        transfer(vt, from, from.usedPositions(), to, Placing::move);
        path.leafIs(slotOf(to));
        freeLeaf(vt, &from, from.capacity);
    } catch (const std::bad_alloc&) {
        // It stays as large as it is.
    }
}

void narrowList(const VTable& vt, TriePath& path) noexcept {
    CollisionList& list = listOf(path.leaf());
    if (list.capacity <= 2 * bucketMax || list.count > list.capacity / 3) return;
    try {
        listMoved(vt, path, std::max(list.capacity / 2, 2 * bucketMax));
    } catch (const std::bad_alloc&) {
        // It stays as large as it is.
    }
}

void divide(const VTable& vt, TriePath& path, std::uint32_t hash) {
    Bucket& full = bucketOf(path.leaf());
    std::uint32_t hashes[bucketMax + 1];
    vt.hashNodes(full.entries(), full.usedPositions(), hashes);
    hashes[bucketMax] = hash;
    std::uint32_t differing = 0;
    for (const std::uint32_t other : hashes) differing |= other ^ hash;
    if (differing == 0) {
        bucketToList(vt, path, hash);
        return;
    }
    // The range is divided at the first bit in which its members differ: there both halves have
    // members, and no range on the way there is left with 15 or fewer.
    const unsigned shared = static_cast<unsigned>(std::countl_zero(differing)) + 1;
    const unsigned ones = bitOfWords(hashes, hashBits - shared);
    const bool hashIsOne = ones >> bucketMax != 0;
    const unsigned far = (hashIsOne ? ~ones : ones) & full.usedPositions();
    const unsigned near = full.usedPositions() & ~far;
    const unsigned nearCount = static_cast<unsigned>(std::popcount(near)) + 1;
    // The smaller part moves: the larger one keeps the block, which has room then.
    const bool nearMoves = 2 * nearCount <= bucketMax + 1;
    Refinement refinement(vt, path, shared);
    Bucket& moved =
        newBucket(vt, capacityFor(nearMoves ? nearCount : bucketMax + 1 - nearCount));
    const unsigned depth = full.depth;
    transfer(vt, full, nearMoves ? near : far, moved, Placing::move);
    moved.depth = full.depth = static_cast<std::uint8_t>((shared - 1) % directoryBitsMax + 1);
    refinement.apply(
        path,
        hash,
        depth,
        slotOf(nearMoves ? moved : full),
        slotOf(nearMoves ? full : moved));
}

Union unionOf(const TriePath& path, unsigned depth, unsigned members) noexcept {
    Union united{path.level, depth, members, nullptr, false, false};
    while (united.level > 0) {
        const Slot directory = *path.holders[united.level - 1];
        if (united.depth == 0) {
            // It fills the directory and takes its place in the one above.
            if (--united.level > 0) united.depth = directoryBitsMax;
            continue;
        }
        Slot* const slots = directoryOf(directory).slots();
        const std::size_t length = std::size_t{1} << (bitsOf(directory) - united.depth);
        const auto index = static_cast<std::size_t>(path.holders[united.level] - slots);
        const Slot other = slots[(index & ~(length - 1)) ^ length];
        if (!isBucket(other)) break;
        Bucket& buddy = bucketOf(other);
        if (buddy.depth != united.depth || united.members + buddy.count > bucketMax) break;
        if (buddy.count != 0) {
            // Before, the two had more than 15 members: all ranges above that are left with 15
            // contain nothing else.
            united.buddy = &buddy;
            united.members += buddy.count;
            united.intoBuddy = bucketOf(path.leaf()).capacity < united.members &&
                               buddy.capacity >= united.members &&
                               referenceIsUnique(buddy.references);
        }
        --united.depth;
        united.changes = true;
    }
    return united;
}

void unite(const VTable& vt, TriePath& path, const Union& united) noexcept {
    Bucket* from = united.buddy;
    Bucket* into = &bucketOf(path.leaf());
    if (united.intoBuddy) std::swap(from, into);
    if (from) {
        const bool shared = !referenceIsUnique(from->references);
        const Placing placing = shared ? Placing::copy : Placing::move;
        transfer(vt, *from, from->usedPositions(), *into, placing);
        vt.bktHdrRefDec(vt, slotOf(*from));
    }
    into->depth = static_cast<std::uint8_t>(united.depth);
    while (path.level > united.level) freeDirectory(vt, *path.holders[--path.level]);
    path.leaf() = slotOf(*into);
    path.leafIs(slotOf(*into));
    if constexpr (!settlesLate) HashMap2018Generic::settle(vt, *into);
    if (path.level > 0) narrowDirectory(vt, *path.holders[path.level - 1]);
}

CollisionList& listWithRoom(const VTable& vt, TriePath& path) {
    CollisionList& list = listOf(path.leaf());
    if (list.count < list.capacity) return list;
    return listMoved(vt, path, list.capacity + list.capacity / 2);
}

void listToBucket(
    const VTable& vt,
    TriePath& path,
    std::uint32_t hash,
    Bucket& bucket) noexcept {
    CollisionList& list = listOf(path.leaf());
    for (unsigned i = 0; i < list.count; ++i) {
        const std::size_t offset = i * vt.entrySize;
        placeNode(vt, bucket.entries() + offset, list.entries() + offset, Placing::move);
        bucket.fingerprints.at[i] = fingerprintOf(hash);
        bucket.marks =
            static_cast<std::uint16_t>(bucket.marks | list.marks(vt.entrySize)[i] << i);
    }
    bucket.count = list.count & 15;
    bucket.orderIs(order::inOrder(list.count));
    bucket.depth = static_cast<std::uint8_t>(hashBits - baseOf(path.level - 1));
    path.leafIs(slotOf(bucket));
    freeLeaf(vt, &list, list.capacity);
}

}  // namespace Zin::hashed
