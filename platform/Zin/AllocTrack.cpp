#include "Zin/AllocTrack.h"

#include <cxxabi.h>

#include <atomic>
#include <mutex>

#include "Zin/RefCount.h"

namespace Zin {

namespace {

struct Records {
    std::mutex mutex;
    AllocTrackTypeInfo* first = nullptr;
    AllocTrackTypeInfo** end = &first;
};

// Leaked on purpose: records may report after static destruction began.
Records& records() {
    static Records* const all = new Records;
    return *all;
}

}  // namespace

void AllocTrackTypeInfo::add(std::uint64_t& count, std::uint64_t amount) noexcept {
    if (VFPtrInterface::threadSafePointers_) [[unlikely]] {
        std::atomic_ref<std::uint64_t>(count).fetch_add(amount, std::memory_order_relaxed);
    } else {
        count += amount;
    }
}

void AllocTrackTypeInfo::subtract(std::uint64_t& count, std::uint64_t amount) noexcept {
    add(count, ~amount + 1);
}

void AllocTrackTypeInfo::join(const std::type_info& type) noexcept {
    Records& all = records();
    const std::lock_guard lock(all.mutex);
    if (__atomic_load_n(&joined_, __ATOMIC_RELAXED) != 0) return;
    int status = 0;
    char* demangled = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
    typeName_ = demangled ? demangled : type.name();
    *all.end = this;
    all.end = &next_;
    __atomic_store_n(&joined_, 1U, __ATOMIC_RELEASE);
}

void AllocTrackTypeInfo::trackAllocation(
    const std::type_info& type,
    std::size_t bytes) noexcept {
    if (__atomic_load_n(&joined_, __ATOMIC_ACQUIRE) == 0) [[unlikely]] {
        join(type);
    }
    add(counts_.liveObjects, 1);
    add(counts_.liveBytes, bytes);
    add(counts_.totalObjects, 1);
    add(counts_.totalBytes, bytes);
}

void AllocTrackTypeInfo::trackArrayAllocation(
    const std::type_info& type,
    std::size_t elementBytes,
    std::size_t elements) noexcept {
    trackAllocation(type, elementBytes * elements);
}

void AllocTrackTypeInfo::trackDeallocation(
    const std::type_info& type,
    std::size_t bytes) noexcept {
    if (__atomic_load_n(&joined_, __ATOMIC_ACQUIRE) == 0) [[unlikely]] {
        join(type);
    }
    subtract(counts_.liveObjects, 1);
    subtract(counts_.liveBytes, bytes);
}

void AllocTrackTypeInfo::trackArrayDeallocation(
    const std::type_info& type,
    std::size_t elementBytes,
    std::size_t elements) noexcept {
    trackDeallocation(type, elementBytes * elements);
}

AllocTrackTypeInfo::Counts AllocTrackTypeInfo::counts() const noexcept {
    return counts_;
}

const AllocTrackTypeInfo* AllocTrackTypeInfo::first() noexcept {
    Records& all = records();
    const std::lock_guard lock(all.mutex);
    return all.first;
}

}  // namespace Zin
