#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Zin/RbTreeMap.h"

namespace {

using namespace Zin;

std::uint32_t testSeed() {
    static const std::uint32_t seed = [] {
        const char* const given = std::getenv("ZIN_TEST_SEED");
        const auto drawn = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10))
                                 : std::random_device()();
        std::printf("ZIN_TEST_SEED=%u\n", drawn);
        return drawn;
    }();
    return seed;
}

// The three kinds behind one interface: keys are numbers as text, versions tell values apart.
String keyAt(std::uint32_t id) {
    return std::to_string(id);
}

struct Extern : RbTreeMapNodeExternKey<String, std::uint32_t> {
    using Map = RbTreeMap<Extern, String, std::uint32_t>;
    static void put(Map& map, std::uint32_t id, std::uint32_t version) {
        map.put(keyAt(id), version);
    }
    static std::uint32_t versionOf(const Node& node) { return node.value(); }
    static const String& nodeKey(const Node& node) { return node.key(); }
};

struct Item {
    String name;
    std::uint32_t version;
    friend bool operator==(const Item&, const Item&) = default;
};
struct ItemKey {
    const String& operator()(const Item& item) const { return item.name; }
};
struct Intern : RbTreeMapNodeInternalKey<String, Item, ItemKey> {
    using Map = RbTreeMap<Intern, String, Item>;
    static void put(Map& map, std::uint32_t id, std::uint32_t version) {
        map.put({keyAt(id), version});
    }
    static std::uint32_t versionOf(const Node& node) { return node.value().version; }
    static const String& nodeKey(const Node& node) { return node.key(); }
};

struct Thing : PtrInterface, RbTreeNode {
    Thing(String n, std::uint32_t v) : name(std::move(n)), version(v) { ++live; }
    ~Thing() override { --live; }
    static inline int live = 0;
    const String name;
    std::uint32_t version;
};
struct ThingKey {
    const String& operator()(const Thing& thing) const { return thing.name; }
};
struct Entities : RbTreeMapNodeEntity<String, Thing, ThingKey> {
    using Map = RbTreeMap<Entities, String, Thing>;
    static void put(Map& map, std::uint32_t id, std::uint32_t version) {
        if (Thing* const thing = map.lookup(keyAt(id))) {
            thing->version = version;
        } else {
            map.memberNewChild(Ptr<Thing>(new Thing(keyAt(id), version)));
        }
    }
    static std::uint32_t versionOf(const Thing& thing) { return thing.version; }
    static const String& nodeKey(const Thing& thing) { return thing.name; }
};

template <class Coll>
class RbTreeMapTest : public testing::Test {
  protected:
    using Map = typename Coll::Map;

    RbTreeMapTest() : engine_(testSeed()) {}
    ~RbTreeMapTest() override { EXPECT_EQ(Thing::live, 0); }

    std::uint32_t below(std::uint32_t bound) {
        return static_cast<std::uint32_t>(engine_() % bound);
    }
    void step(Map& map, std::map<String, std::uint32_t>& model, std::uint32_t universe) {
        const std::uint32_t id = below(universe);
        const bool grows = ++steps_ / 2000 % 2 == 0;
        if (below(100) < (grows ? 65U : 35U)) {
            Coll::put(map, id, steps_);
            model[keyAt(id)] = steps_;
        } else {
            const auto version = map.version();
            const bool erased = static_cast<bool>(map.erase(keyAt(id)));
            ASSERT_EQ(erased, model.erase(keyAt(id)) == 1);
            ASSERT_EQ(map.version() != version, erased);
        }
    }
    static void check(const Map& map, const std::map<String, std::uint32_t>& model) {
        map.validate();
        ASSERT_EQ(map.members(), model.size());
        auto expected = model.begin();
        for (const auto& node : map) {
            ASSERT_EQ(Coll::nodeKey(node), expected->first);
            ASSERT_EQ(Coll::versionOf(node), expected->second);
            ++expected;
        }
        ASSERT_TRUE(expected == model.end());
    }

    std::mt19937 engine_;
    std::uint32_t steps_ = 0;
};

using Kinds = testing::Types<Extern, Intern, Entities>;
TYPED_TEST_SUITE(RbTreeMapTest, Kinds);

TYPED_TEST(RbTreeMapTest, AgreesWithModel) {
    typename TypeParam::Map map;
    std::map<String, std::uint32_t> model;
    for (int i = 0; i < 20000; ++i) {
        ASSERT_NO_FATAL_FAILURE(this->step(map, model, 700));
        if (this->below(100) != 0) continue;
        ASSERT_NO_FATAL_FAILURE(this->check(map, model));
        const String key = keyAt(this->below(700));
        EXPECT_EQ(map.has(key), model.count(key) == 1);
        const auto at = map.lowerBound(key);
        const auto expected = model.lower_bound(key);
        ASSERT_EQ(static_cast<bool>(at), expected != model.end());
        if (at) {
            EXPECT_EQ(at.key(), expected->first);
        }
        if (this->below(20) == 0) {
            typename TypeParam::Map moved(std::move(map));
            EXPECT_TRUE(map.empty());
            map = std::move(moved);
        }
    }
    map.clear();
    map.validate();
    EXPECT_TRUE(map.empty());
}

// Ascending and descending insertions, which degrade trees that are not balanced.
TYPED_TEST(RbTreeMapTest, StaysBalancedInSortedInsertionAndErasure) {
    for (const bool ascending : {true, false}) {
        typename TypeParam::Map map;
        for (std::uint32_t i = 0; i < 2000; ++i) {
            TypeParam::put(map, 10000 + (ascending ? i : 2000 - i), i);
        }
        map.validate();
        for (std::uint32_t i = 0; i < 2000; ++i) {
            map.erase(keyAt(10000 + i));
            if (i % 50 == 0) map.validate();
        }
    }
}

TYPED_TEST(RbTreeMapTest, IterationSurvivesChanges) {
    for (int round = 0; round < 150; ++round) {
        typename TypeParam::Map map;
        std::map<String, std::uint32_t> model;
        for (std::uint32_t i = this->below(150); i > 0; --i) this->step(map, model, 100);
        std::set<String> throughout;
        for (const auto& [key, version] : model) throughout.insert(key);
        std::vector<String> visited;
        for (auto it = map.iterator(); it; ++it) {
            const String key = it.key();
            visited.push_back(key);
            EXPECT_TRUE(map.has(key));
            if (this->below(3) == 0) {
                EXPECT_TRUE(static_cast<bool>(map.erase(it)));
                EXPECT_FALSE(static_cast<bool>(map.erase(it)));
                model.erase(key);
            }
            for (std::uint32_t i = this->below(5); i > 0; --i) this->step(map, model, 100);
            std::erase_if(throughout, [&](const String& other) { return !model.count(other); });
            EXPECT_EQ(it.key(), key);
            if (!model.count(key)) {
                EXPECT_TRUE(it.markedForDeletion());
            }
            if (this->below(100) == 0) {
                map.clear();
                model.clear();
                throughout.clear();
            }
        }
        // Strictly ascending, so none twice.
        EXPECT_EQ(
            std::adjacent_find(visited.begin(), visited.end(), std::greater_equal<>()),
            visited.end());
        const std::set<String> all(visited.begin(), visited.end());
        for (const String& key : throughout) EXPECT_TRUE(all.count(key)) << key.c_str();
        this->check(map, model);
    }
}

TYPED_TEST(RbTreeMapTest, MarksStandInTheNodes) {
    typename TypeParam::Map map;
    for (std::uint32_t i = 0; i < 50; ++i) TypeParam::put(map, i, i);
    map.zinMarkAllForDeletion();
    TypeParam::put(map, 50, 0);
    map.zinMarkedForDeletionIs(keyAt(7), false);
    map.zinMarkedForDeletionIs(keyAt(99), true);
    for (std::uint32_t i = 0; i < 51; ++i) {
        EXPECT_EQ(map.zinMarkedForDeletion(keyAt(i)), i != 7 && i != 50);
    }
    for (auto it = map.iterator(); it; ++it) {
        if (it.node().PtrInterface::markedForDeletion()) map.erase(it);
    }
    EXPECT_EQ(map.members(), 2U);
}

TEST(RbTreeMap, PutsAndErasesValues) {
    Intern::Map map;
    EXPECT_EQ(map.put({"a", 1}), Put::inserted);
    const auto version = map.version();
    EXPECT_EQ(map.put({"a", 1}), Put::unchanged);
    EXPECT_EQ(map.version(), version);
    EXPECT_EQ(map.put({"a", 2}), Put::changed);
    EXPECT_NE(map.version(), version);
    Item removed;
    const auto held = map.iteratorConst();
    EXPECT_TRUE(map.erase("a", &removed));
    EXPECT_EQ(removed, (Item{"a", 2}));
    EXPECT_EQ(held.value(), removed);
    EXPECT_FALSE(map.erase("a", &removed));
}

TEST(RbTreeMap, ComparesMembers) {
    Intern::Map a, b;
    a.put({"x", 1});
    a.put({"y", 2});
    b.put({"y", 2});
    EXPECT_NE(a, b);
    b.put({"x", 1});
    EXPECT_EQ(a, b);
    b.put({"x", 3});
    EXPECT_NE(a, b);
}

TEST(RbTreeMap, HoldsOneReferenceToAnEntity) {
    const Ptr<Thing> thing(new Thing("a", 1));
    Entities::Map map;
    map.memberNewChild(thing);
    EXPECT_EQ(thing->references(), 2U);
    EXPECT_TRUE(thing->linked());
    EXPECT_EQ(map.erase("a"), thing);
    EXPECT_EQ(thing->references(), 1U);
    EXPECT_EQ(map.erase("a"), nullptr);
    // It may go into another map then.
    Entities::Map other;
    other.memberNewChild(thing);
    other.clear();
    EXPECT_FALSE(thing->linked());
}

TEST(RbTreeMapDeathTest, MisuseIsFatal) {
    Entities::Map map;
    const Ptr<Thing> thing(new Thing("a", 1));
    map.memberNewChild(thing);
    EXPECT_DEATH(map.memberNewChild(Ptr<Thing>(new Thing("a", 2))), "assertDupKey");
    Entities::Map other;
    EXPECT_DEATH(other.memberNewChild(thing), R"(!node.linked\(\))");
    const auto unsafe = map.begin();
    const auto safe = map.iteratorConst();
    map.erase("a");
    EXPECT_DEATH((void)static_cast<bool>(unsafe), R"(version_ == map_->version\(\))");
    EXPECT_DEATH((void)safe.currNodeNonStale(), "markedForDeletion");
    EXPECT_DEATH((void)map.iteratorConst().key(), "iter_");
}

TEST(RbTreeMap, AccountsForItsNodes) {
    const auto& record = Extern::Node::zinAllocTrackTypeInfo_;
    const auto before = record.counts().liveBytes;
    {
        Extern::Map map;
        for (std::uint32_t i = 0; i < 10; ++i) Extern::put(map, i, i);
        EXPECT_EQ(record.counts().liveBytes - before, 10 * sizeof(Extern::Node));
    }
    EXPECT_EQ(record.counts().liveBytes, before);
}

}  // namespace
