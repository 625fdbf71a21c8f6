#include "simulator/session/words.h"

#include <algorithm>
#include <utility>

namespace simulator::session {

namespace {

bool is_blank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

bool is_quote(char character) {
  return character == '"' || character == '\'';
}

}  // namespace

std::string_view Line::rest_after(size_t count) const {
  if (words.size() <= count) return {};
  std::string_view rest = std::string_view(text).substr(ends[count - 1]);
  while (!rest.empty() && is_blank(rest.front()))
    rest.remove_prefix(1);
  while (!rest.empty() && is_blank(rest.back()))
    rest.remove_suffix(1);
  return rest;
}

size_t Line::first_bar(size_t from) const {
  const auto begin = are_bars.begin() + static_cast<std::ptrdiff_t>(std::min(from, are_bars.size()));
  return static_cast<size_t>(std::find(begin, are_bars.end(), true) - are_bars.begin());
}

Line split(std::string text) {
  Line line;
  std::string word;
  bool in_word = false;
  bool has_quotes = false;
  char open = '\0';
  const auto end_word = [&](size_t at) {
    if (!in_word) return;
    line.are_bars.push_back(word == "|" && !has_quotes);
    line.words.push_back(std::exchange(word, {}));
    line.ends.push_back(at);
    in_word = has_quotes = false;
  };
  for (size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (open != '\0') {
      if (character == open) {
        open = '\0';
      } else {
        word += character;
      }
    } else if (is_blank(character)) {
      end_word(at);
    } else if (character == '#' && !in_word && line.words.empty()) {
      return Line{};
    } else {
      in_word = true;
      if (is_quote(character)) {
        open = character;
        has_quotes = true;
      } else {
        word += character;
      }
    }
  }
  line.unclosed = open != '\0';
  end_word(text.size());
  line.text = std::move(text);
  return line;
}

}  // namespace simulator::session
