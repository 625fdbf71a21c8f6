#include "command/usage_errors.h"

#include <algorithm>

#include <CLI/CLI.hpp>

#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using Arguments = std::vector<std::string>;

bool takes_no_value(const CLI::Option &option) {
  return option.get_items_expected_max() == 0;
}

std::string describe_missing(const CLI::App &parser) {
  for (const CLI::Option *option : parser.get_options()) {
    if (option->get_required() && option->count() == 0) return concat(option->get_name(), " is required");
  }
  return "a command is missing";
}

// The program's parser keeps what follows "--" as surplus, the command's parser everything else.
std::string describe_surplus(const CLI::App &parser) {
  Arguments surplus = parser.remaining();
  if (surplus.empty() && parser.get_parent()) surplus = parser.get_parent()->remaining();
  if (surplus.empty()) return "there is an argument too many";
  return concat("'", surplus.front(), "' is one argument too many");
}

std::string describe_exclusion(const CLI::App &parser) {
  for (const CLI::Option *option : parser.get_options()) {
    if (option->count() == 0) continue;
    for (const CLI::Option *other : option->get_excludes()) {
      if (other->count() != 0) return concat(option->get_name(), " and ", other->get_name(), " exclude each other");
    }
  }
  return "two of the options exclude each other";
}

std::string describe_need(const CLI::App &parser) {
  for (const CLI::Option *option : parser.get_options()) {
    if (option->count() == 0) continue;
    for (const CLI::Option *other : option->get_needs()) {
      if (other->count() == 0) return concat(option->get_name(), " needs ", other->get_name());
    }
  }
  return "one of the options needs another one";
}

std::string describe_repeated(const CLI::App &parser) {
  for (const CLI::Option *option : parser.get_options()) {
    if (takes_no_value(*option)) continue;
    const auto most = static_cast<size_t>(option->get_items_expected_max());
    if (option->count() > most) return concat(option->get_name(), " is given ", option->count(), " times, not once");
  }
  return {};
}

std::string describe_flag_with_value(const CLI::App &parser, const Arguments &arguments) {
  for (const std::string &argument : arguments) {
    const size_t equals = argument.find('=');
    if (equals == std::string::npos) continue;
    const CLI::Option *option = parser.get_option_no_throw(argument.substr(0, equals));
    if (option && takes_no_value(*option)) return concat(option->get_name(), " takes no value");
  }
  return {};
}

// "LEVEL:{a, b}" and "PERCENT:0 to 100", as the help has them, in words.
std::string describe_type(const CLI::Option &option) {
  std::string type = option.get_type_name();
  const size_t colon = type.find(':');
  if (colon == std::string::npos) return type;
  const std::string values = type.substr(colon + 1);
  const bool is_list = values.starts_with('{') && values.ends_with('}');
  return is_list ? concat("one of ", values.substr(1, values.size() - 2)) : values;
}

// An option takes any argument after it as its value, so only the last argument can lack one.
std::string describe_missing_value(const CLI::App &parser, const Arguments &arguments) {
  const std::string &last = arguments.back();
  const CLI::Option *option = parser.get_option_no_throw(last.substr(0, last.find('=')));
  if (!option) return {};
  return concat(option->get_name(), " needs a value: ", describe_type(*option));
}

std::string describe_values(const CLI::App &parser, const Arguments &arguments) {
  std::string sentence = describe_repeated(parser);
  if (sentence.empty()) sentence = describe_flag_with_value(parser, arguments);
  if (sentence.empty()) sentence = describe_missing_value(parser, arguments);
  return sentence;
}

}  // namespace

std::string describe_usage(const CLI::ParseError &error, const CLI::App &parser, const Arguments &arguments) {
  std::string sentence;
  switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
    case CLI::ExitCodes::RequiredError:
      return describe_missing(parser);
    case CLI::ExitCodes::ExtrasError:
      return describe_surplus(parser);
    case CLI::ExitCodes::ExcludesError:
      return describe_exclusion(parser);
    case CLI::ExitCodes::RequiresError:
      return describe_need(parser);
    case CLI::ExitCodes::ArgumentMismatch:
    case CLI::ExitCodes::ConversionError:
      sentence = describe_values(parser, arguments);
      break;
    case CLI::ExitCodes::ValidationError:
      // The option's name and the sentence of a check of our own.
      return error.what();
    default:
      break;
  }
  return sentence.empty() ? "the arguments cannot be understood" : sentence;
}

}  // namespace command
