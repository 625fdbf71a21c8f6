#include "tool/command.h"

#include <algorithm>

#include "tool/policy/text.h"

namespace tool {

CLI::Validator one_of(std::vector<std::string> words) {
  std::string described = "{" + comma_separated({words.begin(), words.end()}) + "}";
  const auto check = [words = std::move(words)](const std::string &word) -> std::string {
    if (std::find(words.begin(), words.end(), word) != words.end()) return {};
    const std::vector<std::string_view> known(words.begin(), words.end());
    const std::string_view near = nearest(word, known);
    return text_of("'", word, "' is none of ", comma_separated(known),
                   near.empty() ? "" : text_of("; did you mean '", near, "'?"));
  };
  return {check, std::move(described)};
}

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
