// What this library throws at a caller who misuses it or hands it bad text. Every text names
// what was touched, what was there and what was asked for. Nothing has changed when one is
// thrown, unless the exception says otherwise.

#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Zin/Export.h"
#include "Zin/TypeHandle.h"

namespace Zin {

class Entity;
using AttributeId = std::uint32_t;

// The base of all that this library throws at its callers, itself where nothing below says
// more.
class ZIN_EXPORT Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~Exception() override;
};

// Extra constructor arguments were given for an entity type that takes only a name.
class ZIN_EXPORT NewEntityArgsException : public Exception {
  public:
    // Of that type.
    explicit NewEntityArgsException(const ZinTypeBase& type);
    ~NewEntityArgsException() override;
};

// A child exists already and was made with another constructor argument.
class ZIN_EXPORT MutatorReinstantiatingException : public Exception {
  public:
    using Exception::Exception;
    ~MutatorReinstantiatingException() override;
};

// A number lies outside of what its type allows.
class ZIN_EXPORT RangeException : public Exception {
  public:
    using Exception::Exception;
    ~RangeException() override;
};

// A number that was read from a text lies outside of what the type of its field allows.
class ZIN_EXPORT TextRangeException : public RangeException {
  public:
    // The position is that at which the field begins, in bytes from the start of the text.
    TextRangeException(
        std::size_t position,
        std::string_view fieldName,
        std::string_view reason);
    // The same, met while the field of that name was read.
    TextRangeException(const TextRangeException& inside, std::string_view fieldName);
    ~TextRangeException() override;

    std::size_t position() const noexcept { return position_; }
    // With dots where values lie inside of values.
    const std::string& field() const noexcept { return field_; }

  private:
    std::size_t position_;
    std::string field_;
    std::string reason_;
};

// A proxy of an entity was written although its owner keeps writing to itself.
class ZIN_EXPORT WriteUpdateFromReadOnlyProxyException : public Exception {
  public:
    using Exception::Exception;
    ~WriteUpdateFromReadOnlyProxyException() override;
};

// A collection of keys and values inside of a value holds a member under the default key, which
// has no wire form.
class ZIN_EXPORT ValueCollectionDefaultKeyException : public Exception {
  public:
    using Exception::Exception;
    ~ValueCollectionDefaultKeyException() override;
};

// A text does not have the form that was expected.
class ZIN_EXPORT TextException : public Exception {
  public:
    // The position counts bytes from the start of the text.
    TextException(std::size_t position, std::string_view expected, std::string_view found);
    // The same, met while the field of that name was read.
    TextException(const TextException& inside, std::string_view fieldName);
    // The same, where that text is a piece of a longer one: at this position there.
    TextException(const TextException& inside, std::size_t position);
    ~TextException() override;

    std::size_t position() const noexcept { return position_; }
    // The field that was read, with dots where values lie inside of values; empty outside of
    // all fields.
    const std::string& field() const noexcept { return field_; }
    // "a decimal number, found 'x'".
    const std::string& expectation() const noexcept { return expectation_; }

  private:
    std::size_t position_;
    std::string field_;
    std::string expectation_;
};

// A pointer is null where the reflective interface needs an object.
class ZIN_EXPORT NullPointerException : public Exception {
  public:
    using Exception::Exception;
    ~NullPointerException() override;
};

// A hash was asked for of a type that has none.
class ZIN_EXPORT UnhashableException : public Exception {
  public:
    using Exception::Exception;
    ~UnhashableException() override;
};

// A value of one type was given where another is due.
class ZIN_EXPORT TypeException : public Exception {
  public:
    using Exception::Exception;
    ~TypeException() override;
};

// A shared library has no modules that can be registered.
class ZIN_EXPORT ModuleException : public Exception {
  public:
    using Exception::Exception;
    ~ModuleException() override;
};

namespace GenericIfImpl {

// Throws an UnhashableException that names the type.
[[noreturn]] ZIN_EXPORT void throwUnhashableException(const ZinTypeBase& type);
// Throws a TypeException that names both.
[[noreturn]] ZIN_EXPORT void throwTypeException(
    const ZinTypeBase& given,
    const ZinTypeBase& expected);
// The same, of what was to be put into that attribute.
[[noreturn]] ZIN_EXPORT void throwTypeException(
    const Entity& entity,
    AttributeId attribute,
    const ZinTypeBase& given,
    const ZinTypeBase& expected);
// Throws a NullPointerException that names the attribute, and what is due.
[[noreturn]] ZIN_EXPORT void
throwNullPointerException(const Entity& entity, AttributeId attribute, std::string_view due);

}  // namespace GenericIfImpl

// How texts name an attribute, where no entity is at hand: 'Pseudowire::Config, attribute 262
// (patch)'.
ZIN_EXPORT std::string described(const ZinTypeBase& type, AttributeId attribute);
// The same of an entity, and of the member under a key of the collection's key type where one
// is given: 'Pseudowire::Config "pw", attribute 262 (patch), key 'metro-003''.
ZIN_EXPORT std::string
described(const Entity& entity, AttributeId attribute, const void* key = nullptr);

// Throws a NewEntityArgsException that names the type.
[[noreturn]] ZIN_EXPORT void throwNewEntityArgsException(const ZinTypeBase& type);
// Throws a RangeException of that text.
[[noreturn]] ZIN_EXPORT void throwRangeException(std::string_view text);
// Throws a MutatorReinstantiatingException that names the entity, the argument and both values.
[[noreturn]] ZIN_EXPORT void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    bool existingValue,
    bool requestedValue);
// The same for numbers.
[[noreturn]] ZIN_EXPORT void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    std::uint32_t existingValue,
    std::uint32_t requestedValue);
// For constructor arguments that are neither: the values as text.
[[noreturn]] ZIN_EXPORT void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    std::string_view existingValue,
    std::string_view requestedValue);
// Throws the exception of that name, of an attribute of a mirror that may not write.
[[noreturn]] ZIN_EXPORT void throwWriteUpdateFromReadOnlyProxyException(
    const Entity& entity,
    AttributeId attribute,
    const void* key = nullptr);
// Of the type of the value, and its field that is the collection.
[[noreturn]] ZIN_EXPORT void throwValueCollectionDefaultKeyException(
    std::string_view typeName,
    std::string_view fieldName);

// The same, met while that attribute of the entity, or its member under the key, was sent.
ZIN_EXPORT ValueCollectionDefaultKeyException
unsendable(const Entity& entity, AttributeId attribute, const void* key, std::string_view why);

}  // namespace Zin
