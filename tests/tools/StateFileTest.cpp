// State files: what is written is read back, what is read is whole or refused, and an update
// tells of what differs. The laws hold for random trees of every root type.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "Bridging/Dot1qEncap.h"
#include "Bridging/VlanId.h"
#include "Pseudowire/PwRunnability.h"
#include "Zin/AllocTrack.h"
#include "Zin/Any.h"
#include "Zin/RbTreeMap.h"
#include "corra/Generic.h"
#include "corra/Process.h"
#include "corra/StateFile.h"
#include "corra/StateSchema.h"
#include "corra/StateValue.h"
#include "corra/StrictJson.h"
#include "corra/Update.h"
#include "corra/WriteFile.h"
#include "frame/TypeModule.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Mutate.h"
#include "tools/Captures.h"

extern const Zin::ZinModule _Depot_0_zinModule;

namespace Depot {

// Wraps one field.
class Weight : public Zin::Value<Weight> {
  public:
    static consteval auto schema() {
        return describe::value("Depot::Weight", describe::field<&Weight::value_>("value"));
    }

  private:
    std::int64_t value_ = 0;
};

// Holds collections of both kinds.
class Crate : public Zin::Value<Crate> {
  public:
    struct PartNode : Zin::HashMap2018NodeExternKey<false, 1, Bridging::VlanId, Weight, false> {
    };

    static constexpr bool ordered = false;
    static constexpr bool hashed = false;

    static consteval auto schema() {
        return describe::value(
            "Depot::Crate",
            describe::field<&Crate::weight_>("weight"),
            describe::field<&Crate::label_>("label"),
            describe::field<&Crate::part_>("part"));
    }

  private:
    Weight weight_;
    Zin::HSet<Zin::String, 2> label_;
    Zin::HashMap2018<PartNode, Bridging::VlanId, Weight> part_;
};

// Keys, members and values of which some have no text.
class Yard final : public frame::EntityOf<Yard> {
  public:
    struct Notifiee : frame::NotifieeOf<Yard> {
        using NotifieeOf::NotifieeOf;
        virtual void onGate(const Bridging::VlanId&) {}
        virtual void onEncap() {}
    };

    static consteval auto schema() {
        return frame::entity<_Depot_0_zinModule, 0>(
            "Depot::Yard",
            frame::attribute<258, &Yard::gate_, &Notifiee::onGate>("gate"),
            frame::attribute<259, &Yard::closed_, &Notifiee::onGate>("closed"),
            frame::attribute<260, &Yard::encap_, &Notifiee::onEncap>("encap"));
    }
    static constexpr bool isRoot = true;

    Yard(frame::Construct construct, const Zin::String& name) : EntityOf(construct, name) {}

  private:
    struct GateNode : Zin::HashMap2018NodeExternKey<
                          false,
                          3,
                          Bridging::VlanId,
                          Bridging::Dot1qEncap,
                          false> {};

    Zin::HashMap2018<GateNode, Bridging::VlanId, Bridging::Dot1qEncap> gate_;
    Zin::HSet<Bridging::VlanId, 4> closed_;
    Bridging::Dot1qEncap encap_;
};

}  // namespace Depot

constinit const Zin::ZinModule _Depot_0_zinModule = frame::moduleOf<Depot::Yard>("Depot");

namespace {

const Zin::ModuleRegistration registration(&_Depot_0_zinModule);

using namespace corra;
using support::EntityType;
using support::entityType;
using Zin::Entity;
using EntityPtr = Zin::Ptr<Entity>;

// Later roots join by standing here.
constexpr EntityType types[] = {
    entityType<Lab::Bench>(),
    entityType<Depot::Yard>(),
    entityType<Pseudowire::Config>(),
    entityType<Pseudowire::Runnability>(),
};

std::string differenceOf(const Entity& expected, const Entity& found) {
    return support::difference(support::dump(expected), support::dump(found));
}

void takeSteps(const EntityType& type, Entity& entity, unsigned steps, laws::Random& random) {
    for (unsigned i = 0; i < steps; ++i) type.step(entity, random);
}

EntityPtr randomTree(const EntityType& type, laws::Random& random) {
    EntityPtr root = type.make(laws::randomValue<Zin::String>(random));
    takeSteps(type, *root, static_cast<unsigned>(laws::below(random, 250)), random);
    return root;
}

Roots rootsOf(const EntityPtr& root) {
    return {{root->name(), root}};
}

std::int64_t entityBytes() {
    std::int64_t bytes = 0;
    for (auto* record = Zin::AllocTrackTypeInfo::first(); record; record = record->next()) {
        bytes += static_cast<std::int64_t>(record->counts().liveBytes);
    }
    return bytes;
}

// --- Trees ---

TEST(StateFile, AllRootTypesAreTested) {
    std::set<std::string_view> tested;
    for (const EntityType& type : types) tested.insert(type.make("x")->fwkType().name());
    forEachRootType([&](const Zin::EntityTypeInfo& type) {
        EXPECT_TRUE(tested.contains(type.name)) << type.name;
    });
}

TEST(StateFile, WhatIsWrittenIsReadBack) {
    laws::Random random(1);
    for (const EntityType& type : types) {
        for (int round = 0; round < 60; ++round) {
            const EntityPtr written = randomTree(type, random);
            const std::string text = stateText(rootsOf(written));
            const Roots read = readState(text, "state.json");
            ASSERT_EQ(read.size(), 1u);
            EXPECT_EQ(read.begin()->first, written->name());
            EXPECT_EQ(read.begin()->second->name(), written->name());
            ASSERT_EQ(differenceOf(*written, *read.begin()->second), "") << text;
            ASSERT_EQ(stateText(read), text);
        }
    }
}

TEST(StateFile, CapturesComeBackByteForByte) {
    for (const char* const moment : test::captures) {
        const auto config = test::imported(test::captureText(moment));
        const std::string text = stateText({{"pw", config}});
        const Roots read = readState(text, moment);
        EXPECT_EQ(stateText(read), text);
        EXPECT_EQ(dump("pw", *read.at("pw")), dump("pw", *config));
    }
}

std::string stateWith(const std::string& type, const std::string& attributes) {
    return R"({"format": "corra-state", "version": 1, "roots": {"r": {"type": ")" + type +
           R"(", "attributes": )" + attributes + "}}}";
}

TEST(StateFile, WhatIsMissingKeepsItsDefault) {
    const std::string text = stateWith("Lab::Bench", R"({
        "label": "x", "reagent": {"a": {"grams": 3}}, "rack": {"b": {"cooled": true}}})");
    const Roots roots = readState(text, "short.json");
    const auto bench = Lab::Bench::BenchIs("r");
    bench->labelIs("x");
    bench->reagentIs(Lab::Reagent("a", 3));
    bench->rackIs("b", true);
    EXPECT_EQ(differenceOf(*bench, *roots.at("r")), "");
    const Roots shortest = readState(
        R"({"format":"corra-state","version":1,"roots":{"r":{"type":"Lab::Bench"}}})",
        "shortest.json");
    EXPECT_EQ(differenceOf(*Lab::Bench::BenchIs("r"), *shortest.at("r")), "");
}

// --- Values ---

template <class T>
void expectValue(const char* text, const T& value) {
    const StatePlace place("value.json");
    const nlohmann::json json = jsonOf(Zin::valueInfo<T>, &value);
    EXPECT_EQ(json.dump(), text);
    T read;
    readValue(place, parseStrictJson(text, "value.json"), Zin::valueInfo<T>, &read);
    EXPECT_EQ(jsonOf(Zin::valueInfo<T>, &read), json);
    const std::string key = keyTextOf(Zin::valueInfo<T>, &value);
    if (Zin::valueInfo<T>.holdsCollection()) return;
    T readFromKey;
    readKey(place, key, Zin::valueInfo<T>, &readFromKey);
    EXPECT_EQ(jsonOf(Zin::valueInfo<T>, &readFromKey), json) << key;
}

TEST(StateValue, HasOneForm) {
    using Signed = std::numeric_limits<std::int64_t>;
    expectValue("true", true);
    expectValue("18446744073709551615", std::numeric_limits<std::uint64_t>::max());
    expectValue("-9223372036854775808", Signed::min());
    expectValue("9223372036854775807", Signed::max());
    expectValue("0.1", 0.1);
    expectValue("1e+300", 1e300);
    expectValue("0.0", -0.0);
    expectValue(R"("-inf")", -std::numeric_limits<double>::infinity());
    expectValue(R"("nan")", -std::numeric_limits<double>::quiet_NaN());
    expectValue<Zin::String>(R"("")", "");
    expectValue<Zin::String>(R"("it's \u0000\n\"ü\"")", std::string_view("it's \0\n\"ü\"", 11));
    expectValue<Zin::String>(R"("'\\'tis'")", "'tis");
    expectValue<Zin::String>(R"("'a\\xff'")", "a\xff");
    expectValue(R"("violet")", Lab::Colour::violet);
    expectValue("2", static_cast<Lab::Colour>(2));
    expectValue(R"("4094")", Bridging::VlanId(4094));
    expectValue(R"({"value":4095})", Bridging::VlanId(4095));
    expectValue(
        R"({"inner":"7","outer":{"value":5000}})",
        Bridging::Dot1qEncap(Bridging::VlanIdOrNone(5000), Bridging::VlanIdOrNone(7)));
}

TEST(StateValue, HoldsCollections) {
    for (
        const char* const text :
        {R"({"label":[],"part":{},"weight":0})",
         R"({"label":["","'\\xfe'","a","b"],"part":{"7":-1,"{\"value\":0}":2},"weight":-5})"}) {
        Depot::Crate crate;
        const StatePlace place("crate.json");
        readValue(place, parseStrictJson(text, "x"), Zin::valueInfo<Depot::Crate>, &crate);
        expectValue(text, crate);
    }
}

// --- Bad files ---

struct BadFile {
    std::string text;
    // "bad.json: " before it.
    std::string error;
    // Whether the schema says that it is bad, too.
    bool breaksSchema = true;
};

BadFile badBench(const char* attributes, const std::string& error, bool breaksSchema = true) {
    return {stateWith("Lab::Bench", attributes), "/roots/r/attributes/" + error, breaksSchema};
}

std::vector<BadFile> badFiles() {
    const std::string twice = "expected each name once, found it again";
    const std::string again = "expected each key once, found it again";
    std::vector<BadFile> files{
        // The file.
        {"[]", "expected an object, found an array"},
        {"{}", R"(expected a member "format", found none)"},
        {R"({"format": "x", "version": 1, "roots": {}})",
         R"(/format: expected "corra-state", found "x")"},
        {R"({"format": "corra-state", "version": 2, "roots": {}})",
         "/version: expected 1, found 2"},
        {R"({"format": "corra-state", "version": 1, "roots": {}, "a~/b": 0})",
         R"(/a~0~1b: expected "format" or "version" or "roots", found "a~/b")"},
        {R"({"format": "corra-state", "version": 1, "roots": {"r": {}}})",
         R"(/roots/r: expected a member "type", found none)"},
        {stateWith("Lab::Rack", "{}"),
         R"(/roots/r/type: expected one of "Depot::Yard", "Lab::Bench", )"
         R"("Pseudowire::Config", "Pseudowire::Runnability", found "Lab::Rack")"},
        {stateWith("Lab::Bench", "[]"),
         "/roots/r/attributes: expected an object, found an array"},
        // Names.
        badBench(
            R"({"x/y": 1})",
            "x~1y: expected an attribute of Lab::Bench that can be set, found \"x/y\""),
        badBench(
            R"({"batch": 4})",
            "batch: expected an attribute of Lab::Bench that can be set, found \"batch\""),
        badBench(
            R"({"racks": 0})",
            "racks: expected an attribute of Lab::Bench that can be set, found \"racks\""),
        badBench(R"({"label": "a", "label": "a"})", "label: " + twice, false),
        badBench(R"({"reading": {"1": "a", "2": "", "1": "a"}})", "reading/1: " + twice, false),
        badBench(
            R"({"solvent": {"weight": 1}})",
            "solvent/weight: expected a field of Lab::Reagent (name, grams, colour), found "
            "\"weight\""),
        badBench(
            R"({"reagent": {"a": {"name": "a"}}})",
            "reagent/a/name: expected a field of Lab::Reagent (grams, colour), found \"name\""),
        // Values.
        badBench(R"({"flag": "true"})", "flag: expected true or false, found \"true\""),
        badBench(R"({"flag": null})", "flag: expected true or false, found null"),
        badBench(R"({"tiny": 256})", "tiny: expected a whole number from 0 to 255, found 256"),
        badBench(R"({"tiny": -1})", "tiny: expected a whole number from 0 to 255, found -1"),
        badBench(
            R"({"small": 1.5})",
            "small: expected a whole number from 0 to 65535, found 1.5"),
        badBench(
            R"({"huge": 18446744073709551616})",
            "huge: expected a whole number from 0 to 18446744073709551615, found "
            "1.8446744073709552e+19"),
        badBench(
            R"({"balance": -2147483649})",
            "balance: expected a whole number from -2147483648 to 2147483647, found "
            "-2147483649"),
        badBench(
            R"({"ratio": "1"})",
            R"(ratio: expected a number, "inf", "-inf" or "nan", found "1")"),
        badBench(
            R"({"colour": "Red"})",
            R"(colour: expected one of "red", "green", "violet" or a number without a name, )"
            R"(found "Red")"),
        badBench(R"({"colour": 1})", "colour: expected green, found '1'"),
        badBench(R"({"colour": 256})", "colour: expected a number from 0 to 255, found '256'"),
        badBench(R"({"label": 7})", "label: expected a string, found 7"),
        badBench(
            R"({"label": "'a"})",
            R"(label: in "'a" at 2: expected a closing quote, found the end of the text)"),
        badBench(R"({"label": "'a'"})", R"(label: expected "a", found "'a'")", false),
        {stateWith(
             "Pseudowire::Config",
             R"({"connector": {"ldp:'x'": {"ldpKey": "1.2.3:7"}}})"),
         "/roots/r/attributes/connector/ldp:'x'/ldpKey: expected an IPv4 address, found "
         "'1.2.3:7'",
         false},
        {stateWith("Depot::Yard", R"({"encap": "<4095,1"})"),
         "/roots/r/attributes/encap: in \"<4095,1\": ",
         false},
        {stateWith("Depot::Yard", R"({"encap": {"outer": "5"}})"),
         R"(/roots/r/attributes/encap: expected "<5,0>", found an object)",
         false},
        {stateWith("Depot::Yard", R"({"closed": [{"value": 70000}]})"),
         "/roots/r/attributes/closed/0/value: expected a whole number from 0 to 65535, found "
         "70000"},
        // Keys.
        badBench(
            R"({"reading": {"01": ""}})",
            "reading/01: expected a number without leading zeros, found '01'"),
        badBench(R"({"tag": [1, 2, 1]})", "tag/2: " + again),
        badBench(R"({"tag": {"1": true}})", "tag: expected an array, found an object"),
        badBench(R"({"step": []})", "step: expected an object, found an array"),
        {stateWith("Depot::Yard", R"({"gate": {"{\"value\":7}": "<0,0>"}})"),
         R"(/roots/r/attributes/gate/{"value":7}: expected "7", found an object)",
         false},
        {stateWith("Depot::Yard", R"({"gate": {"{\"value\":": "<0,0>"}})"),
         R"(/roots/r/attributes/gate/{"value":: in "{\"value\":" at 1:10: unexpected end of )"
         R"(input)",
         false},
        {stateWith(
             "Depot::Yard",
             R"({"gate": {"{\"value\":5000}": "<0,0>", "{\"value\": 5000}": "<0,0>"}})"),
         R"(/roots/r/attributes/gate/{"value":5000}: )" + again,
         false},
        // Children.
        badBench(
            R"({"rack": {"a": {}}})",
            "rack/a/cooled: expected what a Lab::Rack is made with, found nothing"),
        badBench(
            R"({"rack": {"a": {"cooled": 1}}})",
            "rack/a/cooled: expected true or false, found 1"),
        badBench(
            R"({"spare": {}})",
            "spare: expected null or an object with one member, the child by its name, found "
            "an "
            "object with 0"),
        badBench(
            R"({"spare": {"a": {}, "b": {}}})",
            "spare: expected null or an object with one member, the child by its name, found "
            "an "
            "object with 2"),
        badBench(
            R"({"sample": {"a": {"mass": 1, "mark": ["x", "y", "x"]}}})",
            "sample/a/mark/2: " + again),
    };
    const std::string deep(200, '[');
    files.push_back(badBench(
        (R"({"label": )" + deep + "1" + std::string(200, ']') + "}").c_str(),
        "label",
        true));
    return files;
}

TEST(StateFile, BadFilesAreRefusedWithTheirPlace) {
    const std::int64_t before = entityBytes();
    for (const BadFile& bad : badFiles()) {
        try {
            readState(bad.text, "bad.json");
            ADD_FAILURE() << "accepted: " << bad.text;
        } catch (const StateError& e) {
            const std::string expected = "bad.json: " + bad.error;
            EXPECT_EQ(std::string(e.what()).substr(0, expected.size()), expected) << e.what();
        }
        EXPECT_EQ(entityBytes(), before) << bad.text;
    }
}

TEST(StateFile, WhatIsNoJsonIsRefusedWithLineAndColumn) {
    const std::array<std::array<const char*, 2>, 9> cases{{
        {"", "1:1: unexpected end of input"},
        {"{\n  \"format\": x}", "2:13: invalid literal"},
        {"{\n\"a\": 1,\n}", "3:1: unexpected '}', expected string literal"},
        {"{\"a\": \"\xff\"}", "1:8: invalid string: ill-formed UTF-8 byte"},
        {"{\"a\": \"\\ud800\"}", "1:14: invalid string: surrogate U+D800..U+DBFF must be"},
        {"{\"a\": \"\x01\"}", "1:8: invalid string: control character U+0001"},
        {"{\"a\": 1e999}", "1:11: number too large"},
        {"{} {}", "1:4: unexpected '{', expected end of input"},
        {"[1, 2\n", "2:1: unexpected end of input, expected ']'"},
    }};
    for (const auto& [text, error] : cases) {
        try {
            readState(text, "bad.json");
            ADD_FAILURE() << "accepted: " << text;
        } catch (const StateError& e) {
            const std::string expected = std::string("bad.json:") + error;
            EXPECT_EQ(std::string(e.what()).substr(0, expected.size()), expected) << e.what();
        }
    }
}

TEST(StateFile, DamageIsRefusedOrReadAsAWhole) {
    laws::Random random(2);
    constexpr std::string_view bytes = "{}[]\",:'\\x0123456789eE+-.ntu \n\0\xc3";
    const std::int64_t before = entityBytes();
    int refused = 0;
    int accepted = 0;
    for (const EntityType& type : types) {
        const std::string good = stateText(rootsOf(randomTree(type, random)));
        for (int round = 0; round < 1500; ++round) {
            std::string text = good;
            for (std::size_t i = laws::below(random, 3); i < 3; ++i) {
                const std::size_t at = laws::below(random, text.size());
                const std::size_t length = 1 + laws::below(random, 12);
                switch (laws::below(random, 4)) {
                    case 0:
                        text[at] = bytes[laws::below(random, bytes.size())];
                        break;
                    case 1:
                        text.erase(at, length);
                        break;
                    case 2:
                        text.insert(at, text.substr(laws::below(random, text.size()), length));
                        break;
                    default:
                        text.insert(at, 1, bytes[laws::below(random, bytes.size())]);
                }
            }
            try {
                const Roots read = readState(text, "damaged.json");
                const std::string written = stateText(read);
                EXPECT_EQ(stateText(readState(written, "again.json")), written) << text;
                ++accepted;
            } catch (const StateError&) {
                ++refused;
            }
        }
    }
    EXPECT_EQ(entityBytes(), before);
    EXPECT_GT(refused, 1000);
    EXPECT_GT(accepted, 100);
}

// --- Update ---

// What a reactor of each entity is to hear when one tree is brought to the state of another.
class Expectations {
  public:
    void add(const EntityPtr& target, const EntityPtr& source) {
        Expected& own = *all_.emplace_back(std::make_unique<Expected>(*target));
        const support::State held = support::dump(*target, support::Depth::own);
        const support::State wanted = support::dump(*source, support::Depth::own);
        const auto valueIn = [](const support::State& state, const std::string& name) {
            const auto at = state.find(name);
            return at == state.end() ? std::string() : at->second + '.';
        };
        support::State both = held;
        both.insert(wanted.begin(), wanted.end());
        std::map<std::string, std::pair<EntityPtr, EntityPtr>> children;
        findChildren(
            *target,
            children,
            [](auto& pair) -> auto& { return pair.first; });
        findChildren(
            *source,
            children,
            [](auto& pair) -> auto& { return pair.second; });
        for (const auto& [name, text] : both) {
            const auto& [child, wantedChild] = children[name];
            if (child && wantedChild) {
                if (isMadeLike(*child, *wantedChild)) {
                    ++kept;
                    add(child, wantedChild);
                    continue;
                }
                // Deleted, and made anew.
                ++replaced;
                own.names.push_back(name);
                own.names.push_back(name);
            } else if (valueIn(held, name) != valueIn(wanted, name)) {
                own.names.push_back(name);
            }
        }
    }

    void expectTold() {
        for (const auto& each : all_) {
            std::sort(each->listener.told.begin(), each->listener.told.end());
            EXPECT_EQ(each->listener.told, each->names);
        }
    }

    int kept = 0;
    int replaced = 0;

  private:
    struct Expected {
        explicit Expected(const Entity& entity) : listener(entity) {}
        support::Listener listener;
        std::vector<std::string> names;
    };

    template <class Children, class Side>
    static void findChildren(const Entity& entity, Children& children, Side side) {
        for (const auto& attribute : entity.fwkType().info()->attributes) {
            const std::string name(attribute.name);
            if (attribute.kind == Zin::AttributeKind::singleton) {
                side(children[name]) = childOf(entity, attribute, nullptr);
            } else if (attribute.childType) {
                for (const Zin::Any& key : keysOf(entity, attribute)) {
                    side(children[name + '[' + key.text() + ']']) =
                        childOf(entity, attribute, key.get());
                }
            }
        }
    }

    static bool isMadeLike(const Entity& a, const Entity& b) {
        bool isLike = a.name() == b.name();
        for (const auto& attribute : a.fwkType().info()->attributes) {
            if (attribute.kind != Zin::AttributeKind::constructorParameter) continue;
            isLike = isLike && support::dumpAttribute(a, attribute) ==
                                   support::dumpAttribute(b, attribute);
        }
        return isLike;
    }

    std::vector<std::unique_ptr<Expected>> all_;
};

TEST(Update, TellsExactlyOfWhatDiffers) {
    laws::Random random(3);
    int kept = 0;
    int replaced = 0;
    for (const EntityType& type : types) {
        for (int round = 0; round < 60; ++round) {
            const EntityPtr target = randomTree(type, random);
            EntityPtr source = randomTree(type, random);
            if (round % 2 == 0) {
                source = readState(stateText(rootsOf(target)), "x").begin()->second;
                takeSteps(type, *source, 10, random);
            }
            const support::State wanted = support::dump(*source);
            Expectations expectations;
            expectations.add(target, source);
            update(*target, *source);
            EXPECT_EQ(differenceOf(*source, *target), "");
            EXPECT_EQ(support::difference(wanted, support::dump(*source)), "");
            expectations.expectTold();
            kept += expectations.kept;
            replaced += expectations.replaced;

            Expectations none;
            none.add(target, source);
            update(*target, *source);
            none.expectTold();
        }
    }
    EXPECT_GT(kept, 100);
    EXPECT_GT(replaced, 10);
}

TEST(Update, ComesToRestWithNumbersThatAreNone) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    const auto a = ::Pseudowire::configFactory("a");
    const auto b = ::Pseudowire::configFactory("b");
    b->intfReviewDelayRangeIs({none, 1});
    update(*a, *b);
    support::Listener listener(*a);
    update(*a, *b);
    EXPECT_TRUE(listener.told.empty());
}

TEST(Update, RefusesAnotherType) {
    const EntityPtr config = types[2].make("a");
    const EntityPtr runnability = types[3].make("a");
    EXPECT_THROW(update(*config, *runnability), Zin::TypeException);
    const auto bench = Lab::Bench::BenchIs("b");
    const auto warm = bench->rackIs("warm", false);
    const auto cold = bench->rackIs("cold", true);
    cold->heightIs(9);
    EXPECT_THROW(update(*warm, *cold), Zin::Exception);
    EXPECT_EQ(warm->height(), 1);
}

// --- Files ---

class FileTest : public testing::Test {
  protected:
    std::string pathOf(const std::string& name) const { return directory_.path() + '/' + name; }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
            all.push_back(entry.path().filename());
        }
        std::sort(all.begin(), all.end());
        return all;
    }
    static std::string contents(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static unsigned modeOf(const std::string& file) {
        struct stat status {};
        EXPECT_EQ(::stat(file.c_str(), &status), 0);
        return status.st_mode & 07777u;
    }

  private:
    TemporaryDirectory directory_;
};

TEST_F(FileTest, ReplacesAFileAsAWhole) {
    const std::string file = pathOf("state.json");
    const mode_t mask = ::umask(027);
    writeFileAtomically(file, "first");
    ::umask(mask);
    EXPECT_EQ(modeOf(file), 0640u);
    ASSERT_EQ(::chmod(file.c_str(), 0604), 0);
    writeFileAtomically(file, "second");
    EXPECT_EQ(contents(file), "second");
    EXPECT_EQ(modeOf(file), 0604u);
    std::filesystem::create_symlink("state.json", pathOf("link.json"));
    writeFileAtomically(pathOf("link.json"), "third");
    EXPECT_TRUE(std::filesystem::is_symlink(pathOf("link.json")));
    EXPECT_EQ(contents(file), "third");
    EXPECT_EQ(names(), (std::vector<std::string>{"link.json", "state.json"}));
}

TEST_F(FileTest, AFailureLeavesTheFileAsItWas) {
    const std::string file = pathOf("state.json");
    writeFileAtomically(file, "old");
    // The disk "fills up" in the middle of the text.
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1 << 20, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(writeFileAtomically(file, std::string((1 << 20) + 1, 'x')), std::system_error);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    ::signal(SIGXFSZ, handler);
    EXPECT_EQ(contents(file), "old");

    std::filesystem::create_directory(pathOf("directory"));
    EXPECT_THROW(writeFileAtomically(pathOf("directory"), "x"), std::system_error);
    EXPECT_THROW(writeFileAtomically(pathOf("none/state.json"), "x"), std::system_error);
    EXPECT_THROW(writeFileAtomically("/dev/null", "x"), std::system_error);
    std::filesystem::create_symlink("loop", pathOf("loop"));
    EXPECT_THROW(writeFileAtomically(pathOf("loop"), "x"), std::system_error);
    EXPECT_EQ(names(), (std::vector<std::string>{"directory", "loop", "state.json"}));
}

TEST_F(FileTest, IsReadOrSaysWhyNot) {
    const EntityPtr tree = types[0].make("r");
    writeFileAtomically(pathOf("state.json"), stateText(rootsOf(tree)));
    EXPECT_EQ(stateText(readStateFile(pathOf("state.json"))), stateText(rootsOf(tree)));
    EXPECT_THROW(readStateFile(pathOf("none.json")), std::system_error);
    EXPECT_THROW(readStateFile(pathOf("")), std::system_error);
}

// --- Schema ---

TEST_F(FileTest, AStandardValidatorAgrees) {
    laws::Random random(4);
    int files = 0;
    const auto write = [&](const std::string& directory, const std::string& text) {
        writeFileAtomically(pathOf(directory + '/' + std::to_string(++files) + ".json"), text);
    };
    std::filesystem::create_directory(pathOf("accepted"));
    std::filesystem::create_directory(pathOf("refused"));
    for (const EntityType& type : types) {
        for (int round = 0; round < 10; ++round) {
            write("accepted", stateText(rootsOf(randomTree(type, random))));
        }
    }
    for (const char* const moment : test::captures) {
        const auto config = test::imported(test::captureText(moment));
        write("accepted", stateText({{"pw", config}}));
    }
    for (const BadFile& bad : badFiles()) {
        if (bad.breaksSchema) write("refused", bad.text);
    }
    writeFileAtomically(pathOf("schema.json"), stateSchema().dump(2));
    const std::string command = "python3 '" CORRA_SOURCE_DIR "/tests/tools/validate_state' " +
                                pathOf("schema.json") + ' ' + pathOf("accepted") + ' ' +
                                pathOf("refused");
    EXPECT_EQ(std::system(command.c_str()), 0) << "needs python3-jsonschema";
    std::filesystem::remove_all(pathOf("accepted"));
    std::filesystem::remove_all(pathOf("refused"));
}

}  // namespace
