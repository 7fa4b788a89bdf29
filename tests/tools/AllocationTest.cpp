// Memory that runs out while a capture is imported.

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include "corra/Process.h"
#include "corra/StateFile.h"
#include "corra/WholeFile.h"
#include "frame/Allocations.h"
#include "support/Dump.h"
#include "support/Slow.h"
#include "tools/Captures.h"

namespace {

using support::State;

State stateOf(const corra::Roots& roots) {
    State state;
    for (const auto& [name, root] : roots) {
        const std::string at(name.view());
        for (const auto& [path, text] : support::dump(*root)) {
            state.emplace(at + '.' + path, text);
        }
    }
    return state;
}

corra::Roots rootsOf(const std::string& capture) {
    corra::Roots roots;
    corra::importCapture(capture, roots);
    return roots;
}

// What is there before and afterwards is the one or the other.
void expectEachOldOrNew(const State& before, const State& after, const State& now) {
    for (const auto& [path, text] : before) {
        const auto later = after.find(path);
        const auto found = now.find(path);
        if (found == now.end()) {
            EXPECT_EQ(after.end(), later) << path << " was lost";
        } else if (found->second != text) {
            EXPECT_TRUE(later != after.end() && found->second == later->second)
                << path << " is " << found->second;
        }
    }
}

// Each one in turn; of the later ones fewer where that would take minutes.
std::uint64_t nextToFail(std::uint64_t n) {
    return n + (support::isSlow ? 1 + n / 40 : 1);
}

// An import that is cut short in the middle is completed by the next one.
TEST(AllocationFailure, AnImportKeepsWhatItDoesNotChange) {
    const std::string first = corra::test::captureDirectory(corra::test::captures[2]);
    const std::string second = corra::test::captureDirectory(corra::test::captures[3]);
    const State before = stateOf(rootsOf(first));
    const State after = stateOf(rootsOf(second));
    int failures = 0;
    int halfway = 0;
    bool more = true;
    for (std::uint64_t n = 0; more; n = nextToFail(n)) {
        SCOPED_TRACE(n);
        corra::Roots roots = rootsOf(first);
        {
            const support::FailingAllocation failing(n);
            try {
                corra::importCapture(second, roots);
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            more = failing.failed();
        }
        const State now = stateOf(roots);
        expectEachOldOrNew(before, after, now);
        halfway += now != before && now != after;
        corra::importCapture(second, roots);
        EXPECT_EQ("", support::difference(after, stateOf(roots)));
        if (HasFailure()) return;
    }
    EXPECT_LT(100, failures);
    EXPECT_LT(0, halfway);
}

TEST(AllocationFailure, AStateFileIsReadAsAWholeOrNotAtAll) {
    const corra::Roots roots = rootsOf(corra::test::captureDirectory(corra::test::captures[1]));
    const State expected = stateOf(roots);
    const corra::TemporaryDirectory directory;
    const std::string file = directory.path() + "/state.json";
    corra::writeFileAtomically(file, corra::stateText(roots));
    int failures = 0;
    bool more = true;
    for (std::uint64_t n = 0; more; n = nextToFail(n)) {
        std::optional<corra::Roots> read;
        {
            const support::FailingAllocation failing(n);
            try {
                read = corra::readStateFile(file);
            } catch (const std::bad_alloc&) {
                ++failures;
            }
            more = failing.failed();
        }
        if (!read) continue;
        EXPECT_EQ("", support::difference(expected, stateOf(*read))) << n;
    }
    EXPECT_LT(100, failures);
}

}  // namespace
