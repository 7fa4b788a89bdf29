// What forwarding does for the pseudowires of one VPLS group, computed from how they are
// configured and from what peers signalled: plain functions from values to values, which
// remember nothing.

#pragma once

#include <map>
#include <vector>

#include "Pseudowire/Connector.h"
#include "Pseudowire/PseudowireLdpKey.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/VplsConfig.h"
#include "Pseudowire/VplsForwardingStatus.h"

namespace agent {

struct VplsPseudowire {
    Pseudowire::VplsLdpPseudowireConfig config;
    // The connector of that name.
    Pseudowire::Connector connector;
    Pseudowire::PseudowireAttributeStatus signalled;
};

// The pseudowires of a group that forward, without their interfaces.
using VplsForwarding =
    std::map<Pseudowire::PseudowireLdpKey, Pseudowire::VplsForwardingStatusPseudowire>;

// A pseudowire can forward when each end knows the label of the other one. A secondary one
// stands by while a primary one can; of several that stand by, the one of the lowest precedence
// steps in, and of those the first by name.
VplsForwarding forwardingOf(const std::vector<VplsPseudowire>& group);

}  // namespace agent
