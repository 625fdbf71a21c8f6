#include "simulator/policy/step_text.h"

#include <algorithm>

#include "simulator/policy/attributes.h"
#include "simulator/policy/kinds.h"
#include "simulator/policy/value.h"

namespace simulator {

std::optional<Step> parse_event(const std::string &text, const PolicyFile &file, Complaints &complaints) {
  const size_t at = text.find('@');
  if (at == std::string::npos) {
    complaints.push_back(concat("'", text, "' is no event: expected NAME@TARGET"));
    return std::nullopt;
  }
  return make_step(text.substr(0, at), text.substr(at + 1), file, complaints);
}

std::optional<Step> make_step(std::string event, std::string target, const PolicyFile &file, Complaints &complaints) {
  Step step;
  step.event.value = std::move(event);
  step.target.value = std::move(target);

  if (file.event_id(step.event.value) == 0) {
    complaints.push_back(no_such("event", step.event.value, {file.events.begin(), file.events.end()}));
    return std::nullopt;
  }
  if (!file.find_target(step.target.value)) {
    complaints.push_back(no_such("target", step.target.value, names_of(file, ObjectKind::target)));
    return std::nullopt;
  }
  return step;
}

namespace {

bool is_attribute(std::string_view name, const PolicyFile &file, Complaints &complaints) {
  const std::vector<std::string_view> names = attribute_names(file);
  if (std::find(names.begin(), names.end(), name) != names.end()) return true;
  complaints.push_back(no_such("attribute", name, names));
  return false;
}

}  // namespace

bool parse_set(const std::string &text, const PolicyFile &file, Step &step, Complaints &complaints) {
  const size_t equals = text.find('=');
  if (equals == std::string::npos) {
    complaints.push_back(concat("'", text, "' sets nothing: expected ATTRIBUTE=VALUE"));
    return false;
  }
  return add_set(text.substr(0, equals), text.substr(equals + 1), file, step, complaints);
}

bool add_set(std::string attribute, std::string value, const PolicyFile &file, Step &step, Complaints &complaints) {
  if (!is_attribute(attribute, file, complaints)) return false;
  if (const std::optional<BadValue> bad = check_value(value)) {
    complaints.push_back(
        concat("the attribute '", attribute, "' cannot have ", bad->what, ": expected ", bad->expected));
    return false;
  }
  Assignment &given = step.set.emplace_back();
  given.attribute.value = std::move(attribute);
  given.text = std::move(value);
  return true;
}

bool parse_clear(const std::string &text, const PolicyFile &file, Step &step, Complaints &complaints) {
  if (!is_attribute(text, file, complaints)) return false;
  step.clear.push_back({text, {}});
  return true;
}

}  // namespace simulator
