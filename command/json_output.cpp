#include "command/json_output.h"

#include <algorithm>

#include "simulator/text/text.h"
#include "simulator/text/utf8.h"

using namespace simulator;

namespace command {

namespace {

constexpr int kIndent = 2;

// JSON's escape for a character; one behind the first 65,536 is a pair of them.
std::string escape_in_json(char32_t character) {
  if (character < 0x10000) return (character < 0x80 ? "\\u00" : "\\u") + escape_of(character).substr(2);
  const char32_t bits = character - 0x10000;
  return escape_in_json(0xd800 + (bits >> 10U)) + escape_in_json(0xdc00 + (bits & 0x3ffU));
}

// What JSON would leave as it is although nobody can see it. It stands inside texts; newlines are layout.
std::string with_escapes(const std::string &json) {
  const bool is_ascii = std::all_of(json.begin(), json.end(), [](char byte) { return byte > 0 && byte < 0x7f; });
  if (is_ascii) return json;
  std::string escaped;
  for (std::string_view rest = json; !rest.empty();) {
    const Character character = front_of(rest);
    if (character.code >= 0x7f && is_unseen(character.code)) {
      escaped += escape_in_json(character.code);
    } else {
      escaped += rest.substr(0, character.length);
    }
    rest.remove_prefix(character.length);
  }
  return escaped;
}

std::string dumped(const Json &value) {
  return with_escapes(value.dump(kIndent, ' ', false, Json::error_handler_t::replace));
}

std::string indent(size_t depth) {
  return std::string(depth * kIndent, ' ');
}

// Indents a value for its place inside 'depth' levels. Newlines inside texts are escaped, so each one here is layout.
std::string dumped_inside(const Json &value, size_t depth) {
  std::string text = indent(depth);
  for (const char character : dumped(value)) {
    text += character;
    if (character == '\n') text += indent(depth);
  }
  return text;
}

// The members of an object at this depth, without the braces around them.
std::string members_of(const Json &object, size_t depth) {
  if (object.empty()) return {};
  const std::string text = dumped_inside(object, depth);
  const size_t first = text.find('\n');
  return text.substr(first, text.rfind('\n') - first);
}

}  // namespace

void print_json(std::ostream &out, const Json &object) {
  out << dumped(object) << '\n';
}

JsonStream::JsonStream(std::ostream &out, const Json &head, std::string_view list, size_t depth)
    : out_(&out), depth_(depth) {
  *out_ << indent(depth_) << '{' << members_of(head, depth_) << ",\n" << indent(depth_ + 1) << Json(list) << ": [";
}

void JsonStream::add(const Json &element) {
  const size_t depth = begin_element();
  *out_ << dumped_inside(element, depth);
}

size_t JsonStream::begin_element() {
  *out_ << (empty_ ? "\n" : ",\n");
  empty_ = false;
  return depth_ + 2;
}

void JsonStream::end(const Json &tail) {
  if (!empty_) *out_ << '\n' << indent(depth_ + 1);
  *out_ << ']' << (tail.empty() ? "" : ",") << members_of(tail, depth_) << '\n' << indent(depth_) << '}';
  if (depth_ == 0) *out_ << '\n';
}

}  // namespace command
