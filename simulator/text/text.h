// Small helpers for texts.
#pragma once

#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// The parts, one after the other.
template <class... Parts>
std::string concat(const Parts &...parts) {
  std::ostringstream out;
  (out << ... << parts);
  return std::move(out).str();
}

// "a, b, c".
std::string comma_separated(const std::vector<std::string_view> &words);
// The same, and "nothing" where there are none.
std::string listed(const std::vector<std::string> &words);

// 'text' in double quotes; quotes, backslashes and control characters inside are escaped.
std::string quoted(std::string_view text);

// 'text' as it stands when it is one plain word, else quoted: a word that is set apart from its neighbours by blanks.
std::string as_word(std::string_view text);

// The text with control characters escaped: what came from outside, on its way to a terminal.
std::string escape_control_characters(std::string_view text);

// Every line of 'text' with 'indent' in front of it. Each line has an end.
std::string indented(std::string_view text, std::string_view indent);

// The candidate that 'word' is most likely a misspelling of, or nothing.
std::string_view nearest(std::string_view word, const std::vector<std::string_view> &candidates);

// Sentences about what is wrong, for whoever shows them.
using Complaints = std::vector<std::string>;

// "there is no WHAT 'NAME'; did you mean 'OTHER'?"
std::string no_such(std::string_view what, std::string_view name, const std::vector<std::string_view> &known);

}  // namespace simulator
