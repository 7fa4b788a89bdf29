// A state file holds entity trees as JSON: to keep them, to look at them, to write some by hand
// and to load them again. docs/state-file.md has the format.
//
// All of it is read and written through Zin::EntityTypeInfo and Zin::ValueInfo: types join by
// being registered. Equal trees have the same text, byte for byte.

#pragma once

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "Zin/Module.h"
#include "corra/Roots.h"
#include "corra/StateError.h"

namespace corra {

inline constexpr std::string_view stateFormat = "corra-state";
inline constexpr unsigned stateVersion = 1;
inline constexpr std::size_t maxStateBytes = std::size_t{256} << 20;

// REQUIRES: no root is null. Linear in the size of the state, and sorted. A value that has no
// form in a state file is a Zin::Exception.
nlohmann::json stateOf(const Roots& roots);
// Indented by 2, ends with a newline.
std::string stateText(const Roots& roots);

// Makes the trees that the text describes: all of them, or a StateError and none. `file` is the
// name that errors carry.
Roots readState(std::string_view text, std::string_view file);
// Throws std::system_error when the file cannot be read.
Roots readStateFile(const std::string& file);

// Whether a state file carries the attribute of a type: what can be set, and what entities are
// made with behind their name or key.
bool isInStateFile(const Zin::EntityTypeInfo& type, const Zin::AttributeInfo& attribute);
// The field of a collection's values that their key is written in place of; empty for none.
std::string_view fieldInKey(const Zin::AttributeInfo& collection);

// The entity types of all modules that may stand at the root of a tree.
void forEachRootType(const std::function<void(const Zin::EntityTypeInfo&)>& visit);

}  // namespace corra
