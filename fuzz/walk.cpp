#include "fuzz/walk.h"

#include <random>

namespace fuzz {

std::vector<calls::Call> building_calls() {
  using enum calls::Op;
  // A byte of 0 is the first slot, client, name and domain, the number 1 where a 0 says nothing, and a full context; 56
  // after a name is the type that is not CONTROL, 23 the domain "subscriber".
  constexpr uint8_t kPlain = 56;
  constexpr uint8_t kSubscriber = 23;
  return {
      {zar_create_policy, {0, 0, 0, 0}},
      {zar_store_policy, {0, 0}},
      {zar_create_class, {0, 0, 0, 0, 0}},
      {zar_store_class, {0, 0}},
      {zar_create_filter, {0, 0, 0}},
      {zar_add_filter_to_class, {0, 0}},
      {zar_create_action, {0, 1, 1, 0}},
      {zar_create_action, {1, 2, 1, 1}},
      {zar_add_class_to_stored_policy, {0, 0, 0, 0, 0, 0, 1, 0, 0}},
      {zar_get_event_class, {0, 0, 0}},
      {zar_get_class_action, {0, 0, 0, 0}},
      {zar_add_action_to_rule, {0, 0}},
      {zar_increment_action, {0}},
      {zar_increment_action, {0}},
      {zar_increment_action, {1}},
      {zar_create_policy, {0, 0, kPlain, 1}},
      {zar_store_policy, {0, 1}},
      {zar_add_class_to_stored_policy, {0, 0, kPlain, 0, 0, 0, 1, 0, 0}},
      {zar_create_event, {201, 0, 1}},
      {zar_add_event, {0, 1}},
      {zar_add_class_to_event, {1, 0, 0, 2, 1}},
      {zar_add_target, {0, 0, 0, 0}},
      {zar_create_policy_context, {0}},
      {zar_add_target, {0, 0, 1, 1}},
      {zar_activate_policy, {0, 0, 1}},
      {zar_create_pmtr_map, {0, 0, kSubscriber, 0}},
      {zar_store_pmtr_map, {0, 0}},
      {zar_pmtr_create_or_add_filter, {0, 0, 0, 0, 0, 1, 0, 0}},
      {zar_pmtr_map_create_action, {0, 1, 1, 1, 0}},
  };
}

std::vector<calls::Call> random_calls(uint64_t seed, size_t count) {
  std::mt19937_64 random(seed);
  std::vector<calls::Call> made;
  if (seed % 2 == 1) made = building_calls();
  made.reserve(count);
  while (made.size() < count) {
    std::array<uint8_t, calls::kMostBytes + 2> bytes{};
    for (uint8_t &byte : bytes)
      byte = static_cast<uint8_t>(random());
    made.push_back(calls::call_of(bytes));
  }
  return made;
}

std::string run(const std::vector<calls::Call> &calls, const Options &options, uint64_t *steps) {
  Session session(options);
  bool good = true;
  for (const calls::Call &call : calls)
    if (!(good = session.step(call))) break;
  if (good) session.finish();
  if (steps != nullptr) *steps += session.steps();
  return session.failure();
}

std::string told(const std::vector<calls::Call> &calls, Options options) {
  std::vector<std::string> lines;
  options.told = &lines;
  const std::string failure = run(calls, options);
  std::string text;
  for (const std::string &line : lines)
    text += "  " + line + '\n';
  return text + "  " + (failure.empty() ? "nothing goes wrong" : failure) + '\n';
}

}  // namespace fuzz
