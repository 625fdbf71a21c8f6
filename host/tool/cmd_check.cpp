// zar check: loads policy files into a scratch repository and reports everything that is wrong with them.
#include <algorithm>
#include <iostream>

#include "tool/apart.h"
#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/load_file.h"
#include "tool/policy/text.h"
#include "tool/report.h"

namespace tool {

namespace {

std::string count_of(size_t count, const std::string &one, const std::string &several) {
  return text_of(count, " ", count == 1 ? one : several);
}

std::string summary(const PolicyFile &file) {
  return text_of(file.path, ": good: ", count_of(file.policy_maps.size(), "policy-map", "policy-maps"), ", ",
                 count_of(file.class_maps.size(), "class-map", "class-maps"), ", ",
                 count_of(file.parameter_maps.size(), "parameter-map", "parameter-maps"), ", ",
                 count_of(file.targets.size(), "target", "targets"));
}

int check(const std::string &path) {
  const std::optional<PolicyFile> file = load_file(path);
  if (!file) return kBadFile;

  Repository repository(*file);
  repository.build();
  if (const int code = finish(repository)) return code;
  std::cout << summary(*file) << '\n';
  return kSuccess;
}

class CheckCommand final : public Command {
 public:
  void declare(CLI::App &program) override {
    app_ = program.add_subcommand("check", "Check policy files");
    app_->add_option("FILE", paths_, "Policy files; - is standard input")->required();
    app_->footer(
        "Loads each file into a scratch repository and reports all errors at once.\n"
        "Exit code 0: all files are good; 65: at least one is not.\n\n"
        "Examples:\n"
        "  zar check policy.yaml\n"
        "  zar check examples/*.yaml");
  }

  int run() override {
    if (paths_.size() == 1) return check(paths_[0]);
    int worst = kSuccess;
    for (const std::string &path : paths_)
      worst = std::max(worst, run_apart(path, [&](std::ostream &) { return check(path); }).code);
    return worst;
  }

 private:
  std::vector<std::string> paths_;
};

}  // namespace

std::unique_ptr<Command> make_check_command() {
  return std::make_unique<CheckCommand>();
}

}  // namespace tool
