// valueInfo<T>: the table of any type that a field, a key or a member may have
// (Zin/ValueInfo.h), made from its schema when the program is compiled.

#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "Zin/Enum.h"
#include "Zin/Export.h"
#include "Zin/Hash.h"
#include "Zin/String.h"
#include "Zin/ValueInfo.h"
#include "describe/Value.h"

namespace Zin {

template <class T>
concept HasStringValue = requires(const T& value) {
    { value.stringValue() } -> std::same_as<String>;
};

namespace detail {

ZIN_EXPORT void appendUnsigned(std::string& text, std::uint64_t number);
ZIN_EXPORT void appendSigned(std::string& text, std::int64_t number);
// The shortest digits that read back as the same number.
ZIN_EXPORT void appendDouble(std::string& text, double number);

// Of a number of that many bytes.
ZIN_EXPORT std::uint64_t readUnsigned(TextReader& reader, std::size_t bytes);
ZIN_EXPORT std::int64_t readSigned(TextReader& reader, std::size_t bytes);
ZIN_EXPORT double readDouble(TextReader& reader);
ZIN_EXPORT bool readBool(TextReader& reader);
// An enumerator's name, or a number without one.
ZIN_EXPORT std::uint32_t readEnumerator(
    TextReader& reader,
    std::span<const describe::Enumerator> all,
    std::size_t bytes);

template <class T>
concept CollectionValue = requires(const T& collection) {
    typename T::Key;
    typename T::Value;
    collection.iteratorConst();
};

template <class T>
consteval ValueKind kindOf() {
    if constexpr (describe::Value<T>) {
        return HasStringValue<T> ? ValueKind::text : ValueKind::fields;
    } else if constexpr (describe::DescribedEnum<T>) {
        return ValueKind::enumeration;
    } else if constexpr (std::same_as<T, bool>) {
        return ValueKind::boolean;
    } else if constexpr (std::floating_point<T>) {
        return ValueKind::floatingNumber;
    } else if constexpr (std::integral<T>) {
        return std::is_signed_v<T> ? ValueKind::signedNumber : ValueKind::unsignedNumber;
    } else if constexpr (std::same_as<T, String>) {
        return ValueKind::string;
    } else {
        return ValueKind::collection;
    }
}

template <class T>
void appendLeaf(std::string& text, const void* value) {
    const T& leaf = *static_cast<const T*>(value);
    constexpr ValueKind kind = kindOf<T>();
    if constexpr (kind == ValueKind::text) {
        text += leaf.stringValue().view();
    } else if constexpr (kind == ValueKind::enumeration) {
        text += stringValue(leaf).view();
    } else if constexpr (kind == ValueKind::boolean) {
        text += leaf ? "True" : "False";
    } else if constexpr (kind == ValueKind::floatingNumber) {
        appendDouble(text, leaf);
    } else if constexpr (kind == ValueKind::signedNumber) {
        appendSigned(text, leaf);
    } else if constexpr (kind == ValueKind::unsignedNumber) {
        appendUnsigned(text, leaf);
    } else if constexpr (kind == ValueKind::string) {
        appendQuoted(text, leaf.view());
    } else {
        text += "None";
    }
}

template <class T>
void readLeaf(TextReader& reader, void* value) {
    T& leaf = *static_cast<T*>(value);
    constexpr ValueKind kind = kindOf<T>();
    if constexpr (kind == ValueKind::text) {
        leaf = T::textNext(reader);
    } else if constexpr (kind == ValueKind::enumeration) {
        leaf = static_cast<T>(
            readEnumerator(reader, describe::enumerationOf<T>.enumerators, sizeof(T)));
    } else if constexpr (kind == ValueKind::boolean) {
        leaf = readBool(reader);
    } else if constexpr (kind == ValueKind::floatingNumber) {
        leaf = readDouble(reader);
    } else if constexpr (kind == ValueKind::signedNumber) {
        leaf = static_cast<T>(readSigned(reader, sizeof(T)));
    } else if constexpr (kind == ValueKind::unsignedNumber) {
        leaf = static_cast<T>(readUnsigned(reader, sizeof(T)));
    } else {
        leaf = reader.quoted();
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
        constexpr std::array<std::string_view, 9>
            unsignedNames{"", "U8", "U16", "", "U32", "", "", "", "U64"};
        constexpr std::array<std::string_view, 9>
            signedNames{"", "S8", "S16", "", "S32", "", "", "", "S64"};
        return (std::is_signed_v<T> ? signedNames : unsignedNames)[sizeof(T)];
    } else {
        return "collection";
    }
}

template <class T>
concept Less = requires(const T& a, const T& b) {
    requires !describe::Value<T> || describe::OrderedValue<T>;
    { a < b } -> std::same_as<bool>;
};
template <class T>
concept Hashes = requires(const T& value) {
    requires !describe::Value<T> || describe::HashedValue<T>;
    { hashSingleAttr(std::uint32_t{}, value) } -> std::same_as<std::uint32_t>;
};

}  // namespace detail

template <class T>
struct ValueInfoOf;

template <class T>
inline constexpr const ValueInfo& valueInfo = ValueInfoOf<T>::info;

namespace detail {

template <class T>
struct MembersOf {
    static constexpr std::array<FieldInfo, 0> fields{};
    static constexpr std::array<ConstantInfo, 0> constants{};
    static constexpr std::array<std::string_view, 0> functions{};
};
template <describe::Value T>
struct MembersOf<T> {
    using Kind = describe::MemberKind;
    using Schema = decltype(T::schema());

    template <class F>
    static constexpr FieldInfo fieldInfo(const F& field) {
        return {
            field.name,
            [](const void* value) -> const void* {
                return &F::in(*static_cast<const T*>(value));
            },
            &valueInfo<typename F::Value>};
    }
    template <class C>
    static constexpr ConstantInfo constantInfo(const C& constant) {
        using V = typename C::Value;
        // V may be T itself, whose table is being made: valueInfo<V> is no constant yet.
        return {constant.name, &ValueInfoOf<V>::info, [](void* to) {
                    *static_cast<V*>(to) = C::function();
                }};
    }
    static constexpr auto fields = [] {
        std::array<FieldInfo, describe::fieldsIn<T>> infos{};
        std::size_t at = 0;
        describe::schemaOf<T>.forEach(
            [&](const auto& field) { infos[at++] = fieldInfo(field); });
        return infos;
    }();
    static constexpr auto constants = [] {
        std::array<ConstantInfo, Schema::template count<Kind::constant>> infos{};
        std::size_t at = 0;
        describe::schemaOf<T>.template forEachOf<Kind::constant>(
            [&](const auto& constant) { infos[at++] = constantInfo(constant); });
        return infos;
    }();
    static constexpr auto functions = [] {
        std::array<std::string_view, Schema::template count<Kind::function>> names{};
        std::size_t at = 0;
        describe::schemaOf<T>.template forEachOf<Kind::function>(
            [&](const auto& function) { names[at++] = function.name; });
        return names;
    }();
};

template <class T>
struct EnumeratorsOf {
    static constexpr std::span<const describe::Enumerator> all{};
};
template <describe::DescribedEnum T>
struct EnumeratorsOf<T> {
    static constexpr std::span<const describe::Enumerator> all =
        describe::enumerationOf<T>.enumerators;
};

template <class T>
consteval const ValueInfo* valueInfoOrNull() {
    if constexpr (std::is_void_v<T>) {
        return nullptr;
    } else {
        return &valueInfo<T>;
    }
}

template <class T>
inline constexpr const CollectionInfo* collectionInfo = nullptr;
template <CollectionValue T>
inline constexpr CollectionInfo collectionInfoOf{
    .key = &valueInfo<typename T::Key>,
    .value = valueInfoOrNull<typename T::Value>(),
    .members = [](const void* collection) -> std::uint32_t {
        return static_cast<const T*>(collection)->members();
    },
    .forEachMember =
        [](const void* collection,
           void (*visit)(void* context, const void* key, const void* value),
           void* context) {
            for (auto it = static_cast<const T*>(collection)->iteratorConst(); it; ++it) {
                if constexpr (std::is_void_v<typename T::Value>) {
                    visit(context, &it.key(), nullptr);
                } else {
                    visit(context, &it.key(), &it.node().value());
                }
            }
        },
    .insert =
        [](void* collection, const void* key, const void* value) {
            const auto& member = *static_cast<const typename T::Key*>(key);
            if constexpr (std::is_void_v<typename T::Value>) {
                static_cast<T*>(collection)->put(member);
            } else if constexpr (requires(T & map, const typename T::Value& v) {
                                     map.put(v);
                                 }) {
                static_cast<T*>(collection)->put(*static_cast<const typename T::Value*>(value));
            } else {
                static_cast<T*>(collection)
                    ->put(member, *static_cast<const typename T::Value*>(value));
            }
        },
};
template <CollectionValue T>
inline constexpr const CollectionInfo* collectionInfo<T> = &collectionInfoOf<T>;

template <class T>
consteval auto lessOf() -> bool (*)(const void*, const void*) {
    if constexpr (Less<T>) {
        return [](const void* a, const void* b) {
            return *static_cast<const T*>(a) < *static_cast<const T*>(b);
        };
    } else {
        return nullptr;
    }
}

template <class T>
consteval auto hashOf() -> std::uint32_t (*)(const void*, std::uint32_t) {
    if constexpr (Hashes<T>) {
        return [](const void* value, std::uint32_t seed) {
            return hashSingleAttr(seed, *static_cast<const T*>(value));
        };
    } else {
        return nullptr;
    }
}

template <class T>
consteval auto readerOf() -> void (*)(TextReader&, void*) {
    constexpr ValueKind kind = kindOf<T>();
    if constexpr (kind == ValueKind::fields || kind == ValueKind::collection) {
        return nullptr;
    } else {
        return &readLeaf<T>;
    }
}

template <class T>
consteval auto printerOf() -> void (*)(std::string&, const void*) {
    if constexpr (kindOf<T>() == ValueKind::fields) {
        return nullptr;
    } else {
        return &appendLeaf<T>;
    }
}

}  // namespace detail

template <class T>
struct ValueInfoOf {
    static constexpr ValueInfo info{
        .name = detail::nameOf<T>(),
        .kind = detail::kindOf<T>(),
        .size = sizeof(T),
        .alignment = alignof(T),
        .fields = detail::MembersOf<T>::fields,
        .constants = detail::MembersOf<T>::constants,
        .functions = detail::MembersOf<T>::functions,
        .enumerators = detail::EnumeratorsOf<T>::all,
        .collection = detail::collectionInfo<T>,
        .construct =
            [](void* to, const void* from) {
                if (from) {
                    new (to) T(*static_cast<const T*>(from));
                } else {
                    new (to) T();
                }
            },
        .destruct = [](void* value) noexcept { static_cast<T*>(value)->~T(); },
        .assign = [](void* to,
                     const void* from) { *static_cast<T*>(to) = *static_cast<const T*>(from); },
        .equal = [](const void* a, const void* b) -> bool {
            return *static_cast<const T*>(a) == *static_cast<const T*>(b);
        },
        .less = detail::lessOf<T>(),
        .hash = detail::hashOf<T>(),
        .appendText = detail::printerOf<T>(),
        .readText = detail::readerOf<T>(),
    };
};

template <class T>
std::string textOf(const T& value) {
    std::string text;
    appendText(text, valueInfo<T>, &value);
    return text;
}

}  // namespace Zin
