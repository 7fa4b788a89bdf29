// The keyed collections beside std and absl containers, in one run. Values have 48 bytes. All
// hashed containers use the same hash of keys. Sizes are 1,000, 65,536 and 1,000,000 members.
//
// Counters: B/entry is what malloc gave out per member; worst_us is the slowest single insert
// while growing from empty.

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "Keys.h"
#include "Zin/HashMap2018.h"
#include "Zin/RbTreeMap.h"

namespace {

using namespace bench;

std::size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

template <class K>
struct Hashed {
    struct Coll : Zin::HashMap2018NodeExternKey<false, 0x5eed, K, Value48, false> {};
    using Map = Zin::HashMap2018<Coll, K, Value48>;
    Map map;

    const Value48* find(const K& key) const {
        const auto* const node = map.lookup(key);
        return node ? &node->value() : nullptr;
    }
    void insert(const K& key, const Value48& value) { map.put(key, value); }
    void erase(const K& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const auto& node : map) f(node.key(), node.value());
    }
};

template <class K>
struct Ordered {
    Ordered() = default;
    Ordered(Ordered&&) = default;
    struct Coll : Zin::RbTreeMapNodeExternKey<K, Value48> {};
    Zin::RbTreeMap<Coll, K, Value48> map;

    const Value48* find(const K& key) const {
        const auto* const node = map.lookup(key);
        return node ? &node->value() : nullptr;
    }
    void insert(const K& key, const Value48& value) { map.put(key, value); }
    void erase(const K& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const auto& node : map) f(node.key(), node.value());
    }
};

template <class M>
struct Peer {
    M map;

    const Value48* find(const typename M::key_type& key) const {
        const auto at = map.find(key);
        return at == map.end() ? nullptr : &at->second;
    }
    void insert(const typename M::key_type& key, const Value48& value) { map[key] = value; }
    void erase(const typename M::key_type& key) { map.erase(key); }
    template <class F>
    void forEach(F&& f) const {
        for (const auto& [key, value] : map) f(key, value);
    }
};
template <class K>
using Absl = Peer<absl::flat_hash_map<K, Value48, Hasher<K>>>;
template <class K>
using Std = Peer<std::unordered_map<K, Value48, Hasher<K>>>;
template <class K>
using AbslBtree = Peer<absl::btree_map<K, Value48>>;
template <class K>
using StdMap = Peer<std::map<K, Value48>>;

template <class K>
std::vector<K> keysFrom(std::size_t first, std::size_t count) {
    std::vector<K> keys;
    keys.reserve(count);
    for (std::size_t i = first; i < first + count; ++i) keys.push_back(keyAt<K>(i));
    return keys;
}
template <class K>
std::vector<K> shuffled(std::vector<K> keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(7));
    return keys;
}
template <class C, class K>
void fill(C& container, const std::vector<K>& keys) {
    for (const K& key : keys) container.insert(key, Value48{{1, 2, 3, 4, 5, 6}});
}
std::size_t sizeOf(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

template <class C, class K>
void hit(benchmark::State& state) {
    const auto keys = keysFrom<K>(0, sizeOf(state));
    C container;
    const std::size_t before = bytesInUse();
    fill(container, keys);
    const std::size_t bytes = bytesInUse() - before;
    const auto order = shuffled(keys);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(container.find(order[i])->words[0]);
        if (++i == order.size()) i = 0;
    }
    state.counters["B/entry"] = static_cast<double>(bytes) / static_cast<double>(keys.size());
}

// Each key is known only when the value before it was read.
template <class C, class K>
void dependentHit(benchmark::State& state) {
    const auto keys = shuffled(keysFrom<K>(0, sizeOf(state)));
    C container;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        container.insert(keys[i], Value48{{(i + 1) % keys.size()}});
    }
    std::size_t i = 0;
    for (auto _ : state) i = static_cast<std::size_t>(container.find(keys[i])->words[0]);
    benchmark::DoNotOptimize(i);
}

template <class C, class K>
void miss(benchmark::State& state) {
    C container;
    fill(container, keysFrom<K>(0, sizeOf(state)));
    const auto absent = shuffled(keysFrom<K>(sizeOf(state), sizeOf(state)));
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(container.find(absent[i]));
        if (++i == absent.size()) i = 0;
    }
}

template <class C, class K>
void insertGrowing(benchmark::State& state) {
    const auto keys = keysFrom<K>(0, sizeOf(state));
    for (auto _ : state) {
        C container;
        fill(container, keys);
        state.PauseTiming();
        { [[maybe_unused]] const C dropped = std::move(container); }
        state.ResumeTiming();
    }
    state.counters["ns/op"] = benchmark::Counter(
        static_cast<double>(keys.size()) * 1e-9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class C, class K>
void worstInsert(benchmark::State& state) {
    const auto keys = keysFrom<K>(0, sizeOf(state));
    std::chrono::nanoseconds least = std::chrono::hours(1);
    for (auto _ : state) {
        C container;
        std::chrono::nanoseconds worst{0};
        auto before = std::chrono::steady_clock::now();
        for (const K& key : keys) {
            container.insert(key, {});
            const auto after = std::chrono::steady_clock::now();
            worst = std::max(worst, std::chrono::nanoseconds(after - before));
            before = after;
        }
        // Of several runs the best: others contain what the machine did besides.
        least = std::min(least, worst);
    }
    state.counters["worst_us"] = static_cast<double>(least.count()) / 1000;
}

template <class C, class K>
void eraseAndReinsert(benchmark::State& state) {
    const auto keys = shuffled(keysFrom<K>(0, sizeOf(state)));
    C container;
    fill(container, keys);
    std::size_t i = 0;
    for (auto _ : state) {
        container.erase(keys[i]);
        container.insert(keys[i], Value48{});
        if (++i == keys.size()) i = 0;
    }
}

template <class C, class K>
void iterate(benchmark::State& state) {
    C container;
    fill(container, keysFrom<K>(0, sizeOf(state)));
    for (auto _ : state) {
        std::uint64_t sum = 0;
        container.forEach([&sum](const K&, const Value48& value) { sum += value.words[3]; });
        benchmark::DoNotOptimize(sum);
    }
    state.counters["ns/op"] = benchmark::Counter(
        static_cast<double>(sizeOf(state)) * 1e-9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class C, class K>
void copy(benchmark::State& state) {
    C container;
    fill(container, keysFrom<K>(0, sizeOf(state)));
    for (auto _ : state) {
        C other(container);
        benchmark::DoNotOptimize(other);
    }
}

template <class C, class K>
void copyAndChangeOne(benchmark::State& state) {
    const auto keys = shuffled(keysFrom<K>(0, sizeOf(state)));
    C container;
    fill(container, keys);
    std::size_t i = 0;
    for (auto _ : state) {
        C other(container);
        other.insert(keys[i], Value48{{i}});
        if (++i == keys.size()) i = 0;
    }
}

constexpr std::int64_t sizes[] = {1000, 65536, 1000000};

template <class C, class K>
void add(const std::string& container, const std::string& key) {
    const auto at = [&](const char* operation, void (*run)(benchmark::State&)) {
        auto* const registered = benchmark::RegisterBenchmark(
            (std::string(operation) + "/" + key + "/" + container).c_str(),
            run);
        for (const std::int64_t size : sizes) registered->Arg(size);
        return registered;
    };
    at("hit", hit<C, K>);
    at("dependentHit", dependentHit<C, K>);
    at("miss", miss<C, K>);
    at("insert", insertGrowing<C, K>);
    at("eraseInsert", eraseAndReinsert<C, K>);
    at("iterate", iterate<C, K>);
    at("worstInsert", worstInsert<C, K>)->Iterations(5);
    if constexpr (std::is_copy_constructible_v<C>) {
        at("copy", copy<C, K>);
        at("copyChange", copyAndChangeOne<C, K>);
    }
}

template <class K>
void addKey(const std::string& key) {
    add<Hashed<K>, K>("HashMap2018", key);
    add<Absl<K>, K>("absl::flat_hash_map", key);
    add<Std<K>, K>("std::unordered_map", key);
    add<Ordered<K>, K>("RbTreeMap", key);
    add<StdMap<K>, K>("std::map", key);
    add<AbslBtree<K>, K>("absl::btree_map", key);
}

[[maybe_unused]] const bool added = [] {
    addKey<std::uint64_t>("u64");
    addKey<Key24>("struct24");
    addKey<Zin::String>("String");
    return true;
}();

}  // namespace
