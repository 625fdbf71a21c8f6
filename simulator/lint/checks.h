// The checks of lint, each in a source of its own. findings.cpp runs them all.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/lint/effort.h"
#include "simulator/lint/findings.h"
#include "simulator/lint/prover.h"
#include "simulator/lint/stage.h"
#include "simulator/policy/model.h"

namespace simulator::lint {

// What the checks share.
class Work {
 public:
  Work(const PolicyFile &file, const MayGoOn &may_go_on) : file_(&file), effort_(may_go_on), prover_(file, effort_) {}

  const PolicyFile &file() const { return *file_; }
  Prover &prover() { return prover_; }
  Stage &stage() {
    if (!stage_) stage_ = std::make_unique<Stage>(*file_);
    return *stage_;
  }
  void begin_question() { effort_.begin_question(); }
  bool may_go_on() { return effort_.step(); }

  // Whether the class-map can match, with an example.
  const InputAnswer &answer_for(const ClassMap &map);
  bool is_impossible(const ClassMap &map) { return answer_for(map).can == Can::impossible; }

  void add(Finding finding) { findings_.push_back(std::move(finding)); }
  // Adds that "whether WHAT" was not decided.
  void add_undecided(Position position, const std::string &what);
  const char *why_undecided() const;

  Findings take_findings();

 private:
  const PolicyFile *file_;
  Effort effort_;
  Prover prover_;
  std::unique_ptr<Stage> stage_;  // made when something has to be played
  std::map<const ClassMap *, InputAnswer> answers_;
  std::vector<Finding> findings_;
};

void check_classes(Work &work);
void check_rules(Work &work);
void check_statements(Work &work);
void check_actions(Work &work);
void check_raises(Work &work);
void check_attributes(Work &work);
void check_use(Work &work);

// ---- Parts that several checks need ---------------------------------------------------------------------------------------

// The rules of an event, and the actions of a rule or a statement, in the order in which they run.
std::vector<const Rule *> in_order(const std::vector<Rule> &rules);
std::vector<const Action *> in_order(const std::vector<Action> &actions);

// The earlier parts that together match everything that the later one matches.
template <class Part>
struct Takers {
  Can can = Can::possible;             // whether the later one matches anything that no earlier one does
  std::vector<const Part *> takers{};  // of 'impossible'; none: the later part never matches
  Input input{};                       // of 'possible'
};

// Names a single taker if there is one, else as few as were found.
template <class Part>
Takers<Part> takers_of(Prover &prover, const Part &later, const std::vector<const Part *> &earlier) {
  std::vector<Lit> claims = {prover.claim(later)};
  for (const Part *part : earlier)
    claims.push_back(~prover.claim(*part));
  InputAnswer answer = prover.find_input(claims);
  if (answer.can != Can::impossible) return {answer.can, {}, std::move(answer.input)};

  for (const Part *part : earlier) {
    if (prover.find_input({claims[0], ~prover.claim(*part)}).can == Can::impossible)
      return {Can::impossible, {part}, {}};
  }
  std::vector<Lit> conflict = std::move(answer.conflict);
  std::sort(conflict.begin(), conflict.end());
  conflict = prover.smallest(std::move(conflict));
  Takers<Part> found{.can = Can::impossible};
  for (const Part *part : earlier) {
    if (std::find(conflict.begin(), conflict.end(), ~prover.claim(*part)) != conflict.end())
      found.takers.push_back(part);
  }
  return found;
}

// The filters of a class-map that contradict each other, as reasons why it never matches.
std::vector<Reason> contradiction_in(Prover &prover, const ClassMap &map);

// "rule NUMBER, class-map NAME match-all".
Reason reason_for(const Rule &rule, const ClassMap &map);

}  // namespace simulator::lint
