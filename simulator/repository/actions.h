// Actions as a client of the repository keeps them: the data behind an action context, and what can be done with it.
//
// An action that runs answers 0. Three can fail: 'clear' when there is nothing to clear, 'raise' when the event could not
// be raised or was denied, 'apply' when no statement of the parameter-map matched or one of its actions failed. So an
// authorisation can be a raise in front of what depends on it.
#pragma once

#include "engine/engine.h"
#include "simulator/policy/model.h"
#include "zar/types.h"

namespace simulator::client {

// A context for an action of 'file', with data of its own. The data goes with the repository's action once one is made of
// the context; until then give_back is the caller's duty.
zar_action_context make_action_context(const Action &action, const PolicyFile &file);
void give_back(const zar_action_context &context);

// A context as a block, for operations that take the block over: it goes, without the data, through its own free function.
zar_action_context *make_block(const zar_action_context &context);
void give_back(zar_action_context *block);

// The action behind a record of the repository; it lives as long as the record.
const Action &action_of(const zar_action &record);

// What the repository is asked with, and asks actions, when it wants to know whether a parameter-map is in use.
const void *parameter_map_question(const std::string &name);

// Action data and context blocks that are out.
size_t live_action_data();
// Actions that were freed while they were in force on a target: of these nobody was told that they no longer are.
size_t actions_freed_in_force();

}  // namespace simulator::client
