#include "Zin/Exceptions.h"

#include "Zin/Entity.h"
#include "Zin/Module.h"

namespace Zin {

namespace {

std::string described(const Entity& entity, AttributeId attribute) {
    const EntityTypeInfo* const type = entity.fwkType().info();
    std::string text = type ? std::string(type->name) : std::string("entity");
    text += " \"" + std::string(entity.name().view()) + "\", attribute " +
            std::to_string(attribute);
    if (const AttributeInfo* const info = type ? type->attribute(attribute) : nullptr) {
        text += " (" + std::string(info->name) + ")";
    }
    return text;
}

std::string typeText(const ZinTypeBase& type) {
    const EntityTypeInfo* const info = type.info();
    return info ? std::string(info->name) : std::string("an unnamed type");
}

}  // namespace

Exception::~Exception() = default;
NewEntityArgsException::~NewEntityArgsException() = default;
MutatorReinstantiatingException::~MutatorReinstantiatingException() = default;
RangeException::~RangeException() = default;
WriteUpdateFromReadOnlyProxyException::~WriteUpdateFromReadOnlyProxyException() = default;
TextException::~TextException() = default;

NewEntityArgsException::NewEntityArgsException(const ZinTypeBase& type)
    : Exception(typeText(type) + " takes no constructor arguments beyond its name") {}

TextException::TextException(
    std::size_t position,
    std::string_view expected,
    std::string_view found)
    : Exception(
          "expected " + std::string(expected) + " at position " + std::to_string(position) +
          ", found " + std::string(found)),
      position_(position) {}

void throwNewEntityArgsException(const ZinTypeBase& type) {
    throw NewEntityArgsException(type);
}

void throwRangeException(std::string_view text) {
    throw RangeException(std::string(text));
}

void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    std::string_view existingValue,
    std::string_view requestedValue) {
    throw MutatorReinstantiatingException(
        described(existing, attribute) + ": exists with " + std::string(existingValue) +
        ", was requested with " + std::string(requestedValue));
}

void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    bool existingValue,
    bool requestedValue) {
    throwMutatorReinstantiating(
        existing,
        attribute,
        std::string_view(existingValue ? "true" : "false"),
        std::string_view(requestedValue ? "true" : "false"));
}

void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    std::uint32_t existingValue,
    std::uint32_t requestedValue) {
    throwMutatorReinstantiating(
        existing,
        attribute,
        std::string_view(std::to_string(existingValue)),
        std::string_view(std::to_string(requestedValue)));
}

void throwWriteUpdateFromReadOnlyProxyException(const Entity& entity, AttributeId attribute) {
    throw WriteUpdateFromReadOnlyProxyException(
        described(entity, attribute) + ": write from a read-only proxy refused");
}

}  // namespace Zin
