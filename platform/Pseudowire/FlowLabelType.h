// FlowLabelType says for which directions a pseudowire end uses the flow label: the T and R
// bits of the Flow Label interface parameter as they stand in its 16 bits (RFC 6391, section
// 4).

#pragma once

#include <cstdint>
#include <string_view>

#include "Pseudowire/BitMask.h"

namespace Pseudowire {

enum class FlowLabelDirection : std::uint16_t {
    receive = 0x4000,   // R: can receive a flow label
    transmit = 0x8000,  // T: will send a flow label
};

consteval auto enumeration(FlowLabelDirection) {
    using enum FlowLabelDirection;
    return describe::enumerators<FlowLabelDirection>(
        "Pseudowire::FlowLabelDirection",
        {{receive, "receive"}, {transmit, "transmit"}});
}
consteval std::string_view maskName(FlowLabelDirection) {
    return "Pseudowire::FlowLabelType";
}

// In which directions a pseudowire carries flow labels (RFC 6391).
using FlowLabelType = BitMask<FlowLabelDirection>;

}  // namespace Pseudowire
