// The labels that peers ask to receive pseudowires with. An agent learns them from signalling;
// here they are read from text, a line for each pseudowire: the peer, the number that both ends
// know the pseudowire by, and the label.
//
//     # a comment
//     2.2.2.2:1006 22

#pragma once

#include <map>
#include <string>
#include <string_view>

#include "Pseudowire/PseudowireLdpKey.h"
#include "Vorn/MplsLabel.h"

namespace agent {

using PeerLabels = std::map<Pseudowire::PseudowireLdpKey, Vorn::MplsLabel>;

// `file` is the name that errors carry. Throws std::runtime_error, "FILE:LINE:COLUMN: expected
// ..., found ...", for a line that is no such line and for a pseudowire that is there twice.
PeerLabels peerLabelsIn(std::string_view text, const std::string& file);

// Throws std::system_error when the file cannot be read.
PeerLabels readPeerLabels(const std::string& file);

}  // namespace agent
