// The JSON Schema (draft 2020-12) of state files: for editors, and for validators in languages
// that have no reader of ours.

#pragma once

#include <nlohmann/json.hpp>

namespace corra {

// Of the root types of all modules, and of all that they are made of, each under its name in
// "$defs". Every state that is written fits it; a file that fits may still be refused where a
// text or a combination of fields says nothing (docs/state-file.md).
nlohmann::json stateSchema();

}  // namespace corra
