#include "Zin/Exceptions.h"

#include "Zin/Entity.h"
#include "Zin/Module.h"

namespace Zin {

namespace {

const AttributeInfo* infoOf(const ZinTypeBase& type, AttributeId attribute) {
    const EntityTypeInfo* const info = type.info();
    return info ? info->attribute(attribute) : nullptr;
}

std::string numbered(const AttributeInfo* info, AttributeId attribute) {
    std::string text = ", attribute " + std::to_string(attribute);
    if (info) text += " (" + std::string(info->name) + ")";
    return text;
}

std::string mistaken(const ZinTypeBase& given, const ZinTypeBase& expected) {
    return "a value of " + std::string(given.name()) + " was given, " +
           std::string(expected.name()) + " is due";
}

std::string dotted(std::string_view outer, std::string_view inner) {
    return std::string(outer) + (inner.empty() ? "" : ".") + std::string(inner);
}

}  // namespace

Exception::~Exception() = default;
NewEntityArgsException::~NewEntityArgsException() = default;
MutatorReinstantiatingException::~MutatorReinstantiatingException() = default;
RangeException::~RangeException() = default;
TextRangeException::~TextRangeException() = default;
WriteUpdateFromReadOnlyProxyException::~WriteUpdateFromReadOnlyProxyException() = default;
ValueCollectionDefaultKeyException::~ValueCollectionDefaultKeyException() = default;
NullPointerException::~NullPointerException() = default;
UnhashableException::~UnhashableException() = default;
TypeException::~TypeException() = default;
TextException::~TextException() = default;
ModuleException::~ModuleException() = default;

NewEntityArgsException::NewEntityArgsException(const ZinTypeBase& type)
    : Exception(std::string(type.name()) + " takes no constructor arguments beyond its name") {}

TextRangeException::TextRangeException(
    std::size_t position,
    std::string_view fieldName,
    std::string_view reason)
    : RangeException(
          "field '" + std::string(fieldName) + "' at position " + std::to_string(position) +
          ": " + std::string(reason)),
      position_(position),
      field_(fieldName),
      reason_(reason) {}

TextRangeException::TextRangeException(
    const TextRangeException& inside,
    std::string_view fieldName)
    : TextRangeException(inside.position_, dotted(fieldName, inside.field_), inside.reason_) {}

TextException::TextException(
    std::size_t position,
    std::string_view expected,
    std::string_view found)
    : Exception(
          "expected " + std::string(expected) + " at position " + std::to_string(position) +
          ", found " + std::string(found)),
      position_(position),
      expectation_(std::string(expected) + ", found " + std::string(found)) {}

TextException::TextException(const TextException& inside, std::string_view fieldName)
    : Exception(
          "field '" + dotted(fieldName, inside.field_) + "' at position " +
          std::to_string(inside.position_) + ": expected " + inside.expectation_),
      position_(inside.position_),
      field_(dotted(fieldName, inside.field_)),
      expectation_(inside.expectation_) {}

TextException::TextException(const TextException& inside, std::size_t position)
    : Exception(
          (inside.field_.empty() ? "" : "field '" + inside.field_ + "' ") + "at position " +
          std::to_string(position) + ": expected " + inside.expectation_),
      position_(position),
      field_(inside.field_),
      expectation_(inside.expectation_) {}

void GenericIfImpl::throwUnhashableException(const ZinTypeBase& type) {
    throw UnhashableException(std::string(type.name()) + " has no hash");
}

void GenericIfImpl::throwTypeException(const ZinTypeBase& given, const ZinTypeBase& expected) {
    throw TypeException(mistaken(given, expected));
}

void GenericIfImpl::throwTypeException(
    const Entity& entity,
    AttributeId attribute,
    const ZinTypeBase& given,
    const ZinTypeBase& expected) {
    throw TypeException(described(entity, attribute) + ": " + mistaken(given, expected));
}

void GenericIfImpl::throwNullPointerException(
    const Entity& entity,
    AttributeId attribute,
    std::string_view due) {
    throw NullPointerException(
        described(entity, attribute) + ": " + std::string(due) + " is due, null was given");
}

std::string described(const ZinTypeBase& type, AttributeId attribute) {
    return std::string(type.name()) + numbered(infoOf(type, attribute), attribute);
}

std::string described(const Entity& entity, AttributeId attribute, const void* key) {
    const AttributeInfo* const info = infoOf(entity.fwkType(), attribute);
    std::string text = std::string(entity.fwkType().name()) + " \"" +
                       std::string(entity.name().view()) + "\"" + numbered(info, attribute);
    if (key && info && info->key) {
        text += ", key ";
        appendText(text, *info->key, key);
    }
    return text;
}

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

void throwWriteUpdateFromReadOnlyProxyException(
    const Entity& entity,
    AttributeId attribute,
    const void* key) {
    throw WriteUpdateFromReadOnlyProxyException(
        described(entity, attribute, key) + ": write from a read-only proxy refused");
}

void throwValueCollectionDefaultKeyException(
    std::string_view typeName,
    std::string_view fieldName) {
    throw ValueCollectionDefaultKeyException(
        std::string(typeName) + " with a member under the default key in '" +
        std::string(fieldName) + "', which has no wire form");
}

ValueCollectionDefaultKeyException
unsendable(const Entity& entity, AttributeId attribute, const void* key, std::string_view why) {
    return ValueCollectionDefaultKeyException(
        described(entity, attribute, key) + ": " + std::string(why));
}

}  // namespace Zin
