// Reads lines from a person at a terminal, with editing, history and completion.
#pragma once

#include <histedit.h>

#include <functional>
#include <optional>
#include <string>

#include "simulator/session/completion.h"

namespace command {

class Editor {
 public:
  using Complete = std::function<simulator::session::Completion(const std::string &before)>;

  explicit Editor(Complete complete);
  ~Editor();
  Editor(const Editor &) = delete;
  Editor &operator=(const Editor &) = delete;

  // Adds a line to those that can be called back.
  void remember(const std::string &line);
  // The next line without its newline; nothing at the end of the input.
  std::optional<std::string> read();

 private:
  static Editor &of(EditLine *line);
  static unsigned char complete_word(EditLine *line, int key);
  static unsigned char give_up_line(EditLine *line, int key);
  static unsigned char suspend(EditLine *line, int key);

  Complete complete_;
  EditLine *line_;
  History *history_;
  bool given_up_ = false;
};

}  // namespace command
