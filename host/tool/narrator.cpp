#include "tool/narrator.h"

#include "platform/engine.h"
#include "platform/runtime.h"
#include "tool/policy/text.h"

namespace tool {

namespace {

std::string text_of_action(const zar_action &action) {
  char *text = zar_get_action_nvgen_str(action.handle, 0);
  std::string copy = text ? text : "?";
  bfree_named(text);
  return copy;
}

const char *name_of(engine::Verdict verdict) {
  switch (verdict) {
    case engine::Verdict::none:
      return "none";
    case engine::Verdict::permit:
      return "permit";
    case engine::Verdict::deny:
      return "deny";
  }
  return "";
}

}  // namespace

void Narrator::line(const std::string &text) {
  flush_action();
  *out_ << std::string(2 * indent_, ' ') << text << '\n';
}

void Narrator::flush_action() {
  if (action_line_.empty()) return;
  const std::string waiting = std::move(action_line_);
  action_line_.clear();
  // The indentation of the action itself; what is inside of it stands one deeper.
  *out_ << std::string(2 * (indent_ - 1), ' ') << waiting << '\n';
}

void Narrator::event_begins(const engine::Run &run) {
  if (run.depth() > 0) flush_action();
}

void Narrator::event_ends(const engine::Run &run, const engine::Outcome &outcome) {
  if (outcome.policies == 0) line("no active policy-map handles the event");
  if (run.depth() == 0 || outcome.verdict != engine::Verdict::none) {
    line(text_of("verdict: ", name_of(outcome.verdict)));
  }
}

void Narrator::nested_too_deep(const engine::Run &) {
  line("refused: nested too deep or too often");
}

void Narrator::policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) {
  policies_.push_back({tuple});
  if (!tuple) return;
  line(text_of("policy-map ", zar_get_pmap_name(pmap.handle), ", event ", zar_get_event_name(tuple->handle), " ",
               zar_get_event_class_match_criteria(tuple->handle)));
  ++indent_;
}

void Narrator::policy_ends(const zar_pmap &) {
  const Policy policy = policies_.back();
  policies_.pop_back();
  if (!policy.tuple) return;
  if (!policy.matched) line("no rule matched");
  --indent_;
}

void Narrator::rule_begins(const zar_class_action &rule, bool matches) {
  if (!matches) return;
  policies_.back().matched = true;
  line(text_of("rule ", unsigned{rule.class_num}, ", class-map ", zar_get_cmap_name(rule.cmap->handle), " ",
               zar_get_cmap_match_criteria(rule.cmap->handle)));
}

void Narrator::rule_cut_short(const zar_class_action &rule, const zar_action &) {
  line(text_of("  the rule ends here: ", zar_get_action_exec_criteria(rule.handle)));
}

void Narrator::action_begins(const zar_action &action) {
  flush_action();
  ++indent_;
  ++indent_;
  action_line_ = text_of(unsigned{action.action_num}, " ", text_of_action(action));
}

void Narrator::action_ends(const zar_action &, uint32_t result) {
  if (result == 0) {
    flush_action();
  } else if (!action_line_.empty()) {
    action_line_ += ": failed";
    flush_action();
  } else {
    line("failed");
  }
  --indent_;
  --indent_;
}

void Narrator::statement_evaluated(const zar_pmtr_map &map, const zar_pmtr_map_stmt &statement, bool matches) {
  if (!matches) return;
  line(text_of("parameter-map ", zar_get_pmtr_map_name(map.handle), ", statement ", statement.map_index));
}

void Narrator::attribute_changed(engine::AttributeId, const std::string *before, const std::string *after) {
  const std::string was = before ? as_word(*before) : "absent";
  // What a 'set' sets stands in the action itself.
  const bool says_it = !after || action_line_.ends_with(text_of(" ", as_word(*after)));
  action_line_ += text_of(" (was ", was, says_it ? "" : text_of(", now ", as_word(*after)), ")");
}

}  // namespace tool
