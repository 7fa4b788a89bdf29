// Compiled type tables. Whatever the bytes are, what is read of them lies in them, and what is
// looked up is what was looked for.

#include <span>

#include "Zin/TypeTable.h"
#include "fuzz/Fuzz.h"

namespace {

using fuzz::below;
using fuzz::require;
using Zin::TypeTable;

void readTypes(const TypeTable& table, const auto& check) {
    for (std::uint32_t t = 0; t < table.types(); ++t) {
        const auto type = table.type(t);
        require(type.has_value(), "each type that is counted is there");
        check(type->name);
        check(type->base < 0 ? std::string_view() : table.typeName(type->base));
        require(
            type->records == 0 || type->firstRecord + type->records <= table.records(),
            "a type's records are in the table");
        const auto named = table.typeNamed(type->name);
        require(
            type->name.empty() ||
                (named && *named <= t && table.type(*named)->name == type->name),
            "a type is found by its name");
        // Damaged tables may give all records to all types.
        for (std::uint32_t i = 0; i < type->records && i < 64; ++i) {
            const auto record = *table.record(type->firstRecord + i);
            const auto byId = table.recordOf(t, record.id);
            require(
                byId && table.record(*byId)->id == record.id,
                "a record is found by its id");
            if (record.name.empty()) continue;
            const auto byName = table.recordOf(t, record.name);
            require(
                byName && table.record(*byName)->name == record.name,
                "a record is found by its name");
        }
    }
    require(!table.type(table.types()), "there are no more types than are counted");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const TypeTable table(std::span(data, size));
    const char* const begin = reinterpret_cast<const char*>(data);
    const auto check = [&](std::string_view name) {
        // Behind a name stands the zero that ends it.
        const bool lies =
            name.empty() || (begin <= name.data() && name.data() + name.size() < begin + size);
        require(lies, "a name lies in the table");
    };
    readTypes(table, check);
    for (std::uint32_t r = 0; r < table.records(); ++r) {
        const auto record = table.record(r);
        require(record.has_value(), "each record that is counted is there");
        check(record->name);
        check(record->keyField);
        for (const std::int16_t reference : {record->valueType, record->keyType}) {
            check(reference < 0 ? std::string_view() : table.typeName(reference));
        }
    }
    require(!table.record(table.records()), "there are no more records than are counted");
    for (std::uint32_t r = 0; r < table.references() && r < 0x8000; ++r) {
        check(table.typeName(static_cast<std::int16_t>(r)));
    }
    return 0;
}

// Bytes that say their own size: all others read as a table without types.
std::size_t
LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most, unsigned seed) {
    using namespace Zin::typeTable;
    fuzz::Random random(seed);
    size = LLVMFuzzerMutate(data, size, most);
    if (size < headerSize || below(random, 16) == 0) return size;
    for (unsigned i = 0; i < 4; ++i) {
        data[magicAt + i] = static_cast<std::uint8_t>(magic >> 8 * i);
        data[sizeAt + i] = static_cast<std::uint8_t>(size >> 8 * i);
    }
    return size;
}
