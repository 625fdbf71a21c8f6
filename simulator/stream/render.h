// The results of a stream, a line for each event.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "simulator/stream/player.h"
#include "simulator/text/tone.h"

namespace simulator::stream {

// Appends the result of a line to an output. Lines that add or delete targets have none.
class Renderer {
 public:
  virtual ~Renderer() = default;
  virtual void append(std::string &out, const Played &played) = 0;
};

// JSON Lines. A bad line has a result too: its error.
class JsonRenderer final : public Renderer {
 public:
  explicit JsonRenderer(const Rules &rules);
  void append(std::string &out, const Played &played) override;

 private:
  void append_event(std::string &out, const Played &played);
  void append_decision(std::string &out, const Happened &happened);

  // What never changes is written once: by the number of the rule, and by action.
  std::vector<std::string> rule_texts_;
  std::unordered_map<const Action *, std::string> action_texts_;
};

// The columns of zar run --summary, with two blanks between them.
class TextRenderer final : public Renderer {
 public:
  TextRenderer(const PolicyFile &file, const Rules &rules, Colours colours);
  void append(std::string &out, const Played &played) override;

 private:
  Colours colours_;
  std::vector<std::string> rule_texts_;
};

}  // namespace simulator::stream
