// Whether a rule is ever reached: attributes that reach it, or the earlier rules that take everything.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/lint/findings.h"
#include "simulator/policy/model.h"
#include "simulator/text/json.h"

namespace simulator::lint {

// A rule with its event and policy-map.
struct RuleOf {
  const PolicyMap *policy = nullptr;
  const EventRules *event = nullptr;
  const Rule *rule = nullptr;
};

// The rule that is named POLICY/EVENT/NUMBER. Nothing when the file has no such rule; 'complaints' then says so.
std::optional<RuleOf> parse_rule(std::string_view name, const PolicyFile &file, Complaints &complaints);

enum class Answer : uint8_t { reached, never, undecided };

struct Reach {
  Answer answer = Answer::undecided;
  Input input{};                        // of 'reached': attributes with which the rule runs
  std::vector<std::string> policies{};  // of 'reached': active together where that was played
  std::string why{};                    // of 'never' and 'undecided'
  std::vector<Reason> because{};        // of 'never': the rules that take it all, or the filters that contradict
  Complaints problems{};                // what should never happen: of the repository on which the answer was played
};

// Nothing is said about whether and where the event is raised: the question is what it does then. Every answer
// 'reached' was played on a repository.
Reach reach(const PolicyFile &file, const RuleOf &rule, const MayGoOn &may_go_on);

std::string text_of_reach(const PolicyFile &file, const RuleOf &rule, const Reach &reach);
Json json_of_reach(const PolicyFile &file, const RuleOf &rule, const Reach &reach);

}  // namespace simulator::lint
