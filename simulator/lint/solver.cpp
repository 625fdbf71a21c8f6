#include "simulator/lint/solver.h"

#include <algorithm>
#include <utility>

namespace simulator::lint {

// ---- Assignments ----------------------------------------------------------------------------------------------------------

Lit Solver::add_variable() {
  variables_.emplace_back();
  watches_.resize(watches_.size() + 2);
  return {static_cast<uint32_t>(variables_.size() - 1) << 1U};
}

Solver::Truth Solver::truth(Lit literal) const {
  const Truth of_variable = variables_[literal.variable()].truth;
  if (of_variable == Truth::unassigned || !literal.is_negated()) return of_variable;
  return of_variable == Truth::yes ? Truth::no : Truth::yes;
}

void Solver::assign(Lit literal, ClauseId reason) {
  Variable &variable = variables_[literal.variable()];
  variable.truth = literal.is_negated() ? Truth::no : Truth::yes;
  variable.level = level();
  variable.reason = reason;
  trail_.push_back(literal);
  theory_->assigned(literal);
}

void Solver::decide(Lit literal) {
  level_starts_.push_back(trail_.size());
  assign(literal, kNone);
}

void Solver::go_back(uint32_t to_level) {
  if (level() <= to_level) return;
  const size_t keep = level_starts_[to_level];
  while (trail_.size() > keep) {
    const Lit literal = trail_.back();
    trail_.pop_back();
    variables_[literal.variable()].truth = Truth::unassigned;
    theory_->undone(literal);
  }
  level_starts_.resize(to_level);
  propagated_ = std::min(propagated_, trail_.size());
}

// ---- Clauses --------------------------------------------------------------------------------------------------------------

Solver::ClauseId Solver::add_clause(std::vector<Lit> literals) {
  go_back(0);
  std::sort(literals.begin(), literals.end());
  literals.erase(std::unique(literals.begin(), literals.end()), literals.end());
  // What is true or false for good moves away from the watched places.
  std::stable_partition(literals.begin(), literals.end(), [&](Lit literal) { return truth(literal) != Truth::no; });
  const bool is_unit = literals.size() == 1 || truth(literals[1]) == Truth::no;
  const Lit first = literals[0];
  const ClauseId clause = store(std::move(literals), false);
  if (is_unit && truth(first) == Truth::unassigned) assign(first, clause);
  return clause;
}

Solver::ClauseId Solver::store(std::vector<Lit> literals, bool learnt) {
  clauses_.push_back({std::move(literals), learnt});
  const auto clause = static_cast<ClauseId>(clauses_.size() - 1);
  if (learnt) ++n_learnt_;
  watch(clause);
  return clause;
}

void Solver::watch(ClauseId clause) {
  const std::vector<Lit> &literals = clauses_[clause].literals;
  if (literals.size() < 2) return;
  watches_[literals[0].code].push_back(clause);
  watches_[literals[1].code].push_back(clause);
}

// Half of the longer learnt clauses. Only at level 0, where no assignment needs its reason any more.
void Solver::forget_clauses() {
  constexpr size_t kShort = 3;
  for (std::vector<ClauseId> &watching : watches_)
    watching.clear();
  bool keep = false;
  for (ClauseId clause = 0; clause < clauses_.size(); ++clause) {
    Clause &of = clauses_[clause];
    if (of.learnt && of.literals.size() > kShort) {
      keep = !keep;
      if (!keep) {
        of = {{}, false};
        --n_learnt_;
      }
    }
    watch(clause);
  }
}

// ---- Propagation ----------------------------------------------------------------------------------------------------------

// Returns a clause whose literals are all false, if there is one.
Solver::ClauseId Solver::propagate() {
  for (;;) {
    const ClauseId contradiction = propagate_clauses();
    if (contradiction != kNone) return contradiction;
    std::vector<Lit> clause;
    if (theory_->is_consistent(clause)) return kNone;
    const ClauseId refused = take_refusal(std::move(clause));
    if (refused != kNone) return refused;
  }
}

Solver::ClauseId Solver::propagate_clauses() {
  while (propagated_ < trail_.size()) {
    const Lit false_literal = ~trail_[propagated_++];
    std::vector<ClauseId> watching = std::move(watches_[false_literal.code]);
    watches_[false_literal.code].clear();
    for (size_t at = 0; at < watching.size(); ++at) {
      if (propagate_in(watching[at], false_literal)) continue;
      std::vector<ClauseId> &still = watches_[false_literal.code];
      still.insert(still.end(), watching.begin() + static_cast<std::ptrdiff_t>(at) + 1, watching.end());
      return watching[at];
    }
  }
  return kNone;
}

// Finds another literal to watch, or assigns the only one that is left. False if all literals are false.
bool Solver::propagate_in(ClauseId clause, Lit false_literal) {
  std::vector<Lit> &literals = clauses_[clause].literals;
  if (literals[0] == false_literal) std::swap(literals[0], literals[1]);
  if (truth(literals[0]) != Truth::yes) {
    for (size_t at = 2; at < literals.size(); ++at) {
      if (truth(literals[at]) == Truth::no) continue;
      std::swap(literals[1], literals[at]);
      watches_[literals[1].code].push_back(clause);
      return true;
    }
  }
  watches_[false_literal.code].push_back(clause);
  if (truth(literals[0]) == Truth::no) return false;
  if (truth(literals[0]) == Truth::unassigned) assign(literals[0], clause);
  return true;
}

// Adds the theory's clause. Returns it when its literals are false at the current level, after going back so far that
// one was assigned there; nothing when it had only one literal, which is then assigned for good.
Solver::ClauseId Solver::take_refusal(std::vector<Lit> clause) {
  std::sort(clause.begin(), clause.end(), [&](Lit a, Lit b) { return level_of(a) > level_of(b); });
  const Lit last = clause[0];
  go_back(clause.size() == 1 ? 0 : level_of(last));
  const ClauseId refusal = store(std::move(clause), false);
  if (truth(last) != Truth::unassigned) return refusal;
  assign(last, refusal);
  return kNone;
}

// ---- Learning -------------------------------------------------------------------------------------------------------------

void Solver::bump(Variable &variable) {
  constexpr double kLargest = 1e100;
  variable.activity += bump_by_;
  if (variable.activity < kLargest) return;
  for (Variable &each : variables_)
    each.activity /= kLargest;
  bump_by_ /= kLargest;
}

void Solver::note(Lit literal, std::vector<Lit> &learnt, uint32_t &open) {
  Variable &variable = variables_[literal.variable()];
  if (variable.seen || variable.level == 0) return;
  variable.seen = true;
  bump(variable);
  if (variable.level == level()) {
    ++open;
  } else {
    learnt.push_back(literal);
  }
}

// Resolves the contradiction with the reasons of its literals, the last ones first, until only one literal of the
// current level is left. Its negation comes first in the result.
std::vector<Lit> Solver::learnt_from(ClauseId contradiction) {
  std::vector<Lit> learnt(1);
  uint32_t open = 0;
  for (const Lit literal : clauses_[contradiction].literals)
    note(literal, learnt, open);
  size_t at = trail_.size();
  while (open > 0) {
    do {
      --at;
    } while (!variables_[trail_[at].variable()].seen);
    const Lit resolved = trail_[at];
    Variable &variable = variables_[resolved.variable()];
    variable.seen = false;
    learnt[0] = ~resolved;
    if (--open == 0) break;
    for (const Lit literal : clauses_[variable.reason].literals) {
      if (literal != resolved) note(literal, learnt, open);
    }
  }
  for (const Lit literal : learnt)
    variables_[literal.variable()].seen = false;
  return learnt;
}

void Solver::learn(ClauseId contradiction) {
  constexpr double kDecay = 0.95;
  std::vector<Lit> learnt = learnt_from(contradiction);
  bump_by_ /= kDecay;
  if (learnt.size() > 1) {
    const auto last =
        std::max_element(learnt.begin() + 1, learnt.end(), [&](Lit a, Lit b) { return level_of(a) < level_of(b); });
    std::swap(learnt[1], *last);
  }
  go_back(learnt.size() == 1 ? 0 : level_of(learnt[1]));
  const Lit consequence = learnt[0];
  const ClauseId clause = store(std::move(learnt), true);
  assign(consequence, clause);
}

// The assumptions that a false one follows from.
void Solver::note_conflict(Lit false_assumption) {
  conflict_ = {false_assumption};
  variables_[false_assumption.variable()].seen = true;
  for (size_t at = trail_.size(); at-- > 0;) {
    const Lit literal = trail_[at];
    Variable &variable = variables_[literal.variable()];
    if (!variable.seen) continue;
    variable.seen = false;
    if (variable.level == 0) continue;
    if (variable.reason == kNone) {
      conflict_.push_back(literal);
      continue;
    }
    for (const Lit other : clauses_[variable.reason].literals)
      variables_[other.variable()].seen = true;
    variable.seen = false;
  }
  for (Variable &variable : variables_)
    variable.seen = false;
}

// ---- The search -----------------------------------------------------------------------------------------------------------

bool Solver::is_satisfied(const Clause &clause) const {
  return std::any_of(clause.literals.begin(), clause.literals.end(),
                     [&](Lit literal) { return truth(literal) == Truth::yes; });
}

// A literal that would satisfy a goal: one that is true as things stand, or else the one that took part in the most
// contradictions.
std::optional<Lit> Solver::choice_for(const std::vector<ClauseId> &goals) const {
  for (const ClauseId goal : goals) {
    const Clause &clause = clauses_[goal];
    if (is_satisfied(clause)) continue;
    std::optional<Lit> best;
    for (const Lit literal : clause.literals) {
      if (truth(literal) != Truth::unassigned) continue;
      if (theory_->is_likely(literal)) return literal;
      const auto activity = [&](Lit of) { return variables_[of.variable()].activity; };
      if (!best || activity(literal) > activity(*best)) best = literal;
    }
    return best;
  }
  return std::nullopt;
}

Solver::Next Solver::take_next(const std::vector<Lit> &assumptions, const std::vector<ClauseId> &goals) {
  while (level() < assumptions.size()) {
    const Lit assumption = assumptions[level()];
    if (truth(assumption) == Truth::no) {
      note_conflict(assumption);
      return Next::refuted;
    }
    if (truth(assumption) == Truth::unassigned) {
      decide(assumption);
      return Next::go_on;
    }
    level_starts_.push_back(trail_.size());
  }
  const std::optional<Lit> choice = choice_for(goals);
  if (!choice) return Next::satisfied;
  decide(*choice);
  return Next::go_on;
}

Can Solver::solve(const std::vector<Lit> &assumptions, const std::vector<ClauseId> &goals) {
  constexpr size_t kFirstRestart = 100;
  constexpr size_t kMostLearnt = 20'000;
  go_back(0);
  conflict_.clear();
  size_t contradictions = 0;
  size_t until_restart = kFirstRestart;
  for (;;) {
    if (!effort_->step()) return Can::unknown;
    const ClauseId contradiction = propagate();
    if (contradiction != kNone) {
      if (level() == 0) return Can::impossible;
      learn(contradiction);
      ++contradictions;
    } else if (contradictions > until_restart) {
      contradictions = 0;
      until_restart += until_restart / 2;
      go_back(0);
      if (n_learnt_ > kMostLearnt) forget_clauses();
    } else {
      const Next next = take_next(assumptions, goals);
      if (next == Next::refuted) return Can::impossible;
      if (next == Next::satisfied) return theory_->is_certain() ? Can::possible : Can::unknown;
    }
  }
}

}  // namespace simulator::lint
