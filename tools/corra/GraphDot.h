// A graph of services in the language of Graphviz, with a legend.
//
// Each state has a colour (those of Okabe and Ito, which people with colour blindness can tell
// apart), a style of line, and words. Equal graphs give equal texts, a line for each node and
// edge.

#pragma once

#include <string>
#include <string_view>

#include "corra/Graph.h"

namespace corra {

std::string dotOf(const Graph& graph);

// Any bytes as text that can be drawn: characters of UTF-8 as they are; control characters,
// backslashes and what is no UTF-8 as \x0a, \\ and \xff. Different bytes give different texts.
std::string drawable(std::string_view bytes);

}  // namespace corra
