// What the engine keeps for each target, and the lists of targets that notification functions receive.
#include <algorithm>
#include <new>
#include <vector>

#include "engine/records.h"
#include "platform/engine.h"
#include "platform/runtime.h"
#include "runtime/control.h"

namespace engine {

namespace {

size_t live_states = 0;

// A list may be in it more than once until the lists are counted or released.
std::vector<queue_head *> &kept_lists() {
  static std::vector<queue_head *> lists;
  return lists;
}

void forget_repeated(std::vector<queue_head *> &lists) {
  std::sort(lists.begin(), lists.end());
  lists.erase(std::unique(lists.begin(), lists.end()), lists.end());
}

void free_target_list(queue_head *list) {
  // The records on the list belong to the clients and are also in other lists.
  runtime::abandon(list);
  bfree_named(list);
}

}  // namespace

TargetState *state_of(uint32_t target) {
  // Returns an existing context, and refuses the handle of anything but a target.
  zar_target_policy_context *context = zar_create_policy_context(target);
  if (!context) return nullptr;

  if (!context->ae_context) {
    context->ae_context = new (std::nothrow) TargetState;
    if (context->ae_context) ++live_states;
  }
  return static_cast<TargetState *>(context->ae_context);
}

Attributes *attributes_of(uint32_t target) {
  TargetState *state = state_of(target);
  return state ? &state->attributes : nullptr;
}

size_t live_target_states() {
  return live_states;
}

void keep_target_list(queue_head *list) {
  // The actions of a policy-map receive the same list one after the other.
  if (list && (kept_lists().empty() || kept_lists().back() != list)) kept_lists().push_back(list);
}

void release_target_lists() {
  forget_repeated(kept_lists());
  for (queue_head *list : kept_lists()) {
    free_target_list(list);
  }
  kept_lists().clear();
}

size_t kept_target_lists() {
  forget_repeated(kept_lists());
  return kept_lists().size();
}

}  // namespace engine

uint32_t kel_free_all_policy_ae_context(void *ae_context) {
  if (!ae_context) return 1;
  delete static_cast<engine::TargetState *>(ae_context);
  --engine::live_states;
  return 0;
}
