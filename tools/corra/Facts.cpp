#include "corra/Facts.h"

namespace corra {

namespace {

void append(
    Fields& fields,
    const std::string& name,
    const Zin::ValueInfo& type,
    const void* value) {
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

}  // namespace corra
