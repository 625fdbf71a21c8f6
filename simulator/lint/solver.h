// A solver for propositional logic that asks a theory what its literals mean.
//
// It searches for an assignment with which all clauses hold, as modern solvers do: it propagates clauses that have one
// literal left (each clause is watched at two), learns a clause from every contradiction, goes back to where the learnt
// clause has one literal left, and restarts from time to time. The theory, here the values of attributes, is asked after
// every propagation; what it refuses becomes a clause like any other. Clauses are kept from one question to the next.
//
// A question is a list of assumptions, and goals: clauses that have to be satisfied by assigned literals. The search
// ends as soon as they are, so it assigns only what the question is about. All other clauses must be such that any
// consistent assignment of the rest satisfies them, which holds for definitions of new literals and for what the theory
// implies.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/lint/effort.h"
#include "simulator/lint/text_tests.h"

namespace simulator::lint {

// A variable or its negation.
struct Lit {
  uint32_t code = 0;

  uint32_t variable() const { return code >> 1U; }
  bool is_negated() const { return (code & 1U) != 0; }
  Lit operator~() const { return {code ^ 1U}; }
  bool operator==(const Lit &) const = default;
  auto operator<=>(const Lit &) const = default;
};

class Theory {
 public:
  virtual ~Theory() = default;

  // A literal has become true, or is no longer assigned; the last one goes first.
  virtual void assigned(Lit literal) = 0;
  virtual void undone(Lit literal) = 0;
  // Whether the assigned literals can be true together; 'clause' receives the negations of some that cannot. What is
  // unknown counts as consistent, and makes is_certain() false.
  virtual bool is_consistent(std::vector<Lit> &clause) = 0;
  virtual bool is_certain() const = 0;
  // Whether a literal that is not assigned would be true as things stand.
  virtual bool is_likely(Lit literal) const = 0;
};

class Solver {
 public:
  using ClauseId = uint32_t;

  Solver(Theory &theory, Effort &effort) : theory_(&theory), effort_(&effort) {}

  Lit add_variable();
  // At least one literal has to be true. The clause has at least one.
  ClauseId add_clause(std::vector<Lit> literals);

  // The assignment of 'possible' stays until the next call of another operation.
  Can solve(const std::vector<Lit> &assumptions, const std::vector<ClauseId> &goals);
  // After 'impossible': assumptions that cannot be true together.
  const std::vector<Lit> &conflict() const { return conflict_; }

  // Undoes the last assignment.
  void reset() { go_back(0); }

 private:
  static constexpr ClauseId kNone = UINT32_MAX;

  enum class Truth : uint8_t { unassigned, yes, no };
  struct Clause {
    std::vector<Lit> literals;  // the first two are watched
    bool learnt;
  };
  struct Variable {
    Truth truth = Truth::unassigned;
    bool seen = false;  // while a contradiction is analysed
    uint32_t level = 0;
    ClauseId reason = kNone;
    double activity = 0;
  };

  Truth truth(Lit literal) const;
  uint32_t level() const { return static_cast<uint32_t>(level_starts_.size()); }
  uint32_t level_of(Lit literal) const { return variables_[literal.variable()].level; }

  void assign(Lit literal, ClauseId reason);
  void decide(Lit literal);
  void go_back(uint32_t to_level);

  ClauseId store(std::vector<Lit> literals, bool learnt);
  void watch(ClauseId clause);
  ClauseId propagate();
  ClauseId propagate_clauses();
  bool propagate_in(ClauseId clause, Lit false_literal);
  ClauseId take_refusal(std::vector<Lit> clause);

  void learn(ClauseId contradiction);
  std::vector<Lit> learnt_from(ClauseId contradiction);
  void note(Lit literal, std::vector<Lit> &learnt, uint32_t &open);
  void bump(Variable &variable);
  void note_conflict(Lit false_assumption);
  void forget_clauses();

  enum class Next : uint8_t { go_on, satisfied, refuted };
  Next take_next(const std::vector<Lit> &assumptions, const std::vector<ClauseId> &goals);
  std::optional<Lit> choice_for(const std::vector<ClauseId> &goals) const;
  bool is_satisfied(const Clause &clause) const;

  Theory *theory_;
  Effort *effort_;
  std::vector<Variable> variables_;
  std::vector<Clause> clauses_;
  std::vector<std::vector<ClauseId>> watches_;  // by the code of the literal that is watched
  std::vector<Lit> trail_;                      // assigned literals, in order
  std::vector<size_t> level_starts_;            // where each level begins in the trail
  size_t propagated_ = 0;                       // how much of the trail is propagated
  size_t n_learnt_ = 0;
  double bump_by_ = 1;
  std::vector<Lit> conflict_;
};

}  // namespace simulator::lint
