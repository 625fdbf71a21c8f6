#include "simulator/text/text.h"

#include <algorithm>
#include <numeric>

#include "simulator/text/ranges.h"
#include "simulator/text/utf8.h"

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

// The control characters of both sets; soft hyphens and everything else without width that is no part of a word; what
// turns the direction of the text around it; the ends of lines and paragraphs beyond ASCII; annotations; tags.
constexpr CharacterRange kUnseen[] = {{0, 0x1f},        {0x7f, 0x9f},     {0xad, 0xad},     {0x61c, 0x61c},
                                      {0x180e, 0x180e}, {0x200b, 0x200b}, {0x200e, 0x200f}, {0x2028, 0x202e},
                                      {0x2060, 0x206f}, {0xfeff, 0xfeff}, {0xfff9, 0xfffb}, {0xe0000, 0xe007f}};

std::string hexadecimal(char32_t code, size_t digits) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text(digits, '0');
  for (size_t at = digits; at-- > 0; code >>= 4U)
    text[at] = kDigits[code & 0xfU];
  return text;
}

// Moves the character at the front of 'text', or its first byte if it begins with none, to 'out', escaped if nobody
// could see it.
void move_escaped(std::string_view &text, std::string &out) {
  const Character character = front_of(text);
  const size_t length = std::max<size_t>(character.length, 1);
  if (character.length == 0) {
    out += "\\x" + hexadecimal(static_cast<unsigned char>(text[0]), 2);
  } else if (is_unseen(character.code)) {
    out += escape_of(character.code);
  } else {
    out += text.substr(0, length);
  }
  text.remove_prefix(length);
}

}  // namespace

bool is_unseen(char32_t character) {
  if (character >= 0x20 && character < 0x7f) return false;
  return is_in(kUnseen, character);
}

std::string escape_of(char32_t character) {
  if (character < 0x80) return "\\x" + hexadecimal(character, 2);
  return character <= 0xffff ? "\\u" + hexadecimal(character, 4) : "\\U" + hexadecimal(character, 8);
}

std::string escape_control_characters(std::string_view text) {
  std::string out;
  while (!text.empty())
    move_escaped(text, out);
  return out;
}

std::string in_quotes(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) {
    const char character = text[0];
    if (character == '\n') {
      out += "\\n";
      text.remove_prefix(1);
    } else {
      if (character == '"' || character == '\\') out += '\\';
      move_escaped(text, out);
    }
  }
  return out + '"';
}

std::string listed_in_quotes(const std::vector<std::string> &texts) {
  std::vector<std::string> quoted;
  for (const std::string &text : texts)
    quoted.push_back(in_quotes(text));
  return listed(quoted);
}

std::string as_word(std::string_view text) {
  const bool is_plain = !text.empty() && text.find_first_of(" \"\\") == std::string_view::npos;
  return is_plain && escape_control_characters(text) == text ? std::string(text) : in_quotes(text);
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
