// Two policy-maps on many targets: the second activated on all of them, deactivated everywhere, and the targets deleted
// in any order; and the life of one session among many. The time is given per target, so that a cost that grows with
// their number is visible.
#include <algorithm>
#include <ctime>
#include <random>

#include "by_hand/repository.h"
#include "support/jobs.h"
#include "support/random.h"
#include "support/repository.h"

namespace {

using bench::must;

class Library {
 public:
  explicit Library(uint32_t n_targets) : infos_(n_targets), targets_(n_targets) {
    first_ = bench::new_policy(clid_, "first");
    second_ = bench::new_policy(clid_, "second");
  }
  void add_targets() {
    for (size_t at = 0; at < targets_.size(); ++at)
      must(zar_add_target(clid_, &infos_[at], first_, &targets_[at]), "zar_add_target");
  }
  void activate() {
    for (uint32_t target : targets_)
      must(zar_activate_policy(clid_, second_, target), "zar_activate_policy");
  }
  // NOLINTNEXTLINE(readability-make-member-function-const): all steps are of one type
  void deactivate() { must(zar_deactivate_policy_by_handle_from_all_targets(clid_, second_), "deactivation"); }
  void shuffle(std::mt19937 &random) { std::shuffle(targets_.begin(), targets_.end(), random); }
  void delete_targets() {
    for (uint32_t target : targets_)
      remove(target);
  }
  void come_and_go() { remove(with_both(&session_)); }
  void replace(uint32_t at) {
    remove(targets_[at]);
    targets_[at] = with_both(&infos_[at]);
  }

 private:
  uint32_t with_both(zar_target_info *info) const {
    uint32_t target = 0;
    must(zar_add_target(clid_, info, first_, &target), "zar_add_target");
    must(zar_activate_policy(clid_, second_, target), "zar_activate_policy");
    return target;
  }
  void remove(uint32_t target) const { bench::delete_target(clid_, target); }

  uint32_t clid_ = bench::clid();
  uint32_t first_, second_;
  zar_target_info session_{};
  std::vector<zar_target_info> infos_;
  std::vector<uint32_t> targets_;
};

class ByHand {
 public:
  explicit ByHand(uint32_t n_targets) : infos_(n_targets), targets_(n_targets) {
    first_ = repository_.create_policy(bench::info_of("first by hand"));
    second_ = repository_.create_policy(bench::info_of("second by hand"));
  }
  void add_targets() {
    for (size_t at = 0; at < targets_.size(); ++at)
      targets_[at] = repository_.add_target(&infos_[at], first_);
  }
  void activate() {
    for (uint32_t target : targets_)
      repository_.activate(second_, target);
  }
  void deactivate() { repository_.deactivate_everywhere(second_); }
  void shuffle(std::mt19937 &random) { std::shuffle(targets_.begin(), targets_.end(), random); }
  void delete_targets() {
    for (uint32_t target : targets_)
      repository_.delete_target(target);
  }
  void come_and_go() { repository_.delete_target(with_both(&session_)); }
  void replace(uint32_t at) {
    repository_.delete_target(targets_[at]);
    targets_[at] = with_both(&infos_[at]);
  }

 private:
  uint32_t with_both(zar_target_info *info) {
    const uint32_t target = repository_.add_target(info, first_);
    repository_.activate(second_, target);
    return target;
  }

  by_hand::Repository repository_;
  uint32_t first_, second_;
  zar_target_info session_{};
  std::vector<zar_target_info> infos_;
  std::vector<uint32_t> targets_;
};

// Processor time, so that other processes are excluded.
double seconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// One iteration performs a part of the life of all targets; only 'part' is timed.
template <class Side>
void measure(benchmark::State &state, uint32_t n_targets, void (Side::*part)()) {
  Side side(n_targets);
  std::mt19937 random(1);
  auto timed = [&](void (Side::*step)()) {
    double begin = seconds();
    (side.*step)();
    if (step == part) state.SetIterationTime((seconds() - begin) / n_targets);
  };
  auto live = [&] {
    side.add_targets();
    timed(&Side::activate);
    timed(&Side::deactivate);
    side.shuffle(random);
    timed(&Side::delete_targets);
  };
  live();  // memory grows until here
  for (auto _ : state)
    live();
}

// The job gets a side with 'n_targets' targets, on which both policy-maps are active.
template <class Side, class Job>
void measure_session(benchmark::State &state, uint32_t n_targets, Job job) {
  Side side(n_targets);
  side.add_targets();
  side.activate();
  for (auto _ : state)
    job(side);
  side.delete_targets();
}

template <class Side>
void register_side(const std::string &who, uint32_t n_targets) {
  auto part = [&](const char *what, void (Side::*step)()) {
    std::string name = std::string(what) + '/' + who;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) { measure<Side>(state, n_targets, step); })
        ->UseManualTime()
        ->Iterations(1);
  };
  part("activate, per target", &Side::activate);
  part("deactivate everywhere, per target", &Side::deactivate);
  part("delete target, any order", &Side::delete_targets);
  bench::job("session comes and goes", who, [=](benchmark::State &state) {
    measure_session<Side>(state, n_targets, [](Side &side) { side.come_and_go(); });
  });
  bench::job("session replaces any other", who, [=](benchmark::State &state) {
    bench::Random random;
    measure_session<Side>(state, n_targets, [&](Side &side) { side.replace(random.below(n_targets)); });
  });
}

}  // namespace

void bench::register_jobs(uint32_t n_objects) {
  register_side<Library>(kLibrary, n_objects);
  register_side<ByHand>("by hand", n_objects);
}
