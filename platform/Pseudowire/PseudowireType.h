// PseudowireType says what a pseudowire carries. Numbers are those of the IANA registry "MPLS
// Pseudowire Types" (RFC 4446), which LDP signals in the PWid FEC element (RFC 8077).
//
// A number of the registry that is not listed here is kept and prints as its digits.

#pragma once

#include <cstdint>

#include "Pseudowire/Strep.h"
#include "Zin/Enum.h"
#include "Zin/Export.h"

namespace Pseudowire {

enum class PseudowireType : std::uint16_t {
    unset = 0,                  // not known; the registry reserves 0
    frameRelayDlciMartini = 1,  // RFC 4619
    atmAal5SduVcc = 2,          // RFC 4717
    atmTransparentCell = 3,     // RFC 4717
    ethernetTagged = 4,         // RFC 4448
    ethernet = 5,               // RFC 4448
    hdlc = 6,                   // RFC 4618
    ppp = 7,                    // RFC 4618
    cemOverMpls = 8,            // RFC 5143
    atmNToOneVccCell = 9,       // RFC 4717
    atmNToOneVpcCell = 10,      // RFC 4717
    ipLayer2 = 11,              // RFC 3032
    atmOneToOneVccCell = 12,    // RFC 4717
    atmOneToOneVpcCell = 13,    // RFC 4717
    atmAal5PduVcc = 14,         // RFC 4717
    frameRelayPort = 15,        // RFC 4619
    cemOverPacket = 16,         // RFC 4842
    satopE1 = 17,               // RFC 4553
    satopT1 = 18,               // RFC 4553
    satopE3 = 19,               // RFC 4553
    satopT3 = 20,               // RFC 4553
    cesopsnBasic = 21,          // RFC 5086
    tdmoipAal1 = 22,            // RFC 5087
    cesopsnCas = 23,            // RFC 5086
    tdmoipAal2 = 24,            // RFC 5087
    frameRelayDlci = 25,        // RFC 4619
    rohc = 26,                  // RFC 5795, RFC 4901
    ecrtp = 27,                 // RFC 3545, RFC 4901
    iphc = 28,                  // RFC 2507, RFC 4901
    crtp = 29,                  // RFC 2508, RFC 4901
    atmVpVirtualTrunk = 30,     // MFA Forum
    fcPort = 31,                // RFC 6307
    wildcard = 0x7fff,          // RFC 4863
};

consteval auto enumeration(PseudowireType) {
    using enum PseudowireType;
    return describe::enumerators<PseudowireType>(
        "Pseudowire::PseudowireType",
        {{unset, "unset"},
         {frameRelayDlciMartini, "frameRelayDlciMartini"},
         {atmAal5SduVcc, "atmAal5SduVcc"},
         {atmTransparentCell, "atmTransparentCell"},
         {ethernetTagged, "ethernetTagged"},
         {ethernet, "ethernet"},
         {hdlc, "hdlc"},
         {ppp, "ppp"},
         {cemOverMpls, "cemOverMpls"},
         {atmNToOneVccCell, "atmNToOneVccCell"},
         {atmNToOneVpcCell, "atmNToOneVpcCell"},
         {ipLayer2, "ipLayer2"},
         {atmOneToOneVccCell, "atmOneToOneVccCell"},
         {atmOneToOneVpcCell, "atmOneToOneVpcCell"},
         {atmAal5PduVcc, "atmAal5PduVcc"},
         {frameRelayPort, "frameRelayPort"},
         {cemOverPacket, "cemOverPacket"},
         {satopE1, "satopE1"},
         {satopT1, "satopT1"},
         {satopE3, "satopE3"},
         {satopT3, "satopT3"},
         {cesopsnBasic, "cesopsnBasic"},
         {tdmoipAal1, "tdmoipAal1"},
         {cesopsnCas, "cesopsnCas"},
         {tdmoipAal2, "tdmoipAal2"},
         {frameRelayDlci, "frameRelayDlci"},
         {rohc, "rohc"},
         {ecrtp, "ecrtp"},
         {iphc, "iphc"},
         {crtp, "crtp"},
         {atmVpVirtualTrunk, "atmVpVirtualTrunk"},
         {fcPort, "fcPort"},
         {wildcard, "wildcard"}});
}

// The name that the registry gives to the type; empty for a type that is not listed above.
ZIN_EXPORT const char* registryName(PseudowireType type) noexcept;

}  // namespace Pseudowire
