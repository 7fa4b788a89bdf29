// The library: an owner in one process, mirrors in another, Unix sockets between them.
//
// The processes take orders from the benchmark, carry each out and report. The owner serves its
// mirrors while it waits for an order.

#include <poll.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Pseudowire/PseudowireStatus.h"
#include "Records.h"
#include "Run.h"
#include "Zin/NboAttrLogFd.h"

namespace endtoend {

namespace {

using Pseudowire::Status;
using Zin::NboAttrLog::Address;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::FdStream;
using Zin::NboAttrLog::Observer;

const Zin::String exportName("pseudowire/status");

// How often each member is changed.
constexpr std::uint64_t passes = 50;
// Of few members more of them: what lasts but milliseconds is not sustained.
constexpr std::uint64_t leastChanges = 5'000'000;

// --- Owner ---

// An order to make changes and to send a barrier behind them.
struct MakeChanges {
    std::uint64_t count;
    std::uint64_t barrier;
};

class Owner {
  public:
    Owner(const std::string& socket, std::uint32_t members)
        : listening_(listenAt(Address::fromText("unix:" + socket))),
          changes_(members, 0),
          status_(Pseudowire::statusFactory("status")) {
        fill(*status_, members);
        exports_.exportIs(exportName, status_);
    }

    static void fill(Status& status, std::uint32_t members) {
        for (std::uint32_t i = 0; i < members; ++i) {
            status.encapAdjacencyIs(keyAt(i), valueAt(i));
        }
    }

    std::uint64_t checksum() const { return checksumOf(*status_); }

    [[noreturn]] void run(Channel& benchmark) {
        for (;;) {
            while (!turn(-1, benchmark.fd())) {
            }
            benchmark.send(make(benchmark.receive<MakeChanges>()));
        }
    }

  private:
    struct Peer {
        Peer(Fd fd, Exports& exports) : stream(std::move(fd), exports, quiet) {}

        Observer quiet;
        FdStream stream;
    };

    // Changes that are made before the sockets are looked at.
    static constexpr std::uint64_t changesInTurn = 1024;

    // One turn of the event loop. Whether the descriptor `orders` is ready.
    bool turn(int timeout, int orders) {
        polled_.assign({{orders, POLLIN, 0}, {listening_.get(), POLLIN, 0}});
        for (const auto& peer : peers_) {
            polled_.push_back({peer->stream.fd(), peer->stream.wanted(), 0});
        }
        if (::poll(polled_.data(), polled_.size(), timeout) <= 0) return false;
        for (std::size_t i = 0; i < peers_.size(); ++i) {
            const short events = polled_[i + 2].revents;
            if (events != 0 && !peers_[i]->stream.ready(events)) peers_[i].reset();
        }
        std::erase(peers_, nullptr);
        if (polled_[1].revents != 0) {
            bool refused = false;
            if (Fd peer = acceptFrom(listening_, refused)) {
                peers_.push_back(std::make_unique<Peer>(std::move(peer), exports_));
            }
        }
        return polled_[0].revents != 0;
    }

    Report make(const MakeChanges& order) {
        Report report;
        const Stopwatch all;
        for (std::uint64_t left = order.count; left > 0;) {
            const Stopwatch one;
            const std::uint64_t inTurn = std::min(left, changesInTurn);
            for (std::uint64_t i = 0; i < inTurn; ++i) change();
            turn(0, -1);
            report.longestTurnSeconds = std::max(report.longestTurnSeconds, one.seconds());
            left -= inTurn;
        }
        for (const auto& peer : peers_) peer->stream.connection().barrier(order.barrier);
        all.putInto(report);
        report.checksum = checksum();
        return report;
    }

    void change() {
        const Changes::Change change = changes_.next();
        const Vorn::IntfId key = keyAt(change.member);
        Pseudowire::EncapAdjacency value = status_->encapAdjacency(key);
        value.tunnelIdIs(Tunnel::TunnelTable::TunnelId(change.tunnelId));
        status_->encapAdjacencyIs(key, value);
    }

    Fd listening_;
    Changes changes_;
    Zin::Ptr<Status> status_;
    Exports exports_;
    std::vector<std::unique_ptr<Peer>> peers_;
    std::vector<pollfd> polled_;
};

// --- Mirrors ---

struct MirrorOrder {
    enum class What : std::uint32_t {
        // Connect, and wait until they hold what the owner holds.
        sync,
        // Wait for the owner's barrier.
        hear,
        // Disconnect, and keep what was mirrored.
        cut
    };
    What what;
    std::uint64_t barrier = 0;
};

class Mirror final : public Observer {
  public:
    Mirror() : status_(Pseudowire::statusFactory("status")), heard_(status_) {}

    void connect(const Address& owner) {
        synced_ = false;
        stream_ = std::make_unique<FdStream>(connectTo(owner), none_, *this);
        stream_->connection().mount(exportName, status_);
    }
    void cut() { stream_.reset(); }

    FdStream& stream() { return *stream_; }
    bool synced() const { return synced_; }
    // The last one of the owner that was reached.
    std::uint64_t barrier() const { return barrier_; }
    std::uint64_t heard() const { return heard_.count; }
    std::uint64_t bytes() const {
        const auto& counters = stream_->connection().counters();
        return counters.bytesIn + counters.bytesOut;
    }
    std::uint64_t checksum() const { return checksumOf(*status_); }

  private:
    struct Heard final : Status::Notifiee {
        using Notifiee::Notifiee;
        void onEncapAdjacency(const Vorn::IntfId&) override { ++count; }
        std::uint64_t count = 0;
    };

    void onSynced(const Zin::String&) override { synced_ = true; }
    void onBarrier(std::uint64_t barrier) override { barrier_ = barrier; }
    void onRefused(const Zin::String&, const Zin::String& why) override {
        throw std::runtime_error("the owner refused: " + std::string(why.view()));
    }

    Zin::Ptr<Status> status_;
    Heard heard_;
    Exports none_;
    std::unique_ptr<FdStream> stream_;
    bool synced_ = false;
    std::uint64_t barrier_ = 0;
};

// Mirrors of one owner in one process.
class Mirrors {
  public:
    Mirrors(const std::string& socket, std::uint32_t count)
        : owner_(Address::fromText("unix:" + socket)), mirrors_(count) {}

    [[noreturn]] void run(Channel& benchmark) {
        for (;;) benchmark.send(carryOut(benchmark.receive<MirrorOrder>()));
    }

  private:
    Report carryOut(const MirrorOrder& order) {
        Report report;
        const std::uint64_t heardBefore = heard();
        const Stopwatch watch;
        switch (order.what) {
            case MirrorOrder::What::sync:
                for (Mirror& mirror : mirrors_) mirror.connect(owner_);
                turnUntilAll([](const Mirror& mirror) { return mirror.synced(); });
                break;
            case MirrorOrder::What::hear:
                turnUntilAll(
                    [&](const Mirror& mirror) { return mirror.barrier() == order.barrier; });
                break;
            case MirrorOrder::What::cut:
                for (Mirror& mirror : mirrors_) mirror.cut();
                return report;
        }
        watch.putInto(report);
        report.heard = heard() - heardBefore;
        report.checksum = mirrors_.front().checksum();
        for (const Mirror& mirror : mirrors_) {
            report.bytes += mirror.bytes();
            if (mirror.checksum() != report.checksum) {
                throw std::runtime_error("two mirrors of one owner differ");
            }
        }
        return report;
    }

    template <class Done>
    void turnUntilAll(const Done& done) {
        while (!std::all_of(mirrors_.begin(), mirrors_.end(), done)) turn();
    }
    std::uint64_t heard() const {
        std::uint64_t sum = 0;
        for (const Mirror& mirror : mirrors_) sum += mirror.heard();
        return sum;
    }

    void turn() {
        polled_.clear();
        for (Mirror& mirror : mirrors_) {
            polled_.push_back({mirror.stream().fd(), mirror.stream().wanted(), 0});
        }
        ::poll(polled_.data(), polled_.size(), -1);
        for (std::size_t i = 0; i < mirrors_.size(); ++i) {
            FdStream& stream = mirrors_[i].stream();
            if (polled_[i].revents == 0 || stream.ready(polled_[i].revents)) continue;
            const auto* const error = stream.connection().error();
            throw std::runtime_error(error ? error->text : "the owner has gone");
        }
    }

    Address owner_;
    std::vector<Mirror> mirrors_;
    std::vector<pollfd> polled_;
};

// --- The processes, as the benchmark sees them ---

// An owner and its mirrors. What is reported of mirrors that were to become equal to their
// owner is checked to be so.
class Scene {
  public:
    explicit Scene(std::uint32_t members)
        : owner_([this, members](Channel& channel) {
              Owner owner(socket_, members);
              channel.send(owner.checksum());
              owner.run(channel);
          }) {
        checksum_ = owner_.channel().receive<std::uint64_t>();
    }

    Process& owner() { return owner_; }

    void mirrorsAre(std::uint32_t count) {
        mirrors_ = std::make_unique<Process>(
            [this, count](Channel& channel) { Mirrors(socket_, count).run(channel); });
    }
    Report sync() {
        order(MirrorOrder::What::sync);
        return mirrorsReport();
    }
    void cut() {
        order(MirrorOrder::What::cut);
        (void)mirrors_->channel().receive<Report>();
    }

    // What the owner reports of changes; mirrors do not read meanwhile.
    Report make(std::uint64_t changes) {
        orderChanges(changes);
        return ownerReport();
    }
    // What mirrors report when they have read all that was changed.
    Report hear() {
        order(MirrorOrder::What::hear, barrier_);
        return mirrorsReport();
    }
    // What mirrors report that read while the changes are made.
    Report makeHeard(std::uint64_t changes) {
        order(MirrorOrder::What::hear, barrier_ + 1);
        orderChanges(changes);
        (void)ownerReport();
        return mirrorsReport();
    }

  private:
    void order(MirrorOrder::What what, std::uint64_t barrier = 0) {
        mirrors_->channel().send(MirrorOrder{what, barrier});
    }
    void orderChanges(std::uint64_t changes) {
        owner_.channel().send(MakeChanges{changes, ++barrier_});
    }
    Report ownerReport() {
        const auto report = owner_.channel().receive<Report>();
        checksum_ = report.checksum;
        return report;
    }
    Report mirrorsReport() {
        const auto report = mirrors_->channel().receive<Report>();
        if (report.checksum != checksum_) {
            throw std::runtime_error("a mirror differs from its owner");
        }
        return report;
    }

    TemporaryDirectory directory_;
    std::string socket_ = directory_.path() + "/owner";
    Process owner_;
    std::unique_ptr<Process> mirrors_;
    std::uint64_t barrier_ = 0;
    std::uint64_t checksum_ = 0;
};

// --- Benchmarks ---

// The owner's mutators, without a mirror.
void insert(benchmark::State& state, std::uint32_t members) {
    state.SetLabel("inside of the owner");
    for (auto _ : state) {
        Process owner([&](Channel& channel) {
            const auto status = Pseudowire::statusFactory("status");
            const Stopwatch watch;
            Owner::fill(*status, members);
            Report report;
            watch.putInto(report);
            channel.send(report);
        });
        const auto report = owner.channel().receive<Report>();
        tallyTime(state, report.seconds, "members/s", members);
        tally(state, "server CPU s", report.cpuSeconds);
    }
}

// One reactor is told of each member.
void sync(benchmark::State& state, std::uint32_t members) {
    for (auto _ : state) {
        Scene scene(members);
        scene.mirrorsAre(1);
        const double cpuBefore = scene.owner().cpuSeconds();
        const Report mirror = scene.sync();
        if (mirror.heard != members) throw std::runtime_error("the reactor was not told");
        tallyTime(state, mirror.seconds, "members/s", members);
        tally(state, "B/member", static_cast<double>(mirror.bytes) / members);
        tally(state, "server CPU s", scene.owner().cpuSeconds() - cpuBefore);
        tally(state, "client CPU s", mirror.cpuSeconds);
    }
}

// The owner changes as fast as it can; a mirror that lags hears of several changes of one
// member as one.
void changes(benchmark::State& state, std::uint32_t members) {
    const std::uint64_t made = std::max(std::uint64_t{members} * passes, leastChanges);
    for (auto _ : state) {
        Scene scene(members);
        scene.mirrorsAre(1);
        scene.sync();
        const double cpuBefore = scene.owner().cpuSeconds();
        const Report mirror = scene.makeHeard(made);
        tallyChanges(state, mirror.seconds, made, mirror.heard);
        tally(state, "server CPU s", scene.owner().cpuSeconds() - cpuBefore);
        tally(state, "client CPU s", mirror.cpuSeconds);
    }
}

// A mirror that kept what it had comes back after one member of a hundred was changed.
void resync(benchmark::State& state, std::uint32_t members) {
    for (auto _ : state) {
        Scene scene(members);
        scene.mirrorsAre(1);
        scene.sync();
        scene.cut();
        scene.make(members / 100);
        const double cpuBefore = scene.owner().cpuSeconds();
        const Report mirror = scene.sync();
        tallyTime(state, mirror.seconds, "members/s", members);
        tally(state, "B/member", static_cast<double>(mirror.bytes) / members);
        tally(state, "heard", static_cast<double>(mirror.heard));
        tally(state, "server CPU s", scene.owner().cpuSeconds() - cpuBefore);
        tally(state, "client CPU s", mirror.cpuSeconds);
    }
}

// A mirror that does not read, after as many changes were made without one.
void stalled(benchmark::State& state, std::uint32_t members) {
    const std::uint64_t made = std::uint64_t{members} * 2 * passes;
    for (auto _ : state) {
        Scene scene(members);
        scene.make(made);
        scene.mirrorsAre(1);
        scene.sync();
        const std::uint64_t before = scene.owner().residentBytes();
        const Report owner = scene.make(made);
        tallyTime(state, owner.seconds, "made/s", made);
        tallyGrowth(state, before, scene.owner().residentBytes(), made);
        tally(state, "longest turn ms", owner.longestTurnSeconds * 1e3);
        scene.hear();
    }
}

// What each mirror costs the owner, of which there is one: to bring it to what the owner holds,
// and to tell it of changes.
void mirrors(benchmark::State& state, std::uint32_t count) {
    constexpr std::uint32_t members = 100'000;
    const std::uint64_t made = count < 100 ? 1'000'000 : 100'000;
    const auto cpuOf = [](Scene& scene, const auto& run) {
        const double before = scene.owner().cpuSeconds();
        run();
        return scene.owner().cpuSeconds() - before;
    };
    for (auto _ : state) {
        Scene scene(members);
        const double alone = cpuOf(scene, [&] { scene.make(made); });
        scene.mirrorsAre(count);
        Report synced, heard;
        const double toSync = cpuOf(scene, [&] { synced = scene.sync(); });
        const double toTell = cpuOf(scene, [&] { heard = scene.makeHeard(made); });
        tallyChanges(state, heard.seconds, made, heard.heard);
        tally(state, "sync s", synced.seconds);
        tally(state, "sync server CPU s", toSync);
        tally(state, "changes server CPU s", toTell);
        tally(state, "CPU ns/member/mirror", toSync / members / count * 1e9);
        tally(state, "CPU ns/heard", (toTell - alone) / static_cast<double>(heard.heard) * 1e9);
    }
}

}  // namespace

void addCorra() {
    constexpr int iterations = 3;
    const auto each = [](const char* what, std::uint32_t size, int times, auto run) {
        add(what + ("/Corra/" + std::to_string(size)), times, [=](benchmark::State& state) {
            run(state, size);
        });
    };
    for (const std::uint32_t size : sizes) {
        each("Insert", size, iterations, insert);
        each("Sync", size, iterations, sync);
        each("Changes", size, 1, changes);
        each("Resync", size, iterations, resync);
        if (size <= mostStalled) each("Stalled", size, 1, stalled);
    }
    for (const std::uint32_t count : {1u, 10u, 100u}) each("Mirrors", count, 1, mirrors);
}

}  // namespace endtoend
