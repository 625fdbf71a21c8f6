// What one test on a value says about another test on the same value, as far as that is seen without a search.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "simulator/policy/model.h"

namespace simulator::reasoning {

struct Relation {
  bool both_can_pass = true;
  bool first_implies_second = false;
  bool second_implies_first = false;
};

// no-match does not count.
Relation relation_of(const Filter &first, const Filter &second);

// The tests on one attribute. All pairs of thousands of tests would take gigabytes, and most only say that two texts
// differ. So only the first few hundred are paired with each other. A later text is paired with the texts that begin
// with it, and with those that it begins with.
class RelatedTests {
 public:
  // The tests to pair this one with. It is known from then on.
  std::vector<uint32_t> add(uint32_t node, const Filter &test);

 private:
  std::vector<uint32_t> with_beginnings_of(const std::string &text) const;

  std::vector<uint32_t> first_{};
  size_t n_pairs_ = 0;                                                   // of these
  std::map<std::string, std::vector<uint32_t>, std::less<>> by_text_{};  // 'equals' and 'prefix'
};

}  // namespace simulator::reasoning
