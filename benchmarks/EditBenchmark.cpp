// What it costs to change one member of an entity's collection and to bring the change to a
// mirror, from a thousand members to a million. Members are changed in no order.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "Keys.h"
#include "Operations.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Vorn/IntfId.h"
#include "Zin/NboAttrLogConnection.h"

namespace {

using namespace bench;
using Clock = std::chrono::steady_clock;
using Pseudowire::EncapAdjacency;
using Pseudowire::Status;
using Zin::NboAttrLog::Connection;

struct Counting : Status::Notifiee {
    using Notifiee::Notifiee;
    std::uint64_t told = 0;
    void onEncapAdjacency(const Vorn::IntfId&) override { ++told; }
};

void fill(Status& status, const std::vector<Vorn::IntfId>& keys) {
    for (const auto& key : keys) status.encapAdjacencyIs(key, valueAt<EncapAdjacency>(0));
}

// Walks the members in no order, and changes all to another value in each round.
class Changes {
  public:
    explicit Changes(const std::vector<Vorn::IntfId>& keys) : keys_(keys) {}

    void one(Status& status) {
        status.encapAdjacencyIs(keys_[at_], valueAt<EncapAdjacency>(turn_));
        if (++at_ == keys_.size()) {
            at_ = 0;
            ++turn_;
        }
    }

  private:
    const std::vector<Vorn::IntfId>& keys_;
    std::size_t at_ = 0;
    std::size_t turn_ = 1;
};

// An owner, and a mirror with a reactor that holds all that the owner holds.
struct Mirrored {
    explicit Mirrored(std::size_t size)
        : keys(KeySet<Vorn::IntfId>::of(size)), changes(keys.sought) {
        fill(*owned, keys.stored);
        exports.exportIs("status", owned);
        mirror.mount("status", mirrored);
        exchange();
    }
    // Made once for each size: a million members take longer than what is measured.
    static Mirrored& of(const benchmark::State& state) {
        static std::map<std::int64_t, std::unique_ptr<Mirrored>> all;
        auto& one = all[state.range(0)];
        if (!one) one = std::make_unique<Mirrored>(static_cast<std::size_t>(state.range(0)));
        return *one;
    }

    static void carry(Connection& from, Connection& to) {
        while (from.hasOutput()) {
            const auto bytes = from.produce(std::size_t{64} << 10);
            to.feed(bytes);
            from.consumed(bytes.size());
        }
    }
    void exchange() {
        while (owner.hasOutput() || mirror.hasOutput()) {
            carry(owner, mirror);
            carry(mirror, owner);
        }
    }
    void check(benchmark::State& state) {
        exchange();
        if (!(owned->encapAdjacency() == mirrored->encapAdjacency())) {
            state.SkipWithError("the mirror holds something else");
        }
    }

    const KeySet<Vorn::IntfId>& keys;
    Changes changes;
    Zin::Ptr<Status> owned = Pseudowire::statusFactory("status");
    Zin::Ptr<Status> mirrored = Pseudowire::statusFactory("status");
    Counting reactor{mirrored};
    Zin::NboAttrLog::Exports exports, none;
    Zin::NboAttrLog::Observer quiet;
    Connection owner{exports, quiet};
    Connection mirror{none, quiet};
};

// The mutator, without reactors and mirrors.
void mutate(benchmark::State& state) {
    const auto& keys = KeySet<Vorn::IntfId>::of(static_cast<std::size_t>(state.range(0)));
    const auto status = Pseudowire::statusFactory("status");
    fill(*status, keys.stored);
    Changes changes(keys.sought);
    for (auto _ : state) changes.one(*status);
}

// One change on its way: mutated, encoded, applied, and a reactor of the mirror told.
void edit(benchmark::State& state) {
    Mirrored& pair = Mirrored::of(state);
    const std::uint64_t before = pair.reactor.told;
    for (auto _ : state) {
        pair.changes.one(*pair.owned);
        Mirrored::carry(pair.owner, pair.mirror);
    }
    if (pair.reactor.told - before != static_cast<std::uint64_t>(state.iterations())) {
        state.SkipWithError("the mirror's reactor was not told once of each change");
    }
    pair.check(state);
}

template <class Timed>
double secondsOf(const Timed& timed) {
    const auto before = Clock::now();
    timed();
    return std::chrono::duration<double>(Clock::now() - before).count();
}

// An edit after the process did other things: nothing of it is in the caches, however few
// members there are.
void coldEdit(benchmark::State& state) {
    Mirrored& pair = Mirrored::of(state);
    std::vector<std::uint64_t> others(std::size_t{8} << 20);
    for (auto _ : state) {
        for (std::uint64_t& word : others) ++word;
        benchmark::DoNotOptimize(others.data());
        state.SetIterationTime(secondsOf([&] {
            pair.changes.one(*pair.owned);
            Mirrored::carry(pair.owner, pair.mirror);
        }));
    }
    pair.check(state);
}

// Both halves of an edit are too short for a clock: a few at a time.
constexpr std::size_t batch = 64;

// From the mutator to the bytes.
void encode(benchmark::State& state) {
    Mirrored& pair = Mirrored::of(state);
    for (auto _ : state) {
        std::span<const std::byte> bytes;
        state.SetIterationTime(secondsOf([&] {
            for (std::size_t i = 0; i < batch; ++i) pair.changes.one(*pair.owned);
            bytes = pair.owner.produce(std::size_t{64} << 10);
            benchmark::DoNotOptimize(bytes.data());
        }));
        pair.mirror.feed(bytes);
        pair.owner.consumed(bytes.size());
    }
    countPerIteration(state, batch);
    pair.check(state);
}

// From the bytes to the mirror and its reactor.
void apply(benchmark::State& state) {
    Mirrored& pair = Mirrored::of(state);
    for (auto _ : state) {
        for (std::size_t i = 0; i < batch; ++i) pair.changes.one(*pair.owned);
        const auto bytes = pair.owner.produce(std::size_t{64} << 10);
        state.SetIterationTime(secondsOf([&] { pair.mirror.feed(bytes); }));
        pair.owner.consumed(bytes.size());
    }
    countPerIteration(state, batch);
    pair.check(state);
}

[[maybe_unused]] const bool added = [] {
    for (const std::int64_t size : {1000, 3162, 10000, 31623, 100000, 316228, 1000000}) {
        benchmark::RegisterBenchmark("ScaleEdit/Mutate/Corra", mutate)->Arg(size);
        benchmark::RegisterBenchmark("ScaleEdit/Edit/Corra", edit)->Arg(size);
        benchmark::RegisterBenchmark("ScaleEdit/ColdEdit/Corra", coldEdit)
            ->Arg(size)
            ->UseManualTime()
            ->Iterations(100);
        benchmark::RegisterBenchmark("ScaleEdit/Encode/Corra", encode)
            ->Arg(size)
            ->UseManualTime();
        benchmark::RegisterBenchmark("ScaleEdit/Apply/Corra", apply)
            ->Arg(size)
            ->UseManualTime();
    }
    return true;
}();

}  // namespace
