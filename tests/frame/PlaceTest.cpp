// Paths into entity trees: where they lead, what they refuse and where, and that every place
// below a tree is found again by its own path.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Zin/Place.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Mutate.h"

namespace {

using Zin::Any;
using Zin::Place;
using Strings = std::vector<std::string_view>;

Zin::Ptr<Lab::Bench> bench() {
    auto root = Lab::Bench::BenchIs("pw");
    root->readingIs(3, "x");
    root->reagentIs(Lab::Reagent("salt", 2));
    root->rackIs("a", true)->heightIs(5);
    root->rackIs("it's", false)->slotIs("s1")->sampleIs("deep")->markIs("m");
    root->spareIs("old");
    return root;
}

// What a step does to a tree, or the text of what it throws.
template <class Step>
std::string outcome(const Step& step) {
    try {
        return step();
    } catch (const Zin::PathException& e) {
        const std::string text = e.what();
        EXPECT_TRUE(text.starts_with("at position " + std::to_string(e.position()) + ": "));
        return text;
    } catch (const Zin::TextException& e) {
        return "at position " + std::to_string(e.position()) + ": expected " + e.expectation();
    } catch (const Zin::Exception& e) {
        return std::string("refused ") + e.what();
    }
}

std::string shown(const Place& place) {
    if (!place.exists()) return "absent";
    if (place.type()) return place.value().text();
    if (place.kind() == Place::Kind::entity) return std::string(place.entity()->name().view());
    std::string all;
    for (const Place& child : place.children()) all += child.path() + ' ';
    return all;
}

struct Case {
    std::string_view path;
    // Begins the outcome.
    std::string_view expected;
};

TEST(Place, PathsLeadToWhatTheySay) {
    const Place root(bench());
    for (const auto& [path, expected] : {
             Case{"", "pw"},
             {".flag", "True"},
             {".racks", "2"},
             {".rack['a'].cooled", "True"},
             {".solvent.grams", "0"},
             {".reading[3]", "'x'"},
             {".reading[4]", "absent"},
             {".reagent['salt'].grams", "2"},
             {".reagent[\"salt\"].colour", "green"},
             {".reagent['sugar'].colour", "absent"},
             {".rack[\"it's\"].slot['s1'].sample['deep'].mark['m']", ""},
             {".rack", "pw.rack['a'] pw.rack['it\\'s'] "},
             {".rack['a']", "a"},
             {".rack['b']", "absent"},
             {".rack['a'].spare", "absent"},
             {".spare", "old"},
             {".spare.mass", "7"},
         }) {
        EXPECT_EQ(outcome([&, p = path] { return shown(root.walk(p)); }), expected) << path;
    }
}

TEST(Place, PathsThatLeadNowhereSayWhereAndWhatIsDue) {
    const Place root(bench());
    for (const auto& [path, expected] : {
             Case{"flag", "at position 10: expected '.' or the end"},
             {".", "at position 11: Lab::Bench has no attribute ''; it has flag, tiny"},
             {".flagg", "at position 11: Lab::Bench has no attribute 'flagg'; it has"},
             {".flag.x", "at position 16: bool has no field 'x'; it has none"},
             {".flag[0]", "at position 15: expected '.'"},
             {".solvent.gram",
              "at position 19: Lab::Reagent has no field 'gram'; it has name, grams"},
             {".rack.height", "at position 15: expected '[' and a key, Zin::String"},
             {".rack[a]", "at position 16: expected '\\''"},
             {".rack[\"a]", "at position 19: expected a closing quote"},
             {".rack[\"\\\"'\\q\"]", "at position 21: expected an escaped"},
             {".rack['a'", "at position 19: expected ']'"},
             {".reading[4294967296]", "at position 19: expected a number from 0"},
             {".rack['b'].height", "at position 15: there is no pw.rack['b']"},
             {".rack['a'].spare.mass", "at position 20: there is no pw.rack['a'].sp"},
             {".tag[1].value", "at position 18: pw.tag[1] has no field"},
         }) {
        const std::string found = outcome([&, p = path] { return shown(root.walk(p, 10)); });
        EXPECT_TRUE(found.starts_with(expected)) << path << ": " << found;
    }
}

TEST(Place, RootsAreNamedBareOrWithTheirType) {
    const auto read = [](std::string_view path) {
        return outcome([&] {
            const Place::Rooted root = Place::rooted(path);
            EXPECT_EQ(root.rest, path.substr(root.position));
            return root.type + '|' + root.name + '|' + std::string(root.rest);
        });
    };
    for (const auto& [path, expected] : {
             Case{"pw.mtu", "|pw|.mtu"},
             {"ge-0/0:1", "|ge-0/0:1|"},
             {"Config(\"p.w\").a", "Config|p.w|.a"},
             {"Pseudowire::Config('a\\'b')", "Pseudowire::Config|a'b|"},
             {"", "at position 0: "},
             {".mtu", "at position 0: "},
             {"('pw')", "at position 0: "},
             {"pw[1]", "at position 2: "},
             {"Config(pw)", "at position 7: "},
             {"Config(\"pw\"", "at position 11: "},
             {"Config(\"pw\")x", "at position 12: "},
         }) {
        const std::string found = read(path);
        EXPECT_TRUE(found.starts_with(expected)) << path << ": " << found;
    }
    for (const std::string_view name : {"pw", "", "a b", "it's", "a.b", "x(\"y\")", "\x01"}) {
        const Place root(Lab::Bench::BenchIs(name));
        const Place::Rooted again = Place::rooted(root.path());
        EXPECT_EQ(again.name, name);
        EXPECT_EQ(again.rest, "");
    }
}

TEST(Place, SettingGoesThroughMutatorsAndTypes) {
    struct Setting {
        std::string_view path, text, told, expected;
    };
    for (const auto& [path, text, told, expected] : {
             Setting{".flag", "False", "flag", ""},
             {".flag", "True", "", ""},
             {".flag", "false", "", "at position 0: "},
             {".label", "\"a'b\"", "label", ""},
             {".label", "'a' ", "", "at position 3: "},
             {".solvent.grams", "-3", "solvent", ""},
             {".solvent.grams", "0", "", ""},
             {".reading[3]", "'y'", "reading[3]", ""},
             {".reading[9]", "'y'", "reading[9]", ""},
             {".reagent['salt'].grams", "4", "reagent['salt']", ""},
             {".reagent['salt'].name",
              "'oil'",
              "",
              "refused Lab::Bench \"pw\", attribute 270 (reagent), key 'salt': the"},
             {".reagent['sugar'].grams", "4", "", "refused there is no pw.reagent['sugar']"},
             {".batch", "5", "", "refused pw.batch cannot be changed"},
             {".racks", "5", "", "refused pw.racks cannot be changed"},
             {".rack['a'].cooled", "False", "", "refused pw.rack['a'].cooled cannot be"},
             {".rack", "5", "", "refused pw.rack has no value"},
             {".rack['a']", "5", "", "refused pw.rack['a'] has no value"},
             {".tag[3]", "5", "", "refused pw.tag[3] has no value"},
         }) {
        const auto root = bench();
        const support::State before = support::dump(*root);
        support::Listener listener(*root);
        const std::string found = outcome([&, p = path, t = text] {
            const Place place = Place(root).walk(p);
            place.textIs(t);
            const std::string same = place.value().text();
            EXPECT_EQ(same, t.starts_with('"') ? "'a\\'b'" : t);
            return std::string();
        });
        EXPECT_TRUE(found.starts_with(expected)) << path << ": " << found;
        EXPECT_EQ(found.empty(), expected.empty()) << path << ": " << found;
        const std::vector<std::string> due(told.empty() ? 0 : 1, std::string(told));
        EXPECT_EQ(listener.told, due) << path;
        if (told.empty()) {
            EXPECT_EQ(support::difference(before, support::dump(*root)), "");
        }
    }
}

TEST(Place, ValuesThatATypeDoesNotReadAreNotSet) {
    const auto config = Pseudowire::Config::ConfigIs("pw");
    const Place root(config);
    const Place range = root.walk(".intfReviewDelayRange");
    EXPECT_THROW(range.valueIs(Any()), Zin::NullPointerException);
    EXPECT_THROW(range.valueIs(Any(Zin::valueInfo<double>)), Zin::TypeException);
    range.valueIs(Any(Zin::valueInfo<Pseudowire::TimeRange>));
    EXPECT_EQ(config->intfReviewDelayRange(), Pseudowire::TimeRange());

    const Place connector = Place::made(root, ".connector[ldp:'pw1']", {});
    EXPECT_EQ(connector.walk(".key").value().text(), "ldp:'pw1'");
    // A number that fits into the field, and that its type does not read: inside of what is
    // set, and around it.
    Any whole = connector.value();
    const Bridging::VlanIdOrNone any(4095);
    static_cast<Pseudowire::Connector*>(whole.get())->dot1qEncapIs({any, any});
    EXPECT_THROW(connector.valueIs(whole), Zin::RangeException);
    const Place tag = connector.walk(".dot1qEncap.outer.value");
    EXPECT_THROW(tag.textIs("4095"), Zin::RangeException);
    tag.textIs("4094");
    EXPECT_EQ(connector.walk(".dot1qEncap").value().text(), "<4094,0>");
}

TEST(Place, MembersAndChildrenAreMadeAndDeleted) {
    struct Making {
        std::string_view path;
        Strings arguments;
        std::string_view expected;
    };
    for (const auto& [path, arguments, expected] : {
             Making{".tag[3]", {}, "tag[3]"},
             {".tag[3]", {"1"}, "refused pw.tag[3] is made without arguments"},
             {".step[3]", {}, "step[3]"},
             {".stock['new']", {}, "stock['new']"},
             {".reagent['salt']", {}, ""},
             {".rack['b']", {"True"}, "rack['b']"},
             {".rack['b']", {"yes"}, "at position 0: expected True or False"},
             {".rack['b']",
              {},
              "refused pw.rack['b']: 0 arguments for a Lab::Rack, due: cooled (bool)"},
             {".rack['b']", {"True", "1"}, "refused pw.rack['b']: 2 arguments"},
             {".rack['a']", {"True"}, ""},
             {".rack['a']", {"False"}, "refused Lab::Rack \"a\", attribute 258 (cooled)"},
             {".rack['a'].spare", {"fresh one"}, ""},
             {".rack['a'].spare",
              {},
              "refused pw.rack['a'].spare: 0 arguments for a Lab::Sample, due: name (Zin:"},
             {".spare", {"'old'"}, ""},
             {".spare", {"new"}, "refused pw.spare is there as 'old'"},
             {".rack", {}, "refused pw.rack is no member"},
             {"", {}, "refused pw is no member"},
             {".solvent.grams", {}, "refused pw.solvent.grams is no member"},
             {".reagent['salt'].grams", {}, "refused pw.reagent['salt'].grams is no member"},
         }) {
        const auto root = bench();
        support::Listener listener(*root);
        const std::string found = outcome([&, p = path, &a = arguments] {
            const Place made = Place::made(Place(root), p, a);
            EXPECT_TRUE(made.exists());
            std::string told = listener.told.empty() ? "" : listener.told[0];
            // What was made can be deleted, once.
            EXPECT_TRUE(made.del());
            EXPECT_FALSE(made.exists());
            EXPECT_FALSE(made.del());
            EXPECT_FALSE(Place(root).walk(p).exists());
            return told;
        });
        EXPECT_TRUE(found.starts_with(expected)) << path << ": " << found;
        EXPECT_EQ(found.empty(), expected.empty()) << path << ": " << found;
    }
    const auto root = bench();
    const Place racks = Place(root).walk(".rack");
    const Place first = racks.children().at(0);
    EXPECT_THROW(Place(root).del(), Zin::Exception);
    EXPECT_THROW(first.walk(".height").del(), Zin::Exception);
    EXPECT_TRUE(racks.del());
    EXPECT_FALSE(racks.del());
    // The place still holds the child; another that took its name is not the same.
    first.walk(".height").textIs("8");
    root->rackIs("a", true);
    EXPECT_FALSE(first.exists());
    EXPECT_FALSE(first.del());
    EXPECT_EQ(root->rack().members(), 1u);
}

// Every place below, met once each.
void visit(const Place& place, const auto& each) {
    each(place);
    for (const Place& child : place.children()) visit(child, each);
}

template <class T>
void everyPlaceIsFoundAgain() {
    laws::Random random(5);
    const auto type = support::entityType<T>();
    const Zin::Ptr<Zin::Entity> entity = type.make("a b");
    const Place root(entity);
    const std::string rest = Place::rooted(root.path()).type;
    int places = 0;
    int settings = 0;
    int damages = 0;
    for (int round = 0; round < 12; ++round) {
        for (int step = 0; step < 40; ++step) type.step(*entity, random);
        const support::State before = support::dump(*entity);
        visit(root, [&](const Place& place) {
            ++places;
            const auto rooted = Place::rooted(place.path());
            const Place again = root.walk(rooted.rest);
            EXPECT_EQ(again.path(), place.path());
            EXPECT_EQ(again.kind(), place.kind());
            EXPECT_EQ(again.entity(), place.entity());
            EXPECT_TRUE(again.exists()) << place.path();
            EXPECT_EQ(again.attribute(), place.attribute());
            if (place.type() && !place.type()->holdsCollection()) {
                const Any value = place.value();
                EXPECT_EQ(again.value(), value);
                support::Listener listener(*place.entity());
                const std::string found = outcome([&] {
                    EXPECT_EQ(Any::fromText(*value.type(), value.text()), value);
                    place.textIs(value.text());
                    return std::string();
                });
                // Numbers that a peer may send and nobody may write.
                const bool isOutOfRange = found.find(" not allowed") != std::string::npos;
                settings += found.empty();
                EXPECT_TRUE(
                    found.empty() || isOutOfRange || found.ends_with("cannot be changed"))
                    << found;
                EXPECT_TRUE(listener.told.empty()) << place.path();
            }
            // Damaged paths are refused or lead to another place.
            std::string damaged(rooted.rest);
            if (damaged.empty()) return;
            damaged[laws::below(random, damaged.size())] = ".[]'\"\\a0"[laws::below(random, 8)];
            damaged.resize(laws::below(random, damaged.size() + 1));
            const std::string found = outcome([&] {
                const Place other = root.walk(damaged);
                EXPECT_EQ(root.walk(Place::rooted(other.path()).rest).path(), other.path());
                return std::string();
            });
            EXPECT_FALSE(found.starts_with("refused")) << damaged << ": " << found;
            damages += !found.empty();
        });
        EXPECT_EQ(support::difference(before, support::dump(*entity)), "");
    }
    EXPECT_GT(settings, places / 3);
    EXPECT_GT(damages, 50);
}

TEST(Place, EveryPlaceOfABenchIsFoundAgain) {
    everyPlaceIsFoundAgain<Lab::Bench>();
}
TEST(Place, EveryPlaceOfAConfigIsFoundAgain) {
    everyPlaceIsFoundAgain<Pseudowire::Config>();
}

}  // namespace
