#include "corra/StateSchema.h"

#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "Zin/ValueInfoOf.h"
#include "corra/StateFile.h"
#include "corra/StateValue.h"

namespace corra {

namespace {

using nlohmann::json;
using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::EntityTypeInfo;
using Zin::ValueInfo;
using Zin::ValueKind;

constexpr const char* wholeNumberPattern = "^(0|[1-9][0-9]*)$";
constexpr const char* signedNumberPattern = "^(0|-?[1-9][0-9]*)$";
// Any string that begins with no single quote, and bytes in single quotes.
constexpr const char* stringPattern = R"re(^(?!')|^'([^'\\]|\\['\\]|\\x[0-9a-f]{2})*'$)re";

json object(json properties) {
    return {
        {"type", "object"},
        {"properties", std::move(properties)},
        {"additionalProperties", false}};
}

json anyOf(json first, json second) {
    return {{"anyOf", json::array({std::move(first), std::move(second)})}};
}

class Definitions {
  public:
    json take() { return std::move(definitions_); }

    json reference(const EntityTypeInfo& type) {
        return define(type.name, [&] { return schemaOf(type); });
    }

  private:
    // Types may hold each other: the name is taken before the definition is made.
    template <class Make>
    json define(std::string_view name, const Make& make) {
        const std::string key(name);
        if (definitions_.emplace(key, nullptr).second) {
            json made = make();
            definitions_[key] = std::move(made);
        }
        return {{"$ref", "#/$defs/" + key}};
    }

    json reference(const ValueInfo& type) {
        // Collections inside of values have no names.
        if (type.kind == ValueKind::collection) return schemaOf(type);
        return define(type.name, [&] { return schemaOf(type); });
    }

    json schemaOf(const ValueInfo& type) {
        switch (type.kind) {
            case ValueKind::boolean:
                return {{"type", "boolean"}};
            case ValueKind::unsignedNumber:
            case ValueKind::signedNumber:
                return wholeNumber(type);
            case ValueKind::floatingNumber:
                return anyOf(
                    {{"type", "number"}},
                    {{"enum", json::array({"inf", "-inf", "nan"})}});
            case ValueKind::string:
                return {{"type", "string"}, {"pattern", stringPattern}};
            case ValueKind::enumeration:
                return enumeration(type);
            case ValueKind::text: {
                json text = {{"type", "string"}};
                if (!canBeFields(type)) return text;
                return anyOf(std::move(text), fields(type, {}));
            }
            case ValueKind::fields:
                if (isObjectOfFields(type)) return fields(type, {});
                return reference(*type.fields[0].type);
            case ValueKind::collection:
                return collection(type);
        }
        return true;
    }

    static bool canBeFields(const ValueInfo& type) {
        for (const Zin::FieldInfo& field : type.fields) {
            if (!hasForm(*field.type)) return false;
        }
        return !type.fields.empty();
    }

    static json wholeNumber(const ValueInfo& type) {
        const bool isSigned = type.kind == ValueKind::signedNumber;
        const unsigned bits = 8 * type.size - (isSigned ? 1 : 0);
        const std::uint64_t most = std::numeric_limits<std::uint64_t>::max() >> (64 - bits);
        return {
            {"type", "integer"},
            {"minimum", isSigned ? -static_cast<std::int64_t>(most) - 1 : 0},
            {"maximum", most}};
    }

    static json enumeration(const ValueInfo& type) {
        json names = json::array();
        json numbers = json::array();
        for (const describe::Enumerator& each : type.enumerators) {
            names.push_back(std::string(each.name));
            numbers.push_back(each.number);
        }
        const std::uint64_t most =
            std::numeric_limits<std::uint64_t>::max() >> (64 - 8 * type.size);
        return anyOf(
            {{"enum", std::move(names)}},
            {{"type", "integer"},
             {"minimum", 0},
             {"maximum", most},
             {"not", {{"enum", std::move(numbers)}}}});
    }

    json fields(const ValueInfo& type, std::string_view without) {
        json properties = json::object();
        for (const Zin::FieldInfo& field : type.fields) {
            if (field.name == without || !hasForm(*field.type)) continue;
            properties[std::string(field.name)] = reference(*field.type);
        }
        return object(std::move(properties));
    }

    json collection(const ValueInfo& type) {
        if (!type.collection) return false;
        if (!type.collection->value) return set(*type.collection->key);
        return members(*type.collection->key, reference(*type.collection->value));
    }

    json set(const ValueInfo& key) {
        return {{"type", "array"}, {"items", reference(key)}, {"uniqueItems", true}};
    }

    json members(const ValueInfo& key, json member) {
        json schema{{"type", "object"}, {"additionalProperties", std::move(member)}};
        json names = namesOf(key);
        if (!names.empty()) schema["propertyNames"] = std::move(names);
        return schema;
    }

    // What the names of an object of such keys are like.
    json namesOf(const ValueInfo& key) {
        if (key.isWrapper()) return namesOf(*key.fields[0].type);
        switch (key.kind) {
            case ValueKind::string:
                return reference(key);
            case ValueKind::boolean:
                return {{"enum", json::array({"False", "True"})}};
            case ValueKind::unsignedNumber:
                return {{"pattern", wholeNumberPattern}};
            case ValueKind::signedNumber:
                return {{"pattern", signedNumberPattern}};
            case ValueKind::enumeration: {
                json names = json::array();
                for (const describe::Enumerator& each : key.enumerators) {
                    names.push_back(std::string(each.name));
                }
                return anyOf({{"enum", std::move(names)}}, {{"pattern", wholeNumberPattern}});
            }
            default:
                return json::object();
        }
    }

    json schemaOf(const EntityTypeInfo& type) {
        json properties = json::object();
        json required = json::array();
        for (const AttributeInfo& attribute : type.attributes) {
            if (!isInStateFile(type, attribute)) continue;
            const std::string name(attribute.name);
            properties[name] = schemaOf(attribute);
            if (attribute.kind == AttributeKind::constructorParameter) {
                required.push_back(name);
            }
        }
        json schema = object(std::move(properties));
        if (!required.empty()) schema["required"] = std::move(required);
        return schema;
    }

    json schemaOf(const AttributeInfo& attribute) {
        if (attribute.kind == AttributeKind::singleton) {
            json child =
                members(*attribute.childType->constructorArguments[0], childOf(attribute));
            child["minProperties"] = 1;
            child["maxProperties"] = 1;
            return anyOf({{"type", "null"}}, std::move(child));
        }
        if (!attribute.isCollection()) return reference(*attribute.value);
        if (attribute.childType) return members(*attribute.key, childOf(attribute));
        if (!attribute.value) return set(*attribute.key);
        const std::string_view without = fieldInKey(attribute);
        return members(
            *attribute.key,
            without.empty() ? reference(*attribute.value) : fields(*attribute.value, without));
    }
    json childOf(const AttributeInfo& attribute) { return reference(*attribute.childType); }

    json definitions_ = json::object();
};

}  // namespace

json stateSchema() {
    Definitions definitions;
    json types = json::array();
    json attributesByType = json::array();
    forEachRootType([&](const EntityTypeInfo& type) {
        const std::string name(type.name);
        types.push_back(name);
        attributesByType.push_back(
            {{"if", {{"properties", {{"type", {{"const", name}}}}}}},
             {"then", {{"properties", {{"attributes", definitions.reference(type)}}}}}});
    });
    json root =
        object({{"type", {{"enum", std::move(types)}}}, {"attributes", {{"type", "object"}}}});
    root["required"] = json::array({"type"});
    root["allOf"] = std::move(attributesByType);
    json names = {{"$ref", "#/$defs/Zin::String"}};
    json schema = object(
        {{"format", {{"const", std::string(stateFormat)}}},
         {"version", {{"const", stateVersion}}},
         {"roots",
          {{"type", "object"},
           {"propertyNames", std::move(names)},
           {"additionalProperties", std::move(root)}}}});
    schema["$schema"] = "https://json-schema.org/draft/2020-12/schema";
    schema["title"] = "State file of corra";
    schema["required"] = json::array({"format", "version", "roots"});
    schema["$defs"] = definitions.take();
    return schema;
}

}  // namespace corra
