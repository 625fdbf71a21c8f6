#include "simulator/explanation/verdicts.h"

#include <algorithm>

#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/words.h"
#include "simulator/text/text.h"
#include "simulator/text/wrap.h"

namespace simulator {

namespace {

// The action that decides is not a part of it.
std::string reason_of(const EventExplanation &explanation) {
  if (const Refusals refused = refusals(explanation); refused.first) return "error: " + limit_text(refused);
  if (explanation.outcome.verdict != engine::Verdict::none) return {};
  if (explanation.outcome.policies == 0) return "no active policy-map handles the event";
  return explanation.any_matched() ? "no rule that ran decides" : "no rule matches";
}

// The action in the file that decides, NULL if none does.
const Action *decisive_action(const EventExplanation &explanation) {
  const std::optional<Decision> decided = decision(explanation);
  return decided ? decided->action->action : nullptr;
}

std::string decision_text(const PolicyFile &file, const EventExplanation &explanation) {
  const std::optional<Decision> decided = decision(explanation);
  if (!decided) return {};
  const Position position = decided->action->action->position;
  const RuleRun &run = decided->rule;
  return concat(rule_name(*run.policy, *run.event, *run.rule->rule), ", class-map ", run.rule->class_map->name.value,
                " (", file.path_of(position), ":", position.line, ")");
}

std::string count_text(size_t count) {
  return concat(count, count == 1 ? " target" : " targets");
}

// Nobody reads thousands of names; the JSON has them all.
std::string targets_text(const std::vector<std::string> &targets) {
  constexpr size_t kMostShown = 10;
  const size_t shown = std::min(kMostShown, targets.size());
  const std::vector<std::string> front(targets.begin(), targets.begin() + static_cast<std::ptrdiff_t>(shown));
  const std::string rest = shown == targets.size() ? "" : concat(" and ", targets.size() - shown, " more");
  return concat(count_text(targets.size()), ": ", listed(front), rest);
}

std::string group_text(const VerdictGroup &group, const PolicyFile &file, Colours colours, size_t width) {
  constexpr size_t kIndent = 8;
  const engine::Verdict verdict = group.first.outcome.verdict;
  const std::string gap(kIndent - std::string_view(to_string(verdict)).size(), ' ');
  const std::string decided = decision_text(file, group.first);
  const char *comma = decided.empty() || group.reason.empty() ? "" : ", ";
  const std::string head = concat(verdict_text(verdict, colours), gap, decided, comma, group.reason);
  const std::string targets = concat(std::string(kIndent, ' '), targets_text(group.targets));
  return concat(wrapped(head, width, kIndent + 2), "\n", wrapped(targets, width, kIndent + 2), "\n");
}

Json group_json(const VerdictGroup &group) {
  Json object;
  object["verdict"] = to_string(group.first.outcome.verdict);
  object["decided_by"] = decided_by_json(group.first);
  object["reason"] = group.reason.empty() ? Json(nullptr) : Json(group.reason);
  object["targets"] = group.targets;
  return object;
}

}  // namespace

void Verdicts::add(std::string target, EventExplanation explanation) {
  std::string reason = reason_of(explanation);
  const Action *decisive = decisive_action(explanation);
  auto group = std::find_if(groups_.begin(), groups_.end(), [&](const VerdictGroup &known) {
    return known.reason == reason && decisive_action(known.first) == decisive;
  });
  if (group == groups_.end())
    group = groups_.insert(group, VerdictGroup{std::move(explanation), std::move(reason), {}});
  group->targets.push_back(std::move(target));
}

size_t Verdicts::targets() const {
  size_t count = 0;
  for (const VerdictGroup &group : groups_)
    count += group.targets.size();
  return count;
}

bool Verdicts::any_stopped() const {
  return std::any_of(groups_.begin(), groups_.end(),
                     [](const VerdictGroup &group) { return refusals(group.first).first != nullptr; });
}

std::string verdicts_text(const Verdicts &verdicts, const PolicyFile &file, const std::string &event, Colours colours,
                          size_t width) {
  std::string text = wrapped(concat(event, " at ", count_text(verdicts.targets())), width, 2) + "\n";
  for (const VerdictGroup &group : verdicts.groups())
    text += group_text(group, file, colours, width);
  return text;
}

Json verdicts_json(const Verdicts &verdicts, const PolicyFile &file, const Step &step) {
  Json object;
  object["file"] = file.path;
  object["event"] = step.event.value;
  object["given"] = given_json(step);
  object["targets"] = verdicts.targets();
  object["groups"] = Json::array();
  for (const VerdictGroup &group : verdicts.groups())
    object["groups"].push_back(group_json(group));
  return object;
}

}  // namespace simulator
