// The arguments and options of a command, as it declares them. The values go to variables of the command, which must
// live as long as the command does.
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
  // 'type' is the name of the value in the help.
  void option(const char *name, const char *type, std::string &value, const char *help);
  void required_option(const char *name, const char *type, std::string &value, const char *help);
  // May be given several times.
  void options(const char *name, const char *type, std::vector<std::string> &values, const char *help);
  // Accepts one of these words; for any other it suggests the word that was probably meant. The value of 'value' at the
  // call is the default.
  void choice(const char *name, const char *type, std::string &value, std::vector<std::string> words, const char *help);
  // Accepts these words, several times. The help does not list them.
  void choices(const char *name, const char *type, std::vector<std::string> &values, std::vector<std::string> words,
               const char *help);
  void percentage(const char *name, uint32_t &value, const char *help);
  // A whole number from 0 to 'most'.
  void number(const char *name, const char *type, uint32_t &value, uint32_t most, const char *help);
  // The first may be given only with the second.
  void need(const char *one, const char *other);
  // At most one of the two may be given.
  void exclude(const char *one, const char *other);

  // The end of the help. The second form is for a text that is made when the help is shown.
  void epilogue(const char *text);
  void epilogue(std::string (*text)());

 private:
  CLI::App &command_;
};

}  // namespace command
