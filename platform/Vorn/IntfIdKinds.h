// The kinds of interface ids: a test and a builder for each. An id is of one kind at most; an
// id that follows no naming is of none. Constant time.
//
// A builder throws a Zin::RangeException for a number that the naming has not
// (docs/interface-ids.md has the ranges). Ids of Linux names (eth0, swp14, bond0) are made from
// their text: IntfId::fromStringValue.

#pragma once

#include <cstdint>

#include "Vorn/IntfId.h"
#include "Zin/Export.h"

namespace Vorn {

// An Ethernet port: EthernetN, EthernetN/N, EthernetN/N/N, or a port under a Linux name.
struct EthIntfId {
    // Whether the id is that of an Ethernet port.
    ZIN_EXPORT static bool isEthIntfId(IntfId id);
    // 0 stands for a part that the name has not.
    ZIN_EXPORT static IntfId
    intfId(std::uint32_t first, std::uint32_t second = 0, std::uint32_t third = 0);
};

// A link aggregation group (IEEE 802.1AX): Port-ChannelN, or bondN of Linux.
struct PortChannelIntfId {
    // Whether the id is that of a port channel.
    ZIN_EXPORT static bool isPortChannelIntfId(IntfId id);
    // The id of that number.
    ZIN_EXPORT static IntfId intfId(std::uint32_t number);
};

// The frames of an Ethernet port or a port channel that carry one VLAN tag or a pair of them.
// What reads a part throws a Zin::RangeException for an id that is no subinterface.
struct SubIntfId {
    // Whether the id is that of a subinterface.
    ZIN_EXPORT static bool isSubIntfId(IntfId id);
    // The port or the port channel.
    ZIN_EXPORT static IntfId parentIntfId(IntfId id);
    // 1 to 4094.
    ZIN_EXPORT static std::uint16_t outerTag(IntfId id);
    // 1 to 4094, or 0 for none.
    ZIN_EXPORT static std::uint16_t innerTag(IntfId id);
    // An inner tag of 0 stands for none.
    ZIN_EXPORT static IntfId
    intfId(IntfId parent, std::uint16_t outerTag, std::uint16_t innerTag = 0);
};

// The interface that stands for a pseudowire: PseudowireN.
struct PseudowireIntfId {
    // Whether the id is that of a pseudowire's interface.
    ZIN_EXPORT static bool isPseudowireIntfId(IntfId id);
    // The id of that number.
    ZIN_EXPORT static IntfId intfId(std::uint32_t number);
};

// The interface of a VPLS instance: VplsN.
struct VplsIntfId {
    // Whether the id is that of a VPLS instance.
    ZIN_EXPORT static bool isVplsIntfId(IntfId id);
    // The id of that number.
    ZIN_EXPORT static IntfId intfId(std::uint32_t number);
};

}  // namespace Vorn
