// Brings one entity tree to the state of another.

#pragma once

#include "Zin/Entity.h"

namespace corra {

// Changes, through the mutators, what differs in attributes that can be set, and nothing else:
// reactors and mirrors hear of nothing else. Members and children that the source has not are
// deleted; a child that was made with other arguments than the source's is deleted and made
// anew.
//
// Throws a Zin::TypeException for entities of two types, and a Zin::Exception for ones that
// were made with different arguments behind the name; nothing has changed then. What a mutator
// or a reactor throws ends the update half-way; another update goes on from there. The source
// must not change meanwhile. Expected linear in the size of both.
void update(Zin::Entity& target, const Zin::Entity& source);

}  // namespace corra
