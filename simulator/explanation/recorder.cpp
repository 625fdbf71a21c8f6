#include "simulator/explanation/recorder.h"

#include <algorithm>

#include "engine/walk.h"
#include "simulator/repository/filters.h"
#include "simulator/repository/run_step.h"

namespace simulator {

namespace {

const EventRules *find_event(const PolicyMap &policy, std::string_view name) {
  const auto found = std::find_if(policy.events.begin(), policy.events.end(),
                                  [&](const EventRules &event) { return event.event.value == name; });
  return found == policy.events.end() ? nullptr : &*found;
}

const Rule *find_rule(const EventRules &event, uint32_t number) {
  const auto found =
      std::find_if(event.rules.begin(), event.rules.end(), [&](const Rule &rule) { return rule.number == number; });
  return found == event.rules.end() ? nullptr : &*found;
}

const Statement *find_statement(const ParameterMap &map, uint32_t index) {
  const auto found = std::lower_bound(map.statements.begin(), map.statements.end(), index,
                                      [](const Statement &statement, uint32_t at) { return statement.index < at; });
  return found == map.statements.end() ? nullptr : &*found;
}

// A record keeps a copy of its filter. The original in the file has the same position, and the same index unless the
// library reordered the filters of a class-map.
const Filter *find_filter(const ClassMap &map, size_t index, const Filter &copy) {
  const auto is_it = [&](const Filter &filter) { return filter.position == copy.position; };
  if (index < map.filters.size() && is_it(map.filters[index])) return &map.filters[index];
  return &*std::find_if(map.filters.begin(), map.filters.end(), is_it);
}

const Action *find_action(const std::vector<Action> &actions, uint32_t number) {
  return &*std::find_if(actions.begin(), actions.end(), [&](const Action &action) { return action.number == number; });
}

std::optional<std::string> copy_of(const std::string *text) {
  return text ? std::optional(*text) : std::nullopt;
}

}  // namespace

Recorder::Recorder(const PolicyFile &file) : file_(&file) {
  engine::observe(this);
}

Recorder::~Recorder() {
  engine::observe(nullptr);
}

EventExplanation Recorder::raise(const Repository &repository, const Step &step) {
  root_ = {};
  const engine::Outcome outcome = run_step(*file_, repository, step);
  root_.event = step.event.value;
  root_.outcome = outcome;
  return std::move(root_);
}

void Recorder::event_begins(const engine::Run &run) {
  EventExplanation *explanation = &root_;
  if (run.depth() > 0) {
    action().raised = std::make_unique<EventExplanation>();
    explanation = action().raised.get();
  }
  explanation->event = file_->events[run.event_id() - 1];
  frames_.push_back({explanation, &run, {}});
}

void Recorder::event_ends(const engine::Run &, const engine::Outcome &outcome) {
  frames_.back().explanation->outcome = outcome;
  frames_.pop_back();
}

// The engine checks the depth first, so a request that was not too deep was one too many.
void Recorder::nested_too_deep(const engine::Run &run) {
  ActionExplanation &refused = action();
  refused.refused = true;
  const size_t maps_under_way = frames_.back().actions_under_way.size() - 1;
  const size_t depth = refused.applied ? maps_under_way : size_t{run.depth()} + 1;
  refused.too_deep = depth >= engine::kMaxDepth;
}

void Recorder::policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) {
  const PolicyMap *policy = file_->find_policy_map(zar_get_pmap_name(pmap.handle));
  const EventRules *event = tuple ? find_event(*policy, zar_get_event_name(tuple->handle)) : nullptr;
  frames_.back().explanation->policies.push_back({policy, event, {}});
}

FilterExplanation Recorder::ask(const Filter &filter) const {
  const engine::Run &run = *frames_.back().run;
  const engine::Attribute *value = run.attribute(engine::register_attribute(filter.attribute.value));
  return {&filter, true, client::holds(filter, value), value ? std::optional(value->text) : std::nullopt};
}

void Recorder::filter_evaluated(const zar_filter &filter, bool holds) {
  filters_.push_back(ask(client::filter_of(filter)));
  filters_.back().holds = holds;
}

// Evaluates the filters that were skipped, so that the explanation can show how many were missing.
void Recorder::class_evaluated(const zar_cmap &cmap, bool, const zar_filter *) {
  size_t at = 0;
  for (const zar_filter &filter : engine::Records<zar_filter>(cmap.filters)) {
    if (at++ < filters_.size()) continue;
    filters_.push_back(ask(client::filter_of(filter)));
    filters_.back().asked = false;
  }
  const ClassMap &map = *file_->find_class_map(zar_get_cmap_name(cmap.handle));
  for (size_t index = 0; index < filters_.size(); ++index)
    filters_[index].filter = find_filter(map, index, *filters_[index].filter);
}

void Recorder::rule_begins(const zar_class_action &rule, bool matches) {
  PolicyExplanation &of = policy();
  const ClassMap *class_map = file_->find_class_map(zar_get_cmap_name(rule.cmap->handle));
  of.rules.push_back({find_rule(*of.event, rule.class_num), class_map, matches, std::move(filters_), {}});
  filters_.clear();
}

void Recorder::rule_cut_short(const zar_class_action &, const zar_action &) {
  rule().cut_short = true;
}

// The list for the next action of this event: in the parameter-map that an action applies, or else in the rule.
std::vector<ActionExplanation> &Recorder::actions() {
  if (frames_.back().actions_under_way.empty()) return rule().actions;
  return action().applied->actions;
}

// The actions in the file that include the next one.
const std::vector<Action> &Recorder::actions_of_file() {
  if (frames_.back().actions_under_way.empty()) return rule().rule->actions;
  return action().applied->statements.back().statement->actions;
}

void Recorder::action_begins(const zar_action &record) {
  const std::vector<Action> &among = actions_of_file();
  ActionExplanation &begun = actions().emplace_back();
  begun.action = find_action(among, record.action_num);
  if (begun.action->kind == ActionKind::apply) {
    begun.applied = std::make_unique<ParameterMapExplanation>();
    begun.applied->map = file_->find_parameter_map(begun.action->subject.value);
  }
  frames_.back().actions_under_way.push_back(&begun);
}

void Recorder::action_ends(const zar_action &, uint32_t result) {
  action().failed = result != 0;
  frames_.back().actions_under_way.pop_back();
}

void Recorder::statement_evaluated(const zar_pmtr_map &, const zar_pmtr_map_stmt &record, bool matches) {
  ParameterMapExplanation &applied = *action().applied;
  StatementExplanation &asked = applied.statements.emplace_back();
  asked.statement = find_statement(*applied.map, record.map_index);
  asked.matched = matches;
  for (const Filter &filter : asked.statement->filters)
    asked.filters.push_back(ask(filter));
}

void Recorder::attribute_changed(engine::AttributeId attribute, const std::string *before, const std::string *after) {
  action().changes.push_back({engine::attribute_name(attribute), copy_of(before), copy_of(after)});
}

void Recorder::decided(engine::Verdict verdict) {
  action().decided = verdict;
}

}  // namespace simulator
