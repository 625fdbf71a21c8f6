#include "simulator/policy/name.h"

#include <algorithm>

#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr size_t kLongestName = 63;
// The repository's key of a map consists of its name, domain and type, and is cut at 99 characters; with these bounds
// no two maps ever share a key.
constexpr size_t kLongestDomain = 31;

bool is_name_character(char character, NameKind kind) {
  const bool letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
  const bool digit = character >= '0' && character <= '9';
  if (letter || digit || std::string_view("_-./+").find(character) != std::string_view::npos) return true;
  return kind == NameKind::target && (character == ':' || character == '@');
}

size_t longest_of(NameKind kind) {
  return kind == NameKind::domain ? kLongestDomain : kLongestName;
}

}  // namespace

bool is_name(std::string_view text, NameKind kind) {
  return !text.empty() && text.size() <= longest_of(kind) &&
         std::all_of(text.begin(), text.end(), [&](char character) { return is_name_character(character, kind); });
}

std::string describe_name(NameKind kind) {
  return concat("1 to ", longest_of(kind), " letters, digits and ", kind == NameKind::target ? "_-./+:@" : "_-./+");
}

std::string shown(std::string_view text) {
  constexpr size_t kLongestShown = 40;
  if (text.size() <= kLongestShown) return concat("'", text, "'");
  return concat("'", text.substr(0, kLongestShown), "...'");
}

}  // namespace simulator
