// PtrInterface is the base of everything that is held by Zin::Ptr: a reference count, two flag
// bits in the same word, and the virtual operations that all entities answer, in a fixed slot
// order.
//
// An object is born with no reference; the first Ptr takes one. When the last reference goes
// the object is disposed of at once, on the thread that dropped it.

#pragma once

#include <cstddef>
#include <cstdint>

#include "Zin/Export.h"
#include "Zin/RefCount.h"
#include "Zin/TypeHandle.h"

namespace Zin {

class NotifieeList;

// Names the lists of reactors of an object: this library's entities have exactly one.
struct NotifieeListDescriptor {
    std::uint32_t count = 0;
    NotifieeList* list = nullptr;
    std::uintptr_t reserved[2] = {0, 0};
};

class ZIN_EXPORT PtrInterface {
  public:
    PtrInterface(const PtrInterface&) = delete;
    PtrInterface& operator=(const PtrInterface&) = delete;

    virtual NotifieeListDescriptor notifieeList() const;
    virtual void hasNotificationActiveIs(bool active);
    virtual void zeroReferencesIs(bool zero);
    virtual ZinTypeBase fwkType() const;
    virtual ~PtrInterface();

    bool hasNotificationActive() const noexcept {
        return (referenceWord(word_) & notificationActive) != 0;
    }

    // Set while a resynchronisation waits for the peer to name this object again; what is still
    // marked at its end is what the peer no longer has.
    bool markedForDeletion() const noexcept {
        return (referenceWord(word_) & deletionMark) != 0;
    }
    void markedForDeletionIs(bool marked) noexcept;

    void ptrInc() const noexcept { referenceInc(word_); }
    void ptrDec() const {
        if (referenceDec(word_)) const_cast<PtrInterface*>(this)->handleZeroRef();
    }

    // References held now, without the flag bits. For tests and debuggers.
    std::uint32_t references() const noexcept { return referenceWord(word_) & referenceMask; }

    // The memory of all counted objects. zinMemAlloc throws std::bad_alloc.
    static void* zinMemAlloc(std::size_t bytes);
    static void zinMemFree(void* memory, std::size_t bytes) noexcept;

  protected:
    PtrInterface() = default;

    // Disposes of the object. While it is torn down references may still be taken and dropped;
    // they must all be gone when its destructor ends.
    void handleZeroRef();

  private:
    static constexpr std::uint32_t deletionMark = 1U << 31;
    static constexpr std::uint32_t notificationActive = 1U << 29;

    void flagIs(std::uint32_t flag, bool value) noexcept;

    mutable std::uint32_t word_ = 0;
};

}  // namespace Zin
