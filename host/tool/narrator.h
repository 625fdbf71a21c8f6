// Tells what happens in the events of a scenario, in text.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "engine/engine.h"

namespace tool {

// Writes down which rules matched, what their actions did, and the verdict. What did not match is left out, but for
// policy-maps of which no rule matched.
class Narrator final : public engine::Observer {
 public:
  explicit Narrator(std::ostream &out) : out_(&out) {}

  void event_begins(const engine::Run &run) override;
  void event_ends(const engine::Run &run, const engine::Outcome &outcome) override;
  void nested_too_deep(const engine::Run &run) override;
  void policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) override;
  void policy_ends(const zar_pmap &pmap) override;
  void rule_begins(const zar_class_action &rule, bool matches) override;
  void rule_cut_short(const zar_class_action &rule, const zar_action &last) override;
  void action_begins(const zar_action &action) override;
  void action_ends(const zar_action &action, uint32_t result) override;
  void statement_evaluated(const zar_pmtr_map &map, const zar_pmtr_map_stmt &statement, bool matches) override;
  void attribute_changed(engine::AttributeId attribute, const std::string *before, const std::string *after) override;

 private:
  // A policy-map under way. Events within events put several on the stack.
  struct Policy {
    const zar_event_tuple *tuple;
    bool matched = false;
  };

  void line(const std::string &text);
  void flush_action();

  std::ostream *out_;
  size_t indent_ = 1;
  std::vector<Policy> policies_;
  // The line of the action that has begun. It waits: a change of an attribute belongs to its end, while what else happens
  // inside of the action goes to lines below.
  std::string action_line_;
};

}  // namespace tool
