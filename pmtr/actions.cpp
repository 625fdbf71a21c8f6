// The actions of parameter-map statements. An action number occurs once in a statement: using it again updates the
// action that has it, or replaces it by another one.
#include "compose/rules.h"
#include "pmtr/statements.h"
#include "zar/compose.h"
#include "zar/lifecycle.h"
#include "zar/objects.h"
#include "zar/present.h"

using namespace zar;

namespace {

uint32_t number_of(const zar_action &action) {
  return action.action_num;
}

// Sets the precedence and data of the action that already has the number.
void refresh(uint32_t action_handle, uint8_t action_num, uint16_t precedence, const zar_action_context *context) {
  TRACE_INFO("(info): same action number: %d, same action.Replacing action in pmtr-map", action_num);
  if (auto *action = resolve<zar_action>(action_handle)) action->precedence = precedence;
  zar_replace_old_action_hdl(action_handle, context);
}

// The checks at the beginning of every walk over the actions of a statement, in order; sets 'map' if all pass.
Status may_walk_actions(const char *name, uint32_t clid, uint32_t pmtr_map, const uint32_t *action_out,
                        const zar_pmtr_map *&map) {
  if (!valid_clid(name, clid)) return kInvalidArgument;
  map = require<zar_pmtr_map>(name, pmtr_map);
  if (!map) return kInvalidArgument;
  if (!action_place_given(name, action_out)) return kInvalidArgument;
  return database_of(clid, name) ? kSuccess : kFailed;
}

void trace_no_statement() {
  TRACE_ERROR("(ERR): Error: No matching map stmt for this pmtr_map");
}

}  // namespace

// The context is copied into the action and freed, unless the action cannot be added to the statement: then it stays
// with the caller.
uint32_t zar_pmtr_map_create_action(uint32_t pmtr_map, uint32_t map_index, uint8_t action_num, uint16_t precedence,
                                    zar_action_context *context) {
  if (!context) {
    TRACE_ERROR("(ERR): %s: Error: input action context cannot be NULL", "pmtr_map_create_action");
    return kInvalidArgument;
  }
  uint32_t existing = 0;
  if (zar_retrieve_action_num_in_pmtr_stmt_action(pmtr_map, map_index, action_num, &existing) != kSuccess) {
    zar_free_client_action_context(context);
    return kSuccess;
  }
  if (existing != 0 && zar_compare_actions(existing, context)) {
    refresh(existing, action_num, precedence, context);
    zar_free_client_action_context(context);
    return kSuccess;
  }
  if (existing != 0) {
    // The old action is only unlinked: the engine decides what to do with it.
    zar_remove_action_from_pmtr_stmt_action(pmtr_map, map_index, existing);
    TRACE_INFO("(info): same action number: %d, but new action.Removed action in pmtr-map", action_num);
  }

  uint32_t action = 0;
  bool created = zar_create_action(context, action_num, precedence, &action) == kSuccess;
  TRACE_INFO("(info): Created action with index: %d", action_num);
  if (created) {
    if (zar_add_action_to_pmtr_map_rule(pmtr_map, map_index, action) != kSuccess) {
      TRACE_ERROR("(ERR): Could not add action with index: %d", action_num);
      zar_delete_action(action);
      return kCheckFailed;
    }
    TRACE_INFO("(info): added action with index: %d", action_num);
  }
  zar_free_client_action_context(context);
  return kSuccess;
}

uint32_t zar_add_action_to_pmtr_map_rule(uint32_t pmtr_map, uint32_t map_index, uint32_t action_handle) {
  static constexpr char kName[] = "add_action_to_pmtr_map_rule";
  const auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map) return kInvalidArgument;
  zar_action *action = require_action(kName, action_handle);
  if (!action) return kInvalidArgument;
  zar_pmtr_map_stmt *statement = find_statement(*map, map_index);
  if (!statement) {
    TRACE_ERROR("(ERR): Could not find stmt to add action for map index: %d", map_index);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): Found stmt. added action for map index: %d", map_index);

  Place place = insert_by_number(statement->action_queue, action, number_of, [=] {
    TRACE_INFO("(info): %s: pmtr-map-stmt-action:0x%p adding action:0x%x as first entry for map-statement", kName,
               address(statement), action_handle);
  });
  if (place == Place::first) {
    TRACE_INFO("(info): Queued action for map index: %d action index: %d", map_index, action->action_num);
  } else {
    TRACE_INFO("(info): Inserted action for map index: %d action index: %d", map_index, action->action_num);
  }
  TRACE_INFO("(info): %s: added action:0x%x to class-action:0x%p", kName, action_handle, address(statement));
  return kSuccess;
}

uint32_t zar_remove_action_from_pmtr_stmt_action(uint32_t pmtr_map, uint32_t map_index, uint32_t action_handle) {
  static constexpr char kName[] = "remove_action_from_pmtr_stmt_action";
  const auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map) return kInvalidArgument;
  zar_pmtr_map_stmt *statement = find_statement(*map, map_index);
  if (!statement) return kInvalidArgument;
  zar_action *action = require_action(kName, action_handle);
  if (!action) return kInvalidArgument;
  unlink(statement->action_queue, action);
  return kSuccess;
}

// A missing statement is a success without an action.
uint32_t zar_retrieve_action_num_in_pmtr_stmt_action(uint32_t pmtr_map, uint32_t map_index, uint32_t action_num,
                                                     uint32_t *action_out) {
  static constexpr char kName[] = "retrieve_action_num_in_pmtr_stmt_action";
  if (!action_place_given(kName, action_out)) return kInvalidArgument;
  const auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map) return kInvalidArgument;
  *action_out = 0;
  const zar_pmtr_map_stmt *statement = find_statement(*map, map_index);
  if (!statement) return kSuccess;

  uint8_t number = static_cast<uint8_t>(action_num);
  const auto *match = find<zar_action>(statement->action_queue,
                                       [number](const zar_action &action) { return action.action_num == number; });
  if (match) *action_out = match->handle;
  TRACE_INFO("(info): %s: retrieved matching action:0x%x with action num:%d in pmtr-map-stmt-action:0x%p", kName,
             *action_out, number, address(statement));
  return kSuccess;
}

uint32_t zar_pmtr_verify_action_hdl(uint32_t action, const char *caller) {
  if (action != 0) return kSuccess;
  action_place_given(or_blank(caller), nullptr);
  return kCheckFailed;
}

uint32_t zar_pmtr_verify_action_content(const zar_action *action, const char *caller) {
  return zar_verify_action_content(action, caller);
}

uint32_t zar_pmtr_get_first_action_index(uint32_t clid, uint32_t pmtr_map, uint32_t map_index, uint32_t *action_out) {
  const zar_pmtr_map *map = nullptr;
  if (Status status = may_walk_actions("get_first_pmtr_map_action", clid, pmtr_map, action_out, map)) return status;
  const zar_pmtr_map_stmt *statement = find_statement(*map, map_index);
  if (!statement) {
    trace_no_statement();
    return kNothingFound;
  }
  const auto *action = first<zar_action>(statement->action_queue);
  if (!action) {
    TRACE_ERROR("(ERR): Error: No actions for this pmtr_map stmt");
    return kNothingFound;
  }
  *action_out = action->handle;
  return kSuccess;
}

uint32_t zar_pmtr_get_next_action_index(uint32_t clid, uint32_t pmtr_map, uint32_t map_index, uint32_t current,
                                        uint32_t *action_out) {
  static constexpr char kName[] = "get_next_pmtr_map_action";
  const zar_pmtr_map *map = nullptr;
  if (Status status = may_walk_actions(kName, clid, pmtr_map, action_out, map)) return status;
  const zar_pmtr_map_stmt *statement = find_statement(*map, map_index);
  if (!statement) {
    *action_out = 0;
    trace_no_statement();
    return kNothingFound;
  }
  auto found = find_with_next<zar_action>(statement->action_queue,
                                          [current](const zar_action &action) { return action.handle == current; });
  if (!found.current) {
    *action_out = 0;
    // This prints the result of the search, which is none, not the handle that was searched for.
    TRACE_INFO("(info): %s: Error: no matching action:0x%p found.", kName, address(found.current));
    return kNothingFound;
  }
  TRACE_INFO("(info): %s: current action:0x%x found.", kName, current);
  *action_out = found.next ? found.next->handle : 0;
  if (!found.next) {
    TRACE_INFO("(info): %s: no next action found next to:0x%x", kName, current);
    return kNothingFound;
  }
  TRACE_INFO("(info): %s: success, action:0x%x found next to:0x%x", kName, *action_out, current);
  return kSuccess;
}
