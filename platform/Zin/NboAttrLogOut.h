// Out writes one message's payload in network byte order into room that was measured
// beforehand: the size of what is written is known (attrLogSize) before its first byte, so that
// nothing is checked or moved while it is written. Bytes are made by shifting, never by copying
// memory.

#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "Zin/Assert.h"
#include "Zin/Exceptions.h"
#include "Zin/String.h"
#include "describe/Value.h"

namespace Zin::NboAttrLog {

// Without a loop: compilers make one instruction of it. This and what is made of it is always
// inlined, because the compiler's own measure counts the shifts.
namespace detail {

template <std::unsigned_integral Word, std::size_t... i>
[[gnu::always_inline]] inline void
storeBytes(std::byte* at, Word word, std::index_sequence<i...>) {
    ((at[i] = static_cast<std::byte>(word >> (8 * (sizeof(Word) - 1 - i)))), ...);
}
template <std::unsigned_integral Word, std::size_t... i>
[[gnu::always_inline]] inline Word bytesAt(const std::byte* at, std::index_sequence<i...>) {
    return static_cast<Word>(
        ((std::to_integer<std::uint64_t>(at[i]) << (8 * (sizeof(Word) - 1 - i))) | ...));
}

}  // namespace detail

template <std::unsigned_integral Word>
[[gnu::always_inline]] inline void storeWord(std::byte* at, Word word) {
    detail::storeBytes(at, word, std::make_index_sequence<sizeof(Word)>());
}
template <std::unsigned_integral Word>
[[gnu::always_inline]] inline Word wordAt(const std::byte* at) {
    return detail::bytesAt<Word>(at, std::make_index_sequence<sizeof(Word)>());
}

class Out {
  public:
    // REQUIRES: [begin, end) outlives this object.
    Out(std::byte* begin, std::byte* end) : at_(begin), end_(end) {}

    template <std::unsigned_integral Word>
    void put(Word word) {
        storeWord(advance(sizeof word), word);
    }
    void put(const std::byte* bytes, std::size_t size) {
        std::byte* const at = advance(size);
        if (size != 0) std::memcpy(at, bytes, size);
    }

    std::size_t room() const { return static_cast<std::size_t>(end_ - at_); }
    // Where so many bytes are to be written.
    [[gnu::always_inline]] std::byte* advance(std::size_t size) {
        ZIN_ASSERT(size <= room(), "NboAttrLogOut");
        std::byte* const at = at_;
        at_ += size;
        return at;
    }

  private:
    std::byte* at_;
    std::byte* end_;
};

template <class T>
struct IsByteArray : std::false_type {};
template <std::size_t size>
struct IsByteArray<std::array<std::uint8_t, size>> : std::true_type {};

// A type outside of the rules below supplies attrLogSize(), writes itself with attrLogPut(Out&)
// and is read by a static attrLogNext(In&).
template <class T>
concept WritesItself = requires(const T& value, Out& out) {
    { value.attrLogSize() } -> std::same_as<std::size_t>;
    value.attrLogPut(out);
};

// A collection inside of a value.
template <class T>
concept MemberCollection = !describe::Described<T> && requires(const T& collection) {
    typename T::Key;
    typename T::Value;
    { collection.members() } -> std::same_as<std::uint32_t>;
    collection.begin();
};

template <MemberCollection T>
inline constexpr bool isMap = !std::is_void_v<typename T::Value>;

// The key is not sent beside a value that holds it.
template <MemberCollection T>
inline constexpr bool keyTravelsInside =
    requires(T& collection, const typename T::Value& value) {
    collection.put(value);
};

template <class T>
consteval std::size_t fixedSizeOf() {
    if constexpr (std::same_as<T, bool>) {
        return 1;
    } else if constexpr (std::is_enum_v<T>) {
        return 4;
    } else if constexpr (std::floating_point<T>) {
        return 8;
    } else if constexpr (std::integral<T> || IsByteArray<T>::value) {
        return sizeof(T);
    } else if constexpr (describe::Described<T> && !WritesItself<T>) {
        std::size_t size = 0;
        bool isFixed = true;
        describe::schemaOf<T>.forEach([&](auto field) {
            constexpr std::size_t part = fixedSizeOf<typename decltype(field)::Value>();
            isFixed = isFixed && part != 0;
            size += part;
        });
        return isFixed ? size : 0;
    } else {
        return 0;
    }
}
// Bytes that every value of the type takes; 0 where that differs from value to value.
template <class T>
inline constexpr std::size_t fixedSize = fixedSizeOf<T>();

// Calls part(p) for each part of a member that travels: its key, or its value, or both.
template <MemberCollection T>
constexpr void forEachPart(const T& collection, auto&& part) {
    for (const auto& node : collection) {
        if constexpr (!isMap<T>) {
            part(node.key());
        } else {
            if constexpr (!keyTravelsInside<T>) part(node.key());
            part(node.value());
        }
    }
}

// In a map inside of a value the default key stands for no member: one under it is neither
// written nor taken.
template <describe::Described T>
constexpr void requireKeys(const T& value) {
    describe::schemaOf<T>.forEach([&](auto field) {
        using Field = typename decltype(field)::Value;
        if constexpr (MemberCollection<Field>) {
            if constexpr (isMap<Field>) {
                if (field.in(value).has(typename Field::Key{})) {
                    throwValueCollectionDefaultKeyException(
                        describe::schemaOf<T>.typeName,
                        field.name);
                }
            }
        }
    });
}

// Bytes that a value takes: a bool one, integers their width, enumerations four, floating point
// eight, a string four more than its length, a value type the sum of its fields, a collection
// inside of a value four more than its members. Throws a ValueCollectionDefaultKeyException for
// a value that cannot be written, as writing it does.
template <class T>
constexpr std::size_t attrLogSize(const T& value) {
    if constexpr (fixedSize<T> != 0) {
        return fixedSize<T>;
    } else if constexpr (WritesItself<T>) {
        return value.attrLogSize();
    } else if constexpr (std::same_as<T, String>) {
        return 4 + value.size();
    } else if constexpr (MemberCollection<T>) {
        std::size_t size = 4;
        forEachPart(value, [&](const auto& part) { size += attrLogSize(part); });
        return size;
    } else {
        static_assert(
            describe::Described<T>,
            "This type has no wire form: give it a schema().");
        requireKeys(value);
        std::size_t size = 0;
        describe::schemaOf<T>.forEach(
            [&](auto field) { size += attrLogSize(field.in(value)); });
        return size;
    }
}

// REQUIRES: room for fixedSize<T> bytes. Returns what follows them.
template <class T>
[[gnu::always_inline]] inline std::byte* storeFixed(std::byte* at, const T& value) {
    if constexpr (std::same_as<T, bool>) {
        storeWord(at, static_cast<std::uint8_t>(value));
    } else if constexpr (std::is_enum_v<T>) {
        storeWord(at, static_cast<std::uint32_t>(value));
    } else if constexpr (std::floating_point<T>) {
        storeWord(at, std::bit_cast<std::uint64_t>(static_cast<double>(value)));
    } else if constexpr (std::integral<T>) {
        storeWord(at, static_cast<std::make_unsigned_t<T>>(value));
    } else if constexpr (IsByteArray<T>::value) {
        std::memcpy(at, value.data(), value.size());
    } else {
        std::byte* next = at;
        describe::schemaOf<T>.forEach([&](auto field) __attribute__((always_inline)) {
            next = storeFixed(next, field.in(value));
        });
        return next;
    }
    return at + fixedSize<T>;
}

template <class T>
requires(fixedSize<T> != 0) [[gnu::always_inline]] inline Out& operator<<(
    Out& out,
    const T& value) {
    storeFixed(out.advance(fixedSize<T>), value);
    return out;
}
template <class T>
requires(fixedSize<T> == 0) Out& operator<<(Out& out, const T& value) {
    if constexpr (WritesItself<T>) {
        value.attrLogPut(out);
    } else if constexpr (std::same_as<T, String>) {
        const std::string_view bytes = value.view();
        out.put(static_cast<std::uint32_t>(bytes.size()));
        out.put(reinterpret_cast<const std::byte*>(bytes.data()), bytes.size());
    } else if constexpr (MemberCollection<T>) {
        out.put(value.members());
        forEachPart(value, [&](const auto& part) { out << part; });
    } else {
        requireKeys(value);
        describe::schemaOf<T>.forEach([&](auto field) { out << field.in(value); });
    }
    return out;
}

}  // namespace Zin::NboAttrLog
