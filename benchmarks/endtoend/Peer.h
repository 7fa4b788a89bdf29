// A server of another kind that holds the same records, and the clients that use it. It is
// measured as an installed program. Where there is a choice it gets the faster one: no
// persistence on the way, rows found by what the server finds them by fastest, commands
// pipelined, replies not parsed where the client library does not do so.

#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "Process.h"
#include "Records.h"

namespace endtoend {

class Peer {
  public:
    virtual ~Peer() = default;

    virtual const Process& server() const = 0;

    // --- What clients do: each call is made in a process of its own ---
    // Throws what the server has to say when it refuses.

    // Puts records in, of a server that has none.
    virtual void insert(std::uint32_t members) const = 0;
    // Reads all records. The bytes that went over the socket.
    virtual std::uint64_t readAll(std::uint32_t members) const = 0;
    // Makes changes of one field of one record each and says that it was the last of the round.
    virtual void change(Changes changes, std::uint32_t count, std::uint32_t round) const = 0;
    // Calls `subscribed` when it will be told of changes, and reads until the last one of the
    // round. How many it heard.
    virtual std::uint64_t hear(std::uint32_t round, const std::function<void()>& subscribed)
        const = 0;
};

// Start a server without records. Throw NotInstalled.
std::unique_ptr<Peer> startOvsdb();
std::unique_ptr<Peer> startRedis();

}  // namespace endtoend
