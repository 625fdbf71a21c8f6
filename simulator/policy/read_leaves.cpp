// Filters and actions of a policy file.
#include <limits>

#include "simulator/policy/load_parts.h"
#include "simulator/policy/pattern.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

struct FilterKey {
  FilterKind kind;
  const yaml::Node *value;
};

// The one key that names the filter's test.
std::optional<FilterKey> find_kind(const Reader &reader, const yaml::Node &node, const Fields &fields) {
  constexpr FilterKind kKinds[] = {FilterKind::equals, FilterKind::prefix, FilterKind::regex, FilterKind::range,
                                   FilterKind::present};
  std::optional<FilterKey> found;
  for (const FilterKind kind : kKinds) {
    const yaml::Node *value = fields.find(to_string(kind));
    if (!value) continue;
    if (found) {
      reader.diagnostics().add(value->position,
                               concat("a filter with both '", to_string(found->kind), "' and '", to_string(kind), "'"),
                               "one test in a filter");
      return std::nullopt;
    }
    found = FilterKey{kind, value};
  }
  if (!found && fields.is_sound()) {
    reader.diagnostics().add(node.position, "a filter without a test",
                             "one of the keys equals, prefix, regex, range, present");
  }
  return found;
}

void read_pattern(const Reader &reader, const yaml::Node &node, Filter &filter) {
  if (!reader.spend_on_patterns(0)) return;
  std::shared_ptr<const RE2> pattern = compile_pattern(filter.text);
  if (!pattern->ok()) {
    reader.diagnostics().add(node.position, concat("not a regular expression: ", describe(*pattern)),
                             "a regular expression in RE2 syntax");
  }
  // A pattern that failed to compile may have cost as much as any that did compile.
  constexpr int64_t kFailureCost = 1000;
  if (!reader.spend_on_patterns(pattern->ok() ? pattern->ProgramSize() : kFailureCost)) {
    reader.diagnostics().add(node.position, "too much work in the regular expressions up to here",
                             "fewer or simpler regular expressions");
  }
  filter.pattern = std::move(pattern);
}

void read_range(const Reader &reader, const yaml::Node &node, Filter &filter) {
  const Fields fields(node, "a range", {"min", "max"}, reader.diagnostics());
  filter.low = kLowest;
  filter.high = kHighest;
  const yaml::Node *low = fields.find("min");
  const yaml::Node *high = fields.find("max");
  if (low) filter.low = reader.number(*low, "the low end of a range", kLowest, kHighest).value_or(kLowest);
  if (high) filter.high = reader.number(*high, "the high end of a range", kLowest, kHighest).value_or(kHighest);
  if (filter.low > filter.high) {
    reader.diagnostics().add(node.position, concat("an empty range: ", filter.low, " is more than ", filter.high),
                             "min at most max");
  }
  if (fields.is_sound() && !low && !high) {
    reader.diagnostics().add(node.position, "a range without ends", "min, max or both");
  }
}

void read_present(const Reader &reader, const yaml::Node &node) {
  if (reader.flag(node, "the value of 'present'").value_or(true)) return;
  reader.diagnostics().add(node.position, "'present' cannot be false",
                           "present: true, with no-match: true to ask for absence");
}

void read_test(const Reader &reader, const FilterKey &key, Filter &filter) {
  filter.kind = key.kind;
  switch (key.kind) {
    case FilterKind::equals:
    case FilterKind::prefix:
    case FilterKind::regex:
      filter.text = reader.text(*key.value, "the text of a filter").value_or(Name{}).value;
      if (key.kind == FilterKind::regex) read_pattern(reader, *key.value, filter);
      return;
    case FilterKind::range:
      return read_range(reader, *key.value, filter);
    case FilterKind::present:
      return read_present(reader, *key.value);
  }
}

Filter read_filter(const Reader &reader, const yaml::Node &node) {
  Filter filter{.position = node.position};
  const Fields fields(node, "a filter", {"attribute", "equals", "prefix", "regex", "range", "present", "no-match"},
                      reader.diagnostics());
  if (const yaml::Node *attribute = fields.require("attribute")) {
    filter.attribute = reader.name(*attribute, "an attribute's name").value_or(Name{});
  }
  if (const std::optional<FilterKey> key = find_kind(reader, node, fields)) read_test(reader, *key, filter);
  if (const yaml::Node *no_match = fields.find("no-match")) {
    filter.no_match = reader.flag(*no_match, "the value of 'no-match'").value_or(false);
  }
  return filter;
}

}  // namespace

std::vector<Filter> read_filters(const Reader &reader, const yaml::Node &node) {
  std::vector<Filter> filters;
  reader.list(node, "the list of filters",
              [&](const yaml::Node &item) { filters.push_back(read_filter(reader, item)); });
  return filters;
}

namespace {

constexpr ActionKind kActionKinds[] = {ActionKind::set,    ActionKind::clear, ActionKind::log,   ActionKind::count,
                                       ActionKind::permit, ActionKind::deny,  ActionKind::raise, ActionKind::apply};

// 'permit' and 'deny' are written as a single word.
void read_bare_action(const Reader &reader, const yaml::Node &node, Action &action) {
  action.kind = reader
                    .choice<ActionKind>(node, "an action on its own",
                                        {{"permit", ActionKind::permit}, {"deny", ActionKind::deny}})
                    .value_or(ActionKind::permit);
}

void read_set(const Reader &reader, const yaml::Node &node, Action &action) {
  const size_t before = reader.diagnostics().count();
  std::vector<Assignment> assignments = read_assignments(reader, node);
  if (assignments.size() == 1) {
    action.subject = std::move(assignments[0].attribute);
    action.text = std::move(assignments[0].text);
  } else if (reader.diagnostics().count() == before) {
    reader.diagnostics().add(node.position, concat("'set' with ", assignments.size(), " attributes"),
                             "one attribute and its value; further ones in actions of their own");
  }
}

void read_argument(const Reader &reader, const yaml::Node &node, Action &action) {
  switch (action.kind) {
    case ActionKind::set:
      return read_set(reader, node, action);
    case ActionKind::clear:
    case ActionKind::count:
      action.subject = reader.name(node, "an attribute's name").value_or(Name{});
      return;
    case ActionKind::log:
      action.text = reader.text(node, "the text to log").value_or(Name{}).value;
      return;
    case ActionKind::raise:
      action.subject = reader.name(node, "an event's name").value_or(Name{});
      return;
    case ActionKind::apply:
      action.subject = reader.name(node, "a parameter-map's name").value_or(Name{});
      return;
    case ActionKind::permit:
    case ActionKind::deny:
      if (node.kind == yaml::Kind::null) return;
      reader.diagnostics().add(node.position, concat("'", to_string(action.kind), "' takes no value"), "nothing");
  }
}

// The one key of the mapping that names the kind of action.
void read_action_mapping(const Reader &reader, const yaml::Node &node, const Fields &fields, Action &action) {
  const yaml::Node *argument = nullptr;
  for (const ActionKind kind : kActionKinds) {
    const yaml::Node *value = fields.find(to_string(kind));
    if (!value) continue;
    if (argument) {
      reader.diagnostics().add(value->position,
                               concat("an action with both '", to_string(action.kind), "' and '", to_string(kind), "'"),
                               "one verb in an action");
      return;
    }
    argument = value;
    action.kind = kind;
  }
  if (argument) {
    read_argument(reader, *argument, action);
  } else if (fields.is_sound()) {
    reader.diagnostics().add(node.position, "an action without a verb",
                             "one of set, clear, log, count, permit, deny, raise, apply");
  }
}

// An action without a number gets the number after the previous one.
Action read_action(const Reader &reader, const yaml::Node &node, uint32_t next_number) {
  Action action{.position = node.position, .number = next_number};
  if (node.kind == yaml::Kind::scalar) {
    read_bare_action(reader, node, action);
    return action;
  }
  const Fields fields(node, "an action",
                      {"set", "clear", "log", "count", "permit", "deny", "raise", "apply", "number", "precedence"},
                      reader.diagnostics());
  if (const yaml::Node *number = fields.find("number")) {
    action.number = static_cast<uint32_t>(reader.number(*number, "an action's number", 1, 255).value_or(next_number));
  }
  if (const yaml::Node *precedence = fields.find("precedence")) {
    action.precedence = static_cast<uint32_t>(reader.number(*precedence, "a precedence", 0, 65535).value_or(0));
  }
  read_action_mapping(reader, node, fields, action);
  return action;
}

void check_action_number(const Reader &reader, FirstPositions<uint32_t> &numbers, const Action &action) {
  constexpr uint32_t kHighestNumber = 255;
  if (const std::optional<Position> earlier = numbers.earlier(action.number, action.position)) {
    reader.diagnostics().add(action.position, concat("duplicate action number ", action.number),
                             concat("each number once; the first is in line ", earlier->line), {}, *earlier);
  } else if (action.number > kHighestNumber) {
    reader.diagnostics().add(action.position, concat("action number ", action.number),
                             concat("numbers up to ", kHighestNumber));
  }
}

}  // namespace

std::vector<Action> read_actions(const Reader &reader, const yaml::Node &node) {
  std::vector<Action> actions;
  FirstPositions<uint32_t> numbers;
  reader.list(node, "the list of actions", [&](const yaml::Node &item) {
    Action action = read_action(reader, item, actions.empty() ? 1 : actions.back().number + 1);
    check_action_number(reader, numbers, action);
    actions.push_back(std::move(action));
  });
  return actions;
}

}  // namespace simulator
