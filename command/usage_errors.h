// What is wrong with a command line, in sentences of our own: those of the parser differ from one release of it to the next.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace command {

// 'parser' is the one of the command, or of the program where no command was found. 'arguments' are the program's.
std::string describe_usage(const CLI::ParseError &error, const CLI::App &parser,
                           const std::vector<std::string> &arguments);

}  // namespace command
