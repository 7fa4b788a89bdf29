// Memory that runs out at each allocation in turn: a mutator changes all that it should or
// nothing, and mirrors still end as their owner, if need be after they joined it anew.

#include <gtest/gtest.h>

#include <new>

#include "frame/Allocations.h"
#include "support/Dump.h"
#include "support/Link.h"
#include "support/RootTypes.h"

namespace {

using namespace support;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Observer;

// An entity that is as it was after so many steps, with a mirror that may write or not.
struct World {
    World(const EntityType& type, std::uint64_t seed)
        : owner(type.make("e")), mirror(type.make("e")) {
        laws::Random random(seed);
        for (std::uint64_t i = seed % 60; i != 0; --i) type.step(*owner, random);
        exports.exportIs("e", owner, seed % 2 ? Access::readWrite : Access::readOnly);
        join();
    }

    void join() {
        link.reset();
        link = std::make_unique<Link>(exports, quiet, none, quiet);
        link->end(1).mount("e", mirror);
        EXPECT_TRUE(link->settle());
        EXPECT_EQ(link->fault(), "");
    }

    // After whatever happened.
    void converge() {
        bool settled = true;
        try {
            settled = link->settle() && link->fault().empty();
        } catch (const std::bad_alloc&) {
            settled = false;
        }
        if (!settled) join();
        EXPECT_EQ(difference(dump(*owner), dump(*mirror)), "");
    }

    Exports exports;
    Exports none;
    Observer quiet;
    Zin::Ptr<Zin::Entity> owner;
    Zin::Ptr<Zin::Entity> mirror;
    std::unique_ptr<Link> link;
};

// Steps that delete all members one by one may stop between two of them.
bool isBetween(const State& before, const State& after, const State& now) {
    for (const auto& [name, text] : now) {
        const auto old = before.find(name);
        if (old == before.end() || old->second != text) return false;
    }
    for (const auto& [name, text] : after) {
        if (!now.contains(name) || now.at(name) != text) return false;
    }
    return after.size() < before.size();
}

TEST(AllocationFailure, AMutatorDoesAllOrNothing) {
    int failures = 0;
    for (const EntityType& type : rootTypes) {
        for (std::uint64_t seed = 1; seed <= 60; ++seed) {
            SCOPED_TRACE(seed);
            const auto changed = [&](World& world) -> Zin::Entity& {
                return seed % 4 == 1 ? *world.mirror : *world.owner;
            };
            const auto step = [&](World& world) {
                laws::Random random(1000 + seed);
                type.step(changed(world), random);
            };
            World whole(type, seed);
            const State before = dump(changed(whole));
            step(whole);
            const State after = dump(changed(whole));
            bool more = true;
            for (std::uint64_t n = 0; more; ++n) {
                World world(type, seed);
                bool thrown = false;
                {
                    const FailingAllocation failing(n);
                    try {
                        step(world);
                    } catch (const std::bad_alloc&) {
                        thrown = true;
                    }
                    more = failing.failed();
                }
                failures += more;
                const State now = dump(changed(world));
                if (now != after && !(thrown && isBetween(before, after, now))) {
                    EXPECT_TRUE(thrown) << "it failed and said nothing";
                    ASSERT_EQ(difference(before, now), "") << "allocation " << n;
                }
                world.converge();
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_GT(failures, 500);
}

TEST(AllocationFailure, StreamsLoseNothing) {
    int failures = 0;
    for (const EntityType& type : rootTypes) {
        for (std::uint64_t seed = 1; seed <= 20; ++seed) {
            SCOPED_TRACE(seed);
            bool more = true;
            for (std::uint64_t n = 0; more; ++n) {
                World world(type, seed);
                laws::Random random(seed);
                for (int i = 0; i < 4; ++i) {
                    type.step(*(i % 2 && seed % 2 ? world.mirror : world.owner), random);
                }
                {
                    const FailingAllocation failing(n);
                    try {
                        world.link->settle();
                    } catch (const std::bad_alloc&) {
                        // On the wire itself: what was on it is lost.
                        world.link.reset();
                    }
                    more = failing.failed();
                }
                failures += more;
                if (!world.link) world.join();
                world.converge();
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_GT(failures, 200);
}

}  // namespace
