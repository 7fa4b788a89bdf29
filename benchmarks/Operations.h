// The operations that are measured on each container. Benchmarks are named
// <Group>/<Operation>/<Who>/<Size>, by which benchmarks/report finds both sides of a ratio.
//
// Where an iteration is not one operation, the counter ns/op says what one takes.

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Containers.h"
#include "Heap.h"
#include "Keys.h"

namespace bench {

template <class C>
const KeySet<typename C::Key>& keysOf(const benchmark::State& state) {
    return KeySet<typename C::Key>::of(static_cast<std::size_t>(state.range(0)));
}

inline void countPerIteration(benchmark::State& state, std::size_t operations) {
    state.counters["ns/op"] = benchmark::Counter(
        static_cast<double>(operations) * 1e-9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// Does it to one key an iteration, again from the first when all had their turn.
template <class Key, class Operation>
[[gnu::always_inline]] inline void
inTurn(benchmark::State& state, const std::vector<Key>& keys, Operation&& operation) {
    std::size_t i = 0;
    for (auto _ : state) {
        operation(keys[i]);
        if (++i == keys.size()) i = 0;
    }
}

template <class C>
void hit(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    C container;
    fill(container, keys.stored);
    inTurn(state, keys.sought, [&](const auto& key) {
        benchmark::DoNotOptimize(glance(*container.find(key)));
    });
}

// Each key is known only when the value before it was read.
template <class C>
void dependentHit(benchmark::State& state) {
    const auto& keys = keysOf<C>(state).sought;
    C container;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        container.insert(keys[i], Value48{{(i + 1) % keys.size()}});
    }
    std::size_t i = 0;
    for (auto _ : state) i = static_cast<std::size_t>(container.find(keys[i])->words[0]);
    benchmark::DoNotOptimize(i);
}

template <class C>
void miss(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    C container;
    fill(container, keys.stored);
    inTurn(state, keys.absent, [&](const auto& key) {
        benchmark::DoNotOptimize(container.find(key));
    });
}

// Per member, growing from empty.
template <class C>
void insert(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    memberAt<C>(keys.stored.size() - 1);
    std::optional<C> container;
    for (auto _ : state) {
        container.emplace();
        fill(*container, keys.stored);
        state.PauseTiming();
        container.reset();
        state.ResumeTiming();
    }
    countPerIteration(state, keys.stored.size());
}

// Per member, until empty.
template <class C>
void erase(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    C container;
    for (auto _ : state) {
        state.PauseTiming();
        fill(container, keys.stored);
        state.ResumeTiming();
        for (const auto& key : keys.sought) container.erase(key);
    }
    countPerIteration(state, keys.stored.size());
}

// How long single inserts take while a container grows: the slowest, and what all but one in
// ten thousand keep below.
template <class C>
void worstInsert(benchmark::State& state) {
    const auto& keys = keysOf<C>(state).stored;
    // Each insert's best of several runs, which do the same: what the machine did besides, did
    // it at another one each time.
    std::vector<std::uint32_t> nanoseconds(
        keys.size(),
        std::numeric_limits<std::uint32_t>::max());
    for (auto _ : state) {
        C container;
        auto before = std::chrono::steady_clock::now();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            container.insert(keys[i], memberAt<C>(i));
            const auto after = std::chrono::steady_clock::now();
            nanoseconds[i] = std::min(
                nanoseconds[i],
                static_cast<std::uint32_t>(std::chrono::nanoseconds(after - before).count()));
            before = after;
        }
    }
    const auto percentile =
        nanoseconds.begin() + static_cast<std::ptrdiff_t>(keys.size() / 10000 * 9999);
    std::nth_element(nanoseconds.begin(), percentile, nanoseconds.end());
    state.counters["worst_us"] = *std::max_element(percentile, nanoseconds.end()) / 1000.0;
    state.counters["p99.99_us"] = *percentile / 1000.0;
}

template <class C>
void eraseInsert(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    C container;
    fill(container, keys.stored);
    inTurn(state, keys.sought, [&](const auto& key) {
        container.erase(key);
        container.insert(key, memberAt<C>(0));
    });
}

template <class C>
void walk(const C& container) {
    std::uint64_t sum = 0;
    container.forEach([&sum](const auto& value) { sum += glance(value); });
    benchmark::DoNotOptimize(sum);
}

// Per member; in key order where the container has one. The first walk after changes is not
// counted: see iterateFirst.
template <class C>
void iterate(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    C container;
    fill(container, keys.stored);
    walk(container);
    for (auto _ : state) walk(container);
    countPerIteration(state, keys.stored.size());
}

// Per member, the first walk after all were inserted.
template <class C>
void iterateFirst(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    for (auto _ : state) {
        state.PauseTiming();
        std::optional<C> container(std::in_place);
        fill(*container, keys.stored);
        state.ResumeTiming();
        walk(*container);
        state.PauseTiming();
        container.reset();
        state.ResumeTiming();
    }
    countPerIteration(state, keys.stored.size());
}

template <class C>
void copy(benchmark::State& state) {
    C container;
    fill(container, keysOf<C>(state).stored);
    for (auto _ : state) {
        C other(container);
        benchmark::DoNotOptimize(other);
    }
}

template <class C>
void copyAndChange(benchmark::State& state) {
    const auto& keys = keysOf<C>(state);
    C container;
    fill(container, keys.stored);
    inTurn(state, keys.sought, [&](const auto& key) {
        C other(container);
        other.insert(key, valueAt<typename C::Value>(1));
    });
}

template <class C>
void memory(benchmark::State& state) {
    const auto& keys = keysOf<C>(state).stored;
    memberAt<C>(keys.size() - 1);
    // The library takes a few names once, whatever is stored.
    C().insert(keys[0], memberAt<C>(0));
    for (auto _ : state) {
        const HeapCount heap;
        C container;
        fill(container, keys);
        const auto perMember = [&keys](std::size_t count) {
            return static_cast<double>(count) / static_cast<double>(keys.size());
        };
        state.counters["bytes/member"] = perMember(heap.liveBytes());
        state.counters["allocations/member"] = perMember(heap.allocations());
    }
}

using Sizes = std::vector<std::int64_t>;
using Run = void (*)(benchmark::State&);

// Adds the operations of one container.
class Adder {
  public:
    Adder(std::string group, std::string who, Sizes sizes)
        : group_(std::move(group)), who_(std::move(who)), sizes_(std::move(sizes)) {}

    void operator()(const char* operation, Run run, int iterations = 0) const {
        auto* const added =
            benchmark::RegisterBenchmark((group_ + '/' + operation + '/' + who_).c_str(), run);
        for (const std::int64_t size : sizes_) added->Arg(size);
        if (iterations > 0) added->Iterations(iterations);
    }

  private:
    std::string group_, who_;
    Sizes sizes_;
};

// What is measured on each container, and compared with the like of it.
template <class C>
void addCommon(const Adder& at) {
    at("Hit", hit<C>);
    at("Miss", miss<C>);
    at("Insert", insert<C>);
    at("Iterate", iterate<C>);
    at("Memory", memory<C>, 1);
}

}  // namespace bench
