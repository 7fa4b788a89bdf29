// Owners and mirrors under faults: tests/support/Simulator.h. A seed that fails is printed;
// CORRA_SEED=<seed> replays that one and tells each step, CORRA_SEEDS=<number> runs more of
// them.

#include <gtest/gtest.h>

#include <cstdlib>

#include "Zin/AllocTrack.h"
#include "support/RootTypes.h"
#include "support/Simulator.h"

namespace {

using namespace support;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Observer;

TEST(Simulation, MirrorsEndAsTheirOwner) {
    constexpr unsigned steps = 1500;
    if (const char* const seed = std::getenv("CORRA_SEED")) {
        Simulation one(rootTypes, std::strtoull(seed, nullptr, 10), true);
        EXPECT_EQ(one.run(steps), "");
        return;
    }
    const char* const wanted = std::getenv("CORRA_SEEDS");
    const std::uint64_t seeds = wanted ? std::strtoull(wanted, nullptr, 10) : 400;
    for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
        Simulation one(rootTypes, seed, false);
        ASSERT_EQ(one.run(steps), "") << "CORRA_SEED=" << seed << " replays this";
    }
}

// An owner's entity and one mirror of it.
struct Pair {
    explicit Pair(const EntityType& type, Access access, std::size_t highWater = 256 << 10)
        : owner(type.make("e")) {
        exports.exportIs("e", owner, access);
        Zin::NboAttrLog::Connection::Options options;
        options.highWater = highWater;
        link = std::make_unique<Link>(exports, quiet, none, quiet, options);
        mirror = type.make("e");
        link->end(1).mount("e", mirror);
        EXPECT_TRUE(link->settle());
    }

    Exports exports;
    Exports none;
    Observer quiet;
    Zin::Ptr<Zin::Entity> owner;
    Zin::Ptr<Zin::Entity> mirror;
    std::unique_ptr<Link> link;
};

TEST(Simulation, WhatAMirrorAppliesIsNeverSentBack) {
    for (const EntityType& type : rootTypes) {
        Pair pair(type, Access::readWrite);
        laws::Random random(1);
        const std::uint64_t said = pair.link->end(1).counters().messagesOut;
        for (int i = 0; i < 500; ++i) {
            type.step(*pair.owner, random);
            if (i % 7 == 0) {
                ASSERT_TRUE(pair.link->settle());
            }
        }
        ASSERT_TRUE(pair.link->settle());
        EXPECT_EQ(difference(dump(*pair.owner), dump(*pair.mirror)), "");
        EXPECT_EQ(pair.link->end(1).counters().messagesOut, said);
    }
}

std::uint64_t trackedBytes() {
    std::uint64_t bytes = 0;
    for (auto* record = Zin::AllocTrackTypeInfo::first(); record; record = record->next()) {
        bytes += record->counts().liveBytes;
    }
    return bytes;
}

TEST(Simulation, AStalledPeerCostsItsDirtyKeys) {
    struct Case {
        const char* name;
        std::uint32_t keys;  // that come and go, again and again or once
        std::uint64_t bytes;
    };
    for (const Case& c :
         {Case{"few keys", 8, 4096}, Case{"ever new keys", 100000, 200 << 10}}) {
        SCOPED_TRACE(c.name);
        Pair pair(rootTypes[0], Access::readWrite, 1024);
        auto& bench = static_cast<Lab::Bench&>(*pair.owner);
        const std::uint64_t before = trackedBytes();
        const std::uint64_t sent = pair.link->end(0).counters().bytesOut;
        for (std::uint32_t i = 0; i < 50000; ++i) {
            bench.wideIs(i);
            bench.readingIs(i % c.keys, "reading");
            if (i >= 4) bench.readingDel((i - 4) % c.keys);
        }
        EXPECT_LT(trackedBytes() - before, c.bytes);
        EXPECT_LT(pair.link->end(0).counters().bytesOut - sent, 2048u);
        ASSERT_TRUE(pair.link->settle());
        EXPECT_EQ(difference(dump(*pair.owner), dump(*pair.mirror)), "");
    }
}

// A stale mirror whose reactors throw at every change takes over all that its owner holds.
TEST(Simulation, ReactorsThatThrowKeepNothingFromBeingApplied) {
    struct Thrower : private Zin::Notifiee {
        explicit Thrower(const Zin::Entity& entity) {
            registerWith(*entity.notifieeList().list);
        }
        void onAttribute(Zin::AttributeId, const void*) override {
            throw std::runtime_error("thrown by a reactor");
        }
    };
    for (const EntityType& type : rootTypes) {
        Pair pair(type, Access::readWrite);
        pair.link.reset();
        laws::Random random(2);
        for (int i = 0; i < 400; ++i) type.step(*(i % 2 ? pair.owner : pair.mirror), random);
        std::vector<std::unique_ptr<Thrower>> throwers;
        for (const auto& entity : tree(pair.mirror)) {
            throwers.push_back(std::make_unique<Thrower>(*entity));
        }
        pair.link = std::make_unique<Link>(pair.exports, pair.quiet, pair.none, pair.quiet);
        pair.link->end(1).mount("e", pair.mirror);
        ASSERT_TRUE(pair.link->settle());
        EXPECT_EQ(pair.link->fault(), "");
        EXPECT_EQ(difference(dump(*pair.owner), dump(*pair.mirror)), "");
    }
}

// Children that come and go leave nothing behind on either side of a stream.
TEST(Simulation, DeletedChildrenDie) {
    for (const Access access : {Access::readOnly, Access::readWrite}) {
        Pair pair(rootTypes[0], access);
        auto& bench = static_cast<Lab::Bench&>(*pair.owner);
        std::uint64_t before = 0;
        for (int i = 0; i < 50; ++i) {
            if (i == 1) before = trackedBytes();
            bench.rackIs("r", true)->slotIs("s")->sampleIs("x");
            ASSERT_TRUE(pair.link->settle());
            bench.rackDel("r");
            ASSERT_TRUE(pair.link->settle());
        }
        EXPECT_EQ(trackedBytes(), before);
    }
}

// A read-only mirror that is written again and again while its owner does not read.
TEST(Simulation, RefusedWritesCostNothingAndAreHealed) {
    for (const EntityType& type : rootTypes) {
        Pair pair(type, Access::readOnly, 1024);
        laws::Random random(1);
        for (int i = 0; i < 300; ++i) type.step(*pair.owner, random);
        ASSERT_TRUE(pair.link->settle());
        const std::uint64_t said = pair.link->end(1).counters().bytesOut;
        int refused = 0;
        for (int i = 0; i < 3000; ++i) {
            try {
                type.step(*pair.mirror, random);
            } catch (const Zin::WriteUpdateFromReadOnlyProxyException&) {
                ++refused;
            }
        }
        EXPECT_GT(refused, 300);
        EXPECT_LT(pair.link->end(1).counters().bytesOut - said, 2048u);
        ASSERT_TRUE(pair.link->settle());
        EXPECT_EQ(pair.link->fault(), "");
        EXPECT_EQ(difference(dump(*pair.owner), dump(*pair.mirror)), "");
    }
}

TEST(Simulation, MirrorsOnOneStreamMayNotOverlap) {
    Exports none;
    Observer quiet;
    Zin::NboAttrLog::Connection connection(none, quiet);
    const auto bench = Lab::Bench::BenchIs("b");
    const auto rack = bench->rackIs("r", true);
    connection.mount("rack", rack);
    EXPECT_THROW(connection.mount("rack", rack), Zin::Exception);
    EXPECT_THROW(connection.mount("same", rack), Zin::Exception);
    EXPECT_THROW(connection.mount("above", bench), Zin::Exception);
    EXPECT_THROW(connection.mount("below", rack->slotIs("s")), Zin::Exception);
    bench->rackDel("r");
    connection.mount("above", bench);
}

}  // namespace
