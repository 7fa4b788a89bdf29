// What the two ends of a pseudowire can do for virtual circuit connectivity verification: bits
// of the VCCV interface parameter (RFC 5085), with the numbers of the IANA registries "MPLS
// VCCV Control Channel (CC) Types" and "MPLS VCCV Connectivity Verification (CV) Types".

#pragma once

#include <cstdint>
#include <string_view>

#include "Pseudowire/BitMask.h"
#include "Zin/Export.h"

namespace Pseudowire {

// How verification messages are told from user traffic.
enum class VccvCcType : std::uint8_t {
    controlWord = 0x01,  // RFC 5085
    routerAlert = 0x02,  // RFC 5085
    ttlExpiry = 0x04,    // RFC 5085
    gal = 0x08,          // RFC 7708
};

consteval auto enumeration(VccvCcType) {
    using enum VccvCcType;
    return describe::enumerators<VccvCcType>(
        "Pseudowire::VccvCcType",
        {{controlWord, "controlWord"},
         {routerAlert, "routerAlert"},
         {ttlExpiry, "ttlExpiry"},
         {gal, "gal"}});
}
consteval std::string_view maskName(VccvCcType) {
    return "Pseudowire::VccvCcTypes";
}

using VccvCcTypes = BitMask<VccvCcType>;

// Which verification messages are understood. "Ip" and "Ach" is how BFD is encapsulated: in IP
// and UDP, or behind the associated channel header. "Status" also signals faults of circuits.
enum class VccvCvType : std::uint8_t {
    icmpPing = 0x01,           // RFC 5085
    lspPing = 0x02,            // RFC 5085
    bfdIpFault = 0x04,         // RFC 5885
    bfdIpFaultStatus = 0x08,   // RFC 5885
    bfdAchFault = 0x10,        // RFC 5885
    bfdAchFaultStatus = 0x20,  // RFC 5885
    sbfdIpFault = 0x40,        // RFC 7885
    sbfdAchFault = 0x80,       // RFC 7885
};

consteval auto enumeration(VccvCvType) {
    using enum VccvCvType;
    return describe::enumerators<VccvCvType>(
        "Pseudowire::VccvCvType",
        {{icmpPing, "icmpPing"},
         {lspPing, "lspPing"},
         {bfdIpFault, "bfdIpFault"},
         {bfdIpFaultStatus, "bfdIpFaultStatus"},
         {bfdAchFault, "bfdAchFault"},
         {bfdAchFaultStatus, "bfdAchFaultStatus"},
         {sbfdIpFault, "sbfdIpFault"},
         {sbfdAchFault, "sbfdAchFault"}});
}
consteval std::string_view maskName(VccvCvType) {
    return "Pseudowire::VccvCvTypes";
}

// The kinds of connectivity verification of a pseudowire.
using VccvCvTypes = BitMask<VccvCvType>;

// The name that the registry gives to the bit; empty for any other number.
ZIN_EXPORT const char* registryName(VccvCcType type) noexcept;
ZIN_EXPORT const char* registryName(VccvCvType type) noexcept;

}  // namespace Pseudowire
