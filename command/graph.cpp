// zar graph: draws the policies of a repository, with the effects of the scenario.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/graph/dot.h"
#include "simulator/graph/json.h"
#include "simulator/graph/of_file.h"

using namespace simulator;

namespace command {

namespace {

using graph::Graph;

class GraphCommand final : public Command {
 public:
  const char *name() const override { return "graph"; }
  const char *summary() const override { return "Draw the policies and what the scenario did"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.flag("--json", json_, "Write nodes and edges as one JSON object");
    options.epilogue(
        "Runs the scenario of the file and writes targets, policy-maps, events, rules, class-maps\n"
        "and parameter-maps as a graph in the language DOT, with counts on the edges. What the\n"
        "scenario never hit is grey and dashed; without a scenario there are no counts. Targets with\n"
        "the same policies are one node.\n\n"
        "Examples:\n"
        "  zar graph policy.yaml | dot -Tsvg -o policy.svg\n"
        "  zar graph policy.yaml --json");
  }

  int run() override {
    FileLoader loader(json_);
    const std::optional<PolicyFile> file = loader.load(path_);
    if (!file) return loader.refuse(name());
    Complaints problems;
    const std::optional<Graph> made = graph::graph_of_file(*file, problems);
    if (!made) return report_internal(problems);
    if (json_) {
      write_json(*made, *file);
    } else {
      std::cout << to_dot(*made, graph::caption_of(*file));
    }
    return kSuccess;
  }

 private:
  static void write_json(const Graph &made, const PolicyFile &file) {
    Json json = begin_json("graph");
    json["file"] = file.path;
    json["events"] = file.scenario.size();
    json["nodes"] = Json::array();
    for (const graph::Node &node : made.nodes)
      json["nodes"].push_back(json_of(node));
    json["edges"] = Json::array();
    for (const graph::Edge &edge : made.edges)
      json["edges"].push_back(json_of(edge));
    print_json(std::cout, json);
  }

  std::string path_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_graph_command() {
  return std::make_unique<GraphCommand>();
}

}  // namespace command
