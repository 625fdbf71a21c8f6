// zar lint: lists the faults that can be proven in policy files that load.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/format.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/findings/of_diagnostics.h"
#include "simulator/lint/ignores.h"
#include "simulator/lint/render.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/service/results.h"
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
    options.required_arguments("FILE", paths_, "Policy files; - is standard input");
    options.flag("--strict", strict_, "Fail also if something was not decided");
    const std::vector<std::string_view> kinds = lint::kind_names();
    options.choices("--only", "KIND", only_, {kinds.begin(), kinds.end()},
                    "Findings of this kind only; may be given several times");
    options.choices("--except", "KIND", except_, {kinds.begin(), kinds.end()},
                    "No findings of this kind; may be given several times");
    options.exclude("--only", "--except");
    options.number("--effort", "SECONDS", effort_, kMostEffort, "Computing time for hard questions (10)");
    format_.declare(options);
    options.epilogue(
        "Reports only what is proven: rules that earlier rules of a match-first event leave\n"
        "nothing to, class-maps that can never match, statements and actions that are never\n"
        "reached, decisions that never count, events that raise themselves without end, denials\n"
        "that have no effect, misspelt attributes, values that no range matches, and objects\n"
        "that nothing uses; with attributes that show it. A comment ignores a finding:\n"
        "  # zar: ignore KIND: REASON\n"
        "Exit code 0: nothing was found; 1: something was; 65: a file is bad. What could not be\n"
        "decided is listed, and counts with --strict.\n\n"
        "Examples:\n"
        "  zar lint examples/broadband.yaml\n"
        "  zar lint policy.yaml --effort 60 --strict\n"
        "  zar lint policy.yaml --except unused-class --except inactive-policy\n"
        "  zar lint policy.yaml --json\n"
        "  zar lint policies/*.yaml --format github");
  }

  int run() override {
    if (!name_stdin_once(paths_)) return kUsage;
    const lint::MayGoOn may_go_on = for_seconds(effort_);
    int worst = kSuccess;
    Output output;
    for (const std::string &path : paths_)
      worst = std::max(worst, work_on_one([&] { return lint_one(path, may_go_on, output); }));
    if (format_.format() == Format::json) write_json(output);
    print_report(output.report, format_.format(), worst);
    return worst;
  }

 private:
  // What is written once all files are done.
  struct Output {
    Json files = Json::array();
    Json file_errors = Json::array();
    findings::Report report;
  };

  int lint_one(const std::string &path, const lint::MayGoOn &may_go_on, Output &output) const {
    Loaded loaded = load_path(path);
    std::vector<lint::Ignore> ignores;
    if (loaded.file) ignores = lint::read_ignores(loaded.source, loaded.diagnostics);
    if (!loaded.diagnostics.empty()) {
      refuse(loaded, output);
      return kBadFile;
    }
    lint::Findings findings = lint::find_all(*loaded.file, may_go_on);
    lint::apply(ignores, findings);
    choose(findings);
    write(loaded, findings, output);
    return code_of(loaded.file->path, findings);
  }

  // What was not decided may be of any kind, and stays unless it is named.
  bool is_wanted(const Finding &finding) const {
    const auto is_in = [&](const std::vector<std::string> &kinds) {
      return std::find(kinds.begin(), kinds.end(), lint::to_string(finding.kind)) != kinds.end();
    };
    return !is_in(except_) && (only_.empty() || is_in(only_) || finding.kind == lint::Kind::undecided);
  }

  void choose(lint::Findings &findings) const {
    std::erase_if(findings.all, [&](const Finding &finding) { return !is_wanted(finding); });
    std::erase_if(findings.ignored, [&](const lint::IgnoredFinding &ignored) { return !is_wanted(ignored.finding); });
  }

  void refuse(const Loaded &loaded, Output &output) const {
    switch (format_.format()) {
      case Format::text:
        return report(loaded.diagnostics, loaded.source);
      case Format::json:
        output.file_errors.push_back(file_errors_json(loaded.source.name(), loaded.diagnostics));
        return;
      case Format::sarif:
      case Format::github:
        return findings::add_diagnostics(output.report, loaded.diagnostics, loaded.source);
    }
  }

  void write(const Loaded &loaded, const lint::Findings &findings, Output &output) const {
    const PolicyFile &file = *loaded.file;
    const Colours colours = terminal::colours(terminal::Stream::out);
    switch (format_.format()) {
      case Format::text:
        for (const Finding &finding : findings.all)
          std::cout << lint::text_of_finding(file, loaded.source, finding, colours);
        return;
      case Format::json:
        output.files.push_back(service::linted_json(file, findings));
        return;
      case Format::sarif:
      case Format::github:
        for (const Finding &finding : findings.all)
          output.report.findings.push_back(lint::report_of_finding(file, finding));
        for (const lint::IgnoredFinding &ignored : findings.ignored)
          output.report.findings.push_back(lint::report_of_ignored(file, ignored));
        return;
    }
  }

  // The object of a single file has no list of files.
  void write_json(const Output &output) const {
    Json object = begin_json("lint");
    if (paths_.size() > 1) {
      object["files"] = output.files;
      object["file_errors"] = output.file_errors;
    } else if (!output.files.empty()) {
      object.update(output.files[0]);
    } else {
      object["file_errors"] = output.file_errors;
    }
    print_json(std::cout, object);
  }

  // Reports what else there is to say, and returns the exit code.
  int code_of(const std::string &path, const lint::Findings &findings) const {
    const auto is_open = [](const Finding &finding) { return finding.kind == lint::Kind::undecided; };
    const auto open = static_cast<size_t>(std::count_if(findings.all.begin(), findings.all.end(), is_open));
    if (open != 0) complain(concat(path, ": ", open, open == 1 ? " question was" : " questions were", " not decided"));
    if (!findings.problems.empty()) return report_internal(findings.problems);
    return findings.all.size() > (strict_ ? 0 : open) ? kNo : kSuccess;
  }

  std::vector<std::string> paths_;
  bool strict_ = false;
  std::vector<std::string> only_;
  std::vector<std::string> except_;
  uint32_t effort_ = kDefaultEffort;
  FormatOption format_;
};

}  // namespace

std::unique_ptr<Command> make_lint_command() {
  return std::make_unique<LintCommand>();
}

}  // namespace command
