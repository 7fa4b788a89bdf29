// Builds a module's compiled type table (Zin/TypeTable.h) when the module is compiled, from the
// tables of its types, and the fingerprint by which peers compare modules.
//
//     inline constexpr std::array<Zin::TypeInfo, n> types{...};
//     constinit const Zin::ZinModule module{
//         "Vorn", types, Zin::compiledTypeTable<types>, Zin::fingerprintOf(types)};

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

#include "Zin/Hash.h"
#include "Zin/Module.h"
#include "Zin/TypeTable.h"
#include "Zin/ValueInfo.h"

namespace Zin {

namespace typeTable {

// Never defined: reached when a table is built that cannot be written.
void A_MODULE_HAS_TOO_MANY_TYPES_ATTRIBUTES_OR_NAMES();

using Types = std::span<const TypeInfo>;

// Whether a pointer to a table or a function is null. g++ with its undefined-behaviour
// sanitizer takes the address of an inline variable for one that may be null, and a comparison
// that it cannot fold for none at all; that it cannot be folded says that it is not null.
constexpr bool isNull(auto* pointer) {
    if (std::is_constant_evaluated()) {
        return __builtin_constant_p(pointer == nullptr) && pointer == nullptr;
    }
    return pointer == nullptr;
}

constexpr bool isEntity(const TypeInfo& type) {
    return !isNull(type.entity);
}
constexpr std::string_view nameOf(const TypeInfo& type) {
    return isEntity(type) ? type.entity->name : type.value->name;
}

// The attributes that the type's base does not have.
constexpr std::span<const AttributeInfo> ownAttributes(const EntityTypeInfo& type) {
    return type.attributes.subspan(isNull(type.base) ? 0 : type.base->attributes.size());
}

// A number for a type that every runtime knows; 0 for one that is referred to by its name.
constexpr std::int16_t builtinNumber(const ValueInfo& type) {
    constexpr std::array<std::int16_t, 9> unsignedOf{0, u8, u16, 0, u32, 0, 0, 0, u64};
    constexpr std::array<std::int16_t, 9> signedOf{0, s8, s16, 0, s32, 0, 0, 0, s64};
    switch (type.kind) {
        case ValueKind::boolean:
            return boolean;
        case ValueKind::unsignedNumber:
            return unsignedOf[type.size];
        case ValueKind::signedNumber:
            return signedOf[type.size];
        case ValueKind::floatingNumber:
            return float64;
        case ValueKind::string:
            return string;
        case ValueKind::collection:
            return collectionInside;
        default:
            return 0;
    }
}

// Calls visit(name) for each name of a type that must be in the pool because it is referred to.
constexpr void forEachReference(Types types, auto&& visit) {
    const auto ofValue = [&](const ValueInfo* type) {
        if (!isNull(type) && builtinNumber(*type) == 0) visit(type->name);
    };
    for (const TypeInfo& type : types) {
        if (!isEntity(type)) {
            if (type.value->kind == ValueKind::enumeration) continue;
            for (const FieldInfo& field : type.value->fields) ofValue(field.type);
            for (const ConstantInfo& constant : type.value->constants) ofValue(constant.type);
            continue;
        }
        if (!isNull(type.entity->base)) visit(type.entity->base->name);
        for (const AttributeInfo& attribute : ownAttributes(*type.entity)) {
            if (attribute.kind == AttributeKind::function) continue;
            ofValue(attribute.value);
            ofValue(attribute.key);
            if (!isNull(attribute.childType)) visit(attribute.childType->name);
            if (!isNull(attribute.referencedType)) visit(attribute.referencedType->name);
        }
    }
}

// Calls visit(name) for each name of an attribute, a field, a constant, a function or an
// enumerator.
constexpr void forEachName(Types types, auto&& visit) {
    for (const TypeInfo& type : types) {
        if (!isEntity(type)) {
            for (const auto& enumerator : type.value->enumerators) visit(enumerator.name);
            for (const FieldInfo& field : type.value->fields) visit(field.name);
            for (const ConstantInfo& constant : type.value->constants) visit(constant.name);
            for (const std::string_view function : type.value->functions) visit(function);
            continue;
        }
        for (const AttributeInfo& attribute : ownAttributes(*type.entity)) {
            visit(attribute.name);
            if (!attribute.keyField.empty()) visit(attribute.keyField);
        }
    }
}

constexpr std::size_t recordsOf(const TypeInfo& type) {
    if (isEntity(type)) return ownAttributes(*type.entity).size();
    if (type.value->kind == ValueKind::enumeration) return type.value->enumerators.size();
    return type.value->fields.size() + type.value->constants.size() +
           type.value->functions.size();
}

// Names in ascending order, each once, and where each begins in their pool.
template <std::size_t most>
struct Pool {
    std::array<std::string_view, most> names{};
    std::array<std::uint32_t, most> offsets{};
    std::size_t count = 0;
    std::size_t size = 0;

    constexpr void add(std::string_view name) { names[count++] = name; }
    constexpr void finish(std::size_t before) {
        std::sort(names.begin(), names.begin() + count);
        count = static_cast<std::size_t>(
            std::unique(names.begin(), names.begin() + count) - names.begin());
        size = before;
        for (std::size_t i = 0; i < count; ++i) {
            offsets[i] = static_cast<std::uint32_t>(size);
            size += names[i].size() + 1;
        }
        if (size > 0xffff) A_MODULE_HAS_TOO_MANY_TYPES_ATTRIBUTES_OR_NAMES();
    }
    constexpr std::size_t indexOf(std::string_view name) const {
        return static_cast<std::size_t>(
            std::lower_bound(names.begin(), names.begin() + count, name) - names.begin());
    }
    constexpr std::uint32_t offsetOf(std::string_view name) const {
        return name.empty() ? 0 : offsets[indexOf(name)];
    }
};

template <const auto& types>
struct Builder {
    static constexpr std::size_t mostReferences = [] {
        std::size_t count = 0;
        forEachReference(types, [&](std::string_view) { ++count; });
        return count;
    }();
    static constexpr std::size_t mostNames = [] {
        std::size_t count = 0;
        forEachName(types, [&](std::string_view) { ++count; });
        return count;
    }();
    static constexpr std::size_t recordCount = [] {
        std::size_t count = 0;
        for (const TypeInfo& type : types) count += recordsOf(type);
        return count;
    }();

    static constexpr auto references = [] {
        Pool<mostReferences> pool;
        forEachReference(types, [&](std::string_view name) { pool.add(name); });
        pool.finish(0);
        return pool;
    }();
    static constexpr auto typeNames = [] {
        Pool<mostReferences + types.size()> pool;
        for (std::size_t i = 0; i < references.count; ++i) pool.add(references.names[i]);
        for (const TypeInfo& type : types) pool.add(nameOf(type));
        pool.finish(0);
        return pool;
    }();
    static constexpr auto attributeNames = [] {
        Pool<mostNames> pool;
        forEachName(types, [&](std::string_view name) { pool.add(name); });
        pool.finish(1);
        return pool;
    }();

    static constexpr std::size_t aligned(std::size_t at, std::size_t to) {
        return (at + to - 1) / to * to;
    }
    static constexpr std::size_t typesStart = aligned(headerSize + 2 * references.count, 4);
    static constexpr std::size_t recordsStart = typesStart + types.size() * typeSize;
    static constexpr std::size_t typeNamesStart =
        aligned(recordsStart + recordCount * recordSize, poolAlignment);
    static constexpr std::size_t attributeNamesStart =
        aligned(typeNamesStart + typeNames.size, poolAlignment);
    static constexpr std::size_t size = attributeNamesStart + attributeNames.size;

    struct Writer {
        std::array<std::uint8_t, size> bytes{};

        constexpr void put(std::size_t at, std::uint32_t word, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i) {
                bytes[at + i] = static_cast<std::uint8_t>(word >> (8 * i) & 0xff);
            }
        }
        constexpr void putSigned(std::size_t at, std::int16_t number) {
            put(at, static_cast<std::uint16_t>(number), 2);
        }
        template <std::size_t most>
        constexpr void putPool(std::size_t at, const Pool<most>& pool) {
            for (std::size_t i = 0; i < pool.count; ++i) {
                std::size_t to = at + pool.offsets[i];
                for (const char c : pool.names[i]) bytes[to++] = static_cast<std::uint8_t>(c);
            }
        }
    };

    static constexpr std::int16_t reference(std::string_view name) {
        return static_cast<std::int16_t>(references.indexOf(name));
    }
    static constexpr std::int16_t typeNumber(const ValueInfo* type) {
        if (isNull(type)) return none;
        const std::int16_t builtin = builtinNumber(*type);
        return builtin != 0 ? builtin : reference(type->name);
    }

    struct RecordBytes {
        std::uint32_t id;
        RecordKind kind;
        Access access;
        bool isData;
        std::string_view name;
        std::int16_t valueType;
        std::uint32_t number;
        std::string_view keyField;
    };
    static constexpr void put(Writer& writer, std::size_t index, const RecordBytes& record) {
        const std::size_t at = recordsStart + index * recordSize;
        writer.put(at, record.id, 4);
        writer.put(at + 4, static_cast<std::uint32_t>(record.kind), 1);
        writer.put(at + 5, static_cast<std::uint32_t>(record.access), 1);
        writer.put(at + 6, record.isData ? 1 : 0, 1);
        writer.put(at + 7, attributeNames.offsetOf(record.name), 2);
        writer.putSigned(at + 10, record.valueType);
        writer.put(at + 12, record.number, 4);
        writer.put(at + 16, attributeNames.offsetOf(record.keyField), 4);
    }

    static constexpr std::uint32_t keyWord(std::int16_t keyType, bool instantiates) {
        return static_cast<std::uint16_t>(keyType) | (instantiates ? 0x10000u : 0u);
    }
    static constexpr RecordBytes functionRecord(std::uint32_t id, std::string_view name) {
        return {
            id,
            RecordKind::function,
            Access::function,
            false,
            name,
            functionType,
            keyWord(none, false),
            {}};
    }

    static constexpr RecordBytes attributeRecord(const AttributeInfo& attribute) {
        if (attribute.kind == AttributeKind::function) {
            return functionRecord(attribute.id, attribute.name);
        }
        const bool instantiates = !isNull(attribute.childType);
        const RecordKind kind =
            attribute.kind == AttributeKind::collection      ? RecordKind::collection
            : attribute.kind == AttributeKind::instantiating ? RecordKind::instantiating
                                                             : RecordKind::single;
        const Access access = instantiates         ? Access::writableInstantiating
                              : attribute.writable ? Access::writable
                                                   : Access::constant;
        return {
            attribute.id,
            kind,
            access,
            true,
            attribute.name,
            instantiates                        ? reference(attribute.childType->name)
            : !isNull(attribute.referencedType) ? reference(attribute.referencedType->name)
                                                : typeNumber(attribute.value),
            keyWord(typeNumber(attribute.key), instantiates),
            attribute.keyField};
    }

    // Returns the index behind the last record.
    static constexpr std::size_t
    putRecords(Writer& writer, std::size_t index, const TypeInfo& type) {
        if (isEntity(type)) {
            for (const AttributeInfo& attribute : ownAttributes(*type.entity)) {
                put(writer, index++, attributeRecord(attribute));
            }
            return index;
        }
        for (const auto& enumerator : type.value->enumerators) {
            const auto id = static_cast<std::uint32_t>(index);
            put(writer,
                index++,
                {id,
                 RecordKind::enumerator,
                 Access::enumerator,
                 false,
                 enumerator.name,
                 none,
                 enumerator.number,
                 {}});
        }
        std::uint32_t id = firstFieldId;
        const auto putConstant = [&](std::string_view name, const ValueInfo* value) {
            put(writer,
                index++,
                {id++,
                 RecordKind::single,
                 Access::constant,
                 true,
                 name,
                 typeNumber(value),
                 keyWord(none, false),
                 {}});
        };
        for (const FieldInfo& field : type.value->fields) putConstant(field.name, field.type);
        for (const ConstantInfo& constant : type.value->constants) {
            putConstant(constant.name, constant.type);
        }
        for (const std::string_view function : type.value->functions) {
            put(writer, index++, functionRecord(id++, function));
        }
        return index;
    }

    static constexpr void
    putType(Writer& writer, std::size_t at, const TypeInfo& type, std::size_t first) {
        TypeKind kind = TypeKind::entity;
        std::uint32_t flags = 0;
        std::int16_t base = entityBase;
        std::size_t number = 0;
        if (isEntity(type)) {
            if (!isNull(type.entity->newEntityForDir)) flags = isRoot;
            if (!isNull(type.entity->base)) base = reference(type.entity->base->name);
            number = type.entity->constructorArguments.size();
        } else if (type.value->kind == ValueKind::enumeration) {
            kind = TypeKind::enumeration;
            number = type.value->size;
            base = number == 1 ? u8 : number == 2 ? u16 : u32;
        } else {
            kind = TypeKind::value;
            if (!isNull(type.value->hash)) flags |= isHashed;
            if (!isNull(type.value->less)) flags |= isOrdered;
            if (type.value->kind == ValueKind::text) flags |= hasOwnText;
            base = none;
            number = type.value->fields.size();
        }
        writer.put(at, static_cast<std::uint32_t>(kind), 1);
        writer.put(at + 1, typeMark, 1);
        writer.put(at + 2, typeNames.offsetOf(nameOf(type)), 2);
        writer.put(at + 4, flags, 4);
        writer.putSigned(at + 8, base);
        writer.put(at + 10, static_cast<std::uint32_t>(number), 2);
        writer.put(at + 12, static_cast<std::uint32_t>(first), 2);
        writer.put(at + 14, static_cast<std::uint32_t>(recordsOf(type)), 2);
    }

    static constexpr auto bytes() {
        if (types.size() > 0xffff || recordCount > 0xffff || references.count > 0x7fff) {
            A_MODULE_HAS_TOO_MANY_TYPES_ATTRIBUTES_OR_NAMES();
        }
        Writer writer;
        writer.put(magicAt, magic, 4);
        writer.put(typeCountAt, static_cast<std::uint32_t>(types.size()), 2);
        writer.put(recordCountAt, static_cast<std::uint32_t>(recordCount), 2);
        writer.put(referenceCountAt, static_cast<std::uint32_t>(references.count), 2);
        writer.put(referencesAt, headerSize, 4);
        writer.put(typesAt, static_cast<std::uint32_t>(typesStart), 4);
        writer.put(recordsAt, static_cast<std::uint32_t>(recordsStart), 4);
        writer.put(typeNamesAt, static_cast<std::uint32_t>(typeNamesStart), 4);
        writer.put(attributeNamesAt, static_cast<std::uint32_t>(attributeNamesStart), 4);
        writer.put(sizeAt, static_cast<std::uint32_t>(size), 4);
        for (std::size_t i = 0; i < references.count; ++i) {
            writer.put(headerSize + 2 * i, typeNames.offsetOf(references.names[i]), 2);
        }
        std::size_t record = 0;
        for (std::size_t i = 0; i < types.size(); ++i) {
            putType(writer, typesStart + i * typeSize, types[i], record);
            record = putRecords(writer, record, types[i]);
        }
        writer.putPool(typeNamesStart, typeNames);
        writer.putPool(attributeNamesStart, attributeNames);
        return writer.bytes;
    }
};

// A running hash of what two builds must agree on to read each other's messages. Every list is
// preceded by its length, so that no two descriptions are hashed as the same sequence.
// Enumerators are no part of it: a number travels whether or not it has a name. Neither are
// constants: what never changes does not travel.
class Fingerprint {
  public:
    constexpr void add(std::uint64_t word) {
        state_ = hashing::mixed(state_ ^ word) + 0x9e3779b97f4a7c15;
    }
    constexpr void add(std::string_view text) {
        add(std::uint64_t{text.size()});
        for (const char c : text)
            add(static_cast<std::uint64_t>(static_cast<unsigned char>(c)));
    }
    // Down to the last field: types of other modules are part of the messages.
    constexpr void add(const ValueInfo* type) {
        if (isNull(type)) return add(std::uint64_t{0});
        add(type->name);
        add(std::uint64_t{type->fields.size()});
        for (const FieldInfo& field : type->fields) {
            add(field.name);
            add(field.type);
        }
        if (!isNull(type->collection)) {
            add(type->collection->key);
            add(type->collection->value);
        }
    }
    constexpr void add(const EntityTypeInfo& type) {
        add(type.name);
        add(std::uint64_t{type.constructorArguments.size()});
        for (const ValueInfo* const argument : type.constructorArguments) add(argument);
        add(std::uint64_t{type.attributes.size()});
        for (const AttributeInfo& attribute : type.attributes) {
            add(std::uint64_t{attribute.id});
            add(attribute.name);
            add(static_cast<std::uint64_t>(attribute.kind));
            add(std::uint64_t{attribute.streamed});
            if (!attribute.streamed) continue;
            add(attribute.key);
            if (!isNull(attribute.childType)) {
                add(attribute.childType->name);
            } else if (!isNull(attribute.referencedType)) {
                add(attribute.referencedType->name);
            } else {
                add(attribute.value);
            }
        }
    }
    constexpr std::uint64_t result() const { return state_; }

  private:
    std::uint64_t state_ = 0;
};

}  // namespace typeTable

// Aligned like the pools inside of it.
template <const auto& types>
alignas(typeTable::poolAlignment) inline constexpr auto compiledTypeTable =
    typeTable::Builder<types>::bytes();

constexpr std::uint64_t fingerprintOf(std::span<const TypeInfo> types) {
    typeTable::Fingerprint fingerprint;
    for (const TypeInfo& type : types) {
        if (typeTable::isEntity(type)) {
            fingerprint.add(*type.entity);
        } else {
            fingerprint.add(type.value);
        }
    }
    return fingerprint.result();
}

}  // namespace Zin
