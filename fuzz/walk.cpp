#include "fuzz/walk.h"

#include <array>
#include <initializer_list>
#include <iterator>
#include <random>
#include <span>

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

// The byte for a slot of handles.
constexpr uint8_t slot(uint8_t number) {
  return number < 2 ? number : static_cast<uint8_t>(number + 4);
}

// Lists of several elements: three filters in a class-map, three actions in each of two rules, two rules under an event,
// two events, two policy-maps active on two targets, two statements with two actions each.
std::vector<calls::Call> building_lists() {
  using enum calls::Op;
  constexpr uint8_t kSubscriber = 23;
  constexpr uint8_t kOther = 145;  // the second name
  std::vector<calls::Call> made;
  const auto also = [&](std::initializer_list<calls::Call> calls) { made.insert(made.end(), calls); };
  also({{zar_client_register_target_policy_removal_vector, {0, 0}},
        {zar_create_policy, {0, 0, 0, 0}},
        {zar_store_policy, {0, 0}},
        {zar_create_class, {0, 0, 0, 0, 0}},
        {zar_store_class, {0, 0}},
        {zar_create_class, {0, kOther, 0, 0, 1}},
        {zar_store_class, {0, 1}}});
  for (uint8_t i = 0; i < 3; ++i)
    also({{zar_create_filter, {i, slot(i), 0}}, {zar_add_filter_to_class, {0, slot(i)}}});
  also({{zar_add_class_to_stored_policy, {0, 0, 0, 0, 0, 0, 1, 0, 0}},
        {zar_add_class_to_stored_policy, {0, 0, 0, 129, 0, 0, 2, 0, 0}},
        {zar_get_event_class, {0, 0, 0}},
        {zar_get_next_event_class, {0, 0, 0, 1}},
        {zar_get_class_action, {0, 0, 0, 0}},
        {zar_get_class_action, {0, 0, 1, 1}},
        {zar_add_class_to_event, {0, 1, 0, 3, slot(2)}}});
  for (uint8_t i = 0; i < 3; ++i)
    also({{zar_create_action, {i, i, 1, slot(i)}},
          {zar_increment_action, {slot(i)}},
          {zar_add_action_to_rule, {0, slot(i)}},
          {zar_add_action_to_rule, {1, slot(i)}}});
  also({{zar_create_policy, {0, kOther, 0, 1}},
        {zar_store_policy, {0, 1}},
        {zar_create_event, {0, 0, slot(2)}},
        {zar_add_event, {1, slot(2)}},
        {zar_add_class_to_event, {slot(2), 0, 0, 0, slot(3)}},
        {zar_create_action, {4, 3, 1, slot(3)}},
        {zar_add_action_to_rule, {slot(3), slot(3)}},
        {zar_add_target, {0, 0, 0, 0}},
        {zar_add_target, {0, 0, 1, 1}},
        {zar_activate_policy, {0, 1, 0}},
        {zar_activate_policy, {0, 0, 1}},
        {zar_create_pmtr_map, {0, 0, kSubscriber, 0}},
        {zar_store_pmtr_map, {0, 0}}});
  for (uint8_t i = 0; i < 2; ++i)
    also({{zar_pmtr_create_or_add_filter, {0, 0, 0, 0, 0, i, 0, 0}},
          {zar_pmtr_create_or_add_filter, {0, 1, 0, 0, 0, i, 0, 0}},
          {zar_pmtr_map_create_action, {0, i, 1, 1, 0}},
          {zar_pmtr_map_create_action, {0, i, 2, 1, 0}}});
  return made;
}

// Operations that call clients' functions.
constexpr calls::Op kCalling[] = {
    calls::Op::zar_delete_event,
    calls::Op::zar_delete_policy,
    calls::Op::zar_delete_stored_policy,
    calls::Op::zar_delete_stored_policy_by_name,
    calls::Op::zar_delete_class,
    calls::Op::zar_delete_stored_class,
    calls::Op::zar_remove_class_from_policy,
    calls::Op::zar_delete_action,
    calls::Op::zar_delete_filter,
    calls::Op::zar_delete_target,
    calls::Op::zar_add_target,
    calls::Op::zar_activate_policy,
    calls::Op::zar_activate_policy_by_name,
    calls::Op::zar_deactivate_policy_by_name,
    calls::Op::zar_deactivate_any_policy_for_target,
    calls::Op::zar_deactivate_policy_by_name_from_all_targets,
    calls::Op::zar_deactivate_policy_by_handle_from_all_targets,
    calls::Op::zar_print_policymap,
    calls::Op::zar_print_classmap,
    calls::Op::zar_retrieve_filter,
    calls::Op::zar_retrieve_action,
    calls::Op::zar_match_filter_parameters,
    calls::Op::zar_compare_actions,
    calls::Op::zar_get_action_nvgen_str,
    calls::Op::zar_get_filter_nvgen_str,
    calls::Op::zar_shim_action_added_removed,
    calls::Op::zar_invoke_action_handler,
    calls::Op::zar_remove_action_handler_for_event,
    calls::Op::zar_remove_action_handler_for_class,
    calls::Op::zar_is_param_map_assoc_with_policy,
    calls::Op::zar_replace_old_action_hdl,
    calls::Op::zar_replace_old_filter_hdl,
    calls::Op::zar_free_client_action_context,
    calls::Op::zar_pmtr_create_or_add_filter,
    calls::Op::zar_pmtr_map_create_action,
    calls::Op::zar_pmtr_delete_filter,
    calls::Op::zar_delete_stored_pmtr_map,
    calls::Op::zar_delete_pmtr_map,
    calls::Op::kel_pmtr_map_get_filter_expr_by_type,
    calls::Op::zar_add_to_internal_cmap_compare,
};

// Operations that remove, add or delete something.
constexpr calls::Op kChanging[] = {
    calls::Op::zar_delete_event,
    calls::Op::zar_delete_policy,
    calls::Op::zar_delete_stored_policy,
    calls::Op::zar_delete_class,
    calls::Op::zar_delete_stored_class,
    calls::Op::zar_remove_class_from_policy,
    calls::Op::zar_delete_action,
    calls::Op::zar_delete_filter,
    calls::Op::zar_delete_target,
    calls::Op::zar_remove_target,
    calls::Op::zar_destroy_database,
    calls::Op::zar_remove_filter_from_class,
    calls::Op::zar_remove_action_from_class_action,
    calls::Op::zar_remove_action_from_stored_policy,
    calls::Op::zar_remove_action_from_pmtr_stmt_action,
    calls::Op::zar_avl_delete_pmap,
    calls::Op::zar_avl_delete_cmap,
    calls::Op::zar_avl_delete_pmtr_map,
    calls::Op::zar_avl_insert_pmap,
    calls::Op::zar_avl_insert_cmap,
    calls::Op::zar_avl_insert_pmtr_map,
    calls::Op::zar_avl_insert_target_client_db,
    calls::Op::zar_store_policy,
    calls::Op::zar_store_class,
    calls::Op::zar_store_pmtr_map,
    calls::Op::zar_add_filter_to_class_before_filter,
    calls::Op::zar_add_filter_to_class_after_filter,
    calls::Op::zar_add_action_to_rule,
    calls::Op::zar_add_action_to_rule_before_action,
    calls::Op::zar_add_action_to_rule_after_action,
    calls::Op::zar_add_class_to_event,
    calls::Op::zar_add_event,
    calls::Op::zar_add_class_to_stored_policy,
    calls::Op::zar_activate_policy,
    calls::Op::zar_deactivate_policy_by_name,
    calls::Op::zar_deactivate_any_policy_for_target,
    calls::Op::zar_deactivate_policy_by_handle_from_all_targets,
    calls::Op::zar_replace_old_action_hdl,
    calls::Op::zar_pmtr_create_or_add_filter,
    calls::Op::zar_pmtr_map_create_action,
    calls::Op::zar_pmtr_delete_filter,
    calls::Op::zar_delete_stored_pmtr_map,
    calls::Op::zar_delete_pmtr_map,
    calls::Op::kel_delete_subscriber_parameter_map,
};

// Calls from random numbers.
class Dice {
 public:
  explicit Dice(uint64_t seed) : random_(seed) {}

  size_t below(size_t limit) { return random_() % limit; }
  template <typename Choices>
  auto one_of(const Choices &choices) {
    return choices[below(std::size(choices))];
  }
  calls::Call call() { return calls::call_of(bytes()); }
  calls::Call call_among(std::span<const calls::Op> operations) {
    return calls::Decoder(bytes()).call_among(operations);
  }

 private:
  // In most calls no argument is odd.
  std::span<const uint8_t> bytes() {
    const bool tame = below(4) > 0;
    for (uint8_t &byte : bytes_)
      byte = static_cast<uint8_t>(tame ? below(184) : below(256));
    return bytes_;
  }

  std::mt19937_64 random_;
  std::array<uint8_t, calls::kMostBytes + 2> bytes_{};
};

// A call, and those that are made within the functions that it calls, or within functions that these call.
void add_group(Dice &dice, std::vector<calls::Call> &made) {
  static constexpr std::array<uint8_t, 8> kPlaces = {1, 1, 1, 1, 1, 2, 2, 3};
  made.push_back(dice.below(5) == 0 ? dice.call() : dice.call_among(kCalling));
  for (size_t within = dice.below(16); within > 0; --within) {
    const size_t kind = dice.below(5);
    made.push_back(kind == 0 ? dice.call()
                             : dice.call_among(kind <= 2 ? std::span<const calls::Op>(kCalling) : kChanging));
    made.back().within = dice.one_of(kPlaces);
  }
}

}  // namespace

std::vector<calls::Call> reentrant_calls(uint64_t seed, size_t count) {
  std::vector<calls::Call> made;
  if (seed % 4 != 0) made = seed % 4 == 1 ? building_calls() : building_lists();
  Dice dice(seed);
  while (made.size() < count)
    add_group(dice, made);
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

std::string listed(const std::vector<calls::Call> &calls, Options options) {
  std::vector<std::string> lines;
  options.lines = &lines;
  const std::string failure = run(calls, options);
  std::string text;
  for (const std::string &line : lines)
    text += "  " + line + '\n';
  return text + "  " + (failure.empty() ? "nothing goes wrong" : failure) + '\n';
}

}  // namespace fuzz
