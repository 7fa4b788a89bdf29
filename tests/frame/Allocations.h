// Counts what is taken from operator new in this program, and makes it fail on demand.

#pragma once

#include <cstddef>
#include <cstdint>

namespace support {

class Allocations {
  public:
    static std::size_t liveBytes();
    // The most that was live at once since the last call of resetPeak().
    static std::size_t peakBytes();
    static void resetPeak();
};

// While it lives, the n-th allocation (from 0) throws std::bad_alloc; all others succeed.
class FailingAllocation {
  public:
    explicit FailingAllocation(std::uint64_t n);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    // Whether the allocation came and failed.
    bool failed() const;
};

}  // namespace support
