// What is wrong with a policy file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/position.h"
#include "simulator/text/tone.h"

namespace simulator {

struct Diagnostic {
  Position position;
  std::string message;     // what is wrong
  std::string expected;    // what would be right; may be empty
  std::string suggestion;  // the name that was probably meant; may be empty
  Position earlier{};      // what it repeats or contradicts; line 0 if there is no such thing
};

class Diagnostics {
 public:
  void add(Position position, std::string message, std::string expected = {}, std::string_view suggestion = {},
           Position earlier = {});
  bool empty() const { return all_.empty(); }
  size_t count() const { return all_.size(); }
  // Whether there are more than anybody reads: then looking for suggestions is not worth the time.
  bool too_many() const { return all_.size() >= kMostShown; }
  // Whether there are too many errors for reading on to be of use.
  bool hopeless() const { return all_.size() >= kHopeless; }
  // In the order of their positions.
  std::vector<Diagnostic> sorted() const;

  static constexpr size_t kMostShown = 100;
  static constexpr size_t kHopeless = 1000;

 private:
  std::vector<Diagnostic> all_;
};

class Source;

// The diagnostics for people to read: position, message, the line with a mark under the column, what was expected.
std::string render(const Diagnostics &diagnostics, const Source &source, Colours colours = Colours::off);

}  // namespace simulator
