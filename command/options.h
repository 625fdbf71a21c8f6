// What a command takes from the command line, as it declares it. The values land in the variables that it gives, which
// live as long as the command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace command {

class Options {
 public:
  explicit Options(CLI::App &command) : command_(command) {}

  // Arguments come in the order in which they are declared.
  void required_argument(const char *name, std::string &value, const char *help);
  void required_arguments(const char *name, std::vector<std::string> &values, const char *help);
  void argument(const char *name, std::optional<std::string> &value, const char *help);

  void flag(const char *name, bool &value, const char *help);
  // 'type' stands for the value in the help.
  void option(const char *name, const char *type, std::string &value, const char *help);
  void required_option(const char *name, const char *type, std::string &value, const char *help);
  // May be given several times.
  void options(const char *name, const char *type, std::vector<std::string> &values, const char *help);
  // Takes one of these words; of another one the word is told that was probably meant. What 'value' is by then is the
  // default.
  void choice(const char *name, const char *type, std::string &value, std::vector<std::string> words, const char *help);
  void percentage(const char *name, uint32_t &value, const char *help);
  // Of the two at most one may be given.
  void exclude(const char *one, const char *other);

  // What the help ends with.
  void epilogue(const char *text);

 private:
  CLI::App &command_;
};

}  // namespace command
