// What is taken from the heap, counted where it is taken and given back. The program's own
// operators new and delete see what the library takes, too.

#pragma once

#include <cstddef>

namespace bench {

// Counts from its making on. One at a time; what was taken before must not be given back
// meanwhile.
class HeapCount {
  public:
    HeapCount();
    ~HeapCount();
    HeapCount(const HeapCount&) = delete;
    HeapCount& operator=(const HeapCount&) = delete;

    std::size_t allocations() const;
    // With what malloc adds to each block.
    std::size_t liveBytes() const;
};

}  // namespace bench
