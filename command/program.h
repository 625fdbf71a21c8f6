// The program: its commands, its reading of the command line, and the errors in that.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command/command.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace command {

class Program {
 public:
  Program(const char *name, const char *summary, const char *version, const char *epilogue);
  ~Program();
  Program(const Program &) = delete;
  Program &operator=(const Program &) = delete;

  void add(std::unique_ptr<Command> command);
  // Reads the command line and runs the command that it names. Returns an exit code.
  int run(int argc, char **argv);

  std::vector<std::string_view> command_names() const;
  std::string help() const;
  // Nothing when there is no such command.
  std::optional<std::string> help_of(std::string_view command) const;

 private:
  struct Entry {
    std::unique_ptr<Command> command;
    CLI::App *parser;
  };

  const Entry *find(std::string_view name) const;
  // The command that the command line named; NULL if it has not named one yet.
  const Entry *asked_for() const;
  int complain_about_command(const std::string &word) const;
  int complain_about_arguments(const CLI::ParseError &error, const std::vector<std::string> &arguments) const;

  // The options that the program and all its commands take.
  void declare_common(CLI::App &parser);

  std::unique_ptr<CLI::App> parser_;
  std::vector<Entry> entries_;
  std::string colours_ = "auto";
};

}  // namespace command
