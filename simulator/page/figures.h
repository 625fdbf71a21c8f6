// What the events of a scenario did, as numbers.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator::page {

// How often something was decided.
struct Verdicts {
  size_t permit = 0;
  size_t deny = 0;
  size_t none = 0;

  size_t all() const { return permit + deny + none; }
  void add(engine::Verdict verdict, size_t times = 1);
  void add(const Verdicts &more);
};

// Events of one name that the same rule decided, on targets with the same policy-maps in the same order.
struct DecisionGroup {
  std::string event{};
  std::string targets{};  // their policy-maps
  engine::Verdict verdict = engine::Verdict::none;
  std::string decided_by{};  // the name of the rule; empty: no rule
  size_t events = 0;
  size_t first = 0;           // the number of the first of them, from 1
  std::string explanation{};  // of the first; empty if there are too many groups
};

// One stretch of the scenario.
struct Stretch {
  size_t first = 0;  // the number of its first event, from 1
  Verdicts verdicts{};
};

class Figures {
 public:
  // The number of groups with an explanation, which keeps pages small.
  static constexpr size_t kExplained = 300;
  static constexpr size_t kStretches = 60;

  struct OfRule {
    size_t tried = 0;
    size_t ran = 0;
    Verdicts decided{};
  };
  struct OfFilter {
    size_t held = 0;
    size_t did_not = 0;
  };

  explicit Figures(const PolicyFile &file);

  void add(const Step &step, const EventExplanation &explanation);

  size_t events() const { return events_; }
  // Of all events, raised ones too.
  OfRule of(const Rule &rule) const;
  OfFilter of(const Filter &filter) const;
  size_t matches_of(const Statement &statement) const;
  // In the order in which they first came.
  std::vector<std::pair<std::string, Verdicts>> by_event() const { return sums(&DecisionGroup::event); }
  std::vector<std::pair<std::string, Verdicts>> by_policies() const { return sums(&DecisionGroup::targets); }
  const std::vector<DecisionGroup> &decisions() const { return decisions_; }
  const std::vector<Stretch> &over_time() const { return over_time_; }
  // The number of events that a limit of the engine stopped.
  size_t stopped() const { return stopped_; }

 private:
  void count(const EventExplanation &explanation);
  void count(const std::vector<ActionExplanation> &actions);
  void count(const std::vector<FilterExplanation> &filters);
  void decide(const Step &step, const EventExplanation &explanation);
  // The verdicts of all groups with the same name.
  std::vector<std::pair<std::string, Verdicts>> sums(std::string DecisionGroup::*name) const;

  const PolicyFile *file_;
  size_t events_ = 0;
  size_t stopped_ = 0;
  size_t of_stretch_;  // events
  std::unordered_map<const Rule *, OfRule> rules_;
  std::unordered_map<const Filter *, OfFilter> filters_;
  std::unordered_map<const Statement *, size_t> statements_;
  std::vector<DecisionGroup> decisions_;
  std::map<std::string, size_t> decision_index_;
  std::vector<Stretch> over_time_;
};

// Runs the scenario on a repository of the file that it builds and takes down. Nothing when anything goes wrong with it;
// 'problems' then says what.
std::optional<Figures> figures_of(const PolicyFile &file, Complaints &problems);

}  // namespace simulator::page
