// Modules of a user's own: shared libraries that join the types which the tool knows.

#pragma once

#include <string>
#include <vector>

namespace corra {

// Loads the libraries that CORRA_MODULE names, with colons between them, then these. A name
// without a slash is that of a file here or, where there is none, is looked for as dlopen(3)
// does. A library that is named again is loaded once. Throws Zin::ModuleException.
void loadModules(const std::vector<std::string>& libraries);

}  // namespace corra
