// What a router prints of the signalling of its pseudowires, as FRR's LDP daemon prints it in
// JSON: text in, plain structs out. Linear in the length of the text, times the logarithm of
// its number of members.
//
// Each file is read strictly. A StateError with line and column, or with a JSON pointer, ends
// it and nothing is returned: for what is no JSON, a name that stands twice in one object, a
// member that is missing, has another type or is out of range. A member or a word that is not
// known is left out, and a warning says so.
//
// docs/captures.md says what becomes of it.

#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Pseudowire/PseudowireLdpKey.h"
#include "Pseudowire/PseudowireType.h"
#include "Vorn/IpGenAddr.h"
#include "Vorn/MplsLabel.h"

namespace corra {

// A line each: "FILE: /POINTER: warning: ...".
using Warnings = std::vector<std::string>;

// Of `l2vpn-atom-binding.json`.
struct RouterBinding {
    // What one end announced. Nothing but the defaults when it has no label.
    struct End {
        Vorn::MplsLabel label = {};
        bool controlWord = false;
        // Unset when the router's word for it is not known.
        ::Pseudowire::PseudowireType pseudowireType = ::Pseudowire::PseudowireType::unset;
        std::uint32_t mtu = 0;

        bool isBound() const { return label != Vorn::MplsLabel(); }
        bool operator==(const End&) const = default;
    };

    // "FILE: /POINTER", for messages.
    std::string place;
    ::Pseudowire::PseudowireLdpKey ldpKey = {};
    End local = {};
    End remote = {};
    // In the router's words; empty when it gives none, which it does only without local label.
    std::string failureReason = {};
};

// Of `l2vpn-atom-vc.json`.
struct RouterCircuit {
    std::string place;
    std::string pseudowire = {};
    ::Pseudowire::PseudowireLdpKey ldpKey = {};
    std::string instance = {};
    bool isUp = false;
};

struct RouterSignalling {
    // No ldpKey is there twice.
    std::vector<RouterBinding> bindings = {};
    // Nothing when the router was not asked. No pseudowire is there twice.
    std::optional<std::vector<RouterCircuit>> circuits = {};
    // The LSR ids of the peers with which a session is operational; nothing when the router was
    // not asked. Of `mpls-ldp-neighbor.json`.
    std::optional<std::set<Vorn::IpGenAddr>> sessions = {};
};

// `file` is the name that messages carry; nothing is opened. Warnings are appended.
std::vector<RouterBinding>
parseRouterBindings(std::string_view text, std::string_view file, Warnings& warnings);
std::vector<RouterCircuit>
parseRouterCircuits(std::string_view text, std::string_view file, Warnings& warnings);
std::set<Vorn::IpGenAddr>
parseRouterSessions(std::string_view text, std::string_view file, Warnings& warnings);

// "PLACE: warning: TEXT".
std::string warningAt(std::string_view place, std::string_view text);

}  // namespace corra
