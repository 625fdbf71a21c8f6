// Small helpers for texts.
#pragma once

#include <initializer_list>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace simulator {

// Appends 'part' as a stream writes it. Making a stream takes longer than most texts, so only parts that are neither texts
// nor whole numbers have one.
template <class Part>
void append_part(std::string &text, const Part &part) {
  if constexpr (std::is_convertible_v<const Part &, std::string_view>) {
    text += std::string_view(part);
  } else if constexpr (std::is_same_v<Part, char>) {
    text += part;
  } else if constexpr (std::is_integral_v<Part> && sizeof(Part) > sizeof(char)) {
    text += std::to_string(part);
  } else {
    std::ostringstream out;
    out << part;
    text += out.view();
  }
}

// Joins the parts into one text.
template <class... Parts>
std::string concat(const Parts &...parts) {
  std::string text;
  (append_part(text, parts), ...);
  return text;
}

// "a, b, c".
std::string comma_separated(const std::vector<std::string_view> &words);
// The same, but "nothing" for an empty list.
std::string listed(const std::vector<std::string> &words);

// 'text' in double quotes, with quotes, backslashes and everything that nobody could see inside it escaped. Not named like
// std::quoted, which a call with a std::string would prefer where <filesystem> or <iomanip> is included.
std::string in_quotes(std::string_view text);
// The same for each, as in listed().
std::string listed_in_quotes(const std::vector<std::string> &texts);

// 'text' itself when it is one plain word, else quoted: for texts that blanks separate from their neighbours.
std::string as_word(std::string_view text);

// Whether a terminal obeys the character, or shows nothing of it: control characters of all kinds, those that turn the
// direction of a text around, and those without width. The two joiners of letters are none of them: some scripts cannot
// be written without.
bool is_unseen(char32_t character);

// "\x1b", "\u202e", "\U000e0001": the escape for a character that nobody could see, which YAML, JSON and most languages
// read alike.
std::string escape_of(char32_t character);

// The text as every output shows texts from outside, file names and messages with either in them: escapes instead of the
// characters that nobody could see, and of bytes that are no UTF-8. JSON has escapes of its own.
std::string escape_control_characters(std::string_view text);

// Every line of 'text', with 'indent' in front of it. Every line ends with a newline.
std::string indented(std::string_view text, std::string_view indent);

// The candidate that 'word' is most likely a misspelling of, or nothing.
std::string_view nearest(std::string_view word, const std::vector<std::string_view> &candidates);

// Sentences about what is wrong, for the caller to print.
using Complaints = std::vector<std::string>;

// "there is no WHAT 'NAME'; did you mean 'OTHER'?"
std::string no_such(std::string_view what, std::string_view name, const std::vector<std::string_view> &known);

}  // namespace simulator
