#include "simulator/lint/render.h"

#include "simulator/policy/position_json.h"
#include "simulator/text/text.h"

namespace simulator::lint {

std::string text_of_input(const Input &input) {
  if (input.empty()) return "whatever the attributes are";
  std::string text;
  for (const auto &[attribute, value] : input)
    text += concat(text.empty() ? "" : ", ", attribute, " is ", value ? as_word(*value) : "absent");
  return text;
}

Json json_of_input(const Input &input) {
  Json object;
  object["set"] = Json::object();
  object["clear"] = Json::array();
  for (const auto &[attribute, value] : input) {
    if (value) {
      object["set"][attribute] = *value;
    } else {
      object["clear"].push_back(attribute);
    }
  }
  return object;
}

Json json_of_reasons(const std::vector<Reason> &reasons) {
  Json list = Json::array();
  for (const Reason &reason : reasons) {
    Json because;
    because["what"] = reason.what;
    add_position(because, reason.position);
    list.push_back(std::move(because));
  }
  return list;
}

std::string text_of_finding(const PolicyFile &file, const Finding &finding) {
  const auto at = [&](Position position) { return concat(file.path, ":", position.line, ":", position.column, ": "); };
  std::string text = concat(at(finding.position), to_string(finding.kind), ": ", finding.message, "\n");
  for (const Reason &reason : finding.because)
    text += concat("  ", at(reason.position), reason.what, "\n");
  if (finding.input) text += concat("  for example: ", text_of_input(*finding.input), "\n");
  return text;
}

Json json_of_finding(const Finding &finding) {
  Json object;
  object["kind"] = to_string(finding.kind);
  object["message"] = finding.message;
  add_position(object, finding.position);
  object["because"] = json_of_reasons(finding.because);
  object["input"] = finding.input ? json_of_input(*finding.input) : Json(nullptr);
  return object;
}

Json json_of_ignored(const IgnoredFinding &ignored) {
  Json object = json_of_finding(ignored.finding);
  object["reason"] = ignored.reason;
  object["comment"] = Json::object();
  add_position(object["comment"], ignored.comment);
  return object;
}

}  // namespace simulator::lint
