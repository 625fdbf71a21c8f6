// What events did, a line for each.
#pragma once

#include <string>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/text/tone.h"

namespace simulator {

// The columns are as wide as these steps need; lines are wrapped at 'width' columns, 0 is no limit.
class Summary {
 public:
  Summary(const PolicyFile &file, const std::vector<Step> &steps, Colours colours, size_t width);

  // The number of the event, its name, its target, the verdict, the rule that decided with its place, and if a limit
  // stopped the event, that error.
  std::string line(size_t number, const Step &step, const EventExplanation &explanation) const;

 private:
  std::string decision_of(const EventExplanation &explanation) const;

  const PolicyFile *file_;
  Colours colours_;
  size_t width_;
  size_t number_columns_;
  size_t event_columns_ = 0;
  size_t target_columns_ = 0;
};

}  // namespace simulator
