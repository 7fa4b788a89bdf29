// NotifieeList holds the reactors of one entity and tells them of its changes, in the order in
// which they registered.
//
// From inside a callback a reactor may register or unregister any reactor, change the same
// entity, or drop the last reference to it: a reactor that stays registered is told exactly
// once, one that is gone is not told any more, one that came during a visit hears of later
// changes only.
//
// An empty list costs one test, each reactor one virtual call, several the record of a visit.
// Registering and unregistering take constant time and never allocate: the links lie in the
// reactors.

#pragma once

#include <cstdint>

#include "Zin/Exceptions.h"
#include "Zin/Export.h"

namespace Zin {

class NotifieeList;

// A reactor: told after an attribute of the entity it observes has changed. Registration ends
// with the reactor or with the entity, whichever goes first.
class ZIN_EXPORT Notifiee {
  public:
    Notifiee(const Notifiee&) = delete;
    Notifiee& operator=(const Notifiee&) = delete;

    // The attribute that changed. For a collection the key of the member that was added,
    // changed or removed, of the collection's key type, valid during the call; null for all
    // other attributes. What it throws reaches the caller of the mutator after all other
    // reactors were told.
    virtual void onAttribute(AttributeId id, const void* key) = 0;

    // Whether it observes an entity that lives.
    bool registered() const noexcept { return list_ != nullptr; }

  protected:
    Notifiee() = default;
    virtual ~Notifiee();

    // REQUIRES: the list outlives the registration or ends it by deleteAll().
    void registerWith(NotifieeList& list) noexcept;
    void unregister() noexcept;

  private:
    friend class NotifieeList;

    NotifieeList* list_ = nullptr;
    Notifiee* next_ = nullptr;
    Notifiee* previous_ = nullptr;
};

class ZIN_EXPORT NotifieeList {
  public:
    constexpr NotifieeList() = default;
    NotifieeList(const NotifieeList&) = delete;
    NotifieeList& operator=(const NotifieeList&) = delete;
    ~NotifieeList() { deleteAll(); }

    bool empty() const noexcept { return first_ == nullptr; }

    // Tells every reactor that the attribute changed.
    void visit(AttributeId id) { visit(id, nullptr); }
    // Tells every reactor that the member of a collection was added, changed or removed.
    void visit(AttributeId id, const void* key) {
        if (first_) tell(id, key);
    }

    // Tells the reactor that the attribute changed if there is just one; whether it did. This
    // object is not used after the reactor was called, so that may destroy it.
    bool visitOnly(AttributeId id, const void* key) {
        if (first_ != last_) return false;
        first_->onAttribute(id, key);
        return true;
    }

    // Drops every registration. Visits that are under way end.
    void deleteAll() noexcept;

  private:
    friend class Notifiee;

    // One visit that is under way; a stack of them when reactors change the entity.
    struct Visit {
        Notifiee* next;
        Notifiee* last;
        Visit* outer;
    };

    void tell(AttributeId id, const void* key);
    void append(Notifiee& notifiee) noexcept;
    void remove(Notifiee& notifiee) noexcept;

    Notifiee* first_ = nullptr;
    Notifiee* last_ = nullptr;
    Visit* visits_ = nullptr;
};

}  // namespace Zin
