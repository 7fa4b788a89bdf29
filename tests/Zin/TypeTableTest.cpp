// Compiled type tables, seen by three: a decoder written from docs/type-table.md alone, the
// reader Zin::TypeTable, and the tables of the registry from which the bytes were made.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Zin/GenericIf.h"
#include "Zin/Module.h"
#include "Zin/TypeTable.h"
#include "Zin/TypeTableBuilder.h"
#include "Zin/ValueInfoOf.h"
#include "support/LabTypes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;

std::vector<const Zin::ZinModule*> modules() {
    std::vector<const Zin::ZinModule*> all;
    Zin::forEachModule([&](const Zin::ZinModule& module) { all.push_back(&module); });
    return all;
}

Bytes bytesOf(const Zin::ZinModule& module) {
    return {module.typeTable.begin(), module.typeTable.end()};
}

// A type: kind, name, flags, base, number. A record: number, kind, access, data, name, value
// type, key type, makes children, number of an enumerator, key field. Types as names, or below
// zero.
std::string lineOf(const auto&... words) {
    std::ostringstream line;
    ((line << (line.tellp() > 0 ? " " : "") << words), ...);
    return line.str();
}

// --- The decoder ---

class Decoder {
  public:
    explicit Decoder(const Bytes& bytes) : bytes_(bytes) {
        const std::size_t types = word(4, 2), records = word(6, 2), references = word(8, 2);
        const std::size_t typesAt = (36 + 2 * references + 3) / 4 * 4;
        const std::size_t recordsAt = typesAt + 16 * types;
        const std::size_t typeNamesAt = (recordsAt + 20 * records + 31) / 32 * 32;
        const std::size_t namesAt = word(28, 4);
        EXPECT_EQ("ZTT1", std::string(bytes.begin(), bytes.begin() + 4));
        EXPECT_EQ(0U, word(10, 2));
        EXPECT_EQ(lineOf(36, typesAt, recordsAt, typeNamesAt, bytes.size()), headOffsets());
        EXPECT_EQ(0U, namesAt % 32);
        readPool(typeNames_, typeNamesAt, namesAt);
        readPool(names_, namesAt, bytes.size());
        EXPECT_EQ("", named(names_, 0));

        for (std::size_t i = 0; i < references; ++i)
            references_.push_back(typeName(36 + 2 * i));
        EXPECT_TRUE(std::is_sorted(references_.begin(), references_.end()));
        std::size_t at = recordsAt;
        for (std::size_t type = typesAt; type < recordsAt; type += 16) {
            EXPECT_EQ(0xf0U, word(type + 1, 1));
            EXPECT_EQ((at - recordsAt) / 20, word(type + 12, 2));
            const std::string name = typeName(type + 2), base = reference(type + 8);
            const std::size_t number = word(type + 10, 2);
            lines_.push_back(lineOf(word(type, 1), name, word(type + 4, 4), base, number));
            for (std::size_t n = word(type + 14, 2); n != 0; --n, at += 20) readRecord(at);
        }
        EXPECT_EQ(recordsAt + 20 * records, at);
        EXPECT_EQ(typeNames_.size() + names_.size(), used_.size());
    }

    Lines lines() const { return lines_; }

  private:
    using Pool = std::map<std::size_t, std::string>;

    std::size_t word(std::size_t at, unsigned count) const {
        std::size_t word = 0;
        while (count-- != 0) word = word << 8 | bytes_.at(at + count);
        return word;
    }
    std::string headOffsets() const {
        return lineOf(word(12, 4), word(16, 4), word(20, 4), word(24, 4), word(32, 4));
    }
    // Names by their offsets, ascending; less than 32 zeros behind the last.
    void readPool(Pool& pool, std::size_t at, std::size_t end) {
        for (std::size_t from = at; from < end; from += pool.rbegin()->second.size() + 1) {
            const std::string name(reinterpret_cast<const char*>(&bytes_.at(from)));
            if (from != at && name.empty()) {
                EXPECT_LT(end - from, 32U);
                for (; from < end; ++from) EXPECT_EQ(0, bytes_.at(from));
                return;
            }
            EXPECT_TRUE(pool.empty() || pool.rbegin()->second < name) << name;
            pool[from - at] = name;
        }
    }
    std::string named(const Pool& pool, std::size_t offset) {
        used_.insert(&pool.at(offset));
        return pool.at(offset);
    }
    std::string typeName(std::size_t at) { return named(typeNames_, word(at, 2)); }
    std::string reference(std::size_t at) const {
        const std::size_t number = word(at, 2);
        return number < 0x8000 ? references_.at(number)
                               : '-' + std::to_string(0x10000 - number);
    }
    void readRecord(std::size_t at) {
        EXPECT_EQ(0U, word(at + 9, 1));
        const bool enumerator = word(at + 4, 1) == 0x88;
        const std::string numbers =
            lineOf(word(at, 4), word(at + 4, 1), word(at + 5, 1), word(at + 6, 1));
        const std::string name = named(names_, word(at + 7, 2)), type = reference(at + 10);
        const std::string tail = enumerator ? lineOf(-1, 0, word(at + 12, 4))
                                            : lineOf(reference(at + 12), word(at + 14, 2), 0);
        lines_.push_back(lineOf(numbers, name, type, tail, named(names_, word(at + 16, 4))));
    }

    const Bytes& bytes_;
    Pool typeNames_, names_;
    std::set<const std::string*> used_;
    Lines references_, lines_;
};

// --- What the registry and the reader say ---

std::string numbered(const Zin::ValueInfo* type) {
    if (!type) return "-1";
    std::istringstream known(
        "U8 S8 U16 S16 U32 S32 U64 S64 bool - double collection - Zin::String");
    std::string name;
    for (int number = -5; known >> name; --number) {
        if (name == type->name) return std::to_string(number);
    }
    return std::string(type->name);
}

std::string functionLine(std::uint32_t id, std::string_view name) {
    return lineOf(id, 0x10, 0x08, 0, name, -4, -1, 0, 0, "");
}

void addLines(Lines& lines, const Zin::EntityTypeInfo& type) {
    const auto arguments = type.constructorArguments.size();
    const std::string base(type.base ? type.base->name : "-3");
    lines.push_back(lineOf(0x60, type.name, type.newEntityForDir ? 1 : 0, base, arguments));
    // Those that are inherited stand with the base.
    for (const Zin::AttributeInfo& a : type.attributes) {
        if (type.base && type.base->attribute(a.id)) continue;
        using enum Zin::AttributeKind;
        if (a.kind == function) {
            lines.push_back(functionLine(a.id, a.name));
            continue;
        }
        const bool makes = a.kind == instantiating || a.kind == singleton;
        const int kind = a.kind == collection ? 0x01 : a.kind == instantiating ? 0x21 : 0;
        const int access = makes ? 0xdd : a.writable ? 0xdc : 0x2c;
        const Zin::EntityTypeInfo* const entity = makes ? a.childType : a.referencedType;
        const std::string value = entity ? std::string(entity->name) : numbered(a.value);
        const std::string name = lineOf(a.id, kind, access, 1, a.name);
        lines.push_back(lineOf(name, value, numbered(a.key), makes, 0, a.keyField));
    }
}

void addLines(Lines& lines, const Zin::ValueInfo& type, std::size_t record) {
    if (type.kind == Zin::ValueKind::enumeration) {
        const int base = type.size == 1 ? -5 : type.size == 2 ? -7 : -9;
        lines.push_back(lineOf(0x25, type.name, 0, base, type.size));
        for (const auto& e : type.enumerators) {
            lines.push_back(lineOf(record++, 0x88, 0x28, 0, e.name, -1, -1, 0, e.number, ""));
        }
        return;
    }
    const bool ownText = type.kind == Zin::ValueKind::text;
    const int flags = (type.hash ? 2 : 0) + (type.less ? 4 : 0) + (ownText ? 8 : 0);
    lines.push_back(lineOf(0x21, type.name, flags, -1, type.fields.size()));
    std::uint32_t id = 2;
    const auto addConstant = [&](const auto& c) {
        lines.push_back(lineOf(id++, 0, 0x2c, 1, c.name, numbered(c.type), -1, 0, 0, ""));
    };
    for (const Zin::FieldInfo& field : type.fields) addConstant(field);
    for (const Zin::ConstantInfo& constant : type.constants) addConstant(constant);
    for (const auto name : type.functions) lines.push_back(functionLine(id++, name));
}

Lines registryLines(const Zin::ZinModule& module) {
    Lines lines;
    for (std::size_t i = 0; i < module.types.size(); ++i) {
        const Zin::TypeInfo& type = module.types[i];
        // Each type before this one has a line that is no record.
        type.entity ? addLines(lines, *type.entity)
                    : addLines(lines, *type.value, lines.size() - i);
    }
    return lines;
}

// Finds each type and record by name and number on the way.
Lines readerLines(const Zin::TypeTable& table) {
    Lines lines;
    const auto reference = [&](std::int16_t number) {
        return number < 0 ? std::to_string(number) : std::string(table.typeName(number));
    };
    for (std::uint32_t t = 0; t < table.types(); ++t) {
        const auto type = *table.type(t);
        EXPECT_EQ(t, table.typeNamed(type.name));
        const std::string base = reference(type.base);
        lines.push_back(lineOf(int(type.kind), type.name, type.flags, base, type.number));
        for (std::uint32_t r = type.firstRecord; r < type.firstRecord + type.records; ++r) {
            const auto a = *table.record(r);
            EXPECT_EQ(r, table.recordOf(t, a.id));
            EXPECT_EQ(r, table.recordOf(t, a.name));
            const std::string name = lineOf(a.id, int(a.kind), int(a.access), a.isData, a.name);
            const std::string types = lineOf(reference(a.valueType), reference(a.keyType));
            lines.push_back(lineOf(name, types, a.instantiates, a.number, a.keyField));
        }
    }
    return lines;
}

TEST(TypeTableTest, SaysOfEveryModuleWhatTheRegistrySays) {
    ASSERT_TRUE(Zin::moduleNamed("Lab") && Zin::moduleNamed("PseudowireConfig"));
    for (const Zin::ZinModule* const module : modules()) {
        SCOPED_TRACE(module->name);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(module->typeTable.data()) % 32);
        const Bytes bytes = bytesOf(*module);
        const Lines expected = registryLines(*module);
        EXPECT_EQ(expected, Decoder(bytes).lines());
        const Zin::TypeTable table{module->typeTable};
        EXPECT_EQ(expected, readerLines(table));
        EXPECT_FALSE(table.typeNamed("Lab::Benc") || table.recordOf(0, 0x7fffffffU));
        EXPECT_FALSE(table.recordOf(0, "benc") || table.type(table.types()));
    }
}

TEST(TypeTableTest, DescribesPseudowireConfig) {
    const std::string rib = "Routing::Rib::ResolutionRibProfileConfig", pw = "Pseudowire::";
    const Lines expected{
        lineOf(0x25, pw + "GroupIdAllocation", 0, -5, 1),
        lineOf(0, 0x88, 0x28, 0, "byPort", -1, -1, 0, 0, ""),
        lineOf(1, 0x88, 0x28, 0, "byPseudowire", -1, -1, 0, 1, ""),
        lineOf(2, 0x88, 0x28, 0, "manual", -1, -1, 0, 2, ""),
        lineOf(0x60, pw + "Config", 1, -3, 1),
        lineOf(258, 0, 0xdc, 1, "mtuIgnore", -13, -1, 0, 0, ""),
        lineOf(259, 0, 0xdc, 1, "mtu", -9, -1, 0, 0, ""),
        lineOf(260, 0, 0xdc, 1, "resolutionRibProfileConfig", rib, -1, 0, 0, ""),
        lineOf(261, 0, 0x2c, 1, "groupIdAllocation", pw + "GroupIdAllocation -1 0 0 "),
        lineOf(262, 0x21, 0xdd, 1, "patch", pw + "Patch", -18, 1, 0, "name"),
        lineOf(263, 1, 0xdc, 1, "connector", pw + "Connector", pw + "ConnectorKey 0 0 key"),
        lineOf(264, 0, 0xdc, 1, "intfReviewDelayRange", pw + "TimeRange", -1, 0, 0, ""),
        lineOf(265, 0x10, 8, 0, "intfReviewDelayRangeDefault", -4, -1, 0, 0, ""),
        lineOf(266, 0x10, 8, 0, "getMtuDefault", -4, -1, 0, 0, ""),
        lineOf(267, 0x10, 8, 0, "getMtuIgnoreDefault", -4, -1, 0, 0, "")};
    EXPECT_EQ(expected, Decoder(bytesOf(_PseudowireConfig_4a3e203c_zinModule)).lines());
}

// The page's bytes stand between ```hex and ```, behind an offset, two spaces apart from words.
TEST(TypeTableTest, IsWhatItsPageShows) {
    std::ifstream page(CORRA_SOURCE_DIR "/docs/type-table.md");
    Bytes shown;
    std::string line;
    while (std::getline(page, line) && line != "```hex") continue;
    while (std::getline(page, line) && line != "```") {
        if (line.empty()) continue;
        std::istringstream words(line.substr(0, 56));
        std::size_t offset = 0;
        words >> std::hex >> offset;
        EXPECT_EQ(shown.size(), offset) << line;
        for (unsigned byte = 0; words >> byte;) shown.push_back(std::uint8_t(byte));
    }
    EXPECT_EQ(shown, bytesOf(*Zin::moduleNamed("PwRunnability")));
}

// --- Key fields ---

std::shared_ptr<void> made(const Zin::ValueInfo& type) {
    void* const memory = ::operator new(type.size);
    type.construct(memory, nullptr);
    return {memory, [&type](void* value) {
                type.destruct(value);
                ::operator delete(value);
            }};
}

struct Arguments {
    explicit Arguments(const Zin::EntityTypeInfo& type) {
        for (const auto* const argument : type.constructorArguments) {
            values.push_back(made(*argument));
            pointers.push_back(values.back().get());
        }
    }
    std::vector<std::shared_ptr<void>> values;
    std::vector<const void*> pointers;
};

// Where in a collection's one member its key lies, by address. A child's name is no attribute.
struct KeyFinder : Zin::MemberVisitor {
    explicit KeyFinder(const Zin::AttributeInfo& of) : collection(of) {}
    void onMember(const void* key, const void* value, const Zin::Entity* child) override {
        const bool isName = child && collection.key->kind == Zin::ValueKind::string &&
                            *static_cast<const Zin::String*>(key) == child->name();
        found = isName ? "name" : "";
        for (std::size_t i = 0; child && i < collection.childType->attributes.size(); ++i) {
            const Zin::AttributeInfo& a = collection.childType->attributes[i];
            if (a.valueOf && a.valueOf(*child) == key) found = a.name;
        }
        for (std::size_t i = 0; value && i < collection.value->fields.size(); ++i) {
            const Zin::FieldInfo& field = collection.value->fields[i];
            if (field.in(value) == key) found = field.name;
        }
    }
    const Zin::AttributeInfo& collection;
    std::string_view found = "no member";
};

// Puts one member into the collection.
std::string_view whereKeyLies(Zin::Entity& entity, const Zin::AttributeInfo& collection) {
    const auto key = made(*collection.key);
    const auto value = collection.value ? made(*collection.value) : nullptr;
    const void* given = value.get();
    std::vector<Arguments> child;
    if (collection.childType) {
        given = child.emplace_back(*collection.childType).pointers.data() + 1;
    }
    const void* const beside = value && !collection.keyField.empty() ? nullptr : key.get();
    collection.operate(nullptr, entity, Zin::GenericIf::AttributeOp::set, beside, given);
    KeyFinder finder(collection);
    collection.forEachMember(entity, finder);
    return finder.found;
}

TEST(TypeTableTest, NamesTheFieldWhereTheKeyLies) {
    std::map<std::string_view, int> seen;
    for (const Zin::ZinModule* const module : modules()) {
        const Zin::TypeTable table{module->typeTable};
        for (std::uint32_t t = 0; t < table.types(); ++t) {
            const Zin::EntityTypeInfo* const type = module->types[t].entity;
            if (!type) continue;
            Zin::Entity* result = nullptr;
            const Arguments arguments(*type);
            type->genericIfConstructFromCtorArgs(&result, arguments.pointers.data());
            const auto entity = Zin::Ptr<Zin::Entity>::adopted(result);
            for (const Zin::AttributeInfo& a : type->attributes) {
                if (!a.isCollection() || (type->base && type->base->attribute(a.id))) continue;
                const std::string_view found = whereKeyLies(*entity, a);
                const auto record = *table.record(*table.recordOf(t, a.id));
                EXPECT_EQ(found, record.keyField) << type->name << ' ' << a.name;
                ++seen[found];
            }
        }
    }
    // Outside and sets; values in both kinds of collections; children.
    EXPECT_TRUE(seen[""] > 3 && seen["key"] > 0 && seen["name"] > 4);
}

// --- Damage ---

// Reads all that a table says that fills its memory, and returns how much that is.
std::size_t readAll(const Bytes& damaged) {
    const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[damaged.size()]);
    std::copy(damaged.begin(), damaged.end(), exact.get());
    const Zin::TypeTable table({exact.get(), damaged.size()});
    const char* const begin = reinterpret_cast<const char*>(exact.get());
    const auto check = [&](std::string_view name) {
        if (name.empty()) return;
        EXPECT_LE(0, name.data() - begin);
        EXPECT_LT(name.data() - begin + std::ssize(name), std::ssize(damaged));
    };
    for (std::uint32_t t = 0; t < table.types(); ++t) {
        const auto type = *table.type(t);
        check(type.name);
        check(type.base < 0 ? "" : table.typeName(type.base));
        EXPECT_LE(type.firstRecord + type.records, type.records ? table.records() : 0xffffU);
    }
    for (std::uint32_t r = 0; r < table.records(); ++r) {
        const auto record = *table.record(r);
        for (const auto name : {record.name, record.keyField}) check(name);
        for (const auto reference : {record.valueType, record.keyType}) {
            check(reference < 0 ? "" : table.typeName(reference));
        }
    }
    EXPECT_FALSE(table.type(table.types()) || table.record(table.records()));
    EXPECT_FALSE(table.recordOf(0, "none") || table.typeNamed("none"));
    return table.types() + table.records() + table.references();
}

void put(Bytes& bytes, std::size_t at, std::size_t count, std::size_t word) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes.at(at + i) = std::uint8_t(word >> 8 * i);
    }
}

TEST(TypeTableTest, ReadsDamagedTablesWithinTheirBytes) {
    for (const Zin::ZinModule* const module :
         {&_PseudowireConfig_4a3e203c_zinModule, &_Lab_0_zinModule}) {
        const Bytes sound = bytesOf(*module);
        ASSERT_LT(0U, readAll(sound));
        for (std::size_t at = 0; at < sound.size(); ++at) {
            for (const unsigned flip : {0x01U, 0x80U, 0xffU}) {
                Bytes damaged = sound;
                damaged[at] = std::uint8_t(damaged[at] ^ flip);
                readAll(damaged);
            }
            // Cut off, and again with a header that says so.
            Bytes cut(sound.begin(), sound.begin() + static_cast<std::ptrdiff_t>(at));
            EXPECT_EQ(0U, readAll(cut));
            if (at < 36) continue;
            put(cut, 32, 4, at);
            readAll(cut);
        }
    }
}

TEST(TypeTableTest, IsEmptyWhereTheHeaderLies) {
    const Bytes sound = bytesOf(_Lab_0_zinModule);
    const std::size_t size = sound.size();
    const auto isEmptyWith = [&](std::size_t at, unsigned bytes, std::size_t lie) {
        Bytes lying = sound;
        put(lying, at, bytes, lie);
        EXPECT_EQ(0U, readAll(lying)) << at << ": " << lie;
    };
    // The attribute names begin with the empty one.
    isEmptyWith(sound[28] + 256U * sound[29], 1, 'x');
    for (const std::size_t magic : {0U, 0x3154545bU}) isEmptyWith(0, 4, magic);
    for (const std::size_t count : {4U, 6U, 8U}) {
        for (const std::size_t lie : {1000U, 0xffffU}) isEmptyWith(count, 2, lie);
    }
    // Into the header, into another part, to the end, and where sums overflow.
    for (const std::size_t offset : {12U, 16U, 20U, 24U, 28U}) {
        isEmptyWith(offset, 4, offset == 12 ? 35 : 36);
        for (const std::size_t lie : {size - size, size, size + 1}) isEmptyWith(offset, 4, lie);
        for (const std::size_t lie : {20U, 2U, 1U}) isEmptyWith(offset, 4, 0xffffffffU - lie);
    }
    for (const std::size_t lie : {size - size, size - 1, size + 1}) isEmptyWith(32, 4, lie);
}

// --- Where tables lie ---

// Whether this process may write there.
bool isWritable(const void* where) {
    std::ifstream maps("/proc/self/maps");
    std::uintptr_t from = 0, to = 0;
    char dash = 0;
    std::string access, rest;
    const auto at = reinterpret_cast<std::uintptr_t>(where);
    while (maps >> std::hex >> from >> dash >> to >> access && std::getline(maps, rest)) {
        if (from <= at && at < to) return access.at(1) == 'w';
    }
    ADD_FAILURE() << where << " is not mapped";
    return true;
}

TEST(TypeTableTest, LiesWhereNobodyWrites) {
    static int written = 1;
    EXPECT_TRUE(isWritable(&written));
    for (const Zin::ZinModule* const module : modules()) {
        SCOPED_TRACE(module->name);
        EXPECT_FALSE(isWritable(module));
        EXPECT_FALSE(isWritable(module->types.data()));
        EXPECT_FALSE(isWritable(&module->typeTable.front()));
        EXPECT_FALSE(isWritable(&module->typeTable.back()));
        for (const Zin::TypeInfo& type : module->types) {
            EXPECT_FALSE(type.value && isWritable(type.value));
            EXPECT_FALSE(type.entity && isWritable(type.entity->attributes.data()));
        }
    }
}

// --- Fingerprints ---

// An attribute whose value holds a value; three fields in all.
struct Parts {
    Zin::FieldInfo fields[2]{
        {"first", nullptr, &Zin::valueInfo<std::uint32_t>},
        {"last", nullptr, &Zin::valueInfo<bool>}};
    Zin::ValueInfo inner{}, outer{};
    Zin::FieldInfo outerFields[2]{{"inner", nullptr, &inner}, fields[1]};
    Zin::AttributeInfo a{};
    const Zin::ValueInfo* argument = &Zin::valueInfo<Zin::String>;
};

std::uint64_t printOf(auto change) {
    Parts p;
    p.inner.fields = p.fields;
    p.outer.fields = std::span(p.outerFields, 1);
    p.a.id = 258;
    p.a.name = "a";
    p.a.streamed = true;
    p.a.value = &p.outer;
    change(p);
    Zin::EntityTypeInfo entity{};
    entity.attributes = std::span(&p.a, 1);
    entity.constructorArguments = std::span(&p.argument, 1);
    const Zin::TypeInfo type{nullptr, &entity};
    return Zin::fingerprintOf(std::span(&type, 1));
}

TEST(TypeTableTest, FingerprintsTellApartWhatTravelsDifferently) {
    const std::set<std::uint64_t> all{
        printOf([](Parts&) {}),
        printOf([](Parts& p) { p.fields[0].name = "second"; }),
        printOf([](Parts& p) { p.fields[0].type = &Zin::valueInfo<std::uint64_t>; }),
        // The last field moves from the inner value to behind it.
        printOf([](Parts& p) {
            p.inner.fields = std::span(p.fields, 1);
            p.outer.fields = p.outerFields;
        }),
        printOf([](Parts& p) { p.a.name = "b"; }),
        printOf([](Parts& p) { p.a.id = 259; }),
        printOf([](Parts& p) { p.a.kind = Zin::AttributeKind::collection; }),
        printOf([](Parts& p) { p.a.streamed = false; }),
        printOf([](Parts& p) { p.a.key = &Zin::valueInfo<Zin::String>; }),
        printOf([](Parts& p) { p.a.key = &Zin::valueInfo<bool>; }),
        printOf([](Parts& p) { p.argument = &Zin::valueInfo<bool>; })};
    EXPECT_EQ(11U, all.size());
    // The same on every machine; changes with the schema.
    EXPECT_EQ(0x38863f5a40a23717U, Zin::moduleNamed("PwRunnability")->fingerprint);
}

}  // namespace
