#include "agent/VplsForwarding.h"

#include <tuple>

namespace agent {

namespace {

Pseudowire::PseudowirePeerAttributeStatus peerOf(const VplsPseudowire& pseudowire) {
    return pseudowire.signalled.peerInfo(pseudowire.connector.ldpKey().peerAddr());
}

bool canForward(const VplsPseudowire& pseudowire) {
    const Vorn::MplsLabel none;
    return pseudowire.signalled.localLabel() != none && peerOf(pseudowire).peerLabel() != none;
}

bool stepsInBefore(const VplsPseudowire& a, const VplsPseudowire& b) {
    const auto rank = [](const VplsPseudowire& pseudowire) {
        return std::tuple(pseudowire.config.precedence(), pseudowire.config.name());
    };
    return rank(a) < rank(b);
}

void forward(const VplsPseudowire& pseudowire, VplsForwarding& forwarding) {
    const auto peer = peerOf(pseudowire);
    forwarding.try_emplace(
        pseudowire.connector.ldpKey(),
        Vorn::IntfId(),
        pseudowire.signalled.localLabel(),
        peer.peerLabel(),
        peer.tunnelId(),
        peer.encapControlWord());
}

}  // namespace

VplsForwarding forwardingOf(const std::vector<VplsPseudowire>& group) {
    VplsForwarding forwarding;
    const VplsPseudowire* standby = nullptr;
    for (const VplsPseudowire& pseudowire : group) {
        if (!canForward(pseudowire)) continue;
        if (!pseudowire.config.secondary()) {
            forward(pseudowire, forwarding);
        } else if (!standby || stepsInBefore(pseudowire, *standby)) {
            standby = &pseudowire;
        }
    }
    if (forwarding.empty() && standby) forward(*standby, forwarding);
    return forwarding;
}

}  // namespace agent
