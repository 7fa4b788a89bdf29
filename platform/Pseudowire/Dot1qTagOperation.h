// Dot1qTagOperation says what forwarding does to the VLAN tags of a frame that enters a
// pseudowire or crosses a patch. Which tags it does it with is told by the encapsulation beside
// it.

#pragma once

#include <cstdint>

#include "Pseudowire/Strep.h"
#include "Zin/Enum.h"

namespace Pseudowire {

enum class Dot1qTagOperation : std::uint8_t {
    none,  // tags stay as they are
    push,  // the tags are added
    pop,   // the tags are removed
    swap,  // the tags replace those of the frame
};

consteval auto enumeration(Dot1qTagOperation) {
    using enum Dot1qTagOperation;
    return describe::enumerators<Dot1qTagOperation>(
        "Pseudowire::Dot1qTagOperation",
        {{none, "none"}, {push, "push"}, {pop, "pop"}, {swap, "swap"}});
}

}  // namespace Pseudowire
