// The verdicts of one event on many targets, grouped by what decided.
#pragma once

#include <string>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/text/json.h"
#include "simulator/text/tone.h"

namespace simulator {

// Targets on which the same action decides, or on which nothing does for the same reason.
struct VerdictGroup {
  EventExplanation first{};  // on the first of the targets
  std::string reason{};      // why there is no verdict, or that a limit stopped the event; may be empty
  std::vector<std::string> targets{};
};

class Verdicts {
 public:
  void add(std::string target, EventExplanation explanation);

  // In the order of their first targets.
  const std::vector<VerdictGroup> &groups() const { return groups_; }
  size_t targets() const;
  // Whether a limit stopped the event on one of the targets.
  bool any_stopped() const;

 private:
  std::vector<VerdictGroup> groups_;
};

// Lines are wrapped at 'width' columns; 0 is no limit.
std::string verdicts_text(const Verdicts &verdicts, const PolicyFile &file, const std::string &event, Colours colours,
                          size_t width);
// 'step' is the event on any of the targets.
Json verdicts_json(const Verdicts &verdicts, const PolicyFile &file, const Step &step);

}  // namespace simulator
