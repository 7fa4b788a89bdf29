#include "corra/StateValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <set>
#include <utility>

#include "Zin/Any.h"
#include "Zin/Exceptions.h"
#include "Zin/ValueInfoOf.h"
#include "corra/StrictJson.h"

namespace corra {

namespace {

using nlohmann::json;
using Zin::ValueInfo;
using Zin::ValueKind;

constexpr std::array<std::string_view, 3> namedDoubles{"inf", "-inf", "nan"};

std::string textOf(const ValueInfo& type, const void* value) {
    std::string text;
    Zin::appendText(text, type, value);
    return text;
}

// Reads the whole text.
void readWhole(std::string_view text, const ValueInfo& type, void* value) {
    Zin::TextReader reader(text);
    Zin::readText(reader, type, value);
    reader.needEnd();
}

void readWhole(
    const StatePlace& place,
    const std::string& text,
    const ValueInfo& type,
    void* value) {
    try {
        readWhole(text, type, value);
    } catch (const Zin::TextException& e) {
        const bool isStart = e.position() == 0;
        place.fail(
            (isStart ? ""
                     : "in " + inJson(text) + " at " + std::to_string(e.position()) + ": ") +
            "expected " + e.expectation());
    } catch (const Zin::Exception& e) {
        place.fail("in " + inJson(text) + ": " + e.what());
    }
}

// A few types take more values than their text has words for. Those values are written by their
// fields, and no others are.
bool isTextual(const ValueInfo& type, const void* value) {
    if (type.holdsCollection()) return false;
    try {
        const std::string text = textOf(type, value);
        Zin::Any read(type);
        readWhole(text, type, read.get());
        // Keys that begin so are read as fields.
        return !text.starts_with('{');
    } catch (const Zin::Exception&) {
        return false;
    }
}

template <class Number>
Number numberOf(const ValueInfo& type, const void* value) {
    const std::string text = textOf(type, value);
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

json doubleOf(const ValueInfo& type, const void* value) {
    const auto number = numberOf<double>(type, value);
    if (std::isnan(number)) return "nan";
    if (std::isinf(number)) return number > 0 ? "inf" : "-inf";
    // Equal values are written alike: zero has no sign.
    return number == 0 ? 0.0 : number;
}

json enumeratorOf(const ValueInfo& type, const void* value) {
    const std::string text = textOf(type, value);
    const bool isNumber = text[0] >= '0' && text[0] <= '9';
    return isNumber ? json(numberOf<std::uint32_t>(type, value)) : json(text);
}

json collectionOf(const ValueInfo& type, const void* value) {
    if (!type.collection) {
        throw Zin::Exception(std::string(type.name) + " has no form in a state file");
    }
    const Zin::CollectionInfo& info = *type.collection;
    json members = info.value ? json::object() : json::array();
    forEachMember(info, value, [&](const void* key, const void* member) {
        if (member) {
            members[keyTextOf(*info.key, key)] = jsonOf(*info.value, member);
        } else {
            members.push_back(jsonOf(*info.key, key));
        }
    });
    if (!info.value) std::sort(members.begin(), members.end());
    return members;
}

// --- Reading ---

const std::string&
stringAt(const StatePlace& place, const json& found, const std::string& expected) {
    if (!found.is_string()) place.fail(expected, found);
    return found.get_ref<const std::string&>();
}

void readWholeNumber(
    const StatePlace& place,
    const json& found,
    const ValueInfo& type,
    void* value) {
    const bool isSigned = type.kind == ValueKind::signedNumber;
    const unsigned bits = 8 * type.size - (isSigned ? 1 : 0);
    const std::uint64_t most = ~std::uint64_t{0} >> (64 - bits);
    const std::string least = isSigned ? '-' + std::to_string(most + 1) : "0";
    const bool isNegative = found.is_number_integer() && !found.is_number_unsigned() &&
                            found.get<std::int64_t>() < 0;
    const bool fits =
        found.is_number_integer() &&
        (isNegative ? isSigned && static_cast<std::uint64_t>(~found.get<std::int64_t>()) <= most
                    : found.get<std::uint64_t>() <= most);
    if (!fits) {
        place.fail("a whole number from " + least + " to " + std::to_string(most), found);
    }
    readWhole(place, found.dump(), type, value);
}

void readDouble(
    const StatePlace& place,
    const json& found,
    const ValueInfo& type,
    void* value) {
    if (found.is_number()) {
        std::array<char, 40> digits;
        const auto end =
            std::to_chars(digits.data(), digits.data() + digits.size(), found.get<double>())
                .ptr;
        return readWhole(place, std::string(digits.data(), end), type, value);
    }
    const bool isNamed = found.is_string() && std::count(
                                                  namedDoubles.begin(),
                                                  namedDoubles.end(),
                                                  found.get_ref<const std::string&>()) != 0;
    if (!isNamed) place.fail(R"(a number, "inf", "-inf" or "nan")", found);
    readWhole(place, found.get<std::string>(), type, value);
}

void readEnumerator(
    const StatePlace& place,
    const json& found,
    const ValueInfo& type,
    void* value) {
    if (found.is_number_unsigned()) return readWhole(place, found.dump(), type, value);
    const bool isName =
        found.is_string() && std::any_of(
                                 type.enumerators.begin(),
                                 type.enumerators.end(),
                                 [&](const describe::Enumerator& each) {
                                     return each.name == found.get_ref<const std::string&>();
                                 });
    if (isName) return readWhole(place, found.get<std::string>(), type, value);
    std::string names;
    for (const describe::Enumerator& each : type.enumerators) {
        names += (names.empty() ? "" : ", ") + inJson(each.name);
    }
    place.fail("one of " + names + " or a number without a name", found);
}

// Of a value with a text: by its fields it is given only when that text has no words for it.
void readFieldsWithoutText(
    const StatePlace& place,
    const json& found,
    const ValueInfo& type,
    void* value) {
    readFields(place, found, type, value);
    if (isTextual(type, value)) place.fail(inJson(textOf(type, value)), found);
}

const Zin::FieldInfo*
fieldNamed(const ValueInfo& type, std::string_view name, std::string_view without) {
    for (const Zin::FieldInfo& field : type.fields) {
        if (field.name == name && name != without) return &field;
    }
    return nullptr;
}

std::string namesOfFields(const ValueInfo& type, std::string_view without) {
    std::string names;
    for (const Zin::FieldInfo& field : type.fields) {
        if (field.name == without) continue;
        names += (names.empty() ? "" : ", ") + std::string(field.name);
    }
    return names;
}

void readCollection(
    const StatePlace& place,
    const json& found,
    const ValueInfo& type,
    void* value) {
    if (!type.collection) place.fail(std::string(type.name) + " has no form in a state file");
    const Zin::CollectionInfo& info = *type.collection;
    type.assign(value, Zin::Any(type).get());
    const auto insert = [&](const StatePlace& at, const void* key, const void* member) {
        const std::uint32_t before = info.members(value);
        info.insert(value, key, member);
        if (info.members(value) == before) at.fail("expected each key once, found it again");
    };
    if (!info.value) {
        forEachElement(place, found, [&](const StatePlace& at, const json& element) {
            Zin::Any key(*info.key);
            readValue(at, element, *info.key, key.get());
            insert(at, key.get(), nullptr);
        });
        return;
    }
    std::set<std::string> keys;
    for (const auto& [name, member] : objectAt(place, found)) {
        const StatePlace at(place, name);
        Zin::Any key(*info.key);
        readKey(at, name, *info.key, key.get());
        Zin::Any inserted(*info.value);
        readValue(at, member, *info.value, inserted.get());
        insert(at, key.get(), inserted.get());
        keys.insert(keyTextOf(*info.key, key.get()));
    }
    // Where the key lies inside the value, the value decides.
    forEachMember(info, value, [&](const void* key, const void*) {
        const std::string name = keyTextOf(*info.key, key);
        if (!keys.contains(name))
            place.fail("expected " + inJson(name) + " as the key of a value");
    });
}

}  // namespace

std::string stringOf(const Zin::String& bytes) {
    if (Zin::isUtf8(bytes.view()) && !bytes.view().starts_with('\'')) {
        return std::string(bytes.view());
    }
    std::string quoted;
    Zin::appendQuoted(quoted, bytes.view());
    return quoted;
}

json jsonOf(const ValueInfo& type, const void* value) {
    switch (type.kind) {
        case ValueKind::boolean:
            return *static_cast<const bool*>(value);
        case ValueKind::unsignedNumber:
            return numberOf<std::uint64_t>(type, value);
        case ValueKind::signedNumber:
            return numberOf<std::int64_t>(type, value);
        case ValueKind::floatingNumber:
            return doubleOf(type, value);
        case ValueKind::string:
            return stringOf(*static_cast<const Zin::String*>(value));
        case ValueKind::enumeration:
            return enumeratorOf(type, value);
        case ValueKind::text:
            if (isTextual(type, value)) return textOf(type, value);
            return jsonOfFields(type, value);
        case ValueKind::fields:
            if (isObjectOfFields(type)) return jsonOfFields(type, value);
            return jsonOf(*type.fields[0].type, type.fields[0].in(value));
        case ValueKind::collection:
            return collectionOf(type, value);
    }
    return nullptr;
}

json jsonOfFields(const ValueInfo& type, const void* value, std::string_view without) {
    json object = json::object();
    for (const Zin::FieldInfo& field : type.fields) {
        if (field.name == without) continue;
        object[std::string(field.name)] = jsonOf(*field.type, field.in(value));
    }
    return object;
}

std::string keyTextOf(const ValueInfo& type, const void* key) {
    if (type.kind == ValueKind::string) return stringOf(*static_cast<const Zin::String*>(key));
    if (type.isWrapper()) return keyTextOf(*type.fields[0].type, type.fields[0].in(key));
    const bool isByFields = !type.fields.empty() && !isTextual(type, key);
    return isByFields ? jsonOfFields(type, key).dump() : textOf(type, key);
}

void readValue(const StatePlace& place, const json& found, const ValueInfo& type, void* value) {
    switch (type.kind) {
        case ValueKind::boolean:
            if (!found.is_boolean()) place.fail("true or false", found);
            *static_cast<bool*>(value) = found.get<bool>();
            return;
        case ValueKind::unsignedNumber:
        case ValueKind::signedNumber:
            return readWholeNumber(place, found, type, value);
        case ValueKind::floatingNumber:
            return readDouble(place, found, type, value);
        case ValueKind::string:
            *static_cast<Zin::String*>(value) =
                readString(place, stringAt(place, found, "a string"));
            return;
        case ValueKind::enumeration:
            return readEnumerator(place, found, type, value);
        case ValueKind::text:
            if (found.is_object()) return readFieldsWithoutText(place, found, type, value);
            return readWhole(
                place,
                stringAt(place, found, "a string with a " + std::string(type.name)),
                type,
                value);
        case ValueKind::fields:
            if (isObjectOfFields(type)) return readFields(place, found, type, value);
            return readValue(
                place,
                found,
                *type.fields[0].type,
                type.fields[0].mutableIn(value));
        case ValueKind::collection:
            return readCollection(place, found, type, value);
    }
}

void readFields(
    const StatePlace& place,
    const json& found,
    const ValueInfo& type,
    void* value,
    std::string_view without) {
    for (const auto& [name, member] : objectAt(place, found)) {
        const StatePlace at(place, name);
        const Zin::FieldInfo* const field = fieldNamed(type, name, without);
        if (!field) {
            at.fail(
                "expected a field of " + std::string(type.name) + " (" +
                namesOfFields(type, without) + "), found " + inJson(name));
        }
        readValue(at, member, *field->type, field->mutableIn(value));
    }
}

void readKey(
    const StatePlace& place,
    const std::string& text,
    const ValueInfo& type,
    void* key) {
    if (type.kind == ValueKind::string) {
        *static_cast<Zin::String*>(key) = readString(place, text);
    } else if (type.isWrapper()) {
        readKey(place, text, *type.fields[0].type, type.fields[0].mutableIn(key));
    } else if (!type.fields.empty() && text.starts_with('{')) {
        std::optional<JsonDocument> fields;
        try {
            fields.emplace(parseStrictJson(text, place.file()));
        } catch (const StateError& e) {
            place.fail("in " + inJson(text) + " at " + e.place() + ": " + e.problem());
        }
        readFieldsWithoutText(place, *fields, type, key);
    } else if (type.holdsCollection()) {
        place.fail("an object of fields", json(text));
    } else {
        readWhole(place, text, type, key);
    }
}

Zin::String readString(const StatePlace& place, const std::string& text) {
    if (!text.starts_with('\'')) return text;
    Zin::String bytes;
    readWhole(place, text, Zin::valueInfo<Zin::String>, &bytes);
    if (stringOf(bytes) != text) place.fail(inJson(stringOf(bytes)), json(text));
    return bytes;
}

bool isObjectOfFields(const ValueInfo& type) {
    return type.kind == ValueKind::fields && !type.isWrapper();
}

bool hasForm(const ValueInfo& type) {
    if (type.kind == ValueKind::collection) {
        return type.collection && hasForm(*type.collection->key) &&
               (!type.collection->value || hasForm(*type.collection->value));
    }
    return type.kind != ValueKind::fields ||
           std::all_of(type.fields.begin(), type.fields.end(), [](const auto& field) {
               return hasForm(*field.type);
           });
}

const json::object_t& objectAt(const StatePlace& place, const json& found) {
    if (!found.is_object()) place.fail("an object", found);
    return found.get_ref<const json::object_t&>();
}

}  // namespace corra
