#include "simulator/prove/solver.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <set>
#include <utility>

#include <z3++.h>

#include "simulator/lint/values.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::prove {

namespace {

using lint::Can;

constexpr const char *kTimeIsOver = "the time is over";

// What one test says about another, whatever the value.
struct Relation {
  bool both_can_pass = true;
  bool first_implies_second = false;
  bool second_implies_first = false;
};

bool contains(const Filter &outer, const Filter &inner) {
  return outer.low <= inner.low && outer.high >= inner.high;
}

Relation relation_of_text(const Filter &equals, const Filter &other) {
  const bool passes = lint::holds(other, equals.text);
  return {.both_can_pass = passes, .first_implies_second = passes};
}

Relation relation_of(const Filter &a, const Filter &b) {
  if (a.kind == FilterKind::present) return {.second_implies_first = true};
  if (b.kind == FilterKind::present) return {.first_implies_second = true};
  if (a.kind == FilterKind::equals) return relation_of_text(a, b);
  if (b.kind == FilterKind::equals) {
    const Relation turned = relation_of_text(b, a);
    return {turned.both_can_pass, turned.second_implies_first, turned.first_implies_second};
  }
  if (a.kind == FilterKind::prefix && b.kind == FilterKind::prefix) {
    const bool a_is_longer = a.text.starts_with(b.text);
    const bool b_is_longer = b.text.starts_with(a.text);
    return {a_is_longer || b_is_longer, a_is_longer, b_is_longer};
  }
  if (a.kind == FilterKind::range && b.kind == FilterKind::range) {
    const bool overlap = a.low <= b.high && b.low <= a.high;
    return {overlap, contains(b, a), contains(a, b)};
  }
  return {};
}

}  // namespace

class Solver::Search {
 public:
  Search(const Formulas &formulas, const ValueTests &tests, lint::Hints hints, lint::Effort &effort, Patience patience)
      : formulas_(&formulas),
        tests_(&tests),
        hints_(std::move(hints)),
        values_(effort),
        effort_(&effort),
        patience_(std::move(patience)),
        solver_(context_, "QF_FD") {
    // An interruption is the caller's affair.
    solver_.set("ctrl_c", false);
  }

  FoundInput find(Formula formula);

 private:
  struct Attribute {
    std::vector<uint32_t> nodes{};  // of its tests
    lint::Value value{};
  };
  enum class Consistent : uint8_t { yes, no, unknown };

  bool add(Formula formula);
  void add_conjunction(uint32_t node);
  void add_test(uint32_t node);
  void add_hints(const ValueTests::Test &test);
  void relate(uint32_t one, uint32_t other);
  z3::expr variable(uint32_t node);
  z3::expr literal(Formula formula);
  void add_clause(const std::vector<Formula> &clause);

  Can check(const std::vector<Formula> &assumptions);
  std::optional<z3::check_result> ask(const std::vector<Formula> &assumptions);
  Consistent find_values(const z3::model &model);
  Consistent find_value(const std::string &name, Attribute &attribute, const z3::model &model);
  FoundInput first_input(Formula formula);
  void prefer(const std::string &name, Attribute &attribute, std::vector<Formula> &assumptions);
  std::vector<Formula> tests_with(const Attribute &attribute, const lint::Value &value) const;
  std::vector<std::string> why_open() const;

  const Formulas *formulas_;
  const ValueTests *tests_;
  lint::Hints hints_;
  lint::ValueSearch values_;
  lint::Effort *effort_;
  Patience patience_;
  z3::context context_{};
  z3::solver solver_;
  std::map<uint32_t, z3::expr> variables_{};
  std::map<std::string, Attribute> attributes_{};
  std::set<uint32_t> open_{};
  std::map<uint32_t, bool> open_values_{};
  std::set<std::string> why_unknown_{};
  bool passed_over_ = false;  // some answers are excluded although nobody knows whether there are values for them
};

Solver::Solver(const Formulas &formulas, const ValueTests &tests, lint::Hints hints, lint::Effort &effort,
               Patience patience)
    : search_(std::make_unique<Search>(formulas, tests, std::move(hints), effort, std::move(patience))) {}

Solver::~Solver() = default;

FoundInput Solver::find(Formula formula) {
  try {
    return search_->find(formula);
  } catch (const z3::exception &failure) {
    return {.can = Can::unknown, .why = {concat("the solver gave up: ", failure.msg())}};
  }
}

// ---- Clauses --------------------------------------------------------------------------------------------------------------

z3::expr Solver::Search::variable(uint32_t node) {
  const auto known = variables_.find(node);
  if (known != variables_.end()) return known->second;
  return variables_.emplace(node, context_.bool_const(std::to_string(node).c_str())).first->second;
}

z3::expr Solver::Search::literal(Formula formula) {
  const z3::expr positive = variable(formula.node());
  return formula.is_negated() ? !positive : positive;
}

void Solver::Search::add_clause(const std::vector<Formula> &clause) {
  z3::expr_vector literals(context_);
  for (const Formula part : clause)
    literals.push_back(literal(part));
  solver_.add(z3::mk_or(literals));
}

void Solver::Search::add_conjunction(uint32_t node) {
  const auto [left, right] = formulas_->node(node);
  const Formula whole = Formula::of_node(node);
  add_clause({~whole, left});
  add_clause({~whole, right});
  add_clause({whole, ~left, ~right});
}

void Solver::Search::relate(uint32_t one, uint32_t other) {
  const Relation relation = relation_of(tests_->test(one).filter, tests_->test(other).filter);
  const Formula first = Formula::of_node(one);
  const Formula second = Formula::of_node(other);
  if (!relation.both_can_pass) add_clause({~first, ~second});
  if (relation.first_implies_second) add_clause({~first, second});
  if (relation.second_implies_first) add_clause({~second, first});
}

// The ends of the test.
void Solver::Search::add_hints(const ValueTests::Test &test) {
  constexpr size_t kMostHints = 60;
  std::vector<std::string> &known = hints_[test.attribute];
  const auto add = [&](const std::string &text) {
    if (known.size() < kMostHints && std::find(known.begin(), known.end(), text) == known.end()) known.push_back(text);
  };
  const Filter &filter = test.filter;
  if (filter.kind == FilterKind::present) add("x");
  if (filter.kind == FilterKind::equals || filter.kind == FilterKind::prefix) add(filter.text);
  if (filter.kind != FilterKind::range) return;
  if (filter.low != std::numeric_limits<int64_t>::min()) add(std::to_string(filter.low));
  if (filter.high != std::numeric_limits<int64_t>::max()) add(std::to_string(filter.high));
}

void Solver::Search::add_test(uint32_t node) {
  const ValueTests::Test &test = tests_->test(node);
  variable(node);
  if (test.is_open()) {
    open_.insert(node);
    return;
  }
  add_hints(test);
  Attribute &attribute = attributes_[test.attribute];
  for (const uint32_t other : attribute.nodes)
    relate(node, other);
  attribute.nodes.push_back(node);
}

// False when the time was over before everything was added.
bool Solver::Search::add(Formula formula) {
  for (const uint32_t node : formulas_->nodes_of(formula)) {
    if (patience_() == 0) return false;
    if (variables_.contains(node)) continue;
    if (formulas_->is_variable(node)) {
      add_test(node);
    } else {
      add_conjunction(node);
    }
  }
  return true;
}

// ---- Values ---------------------------------------------------------------------------------------------------------------

std::optional<z3::check_result> Solver::Search::ask(const std::vector<Formula> &assumptions) {
  const uint32_t left = patience_();
  if (left == 0) return std::nullopt;
  solver_.set("timeout", left);
  z3::expr_vector assumed(context_);
  for (const Formula assumption : assumptions)
    assumed.push_back(literal(assumption));
  const z3::check_result result = solver_.check(assumed);
  if (result == z3::unknown) return std::nullopt;
  return result;
}

// Values of attributes are in attributes_ when the answer is 'possible'. Answers for which no value was found, nor that
// there is none, are passed over: if nothing else is left, the answer is 'unknown'.
Can Solver::Search::check(const std::vector<Formula> &assumptions) {
  for (;;) {
    interruption::check();
    const std::optional<z3::check_result> result = ask(assumptions);
    if (!result) {
      why_unknown_.insert(kTimeIsOver);
      return Can::unknown;
    }
    if (*result == z3::unsat) return passed_over_ ? Can::unknown : Can::impossible;
    const z3::model model = solver_.get_model();
    for (const uint32_t node : open_)
      open_values_[node] = model.eval(variable(node), true).is_true();
    const Consistent consistent = find_values(model);
    if (consistent == Consistent::yes) return Can::possible;
    if (consistent == Consistent::unknown) passed_over_ = true;
  }
}

// Every attribute without a value gives a clause, so that the solver does not come back with the same answer.
Solver::Search::Consistent Solver::Search::find_values(const z3::model &model) {
  Consistent all = Consistent::yes;
  for (auto &[name, attribute] : attributes_) {
    const Consistent one = find_value(name, attribute, model);
    if (one == Consistent::unknown || (one == Consistent::no && all == Consistent::yes)) all = one;
  }
  return all;
}

Solver::Search::Consistent Solver::Search::find_value(const std::string &name, Attribute &attribute,
                                                      const z3::model &model) {
  std::vector<lint::Literal> literals;
  std::vector<Formula> claimed;
  for (const uint32_t node : attribute.nodes) {
    const bool passes = model.eval(variable(node), true).is_true();
    literals.push_back({&tests_->test(node).filter, passes});
    claimed.push_back(passes ? Formula::of_node(node) : ~Formula::of_node(node));
  }
  effort_->begin_question();
  lint::ValueAnswer answer = values_.find(literals, hints_[name]);
  if (answer.can == Can::possible) {
    attribute.value = std::move(answer.value);
    return Consistent::yes;
  }
  std::vector<Formula> clause;
  if (answer.can == Can::impossible) {
    for (const size_t at : answer.conflict)
      clause.push_back(~claimed[at]);
    add_clause(clause);
    return Consistent::no;
  }
  for (const Formula claim : claimed)
    clause.push_back(~claim);
  add_clause(clause);
  why_unknown_.insert(concat("the regular expressions on attribute ", name, " cannot be followed"));
  return Consistent::unknown;
}

// ---- Inputs ---------------------------------------------------------------------------------------------------------------

std::vector<Formula> Solver::Search::tests_with(const Attribute &attribute, const lint::Value &value) const {
  std::vector<Formula> tests;
  for (const uint32_t node : attribute.nodes) {
    const bool passes = lint::holds(tests_->test(node).filter, value);
    tests.push_back(passes ? Formula::of_node(node) : ~Formula::of_node(node));
  }
  return tests;
}

// Assumes the first value with which the assumptions are still possible; the present value is one.
void Solver::Search::prefer(const std::string &name, Attribute &attribute, std::vector<Formula> &assumptions) {
  std::vector<lint::Value> candidates = {std::nullopt};
  const std::vector<std::string> &hints = hints_[name];
  candidates.insert(candidates.end(), hints.begin(), hints.end());
  const lint::Value present = attribute.value;
  const std::vector<Formula> known = assumptions;
  const auto assume = [&](const lint::Value &value) {
    const std::vector<Formula> tests = tests_with(attribute, value);
    assumptions = known;
    assumptions.insert(assumptions.end(), tests.begin(), tests.end());
  };
  std::map<std::string, Attribute> values = attributes_;
  std::set<std::vector<Formula>> tried;
  for (const lint::Value &candidate : candidates) {
    if (candidate == present) break;
    if (!tried.insert(tests_with(attribute, candidate)).second) continue;
    assume(candidate);
    if (check(assumptions) == Can::possible) {
      attribute.value = candidate;
      return;
    }
    for (auto &[other, known_value] : values)
      attributes_[other].value = known_value.value;
  }
  assume(present);
}

FoundInput Solver::Search::first_input(Formula formula) {
  std::vector<Formula> assumptions;
  if (formula != Formula::always()) assumptions.push_back(formula);
  for (auto &[name, attribute] : attributes_)
    prefer(name, attribute, assumptions);

  FoundInput found{.can = Can::possible};
  for (const auto &[name, attribute] : attributes_)
    found.input[name] = attribute.value;
  found.why = why_open();
  found.rests_on_open = !found.why.empty();
  return found;
}

std::vector<std::string> Solver::Search::why_open() const {
  std::vector<std::string> why;
  for (const uint32_t node : open_)
    why.push_back(tests_->test(node).why_open);
  return why;
}

FoundInput Solver::Search::find(Formula formula) {
  if (formula == Formula::never()) return {.can = Can::impossible};
  why_unknown_.clear();
  if (formulas_->too_many()) return {.can = Can::unknown, .why = {"the formulas take too much memory"}};
  if (!add(formula)) return {.can = Can::unknown, .why = {kTimeIsOver}};
  std::vector<Formula> assumptions;
  if (formula != Formula::always()) assumptions.push_back(formula);
  const Can can = check(assumptions);
  if (can == Can::possible) return first_input(formula);
  FoundInput found{.can = can};
  if (can == Can::unknown) found.why = {why_unknown_.begin(), why_unknown_.end()};
  return found;
}

}  // namespace simulator::prove
