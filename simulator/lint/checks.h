// The checks of lint, each in a source of its own. findings.cpp runs them all.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/lint/findings.h"
#include "simulator/lint/prover.h"
#include "simulator/policy/model.h"
#include "simulator/reasoning/effort.h"
#include "simulator/reasoning/stage.h"

namespace simulator::lint {

using reasoning::holds;
using reasoning::matches;
using reasoning::Policies;
using reasoning::Stage;
using reasoning::times_run;
using reasoning::Value;
using reasoning::was_too_deep;

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
  std::string why_undecided() const;

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

// The earlier parts that together match everything that the later one matches.
template <class Part>
struct Takers {
  Can can = Can::possible;             // whether the later one matches anything that no earlier one does
  std::vector<const Part *> takers{};  // of 'impossible'; none: the later part never matches
};

// Names a single taker if there is one, else as few as were found. 'example' is an input of the later part.
template <class Part>
Takers<Part> takers_of(Prover &prover, const Part &later, const InputAnswer &example,
                       const std::vector<const Part *> &earlier) {
  std::vector<Formula> claims = {prover.claim(later)};
  for (const Part *part : earlier)
    claims.push_back(~prover.claim(*part));
  const Can can = prover.can_hold(claims);
  if (can != Can::impossible) return {can, {}};

  // A part that does not match one of these does not take everything.
  std::vector<Input> examples;
  if (example.can == Can::possible) examples.push_back(example.input);
  for (const Part *part : earlier) {
    const bool takes_all =
        std::all_of(examples.begin(), examples.end(), [&](const Input &input) { return matches(*part, input); });
    if (!takes_all) continue;
    InputAnswer missed = prover.find_some_input({claims[0], ~prover.claim(*part)});
    if (missed.can == Can::impossible) return {Can::impossible, {part}};
    if (missed.can == Can::possible) examples.push_back(std::move(missed.input));
  }
  const std::vector<Formula> conflict = prover.smallest(claims);
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
