// A simulated link between two ends of an attribute-log stream in one process: it stalls, and
// carries bytes in chunks of any size.

#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Zin/NboAttrLogConnection.h"

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

    // Sees all that is sent, and may change what goes onto the wire.
    std::function<void(std::size_t from, std::vector<std::byte>&)> tap;

  private:
    std::unique_ptr<Zin::NboAttrLog::Connection> ends_[2];
    Wire wires_[2];
};

}  // namespace support
