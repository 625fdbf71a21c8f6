#include "simulator/text/text.h"

#include <algorithm>
#include <numeric>

namespace simulator {

std::string comma_separated(const std::vector<std::string_view> &words) {
  std::string all;
  for (const std::string_view word : words) {
    if (!all.empty()) all += ", ";
    all += word;
  }
  return all;
}

std::string listed(const std::vector<std::string> &words) {
  return words.empty() ? "nothing" : comma_separated({words.begin(), words.end()});
}

std::string indented(std::string_view text, std::string_view indent) {
  std::string all;
  while (!text.empty()) {
    const size_t length = text.find('\n') + 1;
    all += concat(indent, text.substr(0, length));
    text.remove_prefix(length);
  }
  return all;
}

namespace {

// The number of bytes of the control character at the start of the text; 0 when the text starts with another character.
size_t control_length(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x20 || lead == 0x7f) return 1;
  // The second set of control characters, which some terminals also interpret.
  const bool second_set = lead == 0xc2 && text.size() > 1 && static_cast<unsigned char>(text[1]) - 0x80U < 0x20;
  return second_set ? 2 : 0;
}

// Moves a control character at the start of 'text', if there is one, to 'out', escaped.
bool escape_control(std::string_view &text, std::string &out) {
  constexpr char kHex[] = "0123456789abcdef";
  const size_t length = control_length(text);
  for (const char character : text.substr(0, length)) {
    const auto byte = static_cast<unsigned char>(character);
    out += "\\x";
    out += kHex[byte >> 4];
    out += kHex[byte & 0xf];
  }
  text.remove_prefix(length);
  return length > 0;
}

}  // namespace

std::string quoted(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) {
    const char character = text[0];
    if (character == '\n') {
      out += "\\n";
    } else if (escape_control(text, out)) {
      continue;
    } else {
      if (character == '"' || character == '\\') out += '\\';
      out += character;
    }
    text.remove_prefix(1);
  }
  return out + '"';
}

std::string as_word(std::string_view text) {
  bool is_plain = !text.empty();
  for (size_t at = 0; at < text.size() && is_plain; ++at) {
    const char character = text[at];
    is_plain = character != ' ' && character != '"' && character != '\\' && control_length(text.substr(at)) == 0;
  }
  return is_plain ? std::string(text) : quoted(text);
}

std::string escape_control_characters(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    if (escape_control(text, out)) continue;
    out += text[0];
    text.remove_prefix(1);
  }
  return out;
}

namespace {

// The number of characters to insert, remove, replace or swap with a neighbour.
size_t edit_distance(std::string_view from, std::string_view to) {
  std::vector<size_t> before_last(to.size() + 1);
  std::vector<size_t> last(to.size() + 1);
  std::vector<size_t> row(to.size() + 1);
  std::iota(last.begin(), last.end(), size_t{0});

  for (size_t i = 1; i <= from.size(); ++i) {
    row[0] = i;
    for (size_t j = 1; j <= to.size(); ++j) {
      const size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, last[j] + 1, row[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1];
      if (swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
    }
    before_last.swap(last);
    last.swap(row);
  }
  return last[to.size()];
}

}  // namespace

std::string_view nearest(std::string_view word, const std::vector<std::string_view> &candidates) {
  // No misspelt word is longer than a name may be, and the distance costs the product of the two lengths.
  constexpr size_t kLongest = 64;
  constexpr size_t kMostCandidates = 2000;
  if (word.size() > kLongest) return {};

  std::string_view best;
  size_t best_distance = std::max<size_t>(1, word.size() / 3) + 1;
  for (size_t at = 0; at < std::min(candidates.size(), kMostCandidates); ++at) {
    const std::string_view candidate = candidates[at];
    const size_t longer = std::max(word.size(), candidate.size());
    const size_t shorter = std::min(word.size(), candidate.size());
    if (longer - shorter >= best_distance) continue;
    const size_t distance = edit_distance(word, candidate);
    if (distance >= best_distance) continue;
    best = candidate;
    best_distance = distance;
  }
  return best;
}

std::string no_such(std::string_view what, std::string_view name, const std::vector<std::string_view> &known) {
  const std::string_view near = nearest(name, known);
  return concat("there is no ", what, " '", name, "'", near.empty() ? "" : concat("; did you mean '", near, "'?"));
}

}  // namespace simulator
