#include "simulator/policy/parse_condition.h"

#include <algorithm>

#include "simulator/policy/attributes.h"
#include "simulator/policy/parse_text.h"
#include "simulator/policy/pattern.h"

namespace simulator {

namespace {

constexpr std::string_view kNot = "not ";

bool compile(Filter &filter, Complaints &complaints) {
  if (filter.kind != FilterKind::regex) return true;
  std::shared_ptr<const RE2> pattern = compile_pattern(filter.text);
  if (!pattern->ok()) {
    complaints.push_back(concat(in_quotes(filter.text), " is not a regular expression: ", describe(*pattern)));
    return false;
  }
  filter.pattern = std::move(pattern);
  return true;
}

}  // namespace

std::optional<Filter> parse_condition(const std::string &text, const std::vector<const PolicyFile *> &files,
                                      Complaints &complaints) {
  const bool is_negated = text.starts_with(kNot);
  std::optional<Filter> filter = parse_filter(is_negated ? text.substr(kNot.size()) : text);
  if (!filter) {
    complaints.push_back(concat("'", text,
                                "' is not a filter: a filter is ATTRIBUTE equals TEXT, ATTRIBUTE prefix TEXT, ",
                                "ATTRIBUTE regex TEXT, ATTRIBUTE range LOW..HIGH or ATTRIBUTE present, with 'not' in ",
                                "front for the opposite"));
    return std::nullopt;
  }
  filter->no_match = is_negated;
  std::vector<std::string_view> known;
  for (const PolicyFile *file : files) {
    const std::vector<std::string_view> names = attribute_names(*file);
    known.insert(known.end(), names.begin(), names.end());
  }
  if (std::find(known.begin(), known.end(), filter->attribute.value) == known.end()) {
    complaints.push_back(no_such("attribute", filter->attribute.value, known));
    return std::nullopt;
  }
  return compile(*filter, complaints) ? filter : std::nullopt;
}

}  // namespace simulator
