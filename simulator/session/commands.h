// The commands of a session, one table for running, help and completion.
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

// What a word of a command can be, for completion.
enum class Completes : uint8_t {
  nothing,
  command,
  file,
  kind,          // a kind that can be created
  map_kind,      // a kind that can be deleted
  shown_kind,    // a kind that can be shown
  name_of_kind,  // an object of the kind that the previous word names
  policy,
  target,
  event_at_target,
  attribute,
  assignment,
  counters,  // the word
  force,     // the word
  filter,    // what can follow a bar
  level,
  trace_level,
};

enum class Status : uint8_t { done, failed, quit };

// An event that a command raised or rehearsed. Valid until the next command, which may change the file.
struct ShownEvent {
  EventExplanation explanation;
  Step step;
  bool rehearsed = false;  // it changed nothing; the command asked to show its path at this level
  Level level = Level::rules;
};

// The result of a command.
struct Reply {
  Status status = Status::done;
  std::string output{};                      // what to show
  std::optional<ShownEvent> event{};         // to be shown in the form that the reader likes
  std::optional<std::string> trace_level{};  // the level of the library's own messages to show from now on
  Trouble trouble{};
};

// A command as the user gave it.
struct Call {
  Session &session;
  const Line &line;
  size_t number;  // of the line in its session
};

struct Command {
  std::string_view name;
  std::string_view arguments;
  std::string_view help;
  size_t least;                        // words after the name
  size_t most;                         // a create takes the rest of the line as one
  std::vector<Completes> completions;  // of these words; the last applies to all further ones
  void (*action)(const Call &call, Reply &reply);
  bool takes_filters = false;  // its output can be filtered: "show | include PATTERN"
};

// Sorted by name.
std::span<const Command> commands();
const Command *find_command(std::string_view name);

// Runs a line; 'number' is its number in its session.
Reply run(Session &session, const std::string &text, size_t number);

}  // namespace simulator::session
