#include "corra/StateFile.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Zin/Any.h"
#include "Zin/Exceptions.h"
#include "corra/Generic.h"
#include "corra/StateValue.h"
#include "corra/StrictJson.h"
#include "corra/WholeFile.h"

namespace corra {

namespace {

using nlohmann::json;
using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::Entity;
using Zin::EntityTypeInfo;

// --- Writing ---

json jsonOf(const Entity& entity);

json membersOf(const Entity& entity, const AttributeInfo& attribute) {
    struct Members final : Zin::MemberVisitor {
        explicit Members(const AttributeInfo& visited) : info(visited) {}
        void onMember(const void* key, const void* value, const Entity* child) override {
            if (child) {
                all[keyTextOf(*info.key, key)] = jsonOf(*child);
            } else if (!value) {
                all.push_back(corra::jsonOf(*info.key, key));
            } else if (isObjectOfFields(*info.value)) {
                all[keyTextOf(*info.key, key)] =
                    jsonOfFields(*info.value, value, fieldInKey(info));
            } else {
                all[keyTextOf(*info.key, key)] = corra::jsonOf(*info.value, value);
            }
        }
        const AttributeInfo& info;
        json all;
    } members(attribute);
    const bool isSet = !attribute.value && !attribute.childType;
    members.all = isSet ? json::array() : json::object();
    attribute.forEachMember(entity, members);
    if (isSet) std::sort(members.all.begin(), members.all.end());
    return std::move(members.all);
}

json jsonOf(const Entity& entity, const AttributeInfo& attribute) {
    if (attribute.isCollection()) return membersOf(entity, attribute);
    if (attribute.kind != AttributeKind::singleton) {
        return corra::jsonOf(*attribute.value, attribute.valueOf(entity));
    }
    const Entity* const child = attribute.child(entity);
    if (!child) return nullptr;
    const Zin::Any name = constructorArgumentsOf(*child)[0];
    json object = json::object();
    object[keyTextOf(*name.type(), name.get())] = jsonOf(*child);
    return object;
}

json jsonOf(const Entity& entity) {
    json object = json::object();
    const EntityTypeInfo& type = *entity.fwkType().info();
    for (const AttributeInfo& attribute : type.attributes) {
        if (isInStateFile(type, attribute)) {
            object[std::string(attribute.name)] = jsonOf(entity, attribute);
        }
    }
    return object;
}

// --- Reading ---

// What a mutator says of a value that it refuses becomes an error of the file.
template <class Change>
void changeAt(const StatePlace& place, const Change& change) {
    try {
        change();
    } catch (const Zin::Exception& e) {
        place.fail(e.what());
    }
}

void readEntity(const StatePlace& place, const json& found, Entity& entity);

// REQUIRES: no child stands under that key.
void readChild(
    const StatePlace& place,
    const json& found,
    Entity& entity,
    const AttributeInfo& attribute,
    const Zin::Any& key) {
    const json::object_t& object = objectAt(place, found);
    std::vector<Zin::Any> arguments{key};
    const EntityTypeInfo& type = *attribute.childType;
    for (const Zin::AttributeId id : type.constructorAttributeIds.subspan(1)) {
        const AttributeInfo& parameter = *type.attribute(id);
        const StatePlace at(place, parameter.name);
        const auto argument = object.find(std::string(parameter.name));
        if (argument == object.end()) {
            at.fail(
                "expected what a " + std::string(type.name) + " is made with, found nothing");
        }
        arguments.emplace_back(*parameter.value);
        readValue(at, argument->second, *parameter.value, arguments.back().get());
    }
    Zin::Ptr<Entity> child;
    changeAt(place, [&] { child = makeChild(entity, attribute, arguments); });
    if (!child) place.fail("expected a child, found that it was not made");
    readEntity(place, found, *child);
}

void readMember(
    const StatePlace& place,
    const json& found,
    Entity& entity,
    const AttributeInfo& attribute,
    const Zin::Any& key) {
    if (attribute.member(entity, key.get()).present) {
        place.fail("expected each key once, found it again");
    }
    if (attribute.childType) return readChild(place, found, entity, attribute, key);
    Zin::Any value(*attribute.value);
    if (isObjectOfFields(*attribute.value)) {
        const std::string_view keyField = fieldInKey(attribute);
        for (const Zin::FieldInfo& field : attribute.value->fields) {
            if (field.name == keyField) {
                field.type->assign(field.mutableIn(value.get()), key.get());
            }
        }
        readFields(place, found, *attribute.value, value.get(), keyField);
    } else {
        readValue(place, found, *attribute.value, value.get());
    }
    changeAt(place, [&] { set(entity, attribute, key.get(), value.get()); });
}

void readMembers(
    const StatePlace& place,
    const json& found,
    Entity& entity,
    const AttributeInfo& attribute) {
    // The file says all members; an entity may be made with some.
    for (const Zin::Any& key : keysOf(entity, attribute)) {
        changeAt(place, [&] { del(entity, attribute, key.get()); });
    }
    if (attribute.value || attribute.childType) {
        for (const auto& [name, member] : objectAt(place, found)) {
            const StatePlace at(place, name);
            Zin::Any key(*attribute.key);
            readKey(at, name, *attribute.key, key.get());
            readMember(at, member, entity, attribute, key);
        }
        return;
    }
    forEachElement(place, found, [&](const StatePlace& at, const json& element) {
        Zin::Any key(*attribute.key);
        readValue(at, element, *attribute.key, key.get());
        if (attribute.member(entity, key.get()).present) {
            at.fail("expected each key once, found it again");
        }
        changeAt(at, [&] { set(entity, attribute, key.get(), nullptr); });
    });
}

void readSingleChild(
    const StatePlace& place,
    const json& found,
    Entity& entity,
    const AttributeInfo& attribute) {
    if (attribute.child(entity)) {
        changeAt(place, [&] { del(entity, attribute, nullptr); });
    }
    if (found.is_null()) return;
    constexpr const char* expected = "null or an object with one member, the child by its name";
    if (!found.is_object()) place.fail(expected, found);
    if (found.size() != 1) {
        place.fail(expected, "an object with " + std::to_string(found.size()));
    }
    const auto& [name, child] = *found.get_ref<const json::object_t&>().begin();
    const StatePlace at(place, name);
    Zin::Any childName(*attribute.childType->constructorArguments[0]);
    readKey(at, name, *childName.type(), childName.get());
    readChild(at, child, entity, attribute, childName);
}

// The constructor parameters were read before the entity was made.
void readEntity(const StatePlace& place, const json& found, Entity& entity) {
    const EntityTypeInfo& type = *entity.fwkType().info();
    for (const auto& [name, member] : objectAt(place, found)) {
        const StatePlace at(place, name);
        const AttributeInfo* const attribute = type.attribute(std::string_view(name));
        if (!attribute || !isInStateFile(type, *attribute)) {
            at.fail(
                "expected an attribute of " + std::string(type.name) +
                " that can be set, found " + inJson(name));
        }
        if (attribute->isCollection()) {
            readMembers(at, member, entity, *attribute);
        } else if (attribute->kind == AttributeKind::singleton) {
            readSingleChild(at, member, entity, *attribute);
        } else if (attribute->kind == AttributeKind::single) {
            Zin::Any value(*attribute->value, attribute->valueOf(entity));
            readValue(at, member, *attribute->value, value.get());
            changeAt(at, [&] { set(entity, *attribute, nullptr, value.get()); });
        }
    }
}

// The members of an object that has these, of which only the first ones must be there.
template <std::size_t count>
std::array<const json*, count> membersAt(
    const StatePlace& place,
    const json& found,
    const std::array<const char*, count>& names,
    std::size_t required) {
    std::array<const json*, count> members{};
    for (const auto& [name, member] : objectAt(place, found)) {
        const auto known = std::find(names.begin(), names.end(), name);
        if (known == names.end()) {
            std::string all;
            for (const char* const each : names) {
                all += (all.empty() ? "" : " or ") + inJson(each);
            }
            StatePlace(place, name).fail(all, inJson(name));
        }
        members[static_cast<std::size_t>(known - names.begin())] = &member;
    }
    for (std::size_t at = 0; at < required; ++at) {
        if (!members[at]) place.fail("expected a member " + inJson(names[at]) + ", found none");
    }
    return members;
}

const EntityTypeInfo& rootTypeAt(const StatePlace& place, const json& found) {
    if (found.is_string()) {
        const auto* const type = Zin::typeNamed(found.get_ref<const std::string&>()).info();
        if (type && type->newEntityForDir) return *type;
    }
    std::string names;
    forEachRootType([&](const EntityTypeInfo& type) {
        names += (names.empty() ? "" : ", ") + inJson(type.name);
    });
    place.fail("one of " + names, found);
}

void readRoot(
    Roots& roots,
    const StatePlace& place,
    const std::string& name,
    const json& found) {
    const auto [typeName, attributes] = membersAt<2>(place, found, {"type", "attributes"}, 1);
    const EntityTypeInfo& type = rootTypeAt(StatePlace(place, "type"), *typeName);
    const Zin::String rootName = readString(place, name);
    const Zin::Ptr<Entity> root = type.newEntityForDir(rootName, nullptr);
    if (attributes) readEntity(StatePlace(place, "attributes"), *attributes, *root);
    roots.emplace(rootName, root);
}

}  // namespace

bool isInStateFile(const EntityTypeInfo& type, const AttributeInfo& attribute) {
    const bool isArgument = attribute.kind == AttributeKind::constructorParameter &&
                            attribute.id != type.constructorAttributeIds[0];
    return (attribute.writable && !attribute.hasNoForm()) || isArgument;
}

std::string_view fieldInKey(const AttributeInfo& collection) {
    const bool isSplit = collection.value && isObjectOfFields(*collection.value);
    return isSplit ? collection.keyField : std::string_view();
}

void forEachRootType(const std::function<void(const EntityTypeInfo&)>& visit) {
    Zin::forEachModule([&](const Zin::ZinModule& module) {
        for (const Zin::TypeInfo& type : module.types) {
            if (type.entity && type.entity->newEntityForDir) visit(*type.entity);
        }
    });
}

json stateOf(const Roots& roots) {
    json all = json::object();
    for (const auto& [name, root] : roots) {
        all[stringOf(name)] = {
            {"type", std::string(root->fwkType().name())},
            {"attributes", jsonOf(*root)}};
    }
    return {
        {"format", std::string(stateFormat)},
        {"version", stateVersion},
        {"roots", std::move(all)}};
}

std::string stateText(const Roots& roots) {
    return stateOf(roots).dump(2) + '\n';
}

Roots readState(std::string_view text, std::string_view file) {
    const StatePlace top(file);
    if (text.size() > maxStateBytes) {
        top.fail(
            "at most " + std::to_string(maxStateBytes) + " bytes",
            std::to_string(text.size()));
    }
    const JsonDocument parsed = parseStrictJson(text, file);
    const json& document = parsed;
    const auto [format, version, roots] =
        membersAt<3>(top, document, {"format", "version", "roots"}, 3);
    if (*format != stateFormat) {
        StatePlace(top, "format").fail(inJson(stateFormat), *format);
    }
    if (*version != stateVersion) {
        StatePlace(top, "version").fail(std::to_string(stateVersion), *version);
    }
    Roots read;
    const StatePlace all(top, "roots");
    for (const auto& [name, root] : objectAt(all, *roots)) {
        readRoot(read, StatePlace(all, name), name, root);
    }
    return read;
}

Roots readStateFile(const std::string& file) {
    // One byte more than is allowed says that there are too many.
    return readState(readWholeFile(file, maxStateBytes + 1), file);
}

}  // namespace corra
