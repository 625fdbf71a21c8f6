#include "simulator/text/json_object.h"

namespace simulator {

namespace {

constexpr int kSchemaVersion = 1;
constexpr int kOneLine = -1;

}  // namespace

Json begin_json(std::string_view command) {
  Json object;
  object["schema_version"] = kSchemaVersion;
  object["command"] = command;
  return object;
}

Json file_errors_object(std::string_view command, Json file_errors) {
  Json object = begin_json(command);
  object["file_errors"] = std::move(file_errors);
  return object;
}

std::string compact_text(const Json &value) {
  return value.dump(kOneLine, ' ', false, Json::error_handler_t::replace);
}

}  // namespace simulator
