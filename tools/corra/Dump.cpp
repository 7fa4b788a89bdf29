#include "corra/Dump.h"

#include <algorithm>
#include <functional>
#include <map>

#include "Zin/TextReader.h"

namespace corra {

namespace {

struct Fact {
    std::string path;
    // Of an entity.
    std::string_view type;
    Fields fields;
};
using FactVisitor = std::function<void(const Fact&)>;

void walk(const std::string& path, const Zin::Entity& entity, const FactVisitor& visit) {
    const Zin::EntityTypeInfo& type = *entity.fwkType().info();
    visit({path, type.name, fieldsOf(entity)});
    for (const Zin::AttributeInfo& attribute : type.attributes) {
        if (attribute.kind == Zin::AttributeKind::singleton) {
            const Zin::Entity* const child = attribute.child(entity);
            if (child) walk(pathOf(path, attribute), *child, visit);
        } else if (attribute.isCollection()) {
            std::map<std::string, Member> sorted;
            forEachMember(entity, attribute, [&](const Member& member) {
                sorted.emplace(member.keyText, member);
            });
            for (const auto& [keyText, member] : sorted) {
                const std::string memberPath = pathOf(path, attribute, keyText);
                if (member.child) {
                    walk(memberPath, *member.child, visit);
                } else {
                    visit({memberPath, {}, fieldsOf(attribute, keyText, member.value)});
                }
            }
        }
    }
}

}  // namespace

std::string dump(std::string_view path, const Zin::Entity& entity) {
    std::string text;
    walk(std::string(path), entity, [&](const Fact& fact) {
        text += fact.path;
        if (!fact.type.empty()) text += ": " + std::string(fact.type);
        text += textOf(fact.fields) + '\n';
    });
    return text;
}

nlohmann::ordered_json dumpJson(std::string_view path, const Zin::Entity& entity) {
    auto facts = nlohmann::ordered_json::array();
    walk(std::string(path), entity, [&](const Fact& fact) {
        nlohmann::ordered_json object{{"path", fact.path}};
        if (!fact.type.empty()) object["type"] = std::string(fact.type);
        for (const Field& field : fact.fields) {
            if (field.name.empty()) {
                object["value"] = jsonOf(field);
            } else {
                object["fields"][field.name] = jsonOf(field);
            }
        }
        facts.push_back(std::move(object));
    });
    return facts;
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

}  // namespace corra
