#include "simulator/explanation/explanation_text.h"

#include <algorithm>

#include "simulator/explanation/nearest.h"
#include "simulator/explanation/words.h"
#include "simulator/text/text.h"
#include "simulator/text/width.h"
#include "simulator/text/wrap.h"

namespace simulator {

namespace {

// Collects lines; at the end it puts their positions in a column of their own.
class Writer {
 public:
  Writer(const PolicyFile &file, Level level, Colours colours, size_t width)
      : file_(&file), level_(level), colours_(colours), width_(width) {}

  void write(const EventExplanation &explanation, const Step &step);
  std::string text() const;

 private:
  struct Line {
    std::string path;  // empty: the line comes from a command line or from another file
    uint32_t number;
    unsigned depth;
    std::string text;

    std::string origin() const { return path.empty() ? "-" : concat(path, ":", number); }
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
  std::string matched_word(bool matched) const { return matched ? painted(Tone::good, "matched") : "did not match"; }
  void line(Position position, std::string text);
  std::string laid_out(const Line &line, const std::string &place, size_t places_width) const;
  std::string narrow_text() const;
  void given(const Step &step);
  void decision_of(const EventExplanation &explanation);
  void changes_of(const EventExplanation &explanation);
  void inner_verdicts_of(const EventExplanation &explanation);
  void limit_of();
  size_t shown_of(size_t count) const;
  void left_out(size_t count, std::string_view what);
  bool is_shown();
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
  size_t width_;  // of a line; 0: no limit
  unsigned depth_ = 0;
  std::vector<Line> lines_;
  const ActionExplanation *decisive_ = nullptr;
  Refusals refusals_;
  size_t shown_ = 0;  // raised events and applied parameter-maps
};

void Writer::line(Position position, std::string text) {
  const bool is_in_file = position.line != 0;
  lines_.push_back(
      {is_in_file ? file_->shown_path_of(position) : std::string(), position.line, depth_, std::move(text)});
}

// A line with its place in front, which takes at most 'places_width' columns.
std::string Writer::laid_out(const Line &line, const std::string &place, size_t places_width) const {
  const size_t depth = size_t{2} * line.depth;
  const std::string gap(places_width - columns_of(place) + 2 + depth, ' ');
  // What a wrapped line goes on with stands deeper than the line below it.
  return wrapped(concat(painted(Tone::faint, place), gap, line.text), width_, places_width + depth + 4) + "\n";
}

std::string Writer::text() const {
  constexpr size_t kEnoughForText = 40;
  size_t places_width = 0;
  for (const Line &line : lines_)
    places_width = std::max(places_width, columns_of(line.origin()));
  if (width_ != 0 && places_width + kEnoughForText > width_) return narrow_text();

  std::string all;
  for (const Line &line : lines_)
    all += laid_out(line, line.origin(), places_width);
  return all;
}

// Each path once, above its lines, which begin with their numbers.
std::string Writer::narrow_text() const {
  const auto number_of = [](const Line &line) { return line.path.empty() ? "-" : std::to_string(line.number); };
  size_t places_width = 0;
  for (const Line &line : lines_)
    places_width = std::max(places_width, number_of(line).size());
  std::string all;
  std::string_view path;
  for (const Line &line : lines_) {
    if (!line.path.empty() && line.path != path) {
      path = line.path;
      all += wrapped(painted(Tone::faint, line.path), width_, 2) + "\n";
    }
    all += laid_out(line, number_of(line), places_width);
  }
  return all;
}

void Writer::write(const EventExplanation &explanation, const Step &step) {
  const std::optional<Decision> decided = decision(explanation);
  decisive_ = decided ? decided->action : nullptr;
  refusals_ = refusals(explanation);
  // An event can be explained that was tried on a target of no file.
  const Target *target = file_->find_target(step.target.value);
  line(target ? target->name.position : Position{},
       concat(explanation.event, " at ", step.target.value, ": ", verdict_text(explanation.outcome.verdict, colours_)));
  const Deeper deeper(*this);
  given(step);
  if (level_ == Level::decision) {
    decision_of(explanation);
  } else {
    policies_of(explanation);
  }
  changes_of(explanation);
  limit_of();
}

void Writer::limit_of() {
  if (!refusals_.first) return;
  if (level_ != Level::decision) left_out(refusals_.led_on - shown_of(shown_), "events and parameter-maps");
  line(refusals_.first->action->position, painted(Tone::bad, concat("error: ", limit_text(refusals_))));
}

// Of an event that a limit stopped, only a part is shown.
size_t Writer::shown_of(size_t count) const {
  return refusals_.first ? std::min(count, kShownOfStopped) : count;
}

void Writer::left_out(size_t count, std::string_view what) {
  if (count > 0) line(refusals_.first->action->position, concat("and ", count, " more ", what));
}

// Whether one more event or parameter-map is shown.
bool Writer::is_shown() {
  ++shown_;
  return shown_of(shown_) == shown_;
}

// The changes before the event come from this file, or from a command line or another file.
void Writer::given(const Step &step) {
  const auto add = [&](Position position, std::string text) {
    line(position.line != 0 ? position : step.position, std::move(text));
  };
  for (const Name &attribute : step.clear)
    add(attribute.position, concat("given: no ", attribute.value));
  for (const Assignment &set : step.set)
    add(set.attribute.position, concat("given: ", set.attribute.value, " is ", as_word(set.text)));
}

void Writer::decision_of(const EventExplanation &explanation) {
  const std::vector<RuleRun> runs = rules_run(explanation);
  const size_t shown = shown_of(runs.size());
  for (size_t at = 0; at < shown; ++at) {
    const RuleRun &run = runs[at];
    line(run.rule->rule->position, concat("rule ", rule_name(*run.policy, *run.event, *run.rule->rule), ", class-map ",
                                          run.rule->class_map->name.value, ": ran"));
  }
  left_out(runs.size() - shown, "rules that ran");
  inner_verdicts_of(explanation);
  if (const std::optional<Decision> decided = decision(explanation)) {
    line(decided->action->action->position,
         concat("decided by action ", decided->action->action->number, " ", to_string(*decided->action->action),
                " of rule ", rule_name(*decided->rule.policy, *decided->rule.event, *decided->rule.rule->rule)));
  }
  if (explanation.any_matched()) return;
  unhandled(explanation);
  if (const std::optional<NearestRule> nearest = nearest_rule(explanation)) nearest_line(*nearest);
}

// A raised event that was decided otherwise than the event itself looks like a mistake.
void Writer::inner_verdicts_of(const EventExplanation &explanation) {
  size_t count = 0;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    if (!action.raised) return;
    const engine::Verdict verdict = action.raised->outcome.verdict;
    if (verdict == engine::Verdict::none || verdict == explanation.outcome.verdict) return;
    ++count;
    if (shown_of(count) == count) line(action.action->position, inner_verdict_text(*action.raised, colours_));
  });
  left_out(count - shown_of(count), "events that were raised");
}

void Writer::changes_of(const EventExplanation &explanation) {
  if (level_ != Level::decision) return;
  size_t count = 0;
  for_each_action(explanation, [&](const ActionExplanation &action) {
    for (const Change &change : action.changes) {
      ++count;
      if (shown_of(count) == count) line(action.action->position, concat("changed ", change_text(change)));
    }
  });
  left_out(count - shown_of(count), "changes");
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

// Of an event that a limit stopped, the number of what is not shown is said at the end.
void Writer::action(const ActionExplanation &action) {
  if (action.refused && &action != refusals_.first) return;
  if (action.led_on() && !is_shown()) return;
  std::string text = concat("action ", action.action->number, " ", to_string(*action.action));
  for (const Change &change : action.changes) {
    text += concat(", ", change_text(change));
    const bool counted = action.action->kind == ActionKind::count && change.before;
    const std::string_view why = counted ? why_no_number(*change.before) : "";
    if (!why.empty()) text += concat(" (", as_word(*change.before), " ", why, ")");
  }
  if (action.refused) text += painted(Tone::bad, ", refused");
  if (action.failed) text += painted(Tone::bad, ", failed");
  if (&action == decisive_) text += painted(Tone::strong, ", which decides");
  line(action.action->position, std::move(text));
  const Deeper deeper(*this);
  if (action.raised) raised(*action.raised, *action.action);
  if (action.applied && !action.refused) applied(*action.applied);
}

void Writer::raised(const EventExplanation &explanation, const Action &by) {
  line(by.position, inner_verdict_text(explanation, colours_));
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
                             Colours colours, size_t width) {
  Writer writer(file, level, colours, width);
  writer.write(explanation, step);
  return writer.text();
}

}  // namespace simulator
