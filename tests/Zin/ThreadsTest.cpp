// Handles and copies of collections that cross threads while the process says that they may.
// The thread sanitizer sees what a count alone does not show.

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "Zin/AllocTrack.h"
#include "Zin/HSet.h"
#include "Zin/Ptr.h"
#include "Zin/RefCount.h"
#include "Zin/String.h"
#include "support/LabTypes.h"

namespace {

using Names = Zin::HSet<Zin::String, 0x51ab7e03>;

struct Counted : Zin::PtrInterface {
    explicit Counted(int& gone) : gone_(gone) {}
    ~Counted() override { ++gone_; }
    int& gone_;
};

class ThreadSafePointers : public testing::Test {
  protected:
    void SetUp() override { Zin::VFPtrInterface::threadSafePointers_ = true; }
    void TearDown() override { Zin::VFPtrInterface::threadSafePointers_ = false; }

    template <class F>
    static void onThreads(F work) {
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < 4; ++i) threads.emplace_back(work, i);
        for (std::thread& thread : threads) thread.join();
    }
};

TEST_F(ThreadSafePointers, TheLastOfManyThreadsDisposesOnce) {
    int gone = 0;
    {
        const Zin::Ptr<Counted> shared(new Counted(gone));
        onThreads([copy = shared](unsigned) {
            for (int i = 0; i < 2000; ++i) {
                const Zin::Ptr<Counted> one(copy);
                const Zin::Ptr<Counted> two(one);
                ASSERT_GE(two->references(), 2U);
            }
        });
        EXPECT_EQ(gone, 0);
        EXPECT_EQ(shared->references(), 1U);
    }
    EXPECT_EQ(gone, 1);
}

// Each thread changes its own copy of one map; the buckets that nobody changes stay shared.
TEST_F(ThreadSafePointers, CopiesOfOneMapGoTheirOwnWays) {
    Names names;
    const auto name = [](unsigned i) {
        return Zin::String("name " + std::to_string(i));
    };
    for (unsigned i = 0; i < 2000; ++i) names.put(name(i));
    std::vector<Names> copies(4, names);
    onThreads([&](unsigned thread) {
        Names& mine = copies[thread];
        const Names before(mine);
        for (unsigned i = thread; i < 2000; i += 4) mine.erase(name(i));
        unsigned seen = 0;
        for (const auto& node : before) seen += node.key().empty() ? 0 : 1;
        ASSERT_EQ(seen, 2000U);
    });
    EXPECT_EQ(names.members(), 2000U);
    for (unsigned thread = 0; thread < 4; ++thread) {
        EXPECT_EQ(copies[thread].members(), 1500U);
        for (unsigned i = 0; i < 2000; ++i) {
            EXPECT_EQ(copies[thread].has(name(i)), i % 4 != thread) << thread << ' ' << i;
        }
    }
}

// What an owner hands to other threads: references, and a copy of a collection as it was.
struct Snapshot {
    using Readings = std::remove_cvref_t<decltype(std::declval<Lab::Bench>().reading())>;

    Zin::Ptr<Lab::Bench> bench;
    Zin::Ptr<Lab::Rack> rack;
    Readings readings;
    Zin::String text;
};

constexpr std::uint32_t members = 64;

class Mailbox {
  public:
    void put(const std::optional<Snapshot>& snapshot) {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(snapshot);
        filled_.notify_one();
    }
    // Nothing when no more will come.
    std::optional<Snapshot> take() {
        std::unique_lock lock(mutex_);
        filled_.wait(lock, [this] { return !waiting_.empty(); });
        std::optional<Snapshot> first = std::move(waiting_.front());
        waiting_.pop_front();
        return first;
    }

  private:
    std::mutex mutex_;
    std::condition_variable filled_;
    std::deque<std::optional<Snapshot>> waiting_;
};

std::uint64_t trackedBytes() {
    std::uint64_t bytes = 0;
    for (auto* record = Zin::AllocTrackTypeInfo::first(); record; record = record->next()) {
        bytes += record->counts().liveBytes;
    }
    return bytes;
}

// One thread changes an entity. Others hold it, hold children that the owner deletes, so that
// the last reference goes on any of them, and read and change copies of its collection.
TEST_F(ThreadSafePointers, AnOwnerChangesWhatOthersReferToAndHaveCopiesOf) {
    const std::uint64_t before = trackedBytes();
    {
        const auto bench = Lab::Bench::BenchIs("b");
        Mailbox mailboxes[3];
        std::vector<std::thread> readers;
        for (Mailbox& mailbox : mailboxes) {
            readers.emplace_back([&mailbox] {
                while (const auto snapshot = mailbox.take()) {
                    const Zin::Ptr<Zin::Entity> again(snapshot->bench);
                    ASSERT_GE(again->references(), 2U);
                    ASSERT_TRUE(snapshot->rack->cooled());
                    Snapshot::Readings mine(snapshot->readings);
                    for (std::uint32_t i = 0; i < members; i += 3) mine.put(i, "mine");
                    std::uint32_t asGiven = 0;
                    for (const auto& node : snapshot->readings) {
                        if (node.value() == snapshot->text) ++asGiven;
                    }
                    ASSERT_EQ(asGiven, members);
                    ASSERT_EQ(mine.members(), members);
                }
            });
        }
        for (std::uint32_t round = 0; round < 300; ++round) {
            const Zin::String text("round " + std::to_string(round));
            for (std::uint32_t i = 0; i < members; ++i) bench->readingIs(i, text);
            const auto rack = bench->rackIs("r", true);
            rack->slotIs("s")->sampleIs("x")->markIs(text);
            for (Mailbox& mailbox : mailboxes) {
                mailbox.put(Snapshot{bench, rack, bench->reading(), text});
            }
            // The flag lies in the word that counts.
            bench->markedForDeletionIs(round % 2 == 0);
            EXPECT_EQ(bench->markedForDeletion(), round % 2 == 0);
            bench->rackDel("r");
            bench->readingDel(round % members);
        }
        for (Mailbox& mailbox : mailboxes) mailbox.put(std::nullopt);
        for (std::thread& reader : readers) reader.join();
        EXPECT_EQ(bench->references(), 1U);
        EXPECT_EQ(bench->reading().members(), members - 1);
    }
    EXPECT_EQ(trackedBytes(), before);
}

}  // namespace
