#include "corra/Diff.h"

#include <map>

#include "corra/Console.h"
#include "corra/Dump.h"
#include "corra/Locate.h"
#include "corra/Source.h"

namespace corra {

namespace {

std::map<std::string_view, const Fact*> byPath(const std::vector<Fact>& facts) {
    std::map<std::string_view, const Fact*> sorted;
    for (const Fact& fact : facts) sorted.emplace(fact.path, &fact);
    return sorted;
}

}  // namespace

std::vector<Change> differences(
    const std::vector<Fact>& before,
    const std::vector<Fact>& after) {
    std::vector<Change> changes;
    const auto remove = [&](const Fact& fact) {
        changes.push_back({Change::Kind::removed, fact.path, fact.fields, {}});
    };
    const auto add = [&](const Fact& fact) {
        changes.push_back({Change::Kind::added, fact.path, {}, fact.fields});
    };
    const auto old = byPath(before);
    const auto now = byPath(after);
    auto a = old.begin();
    auto b = now.begin();
    while (a != old.end() || b != now.end()) {
        if (b == now.end() || (a != old.end() && a->first < b->first)) {
            remove(*a++->second);
        } else if (a == old.end() || b->first < a->first) {
            add(*b++->second);
        } else {
            const Fact& was = *a++->second;
            const Fact& is = *b++->second;
            if (was.type != is.type) {
                remove(was);
                add(is);
            } else if (auto change = changeOf(was.path, was.fields, is.fields)) {
                changes.push_back(std::move(*change));
            }
        }
    }
    return changes;
}

void printChanges(const std::vector<Change>& changes, bool json) {
    JsonArray array;
    for (const Change& change : changes) {
        if (json) {
            array.add(jsonOf(change));
        } else {
            printLine(textOf(change));
        }
    }
    if (json) array.end();
}

int diff(const DiffOptions& options) {
    Source a({options.before, options.patience});
    Source b({options.after, options.patience});
    // Of two single trees each other's names do not matter.
    if (a.roots().size() == 1 && b.roots().size() == 1) {
        const Zin::Ptr<Zin::Entity> only = b.roots().begin()->second;
        b.roots() = {{a.roots().begin()->first, only}};
    }
    const auto changes = differences(factsOf(a.roots()), factsOf(b.roots()));
    printChanges(changes, options.json);
    flushOutput();
    return changes.empty() ? exitGood : exitFailed;
}

}  // namespace corra
