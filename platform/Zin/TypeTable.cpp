#include "Zin/TypeTable.h"

#include <algorithm>

namespace Zin {

std::string_view typeTable::builtinName(std::int16_t number) noexcept {
    switch (number) {
        case entityBase:
            return "Zin::Entity";
        case functionType:
            return "function";
        case u8:
            return "U8";
        case s8:
            return "S8";
        case u16:
            return "U16";
        case s16:
            return "S16";
        case u32:
            return "U32";
        case s32:
            return "S32";
        case u64:
            return "U64";
        case s64:
            return "S64";
        case boolean:
            return "bool";
        case float64:
            return "double";
        case collectionInside:
            return "collection";
        case string:
            return "Zin::String";
        default:
            return {};
    }
}

TypeTable::TypeTable(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {
    using namespace typeTable;
    if (bytes.size() < headerSize || word(magicAt, 4) != magic) return;
    if (word(sizeAt, 4) != bytes.size()) return;
    referencesAt_ = word(typeTable::referencesAt, 4);
    typesAt_ = word(typeTable::typesAt, 4);
    recordsAt_ = word(typeTable::recordsAt, 4);
    typeNamesAt_ = word(typeTable::typeNamesAt, 4);
    attributeNamesAt_ = word(typeTable::attributeNamesAt, 4);
    const std::uint32_t types = word(typeCountAt, 2);
    const std::uint32_t records = word(recordCountAt, 2);
    const std::uint32_t references = word(referenceCountAt, 2);
    // The parts follow each other: each ends before the next begins.
    const auto fits =
        [](std::size_t at, std::uint32_t count, std::size_t size, std::size_t end) {
            return at <= end && count <= (end - at) / size;
        };
    const bool sound = referencesAt_ >= headerSize &&
                       fits(referencesAt_, references, 2, typesAt_) &&
                       fits(typesAt_, types, typeSize, recordsAt_) &&
                       fits(recordsAt_, records, recordSize, typeNamesAt_) &&
                       typeNamesAt_ <= attributeNamesAt_ && attributeNamesAt_ < bytes.size() &&
                       bytes[attributeNamesAt_] == 0;
    if (!sound) return;
    types_ = types;
    records_ = records;
    references_ = references;
}

std::uint32_t TypeTable::word(std::size_t at, std::size_t bytes) const noexcept {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        word |= static_cast<std::uint32_t>(bytes_[at + i]) << (8 * i);
    }
    return word;
}

std::string_view TypeTable::nameAt(std::size_t pool, std::size_t end, std::size_t offset)
    const noexcept {
    if (offset >= end - pool) return {};
    const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(pool + offset);
    const auto to = bytes_.begin() + static_cast<std::ptrdiff_t>(end);
    const auto zero = std::find(from, to, std::uint8_t{0});
    // A name that is not ended is none.
    if (zero == to) return {};
    return {
        reinterpret_cast<const char*>(&*from),
        static_cast<std::size_t>(std::distance(from, zero))};
}

std::optional<TypeTable::Type> TypeTable::type(std::uint32_t index) const noexcept {
    if (index >= types_) return std::nullopt;
    const std::size_t at = typesAt_ + index * typeTable::typeSize;
    Type type{
        .kind = static_cast<typeTable::TypeKind>(bytes_[at]),
        .name = nameAt(typeNamesAt_, attributeNamesAt_, word(at + 2, 2)),
        .flags = word(at + 4, 4),
        .base = static_cast<std::int16_t>(word(at + 8, 2)),
        .number = static_cast<std::uint16_t>(word(at + 10, 2)),
        .firstRecord = static_cast<std::uint16_t>(word(at + 12, 2)),
        .records = static_cast<std::uint16_t>(word(at + 14, 2)),
    };
    if (std::uint32_t{type.firstRecord} + type.records > records_) type.records = 0;
    return type;
}

std::optional<TypeTable::Record> TypeTable::record(std::uint32_t index) const noexcept {
    if (index >= records_) return std::nullopt;
    const std::size_t at = recordsAt_ + index * typeTable::recordSize;
    const auto attributeName = [&](std::size_t offset) {
        return nameAt(attributeNamesAt_, bytes_.size(), offset);
    };
    Record record{
        .id = word(at, 4),
        .kind = static_cast<typeTable::RecordKind>(bytes_[at + 4]),
        .access = static_cast<typeTable::Access>(bytes_[at + 5]),
        .isData = bytes_[at + 6] != 0,
        .name = attributeName(word(at + 7, 2)),
        .valueType = static_cast<std::int16_t>(word(at + 10, 2)),
        .keyType = typeTable::none,
        .instantiates = 0,
        .number = 0,
        .keyField = attributeName(word(at + 16, 4)),
    };
    if (record.kind == typeTable::RecordKind::enumerator) {
        record.number = word(at + 12, 4);
    } else {
        record.keyType = static_cast<std::int16_t>(word(at + 12, 2));
        record.instantiates = static_cast<std::uint16_t>(word(at + 14, 2));
    }
    return record;
}

std::optional<std::uint32_t> TypeTable::typeNamed(std::string_view name) const noexcept {
    for (std::uint32_t index = 0; index < types_; ++index) {
        if (type(index)->name == name) return index;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> TypeTable::recordOf(std::uint32_t typeIndex, std::uint32_t id)
    const noexcept {
    const std::optional<Type> of = type(typeIndex);
    for (std::uint32_t i = 0; of && i < of->records; ++i) {
        if (record(of->firstRecord + i)->id == id) return of->firstRecord + i;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> TypeTable::recordOf(std::uint32_t typeIndex, std::string_view name)
    const noexcept {
    const std::optional<Type> of = type(typeIndex);
    for (std::uint32_t i = 0; of && i < of->records; ++i) {
        if (record(of->firstRecord + i)->name == name) return of->firstRecord + i;
    }
    return std::nullopt;
}

std::string_view TypeTable::typeName(std::int16_t reference) const noexcept {
    if (reference < 0) return typeTable::builtinName(reference);
    const auto index = static_cast<std::size_t>(reference);
    if (index >= references_) return {};
    return nameAt(typeNamesAt_, attributeNamesAt_, word(referencesAt_ + 2 * index, 2));
}

}  // namespace Zin
