// Actions as a client of the repository keeps them: the data behind an action context, and the operations on it.
//
// An action that runs returns 0. Three can fail: 'clear' when there is nothing to clear, 'raise' when the event could
// not be raised or was denied, 'apply' when no statement of the parameter-map matched or one of its actions failed. So
// a raise can authorise the actions that follow it.
#pragma once

#include "engine/engine.h"
#include "simulator/policy/model.h"
#include "zar/types.h"

namespace simulator::client {

// Returns a context for an action of 'file', with data of its own. Once an action of the repository is made from the
// context, that action owns the data; until then the caller must call give_back.
zar_action_context make_action_context(const Action &action, const PolicyFile &file);
void give_back(const zar_action_context &context);

// Returns a context as a block, for operations that take ownership of it: its own free function frees it, without the
// data.
zar_action_context *make_block(const zar_action_context &context);
void give_back(zar_action_context *block);

// The action behind a record of the repository; it lives as long as the record.
const Action &action_of(const zar_action &record);

// The argument for asking the repository, which asks the actions, whether a parameter-map is in use.
const void *parameter_map_question(const std::string &name);

// Action data and context blocks that are not freed yet.
size_t live_action_data();
// Actions that were freed while in force on a target, without a notice that they no longer are.
size_t actions_freed_in_force();

}  // namespace simulator::client
