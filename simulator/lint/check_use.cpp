// What nothing uses.
#include <unordered_map>
#include <unordered_set>

#include "simulator/lint/checks.h"
#include "simulator/text/text.h"

namespace simulator::lint {

namespace {

void check_use_of_classes(Work &work) {
  std::unordered_set<std::string_view> used;
  for (const PolicyMap &policy : work.file().policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules)
        used.insert(rule.class_map.value);
    }
  }
  for (const ClassMap &map : work.file().class_maps) {
    if (used.contains(map.name.value)) continue;
    work.add({Kind::unused_class,
              map.name.position,
              concat("class-map ", map.name.value, " is not used: no rule has it"),
              {},
              {}});
  }
}

// Follows actions to the parameter-maps that they apply and the events that they raise. Such a chain can be as long as
// the file, so a list, not recursion, holds what remains to be followed.
class Reached {
 public:
  explicit Reached(const PolicyFile &file) : file_(&file) {
    for (const PolicyMap &policy : file.policy_maps) {
      for (const EventRules &rules : policy.events)
        rules_of_[rules.event.value].push_back(&rules);
    }
  }

  void event(std::string_view name) {
    note_event(name);
    follow();
  }
  void rules(const EventRules &event) {
    note_rules(event);
    follow();
  }
  bool has_event(std::string_view name) const { return events_.contains(name); }
  bool has_map(std::string_view name) const { return maps_.contains(name); }

 private:
  void note_event(std::string_view name) {
    if (!events_.insert(name).second) return;
    for (const EventRules *rules : rules_of_[name])
      note_rules(*rules);
  }
  void note_rules(const EventRules &event) {
    for (const Rule &rule : event.rules)
      to_follow_.push_back(&rule.actions);
  }
  void note_map(std::string_view name) {
    if (!maps_.insert(name).second) return;
    for (const Statement &statement : file_->find_parameter_map(name)->statements)
      to_follow_.push_back(&statement.actions);
  }
  void follow() {
    while (!to_follow_.empty()) {
      const std::vector<Action> &actions = *to_follow_.back();
      to_follow_.pop_back();
      for (const Action &action : actions) {
        if (action.kind == ActionKind::raise) note_event(action.subject.value);
        if (action.kind == ActionKind::apply) note_map(action.subject.value);
      }
    }
  }

  const PolicyFile *file_;
  std::unordered_map<std::string_view, std::vector<const EventRules *>> rules_of_;
  std::unordered_set<std::string_view> events_;
  std::unordered_set<std::string_view> maps_;
  std::vector<const std::vector<Action> *> to_follow_;
};

void check_use_of_parameter_maps(Work &work) {
  Reached reached(work.file());
  for (const PolicyMap &policy : work.file().policy_maps) {
    for (const EventRules &event : policy.events)
      reached.rules(event);
  }
  for (const ParameterMap &map : work.file().parameter_maps) {
    if (reached.has_map(map.name.value)) continue;
    work.add({Kind::unused_parameter_map,
              map.name.position,
              concat("parameter-map ", map.name.value, " is not used: no rule leads to it"),
              {},
              {}});
  }
}

// A file without targets is meant to be joined with others, so what is active where is unknown.
void check_use_of_policies(Work &work) {
  if (work.file().targets.empty()) return;
  std::unordered_set<std::string_view> active;
  for (const Target &target : work.file().targets) {
    for (const Name &policy : target.policies)
      active.insert(policy.value);
  }
  for (const PolicyMap &policy : work.file().policy_maps) {
    if (active.contains(policy.name.value)) continue;
    work.add({Kind::inactive_policy,
              policy.name.position,
              concat("policy-map ", policy.name.value, " is active on no target"),
              {},
              {}});
  }
}

void check_use_of_events(Work &work) {
  if (work.file().scenario.empty() && work.file().tests.empty()) return;
  Reached reached(work.file());
  for (const Step &step : work.file().scenario)
    reached.event(step.event.value);
  for (const Test &test : work.file().tests) {
    for (const TestStep &step : test.steps)
      reached.event(step.step.event.value);
  }
  std::unordered_set<std::string_view> reported;
  for (const PolicyMap &policy : work.file().policy_maps) {
    for (const EventRules &event : policy.events) {
      if (reached.has_event(event.event.value) || !reported.insert(event.event.value).second) continue;
      work.add({Kind::unraised_event,
                event.event.position,
                concat("event ", event.event.value,
                       " is never raised: not by the scenario, not by a test, and by no action that they "
                       "could lead to"),
                {},
                {}});
    }
  }
}

}  // namespace

void check_use(Work &work) {
  check_use_of_classes(work);
  check_use_of_parameter_maps(work);
  check_use_of_policies(work);
  check_use_of_events(work);
}

}  // namespace simulator::lint
