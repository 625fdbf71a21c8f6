#include "simulator/explanation/outline.h"

#include <algorithm>

#include "simulator/explanation/words.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

class OutlineWriter {
 public:
  OutlineWriter(const PolicyFile &file, Colours colours) : file_(&file), colours_(colours) {}

  std::string run(const EventExplanation &explanation) {
    if (explanation.outcome.status != 0) return {};
    refusals_ = refusals(explanation);
    event(explanation, 1);
    const size_t left_out = refusals_.led_on - std::min(shown_, refusals_.led_on);
    if (left_out > 0) line(1, concat("and ", left_out, " more events and parameter-maps"));
    line(1, concat("verdict: ", verdict_text(explanation.outcome.verdict, colours_)));
    if (refusals_.first) line(1, limit_line());
    return std::move(text_);
  }

 private:
  std::string limit_line() const {
    const Position position = refusals_.first->action->position;
    return concat(painted(colours_, Tone::bad, "error: "), file_->path_of(position), ":", position.line, ": ",
                  limit_text(refusals_));
  }

  void line(size_t indent, const std::string &text) { text_ += concat(std::string(2 * indent, ' '), text, "\n"); }

  void event(const EventExplanation &explanation, size_t indent) {
    for (const PolicyExplanation &active : explanation.policies) {
      if (active.event) policy(active, indent);
    }
    if (explanation.outcome.policies == 0) line(indent, "no active policy-map handles the event");
  }

  void policy(const PolicyExplanation &policy, size_t indent) {
    line(indent, concat("policy-map ", policy.policy->name.value, ", event ", policy.event->event.value, " ",
                        to_string(policy.event->match)));
    for (const RuleExplanation &tried : policy.rules) {
      if (tried.matched) rule(tried, indent + 1);
    }
    if (!policy.any_matched()) line(indent + 1, "no rule matched");
  }

  void rule(const RuleExplanation &rule, size_t indent) {
    line(indent, concat("rule ", rule.rule->number, ", class-map ", rule.class_map->name.value, " ",
                        to_string(rule.class_map->match)));
    for (const ActionExplanation &ran : rule.actions)
      action(ran, indent + 1);
    if (rule.cut_short) line(indent + 1, concat("the rule ends here: ", to_string(rule.rule->execute)));
  }

  // Of an event that a limit stopped, the number of what is not shown is said at the end.
  bool is_shown(const ActionExplanation &action) {
    if (action.refused) return &action == refusals_.first;
    if (!action.led_on()) return true;
    if (refusals_.first && shown_ == kShownOfStopped) return false;
    ++shown_;
    return true;
  }

  // A failure is shown beside the action, or below everything that the action led to.
  void action(const ActionExplanation &action, size_t indent) {
    if (!is_shown(action)) return;
    const bool applied = action.applied && action.applied->matched();
    const bool led_on = action.raised || applied;
    std::string text = concat(action.action->number, " ", to_string(*action.action));
    for (const Change &change : action.changes)
      text += concat(" (", change_of(*action.action, change), ")");
    if (action.failed && !led_on) text += action.refused ? ": refused" : ": failed";
    line(indent, text);
    if (action.raised) raised(*action.raised, indent + 1);
    if (applied) map(*action.applied, indent + 1);
    if (action.failed && led_on) line(indent + 1, "failed");
  }

  // The value of a 'set' is already in the action's text.
  static std::string change_of(const Action &action, const Change &change) {
    std::string was = concat("was ", value_text(change.before));
    if (!change.after || action.kind == ActionKind::set) return was;
    return concat(was, ", now ", as_word(*change.after));
  }

  void raised(const EventExplanation &explanation, size_t indent) {
    event(explanation, indent);
    const engine::Verdict verdict = explanation.outcome.verdict;
    if (verdict != engine::Verdict::none) line(indent, concat("verdict: ", verdict_text(verdict, colours_)));
  }

  void map(const ParameterMapExplanation &map, size_t indent) {
    line(indent, concat("parameter-map ", map.map->name.value, ", statement ", map.statements.back().statement->index));
    for (const ActionExplanation &ran : map.actions)
      action(ran, indent + 1);
  }

  const PolicyFile *file_;
  Colours colours_;
  Refusals refusals_;
  size_t shown_ = 0;  // raised events and applied parameter-maps
  std::string text_;
};

}  // namespace

std::string heading(size_t number, const Step &step) {
  std::string text = concat("[", number, "] ", step.event.value, " at ", step.target.value, "\n");
  for (const Name &attribute : step.clear)
    text += concat("  given: no ", attribute.value, "\n");
  for (const Assignment &given : step.set)
    text += concat("  given: ", given.attribute.value, " ", as_word(given.text), "\n");
  return text;
}

std::string outline(const EventExplanation &explanation, const PolicyFile &file, Colours colours) {
  return OutlineWriter(file, colours).run(explanation);
}

}  // namespace simulator
