// ValueInfo is what code that knows no types sees of a value: its qualified name, its fields,
// its text, and how it is made, copied, compared and hashed. Tables are constants made from
// schemas (Zin/ValueInfoOf.h); what walks them is compiled once.
//
// Text (Zin/Strep.h) has one form for all: a value with fields names them, a value that wraps
// one field `value` is written as that field, a type with a text of its own (stringValue() and
// textNext()) as that text, a collection inside of a value as None.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "Zin/Export.h"
#include "Zin/TextReader.h"
#include "describe/Schema.h"

namespace Zin {

struct ValueInfo;

enum class ValueKind : std::uint8_t {
    boolean,
    unsignedNumber,
    signedNumber,
    floatingNumber,
    string,
    enumeration,
    text,        // a value type with a text of its own
    fields,      // a value type that is read and written field by field
    collection,  // inside of a value; has no text to be read back
};

// A field of a value type.
struct FieldInfo {
    // The name of the field.
    std::string_view name;
    // Where the field is in a value.
    const void* (*in)(const void* value);
    // The type of the field.
    const ValueInfo* type;

    // The same, to be changed.
    void* mutableIn(void* value) const { return const_cast<void*>(in(value)); }
};

// A value of the type as such; `get` assigns it to the one at `to`.
struct ConstantInfo {
    // The name of the constant.
    std::string_view name;
    // The type of the constant.
    const ValueInfo* type;
    // Assigns it to the value at `to`, which is of that type.
    void (*get)(void* to);
};

// A collection inside of a value. The value of a member is null for a set.
struct CollectionInfo {
    // The type of the keys.
    const ValueInfo* key;
    // The type of the members; null for a set.
    const ValueInfo* value;
    // How many members there are. Constant time.
    std::uint32_t (*members)(const void* collection);
    // Visits the members in the order of iteration. Linear.
    void (*forEachMember)(
        const void* collection,
        void (*visit)(void* context, const void* key, const void* value),
        void* context);
    // Inserts a member, or overwrites the one under that key.
    void (*insert)(void* collection, const void* key, const void* value);
};

struct ValueInfo {
    // The qualified name, as in "Pseudowire::TimeRange" or "bool".
    std::string_view name;
    // How values are written and what can be seen of them.
    ValueKind kind;
    // Bytes of a value in memory.
    std::uint32_t size;
    // Of a value in memory.
    std::uint32_t alignment;
    // Of a value type that has fields; those of one with a text of its own are seen too.
    std::span<const FieldInfo> fields;
    // Numbered behind the fields: constants, then functions, of which only names are known.
    std::span<const ConstantInfo> constants;
    // The names of the type's functions.
    std::span<const std::string_view> functions;
    // Of an enumeration.
    std::span<const describe::Enumerator> enumerators;
    // Of a collection; null for all else.
    const CollectionInfo* collection;

    // --- Untyped operations; each pointer points at a value of this type ---
    // Into raw memory of that size and alignment: a copy, or a default value when `from` is
    // null.
    void (*construct)(void* to, const void* from);
    void (*destruct)(void* value) noexcept;
    void (*assign)(void* to, const void* from);
    bool (*equal)(const void* a, const void* b);
    // Null for a type that has no order, or no hash.
    bool (*less)(const void* a, const void* b);
    std::uint32_t (*hash)(const void* value, std::uint32_t seed);
    // The text of kinds other than `fields`; reading is null for a collection.
    void (*appendText)(std::string& text, const void* value);
    void (*readText)(TextReader& reader, void* value);

    // A value that stands for its only field.
    bool isWrapper() const noexcept {
        return kind == ValueKind::fields && fields.size() == 1 && fields[0].name == "value";
    }
    // Whether some field, at whatever depth, is a collection: such a text cannot be read back.
    ZIN_EXPORT bool holdsCollection() const noexcept;
};

// Appends the text of a value. Linear in the length of the text.
ZIN_EXPORT void appendText(std::string& text, const ValueInfo& type, const void* value);

// Reads a value from where the reader stands. Throws a TextException or a TextRangeException
// that names the field, or a RangeException where there is no field; then `value` holds
// something, but nothing of use. A type that holds a collection cannot be read: fatal
// assertion, in the name of the module that the type belongs to. Linear in what is read.
ZIN_EXPORT void readText(TextReader& reader, const ValueInfo& type, void* value);
// The same for the value of a field, which errors name.
ZIN_EXPORT void
readField(TextReader& reader, std::string_view fieldName, const ValueInfo& type, void* value);

// Appends a string in single quotes; quotes, backslashes, control characters and bytes that are
// no UTF-8 are escaped, so that the text is UTF-8 whatever the string holds.
ZIN_EXPORT void appendQuoted(std::string& text, std::string_view bytes);

// Appends "0x" and 16 lower-case hexadecimal digits.
ZIN_EXPORT void appendHex64(std::string& text, std::uint64_t number);

// "TimeRange" of "Pseudowire::TimeRange".
constexpr std::string_view unqualified(std::string_view typeName) {
    const std::size_t colon = typeName.rfind(':');
    return colon == std::string_view::npos ? typeName : typeName.substr(colon + 1);
}

// RFC 3629: well-formed, without surrogates and overlong forms.
ZIN_EXPORT bool isUtf8(std::string_view bytes) noexcept;

}  // namespace Zin
