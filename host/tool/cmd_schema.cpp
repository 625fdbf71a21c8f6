// zar schema: shows the JSON Schema of policy files.
#include <iostream>

#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/policy_schema.h"

namespace tool {

namespace {

class SchemaCommand final : public Command {
 public:
  void declare(CLI::App &program) override {
    app_ = program.add_subcommand("schema", "Show the JSON Schema of policy files");
    app_->footer(
        "Editors use the schema (draft-07) to complete and check policy files while they are\n"
        "written. It tells the structure; names that name nothing are found by zar check.\n\n"
        "Examples:\n"
        "  zar schema > policy.json\n"
        "  sed -i '1i # yaml-language-server: $schema=policy.json' policy.yaml");
  }

  int run() override {
    std::cout << kPolicySchema;
    return kSuccess;
  }
};

}  // namespace

std::unique_ptr<Command> make_schema_command() {
  return std::make_unique<SchemaCommand>();
}

}  // namespace tool
