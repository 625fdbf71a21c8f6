#include "tool/policy/text.h"

#include <algorithm>
#include <numeric>

namespace tool {

std::string comma_separated(const std::vector<std::string_view> &words) {
  std::string all;
  for (const std::string_view word : words) {
    if (!all.empty()) all += ", ";
    all += word;
  }
  return all;
}

std::string quoted(std::string_view text) {
  constexpr char kHex[] = "0123456789abcdef";
  std::string out = "\"";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\') {
      out += '\\';
      out += character;
    } else if (character == '\n') {
      out += "\\n";
    } else if (byte < 0x20 || byte == 0x7f) {
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xf];
    } else {
      out += character;
    }
  }
  return out + '"';
}

std::string as_word(std::string_view text) {
  const auto is_plain = [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte > 0x20 && byte != 0x7f && character != '"' && character != '\\';
  };
  return !text.empty() && std::all_of(text.begin(), text.end(), is_plain) ? std::string(text) : quoted(text);
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
  // Nobody misspells a longer word than names may have, and the distance costs the product of the lengths.
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

}  // namespace tool
