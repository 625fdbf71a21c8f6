#include "simulator/explanation/explanation_text.h"

#include <algorithm>

#include "simulator/explanation/nearest.h"
#include "simulator/explanation/words.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

// Collects lines, and in the end puts their places in a column of their own.
class Writer {
 public:
  Writer(const PolicyFile &file, Level level, Colours colours) : file_(&file), level_(level), colours_(colours) {}

  void write(const EventAccount &account, const Step &step);
  std::string text() const;

 private:
  struct Line {
    std::string origin;
    unsigned depth;
    std::string text;
  };

  // What is written while one is there stands one deeper.
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
  void line(Place place, std::string text);
  void given(const Step &step);
  void decision_of(const EventAccount &account);
  void changes_of(const EventAccount &account);
  void policies_of(const EventAccount &account);
  void unhandled(const EventAccount &account);
  void policy(const PolicyAccount &policy);
  void rule(const PolicyAccount &policy, const RuleAccount &rule);
  void untried(const PolicyAccount &policy);
  void filter(const FilterAccount &filter);
  void actions(const std::vector<ActionAccount> &actions);
  void action(const ActionAccount &action);
  void raised(const EventAccount &account, const Action &by);
  void applied(const MapAccount &map);
  void statement(const MapAccount &map, const StatementAccount &statement);
  void nearest_of(const PolicyAccount &policy);
  void nearest_line(const NearestRule &nearest);
  void missing(const Shortfall &shortfall, std::string_view what, Place place);

  const PolicyFile *file_;
  Level level_;
  Colours colours_;
  unsigned depth_ = 0;
  std::vector<Line> lines_;
  const ActionAccount *decisive_ = nullptr;
};

std::string Writer::verdict_word(engine::Verdict verdict) const {
  if (verdict == engine::Verdict::none) return to_string(verdict);
  return painted(verdict == engine::Verdict::permit ? Tone::good : Tone::bad, to_string(verdict));
}

void Writer::line(Place place, std::string text) {
  lines_.push_back({text_of(file_->path_of(place), ":", place.line), depth_, std::move(text)});
}

std::string Writer::text() const {
  size_t width = 0;
  for (const Line &line : lines_)
    width = std::max(width, line.origin.size());
  std::string all;
  for (const Line &line : lines_) {
    const std::string gap(width - line.origin.size() + 2 + size_t{2} * line.depth, ' ');
    all += text_of(painted(Tone::faint, line.origin), gap, line.text, "\n");
  }
  return all;
}

void Writer::write(const EventAccount &account, const Step &step) {
  const std::optional<Decision> decided = decision(account);
  decisive_ = decided ? decided->action : nullptr;
  line(file_->find_target(step.target.value)->name.place,
       text_of(account.event, " at ", step.target.value, ": ", verdict_word(account.outcome.verdict)));
  const Deeper deeper(*this);
  given(step);
  if (level_ == Level::decision) {
    decision_of(account);
  } else {
    policies_of(account);
  }
  changes_of(account);
}

// What is changed before the event stands in this file, or somewhere else: on a command line, in another file.
void Writer::given(const Step &step) {
  const auto origin = [&](Place place) {
    const Place from = place.line != 0 ? place : step.place;
    return from.line != 0 ? text_of(file_->path_of(from), ":", from.line) : std::string("-");
  };
  for (const Name &attribute : step.clear)
    lines_.push_back({origin(attribute.place), depth_, text_of("given: no ", attribute.value)});
  for (const Assignment &set : step.set) {
    lines_.push_back(
        {origin(set.attribute.place), depth_, text_of("given: ", set.attribute.value, " is ", as_word(set.text))});
  }
}

void Writer::decision_of(const EventAccount &account) {
  for (const RuleRun &run : rules_run(account)) {
    line(run.rule->rule->place, text_of("rule ", rule_name(*run.policy, *run.event, *run.rule->rule), ", class-map ",
                                        run.rule->class_map->name.value, ": ran"));
  }
  if (const std::optional<Decision> decided = decision(account)) {
    line(decided->action->action->place,
         text_of("decided by action ", decided->action->action->number, " ", to_string(*decided->action->action),
                 " of rule ", rule_name(*decided->rule.policy, *decided->rule.event, *decided->rule.rule->rule)));
  }
  if (account.any_matched()) return;
  unhandled(account);
  if (const std::optional<NearestRule> nearest = nearest_rule(account)) nearest_line(*nearest);
}

void Writer::changes_of(const EventAccount &account) {
  for_each_action(account, [&](const ActionAccount &action) {
    if (level_ != Level::decision) return;
    for (const Change &change : action.changes)
      line(action.action->place, text_of("changed ", change_text(change)));
  });
}

void Writer::policies_of(const EventAccount &account) {
  for (const PolicyAccount &active : account.policies)
    policy(active);
  unhandled(account);
}

void Writer::unhandled(const EventAccount &account) {
  if (account.outcome.policies != 0) return;
  for (const PolicyMap &other : file_->policy_maps) {
    for (const EventRules &event : other.events) {
      if (event.event.value != account.event) continue;
      line(event.event.place,
           text_of("policy-map ", other.name.value, " handles the event, and is not active on the target"));
    }
  }
}

void Writer::policy(const PolicyAccount &policy) {
  if (!policy.event) {
    return line(policy.policy->name.place,
                text_of("policy-map ", policy.policy->name.value, ": does not handle the event"));
  }
  line(policy.event->event.place, text_of("policy-map ", policy.policy->name.value, ", event ",
                                          policy.event->event.value, " ", to_string(policy.event->match),
                                          policy.any_matched() ? "" : painted(Tone::changed, ": no rule matched")));
  const Deeper deeper(*this);
  for (const RuleAccount &tried : policy.rules)
    rule(policy, tried);
  untried(policy);
  nearest_of(policy);
}

// Why a class-map matched or not, in as few filters as tell it.
std::string reason_of(const RuleAccount &rule) {
  const auto asked = [](const FilterAccount &filter) { return filter.asked; };
  const auto last = std::find_if(rule.filters.rbegin(), rule.filters.rend(), asked);
  if (last == rule.filters.rend()) return "it has no filters";
  const bool one_tells = rule.matched == (rule.class_map->match == ClassMatch::any);
  if (one_tells) return answer_text(*last);
  if (rule.filters.size() == 1) return answer_text(*last);
  return rule.class_map->match == ClassMatch::all ? "every filter holds" : "no filter holds";
}

void Writer::rule(const PolicyAccount &, const RuleAccount &rule) {
  line(rule.rule->place,
       text_of("rule ", rule.rule->number, ", class-map ", rule.class_map->name.value, " ",
               to_string(rule.class_map->match), " ", matched_word(rule.matched), ": ", reason_of(rule)));
  const Deeper deeper(*this);
  if (level_ == Level::filters) {
    for (const FilterAccount &asked : rule.filters)
      filter(asked);
  }
  actions(rule.actions);
  if (rule.cut_short && rule.actions.size() < rule.rule->actions.size()) {
    line(rule.rule->place, text_of("the rest of the rule is left out: ", to_string(rule.rule->execute)));
  }
}

void Writer::untried(const PolicyAccount &policy) {
  if (policy.event->match != EventMatch::first || !policy.any_matched()) return;
  std::vector<const Rule *> in_order;
  for (const Rule &rule : policy.event->rules)
    in_order.push_back(&rule);
  std::sort(in_order.begin(), in_order.end(), [](const Rule *a, const Rule *b) { return a->number < b->number; });
  for (const Rule *rule : in_order) {
    if (rule->number <= policy.rules.back().rule->number) continue;
    line(rule->place, text_of("rule ", rule->number, ", class-map ", rule->class_map.value, ": not tried"));
  }
}

void Writer::filter(const FilterAccount &filter) {
  line(filter.filter->place, filter.asked ? answer_text(filter) : text_of(filter_text(*filter.filter), ": not asked"));
}

void Writer::actions(const std::vector<ActionAccount> &actions) {
  for (const ActionAccount &ran : actions)
    action(ran);
}

void Writer::action(const ActionAccount &action) {
  std::string text = text_of("action ", action.action->number, " ", to_string(*action.action));
  for (const Change &change : action.changes)
    text += text_of(", ", change_text(change));
  if (action.refused) text += painted(Tone::bad, ", refused: nested too deep or too often");
  if (action.failed) text += painted(Tone::bad, ", failed");
  if (&action == decisive_) text += painted(Tone::strong, ", which decides");
  line(action.action->place, std::move(text));
  const Deeper deeper(*this);
  if (action.raised) raised(*action.raised, *action.action);
  if (action.applied && !action.refused) applied(*action.applied);
}

void Writer::raised(const EventAccount &account, const Action &by) {
  line(by.place, text_of("event ", account.event, ": ", verdict_word(account.outcome.verdict)));
  const Deeper deeper(*this);
  policies_of(account);
}

void Writer::applied(const MapAccount &map) {
  for (const StatementAccount &asked : map.statements)
    statement(map, asked);
  if (map.matched()) {
    const Deeper deeper(*this);
    return actions(map.actions);
  }
  const std::optional<NearestStatement> nearest = nearest_statement(map);
  if (!nearest) return line(map.map->name.place, text_of("parameter-map ", map.map->name.value, " has no statement"));
  missing(nearest->shortfall,
          text_of("no statement matched; the nearest is statement ", nearest->statement->statement->index),
          nearest->statement->statement->place);
}

void Writer::statement(const MapAccount &map, const StatementAccount &statement) {
  const Shortfall missing = shortfall(statement);
  const std::string reason = missing.first ? text_of(": ", answer_text(*missing.first)) : "";
  line(statement.statement->place, text_of("parameter-map ", map.map->name.value, ", statement ",
                                           statement.statement->index, " ", matched_word(statement.matched), reason));
  if (level_ != Level::filters) return;
  const Deeper deeper(*this);
  for (const FilterAccount &asked : statement.filters)
    filter(asked);
}

void Writer::nearest_of(const PolicyAccount &policy) {
  if (policy.any_matched()) return;
  const std::optional<NearestRule> nearest = nearest_rule(policy);
  if (!nearest) return line(policy.event->event.place, "the event has no rules");
  nearest_line(*nearest);
}

void Writer::nearest_line(const NearestRule &nearest) {
  missing(
      nearest.shortfall,
      text_of("the nearest is rule ", rule_name(*nearest.policy->policy, *nearest.policy->event, *nearest.rule->rule),
              ", class-map ", nearest.rule->class_map->name.value, " ", to_string(nearest.rule->class_map->match)),
      nearest.rule->class_map->name.place);
}

// 'place' is where a line without a filter comes from.
void Writer::missing(const Shortfall &shortfall, std::string_view what, Place place) {
  if (!shortfall.first) return line(place, text_of(what, ", which has no filters and never matches"));
  const std::string several =
      shortfall.missing == 1 ? "" : text_of(shortfall.missing, " filters stand against it, the first: ");
  line(shortfall.first->filter->place, text_of(what, ": ", several, answer_text(*shortfall.first)));
}

}  // namespace

std::optional<Level> parse_level(std::string_view word) {
  if (word == "decision") return Level::decision;
  if (word == "rules") return Level::rules;
  return word == "filters" ? std::optional(Level::filters) : std::nullopt;
}

std::string account_text(const EventAccount &account, const PolicyFile &file, const Step &step, Level level,
                         Colours colours) {
  Writer writer(file, level, colours);
  writer.write(account, step);
  return writer.text();
}

}  // namespace simulator
