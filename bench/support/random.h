// New random numbers for every access: caches and predictors would learn a replayed permutation.
#pragma once

#include <cstdint>

namespace bench {

class Random {
 public:
  // Below 'limit'.
  uint32_t below(uint32_t limit) { return static_cast<uint32_t>((next() >> 32) * limit >> 32); }
  // Makes the following numbers depend on 'result', without changing them if 'mask' is 0.
  void wait_for(uint64_t result, uint64_t mask) { state_ += result & mask; }

 private:
  uint64_t next() {
    state_ += 0x9e3779b97f4a7c15u;
    uint64_t mixed = (state_ ^ state_ >> 30) * 0xbf58476d1ce4e5b9u;
    return mixed ^ mixed >> 27;
  }

  uint64_t state_ = 0x2545f4914f6cdd1du;
};

}  // namespace bench
