// The parts of a policy file that the observed events have reached.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "simulator/explanation/explanation.h"

namespace simulator {

// A rule is covered once it has run, a statement of a parameter-map once it has matched, a filter once it has answered
// both ways when it was asked. A filter that an alias puts into several class-maps or statements counts once in each.
class Coverage {
 public:
  explicit Coverage(const PolicyFile &file) : file_(&file) {}

  void add(const EventExplanation &explanation);

  // An uncovered part, with its position and the reason.
  struct Missed {
    Position position;
    std::string what;
    std::string why;
  };
  struct Part {
    size_t covered = 0;
    size_t total = 0;
    std::vector<Missed> missed{};
  };
  Part rules() const;
  Part statements() const;
  Part filters() const;

 private:
  // A class-map or a statement, and a position in it.
  using FilterKey = std::pair<const void *, Position>;
  struct Answers {
    bool held = false;
    bool did_not = false;
  };

  void add(const std::vector<ActionExplanation> &actions);
  void add(const void *owner, const std::vector<FilterExplanation> &filters);
  void count(Part &part, const void *owner, const std::vector<Filter> &filters, const std::string &where) const;

  const PolicyFile *file_;
  std::set<const Rule *> rules_;
  std::set<const Statement *> statements_;
  std::map<FilterKey, Answers> filters_;
};

// The covered share in whole percent; 100 if there is nothing to cover.
uint32_t percent_of(size_t covered, size_t total);

}  // namespace simulator
