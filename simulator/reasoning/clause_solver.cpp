#include "simulator/reasoning/clause_solver.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

#include <z3++.h>

#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::reasoning {

namespace {

// Behind all nodes of formulas.
constexpr uint32_t kFirstOfOurs = 1U << 28U;
static_assert(kFirstOfOurs > Formulas::kMostNodes);

}  // namespace

class ClauseSolver::Engine {
 public:
  explicit Engine(Effort &effort) : effort_(&effort), solver_(context_, "QF_FD") {
    // Z3 would compact each model through a hash table that it fills in the order of another, which takes minutes with a
    // million variables.
    z3::set_param("model.compact", false);
    // An interruption is the caller's affair.
    solver_.set("ctrl_c", false);
  }

  Formula new_variable() { return Formula::of_node(kFirstOfOurs + n_ours_++); }
  void add_clause(const std::vector<Formula> &literals);
  Can check(const std::vector<Formula> &assumptions);
  bool is_true(uint32_t node);
  std::vector<Formula> conflict();

 private:
  z3::expr variable(uint32_t node);
  z3::expr literal(Formula formula);
  z3::check_result work(const z3::expr_vector &assumed);

  Effort *effort_;
  z3::context context_{};
  z3::solver solver_;
  std::unordered_map<uint32_t, z3::expr> variables_{};
  std::unordered_map<unsigned, Formula> assumed_{};  // of the last question, by the numbers of Z3's expressions
  std::optional<z3::model> model_{};
  uint32_t n_ours_ = 0;
};

// Numbers as names: Z3 keeps every text that ever was a name.
z3::expr ClauseSolver::Engine::variable(uint32_t node) {
  const auto known = variables_.find(node);
  if (known != variables_.end()) return known->second;
  const z3::symbol name = context_.int_symbol(static_cast<int>(node));
  return variables_.emplace(node, context_.constant(name, context_.bool_sort())).first->second;
}

z3::expr ClauseSolver::Engine::literal(Formula formula) {
  const z3::expr positive = variable(formula.node());
  return formula.is_negated() ? !positive : positive;
}

void ClauseSolver::Engine::add_clause(const std::vector<Formula> &literals) {
  z3::expr_vector all(context_);
  for (const Formula part : literals)
    all.push_back(literal(part));
  solver_.add(z3::mk_or(all));
}

// What Z3 learns in one slice is still known in the next. A slice has to be long enough for Z3 to read new clauses.
z3::check_result ClauseSolver::Engine::work(const z3::expr_vector &assumed) {
  constexpr unsigned kShortestSlice = 100'000;  // less than a tenth of a second
  constexpr unsigned kOfVariable = 50;
  constexpr unsigned kLongestSlice = 1'600'000;
  constexpr unsigned kUnitsOfStep = 10;
  constexpr unsigned kStepsOfCheck = 50;
  constexpr unsigned kVariablesInStep = 20;  // each is read into Z3, and into the model if there is one
  const auto variables = static_cast<unsigned>(variables_.size());
  if (!effort_->take(kStepsOfCheck + variables / kVariablesInStep)) return z3::unknown;
  const unsigned of_variables = kOfVariable * variables;
  for (unsigned slice = kShortestSlice + of_variables;; slice = std::max(slice, std::min(slice * 2, kLongestSlice))) {
    interruption::check();
    solver_.set("rlimit", slice);
    const z3::check_result result = solver_.check(assumed);
    if (result != z3::unknown || !effort_->take(slice / kUnitsOfStep)) return result;
  }
}

Can ClauseSolver::Engine::check(const std::vector<Formula> &assumptions) {
  assumed_.clear();
  model_.reset();
  z3::expr_vector assumed(context_);
  for (const Formula assumption : assumptions) {
    const z3::expr expression = literal(assumption);
    if (assumed_.emplace(expression.id(), assumption).second) assumed.push_back(expression);
  }
  const z3::check_result result = work(assumed);
  if (result == z3::unknown) return Can::unknown;
  if (result == z3::unsat) return Can::impossible;
  model_.emplace(solver_.get_model());
  return Can::possible;
}

bool ClauseSolver::Engine::is_true(uint32_t node) {
  return model_->eval(variable(node), true).is_true();
}

std::vector<Formula> ClauseSolver::Engine::conflict() {
  std::vector<Formula> conflict;
  const z3::expr_vector core = solver_.unsat_core();
  for (const z3::expr assumption : core)
    conflict.push_back(assumed_.at(assumption.id()));
  return conflict;
}

// ---- Without Z3's types ---------------------------------------------------------------------------------------------------

namespace {

template <class Work>
auto without_z3(Work work) {
  try {
    return work();
  } catch (const z3::exception &failure) {
    throw ClauseSolver::GaveUp(concat("the solver gave up: ", failure.msg()));
  }
}

}  // namespace

ClauseSolver::ClauseSolver(Effort &effort) : engine_(without_z3([&] { return std::make_unique<Engine>(effort); })) {}

ClauseSolver::~ClauseSolver() = default;

Formula ClauseSolver::new_variable() {
  return engine_->new_variable();
}

void ClauseSolver::add_clause(const std::vector<Formula> &literals) {
  without_z3([&] { engine_->add_clause(literals); });
}

Can ClauseSolver::check(const std::vector<Formula> &assumptions) {
  return without_z3([&] { return engine_->check(assumptions); });
}

bool ClauseSolver::is_true(uint32_t node) const {
  return without_z3([&] { return engine_->is_true(node); });
}

std::vector<Formula> ClauseSolver::conflict() const {
  return without_z3([&] { return engine_->conflict(); });
}

}  // namespace simulator::reasoning
