#include "simulator/explanation/words.h"

#include "simulator/text/text.h"

namespace simulator {

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

std::string value_text(const std::optional<std::string> &value) {
  return value ? as_word(*value) : "absent";
}

std::string answer_text(const FilterExplanation &filter) {
  return concat(filter_text(*filter.filter),
                filter.holds ? " holds: " : " does not hold: ", filter.filter->attribute.value, " is ",
                value_text(filter.value));
}

std::string change_text(const Change &change) {
  return concat(change.attribute, ": ", value_text(change.before), " -> ", value_text(change.after));
}

}  // namespace simulator
