#include "simulator/lint/prover.h"

#include <algorithm>
#include <utility>

namespace simulator::lint {

Prover::Prover(const PolicyFile &file, Effort &effort)
    : hints_(hints_of(file)), values_(effort), solver_(*this, effort), effort_(&effort) {}

// ---- Claims ---------------------------------------------------------------------------------------------------------------

Prover::AttributeNumber Prover::attribute_number(const std::string &name) {
  const auto [known, is_new] = attribute_numbers_.try_emplace(name, attributes_.size());
  if (is_new) attributes_.push_back({.name = name, .hints = hints_[name]});
  return known->second;
}

Lit Prover::add_meaning(Meaning meaning) {
  meanings_.push_back(std::move(meaning));
  return solver_.add_variable();
}

// The literal stands for the test; no-match negates it.
Lit Prover::claim(const Filter &filter) {
  const AttributeNumber attribute = attribute_number(filter.attribute.value);
  const auto [known, is_new] =
      tests_.try_emplace({attribute, filter.kind, filter.text, filter.low, filter.high}, Lit{});
  if (is_new) known->second = add_meaning({.attribute = attribute, .filter = &filter, .attributes = {attribute}});
  // The filter that the variable was made for may itself have no-match; a variable means that this filter holds.
  const bool same_sense = meanings_[known->second.variable()].filter->no_match == filter.no_match;
  return same_sense ? known->second : ~known->second;
}

void Prover::add_goals_of(Lit part, Meaning &meaning) const {
  const Meaning &of = meanings_[part.variable()];
  meaning.attributes.insert(of.attributes.begin(), of.attributes.end());
}

// A literal that is true when all parts are.
Lit Prover::define_all(Meaning meaning, std::vector<Lit> parts) {
  for (const Lit part : parts)
    add_goals_of(part, meaning);
  const Lit all = add_meaning(std::move(meaning));
  for (const Lit part : parts)
    solver_.add_clause({~all, part});
  for (Lit &part : parts)
    part = ~part;
  parts.push_back(all);
  meanings_[all.variable()].goals_if_false.push_back(solver_.add_clause(std::move(parts)));
  return all;
}

// A literal that is true when one of the parts is.
Lit Prover::define_any(Meaning meaning, std::vector<Lit> parts) {
  for (const Lit part : parts)
    add_goals_of(part, meaning);
  const Lit any = add_meaning(std::move(meaning));
  for (const Lit part : parts)
    solver_.add_clause({any, ~part});
  parts.push_back(~any);
  meanings_[any.variable()].goals_if_true.push_back(solver_.add_clause(std::move(parts)));
  return any;
}

Lit Prover::claim(const ClassMap &map) {
  if (const auto known = maps_.find(&map); known != maps_.end()) return known->second;
  solver_.reset();
  std::vector<Lit> parts;
  for (const Filter &filter : map.filters) {
    const Lit part = claim(filter);
    parts.push_back(map.match == ClassMatch::none ? ~part : part);
  }
  Lit &matches = maps_[&map];
  if (map.match == ClassMatch::any) {
    matches = define_any({.map = &map}, std::move(parts));
  } else {
    matches = define_all({.map = &map}, std::move(parts));
  }
  return matches;
}

Lit Prover::claim(const Statement &statement) {
  if (const auto known = maps_.find(&statement); known != maps_.end()) return known->second;
  solver_.reset();
  std::vector<Lit> parts;
  std::vector<Solver::ClauseId> goals;
  for (const auto &[attribute, filters] : by_attribute(statement)) {
    std::vector<Lit> alternatives;
    for (const Filter *filter : filters)
      alternatives.push_back(claim(*filter));
    if (alternatives.size() > 1) {
      const Lit one_holds = define_any({}, std::move(alternatives));
      const std::vector<Solver::ClauseId> &of_group = meanings_[one_holds.variable()].goals_if_true;
      goals.insert(goals.end(), of_group.begin(), of_group.end());
      alternatives = {one_holds};
    }
    parts.push_back(alternatives[0]);
  }
  const Lit matches = define_all({.statement = &statement, .goals_if_true = std::move(goals)}, std::move(parts));
  maps_.emplace(&statement, matches);
  return matches;
}

// ---- The theory -----------------------------------------------------------------------------------------------------------

void Prover::note_change(AttributeNumber number) {
  if (attributes_[number].changed) return;
  attributes_[number].changed = true;
  changed_.push_back(number);
}

void Prover::assigned(Lit literal) {
  const AttributeNumber number = meanings_[literal.variable()].attribute;
  if (number == kNoAttribute) return;
  attributes_[number].assigned.push_back(literal);
  note_change(number);
}

void Prover::undone(Lit literal) {
  const AttributeNumber number = meanings_[literal.variable()].attribute;
  if (number == kNoAttribute) return;
  Attribute &attribute = attributes_[number];
  attribute.assigned.pop_back();
  attribute.satisfied = std::min(attribute.satisfied, attribute.assigned.size());
  // Fewer literals may have a known value.
  if (attribute.unknown) note_change(number);
}

bool Prover::is_likely(Lit literal) const {
  const Meaning &meaning = meanings_[literal.variable()];
  if (!meaning.filter) return false;
  return lint::holds(*meaning.filter, attributes_[meaning.attribute].value) != literal.is_negated();
}

bool Prover::is_consistent(std::vector<Lit> &clause) {
  while (!changed_.empty()) {
    Attribute &attribute = attributes_[changed_.back()];
    if (!find_value(attribute, clause)) return false;
    attribute.changed = false;
    changed_.pop_back();
  }
  return true;
}

// Finds a value for the assigned literals, if the present one does not do. False if there is none; 'clause' then says
// which of them cannot be true together.
bool Prover::find_value(Attribute &attribute, std::vector<Lit> &clause) {
  while (attribute.satisfied < attribute.assigned.size() && is_likely(attribute.assigned[attribute.satisfied]))
    ++attribute.satisfied;
  if (attribute.unknown) {
    attribute.unknown = false;
    --n_unknown_;
  }
  if (attribute.satisfied == attribute.assigned.size()) return true;

  std::vector<Literal> literals;
  for (const Lit literal : attribute.assigned)
    literals.push_back({meanings_[literal.variable()].filter, !literal.is_negated()});
  ValueAnswer answer = values_.find(literals, attribute.hints);
  if (answer.can == Can::impossible) {
    for (const size_t at : answer.conflict)
      clause.push_back(~attribute.assigned[at]);
    return false;
  }
  if (answer.can == Can::unknown) {
    attribute.unknown = true;
    ++n_unknown_;
    return true;
  }
  attribute.satisfied = attribute.assigned.size();
  attribute.value = std::move(answer.value);
  // A value that had to be searched for may do again.
  constexpr size_t kMostHints = 60;
  const bool is_known = !attribute.value || std::find(attribute.hints.begin(), attribute.hints.end(),
                                                      *attribute.value) != attribute.hints.end();
  if (!is_known && attribute.hints.size() < kMostHints) attribute.hints.push_back(*attribute.value);
  return true;
}

// ---- Questions ------------------------------------------------------------------------------------------------------------

bool Prover::is_true(Lit claim, const Input &input) const {
  const Meaning &meaning = meanings_[claim.variable()];
  if (meaning.filter) return lint::holds(*meaning.filter, input) != claim.is_negated();
  if (meaning.map) return matches(*meaning.map, input) != claim.is_negated();
  return matches(*meaning.statement, input) != claim.is_negated();
}

// Where an attribute has no literal, its value does not matter.
Input Prover::input_of(const std::vector<Lit> &claims) const {
  Input input;
  for (const Lit claim : claims) {
    for (const AttributeNumber number : meanings_[claim.variable()].attributes) {
      const Attribute &attribute = attributes_[number];
      if (!attribute.assigned.empty()) input[attribute.name] = attribute.value;
    }
  }
  return input;
}

InputAnswer Prover::find_input(const std::vector<Lit> &claims) {
  effort_->begin_question();
  solver_.reset();
  for (Attribute &attribute : attributes_) {
    attribute.value.reset();
    attribute.satisfied = 0;
    if (!attribute.assigned.empty()) note_change(static_cast<AttributeNumber>(&attribute - attributes_.data()));
  }
  std::vector<Solver::ClauseId> goals;
  for (const Lit claim : claims) {
    const Meaning &meaning = meanings_[claim.variable()];
    const auto &more = claim.is_negated() ? meaning.goals_if_false : meaning.goals_if_true;
    goals.insert(goals.end(), more.begin(), more.end());
  }
  InputAnswer answer{.can = solver_.solve(claims, goals)};
  if (answer.can == Can::impossible) answer.conflict = solver_.conflict();
  if (answer.can == Can::possible) {
    answer.input = input_of(claims);
    const bool is_true_there =
        std::all_of(claims.begin(), claims.end(), [&](Lit claim) { return is_true(claim, answer.input); });
    if (!is_true_there) return {};
  }
  return answer;
}

std::vector<Lit> Prover::smallest(std::vector<Lit> conflict) {
  for (size_t at = conflict.size(); at-- > 0;) {
    std::vector<Lit> fewer = conflict;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at));
    if (find_input(fewer).can == Can::impossible) conflict = std::move(fewer);
  }
  return conflict;
}

}  // namespace simulator::lint
