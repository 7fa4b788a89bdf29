#include "corra/GraphDot.h"

#include <algorithm>
#include <array>
#include <set>

#include "Zin/String.h"
#include "Zin/ValueInfoOf.h"

namespace corra {

namespace {

using Health = Graph::Health;
using Kind = Graph::Kind;

struct Look {
    Health health;
    const char* line;
    const char* fill;
    // Of a line, and of the outline of a node.
    const char* style;
    const char* rest;
    const char* words;
};
constexpr Look looks[] = {
    {Health::up, "#009E73", "#D4F0E7", "solid", "penwidth=2", "up"},
    {Health::partly, "#E69F00", "#FCEFD2", "solid", "peripheries=2", "some pseudowires up"},
    {Health::here, "#D55E00", "#FADFCC", "dashed", "penwidth=1.5", "down: this end"},
    {Health::disagree, "#CC79A7", "#F6E3EE", "dashed", "penwidth=1.5", "down: ends disagree"},
    {Health::there, "#0072B2", "#D3E7F4", "dashed", "penwidth=1.5", "down: other end"},
    {Health::idle, "#000000", "#FFFFFF", "solid", "penwidth=0.7", "disabled or standing by"},
    {Health::unknown, "#808080", "#F2F2F2", "dotted", "penwidth=1.5", "unknown"},
};

struct Form {
    Kind kind;
    int column;
    const char* shape;
    // Before the style of the outline.
    const char* style;
    const char* words;
};
constexpr Form forms[] = {
    {Kind::circuit, 0, "box", "filled", "circuit"},
    {Kind::patch, 1, "component", "filled", "patch"},
    {Kind::instance, 1, "octagon", "filled", "VPLS instance"},
    {Kind::pseudowire, 2, "box", "filled,rounded", "pseudowire, labels here/peer"},
    {Kind::peer, 3, "ellipse", "filled", "peer"},
};
constexpr int columns = 4;

const Look& lookOf(Health health) {
    return *std::find_if(std::begin(looks), std::end(looks), [&](const Look& look) {
        return look.health == health;
    });
}

const Form& formOf(Kind kind) {
    return *std::find_if(std::begin(forms), std::end(forms), [&](const Form& form) {
        return form.kind == kind;
    });
}

// A string of the language that is drawn as this text.
std::string dotString(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\n') {
            result += "\\n";
        } else if (c == '&') {
            // Would begin an entity.
            result += "&amp;";
        } else {
            if (c == '"' || c == '\\') result += '\\';
            result += c;
        }
    }
    return result + '"';
}

std::string
nodeLine(const std::string& id, const std::string& label, const Form& form, const Look& look) {
    return dotString(id) + " [label=" + dotString(label) + ", shape=" + form.shape +
           ", style=\"" + form.style + ',' + look.style + "\", color=\"" + look.line +
           "\", fillcolor=\"" + look.fill + "\", " + look.rest + "]\n";
}

std::string invisible(const std::string& from, const std::string& to) {
    return dotString(from) + " -- " + dotString(to) + " [style=invis, weight=0]\n";
}

std::string labelOf(const Graph::Node& node) {
    std::string label = drawable(node.name);
    // What tells pseudowires apart stands in one line.
    const bool isPseudowire = node.kind == Kind::pseudowire;
    const char* separator = isPseudowire ? ", " : "\n";
    for (const std::string& detail : node.details) {
        label += separator + drawable(detail);
        separator = ", ";
    }
    if (node.state.empty()) return label;
    return label + (isPseudowire ? "\n" : separator) + drawable(node.state);
}

std::string legend(const Graph& graph) {
    std::string title = "Legend";
    for (const std::string& type : graph.missing)
        title += "\nunknown: no " + type + " is there";
    std::string text = "    subgraph cluster_legend {\n        label=" + dotString(title) +
                       "\n        color=\"#808080\"\n";
    const std::string indent(8, ' ');
    const auto add = [&](const std::string& words, const Form& form, const Look& look) {
        text += indent + nodeLine("legend " + words, words, form, look);
    };
    for (const Look& look : looks) add(look.words, formOf(Kind::circuit), look);
    for (const Form& form : forms) add(form.words, form, lookOf(Health::idle));
    for (std::size_t i = 0; i < std::size(forms); ++i) {
        text += indent + invisible(
                             std::string("legend ") + looks[i].words,
                             std::string("legend ") + forms[i].words);
    }
    return text + "    }\n";
}

// The bytes of a character that documents must not hold, at the beginning of these.
bool beginsWithNonCharacter(std::string_view bytes) {
    return bytes.starts_with("\xef\xbf\xbe") || bytes.starts_with("\xef\xbf\xbf");
}

}  // namespace

std::string drawable(std::string_view bytes) {
    std::string spelt;
    Zin::appendQuoted(spelt, bytes);
    std::string_view rest = std::string_view(spelt).substr(1, spelt.size() - 2);
    std::string text;
    while (!rest.empty()) {
        std::size_t length = 1;
        if (rest.starts_with("\\'")) {
            rest.remove_prefix(1);
        } else if (rest.starts_with('\\')) {
            length = 2;
        } else if (beginsWithNonCharacter(rest)) {
            text += rest[2] == '\xbe' ? "\\xef\\xbf\\xbe" : "\\xef\\xbf\\xbf";
            rest.remove_prefix(3);
            continue;
        }
        text += rest.substr(0, length);
        rest.remove_prefix(length);
    }
    return text;
}

std::string dotOf(const Graph& graph) {
    std::string text =
        "graph services {\n"
        "    graph [rankdir=LR, ranksep=0.9, nodesep=0.08, fontname=\"Helvetica,Arial,sans\", "
        "fontsize=11]\n"
        "    node [fontname=\"Helvetica,Arial,sans\", fontsize=11, height=0.2, "
        "margin=\"0.1,0.05\"]\n"
        "    edge [fontname=\"Helvetica,Arial,sans\", fontsize=9, tailport=e]\n";
    std::array<std::string, columns> nodes;
    std::array<std::string, columns> first;
    std::set<std::string> peers;
    for (const Graph::Node& node : graph.nodes) {
        const Form& form = formOf(node.kind);
        const auto column = static_cast<std::size_t>(form.column);
        if (nodes[column].empty()) first[column] = node.id;
        if (node.kind == Kind::peer) peers.insert(node.id);
        nodes[column] +=
            "        " + nodeLine(node.id, labelOf(node), form, lookOf(node.health));
    }
    std::string order;
    std::string before;
    for (std::size_t column = 0; column < columns; ++column) {
        if (nodes[column].empty()) continue;
        text += "    {\n        rank=same\n" + nodes[column] + "    }\n";
        // Columns stand apart, also without a line between them.
        if (!before.empty()) order += "    " + invisible(before, first[column]);
        before = first[column];
    }
    text += order;
    for (const Graph::Edge& edge : graph.edges) {
        const Look& look = lookOf(edge.health);
        text += "    " + dotString(edge.from) + " -- " + dotString(edge.to) + " [color=\"" +
                look.line + "\", style=" + look.style;
        // At peers there are too many for one point.
        if (!peers.contains(edge.to)) text += ", headport=w";
        if (edge.health != Health::partly) text += std::string(", ") + look.rest;
        if (!edge.label.empty()) text += ", label=" + dotString(drawable(edge.label));
        text += "]\n";
    }
    return text + legend(graph) + "}\n";
}

}  // namespace corra
