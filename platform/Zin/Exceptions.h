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

class ZIN_EXPORT Exception : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~Exception() override;
};

// Extra constructor arguments were given for an entity type that takes only a name.
class ZIN_EXPORT NewEntityArgsException : public Exception {
  public:
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

// A proxy of an entity was written although its owner keeps writing to itself.
class ZIN_EXPORT WriteUpdateFromReadOnlyProxyException : public Exception {
  public:
    using Exception::Exception;
    ~WriteUpdateFromReadOnlyProxyException() override;
};

// A text does not have the form that was expected.
class ZIN_EXPORT TextException : public Exception {
  public:
    // The position counts bytes from the start of the text.
    TextException(std::size_t position, std::string_view expected, std::string_view found);
    ~TextException() override;

    std::size_t position() const noexcept { return position_; }

  private:
    std::size_t position_;
};

[[noreturn]] ZIN_EXPORT void throwNewEntityArgsException(const ZinTypeBase& type);
[[noreturn]] ZIN_EXPORT void throwRangeException(std::string_view text);
[[noreturn]] ZIN_EXPORT void throwMutatorReinstantiating(
    const Entity& existing,
    AttributeId attribute,
    bool existingValue,
    bool requestedValue);
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
[[noreturn]] ZIN_EXPORT void throwWriteUpdateFromReadOnlyProxyException(
    const Entity& entity,
    AttributeId attribute);

}  // namespace Zin
