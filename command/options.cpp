#include "command/options.h"

#include <algorithm>
#include <charconv>
#include <functional>

#include <CLI/CLI.hpp>

#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

CLI::Validator one_of(std::vector<std::string> words) {
  std::string described = "{" + comma_separated({words.begin(), words.end()}) + "}";
  const auto check = [words = std::move(words)](const std::string &word) -> std::string {
    if (std::find(words.begin(), words.end(), word) != words.end()) return {};
    const std::vector<std::string_view> known(words.begin(), words.end());
    const std::string_view near = nearest(word, known);
    return concat("'", word, "' is none of ", comma_separated(known),
                  near.empty() ? "" : concat("; did you mean '", near, "'?"));
  };
  return {check, std::move(described)};
}

// Checks the text as written: the parser would read leading zeros as an octal number.
std::string check_percentage(const std::string &text) {
  for (uint32_t percentage = 0; percentage <= 100; ++percentage) {
    if (text == std::to_string(percentage)) return {};
  }
  return concat("'", text, "' is no whole number from 0 to 100");
}

}  // namespace

void Options::required_argument(const char *name, std::string &value, const char *help) {
  command_.add_option(name, value, help)->required();
}

void Options::required_arguments(const char *name, std::vector<std::string> &values, const char *help) {
  command_.add_option(name, values, help)->required();
}

void Options::argument(const char *name, std::optional<std::string> &value, const char *help) {
  command_.add_option(name, value, help);
}

void Options::flag(const char *name, bool &value, const char *help) {
  command_.add_flag(name, value, help)->disable_flag_override();
}

void Options::option(const char *name, const char *type, std::string &value, const char *help) {
  command_.add_option(name, value, help)->type_name(type);
}

void Options::required_option(const char *name, const char *type, std::string &value, const char *help) {
  command_.add_option(name, value, help)->type_name(type)->required();
}

void Options::options(const char *name, const char *type, std::vector<std::string> &values, const char *help) {
  command_.add_option(name, values, help)->type_name(type)->allow_extra_args(false);
}

void Options::choice(const char *name, const char *type, std::string &value, std::vector<std::string> words,
                     const char *help) {
  CLI::Option *option = command_.add_option(name, value, help)->type_name(type)->check(one_of(std::move(words)));
  if (!value.empty()) option->capture_default_str();
}

void Options::choices(const char *name, const char *type, std::vector<std::string> &values,
                      std::vector<std::string> words, const char *help) {
  CLI::Validator known = one_of(std::move(words));
  known.description("");
  command_.add_option(name, values, help)->type_name(type)->allow_extra_args(false)->check(known);
}

void Options::percentage(const char *name, uint32_t &value, const char *help) {
  command_.add_option(name, value, help)->type_name("PERCENT")->check(CLI::Validator(check_percentage, "0 to 100"));
}

void Options::number(const char *name, const char *type, uint32_t &value, uint32_t most, const char *help) {
  // The parser itself would read leading zeros as an octal number.
  const auto check = [most](const std::string &text) -> std::string {
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool good = error == std::errc() && end == text.data() + text.size() && number <= most;
    const bool has_zeros = text.size() > 1 && text[0] == '0';
    return good && !has_zeros ? "" : concat("'", text, "' is no whole number from 0 to ", most);
  };
  command_.add_option(name, value, help)->type_name(type)->check(CLI::Validator(check, ""));
}

void Options::need(const char *one, const char *other) {
  command_.get_option(one)->needs(command_.get_option(other));
}

void Options::exclude(const char *one, const char *other) {
  command_.get_option(one)->excludes(command_.get_option(other));
}

void Options::epilogue(const char *text) {
  command_.footer(text);
}

void Options::epilogue(std::string (*text)()) {
  command_.footer(std::function<std::string()>(text));
}

}  // namespace command
