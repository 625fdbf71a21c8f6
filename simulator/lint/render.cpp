#include "simulator/lint/render.h"

#include "simulator/policy/position_json.h"
#include "simulator/text/excerpt.h"
#include "simulator/text/text.h"

namespace simulator::lint {

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

namespace {

std::string example_of(const Input &input) {
  return "for example: " + text_of_input(input);
}

}  // namespace

std::string text_of_finding(const PolicyFile &file, const Source &source, const Finding &finding, Colours colours) {
  const auto at = [&](Position position) {
    return concat(file.shown_path(), ":", position.line, ":", position.column, ": ");
  };
  std::string text = concat(at(finding.position), to_string(finding.kind), ": ", finding.message, "\n");
  text += marked_line(finding.position.line, source.line(finding.position.line), finding.position.column, colours);
  for (const Reason &reason : finding.because)
    text += concat("  ", at(reason.position), reason.what, "\n");
  if (finding.input) text += concat("  ", example_of(*finding.input), "\n");
  return text;
}

findings::Finding report_of_finding(const PolicyFile &file, const Finding &finding) {
  const auto place = [&](Position position) {
    return findings::Place{file.path_of(position), position.line, position.column};
  };
  findings::Finding reported{
      .rule = to_string(finding.kind),
      .level = finding.kind == Kind::undecided ? findings::Level::note : findings::Level::warning,
      .message = finding.message,
      .place = place(finding.position)};
  if (finding.input) reported.notes.push_back(example_of(*finding.input));
  for (const Reason &reason : finding.because)
    reported.related.push_back({place(reason.position), reason.what});
  return reported;
}

findings::Finding report_of_ignored(const PolicyFile &file, const IgnoredFinding &ignored) {
  findings::Finding reported = report_of_finding(file, ignored.finding);
  reported.ignored_because = ignored.reason;
  return reported;
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
