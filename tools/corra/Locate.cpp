#include "corra/Locate.h"

#include <algorithm>
#include <stdexcept>

namespace corra {

namespace {

bool isTypeNamed(const Zin::Entity& entity, std::string_view wanted) {
    const std::string_view name = entity.fwkType().info()->name;
    if (wanted.empty() || name == wanted) return true;
    if (!name.ends_with(wanted)) return false;
    return name.substr(0, name.size() - wanted.size()).ends_with("::");
}

std::string namesOf(const Roots& roots) {
    std::string names;
    for (const auto& [name, root] : roots) {
        names += (names.empty() ? "" : ", ") + std::string(name.view());
    }
    return names.empty() ? "none" : names;
}

[[noreturn]] void
failWithCaret(const std::string& what, std::string_view text, std::size_t position) {
    // Columns are characters, not bytes.
    const std::string_view before = text.substr(0, position);
    const auto columns = std::count_if(before.begin(), before.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U;
    });
    throw std::runtime_error(
        what + "\n  " + std::string(text) + "\n  " +
        std::string(static_cast<std::size_t>(columns), ' ') + '^');
}

}  // namespace

Located locate(const Roots& roots, std::string_view path) {
    const auto rooted = Zin::Place::rooted(path);
    const auto found = roots.find(Zin::String(rooted.name));
    if (found == roots.end()) {
        throw Zin::PathException(
            0,
            "there is no root \"" + rooted.name + "\"; there are: " + namesOf(roots));
    }
    if (!isTypeNamed(*found->second, rooted.type)) {
        throw Zin::PathException(
            0,
            '"' + rooted.name + "\" is a " +
                std::string(found->second->fwkType().info()->name));
    }
    const Zin::Place root(found->second);
    const Zin::Place place = root.walk(rooted.rest, rooted.position);
    const std::string shown =
        pathOfRoot(rooted.name, *found->second) + place.path().substr(root.path().size());
    return {shown, place, root, rooted.rest, rooted.position};
}

Zin::String rootOf(std::string_view path) {
    return Zin::String(Zin::Place::rooted(path).name);
}

std::vector<Fact> factsAt(const Roots& roots, std::string_view path) {
    std::vector<Fact> facts;
    try {
        const Located at = locate(roots, path);
        forEachFact(at.path, at.place, [&](const Fact& fact) { facts.push_back(fact); });
    } catch (const Zin::AbsentException&) {
    }
    return facts;
}

std::vector<Fact> factsOf(const Roots& roots) {
    std::vector<Fact> facts;
    for (const auto& [name, root] : roots) {
        forEachFact(pathOfRoot(name.view(), *root), *root, [&](const Fact& fact) {
            facts.push_back(fact);
        });
    }
    return facts;
}

void withCaret(
    std::string_view text,
    const std::function<void()>& call,
    const std::string& place) {
    const std::string about = place.empty() ? "" : place + ": ";
    try {
        call();
    } catch (const Zin::AbsentException&) {
        throw;
    } catch (const Zin::PathException& failure) {
        failWithCaret(about + failure.what(), text, failure.position());
    } catch (const Zin::TextException& failure) {
        failWithCaret(about + failure.what(), text, failure.position());
    }
}

}  // namespace corra
