// How much work searches may do.
//
// Nothing here reads a clock: the caller answers whether the searches may go on. Each question gets some work without
// asking, so that what is easy to prove is proven whatever the answer.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <utility>

namespace simulator::reasoning {

using MayGoOn = std::function<bool()>;

class Effort {
 public:
  explicit Effort(MayGoOn may_go_on) : may_go_on_(std::move(may_go_on)) {}

  void begin_question() {
    left_ = over_ ? std::min(kFree, spare_) : kFree;
    if (over_) spare_ -= left_;
  }
  // Takes one step, some microseconds of work at most. False: the search has to give up.
  bool step() { return take(1); }
  bool take(uint64_t steps) {
    while (left_ < steps) {
      if (!ask()) return false;
    }
    left_ -= steps;
    return true;
  }
  // Whether a search was ever refused.
  bool over() const { return over_; }

 private:
  static constexpr uint64_t kFree = 10'000;
  // What all questions together may still cost after the first refusal.
  static constexpr uint64_t kSpare = 1'000'000;

  bool ask() {
    if (over_ || !may_go_on_()) {
      over_ = true;
      return false;
    }
    left_ += kFree;
    return true;
  }

  MayGoOn may_go_on_;
  uint64_t left_ = kFree;
  uint64_t spare_ = kSpare;
  bool over_ = false;
};

}  // namespace simulator::reasoning
