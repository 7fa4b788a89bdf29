// The services of a router as a graph, for `corra graph`: from left to right circuits, services
// (patches and VPLS instances), pseudowires, peers.
//
//     eth4.303 -- ACME -- pw1, pw-id 1001, labels 16/17, the MTUs differ -- 2.2.2.2
//
// A pseudowire is a node in the line from its service to its peer: it may belong to several
// services, or to none that is known. Texts may hold any bytes.

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corra/Roots.h"

namespace corra {

struct Graph {
    enum class Kind { circuit, patch, instance, pseudowire, peer };

    // What keeps something from forwarding, as a reader would sort it.
    enum class Health {
        up,
        partly,    // a service or a peer: some of its pseudowires are up
        here,      // this end is why
        disagree,  // the ends do not agree
        there,     // the other end is why
        idle,      // as it is meant to be: disabled, or standing by
        unknown,
    };

    struct Node {
        Kind kind;
        // Tells it from all others.
        std::string id;
        // What people call it.
        std::string name;
        std::vector<std::string> details;
        // Up, or why not, in words; empty for what is unknown.
        std::string state;
        Health health = Health::unknown;
    };

    // From the left to the right.
    struct Edge {
        std::string from;
        std::string to;
        Health health;
        std::string label;
    };

    // In the order of ids.
    std::vector<Node> nodes;
    std::vector<Edge> edges;
    // The types of roots that would say more and are not there.
    std::vector<std::string> missing;
};

// Everything that the first root of each type knows: Pseudowire::Config, PatchPanel,
// PseudowireAttributeStatusColl and VplsConfig. Where they name the same thing it is one node.
// Its status is the panel's, or else what signalling says, or else what follows from the
// configuration alone. A circuit belongs to the patches that join it; one in no patch to the
// instances that bridge its outer VLAN. Equal states give equal graphs. Linear in the size of
// the state, times its logarithm; circuits in no patch times instances.
Graph graphOf(const Roots& roots);

// What has one of these names, with all that leads there from the left, and all that it leads
// to on the right.
Graph partOf(const Graph& graph, const std::vector<std::string>& names);

}  // namespace corra
