#include "tests/walk/walk.h"

#include <array>
#include <initializer_list>
#include <iterator>
#include <random>
#include <span>

#include "tests/walk/calls/bytes.h"

namespace walk {

std::vector<calls::Call> building_calls() {
  using enum calls::Op;
  using namespace calls::bytes;
  return {
      call(zar_create_policy, {kClientOne, kNameA, kControl, slot(0)}),
      call(zar_store_policy, {kClientOne, slot(0)}),
      call(zar_create_class, {kClientOne, kNameA, kControl, criteria(1), slot(0)}),
      call(zar_store_class, {kClientOne, slot(0)}),
      call(zar_create_filter, {context(0), slot(0), kNo}),
      call(zar_add_filter_to_class, {slot(0), slot(0)}),
      call(zar_create_action, {context(0), number(1), number(1), slot(0)}),
      call(zar_create_action, {context(1), number(2), number(1), slot(1)}),
      call(zar_add_class_to_stored_policy,
           {kClientOne, kNameA, kControl, event(0), kNameA, criteria(1), number(1), kNameA, kControl}),
      call(zar_get_event_class, {kClientOne, slot(0), slot(0)}),
      call(zar_get_class_action, {kClientOne, slot(0), slot(0), slot(0)}),
      call(zar_add_action_to_rule, {slot(0), slot(0)}),
      call(zar_increment_action, {slot(0)}),
      call(zar_increment_action, {slot(0)}),
      call(zar_increment_action, {slot(1)}),
      call(zar_create_policy, {kClientOne, kNameA, kNotControl, slot(1)}),
      call(zar_store_policy, {kClientOne, slot(1)}),
      call(zar_add_class_to_stored_policy,
           {kClientOne, kNameA, kNotControl, event(0), kNameA, criteria(1), number(1), kNameA, kControl}),
      call(zar_create_event, {event(1), kNameA, slot(1)}),
      call(zar_add_event, {slot(0), slot(1)}),
      call(zar_add_class_to_event, {slot(1), slot(0), criteria(1), number(2), slot(1)}),
      call(zar_add_target, {kClientOne, kGiven, slot(0), slot(0)}),
      call(zar_create_policy_context, {slot(0)}),
      call(zar_add_target, {kClientOne, kGiven, slot(1), slot(1)}),
      call(zar_activate_policy, {kClientOne, slot(0), slot(1)}),
      call(zar_create_pmtr_map, {kClientOne, kNameA, kSubscriber, slot(0)}),
      call(zar_store_pmtr_map, {kClientOne, slot(0)}),
      call(zar_pmtr_create_or_add_filter, {slot(0), context(0), kNo, kNo, number(0), number(1), kNo, number(0)}),
      call(zar_pmtr_map_create_action, {slot(0), number(1), number(1), number(1), context(0)}),
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

// Lists of several elements: three filters in a class-map, three actions in each of two rules, two rules under an event,
// two events, two policy-maps active on two targets, two statements with two actions each.
std::vector<calls::Call> building_lists() {
  using enum calls::Op;
  using namespace calls::bytes;
  std::vector<calls::Call> made;
  const auto also = [&](std::initializer_list<calls::Call> calls) { made.insert(made.end(), calls); };
  also({call(zar_client_register_target_policy_removal_vector, {kClientOne, kGiven}),
        call(zar_create_policy, {kClientOne, kNameA, kControl, slot(0)}), call(zar_store_policy, {kClientOne, slot(0)}),
        call(zar_create_class, {kClientOne, kNameA, kControl, criteria(1), slot(0)}),
        call(zar_store_class, {kClientOne, slot(0)}),
        call(zar_create_class, {kClientOne, kNameB, kControl, criteria(1), slot(1)}),
        call(zar_store_class, {kClientOne, slot(1)})});
  for (uint8_t i = 0; i < 3; ++i)
    also({call(zar_create_filter, {context(i), slot(i), kNo}), call(zar_add_filter_to_class, {slot(0), slot(i)})});
  also({call(zar_add_class_to_stored_policy,
             {kClientOne, kNameA, kControl, event(0), kNameA, criteria(1), number(1), kNameA, kControl}),
        call(zar_add_class_to_stored_policy,
             {kClientOne, kNameA, kControl, event(1), kNameA, criteria(1), number(2), kNameA, kControl}),
        call(zar_get_event_class, {kClientOne, slot(0), slot(0)}),
        call(zar_get_next_event_class, {kClientOne, slot(0), slot(0), slot(1)}),
        call(zar_get_class_action, {kClientOne, slot(0), slot(0), slot(0)}),
        call(zar_get_class_action, {kClientOne, slot(0), slot(1), slot(1)}),
        call(zar_add_class_to_event, {slot(0), slot(1), criteria(1), number(3), slot(2)})});
  for (uint8_t i = 0; i < 3; ++i)
    also({call(zar_create_action, {context(i), number(i), number(1), slot(i)}), call(zar_increment_action, {slot(i)}),
          call(zar_add_action_to_rule, {slot(0), slot(i)}), call(zar_add_action_to_rule, {slot(1), slot(i)})});
  also({call(zar_create_policy, {kClientOne, kNameB, kControl, slot(1)}), call(zar_store_policy, {kClientOne, slot(1)}),
        call(zar_create_event, {event(0), kNameA, slot(2)}), call(zar_add_event, {slot(1), slot(2)}),
        call(zar_add_class_to_event, {slot(2), slot(0), criteria(1), number(0), slot(3)}),
        call(zar_create_action, {context(0), number(3), number(1), slot(3)}),
        call(zar_add_action_to_rule, {slot(3), slot(3)}), call(zar_add_target, {kClientOne, kGiven, slot(0), slot(0)}),
        call(zar_add_target, {kClientOne, kGiven, slot(1), slot(1)}),
        call(zar_activate_policy, {kClientOne, slot(1), slot(0)}),
        call(zar_activate_policy, {kClientOne, slot(0), slot(1)}),
        call(zar_create_pmtr_map, {kClientOne, kNameA, kSubscriber, slot(0)}),
        call(zar_store_pmtr_map, {kClientOne, slot(0)})});
  for (uint8_t i = 0; i < 2; ++i)
    also({call(zar_pmtr_create_or_add_filter, {slot(0), context(0), kNo, kNo, number(0), number(i), kNo, number(0)}),
          call(zar_pmtr_create_or_add_filter, {slot(0), context(1), kNo, kNo, number(0), number(i), kNo, number(0)}),
          call(zar_pmtr_map_create_action, {slot(0), number(i), number(1), number(1), context(0)}),
          call(zar_pmtr_map_create_action, {slot(0), number(i), number(2), number(1), context(0)})});
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

}  // namespace walk
