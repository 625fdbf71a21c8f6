// zar schema: shows the JSON Schema of policy files.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "simulator/policy/schema.h"

using namespace simulator;

namespace command {

namespace {

class SchemaCommand final : public Command {
 public:
  const char *name() const override { return "schema"; }
  const char *summary() const override { return "Show the JSON Schema of policy files"; }

  void declare(Options &options) override {
    options.flag("--json", json_, "Write one JSON object that holds the schema");
    options.epilogue(
        "Editors use the schema (draft-07) to complete and check policy files while they are\n"
        "written. It describes the structure; zar check finds names that name nothing.\n\n"
        "Examples:\n"
        "  zar schema > policy.json\n"
        "  sed -i '1i # yaml-language-server: $schema=policy.json' policy.yaml");
  }

  int run() override {
    if (!json_) {
      std::cout << kPolicySchema;
      return kSuccess;
    }
    Json object = begin_json("schema");
    object["schema"] = Json::parse(kPolicySchema);
    print_json(std::cout, object);
    return kSuccess;
  }

 private:
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_schema_command() {
  return std::make_unique<SchemaCommand>();
}

}  // namespace command
