#include "tool/json_output.h"

namespace tool {

namespace {

constexpr int kSchemaVersion = 1;
constexpr int kIndent = 2;

std::string dumped(const Json &value) {
  return value.dump(kIndent, ' ', false, Json::error_handler_t::replace);
}

// As 'depth' levels inside of something else. A line end inside of a text is escaped, so each one here is the layout's.
std::string dumped_inside(const Json &value, size_t depth) {
  const std::string indent(depth * kIndent, ' ');
  std::string text = indent;
  for (const char character : dumped(value)) {
    text += character;
    if (character == '\n') text += indent;
  }
  return text;
}

// The members of an object with what goes around it left out.
std::string members_of(const Json &object) {
  const std::string text = dumped(object);
  return object.empty() ? "" : text.substr(1, text.size() - 3);
}

}  // namespace

Json begin_json(std::string_view command) {
  Json object;
  object["schema_version"] = kSchemaVersion;
  object["command"] = command;
  return object;
}

void print_json(std::ostream &out, const Json &object) {
  out << dumped(object) << '\n';
}

JsonStream::JsonStream(std::ostream &out, const Json &head, std::string_view list) : out_(&out) {
  *out_ << '{' << members_of(head) << ",\n" << std::string(kIndent, ' ') << Json(list) << ": [";
}

void JsonStream::add(const Json &element) {
  *out_ << (empty_ ? "\n" : ",\n") << dumped_inside(element, 2);
  empty_ = false;
}

void JsonStream::end(const Json &tail) {
  if (!empty_) *out_ << '\n' << std::string(kIndent, ' ');
  *out_ << ']' << (tail.empty() ? "" : ",") << members_of(tail) << "\n}\n";
}

void add_place(Json &object, Place place) {
  object["line"] = place.line;
  object["column"] = place.column;
}

void add_place_or_null(Json &object, Place place) {
  add_place(object, place);
  if (place.line == 0) object["line"] = object["column"] = nullptr;
}

Json text_or_null(const std::optional<std::string> &text) {
  return text ? Json(*text) : Json(nullptr);
}

}  // namespace tool
