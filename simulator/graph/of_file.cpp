#include "simulator/graph/of_file.h"

#include "simulator/explanation/recorder.h"
#include "simulator/inventory/read.h"

namespace simulator::graph {

namespace {

Hits run_scenario(const PolicyFile &file, const Repository &repository) {
  Hits hits;
  Recorder recorder(file);
  for (const Step &step : file.scenario)
    hits.add(step.target.value, recorder.raise(repository, step));
  return hits;
}

}  // namespace

std::optional<Graph> graph_of_file(const PolicyFile &file, Complaints &problems) {
  Repository repository(file);
  std::optional<Graph> made;
  if (repository.build()) {
    const Hits hits = run_scenario(file, repository);
    if (const std::optional<PolicyFile> running = inventory::read(repository, problems))
      made = make_graph(*running, hits, file.scenario.size());
  }
  for (const std::string &problem : repository.finish())
    problems.push_back(problem);
  return problems.empty() ? std::move(made) : std::nullopt;
}

std::string caption_of(const PolicyFile &file) {
  if (file.scenario.empty()) return concat(file.shown_path(), ", without a scenario");
  return concat(file.shown_path(), ": ", file.scenario.size(), file.scenario.size() == 1 ? " event" : " events",
                " of the scenario. On edges: how often; to a rule or statement: matches of tries.");
}

}  // namespace simulator::graph
