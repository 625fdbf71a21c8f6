#include "simulator/lint/prover.h"

#include <algorithm>
#include <utility>

#include "simulator/reasoning/matching.h"

namespace simulator::lint {

using reasoning::FoundInput;

Prover::Prover(const PolicyFile &file, Effort &effort)
    : solver_(formulas_, tests_, reasoning::hints_of(file), effort) {}

template <class Part>
Formula Prover::claim_of(const Part &part) {
  if (const auto known = maps_.find(&part); known != maps_.end()) return known->second;
  const Formula matches =
      reasoning::formula_of(part, formulas_, [this](const Filter &filter) { return tests_.holds(filter); });
  return maps_.emplace(&part, matches).first->second;
}

template Formula Prover::claim_of(const ClassMap &map);
template Formula Prover::claim_of(const Statement &statement);

FoundInput Prover::noted(FoundInput found) {
  if (!found.why_given_up.empty()) why_given_up_ = found.why_given_up;
  return found;
}

InputAnswer Prover::find_input(const std::vector<Formula> &claims) {
  FoundInput found = noted(solver_.find_first(claims));
  return {found.can, std::move(found.needed)};
}

InputAnswer Prover::find_some_input(const std::vector<Formula> &claims) {
  FoundInput found = noted(solver_.find_any(claims));
  return {found.can, std::move(found.needed)};
}

// How many of the claims, from the first one, it takes for a conflict with those that are needed; 'enough' do.
size_t Prover::shortest_conflict(const std::vector<Formula> &needed, const std::vector<Formula> &claims,
                                 size_t enough) {
  size_t too_few = 0;
  while (too_few < enough) {
    const size_t count = (too_few + enough) / 2;
    std::vector<Formula> some = needed;
    some.insert(some.end(), claims.begin(), claims.begin() + static_cast<std::ptrdiff_t>(count));
    const FoundInput found = noted(solver_.find_any(some));
    if (found.can != Can::impossible) {
      too_few = count + 1;
      continue;
    }
    enough = count;
    const auto is_needed = [&](Formula claim) {
      return std::find(found.conflict.begin(), found.conflict.end(), claim) != found.conflict.end();
    };
    while (enough > too_few && !is_needed(claims[enough - 1]))
      --enough;
  }
  return enough;
}

// The last claim of the shortest conflict is needed; so is that of the shortest one together with it, and so on.
std::vector<Formula> Prover::smallest(const std::vector<Formula> &claims) {
  std::vector<Formula> needed;
  for (size_t left = shortest_conflict(needed, claims, claims.size()); left > 0;) {
    needed.push_back(claims[left - 1]);
    left = shortest_conflict(needed, claims, left - 1);
  }
  std::reverse(needed.begin(), needed.end());
  return needed;
}

}  // namespace simulator::lint
