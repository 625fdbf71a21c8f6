#include "handles/rows.h"

#include <utility>

#include "platform/runtime.h"
#include "support/lines.h"

namespace handles {
namespace {

using rig::error;
using rig::info;
using rig::no_action;
using rig::no_cmap;
using rig::no_event;
using rig::no_filter;
using rig::no_pmap;
using rig::no_pmtr_map;
using rig::no_rule;
using rig::no_target;

// ---- Kinds

const std::vector<Kind> kPmap{Kind::pmap}, kCmap{Kind::cmap}, kAction{Kind::action}, kFilter{Kind::filter},
    kEvent{Kind::event}, kRule{Kind::rule}, kTarget{Kind::target}, kPmtrMap{Kind::pmtr_map};
const std::vector<Kind> kMaps{Kind::pmap, Kind::cmap, Kind::pmtr_map};
const std::vector<Kind> kEvery(kKinds.begin(), kKinds.end());
const std::vector<Kind> kNotLookedAt;

constexpr Subject linked = Subject::linked, spare = Subject::spare, alone = Subject::stored_cmap_alone,
                  in_statement = Subject::statement_action;

// ---- Answers

uint64_t given(const void *pointer) {
  return pointer != nullptr;
}
uint64_t given(uint32_t handle) {
  return handle != 0;
}
uint64_t names_something(uint32_t handle) {
  const rig::Quiet quiet;
  return zar_handle_get_context(handle) != nullptr;
}
// The caller owns the text.
uint64_t given_and_freed(char *text) {
  if (text != nullptr) bfree_named(text);
  return text != nullptr;
}

// ---- The messages of the operations for a handle without context

// ---- Their other messages before or after the check of the handle

Line in_own_database(const char *name) {
  return info("(info): %s: using client specific database", name);
}
Line no_subscriber_owner() {
  return info("(info): no registered owner for domain:%s, using default", "subscriber");
}
Line found_gold() {
  return info("(info): retrieve_policy: successful, pmap:%s", "gold:d1:1");
}
Line found_voice() {
  return info("(info): retrieve_class: successful, cmap:%s", "voice:d1:1");
}
Line event_present(Scene &s) {
  return info("(info): %s: event:%d  present in pmap:0x%x", "get_matching_class_action_tuple", kEventId, s.linked.pmap);
}
Line rule_found(Scene &s) {
  return info("(info): %s: class found under event event:%d in pmap:0x%x, class-action tuple:0x%p",
              "get_matching_class_action_tuple", kEventId, s.linked.pmap, Scene::at<void>(s.linked.rule));
}

// ---- The rows

#define OPERATION(operation, argument) #operation, #argument
#define CALL(...) [](Scene &s [[maybe_unused]], uint32_t h) -> uint64_t { return __VA_ARGS__; }
#define SAYS(...) [](Scene &s [[maybe_unused]], uint32_t h [[maybe_unused]]) -> Lines { return {__VA_ARGS__}; }

using Rows = std::vector<Row>;

Row row(const char *operation, const char *argument, const std::vector<Kind> &kinds, Subject subject, Call call,
        Refusal refusal, uint64_t accepted = 0, std::optional<Refusal> of_zero = std::nullopt,
        std::vector<std::string> calls = {}) {
  return {operation, argument, kinds, subject, call, refusal, accepted, of_zero, std::move(calls)};
}

// Handles as such. The look-up takes every kind, and a release takes whatever is live.
Rows of_handles() {
  return {
      row(OPERATION(zar_handle_get_context, handle), kEvery, linked, CALL(given(zar_handle_get_context(h))),
          {0, SAYS(look_up)}, 1),
      row(OPERATION(zar_handle_release, handle), kEvery, linked, CALL((zar_handle_release(h), names_something(h))),
          {0, SAYS()}, 0),
  };
}

// Any kind of map may be stored as any other, and a walk over maps skips it.
Rows of_stores_and_tree_walks() {
  return {
      row(OPERATION(zar_store_policy, pmap), kMaps, spare, CALL(zar_store_policy(s.one, h)),
          {39, SAYS(look_up, error("(ERR): store_policy: Error: invalid pmap handle"))}),
      row(OPERATION(zar_store_class, cmap), kMaps, spare, CALL(zar_store_class(s.one, h)),
          {39, SAYS(look_up, error("(ERR): store_class: Error: invalid cmap handle"))}),
      row(OPERATION(zar_store_pmtr_map, pmtr_map), kMaps, spare, CALL(zar_store_pmtr_map(s.one, h)),
          {39, SAYS(look_up, error("(ERR): store_pmtr_map: Error: invalid pmtr_map handle"))}),

      row(OPERATION(zar_get_next_policy, current), kMaps, linked, CALL(zar_get_next_policy(s.one, h, &s.out)),
          {39, SAYS(look_up, no_pmap("get_next_policy"))}),
      row(OPERATION(zar_get_next_class, current), kMaps, linked, CALL(zar_get_next_class(s.one, h, &s.out)),
          {39, SAYS(look_up, no_cmap("get_next_class"))}),
      row(OPERATION(zar_get_next_pmtr_map, current), kMaps, linked, CALL(zar_get_next_pmtr_map(s.one, h, &s.out)),
          {39, SAYS(look_up, no_pmtr_map("get_next_pmtr_map"))}),
  };
}

// A reference handle is only compared with those of the filters that are there.
Rows of_class_map_filters() {
  return {
      row(OPERATION(zar_add_filter_to_class, cmap), kCmap, linked, CALL(zar_add_filter_to_class(h, s.spare.filter)),
          {39, SAYS(look_up, no_cmap("add_filter_to_class"))}),
      row(OPERATION(zar_add_filter_to_class, filter), kFilter, spare, CALL(zar_add_filter_to_class(s.linked.cmap, h)),
          {39, SAYS(look_up, no_filter("add_filter_to_class"))}),

      row(OPERATION(zar_add_filter_to_class_before_filter, cmap), kCmap, linked,
          CALL(zar_add_filter_to_class_before_filter(h, s.spare.filter, s.linked.filter)),
          {39, SAYS(look_up, no_cmap("add_filter_to_class_before_filter"))}),
      row(OPERATION(zar_add_filter_to_class_before_filter, filter), kFilter, spare,
          CALL(zar_add_filter_to_class_before_filter(s.linked.cmap, h, s.linked.filter)),
          {39, SAYS(look_up, no_filter("add_filter_to_class_before_filter"))}),
      row(OPERATION(zar_add_filter_to_class_before_filter, reference), kFilter, linked,
          CALL(zar_add_filter_to_class_before_filter(s.linked.cmap, s.spare.filter, h)),
          {39, SAYS(error("(ERR): %s: Error: Could not find filter hdl:0x%x in class-map to insert before",
                          "add_filter_to_class_before_filter", h))}),

      row(OPERATION(zar_add_filter_to_class_after_filter, cmap), kCmap, linked,
          CALL(zar_add_filter_to_class_after_filter(h, s.spare.filter, s.linked.filter)),
          {39, SAYS(look_up, no_cmap("add_filter_to_class_after_filter"))}),
      row(OPERATION(zar_add_filter_to_class_after_filter, filter), kFilter, spare,
          CALL(zar_add_filter_to_class_after_filter(s.linked.cmap, h, s.linked.filter)),
          {39, SAYS(look_up, no_filter("add_filter_to_class_after_filter"))}),
      row(OPERATION(zar_add_filter_to_class_after_filter, reference), kFilter, linked,
          CALL(zar_add_filter_to_class_after_filter(s.linked.cmap, s.spare.filter, h)),
          {39, SAYS(error("(ERR): %s: Error: Could not find filter hdl:0x%x in class-map to insert after",
                          "add_filter_to_class_after_filter", h))}),

      row(OPERATION(zar_retrieve_filter, cmap), kCmap, linked, CALL(zar_retrieve_filter(h, &s.filter_twin, 0, &s.out)),
          {39, SAYS(look_up, no_cmap("retrieve_filter"))}),
      row(OPERATION(zar_remove_filter_from_class, cmap), kCmap, linked,
          CALL(zar_remove_filter_from_class(h, s.linked.filter)),
          {39, SAYS(look_up, no_cmap("remove_filter_from_class"))}),
      row(OPERATION(zar_remove_filter_from_class, filter), kFilter, linked,
          CALL(zar_remove_filter_from_class(s.linked.cmap, h)),
          {39, SAYS(look_up, no_filter("remove_filter_from_class"))}),
      row(OPERATION(zar_replace_old_filter_hdl, filter), kFilter, linked,
          CALL((zar_replace_old_filter_hdl(h, &s.filter_twin), 0)), {0, SAYS(look_up, no_filter(" "))}),
  };
}

Rows of_events() {
  return {
      row(OPERATION(zar_event_set_match_criteria, event), kEvent, linked, CALL(zar_event_set_match_criteria(h, 2)),
          {39, SAYS(look_up, no_event("event_set_match_criteria"))}),
      row(OPERATION(zar_event_get_match_criteria, event), kEvent, linked, CALL(zar_event_get_match_criteria(h)),
          {0, SAYS(look_up, no_event("event_get_match_criteria"))}, 1),

      row(OPERATION(zar_add_event, pmap), kPmap, linked, CALL(zar_add_event(h, s.spare.event)),
          {39, SAYS(look_up, no_pmap("add_event"))}),
      row(OPERATION(zar_add_event, event), kEvent, spare, CALL(zar_add_event(s.linked.pmap, h)),
          {39, SAYS(look_up, no_event("add_event"))}),
      row(OPERATION(zar_retrieve_event, pmap), kPmap, linked, CALL(zar_retrieve_event(h, &s.start, &s.out)),
          {39, SAYS(look_up, no_pmap("retrieve_event"))}),
      row(OPERATION(zar_delete_event, event), kEvent, spare, CALL(zar_delete_event(h)),
          {39, SAYS(look_up, no_event("delete_event"))}),
  };
}

Rows of_class_actions() {
  return {
      row(OPERATION(zar_add_class_to_event, event), kEvent, spare,
          CALL(zar_add_class_to_event(h, s.linked.cmap, 0, 1, &s.out)),
          {39, SAYS(look_up, no_event("add_class_to_event"))}),
      row(OPERATION(zar_add_class_to_event, cmap), kCmap, spare,
          CALL(zar_add_class_to_event(s.spare.event, h, 0, 1, &s.out)),
          {39, SAYS(look_up, no_cmap("create_class_action_tuple"))}),

      row(OPERATION(zar_retrieve_class_action, pmap), kPmap, linked,
          CALL(zar_retrieve_class_action(h, s.linked.event, s.linked.cmap, &s.out)),
          {39, SAYS(look_up, no_pmap("retrieve_class_action"))}),
      row(OPERATION(zar_retrieve_class_action, event), kEvent, linked,
          CALL(zar_retrieve_class_action(s.linked.pmap, h, s.linked.cmap, &s.out)),
          {39, SAYS(look_up, no_event("retrieve_class_action"))}),
      row(OPERATION(zar_retrieve_class_action, cmap), kCmap, linked,
          CALL(zar_retrieve_class_action(s.linked.pmap, s.linked.event, h, &s.out)),
          {39, SAYS(look_up, no_cmap("retrieve_class_action"))}),
      row(OPERATION(zar_retrieve_class_num_in_event, event), kEvent, linked,
          CALL(zar_retrieve_class_num_in_event(h, 1, &s.out)),
          {39, SAYS(look_up, error("(ERR): %s: Invalid event context", "retrieve_class_num"))}),
      row(OPERATION(zar_get_cmap_from_class_action, class_action), kRule, linked,
          CALL(given(zar_get_cmap_from_class_action(h))), {0, SAYS(look_up)}, 1),

      row(OPERATION(zar_remove_class_from_policy, pmap), kPmap, linked,
          CALL(zar_remove_class_from_policy(h, &s.start, s.linked.cmap, 1)),
          {39, SAYS(look_up, no_pmap("remove_class_from_policy"))}),
      row(OPERATION(zar_remove_class_from_policy, cmap), kCmap, linked,
          CALL(zar_remove_class_from_policy(s.linked.pmap, &s.start, h, 1)),
          {39, SAYS(look_up, no_cmap("remove_class_from_policy"))}),
  };
}

// Here too a reference handle is only compared.
Rows of_actions_in_rules() {
  return {
      row(OPERATION(zar_add_action_to_rule, class_action), kRule, linked,
          CALL(zar_add_action_to_rule(h, s.spare.action)), {39, SAYS(look_up, no_rule("add_action_to_rule"))}),
      row(OPERATION(zar_add_action_to_rule, action), kAction, spare, CALL(zar_add_action_to_rule(s.linked.rule, h)),
          {39, SAYS(look_up, no_action("add_action_to_rule"))}),

      row(OPERATION(zar_add_action_to_rule_before_action, class_action), kRule, linked,
          CALL(zar_add_action_to_rule_before_action(h, s.spare.action, s.linked.action)),
          {39, SAYS(look_up, no_rule("add_action_to_rule_before_action"))}),
      row(OPERATION(zar_add_action_to_rule_before_action, action), kAction, spare,
          CALL(zar_add_action_to_rule_before_action(s.linked.rule, h, s.linked.action)),
          {39, SAYS(look_up, no_action("add_action_to_rule_before_action"))}),
      row(OPERATION(zar_add_action_to_rule_before_action, reference), kAction, linked,
          CALL(zar_add_action_to_rule_before_action(s.linked.rule, s.spare.action, h)),
          {39, SAYS(error("(ERR): %s: Could not find action hdl:0x%x in class-action to insert before",
                          "add_action_to_rule_before_action", h))}),

      row(OPERATION(zar_add_action_to_rule_after_action, class_action), kRule, linked,
          CALL(zar_add_action_to_rule_after_action(h, s.spare.action, s.linked.action)),
          {39, SAYS(look_up, no_rule("add_action_to_rule_after_action"))}),
      row(OPERATION(zar_add_action_to_rule_after_action, action), kAction, spare,
          CALL(zar_add_action_to_rule_after_action(s.linked.rule, h, s.linked.action)),
          {39, SAYS(look_up, no_action("add_action_to_rule_after_action"))}),
      row(OPERATION(zar_add_action_to_rule_after_action, reference), kAction, linked,
          CALL(zar_add_action_to_rule_after_action(s.linked.rule, s.spare.action, h)),
          {39, SAYS(error("(ERR): %s: Error: Could not find action hdl:0x%x in class-action to insert after",
                          "add_action_to_rule_after_action", h))}),

      row(OPERATION(zar_remove_action_from_class_action, class_action), kRule, linked,
          CALL(zar_remove_action_from_class_action(h, s.linked.action)),
          {39, SAYS(look_up, no_rule("remove_action_from_class_action"))}),
      row(OPERATION(zar_remove_action_from_class_action, action), kAction, linked,
          CALL(zar_remove_action_from_class_action(s.linked.rule, h)),
          {39, SAYS(look_up, no_action("remove_action_from_class_action"))}),

      row(OPERATION(zar_retrieve_action, class_action), kRule, linked,
          CALL(zar_retrieve_action(h, &s.action_twin, &s.out)), {39, SAYS(look_up, no_rule("retrieve_action"))}),
      row(OPERATION(zar_retrieve_action_num_in_class_action, class_action), kRule, linked,
          CALL(zar_retrieve_action_num_in_class_action(h, 1, &s.out)),
          {39, SAYS(look_up, no_rule("retrieve_action_num_in_class_action"))}),
      row(OPERATION(zar_compare_actions, action), kAction, linked, CALL(zar_compare_actions(h, &s.action_twin)),
          {0, SAYS(look_up)}, 1),
      row(OPERATION(zar_replace_old_action_hdl, action), kAction, linked,
          CALL((zar_replace_old_action_hdl(h, &s.action_twin), 0)), {0, SAYS(look_up, no_action(" "))}),
  };
}

// The maps are found by name first.
Rows of_stored_policies() {
  return {
      row(OPERATION(zar_add_class_action_to_stored_policy, cmap), kCmap, spare,
          CALL(zar_add_class_action_to_stored_policy(s.one, &s.gold, &s.start, 0, h, 2, s.spare.action)),
          {39, SAYS(in_own_database("retrieve_policy"), found_gold(), look_up, no_cmap("add_class_to_stored_policy"))}),
      row(OPERATION(zar_add_class_action_to_stored_policy, action), kAction, spare,
          CALL(zar_add_class_action_to_stored_policy(s.one, &s.gold, &s.start, 0, s.spare.cmap, 2, h)),
          {39, SAYS(in_own_database("retrieve_policy"), found_gold(),
                    info("(info): %s: retrieved stored policy:0x%x", "add_class_to_stored_policy", s.linked.pmap),
                    look_up, no_action("add_class_to_stored_policy"))}),
      row(OPERATION(zar_add_action_to_stored_policy, action), kAction, spare,
          CALL(zar_add_action_to_stored_policy(s.one, &s.gold, &s.start, &s.voice, h)),
          {37, SAYS(in_own_database("retrieve_policy"), found_gold(), in_own_database("retrieve_class"), found_voice(),
                    event_present(s), rule_found(s), look_up, no_action("add_action_to_rule"))}),
      row(OPERATION(zar_remove_action_from_stored_policy, action), kAction, linked,
          CALL(zar_remove_action_from_stored_policy(s.one, &s.gold, &s.start, &s.voice, h)),
          {39, SAYS(in_own_database("retrieve_policy"), found_gold(), in_own_database("retrieve_class"), found_voice(),
                    event_present(s), rule_found(s), look_up, no_action("remove_action_from_stored_policy"))}),
  };
}

// The deletion of a policy-map asks for its name before it begins, and so looks twice.
Rows of_deletions() {
  return {
      row(OPERATION(zar_delete_action, action), kAction, spare, CALL(zar_delete_action(h)),
          {39, SAYS(look_up, error("(ERR): %s: Error: action:0x%x is already NULL", "delete_action", h))}),
      row(OPERATION(zar_delete_filter, filter), kFilter, spare, CALL(zar_delete_filter(h)),
          {39, SAYS(look_up, error("(ERR): %s: Error: filter:0x%x is already NULL", "delete_filter", h))}),
      row(OPERATION(zar_delete_policy, pmap), kPmap, spare, CALL(zar_delete_policy(h)),
          {39, SAYS(look_up, no_pmap(" "), look_up, no_pmap("delete_policy"))}),
      row(OPERATION(zar_delete_stored_policy, pmap), kPmap, linked, CALL(zar_delete_stored_policy(s.one, h)),
          {39, SAYS(look_up, no_pmap("delete_stored_policy"))}),
      row(OPERATION(zar_delete_class, cmap), kCmap, spare, CALL(zar_delete_class(h)),
          {39, SAYS(look_up, no_cmap("delete_class"))}),
      row(OPERATION(zar_delete_stored_class, cmap), kCmap, alone, CALL(zar_delete_stored_class(s.one, h)),
          {39, SAYS(look_up, no_cmap("delete_stored_class"))}),
  };
}

Rows of_targets() {
  return {
      row(OPERATION(zar_add_target, pmap), kPmap, linked, CALL(zar_add_target(s.one, s.info, h, &s.out)),
          {39, SAYS(look_up, no_pmap("add_target"))}),
      row(OPERATION(zar_remove_target, target), kTarget, linked, CALL(zar_remove_target(s.one, h, &s.info_out)),
          {39, SAYS(look_up, no_target("remove_target"))}),
      row(OPERATION(zar_delete_target, target), kTarget, linked, CALL(zar_delete_target(h)),
          {39, SAYS(look_up, no_target("delete_target"))}),
      row(OPERATION(zar_create_policy_context, target), kTarget, linked, CALL(given(zar_create_policy_context(h))),
          {0, SAYS(look_up, no_target("create_policy_context"))}, 1),
      row(OPERATION(zar_retrieve_policy_context, target), kTarget, linked, CALL(given(zar_retrieve_policy_context(h))),
          {0, SAYS(look_up, no_target("retrieve_policy_context"))}, 1),
  };
}

// The cursor of the walk over active policies is only compared. Deactivation by type checks nothing.
Rows of_activation() {
  return {
      row(OPERATION(zar_activate_policy, pmap), kPmap, linked, CALL(zar_activate_policy(s.one, h, s.spare.target)),
          {39, SAYS(look_up, no_pmap("activate_policy"))}),
      row(OPERATION(zar_activate_policy, target), kTarget, spare, CALL(zar_activate_policy(s.one, s.linked.pmap, h)),
          {39, SAYS(look_up, no_target("activate_policy"))}),
      row(OPERATION(zar_activate_policy_by_name, target), kTarget, spare,
          CALL(zar_activate_policy_by_name(s.one, h, &s.gold)),
          {39, SAYS(in_own_database("retrieve_policy"), found_gold(), look_up, no_target("activate_policy"))}),

      row(OPERATION(zar_deactivate_policy_by_name, target), kTarget, linked,
          CALL(zar_deactivate_policy_by_name(s.one, h, &s.gold)),
          {39,
           SAYS(in_own_database("retrieve_policy"), found_gold(), look_up, no_target("deactivate_policy_by_name"))}),
      row(OPERATION(zar_deactivate_policy_by_type, target), kNotLookedAt, linked,
          CALL(zar_deactivate_policy_by_type(s.one, h, 1)), {0, SAYS()}),
      row(OPERATION(zar_deactivate_any_policy_for_target, target), kTarget, linked,
          CALL(zar_deactivate_any_policy_for_target(s.one, h)),
          {39, SAYS(look_up, no_target("deactivate_any_policy_for_target"))}),
      row(OPERATION(zar_deactivate_policy_by_handle_from_all_targets, pmap), kPmap, linked,
          CALL(zar_deactivate_policy_by_handle_from_all_targets(s.one, h)),
          {39, SAYS(look_up, no_pmap("deactivate_policy_by_handle_from_all_targets"))}),

      row(OPERATION(zar_retrieve_policy_from_target, target), kTarget, linked,
          CALL(zar_retrieve_policy_from_target(s.one, h, &s.gold, nullptr, &s.out)),
          {39,
           SAYS(look_up, no_target("retrieve_policy_from_target"), in_own_database("retrieve_policy"), found_gold())}),
      row(OPERATION(zar_get_first_active_policy_on_target, target), kTarget, linked,
          CALL(zar_get_first_active_policy_on_target(h, &s.domain_type_out, &s.reserved_out, &s.out)),
          {39, SAYS(look_up, no_target("get_first_active_policy_on_target"))}),
      row(OPERATION(zar_get_next_active_policy_on_target, target), kTarget, linked,
          CALL(zar_get_next_active_policy_on_target(h, s.linked.pmap, &s.domain_type_out, &s.reserved_out, &s.out)),
          {39, SAYS(look_up, no_target("get_next_active_policy_on_target"))}),
      row(OPERATION(zar_get_next_active_policy_on_target, current_pmap), kPmap, linked,
          CALL(zar_get_next_active_policy_on_target(s.linked.target, h, &s.domain_type_out, &s.reserved_out, &s.out)),
          {0,
           SAYS(info("(info): %s: no match for current policy:0x%x active on target",
                     "get_next_active_policy_on_target", h)),
           0}),
  };
}

// A cursor is only compared with the elements' handles: a strange one counts as gone, and 0 is refused.
Rows of_queue_walks() {
  return {
      row(OPERATION(zar_get_event_class, pmap), kPmap, linked, CALL(zar_get_event_class(s.one, h, &s.out)),
          {39, SAYS(look_up, no_pmap("get_event_class"))}),
      row(OPERATION(zar_get_next_event_class, pmap), kPmap, linked,
          CALL(zar_get_next_event_class(s.one, h, s.linked.event, &s.out)),
          {39, SAYS(look_up, no_pmap("get_next_event_class"))}),
      row(OPERATION(zar_get_next_event_class, current), kEvent, linked,
          CALL(zar_get_next_event_class(s.one, s.linked.pmap, h, &s.out)),
          {0,
           SAYS(info("(info): %s: success, event-class:0x%x not present in the pmap:0x%x", "get_next_event_class", h,
                     s.linked.pmap)),
           0},
          0,
          {{39, SAYS(error("(ERR): %s: Error: current event tuple handle cannot be NULL", "get_next_event_class"))}}),

      row(OPERATION(zar_get_class_action, pmap), kPmap, linked,
          CALL(zar_get_class_action(s.one, h, s.linked.event, &s.out)),
          {39, SAYS(look_up, no_pmap("get_class_action"))}),
      row(OPERATION(zar_get_class_action, event), kEvent, linked,
          CALL(zar_get_class_action(s.one, s.linked.pmap, h, &s.out)),
          {39, SAYS(look_up, error("(ERR): %s: Error: event needs to be provided to look for class in control polies",
                                   "get_class_action"))}),
      row(OPERATION(zar_get_next_class_action, pmap), kPmap, linked,
          CALL(zar_get_next_class_action(s.one, h, s.linked.event, s.linked.rule, &s.out)),
          {39, SAYS(look_up, no_pmap("get_next_class_action"))}),
      row(OPERATION(zar_get_next_class_action, event), kEvent, linked,
          CALL(zar_get_next_class_action(s.one, s.linked.pmap, h, s.linked.rule, &s.out)),
          {39, SAYS(look_up, error("(ERR): %s: Error: event needs to be provided to look for class in control polies",
                                   "get_next_class_action"))}),
      row(OPERATION(zar_get_next_class_action, current), kRule, linked,
          CALL(zar_get_next_class_action(s.one, s.linked.pmap, s.linked.event, h, &s.out)),
          {0,
           SAYS(info("(info): %s: success, class-action:0x%x not present in the pmap:0x%x", "get_next_class_action", h,
                     s.linked.pmap)),
           0},
          0,
          {{39, SAYS(error("(ERR): %s: Error: current class action handle cannot be NULL", "get_next_class_action"))}}),

      row(OPERATION(zar_get_action, class_action), kRule, linked, CALL(zar_get_action(s.one, h, &s.out)),
          {39, SAYS(look_up, no_rule("get_action"))}),
      row(OPERATION(zar_get_next_action, class_action), kRule, linked,
          CALL(zar_get_next_action(s.one, h, s.linked.action, &s.out)),
          {39, SAYS(look_up, no_rule("get_next_action"))}),
      row(OPERATION(zar_get_next_action, current), kAction, linked,
          CALL(zar_get_next_action(s.one, s.linked.rule, h, &s.out)),
          {0,
           SAYS(info("(info): %s: Error: no matching action:0x%x found in class-action tuple:0x%x", "get_next_action",
                     h, s.linked.rule)),
           0},
          0, {{39, SAYS(error("(ERR): %s: Error: current action handle cannot be NULL", "get_next_action"))}}),

      row(OPERATION(zar_get_filter, cmap), kCmap, linked, CALL(zar_get_filter(s.one, h, &s.out)),
          {39, SAYS(look_up, no_cmap("get_filter"))}),
      row(OPERATION(zar_get_next_filter, cmap), kCmap, linked,
          CALL(zar_get_next_filter(s.one, h, s.linked.filter, &s.out)),
          {39, SAYS(look_up, no_cmap("get_next_filter"))}),
      row(OPERATION(zar_get_next_filter, current), kFilter, linked,
          CALL(zar_get_next_filter(s.one, s.linked.cmap, h, &s.out)),
          {0,
           SAYS(info("(info): %s: Error: no matching filter:0x%x found in class-map:0x%x", "get_next_filter", h,
                     s.linked.cmap)),
           0},
          0, {{39, SAYS(error("(ERR): %s: Error: current filter handle cannot be NULL", "get_next_filter"))}}),
  };
}

// An accessor traces under no name.
Rows of_accessors() {
  return {
      row(OPERATION(zar_get_pmap_target_count, pmap), kPmap, linked, CALL(zar_get_pmap_target_count(h)),
          {0, SAYS(look_up, no_pmap("get_pmap_target_count"))}),
      row(OPERATION(zar_get_pmap_name, pmap), kPmap, linked, CALL(given(zar_get_pmap_name(h))),
          {0, SAYS(look_up, no_pmap(" "))}, 1),
      row(OPERATION(zar_get_pmap_domain, pmap), kPmap, linked, CALL(given(zar_get_pmap_domain(h))),
          {0, SAYS(look_up, no_pmap(" "))}, 1),
      row(OPERATION(zar_is_policy_hidden, pmap), kPmap, linked, CALL(zar_is_policy_hidden(h)),
          {0, SAYS(look_up, no_pmap(" "))}),
      row(OPERATION(zar_unhide_policy, pmap), kPmap, linked, CALL((zar_unhide_policy(h), 0)),
          {0, SAYS(look_up, no_pmap(" "))}),

      row(OPERATION(zar_get_event_id, event), kEvent, linked, CALL(zar_get_event_id(h)),
          {0, SAYS(look_up, no_event(" "))}, kEventId),
      row(OPERATION(zar_get_event_name, event), kEvent, linked, CALL(given(zar_get_event_name(h))),
          {0, SAYS(look_up, no_event(" "))}, 1),
      row(OPERATION(zar_get_event_class_match_criteria, event), kEvent, linked,
          CALL(given(zar_get_event_class_match_criteria(h))), {0, SAYS(look_up, no_event(" "))}, 1),

      row(OPERATION(zar_get_class_name_from_class_action, class_action), kRule, linked,
          CALL(given(zar_get_class_name_from_class_action(h))), {0, SAYS(look_up, no_rule(" "))}, 1),
      row(OPERATION(zar_get_class_num_from_class_action, class_action), kRule, linked,
          CALL(zar_get_class_num_from_class_action(h)), {0, SAYS(look_up, no_rule(" "))}, 1),
      row(OPERATION(zar_get_action_exec_criteria, class_action), kRule, linked,
          CALL(given(zar_get_action_exec_criteria(h))), {0, SAYS(look_up, no_rule(" "))}, 1),

      row(OPERATION(zar_get_cmap_name, cmap), kCmap, linked, CALL(given(zar_get_cmap_name(h))),
          {0, SAYS(look_up, no_cmap(" "))}, 1),
      row(OPERATION(zar_get_cmap_domain, cmap), kCmap, linked, CALL(given(zar_get_cmap_domain(h))),
          {0, SAYS(look_up, no_cmap(" "))}, 1),
      row(OPERATION(zar_get_cmap_if_hidden, cmap), kCmap, linked, CALL(zar_get_cmap_if_hidden(h)),
          {0, SAYS(look_up, no_cmap(" "))}),
      row(OPERATION(zar_get_cmap_match_logical_op, cmap), kCmap, linked, CALL(zar_get_cmap_match_logical_op(h)),
          {0, SAYS(look_up, no_cmap(" "))}, 1),
      row(OPERATION(zar_get_cmap_match_criteria, cmap), kCmap, linked, CALL(given(zar_get_cmap_match_criteria(h))),
          {0, SAYS(look_up, no_cmap(" "))}, 1),

      row(OPERATION(zar_get_action_num, action), kAction, linked, CALL(zar_get_action_num(h)),
          {0, SAYS(look_up, error("(ERR): get_action_num: action context:0x%x is NULL", h))}, 1),
      row(OPERATION(zar_get_precedence_value, action), kAction, linked, CALL(zar_get_precedence_value(h)),
          {0, SAYS(look_up, error("(ERR): get_precedence: action context:0x%x is NULL", h))}),
      row(OPERATION(zar_get_action_nvgen_str, action), kAction, linked,
          CALL(given_and_freed(zar_get_action_nvgen_str(h, 0))),
          {0, SAYS(look_up, error("(ERR): get_nvgen_str: Error: action:0x%x is NULL", h))}, 1),
      row(OPERATION(zar_get_filter_nvgen_str, filter), kFilter, linked,
          CALL(given_and_freed(zar_get_filter_nvgen_str(h))),
          {0, SAYS(look_up, error("(ERR): get_nvgen_str: Error: filter:0x%x is NULL", h))}, 1),

      row(OPERATION(zar_get_pmtr_map_name, pmtr_map), kPmtrMap, linked, CALL(given(zar_get_pmtr_map_name(h))),
          {0, SAYS(look_up, no_pmtr_map(" "))}, 1),
      row(OPERATION(zar_is_pmap_hidden, pmtr_map), kPmtrMap, linked, CALL(zar_is_pmap_hidden(h)),
          {0, SAYS(look_up, no_pmtr_map(" "))}),
      row(OPERATION(zar_unhide_pmap, pmtr_map), kPmtrMap, linked, CALL((zar_unhide_pmap(h), 0)),
          {0, SAYS(look_up, no_pmtr_map(" "), error("(ERR): Null context - cannot unhide parameter-map"))}),
  };
}

// A notification without an action is not an error.
Rows of_notifications() {
  return {
      row(OPERATION(zar_shim_action_added_removed, action), kAction, linked,
          CALL((zar_shim_action_added_removed(h, s.linked.pmap, 1), 0)), {0, SAYS(look_up)}, 0, {{0, SAYS()}}),
      row(OPERATION(zar_shim_action_added_removed, pmap), kPmap, linked,
          CALL((zar_shim_action_added_removed(s.linked.action, h, 1), 0)),
          {0, SAYS(look_up, no_pmap("shim_action_added_removed"))}),
      row(OPERATION(zar_remove_action_handler_for_event, event), kEvent, linked,
          CALL((zar_remove_action_handler_for_event(h, s.linked.pmap), 0)),
          {0, SAYS(look_up, no_event("remove_action_handler_for_event"))}),
      row(OPERATION(zar_remove_action_handler_for_event, pmap), kPmap, linked,
          CALL((zar_remove_action_handler_for_event(s.linked.event, h), 0)),
          {0, SAYS(look_up, no_pmap("remove_action_handler_for_event"))}),
      row(OPERATION(zar_remove_action_handler_for_class, class_action), kRule, linked,
          CALL((zar_remove_action_handler_for_class(h, s.linked.pmap), 0)),
          {0, SAYS(look_up, no_rule("remove_action_handler_for_class"))}),
      row(OPERATION(zar_remove_action_handler_for_class, pmap), kPmap, linked,
          CALL((zar_remove_action_handler_for_class(s.linked.rule, h), 0)),
          {0, SAYS(look_up, no_pmap("remove_action_handler_for_class"))}),
  };
}

Rows of_parameter_maps() {
  return {
      row(OPERATION(zar_delete_stored_pmtr_map, pmtr_map), kPmtrMap, linked, CALL(zar_delete_stored_pmtr_map(h, s.db)),
          {39, SAYS(look_up, no_pmtr_map("delete_stored_pmtr_map"))}),
      row(OPERATION(zar_delete_pmtr_map, pmtr_map), kPmtrMap, spare, CALL(zar_delete_pmtr_map(h)),
          {39, SAYS(look_up, no_pmtr_map("delete_pmtr_map"))}),

      row(OPERATION(zar_pmtr_create_or_add_filter, pmtr_map), kPmtrMap, linked,
          CALL(zar_pmtr_create_or_add_filter(h, &s.filter_twin, 0, 0, 0, kMapIndex, 0, 0)),
          {39, SAYS(no_subscriber_owner(), look_up, no_pmtr_map("add_filter_to_pmtr_map"))}),
      row(OPERATION(zar_add_statement_to_pmtr_map, pmtr_map), kPmtrMap, linked,
          CALL(zar_add_statement_to_pmtr_map(h, &s.own_statement)),
          {39, SAYS(look_up, no_pmtr_map("add_pmtr_map_stmt_to_pmtr_map"))}),
      row(OPERATION(zar_pmtr_delete_filter, pmtr_map), kPmtrMap, linked, CALL(zar_pmtr_delete_filter(h, kMapIndex)),
          {39, SAYS(no_subscriber_owner(), look_up, no_pmtr_map("delete_pmtr_map_statement"))}),
      row(OPERATION(zar_get_first_pmtr_map_index, pmtr_map), kPmtrMap, linked,
          CALL(zar_get_first_pmtr_map_index(s.one, h, &s.out)),
          {39, SAYS(look_up, no_pmtr_map("get_first_pmtr_map_index"))}),
      row(OPERATION(zar_get_next_pmtr_map_index, pmtr_map), kPmtrMap, linked,
          CALL(zar_get_next_pmtr_map_index(s.one, h, kMapIndex, &s.out)),
          {39, SAYS(look_up, no_pmtr_map("get_next_pmtr_map_index"))}),
      row(OPERATION(zar_get_internal_class_map, pmtr_map), kPmtrMap, linked,
          CALL(given(zar_get_internal_class_map(h, kMapIndex))),
          {0, SAYS(look_up, no_pmtr_map("find_internal_classmap"))}, 1),
      row(OPERATION(kel_pmtr_map_get_filter_expr_by_type, pmtr_map), kPmtrMap, linked,
          CALL(kel_pmtr_map_get_filter_expr_by_type(h, kMapIndex, "expr", s.text)),
          {39, SAYS(look_up, no_pmtr_map("get_pmtr_filter_expr_by_type"))}),

      // The compare table treats a missing class-map like one without filters.
      row(OPERATION(zar_init_internal_cmap_compare, cmap), kCmap, linked, CALL((zar_init_internal_cmap_compare(h), 0)),
          {0, SAYS(look_up)}),
      row(OPERATION(zar_add_to_internal_cmap_compare, cmap), kCmap, linked,
          CALL((zar_add_to_internal_cmap_compare(h, &s.filter_twin, 0, 0), 0)),
          {0, SAYS(look_up, no_cmap("retrieve_filter"))}),
  };
}

Rows of_parameter_map_actions() {
  return {
      // The context is freed whether or not an action is created from it.
      row(OPERATION(zar_pmtr_map_create_action, pmtr_map), kPmtrMap, linked,
          CALL(zar_pmtr_map_create_action(h, kMapIndex, 3, 0, &s.action_twin)),
          {0, SAYS(look_up, no_pmtr_map("retrieve_action_num_in_pmtr_stmt_action"),
                   info("(info): free_client_context: freeing client action context:0x%p", &s.action_twin))},
          0, {}, {"free context action twin"}),
      row(OPERATION(zar_add_action_to_pmtr_map_rule, pmtr_map), kPmtrMap, linked,
          CALL(zar_add_action_to_pmtr_map_rule(h, kMapIndex, s.spare.action)),
          {39, SAYS(look_up, no_pmtr_map("add_action_to_pmtr_map_rule"))}),
      row(OPERATION(zar_add_action_to_pmtr_map_rule, action), kAction, spare,
          CALL(zar_add_action_to_pmtr_map_rule(s.linked.pmtr_map, kMapIndex, h)),
          {39, SAYS(look_up, no_action("add_action_to_pmtr_map_rule"))}),
      row(OPERATION(zar_remove_action_from_pmtr_stmt_action, pmtr_map), kPmtrMap, linked,
          CALL(zar_remove_action_from_pmtr_stmt_action(h, kMapIndex, s.statement_action)),
          {39, SAYS(look_up, no_pmtr_map("remove_action_from_pmtr_stmt_action"))}),
      row(OPERATION(zar_remove_action_from_pmtr_stmt_action, action), kAction, in_statement,
          CALL(zar_remove_action_from_pmtr_stmt_action(s.linked.pmtr_map, kMapIndex, h)),
          {39, SAYS(look_up, no_action("remove_action_from_pmtr_stmt_action"))}),
      row(OPERATION(zar_retrieve_action_num_in_pmtr_stmt_action, pmtr_map), kPmtrMap, linked,
          CALL(zar_retrieve_action_num_in_pmtr_stmt_action(h, kMapIndex, 1, &s.out)),
          {39, SAYS(look_up, no_pmtr_map("retrieve_action_num_in_pmtr_stmt_action"))}),

      // Any handle but 0 passes.
      row(OPERATION(zar_pmtr_verify_action_hdl, action), kNotLookedAt, linked,
          CALL(zar_pmtr_verify_action_hdl(h, "asker")), {0, SAYS()}, 0,
          {{1, SAYS(error("(ERR): %s: Error: input action handle cannot be NULL", "asker"))}}),

      row(OPERATION(zar_pmtr_get_first_action_index, pmtr_map), kPmtrMap, linked,
          CALL(zar_pmtr_get_first_action_index(s.one, h, kMapIndex, &s.out)),
          {39, SAYS(look_up, no_pmtr_map("get_first_pmtr_map_action"))}),
      row(OPERATION(zar_pmtr_get_next_action_index, pmtr_map), kPmtrMap, linked,
          CALL(zar_pmtr_get_next_action_index(s.one, h, kMapIndex, s.statement_action, &s.out)),
          {39, SAYS(look_up, no_pmtr_map("get_next_pmtr_map_action"))}),
      row(OPERATION(zar_pmtr_get_next_action_index, current), kAction, in_statement,
          CALL(zar_pmtr_get_next_action_index(s.one, s.linked.pmtr_map, kMapIndex, h, &s.out)),
          {40,
           SAYS(in_own_database("get_next_pmtr_map_action"),
                info("(info): %s: Error: no matching action:0x%p found.", "get_next_pmtr_map_action", nullptr)),
           0}),
  };
}

Rows all_rows() {
  Rows all;
  for (const auto &part :
       {of_handles(), of_stores_and_tree_walks(), of_class_map_filters(), of_events(), of_class_actions(),
        of_actions_in_rules(), of_stored_policies(), of_deletions(), of_targets(), of_activation(), of_queue_walks(),
        of_accessors(), of_notifications(), of_parameter_maps(), of_parameter_map_actions()})
    all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace

const std::vector<Row> &rows() {
  static const Rows all = all_rows();
  return all;
}

}  // namespace handles
