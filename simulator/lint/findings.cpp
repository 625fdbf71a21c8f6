#include "simulator/lint/findings.h"

#include <array>
#include <utility>

#include "simulator/lint/checks.h"
#include "simulator/text/text.h"

namespace simulator::lint {

namespace {

constexpr std::array<std::pair<Kind, std::string_view>, 15> kKinds = {{
    {Kind::shadowed_rule, "shadowed-rule"},
    {Kind::impossible_class, "impossible-class"},
    {Kind::unused_class, "unused-class"},
    {Kind::unused_parameter_map, "unused-parameter-map"},
    {Kind::inactive_policy, "inactive-policy"},
    {Kind::unraised_event, "unraised-event"},
    {Kind::unreachable_statement, "unreachable-statement"},
    {Kind::raise_loop, "raise-loop"},
    {Kind::similar_attributes, "similar-attributes"},
    {Kind::ignored_denial, "ignored-denial"},
    {Kind::unreachable_action, "unreachable-action"},
    {Kind::overruled_decision, "overruled-decision"},
    {Kind::not_a_number, "not-a-number"},
    {Kind::unused_ignore, "unused-ignore"},
    {Kind::undecided, "undecided"},
}};

}  // namespace

const char *to_string(Kind kind) {
  for (const auto &[known, word] : kKinds) {
    if (known == kind) return word.data();
  }
  return "";
}

std::vector<std::string_view> kind_names() {
  std::vector<std::string_view> names;
  for (const auto &[kind, word] : kKinds)
    names.push_back(word);
  return names;
}

// ---- What the checks share ------------------------------------------------------------------------------------------------

const InputAnswer &Work::answer_for(const ClassMap &map) {
  const auto [known, is_new] = answers_.try_emplace(&map);
  if (is_new) known->second = prover_.find_input({prover_.claim(map)});
  return known->second;
}

std::string Work::why_undecided() const {
  if (effort_.over()) return "the effort was over";
  if (!prover_.why_given_up().empty()) return prover_.why_given_up();
  return "it depends on a regular expression that lint cannot follow or that is too large";
}

void Work::add_undecided(Position position, const std::string &what) {
  add({Kind::undecided, position, concat("whether ", what, " was not decided: ", why_undecided()), {}, {}});
}

Findings Work::take_findings() {
  Findings findings;
  findings.all = std::move(findings_);
  std::stable_sort(findings.all.begin(), findings.all.end(),
                   [](const Finding &a, const Finding &b) { return a.position < b.position; });
  findings.complete = std::none_of(findings.all.begin(), findings.all.end(),
                                   [](const Finding &finding) { return finding.kind == Kind::undecided; });
  if (stage_) findings.problems = stage_->finish();
  return findings;
}

Reason reason_for(const Rule &rule, const ClassMap &map) {
  return {rule.position,
          concat("rule ", rule.number, ", class-map ", map.name.value, " ", simulator::to_string(map.match))};
}

Findings find_all(const PolicyFile &file, const MayGoOn &may_go_on) {
  Work work(file, may_go_on);
  check_classes(work);
  check_rules(work);
  check_statements(work);
  check_actions(work);
  check_raises(work);
  check_attributes(work);
  check_use(work);
  return work.take_findings();
}

}  // namespace simulator::lint
