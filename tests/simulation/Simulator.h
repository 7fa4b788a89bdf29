// Processes that own entities and mirror those of each other, all in one, joined by simulated
// links: they chop what they carry, stall, and are cut in the middle of messages, while all
// sides change what they hold, mount and unmount it, save it, and are killed and come back with
// what they had saved or with nothing. Some may write to what they mirror, some are of an older
// build. Everything follows from one seed, the order in hashed collections too.
//
// When all has come to rest, each mirror must equal its owner.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Zin/NboAttrLogConnection.h"
#include "laws/RandomValue.h"
#include "support/Dump.h"
#include "support/Link.h"
#include "support/RootTypes.h"

namespace support {

// How often what happened.
using Coverage = std::map<std::string_view, std::uint64_t>;

class Simulation {
  public:
    // One lives at a time: it decides on the seed of all hashes.
    Simulation(std::uint64_t seed, Coverage& coverage, bool trace);
    ~Simulation();

    // A random walk, then rest. What went wrong, or nothing.
    std::string run(unsigned steps);

  private:
    class Meddler;
    struct Copy;
    struct End;
    struct Flow;
    struct Peering;
    struct Process;
    struct Root {
        std::size_t type;
        std::size_t owner;
        Zin::String name;
    };

    std::size_t below(std::size_t bound) { return laws::below(random_, bound); }
    // A text, or what makes one if it is wanted.
    template <class Text>
    void note(const Text& text) const;
    void count(std::string_view what, std::uint64_t times = 1) { coverage_[what] += times; }
    void fail(const std::string& what);

    // --- Processes ---
    const EntityType& typeOf(std::size_t process, std::size_t root) const;
    bool mayWrite(std::size_t process, std::size_t root) const;
    void copyIs(std::size_t process, std::size_t root, const Zin::Ptr<Zin::Entity>& entity);
    void attachMeddler(std::size_t process, std::size_t root);
    void change(std::size_t process, std::size_t root);
    void save(std::size_t process, std::size_t root);
    void restart(std::size_t process);

    // --- Links ---
    void connect(Peering& peering);
    void cut(Peering& peering);
    void toggleMount(Peering& peering, std::size_t side, std::size_t root);
    bool send(Peering& peering, std::size_t from, std::size_t bytes);
    bool deliver(Peering& peering, std::size_t from, std::size_t bytes);
    void barrier(Peering& peering, std::size_t side);
    void onSent(Peering& peering, std::size_t from, std::vector<std::byte>& bytes);
    void account(Peering& peering, std::size_t from, std::uint32_t id);

    void step();
    void stepOn(Peering& peering);
    void settle();
    void compareWithHeard(std::size_t process, std::size_t root);
    void compare(std::size_t process, std::size_t root);

    laws::Random random_;
    Coverage& coverage_;
    bool trace_;
    std::string fault_;
    Heard heard_;
    Heard heardLate_;
    // What reactors may still do.
    unsigned meddling_ = 0;
    // At most this many bytes travel at once.
    std::size_t longestChunk_;
    std::vector<Root> roots_;
    std::vector<Process> processes_;
    std::vector<std::unique_ptr<Peering>> peerings_;
};

}  // namespace support
