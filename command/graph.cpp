// zar graph: the policies of a repository as a picture, with what the scenario did.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/explanation/recorder.h"
#include "simulator/graph/dot.h"
#include "simulator/graph/graph.h"
#include "simulator/inventory/read.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using graph::Graph;

Json json_of(const graph::Node &node) {
  Json json;
  json["id"] = node.id;
  json["kind"] = to_string(node.kind);
  json["title"] = node.title;
  json["lines"] = node.lines;
  json["policy_map"] = node.group.empty() ? Json(nullptr) : Json(node.group);
  json["never_hit"] = node.never;
  return json;
}

Json json_of(const graph::Edge &edge) {
  Json json;
  json["from"] = edge.from;
  json["to"] = edge.to;
  json["kind"] = to_string(edge.kind);
  json["hits"] = edge.hits;
  json["tries"] = edge.tries ? Json(*edge.tries) : Json(nullptr);
  return json;
}

std::string caption_of(const PolicyFile &file) {
  if (file.scenario.empty()) return concat(file.path, ", without a scenario");
  return concat(file.path, ": ", file.scenario.size(), file.scenario.size() == 1 ? " event" : " events",
                " of the scenario. On edges: how often; to a rule or statement: matches of tries.");
}

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
    const std::optional<PolicyFile> file = load_file(path_);
    if (!file) return kBadFile;
    const std::optional<Graph> made = make_graph_of(*file);
    if (!made) return kInternal;
    if (json_) {
      write_json(*made, *file);
    } else {
      std::cout << to_dot(*made, caption_of(*file));
    }
    return kSuccess;
  }

 private:
  static std::optional<Graph> make_graph_of(const PolicyFile &file) {
    Repository repository(file);
    std::optional<Graph> made;
    if (repository.build()) {
      const graph::Hits hits = run_scenario(file, repository);
      Complaints problems;
      if (const std::optional<PolicyFile> running = inventory::read(repository, problems))
        made = graph::make_graph(*running, hits, file.scenario.size());
      report_internal(problems);
    }
    if (finish(repository) != kSuccess) return std::nullopt;
    return made;
  }

  static graph::Hits run_scenario(const PolicyFile &file, const Repository &repository) {
    graph::Hits hits;
    Recorder recorder(file);
    for (const Step &step : file.scenario)
      hits.add(step.target.value, recorder.raise(repository, step));
    return hits;
  }

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
