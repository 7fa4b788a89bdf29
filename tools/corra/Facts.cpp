#include "corra/Facts.h"

#include <map>
#include <set>
#include <utility>

namespace corra {

namespace {

std::string textOfCollection(const Zin::ValueInfo& type, const void* value);

void append(
    Fields& fields,
    const std::string& name,
    const Zin::ValueInfo& type,
    const void* value) {
    if (type.kind == Zin::ValueKind::collection) {
        fields.push_back({name, textOfCollection(type, value), &type, false});
        return;
    }
    if (type.kind != Zin::ValueKind::fields || type.isWrapper()) {
        std::string text;
        Zin::appendText(text, type, value);
        fields.push_back({name, std::move(text), &type, false});
        return;
    }
    for (const Zin::FieldInfo& field : type.fields) {
        const std::string inner = name.empty() ? std::string() : name + '.';
        append(fields, inner + std::string(field.name), *field.type, field.in(value));
    }
}

std::string inWords(const Zin::ValueInfo& type, const void* value) {
    Fields fields;
    append(fields, "", type, value);
    std::string text;
    for (const Field& field : fields) {
        if (!text.empty()) text += ' ';
        text += (field.name.empty() ? "" : field.name + '=') + field.text;
    }
    return text;
}

// The members, sorted. Its own text would leave them out.
std::string textOfCollection(const Zin::ValueInfo& type, const void* value) {
    struct Visited {
        const Zin::CollectionInfo& info;
        std::set<std::string> members;
    } visited{*type.collection, {}};
    const auto visit = [](void* context, const void* key, const void* member) {
        auto& [info, members] = *static_cast<Visited*>(context);
        std::string text = inWords(*info.key, key);
        if (member) text += " -> " + inWords(*info.value, member);
        members.insert(std::move(text));
    };
    type.collection->forEachMember(value, visit, &visited);
    std::string text;
    for (const std::string& member : visited.members) {
        text += (text.empty() ? "" : ", ") + member;
    }
    return '{' + text + '}';
}

}  // namespace

Fields fieldsOf(const Zin::Entity& entity) {
    Fields fields;
    for (const Zin::AttributeInfo& attribute : entity.fwkType().info()->attributes) {
        if (!attribute.valueOf) continue;
        append(
            fields,
            std::string(attribute.name),
            *attribute.value,
            attribute.valueOf(entity));
    }
    return fields;
}

Fields
fieldsOf(const Zin::AttributeInfo& collection, std::string_view keyText, const void* value) {
    Fields fields;
    if (!value) return fields;
    append(fields, "", *collection.value, value);
    for (Field& field : fields) {
        field.repeatsKey =
            !field.name.empty() && field.type == collection.key && field.text == keyText;
    }
    return fields;
}

std::string textOfKey(const Zin::AttributeInfo& collection, const void* key) {
    std::string text;
    Zin::appendText(text, *collection.key, key);
    return text;
}

std::string pathOf(std::string_view entityPath, const Zin::AttributeInfo& attribute) {
    return std::string(entityPath) + '.' + std::string(attribute.name);
}

std::string pathOf(
    std::string_view entityPath,
    const Zin::AttributeInfo& collection,
    std::string_view keyText) {
    return pathOf(entityPath, collection) + '[' + std::string(keyText) + ']';
}

void forEachMember(
    const Zin::Entity& entity,
    const Zin::AttributeInfo& collection,
    const std::function<void(const Member&)>& visit) {
    class Visitor final : public Zin::MemberVisitor {
      public:
        Visitor(
            const Zin::AttributeInfo& visited,
            const std::function<void(const Member&)>& each)
            : collection_(visited), visit_(each) {}

        void onMember(const void* key, const void* value, const Zin::Entity* child) override {
            visit_({textOfKey(collection_, key), value, child});
        }

      private:
        const Zin::AttributeInfo& collection_;
        const std::function<void(const Member&)>& visit_;
    };
    Visitor visitor(collection, visit);
    collection.forEachMember(entity, visitor);
}

void forEachSortedMember(
    const Zin::Entity& entity,
    const Zin::AttributeInfo& collection,
    const std::function<void(const Member&)>& visit) {
    std::map<std::string, Member> sorted;
    forEachMember(entity, collection, [&](const Member& member) {
        sorted.emplace(member.keyText, member);
    });
    for (const auto& [keyText, member] : sorted) visit(member);
}

namespace {

void forEachFactOf(
    std::string_view path,
    const Zin::Entity& entity,
    const Zin::AttributeInfo& attribute,
    const FactVisitor& visit) {
    if (attribute.kind == Zin::AttributeKind::singleton) {
        const Zin::Entity* const child = attribute.child(entity);
        if (child) forEachFact(pathOf(path, attribute), *child, visit);
    } else if (attribute.isCollection()) {
        forEachSortedMember(entity, attribute, [&](const Member& member) {
            const std::string memberPath = pathOf(path, attribute, member.keyText);
            if (member.child) return forEachFact(memberPath, *member.child, visit);
            visit({memberPath, {}, fieldsOf(attribute, member.keyText, member.value)});
        });
    }
}

// The text of the key that the value of a member holds, or nothing.
std::string textOfInnerKey(const Zin::AttributeInfo& collection, const void* value) {
    for (const Zin::FieldInfo& field : collection.value->fields) {
        if (field.name == collection.keyField && field.type == collection.key) {
            return textOfKey(collection, field.in(value));
        }
    }
    return {};
}

}  // namespace

void forEachFact(const std::string& path, const Zin::Entity& entity, const FactVisitor& visit) {
    const Zin::EntityTypeInfo& type = *entity.fwkType().info();
    visit({path, type.name, fieldsOf(entity)});
    for (const Zin::AttributeInfo& attribute : type.attributes) {
        forEachFactOf(path, entity, attribute, visit);
    }
}

void forEachFact(const std::string& path, const Zin::Place& place, const FactVisitor& visit) {
    using enum Zin::Place::Kind;
    if (!place.exists()) return;
    if (place.kind() == entity) return forEachFact(path, *place.entity(), visit);
    if (place.kind() == collection) {
        for (const Zin::Place& member : place.children()) {
            forEachFact(path + member.path().substr(place.path().size()), member, visit);
        }
        return;
    }
    Fields fields;
    if (place.type()) {
        const Zin::Any value = place.value();
        const bool isWholeMember = place.kind() == member && path.ends_with(']');
        if (isWholeMember) {
            const std::string key = textOfInnerKey(*place.attribute(), value.get());
            fields = fieldsOf(*place.attribute(), key, value.get());
        } else {
            append(fields, "", *place.type(), value.get());
        }
    }
    visit({path, {}, std::move(fields)});
}

std::string pathOfRoot(std::string_view name, const Zin::Entity& root) {
    try {
        const auto read = Zin::Place::rooted(name);
        if (read.type.empty() && read.rest.empty()) return read.name;
    } catch (const Zin::Exception&) {
    }
    std::string path(root.fwkType().info()->name);
    path += '(';
    Zin::appendQuoted(path, name);
    return path + ')';
}

}  // namespace corra
