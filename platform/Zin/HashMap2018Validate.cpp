#include <algorithm>

#include "Zin/Assert.h"
#include "Zin/HashMap2018Trie.h"

namespace Zin {

using namespace hashed;

namespace {

constexpr const char* source = "HashMap2018Generic";

struct Totals {
    std::uint64_t members = 0;
    std::uint64_t marked = 0;
};

class Validator {
  public:
    explicit Validator(const HashMap2018VTable& vt) : vt_(vt) {}

    // What lies below a slot whose members share so many leading bits of the prefix.
    Totals slot(Slot at, unsigned shared, std::uint32_t prefix) {
        if (!isDirectory(at)) return leaf(at, shared, prefix);
        const unsigned bits = bitsOf(at);
        ZIN_ASSERT(directoryOf(at).references != 0, source);
        ZIN_ASSERT(shared % directoryBitsMax == 0 && shared + bits <= hashBits, source);
        return range(at, 0, std::size_t{1} << bits, shared, prefix);
    }

  private:
    // A range of slots of one directory, which is divided unless one bucket fills it.
    Totals range(
        Slot directory,
        std::size_t first,
        std::size_t length,
        unsigned shared,
        std::uint32_t prefix) {
        const Slot* const slots = directoryOf(directory).slots() + first;
        const unsigned depth =
            bitsOf(directory) - static_cast<unsigned>(std::countr_zero(length));
        if (isBucket(*slots) && bucketOf(*slots).depth == depth && depth > 0) {
            const Fingerprints& own = bucketOf(*slots).fingerprints;
            for (std::size_t i = 0; i < length; ++i) {
                ZIN_ASSERT(slots[i] == *slots, source);
                const Fingerprints* const copy = directoryOf(directory).fingerprints(first + i);
                ZIN_ASSERT(std::ranges::equal(copy->at, own.at), source);
            }
            return leaf(*slots, shared, prefix);
        }
        if (length == 1) {
            ZIN_ASSERT(!isBucket(*slots), source);
            ZIN_ASSERT(isList(*slots) || (directory & tagMask) == innerTag, source);
            return slot(*slots, shared, prefix);
        }
        const Totals low = range(directory, first, length / 2, shared + 1, prefix);
        const Totals high = range(
            directory,
            first + length / 2,
            length / 2,
            shared + 1,
            prefix | std::uint32_t{1} << (hashBits - 1 - shared));
        ZIN_ASSERT(low.members + high.members > bucketMax, source);
        return {low.members + high.members, low.marked + high.marked};
    }

    void hashAgrees(std::uint32_t hash, unsigned shared, std::uint32_t prefix) const {
        ZIN_ASSERT(shared == 0 || (hash ^ prefix) >> (hashBits - shared) == 0, source);
    }
    void ascending(const char* before, const char* after) const {
        ZIN_ASSERT(vt_.compareOrLruUnlink(nullptr, before, after) == 1, source);
    }

    Totals leaf(Slot at, unsigned shared, std::uint32_t prefix) {
        return isList(at) ? list(listOf(at), shared, prefix)
                          : bucket(bucketOf(at), shared, prefix);
    }

    Totals bucket(Bucket& bucket, unsigned shared, std::uint32_t prefix) {
        const unsigned used = bucket.usedPositions();
        const std::uint64_t order = bucket.order();
        ZIN_ASSERT(bucket.references != 0, source);
        ZIN_ASSERT(bucket.fingerprints.at[bucketMax] == 0, source);
        ZIN_ASSERT(used >> bucket.capacity == 0, source);
        ZIN_ASSERT(bucket.count == static_cast<unsigned>(std::popcount(used)), source);
        ZIN_ASSERT((bucket.count == 0) == (bucket.capacity == 0), source);
        ZIN_ASSERT((bucket.marks & ~used) == 0, source);
        ZIN_ASSERT(order::settled(order) <= bucket.count, source);
        ZIN_ASSERT(settlesLate || bucket.settled(), source);
        for (unsigned left = used; left != 0; left &= left - 1) {
            const auto position = static_cast<unsigned>(std::countr_zero(left));
            const char* const node = bucket.entries() + position * vt_.entrySize;
            std::uint32_t hash = 0;
            vt_.hashNodes(node, 1, &hash);
            hashAgrees(hash, shared, prefix);
            ZIN_ASSERT(bucket.fingerprints.at[position] == fingerprintOf(hash), source);
        }
        const unsigned settled = order::settled(order);
        const char* before = nullptr;
        for (unsigned i = 0; i < settled; ++i) {
            const char* const node =
                bucket.entries() + order::position(order, i) * vt_.entrySize;
            if (i > 0) ascending(before, node);
            before = node;
        }
        ZIN_ASSERT((order::positionsIn(order) & ~used) == 0, source);
        ZIN_ASSERT((order & order::positions) >> 4 * settled == 0, source);
        return {bucket.count, static_cast<unsigned>(std::popcount(bucket.marks))};
    }

    Totals list(CollisionList& list, unsigned shared, std::uint32_t prefix) {
        ZIN_ASSERT(list.references != 0, source);
        ZIN_ASSERT(shared == hashBits, source);
        ZIN_ASSERT(list.count > bucketMax && list.count <= list.capacity, source);
        Totals totals{list.count, 0};
        for (std::uint32_t i = 0; i < list.count; ++i) {
            const char* const node = list.entries() + i * vt_.entrySize;
            std::uint32_t hash = 0;
            vt_.hashNodes(node, 1, &hash);
            hashAgrees(hash, shared, prefix);
            if (i > 0) ascending(node - vt_.entrySize, node);
            totals.marked += list.marks(vt_.entrySize)[i];
        }
        return totals;
    }

    const HashMap2018VTable& vt_;
};

}  // namespace

void HashMap2018Generic::validate(const VTable& vt) const {
    const Totals totals = Validator(vt).slot(root_, 0, 0);
    ZIN_ASSERT(totals.members == members_, source);
    ZIN_ASSERT(totals.marked == marked_, source);
    ZIN_ASSERT(members_ != 0 || !family_, source);
}

}  // namespace Zin
