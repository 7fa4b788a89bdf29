// Allocation tracking answers, per type, how many objects live, how many bytes they take and
// how many there ever were. Each tracked type owns one static AllocTrackTypeInfo; a record
// joins the list of all records at its first report and stays there. Of a type whose symbols a
// program does not share with a library, each has a record, and one may free what the other
// took: their sum, modulo 2^64, is what the type takes.
//
// Counts are exact on one thread and, when Zin::VFPtrInterface::threadSafePointers_ is set,
// across threads. Cost: a few additions per allocation.

#pragma once

#include <cstddef>
#include <cstdint>
#include <typeinfo>

#include "Zin/Export.h"

namespace Zin {

class ZIN_EXPORT AllocTrackTypeInfo {
  public:
    // What a record held at one moment. An array counts as one object of all its bytes.
    struct Counts {
        // Objects that were allocated and not released.
        alignas(8) std::uint64_t liveObjects = 0;
        // Their bytes.
        alignas(8) std::uint64_t liveBytes = 0;
        // Objects that were ever allocated.
        alignas(8) std::uint64_t totalObjects = 0;
        // Their bytes, at that time.
        alignas(8) std::uint64_t totalBytes = 0;

        friend bool operator==(const Counts&, const Counts&) = default;
    };

    constexpr AllocTrackTypeInfo() = default;
    AllocTrackTypeInfo(const AllocTrackTypeInfo&) = delete;
    AllocTrackTypeInfo& operator=(const AllocTrackTypeInfo&) = delete;

    // Reports an allocation before the memory is taken.
    void trackAllocation(const std::type_info& type, std::size_t bytes) noexcept;
    void trackArrayAllocation(
        const std::type_info& type,
        std::size_t elementBytes,
        std::size_t elements) noexcept;

    // Reports a release after the memory was freed.
    // REQUIRES: an allocation of as many bytes was reported, on a record of this type.
    void trackDeallocation(const std::type_info& type, std::size_t bytes) noexcept;
    void trackArrayDeallocation(
        const std::type_info& type,
        std::size_t elementBytes,
        std::size_t elements) noexcept;

    // What the record holds now.
    Counts counts() const noexcept;

    // The demangled name of the type, or null while nothing was reported.
    const char* typeName() const noexcept { return typeName_; }

    // Records in the order of their first report: start with first(), go on with next().
    static const AllocTrackTypeInfo* first() noexcept;
    const AllocTrackTypeInfo* next() const noexcept { return next_; }

  private:
    void add(std::uint64_t& count, std::uint64_t amount) noexcept;
    void subtract(std::uint64_t& count, std::uint64_t amount) noexcept;
    void join(const std::type_info& type) noexcept;

    Counts counts_;
    const char* typeName_ = nullptr;
    AllocTrackTypeInfo* next_ = nullptr;
    std::uint32_t joined_ = 0;
};

}  // namespace Zin
