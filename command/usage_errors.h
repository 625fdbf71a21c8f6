// Describes errors in a command line in sentences of our own: the parser's differ from one release to the next.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace command {

// 'parser' is the command's, or the program's if no command was found. 'arguments' are the program's.
std::string describe_usage(const CLI::ParseError &error, const CLI::App &parser,
                           const std::vector<std::string> &arguments);

}  // namespace command
