// VidNormalization says how many VLAN tags frames carry on a flexible cross-connect: circuits
// with tags of their own share one pseudowire by translating to tags that both ends agreed on
// (RFC 9744).

#pragma once

#include <cstdint>

#include "Pseudowire/Strep.h"
#include "Zin/Enum.h"

namespace Pseudowire::Fxc {

enum class VidNormalization : std::uint8_t {
    none,     // not a flexible cross-connect
    single,   // one agreed tag
    double_,  // a pair of agreed tags
};

consteval auto enumeration(VidNormalization) {
    using enum VidNormalization;
    return describe::enumerators<VidNormalization>(
        "Pseudowire::Fxc::VidNormalization",
        {{none, "none"}, {single, "single"}, {double_, "double"}});
}

}  // namespace Pseudowire::Fxc
