// Events on targets: which rules match, and what their actions do.
//
// This is the path of every event. It walks the records in their current state, allocates nothing, and tests for the
// observer once in each step.
#include "engine/records.h"
#include "engine/walk.h"

namespace engine {

Observer *current_observer = nullptr;

void observe(Observer *observer) {
  current_observer = observer;
}

Outcome raise_event(uint32_t target, uint32_t event_id) {
  TargetState *state = state_of(target);
  if (!state) return {.status = kInvalidArgument};

  const auto *record = static_cast<const zar_target *>(zar_handle_get_context(target));
  unsigned nested_left = kMaxNested;
  return Run(*record, state->attributes, event_id, 0, nested_left).walk_policies();
}

// In steps: what one reads for a target, the one before has requested for all.
void prefetch(std::span<const uint32_t> targets) {
  std::array<const zar_target *, kMostPrefetched> records{};
  size_t count = 0;
  for (const uint32_t target : targets) {
    if (target != 0) records[count++] = static_cast<const zar_target *>(zar_handle_get_context(target));
  }
  const auto all = std::span(records).first(count);
  for (const zar_target *record : all) {
    __builtin_prefetch(&record->handle);
    __builtin_prefetch(&record->policy_context);
  }
  for (const zar_target *record : all) {
    __builtin_prefetch(record->policy_context);
    queue_cursor cursor{};
    __builtin_prefetch(queue_get_next(&record->active_pmaps, &cursor));
  }
  for (const zar_target *record : all) {
    const zar_target_policy_context *context = record->policy_context;
    if (context && context->ae_context) static_cast<const TargetState *>(context->ae_context)->attributes.prefetch();
  }
}

uint32_t Run::target() const {
  return target_->handle;
}

Outcome Run::walk_policies() {
  if (current_observer) current_observer->event_begins(*this);
  for (const zar_target_pmap &active : Records<zar_target_pmap>(target_->active_pmaps)) {
    if (active.pmap->domain_type == kControl && walk_events(*active.pmap)) ++outcome_.policies;
  }
  if (current_observer) current_observer->event_ends(*this, outcome_);
  return outcome_;
}

// Whether the policy-map handles the event.
bool Run::walk_events(const zar_pmap &pmap) {
  for (const zar_event_tuple &tuple : Records<zar_event_tuple>(pmap.rule_list)) {
    if (!tuple.event_context || tuple.event_context->event_id != event_id_) continue;

    // No policy-map has two tuples for one event.
    if (current_observer) current_observer->policy_begins(pmap, &tuple);
    walk_rules(tuple);
    if (current_observer) current_observer->policy_ends(pmap);
    return true;
  }
  if (current_observer) current_observer->policy_begins(pmap, nullptr);
  if (current_observer) current_observer->policy_ends(pmap);
  return false;
}

void Run::walk_rules(const zar_event_tuple &tuple) {
  const bool first_only = tuple.match_criteria == kEventMatchFirst;
  for (const zar_class_action &rule : Records<zar_class_action>(tuple.class_actions)) {
    const bool matches = rule.cmap && class_matches(*rule.cmap);
    if (current_observer) current_observer->rule_begins(rule, matches);
    if (!matches) continue;

    ++outcome_.rules;
    run_rule(rule);
    if (first_only) return;
  }
}

// match-all looks for a filter that does not match, the other two for one that matches; the criteria determine what it
// means to find one or none. The filter that decides the outcome is the one found, or else the last.
bool Run::class_matches(const zar_cmap &cmap) {
  const bool sought = cmap.match_criteria != kClassMatchAll;
  const bool matches_when_found = cmap.match_criteria == kClassMatchAny;

  zar_filter *decided_by = nullptr;
  bool found = false;
  for (zar_filter &filter : Records<zar_filter>(cmap.filters)) {
    decided_by = &filter;
    found = filter_holds(filter) == sought;
    if (found) break;
  }
  if (decided_by) ++decided_by->comp_count;

  const bool matches = found == matches_when_found;
  if (current_observer) current_observer->class_evaluated(cmap, matches, decided_by);
  return matches;
}

bool Run::filter_holds(zar_filter &filter) {
  const bool matches = filter.filter_eval_fn(filter.filter_data, this) != 0;
  const bool holds = matches != (filter.no_match != 0);
  ++filter.exec_count;
  ++(holds ? filter.hit_count : filter.miss_count);
  if (current_observer) current_observer->filter_evaluated(filter, holds);
  return holds;
}

void Run::run_rule(const zar_class_action &rule) {
  const Records<zar_action> actions(rule.actions);
  for (auto at = actions.begin(); at != actions.end();) {
    zar_action &action = *at;
    ++at;
    const bool succeeded = run_action(action) == 0;
    const bool stop = succeeded ? rule.exec_criteria == kStopOnSuccess : rule.exec_criteria == kStopOnFailure;
    if (!stop) continue;
    if (current_observer && at != actions.end()) current_observer->rule_cut_short(rule, action);
    return;
  }
}

uint32_t Run::run_action(zar_action &action) {
  if (current_observer) current_observer->action_begins(action);
  const uint32_t result = action.action_entry_fn(action.action_data, this);
  ++action.executed_count;
  ++outcome_.actions;
  if (result != 0) ++outcome_.failures;
  if (current_observer) current_observer->action_ends(action, result);
  return result;
}

std::optional<Outcome> Run::raise(uint32_t event_id) {
  if (depth_ + 1 >= kMaxDepth || !take_nested()) {
    if (current_observer) current_observer->nested_too_deep(*this);
    return std::nullopt;
  }
  return Run(*target_, *attributes_, event_id, depth_ + 1, *nested_left_).walk_policies();
}

// With a limit on depth alone, two raises in every rule could still double the work at each level.
bool Run::take_nested() {
  if (*nested_left_ == 0) return false;
  --*nested_left_;
  return true;
}

void Run::decide(Verdict verdict) {
  outcome_.verdict = verdict;
  if (current_observer) current_observer->decided(verdict);
}

void Run::log(std::string_view text) {
  if (current_observer) current_observer->logged(text);
}

// Only an observer needs the text before the change, so only with one is it copied.
template <class Change>
void Run::change_attribute(AttributeId attribute, Change change) {
  if (!current_observer) return change();

  const Attribute *found = attributes_->find(attribute);
  const std::optional<std::string> before = found ? std::optional(found->text) : std::nullopt;
  change();
  const Attribute *after = attributes_->find(attribute);
  current_observer->attribute_changed(attribute, before ? &*before : nullptr, after ? &after->text : nullptr);
}

void Run::set_attribute(AttributeId attribute, std::string_view text) {
  change_attribute(attribute, [&] { attributes_->set(attribute, text); });
}

void Run::set_attribute(AttributeId attribute, const Value &value) {
  change_attribute(attribute, [&] { attributes_->set(attribute, value); });
}

void Run::count_attribute(AttributeId attribute) {
  change_attribute(attribute, [&] { attributes_->count(attribute); });
}

bool Run::clear_attribute(AttributeId attribute) {
  if (!attributes_->find(attribute)) return false;
  change_attribute(attribute, [&] { attributes_->clear(attribute); });
  return true;
}

}  // namespace engine
