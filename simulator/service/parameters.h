// The parameters of requests: what a method takes, and reading it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/kinds.h"
#include "simulator/policy/source.h"
#include "simulator/text/json.h"

namespace simulator::service {

enum class Takes : uint8_t {
  text,
  texts,       // a list of them
  attributes,  // an object: a name, and a text, a whole number, true or false
  level,       // decision, rules or filters
  seconds,
  policy,  // {"path"} or {"text", "name"}, or true for the loaded file
  id,      // of a request
};

struct Parameter {
  std::string_view name;
  Takes takes;
  bool required = false;
};

// The words for what it takes, for messages and documents.
std::string_view word_of(Takes takes);

// Throws messages::Failure if there are others than these, one is missing, or one is of another kind.
void check_parameters(const std::vector<Parameter> &known, const Json &given);

// Those that were given, after check_parameters().
std::optional<std::string> text_in(const Json &given, const char *name);
std::vector<std::string> texts_in(const Json &given, const char *name);
// Names and values as texts.
std::vector<std::pair<std::string, std::string>> attributes_in(const Json &given, const char *name);

// The policy file that "path", or "text" and "name", in 'given' describe; nothing if there is neither. Adds an error if it
// cannot be read or is no text. Throws Failure if they do not go together.
std::optional<Source> source_in(const Json &given, Diagnostics &diagnostics);

}  // namespace simulator::service
