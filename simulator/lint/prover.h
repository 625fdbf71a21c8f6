// Whether a target can have attributes with which some class-maps match and others do not.
//
// Class-maps and statements combine filters with and, or and not. Each filter is a literal of the solver, equal filters
// the same one; each class-map and each statement is a literal that is defined by those of its filters. What the
// literals of one attribute mean together is known from the values that it can have (see values.h), and attributes do
// not depend on each other. For each attribute that has literals, a value is kept that makes them true; a search for
// another is made only when a new literal contradicts it, and the solver prefers choices that it makes true already. So
// the attributes of a file do not multiply, and an answer about one attribute is found once for all questions.
#pragma once

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "simulator/lint/inputs.h"
#include "simulator/lint/solver.h"
#include "simulator/lint/values.h"

namespace simulator::lint {

struct InputAnswer {
  Can can = Can::unknown;
  Input input{};                // of 'possible': what the claims depend on; everything else can have any value
  std::vector<Lit> conflict{};  // of 'impossible': claims that cannot be true together
};

class Prover : private Theory {
 public:
  // 'file' must outlive the prover, and its maps must not move.
  Prover(const PolicyFile &file, Effort &effort);

  // The claim that a filter holds, that a class-map or a statement matches; ~ makes it the opposite.
  Lit claim(const Filter &filter);
  Lit claim(const ClassMap &map);
  Lit claim(const Statement &statement);

  // Whether an input makes all claims true.
  InputAnswer find_input(const std::vector<Lit> &claims);
  // The claims of a conflict that are needed for it.
  std::vector<Lit> smallest(std::vector<Lit> conflict);

 private:
  using AttributeNumber = size_t;
  static constexpr AttributeNumber kNoAttribute = SIZE_MAX;

  // What a variable of the solver stands for: a filter, a map, or a group where one filter has to hold.
  struct Meaning {
    AttributeNumber attribute = kNoAttribute;  // of a filter
    const Filter *filter = nullptr;
    const ClassMap *map = nullptr;
    const Statement *statement = nullptr;
    std::vector<Solver::ClauseId> goals_if_true{};
    std::vector<Solver::ClauseId> goals_if_false{};
    std::set<AttributeNumber> attributes{};
  };
  struct Attribute {
    std::string name;
    std::vector<std::string> hints;
    std::vector<Lit> assigned{};  // literals of its filters, in order
    size_t satisfied = 0;         // how many of these the value makes true
    Value value{};
    bool unknown = false;  // no value was found for the literals, nor that there is none
    bool changed = false;  // it is in changed_
  };

  void assigned(Lit literal) override;
  void undone(Lit literal) override;
  bool is_consistent(std::vector<Lit> &clause) override;
  bool is_certain() const override { return n_unknown_ == 0; }
  bool is_likely(Lit literal) const override;

  AttributeNumber attribute_number(const std::string &name);
  Lit add_meaning(Meaning meaning);
  Lit define_all(Meaning meaning, std::vector<Lit> parts);
  Lit define_any(Meaning meaning, std::vector<Lit> parts);
  void add_goals_of(Lit part, Meaning &meaning) const;
  bool find_value(Attribute &attribute, std::vector<Lit> &clause);
  void note_change(AttributeNumber number);
  bool is_true(Lit claim, const Input &input) const;
  Input input_of(const std::vector<Lit> &claims) const;

  Hints hints_;
  ValueSearch values_;
  Solver solver_;
  Effort *effort_;
  std::vector<Meaning> meanings_;  // by variable
  std::vector<Attribute> attributes_;
  std::map<std::string, AttributeNumber, std::less<>> attribute_numbers_;
  std::map<std::tuple<AttributeNumber, FilterKind, std::string, int64_t, int64_t>, Lit> tests_;
  std::map<const void *, Lit> maps_;  // of class-maps and statements
  std::vector<AttributeNumber> changed_;
  size_t n_unknown_ = 0;  // attributes
};

}  // namespace simulator::lint
