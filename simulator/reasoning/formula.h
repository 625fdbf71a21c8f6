// Propositional formulas that share their parts: a formula that exists already is never made again.
//
// A formula is a node and whether it is negated. A node is a variable or the conjunction of two formulas whose nodes are
// older, so a walk over the nodes by number visits parts before what they are parts of, without recursion. Formulas that
// are equal after simple rewriting are the same value.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace simulator::reasoning {

class Formula {
 public:
  // Node 0 is what always holds.
  static constexpr Formula always() { return Formula(0); }
  static constexpr Formula never() { return Formula(1); }
  static constexpr Formula of_node(uint32_t node) { return Formula(node << 1U); }

  constexpr uint32_t node() const { return code_ >> 1U; }
  constexpr bool is_negated() const { return (code_ & 1U) != 0; }
  constexpr uint32_t code() const { return code_; }
  constexpr Formula operator~() const { return Formula(code_ ^ 1U); }
  auto operator<=>(const Formula &) const = default;

 private:
  constexpr explicit Formula(uint32_t code) : code_(code) {}

  uint32_t code_;
};

class Formulas {
 public:
  // A conjunction; for a variable, both parts are the variable itself.
  struct Node {
    Formula left;
    Formula right;
  };
  // More make a search give up: with their clauses, they take more than a gigabyte.
  static constexpr size_t kMostNodes = 2'000'000;

  Formulas();

  Formula variable();
  Formula both(Formula a, Formula b);
  Formula either(Formula a, Formula b) { return ~both(~a, ~b); }
  Formula choose(Formula condition, Formula then, Formula otherwise) {
    return either(both(condition, then), both(~condition, otherwise));
  }
  // One of many: as a tree, so that its depth stays small.
  Formula any_of(std::vector<Formula> formulas);

  size_t size() const { return nodes_.size(); }
  bool too_many() const { return nodes_.size() > kMostNodes; }
  bool is_variable(uint32_t node) const { return node != 0 && nodes_[node].left.node() == node; }
  const Node &node(uint32_t node) const { return nodes_[node]; }

  // The nodes that some formulas are made of, parts first; node 0 is left out.
  std::vector<uint32_t> nodes_of(const std::vector<Formula> &formulas) const;

 private:
  struct Simple {
    bool found = false;
    Formula formula = Formula::always();
  };
  Simple simplified(Formula a, Formula b);
  Formula new_node(Formula left, Formula right);

  std::vector<Node> nodes_;
  std::unordered_map<uint64_t, uint32_t> known_;  // conjunctions by their parts
};

}  // namespace simulator::reasoning
