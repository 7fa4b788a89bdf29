// Says what a router printed of its signalling in terms of the model: the label bindings in
// both directions, and the status of each pseudowire that is configured.
//
// docs/captures.md has the rules, also for what contradicts itself.

#pragma once

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwLabelBinding.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "corra/RouterSignalling.h"

namespace corra {

struct SignallingState {
    Zin::Ptr<::Pseudowire::LabelBindingColl> labels;
    Zin::Ptr<::Pseudowire::PseudowireAttributeStatusColl> statuses;
};

// Two new trees, "labels" and "signalling". Warnings are appended for what has no place in
// them, and for what contradicts the configuration or itself. Linear in the size of both, times
// its logarithm.
SignallingState signallingStateOf(
    const RouterSignalling& router,
    const ::Pseudowire::Config& config,
    Warnings& warnings);

// Whom the pseudowire of an LDP connector serves: the patch that joins it, or else a VPLS
// instance.
::Pseudowire::PseudowireUserKey userOf(
    const ::Pseudowire::Connector& connector,
    bool isJoinedByPatch);

}  // namespace corra
