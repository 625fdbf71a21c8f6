// zar check: loads policy files into a scratch repository and reports everything that is wrong with them.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/format.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/findings/of_diagnostics.h"
#include "simulator/service/results.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// The result of one file.
struct Checked {
  int code = kSuccess;
  Loaded loaded;
};

std::string count_of(size_t count, const std::string &one, const std::string &several) {
  return concat(count, " ", count == 1 ? one : several);
}

std::string good_line(const PolicyFile &file) {
  return concat(file.shown_path(), ": good: ", count_of(file.policy_maps.size(), "policy-map", "policy-maps"), ", ",
                count_of(file.class_maps.size(), "class-map", "class-maps"), ", ",
                count_of(file.parameter_maps.size(), "parameter-map", "parameter-maps"), ", ",
                count_of(file.targets.size(), "target", "targets"), "\n");
}

Checked check(const std::string &path) {
  Checked checked = {kBadFile, load_path(path)};
  if (!checked.loaded.file) return checked;
  Repository repository(*checked.loaded.file);
  repository.build();
  checked.code = finish(repository);
  return checked;
}

Json json_of(const Checked &checked) {
  const Loaded &loaded = checked.loaded;
  return service::checked_json(loaded.source.name(), checked.code == kSuccess, loaded.diagnostics,
                               loaded.file ? &*loaded.file : nullptr);
}

class CheckCommand final : public Command {
 public:
  const char *name() const override { return "check"; }
  const char *summary() const override { return "Check policy files"; }

  void declare(Options &options) override {
    options.required_arguments("FILE", paths_, "Policy files; - is standard input");
    format_.declare(options);
    options.epilogue(
        "Loads each file into a scratch repository and reports all errors at once.\n"
        "Exit code 0: all files are good; 65: at least one is not.\n\n"
        "Examples:\n"
        "  zar check policy.yaml\n"
        "  zar check examples/*.yaml\n"
        "  zar check policy.yaml --json\n"
        "  zar check policies/*.yaml --format sarif > policies.sarif");
  }

  int run() override {
    if (!name_stdin_once(paths_)) return kUsage;
    int worst = kSuccess;
    Json files = Json::array();
    findings::Report all;
    for (const std::string &path : paths_)
      worst = std::max(worst, work_on_one([&] { return check_one(path, files, all); }));
    if (format_.format() == Format::json)
      print_json(std::cout, service::check_json(worst == kSuccess, std::move(files)));
    print_report(all, format_.format(), worst);
    return worst;
  }

 private:
  int check_one(const std::string &path, Json &files, findings::Report &all) const {
    const Checked checked = check(path);
    switch (format_.format()) {
      case Format::text:
        report(checked.loaded.diagnostics, checked.loaded.source);
        if (checked.code == kSuccess) std::cout << good_line(*checked.loaded.file);
        break;
      case Format::json:
        files.push_back(json_of(checked));
        break;
      case Format::sarif:
      case Format::github:
        findings::add_diagnostics(all, checked.loaded.diagnostics, checked.loaded.source);
        break;
    }
    return checked.code;
  }

  std::vector<std::string> paths_;
  FormatOption format_;
};

}  // namespace

std::unique_ptr<Command> make_check_command() {
  return std::make_unique<CheckCommand>();
}

}  // namespace command
