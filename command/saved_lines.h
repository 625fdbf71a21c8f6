// The lines that a person has typed in earlier sessions.
//
// They are in a file of the person's state folder, which only the person can read. Sessions at the same time share it:
// each line is added to those that the file has then.
#pragma once

#include <deque>
#include <string>

namespace command {

class SavedLines {
 public:
  static constexpr size_t kMost = 1000;

  // The file is zar/history in $XDG_STATE_HOME, or in .local/state of the home folder. If the environment names neither
  // folder, nothing is saved.
  SavedLines();

  // From the oldest on.
  std::deque<std::string> read() const;
  // Says why when it cannot be saved, and saves no further lines.
  void add(const std::string &line);

 private:
  std::string path_;  // empty: lines are not saved
};

}  // namespace command
