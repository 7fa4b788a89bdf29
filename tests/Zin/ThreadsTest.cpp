// Handles and copies of collections that cross threads while the process says that they may.
// The thread sanitizer sees what a count alone does not show.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Zin/AllocTrack.h"
#include "Zin/HSet.h"
#include "Zin/Ptr.h"
#include "Zin/RefCount.h"
#include "Zin/String.h"

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

}  // namespace
