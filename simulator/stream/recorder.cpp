#include "simulator/stream/recorder.h"

#include <algorithm>

#include "simulator/repository/actions.h"

namespace simulator::stream {

Recorder::Recorder(Rules &rules) : rules_(&rules) {
  engine::observe(this);
}

Recorder::~Recorder() {
  engine::observe(nullptr);
}

const Happened &Recorder::raise(uint32_t target, uint32_t event_id) {
  happened_.decision.reset();
  happened_.log.clear();
  happened_.rules.clear();
  happened_.refused = {};
  changed_ = 0;
  happened_.outcome = engine::raise_event(target, event_id);
  happened_.changes = std::span(changes_).first(changed_);
  return happened_;
}

void Recorder::event_begins(const engine::Run &) {
  frames_.push_back({.actions_before = actions_.size()});
}

void Recorder::event_ends(const engine::Run &, const engine::Outcome &) {
  frames_.pop_back();
}

// The engine checks the depth first, so a request that was not too deep was one too many.
void Recorder::nested_too_deep(const engine::Run &run) {
  if (++happened_.refused.count > 1) return;
  const Action &action = client::action_of(*actions_.back());
  const size_t maps_under_way = actions_.size() - frames_.back().actions_before - 1;
  const size_t depth = action.kind == ActionKind::apply ? maps_under_way : size_t{run.depth()} + 1;
  happened_.refused.first = &action;
  happened_.refused.too_deep = depth >= engine::kMaxDepth;
}

void Recorder::policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) {
  frames_.back().pmap = &pmap;
  frames_.back().tuple = tuple;
}

void Recorder::rule_begins(const zar_class_action &rule, bool matches) {
  if (!matches) return;
  Frame &frame = frames_.back();
  frame.rule = rules_->number_of(*frame.pmap, *frame.tuple, rule);
  happened_.rules.push_back(frame.rule);
}

void Recorder::action_begins(const zar_action &action) {
  actions_.push_back(&action);
}

void Recorder::action_ends(const zar_action &, uint32_t) {
  actions_.pop_back();
}

Change &Recorder::change_of(engine::AttributeId attribute, const std::string *before) {
  const auto end = changes_.begin() + static_cast<std::ptrdiff_t>(changed_);
  const auto known =
      std::find_if(changes_.begin(), end, [&](const Change &change) { return change.attribute == attribute; });
  if (known != end) return *known;
  if (changed_ == changes_.size()) changes_.emplace_back();
  Change &fresh = changes_[changed_++];
  fresh.attribute = attribute;
  fresh.was_present = before != nullptr;
  if (before) fresh.before = *before;
  return fresh;
}

void Recorder::attribute_changed(engine::AttributeId attribute, const std::string *before, const std::string *after) {
  Change &change = change_of(attribute, before);
  change.is_present = after != nullptr;
  if (after) change.after = *after;
}

// A raised event has a verdict of its own, which does not decide the event that raised it.
void Recorder::decided(engine::Verdict) {
  if (frames_.size() > 1) return;
  happened_.decision = {frames_.back().rule, &client::action_of(*actions_.back())};
}

// The text belongs to the action.
void Recorder::logged(std::string_view text) {
  happened_.log.push_back(text);
}

}  // namespace simulator::stream
