#include "frame/Dump.h"

#include <algorithm>
#include <cstdarg>
#include <string>

#include "Zin/Module.h"

namespace frame {

namespace {

using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::ValueInfo;
using Zin::ValueKind;

bool fitsOnALine(std::string_view text) {
    return Zin::isUtf8(text) && std::none_of(text.begin(), text.end(), [](char c) {
               return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
           });
}

bool takesALinePerField(DumpStyle style, const ValueInfo& type) {
    return style == DumpStyle::assigning && type.kind == ValueKind::fields && !type.isWrapper();
}

// A member of a collection: a null type stands for what a set, or a walk over children, has
// not. The key field is the one that the header has said already.
void dumpMember(
    const Dump& at,
    const ValueInfo& keyType,
    const void* key,
    const ValueInfo* type,
    const void* value,
    std::string_view keyField);

void dumpFields(
    const Dump& at,
    const ValueInfo& type,
    const void* value,
    std::string_view keyField) {
    for (const Zin::FieldInfo& field : type.fields) {
        if (field.name == keyField) continue;
        const void* const stored = field.in(value);
        const Zin::CollectionInfo* const members = field.type->collection;
        if (!members) {
            at.attribute(field.name, dumpText(*field.type, stored));
            continue;
        }
        struct Context {
            const Zin::CollectionInfo& of;
            Dump at;
        } context{*members, at.collection(field.name, members->members(stored))};
        members->forEachMember(
            stored,
            [](void* to, const void* key, const void* member) {
                const auto& [of, below] = *static_cast<const Context*>(to);
                dumpMember(below, *of.key, key, of.value, member, {});
            },
            &context);
    }
}

void dumpMember(
    const Dump& at,
    const ValueInfo& keyType,
    const void* key,
    const ValueInfo* type,
    const void* value,
    std::string_view keyField) {
    if (type && takesALinePerField(at.style(), *type)) {
        const Dump below = at.header(Zin::unqualified(type->name), dumpText(keyType, key));
        dumpFields(below, *type, value, keyField);
    } else if (type) {
        at.member(dumpText(keyType, key), dumpText(*type, value));
    } else if (takesALinePerField(at.style(), keyType)) {
        dumpFields(at.header(Zin::unqualified(keyType.name)), keyType, key, {});
    } else {
        at.line("%s", dumpText(keyType, key).c_str());
    }
}

class Members final : public Zin::MemberVisitor {
  public:
    Members(const AttributeInfo& attribute, const Dump& at) : attribute_(attribute), at_(at) {}

    void onMember(const void* key, const void* value, const Zin::Entity* child) override {
        if (child) {
            at_.entity(child);
        } else {
            dumpMember(at_, *attribute_.key, key, attribute_.value, value, attribute_.keyField);
        }
    }

  private:
    const AttributeInfo& attribute_;
    Dump at_;
};

void dumpAttribute(const Dump& at, const Zin::Entity& entity, const AttributeInfo& attribute) {
    if (attribute.isCollection()) {
        Members members(attribute, at.collection(attribute.name, attribute.members(entity)));
        attribute.forEachMember(entity, members);
    } else if (attribute.kind == AttributeKind::singleton) {
        at.header(attribute.name).entity(attribute.child(entity));
    } else if (attribute.kind == AttributeKind::reference) {
        const Zin::Entity* const target = attribute.child(entity);
        at.attribute(attribute.name, target ? target->name() : Zin::String("none"));
    } else if (attribute.valueOf) {
        at.attribute(attribute.name, dumpText(*attribute.value, attribute.valueOf(entity)));
    }
}

}  // namespace

Zin::String dumpText(const ValueInfo& type, const void* value) {
    if (type.kind == ValueKind::boolean) return *static_cast<const bool*>(value) ? "yes" : "no";
    if (type.kind == ValueKind::string) {
        return dumpText(static_cast<const Zin::String*>(value)->view());
    }
    if (type.isWrapper()) return dumpText(*type.fields[0].type, type.fields[0].in(value));
    std::string text;
    Zin::appendText(text, type, value);
    return text;
}

Zin::String dumpText(std::string_view text) {
    if (fitsOnALine(text)) return text;
    std::string quoted;
    Zin::appendQuoted(quoted, text);
    return quoted;
}

void Dump::line(const char* format, ...) const {
    std::va_list arguments;
    va_start(arguments, format);
    Quib::objDumpLineV(context_, indent_, format, arguments);
    va_end(arguments);
}

Dump Dump::header(std::string_view typeName, std::string_view name) const {
    const std::string shown(typeName);
    if (name.empty()) {
        line("%s", shown.c_str());
    } else {
        line("%s %s", shown.c_str(), std::string(name).c_str());
    }
    return nested();
}

Dump Dump::assignment(std::string_view name, const Zin::String& text) const {
    line(
        style_ == DumpStyle::plain ? "%s %s" : "%s=%s",
        std::string(name).c_str(),
        text.c_str());
    return nested();
}

Dump Dump::collection(std::string_view name, std::uint32_t members) const {
    line(
        style_ == DumpStyle::plain ? "%ss #%u" : "%s[] %u",
        std::string(name).c_str(),
        members);
    return nested();
}

Dump Dump::mapping(const Zin::String& key, const Zin::String& value) const {
    line("%s -> %s", key.c_str(), value.c_str());
    return nested();
}

void Dump::entity(const Zin::Entity* child) const {
    Quib::detail::objDumpChild(
        child,
        [](const Zin::PtrInterface& object, const Quib::DumpContextPtr& to, unsigned at) {
            const auto& entity = static_cast<const Zin::Entity&>(object);
            entity.fwkType().info()->dumpState(entity, to, at);
        },
        context_,
        indent_);
}

void dumpBySchema(
    const Zin::Entity& entity,
    DumpStyle style,
    const Quib::DumpContextPtr& context,
    unsigned indent) {
    const Zin::EntityTypeInfo& type = *entity.fwkType().info();
    const std::string typeName(Zin::unqualified(type.name));
    const Dump top(context, indent, style);
    if (entity.parent()) {
        top.header(typeName, dumpText(entity.name()));
    } else {
        top.line("%s %p", typeName.c_str(), static_cast<const void*>(&entity));
    }
    for (const AttributeInfo& attribute : type.attributes) {
        // A name that is an attribute too stands in the header.
        if (attribute.id != type.constructorAttributeIds[0]) {
            dumpAttribute(top.nested(), entity, attribute);
        }
    }
}

}  // namespace frame
