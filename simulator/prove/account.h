// What an event really did, as far as questions are about it: for checking witnesses.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/policy/model.h"
#include "simulator/reasoning/inputs.h"

namespace simulator::prove {

struct Account {
  engine::Verdict verdict = engine::Verdict::none;
  reasoning::Input after{};  // the attributes that are present
  std::vector<std::string> log{};
  bool failed = false;  // an action did, also of a raised event

  bool operator==(const Account &) const = default;
};

// 'before' are the attributes that the target had.
Account account_of(const EventExplanation &explanation, const reasoning::Input &before);

// Whether the rule's name, or that of its class-map, is this.
bool is_named(const RuleRun &run, const std::string &name);

// Whether the claim does not hold for what happened, if its conditions do.
bool contradicts(const Claim &claim, const EventExplanation &explanation, const reasoning::Input &before);
// What happened instead, a sentence for each part: "the verdict is permit".
std::vector<std::string> contradictions(const Claim &claim, const EventExplanation &explanation,
                                        const reasoning::Input &before);

// What differs: "the verdict: deny -> permit".
std::vector<std::string> differences(const Account &before, const Account &after);

}  // namespace simulator::prove
