#include "simulation/Simulator.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <deque>
#include <iostream>
#include <utility>

#include "Zin/Exceptions.h"
#include "Zin/Hash.h"
#include "Zin/NboAttrLogIn.h"
#include "simulation/Equality.h"
#include "simulation/OldTypes.h"

namespace support {

using Zin::Entity;
using Zin::Ptr;
using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Connection;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::headerSize;
using Zin::NboAttrLog::In;
using Zin::NboAttrLog::MessageId;
using Zin::NboAttrLog::Observer;
using Refused = Zin::WriteUpdateFromReadOnlyProxyException;

namespace {

// Of rootTypes: the one that an older build knows too.
constexpr std::size_t bench = 0;
constexpr unsigned settlingRounds = 200000;

// An older build has types of its own, and calls them by the names that all builds use.
void swapNames(std::vector<std::byte>& message) {
    const auto swap = [&](std::string_view a, std::string_view b) {
        auto* const text = reinterpret_cast<char*>(message.data());
        const std::string_view whole(text, message.size());
        for (std::size_t at = headerSize; at + a.size() <= whole.size(); ++at) {
            const std::string_view found = whole.substr(at, a.size());
            if (found == a || found == b) {
                const std::string_view other = found == a ? b : a;
                std::copy(other.begin(), other.end(), text + at);
            }
        }
    };
    swap({"\0\0\0\3Lab", 7}, {"\0\0\0\3Old", 7});
    swap("Lab::", "Old::");
}

}  // namespace

// --- What a simulation is made of ---

// A reactor that now and then changes what it observes, comes, goes or throws.
class Simulation::Meddler final : private Zin::Notifiee {
  public:
    Meddler(
        Simulation& simulation,
        const Entity& observed,
        std::size_t process,
        std::size_t root)
        : simulation_(simulation), process_(process), root_(root) {
        registerWith(*observed.notifieeList().list);
    }

  private:
    void onAttribute(Zin::AttributeId, const void*) override;

    Simulation& simulation_;
    std::size_t process_;
    std::size_t root_;
};

// What a process holds of a root: the root itself, or a mirror of it.
struct Simulation::Copy {
    Ptr<Entity> entity;
    // Told before all who change things from inside callbacks, and behind some of them.
    std::unique_ptr<Shadow> first;
    std::unique_ptr<Shadow> late;
    std::vector<std::unique_ptr<Meddler>> meddlers;
    Ptr<Entity> saved;
};

struct Simulation::Process {
    bool old;
    // Changes nothing of what it mirrors.
    bool passive;
    // By number of the other process.
    std::vector<bool> trusted;
    std::vector<Copy> copies;
    // By access: what is offered for reading, and for writing.
    std::unique_ptr<Exports> exports[2];
};

// One direction of a link: what was sent becomes whole messages here.
struct Simulation::Flow {
    std::vector<std::byte> held;
    std::uint64_t sent = 0;
    std::uint64_t delivered = 0;
    // Where messages end that were not delivered, and which of them may sweep.
    std::deque<std::uint64_t> ends;
    std::deque<std::uint64_t> sweeps;
    // A part of a message was delivered.
    bool partial = false;
    // What follows is about the receiver's entities: writes.
    bool writing = false;
};

struct Simulation::End final : Observer {
    void onMounted(const Zin::String& name, const Ptr<Entity>& mirror, Access access) override {
        const auto root = static_cast<std::size_t>(
            std::find_if(
                simulation->roots_.begin(),
                simulation->roots_.end(),
                [&](const Root& r) { return r.name == name; }) -
            simulation->roots_.begin());
        if ((access == Access::readWrite) != simulation->mayWrite(process, root)) {
            simulation->fail("a mirror is mounted with another access");
        }
        const bool stale = bool(simulation->processes_[process].copies[root].entity);
        simulation->count(stale ? "mirrors joined with state" : "mirrors made late");
        if (!stale) simulation->copyIs(process, root, mirror);
    }
    void onRefused(const Zin::String& name, const Zin::String& why) override {
        simulation->fail(std::string(name.view()) + " refused: " + std::string(why.view()));
    }
    void onSynced(const Zin::String&) override { simulation->count("mirrors synced"); }
    void onBarrierReached(std::uint64_t) override { ++barriersReached; }
    void onSkipped(const Zin::String&) override {
        simulation->count("names unknown to an older build");
    }

    Simulation* simulation = nullptr;
    std::size_t process = 0;
    std::uint64_t barriers = 0;
    std::uint64_t barriersReached = 0;
    // By root.
    std::vector<bool> mounted;
};

// Two processes, and the link between them when there is one.
struct Simulation::Peering {
    std::array<End, 2> ends;
    std::array<Flow, 2> flows;
    std::unique_ptr<Link> link;
};

void Simulation::Meddler::onAttribute(Zin::AttributeId, const void*) {
    Simulation& s = simulation_;
    if (s.meddling_ == 0 || s.below(8) != 0) return;
    --s.meddling_;
    Copy& copy = s.processes_[process_].copies[root_];
    switch (s.below(6)) {
        case 0:
            s.note("a reactor throws");
            s.count("reactors that threw");
            throw std::runtime_error("thrown by a reactor");
        case 1:
            s.note("a reactor leaves");
            s.count("reactors that left");
            return unregister();
        case 2:
            s.count("reactors that came");
            return s.attachMeddler(process_, root_);
        default:
            if (s.processes_[process_].passive && s.roots_[root_].owner != process_) return;
            s.note("a reactor meddles");
            s.count("changes by reactors");
            s.typeOf(process_, root_).step(*copy.entity, s.random_);
    }
}

// --- Processes ---

Simulation::Simulation(std::uint64_t seed, Coverage& coverage, bool trace)
    : random_(seed), coverage_(coverage), trace_(trace) {
    Zin::HashHelper::hashSeed32Is(1 + static_cast<std::uint32_t>(below(0xffffffff)));
    meddling_ = below(2) ? static_cast<unsigned>(below(60)) : 0;
    constexpr std::size_t chunks[] = {1, 16, 600, 5000};
    longestChunk_ = chunks[below(std::size(chunks))];
    if (longestChunk_ == 1) count("schedules of single bytes");
    const std::size_t processes = 2 + below(3);
    const std::size_t roots = 2 + below(4);
    const bool agesDiffer = below(3) == 0;
    for (std::size_t root = 0; root < roots; ++root) {
        const std::size_t type = agesDiffer && root == 0 ? bench : below(rootTypes.size());
        roots_.push_back({type, below(processes), "root" + std::to_string(root)});
    }
    for (std::size_t p = 0; p < processes; ++p) {
        Process& process = processes_.emplace_back();
        process.old = agesDiffer && below(2) == 0;
        process.passive = below(4) == 0;
        process.copies.resize(roots);
        for (std::size_t i = 0; i < processes; ++i) process.trusted.push_back(below(3) != 0);
        if (process.old) count("processes of an older build");
    }
    for (std::size_t p = 0; p < processes; ++p) restart(p);
    for (std::size_t second = 0; second < processes; ++second) {
        for (std::size_t first = 0; first < second; ++first) {
            Peering& peering = *peerings_.emplace_back(std::make_unique<Peering>());
            for (End& end : peering.ends) {
                end.simulation = this;
                end.process = &end == peering.ends.data() ? first : second;
            }
        }
    }
}

Simulation::~Simulation() {
    for (const auto& peering : peerings_) peering->link.reset();
    for (Process& process : processes_) {
        for (Copy& copy : process.copies) copy.meddlers.clear();
    }
}

template <class Text>
void Simulation::note(const Text& text) const {
    if (!trace_) return;
    if constexpr (std::invocable<Text>) {
        std::cerr << text() << '\n';
    } else {
        std::cerr << text << '\n';
    }
}

void Simulation::fail(const std::string& what) {
    if (fault_.empty()) fault_ = what;
}

const EntityType& Simulation::typeOf(std::size_t process, std::size_t root) const {
    const bool old = processes_[process].old && roots_[root].type == bench;
    return old ? Old::benchType : rootTypes[roots_[root].type];
}

bool Simulation::mayWrite(std::size_t process, std::size_t root) const {
    const std::size_t owner = roots_[root].owner;
    return owner == process || processes_[owner].trusted[process];
}

void Simulation::copyIs(std::size_t process, std::size_t root, const Ptr<Entity>& entity) {
    Copy& copy = processes_[process].copies[root];
    copy.meddlers.clear();
    copy.first.reset();
    copy.late.reset();
    copy.entity = entity;
    if (!entity) return;
    copy.first = std::make_unique<Shadow>(entity, heard_);
    for (std::size_t i = below(3); i != 0; --i) attachMeddler(process, root);
    copy.late = std::make_unique<Shadow>(entity, heardLate_);
}

void Simulation::attachMeddler(std::size_t process, std::size_t root) {
    Copy& copy = processes_[process].copies[root];
    const auto all = tree(copy.entity);
    const auto& observed = below(2) ? copy.entity : all[below(all.size())];
    copy.meddlers.push_back(std::make_unique<Meddler>(*this, *observed, process, root));
}

void Simulation::change(std::size_t process, std::size_t root) {
    const Ptr<Entity> entity = processes_[process].copies[root].entity;
    const bool owns = roots_[root].owner == process;
    if (!entity || (processes_[process].passive && !owns)) return;
    note([&] { return std::to_string(process) + " changes " + std::to_string(root); });
    const State before = trace_ ? dump(*entity) : State();
    try {
        typeOf(process, root).step(*entity, random_);
        count(owns ? "changes by owners" : "changes by mirrors");
    } catch (const Refused& refused) {
        if (mayWrite(process, root)) fail(refused.what());
        count("refused writes");
        note("refused");
    } catch (const std::runtime_error&) {
        // A reactor's; the change stands.
    }
    note([&] { return difference(before, dump(*entity)); });
    if (below(16) == 0) compareWithHeard(process, root);
}

// By a mirror of its own, so that what is saved shares nothing with the copy.
void Simulation::save(std::size_t process, std::size_t root) {
    Copy& copy = processes_[process].copies[root];
    if (!copy.entity) return;
    Exports exports;
    Exports none;
    Observer quiet;
    copy.saved = typeOf(process, root).make(roots_[root].name);
    exports.exportIs("saved", copy.entity);
    Link link(exports, quiet, none, quiet);
    link.end(1).mount("saved", copy.saved);
    if (!link.settle(4096)) fail("what is saved does not come to rest");
    fail(difference(dump(*copy.entity), dump(*copy.saved)));
    count("states saved");
}

void Simulation::restart(std::size_t number) {
    note([&] { return std::to_string(number) + " starts anew"; });
    Process& process = processes_[number];
    bool owns = false;
    for (const auto& peering : peerings_) {
        if (peering->ends[0].process == number || peering->ends[1].process == number) {
            cut(*peering);
        }
    }
    for (auto& exports : process.exports) exports = std::make_unique<Exports>();
    for (std::size_t root = 0; root < roots_.size(); ++root) {
        Ptr<Entity> entity = std::exchange(process.copies[root].saved, nullptr);
        if (entity) count("copies restarted with what was saved");
        if (roots_[root].owner == number) {
            owns = true;
            if (!entity) entity = typeOf(number, root).make(roots_[root].name);
            for (std::size_t i = below(40); i != 0; --i) {
                typeOf(number, root).step(*entity, random_);
            }
            count(entity->fwkType().info()->name);
            process.exports[0]->exportIs(roots_[root].name, entity, Access::readOnly);
            process.exports[1]->exportIs(roots_[root].name, entity, Access::readWrite);
        }
        copyIs(number, root, entity);
    }
    if (!peerings_.empty()) count(owns ? "owners restarted" : "mirrors restarted");
}

// --- Links ---

void Simulation::connect(Peering& peering) {
    note([&] {
        return std::to_string(peering.ends[0].process) + " and " +
               std::to_string(peering.ends[1].process) + " connect";
    });
    count("connections");
    Connection::Options options;
    constexpr std::size_t waterLevels[] = {1, 200, 5000};
    options.highWater = waterLevels[below(3)];
    peering.flows = {};
    const auto offered = [&](std::size_t side) -> Exports& {
        const Process& process = processes_[peering.ends[side].process];
        return *process.exports[process.trusted[peering.ends[1 - side].process]];
    };
    peering.link = std::make_unique<Link>(
        offered(0),
        peering.ends[0],
        offered(1),
        peering.ends[1],
        options);
    peering.link->tap = [&](std::size_t from, std::vector<std::byte>& bytes) {
        onSent(peering, from, bytes);
    };
    for (std::size_t side = 0; side < 2; ++side) {
        End& end = peering.ends[side];
        end.barriers = end.barriersReached = 0;
        end.mounted.assign(roots_.size(), false);
        for (std::size_t root = 0; root < roots_.size(); ++root) {
            if (below(4) != 0) toggleMount(peering, side, root);
        }
    }
}

void Simulation::cut(Peering& peering) {
    if (!peering.link) return;
    count("cuts");
    for (const Flow& flow : peering.flows) {
        const bool whole = flow.ends.empty() && flow.held.empty();
        if (!whole) count("cuts with messages on the way");
        if (flow.partial) count("cuts inside of a message");
    }
    peering.link.reset();
}

void Simulation::toggleMount(Peering& peering, std::size_t side, std::size_t root) {
    End& end = peering.ends[side];
    if (roots_[root].owner != peering.ends[1 - side].process) return;
    const Zin::String& name = roots_[root].name;
    Connection& connection = peering.link->end(side);
    if (end.mounted[root]) {
        connection.unmount(name);
    } else {
        connection.mount(name, processes_[end.process].copies[root].entity);
    }
    end.mounted[root] = !end.mounted[root];
    count(end.mounted[root] ? "mounts" : "unmounts");
    note([&] {
        return std::to_string(end.process) + (end.mounted[root] ? " mounts " : " unmounts ") +
               std::to_string(root);
    });
}

bool Simulation::send(Peering& peering, std::size_t from, std::size_t bytes) {
    return peering.link->send(from, std::min(bytes, longestChunk_));
}

// What a sweep deletes is told during the last byte of the message that ends its transaction.
bool Simulation::deliver(Peering& peering, std::size_t from, std::size_t bytes) {
    Flow& flow = peering.flows[from];
    std::uint64_t end =
        std::min<std::uint64_t>(flow.sent, flow.delivered + std::min(bytes, longestChunk_));
    const bool sweeps = !flow.sweeps.empty() && flow.sweeps.front() == flow.delivered + 1;
    if (sweeps) {
        end = flow.sweeps.front();
        flow.sweeps.pop_front();
    } else if (!flow.sweeps.empty()) {
        end = std::min(end, flow.sweeps.front() - 1);
    }
    const std::uint64_t changes = heard_.changes;
    const unsigned meddling = meddling_;
    const auto size = static_cast<std::size_t>(end - flow.delivered);
    const bool delivered = peering.link->deliver(from, size);
    if (!delivered) {
        if (sweeps) flow.sweeps.push_front(end);
        return false;
    }
    flow.delivered = end;
    flow.partial = true;
    while (!flow.ends.empty() && flow.ends.front() <= end) {
        flow.partial = flow.ends.front() != end;
        flow.ends.pop_front();
    }
    if (sweeps && meddling == meddling_) count("members swept", heard_.changes - changes);
    if (size == 1) count("single bytes");
    count("bytes", size);
    return true;
}

void Simulation::barrier(Peering& peering, std::size_t side) {
    ++peering.ends[side].barriers;
    count("barriers");
    peering.link->end(side).barrier(peering.ends[side].barriers);
}

void Simulation::onSent(Peering& peering, std::size_t from, std::vector<std::byte>& bytes) {
    Flow& flow = peering.flows[from];
    flow.held.insert(flow.held.end(), bytes.begin(), bytes.end());
    bytes.clear();
    while (flow.held.size() >= headerSize) {
        In header(std::span<const std::byte>(flow.held).first(headerSize));
        const std::size_t size = headerSize + header.nextU32();
        const std::uint32_t id = header.nextU32();
        if (flow.held.size() < size) return;
        const auto end = flow.held.begin() + static_cast<std::ptrdiff_t>(size);
        std::vector<std::byte> message(flow.held.begin(), end);
        flow.held.erase(flow.held.begin(), end);
        const bool named = id == static_cast<std::uint32_t>(MessageId::hello) ||
                           id == static_cast<std::uint32_t>(MessageId::exported) ||
                           id == static_cast<std::uint32_t>(MessageId::mount) ||
                           id == static_cast<std::uint32_t>(MessageId::typeName);
        if (named && processes_[peering.ends[0].process].old !=
                         processes_[peering.ends[1].process].old) {
            swapNames(message);
        }
        bytes.insert(bytes.end(), message.begin(), message.end());
        flow.sent += size;
        flow.ends.push_back(flow.sent);
        const bool closes = id == static_cast<std::uint32_t>(MessageId::transaction) &&
                            message.back() != std::byte{0};
        if (closes) flow.sweeps.push_back(flow.sent);
        account(peering, from, id);
        if (closes) count("collections resynchronised");
    }
}

void Simulation::account(Peering& peering, std::size_t from, std::uint32_t id) {
    Flow& flow = peering.flows[from];
    count("messages");
    if (id == static_cast<std::uint32_t>(MessageId::select)) flow.writing = false;
    if (id == static_cast<std::uint32_t>(MessageId::selectPeers)) flow.writing = true;
    if (id == static_cast<std::uint32_t>(MessageId::refresh)) count("repairs asked for");
    if (id == static_cast<std::uint32_t>(MessageId::heard))
        count("children of mirrors heard of");
    if (id < 258) return;
    if (static_cast<std::int32_t>(id) < 0) count("deletions sent");
    if (!flow.writing) return;
    count("writes sent by mirrors");
    if (processes_[peering.ends[from].process].passive) {
        fail("an echo: a process that writes nothing sends attribute " + std::to_string(id));
    }
}

// --- Steps ---

void Simulation::step() {
    const std::size_t dice = below(1000);
    const std::size_t process = below(processes_.size());
    const std::size_t root = below(roots_.size());
    if (dice < 80) {
        change(roots_[root].owner, root);
    } else if (dice < 370) {
        change(process, root);
    } else if (dice < 373) {
        save(process, root);
    } else if (dice == 373) {
        restart(process);
    } else if (dice < 378) {
        if (processes_[process].copies[root].entity) attachMeddler(process, root);
    } else {
        stepOn(*peerings_[below(peerings_.size())]);
    }
}

void Simulation::stepOn(Peering& peering) {
    const std::size_t dice = below(1000);
    if (!peering.link) {
        if (dice < 60) connect(peering);
        return;
    }
    const std::size_t side = below(2);
    constexpr std::size_t budgets[] = {1, 9, 70, 600, 5000};
    if (dice < 420) {
        send(peering, side, budgets[below(std::size(budgets))]);
    } else if (dice < 950) {
        deliver(peering, side, budgets[below(std::size(budgets))]);
    } else if (dice < 970) {
        const bool stalled = below(2) == 0;
        if (stalled) count("stalls");
        peering.link->stalledIs(side, stalled);
    } else if (dice < 985) {
        toggleMount(peering, side, below(roots_.size()));
    } else if (dice < 995) {
        barrier(peering, side);
    } else {
        return cut(peering);
    }
    fail(peering.link->fault());
}

void Simulation::settle() {
    note("settling");
    meddling_ = std::min(meddling_, static_cast<unsigned>(below(10)));
    longestChunk_ = std::max(longestChunk_, std::size_t{64});
    for (const auto& peering : peerings_) {
        if (!peering->link) connect(*peering);
        for (std::size_t side = 0; side < 2; ++side) {
            for (std::size_t root = 0; root < roots_.size(); ++root) {
                if (!peering->ends[side].mounted[root]) toggleMount(*peering, side, root);
            }
            peering->link->stalledIs(side, false);
            if (below(2)) barrier(*peering, side);
        }
    }
    bool moved = true;
    for (unsigned round = 0; moved; ++round) {
        if (round == settlingRounds) return fail("the links do not come to rest");
        moved = false;
        for (const auto& peering : peerings_) {
            for (const std::size_t from : {0U, 1U}) {
                moved |= send(*peering, from, 5000);
                moved |= deliver(*peering, from, 5000);
            }
            fail(peering->link->fault());
        }
        if (!fault_.empty()) return;
    }
    for (const auto& peering : peerings_) {
        for (const End& end : peering->ends) {
            if (end.barriersReached != end.barriers) fail("a barrier was not reached");
        }
    }
}

// What reactors know is what there is, at any time when no change is under way.
void Simulation::compareWithHeard(std::size_t process, std::size_t root) {
    const Copy& copy = processes_[process].copies[root];
    const State state = dump(*copy.entity);
    for (const auto& shadow : {&copy.first, &copy.late}) {
        const std::string unheard = difference(state, (*shadow)->state());
        if (unheard.empty()) continue;
        fail(
            "process " + std::to_string(process) + ", root " + std::to_string(root) +
            ": a reactor was not told:\n" + unheard);
    }
}

void Simulation::compare(std::size_t process, std::size_t root) {
    const std::string who =
        "process " + std::to_string(process) + ", root " + std::to_string(root);
    const std::size_t owner = roots_[root].owner;
    const Copy& copy = processes_[process].copies[root];
    const Ptr<Entity>& owned = processes_[owner].copies[root].entity;
    if (!copy.entity) return fail(who + " was never made");
    const auto expect = [&](const std::string& difference, const char* law) {
        if (!difference.empty()) fail(who + ' ' + law + ":\n" + difference);
    };
    if (!heard_.ofNothing.empty()) expect(heard_.ofNothing.front(), "was told of no change");
    compareWithHeard(process, root);
    if (process == owner) return;
    count("mirrors compared");
    expect(
        differenceByReflection(owned, copy.entity, coverage_["fields compared"]),
        "differs from its owner");
    if (typeOf(process, root).step != typeOf(owner, root).step) return;
    expect(difference(dump(*owned), dump(*copy.entity)), "differs from its owner in text");
    if (sortedDump(owned) != sortedDump(copy.entity)) fail(who + " is dumped differently");
}

std::string Simulation::run(unsigned steps) {
    for (unsigned i = 0; i < steps && fault_.empty(); ++i) {
        step();
        if (!heard_.ofNothing.empty()) {
            fail("a reactor was told where nothing changed: " + heard_.ofNothing.front());
        }
    }
    if (fault_.empty()) settle();
    for (std::size_t process = 0; process < processes_.size() && fault_.empty(); ++process) {
        for (std::size_t root = 0; root < roots_.size(); ++root) compare(process, root);
    }
    count("schedules");
    count("changes that reactors heard", heard_.changes);
    return fault_;
}

}  // namespace support
