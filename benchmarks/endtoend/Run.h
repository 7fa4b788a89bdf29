// How end-to-end benchmarks are registered and what they report.

#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>

#include "Process.h"

namespace endtoend {

// The first is for trying out: what is measured with so few means nothing.
inline constexpr std::uint32_t sizes[] = {1'000, 10'000, 100'000, 1'000'000};
// The most members of benchmarks in which somebody does not read.
inline constexpr std::uint32_t mostStalled = 100'000;

// What `body` measures in one iteration it gives to SetIterationTime(). What it throws ends the
// benchmark with those words.
void add(
    const std::string& name,
    int iterations,
    const std::function<void(benchmark::State&)>& body);

// Whether a benchmark failed for another reason than that a peer is not installed.
bool anyFailed();

// A counter that shows the mean of the iterations, each of which adds once.
void tally(benchmark::State& state, const char* counter, double value);

// The time of an iteration, and how many things were done a second.
void tallyTime(
    benchmark::State& state,
    double seconds,
    const char* perSecond,
    std::uint64_t things);

// One iteration of a benchmark in which changes were heard until `seconds` had passed.
void tallyChanges(
    benchmark::State& state,
    double seconds,
    std::uint64_t made,
    std::uint64_t heard);

// One iteration in which somebody was not reading while a server had to go on.
void tallyGrowth(
    benchmark::State& state,
    std::uint64_t bytesBefore,
    std::uint64_t bytesAfter,
    std::uint64_t made);

// Registers the benchmarks of the library, and those of its peers.
void addCorra();
void addPeers();

// Ends a peer's server that still runs.
void endPeers();

}  // namespace endtoend
