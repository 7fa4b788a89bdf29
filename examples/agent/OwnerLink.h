// OwnerLink keeps entities of this process mirrors of what another process owns. When the owner
// goes they stay as they are; the link connects again until the owner is back, and brings them
// to what it holds then.
//
// An agent recomputes when a mirror is whole: not while it is synchronised, when half of what
// the owner holds may be here.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "Zin/NboAttrLogFd.h"
#include "agent/Loop.h"

namespace agent {

class OwnerLink {
  public:
    struct Mirror {
        Zin::String name;
        Zin::Ptr<Zin::Entity> entity;
    };
    // Told from inside of the loop.
    class Listener {
      public:
        // The mirrors hold all that the owner holds: once after each connecting.
        virtual void onSynced() {}
        // Something may have changed while the mirrors are whole.
        virtual void onUpdate() = 0;
        // What the owner held when settle() was called has been heard and answered here, and
        // the owner has the answers.
        virtual void onSettled() = 0;

      protected:
        ~Listener() = default;
    };

    // Connects, and goes on until the loop ends; ends the loop with exitRefused when the owner
    // does not have what is to be mirrored. Throws Zin::Exception for a bad address. REQUIRES:
    // the loop runs no more when this object or the listener goes.
    OwnerLink(
        Loop& loop,
        const std::string& address,
        std::vector<Mirror> mirrors,
        Listener& listener);

    // Calls onUpdate(), now or when the mirrors are whole.
    void update();
    // Leads to onSettled(), when there is an owner. Each synchronisation does that, too.
    void settle();

  private:
    class Stream;

    void connect();
    void lost(const std::string& why);
    void refused(const Zin::String& name, const Zin::String& why);
    void synced(const Zin::String& name);
    void afterReading();

    Loop& loop_;
    const std::string addressText_;
    const Zin::NboAttrLog::Address address_;
    const std::vector<Mirror> mirrors_;
    Listener& listener_;
    // Nothing is offered to the owner.
    Zin::NboAttrLog::Exports exports_;
    // Null while there is no owner.
    Stream* stream_ = nullptr;
    std::set<Zin::String> synced_;
    bool whole_ = false;
    int barriersToCome_ = 0;
    bool barrierReached_ = false;
    std::string lastFailure_;
};

}  // namespace agent
