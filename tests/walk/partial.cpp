#include "tests/walk/partial.h"

#include <algorithm>

namespace walk {

using enum calls::Op;

namespace {

constexpr const char *kNoList = "without memory for a list of targets, the handlers that follow are not notified";
constexpr const char *kQueue = "a queue without memory for one more entry of a shared action does not report it";
constexpr const char *kReferences =
    "references that cannot be created are traced, not reported in the status; a queue may lack the entry";
constexpr const char *kTreeFull = "the status of the tree is passed on";
constexpr const char *kNoText = "a text that cannot be created is NULL, or its place is left empty";

}  // namespace

const std::vector<Partial> &partial_states() {
  static const std::vector<Partial> table = {
      {zar_create_database, {38}, true, "a database stays, with the trees that could be created"},
      {zar_client_register,
       {0, 37, 38},
       true,
       "the name of a client may be missing; a full table that cannot grow loses the record"},
      {zar_create_event, {37, 38}, true, "the handle stays when there is no memory for the context record"},
      {zar_add_class_to_event, {0, 37, 38}, true, kReferences},
      {zar_add_event, {0}, true, kReferences},
      {zar_add_class_to_stored_policy, {0, 37}, true, "an event that was added stays; references as above"},
      {zar_add_class_action_to_stored_policy,
       {0, 37},
       true,
       "a class-action that was added stays; references as above"},
      {zar_add_action_to_rule, {0}, false, kQueue},
      {zar_add_action_to_rule_before_action, {0}, false, kQueue},
      {zar_add_action_to_rule_after_action, {0}, false, kQueue},
      {zar_add_action_to_stored_policy, {0}, false, kQueue},
      {zar_add_action_to_pmtr_map_rule, {0}, false, kQueue},
      {zar_store_policy, {41}, false, kTreeFull},
      {zar_store_class, {41}, false, kTreeFull},
      {zar_store_pmtr_map, {41}, false, kTreeFull},
      {zar_avl_insert_pmap, {0}, false, kTreeFull},
      {zar_avl_insert_cmap, {0}, false, kTreeFull},
      {zar_avl_insert_pmtr_map, {0}, false, kTreeFull},
      {zar_avl_insert_target_client_db, {0}, false, kTreeFull},
      {zar_avl_insert_target_default_db, {0}, false, kTreeFull},
      {zar_add_target, {0, 37, 38, 41}, true, kNoList},
      {zar_activate_policy, {0, 38}, true, kNoList},
      {zar_activate_policy_by_name, {0, 38}, true, kNoList},
      {zar_deactivate_policy_by_name, {0}, true, kNoList},
      {zar_deactivate_any_policy_for_target, {0, 37}, true, kNoList},
      {zar_deactivate_policy_by_name_from_all_targets, {0}, true, kNoList},
      {zar_deactivate_policy_by_handle_from_all_targets, {0}, true, kNoList},
      {zar_delete_stored_policy, {0}, true, kNoList},
      {zar_delete_stored_policy_by_name, {0}, true, kNoList},
      {zar_delete_target, {0, 37}, true, kNoList},
      {zar_destroy_database, {0}, true, kNoList},
      {zar_create_policy_context, {0}, false, "NULL means that there is no context"},
      {zar_shim_action_added_removed, {0}, false, kNoList},
      {zar_invoke_action_handler, {0}, false, kNoList},
      {zar_remove_action_handler_for_event, {0}, false, kNoList},
      {zar_remove_action_handler_for_class, {0}, false, kNoList},
      {zar_get_action_nvgen_str, {0}, false, kNoText},
      {zar_get_filter_nvgen_str, {0}, false, kNoText},
      {zar_get_filter_nvgen_str_internal, {0}, false, kNoText},
      {zar_print_policymap, {0}, false, "what cannot be printed is left out"},
      {zar_print_classmap, {37}, false, "the listing ends"},
      {kel_find_subscriber_parameter_map_by_name, {39}, false, "a name that cannot be copied is NULL"},
      {kel_create_subscriber_parameter_map,
       {37, 38, 39, 41},
       true,
       "the map that was created stays when it cannot be stored"},
      {kel_delete_subscriber_parameter_map, {39}, false, "a name that cannot be copied is NULL"},
      {kel_is_pmap_created, {0}, false, "a name that cannot be copied is not found"},
      {kel_pmtr_map_get_filter_expr_by_type, {40}, false, "an expression that cannot be copied counts as not found"},
      {zar_pmtr_create_or_add_filter,
       {0, 37, 38, 39},
       true,
       "the statement stays when its filter cannot be created, which is not reported; the statement that it replaces "
       "is gone"},
      {zar_pmtr_map_create_action,
       {0},
       true,
       "the action that is replaced leaves the statement; a failed creation is not reported"},
  };
  return table;
}

const Partial *partial_state_of(calls::Op op) {
  const auto &table = partial_states();
  const auto found = std::find_if(table.begin(), table.end(), [&](const Partial &line) { return line.op == op; });
  return found == table.end() ? nullptr : &*found;
}

}  // namespace walk
