#include "simulator/reasoning/solver.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "simulator/reasoning/clause_solver.h"
#include "simulator/reasoning/conjunction.h"
#include "simulator/reasoning/relations.h"
#include "simulator/reasoning/values.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::reasoning {

namespace {

constexpr const char *kTimeIsOver = "the time is over";

struct Attribute {
  std::vector<uint32_t> tests{};  // nodes
  std::vector<Formula> musts{};   // tests that have to be passed, or not, whatever the rest is
  Value for_musts{};              // a value for them
  Value value{};                  // as far as is known
  bool is_fixed = false;          // the value stays
};

FoundInput given_up(const std::string &why) {
  return {.why = {why}, .why_given_up = why};
}

// A question under way.
struct Question {
  Conjunction &claims;
  std::map<std::string, Attribute> attributes{};  // those that the claims depend on
  std::map<uint32_t, bool> open{};                // answers that are not known, as they are taken
  std::optional<Formula> no_open_values{};        // while it is assumed, values that are not known are left out
  std::set<std::string> why_unknown{};
};

FoundInput unknown(const Question &question) {
  return {.why = {question.why_unknown.begin(), question.why_unknown.end()}};
}

}  // namespace

class Solver::Search {
 public:
  Search(const Formulas &formulas, const ValueTests &tests, Hints hints, Effort &effort)
      : formulas_(&formulas), tests_(&tests), hints_(std::move(hints)), values_(effort), effort_(&effort) {}

  FoundInput find(const std::vector<Formula> &claims, bool wants_first);

 private:
  std::optional<FoundInput> answer_by_musts(Question &question);
  bool repair(Question &question);
  bool turn(Question &question, Formula literal);
  std::optional<FoundInput> contradiction_of(const Question &question, const Attribute &attribute,
                                             const ValueAnswer &answer) const;
  FoundInput found(Question &question);
  std::vector<std::string> why_open(const Question &question) const;

  Can search(Question &question, const std::vector<Formula> &more);
  bool add(const Conjunction &claims);
  void add_conjunction(uint32_t node);
  void add_test(uint32_t node);
  void relate(uint32_t one, uint32_t other);
  bool find_values(Question &question);
  bool find_value(Question &question, const std::string &name, const std::vector<Formula> &reasons);
  ValueAnswer value_for(const std::string &name, const std::vector<Formula> &literals);

  void prefer_first(Question &question);
  void prefer(Question &question, const std::string &name, std::vector<Formula> &fixed);
  bool try_value(Question &question, const std::string &name, const Value &value, const std::vector<Formula> &fixed);
  static Input values_in(const Question &question);
  static bool others_can_change(const Question &question, const Attribute &attribute);
  std::vector<Value> candidates(const std::string &name, const Attribute &attribute) const;
  void add_ends(const Filter &filter, std::vector<Value> &values) const;
  std::vector<Formula> tests_with(const Attribute &attribute, const Value &value) const;
  bool is_true(Formula literal, const Value &value) const {
    return holds(tests_->test(literal.node()).filter, value) != literal.is_negated();
  }
  void assume_values(Question &question) const;
  std::string why_no_value(const std::string &name) const;

  const Formulas *formulas_;
  const ValueTests *tests_;
  Hints hints_;
  ValueSearch values_;
  Effort *effort_;
  std::unique_ptr<ClauseSolver> clauses_{};        // made for the first question that needs it
  std::vector<bool> added_{};                      // nodes whose clauses it has
  std::map<std::string, RelatedTests> related_{};  // those that it has, by attribute
};

Solver::Solver(const Formulas &formulas, const ValueTests &tests, Hints hints, Effort &effort)
    : search_(std::make_unique<Search>(formulas, tests, std::move(hints), effort)) {}

Solver::~Solver() = default;

FoundInput Solver::find_any(const std::vector<Formula> &claims) {
  return search_->find(claims, false);
}

FoundInput Solver::find_first(const std::vector<Formula> &claims) {
  return search_->find(claims, true);
}

FoundInput Solver::Search::find(const std::vector<Formula> &claims, bool wants_first) {
  effort_->begin_question();
  if (formulas_->too_many()) return given_up("the formulas take too much memory");
  Conjunction conjunction(*formulas_, *tests_, claims);
  if (!conjunction.contradiction().empty()) return {.can = Can::impossible, .conflict = conjunction.contradiction()};

  Question question{.claims = conjunction};
  for (const auto &[name, tests] : conjunction.tests())
    question.attributes[name].tests = tests;
  if (std::optional<FoundInput> answer = answer_by_musts(question)) return std::move(*answer);
  try {
    const Can can = repair(question) ? Can::possible : search(question, {});
    if (can == Can::impossible) return {.can = can, .conflict = clauses_->conflict()};
    if (can == Can::unknown) return unknown(question);
    if (wants_first) prefer_first(question);
  } catch (const ClauseSolver::GaveUp &failure) {
    return given_up(failure.what());
  }
  return found(question);
}

// What the variables are with the present values.
void Solver::Search::assume_values(Question &question) const {
  for (const auto &[node, is_true] : question.open)
    question.claims.set(node, is_true);
  for (const auto &[name, attribute] : question.attributes) {
    for (const uint32_t test : attribute.tests)
      question.claims.set(test, is_true(Formula::of_node(test), attribute.value));
  }
}

std::string Solver::Search::why_no_value(const std::string &name) const {
  return effort_->over() ? kTimeIsOver : concat("the regular expressions on attribute ", name, " cannot be followed");
}

FoundInput Solver::Search::found(Question &question) {
  FoundInput found{.can = Can::possible, .input = values_in(question)};
  assume_values(question);
  if (!question.claims.holds())
    return given_up("a value did not do what was found for it: this is a fault of the search");
  for (const Formula reason : question.claims.reasons()) {
    const ValueTests::Test &test = tests_->test(reason.node());
    if (!test.is_open()) found.needed[test.attribute] = question.attributes.at(test.attribute).value;
  }
  found.why = why_open(question);
  found.rests_on_open = !found.why.empty();
  return found;
}

std::vector<std::string> Solver::Search::why_open(const Question &question) const {
  std::vector<std::string> why;
  for (const uint32_t node : question.claims.open())
    why.push_back(tests_->test(node).why_open);
  return why;
}

// ---- Without a search -----------------------------------------------------------------------------------------------------

// Nothing when the other parts of the claims have to be searched.
std::optional<FoundInput> Solver::Search::answer_by_musts(Question &question) {
  Conjunction &claims = question.claims;
  for (const auto &[literal, claim] : claims.musts()) {
    const ValueTests::Test &test = tests_->test(literal.node());
    if (test.is_open()) {
      question.open[literal.node()] = !literal.is_negated();
    } else {
      question.attributes[test.attribute].musts.push_back(literal);
    }
  }
  for (auto &[name, attribute] : question.attributes) {
    if (attribute.musts.empty()) continue;
    const ValueAnswer answer = value_for(name, attribute.musts);
    if (answer.can == Can::impossible) return contradiction_of(question, attribute, answer);
    if (answer.can == Can::unknown) question.why_unknown.insert(why_no_value(name));
    attribute.for_musts = attribute.value = answer.value;
  }
  if (claims.has_only_musts() && !question.why_unknown.empty()) return unknown(question);
  assume_values(question);
  const bool hold = claims.holds() && (claims.open().empty() || claims.has_only_musts());
  return hold ? std::optional(found(question)) : std::nullopt;
}

std::optional<FoundInput> Solver::Search::contradiction_of(const Question &question, const Attribute &attribute,
                                                           const ValueAnswer &answer) const {
  std::set<size_t> claims;
  for (const size_t at : answer.conflict)
    claims.insert(question.claims.musts().at(attribute.musts[at]));
  FoundInput none{.can = Can::impossible};
  for (const size_t claim : claims)
    none.conflict.push_back(question.claims.claims()[claim]);
  return none;
}

// Turns tests that make a claim fail, one after another, as long as that helps. Most questions need few.
bool Solver::Search::repair(Question &question) {
  constexpr size_t kMostTurned = 8;
  constexpr size_t kMostTried = 16;
  if (!question.claims.open().empty()) return false;
  for (size_t turned = 0; turned < kMostTurned; ++turned) {
    std::vector<Formula> reasons = question.claims.reasons();
    reasons.erase(reasons.begin() + static_cast<std::ptrdiff_t>(std::min(reasons.size(), kMostTried)), reasons.end());
    const bool helped =
        std::any_of(reasons.begin(), reasons.end(), [&](Formula reason) { return turn(question, ~reason); });
    if (!helped) return false;
    if (question.claims.holds()) return true;
  }
  return false;
}

// Gives the attribute a value for its musts and this literal. False if there is none.
bool Solver::Search::turn(Question &question, Formula literal) {
  const std::string &name = tests_->test(literal.node()).attribute;
  Attribute &attribute = question.attributes.at(name);
  std::vector<Formula> wanted = attribute.musts;
  wanted.push_back(literal);
  ValueAnswer answer = value_for(name, wanted);
  if (answer.can != Can::possible) return false;
  attribute.value = std::move(answer.value);
  assume_values(question);
  return true;
}

ValueAnswer Solver::Search::value_for(const std::string &name, const std::vector<Formula> &literals) {
  std::vector<Literal> wanted;
  for (const Formula literal : literals)
    wanted.push_back({&tests_->test(literal.node()).filter, !literal.is_negated()});
  return values_.find(wanted, hints_[name]);
}

// ---- Clauses --------------------------------------------------------------------------------------------------------------

void Solver::Search::add_conjunction(uint32_t node) {
  const auto [left, right] = formulas_->node(node);
  const Formula whole = Formula::of_node(node);
  clauses_->add_clause({~whole, left});
  clauses_->add_clause({~whole, right});
  clauses_->add_clause({whole, ~left, ~right});
}

void Solver::Search::relate(uint32_t one, uint32_t other) {
  const Relation relation = relation_of(tests_->test(one).filter, tests_->test(other).filter);
  const Formula first = Formula::of_node(one);
  const Formula second = Formula::of_node(other);
  if (!relation.both_can_pass) clauses_->add_clause({~first, ~second});
  if (relation.first_implies_second) clauses_->add_clause({~first, second});
  if (relation.second_implies_first) clauses_->add_clause({~second, first});
}

void Solver::Search::add_test(uint32_t node) {
  const ValueTests::Test &test = tests_->test(node);
  if (test.is_open()) return;
  for (const uint32_t other : related_[test.attribute].add(node, test.filter))
    relate(node, other);
}

// False when the effort was over before everything was added.
bool Solver::Search::add(const Conjunction &claims) {
  if (!clauses_) clauses_ = std::make_unique<ClauseSolver>(*effort_);
  added_.resize(formulas_->size(), false);
  for (const uint32_t node : claims.nodes()) {
    if (added_[node]) continue;
    if (!effort_->step()) return false;
    if (formulas_->is_variable(node)) {
      add_test(node);
    } else {
      add_conjunction(node);
    }
    added_[node] = true;
  }
  return true;
}

// ---- Values ---------------------------------------------------------------------------------------------------------------

// With 'more' assumed. Values are in the question when the answer is 'possible'. Ways to make the claims hold for which
// no value was found, nor that there is none, are passed over: if nothing else is left, the answer is 'unknown'.
Can Solver::Search::search(Question &question, const std::vector<Formula> &more) {
  if (!add(question.claims)) {
    question.why_unknown.insert(kTimeIsOver);
    return Can::unknown;
  }
  std::vector<Formula> assumptions = question.claims.claims();
  std::erase(assumptions, Formula::always());
  assumptions.insert(assumptions.end(), more.begin(), more.end());
  for (;;) {
    interruption::check();
    std::vector<Formula> all = assumptions;
    if (question.no_open_values) all.push_back(*question.no_open_values);
    const Can can = clauses_->check(all);
    if (can == Can::unknown) {
      question.why_unknown.insert(kTimeIsOver);
      return can;
    }
    if (can == Can::impossible) {
      const std::vector<Formula> conflict = clauses_->conflict();
      const bool was_passed_over = question.no_open_values && std::find(conflict.begin(), conflict.end(),
                                                                        *question.no_open_values) != conflict.end();
      return was_passed_over ? Can::unknown : Can::impossible;
    }
    if (!find_values(question)) continue;
    for (const uint32_t node : question.claims.open())
      question.open[node] = clauses_->is_true(node);
    return Can::possible;
  }
}

// False: some attributes have no value for what the solver chose; each gives a clause, so that it does not come back with
// the same choice.
bool Solver::Search::find_values(Question &question) {
  for (const uint32_t node : question.claims.open())
    question.claims.set(node, clauses_->is_true(node));
  for (const auto &[name, attribute] : question.attributes) {
    for (const uint32_t test : attribute.tests)
      question.claims.set(test, clauses_->is_true(test));
  }
  if (!question.claims.holds())
    throw ClauseSolver::GaveUp("the solver's answer is none: this is a fault of the solver");

  std::map<std::string, std::vector<Formula>> reasons;
  for (const Formula reason : question.claims.reasons()) {
    const ValueTests::Test &test = tests_->test(reason.node());
    if (!test.is_open()) reasons[test.attribute].push_back(reason);
  }
  bool all_found = true;
  for (auto &[name, attribute] : question.attributes) {
    if (attribute.is_fixed) continue;
    attribute.value = std::nullopt;
    if (const auto of_attribute = reasons.find(name); of_attribute != reasons.end())
      all_found = find_value(question, name, of_attribute->second) && all_found;
  }
  return all_found;
}

bool Solver::Search::find_value(Question &question, const std::string &name, const std::vector<Formula> &reasons) {
  ValueAnswer answer = value_for(name, reasons);
  if (answer.can == Can::possible) {
    question.attributes.at(name).value = std::move(answer.value);
    return true;
  }
  std::vector<Formula> clause;
  if (answer.can == Can::impossible) {
    for (const size_t at : answer.conflict)
      clause.push_back(~reasons[at]);
  } else {
    if (!question.no_open_values) question.no_open_values = clauses_->new_variable();
    for (const Formula reason : reasons)
      clause.push_back(~reason);
    clause.push_back(~*question.no_open_values);
    question.why_unknown.insert(why_no_value(name));
  }
  clauses_->add_clause(clause);
  return false;
}

// ---- The input that comes first -------------------------------------------------------------------------------------------

std::vector<Formula> Solver::Search::tests_with(const Attribute &attribute, const Value &value) const {
  std::vector<Formula> tests;
  for (const uint32_t node : attribute.tests) {
    const Formula test = Formula::of_node(node);
    tests.push_back(is_true(test, value) ? test : ~test);
  }
  return tests;
}

void Solver::Search::add_ends(const Filter &filter, std::vector<Value> &values) const {
  if (filter.kind == FilterKind::present) values.emplace_back("x");
  if (filter.kind == FilterKind::equals || filter.kind == FilterKind::prefix) values.emplace_back(filter.text);
  if (filter.kind != FilterKind::range) return;
  if (filter.low != std::numeric_limits<int64_t>::min()) values.emplace_back(std::to_string(filter.low));
  if (filter.high != std::numeric_limits<int64_t>::max()) values.emplace_back(std::to_string(filter.high));
}

std::vector<Value> Solver::Search::candidates(const std::string &name, const Attribute &attribute) const {
  constexpr size_t kMost = 60;
  std::vector<Value> values = {std::nullopt};
  if (!attribute.musts.empty()) values.push_back(attribute.for_musts);
  if (const auto hints = hints_.find(name); hints != hints_.end())
    values.insert(values.end(), hints->second.begin(), hints->second.end());
  for (const uint32_t test : attribute.tests) {
    if (values.size() > kMost) break;
    add_ends(tests_->test(test).filter, values);
  }
  return values;
}

// The claims hold with the present values. Whether they hold with another value of one attribute is seen at once; only
// where they do not, others might have to change with it.
bool Solver::Search::try_value(Question &question, const std::string &name, const Value &value,
                               const std::vector<Formula> &fixed) {
  Attribute &attribute = question.attributes.at(name);
  const Input before = values_in(question);
  attribute.value = value;
  assume_values(question);
  if (question.claims.holds()) return true;

  if (others_can_change(question, attribute)) {
    std::vector<Formula> more = fixed;
    const std::vector<Formula> tests = tests_with(attribute, value);
    more.insert(more.end(), tests.begin(), tests.end());
    attribute.is_fixed = true;
    if (search(question, more) == Can::possible) return true;
    attribute.is_fixed = false;
  }
  for (auto &[other, of_other] : question.attributes)
    of_other.value = before.at(other);
  return false;
}

Input Solver::Search::values_in(const Question &question) {
  Input values;
  for (const auto &[name, attribute] : question.attributes)
    values[name] = attribute.value;
  return values;
}

bool Solver::Search::others_can_change(const Question &question, const Attribute &attribute) {
  const auto can_change = [&](const auto &of_name) {
    return &of_name.second != &attribute && !of_name.second.is_fixed;
  };
  const auto &attributes = question.attributes;
  return !question.claims.open().empty() || std::any_of(attributes.begin(), attributes.end(), can_change);
}

// Fixes the first value with which the claims can hold; the present value is one.
void Solver::Search::prefer(Question &question, const std::string &name, std::vector<Formula> &fixed) {
  Attribute &attribute = question.attributes.at(name);
  std::set<std::vector<Formula>> tried = {tests_with(attribute, attribute.value)};
  for (const Value &candidate : candidates(name, attribute)) {
    if (candidate == attribute.value) break;
    const bool fits = std::all_of(attribute.musts.begin(), attribute.musts.end(),
                                  [&](Formula must) { return is_true(must, candidate); });
    if (!fits) continue;
    // One that passes the same tests as the present value is as good.
    std::vector<Formula> tests = tests_with(attribute, candidate);
    if (tests == tests_with(attribute, attribute.value)) {
      attribute.value = candidate;
      break;
    }
    if (tried.insert(std::move(tests)).second && try_value(question, name, candidate, fixed)) break;
  }
  attribute.is_fixed = true;
  const std::vector<Formula> tests = tests_with(attribute, attribute.value);
  fixed.insert(fixed.end(), tests.begin(), tests.end());
}

void Solver::Search::prefer_first(Question &question) {
  std::vector<Formula> fixed;
  std::vector<std::string> names;
  for (const auto &[name, attribute] : question.attributes)
    names.push_back(name);
  for (const std::string &name : names)
    prefer(question, name, fixed);
}

}  // namespace simulator::reasoning
