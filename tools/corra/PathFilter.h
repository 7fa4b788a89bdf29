// PathFilter lets those changes pass that concern a path: what lies at it or below, and the
// coming and going of what it lies in. The path may lead to what does not exist yet.

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "corra/Roots.h"
#include "corra/Watch.h"

namespace corra {

class PathFilter {
  public:
    // An empty path lets all pass. Throws std::runtime_error when it is no path.
    explicit PathFilter(const std::string& path);

    // The name of the root that the path begins with; empty for all.
    const Zin::String& root() const { return root_; }
    // Another entity stands under that name now; null for none.
    void rootIs(const Zin::String& name, const Zin::Ptr<Zin::Entity>& root);

    // Whether there is something at the path now. Throws as narrowed() does.
    bool findsAnything() const;

    // The change as far as it concerns the path; fields are named relative to it. Throws
    // std::runtime_error when no type allows the path.
    std::optional<Change> narrowed(const Change& change);

  private:
    const std::string path_;
    Zin::String root_;
    Roots roots_;
    // The path as changes spell it, once all that it lies in has been there.
    std::string spelt_;
};

// The same for a path that is spelt as changes are.
std::optional<Change> narrowed(const Change& change, std::string_view path);

}  // namespace corra
