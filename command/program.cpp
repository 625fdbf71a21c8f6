#include "command/program.h"

#include <algorithm>
#include <cctype>
#include <iostream>

#include <CLI/CLI.hpp>

#include "command/exit_codes.h"
#include "command/report.h"
#include "command/terminal.h"
#include "command/usage_errors.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

int complain_about_missing_command() {
  complain("a command is missing");
  std::cerr << "Run zar --help for the commands.\n";
  return kUsage;
}

bool looks_like_option(const std::string &argument) {
  return argument.size() > 1 && argument[0] == '-' && !std::isdigit(argument[1]);
}

// The first argument that looks like an option but is not one.
std::string unknown_option(const CLI::App &parser, const std::vector<std::string> &arguments) {
  for (const std::string &argument : arguments) {
    if (argument == "--") break;
    std::string name = argument.substr(0, argument.find('='));
    if (looks_like_option(argument) && !parser.get_option_no_throw(name)) return name;
  }
  return {};
}

void complain_about_option(const CLI::App &parser, const std::string &name) {
  std::vector<std::string> names;
  for (const CLI::Option *option : parser.get_options()) {
    for (const std::string &word : option->get_lnames())
      names.push_back("--" + word);
  }
  complain(no_such("option", name, {names.begin(), names.end()}));
}

// If the output cannot be written, the command has failed.
int written(int code) {
  std::cout.flush();
  if (std::cout) return code;
  complain("standard output cannot be written");
  return kInternal;
}

}  // namespace

Program::Program(const char *name, const char *summary, const char *version, const char *epilogue)
    : parser_(std::make_unique<CLI::App>(summary, name)) {
  parser_->set_version_flag("--version", concat(name, " ", version));
  parser_->require_subcommand(1);
  parser_->footer(epilogue);
  declare_common(*parser_);
}

Program::~Program() = default;

void Program::add(std::unique_ptr<Command> command) {
  CLI::App *parser = parser_->add_subcommand(command->name(), command->summary());
  // The parser's help shows no command of a group without a name.
  if (command->is_for_programs()) parser->group("");
  Options options(*parser);
  command->declare(options);
  declare_common(*parser);
  entries_.push_back({std::move(command), parser});
}

void Program::declare_common(CLI::App &parser) {
  Options(parser).choice("--color", "WHEN", colours_, {"auto", "always", "never"},
                         "When to colour: on terminals unless NO_COLOR is set (auto), always or never");
}

int Program::run(int argc, char **argv) {
  if (argc == 1) return complain_about_missing_command();
  // To the parser, a misspelt command is one more argument.
  const std::string first = argv[1];
  if (!first.empty() && first[0] != '-' && !find(first)) return complain_about_command(first);
  try {
    parser_->parse(argc, argv);
  } catch (const CLI::Success &help) {
    return written(parser_->exit(help));
  } catch (const CLI::ParseError &error) {
    return complain_about_arguments(error, {argv + 1, argv + argc});
  }
  terminal::set_colours(colours_);
  return written(asked_for()->command->run());
}

std::vector<std::string_view> Program::command_names() const {
  std::vector<std::string_view> names;
  for (const Entry &entry : entries_) {
    if (!entry.command->is_for_programs()) names.emplace_back(entry.command->name());
  }
  return names;
}

std::string Program::help() const {
  return parser_->get_formatter()->make_help(parser_.get(), parser_->get_name(), CLI::AppFormatMode::Normal);
}

std::optional<std::string> Program::help_of(std::string_view command) const {
  const Entry *entry = find(command);
  if (!entry) return std::nullopt;
  return entry->parser->help(parser_->get_name());
}

const Program::Entry *Program::find(std::string_view name) const {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry &entry) { return entry.command->name() == name; });
  return found == entries_.end() ? nullptr : &*found;
}

const Program::Entry *Program::asked_for() const {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [](const Entry &entry) { return entry.parser->parsed(); });
  return found == entries_.end() ? nullptr : &*found;
}

int Program::complain_about_command(const std::string &word) const {
  complain(no_such("command", word, command_names()));
  std::cerr << "Run zar --help for the commands.\n";
  return kUsage;
}

int Program::complain_about_arguments(const CLI::ParseError &error, const std::vector<std::string> &arguments) const {
  const Entry *command = asked_for();
  const CLI::App &parser = command ? *command->parser : *parser_;
  const std::string option = unknown_option(parser, arguments);
  if (!option.empty()) {
    complain_about_option(parser, option);
  } else if (command && looks_like_option(arguments[0])) {
    complain(concat("options stand behind the command: zar ", parser.get_name(), " ", arguments[0]));
  } else {
    complain(describe_usage(error, parser, arguments));
  }
  std::cerr << "Run zar " << (command ? parser.get_name() + " " : "") << "--help for help.\n";
  return kUsage;
}

}  // namespace command
