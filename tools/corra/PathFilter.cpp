#include "corra/PathFilter.h"

#include <utility>

#include "corra/Locate.h"

namespace corra {

namespace {

// Whether a path, or a dotted name, is that of a whole or lies in it.
bool liesIn(std::string_view path, std::string_view whole) {
    if (!path.starts_with(whole)) return false;
    const std::string_view rest = path.substr(whole.size());
    return rest.empty() || rest.front() == '.' || rest.front() == '[';
}

}  // namespace

PathFilter::PathFilter(const std::string& path) : path_(path) {
    if (!path_.empty()) withCaret(path_, [&] { root_ = rootOf(path_); });
}

void PathFilter::rootIs(const Zin::String& name, const Zin::Ptr<Zin::Entity>& root) {
    if (root) {
        roots_[name] = root;
    } else {
        roots_.erase(name);
    }
    // A root of another type may spell it in another way.
    spelt_.clear();
}

bool PathFilter::findsAnything() const {
    bool found = false;
    withCaret(path_, [&] { found = !factsAt(roots_, path_).empty(); });
    return found;
}

std::optional<Change> PathFilter::narrowed(const Change& change) {
    if (path_.empty()) return change;
    if (spelt_.empty()) {
        try {
            withCaret(path_, [&] { spelt_ = locate(roots_, path_).path; });
        } catch (const Zin::AbsentException&) {
            return std::nullopt;
        }
    }
    return corra::narrowed(change, spelt_);
}

std::optional<Change> narrowed(const Change& change, std::string_view path) {
    if (liesIn(change.path, path)) return change;
    if (!liesIn(path, change.path)) return std::nullopt;
    if (change.kind == Change::Kind::removed) return change;
    // Of the fact: a field, some of them, or something inside of one.
    const std::string_view wanted = path.substr(change.path.size() + 1);
    Change part{change.kind, std::string(path), {}, {}};
    const auto take = [&](const Fields& from, Fields& to) {
        for (Field field : from) {
            if (liesIn(field.name, wanted)) {
                const bool isWhole = field.name.size() == wanted.size();
                field.name.erase(0, wanted.size() + (isWhole ? 0 : 1));
                to.push_back(std::move(field));
            } else if (!field.name.empty() && liesIn(wanted, field.name)) {
                part.path = change.path + '.' + std::exchange(field.name, {});
                to.push_back(std::move(field));
            }
        }
    };
    take(change.before, part.before);
    take(change.after, part.after);
    if (part.before.empty() && part.after.empty()) return std::nullopt;
    return part;
}

}  // namespace corra
