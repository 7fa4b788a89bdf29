// PseudowireLdpStatusFlags is the pseudowire status code that LDP signals in the PW Status TLV
// (RFC 8077): a set of faults; empty while the sender forwards. Numbers are those of the IANA
// registry "Pseudowire Status Codes" (RFC 4446).

#pragma once

#include <cstdint>
#include <string_view>

#include "Pseudowire/BitMask.h"
#include "Zin/Export.h"

namespace Pseudowire {

// "Local" is the side that signals. The last two are for redundant pseudowires.
enum class PseudowireLdpStatusFlag : std::uint32_t {
    notForwarding = 0x01,              // RFC 4446
    localCircuitReceiveFault = 0x02,   // RFC 4446
    localCircuitTransmitFault = 0x04,  // RFC 4446
    psnReceiveFault = 0x08,            // RFC 4446
    psnTransmitFault = 0x10,           // RFC 4446
    standby = 0x20,                    // RFC 6870
    switchoverRequest = 0x40,          // RFC 6870
};

consteval auto enumeration(PseudowireLdpStatusFlag) {
    using enum PseudowireLdpStatusFlag;
    return describe::enumerators<PseudowireLdpStatusFlag>(
        "Pseudowire::PseudowireLdpStatusFlag",
        {{notForwarding, "notForwarding"},
         {localCircuitReceiveFault, "localCircuitReceiveFault"},
         {localCircuitTransmitFault, "localCircuitTransmitFault"},
         {psnReceiveFault, "psnReceiveFault"},
         {psnTransmitFault, "psnTransmitFault"},
         {standby, "standby"},
         {switchoverRequest, "switchoverRequest"}});
}
consteval std::string_view maskName(PseudowireLdpStatusFlag) {
    return "Pseudowire::PseudowireLdpStatusFlags";
}

using PseudowireLdpStatusFlags = BitMask<PseudowireLdpStatusFlag>;

// The name that the registry gives to the bit; empty for any other number.
ZIN_EXPORT const char* registryName(PseudowireLdpStatusFlag flag) noexcept;

}  // namespace Pseudowire
