#include "frame/Allocations.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace support {

namespace {

constexpr std::uint64_t never = ~std::uint64_t{0};

std::atomic<std::size_t> live{0};
std::atomic<std::size_t> peak{0};
std::atomic<std::uint64_t> untilFailure{never};
std::atomic<bool> hasFailed{false};

}  // namespace

std::size_t Allocations::liveBytes() {
    return live;
}
std::size_t Allocations::peakBytes() {
    return peak;
}
void Allocations::resetPeak() {
    peak = live.load();
}

FailingAllocation::FailingAllocation(std::uint64_t n) {
    hasFailed = false;
    untilFailure = n;
}
FailingAllocation::~FailingAllocation() {
    untilFailure = never;
}
bool FailingAllocation::failed() const {
    return hasFailed;
}

}  // namespace support

// All of them, because a sanitizer brings its own to every one that is left out.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    using namespace support;
    if (untilFailure != never && untilFailure-- == 0) {
        untilFailure = never;
        hasFailed = true;
        return nullptr;
    }
    void* const memory = std::malloc(std::max<std::size_t>(bytes, 1));
    if (!memory) return nullptr;
    const std::size_t now = live += malloc_usable_size(memory);
    if (now > peak) peak = now;
    return memory;
}
void* operator new(std::size_t bytes) {
    if (void* const memory = operator new(bytes, std::nothrow)) return memory;
    throw std::bad_alloc();
}
void* operator new[](std::size_t bytes) {
    return operator new(bytes);
}
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
    return operator new(bytes, std::nothrow);
}

void operator delete(void* memory) noexcept {
    if (memory) support::live -= malloc_usable_size(memory);
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    operator delete(memory);
}
void operator delete[](void* memory) noexcept {
    operator delete(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    operator delete(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    operator delete(memory);
}
