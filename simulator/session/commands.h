// The commands of a session, one table for doing, helping and completing.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/explanation/explanation_text.h"
#include "simulator/session/session.h"
#include "simulator/session/words.h"

namespace simulator::session {

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

enum class Status : uint8_t { done, failed, quit };

// An event that a command raised or rehearsed. Good until the next command, which may change the file.
struct ShownEvent {
  EventExplanation explanation;
  Step step;
  bool rehearsed = false;  // it changed nothing, and its path is what was asked for, at this level
  Level level = Level::rules;
};

// What comes of a command.
struct Reply {
  Status status = Status::done;
  std::string output{};                      // what it shows
  std::optional<ShownEvent> event{};         // what it shows in the form that the reader likes
  std::optional<std::string> trace_level{};  // which of the library's own messages are wanted from now on
  Trouble trouble{};
};

// A command as it was given.
struct Call {
  Session &session;
  const Line &line;
  size_t number;  // of the line in its session
};

struct Command {
  std::string_view name;
  std::string_view arguments;
  std::string_view help;
  size_t least;                        // words behind the name
  size_t most;                         // a create takes the rest of the line as one
  std::vector<Completes> completions;  // of these words; the last goes for all further ones
  void (*action)(const Call &call, Reply &reply);
};

// In the order of their names.
std::span<const Command> commands();
const Command *find_command(std::string_view name);

// Runs a line, which has the number 'number' in its session.
Reply run(Session &session, const std::string &text, size_t number);

}  // namespace simulator::session
