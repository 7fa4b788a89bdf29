#include "corra/Dump.h"

#include "Zin/TextReader.h"
#include "corra/Console.h"

namespace corra {

std::string textOf(const Fact& fact) {
    std::string text = fact.path;
    if (!fact.type.empty()) text += ": " + std::string(fact.type);
    return text + textOf(fact.fields);
}

nlohmann::ordered_json jsonOf(const Fact& fact) {
    nlohmann::ordered_json object{{"path", fact.path}};
    if (!fact.type.empty()) object["type"] = std::string(fact.type);
    for (const Field& field : fact.fields) {
        if (field.name.empty()) {
            object["value"] = jsonOf(field);
        } else {
            object["fields"][field.name] = jsonOf(field);
        }
    }
    return object;
}

std::string dump(std::string_view path, const Zin::Entity& entity) {
    std::string text;
    forEachFact(std::string(path), entity, [&](const Fact& fact) {
        text += textOf(fact) + '\n';
    });
    return text;
}

std::string digest(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    }
    std::string digits;
    for (unsigned shift = 64; shift != 0;) {
        shift -= 4;
        digits += "0123456789abcdef"[hash >> shift & 15];
    }
    return digits;
}

std::string textOf(const Fields& fields) {
    std::string text;
    for (const Field& field : fields) {
        if (field.repeatsKey) continue;
        text += ' ';
        if (!field.name.empty()) text += field.name + '=';
        text += field.text;
    }
    return text;
}

nlohmann::ordered_json jsonOf(const Field& field) {
    using enum Zin::ValueKind;
    switch (field.type->kind) {
        case boolean:
            return field.text == "True";
        case string: {
            Zin::TextReader reader(field.text);
            return std::string(reader.quoted().view());
        }
        case unsignedNumber:
        case signedNumber:
        case floatingNumber: {
            auto number = nlohmann::ordered_json::parse(field.text, nullptr, false);
            if (number.is_number()) return number;
            break;
        }
        default:
            break;
    }
    return field.text;
}

std::string lineOf(const nlohmann::ordered_json& json) {
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void JsonArray::add(const nlohmann::ordered_json& element) {
    printLine(held_.empty() ? "[" : held_ + ',');
    held_ = lineOf(element);
}

void JsonArray::end() {
    printLine(held_.empty() ? "[]" : held_ + "\n]");
}

}  // namespace corra
