// zar lint: lists the faults that can be proven in a policy file that loads.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/lint/render.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using lint::Finding;

class LintCommand final : public Command {
 public:
  const char *name() const override { return "lint"; }
  const char *summary() const override { return "Find rules that never run and objects that nothing uses"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Reports only what is proven: rules that earlier rules of a match-first event leave\n"
        "nothing to, class-maps that can never match, statements that are never reached, unused\n"
        "class-maps and parameter-maps, policy-maps that are active nowhere, and events that\n"
        "neither the scenario nor the tests can raise; with attributes that show it.\n"
        "Exit code 0: nothing was found; 1: something was.\n\n"
        "Examples:\n"
        "  zar lint examples/broadband.yaml\n"
        "  zar lint policy.yaml --json");
  }

  int run() override {
    FileLoader loader(json_);
    const std::optional<PolicyFile> file = loader.load(path_);
    if (!file) return loader.refuse(name());

    const lint::Findings findings = lint::find_all(*file);
    if (json_) {
      write_json(*file, findings);
    } else {
      for (const Finding &finding : findings.all)
        std::cout << lint::text_of_finding(*file, finding);
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
      object["findings"].push_back(lint::json_of_finding(finding));
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
