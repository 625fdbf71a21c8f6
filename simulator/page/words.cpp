#include "simulator/page/words.h"

#include <limits>

#include "simulator/graph/names.h"
#include "simulator/text/text.h"

namespace simulator::page {

namespace {

Html code(std::string_view content) {
  return element("code", content);
}

Html range_words(const Filter &filter) {
  const bool has_low = filter.low != std::numeric_limits<int64_t>::min();
  const bool has_high = filter.high != std::numeric_limits<int64_t>::max();
  if (has_low && has_high && filter.low == filter.high)
    return join({text("is the number "), code(std::to_string(filter.low))});
  if (has_low && has_high)
    return join(
        {text("is a number from "), code(std::to_string(filter.low)), text(" to "), code(std::to_string(filter.high))});
  if (has_low) return join({text("is "), code(std::to_string(filter.low)), text(" or more")});
  if (has_high) return join({text("is "), code(std::to_string(filter.high)), text(" or less")});
  return text("is a whole number");
}

Html test_words(const Filter &filter) {
  switch (filter.kind) {
    case FilterKind::equals:
      return join({text("is "), code(filter.text)});
    case FilterKind::prefix:
      return join({text("begins with "), code(filter.text)});
    case FilterKind::regex:
      return join({text("matches "), code(filter.text)});
    case FilterKind::range:
      return range_words(filter);
    case FilterKind::present:
      return text("has a value");
  }
  return {};
}

// All policy-maps that handle an event have a heading of their own for it; the link goes to the first.
Html event_link(const std::string &event, const PolicyFile &file) {
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &rules : policy.events) {
      if (rules.event.value == event) return link_to(graph::id_of_event(policy.name.value, event), event);
    }
  }
  return text(event);
}

}  // namespace

Html words_of(const Filter &filter) {
  const Html attribute = element("span", {{"class", "attribute"}}, text(filter.attribute.value));
  return join({filter.no_match ? element("em", "not: ") : Html(), attribute, text(" "), test_words(filter)});
}

Html words_of(const Action &action, const PolicyFile &file) {
  const std::string &subject = action.subject.value;
  switch (action.kind) {
    case ActionKind::set:
      return join({text(concat("set ", subject, " to ")), code(action.text)});
    case ActionKind::clear:
      return text(concat("clear ", subject));
    case ActionKind::log:
      return join({text("log "), element("q", action.text)});
    case ActionKind::count:
      return text(concat("add 1 to ", subject));
    case ActionKind::permit:
    case ActionKind::deny:
      return element("strong", {{"class", to_string(action.kind)}}, text(to_string(action.kind)));
    case ActionKind::raise:
      return join({text("raise the event "), event_link(subject, file)});
    case ActionKind::apply:
      return join({text("apply the parameter-map "), link_to(graph::id_of_parameter_map(subject), subject)});
  }
  return {};
}

std::string_view words_of(ClassMatch match) {
  switch (match) {
    case ClassMatch::all:
      return "all of these must hold";
    case ClassMatch::any:
      return "one of these must hold";
    case ClassMatch::none:
      return "none of these may hold";
  }
  return {};
}

std::string_view words_of(EventMatch match) {
  return match == EventMatch::all ? "all rules that match run" : "only the first rule that matches runs";
}

std::string_view words_of(Execute execute) {
  switch (execute) {
    case Execute::run_all:
      return "all of them, even if one fails";
    case Execute::stop_on_failure:
      return {};
    case Execute::stop_on_success:
      return "until one succeeds";
  }
  return {};
}

}  // namespace simulator::page
