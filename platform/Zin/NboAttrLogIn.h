// In reads one message's payload. It never looks behind the payload's end: each read checks
// what is left first, and a length that was announced is compared with what is there before
// anything is allocated for it. What does not fit throws a DecodeException with the position.

#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "Zin/Exceptions.h"
#include "Zin/Export.h"
#include "Zin/NboAttrLogOut.h"
#include "Zin/String.h"
#include "describe/Value.h"

namespace Zin::NboAttrLog {

// Received bytes are not what they should be. The position counts from the start of the
// payload.
class ZIN_EXPORT DecodeException : public Exception {
  public:
    DecodeException(std::size_t position, std::string_view expected, std::string_view found);
    ~DecodeException() override;

    std::size_t position() const noexcept { return position_; }

  private:
    std::size_t position_;
};

namespace detail {

// The fields of one type that follow each other and have a fixed size each.
struct FieldRun {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t bytes = 0;

    constexpr bool has(std::size_t index) const { return begin <= index && index < end; }
};

template <class T, class Field>
consteval std::size_t indexOfField() {
    std::size_t index = 0;
    bool found = false;
    describe::schemaOf<T>.forEach([&](auto field) {
        found = found || std::same_as<decltype(field), Field>;
        if (!found) ++index;
    });
    return index;
}

// The run that contains the field.
template <class T, class Field>
consteval FieldRun runOf() {
    FieldRun run;
    std::size_t index = 0;
    describe::schemaOf<T>.forEach([&](auto field) {
        constexpr std::size_t bytes = fixedSize<typename decltype(field)::Value>;
        if (bytes == 0 && index < indexOfField<T, Field>()) run = {index + 1, index + 1, 0};
        if (bytes != 0 && run.end == index) run = {run.begin, index + 1, run.bytes + bytes};
        ++index;
    });
    return run;
}

}  // namespace detail

class ZIN_EXPORT In {
  public:
    // REQUIRES: the payload outlives this object.
    explicit In(std::span<const std::byte> payload) : payload_(payload) {}

    bool nextbool() { return boolOf(nextU8()); }
    std::uint8_t nextU8() { return nextWord<std::uint8_t>(); }
    std::uint16_t nextU16() { return nextWord<std::uint16_t>(); }
    std::uint32_t nextU32() { return nextWord<std::uint32_t>(); }
    std::uint64_t nextU64() { return nextWord<std::uint64_t>(); }
    double nextDouble() { return std::bit_cast<double>(nextU64()); }
    String nextString();
    // A string that is a key: read like any other, named apart because a key is looked up.
    String nextValidString() { return nextString(); }

    // The entity id that follows, without consuming it.
    std::uint32_t peekEntityId() const;

    std::size_t position() const { return at_; }
    std::size_t left() const { return payload_.size() - at_; }
    std::span<const std::byte> rest() const { return payload_.subspan(at_); }
    void skip(std::size_t size);

    // Throws unless all of the payload was read.
    void requireEnd() const {
        if (left() != 0) failLong();
    }

    template <class T>
    T next();

    [[noreturn]] void fail(std::string_view expected, std::string_view found) const;

  private:
    template <std::unsigned_integral Word>
    Word nextWord() {
        if (left() < sizeof(Word)) [[unlikely]] {
            failShort(sizeof(Word));
        }
        const Word word = wordAt<Word>(payload_.data() + at_);
        at_ += sizeof(Word);
        return word;
    }
    bool boolOf(std::uint8_t byte) {
        if (byte > 1) [[unlikely]] {
            failBool(byte);
        }
        return byte == 1;
    }
    // The value at a place behind which fixedSize<T> bytes are left; the place moves behind it.
    template <class T>
    T nextFixed(const std::byte*& at);
    template <class T>
    T nextFixedFields(const std::byte*& at);
    template <class T>
    T nextWhole();
    template <class T>
    T nextByFields();
    template <detail::FieldRun run, class T>
    void nextRun(T& value);
    std::size_t positionOf(const std::byte* at) const {
        return static_cast<std::size_t>(at - payload_.data());
    }
    template <MemberCollection T>
    T nextMembers();
    [[noreturn]] void failShort(std::size_t needed) const;
    [[noreturn]] void failLong() const;
    [[noreturn]] void failBool(std::uint8_t byte);

    std::span<const std::byte> payload_;
    std::size_t at_ = 0;
};

template <class T>
concept ReadsItself = requires(In& in) {
    { T::attrLogNext(in) } -> std::same_as<T>;
};

// As many members as the number before them says, each with a key of its own, in a map none
// with the default key.
template <MemberCollection T>
T In::nextMembers() {
    const In start = *this;
    const std::uint32_t count = nextU32();
    // A member takes a byte at least.
    if (count > left()) {
        start.fail(
            "a collection within the message",
            std::to_string(count) + " members with " + std::to_string(left()) + " bytes left");
    }
    T collection;
    for (std::uint32_t i = 0; i < count; ++i) {
        const In member = *this;
        if constexpr (!isMap<T>) {
            collection.put(next<typename T::Key>());
        } else if constexpr (keyTravelsInside<T>) {
            collection.put(next<typename T::Value>());
        } else {
            const auto key = next<typename T::Key>();
            collection.put(key, next<typename T::Value>());
        }
        if (collection.members() != i + 1) member.fail("a key of its own", "a second member");
    }
    if constexpr (isMap<T>) {
        if (collection.has(typename T::Key{})) {
            start.fail("members under keys of their own", "one under the default key");
        }
    }
    return collection;
}

// Functions of their own: where the value is declared in an inner block, compilers build it
// elsewhere and copy it.
template <class T>
[[gnu::always_inline]] inline T In::nextFixedFields(const std::byte*& at) {
    T value;
    describe::schemaOf<T>.forEach([&](auto field) __attribute__((always_inline)) {
        field.in(value) = nextFixed<typename decltype(field)::Value>(at);
    });
    return value;
}

// What is left is checked once for each run of fields of a fixed size.
template <class T>
T In::nextByFields() {
    T value;
    describe::schemaOf<T>.forEach([&](auto first) {
        using First = decltype(first);
        if constexpr (fixedSize<typename First::Value> == 0) {
            first.in(value) = next<typename First::Value>();
        } else {
            constexpr detail::FieldRun run = detail::runOf<T, First>();
            if constexpr (run.begin == detail::indexOfField<T, First>()) nextRun<run>(value);
        }
    });
    return value;
}

template <detail::FieldRun run, class T>
[[gnu::always_inline]] inline void In::nextRun(T& value) {
    const auto forEachInRun = [](auto&& visit) __attribute__((always_inline)) {
        describe::schemaOf<T>.forEach([&](auto field) __attribute__((always_inline)) {
            if constexpr (run.has(detail::indexOfField<T, decltype(field)>())) visit(field);
        });
    };
    if (left() < run.bytes) [[unlikely]] {
        // One of the fields will say so.
        forEachInRun(
            [&](auto field) { field.in(value) = next<typename decltype(field)::Value>(); });
        return;
    }
    const std::byte* at = payload_.data() + at_;
    forEachInRun([&](auto field) __attribute__((always_inline)) {
        field.in(value) = nextFixed<typename decltype(field)::Value>(at);
    });
    at_ = positionOf(at);
}

template <class T>
[[gnu::always_inline]] inline T In::nextFixed(const std::byte*& at) {
    const std::byte* const begin = at;
    if constexpr (ReadsItself<T>) {
        at_ = positionOf(begin);
        T value = T::attrLogNext(*this);
        at = payload_.data() + at_;
        return value;
    } else if constexpr (describe::Described<T>) {
        return nextFixedFields<T>(at);
    } else {
        at += fixedSize<T>;
        if constexpr (std::same_as<T, bool>) {
            const auto byte = std::to_integer<std::uint8_t>(*begin);
            if (byte > 1) [[unlikely]] {
                at_ = positionOf(at);
                failBool(byte);
            }
            return byte == 1;
        } else if constexpr (std::is_enum_v<T>) {
            // Narrowed on purpose: an enumeration is kept in fewer bits than it travels in.
            return static_cast<T>(wordAt<std::uint32_t>(begin));
        } else if constexpr (std::floating_point<T>) {
            return static_cast<T>(std::bit_cast<double>(wordAt<std::uint64_t>(begin)));
        } else if constexpr (std::integral<T>) {
            return static_cast<T>(wordAt<std::make_unsigned_t<T>>(begin));
        } else {
            T bytes;
            std::memcpy(bytes.data(), begin, bytes.size());
            return bytes;
        }
    }
}

template <class T>
T In::nextWhole() {
    const std::byte* at = payload_.data() + at_;
    T value = nextFixed<T>(at);
    at_ = positionOf(at);
    return value;
}

template <class T>
T In::next() {
    if constexpr (ReadsItself<T>) {
        return T::attrLogNext(*this);
    } else if constexpr (fixedSize<T> != 0 && !describe::Described<T>) {
        if (left() < fixedSize<T>) [[unlikely]] {
            failShort(fixedSize<T>);
        }
        return nextWhole<T>();
    } else if constexpr (std::same_as<T, String>) {
        return nextString();
    } else if constexpr (MemberCollection<T>) {
        return nextMembers<T>();
    } else {
        static_assert(
            describe::Described<T>,
            "This type has no wire form: give it a schema().");
        if constexpr (fixedSize<T> != 0) {
            if (left() >= fixedSize<T>) [[likely]] {
                return nextWhole<T>();
            }
        }
        return nextByFields<T>();
    }
}

}  // namespace Zin::NboAttrLog
