// The memory of hashed collections: a trie over the top bits of a 32-bit key hash. Its inner
// nodes are directories of 2 to 128 slots, its leaves are buckets of at most 15 entries, or a
// collision list where more entries than that share all 32 bits.
//
// A bucket of local depth d in a directory of b bits fills 2^(b-d) neighbouring slots. The
// shape is canonical: a range of hashes that share a prefix is divided exactly when it has more
// than 15 members, so equal sets of keys are laid out alike whatever their history. (The width
// of a directory and the capacity of a bucket may differ: they change no order.)
//
// Beside each of its slots a directory holds a copy of the fingerprints of the bucket there. A
// lookup compares those, so it touches a bucket only where an entry may match. What changes a
// bucket takes its fingerprints for true and brings the copies up to date.
//
// Entries never move inside a bucket. Their key order stands in one word beside them and is
// settled at the first ordered use, so that an insertion compares no keys.
//
// Directories, buckets and lists are reference-counted. One that has several references is
// shared by copies of a map, perhaps on different threads, and nothing in it changes but that
// order word, which every reader would set to the same value.
//
// Internal to the hashed collections. ZIN_HASHMAP_PORTABLE selects, for tests, what machines
// without 64-bit atomics and those without vector instructions use.

#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "Zin/Export.h"
#include "Zin/HashMap2018Fingerprints.h"

namespace Zin::hashed {

inline constexpr unsigned hashBits = 32;
inline constexpr unsigned bucketMax = 15;
inline constexpr unsigned directoryBitsMax = 7;
// Directories on a path: all but the last consume seven bits.
inline constexpr unsigned levelsMax = (hashBits + directoryBitsMax - 1) / directoryBitsMax;

// Whether an order word may be settled late: another thread may read it at the same time.
#if defined(ZIN_HASHMAP_PORTABLE)
inline constexpr bool settlesLate = false;
#else
inline constexpr bool settlesLate = std::atomic<std::uint64_t>::is_always_lock_free;
#endif

// An order word: the positions of entries in key order, a nibble each, and in the top nibble
// how many they are. Entries that came later are not in it yet. Unused nibbles are 0.
namespace order {

inline constexpr std::uint64_t positions = ~std::uint64_t{0} >> 4;
inline constexpr std::uint64_t ones = 0x1111111111111111;  // in each nibble

constexpr std::uint64_t firstNibbles(unsigned count) noexcept {
    return (std::uint64_t{1} << 4 * count) - 1;
}
constexpr unsigned settled(std::uint64_t word) noexcept {
    return static_cast<unsigned>(word >> 60);
}
constexpr unsigned position(std::uint64_t word, unsigned index) noexcept {
    return static_cast<unsigned>(word >> 4 * index) & 15;
}
constexpr std::uint64_t inOrder(unsigned count) noexcept {
    return (std::uint64_t{0xEDCBA9876543210} & firstNibbles(count)) | std::uint64_t{count}
                                                                          << 60;
}
constexpr std::uint64_t
appended(std::uint64_t word, unsigned count, unsigned position) noexcept {
    return word | std::uint64_t{position} << 4 * count;
}
// REQUIRES: word is without its top nibble and has a free nibble.
constexpr std::uint64_t
inserted(std::uint64_t word, unsigned index, unsigned position) noexcept {
    const std::uint64_t before = firstNibbles(index);
    return (word & before) | std::uint64_t{position} << 4 * index | (word & ~before) << 4;
}
constexpr std::uint64_t erased(std::uint64_t word, unsigned position) noexcept {
    const std::uint64_t body = word & positions;
    // The lowest nibble that equals the position: the lowest zero nibble after the exclusive
    // or.
    const std::uint64_t differing = body ^ position * ones;
    const std::uint64_t zeros = (differing - ones) & ~differing & ones << 3;
    const unsigned index = static_cast<unsigned>(std::countr_zero(zeros)) >> 2;
    if (index >= settled(word)) return word;
    const std::uint64_t before = firstNibbles(index);
    return (body & before) | ((body >> 4) & ~before) | std::uint64_t{settled(word) - 1} << 60;
}
// As a mask.
constexpr unsigned positionsIn(std::uint64_t word) noexcept {
    unsigned mask = 0;
    for (unsigned left = settled(word); left != 0; --left, word >>= 4)
        mask |= 1U << (word & 15);
    return mask;
}

}  // namespace order

// What directories, buckets and lists start with.
struct Counted {
    std::uint32_t references;
};

struct alignas(16) Bucket : Counted {
    std::uint16_t marks;  // bit i: the entry at position i is marked for deletion
    std::uint8_t count : 4;
    std::uint8_t capacity : 4;  // 0 in the constants that stand for empty ranges
    std::uint8_t depth;         // bits of its directory that its members share
    std::atomic<std::uint64_t> orderWord;
    Fingerprints fingerprints;

    std::uint64_t order() const noexcept { return orderWord.load(std::memory_order_relaxed); }
    void orderIs(std::uint64_t word) noexcept {
        orderWord.store(word, std::memory_order_relaxed);
    }
    bool settled() const noexcept { return order::settled(order()) == count; }

    char* entries() noexcept { return reinterpret_cast<char*>(this + 1); }
    const char* entries() const noexcept { return reinterpret_cast<const char*>(this + 1); }

    unsigned freePositions() const noexcept {
        return zeroBytes(fingerprints.at) & ((1U << capacity) - 1);
    }
    unsigned usedPositions() const noexcept { return ~zeroBytes(fingerprints.at) & 0x7fff; }
    // Whether so few members may keep the block.
    bool suits(unsigned members) const noexcept {
        return members != 0 && (capacity <= 4 || members * 5U > capacity * 2U);
    }

    // The entry that was built at a free position becomes a member, with no place in the order
    // yet.
    void adopt(unsigned position, std::uint32_t hash) noexcept {
        fingerprints.at[position] = fingerprintOf(hash);
        count = (count + 1) & 15;
    }
    void forget(unsigned position) noexcept {
        fingerprints.at[position] = 0;
        marks = static_cast<std::uint16_t>(marks & ~(1U << position));
        orderIs(order::erased(order(), position));
        count = (count - 1) & 15;
    }
};
static_assert(sizeof(Bucket) == 32);

// Entries in key order; behind them a byte for each that is 1 where it is marked for deletion.
struct alignas(16) CollisionList : Counted {
    std::uint32_t count;
    std::uint32_t capacity;

    char* entries() noexcept { return reinterpret_cast<char*>(this + 1); }
    const char* entries() const noexcept { return reinterpret_cast<const char*>(this + 1); }
    std::uint8_t* marks(std::size_t entrySize) noexcept {
        return reinterpret_cast<std::uint8_t*>(entries()) + entrySize * capacity;
    }
};

// A pointer to a directory, bucket or list; the low four bits tell which.
using Slot = std::uintptr_t;
inline constexpr Slot tagMask = 15;
// 0 is a bucket; 1 to 7 a directory without directories below it, of 8 bits less so many.
inline constexpr Slot directoryTags = 7;
inline constexpr Slot listTag = 8;
// A directory that may have directories below it, and therefore all seven bits: a lookup shifts
// by a constant there. It keeps the tag when the last one below it goes.
inline constexpr Slot innerTag = 9;
inline constexpr Slot innerOrList = 8;

constexpr bool isBucket(Slot slot) noexcept {
    return (slot & tagMask) == 0;
}
constexpr bool isList(Slot slot) noexcept {
    return (slot & tagMask) == listTag;
}
constexpr bool isDirectory(Slot slot) noexcept {
    return (slot & directoryTags) != 0;
}
// Of a directory.
constexpr unsigned bitsOf(Slot slot) noexcept {
    return directoryBitsMax + 1 - static_cast<unsigned>(slot & directoryTags);
}
constexpr Slot directoryTag(unsigned bits) noexcept {
    return directoryBitsMax + 1 - bits;
}
// By how much a hash is shifted for the index in it: 32 less its bits, which is 24 more than
// the tag. REQUIRES: not an inner one.
constexpr unsigned shiftOf(Slot slot) noexcept {
    return static_cast<unsigned>(slot & directoryTags) | (hashBits - directoryBitsMax - 1);
}
inline Bucket& bucketOf(Slot slot) noexcept {
    return *reinterpret_cast<Bucket*>(slot);
}
inline CollisionList& listOf(Slot slot) noexcept {
    return *reinterpret_cast<CollisionList*>(slot - listTag);
}

// Followed by 2^bits slots. Before it, in reverse, each of them has a copy of the fingerprints
// of its bucket: zeros for an empty range or a list, anything for a directory.
struct Directory : Counted {
    std::uint32_t reserved;

    Slot* slots() noexcept { return reinterpret_cast<Slot*>(this + 1); }
    Fingerprints* fingerprints(std::size_t index) noexcept {
        return reinterpret_cast<Fingerprints*>(this) - 1 - index;
    }
};
static_assert(sizeof(Directory) == 8);

inline Directory& directoryOf(Slot slot) noexcept {
    return *reinterpret_cast<Directory*>(slot & ~tagMask);
}

// Its address is the slot without the tag, which needs no instruction of its own this way.
inline const Slot* slotsOfInner(Slot slot) noexcept {
    return reinterpret_cast<const Slot*>(slot - innerTag + sizeof(Directory));
}

// Empty ranges of each local depth. They are not counted and never written.
ZIN_EXPORT extern const Bucket emptyBuckets[directoryBitsMax + 1];

inline Slot emptySlot(unsigned depth) noexcept {
    return reinterpret_cast<Slot>(&emptyBuckets[depth]);
}

// A bucket or list and where it was found.
struct Leaf {
    Slot slot;
    Fingerprints* fingerprintsEnd;  // behind those beside its slot; of a root, its own
    std::uint32_t index;            // of the slot in its directory
    unsigned bits;                  // of that directory; both 0 where the leaf is the root

    unsigned matches(std::uint32_t hash) const noexcept {
        return fingerprintsEnd[-1].matches(hash);
    }
    // As in Bucket, with the copies. REQUIRES: bucket and directory are owned. (Inlined, or
    // each search before an insertion would have to build this in memory.)
    [[gnu::always_inline]] void adopt(unsigned position, std::uint32_t hash) const noexcept {
        bucketOf(slot).adopt(position, hash);
        copiesAre(position, fingerprintOf(hash));
    }
    void forget(unsigned position) const noexcept {
        bucketOf(slot).forget(position);
        copiesAre(position, 0);
    }
    // Whether the bucket keeps its range and its block when one of its members goes. Waits for
    // no other bucket: the directory tells how many members the neighbour has.
    // REQUIRES: it has a member.
    bool keepsShapeWithoutOne() const noexcept {
        const Bucket& bucket = bucketOf(slot);
        const unsigned left = bucket.count - 1U;
        if (!bucket.suits(left)) return false;
        if (bits == 0) return true;
        const std::uint32_t length = 1U << (bits - bucket.depth);
        const std::uint32_t buddy = (index & ~(length - 1)) ^ length;
        Directory& directory = *reinterpret_cast<Directory*>(fingerprintsEnd + index);
        const Slot* const slots = directory.slots() + buddy;
        return !isBucket(slots[0]) || slots[0] != slots[length - 1] ||
               left + directory.fingerprints(buddy)->members() > bucketMax;
    }

  private:
    [[gnu::always_inline]] void copiesAre(unsigned position, std::uint8_t fingerprint)
        const noexcept {
        const std::uint32_t length = 1U << (bits - bucketOf(slot).depth);
        Fingerprints* const copies = fingerprintsEnd - 1 - (~index & (length - 1));
        // Mostly it is one or two; nobody could predict which.
        copies[0].at[position] = fingerprint;
        copies[length - 1].at[position] = fingerprint;
        if (length > 2) [[unlikely]] {
            manyCopiesAre(copies, length, position, fingerprint);
        }
    }
    ZIN_EXPORT static void manyCopiesAre(
        Fingerprints* copies,
        std::uint32_t length,
        unsigned position,
        std::uint8_t fingerprint) noexcept;
};

// The leaf whose range of hashes contains this one. The fewer instructions lead from here to
// the entry, the more searches of a large map does a processor overlap.
inline Leaf leafOf(Slot root, std::uint32_t hash) noexcept {
    Slot slot = root;
    Slot above = 0;
    std::uint32_t index = 0;
    std::uint32_t left = hash;
    // A list is never below an inner directory.
    while ((slot & innerOrList) != 0) {
        above = slot;
        index = left >> (hashBits - directoryBitsMax);
        left <<= directoryBitsMax;
        slot = slotsOfInner(above)[index];
    }
    if (isDirectory(slot)) [[likely]] {
        const unsigned bits = bitsOf(slot);
        Directory& last = directoryOf(slot);
        index = left >> shiftOf(slot);
        return {last.slots()[index], last.fingerprints(index) + 1, index, bits};
    }
    if (above == 0) return {root, &bucketOf(root).fingerprints + 1, 0, 0};
    return {slot, directoryOf(above).fingerprints(index) + 1, index, directoryBitsMax};
}

}  // namespace Zin::hashed
