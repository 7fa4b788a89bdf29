// One owner and its mirrors in one process, joined by simulated links that stall, chop bytes,
// and are cut in the middle of messages, while all sides change what they hold. Everything
// follows from one seed.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Zin/NboAttrLogConnection.h"
#include "laws/RandomValue.h"
#include "support/Dump.h"
#include "support/RootTypes.h"

namespace support {

// One direction of a link: what was sent and has not arrived.
struct Wire {
    std::vector<std::byte> bytes;
    bool stalled = false;
};

// Two connections and the wires between them. Feeding goes on where a reactor threw.
class Link {
  public:
    Link(
        Zin::NboAttrLog::Exports& first,
        Zin::NboAttrLog::Observer& firstObserver,
        Zin::NboAttrLog::Exports& second,
        Zin::NboAttrLog::Observer& secondObserver,
        const Zin::NboAttrLog::Connection::Options& options = {});

    Zin::NboAttrLog::Connection& end(std::size_t i) { return *ends_[i]; }
    // Takes up to `bytes` from this end onto the wire, and off the wire into the other end.
    bool send(std::size_t from, std::size_t bytes);
    bool deliver(std::size_t from, std::size_t bytes);
    // Until nothing moves any more; false when that does not come to pass.
    bool settle(std::size_t chunk = 512);
    void stalledIs(std::size_t from, bool stalled) { wires_[from].stalled = stalled; }
    // What ended one of the connections, or nothing.
    std::string fault() const;

    // Sees all that is sent.
    std::function<void(std::size_t from, std::span<const std::byte>)> tap;

  private:
    std::unique_ptr<Zin::NboAttrLog::Connection> ends_[2];
    Wire wires_[2];
};

class Simulation {
  public:
    Simulation(std::span<const EntityType> types, std::uint64_t seed, bool trace);
    ~Simulation();

    // A random walk, then rest. What went wrong, or nothing.
    std::string run(unsigned steps);

  private:
    class Meddler;
    struct Mirror;

    std::size_t below(std::size_t bound) {
        return static_cast<std::size_t>(laws::below(random_, bound));
    }
    void note(const std::string& what) const;
    void step();
    void change(Mirror* mirror);
    void restartOwner();
    void connect(Mirror& mirror);
    void mount(Mirror& mirror, std::size_t type);
    void settle();
    std::string compare();

    std::span<const EntityType> types_;
    laws::Random random_;
    bool trace_;
    std::string fault_;
    unsigned meddling_ = 0;
    Zin::NboAttrLog::Exports none_;
    Zin::NboAttrLog::Observer quiet_;
    // By access: what is offered for reading, and for writing.
    std::unique_ptr<Zin::NboAttrLog::Exports> exports_[2];
    std::vector<Zin::Ptr<Zin::Entity>> owned_;
    std::vector<std::unique_ptr<Meddler>> ownerMeddlers_;
    std::vector<std::unique_ptr<Mirror>> mirrors_;
};

}  // namespace support
