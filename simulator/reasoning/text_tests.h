// The tests of filters as automata over the bytes of a value, and the search for a text that passes some of them and
// does not pass others.
//
// The search walks through all of the automata at once, breadth first, so a text that it finds is one of the shortest.
// When it has walked everywhere and found none, there is none: a test on a value is always a finite automaton, even a
// 'range', whose digits only have to be compared with those of its ends. Values are UTF-8; the search considers no others.
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/reasoning/effort.h"

namespace simulator::reasoning {

enum class Can : uint8_t { impossible, unknown, possible };

class TextTest {
 public:
  using State = uint32_t;
  static constexpr State kNever = UINT32_MAX;        // the text does not pass, whatever follows
  static constexpr State kAlways = UINT32_MAX - 1;   // it passes, whatever follows
  static constexpr State kTooMany = UINT32_MAX - 2;  // the automaton has grown too large
  // Bytes before which a test begins to treat bytes differently.
  using Cuts = std::bitset<256>;

  virtual ~TextTest() = default;

  virtual State start() = 0;
  virtual State step(State state, uint8_t byte) = 0;
  virtual bool passes_at_end(State state) = 0;
  virtual void add_cuts(Cuts &cuts) const = 0;
};

// NULL for a regular expression that cannot be compiled.
std::unique_ptr<TextTest> make_text_test(const Filter &filter);

struct WantedTest {
  TextTest *test;
  bool passes;
};

struct TextAnswer {
  Can can = Can::unknown;
  std::string text{};  // of 'possible'
};

// Finds a text that passes the tests, or does not, as wanted. Prefers texts that are not empty.
TextAnswer find_text(const std::vector<WantedTest> &wanted, Effort &effort);

}  // namespace simulator::reasoning
