// One owner and its mirrors in one process, joined by simulated links that stall, chop bytes,
// and are cut in the middle of messages, while all sides change what they hold. Everything
// follows from one seed.

#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Zin/NboAttrLogConnection.h"
#include "laws/RandomValue.h"
#include "support/Dump.h"
#include "support/Link.h"
#include "support/RootTypes.h"

namespace support {

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
