#include "simulator/explanation/words.h"

#include "simulator/text/text.h"

namespace simulator {

namespace {

bool is_all_digits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

const char *limit_of(const Action &action, bool too_deep) {
  if (!too_deep) return "events and parameter-maps come of one event";
  return action.kind == ActionKind::apply ? "parameter-maps are nested" : "events are nested";
}

}  // namespace

const char *to_string(engine::Verdict verdict) {
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

std::string verdict_text(engine::Verdict verdict, Colours colours) {
  if (verdict == engine::Verdict::none) return to_string(verdict);
  return painted(colours, verdict == engine::Verdict::permit ? Tone::good : Tone::bad, to_string(verdict));
}

std::string value_text(const std::optional<std::string> &value) {
  return value ? as_word(*value) : "absent";
}

std::string_view why_no_number(std::string_view value) {
  if (engine::parse_number(value)) return {};
  const bool whole = is_all_digits(value.starts_with('-') ? value.substr(1) : value);
  return whole ? "is beyond 64 bits" : "is not a whole number";
}

std::string answer_text(const FilterExplanation &filter) {
  const bool in_range = filter.filter->kind == FilterKind::range && filter.value;
  const std::string_view why = in_range ? why_no_number(*filter.value) : "";
  return concat(filter_text(*filter.filter),
                filter.holds ? " holds: " : " does not hold: ", filter.filter->attribute.value, " is ",
                value_text(filter.value), why.empty() ? "" : ", which ", why);
}

std::string change_text(const Change &change) {
  return concat(change.attribute, ": ", value_text(change.before), " -> ", value_text(change.after));
}

std::string inner_verdict_text(const EventExplanation &raised, Colours colours) {
  const engine::Verdict verdict = raised.outcome.verdict;
  const char *scope = verdict == engine::Verdict::none ? "" : ", but that decides only this inner event";
  return concat("event ", raised.event, ": ", verdict_text(verdict, colours), scope);
}

std::string limit_text(const Refusals &refusals) {
  return limit_text(*refusals.first->action, refusals.first->too_deep, refusals.count);
}

std::string limit_text(const Action &first, bool too_deep, size_t count) {
  const size_t limit = too_deep ? engine::kMaxDepth : engine::kMaxNested;
  const std::string more = count == 1 ? "" : concat(", and ", count - 1, " more");
  return concat("more than ", limit, " ", limit_of(first, too_deep), ": ", to_string(first), " is refused", more);
}

}  // namespace simulator
