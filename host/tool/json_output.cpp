#include "tool/json_output.h"

namespace tool {

namespace {

constexpr int kSchemaVersion = 1;
constexpr int kIndent = 2;

}  // namespace

Json begin_json(std::string_view command) {
  Json object;
  object["schema_version"] = kSchemaVersion;
  object["command"] = command;
  return object;
}

void print_json(std::ostream &out, const Json &object) {
  out << object.dump(kIndent, ' ', false, Json::error_handler_t::replace) << '\n';
}

void add_place(Json &object, Place place) {
  object["line"] = place.line;
  object["column"] = place.column;
}

Json text_or_null(const std::optional<std::string> &text) {
  return text ? Json(*text) : Json(nullptr);
}

}  // namespace tool
