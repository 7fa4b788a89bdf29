// What forwarding does for one patch, computed from its configuration and from what peers
// signalled: plain functions from values to values. They know no entity and remember nothing.
//
// Left out, since nothing here says it: internal VLANs and interfaces that stand for
// pseudowires.

#pragma once

#include <map>
#include <set>
#include <vector>

#include "Dwil/IntfEncap.h"
#include "Pseudowire/Connector.h"
#include "Pseudowire/PwEncap.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Vorn/IntfId.h"
#include "Vorn/IpGenAddr.h"
#include "Zin/String.h"

namespace agent {

// A connector of a patch, and what signalling says of it: nothing of a local one.
struct PatchConnector {
    Pseudowire::Connector config;
    Pseudowire::PseudowireAttributeStatus signalled;
};

// A patch that is enabled: the keys that it joins, and the connectors under them, those that
// are configured, in the order of their keys.
struct PatchState {
    Zin::String name;
    std::set<Pseudowire::ConnectorKey> keys;
    std::vector<PatchConnector> connectors;
};

// The encapsulation of a pseudowire, and to whom it leads.
struct Leg {
    Vorn::IpGenAddr peer;
    Pseudowire::PwEncapAdjacency adjacency;

    bool operator==(const Leg&) const = default;
};

struct PatchForwarding {
    bool isLocalLocal = false;
    std::set<Dwil::IntfEncap> circuits;
    // By the interface of the circuit.
    std::map<Vorn::IntfId, Pseudowire::LocalConnectorInfo> info;
    std::map<Vorn::IntfId, Pseudowire::EncapAdjacency> adjacencies;
    // The pseudowires of which the peer's label is known.
    std::map<Pseudowire::ConnectorKey, Leg> legs;

    bool operator==(const PatchForwarding&) const = default;
};

// The frames of a circuit go to the other circuit, or to the first of the patch's pseudowires
// that has a label: the others stand by. Two circuits and a pseudowire, or three circuits,
// leave open where frames go: there is no adjacency then.
PatchForwarding forwardingOf(const PatchState& patch);

// The frames of a local connector: on its port, with its tags. A connector without tags takes
// all frames of the port.
Dwil::IntfEncap circuitOf(const Pseudowire::Connector& local);

}  // namespace agent
