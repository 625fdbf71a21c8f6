#include "simulator/explanation/explanation_text.h"

#include <algorithm>

#include "simulator/explanation/nearest.h"
#include "simulator/explanation/words.h"
#include "simulator/text/columns.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

// Collects lines; at the end it puts their positions in a column of their own.
class Writer {
 public:
  Writer(const PolicyFile &file, Level level, Colours colours) : file_(&file), level_(level), colours_(colours) {}

  void write(const EventExplanation &explanation, const Step &step);
  std::string text() const;

 private:
  struct Line {
    std::string origin;
    unsigned depth;
    std::string text;
  };

  // While one exists, lines are indented one level deeper.
  class Deeper {
   public:
    explicit Deeper(Writer &writer) : depth_(writer.depth_) { ++depth_; }
    ~Deeper() { --depth_; }
    Deeper(const Deeper &) = delete;
    Deeper &operator=(const Deeper &) = delete;

   private:
    unsigned &depth_;
  };

  std::string painted(Tone tone, std::string_view text) const { return simulator::painted(colours_, tone, text); }
  std::string verdict_word(engine::Verdict verdict) const;
  std::string matched_word(bool matched) const { return matched ? painted(Tone::good, "matched") : "did not match"; }
  void line(Position position, std::string text);
  void given(const Step &step);
  void decision_of(const EventExplanation &explanation);
  void changes_of(const EventExplanation &explanation);
  void policies_of(const EventExplanation &explanation);
  void unhandled(const EventExplanation &explanation);
  void policy(const PolicyExplanation &policy);
  void rule(const PolicyExplanation &policy, const RuleExplanation &rule);
  void untried(const PolicyExplanation &policy);
  void filter(const FilterExplanation &filter);
  void actions(const std::vector<ActionExplanation> &actions);
  void action(const ActionExplanation &action);
  void raised(const EventExplanation &explanation, const Action &by);
  void applied(const ParameterMapExplanation &map);
  void statement(const ParameterMapExplanation &map, const StatementExplanation &statement);
  void nearest_of(const PolicyExplanation &policy);
  void nearest_line(const NearestRule &nearest);
  void missing(const Shortfall &shortfall, std::string_view what, Position position);

  const PolicyFile *file_;
  Level level_;
  Colours colours_;
  unsigned depth_ = 0;
  std::vector<Line> lines_;
  const ActionExplanation *decisive_ = nullptr;
};

std::string Writer::verdict_word(engine::Verdict verdict) const {
  if (verdict == engine::Verdict::none) return to_string(verdict);
  return painted(verdict == engine::Verdict::permit ? Tone::good : Tone::bad, to_string(verdict));
}

void Writer::line(Position position, std::string text) {
  lines_.push_back({concat(file_->shown_path_of(position), ":", position.line), depth_, std::move(text)});
}

std::string Writer::text() const {
  size_t width = 0;
  for (const Line &line : lines_)
    width = std::max(width, width_of(line.origin));
  std::string all;
  for (const Line &line : lines_) {
    const std::string gap(width - width_of(line.origin) + 2 + size_t{2} * line.depth, ' ');
    all += concat(painted(Tone::faint, line.origin), gap, line.text, "\n");
  }
  return all;
}

void Writer::write(const EventExplanation &explanation, const Step &step) {
  const std::optional<Decision> decided = decision(explanation);
  decisive_ = decided ? decided->action : nullptr;
  line(file_->find_target(step.target.value)->name.position,
       concat(explanation.event, " at ", step.target.value, ": ", verdict_word(explanation.outcome.verdict)));
  const Deeper deeper(*this);
  given(step);
  if (level_ == Level::decision) {
    decision_of(explanation);
  } else {
    policies_of(explanation);
  }
  changes_of(explanation);
}

// The changes before the event come from this file, or from a command line or another file.
void Writer::given(const Step &step) {
  const auto origin = [&](Position position) {
    const Position from = position.line != 0 ? position : step.position;
    return from.line != 0 ? concat(file_->shown_path_of(from), ":", from.line) : std::string("-");
  };
  for (const Name &attribute : step.clear)
    lines_.push_back({origin(attribute.position), depth_, concat("given: no ", attribute.value)});
  for (const Assignment &set : step.set) {
    lines_.push_back(
        {origin(set.attribute.position), depth_, concat("given: ", set.attribute.value, " is ", as_word(set.text))});
  }
}

void Writer::decision_of(const EventExplanation &explanation) {
  for (const RuleRun &run : rules_run(explanation)) {
    line(run.rule->rule->position, concat("rule ", rule_name(*run.policy, *run.event, *run.rule->rule), ", class-map ",
                                          run.rule->class_map->name.value, ": ran"));
  }
  if (const std::optional<Decision> decided = decision(explanation)) {
    line(decided->action->action->position,
         concat("decided by action ", decided->action->action->number, " ", to_string(*decided->action->action),
                " of rule ", rule_name(*decided->rule.policy, *decided->rule.event, *decided->rule.rule->rule)));
  }
  if (explanation.any_matched()) return;
  unhandled(explanation);
  if (const std::optional<NearestRule> nearest = nearest_rule(explanation)) nearest_line(*nearest);
}

void Writer::changes_of(const EventExplanation &explanation) {
  for_each_action(explanation, [&](const ActionExplanation &action) {
    if (level_ != Level::decision) return;
    for (const Change &change : action.changes)
      line(action.action->position, concat("changed ", change_text(change)));
  });
}

void Writer::policies_of(const EventExplanation &explanation) {
  for (const PolicyExplanation &active : explanation.policies)
    policy(active);
  unhandled(explanation);
}

void Writer::unhandled(const EventExplanation &explanation) {
  if (explanation.outcome.policies != 0) return;
  for (const PolicyMap &other : file_->policy_maps) {
    for (const EventRules &event : other.events) {
      if (event.event.value != explanation.event) continue;
      line(event.event.position,
           concat("policy-map ", other.name.value, " handles the event, and is not active on the target"));
    }
  }
}

void Writer::policy(const PolicyExplanation &policy) {
  if (!policy.event) {
    return line(policy.policy->name.position,
                concat("policy-map ", policy.policy->name.value, ": does not handle the event"));
  }
  line(policy.event->event.position,
       concat("policy-map ", policy.policy->name.value, ", event ", policy.event->event.value, " ",
              to_string(policy.event->match), policy.any_matched() ? "" : painted(Tone::changed, ": no rule matched")));
  const Deeper deeper(*this);
  for (const RuleExplanation &tried : policy.rules)
    rule(policy, tried);
  untried(policy);
  nearest_of(policy);
}

// Why a class-map matched or not, with as few filters as possible.
std::string reason_of(const RuleExplanation &rule) {
  const auto asked = [](const FilterExplanation &filter) { return filter.asked; };
  const auto last = std::find_if(rule.filters.rbegin(), rule.filters.rend(), asked);
  if (last == rule.filters.rend()) return "it has no filters";
  const bool one_tells = rule.matched == (rule.class_map->match == ClassMatch::any);
  if (one_tells) return answer_text(*last);
  if (rule.filters.size() == 1) return answer_text(*last);
  return rule.class_map->match == ClassMatch::all ? "every filter holds" : "no filter holds";
}

void Writer::rule(const PolicyExplanation &, const RuleExplanation &rule) {
  line(rule.rule->position,
       concat("rule ", rule.rule->number, ", class-map ", rule.class_map->name.value, " ",
              to_string(rule.class_map->match), " ", matched_word(rule.matched), ": ", reason_of(rule)));
  const Deeper deeper(*this);
  if (level_ == Level::filters) {
    for (const FilterExplanation &asked : rule.filters)
      filter(asked);
  }
  actions(rule.actions);
  if (rule.cut_short && rule.actions.size() < rule.rule->actions.size()) {
    line(rule.rule->position, concat("the rest of the rule is left out: ", to_string(rule.rule->execute)));
  }
}

void Writer::untried(const PolicyExplanation &policy) {
  if (policy.event->match != EventMatch::first || !policy.any_matched()) return;
  std::vector<const Rule *> in_order;
  for (const Rule &rule : policy.event->rules)
    in_order.push_back(&rule);
  std::sort(in_order.begin(), in_order.end(), [](const Rule *a, const Rule *b) { return a->number < b->number; });
  for (const Rule *rule : in_order) {
    if (rule->number <= policy.rules.back().rule->number) continue;
    line(rule->position, concat("rule ", rule->number, ", class-map ", rule->class_map.value, ": not tried"));
  }
}

void Writer::filter(const FilterExplanation &filter) {
  line(filter.filter->position,
       filter.asked ? answer_text(filter) : concat(filter_text(*filter.filter), ": not asked"));
}

void Writer::actions(const std::vector<ActionExplanation> &actions) {
  for (const ActionExplanation &ran : actions)
    action(ran);
}

void Writer::action(const ActionExplanation &action) {
  std::string text = concat("action ", action.action->number, " ", to_string(*action.action));
  for (const Change &change : action.changes)
    text += concat(", ", change_text(change));
  if (action.refused) text += painted(Tone::bad, ", refused: nested too deep or too often");
  if (action.failed) text += painted(Tone::bad, ", failed");
  if (&action == decisive_) text += painted(Tone::strong, ", which decides");
  line(action.action->position, std::move(text));
  const Deeper deeper(*this);
  if (action.raised) raised(*action.raised, *action.action);
  if (action.applied && !action.refused) applied(*action.applied);
}

void Writer::raised(const EventExplanation &explanation, const Action &by) {
  line(by.position, concat("event ", explanation.event, ": ", verdict_word(explanation.outcome.verdict)));
  const Deeper deeper(*this);
  policies_of(explanation);
}

void Writer::applied(const ParameterMapExplanation &map) {
  for (const StatementExplanation &asked : map.statements)
    statement(map, asked);
  if (map.matched()) {
    const Deeper deeper(*this);
    return actions(map.actions);
  }
  const std::optional<NearestStatement> nearest = nearest_statement(map);
  if (!nearest) return line(map.map->name.position, concat("parameter-map ", map.map->name.value, " has no statement"));
  missing(nearest->shortfall,
          concat("no statement matched; the nearest is statement ", nearest->statement->statement->index),
          nearest->statement->statement->position);
}

void Writer::statement(const ParameterMapExplanation &map, const StatementExplanation &statement) {
  const Shortfall missing = shortfall(statement);
  const std::string reason = missing.first ? concat(": ", answer_text(*missing.first)) : "";
  line(statement.statement->position, concat("parameter-map ", map.map->name.value, ", statement ",
                                             statement.statement->index, " ", matched_word(statement.matched), reason));
  if (level_ != Level::filters) return;
  const Deeper deeper(*this);
  for (const FilterExplanation &asked : statement.filters)
    filter(asked);
}

void Writer::nearest_of(const PolicyExplanation &policy) {
  if (policy.any_matched()) return;
  const std::optional<NearestRule> nearest = nearest_rule(policy);
  if (!nearest) return line(policy.event->event.position, "the event has no rules");
  nearest_line(*nearest);
}

void Writer::nearest_line(const NearestRule &nearest) {
  missing(
      nearest.shortfall,
      concat("the nearest is rule ", rule_name(*nearest.policy->policy, *nearest.policy->event, *nearest.rule->rule),
             ", class-map ", nearest.rule->class_map->name.value, " ", to_string(nearest.rule->class_map->match)),
      nearest.rule->class_map->name.position);
}

// 'position' is the position of a line without a filter.
void Writer::missing(const Shortfall &shortfall, std::string_view what, Position position) {
  if (!shortfall.first) return line(position, concat(what, ", which has no filters and never matches"));
  const std::string several =
      shortfall.missing == 1 ? "" : concat(shortfall.missing, " filters stand against it, the first: ");
  line(shortfall.first->filter->position, concat(what, ": ", several, answer_text(*shortfall.first)));
}

}  // namespace

std::optional<Level> parse_level(std::string_view word) {
  if (word == "decision") return Level::decision;
  if (word == "rules") return Level::rules;
  return word == "filters" ? std::optional(Level::filters) : std::nullopt;
}

std::string explanation_text(const EventExplanation &explanation, const PolicyFile &file, const Step &step, Level level,
                             Colours colours) {
  Writer writer(file, level, colours);
  writer.write(explanation, step);
  return writer.text();
}

}  // namespace simulator
