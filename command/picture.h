// Pictures of graphs, drawn by graphviz.
#pragma once

#include <optional>
#include <string>

namespace command {

struct Drawn {
  std::string picture{};
  bool is_installed = true;  // whether graphviz is
  std::string problem{};     // empty: none
};

// Runs dot, without a shell, on a graph in its language. 'format' is one of its output formats, such as "svg".
Drawn draw(const std::string &graph, const std::string &format);

}  // namespace command
