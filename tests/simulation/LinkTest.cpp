// What one link must do, apart from the walks of Simulator.h.

#include <gtest/gtest.h>

#include <optional>

#include "Zin/AllocTrack.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Link.h"
#include "support/RootTypes.h"

namespace {

using namespace support;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Observer;

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

TEST(Link, WhatAMirrorAppliesIsNeverSentBack) {
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

TEST(Link, AStalledPeerCostsItsDirtyKeys) {
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
TEST(Link, ReactorsThatThrowKeepNothingFromBeingApplied) {
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
        const auto owned = dump(*pair.owner);
        std::vector<std::unique_ptr<Thrower>> throwers;
        for (const auto& entity : tree(pair.mirror)) {
            throwers.push_back(std::make_unique<Thrower>(*entity));
        }
        pair.link = std::make_unique<Link>(pair.exports, pair.quiet, pair.none, pair.quiet);
        pair.link->end(1).mount("e", pair.mirror);
        ASSERT_TRUE(pair.link->settle());
        EXPECT_EQ(pair.link->fault(), "");
        EXPECT_EQ(difference(owned, dump(*pair.mirror)), "");
        EXPECT_EQ(difference(owned, dump(*pair.owner)), "");
    }
}

// A flow-out that began behind an attribute which has changed meanwhile comes back to it.
TEST(Link, WhatChangesBehindAFlowOutIsSentToo) {
    Pair pair(rootTypes[0], Access::readOnly, 1);
    auto& bench = static_cast<Lab::Bench&>(*pair.owner);
    bench.labelIs("at once");
    bench.labelIs("when there is room");
    ASSERT_TRUE(pair.link->send(0, 1000));
    ASSERT_TRUE(pair.link->send(0, 1));
    bench.wideIs(9);
    ASSERT_TRUE(pair.link->settle());
    EXPECT_EQ(difference(dump(bench), dump(*pair.mirror)), "");
}

// Children that come and go leave nothing behind on either side of a stream.
TEST(Link, DeletedChildrenDie) {
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

// What only a mirror writes is what both sides hold in the end, children and their children
// too, whatever the owner said while it had not heard of them.
TEST(Link, NothingIsLostOfWhatAMirrorWritesAlone) {
    for (const EntityType& type : rootTypes) {
        for (const std::size_t highWater : {std::size_t{1024}, std::size_t{256} << 10}) {
            Pair pair(type, Access::readWrite, highWater);
            laws::Random random(highWater);
            for (int round = 0; round < 40; ++round) {
                for (auto left = laws::below(random, 40); left > 0; --left) {
                    type.step(*pair.mirror, random);
                    if (left % 4 == 0) {
                        pair.link->send(1, 600);
                        pair.link->deliver(1, 600);
                        pair.link->send(0, 200);
                    }
                }
                const auto written = dump(*pair.mirror);
                ASSERT_TRUE(pair.link->settle());
                ASSERT_EQ(pair.link->fault(), "");
                ASSERT_EQ(difference(written, dump(*pair.owner)), "");
                ASSERT_EQ(difference(written, dump(*pair.mirror)), "");
            }
        }
    }
}

// A barrier of a mirror that made children is reached when the owner holds what is in them.
TEST(Link, ABarrierStandsBehindWhatIsInNewChildren) {
    struct Reached : Observer {
        void onBarrierReached(std::uint64_t) override { state = dump(*owner); }
        Zin::Ptr<Zin::Entity> owner;
        std::optional<State> state;
    } reached;
    Exports exports;
    Exports none;
    Observer quiet;
    const auto owner = Lab::Bench::BenchIs("e");
    reached.owner = owner;
    exports.exportIs("e", owner, Access::readWrite);
    Link link(exports, quiet, none, reached);
    const auto mirror = Lab::Bench::BenchIs("e");
    link.end(1).mount("e", mirror);
    ASSERT_TRUE(link.settle());
    mirror->rackIs("r", true)->slotIs("s")->sampleIs("a")->markIs("m");
    link.end(1).barrier(1);
    ASSERT_TRUE(link.settle());
    ASSERT_TRUE(reached.state);
    EXPECT_EQ(difference(dump(*mirror), *reached.state), "");
}

// A mirror makes what its owner has made meanwhile: the defaults of the one do not hide what
// was set on the other.
TEST(Link, AChildThatBothSidesMadeHoldsWhatBothWrote) {
    Pair pair(rootTypes[0], Access::readWrite);
    auto& owned = static_cast<Lab::Bench&>(*pair.owner);
    auto& mirrored = static_cast<Lab::Bench&>(*pair.mirror);
    owned.rackIs("r", true)->heightIs(7);
    owned.rackIs("r", true)->slotIs("s")->sampleIs("a")->markIs("owner");
    mirrored.rackIs("r", true)->slotIs("s")->sampleIs("a")->markIs("mirror");
    mirrored.rackIs("r", true)->spareIs("spare")->massIs(9);
    ASSERT_TRUE(pair.link->settle());
    EXPECT_EQ(difference(dump(owned), dump(mirrored)), "");
    const auto rack = mirrored.rackIs("r", true);
    EXPECT_EQ(rack->height(), 7u);
    EXPECT_EQ(rack->slotIs("s")->sampleIs("a")->mark().members(), 2u);
    EXPECT_EQ(rack->spareIs("spare")->mass(), 9u);
}

// A read-only mirror that is written again and again while its owner does not read.
TEST(Link, RefusedWritesCostNothingAndAreHealed) {
    int named = 0;
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
            } catch (const Zin::WriteUpdateFromReadOnlyProxyException& e) {
                ++refused;
                named += std::string(e.what()).find(", key ") != std::string::npos;
            }
        }
        EXPECT_GT(refused, 300);
        EXPECT_LT(pair.link->end(1).counters().bytesOut - said, 2048u);
        ASSERT_TRUE(pair.link->settle());
        EXPECT_EQ(pair.link->fault(), "");
        EXPECT_EQ(difference(dump(*pair.owner), dump(*pair.mirror)), "");
    }
    EXPECT_GT(named, 0) << "members are refused by their keys";
}

TEST(Link, MirrorsOnOneStreamMayNotOverlap) {
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
