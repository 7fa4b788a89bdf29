#include "Heap.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

bool counting = false;
std::size_t taken = 0;
std::size_t bytes = 0;

std::size_t sizeOf(void* block) {
    return malloc_usable_size(block) + sizeof(std::size_t);
}

void* counted(void* block) {
    if (!block) throw std::bad_alloc();
    if (counting) {
        ++taken;
        bytes += sizeOf(block);
    }
    return block;
}

void give(void* block) noexcept {
    if (counting && block) bytes -= sizeOf(block);
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
    return counted(std::malloc(std::max(size, std::size_t{1})));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}
void operator delete(void* block) noexcept {
    give(block);
}
void operator delete(void* block, std::size_t) noexcept {
    give(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    give(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    give(block);
}

namespace bench {

HeapCount::HeapCount() {
    taken = 0;
    bytes = 0;
    counting = true;
}
HeapCount::~HeapCount() {
    counting = false;
}

std::size_t HeapCount::allocations() const {
    return taken;
}
std::size_t HeapCount::liveBytes() const {
    return bytes;
}

}  // namespace bench
