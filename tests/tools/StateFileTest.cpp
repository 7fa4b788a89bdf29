// State files: what is written is read back, what is read is whole or refused, and an update
// tells of what differs. The laws hold for random trees of every root type.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
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
#include "corra/WholeFile.h"
#include "frame/TypeModule.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Mutate.h"
#include "support/RootTypes.h"
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

// All root types that there are.
const std::vector<EntityType> types = [] {
    std::vector<EntityType> all(std::begin(support::rootTypes), std::end(support::rootTypes));
    all.push_back(entityType<Depot::Yard>());
    return all;
}();

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

TEST(StateFile, TheDocumentedExamplesSayTheSame) {
    const std::string page = readWholeFile(CORRA_SOURCE_DIR "/docs/state-file.md");
    std::vector<std::string> examples;
    const std::string fence = "```json\n";
    for (auto at = page.find(fence); at != page.npos; at = page.find(fence, at)) {
        at += fence.size();
        examples.push_back(page.substr(at, page.find("```", at) - at));
    }
    ASSERT_EQ(examples.size(), 2u);
    EXPECT_EQ(stateText(readState(examples[0], "written")), examples[0]);
    EXPECT_EQ(stateText(readState(examples[1], "by hand")), examples[0]);
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
    std::string error;
    // Whether the schema says that it is bad, too.
    bool breaksSchema = true;
};

// An attribute of a type, its JSON, the pointer below it, and the error.
struct BadAttribute {
    const char* type;
    const char* name;
    std::string json;
    const char* below;
    std::string error;
    bool breaksSchema = true;
};

std::vector<BadFile> badFiles() {
    constexpr const char* bench = "Lab::Bench";
    constexpr const char* yard = "Depot::Yard";
    constexpr bool beyondSchema = false;
    const std::string head = R"({"format": "corra-state", "version": )";
    const std::string noAttribute =
        "expected an attribute of Lab::Bench that can be set, found ";
    const std::string u8 = "expected a whole number from 0 to 255, found ";
    const std::string twice = "expected each name once, found it again";
    const std::string again = "expected each key once, found it again";
    const std::string oneChild = "expected null or an object with one member, the child by ";
    std::vector<BadFile> files{
        {"[]", "expected an object, found an array"},
        {"{}", R"(expected a member "format", found none)"},
        {R"({"format": 1, "version": 1, "roots": {}})",
         R"(/format: expected "corra-state", f)"},
        {head + R"(2, "roots": {}})", "/version: expected 1, found 2"},
        {head + R"(1, "roots": {}, "a~/b": 0})", R"(/a~0~1b: expected "format" or "version")"},
        {head + R"(1, "roots": {"r": {}}})", R"(/roots/r: expected a member "type", found)"},
        {head + R"(1, "roots": {"r": {"type": "Lab::Rack"}}})",
         "/roots/r/type: expected one of"},
    };
    const BadAttribute attributes[] = {
        // Names.
        {bench, "batch", "4", "", noAttribute + "\"batch\""},
        {bench, "racks", "0", "", noAttribute + "\"racks\""},
        {bench, "label", R"("a", "label": "a")", "", twice, beyondSchema},
        {bench, "reading", R"({"1": "a", "2": "", "1": "a"})", "/1", twice, beyondSchema},
        {bench, "solvent", R"({"x/y": 1})", "/x~1y", "expected a field of Lab::Reagent (nam"},
        {bench, "reagent", R"({"a": {"name": "a"}})", "/a/name", "expected a field of "},
        // Values.
        {bench, "flag", "null", "", "expected true or false, found null"},
        {bench, "tiny", "256", "", u8 + "256"},
        {bench, "tiny", "-1", "", u8 + "-1"},
        {bench, "tiny", "1.5", "", u8 + "1.5"},
        {bench, "huge", "18446744073709551616", "", "expected a whole number from 0 to 18446"},
        {bench, "balance", "-2147483649", "", "expected a whole number from -2147483648 to 2"},
        {bench, "ratio", R"("1")", "", R"(expected a number, "inf", "-inf" or "nan", found)"},
        {bench, "colour", R"("Red")", "", R"(expected one of "red", "green", "violet" or a )"},
        {bench, "colour", "1", "", "expected green, found '1'"},
        {bench, "colour", "256", "", "expected a number from 0 to 255, found '256'"},
        {bench, "label", "7", "", "expected a string, found 7"},
        {bench, "label", R"("'a")", "", R"(in "'a" at 2: expected a closing quote, found the)"},
        {bench, "label", R"("'a'")", "", R"(expected "a", found "'a'")", beyondSchema},
        {yard, "encap", R"("<1,2")", "", R"(in "<1,2" at 4: expected '>', f)", beyondSchema},
        {yard, "encap", R"("<4095,1>")", "", R"(in "<4095,1>": Bridging::)", beyondSchema},
        {yard, "encap", R"({"outer": "5"})", "", R"(expected "<5,0>", found an)", beyondSchema},
        {yard, "closed", R"([{"value": 65536}])", "/0/value", "expected a whole number from"},
        // Keys.
        {bench, "reading", R"({"01": ""})", "/01", "expected a number without leading zeros"},
        {bench, "tag", "[1, 2, 1]", "/2", again},
        {bench, "tag", "{}", "", "expected an array, found an object"},
        {bench, "step", "[]", "", "expected an object, found an array"},
        {yard,
         "gate",
         R"({"{\"value\":5000}": "<0,0>", "{\"value\": 5000}": "<0,0>"})",
         R"(/{"value":5000})",
         again,
         beyondSchema},
        {yard, "gate", R"({"{\"value\":7}": ""})", R"(/{"value":7})", "expected \"7\"", false},
        {yard, "gate", R"({"{\"": ""})", R"(/{")", R"(in "{\"" at 1:3: invalid string)", false},
        // Children.
        {bench, "rack", R"({"a": {}})", "/a/cooled", "expected what a Lab::Rack is made with"},
        {bench, "rack", R"({"a": {"cooled": 1}})", "/a/cooled", "expected true or false"},
        {bench, "spare", "{}", "", oneChild},
        {bench, "spare", R"({"a": {}, "b": {}})", "", oneChild},
        {bench, "sample", R"({"a": {"mark": ["x", "y", "x"]}})", "/a/mark/2", again},
    };
    for (const BadAttribute& bad : attributes) {
        const std::string name(bad.name);
        files.push_back(
            {stateWith(bad.type, "{\"" + name + "\": " + bad.json + '}'),
             "/roots/r/attributes/" + name + bad.below + ": " + bad.error,
             bad.breaksSchema});
    }
    return files;
}

// What is thrown for a bad file begins with this.
void expectError(const std::string& text, const std::string& error) {
    try {
        readState(text, "bad.json");
        ADD_FAILURE() << "accepted: " << text;
    } catch (const StateError& e) {
        EXPECT_EQ(std::string(e.what()).substr(0, error.size()), error) << e.what();
        EXPECT_TRUE(Zin::isUtf8(e.what()));
    }
}

TEST(StateFile, BadFilesAreRefusedWithTheirPlace) {
    const std::int64_t before = entityBytes();
    for (const BadFile& bad : badFiles()) {
        expectError(bad.text, "bad.json: " + bad.error);
        EXPECT_EQ(entityBytes(), before) << bad.text;
    }
}

TEST(StateFile, WhatIsNoJsonIsRefusedWithLineAndColumn) {
    const std::array<std::array<const char*, 2>, 10> cases{{
        {"", "1:1: unexpected end of input"},
        {"{\n  \"format\": x}", "2:13: invalid literal"},
        {"{\n\"a\": 1,\n}", "3:1: unexpected '}', expected string literal"},
        {"{\"a\": \"\xff\"}", "1:8: invalid string: ill-formed UTF-8 byte"},
        {"{\"a\": \"\\ud800\"}", "1:14: invalid string: surrogate U+D800..U+DBFF must be"},
        {"{\"a\": \"\x01\"}", "1:8: invalid string: control character U+0001"},
        {"[\"; expected \xff", "1:14: invalid string: ill-formed UTF-8 byte"},
        {"{\"a\": 1e999}", "1:11: number too large"},
        {"{} {}", "1:4: unexpected '{', expected end of input"},
        {"[1, 2\n", "2:1: unexpected end of input, expected ']'"},
    }};
    for (const auto& [text, error] : cases) {
        expectError(text, std::string("bad.json:") + error);
    }
    const std::string deep(101, '[');
    std::string pointer;
    for (int i = 0; i < 100; ++i) pointer += "/0";
    expectError(deep, "bad.json: " + pointer + ": expected at most 100 objects and arrays");
}

TEST(StateFile, DamageIsRefusedOrReadAsAWhole) {
    laws::Random random(2);
    constexpr std::string_view bytes("{}[]\",:'\\x0123456789eE+-.ntu \n\xc3\0", 32);
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
    const EntityPtr config = entityType<Pseudowire::Config>().make("a");
    const EntityPtr runnability = entityType<Pseudowire::Runnability>().make("a");
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
    EXPECT_EQ(readWholeFile(file), "second");
    EXPECT_EQ(modeOf(file), 0604u);
    std::filesystem::create_symlink("state.json", pathOf("link.json"));
    writeFileAtomically(pathOf("link.json"), "third");
    EXPECT_TRUE(std::filesystem::is_symlink(pathOf("link.json")));
    EXPECT_EQ(readWholeFile(file), "third");
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
    EXPECT_EQ(readWholeFile(file), "old");

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
