// Records the explanation of every event that is raised while it exists.
#pragma once

#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Observes the engine from construction to destruction. Only one may exist at a time.
class Recorder : public engine::Observer {
 public:
  explicit Recorder(const PolicyFile &file);
  ~Recorder() override;
  Recorder(const Recorder &) = delete;
  Recorder &operator=(const Recorder &) = delete;

  // Runs a step on the repository of the file. If the event could not be raised, the result has only its status.
  EventExplanation raise(const Repository &repository, const Step &step);

  void event_begins(const engine::Run &run) override;
  void event_ends(const engine::Run &run, const engine::Outcome &outcome) override;
  void nested_too_deep(const engine::Run &run) override;
  void policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) override;
  void filter_evaluated(const zar_filter &filter, bool holds) override;
  void class_evaluated(const zar_cmap &cmap, bool matches, const zar_filter *decided_by) override;
  void rule_begins(const zar_class_action &rule, bool matches) override;
  void rule_cut_short(const zar_class_action &rule, const zar_action &last) override;
  void action_begins(const zar_action &record) override;
  void action_ends(const zar_action &action, uint32_t result) override;
  void statement_evaluated(const zar_pmtr_map &map, const zar_pmtr_map_stmt &record, bool matches) override;
  void attribute_changed(engine::AttributeId attribute, const std::string *before, const std::string *after) override;
  void decided(engine::Verdict verdict) override;

 private:
  // An event in progress. Nested events put several on the stack.
  struct Frame {
    EventExplanation *explanation;
    const engine::Run *run;
    std::vector<ActionExplanation *> actions_under_way;
  };

  PolicyExplanation &policy() { return frames_.back().explanation->policies.back(); }
  RuleExplanation &rule() { return policy().rules.back(); }
  ActionExplanation &action() { return *frames_.back().actions_under_way.back(); }
  std::vector<ActionExplanation> &actions();
  const std::vector<Action> &actions_of_file();
  FilterExplanation ask(const Filter &filter) const;

  const PolicyFile *file_;
  EventExplanation root_;
  std::vector<Frame> frames_;
  std::vector<FilterExplanation> filters_;  // of the class-map being evaluated, then of the rule that begins
};

}  // namespace simulator
