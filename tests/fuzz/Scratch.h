// Files for a target that reads what it is given from files: in a directory of this process,
// which goes when the process ends in good order.

#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "corra/Dump.h"
#include "corra/Roots.h"
#include "fuzz/Fuzz.h"

namespace fuzz {

class Scratch {
  public:
    Scratch() {
        std::string pattern = std::filesystem::temp_directory_path() / "corra-fuzz-XXXXXX";
        require(mkdtemp(pattern.data()) != nullptr, "a directory can be made", pattern);
        path_ = pattern;
    }
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string path() const { return path_; }
    std::string path(std::string_view name) const { return path_ / name; }
    void write(std::string_view name, std::string_view text) const {
        std::ofstream out(path_ / name, std::ios::binary | std::ios::trunc);
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
        out.close();
        require(!out.fail(), "a file can be written", name);
    }

  private:
    std::filesystem::path path_;
};

// All that the trees hold.
inline std::string dumpOf(const corra::Roots& roots) {
    std::string text;
    for (const auto& [name, root] : roots) text += corra::dump(name.view(), *root);
    return text;
}

}  // namespace fuzz
