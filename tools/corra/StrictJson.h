// JSON text (RFC 8259) as state files and captures hold it: UTF-8, no name twice in one object,
// nested no deeper than a bound. Linear in the length of the text, times the logarithm of the
// size of an object; never recursive.

#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string_view>

namespace corra {

inline constexpr std::size_t maxJsonDepth = 100;

// Throws a StateError: with line and column for what is no JSON, with a JSON pointer for a name
// that stands twice and for what lies too deep.
nlohmann::json parseStrictJson(std::string_view text, std::string_view file);

}  // namespace corra
