// Any holds a value of any value type together with the table of its type: what code that knows
// no types passes around. Copies copy the value. Each holds memory of its own.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Zin/Export.h"
#include "Zin/ValueInfo.h"

namespace Zin {

// Whether two tables describe the same type: each library that uses a type may have a table of
// its own. Collections inside of values have no names; only a table itself is the same.
ZIN_EXPORT bool sameType(const ValueInfo& a, const ValueInfo& b) noexcept;

class ZIN_EXPORT Any {
  public:
    // Holds nothing.
    Any() = default;
    // A copy of the value at `from`, or a default value when that is null.
    explicit Any(const ValueInfo& type, const void* from = nullptr);
    Any(const Any& other);
    // The other holds nothing afterwards.
    Any(Any&& other) noexcept;
    Any& operator=(Any other) noexcept;
    ~Any();
    void swap(Any& other) noexcept;

    // The value that the whole text stands for. Throws TextException, RangeException, and
    // Exception for a type that holds a collection.
    static Any fromText(const ValueInfo& type, std::string_view text);

    // Null when it holds nothing.
    const ValueInfo* type() const noexcept { return type_; }
    const void* get() const noexcept { return value_; }
    void* get() noexcept { return value_; }
    // REQUIRES: it holds something.
    std::string text() const;

    // The same type and an equal value, or both hold nothing.
    friend ZIN_EXPORT bool operator==(const Any& a, const Any& b);

  private:
    const ValueInfo* type_ = nullptr;
    void* value_ = nullptr;
};

}  // namespace Zin
