#include "tool/arguments.h"

#include <unordered_set>

#include "tool/policy/attributes.h"
#include "tool/policy/text.h"
#include "tool/report.h"

namespace tool {

void complain_about_name(std::string_view what, std::string_view name, const std::vector<std::string_view> &known) {
  const std::string_view near = nearest(name, known);
  complain(text_of("there is no ", what, " '", name, "'", near.empty() ? "" : text_of("; did you mean '", near, "'?")));
}

std::optional<Step> parse_event(const std::string &text, const PolicyFile &file) {
  const size_t at = text.find('@');
  if (at == std::string::npos) {
    complain(text_of("'", text, "' is no event: expected NAME@TARGET"));
    return std::nullopt;
  }
  Step step;
  step.event.value = text.substr(0, at);
  step.target.value = text.substr(at + 1);

  if (file.event_id(step.event.value) == 0) {
    complain_about_name("event", step.event.value, {file.events.begin(), file.events.end()});
    return std::nullopt;
  }
  if (!file.find_target(step.target.value)) {
    std::vector<std::string_view> known;
    for (const Target &target : file.targets)
      known.push_back(target.name.value);
    complain_about_name("target", step.target.value, known);
    return std::nullopt;
  }
  return step;
}

namespace {

bool is_attribute(std::string_view name, const PolicyFile &file) {
  std::unordered_set<std::string_view> seen;
  std::vector<std::string_view> names;
  for_each_attribute(file, [&](const Name &attribute) {
    if (seen.insert(attribute.value).second) names.push_back(attribute.value);
  });
  if (seen.contains(name)) return true;
  complain_about_name("attribute", name, names);
  return false;
}

}  // namespace

bool parse_set(const std::string &text, const PolicyFile &file, Step &step) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) {
    complain(text_of("'", text, "' sets nothing: expected ATTRIBUTE=VALUE"));
    return false;
  }
  std::string name = text.substr(0, equals);
  if (!is_attribute(name, file)) return false;
  Assignment &given = step.set.emplace_back();
  given.attribute.value = std::move(name);
  given.text = text.substr(equals + 1);
  return true;
}

bool parse_clear(const std::string &text, const PolicyFile &file, Step &step) {
  if (!is_attribute(text, file)) return false;
  step.clear.push_back({text, {}});
  return true;
}

}  // namespace tool
