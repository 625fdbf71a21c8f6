#include "simulator/reasoning/formula.h"

#include <algorithm>
#include <utility>

namespace simulator::reasoning {

Formulas::Formulas() : nodes_{{Formula::always(), Formula::always()}} {}

Formula Formulas::new_node(Formula left, Formula right) {
  nodes_.push_back({left, right});
  return Formula::of_node(static_cast<uint32_t>(nodes_.size() - 1));
}

Formula Formulas::variable() {
  const Formula self = Formula::of_node(static_cast<uint32_t>(nodes_.size()));
  return new_node(self, self);
}

// What 'a and b' is when 'b' is, or denies, a conjunction that 'a' or its opposite is a part of.
Formulas::Simple Formulas::simplified(Formula a, Formula b) {
  if (b.node() == 0 || is_variable(b.node())) return {};
  const auto [left, right] = nodes_[b.node()];
  if (!b.is_negated()) {
    if (left == a || right == a) return {true, b};
    if (left == ~a || right == ~a) return {true, Formula::never()};
    return {};
  }
  if (left == ~a || right == ~a) return {true, a};
  if (left == a) return {true, both(a, ~right)};
  if (right == a) return {true, both(a, ~left)};
  return {};
}

Formula Formulas::both(Formula a, Formula b) {
  if (b < a) std::swap(a, b);
  if (a == Formula::always() || a == b) return b;
  if (a == Formula::never() || a == ~b) return Formula::never();
  if (const Simple simple = simplified(a, b); simple.found) return simple.formula;
  if (const Simple simple = simplified(b, a); simple.found) return simple.formula;

  const uint64_t key = static_cast<uint64_t>(a.code()) << 32U | b.code();
  const auto [known, is_new] = known_.try_emplace(key, static_cast<uint32_t>(nodes_.size()));
  return is_new ? new_node(a, b) : Formula::of_node(known->second);
}

Formula Formulas::any_of(std::vector<Formula> formulas) {
  if (formulas.empty()) return Formula::never();
  while (formulas.size() > 1) {
    size_t made = 0;
    for (size_t at = 0; at < formulas.size(); at += 2) {
      const bool has_partner = at + 1 < formulas.size();
      formulas[made++] = has_partner ? either(formulas[at], formulas[at + 1]) : formulas[at];
    }
    formulas.erase(formulas.begin() + static_cast<std::ptrdiff_t>(made), formulas.end());
  }
  return formulas[0];
}

std::vector<uint32_t> Formulas::nodes_of(const std::vector<Formula> &formulas) const {
  std::vector<bool> seen(nodes_.size(), false);
  std::vector<uint32_t> found;
  const auto add = [&](Formula part) {
    if (part.node() == 0 || seen[part.node()]) return;
    seen[part.node()] = true;
    found.push_back(part.node());
  };
  for (const Formula formula : formulas)
    add(formula);
  for (size_t next = 0; next < found.size(); ++next) {
    if (is_variable(found[next])) continue;
    const Node conjunction = nodes_[found[next]];
    add(conjunction.left);
    add(conjunction.right);
  }
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace simulator::reasoning
