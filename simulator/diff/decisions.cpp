#include "simulator/diff/decisions.h"

namespace simulator::diff {

std::vector<std::string> aspects_of(const Decided &before, const Decided &after) {
  if (before.impossible != after.impossible) return {kAspects[0]};
  std::vector<std::string> aspects;
  if (before.verdict != after.verdict) aspects.push_back(kAspects[1]);
  if (before.changed != after.changed) aspects.push_back(kAspects[2]);
  if (before.log != after.log) aspects.push_back(kAspects[3]);
  if (before.rules != after.rules) aspects.push_back(kAspects[4]);
  return aspects;
}

std::optional<Replayed> compare_replays(const Files &files, const Renames &renames, const std::vector<Step> &steps,
                                        Complaints &problems) {
  const Side side_before(*files.before, renames, Side::Is::before);
  const Side side_after(*files.after, renames, Side::Is::after);
  const std::optional<std::vector<Decided>> before = replay(side_before, steps, problems);
  const std::optional<std::vector<Decided>> after = replay(side_after, steps, problems);
  if (!before || !after) return std::nullopt;

  Replayed replayed;
  for (size_t at = 0; at < steps.size(); ++at) {
    const bool possible = (*before)[at].impossible.empty() || (*after)[at].impossible.empty();
    if (!possible) ++replayed.impossible;
    std::vector<std::string> aspects = aspects_of((*before)[at], (*after)[at]);
    if (!aspects.empty()) replayed.different.push_back({at, std::move(aspects)});
  }
  if (replayed.impossible == steps.size() && !steps.empty()) {
    replayed.why_impossible_before = (*before)[0].impossible;
    replayed.why_impossible_after = (*after)[0].impossible;
  }
  if (replayed.different.empty()) return replayed;

  const size_t first = replayed.different[0].number;
  std::optional<ReplayedStep> of_before = replay_to(side_before, steps, first, problems);
  std::optional<ReplayedStep> of_after = replay_to(side_after, steps, first, problems);
  if (!of_before || !of_after) return std::nullopt;
  replayed.first_before = (*before)[first];
  replayed.first_after = (*after)[first];
  replayed.before = std::move(*of_before);
  replayed.after = std::move(*of_after);
  return replayed;
}

}  // namespace simulator::diff
