// Server offers entities to any number of mirrors from inside an event loop. A peer that sends
// nonsense, goes, or does not keep up costs its own connection at most.

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Zin/NboAttrLogFd.h"
#include "corra/EventLoop.h"

namespace corra {

// Says on standard error who came, who went, and why. REQUIRES: loop and exports outlive it;
// the loop does not run any more when it goes.
class Server {
  public:
    Server(EventLoop& loop, Zin::NboAttrLog::Exports& exports);

    // "unix:PATH" or "tcp:PORT"; port 0 stands for any free one. The socket file is removed
    // when the loop goes. Throws what Zin/NboAttrLogFd.h says.
    void listenAt(const std::string& address);

  private:
    EventLoop& loop_;
    Zin::NboAttrLog::Exports& exports_;
    std::uint64_t lastPeer_ = 0;

    class Listener;
    class Peer;
};

}  // namespace corra
