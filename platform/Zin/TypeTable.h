// A compiled type table is what a module says of its types in bytes: their names, attributes,
// fields and enumerators. It is constant data of the module that holds it, made when that is
// compiled (Zin/TypeTableBuilder.h); docs/type-table.md has the layout.
//
// TypeTable reads one, from those bytes alone. It checks every offset before it is used: bytes
// that are no table read as a table without types, and what a damaged one names beyond its end
// reads as empty; kinds are handed out as they stand. It owns nothing: the bytes must outlive
// it and what it returns. Making one takes constant time.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "Zin/Export.h"

namespace Zin {

namespace typeTable {

inline constexpr std::uint32_t magic = 0x3154545a;  // "ZTT1"

// The header: offsets from the start of the table.
enum : std::size_t {
    magicAt = 0,
    typeCountAt = 4,       // 16 bits
    recordCountAt = 6,     // 16 bits
    referenceCountAt = 8,  // 16 bits
    referencesAt = 12,     // offsets of the names of the referenced types, 16 bits each
    typesAt = 16,
    recordsAt = 20,
    typeNamesAt = 24,
    attributeNamesAt = 28,
    sizeAt = 32,
    headerSize = 36,
};

// Bytes of a type.
inline constexpr std::size_t typeSize = 16;
// Bytes of a record.
inline constexpr std::size_t recordSize = 20;
// Names begin at a multiple of this.
inline constexpr std::size_t poolAlignment = 32;

enum class TypeKind : std::uint8_t { value = 0x21, enumeration = 0x25, entity = 0x60 };
// The second byte of each type.
inline constexpr std::uint8_t typeMark = 0xf0;

// Flags of a type.
enum : std::uint32_t {
    isRoot = 1,      // an entity type that may stand at the top of a directory
    isHashed = 2,    // a value type with a hash
    isOrdered = 4,   // a value type with an order
    hasOwnText = 8,  // a value type that is not written field by field
};

// What a record stands for: an attribute or field by its kind, a function, an enumerator.
enum class RecordKind : std::uint8_t {
    single = 0x00,
    collection = 0x01,
    instantiating = 0x21,
    function = 0x10,
    enumerator = 0x88,
};
// Who may do what with what a record stands for.
enum class Access : std::uint8_t {
    constant = 0x2c,
    writable = 0xdc,
    writableInstantiating = 0xdd,
    function = 0x08,
    enumerator = 0x28,
};

// Types that every runtime knows, by the negative numbers that stand for them. An enumeration's
// base is the unsigned number that it takes.
enum BuiltinType : std::int16_t {
    none = -1,
    entityBase = -3,
    functionType = -4,
    u8 = -5,
    s8 = -6,
    u16 = -7,
    s16 = -8,
    u32 = -9,
    s32 = -10,
    u64 = -11,
    s64 = -12,
    boolean = -13,
    float64 = -15,
    collectionInside = -16,
    string = -18,
};
// "U32", or empty for a number that stands for none.
ZIN_EXPORT std::string_view builtinName(std::int16_t number) noexcept;

// The number of a value type's first field.
inline constexpr std::uint32_t firstFieldId = 2;

}  // namespace typeTable

class ZIN_EXPORT TypeTable {
  public:
    // A type as the table has it.
    struct Type {
        // Value type, enumeration or entity type.
        typeTable::TypeKind kind;
        // The qualified name.
        std::string_view name;
        // Some of isRoot, isHashed, isOrdered, hasOwnText.
        std::uint32_t flags;
        // A builtin type or the index of a referenced one.
        std::int16_t base;
        // Of an entity type the number of constructor arguments, of a value type that of its
        // fields, of an enumeration its bytes.
        std::uint16_t number;
        // The index of its first record; the others follow.
        std::uint16_t firstRecord;
        // How many records are the type's.
        std::uint16_t records;
    };
    // An attribute, field, function or enumerator of a type.
    struct Record {
        // The attribute's id; of a field its number.
        std::uint32_t id;
        // What it stands for.
        typeTable::RecordKind kind;
        // Who may do what with it.
        typeTable::Access access;
        // Whether it is stored, rather than computed.
        bool isData;
        // The name of the attribute, field or enumerator.
        std::string_view name;
        // The type of the value, or of the members: as Type::base.
        std::int16_t valueType;
        // `none` when it is no collection.
        std::int16_t keyType;
        // 1 where children are made, else 0.
        std::uint16_t instantiates;
        // Of an enumerator.
        std::uint32_t number;
        // The field or attribute of a member that is its key; empty where the key lies outside.
        std::string_view keyField;
    };

    TypeTable() = default;
    // Reads the table in those bytes, which outlive it.
    explicit TypeTable(std::span<const std::uint8_t> bytes) noexcept;

    // How many types, records and referenced types there are.
    std::uint32_t types() const noexcept { return types_; }
    // How many records there are, of all types.
    std::uint32_t records() const noexcept { return records_; }
    // How many types of other modules are referred to by name.
    std::uint32_t references() const noexcept { return references_; }

    // Nothing where there is no such type or record.
    std::optional<Type> type(std::uint32_t index) const noexcept;
    std::optional<Record> record(std::uint32_t index) const noexcept;
    // The index of the type of that qualified name. Linear.
    std::optional<std::uint32_t> typeNamed(std::string_view name) const noexcept;
    // The index of a type's record, by the id or the name of the attribute. Linear.
    std::optional<std::uint32_t> recordOf(std::uint32_t type, std::uint32_t id) const noexcept;
    std::optional<std::uint32_t> recordOf(std::uint32_t type, std::string_view name)
        const noexcept;
    // The name of a builtin or a referenced type; empty when there is none.
    std::string_view typeName(std::int16_t reference) const noexcept;

  private:
    std::uint32_t word(std::size_t at, std::size_t bytes) const noexcept;
    std::string_view nameAt(std::size_t pool, std::size_t end, std::size_t offset)
        const noexcept;

    std::span<const std::uint8_t> bytes_;
    std::uint32_t types_ = 0;
    std::uint32_t records_ = 0;
    std::uint32_t references_ = 0;
    std::size_t referencesAt_ = 0;
    std::size_t typesAt_ = 0;
    std::size_t recordsAt_ = 0;
    std::size_t typeNamesAt_ = 0;
    std::size_t attributeNamesAt_ = 0;
};

}  // namespace Zin
