// What a mutator costs beside what a programmer would write by hand, and beside another
// library's signals, in one run. Every observer is told through a virtual call or a slot that
// the compiler cannot see through.

#include <benchmark/benchmark.h>

#include <boost/signals2/signal.hpp>
#include <cstdint>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireStatus.h"

namespace bench {

// With a name that others may see: the compiler cannot know all that derive from it.
class Observer {
  public:
    virtual ~Observer() = default;
    virtual void onMtu() = 0;
};

}  // namespace bench

namespace {

struct Counter {
    std::uint64_t calls = 0;
};

// --- One attribute ---

// A setter with a list of observers, as one writes it where nothing else is at hand.
class ByHand {
  public:
    using Observer = bench::Observer;

    void observe(Observer* observer) { observers_.push_back(observer); }
    [[gnu::noinline]] void mtuIs(std::uint32_t mtu) {
        if (mtu == mtu_) return;
        mtu_ = mtu;
        for (Observer* const observer : observers_) observer->onMtu();
    }

  private:
    std::uint32_t mtu_ = 0;
    std::vector<Observer*> observers_;
};

struct CountingObserver : bench::Observer, Counter {
    [[gnu::noipa]] void onMtu() override { ++calls; }
};

class WithSignal {
  public:
    boost::signals2::signal<void()> changed;

    [[gnu::noinline]] void mtuIs(std::uint32_t mtu) {
        if (mtu == mtu_) return;
        mtu_ = mtu;
        changed();
    }

  private:
    std::uint32_t mtu_ = 0;
};

struct Reactor : Pseudowire::Config::Notifiee, Counter {
    using Notifiee::Notifiee;
    [[gnu::noipa]] void onMtu() override { ++calls; }
};

// As an agent calls it: through a pointer, from another function.
[[gnu::noinline]] void setMtu(Pseudowire::Config& config, std::uint32_t mtu) {
    config.mtuIs(mtu);
}

void unchanged(benchmark::State& state) {
    const auto config = Pseudowire::configFactory("pw");
    const Reactor reactor(config);
    config->mtuIs(1500);
    for (auto _ : state) setMtu(*config, 1500);
}
BENCHMARK(unchanged)->Name("Mutators/SetUnchanged/Corra/1");

void unchangedByHand(benchmark::State& state) {
    ByHand byHand;
    CountingObserver observer;
    byHand.observe(&observer);
    byHand.mtuIs(1500);
    for (auto _ : state) byHand.mtuIs(1500);
}
BENCHMARK(unchangedByHand)->Name("Mutators/SetUnchanged/ByHand/1");

void changed(benchmark::State& state) {
    const auto config = Pseudowire::configFactory("pw");
    const Reactor reactor(config);
    std::uint32_t mtu = 1500;
    for (auto _ : state) setMtu(*config, mtu ^= 1);
    if (static_cast<std::int64_t>(reactor.calls) != state.iterations()) {
        state.SkipWithError("the reactor was not told");
    }
}
BENCHMARK(changed)->Name("Mutators/SetChanged/Corra/1");

void changedByHand(benchmark::State& state) {
    ByHand byHand;
    CountingObserver observer;
    byHand.observe(&observer);
    std::uint32_t mtu = 1500;
    for (auto _ : state) byHand.mtuIs(mtu ^= 1);
}
BENCHMARK(changedByHand)->Name("Mutators/SetChanged/ByHand/1");

void changedBySignal(benchmark::State& state) {
    WithSignal signal;
    Counter counter;
    signal.changed.connect([&counter] { ++counter.calls; });
    std::uint32_t mtu = 1500;
    for (auto _ : state) signal.mtuIs(mtu ^= 1);
    benchmark::DoNotOptimize(counter.calls);
}
BENCHMARK(changedBySignal)->Name("Mutators/SetChanged/BoostSignals2/1");

// --- A member of a collection, without reactors ---

constexpr std::uint32_t members = 1000;

Vorn::IntfId keyAt(std::uint32_t i) {
    return Vorn::IntfId((std::uint64_t{i} + 1) * 0x9e3779b97f4a7c15);
}
std::vector<Vorn::IntfId> keys() {
    std::vector<Vorn::IntfId> all;
    for (std::uint32_t i = 0; i < members; ++i) all.push_back(keyAt(i));
    return all;
}
// Two values that differ, for each key in turn.
Pseudowire::EncapAdjacency valueAt(std::uint64_t turn) {
    Pseudowire::EncapAdjacency value("metro-003");
    value.encapPwLabelIs(Vorn::MplsLabel(16 + static_cast<std::uint32_t>(turn & 1)));
    return value;
}

void memberSet(benchmark::State& state) {
    const auto status = Pseudowire::statusFactory("status");
    const auto all = keys();
    const Pseudowire::EncapAdjacency values[] = {valueAt(0), valueAt(1)};
    std::size_t i = 0;
    std::size_t turn = 0;
    for (auto _ : state) {
        status->encapAdjacencyIs(all[i], values[turn]);
        if (++i == all.size()) {
            i = 0;
            turn ^= 1;
        }
    }
}
BENCHMARK(memberSet)->Name("Mutators/MemberSet/Corra/1000");

void memberPut(benchmark::State& state) {
    Pseudowire::Status::EncapAdjacencyMap map;
    const auto all = keys();
    const Pseudowire::EncapAdjacency values[] = {valueAt(0), valueAt(1)};
    std::size_t i = 0;
    std::size_t turn = 0;
    for (auto _ : state) {
        map.put(all[i], values[turn]);
        if (++i == all.size()) {
            i = 0;
            turn ^= 1;
        }
    }
}
BENCHMARK(memberPut)->Name("Mutators/MemberSet/BareCollection/1000");

}  // namespace
