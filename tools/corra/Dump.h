// The state of an entity tree as sorted text, one fact a line (corra/Facts.h). Two trees of the
// same types have the same dump if and only if they hold the same: names of the roots and the
// order in which collections are stored leave no trace. Linear in the size of the state, and
// sorted.

#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "Zin/Entity.h"
#include "corra/Facts.h"

namespace corra {

// Lines end with a newline; paths begin with `path`.
std::string dump(std::string_view path, const Zin::Entity& entity);

// 16 hexadecimal digits that tell texts apart at a glance (FNV-1a, 64 bits). No protection
// against somebody who looks for two texts with the same digest.
std::string digest(std::string_view text);

// "PATH: TYPE name=text", without the type for what is no entity.
std::string textOf(const Fact& fact);

nlohmann::ordered_json jsonOf(const Fact& fact);

// " name=text name=text", or " text" for a plain value.
std::string textOf(const Fields& fields);

nlohmann::ordered_json jsonOf(const Field& field);

// One line. Bytes that are no UTF-8 are replaced.
std::string lineOf(const nlohmann::ordered_json& json);

// Prints an array with a line for each element, as they come.
class JsonArray {
  public:
    void add(const nlohmann::ordered_json& element);
    void end();

  private:
    std::string held_;
};

}  // namespace corra
