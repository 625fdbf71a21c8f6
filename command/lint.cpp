// zar lint: tells what can be proven to be wrong with a policy file that loads.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/lint/findings.h"
#include "simulator/policy/position_json.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using lint::Finding;
using lint::Input;

std::string text_of_input(const Input &input) {
  if (input.empty()) return "whatever the attributes are";
  std::string text;
  for (const auto &[attribute, value] : input)
    text += concat(text.empty() ? "" : ", ", attribute, " is ", value ? as_word(*value) : "absent");
  return text;
}

std::string text_of_finding(const PolicyFile &file, const Finding &finding) {
  const auto at = [&](Position position) { return concat(file.path, ":", position.line, ":", position.column, ": "); };
  std::string text = concat(at(finding.position), lint::to_string(finding.kind), ": ", finding.message, "\n");
  for (const lint::Reason &reason : finding.because)
    text += concat("  ", at(reason.position), reason.what, "\n");
  if (finding.input) text += concat("  for example: ", text_of_input(*finding.input), "\n");
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

Json json_of_finding(const Finding &finding) {
  Json object;
  object["kind"] = lint::to_string(finding.kind);
  object["message"] = finding.message;
  add_position(object, finding.position);
  object["because"] = Json::array();
  for (const lint::Reason &reason : finding.because) {
    Json because;
    because["what"] = reason.what;
    add_position(because, reason.position);
    object["because"].push_back(std::move(because));
  }
  object["input"] = finding.input ? json_of_input(*finding.input) : Json(nullptr);
  return object;
}

class LintCommand final : public Command {
 public:
  const char *name() const override { return "lint"; }
  const char *summary() const override { return "Find rules that never run and objects that nothing uses"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Tells only what is proven: rules that earlier rules of a match-first event leave\n"
        "nothing to, class-maps that can never match, statements that are never reached, unused\n"
        "class-maps and parameter-maps, policy-maps that are active nowhere, and events that\n"
        "neither the scenario nor the tests can raise; with attributes that show it.\n"
        "Exit code 0: nothing was found; 1: something was.\n\n"
        "Examples:\n"
        "  zar lint examples/broadband.yaml\n"
        "  zar lint policy.yaml --json");
  }

  int run() override {
    const std::optional<PolicyFile> file = load_file(path_);
    if (!file) return kBadFile;

    const lint::Findings findings = lint::find_all(*file);
    if (json_) {
      write_json(*file, findings);
    } else {
      for (const Finding &finding : findings.all)
        std::cout << text_of_finding(*file, finding);
    }
    if (!findings.complete) complain(concat(file->path, ": too much to prove: there may be more"));
    return findings.all.empty() ? kSuccess : kNo;
  }

 private:
  static void write_json(const PolicyFile &file, const lint::Findings &findings) {
    Json object = begin_json("lint");
    object["file"] = file.path;
    object["complete"] = findings.complete;
    object["findings"] = Json::array();
    for (const Finding &finding : findings.all)
      object["findings"].push_back(json_of_finding(finding));
    print_json(std::cout, object);
  }

  std::string path_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_lint_command() {
  return std::make_unique<LintCommand>();
}

}  // namespace command
