// Random walks of processes under faults (simulation/Simulator.h). The environment says which:
//
//     CORRA_SCHEDULES=<n>   so many, instead of the short form's
//     CORRA_SEED=<s>        alone: the one of this seed, each step told on standard error;
//                           with CORRA_SCHEDULES: those from this seed on, instead of from 1
//
// simulation/run-long spreads many of them over all processors.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>

#include "Zin/AllocTrack.h"
#include "simulation/Simulator.h"
#include "support/RootTypes.h"
#include "support/Slow.h"

#ifdef CORRA_SANITIZED
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

using support::Coverage;
using support::Simulation;

constexpr std::uint64_t shortForm = support::isSlow ? 800 : 2000;

// Most faults that are there show in short schedules, which there is time for many of; one in
// sixteen is long, for what builds up.
constexpr unsigned stepsOf(std::uint64_t seed) {
    return seed % 16 == 0 ? 5000 : 1000;
}

// From how many schedules on each of these must have come up.
constexpr std::uint64_t enough = 800;
constexpr std::string_view mustComeUp[] = {
    "barriers",
    "changes by mirrors",
    "changes by owners",
    "changes by reactors",
    "children of mirrors heard of",
    "copies restarted with what was saved",
    "cuts inside of a message",
    "cuts with messages on the way",
    "deletions sent",
    "members swept",
    "mirrors joined with state",
    "mirrors made late",
    "mirrors restarted",
    "names unknown to an older build",
    "owners restarted",
    "reactors that came",
    "reactors that left",
    "reactors that threw",
    "refused writes",
    "repairs asked for",
    "schedules of single bytes",
    "stalls",
    "unmounts",
    "writes sent by mirrors"};

std::optional<std::uint64_t> number(const char* variable) {
    const char* const text = std::getenv(variable);
    return text ? std::optional(std::strtoull(text, nullptr, 10)) : std::nullopt;
}

// What is printed of a schedule that fails, a crash included.
std::string replay;

std::string toReplay(std::uint64_t seed) {
    return "to replay it: CORRA_SEED=" + std::to_string(seed) + ' ' +
           std::filesystem::read_symlink("/proc/self/exe").string() +
           " --gtest_filter=Simulation.MirrorsEndAsTheirOwners\n";
}

void printReplay() {
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, replay.data(), replay.size());
}

void onCrash(int signal) {
    printReplay();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void printReplayOnCrash() {
#ifdef CORRA_SANITIZED
    __sanitizer_set_death_callback(&printReplay);
    std::signal(SIGABRT, &onCrash);
#else
    for (const int signal : {SIGABRT, SIGSEGV, SIGBUS}) std::signal(signal, &onCrash);
#endif
}

// Objects and bytes of each type. Where this program and the library have a record each, what
// the one took the other may have freed.
std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> live() {
    std::map<std::string, std::pair<std::uint64_t, std::uint64_t>> all;
    for (auto* record = Zin::AllocTrackTypeInfo::first(); record; record = record->next()) {
        auto& [objects, bytes] = all[record->typeName()];
        objects += record->counts().liveObjects;
        bytes += record->counts().liveBytes;
    }
    std::erase_if(all, [](const auto& type) {
        return type.second == std::pair<std::uint64_t, std::uint64_t>();
    });
    return all;
}

TEST(Simulation, MirrorsEndAsTheirOwners) {
    const auto wantedSeed = number("CORRA_SEED");
    const auto wantedSchedules = number("CORRA_SCHEDULES");
    const bool alone = wantedSeed && !wantedSchedules;
    const std::uint64_t first = wantedSeed.value_or(1);
    const std::uint64_t schedules = alone ? 1 : wantedSchedules.value_or(shortForm);
    printReplayOnCrash();
    Coverage coverage;
    const auto before = live();
    for (std::uint64_t seed = first; seed < first + schedules; ++seed) {
        replay = toReplay(seed);
        ASSERT_EQ(Simulation(seed, coverage, alone).run(stepsOf(seed)), "") << replay;
        ASSERT_EQ(live(), before) << "something was left behind; " << replay;
    }
    for (const auto& [what, times] : coverage) {
        std::cout << what << ": " << times << '\n';
    }
    if (schedules < enough) return;
    for (const std::string_view what : mustComeUp) EXPECT_NE(coverage[what], 0U) << what;
    for (const support::EntityType& type : support::rootTypes) {
        const std::string_view name = type.make("a")->fwkType().info()->name;
        EXPECT_NE(coverage[name], 0U) << name;
    }
}

}  // namespace
