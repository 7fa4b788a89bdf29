// What the modules of the library are made of, as their compiled type tables say
// (Zin/TypeTable.h): nothing here knows a type of C++.
//
//     PseudowireConfig: 2 types
//
//       enumeration Pseudowire::GroupIdAllocation : U8
//         0  byPort
//         ...
//       entity Pseudowire::Config : Zin::Entity (root)
//         258  mtuIgnore                    value     bool
//         262  patch                        children  Patch by name: Zin::String
//         ...
//
// Names of types are written as they would be inside of the namespace of the type that uses
// them.

#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "Zin/TypeTable.h"

namespace corra {

struct TypesOptions {
    // Empty: all.
    std::string module;
    bool json = false;
};

// Prints the types of a module, or of all in the order of their names. Returns the exit status.
int types(const TypesOptions& options);

// The same of one table. Lines end with a newline.
std::string textOfTypes(std::string_view module, const Zin::TypeTable& table);
nlohmann::ordered_json jsonOfTypes(std::string_view module, const Zin::TypeTable& table);

}  // namespace corra
