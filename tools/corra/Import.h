// Brings what a router printed into entity trees: its configuration into a Pseudowire::Config,
// its signalling into label bindings, statuses and the patch panel (docs/captures.md).
//
// Each `member pseudowire` becomes an LDP connector, each `member interface` a local one. An
// instance with exactly one of both becomes a patch of its name that joins them, any other an
// instance of the VplsConfig. The Config then holds these connectors and patches and no others.
// The router lets no two ends differ in their MTU, so the Config does not ignore it; its other
// attributes are left alone.
//
// An import is an update: what differs is changed through the mutators, and nothing else, so
// reactors and mirrors hear exactly of what differs. All is worked out before the first change.

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "corra/Roots.h"
#include "corra/RouterConfig.h"
#include "corra/RouterSignalling.h"

namespace corra {

// What is not understood, or has no place in the model, is returned and left out. Throws
// RouterConfigError, and changes nothing, for bad text and for an interface of a naming that
// Vorn::IntfId does not know. `file` is the name that messages carry.
std::vector<RouterConfig::Diagnostic>
importRouterConfig(std::string_view text, std::string_view file, Pseudowire::Config& config);

// The file of a capture that is imported.
std::string runningConfigFile(std::string_view captureDirectory);

// Throws std::system_error when the file cannot be read.
std::vector<RouterConfig::Diagnostic> importFile(
    const std::string& file,
    Pseudowire::Config& config);

// The roots that a capture describes: made, or updated when `roots` holds them. "pw" and
// "vpls" are always there; "labels", "signalling" and "panel" are when the router was asked for
// its bindings, and are taken out of `roots` when it was not. Returns what was left out and
// what contradicts itself, a line each with its place. Throws as importFile() does, and
// StateError; nothing has changed then. Where memory runs out in the middle each attribute is
// old or new, and importing once more completes it.
Warnings importCapture(const std::string& directory, Roots& roots);

}  // namespace corra
