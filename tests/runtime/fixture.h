// Shared by the tests of the runtime.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "host/runtime/control.h"
#include "platform/runtime.h"

// Every test ends without unexpected complaints.
class RuntimeTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(complaints(), std::vector<std::string>()); }

  // The complaints since the last call.
  static std::vector<std::string> complaints() {
    std::vector<std::string> result = runtime::complaints();
    runtime::clear_complaints();
    return result;
  }
  static size_t n_complaints() { return complaints().size(); }
};

// Reproducible random numbers: the seed is printed.
class Random {
 public:
  explicit Random(uint32_t seed) : engine_(seed) { std::cout << "seed " << seed << "\n"; }
  // At least 0, below 'bound'.
  uint32_t below(size_t bound) { return static_cast<uint32_t>(engine_() % bound); }
  template <class T>
  T &pick(std::vector<T> &from) {
    return from[below(from.size())];
  }

 private:
  std::mt19937 engine_;
};
