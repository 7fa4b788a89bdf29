#include "Pseudowire/Vccv.h"

namespace Pseudowire {

const char* registryName(VccvCcType type) noexcept {
    using enum VccvCcType;
    switch (type) {
        case controlWord:
            return "Type 1: PWE3 Control Word with 0001b as first nibble (PW-ACH)";
        case routerAlert:
            return "Type 2: MPLS Router Alert Label";
        case ttlExpiry:
            return "Type 3: MPLS PW Label with TTL == 1";
        case gal:
            return "Type 4: GAL";
    }
    return "";
}

const char* registryName(VccvCvType type) noexcept {
    using enum VccvCvType;
    switch (type) {
        case icmpPing:
            return "ICMP Ping";
        case lspPing:
            return "LSP Ping";
        case bfdIpFault:
            return "BFD IP/UDP-encapsulated, for PW Fault Detection only";
        case bfdIpFaultStatus:
            return "BFD IP/UDP-encapsulated, for PW Fault Detection and AC/PW Fault Status "
                   "Signaling";
        case bfdAchFault:
            return "BFD PW-ACH-encapsulated, for PW Fault Detection only";
        case bfdAchFaultStatus:
            return "BFD PW-ACH-encapsulated, for PW Fault Detection and AC/PW Fault Status "
                   "Signaling";
        case sbfdIpFault:
            return "S-BFD IP/UDP-encapsulated, for PW Fault Detection only";
        case sbfdAchFault:
            return "S-BFD PW-ACH-encapsulated, for PW Fault Detection only";
    }
    return "";
}

}  // namespace Pseudowire
