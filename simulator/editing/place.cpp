#include "simulator/editing/place.h"

#include <algorithm>

#include "simulator/policy/yaml.h"
#include "simulator/policy/yaml_openings.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

// Stands for the word that is being written. It looks like a name, and no one else would choose it.
constexpr std::string_view kWord = "zar_word_that_is_being_written";

bool is_word_character(char character) {
  const bool is_letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
  const bool is_digit = character >= '0' && character <= '9';
  return is_letter || is_digit || std::string_view("_-./+:@").find(character) != std::string_view::npos;
}

std::string_view line_from(std::string_view text, size_t begin) {
  return text.substr(begin, text.find('\n', begin) - begin);
}

// Or only a comment, or indented with tabs, which no policy file is.
bool is_blank(std::string_view line) {
  const size_t content = line.find_first_not_of(" \r");
  return content == std::string_view::npos || line[content] == '#' || line[content] == '\t';
}

size_t indent_of(std::string_view line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

bool is_item(std::string_view content) {
  return content.starts_with("- ") || content == "-" || content == "-\r";
}

// A colon between a key and its value is no part of a word.
Span word_before(std::string_view text, size_t offset) {
  size_t begin = offset;
  while (begin > 0 && is_word_character(text[begin - 1]))
    --begin;
  if (begin < offset && text[offset - 1] == ':') begin = offset;
  if (begin < offset && text[begin] == '-' && begin + 1 == offset) begin = offset;
  return {begin, offset};
}

// Where the text begins that says in which brackets the place is: the last line without any indentation.
size_t begin_of_section(std::string_view text, size_t offset) {
  for (size_t line = begin_of_line(text, offset);; line = begin_of_line(text, line - 1)) {
    const std::string_view content = line_from(text, line);
    if (line == 0 ||
        (!is_blank(content) && indent_of(content) == 0 && !is_item(content) && content[0] != '}' && content[0] != ']'))
      return line;
  }
}

// A line up to the colon behind its first key: what is left of it when its value does not matter.
std::string without_value(std::string_view line) {
  size_t at = indent_of(line);
  while (is_item(line.substr(at)))
    at += 1 + indent_of(line.substr(at + 1));
  for (size_t colon = line.find(':', at); colon != std::string_view::npos; colon = line.find(':', colon + 1)) {
    if (colon + 1 == line.size() || line[colon + 1] == ' ' || line[colon + 1] == '\r')
      return concat(line.substr(0, colon + 1), "\n");
  }
  return concat(line.substr(0, at), "\n");
}

// The lines above that lead to a line with this indentation: those that contain it, and the keys beside it.
std::string lines_that_lead_to(std::string_view text, size_t section, size_t line, size_t indent, bool item) {
  std::vector<std::string> lines;
  bool beside = !item;
  while (line > section) {
    line = begin_of_line(text, line - 1);
    const std::string_view content = line_from(text, line);
    if (is_blank(content)) continue;
    const size_t at = indent_of(content);
    const bool is_list_item = is_item(content.substr(at));
    // The items of a list may stand right below its key.
    const bool contains = at < indent || (at == indent && item && !is_list_item);
    const bool stands_beside = beside && at == indent && !is_list_item;
    if (!contains && !stands_beside) continue;
    // The end of a value in brackets contains nothing.
    std::string kept = without_value(content);
    if (is_blank(kept.substr(0, kept.size() - 1))) continue;
    lines.push_back(std::move(kept));
    if (!contains) continue;
    beside = false;
    indent = at;
    item = is_list_item;
    if (indent == 0 && !item) break;
  }
  std::string all;
  for (auto each = lines.rbegin(); each != lines.rend(); ++each)
    all += *each;
  return all;
}

struct Prefix {
  std::string text{};
  std::string closing{};
  bool in_brackets = false;
};

// The text that leads to the word, and what closes its brackets. Brackets are looked for from 'start' on.
Prefix prefix_of(std::string_view text, size_t section, size_t start, size_t word) {
  const yaml::Openings openings = yaml::find_openings(text.substr(start, word - start));
  Prefix prefix{.in_brackets = !openings.brackets.empty()};
  const size_t first = prefix.in_brackets ? start + openings.brackets.front() : word;
  const size_t line = begin_of_line(text, first);
  const std::string_view own = text.substr(line, word - line);
  const size_t indent = indent_of(own);
  prefix.text = lines_that_lead_to(text, section, line, indent, is_item(own.substr(indent)));
  prefix.text += own;
  for (auto each = openings.brackets.rbegin(); each != openings.brackets.rend(); ++each)
    prefix.closing += text[start + *each] == '[' ? ']' : '}';
  return prefix;
}

// Follows the last values of a tree down to the word.
class Search {
 public:
  std::optional<Place> run(const yaml::Node &root) {
    go(root, file_shape());
    return found_ ? std::optional(std::move(place_)) : std::nullopt;
  }

 private:
  void go(const yaml::Node &node, const Shape &shape) {
    if (node.kind == yaml::Kind::scalar && node.text == kWord) {
      place_.shape = &shape;
      found_ = true;
    } else if (node.kind == yaml::Kind::sequence && shape.item && !node.items.empty()) {
      go(*node.items.back(), *shape.item);
    } else if (node.kind == yaml::Kind::mapping && !node.entries.empty()) {
      go_into(node, shape);
    }
  }

  void go_into(const yaml::Node &mapping, const Shape &shape) {
    place_.present.clear();
    const auto &[key, value] = mapping.entries.back();
    for (const auto &entry : mapping.entries)
      place_.present.push_back(entry.first->text);
    if (key->text == kWord) {
      place_.present.pop_back();
      place_.shape = &shape;
      place_.is_key = true;
      found_ = true;
    } else if (const Shape::Key *known = shape.find(key->text)) {
      go(*value, *known->value);
    } else if (shape.any_value) {
      go(*value, *shape.any_value);
    }
  }

  Place place_;
  bool found_ = false;
};

std::optional<Place> parse_and_search(std::string text) {
  const Source source("", std::move(text));
  Diagnostics diagnostics;
  const std::optional<yaml::Document> document = yaml::parse(source, diagnostics);
  if (!document) return std::nullopt;
  if (document->root().kind == yaml::Kind::scalar && document->root().text == kWord)
    return Place{.shape = &file_shape(), .is_key = true};
  return Search().run(document->root());
}

// A word alone can be an item or a key; the parser accepts only one of them.
std::optional<Place> search(const Prefix &prefix) {
  std::optional<Place> place = parse_and_search(concat(prefix.text, kWord, prefix.closing, "\n"));
  if (!place) place = parse_and_search(concat(prefix.text, kWord, ":", prefix.closing, "\n"));
  if (place) place->in_brackets = prefix.in_brackets;
  return place;
}

// Whether only blanks and the signs of list items stand before the word in its line.
bool is_first_in_line(std::string_view text, size_t word) {
  const size_t line = begin_of_line(text, word);
  return text.substr(line, word - line).find_first_not_of(" -") == std::string_view::npos;
}

}  // namespace

std::optional<std::string_view> comment_before(std::string_view text, size_t offset) {
  const size_t line = begin_of_line(text, offset);
  const std::string_view before = text.substr(line, offset - line);
  char quote = 0;
  for (size_t at = 0; at < before.size(); ++at) {
    const char character = before[at];
    if (quote != 0) {
      if (character == quote) quote = 0;
    } else if (character == '"' || character == '\'') {
      quote = character;
    } else if (character == '#' && (at == 0 || before[at - 1] == ' ')) {
      return before.substr(at);
    }
  }
  return std::nullopt;
}

std::optional<Place> place_at(std::string_view text, size_t offset) {
  if (comment_before(text, offset)) return std::nullopt;
  const Span word = word_before(text, offset);
  const size_t section = begin_of_section(text, word.begin);
  std::optional<Place> place = search(prefix_of(text, section, section, word.begin));
  // A bracket further up that is never closed must not matter here.
  if (!place) place = search(prefix_of(text, section, begin_of_line(text, word.begin), word.begin));
  if (!place) return std::nullopt;
  place->word = word;
  // Where a mapping has to begin, the word is its first key.
  const bool begins_mapping = place->shape->is_mapping() && place->shape->words.empty();
  if (!place->is_key && begins_mapping && (place->in_brackets || is_first_in_line(text, word.begin))) {
    place->is_key = true;
    place->present.clear();
  }
  return place;
}

}  // namespace simulator::editing
