#include "Run.h"

#include <exception>

namespace endtoend {

namespace {

bool failed = false;

}  // namespace

void add(
    const std::string& name,
    int iterations,
    const std::function<void(benchmark::State&)>& body) {
    benchmark::RegisterBenchmark(
        ("EndToEnd/" + name).c_str(),
        [body](benchmark::State& state) {
            try {
                body(state);
            } catch (const NotInstalled& missing) {
                state.SkipWithError(missing.what());
            } catch (const std::exception& failure) {
                failed = true;
                state.SkipWithError(failure.what());
            }
        })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(iterations);
}

bool anyFailed() {
    return failed;
}

void tally(benchmark::State& state, const char* counter, double value) {
    benchmark::Counter& mean = state.counters[counter];
    mean.flags = benchmark::Counter::kAvgIterations;
    mean.value += value;
}

void tallyTime(
    benchmark::State& state,
    double seconds,
    const char* perSecond,
    std::uint64_t things) {
    state.SetIterationTime(seconds);
    tally(state, perSecond, static_cast<double>(things) / seconds);
}

void tallyChanges(
    benchmark::State& state,
    double seconds,
    std::uint64_t made,
    std::uint64_t heard) {
    tallyTime(state, seconds, "made/s", made);
    tally(state, "heard/s", static_cast<double>(heard) / seconds);
    tally(state, "changes", static_cast<double>(made));
}

void tallyGrowth(
    benchmark::State& state,
    std::uint64_t bytesBefore,
    std::uint64_t bytesAfter,
    std::uint64_t made) {
    const double grown = static_cast<double>(bytesAfter) - static_cast<double>(bytesBefore);
    tally(state, "grown MB", grown * 1e-6);
    tally(state, "B/change", grown / static_cast<double>(made));
    tally(state, "changes", static_cast<double>(made));
}

}  // namespace endtoend

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    endtoend::addCorra();
    endtoend::addPeers();
    benchmark::RunSpecifiedBenchmarks();
    endtoend::endPeers();
    return endtoend::anyFailed() ? 1 : 0;
}
