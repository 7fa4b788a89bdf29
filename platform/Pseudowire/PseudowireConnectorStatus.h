// PseudowireConnectorStatus says whether a connector or a patch forwards and, if not, the first
// reason that keeps it down. Reasons stand in the order in which they are looked for:
// configuration, local circuit, signalling, agreement with the peer, what the peer reports,
// forwarding.
//
// Numbers are on the wire: new reasons are added behind the last one.

#pragma once

#include <cstdint>

#include "Pseudowire/Strep.h"
#include "Zin/Enum.h"

namespace Pseudowire {

enum class PseudowireConnectorStatus : std::uint8_t {
    unknown,               // nothing was worked out yet
    up,                    // forwards
    adminDown,             // disabled by configuration
    notConfigured,         // named by a patch, but there is no such connector
    patchIncomplete,       // a patch of fewer than two connectors
    conflict,              // circuit, pseudowire id or connector is in use elsewhere
    localCircuitMissing,   // the interface does not exist
    localCircuitDown,      // the interface is down
    noLocalLabel,          // no label could be allocated
    noSession,             // no LDP or BGP session with the peer
    noRemoteEnd,           // the peer signalled no label for this pseudowire
    pwTypeMismatch,        // the pseudowire types differ (RFC 8077)
    controlWordMismatch,   // one end requires the control word, the other has none (RFC 8077)
    mtuMismatch,           // the MTUs of the circuits differ (RFC 8077, RFC 8214)
    dot1qTagMismatch,      // the requested VLAN id cannot be met (RFC 4448)
    remoteRejected,        // the peer released the label that it was given
    noTunnel,              // no tunnel leads to the peer
    remoteNotForwarding,   // the peer reports "Pseudowire Not Forwarding" (RFC 4446)
    remoteCircuitFault,    // the peer reports a fault of its circuit (RFC 4446)
    remoteTunnelFault,     // the peer reports a fault towards the packet network (RFC 4446)
    standby,               // another pseudowire of the redundancy group forwards (RFC 6870)
    hardwareNotProgrammed  // forwarding hardware did not take it
};

consteval auto enumeration(PseudowireConnectorStatus) {
    using enum PseudowireConnectorStatus;
    return describe::enumerators<PseudowireConnectorStatus>(
        "Pseudowire::PseudowireConnectorStatus",
        {{unknown, "unknown"},
         {up, "up"},
         {adminDown, "adminDown"},
         {notConfigured, "notConfigured"},
         {patchIncomplete, "patchIncomplete"},
         {conflict, "conflict"},
         {localCircuitMissing, "localCircuitMissing"},
         {localCircuitDown, "localCircuitDown"},
         {noLocalLabel, "noLocalLabel"},
         {noSession, "noSession"},
         {noRemoteEnd, "noRemoteEnd"},
         {pwTypeMismatch, "pwTypeMismatch"},
         {controlWordMismatch, "controlWordMismatch"},
         {mtuMismatch, "mtuMismatch"},
         {dot1qTagMismatch, "dot1qTagMismatch"},
         {remoteRejected, "remoteRejected"},
         {noTunnel, "noTunnel"},
         {remoteNotForwarding, "remoteNotForwarding"},
         {remoteCircuitFault, "remoteCircuitFault"},
         {remoteTunnelFault, "remoteTunnelFault"},
         {standby, "standby"},
         {hardwareNotProgrammed, "hardwareNotProgrammed"}});
}

}  // namespace Pseudowire
