// Finds what a path names among several roots.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Zin/Place.h"
#include "corra/Facts.h"
#include "corra/Roots.h"

namespace corra {

struct Located {
    // As it is shown: from the name of the root on.
    std::string path;
    Zin::Place place;
    // The root, and the path from there as it was given; it lies that far into the path.
    Zin::Place root;
    std::string_view rest;
    std::size_t position;
};

// Throws a Zin::PathException or Zin::TextException with the position in the path; it is a
// Zin::AbsentException when the types allow the path but a child on the way does not exist.
Located locate(const Roots& roots, std::string_view path);

// The name of the root that the path begins with. Throws as locate() does.
Zin::String rootOf(std::string_view path);

// What lies there now: nothing when it, or what it lies in, is absent. Throws as locate() does
// otherwise.
std::vector<Fact> factsAt(const Roots& roots, std::string_view path);
std::vector<Fact> factsOf(const Roots& roots);

// Calls, and adds a line with the text and a caret below the byte at which it is wrong to what
// is said of a bad path or a bad text. That begins with `place`, where there is one. A
// Zin::AbsentException passes.
void withCaret(
    std::string_view text,
    const std::function<void()>& call,
    const std::string& place = {});

}  // namespace corra
