#include "simulator/diff/decision_groups.h"

#include <algorithm>
#include <map>
#include <set>

#include "simulator/explanation/explanation_text.h"
#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

std::string result_of(const Decided &decided) {
  return decided.impossible.empty() ? decided.verdict : decided.impossible;
}

// Under the new file's names where it has the target.
std::string policies_of(const std::string &target, const Side &before, const Side &after) {
  for (const Side *side : {&after, &before}) {
    const PolicyFile &file = side->file();
    const Target *found = file.find_target(target);
    if (!found) found = file.find_target(side->own_name(Named::target, target));
    if (found) return policies_text(*found);
  }
  return {};
}

class Groups {
 public:
  Groups(const Side &before, const Side &after) : before_(&before), after_(&after) {}

  void add(size_t number, const Step &step, const Decided &before, const Decided &after) {
    std::vector<std::string> aspects = aspects_of(before, after);
    if (aspects.empty()) return;
    ++changes_.different;
    DecisionGroup group{.event = step.event.value,
                        .targets = policies_of(step.target.value, *before_, *after_),
                        .before = result_of(before),
                        .after = result_of(after),
                        .aspects = std::move(aspects)};
    const std::vector<std::string> key{group.event, group.targets, group.before, group.after, listed(group.aspects)};
    const auto [known, is_new] = index_.try_emplace(key, changes_.groups.size());
    if (is_new) {
      group.first = number;
      changes_.groups.push_back(std::move(group));
    }
    ++changes_.groups[known->second].events;
  }

  // Explains the first event of each of the first groups.
  bool explain(const std::vector<Step> &steps, size_t explained, Complaints &problems) {
    const size_t count = std::min(explained, changes_.groups.size());
    std::set<size_t> numbers;
    for (size_t at = 0; at < count; ++at)
      numbers.insert(changes_.groups[at].first);
    const std::optional<std::vector<ReplayedStep>> before = replayed_at(*before_, steps, numbers, problems);
    const std::optional<std::vector<ReplayedStep>> after = replayed_at(*after_, steps, numbers, problems);
    if (!before || !after) return false;
    // The groups are in the order of their first events, as the replayed steps are.
    for (size_t at = 0; at < count; ++at) {
      changes_.groups[at].explained_before = text_of((*before)[at], *before_);
      changes_.groups[at].explained_after = text_of((*after)[at], *after_);
    }
    return true;
  }

  DecisionChanges take(size_t events) {
    changes_.events = events;
    return std::move(changes_);
  }

 private:
  static std::string text_of(const ReplayedStep &replayed, const Side &side) {
    if (!replayed.impossible.empty()) return {};
    return explanation_text(replayed.explanation, side.file(), replayed.step, Level::rules, Colours::off);
  }

  const Side *before_;
  const Side *after_;
  DecisionChanges changes_;
  std::map<std::vector<std::string>, size_t> index_;
};

}  // namespace

std::optional<DecisionChanges> group_decisions(const Files &files, const Renames &renames,
                                               const std::vector<Step> &steps, size_t explained, Complaints &problems) {
  const Side side_before(*files.before, renames, Side::Is::before);
  const Side side_after(*files.after, renames, Side::Is::after);
  const std::optional<std::vector<Decided>> before = replay(side_before, steps, problems);
  const std::optional<std::vector<Decided>> after = replay(side_after, steps, problems);
  if (!before || !after) return std::nullopt;

  Groups groups(side_before, side_after);
  for (size_t at = 0; at < steps.size(); ++at)
    groups.add(at, steps[at], (*before)[at], (*after)[at]);
  if (!groups.explain(steps, explained, problems)) return std::nullopt;
  return groups.take(steps.size());
}

}  // namespace simulator::diff
