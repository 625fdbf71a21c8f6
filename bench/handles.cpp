// Handles: resolving a live one with the test of its kind, and refusing one whose record was deleted.
//
// The library reads an action's number, the smallest operation with the usual beginning. The alternatives do the same
// in a shared library of their own, as other parts of a daemon would call a repository: a slot map with generations and
// kinds, and a hash table.

#include "called/handles.h"
#include "support/jobs.h"
#include "support/random.h"
#include "support/repository.h"

namespace {

using bench::Random;

struct Handles {
  std::vector<uint32_t> live;
  std::vector<uint32_t> stale;
};

class Library {
 public:
  uint32_t create() const {
    zar_action_context context = bench::action_context("count");
    uint32_t action = 0;
    bench::must(zar_create_action(&context, 1, 0, &action), "zar_create_action");
    return action;
  }
  void remove(uint32_t action) const { bench::must(zar_delete_action(action), "zar_delete_action"); }
  uint32_t number_of(uint32_t action) const { return zar_get_action_num(action); }

 private:
  uint32_t clid_ = bench::clid();
};

class SlotMap {
 public:
  uint32_t create() const { return called_slot_map_add(called_action_new(1)); }
  void remove(uint32_t action) const { called_slot_map_remove(action); }
  uint32_t number_of(uint32_t action) const { return called_slot_map_action_number(action); }
};

class HashMap {
 public:
  uint32_t create() const { return called_hash_map_add(called_action_new(1)); }
  void remove(uint32_t action) const { called_hash_map_remove(action); }
  uint32_t number_of(uint32_t action) const { return called_hash_map_action_number(action); }
};

template <class Side>
Handles make(const Side &side, uint32_t n_objects) {
  Handles handles;
  for (uint32_t number = 0; number < n_objects; ++number)
    handles.live.push_back(side.create());
  for (uint32_t number = 0; number < std::min(n_objects, 1000U); ++number)
    handles.stale.push_back(side.create());
  for (uint32_t handle : handles.stale)
    side.remove(handle);
  return handles;
}

template <class Side>
void resolve(benchmark::State &state, const Side &side, const std::vector<uint32_t> &handles) {
  Random random;
  const auto count = static_cast<uint32_t>(handles.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(side.number_of(handles[random.below(count)]));
}

template <class Side>
void resolve_in_turn(benchmark::State &state, const Side &side, const std::vector<uint32_t> &handles) {
  Random random;
  const auto count = static_cast<uint32_t>(handles.size());
  const uint64_t mask = bench::zero();
  for (auto _ : state)
    random.wait_for(side.number_of(handles[random.below(count)]), mask);
}

template <class Side>
void register_side(const std::string &who, uint32_t n_objects) {
  Side side;
  auto handles = std::make_shared<Handles>(make(side, n_objects));
  bench::job("resolve, live", who, [=](benchmark::State &state) { resolve(state, side, handles->live); });
  bench::job("resolve, live, latency", who,
             [=](benchmark::State &state) { resolve_in_turn(state, side, handles->live); });
  bench::job("resolve, stale", who, [=](benchmark::State &state) { resolve(state, side, handles->stale); });
}

}  // namespace

void bench::register_jobs(uint32_t n_objects) {
  register_side<Library>(kLibrary, n_objects);
  register_side<SlotMap>("slot map, called", n_objects);
  register_side<HashMap>("std::unordered_map, called", n_objects);
}
