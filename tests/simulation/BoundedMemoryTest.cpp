// A peer that stalls costs its owner memory that follows the keys that live, however often they
// change. Counted is all that this program takes from operator new.

#include <gtest/gtest.h>

#include "frame/Allocations.h"
#include "frame/AttributeSending.h"
#include "support/Dump.h"
#include "support/LabTypes.h"
#include "support/Link.h"
#include "support/Slow.h"

namespace {

using namespace support;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Observer;

constexpr std::uint32_t keys = 100000;
constexpr std::uint32_t changes = isSlow ? 1000000 : 10000000;
// What a dirty key may cost, its share of a bucket that is half empty included.
constexpr std::size_t bytesPerKey = 32;
constexpr std::size_t streamBytes = 4096;

class StalledPeer : public testing::Test {
  protected:
    StalledPeer() {
        exports_.exportIs("bench", owner_);
        mirror_ = Lab::Bench::BenchIs("bench");
        Zin::NboAttrLog::Connection::Options options;
        options.highWater = 1024;
        link_ = std::make_unique<Link>(exports_, quiet_, none_, quiet_, options);
        link_->end(1).mount("bench", mirror_);
    }

    void settle() {
        ASSERT_TRUE(link_->settle(1 << 20));
        EXPECT_EQ(link_->fault(), "");
        EXPECT_EQ(mirror_->reading().members(), owner_->reading().members());
        EXPECT_TRUE(mirror_->reading() == owner_->reading());
        EXPECT_EQ(mirror_->wide(), owner_->wide());
    }

    // The most that the changes took at once, whatever they left.
    template <class Change>
    std::size_t peakOf(const Change& change) {
        const std::size_t before = Allocations::liveBytes();
        Allocations::resetPeak();
        for (std::uint32_t i = 0; i < changes; ++i) change(i);
        return Allocations::peakBytes() - before;
    }

    Zin::Ptr<Lab::Bench> owner_ = Lab::Bench::BenchIs("bench");
    Zin::Ptr<Lab::Bench> mirror_;
    Exports exports_;
    Exports none_;
    Observer quiet_;
    std::unique_ptr<Link> link_;
};

TEST_F(StalledPeer, ChangesToLiveKeysCostTheirNumber) {
    const Zin::String texts[] = {"even", "odd"};
    for (std::uint32_t key = 0; key < keys; ++key) owner_->readingIs(key, texts[0]);
    settle();
    const std::uint64_t sent = link_->end(0).counters().bytesOut;
    const std::size_t peak = peakOf([&](std::uint32_t i) {
        owner_->readingIs(i % keys, texts[(i / keys + 1) % 2]);
        owner_->wideIs(i);
    });
    EXPECT_LT(peak, keys * bytesPerKey + streamBytes);
    EXPECT_LT(link_->end(0).counters().bytesOut - sent, streamBytes);
    settle();
    // Each key that was dirty was told once.
    EXPECT_LT(link_->end(0).counters().messagesOut, 2 * keys + 1000);
}

TEST_F(StalledPeer, KeysThatComeAndGoCostWhatLives) {
    constexpr std::uint32_t live = 1000;
    const Zin::String text("text");
    for (std::uint32_t key = 0; key < live; ++key) owner_->readingIs(key, text);
    settle();
    const std::size_t peak = peakOf([&](std::uint32_t i) {
        owner_->readingIs(live + i, text);
        owner_->readingDel(i);
    });
    EXPECT_LT(peak, (live + frame::dirtyKeySlack) * bytesPerKey + streamBytes);
    settle();
}

}  // namespace
