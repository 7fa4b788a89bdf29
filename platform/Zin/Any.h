// Any holds a value of any value type together with the table of its type: what code that knows
// no types passes around. Copies copy the value.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Zin/Export.h"
#include "Zin/ValueInfo.h"

namespace Zin {

class ZIN_EXPORT Any {
  public:
    // Holds nothing.
    Any() = default;
    // A copy of the value at `from`, or a default value when that is null.
    explicit Any(const ValueInfo& type, const void* from = nullptr);
    Any(const Any& other);
    Any(Any&& other) noexcept;
    Any& operator=(Any other) noexcept;
    ~Any();

    // The value that the whole text stands for. Throws TextException, RangeException, and
    // Exception for a type that holds a collection.
    static Any fromText(const ValueInfo& type, std::string_view text);

    // Null when it holds nothing.
    const ValueInfo* type() const noexcept { return type_; }
    const void* get() const noexcept { return value_; }
    void* get() noexcept { return value_; }
    // REQUIRES: it holds something.
    std::string text() const;

    // The same type and an equal value.
    friend ZIN_EXPORT bool operator==(const Any& a, const Any& b);

  private:
    const ValueInfo* type_ = nullptr;
    void* value_ = nullptr;
};

}  // namespace Zin
