#include "corra/Show.h"

#include <optional>
#include <stdexcept>
#include <vector>

#include "Quib/DumpContext.h"
#include "Zin/Module.h"
#include "corra/Console.h"
#include "corra/Dump.h"
#include "corra/Locate.h"

namespace corra {

namespace {

int printFacts(const std::vector<Fact>& facts, bool json) {
    JsonArray array;
    for (const Fact& fact : facts) {
        if (json) {
            array.add(jsonOf(fact));
        } else {
            printLine(textOf(fact));
        }
    }
    if (json) array.end();
    flushOutput();
    return exitGood;
}

int printTree(const std::vector<Zin::Ptr<Zin::Entity>>& entities) {
    const auto context = Quib::DumpContext::make([](std::string_view text) { print(text); });
    for (const auto& entity : entities) {
        entity->fwkType().info()->dumpState(*entity, context, 0);
    }
    flushOutput();
    return exitGood;
}

int printAll(const Roots& roots, const ShowOptions& options) {
    if (!options.tree) return printFacts(factsOf(roots), options.json);
    std::vector<Zin::Ptr<Zin::Entity>> entities;
    for (const auto& [name, root] : roots) entities.push_back(root);
    return printTree(entities);
}

// The value, not its fact.
void printValue(const Located& at, bool json) {
    if (!json) return printLine(at.place.value().text());
    nlohmann::ordered_json value;
    forEachFact(at.path, at.place, [&](const Fact& fact) {
        for (const Field& field : fact.fields) {
            if (field.name.empty()) {
                value = jsonOf(field);
            } else {
                value[field.name] = jsonOf(field);
            }
        }
    });
    printLine(lineOf(value));
}

int show(const ShowOptions& options, bool wantsValue) {
    const bool wantsAll = options.path.empty() && !wantsValue;
    Zin::String root;
    if (!wantsAll) withCaret(options.path, [&] { root = rootOf(options.path); });
    Source source(options.source, root);
    if (wantsAll) return printAll(source.roots(), options);
    std::optional<Located> at;
    try {
        withCaret(options.path, [&] { at.emplace(locate(source.roots(), options.path)); });
    } catch (const Zin::AbsentException&) {
    }
    if (!at || !at->place.exists()) {
        say("there is no " + options.path);
        return exitFailed;
    }
    if (options.tree) {
        if (at->place.kind() != Zin::Place::Kind::entity) {
            throw std::runtime_error(options.path + " is no entity: there is no tree of it");
        }
        return printTree({at->place.entity()});
    }
    // Of a collection inside of a value the text says nothing, its facts do.
    const Zin::ValueInfo* const type = at->place.type();
    if (!wantsValue || !type || type->holdsCollection()) {
        return printFacts(factsAt(source.roots(), options.path), options.json);
    }
    printValue(*at, options.json);
    flushOutput();
    return exitGood;
}

}  // namespace

int dump(const ShowOptions& options) {
    return show(options, false);
}

int get(const ShowOptions& options) {
    return show(options, true);
}

}  // namespace corra
