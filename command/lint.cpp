// zar lint: lists the faults that can be proven in a policy file that loads.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/lint/ignores.h"
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
    options.flag("--strict", strict_, "Fail also if something was not decided");
    options.number("--effort", "SECONDS", effort_, kMostEffort, "Computing time for hard questions (10)");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Reports only what is proven: rules that earlier rules of a match-first event leave\n"
        "nothing to, class-maps that can never match, statements and actions that are never\n"
        "reached, decisions that never count, events that raise themselves without end, denials\n"
        "that have no effect, misspelt attributes, values that no range matches, and objects\n"
        "that nothing uses; with attributes that show it. A comment ignores a finding:\n"
        "  # zar: ignore KIND: REASON\n"
        "Exit code 0: nothing was found; 1: something was. What could not be decided is listed,\n"
        "and counts with --strict.\n\n"
        "Examples:\n"
        "  zar lint examples/broadband.yaml\n"
        "  zar lint policy.yaml --effort 60 --strict\n"
        "  zar lint policy.yaml --json");
  }

  int run() override {
    Loaded loaded = load_path(path_);
    std::vector<lint::Ignore> ignores;
    if (loaded.file) ignores = lint::read_ignores(loaded.source, loaded.diagnostics);
    report(loaded.diagnostics, loaded.source);
    if (!loaded.diagnostics.empty()) return kBadFile;

    const PolicyFile &file = *loaded.file;
    lint::Findings findings = lint::find_all(file, for_seconds(effort_));
    lint::apply(ignores, findings);
    if (json_) {
      write_json(file, findings);
    } else {
      for (const Finding &finding : findings.all)
        std::cout << lint::text_of_finding(file, finding);
    }
    const size_t open = undecided(findings);
    if (open != 0)
      complain(concat(file.path, ": ", open, open == 1 ? " question was" : " questions were", " not decided"));
    if (!findings.problems.empty()) return report_internal(findings.problems);
    return findings.all.size() > (strict_ ? 0 : open) ? kNo : kSuccess;
  }

 private:
  static size_t undecided(const lint::Findings &findings) {
    return static_cast<size_t>(std::count_if(findings.all.begin(), findings.all.end(), [](const Finding &finding) {
      return finding.kind == lint::Kind::undecided;
    }));
  }
  static void write_json(const PolicyFile &file, const lint::Findings &findings) {
    Json object = begin_json("lint");
    object["file"] = file.path;
    object["complete"] = findings.complete;
    object["findings"] = Json::array();
    for (const Finding &finding : findings.all)
      object["findings"].push_back(lint::json_of_finding(finding));
    object["ignored"] = Json::array();
    for (const lint::IgnoredFinding &ignored : findings.ignored)
      object["ignored"].push_back(lint::json_of_ignored(ignored));
    print_json(std::cout, object);
  }

  std::string path_;
  bool strict_ = false;
  uint32_t effort_ = kDefaultEffort;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_lint_command() {
  return std::make_unique<LintCommand>();
}

}  // namespace command
