// Server offers entities to any number of mirrors. A peer that sends nonsense or goes costs its
// own connection and nothing else.

#pragma once

#include <string>

#include "Zin/NboAttrLogConnection.h"
#include "agent/Loop.h"

namespace agent {

// Serves at the address for as long as the loop runs. Throws what Zin/NboAttrLogFd.h says.
// REQUIRES: the exports outlive that.
void serveAt(const std::string& address, Zin::NboAttrLog::Exports& exports, Loop& loop);

}  // namespace agent
