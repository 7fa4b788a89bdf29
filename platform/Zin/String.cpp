#include "Zin/String.h"

#include <cstring>
#include <new>
#include <stdexcept>

#include "Zin/AllocTrack.h"

namespace Zin {

namespace {

constinit AllocTrackTypeInfo allocTrackTypeInfo;

}  // namespace

String::String(std::string_view bytes) {
    if (bytes.empty()) return;
    if (bytes.size() > maxSize)
        throw std::length_error("Zin::String of more than 2^31 - 1 bytes");
    const std::size_t total = sizeof(Storage) + bytes.size() + 1;
    allocTrackTypeInfo.trackAllocation(typeid(String), total);
    void* memory = nullptr;
    try {
        memory = ::operator new(total);
    } catch (...) {
        allocTrackTypeInfo.trackDeallocation(typeid(String), total);
        throw;
    }
    storage_ = new (memory) Storage{1, static_cast<std::uint32_t>(bytes.size())};
    char* text = static_cast<char*>(memory) + sizeof(Storage);
    std::memcpy(text, bytes.data(), bytes.size());
    text[bytes.size()] = 0;
}

void String::dispose(Storage* storage) noexcept {
    const std::size_t total = sizeof(Storage) + storage->size + 1;
    ::operator delete(storage, total);
    allocTrackTypeInfo.trackDeallocation(typeid(String), total);
}

}  // namespace Zin
