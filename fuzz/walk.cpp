#include "fuzz/walk.h"

#include <algorithm>
#include <initializer_list>
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

namespace {

// Lists of several elements: three filters in a class-map, three actions in a rule, two rules, two events, two
// policy-maps in force on two targets, a statement with two actions.
std::vector<calls::Call> building_lists() {
  using enum calls::Op;
  constexpr uint8_t kSubscriber = 23;
  std::vector<calls::Call> made = {
      {zar_client_register_target_policy_removal_vector, {0, 0}},
      {zar_create_policy, {0, 0, 0, 0}},
      {zar_store_policy, {0, 0}},
      {zar_create_class, {0, 0, 0, 0, 0}},
      {zar_store_class, {0, 0}},
      {zar_create_class, {0, 185, 0, 0, 1}},
      {zar_store_class, {0, 1}},
  };
  const auto also = [&](std::initializer_list<calls::Call> calls) { made.insert(made.end(), calls); };
  for (uint8_t filter = 0; filter < 3; ++filter)
    also({{zar_create_filter, {filter, filter, 0}}, {zar_add_filter_to_class, {0, filter}}});
  also({{zar_add_class_to_stored_policy, {0, 0, 0, 0, 0, 0, 1, 0, 0}},
        {zar_add_class_to_stored_policy, {0, 0, 0, 129, 0, 0, 2, 0, 0}},
        {zar_get_event_class, {0, 0, 0}},
        {zar_get_next_event_class, {0, 0, 0, 1}},
        {zar_get_class_action, {0, 0, 0, 0}},
        {zar_get_class_action, {0, 0, 1, 1}},
        {zar_add_class_to_event, {0, 1, 0, 3, 2}}});
  for (uint8_t action = 0; action < 3; ++action)
    also({{zar_create_action, {action, action, 1, action}},
          {zar_increment_action, {action}},
          {zar_add_action_to_rule, {0, action}},
          {zar_add_action_to_rule, {1, action}}});
  also({{zar_create_policy, {0, 185, 0, 1}},
        {zar_store_policy, {0, 1}},
        {zar_create_event, {0, 0, 2}},
        {zar_add_event, {1, 2}},
        {zar_add_class_to_event, {2, 0, 0, 0, 3}},
        {zar_create_action, {6, 3, 1, 3}},
        {zar_add_action_to_rule, {3, 3}},
        {zar_add_target, {0, 0, 0, 0}},
        {zar_add_target, {0, 0, 1, 1}},
        {zar_activate_policy, {0, 1, 0}},
        {zar_activate_policy, {0, 0, 1}},
        {zar_create_pmtr_map, {0, 0, kSubscriber, 0}},
        {zar_store_pmtr_map, {0, 0}},
        {zar_pmtr_create_or_add_filter, {0, 0, 0, 0, 0, 1, 0, 0}},
        {zar_pmtr_create_or_add_filter, {0, 1, 0, 0, 0, 1, 0, 0}},
        {zar_pmtr_map_create_action, {0, 1, 1, 1, 0}},
        {zar_pmtr_map_create_action, {0, 1, 2, 1, 0}}});
  return made;
}

// One in three is made after what is under way; the others in the function that is being called or in one of the next.
uint8_t place_from(uint64_t number) {
  static constexpr std::array<uint8_t, 12> kPlaces = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 3, 5};
  return kPlaces[number % kPlaces.size()];
}

}  // namespace

std::vector<calls::Call> reentrant_calls(uint64_t seed, size_t count) {
  std::vector<calls::Call> made;
  if (seed % 4 != 0) made = seed % 4 == 1 ? building_calls() : building_lists();
  const size_t plain = made.size();
  for (const calls::Call &call : random_calls(2 * seed, count - std::min(count, plain)))
    made.push_back(call);
  std::mt19937_64 random(seed);
  for (size_t i = plain; i < made.size(); ++i)
    made[i].within = place_from(random());
  return made;
}

std::string run(const std::vector<calls::Call> &calls, const Options &options, Steps *steps) {
  Session session(options);
  if (session.steps(calls)) session.finish();
  if (steps == nullptr) return session.failure();
  steps->all += session.steps();
  for (size_t depth = 0; depth < steps->within.size(); ++depth)
    steps->within[depth] += session.steps_within()[depth];
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
