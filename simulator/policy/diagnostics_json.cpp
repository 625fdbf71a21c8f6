#include "simulator/policy/diagnostics_json.h"

#include "simulator/policy/position_json.h"

namespace simulator {

namespace {

Json text_or_nothing(const std::string &text) {
  return text.empty() ? Json(nullptr) : Json(text);
}

Json error_json(const Diagnostic &diagnostic) {
  Json object;
  add_position_or_null(object, diagnostic.position);
  object["message"] = diagnostic.message;
  object["expected"] = text_or_nothing(diagnostic.expected);
  object["suggestion"] = text_or_nothing(diagnostic.suggestion);
  return object;
}

}  // namespace

void add_errors(Json &object, const Diagnostics &diagnostics) {
  Json errors = Json::array();
  for (const Diagnostic &diagnostic : diagnostics.sorted()) {
    if (errors.size() == Diagnostics::kMostShown) break;
    errors.push_back(error_json(diagnostic));
  }
  const size_t shown = errors.size();
  object["errors"] = std::move(errors);
  object["more_errors"] = diagnostics.count() - shown;
}

Json file_errors_json(const std::string &file, const Diagnostics &diagnostics) {
  Json object;
  object["file"] = file;
  add_errors(object, diagnostics);
  return object;
}

}  // namespace simulator
