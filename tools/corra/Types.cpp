#include "corra/Types.h"

#include <algorithm>
#include <vector>

#include "Zin/Module.h"
#include "corra/Console.h"

namespace corra {

namespace {

using Json = nlohmann::ordered_json;
using Zin::TypeTable;
using Zin::typeTable::Access;
using Zin::typeTable::RecordKind;
using Zin::typeTable::TypeKind;

// Words for what a table holds; empty for a number that none of the format's constants has.
std::string_view textOf(TypeKind kind) {
    switch (kind) {
        case TypeKind::value:
            return "value";
        case TypeKind::enumeration:
            return "enumeration";
        case TypeKind::entity:
            return "entity";
    }
    return {};
}

std::string_view textOf(RecordKind kind) {
    switch (kind) {
        case RecordKind::single:
            return "single";
        case RecordKind::collection:
            return "collection";
        case RecordKind::instantiating:
            return "instantiating";
        case RecordKind::function:
            return "function";
        case RecordKind::enumerator:
            return "enumerator";
    }
    return {};
}

std::string_view textOf(Access access) {
    switch (access) {
        case Access::constant:
            return "constant";
        case Access::writable:
            return "writable";
        case Access::writableInstantiating:
            return "writable instantiating";
        case Access::function:
            return "function";
        case Access::enumerator:
            return "enumerator";
    }
    return {};
}

std::vector<std::string> flagsOf(const TypeTable::Type& type) {
    using namespace Zin::typeTable;
    std::vector<std::string> flags;
    if (type.flags & isRoot) flags.push_back("root");
    if (type.flags & isHashed) flags.push_back("hashed");
    if (type.flags & isOrdered) flags.push_back("ordered");
    if (type.flags & hasOwnText) flags.push_back("own text");
    return flags;
}

template <class Visit>
void forEachRecord(const TypeTable& table, const TypeTable::Type& type, Visit visit) {
    for (std::uint32_t i = 0; i < type.records; ++i) visit(*table.record(type.firstRecord + i));
}

template <class Texts>
std::string joined(const Texts& texts) {
    std::string line;
    for (const auto& text : texts) line += (line.empty() ? "" : ", ") + std::string(text);
    return line;
}

std::string padded(std::string_view text, std::size_t width) {
    return std::string(text) + std::string(width - std::min(width, text.size()), ' ');
}

// A type's name as its user's namespace, or one around that, lets it be written.
std::string_view within(std::string_view user, std::string_view name) {
    for (std::size_t end = user.rfind("::"); end != std::string_view::npos && end != 0;
         end = user.rfind("::", end - 1)) {
        if (name.starts_with(user.substr(0, end + 2))) return name.substr(end + 2);
    }
    return name.empty() ? "?" : name;
}

// The constants of a value type stand behind its fields.
bool isField(const TypeTable::Type& type, const TypeTable::Record& record) {
    return type.kind == TypeKind::value &&
           record.id - Zin::typeTable::firstFieldId < type.number;
}

// One word for kind and access.
std::string_view roleOf(const TypeTable::Type& type, const TypeTable::Record& record) {
    switch (record.access) {
        case Access::constant:
            if (record.kind != RecordKind::single) break;
            return isField(type, record) ? "field" : "constant";
        case Access::writable:
            if (record.kind == RecordKind::single) return "value";
            if (record.kind != RecordKind::collection) break;
            return record.valueType == Zin::typeTable::none ? "set" : "map";
        case Access::writableInstantiating:
            if (record.kind == RecordKind::single) return "child";
            if (record.kind == RecordKind::instantiating) return "children";
            break;
        case Access::function:
            if (record.kind == RecordKind::function) return "function";
            break;
        case Access::enumerator:
            break;
    }
    return "?";
}

// "Connector by key: ConnectorKey", "Zin::String by U32"; the key alone for a set.
std::string contentOf(
    const TypeTable& table,
    const TypeTable::Type& type,
    const TypeTable::Record& record) {
    if (record.kind == RecordKind::function) return {};
    const auto named = [&](std::int16_t reference) {
        return std::string(within(type.name, table.typeName(reference)));
    };
    if (record.keyType == Zin::typeTable::none) return named(record.valueType);
    if (record.valueType == Zin::typeTable::none) return named(record.keyType);
    const std::string field =
        record.keyField.empty() ? "" : std::string(record.keyField) + ": ";
    return named(record.valueType) + " by " + field + named(record.keyType);
}

std::string headOf(const TypeTable& table, const TypeTable::Type& type) {
    std::string head(textOf(type.kind));
    head += ' ' + std::string(type.name);
    if (type.base != Zin::typeTable::none) {
        head += " : " + std::string(within(type.name, table.typeName(type.base)));
    }
    std::vector<std::string> notes = flagsOf(type);
    // The name is what all entities are made with.
    if (type.kind == TypeKind::entity && type.number != 1) {
        notes.push_back("made with " + std::to_string(type.number) + " arguments");
    }
    return notes.empty() ? head : head + " (" + joined(notes) + ')';
}

// Number, name, role, content; the columns are as wide as their widest text.
std::string bodyOf(const TypeTable& table, const TypeTable::Type& type) {
    struct Line {
        std::string number;
        std::string_view name;
        std::string_view role;
        std::string content;
    };
    std::vector<Line> lines;
    std::size_t numberWidth = 0;
    std::size_t nameWidth = 0;
    std::size_t roleWidth = 0;
    forEachRecord(table, type, [&](const TypeTable::Record& record) {
        if (record.kind == RecordKind::enumerator) {
            lines.push_back({std::to_string(record.number), record.name, {}, {}});
        } else {
            lines.push_back(
                {std::to_string(record.id),
                 record.name,
                 roleOf(type, record),
                 contentOf(table, type, record)});
        }
        numberWidth = std::max(numberWidth, lines.back().number.size());
        nameWidth = std::max(nameWidth, lines.back().name.size());
        roleWidth = std::max(roleWidth, lines.back().role.size());
    });
    std::string body;
    for (const Line& line : lines) {
        std::string text = "    " + std::string(numberWidth - line.number.size(), ' ');
        text += line.number + "  " + padded(line.name, nameWidth);
        text += "  " + padded(line.role, roleWidth) + "  " + line.content;
        text.erase(text.find_last_not_of(' ') + 1);
        body += text + '\n';
    }
    return body;
}

Json nameOrNull(std::string_view name) {
    return name.empty() ? Json() : Json(std::string(name));
}

Json jsonOf(const TypeTable& table, const TypeTable::Record& record) {
    if (record.kind == RecordKind::enumerator) {
        return {{"number", record.number}, {"name", std::string(record.name)}};
    }
    return {
        {"id", record.id},
        {"name", std::string(record.name)},
        {"kind", nameOrNull(textOf(record.kind))},
        {"access", nameOrNull(textOf(record.access))},
        {"valueType", nameOrNull(table.typeName(record.valueType))},
        {"keyType", nameOrNull(table.typeName(record.keyType))},
        {"keyField", nameOrNull(record.keyField)}};
}

}  // namespace

std::string textOfTypes(std::string_view module, const TypeTable& table) {
    std::string text(module);
    text +=
        ": " + std::to_string(table.types()) + (table.types() == 1 ? " type\n" : " types\n");
    // Types that have nothing to list stand close together.
    bool close = false;
    for (std::uint32_t index = 0; index < table.types(); ++index) {
        const TypeTable::Type type = *table.type(index);
        const std::string body = bodyOf(table, type);
        if (!close || !body.empty()) text += '\n';
        text += "  " + headOf(table, type) + '\n' + body;
        close = body.empty();
    }
    return text;
}

Json jsonOfTypes(std::string_view module, const TypeTable& table) {
    Json types = Json::array();
    for (std::uint32_t index = 0; index < table.types(); ++index) {
        const TypeTable::Type type = *table.type(index);
        Json object{
            {"name", std::string(type.name)},
            {"kind", nameOrNull(textOf(type.kind))},
            {"base", nameOrNull(table.typeName(type.base))},
            {"flags", flagsOf(type)}};
        if (type.kind == TypeKind::entity) object["constructorArguments"] = type.number;
        if (type.kind == TypeKind::value) object["fields"] = type.number;
        Json& records =
            object[type.kind == TypeKind::enumeration ? "enumerators" : "attributes"];
        records = Json::array();
        forEachRecord(table, type, [&](const TypeTable::Record& record) {
            records.push_back(jsonOf(table, record));
        });
        types.push_back(std::move(object));
    }
    return {{"module", std::string(module)}, {"types", std::move(types)}};
}

int types(const TypesOptions& options) {
    std::vector<std::string_view> names;
    std::vector<const Zin::ZinModule*> wanted;
    Zin::forEachModule([&](const Zin::ZinModule& module) {
        names.push_back(module.name);
        if (options.module.empty() || options.module == module.name) wanted.push_back(&module);
    });
    if (wanted.empty()) {
        say("there is no module '" + options.module + "'; there are " + joined(names));
        return exitTrouble;
    }
    std::string text;
    Json json = Json::array();
    for (const Zin::ZinModule* const module : wanted) {
        const TypeTable table(module->typeTable);
        if (options.json) {
            json.push_back(jsonOfTypes(module->name, table));
        } else {
            text += (text.empty() ? "" : "\n") + textOfTypes(module->name, table);
        }
    }
    if (options.json) text = json.dump(2) + '\n';
    text.pop_back();
    printLine(text);
    flushOutput();
    return exitGood;
}

}  // namespace corra
