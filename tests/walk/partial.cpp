#include "tests/walk/partial.h"

#include <algorithm>

#include "platform/tags.h"

namespace walk {

using enum calls::Op;

namespace {

constexpr const char *kNoList = "without memory for a list of targets, the handlers that follow are not notified";
constexpr const char *kQueue = "a queue without memory for one more entry of a shared action does not report it";
constexpr const char *kReferences = "references that cannot be created are traced, not reported in the status";
constexpr const char *kTreeFull = "the status of the tree is passed on";
constexpr const char *kNoText = "a text that cannot be created is NULL, or its place is left empty";

// ---- The states that calls may leave

void follow(const Aftermath &after) {
  after.model.follow(after.call, after.arguments, after.seen);
}

void as_if_nothing_failed(const Aftermath &after) {
  follow(after);
  after.seen.judge();
}

void without_some_references(const Aftermath &after) {
  as_if_nothing_failed(after);
  after.model.lose_references();
}

constexpr LeftState kUnchanged = {"the state that it found", [](const Aftermath &) {}};
constexpr LeftState kDone = {"as if nothing had failed", as_if_nothing_failed, true};
constexpr LeftState kWithoutReferences = {"references between policy-maps and class-maps are missing",
                                          without_some_references, true};

// The blocks with the tag that the call left behind.
uint32_t new_blocks(const Aftermath &after, uint32_t tag) {
  const runtime::Inventory now = runtime::inventory();
  const auto count = [tag](const runtime::Inventory &inventory) {
    const auto found = inventory.blocks.find(tag);
    return found == inventory.blocks.end() ? 0 : found->second;
  };
  return static_cast<uint32_t>(count(now) - count(after.before));
}

constexpr LeftState kDatabaseWithoutTrees = {
    "a database that has no name, with some of its trees", [](const Aftermath &after) {
      ++after.model.lost_records;
      bool complete = true;
      for (uint32_t tag : {ZAR_TAG_PMAP_TREE, ZAR_TAG_CMAP_TREE, ZAR_TAG_TARGET_TREE, ZAR_TAG_PMTR_MAP_TREE}) {
        const uint32_t trees = new_blocks(after, tag);
        if (trees > (complete ? 1U : 0U)) after.seen.fail("trees are left that come after one that is missing");
        complete = trees == 1;
        after.model.lost_blocks += trees;
      }
    }};

constexpr LeftState kUnnamedClient = {"a client without a name", [](const Aftermath &after) {
                                        as_if_nothing_failed(after);
                                        after.model.clients.back().named = false;
                                      }};
constexpr LeftState kLostClient = {"the record of a client for which the table has no room, and perhaps its name",
                                   [](const Aftermath &after) {
                                     const uint32_t names = new_blocks(after, ZAR_TAG_CLIENT_NAME);
                                     if (names > 1) after.seen.fail("more than one name is left");
                                     ++after.model.lost_records;
                                     after.model.lost_blocks += names;
                                   }};

constexpr LeftState kHandleOfNothing = {"a handle that names nothing",
                                        [](const Aftermath &after) { ++after.model.lost_ids; }};

// The policy-map that the operation finds by name, if it holds events.
model::Pmap *named_policy(const Aftermath &after) {
  const auto &arguments = after.arguments;
  const model::Found found = after.model.retrieve(arguments.number(0), arguments.info(1), model::Kind::pmap);
  auto *pmap = after.model.resolve<model::Pmap>(found.handle);
  if (pmap != nullptr && pmap->control()) return pmap;
  after.seen.fail("there is no policy-map with events");
  return nullptr;
}

uint32_t named_event(const Aftermath &after) {
  return after.arguments.pointer<const zar_event_context>(2)->event_id;
}

constexpr LeftState kEventWithoutRule = {"the event without the rule", [](const Aftermath &after) {
                                           model::Model &m = after.model;
                                           model::Pmap *pmap = named_policy(after);
                                           if (pmap == nullptr) return;
                                           auto &event = m.add<model::Event>(m.new_event(*pmap, after.seen));
                                           event.id = named_event(after);
                                           event.name = after.arguments.text(3);
                                           event.pmap = pmap;
                                           pmap->events.push_back(&event);
                                         }};

constexpr LeftState kRuleWithoutAction = {
    "the class-action without the action", [](const Aftermath &after) {
      without_some_references(after);
      model::Pmap *pmap = named_policy(after);
      const model::Event *event = pmap == nullptr ? nullptr : after.model.event_of(*pmap, named_event(after));
      auto *cmap = after.model.resolve<model::Cmap>(after.arguments.handle(4));
      auto *action = after.model.resolve<model::Action>(after.arguments.handle(6));
      model::Rule *rule = event == nullptr || cmap == nullptr ? nullptr : model::Model::rule_of(*event, *cmap);
      if (rule == nullptr || action == nullptr) return after.seen.fail("there is no class-action");
      rule->actions.remove(action);
      --action->listed;
    }};

constexpr LeftState kUnstoredMap = {"the parameter-map, not stored", [](const Aftermath &after) {
                                      follow(after);
                                      auto *map = after.model.resolve<model::PmtrMap>(after.seen.fresh(2));
                                      if (map == nullptr) return after.seen.fail("there is no parameter-map");
                                      model::Model::take_out(*map);
                                    }};

void without_leaf(const Aftermath &after) {
  after.model.leaves_can_be_created = false;
  as_if_nothing_failed(after);
  after.model.leaves_can_be_created = true;
}
constexpr LeftState kNoFilter = {"the statement without the filter", without_leaf, true};
constexpr LeftState kNoAction = {"the statement without the action", without_leaf, true};

constexpr LeftState kNoStatement = {"the replaced statement is gone", [](const Aftermath &after) {
                                      auto *map = after.model.resolve<model::PmtrMap>(after.arguments.handle(0));
                                      const uint32_t index = after.arguments.number(5);
                                      const bool replaces = map != nullptr && after.arguments.given(6) &&
                                                            model::Model::statement_of(*map, index);
                                      if (!replaces) return after.seen.fail("there was no statement to replace");
                                      after.model.delete_statement(*map, index);
                                    }};

}  // namespace

const std::vector<Partial> &partial_states() {
  static const std::vector<Partial> table = {
      {zar_create_database,
       {38},
       {kUnchanged, kDatabaseWithoutTrees},
       "a database stays, with the trees that could be created"},
      {zar_client_register,
       {0, 37, 38},
       {kUnchanged, kUnnamedClient, kLostClient},
       "the name of a client may be missing; a full table that cannot grow loses the record"},
      {zar_create_event,
       {37, 38},
       {kUnchanged, kHandleOfNothing},
       "the handle stays when there is no memory for the context record"},
      {zar_add_class_to_event, {0, 37, 38}, {kUnchanged, kWithoutReferences}, kReferences},
      {zar_add_event, {0}, {kWithoutReferences}, kReferences},
      {zar_add_class_to_stored_policy,
       {0, 37},
       {kUnchanged, kHandleOfNothing, kEventWithoutRule, kWithoutReferences},
       "an event that was added stays; references as above"},
      {zar_add_class_action_to_stored_policy,
       {0, 37},
       {kUnchanged, kWithoutReferences, kRuleWithoutAction},
       "a class-action that was added stays, without a shared action for which the queue has no entry; references as "
       "above"},
      {zar_add_action_to_rule, {0}, {}, kQueue},
      {zar_add_action_to_rule_before_action, {0}, {}, kQueue},
      {zar_add_action_to_rule_after_action, {0}, {}, kQueue},
      {zar_add_action_to_stored_policy, {0}, {}, kQueue},
      {zar_add_action_to_pmtr_map_rule, {0}, {}, kQueue},
      {zar_store_policy, {41}, {}, kTreeFull},
      {zar_store_class, {41}, {}, kTreeFull},
      {zar_store_pmtr_map, {41}, {}, kTreeFull},
      {zar_avl_insert_pmap, {0}, {}, kTreeFull},
      {zar_avl_insert_cmap, {0}, {}, kTreeFull},
      {zar_avl_insert_pmtr_map, {0}, {}, kTreeFull},
      {zar_avl_insert_target_client_db, {0}, {}, kTreeFull},
      {zar_avl_insert_target_default_db, {0}, {}, kTreeFull},
      {zar_add_target, {0, 37, 38, 41}, {kUnchanged, kDone}, kNoList},
      {zar_activate_policy, {0, 38}, {kUnchanged, kDone}, kNoList},
      {zar_activate_policy_by_name, {0, 38}, {kUnchanged, kDone}, kNoList},
      {zar_deactivate_policy_by_name, {0}, {kDone}, kNoList},
      {zar_deactivate_any_policy_for_target, {0, 37}, {kDone}, kNoList},
      {zar_deactivate_policy_by_name_from_all_targets, {0}, {kDone}, kNoList},
      {zar_deactivate_policy_by_handle_from_all_targets, {0}, {kDone}, kNoList},
      {zar_delete_stored_policy, {0}, {kDone}, kNoList},
      {zar_delete_stored_policy_by_name, {0}, {kDone}, kNoList},
      {zar_delete_target, {0, 37}, {kDone}, kNoList},
      {zar_destroy_database, {0}, {kDone}, kNoList},
      {zar_create_policy_context, {0}, {}, "NULL means that there is no context"},
      {zar_shim_action_added_removed, {0}, {}, kNoList},
      {zar_invoke_action_handler, {0}, {}, kNoList},
      {zar_remove_action_handler_for_event, {0}, {}, kNoList},
      {zar_remove_action_handler_for_class, {0}, {}, kNoList},
      {zar_get_action_nvgen_str, {0}, {}, kNoText},
      {zar_get_filter_nvgen_str, {0}, {}, kNoText},
      {zar_get_filter_nvgen_str_internal, {0}, {}, kNoText},
      {zar_print_policymap, {0}, {}, "what cannot be printed is left out"},
      {zar_print_classmap, {37}, {}, "the listing ends"},
      {kel_find_subscriber_parameter_map_by_name, {39}, {}, "a name that cannot be copied is NULL"},
      {kel_create_subscriber_parameter_map,
       {37, 38, 39, 41},
       {kUnchanged, kUnstoredMap},
       "the map that was created stays when it cannot be stored"},
      {kel_delete_subscriber_parameter_map, {39}, {}, "a name that cannot be copied is NULL"},
      {kel_is_pmap_created, {0}, {}, "a name that cannot be copied is not found"},
      {kel_pmtr_map_get_filter_expr_by_type, {40}, {}, "an expression that cannot be copied counts as not found"},
      {zar_pmtr_create_or_add_filter,
       {0, 37, 38, 39},
       {kUnchanged, kNoFilter, kNoStatement},
       "the statement stays when its filter cannot be created, which is not reported; the statement that it replaces "
       "is gone"},
      {zar_pmtr_map_create_action,
       {0},
       {kNoAction},
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
