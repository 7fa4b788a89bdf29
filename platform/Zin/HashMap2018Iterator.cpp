#include "Zin/HashMap2018Iterator.h"

#include <algorithm>
#include <utility>

#include "Zin/HashMap2018Trie.h"
#include "Zin/Prefetch.h"

namespace Zin {

using namespace hashed;

namespace {

Chunk listChunk(const char* entries, std::uint32_t count) noexcept {
    const std::uint32_t now = std::min<std::uint32_t>(count, bucketMax);
    return {entries, order::inOrder(now) & order::positions, now, count - now};
}

}  // namespace

Chunk hashed::firstChunk(const HashMap2018VTable& vt, Slot leaf) noexcept {
    if (isList(leaf)) return listChunk(listOf(leaf).entries(), listOf(leaf).count);
    Bucket& bucket = bucketOf(leaf);
    HashMap2018Generic::settle(vt, bucket);
    return {bucket.entries(), bucket.order() & order::positions, bucket.count, 0};
}

Chunk hashed::firstChunkFrom(
    const HashMap2018VTable& vt,
    const HashMap2018Generic::LeafRange& range,
    std::uint32_t from) noexcept {
    Chunk all = firstChunk(vt, range.leaf);
    if (range.begin == from) return all;
    // Ranges were united since: what lies before was visited. A list has one hash only.
    std::uint32_t hashes[bucketMax] = {};
    std::uint32_t hashAt[bucketMax] = {};
    unsigned used = bucketOf(range.leaf).usedPositions();
    vt.hashNodes(all.entries, used, hashes);
    for (unsigned i = 0; used != 0; used &= used - 1)
        hashAt[std::countr_zero(used)] = hashes[i++];
    Chunk rest{all.entries, 0, 0, 0};
    for (unsigned i = 0; i < all.left; ++i) {
        const unsigned position = order::position(all.order, i);
        if (hashAt[position] >= from) {
            rest.order = order::appended(rest.order, rest.left++, position);
        }
    }
    return rest;
}

Chunk hashed::nextChunk(
    const HashMap2018VTable& vt,
    const char* entries,
    std::uint32_t listLeft) noexcept {
    return listChunk(entries + bucketMax * vt.entrySize, listLeft);
}

namespace {

constexpr std::size_t lineBytes = 64;

void fetch(const void* from, std::size_t bytes) noexcept {
    const char* const line = static_cast<const char*>(from);
    for (std::size_t offset = 0; offset < bytes; offset += lineBytes) {
        prefetchFar(line + offset);
    }
}

}  // namespace

// Nothing is read here, so it is not known how long the bucket is: a load that waits for memory
// would hold up those behind it.
void hashed::fetchLeaf(const HashMap2018VTable& vt, Slot leaf) noexcept {
    if (!isBucket(leaf)) return;
    const std::size_t bytes = sizeof(Bucket) + bucketMax * vt.entrySize;
    fetch(&bucketOf(leaf), std::min<std::size_t>(bytes, 24 * lineBytes));
}

// ---- safe ----

HashMap2018IteratorGeneric::HashMap2018IteratorGeneric(
    const HashMap2018IteratorGeneric& other) noexcept
    : hashMap_(other.hashMap_),
      pinned_(other.pinned_),
      family_(other.family_),
      iter_(other.iter_),
      chunk_(other.chunk_),
      next_(other.next_),
      changes_(other.changes_) {
    if (pinned_) {
        retain(pinned_);
        HashMap2018Generic::retainFamily(family_);
    }
}

void HashMap2018IteratorGeneric::assign(
    const VTable& vt,
    const HashMap2018IteratorGeneric& other) noexcept {
    HashMap2018IteratorGeneric copy(other);
    dispose(vt);
    hashMap_ = copy.hashMap_;
    pinned_ = copy.pinned_;
    family_ = copy.family_;
    iter_ = copy.iter_;
    chunk_ = copy.chunk_;
    next_ = copy.next_;
    changes_ = copy.changes_;
}

void HashMap2018IteratorGeneric::unpin(const VTable& vt) noexcept {
    vt.bktHdrRefDec(vt, std::exchange(pinned_, 0));
    HashMap2018Generic::leaveFamily(std::exchange(family_, nullptr));
}

const void* HashMap2018IteratorGeneric::currNodeNonStale(const VTable& vt) const noexcept {
    ZIN_ASSERT(!markedForDeletion(vt), "HashMap2018");
    return currNode(vt);
}

const void* HashMap2018IteratorGeneric::currNode(const VTable& vt) const noexcept {
    ZIN_ASSERT(iter_, "HashMap2018");
    if (changes_ == hashMap_->changes()) return iter_;
    const void* const now = hashMap_->lookupLikeG(vt, iter_);
    return now ? now : iter_;
}

bool HashMap2018IteratorGeneric::markedForDeletion(const VTable& vt) const noexcept {
    ZIN_ASSERT(iter_, "HashMap2018");
    return changes_ != hashMap_->changes() && !hashMap_->lookupLikeG(vt, iter_);
}

bool HashMap2018IteratorGeneric::equal(
    const VTable& vt,
    const HashMap2018IteratorGeneric& a,
    const HashMap2018IteratorGeneric& b) noexcept {
    if (!a.iter_ || !b.iter_) return a.iter_ == b.iter_;
    return a.hashMap_ == b.hashMap_ && vt.compareOrLruUnlink(nullptr, a.iter_, b.iter_) == 0;
}

bool HashMap2018IteratorGeneric::takeNext(const VTable& vt) noexcept {
    for (;;) {
        while (chunk_.left > 0) {
            iter_ = chunk_.take(vt.entrySize);
            if (changes_ == hashMap_->changes() || hashMap_->lookupLikeG(vt, iter_))
                return true;
        }
        if (chunk_.listLeft == 0) return false;
        chunk_ = nextChunk(vt, chunk_.entries, chunk_.listLeft);
    }
}

void HashMap2018IteratorGeneric::advancePast(const VTable& vt) noexcept {
    if (!takeNext(vt)) nextLeaf(vt);
}

void HashMap2018IteratorGeneric::nextLeaf(const VTable& vt) noexcept {
    dispose(vt);
    iter_ = nullptr;
    chunk_ = {};
    while (next_ < HashMap2018Generic::hashEnd && hashMap_->members() != 0) {
        const auto from = static_cast<std::uint32_t>(next_);
        const HashMap2018Generic::LeafRange range = hashMap_->leafRange(from);
        next_ = range.end;
        changes_ = hashMap_->changes();
        chunk_ = firstChunkFrom(vt, range, from);
        if (chunk_.left == 0) continue;
        pinned_ = range.leaf;
        family_ = hashMap_->joinFamily();
        retain(pinned_);
        iter_ = chunk_.take(vt.entrySize);
        return;
    }
    next_ = HashMap2018Generic::hashEnd;
}

// ---- leaves ----

namespace {

// In large maps the last directories are narrow, and each of their leaves is a cache miss. So
// the leaves are fetched of a directory so far behind the current one, which is some ten
// buckets: those of the next come too late.
constexpr std::size_t directoriesAhead = 2;

constexpr bool isNarrow(Slot slot) noexcept {
    return isDirectory(slot) && bitsOf(slot) <= 4;
}

}  // namespace

void Leaves::enterDirectory() noexcept {
    slot_ = root_;
    slotsEnd_ = slot_ + 1;
    ahead_ = aheadEnd_ = nullptr;
    bits_ = 0;
    slotBits_ = hashBits;
    auto left = static_cast<std::uint32_t>(next_);
    while (isDirectory(*slot_)) {
        const Slot directory = *slot_;
        const Slot* const slots = directoryOf(directory).slots();
        const auto behind = static_cast<std::size_t>(slotsEnd_ - slot_);
        if (behind > directoriesAhead && isNarrow(slot_[directoriesAhead])) {
            const Slot ahead = slot_[directoriesAhead];
            ahead_ = directoryOf(ahead).slots();
            aheadEnd_ = ahead_ + (std::size_t{1} << bitsOf(ahead));
            if (behind > directoriesAhead + 1) {
                fetch(&directoryOf(slot_[directoriesAhead + 1]), 2 * lineBytes);
            }
        }
        bits_ = static_cast<std::uint8_t>(bitsOf(directory));
        slotBits_ = static_cast<std::uint8_t>(slotBits_ - bits_);
        const std::uint64_t shifted = std::uint64_t{left} << bits_;
        slot_ = slots + (shifted >> 32);
        slotsEnd_ = slots + (std::size_t{1} << bits_);
        left = static_cast<std::uint32_t>(shifted);
    }
}

Chunk Leaves::next(const HashMap2018VTable& vt) noexcept {
    while (next_ < HashMap2018Generic::hashEnd) {
        if (slot_ == slotsEnd_ || isDirectory(*slot_)) enterDirectory();
        const Slot leaf = *slot_;
        step(vt, isList(leaf) ? 1 : std::size_t{1} << (bits_ - bucketOf(leaf).depth));
        if (slot_ != slotsEnd_) prefetch(&directoryOf(*slot_));
        const Chunk chunk = firstChunk(vt, leaf);
        if (chunk.left != 0) return chunk;
    }
    return {};
}

}  // namespace Zin
