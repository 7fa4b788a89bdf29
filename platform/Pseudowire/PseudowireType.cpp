#include "Pseudowire/PseudowireType.h"

namespace Pseudowire {

const char* registryName(PseudowireType type) noexcept {
    using enum PseudowireType;
    switch (type) {
        case unset:
            return "Reserved";
        case frameRelayDlciMartini:
            return "Frame Relay DLCI (Martini Mode)";
        case atmAal5SduVcc:
            return "ATM AAL5 SDU VCC transport";
        case atmTransparentCell:
            return "ATM transparent cell transport";
        case ethernetTagged:
            return "Ethernet Tagged Mode";
        case ethernet:
            return "Ethernet";
        case hdlc:
            return "HDLC";
        case ppp:
            return "PPP";
        case cemOverMpls:
            return "SONET/SDH Circuit Emulation Service Over MPLS Encapsulation";
        case atmNToOneVccCell:
            return "ATM n-to-one VCC cell transport";
        case atmNToOneVpcCell:
            return "ATM n-to-one VPC cell transport";
        case ipLayer2:
            return "IP Layer2 Transport";
        case atmOneToOneVccCell:
            return "ATM one-to-one VCC Cell Mode";
        case atmOneToOneVpcCell:
            return "ATM one-to-one VPC Cell Mode";
        case atmAal5PduVcc:
            return "ATM AAL5 PDU VCC transport";
        case frameRelayPort:
            return "Frame-Relay Port mode";
        case cemOverPacket:
            return "SONET/SDH Circuit Emulation over Packet";
        case satopE1:
            return "Structure-agnostic E1 over Packet";
        case satopT1:
            return "Structure-agnostic T1 (DS1) over Packet";
        case satopE3:
            return "Structure-agnostic E3 over Packet";
        case satopT3:
            return "Structure-agnostic T3 (DS3) over Packet";
        case cesopsnBasic:
            return "CESoPSN basic mode";
        case tdmoipAal1:
            return "TDMoIP AAL1 Mode";
        case cesopsnCas:
            return "CESoPSN TDM with CAS";
        case tdmoipAal2:
            return "TDMoIP AAL2 Mode";
        case frameRelayDlci:
            return "Frame Relay DLCI";
        case rohc:
            return "ROHC Transport Header-compressed Packets";
        case ecrtp:
            return "ECRTP Transport Header-compressed Packets";
        case iphc:
            return "IPHC Transport Header-compressed Packets";
        case crtp:
            return "cRTP Transport Header-compressed Packets";
        case atmVpVirtualTrunk:
            return "ATM VP Virtual Trunk";
        case fcPort:
            return "FC Port Mode";
        case wildcard:
            return "Wildcard";
    }
    return "";
}

}  // namespace Pseudowire
