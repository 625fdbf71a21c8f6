#include "simulator/reasoning/conjunction.h"

#include <algorithm>
#include <set>

namespace simulator::reasoning {

Conjunction::Conjunction(const Formulas &formulas, const ValueTests &tests, const std::vector<Formula> &claims)
    : formulas_(&formulas), claims_(&claims), nodes_(formulas.nodes_of(claims)), truth_(formulas.size(), false) {
  truth_[Formula::always().node()] = true;
  for (const uint32_t node : nodes_) {
    if (!formulas.is_variable(node)) continue;
    const ValueTests::Test &test = tests.test(node);
    (test.is_open() ? open_ : tests_of_[test.attribute]).push_back(node);
  }
  for (size_t claim = 0; claim < claims.size() && contradiction_.empty(); ++claim)
    add_musts(claim);
}

void Conjunction::add_musts(size_t claim) {
  std::vector<Formula> parts = {(*claims_)[claim]};
  std::set<Formula> seen;
  while (!parts.empty()) {
    const Formula part = parts.back();
    parts.pop_back();
    if (part == Formula::always() || !seen.insert(part).second) continue;
    if (part == Formula::never() || formulas_->is_variable(part.node())) {
      add_must(part, claim);
    } else if (part.is_negated()) {
      only_musts_ = false;
    } else {
      parts.push_back(formulas_->node(part.node()).left);
      parts.push_back(formulas_->node(part.node()).right);
    }
  }
}

void Conjunction::add_must(Formula literal, size_t claim) {
  musts_.try_emplace(literal, claim);
  if (literal == Formula::never()) {
    contradiction_ = {(*claims_)[claim]};
  } else if (const auto opposite = musts_.find(~literal); opposite != musts_.end()) {
    contradiction_ = {(*claims_)[opposite->second]};
    if (opposite->second != claim) contradiction_.push_back((*claims_)[claim]);
  }
}

bool Conjunction::holds() {
  for (const uint32_t node : nodes_) {
    if (formulas_->is_variable(node)) continue;
    const auto [left, right] = formulas_->node(node);
    truth_[node] = is_true(left) && is_true(right);
  }
  return std::all_of(claims_->begin(), claims_->end(), [&](Formula claim) { return is_true(claim); });
}

// A conjunction that holds needs both parts; one that does not needs a part that does not hold, best one that is needed
// anyway.
std::vector<Formula> Conjunction::reasons() const {
  std::vector<Formula> literals;
  std::vector<bool> needed(truth_.size(), false);
  std::vector<uint32_t> parts;
  const auto need = [&](Formula part) {
    if (part.node() == Formula::always().node() || needed[part.node()]) return;
    needed[part.node()] = true;
    parts.push_back(part.node());
  };
  const auto failing = std::find_if(claims_->begin(), claims_->end(), [&](Formula claim) { return !is_true(claim); });
  for (auto claim = claims_->begin(); claim != claims_->end(); ++claim) {
    if (failing == claims_->end() || claim == failing) need(*claim);
  }
  while (!parts.empty()) {
    const uint32_t node = parts.back();
    parts.pop_back();
    if (formulas_->is_variable(node)) {
      literals.push_back(truth_[node] ? Formula::of_node(node) : ~Formula::of_node(node));
      continue;
    }
    const auto [left, right] = formulas_->node(node);
    if (truth_[node]) {
      need(left);
      need(right);
    } else {
      const bool by_right = is_true(left) || (!is_true(right) && needed[right.node()]);
      need(by_right ? right : left);
    }
  }
  std::sort(literals.begin(), literals.end());
  return literals;
}

}  // namespace simulator::reasoning
