// Entity is the base of every object of the model: named, reference-counted, observable, linked
// to the parent that owns it. Entities have identity; they are neither copied nor compared by
// value.
//
// One thread at a time changes an entity. Only its reference count may be touched by several,
// when Zin::VFPtrInterface::threadSafePointers_ is set.

#pragma once

#include "Zin/NotifieeList.h"
#include "Zin/Ptr.h"
#include "Zin/PtrInterface.h"
#include "Zin/String.h"

namespace Zin {

// Under this id, which no attribute has, reactors are told that the entity got or lost its
// parent.
inline constexpr AttributeId parentId = 0;

class ZIN_EXPORT Entity : public PtrInterface {
  public:
    ~Entity() override;

    // For most types what the entity was made with; never changes.
    virtual String name() const = 0;

    // Called after the parent changed.
    virtual void handleParent(const Ptr<Entity>& parent);

    // The parent, or null. The link does not keep the parent alive: the parent owns its
    // children.
    Entity* parent() const noexcept { return parent_; }

    // Links to the parent, or unlinks when given null.
    void parentIs(const Ptr<Entity>& parent);

  protected:
    Entity() = default;

  private:
    Entity* parent_ = nullptr;
};

}  // namespace Zin
