#include "corra/Modules.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "Zin/Module.h"

namespace corra {

namespace {

void loadModule(const std::string& library) {
    const bool isHere =
        library.find('/') == std::string::npos && std::filesystem::exists(library);
    Zin::modulesOf(isHere ? "./" + library : library);
}

}  // namespace

void loadModules(const std::vector<std::string>& libraries) {
    const char* const usual = std::getenv("CORRA_MODULE");
    std::istringstream names(usual ? usual : "");
    for (std::string name; std::getline(names, name, ':');) {
        if (!name.empty()) loadModule(name);
    }
    for (const std::string& library : libraries) loadModule(library);
}

}  // namespace corra
