// A recorded graph as people read it, and as Graphviz draws it.
#pragma once

#include <string>

#include "graphview/graph_record.h"

namespace vistrame {

std::string AsText(const GraphRecord& graph);

// In the language of Graphviz: a box for each filter with its pins, an arrow for each connection.
std::string AsDot(const GraphRecord& graph, const std::string& title);

} // namespace vistrame
