// Some claims that have to hold together, and what they are made of.
//
// It knows what must be true of the variables whatever the rest is, whether the claims hold when the variables are true or
// false, and which of them are then enough for it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "simulator/reasoning/formula.h"
#include "simulator/reasoning/tests_of_values.h"

namespace simulator::reasoning {

class Conjunction {
 public:
  // Everything must outlive the conjunction.
  Conjunction(const Formulas &formulas, const ValueTests &tests, const std::vector<Formula> &claims);

  const std::vector<Formula> &claims() const { return *claims_; }
  // Of all parts, parts of parts first.
  const std::vector<uint32_t> &nodes() const { return nodes_; }
  // The tests among them by their attributes, and the answers that are not known.
  const std::map<std::string, std::vector<uint32_t>> &tests() const { return tests_of_; }
  const std::vector<uint32_t> &open() const { return open_; }

  // Variables or their opposites that must be true, each with a claim that says so, by its position.
  const std::map<Formula, size_t> &musts() const { return musts_; }
  // Whether the claims say nothing else.
  bool has_only_musts() const { return only_musts_; }
  // Claims that contradict each other openly; empty if there are none.
  const std::vector<Formula> &contradiction() const { return contradiction_; }

  // What a variable is; false at first.
  void set(uint32_t node, bool is_true) { truth_[node] = is_true; }
  // Whether the claims hold then.
  bool holds();
  // If they hold: variables or their opposites that are enough for it. If not: those that are enough for the first claim
  // that does not.
  std::vector<Formula> reasons() const;

 private:
  void add_musts(size_t claim);
  void add_must(Formula literal, size_t claim);
  bool is_true(Formula formula) const { return truth_[formula.node()] != formula.is_negated(); }

  const Formulas *formulas_;
  const std::vector<Formula> *claims_;
  std::vector<uint32_t> nodes_;
  std::map<std::string, std::vector<uint32_t>> tests_of_{};
  std::vector<uint32_t> open_{};
  std::map<Formula, size_t> musts_{};
  bool only_musts_ = true;
  std::vector<Formula> contradiction_{};
  std::vector<bool> truth_;  // of nodes, by their numbers
};

}  // namespace simulator::reasoning
