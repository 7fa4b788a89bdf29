#include "simulation/Simulator.h"

#include <iostream>

namespace support {

using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::Connection;
using Zin::NboAttrLog::Exports;
using Zin::NboAttrLog::Observer;

namespace {

Zin::String nameOfRoot(std::size_t type) {
    return "root" + std::to_string(type);
}

}  // namespace

// A reactor that now and then changes things from inside a callback, or throws.
class Simulation::Meddler final : private Zin::Notifiee {
  public:
    Meddler(Simulation& simulation, const Zin::Ptr<Zin::Entity>& entity, std::size_t type)
        : simulation_(simulation), entity_(entity.get()), type_(type) {
        registerWith(*entity->notifieeList().list);
    }

  private:
    void onAttribute(Zin::AttributeId, const void*) override {
        Simulation& s = simulation_;
        if (s.meddling_ == 0 || s.below(8) != 0) return;
        --s.meddling_;
        if (s.below(4) == 0) {
            s.note("a reactor throws");
            throw std::runtime_error("thrown by a reactor");
        }
        s.note("a reactor meddles");
        s.types_[type_].step(*entity_, s.random_);
    }

    Simulation& simulation_;
    Zin::Entity* entity_;
    std::size_t type_;
};

struct Simulation::Mirror final : Observer {
    Mirror(Simulation& s, std::size_t n, bool mayWrite)
        : simulation(s), number(n), writable(mayWrite), roots(s.types_.size()) {}

    struct Root {
        Zin::Ptr<Zin::Entity> entity;
        std::unique_ptr<Shadow> shadow;
        std::unique_ptr<Meddler> meddler;
        bool mounted = false;
    };

    void rootIs(std::size_t type, const Zin::Ptr<Zin::Entity>& entity, bool reactors) {
        Root& root = roots[type];
        root.shadow.reset();
        root.meddler.reset();
        root.entity = entity;
        if (!entity) return;
        if (reactors) root.meddler = std::make_unique<Meddler>(simulation, entity, type);
        root.shadow = std::make_unique<Shadow>(entity);
    }

    void onMounted(const Zin::String& name, const Zin::Ptr<Zin::Entity>& entity, Access)
        override {
        for (std::size_t type = 0; type < roots.size(); ++type) {
            if (name == nameOfRoot(type) && !roots[type].entity) rootIs(type, entity, true);
        }
    }
    void onRefused(const Zin::String& name, const Zin::String& why) override {
        simulation.fault_ = std::string(name.view()) + " refused: " + std::string(why.view());
    }

    Simulation& simulation;
    std::size_t number;
    bool writable;
    std::vector<Root> roots;
    std::unique_ptr<Link> link;
};

Simulation::Simulation(std::span<const EntityType> types, std::uint64_t seed, bool trace)
    : types_(types), random_(seed), trace_(trace) {
    meddling_ = below(2) ? static_cast<unsigned>(below(30)) : 0;
    restartOwner();
    const std::size_t mirrors = 1 + below(2);
    for (std::size_t i = 0; i < mirrors; ++i) {
        mirrors_.push_back(std::make_unique<Mirror>(*this, i, below(2) == 1));
    }
}

Simulation::~Simulation() {
    for (const auto& mirror : mirrors_) mirror->link.reset();
}

void Simulation::note(const std::string& what) const {
    if (trace_) std::cerr << what << '\n';
}

void Simulation::restartOwner() {
    note("the owner starts anew");
    for (const auto& mirror : mirrors_) mirror->link.reset();
    ownerMeddlers_.clear();
    owned_.clear();
    for (auto& exports : exports_) exports = std::make_unique<Exports>();
    for (std::size_t type = 0; type < types_.size(); ++type) {
        owned_.push_back(types_[type].make(nameOfRoot(type)));
        for (std::size_t i = below(40); i != 0; --i) types_[type].step(*owned_[type], random_);
        exports_[0]->exportIs(nameOfRoot(type), owned_[type], Access::readOnly);
        exports_[1]->exportIs(nameOfRoot(type), owned_[type], Access::readWrite);
        ownerMeddlers_.push_back(std::make_unique<Meddler>(*this, owned_[type], type));
    }
}

void Simulation::connect(Mirror& mirror) {
    note("mirror " + std::to_string(mirror.number) + " connects");
    Connection::Options options;
    constexpr std::size_t waterLevels[] = {1, 200, 5000};
    options.highWater = waterLevels[below(3)];
    mirror.link = std::make_unique<Link>(
        *exports_[mirror.writable ? 1 : 0],
        quiet_,
        none_,
        mirror,
        options);
    for (std::size_t type = 0; type < types_.size(); ++type) {
        mirror.roots[type].mounted = false;
        if (below(4) != 0) mount(mirror, type);
    }
}

void Simulation::mount(Mirror& mirror, std::size_t type) {
    Mirror::Root& root = mirror.roots[type];
    if (root.mounted) {
        mirror.link->end(1).unmount(nameOfRoot(type));
    } else {
        mirror.link->end(1).mount(nameOfRoot(type), root.entity);
    }
    root.mounted = !root.mounted;
    note(
        "mirror " + std::to_string(mirror.number) + (root.mounted ? " mounts " : " unmounts ") +
        std::to_string(type));
}

void Simulation::change(Mirror* mirror) {
    const std::size_t type = below(types_.size());
    const Zin::Ptr<Zin::Entity> entity = mirror ? mirror->roots[type].entity : owned_[type];
    if (!entity) return;
    note(
        (mirror ? "mirror " + std::to_string(mirror->number) : std::string("the owner")) +
        " changes " + std::to_string(type));
    const State before = trace_ ? dump(*entity) : State();
    try {
        types_[type].step(*entity, random_);
    } catch (const Zin::WriteUpdateFromReadOnlyProxyException& refused) {
        if (!mirror || mirror->writable) fault_ = refused.what();
        note("refused");
    } catch (const std::runtime_error&) {
        // A reactor's; the change stands.
    }
    if (trace_) note(difference(before, dump(*entity)));
}

void Simulation::step() {
    Mirror& mirror = *mirrors_[below(mirrors_.size())];
    const std::size_t dice = below(200);
    if (!mirror.link) {
        if (dice < 20) return connect(mirror);
        if (dice < 26) return mirror.rootIs(below(types_.size()), nullptr, false);
        return change(dice < 120 ? nullptr : &mirror);
    }
    const std::size_t from = below(2);
    constexpr std::size_t budgets[] = {1, 9, 70, 600};
    if (dice < 50) return change(nullptr);
    if (dice < 75) return change(&mirror);
    if (dice < 80) return mirror.link->stalledIs(from, below(2) == 1);
    if (dice < 83) return mount(mirror, below(types_.size()));
    if (dice == 83) return mirror.link.reset();
    if (dice == 84 && below(4) == 0) return restartOwner();
    if (dice < 145) {
        mirror.link->send(from, budgets[below(4)]);
    } else {
        mirror.link->deliver(from, budgets[below(4)]);
    }
    const std::string fault = mirror.link->fault();
    if (!fault.empty()) fault_ = "mirror " + std::to_string(mirror.number) + ": " + fault;
}

void Simulation::settle() {
    note("settling");
    meddling_ = 0;
    for (const auto& mirror : mirrors_) {
        if (!mirror->link) connect(*mirror);
        for (std::size_t type = 0; type < types_.size(); ++type) {
            if (!mirror->roots[type].mounted) mount(*mirror, type);
        }
        mirror->link->stalledIs(0, false);
        mirror->link->stalledIs(1, false);
    }
    // What one mirror wrote reaches the other through the owner.
    for (int round = 0; round < 3; ++round) {
        for (const auto& mirror : mirrors_) {
            if (!mirror->link->settle()) fault_ = "the link does not come to rest";
            const std::string fault = mirror->link->fault();
            if (!fault.empty())
                fault_ = "mirror " + std::to_string(mirror->number) + ": " + fault;
        }
    }
}

std::string Simulation::compare() {
    for (const auto& mirror : mirrors_) {
        for (std::size_t type = 0; type < types_.size(); ++type) {
            const Mirror::Root& root = mirror->roots[type];
            const std::string who =
                "mirror " + std::to_string(mirror->number) + ", root " + std::to_string(type);
            if (!root.entity) return who + " was never made";
            const State state = dump(*root.entity);
            const std::string apart = difference(dump(*owned_[type]), state);
            if (!apart.empty()) return who + " differs from the owner:\n" + apart;
            const std::string unheard = difference(state, root.shadow->state());
            if (!unheard.empty()) return who + ": a reactor was not told:\n" + unheard;
        }
    }
    return {};
}

std::string Simulation::run(unsigned steps) {
    for (unsigned i = 0; i < steps && fault_.empty(); ++i) step();
    if (fault_.empty()) settle();
    return fault_.empty() ? compare() : fault_;
}

}  // namespace support
