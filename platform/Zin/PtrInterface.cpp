#include "Zin/PtrInterface.h"

#include <new>

#include "Zin/Assert.h"

namespace Zin {

bool VFPtrInterface::threadSafePointers_ = false;

namespace {

// Stands in the count while an object is torn down, so that a reference that is taken and
// dropped meanwhile does not dispose of it a second time.
constexpr std::uint32_t tearingDown = 0x40000000;

}  // namespace

NotifieeListDescriptor PtrInterface::notifieeList() const {
    return {};
}

void PtrInterface::hasNotificationActiveIs(bool active) {
    flagIs(notificationActive, active);
}

void PtrInterface::zeroReferencesIs(bool zero) {
    if (zero) delete this;
}

ZinTypeBase PtrInterface::fwkType() const {
    return {};
}

PtrInterface::~PtrInterface() {
    const std::uint32_t left = word_ & referenceMask;
    ZIN_ASSERT(left == 0 || left == tearingDown, "PtrInterface");
}

void PtrInterface::markedForDeletionIs(bool marked) noexcept {
    flagIs(deletionMark, marked);
}

void PtrInterface::flagIs(std::uint32_t flag, bool value) noexcept {
    if (VFPtrInterface::threadSafePointers_) {
        std::atomic_ref<std::uint32_t> word(word_);
        if (value) {
            word.fetch_or(flag, std::memory_order_relaxed);
        } else {
            word.fetch_and(~flag, std::memory_order_relaxed);
        }
    } else {
        word_ = value ? word_ | flag : word_ & ~flag;
    }
}

void* PtrInterface::zinMemAlloc(std::size_t bytes) {
    return ::operator new(bytes);
}

void PtrInterface::zinMemFree(void* memory, std::size_t bytes) noexcept {
    ::operator delete(memory, bytes);
}

void PtrInterface::handleZeroRef() {
    word_ |= tearingDown;
    zeroReferencesIs(true);
}

}  // namespace Zin
