// Derives the patch panel from configuration and signalling: which connectors each patch has,
// which patches each connector takes part in, and why each is down. It reads entities and
// nothing else, so whoever mirrors them derives the same.
//
// The panel has the connectors that patches join. Of those of VPLS instances signalling tells
// all there is.

#pragma once

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwCliPatch.h"
#include "Pseudowire/PwRemoteConnector.h"

namespace corra {

// A new panel of that name, of which nothing is in it that is not in the two: no interface
// stands for the pseudowires, and no operation on tags is known. To keep a panel, bring it to
// the state of a new one (corra/Update.h).
//
// A patch is down for the first reason, in the order of PseudowireConnectorStatus, that keeps
// any of its connectors down; it is up when all of them are. A pseudowire is as signalled. What
// a local circuit does is told by the pseudowires that it is joined with: it is down when one
// says so, up when all are up, otherwise unknown. A connector of several patches belongs to the
// first that is enabled, in the order of names.
//
// Linear in the size of both, times its logarithm.
Zin::Ptr<::Pseudowire::PatchPanel> panelOf(
    const Zin::String& name,
    const ::Pseudowire::Config& config,
    const ::Pseudowire::PseudowireAttributeStatusColl& signalling);

}  // namespace corra
