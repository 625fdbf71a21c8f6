// zar config: writes the configuration of a running repository as a policy file.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/inventory/read_back.h"
#include "simulator/policy/write.h"
#include "simulator/service/results.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

class ConfigCommand final : public Command {
 public:
  const char *name() const override { return "config"; }
  const char *summary() const override { return "Write the running configuration as a policy file"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file to load; - is standard input");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Loads the file into a repository and writes what the repository holds, and nothing\n"
        "else, as a policy file: clients, domains, class-maps, parameter-maps, policy-maps,\n"
        "and targets with their attributes and active policies. Loading that text makes an\n"
        "equal repository, for which this command writes the same text again.\n"
        "The scenario, the tests, the claims and the comments of a file are no part of the repository and\n"
        "are left out. Class-maps and parameter-maps come in the order of their names,\n"
        "policy-maps in an order that gives their events the same ids, attributes by name.\n\n"
        "Examples:\n"
        "  zar config policy.yaml\n"
        "  zar config policy.yaml | zar diff policy.yaml -");
  }

  int run() override {
    FileLoader loader(json_);
    const std::optional<PolicyFile> file = loader.load(path_);
    if (!file) return loader.refuse(name());
    Complaints problems;
    const std::optional<PolicyFile> running = inventory::read_back(*file, problems);
    if (!running) return report_internal(problems);
    if (json_) {
      print_json(std::cout, service::config_json(*running, file->path));
    } else {
      std::cout << write_objects(*running);
    }
    return kSuccess;
  }

 private:
  std::string path_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_config_command() {
  return std::make_unique<ConfigCommand>();
}

}  // namespace command
