// zar check: loads policy files into a scratch repository and reports everything that is wrong with them.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// The result of one file: a line and an object.
struct Checked {
  int code = kSuccess;
  std::string errors;
  std::string text;
  Json json;
};

std::string count_of(size_t count, const std::string &one, const std::string &several) {
  return concat(count, " ", count == 1 ? one : several);
}

std::string summary(const PolicyFile &file) {
  return concat(file.shown_path(), ": good: ", count_of(file.policy_maps.size(), "policy-map", "policy-maps"), ", ",
                count_of(file.class_maps.size(), "class-map", "class-maps"), ", ",
                count_of(file.parameter_maps.size(), "parameter-map", "parameter-maps"), ", ",
                count_of(file.targets.size(), "target", "targets"), "\n");
}

Json objects_json(const PolicyFile &file) {
  Json object;
  object["policy_maps"] = file.policy_maps.size();
  object["class_maps"] = file.class_maps.size();
  object["parameter_maps"] = file.parameter_maps.size();
  object["targets"] = file.targets.size();
  return object;
}

Checked check(const std::string &path) {
  const Loaded loaded = load_path(path);
  Checked checked;
  if (loaded.file) {
    Repository repository(*loaded.file);
    repository.build();
    checked.code = finish(repository);
    if (checked.code == kSuccess) checked.text = summary(*loaded.file);
  } else {
    checked.code = kBadFile;
    checked.errors = render(loaded.diagnostics, loaded.source, terminal::colours(terminal::Stream::err));
  }
  checked.json["file"] = loaded.source.name();
  checked.json["good"] = checked.code == kSuccess;
  add_errors(checked.json, loaded.diagnostics);
  checked.json["objects"] = loaded.file ? objects_json(*loaded.file) : Json(nullptr);
  return checked;
}

class CheckCommand final : public Command {
 public:
  const char *name() const override { return "check"; }
  const char *summary() const override { return "Check policy files"; }

  void declare(Options &options) override {
    options.required_arguments("FILE", paths_, "Policy files; - is standard input");
    options.flag("--json", json_, "Write one JSON object, errors included");
    options.epilogue(
        "Loads each file into a scratch repository and reports all errors at once.\n"
        "Exit code 0: all files are good; 65: at least one is not.\n\n"
        "Examples:\n"
        "  zar check policy.yaml\n"
        "  zar check examples/*.yaml\n"
        "  zar check policy.yaml --json");
  }

  int run() override {
    if (!name_stdin_once(paths_)) return kUsage;
    int worst = kSuccess;
    Json files = Json::array();
    for (const std::string &path : paths_)
      worst = std::max(worst, work_on_one([&] { return check_one(path, files); }));
    if (json_) {
      Json object = begin_json("check");
      object["good"] = worst == kSuccess;
      object["files"] = std::move(files);
      print_json(std::cout, object);
    }
    return worst;
  }

 private:
  int check_one(const std::string &path, Json &files) const {
    Checked checked = check(path);
    if (!json_) {
      std::cerr << checked.errors;
      std::cout << checked.text;
    }
    files.push_back(std::move(checked.json));
    return checked.code;
  }

  std::vector<std::string> paths_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_check_command() {
  return std::make_unique<CheckCommand>();
}

}  // namespace command
