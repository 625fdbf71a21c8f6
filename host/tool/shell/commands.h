// The commands of a session, one table for doing, helping and completing.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tool/shell/session.h"
#include "tool/shell/words.h"

namespace tool::shell {

// What a word of a command can be, for its completion.
enum class Completes : uint8_t {
  nothing,
  command,
  file,
  kind,          // of what can be created
  map_kind,      // of what can be deleted
  shown_kind,    // of what can be shown
  name_of_kind,  // of the kind that the word before tells
  policy,
  target,
  event_at_target,
  attribute,
  assignment,
  counters,  // the word
  level,
  trace_level,
};

enum class Result : uint8_t { done, failed, quit };

struct Command {
  std::string_view name;
  std::string_view arguments;
  std::string_view help;
  size_t least;                        // words behind the name
  size_t most;                         // a create takes the rest of the line as one
  std::vector<Completes> completions;  // of these words; the last goes for all further ones
  Result (*action)(Session &session, const Line &line, size_t number);
};

// In the order of their names.
std::span<const Command> commands();
const Command *find_command(std::string_view name);

// Runs a line, which has the number 'number' in its session. What goes wrong is complained about.
Result run(Session &session, const std::string &text, size_t number);

}  // namespace tool::shell
