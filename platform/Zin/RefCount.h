// How references are counted: plain arithmetic, or atomic read-modify-writes when the process
// says that handles cross threads. The switch is read at each operation, so an agent may set it
// at any moment at which it still runs one thread.
//
// Cost: plain about half a nanosecond, atomic about ten.

#pragma once

#include <atomic>
#include <cstdint>

#include "Zin/Export.h"

namespace Zin {

struct VFPtrInterface {
    // Set before a second thread touches any handle; clear afterwards only when one is left.
    ZIN_EXPORT static bool threadSafePointers_;
};

// The bits of a count word that count references. Bits 31 and 29 are flags of the owner of the
// word and do not keep an object alive.
inline constexpr std::uint32_t referenceMask = 0x5fffffff;

inline void referenceInc(std::uint32_t& word) noexcept {
    if (VFPtrInterface::threadSafePointers_) [[unlikely]] {
        std::atomic_ref<std::uint32_t>(word).fetch_add(1, std::memory_order_relaxed);
    } else {
        ++word;
    }
}

// True when the last reference went.
[[nodiscard]] inline bool referenceDec(std::uint32_t& word) noexcept {
    if (VFPtrInterface::threadSafePointers_) [[unlikely]] {
        const std::uint32_t before =
            std::atomic_ref<std::uint32_t>(word).fetch_sub(1, std::memory_order_acq_rel);
        return ((before - 1) & referenceMask) == 0;
    }
    return (--word & referenceMask) == 0;
}

// The word as it is now. Costs the same as a plain read.
[[nodiscard]] inline std::uint32_t referenceWord(std::uint32_t& word) noexcept {
    return std::atomic_ref<std::uint32_t>(word).load(std::memory_order_relaxed);
}

// Whether one reference is left, which makes the caller its only user.
[[nodiscard]] inline bool referenceIsUnique(std::uint32_t& word) noexcept {
    if (VFPtrInterface::threadSafePointers_) [[unlikely]] {
        return (std::atomic_ref<std::uint32_t>(word).load(std::memory_order_acquire) &
                referenceMask) == 1;
    }
    return (word & referenceMask) == 1;
}

}  // namespace Zin
