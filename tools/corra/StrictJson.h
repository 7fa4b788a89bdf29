// JSON text (RFC 8259) as state files and captures hold it: UTF-8, no name twice in one object,
// nested no deeper than a bound. Linear in the length of the text, times the logarithm of the
// size of an object; read without recursion.

#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string_view>

namespace corra {

inline constexpr std::size_t maxJsonDepth = 100;

// A document as it was read. It can be destroyed when memory has run out: nlohmann::json takes
// some to destroy what has members, and ends the process where there is none.
class JsonDocument {
  public:
    JsonDocument() = default;
    JsonDocument(JsonDocument&&) = default;
    JsonDocument& operator=(JsonDocument&&) = delete;
    ~JsonDocument();

    nlohmann::json& root() noexcept { return root_; }
    operator const nlohmann::json&() const noexcept { return root_; }

  private:
    nlohmann::json root_;
};

// Throws a StateError: with line and column for what is no JSON, with a JSON pointer for a name
// that stands twice and for what lies too deep.
JsonDocument parseStrictJson(std::string_view text, std::string_view file);

}  // namespace corra
