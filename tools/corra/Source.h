// Source is where a command finds entity trees: a live owner ("unix:PATH", "tcp:PORT"), a
// directory with the capture of a router, or a state file (corra/StateFile.h).

#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "corra/Live.h"
#include "corra/Roots.h"

namespace corra {

struct SourceOptions {
    // Empty: what the environment variable CORRA_AT says.
    std::string at;
    std::chrono::milliseconds patience = usualPatience;
};

class Source {
  public:
    enum class Kind { live, capture, stateFile };

    // Loads all trees, or only the one of that name where that is less work. Throws
    // std::runtime_error and std::system_error with the place, and StateError.
    explicit Source(const SourceOptions& options, const Zin::String& only = {});

    // Throws std::runtime_error when there is none.
    static Kind kindOf(const std::string& source);
    // Where the options lead to. Throws std::runtime_error when neither they nor the
    // environment say.
    static std::string placeOf(const SourceOptions& options);

    Kind kind() const { return kind_; }
    const std::string& place() const { return place_; }
    Roots& roots() { return roots_; }

    // Throws std::runtime_error when what lies under that root cannot be changed here.
    void requireWritable(const Zin::String& root) const;
    // Brings what was changed in the trees to where they are from. Where that is a live owner
    // the trees are afterwards what it holds then. When this throws for a file, that is as it
    // was.
    void commit();
    // Loads the trees again: those that stand under their name and type already are updated.
    // Not for a live owner. Nothing has changed when it throws.
    void reload();

  private:
    void load(Roots& roots) const;

    const std::string place_;
    const Kind kind_;
    std::unique_ptr<Live> live_;
    Roots roots_;
};

}  // namespace corra
