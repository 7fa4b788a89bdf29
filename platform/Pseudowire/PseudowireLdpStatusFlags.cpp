#include "Pseudowire/PseudowireLdpStatusFlags.h"

namespace Pseudowire {

const char* registryName(PseudowireLdpStatusFlag flag) noexcept {
    using enum PseudowireLdpStatusFlag;
    switch (flag) {
        case notForwarding:
            return "Pseudowire Not Forwarding";
        case localCircuitReceiveFault:
            return "Local Attachment Circuit (ingress) Receive Fault";
        case localCircuitTransmitFault:
            return "Local Attachment Circuit (egress) Transmit Fault";
        case psnReceiveFault:
            return "Local PSN-facing PW (ingress) Receive Fault";
        case psnTransmitFault:
            return "Local PSN-facing PW (egress) Transmit Fault";
        case standby:
            return "PW Preferential Forwarding Status";
        case switchoverRequest:
            return "PW Request Switchover Status";
    }
    return "";
}

}  // namespace Pseudowire
