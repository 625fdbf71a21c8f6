// What the lines of a stream do on one of two files that are compared.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/diff/replay.h"
#include "simulator/stream/player.h"

namespace simulator::diff {

// What one line did on one side, under the names of the new file, as texts that can be compared. A line that adds or
// deletes a target has only its target, and what is wrong with it if it is bad.
struct LineDecision {
  std::string_view event{};  // as the line has it; so is the target
  std::string_view target{};
  std::string_view error{};  // why the line is bad on this side; all that follows is then empty
  std::string_view verdict{};
  std::string_view decided_by{};  // the rule, or "-"
  std::string_view changed{};     // attributes with their new values, in the order of their names
  std::string_view log{};
  std::string_view rules{};  // that ran

  bool operator==(const LineDecision &) const = default;
};

// The decision as one text, and back. The decision points into the text.
std::string packed(const LineDecision &decision);
LineDecision unpacked(std::string_view text);

class StreamSide {
 public:
  // All must outlive the side; 'file' is that of 'side'.
  StreamSide(const Side &side, const PolicyFile &file, Repository &repository);

  // Plays a line that may have the names of either file. Attributes that this one does not mention are left out.
  const stream::Played &play(const stream::Line &line);
  bool is_broken() const { return player_.is_broken(); }
  // What the line did, packed; valid until the next line.
  const std::string &decision();

 private:
  stream::Request known_part_of(const stream::Request &request) const;
  std::string_view own_name(Named kind, std::string_view name, bool is_known) const;
  void write_rules_and_log();
  void write_changes();

  const Side *side_;
  const PolicyFile *file_;
  stream::Player player_;
  stream::LineReader reader_;
  stream::Request request_;
  const stream::Played *played_ = nullptr;
  std::string_view event_;  // of the line
  std::string_view target_;
  std::vector<std::string> rule_names_;
  std::vector<const stream::Change *> sorted_;
  std::string changed_;
  std::string log_;
  std::string rules_;
  std::string packed_;
};

}  // namespace simulator::diff
