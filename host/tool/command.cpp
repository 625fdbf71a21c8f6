#include "tool/command.h"

#include <algorithm>

namespace tool {

std::vector<std::string_view> command_names(const CLI::App &program) {
  std::vector<std::string_view> names;
  const std::vector<const CLI::App *> commands = program.get_subcommands({});
  for (const CLI::App *command : commands)
    names.push_back(command->get_name());
  return names;
}

const CLI::App *find_command(const CLI::App &program, std::string_view name) {
  const std::vector<const CLI::App *> commands = program.get_subcommands({});
  const auto found = std::find_if(commands.begin(), commands.end(),
                                  [&](const CLI::App *command) { return command->get_name() == name; });
  return found == commands.end() ? nullptr : *found;
}

}  // namespace tool
