// Whether a target can have attributes with which some class-maps match and others do not.
//
// Class-maps and statements combine filters with and, or and not. A condition is a choice of alternatives, each a list
// of literals that all have to be true; the question is a list of conditions that all have to be true. The search takes
// an alternative of each condition in turn and drops a choice as soon as its literals make one attribute impossible. It
// answers 'impossible' only after every choice has failed this way, and 'possible' only with an input.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/lint/attribute_values.h"

namespace simulator::lint {

using Alternative = std::vector<Literal>;
using Condition = std::vector<Alternative>;

// That a class-map or a statement matches, and that it does not, each as conditions to add to others.
std::vector<Condition> that_matches(const ClassMap &map);
std::vector<Condition> that_does_not_match(const ClassMap &map);
std::vector<Condition> that_matches(const Statement &statement);
std::vector<Condition> that_does_not_match(const Statement &statement);

// Values of attributes by name; nothing: absent. Other attributes can have any value.
using Input = std::map<std::string, std::optional<std::string>>;

struct InputAnswer {
  Can can = Can::unknown;
  Input input{};  // of 'possible'
};

// Whether the class-map or the statement matches when attributes that are not in 'input' are absent.
bool matches(const ClassMap &map, const Input &input);
bool matches(const Statement &statement, const Input &input);

// Values that a file uses, by attribute: worth a try when nothing can be inferred.
using Hints = std::map<std::string, std::vector<std::string>, std::less<>>;

// Looks for inputs. A file may be hard on purpose, so the work of one search, and of all together, is limited; beyond
// the limit the answer is 'unknown'.
class Prover {
 public:
  explicit Prover(const PolicyFile &file);

  InputAnswer find_input(std::vector<Condition> conditions);

  // Whether a search was given up.
  bool gave_up() const { return gave_up_; }

 private:
  Hints hints_;
  size_t work_left_;
  bool gave_up_ = false;
};

}  // namespace simulator::lint
