// Life of entities, and what their mutators tell: laws over all entity types, and the contract
// of Runnability and Config.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwRunnability.h"
#include "frame/TypeImpl.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Mutate.h"

namespace {

using namespace support;
using Lab::Bench;
using Pseudowire::Config;
using Pseudowire::Runnability;

struct NamedType {
    const char* name;
    EntityType type;
    const Zin::ZinModule* module;
    std::uint32_t index;
    std::vector<std::string> defaults;

    friend void PrintTo(const NamedType& named, std::ostream* out) { *out << named.name; }
};

const NamedType types[] = {
    {"Pseudowire::Runnability",
     entityType<Runnability>(),
     &_PwRunnability_4c2637c2_zinModule,
     0,
     {"config = False"}},
    {"Pseudowire::Config",
     entityType<Config>(),
     &_PseudowireConfig_4a3e203c_zinModule,
     1,
     {"groupIdAllocation = manual", "mtu = 0", "mtuIgnore = True"}},
    {"Lab::Bench",
     entityType<Bench>(),
     &_Lab_0_zinModule,
     1,
     {"balance = -6",
      "batch = 4",
      "colour = violet",
      "flag = True",
      "huge = 5",
      "label = 'none'",
      "ratio = 0.5",
      "small = 2",
      "tiny = 1",
      "wide = 3"}},
};

class EveryType : public testing::TestWithParam<NamedType> {};
INSTANTIATE_TEST_SUITE_P(Frame, EveryType, testing::ValuesIn(types), [](const auto& type) {
    return std::to_string(type.index);
});

TEST_P(EveryType, IsFoundMadeAndDescribed) {
    const NamedType& expected = GetParam();
    const Zin::ZinTypeBase handle = Zin::typeNamed(expected.name);
    EXPECT_EQ(handle.module, expected.module);
    EXPECT_EQ(handle.index, expected.index);
    EXPECT_EQ(Zin::moduleNamed(expected.module->name), expected.module);

    const Zin::Ptr<Zin::Entity> made = expected.type.make("it");
    EXPECT_EQ(made->name(), "it");
    EXPECT_EQ(made->fwkType(), handle);
    EXPECT_EQ(made->references(), 1u);
    EXPECT_TRUE(made->hasNotificationActive());
    EXPECT_EQ(made->parent(), nullptr);
    const Zin::NotifieeListDescriptor lists = made->notifieeList();
    EXPECT_EQ(lists.count, 1u);
    EXPECT_TRUE(lists.list->empty());

    std::string state;
    for (const auto& [name, text] : dump(*made)) state += name + " = " + text + '\n';
    for (const std::string& line : expected.defaults) {
        EXPECT_NE(state.find(line + '\n'), std::string::npos) << line << " is not in\n"
                                                              << state;
    }

    int argument = 0;
    EXPECT_THROW(handle.info()->newEntityForDir("it", &argument), Zin::NewEntityArgsException);

    const Zin::String name("of arguments");
    const void* arguments[] = {&name};
    Zin::Entity* raw = nullptr;
    handle.info()->genericIfConstructFromCtorArgs(&raw, arguments);
    const auto constructed = Zin::Ptr<Zin::Entity>::adopted(raw);
    EXPECT_EQ(constructed->fwkType(), handle);
    EXPECT_EQ(constructed->name(), name);
    EXPECT_EQ(constructed->references(), 1u);
}

// The rule of all mutators, for every attribute of every type and its children: what changed is
// told once, what did not is not told.
TEST_P(EveryType, EachChangeIsToldOnce) {
    laws::Random random(3);
    const Zin::Ptr<Zin::Entity> root = GetParam().type.make("it");
    std::map<std::string, int> changes;
    for (int round = 0; round < 3000; ++round) {
        const auto all = tree(root);
        std::vector<std::unique_ptr<Listener>> listeners;
        std::vector<State> before;
        std::vector<Zin::Entity*> parents;
        for (const auto& entity : all) {
            listeners.push_back(std::make_unique<Listener>(*entity));
            before.push_back(dump(*entity, Depth::own));
            parents.push_back(entity->parent());
        }
        GetParam().type.step(*root, random);
        for (std::size_t i = 0; i < all.size(); ++i) {
            const State after = dump(*all[i], Depth::own);
            std::vector<std::string> expected;
            if (all[i]->parent() != parents[i])
                expected.push_back(std::to_string(Zin::parentId));
            for (const auto& [name, text] : before[i]) {
                const auto now = after.find(name);
                if (now == after.end() || now->second != text) expected.push_back(name);
            }
            for (const auto& [name, text] : after) {
                if (!before[i].contains(name)) expected.push_back(name);
            }
            for (const std::string& name : expected) ++changes[name.substr(0, name.find('['))];
            std::sort(expected.begin(), expected.end());
            std::sort(listeners[i]->told.begin(), listeners[i]->told.end());
            ASSERT_EQ(listeners[i]->told, expected);
        }
        for (const auto& entity : tree(root)) {
            ASSERT_EQ(entity->parent() == nullptr, entity == root);
        }
    }
    for (const Zin::AttributeInfo& a : root->fwkType().info()->attributes) {
        EXPECT_EQ(changes[std::string(a.name)] > 0, a.writable) << a.name;
    }
}

TEST_P(EveryType, AllMemoryIsGivenBack) {
    const auto live = [] {
        std::uint64_t objects = 0;
        for (auto* r = Zin::AllocTrackTypeInfo::first(); r; r = r->next()) {
            objects += r->counts().liveObjects + r->counts().liveBytes;
        }
        return objects;
    };
    const std::uint64_t before = live();
    {
        laws::Random random(4);
        const Zin::Ptr<Zin::Entity> root = GetParam().type.make("it");
        EXPECT_GT(live(), before);
        for (int i = 0; i < 200; ++i) GetParam().type.step(*root, random);
    }
    EXPECT_EQ(live(), before);
}

TEST(Factories, MakeTheSameAsTheSingletonInstantiation) {
    EXPECT_EQ(Pseudowire::configFactory("c")->fwkType().index, 1u);
    EXPECT_EQ(Config::ConfigIs("c")->name(), "c");
    EXPECT_EQ(Pseudowire::runnabilityFactory("r")->fwkType().index, 0u);
    EXPECT_EQ(Runnability::RunnabilityIs("r")->name(), "r");
    const auto config = Pseudowire::configFactory("c");
    EXPECT_EQ(config->intfReviewDelayRangeDefault(), config->intfReviewDelayRange());
    EXPECT_EQ(config->getMtuDefault(), config->mtu());
    EXPECT_EQ(config->getMtuIgnoreDefault(), config->mtuIgnore());
    EXPECT_EQ(Pseudowire::GroupIdAllocationInstance("byPseudowire").value(), 1u);
    EXPECT_EQ(Pseudowire::GroupIdAllocationInstance(2).stringValue(), "manual");
    EXPECT_EQ(stringValue(config->groupIdAllocation()), "manual");
    EXPECT_THROW(Pseudowire::GroupIdAllocationInstance("bySlot"), Zin::RangeException);
    EXPECT_THROW(Pseudowire::GroupIdAllocationInstance(3), Zin::RangeException);
}

// --- References ---

struct Gone : Zin::PtrInterface {
    explicit Gone(bool& flag) : gone(flag) {}
    ~Gone() override { gone = true; }
    bool& gone;
};

TEST(References, FlagBitsDoNotKeepAnObjectAlive) {
    for (const bool threads : {false, true}) {
        for (const bool marked : {false, true}) {
            for (const bool active : {false, true}) {
                Zin::VFPtrInterface::threadSafePointers_ = threads;
                bool gone = false;
                Zin::Ptr<Gone> object(new Gone(gone));
                object->markedForDeletionIs(marked);
                object->hasNotificationActiveIs(active);
                EXPECT_EQ(object->references(), 1u);
                Zin::Ptr<Gone> second = object;
                object = {};
                EXPECT_FALSE(gone);
                EXPECT_EQ(second->markedForDeletion(), marked);
                EXPECT_EQ(second->hasNotificationActive(), active);
                second = {};
                EXPECT_TRUE(gone);
            }
        }
    }
    Zin::VFPtrInterface::threadSafePointers_ = false;
}

// --- Children ---

TEST(Children, AreHeardToGoBeforeReactorsAre) {
    auto config = Pseudowire::configFactory("c");
    struct Watcher : Config::Notifiee {
        using Notifiee::Notifiee;
        void onPatch(const Zin::String& name) override {
            // The owner is still whole, and the child is no longer in it.
            EXPECT_TRUE(registered());
            EXPECT_FALSE(notifier()->patch(name));
            gone.push_back(std::string(name.view()));
        }
        std::vector<std::string> gone;
    };
    config->patchIs("a");
    const auto b = config->patchIs("b");
    Watcher watcher(config);
    config = {};
    std::sort(watcher.gone.begin(), watcher.gone.end());
    EXPECT_EQ(watcher.gone, (std::vector<std::string>{"a", "b"}));
    EXPECT_FALSE(watcher.registered());
    EXPECT_EQ(watcher.notifier(), nullptr);
    // Held by somebody else, it lives on without a parent.
    EXPECT_EQ(b->parent(), nullptr);
    EXPECT_EQ(b->references(), 1u);
    b->enabledIs(false);
}

TEST(Children, OthersArgumentsAreRefusedAndNothingChanges) {
    const auto bench = Bench::BenchIs("b");
    const auto rack = bench->rackIs("r", true);
    rack->heightIs(9);
    Listener listener(*bench);
    const State before = dump(*bench);
    EXPECT_EQ(bench->rackIs("r", true), rack);
    EXPECT_THROW(bench->rackIs("r", false), Zin::MutatorReinstantiatingException);
    EXPECT_EQ(difference(before, dump(*bench)), "");
    EXPECT_TRUE(listener.told.empty());
    EXPECT_EQ(bench->rackDel("absent"), nullptr);
    EXPECT_EQ(bench->rackDel("r"), rack);
    EXPECT_EQ(rack->parent(), nullptr);
    EXPECT_EQ(bench->rackIs("r", false)->cooled(), false);
}

// --- Reactors ---

TEST(Reactors, AnExceptionReachesTheCallerAfterAllWereTold) {
    const auto config = Pseudowire::configFactory("c");
    int told = 0;
    const auto throwing = [&] {
        ++told;
        throw std::runtime_error("first");
    };
    const auto a = frame::attach<&Config::Notifiee::onMtu>(config, throwing);
    auto b = frame::attach<&Config::Notifiee::onMtu>(config, [&] { ++told; });
    EXPECT_THROW(config->mtuIs(5), std::runtime_error);
    EXPECT_EQ(told, 2);
    EXPECT_EQ(config->mtu(), 5u);
    b.end();
    EXPECT_THROW(config->mtuIs(6), std::runtime_error);
    EXPECT_EQ(told, 3);
}

TEST(Reactors, AnEmptiedCollectionIsToldByKeyAndOnlyIfSomebodyListens) {
    const auto bench = Bench::BenchIs("b");
    for (std::uint32_t i = 0; i < 20; ++i) bench->readingIs(i, "x");
    Listener listener(*bench);
    bench->readingDelAll();
    EXPECT_EQ(listener.told.size(), 20u);
    EXPECT_EQ(bench->readingDel(3), "");
    EXPECT_EQ(listener.told.size(), 20u);
}

// A key that lies in the member itself, which the first reactor removes.
TEST(Reactors, TheKeyOutlivesTheMember) {
    const auto bench = Bench::BenchIs("b");
    bench->reagentIs({"a long name that is not stored inline", 1});
    struct Remover : Bench::Notifiee {
        using Notifiee::Notifiee;
        void onName(const Zin::String& name) override {
            names.push_back(name);
            if (names.size() == 1) notifier()->reagentDel(name);
        }
        std::vector<Zin::String> names;
    };
    Remover first(bench);
    Remover second(bench);
    bench->reagentIs(Lab::Reagent(bench->reagent().begin()->value().name(), 2));
    ASSERT_EQ(first.names.size(), 2u);
    EXPECT_EQ(second.names, first.names);
}

}  // namespace
