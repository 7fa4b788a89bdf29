#include "corra/Edit.h"

#include <functional>
#include <optional>
#include <stdexcept>
#include <string_view>

#include "corra/Console.h"
#include "corra/Diff.h"
#include "corra/Locate.h"
#include "corra/Update.h"

namespace corra {

namespace {

using Facts = std::function<std::vector<Fact>()>;

// Brings a change to where it belongs. `facts` tells those that it concerns.
void commit(Source& source, const std::vector<Fact>& before, const Facts& facts, bool quiet) {
    const std::vector<Fact> asked = facts();
    if (asked == before) return;
    source.commit();
    const std::vector<Fact> now = facts();
    if (now != asked) {
        std::string text = source.place() + ": the owner holds something else now:";
        for (const Change& change : differences(asked, now)) text += "\n  " + textOf(change);
        throw std::runtime_error(text);
    }
    if (!quiet) printChanges(differences(before, now), false);
    flushOutput();
}

bool isString(const Zin::ValueInfo& type) {
    return type.isWrapper() ? isString(*type.fields[0].type)
                            : type.kind == Zin::ValueKind::string;
}

// A string need not be in quotes, unless its bare text would be one in quotes.
void setText(const Located& at, const std::string& text) {
    const Zin::Place& place = at.place;
    try {
        const auto setIt = [&] {
            try {
                place.textIs(text);
            } catch (const Zin::TextException&) {
                if (!isString(*place.type())) throw;
                std::string quoted;
                Zin::appendQuoted(quoted, text);
                place.textIs(quoted);
            }
        };
        withCaret(text, setIt, at.path);
    } catch (const Zin::RangeException& failure) {
        throw std::runtime_error(at.path + ": " + text + ": " + failure.what());
    }
}

void set(const Located& at, const std::vector<std::string>& values) {
    using enum Zin::Place::Kind;
    const Zin::Place& place = at.place;
    if (place.kind() == collection) {
        throw std::runtime_error(at.path + " is a collection: set its members");
    }
    if (place.type() && values.size() == 1) return setText(at, values[0]);
    const bool isField = place.type() && !at.path.ends_with(']');
    if (isField || (place.type() && !values.empty())) {
        throw std::runtime_error(
            at.path + ": one value is expected, " + std::string(place.type()->name));
    }
    const std::vector<std::string_view> arguments(values.begin(), values.end());
    try {
        Zin::Place::made(at.root, at.rest, arguments, at.position);
    } catch (const Zin::TextException& failure) {
        throw std::runtime_error(at.path + ": " + failure.what());
    }
}

int edit(const EditOptions& options, const std::function<int(const Located&)>& change) {
    const std::string& path = options.path;
    Zin::String root;
    withCaret(path, [&] { root = rootOf(path); });
    Source source(options.source, root);
    source.requireWritable(root);
    std::optional<Located> at;
    withCaret(path, [&] { at.emplace(locate(source.roots(), path)); });
    const auto facts = [&] {
        return factsAt(source.roots(), path);
    };
    const std::vector<Fact> before = facts();
    const int status = change(*at);
    commit(source, before, facts, options.quiet);
    return status;
}

}  // namespace

int set(const EditOptions& options) {
    return edit(options, [&](const Located& at) {
        set(at, options.values);
        return exitGood;
    });
}

int del(const EditOptions& options) {
    const auto nothing = [&] {
        say("there is no " + options.path);
        return exitFailed;
    };
    try {
        return edit(options, [&](const Located& at) -> int {
            if (at.place.del()) return exitGood;
            return at.place.kind() == Zin::Place::Kind::collection ? exitGood : nothing();
        });
    } catch (const Zin::AbsentException&) {
        return nothing();
    }
}

int import(const ImportOptions& options) {
    Source from({options.from, options.source.patience});
    Source to(options.source);
    for (const auto& [name, root] : from.roots()) {
        to.requireWritable(name);
        if (to.roots().contains(name)) continue;
        if (to.kind() == Source::Kind::live) {
            throw std::runtime_error(
                to.place() + ": nothing is exported as " + std::string(name.view()));
        }
    }
    const auto facts = [&] {
        return factsOf(to.roots());
    };
    const std::vector<Fact> before = facts();
    for (const auto& [name, root] : from.roots()) {
        Zin::Ptr<Zin::Entity>& target = to.roots()[name];
        if (target) {
            update(*target, *root);
        } else {
            target = root;
        }
    }
    commit(to, before, facts, options.quiet);
    return exitGood;
}

}  // namespace corra
