
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "Peer.h"
#include "Run.h"

namespace endtoend {

namespace {

struct Kind {
    const char* name;
    // What favours it.
    const char* label;
    std::unique_ptr<Peer> (*start)();
    // As many as take it some seconds.
    std::uint32_t mostChanges;

    std::uint32_t changes(std::uint32_t members) const {
        return std::min(mostChanges, 10 * members);
    }
};

constexpr Kind ovsdb{"Ovsdb", "what is monitored is not parsed", startOvsdb, 100'000};
constexpr Kind redis{
    "Redis",
    "clients know the keys; no limit of output",
    startRedis,
    1'000'000};

// --- The server that runs ---

// Filling a server takes far longer than most of what is measured then: one that is filled
// serves the benchmarks that follow, until another one is asked for.
struct Running {
    const Kind* kind = nullptr;
    std::uint32_t members = 0;
    // Of changes, which each have values of their own.
    std::uint32_t rounds = 0;
    std::unique_ptr<Peer> peer;
};
Running running;

// Runs `body` in a process of its own; how long it took, and what it says that it counted.
template <class Body>
Report inClient(const Body& body) {
    Process client([&](Channel& channel) {
        const Stopwatch watch;
        Report report = body();
        watch.putInto(report);
        channel.send(report);
    });
    return client.channel().receive<Report>();
}

const Peer& start(const Kind& kind) {
    running = Running();
    running.peer = kind.start();
    running.kind = &kind;
    return *running.peer;
}

Report fill(std::uint32_t members) {
    const Report client = inClient([&] {
        running.peer->insert(members);
        return Report();
    });
    running.members = members;
    return client;
}

const Peer& filled(const Kind& kind, std::uint32_t members) {
    if (running.kind != &kind || running.members != members) {
        start(kind);
        fill(members);
    }
    return *running.peer;
}

Changes changesOfNextRound() {
    return Changes(running.members, ++running.rounds);
}

Report make(const Changes& changes, std::uint32_t count) {
    return inClient([&] {
        running.peer->change(changes, count, running.rounds);
        return Report();
    });
}

// --- Benchmarks ---

void insert(benchmark::State& state, const Kind& kind, std::uint32_t members) {
    for (auto _ : state) {
        const Peer& peer = start(kind);
        const double cpuBefore = peer.server().cpuSeconds();
        const Report client = fill(members);
        tallyTime(state, client.seconds, "members/s", members);
        tally(state, "server CPU s", peer.server().cpuSeconds() - cpuBefore);
        tally(state, "client CPU s", client.cpuSeconds);
    }
}

void readAll(benchmark::State& state, const Peer& peer, std::uint32_t members) {
    const double cpuBefore = peer.server().cpuSeconds();
    const Report client = inClient([&] {
        Report report;
        report.bytes = peer.readAll(members);
        return report;
    });
    tallyTime(state, client.seconds, "members/s", members);
    tally(state, "B/member", static_cast<double>(client.bytes) / members);
    tally(state, "server CPU s", peer.server().cpuSeconds() - cpuBefore);
    tally(state, "client CPU s", client.cpuSeconds);
}

void sync(benchmark::State& state, const Kind& kind, std::uint32_t members) {
    const Peer& peer = filled(kind, members);
    for (auto _ : state) readAll(state, peer, members);
}

// A subscriber that runs until it heard the last change of the round.
Process subscriberTo(const Peer& peer) {
    return Process([&](Channel& channel) {
        Stopwatch watch;
        Report report;
        report.heard = peer.hear(running.rounds, [&] {
            channel.send(true);
            watch = Stopwatch();
        });
        watch.putInto(report);
        channel.send(report);
    });
}

void changes(benchmark::State& state, const Kind& kind, std::uint32_t members) {
    const Peer& peer = filled(kind, members);
    for (auto _ : state) {
        const Changes changes = changesOfNextRound();
        Process subscriber = subscriberTo(peer);
        subscriber.channel().receive<bool>();
        const double cpuBefore = peer.server().cpuSeconds();
        const Report writer = make(changes, kind.changes(members));
        const auto heard = subscriber.channel().receive<Report>();
        tallyChanges(state, heard.seconds, kind.changes(members), heard.heard);
        tally(state, "server CPU s", peer.server().cpuSeconds() - cpuBefore);
        tally(state, "client CPU s", heard.cpuSeconds);
        tally(state, "writer CPU s", writer.cpuSeconds);
    }
}

// One record of a hundred changed while a client was away, which reads all of them then.
void resync(benchmark::State& state, const Kind& kind, std::uint32_t members) {
    const Peer& peer = filled(kind, members);
    for (auto _ : state) {
        make(changesOfNextRound(), members / 100);
        readAll(state, peer, members);
    }
}

// A subscriber that does not read, after as many changes were made without one.
void stalled(benchmark::State& state, const Kind& kind, std::uint32_t members) {
    const Peer& peer = filled(kind, members);
    for (auto _ : state) {
        make(changesOfNextRound(), kind.changes(members));
        const Changes changes = changesOfNextRound();
        Process subscriber([&](Channel& channel) {
            peer.hear(running.rounds, [&] {
                channel.send(true);
                for (;;) ::pause();
            });
        });
        subscriber.channel().receive<bool>();
        const std::uint64_t before = peer.server().residentBytes();
        const Report writer = make(changes, kind.changes(members));
        tallyTime(state, writer.seconds, "made/s", kind.changes(members));
        tallyGrowth(state, before, peer.server().residentBytes(), kind.changes(members));
    }
    endPeers();
}

}  // namespace

void addPeers() {
    for (const Kind* const kind : {&ovsdb, &redis}) {
        const auto each = [=](const char* what, std::uint32_t size, int times, auto run) {
            add(what + std::string("/") + kind->name + '/' + std::to_string(size),
                times,
                [=](benchmark::State& state) {
                    state.SetLabel(kind->label);
                    run(state, *kind, size);
                });
        };
        for (const std::uint32_t size : sizes) {
            const int iterations = size < 1'000'000 ? 3 : 1;
            each("Insert", size, 1, insert);
            each("Sync", size, iterations, sync);
            each("Changes", size, 1, changes);
            each("Resync", size, iterations, resync);
            if (size <= mostStalled) each("Stalled", size, 1, stalled);
        }
    }
}

void endPeers() {
    running = Running();
}

}  // namespace endtoend
