// Asks for memory before it is needed. Neither function waits or faults, whatever the address;
// what they cost is an instruction and, where the memory is not in a cache, a place among the
// loads that a processor has under way.

#pragma once

namespace Zin {

#if defined(__i686__) && !defined(__SSE__)
// Compilers leave these instructions out for processors that may not have them. The oldest of
// this architecture take them for instructions without effect.
inline void prefetch(const void* at) noexcept {
    asm volatile("prefetcht0 (%0)" : : "r"(at));
}
inline void prefetchFar(const void* at) noexcept {
    asm volatile("prefetcht2 (%0)" : : "r"(at));
}
#else
// The line at that address, into the nearest cache.
inline void prefetch(const void* at) noexcept {
    __builtin_prefetch(at);
}
// The same for what is needed later: not into the nearest cache, on the way to which fewer
// loads are under way at a time.
inline void prefetchFar(const void* at) noexcept {
    __builtin_prefetch(at, 0, 1);
}
#endif

}  // namespace Zin
