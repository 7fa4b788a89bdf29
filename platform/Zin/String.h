// String is a handle on an immutable, reference-counted sequence of bytes. One word; the empty
// string has no storage. Copying counts a reference, comparing looks at the bytes unless the
// handles are the same, and nothing is ever changed in place, so a String may be shared freely.
//
// Bytes are not interpreted: a String may hold NUL and any encoding. Order is by unsigned
// bytes.

#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Zin/Export.h"
#include "Zin/Prefetch.h"
#include "Zin/RefCount.h"

namespace Zin {

class ZIN_EXPORT String {
  public:
    // Goes over the characters; valid while the string that made it lives.
    class IteratorConst {
      public:
        using value_type = char;
        using difference_type = std::ptrdiff_t;
        using reference = const char&;
        using pointer = const char*;
        using iterator_category = std::forward_iterator_tag;

        constexpr IteratorConst() = default;
        // Stands at that byte.
        constexpr explicit IteratorConst(const char* at) : at_(at) {}
        constexpr const char& operator*() const { return *at_; }
        constexpr const char* operator->() const { return at_; }
        constexpr IteratorConst& operator++() {
            ++at_;
            return *this;
        }
        constexpr IteratorConst operator++(int) {
            IteratorConst before = *this;
            ++at_;
            return before;
        }
        friend constexpr bool operator==(const IteratorConst&, const IteratorConst&) = default;

      private:
        const char* at_ = nullptr;
    };

    constexpr String() noexcept = default;
    // Copies the bytes. Throws std::bad_alloc, and std::length_error above maxSize.
    String(std::string_view bytes);
    // The same, of a text that ends with NUL.
    String(const char* text) : String(std::string_view(text)) {}
    // The same.
    String(const std::string& text) : String(std::string_view(text)) {}
    String(const String& other) noexcept : storage_(other.storage_) {
        if (storage_) referenceInc(storage_->references);
    }
    String(String&& other) noexcept : storage_(std::exchange(other.storage_, nullptr)) {}
    ~String() {
        if (storage_ && referenceDec(storage_->references)) dispose(storage_);
    }
    String& operator=(const String& other) noexcept {
        String(other).swap(*this);
        return *this;
    }
    String& operator=(String&& other) noexcept {
        String(std::move(other)).swap(*this);
        return *this;
    }
    void swap(String& other) noexcept { std::swap(storage_, other.storage_); }

    // The most bytes that a String holds.
    static constexpr std::size_t maxSize = 0x7fffffff;

    std::size_t size() const noexcept { return storage_ ? storage_->size : 0; }
    bool empty() const noexcept { return storage_ == nullptr; }
    // The bytes, valid while a handle on them lives.
    std::string_view view() const noexcept {
        return storage_ ? std::string_view(bytesOf(storage_), storage_->size)
                        : std::string_view();
    }
    // The same as view().
    operator std::string_view() const noexcept { return view(); }
    // Ends with NUL; the string itself may hold others.
    const char* c_str() const noexcept { return storage_ ? bytesOf(storage_) : ""; }
    IteratorConst begin() const noexcept { return IteratorConst(c_str()); }
    IteratorConst end() const noexcept { return IteratorConst(c_str() + size()); }

    explicit operator bool() const noexcept { return !empty(); }

    // Brings the characters nearer without waiting for them.
    void fetch() const noexcept { prefetch(storage_); }

    friend bool operator==(const String& a, const String& b) noexcept {
        return a.storage_ == b.storage_ || a.view() == b.view();
    }
    friend std::strong_ordering operator<=>(const String& a, const String& b) noexcept {
        return a.storage_ == b.storage_ ? std::strong_ordering::equal : a.view() <=> b.view();
    }
    template <class Text>
    requires(
        std::is_convertible_v<const Text&, std::string_view> &&
        !std::is_same_v<Text, String>) friend bool
    operator==(const String& a, const Text& b) noexcept {
        return a.view() == std::string_view(b);
    }

  private:
    struct Storage {
        std::uint32_t references;
        std::uint32_t size;
    };

    static const char* bytesOf(const Storage* storage) noexcept {
        return reinterpret_cast<const char*>(storage + 1);
    }
    static void dispose(Storage* storage) noexcept;

    Storage* storage_ = nullptr;
};

}  // namespace Zin

template <>
struct std::hash<Zin::String> {
    std::size_t operator()(const Zin::String& text) const noexcept {
        return std::hash<std::string_view>()(text.view());
    }
};
