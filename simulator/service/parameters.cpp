#include "simulator/service/parameters.h"

#include <algorithm>

#include "simulator/explanation/explanation_text.h"
#include "simulator/messages/jsonrpc.h"
#include "simulator/text/text.h"

namespace simulator::service {

namespace {

using messages::ErrorCode;
using messages::Failure;

// What a text without a name is called in results.
constexpr const char *kUnnamed = "<text>";
// As many as --effort takes: a day.
constexpr uint64_t kMostSeconds = 86'400;

[[noreturn]] void refuse(std::string why) {
  throw Failure(ErrorCode::invalid_params, std::move(why));
}

bool is_value(const Json &value) {
  return value.is_string() || value.is_boolean() || value.is_number_integer();
}

bool is_policy(const Json &value) {
  if (value.is_boolean()) return value.get<bool>();
  return value.is_object() && std::all_of(value.items().begin(), value.items().end(), [](const auto &member) {
           return (member.key() == "path" || member.key() == "text" || member.key() == "name") &&
                  member.value().is_string();
         });
}

bool is_as(Takes takes, const Json &value) {
  switch (takes) {
    case Takes::text:
      return value.is_string();
    case Takes::texts:
      return value.is_array() &&
             std::all_of(value.begin(), value.end(), [](const Json &item) { return item.is_string(); });
    case Takes::attributes:
      return value.is_object() && std::all_of(value.begin(), value.end(), is_value);
    case Takes::level:
      return value.is_string() && parse_level(value.get<std::string>());
    case Takes::seconds:
      return value.is_number_unsigned() && value.get<uint64_t>() <= kMostSeconds;
    case Takes::policy:
      return is_policy(value);
    case Takes::id:
      return value.is_string() || value.is_number();
  }
  return false;
}

const Parameter *find(const std::vector<Parameter> &known, std::string_view name) {
  const auto found =
      std::find_if(known.begin(), known.end(), [&](const Parameter &parameter) { return parameter.name == name; });
  return found == known.end() ? nullptr : &*found;
}

std::string why_unknown(const std::vector<Parameter> &known, const std::string &name) {
  std::vector<std::string_view> names;
  for (const Parameter &parameter : known)
    names.push_back(parameter.name);
  return no_such("parameter", name, names);
}

}  // namespace

std::string_view word_of(Takes takes) {
  switch (takes) {
    case Takes::text:
      return "a text";
    case Takes::texts:
      return "a list of texts";
    case Takes::attributes:
      return "an object with a text, a whole number, true or false for each attribute";
    case Takes::level:
      return "decision, rules or filters";
    case Takes::seconds:
      return "a whole number of seconds up to 86400";
    case Takes::policy:
      return R"({"path"}, {"text", "name"} or true)";
    case Takes::id:
      return "the id of a request";
  }
  return {};
}

void check_parameters(const std::vector<Parameter> &known, const Json &given) {
  if (given.is_array()) refuse("parameters are given by name, in an object");
  for (const auto &[name, value] : given.items()) {
    const Parameter *parameter = find(known, name);
    if (!parameter) refuse(why_unknown(known, name));
    if (!is_as(parameter->takes, value)) refuse(concat("'", name, "' is not ", word_of(parameter->takes)));
  }
  for (const Parameter &parameter : known) {
    if (parameter.required && !given.contains(parameter.name))
      refuse(concat("'", parameter.name, "' is missing: ", word_of(parameter.takes)));
  }
}

std::optional<std::string> text_in(const Json &given, const char *name) {
  if (!given.contains(name)) return std::nullopt;
  return given[name].get<std::string>();
}

std::vector<std::string> texts_in(const Json &given, const char *name) {
  return given.contains(name) ? given[name].get<std::vector<std::string>>() : std::vector<std::string>();
}

std::vector<std::pair<std::string, std::string>> attributes_in(const Json &given, const char *name) {
  std::vector<std::pair<std::string, std::string>> attributes;
  if (!given.contains(name)) return attributes;
  for (const auto &[attribute, value] : given[name].items())
    attributes.emplace_back(attribute, value.is_string() ? value.get<std::string>() : value.dump());
  return attributes;
}

std::optional<Source> source_in(const Json &given, Diagnostics &diagnostics) {
  const std::optional<std::string> path = text_in(given, "path");
  std::optional<std::string> text = text_in(given, "text");
  const std::optional<std::string> name = text_in(given, "name");
  if (path && text) refuse("either 'path' or 'text', not both");
  if (name && !text) refuse("'name' is for a 'text'");
  if (path) return Source::read(*path, diagnostics);
  if (!text) return std::nullopt;
  Source source(name.value_or(kUnnamed), std::move(*text));
  source.check(diagnostics);
  return source;
}

}  // namespace simulator::service
