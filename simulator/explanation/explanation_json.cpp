#include "simulator/explanation/explanation_json.h"

#include "simulator/explanation/nearest.h"
#include "simulator/explanation/words.h"
#include "simulator/policy/position_json.h"

namespace simulator {

namespace {

Json list() {
  return Json::array();
}

template <class Each, class Elements>
Json list_of(const Elements &elements, Each each) {
  Json all = list();
  for (const auto &element : elements)
    all.push_back(each(element));
  return all;
}

Json filter_json(const FilterExplanation &filter) {
  Json object;
  object["filter"] = filter_text(*filter.filter);
  object["attribute"] = filter.filter->attribute.value;
  object["value"] = text_or_null(filter.value);
  object["asked"] = filter.asked;
  object["holds"] = filter.holds;
  add_position(object, filter.filter->position);
  return object;
}

Json rule_run_json(const RuleRun &run) {
  Json object;
  object["rule"] = rule_name(*run.policy, *run.event, *run.rule->rule);
  object["class_map"] = run.rule->class_map->name.value;
  add_position(object, run.rule->rule->position);
  return object;
}

Json missing_json(const Shortfall &shortfall) {
  Json object;
  object["missing"] = shortfall.first ? Json(shortfall.missing) : Json(nullptr);
  object["first"] = shortfall.first ? filter_json(*shortfall.first) : Json(nullptr);
  return object;
}

Json nearest_json(const std::optional<NearestRule> &nearest) {
  if (!nearest) return nullptr;
  Json object = rule_run_json({nearest->policy->policy, nearest->policy->event, nearest->rule});
  object.update(missing_json(nearest->shortfall));
  return object;
}

Json nearest_json(const std::optional<NearestStatement> &nearest) {
  if (!nearest) return nullptr;
  Json object;
  object["index"] = nearest->statement->statement->index;
  add_position(object, nearest->statement->statement->position);
  object.update(missing_json(nearest->shortfall));
  return object;
}

class Builder {
 public:
  explicit Builder(Level level) : level_(level) {}

  Json event(const EventExplanation &explanation) const {
    Json object;
    object["event"] = explanation.event;
    object["verdict"] = to_string(explanation.outcome.verdict);
    object["policies"] = list_of(explanation.policies, [&](const PolicyExplanation &active) { return policy(active); });
    return object;
  }

 private:
  Json policy(const PolicyExplanation &policy) const {
    Json object;
    object["policy_map"] = policy.policy->name.value;
    object["handles_event"] = policy.event != nullptr;
    add_position(object, policy.event ? policy.event->event.position : policy.policy->name.position);
    if (!policy.event) return object;
    object["match"] = to_string(policy.event->match);
    object["rules"] = list_of(policy.rules, [&](const RuleExplanation &tried) { return rule(tried); });
    if (!policy.any_matched()) object["nearest"] = nearest_json(nearest_rule(policy));
    return object;
  }

  Json rule(const RuleExplanation &rule) const {
    Json object;
    object["number"] = rule.rule->number;
    object["class_map"] = rule.class_map->name.value;
    object["match"] = to_string(rule.class_map->match);
    object["matched"] = rule.matched;
    add_position(object, rule.rule->position);
    add_filters(object, rule.filters);
    object["actions"] = list_of(rule.actions, [&](const ActionExplanation &ran) { return action(ran); });
    object["cut_short"] = rule.cut_short && rule.actions.size() < rule.rule->actions.size();
    return object;
  }

  Json action(const ActionExplanation &action) const {
    Json object;
    object["number"] = action.action->number;
    object["action"] = to_string(*action.action);
    object["failed"] = action.failed;
    object["refused"] = action.refused;
    add_position(object, action.action->position);
    object["changes"] = list_of(action.changes, change_json);
    if (action.raised) object["raised"] = event(*action.raised);
    if (action.applied && !action.refused) object["applied"] = map(*action.applied);
    return object;
  }

  Json map(const ParameterMapExplanation &map) const {
    Json object;
    object["parameter_map"] = map.map->name.value;
    object["statements"] = list_of(map.statements, [&](const StatementExplanation &asked) { return statement(asked); });
    object["actions"] = list_of(map.actions, [&](const ActionExplanation &ran) { return action(ran); });
    if (!map.matched()) object["nearest"] = nearest_json(nearest_statement(map));
    return object;
  }

  Json statement(const StatementExplanation &statement) const {
    Json object;
    object["index"] = statement.statement->index;
    object["matched"] = statement.matched;
    add_position(object, statement.statement->position);
    add_filters(object, statement.filters);
    return object;
  }

  void add_filters(Json &object, const std::vector<FilterExplanation> &filters) const {
    if (level_ == Level::filters) object["filters"] = list_of(filters, filter_json);
  }

  Level level_;
};

const char *name_of(Level level) {
  switch (level) {
    case Level::decision:
      return "decision";
    case Level::rules:
      return "rules";
    case Level::filters:
      return "filters";
  }
  return "";
}

Json limit_json(const Refusals &refusals) {
  Json object;
  object["message"] = limit_text(refusals);
  object["refused"] = refusals.count;
  add_position(object, refusals.first->action->position);
  return object;
}

Json counts_json(const engine::Outcome &outcome) {
  Json object;
  object["policies"] = outcome.policies;
  object["rules"] = outcome.rules;
  object["actions"] = outcome.actions;
  object["failures"] = outcome.failures;
  return object;
}

Json attributes_json(uint32_t target) {
  Json object = Json::object();
  const engine::Attributes *attributes = engine::attributes_of(target);
  if (!attributes) return object;
  for (const engine::AttributeId attribute : attributes->present())
    object[engine::attribute_name(attribute)] = attributes->find(attribute)->text;
  return object;
}

}  // namespace

Json given_json(const Step &step) {
  Json object;
  object["clear"] = list_of(step.clear, [](const Name &attribute) { return attribute.value; });
  object["set"] = Json::object();
  for (const Assignment &set : step.set)
    object["set"][set.attribute.value] = set.text;
  return object;
}

Json decided_by_json(const EventExplanation &explanation) {
  const std::optional<Decision> decided = decision(explanation);
  if (!decided) return nullptr;
  Json object = rule_run_json(decided->rule);
  Json action;
  action["number"] = decided->action->action->number;
  action["action"] = to_string(*decided->action->action);
  add_position(action, decided->action->action->position);
  object["action"] = std::move(action);
  return object;
}

void add_error(Json &object, const EventExplanation &explanation) {
  const Refusals refused = refusals(explanation);
  if (refused.first) object["error"] = limit_json(refused);
}

Json change_json(const Change &change) {
  Json object;
  object["attribute"] = change.attribute;
  object["before"] = text_or_null(change.before);
  object["after"] = text_or_null(change.after);
  return object;
}

Json explanation_json(const EventExplanation &explanation, const PolicyFile &file, const Step &step, Level level) {
  Json object;
  object["file"] = file.path;
  object["event"] = explanation.event;
  object["target"] = step.target.value;
  object["given"] = given_json(step);
  object["level"] = name_of(level);
  object["verdict"] = to_string(explanation.outcome.verdict);
  object["decided_by"] = decided_by_json(explanation);
  object["rules_run"] = list_of(rules_run(explanation), rule_run_json);
  object["changes"] = list_of(net_changes(explanation), change_json);
  object["log"] = logs(explanation);
  add_error(object, explanation);
  if (!explanation.any_matched()) object["nearest"] = nearest_json(nearest_rule(explanation));
  if (level != Level::decision) object["policies"] = Builder(level).event(explanation)["policies"];
  return object;
}

Json event_json(size_t number, const EventExplanation &explanation, const PolicyFile &file, const Step &step,
                const Repository &repository) {
  Json event;
  event["number"] = number;
  add_position_or_null(event, step.position);
  event["counts"] = counts_json(explanation.outcome);
  event["attributes"] = attributes_json(repository.target_handle(step.target.value));
  event["explanation"] = explanation_json(explanation, file, step, Level::decision);
  return event;
}

}  // namespace simulator
