// The graph of a policy file, with the effects of its scenario.
#pragma once

#include <optional>
#include <string>

#include "simulator/graph/graph.h"
#include "simulator/text/text.h"

namespace simulator::graph {

// Runs the scenario on a repository of the file and reads the repository. Returns nothing when anything goes wrong;
// 'problems' then says what.
std::optional<Graph> graph_of_file(const PolicyFile &file, Complaints &problems);

// The text above the picture.
std::string caption_of(const PolicyFile &file);

}  // namespace simulator::graph
