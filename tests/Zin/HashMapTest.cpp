#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <new>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "Zin/HSet.h"
#include "Zin/HashMap2018.h"

namespace {

// The allocation after so many more fails; negative: none does.
int allocationsLeft = -1;

bool allocationFails() {
    return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

}  // namespace

// Not inlined, or the compiler takes their halves for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t bytes) {
    void* const memory = allocationFails() ? nullptr : std::malloc(bytes ? bytes : 1);
    return memory ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return allocationFails() ? nullptr : std::malloc(bytes ? bytes : 1);
}
[[gnu::noinline]] void* operator new(std::size_t bytes, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    void* const memory = allocationFails()
                             ? nullptr
                             : std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit);
    return memory ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

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

class Random {
  public:
    std::uint32_t below(std::uint32_t bound) {
        return static_cast<std::uint32_t>(engine_() % bound);
    }
    bool oneIn(std::uint32_t n) { return below(n) == 0; }

  private:
    std::mt19937 engine_{testSeed()};
};

enum class Hashing { good, weak, constant };

// Its hash does not depend on the process, so that a seed replays a run.
template <Hashing hashing>
struct TestKey {
    std::uint32_t id = 0;

    std::uint32_t hash(std::uint32_t) const {
        switch (hashing) {
            case Hashing::good:
                return hashSingleAttr(1, id);
            case Hashing::weak:
                // Few values, in clusters that share long prefixes.
                return (id % 3 == 0 ? 0xabcdef00U : 0xabcd0000U) + id % 7;
            default:
                return 0x12345678;
        }
    }
    friend bool operator==(const TestKey&, const TestKey&) = default;
    friend auto operator<=>(const TestKey&, const TestKey&) = default;
};

// Knows where it is, so it notices being moved as bytes; and how many there are.
struct Located {
    explicit Located(std::uint32_t number = 0) : self(this), n(number) { ++live; }
    Located(const Located& other) noexcept : self(this), n(other.get()) { ++live; }
    Located(Located&& other) noexcept : self(this), n(other.get()) { ++live; }
    Located& operator=(const Located& other) noexcept {
        n = other.get();
        return *this;
    }
    ~Located() {
        get();
        --live;
    }
    std::uint32_t get() const {
        if (self != this) std::abort();
        return n;
    }
    friend bool operator==(const Located& a, const Located& b) { return a.get() == b.get(); }

    static inline int live = 0;
    const Located* self;
    std::uint32_t n;
};

struct Child : PtrInterface {
    explicit Child(std::uint32_t k) : key(k) { ++live; }
    ~Child() override { --live; }
    static inline int live = 0;
    std::uint32_t key;
};

template <class T>
T made(std::uint32_t n) {
    if constexpr (std::is_same_v<T, String>) {
        return String(std::to_string(n));
    } else if constexpr (std::is_same_v<T, HSet<std::uint32_t, 1>>) {
        T set;
        for (std::uint32_t i = 0; i < n % 40; ++i) set.put(n + i);
        return set;
    } else if constexpr (requires { T{n}; }) {
        return T{n};
    } else {
        return Ptr<Child>(new Child(n));
    }
}

template <class K, class V>
struct Extern : HashMap2018NodeExternKey<false, 0x5eed, K, V, false> {
    using Map = HashMap2018<Extern, K, V>;
    static K keyOf(std::uint32_t id) { return made<K>(id); }
    static Put put(Map& map, std::uint32_t id, std::uint32_t version) {
        return map.put(made<K>(id), made<V>(version));
    }
    static bool holds(const typename Map::Node& node, std::uint32_t version) {
        if constexpr (std::is_same_v<V, Ptr<Child>>) {
            return node.value()->key == version;
        } else {
            return node.value() == made<V>(version);
        }
    }
    static constexpr bool valuesCompareByIdentity = std::is_same_v<V, Ptr<Child>>;
};

// The value contains its key, and the functor gives out a value.
template <class K>
struct Item {
    K key;
    String version;
    friend bool operator==(const Item&, const Item&) = default;
};
template <class K>
struct ItemKey {
    K operator()(const Item<K>& item) const { return item.key; }
};
template <class K>
struct Intern : HashMap2018NodeInternalKey<false, 0x5eed, K, Item<K>, ItemKey<K>, false> {
    using Map = HashMap2018<Intern, K, Item<K>>;
    static K keyOf(std::uint32_t id) { return made<K>(id); }
    static Put put(Map& map, std::uint32_t id, std::uint32_t version) {
        return map.put(Item<K>{made<K>(id), made<String>(version)});
    }
    static bool holds(const typename Map::Node& node, std::uint32_t version) {
        return node.value().version == made<String>(version);
    }
    static constexpr bool valuesCompareByIdentity = false;
};

template <class K>
struct Set : HashMap2018NodeExternKey<false, 0, K, void, false> {
    using Map = HashMap2018<Set, K, void>;
    static K keyOf(std::uint32_t id) { return made<K>(id); }
    static Put put(Map& map, std::uint32_t id, std::uint32_t) { return map.put(made<K>(id)); }
    static bool holds(const typename Map::Node&, std::uint32_t) { return true; }
    static constexpr bool valuesCompareByIdentity = false;
};

using Good = TestKey<Hashing::good>;
using Weak = TestKey<Hashing::weak>;
using Constant = TestKey<Hashing::constant>;

template <class Coll>
class HashMapTest : public testing::Test {
  protected:
    using MapType = typename Coll::Map;
    using KeyType = typename MapType::Key;
    struct Expected {
        std::uint32_t version;
        bool marked;
    };
    struct Modelled {
        MapType map;
        std::map<std::uint32_t, Expected> model;
    };

    void SetUp() override { testSeed(); }
    void TearDown() override {
        EXPECT_EQ(MapType::zinAllocTrackTypeInfo_.counts().liveBytes, 0U);
        EXPECT_EQ(MapType::zinAllocTrackTypeInfo_.counts().liveObjects, 0U);
        EXPECT_EQ(Located::live, 0);
        EXPECT_EQ(Child::live, 0);
    }

    static std::vector<KeyType> orderOf(const MapType& map) {
        std::vector<KeyType> keys;
        for (const auto& node : map) keys.push_back(node.key());
        return keys;
    }

    void check(const Modelled& pair) {
        pair.map.validate();
        ASSERT_EQ(pair.map.members(), pair.model.size());
        std::uint32_t marked = 0;
        MapType fresh;
        for (const auto& [id, expected] : pair.model) {
            const auto* const node = pair.map.lookup(Coll::keyOf(id));
            ASSERT_NE(node, nullptr) << id;
            ASSERT_TRUE(Coll::holds(*node, expected.version)) << id;
            ASSERT_EQ(pair.map.zinMarkedForDeletion(Coll::keyOf(id)), expected.marked) << id;
            marked += expected.marked;
            Coll::put(fresh, id, expected.version);
        }
        ASSERT_EQ(pair.map.markedMembers(), marked);
        // The order follows from the members alone.
        ASSERT_EQ(orderOf(pair.map), orderOf(fresh));
        if (!Coll::valuesCompareByIdentity) {
            ASSERT_EQ(pair.map, fresh);
        }
        std::vector<KeyType> safeOrder;
        for (auto it = pair.map.iteratorConst(); it; ++it) safeOrder.push_back(it.key());
        ASSERT_EQ(safeOrder, orderOf(pair.map));
    }

    // One random operation on the pair; what changed is counted.
    void step(Modelled& pair, std::uint32_t universe) {
        const std::uint32_t id = random_.below(universe);
        const KeyType key = Coll::keyOf(id);
        const auto found = pair.model.find(id);
        const std::uint32_t version = pair.map.version();
        const std::uint64_t rangeBefore = rangeOf(pair.map, key);
        // Phases of growth and of shrinking.
        const bool puts = random_.below(100) < (++steps_ / 1500 % 2 == 0 ? 65U : 35U);
        if (puts && found == pair.model.end()) {
            ASSERT_EQ(Coll::put(pair.map, id, 1), Put::inserted);
            pair.model[id] = {1, false};
        } else if (puts) {
            const bool same = random_.oneIn(3) && !Coll::valuesCompareByIdentity;
            const std::uint32_t next = found->second.version + (same ? 0 : 1);
            const bool overwrites = !same && !MapType::isSet;
            const Put expected = overwrites ? Put::changed : Put::unchanged;
            ASSERT_EQ(Coll::put(pair.map, id, next), expected);
            ASSERT_EQ(pair.map.version() != version, overwrites);
            found->second.version = next;
        } else {
            const bool present = found != pair.model.end();
            if (present && random_.oneIn(2)) {
                // The key given is the stored one.
                auto at = pair.map.lookup(key);
                const auto& stored = at->key();
                ASSERT_TRUE(pair.map.erase(stored));
            } else {
                ASSERT_EQ(pair.map.erase(key), present);
            }
            ASSERT_EQ(pair.map.version() != version, present);
            if (present) pair.model.erase(found);
        }
        ASSERT_EQ(pair.map.has(key), pair.model.count(id) != 0);
        const std::uint64_t rangeAfter = rangeOf(pair.map, key);
        divisions_ += rangeAfter < rangeBefore;
        unions_ += rangeAfter > rangeBefore;
    }

    std::uint64_t rangeOf(const MapType& map, const KeyType& key) {
        unsigned seen = 0;
        const std::uint32_t hash = MapType::hashOf(key);
        const std::uint64_t end = map.visitBucket(hash, [&](const auto&) { ++seen; });
        inLists_ += seen > 15;
        return end - hash;
    }

    Random random_;
    std::uint32_t steps_ = 0;
    int divisions_ = 0, unions_ = 0, inLists_ = 0;
};

using Collections = testing::Types<
    Extern<std::uint64_t, std::uint64_t>,
    Extern<Good, Located>,
    Extern<Weak, String>,
    Extern<Constant, Located>,
    Extern<String, Ptr<Child>>,
    Extern<Weak, HSet<std::uint32_t, 1>>,
    Intern<Good>,
    Intern<Weak>,
    Intern<String>,
    Set<Good>,
    Set<Constant>,
    Set<String>>;
TYPED_TEST_SUITE(HashMapTest, Collections);

TYPED_TEST(HashMapTest, AgreesWithModelWhileCopiesLive) {
    using Pair = typename TestFixture::Modelled;
    Random& random = this->random_;
    std::vector<Pair> pairs(4);
    int copies = 0, marks = 0;
    const bool few = std::is_same_v<typename TestFixture::KeyType, Constant>;
    for (int i = 0; copies < 60 || marks < 60 || this->unions_ < 60 || this->divisions_ < 60 ||
                    (few && this->inLists_ < 200);
         ++i) {
        ASSERT_LT(i, 200000) << "coverage not reached";
        Pair& pair = pairs[random.below(4)];
        ASSERT_NO_FATAL_FAILURE(this->step(pair, few ? 60 : 400));
        if (random.oneIn(100)) {
            Pair& other = pairs[random.below(4)];
            ++copies;
            switch (random.below(5)) {
                case 0:
                    other.map = std::move(pair.map);
                    other.model = std::exchange(pair.model, {});
                    if (&other != &pair) {
                        EXPECT_TRUE(pair.map.empty());
                        pair.map.clear();
                    } else {
                        other.map.clear();
                        other.model.clear();
                    }
                    break;
                case 1:
                    other = Pair(pair);
                    EXPECT_EQ(other.map, pair.map);
                    break;
                default:
                    other = pair;
            }
        }
        if (random.oneIn(50)) {
            ++marks;
            if (random.oneIn(10)) {
                pair.map.zinMarkAllForDeletion();
                for (auto& [id, expected] : pair.model) expected.marked = true;
            } else if (!pair.model.empty()) {
                const auto at = pair.model.lower_bound(random.below(400));
                auto& [id, expected] = at == pair.model.end() ? *pair.model.begin() : *at;
                expected.marked = !expected.marked;
                pair.map.zinMarkedForDeletionIs(TypeParam::keyOf(id), expected.marked);
            }
        }
        if (random.oneIn(250)) {
            ASSERT_NO_FATAL_FAILURE(this->check(pair));
        }
        if (random.oneIn(5000)) {
            pair.map.clear();
            pair.model.clear();
        }
    }
    for (const Pair& pair : pairs) ASSERT_NO_FATAL_FAILURE(this->check(pair));
}

// Members that are present throughout are visited exactly once, whatever happens between steps.
TYPED_TEST(HashMapTest, WalksSurviveChanges) {
    using Pair = typename TestFixture::Modelled;
    using Key = typename TestFixture::KeyType;
    Random& random = this->random_;
    const std::uint32_t universe = std::is_same_v<Key, Constant> ? 60 : 300;
    for (int round = 0; round < 60 || this->unions_ < 20 || this->divisions_ < 20; ++round) {
        ASSERT_LT(round, 4000) << "coverage not reached";
        Pair pair;
        for (std::uint32_t i = random.below(400); i > 0; --i) this->step(pair, universe);
        const Pair copy = pair;
        std::set<std::uint32_t> throughout;
        for (const auto& [id, expected] : pair.model) throughout.insert(id);
        std::map<Key, int> visits;
        const auto changeSome = [&] {
            for (std::uint32_t i = random.below(8); i > 0; --i) {
                if (random.oneIn(400)) {
                    pair.map = typename TestFixture::MapType();
                    pair.model.clear();
                }
                this->step(pair, universe);
            }
            std::erase_if(throughout, [&](std::uint32_t id) { return !pair.model.count(id); });
        };
        if (round % 2 == 0) {
            auto it = pair.map.iterator();
            auto other = it;
            while (it) {
                EXPECT_TRUE(pair.map.has(it.key()));
                EXPECT_FALSE(it.markedForDeletion());
                ++visits[it.key()];
                const Key key = it.key();
                if (random.oneIn(3)) {
                    pair.map.erase(it.key());
                    EXPECT_TRUE(it.markedForDeletion());
                    std::erase_if(pair.model, [&](const auto& member) {
                        return TypeParam::keyOf(member.first) == key;
                    });
                }
                changeSome();
                EXPECT_EQ(it.key(), key);
                EXPECT_EQ(it.markedForDeletion(), !pair.map.has(key));
                if (!it.markedForDeletion()) {
                    EXPECT_EQ(it.currNodeNonStale().key(), key);
                }
                ++it;
                if (random.oneIn(20)) other = it;
                if (random.oneIn(20)) it = typename TestFixture::MapType::Iterator(it);
            }
        } else {
            std::uint64_t at = 0;
            while (at < TestFixture::MapType::visitEnd) {
                const auto from = static_cast<std::uint32_t>(at);
                at =
                    pair.map.visitBucket(from, [&](const auto& node) { ++visits[node.key()]; });
                ASSERT_GT(at, from);
                changeSome();
            }
        }
        for (const auto& [key, count] : visits) EXPECT_GE(count, 1);
        for (const std::uint32_t id : throughout)
            EXPECT_EQ(visits[TypeParam::keyOf(id)], 1) << id;
        ASSERT_NO_FATAL_FAILURE(this->check(pair));
        ASSERT_NO_FATAL_FAILURE(this->check(copy));
    }
}

// Each allocation of each operation fails once: the map is as before, and then the operation
// works.
TYPED_TEST(HashMapTest, FailedAllocationsChangeNothing) {
    using Pair = typename TestFixture::Modelled;
    using Key = typename TestFixture::KeyType;
    Random& random = this->random_;
    Pair pair;
    Pair copy;
    int failures = 0;
    const std::uint32_t universe = std::is_same_v<Key, Constant> ? 40 : 150;
    const auto eachFailure = [&](auto&& operation) {
        for (int n = 0;; ++n) {
            allocationsLeft = n;
            bool failed = false;
            try {
                operation();
            } catch (const std::bad_alloc&) {
                failed = true;
            }
            allocationsLeft = -1;
            if (!failed) return;
            ++failures;
            pair.map.validate();
            ASSERT_EQ(pair.map.members(), pair.model.size());
            for (const auto& [id, expected] : pair.model) {
                const auto* const node = pair.map.lookup(TypeParam::keyOf(id));
                ASSERT_TRUE(node && TypeParam::holds(*node, expected.version));
            }
        }
    };
    for (std::uint32_t i = 0; i < 1200 || failures < 300; ++i) {
        ASSERT_LT(i, 50000U) << "coverage not reached";
        const std::uint32_t id = random.below(universe);
        const Key key = TypeParam::keyOf(id);
        if (i / 300 % 2 == 0 ? !random.oneIn(4) : random.oneIn(4)) {
            eachFailure([&] { TypeParam::put(pair.map, id, i); });
            pair.model[id] = {i, false};
        } else if (random.oneIn(50)) {
            eachFailure([&] { pair.map.zinMarkAllForDeletion(); });
        } else {
            eachFailure([&] { pair.map.erase(key); });
            pair.model.erase(id);
        }
        ASSERT_FALSE(this->HasFatalFailure());
        if (random.oneIn(10)) eachFailure([&] { copy.map = pair.map; });
    }
}

TEST(HashMap, HoldsNoMemoryWhenEmptied) {
    using Map = Extern<std::uint64_t, std::uint64_t>::Map;
    EXPECT_LE(sizeof(Map), 4 * sizeof(void*) + 16 * (sizeof(void*) < 8));
    Map map;
    for (std::uint32_t i = 0; i < 5000; ++i) map.put(i, i);
    const auto full = Map::zinAllocTrackTypeInfo_.counts().liveBytes;
    EXPECT_LT(full, 5000 * (16 * 3 / 2 + 8));
    // Memory follows the members that are left.
    for (std::uint32_t i = 0; i < 4900; ++i) map.erase(i);
    EXPECT_LT(Map::zinAllocTrackTypeInfo_.counts().liveBytes, full / 15);
    for (std::uint32_t i = 4900; i < 5000; ++i) map.erase(i);
    EXPECT_EQ(Map::zinAllocTrackTypeInfo_.counts().liveBytes, 0U);
    map.validate();
}

// Beside other members with the same prefix, so that no larger range takes them in.
TEST(HashMap, FindsMembersOfAListThatShrankToABucket) {
    constexpr std::uint32_t ids = 21 * 20;  // 20 or 40 of each hash
    HSet<TestKey<Hashing::weak>, 1> set;
    for (std::uint32_t first = 0; first < 21; ++first) {
        for (std::uint32_t id = first; id < ids; id += 21) set.put({id});
    }
    for (std::uint32_t first = 0; first < 21; ++first) {
        for (std::uint32_t id = first; id < ids / 2; id += 21) {
            EXPECT_TRUE(set.erase({id}));
            set.validate();
        }
        for (std::uint32_t id = first; id < ids; id += 21) {
            EXPECT_EQ(set.has({id}), id >= ids / 2);
        }
    }
}

TEST(HashMap, ErasesIntoAValueAndTakesItsOwnPartsAsArguments) {
    using Map = Extern<std::uint64_t, String>::Map;
    Map map;
    for (std::uint32_t i = 0; i < 500; ++i) {
        map.put(i, "first");
        map.put(i + 1000, map.lookup(i)->value());
        map.put(i, "second");
        map.put(i + 1000, map.lookup(i)->value());
    }
    String removed;
    EXPECT_TRUE(map.erase(1200, &removed));
    EXPECT_EQ(removed, "second");
    EXPECT_FALSE(map.erase(1200, &removed));
}

// An entity that goes with its entry may look at the map.
struct Looker;
struct LookerColl : HashMap2018NodeExternKey<false, 1, std::uint32_t, Ptr<Looker>, false> {};
using LookerMap = HashMap2018<LookerColl, std::uint32_t, Ptr<Looker>>;
struct Looker : PtrInterface {
    Looker(const LookerMap& in, std::uint32_t members) : map(in), expected(members) {}
    ~Looker() override {
        map.validate();
        EXPECT_EQ(map.members(), expected);
    }
    const LookerMap& map;
    std::uint32_t expected;
};

TEST(HashMap, IsConsistentWhenAnEntryIsDestroyed) {
    LookerMap map;
    const auto put = [&map](std::uint32_t key, std::uint32_t membersAtEnd) {
        map.put(key, Ptr<Looker>(new Looker(map, membersAtEnd)));
    };
    for (std::uint32_t i = 0; i < 16; ++i) put(i, 15 - i);
    for (std::uint32_t i = 0; i < 16; ++i) map.erase(i);
    put(1, 1);
    put(1, 0);
    map.clear();
}

TEST(HashMap, SeedsTellCollectionsApart) {
    EXPECT_NE((HSet<std::uint32_t, 1>::hashOf(7)), (HSet<std::uint32_t, 2>::hashOf(7)));
    EXPECT_EQ(
        (HSet<String, 9>::hashOf("key")),
        hashSingleAttr(HashHelper::hashSeed32() ^ 9, String("key")));
}

TEST(HashMap, ComparesCountsMembersAndValues) {
    using Map = Extern<Good, std::uint32_t>::Map;
    Map a, b;
    for (std::uint32_t i = 0; i < 100; ++i) {
        a.put({i}, i);
        b.put({99 - i}, 99 - i);
    }
    EXPECT_EQ(a, b);
    b.put({3}, 4);
    EXPECT_NE(a, b);
    b.erase({3});
    EXPECT_NE(a, b);
    b.put({1000}, 3);
    EXPECT_NE(a, b);
}

// Copies on two threads change and settle what they share.
TEST(HashMap, CopiesLiveOnThreads) {
    VFPtrInterface::threadSafePointers_ = true;
    using Map = Extern<std::uint64_t, String>::Map;
    Map map;
    for (std::uint32_t i = 0; i < 2000; ++i) map.put(i, made<String>(i));
    const auto work = [](Map mine, std::uint32_t from) {
        std::uint32_t seen = 0;
        for (const auto& node : mine) seen += node.value().size() > 0;
        EXPECT_EQ(seen, 2000U);
        for (std::uint32_t i = from; i < 2000; i += 3) mine.erase(i);
        for (std::uint32_t i = from; i < 2000; i += 3) mine.put(i, made<String>(i + 1));
        mine.validate();
    };
    std::thread other(work, map, 0);
    work(map, 1);
    other.join();
    map.put(5000, "last");
    VFPtrInterface::threadSafePointers_ = false;
    EXPECT_EQ(map.members(), 2001U);
}

using HashMapDeathTest = testing::Test;

TEST(HashMapDeathTest, MisuseIsFatal) {
    using Map = Extern<std::uint64_t, std::uint64_t>::Map;
    Map map;
    for (std::uint32_t i = 0; i < 20; ++i) map.put(i, i);
    const auto unsafe = map.begin();
    const auto erased = map.iterator();
    map.erase(erased.key());
    const std::string stale =
        R"(version_ == hashMap_->version\(\) \(HashMap2018UnsafeIteratorConstGeneric)";
    EXPECT_DEATH((void)static_cast<bool>(unsafe), stale);
    EXPECT_DEATH((void)*unsafe, stale);
    EXPECT_DEATH(erased.currNodeNonStale(), "markedForDeletion");
    const Map empty;
    const auto finished = empty.begin();
    EXPECT_DEATH((void)*finished, R"(iter_ \(HashMap2018:)");
    EXPECT_DEATH((void)empty.iteratorConst().value(), R"(iter_ \(HashMap2018:)");

    std::uint64_t entries[8] = {};
    const std::string shifted = R"(slotsToShift == 1 \(HashMap2018Generic)";
    EXPECT_DEATH(Map::vt_.shift(Map::vt_, entries, nullptr, 0, 1, 2), shifted);
    using Placed = Extern<Good, Located>::Map;
    EXPECT_DEATH(Placed::vt_.shift(Placed::vt_, entries, nullptr, 0, 1, 2), shifted);
}

// A key functor that stops agreeing with itself.
struct Fickle {
    static inline std::uint32_t shift = 0;
    std::uint32_t value;
    friend bool operator==(const Fickle& a, const Fickle& b) {
        shift = 1;
        return a.value == b.value;
    }
};
struct FickleKey {
    std::uint32_t operator()(const Fickle& fickle) const {
        return fickle.value / 10 + (fickle.value % 10) * Fickle::shift;
    }
};
struct FickleColl
    : HashMap2018NodeInternalKey<false, 1, std::uint32_t, Fickle, FickleKey, false> {};

TEST(HashMapDeathTest, OverwritingWithAnotherKeyIsFatal) {
    HashMap2018<FickleColl, std::uint32_t, Fickle> map;
    map.put({41});
    EXPECT_DEATH(
        map.put({42}),
        R"(fwkKey\(\) == KeyFunktor\(\)\( _value \) \(HashMap2018NodeInternalKey)");
}

}  // namespace
