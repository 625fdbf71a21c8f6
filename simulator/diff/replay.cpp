#include "simulator/diff/replay.h"

#include <functional>
#include <span>
#include <unordered_set>

#include "simulator/explanation/recorder.h"
#include "simulator/explanation/words.h"
#include "simulator/policy/attributes.h"
#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

// Raises the steps one after the other on a repository of a file that they were not written for.
class Player {
 public:
  explicit Player(const Side &side) : side_(&side), file_(&side.file()) {
    for_each_attribute(*file_, [&](const Name &attribute) { attributes_.insert(attribute.value); });
  }

  // Calls 'each' with the result of every step. False when anything goes wrong with the repository.
  bool play(std::span<const Step> steps, const std::function<void(ReplayedStep)> &each, Complaints &problems) const {
    Repository repository(*file_);
    if (repository.build()) {
      Recorder recorder(*file_);
      for (const Step &given : steps)
        each(play_step(given, repository, recorder));
    }
    const Complaints &of_repository = repository.finish();
    problems.insert(problems.end(), of_repository.begin(), of_repository.end());
    return of_repository.empty();
  }

 private:
  ReplayedStep play_step(const Step &given, const Repository &repository, Recorder &recorder) const {
    ReplayedStep replayed{.step = known_part_of(given)};
    replayed.impossible = why_impossible(replayed.step);
    if (replayed.impossible.empty()) replayed.explanation = recorder.raise(repository, replayed.step);
    return replayed;
  }

  // Attributes that no filter and no action of the file uses are left out: their number has no limit.
  Step known_part_of(const Step &step) const {
    Step known = step;
    std::erase_if(known.set, [&](const Assignment &set) { return !attributes_.contains(set.attribute.value); });
    std::erase_if(known.clear, [&](const Name &attribute) { return !attributes_.contains(attribute.value); });
    if (file_->event_id(known.event.value) == 0) known.event.value = side_->own_name(Named::event, step.event.value);
    if (!file_->find_target(known.target.value)) known.target.value = side_->own_name(Named::target, step.target.value);
    // The positions belong to another file.
    known.position = {};
    for (Assignment &set : known.set)
      set.attribute.position = {};
    for (Name &attribute : known.clear)
      attribute.position = {};
    return known;
  }

  std::string why_impossible(const Step &step) const {
    if (file_->event_id(step.event.value) == 0) return concat("no policy-map handles the event ", step.event.value);
    if (!file_->find_target(step.target.value)) return concat("there is no target ", step.target.value);
    return {};
  }

  const Side *side_;
  const PolicyFile *file_;
  std::unordered_set<std::string_view> attributes_;
};

std::string name_of_run(const RuleRun &run, const Side &side) {
  return concat(side.common_name(Named::policy_map, run.policy->name.value), "/",
                side.common_name(Named::event, run.event->event.value), " ",
                side.common_name(Named::class_map, run.rule->class_map->name.value));
}

Decided decided_by(const ReplayedStep &replayed, const Side &side) {
  if (!replayed.impossible.empty()) return {.impossible = replayed.impossible};
  const EventExplanation &explanation = replayed.explanation;
  Decided decided{.verdict = to_string(explanation.outcome.verdict), .log = logs(explanation)};
  for (const RuleRun &run : rules_run(explanation))
    decided.rules.push_back(name_of_run(run, side));
  for (Change &change : net_changes(explanation))
    decided.changed[change.attribute] = std::move(change.after);
  return decided;
}

}  // namespace

std::optional<std::vector<Decided>> replay(const Side &side, const std::vector<Step> &steps, Complaints &problems) {
  std::vector<Decided> decided;
  const auto keep = [&](const ReplayedStep &replayed) { decided.push_back(decided_by(replayed, side)); };
  return Player(side).play(steps, keep, problems) ? std::optional(std::move(decided)) : std::nullopt;
}

std::optional<std::vector<ReplayedStep>> replayed_at(const Side &side, const std::vector<Step> &steps,
                                                     const std::set<size_t> &numbers, Complaints &problems) {
  std::vector<ReplayedStep> kept;
  if (numbers.empty()) return kept;
  size_t number = 0;
  const auto keep = [&](ReplayedStep replayed) {
    if (numbers.contains(number++)) kept.push_back(std::move(replayed));
  };
  const bool good = Player(side).play(std::span(steps).first(*numbers.rbegin() + 1), keep, problems);
  return good ? std::optional(std::move(kept)) : std::nullopt;
}

std::optional<ReplayedStep> replay_to(const Side &side, const std::vector<Step> &steps, size_t number,
                                      Complaints &problems) {
  std::optional<std::vector<ReplayedStep>> kept = replayed_at(side, steps, {number}, problems);
  return kept ? std::optional(std::move(kept->front())) : std::nullopt;
}

}  // namespace simulator::diff
