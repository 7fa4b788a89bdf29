// ValueInfo is what code that knows no types sees of a value: its qualified name, its fields
// and its text. Tables are constants made from schemas; what walks them is compiled once.

#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/String.h"
#include "describe/Value.h"

namespace Zin {

struct ValueInfo;

struct FieldInfo {
    std::string_view name;
    const void* (*in)(const void* value);
    const ValueInfo* type;
};

struct ValueInfo {
    // The qualified name, as in "Pseudowire::TimeRange" or "bool".
    std::string_view name;
    // Of a value type without a text form of its own; empty for all others.
    std::span<const FieldInfo> fields;
    // Text of a value that has no fields of its own to walk; null for a value that has.
    void (*appendText)(std::string& text, const void* value);
};

// Appends the text of a value. Linear in the length of the text.
ZIN_EXPORT void appendText(std::string& text, const ValueInfo& type, const void* value);

// Appends a string in single quotes; quotes, backslashes and what does not print are escaped.
ZIN_EXPORT void appendQuoted(std::string& text, std::string_view bytes);

template <class T>
concept HasStringValue = requires(const T& value) {
    { value.stringValue() } -> std::same_as<String>;
};

namespace detail {

ZIN_EXPORT void appendUnsigned(std::string& text, std::uint64_t number);
ZIN_EXPORT void appendSigned(std::string& text, std::int64_t number);
// The shortest digits that read back as the same number.
ZIN_EXPORT void appendDouble(std::string& text, double number);

template <class T>
concept Leaf = !describe::Value<T> || HasStringValue<T>;

template <class T>
void appendLeaf(std::string& text, const void* value) {
    const T& leaf = *static_cast<const T*>(value);
    if constexpr (HasStringValue<T>) {
        text += leaf.stringValue().view();
    } else if constexpr (describe::DescribedEnum<T>) {
        text += stringValue(leaf).view();
    } else if constexpr (std::same_as<T, bool>) {
        text += leaf ? "True" : "False";
    } else if constexpr (std::floating_point<T>) {
        appendDouble(text, leaf);
    } else if constexpr (std::signed_integral<T>) {
        appendSigned(text, leaf);
    } else if constexpr (std::unsigned_integral<T>) {
        appendUnsigned(text, leaf);
    } else if constexpr (std::same_as<T, String>) {
        appendQuoted(text, leaf.view());
    } else {
        // A collection inside of a value.
        text += "None";
    }
}

template <class T>
consteval std::string_view nameOf() {
    if constexpr (describe::Described<T>) {
        return describe::schemaOf<T>.typeName;
    } else if constexpr (describe::DescribedEnum<T>) {
        return describe::enumerationOf<T>.typeName;
    } else if constexpr (std::same_as<T, bool>) {
        return "bool";
    } else if constexpr (std::same_as<T, double>) {
        return "double";
    } else if constexpr (std::same_as<T, String>) {
        return "Zin::String";
    } else if constexpr (std::integral<T>) {
        constexpr std::array<std::string_view, 18> names{
            "",
            "U8",
            "U16",
            "",
            "U32",
            "",
            "",
            "",
            "U64",
            "",
            "S8",
            "S16",
            "",
            "S32",
            "",
            "",
            "",
            "S64"};
        return names[sizeof(T) + (std::is_signed_v<T> ? 9 : 0)];
    } else {
        return "collection";
    }
}

}  // namespace detail

template <class T>
struct ValueInfoOf;

template <class T>
inline constexpr const ValueInfo& valueInfo = ValueInfoOf<T>::info;

template <detail::Leaf T>
struct ValueInfoOf<T> {
    static constexpr ValueInfo info{detail::nameOf<T>(), {}, &detail::appendLeaf<T>};
};

template <class T>
requires(!detail::Leaf<T>) struct ValueInfoOf<T> {
    template <class F>
    static constexpr FieldInfo fieldInfo(const F& field) {
        return {
            field.name,
            [](const void* value) -> const void* {
                return &F::in(*static_cast<const T*>(value));
            },
            &valueInfo<typename F::Value>};
    }
    template <class... Fields>
    static constexpr auto fieldInfos(const describe::Schema<Fields...>& schema) {
        return std::array<FieldInfo, sizeof...(Fields)>{
            fieldInfo(static_cast<const Fields&>(schema))...};
    }
    static constexpr auto fields = fieldInfos(describe::schemaOf<T>);
    static constexpr ValueInfo info{describe::schemaOf<T>.typeName, fields, nullptr};
};

template <class T>
std::string textOf(const T& value) {
    std::string text;
    appendText(text, valueInfo<T>, &value);
    return text;
}

}  // namespace Zin
