#include "Zin/Entity.h"

namespace Zin {

Entity::~Entity() = default;

void Entity::handleParent(const Ptr<Entity>&) {}

void Entity::parentIs(const Ptr<Entity>& parent) {
    if (parent_ == parent.get()) return;
    parent_ = parent.get();
    handleParent(parent);
    if (NotifieeList* const list = notifieeList().list; list && !list->empty()) {
        const Ptr<Entity> guard(this);
        list->visit(parentId);
    }
}

}  // namespace Zin
