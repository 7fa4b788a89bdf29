// Mirroring is one connection to a peer that mounts what the peer exports, into mirrors that
// outlive it: after a cut the next connection resynchronises them. It lives in an EventLoop and
// ends with its stream.

#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "Zin/NboAttrLogFd.h"
#include "corra/EventLoop.h"

namespace corra {

// A local copy of what a peer exports, or exported before it went.
struct Mirrored {
    Zin::Ptr<Zin::Entity> entity;
    Zin::NboAttrLog::Access access = Zin::NboAttrLog::Access::readOnly;
    bool synced = false;
};

// By the names under which the peer exports them.
using Mirrors = std::map<Zin::String, Mirrored>;

class Mirroring final : public EventLoop::Source, Zin::NboAttrLog::Observer {
  public:
    // Told from inside of the loop.
    class Listener {
      public:
        // The entity, empty when new here, is joined to the peer's.
        virtual void onMirrored(const Zin::String& /*name*/, const Mirrored&) {}
        // The peer no longer exports it: it is about to be forgotten.
        virtual void onForgotten(const Zin::String& /*name*/) {}
        virtual void onRefused(const Zin::String& /*name*/, const std::string& /*why*/) {}
        // All that the peer exported when it was connected is mirrored, or was refused. Once.
        virtual void onSynced() = 0;
        // The peer's barrier: all that it changed before has been applied here.
        virtual void onBarrier(std::uint64_t /*token*/) {}
        // What barrier() asked for.
        virtual void onBarrierReached() {}
        // The stream is over, for this reason.
        virtual void onLost(bool wasSynced, const std::string& why) = 0;

      protected:
        ~Listener() = default;
    };

    // Only the root of that name is mounted, unless it is empty. REQUIRES: mirrors and listener
    // outlive it.
    Mirroring(Fd fd, Mirrors& mirrors, Listener& listener, const Zin::String& only = {});

    // What keeps onSynced() from coming, in words.
    std::string missing();
    // Asks the peer to say when it has applied what was changed here before.
    void barrier() { stream_.connection().barrier(changesBarrier); }

    int fd() const override { return stream_.fd(); }
    short wanted() const override { return stream_.wanted(); }
    bool ready(short events) override;

  private:
    using Access = Zin::NboAttrLog::Access;

    static constexpr std::uint64_t exportsBarrier = 0;
    static constexpr std::uint64_t changesBarrier = 1;

    void onExported(const Zin::String& name, const Zin::String& type, Access) override;
    void onUnexported(const Zin::String& name) override;
    void onMounted(const Zin::String& name, const Zin::Ptr<Zin::Entity>& entity, Access access)
        override;
    void onRefused(const Zin::String& name, const Zin::String& why) override;
    void onSynced(const Zin::String& name) override;
    void onSkipped(const Zin::String& what) override;
    void onBarrier(std::uint64_t token) override;
    void onBarrierReached(std::uint64_t token) override;
    void forget(const Zin::String& name);
    void checkSynced();
    bool isSynced(const Zin::String& name) const;

    Mirrors& mirrors_;
    Listener& listener_;
    const Zin::String only_;
    // Nothing is offered to the peer.
    Zin::NboAttrLog::Exports exports_;
    Zin::NboAttrLog::FdStream stream_;
    // Asked for.
    std::set<Zin::String> exported_;
    bool allExportsKnown_ = false;
    bool synced_ = false;
};

}  // namespace corra
