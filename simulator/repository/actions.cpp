#include "simulator/repository/actions.h"

#include "platform/engine.h"
#include "platform/runtime.h"
#include "simulator/repository/filters.h"
#include "simulator/repository/tags.h"

namespace simulator::client {

namespace {

size_t n_live_actions = 0;
size_t freed_in_force = 0;

constexpr uint32_t kDone = 0;
constexpr uint32_t kFailed = 1;

struct ActionData {
  ActionData(const Action &of, const PolicyFile &file) : action(of), value(of.text) {
    ++n_live_actions;
    switch (action.kind) {
      case ActionKind::set:
      case ActionKind::clear:
      case ActionKind::count:
        attribute = engine::register_attribute(action.subject.value);
        break;
      case ActionKind::raise:
        event_id = file.event_id(action.subject.value);
        break;
      case ActionKind::apply:
        for (const std::string &name : file.find_parameter_map(action.subject.value)->attributes) {
          map_attributes.push_back(engine::register_attribute(name));
        }
        break;
      case ActionKind::log:
      case ActionKind::permit:
      case ActionKind::deny:
        break;
    }
  }
  ~ActionData() {
    --n_live_actions;
    if (in_force != 0) ++freed_in_force;
  }
  ActionData(const ActionData &) = delete;
  ActionData &operator=(const ActionData &) = delete;

  Action action;
  engine::Value value;                                   // set
  engine::AttributeId attribute = engine::kNoAttribute;  // set, clear, count
  uint32_t event_id = 0;                                 // raise
  std::vector<engine::AttributeId> map_attributes;       // apply: in the order of the filter types
  uint32_t pmtr_map = 0;                                 // apply: found on first use
  uint32_t in_force = 0;  // targets on which the action is in force, counted once for each policy-map
};

ActionData &data_of(void *action_data) {
  return *static_cast<ActionData *>(action_data);
}

uint32_t find_parameter_map(const std::string &name) {
  uint32_t type = 0;
  uint32_t handle = 0;
  if (kel_parameter_map_get_type(kel_parameter_map_subscriber_domain_str, &type) != 0) return 0;
  return kel_find_subscriber_parameter_map_by_name(name.c_str(), type, &handle) == 0 ? handle : 0;
}

uint32_t apply(ActionData &data, engine::Run &run) {
  if (data.pmtr_map == 0) data.pmtr_map = find_parameter_map(data.action.subject.value);
  const Offer offer(run, data.map_attributes);
  const engine::Applied applied = run.apply(data.pmtr_map, offer.values());
  // A deleted map may be created again under the same name.
  if (applied == engine::Applied::no_map) data.pmtr_map = 0;
  return applied == engine::Applied::done ? kDone : kFailed;
}

uint32_t raise(const ActionData &data, engine::Run &run) {
  const std::optional<engine::Outcome> outcome = run.raise(data.event_id);
  return outcome && outcome->verdict != engine::Verdict::deny ? kDone : kFailed;
}

uint32_t enter(void *action_data, void *run_pointer) {
  ActionData &data = data_of(action_data);
  engine::Run &run = engine::Run::from(run_pointer);
  switch (data.action.kind) {
    case ActionKind::set:
      run.set_attribute(data.attribute, data.value);
      return kDone;
    case ActionKind::clear:
      return run.clear_attribute(data.attribute) ? kDone : kFailed;
    case ActionKind::count:
      run.count_attribute(data.attribute);
      return kDone;
    case ActionKind::log:
      run.log(data.action.text);
      return kDone;
    case ActionKind::permit:
      run.decide(engine::Verdict::permit);
      return kDone;
    case ActionKind::deny:
      run.decide(engine::Verdict::deny);
      return kDone;
    case ActionKind::raise:
      return raise(data, run);
    case ActionKind::apply:
      return apply(data, run);
  }
  return kFailed;
}

// The argument is for clients that support several forms of the text.
char *describe(void *action_data, uint32_t) {
  return bstrdup_named(to_string(data_of(action_data).action).c_str(), kActionTextTag);
}

uint32_t compare(void *stored, void *other_data) {
  const Action &action = data_of(stored).action;
  const Action &other = data_of(other_data).action;
  return action.kind == other.kind && action.subject.value == other.subject.value && action.text == other.text;
}

void notify(uint32_t removed, void *action_data, queue_head *target_infos) {
  uint32_t &in_force = data_of(action_data).in_force;
  in_force = removed ? in_force - 1 : in_force + 1;
  engine::keep_target_list(target_infos);
}

uint32_t uses_parameter_map(void *action_data, const void *param_map) {
  const Action &action = data_of(action_data).action;
  return param_map && action.kind == ActionKind::apply && action.subject.value == static_cast<const char *>(param_map);
}

void free_action_data(void *action_data, void *context) {
  delete static_cast<ActionData *>(action_data);
  if (!context) return;
  delete static_cast<zar_action_context *>(context);
  --n_live_actions;
}

}  // namespace

zar_action_context make_action_context(const Action &action, const PolicyFile &file) {
  return {new ActionData(action, file), free_action_data, enter, describe, compare, notify, uses_parameter_map};
}

void give_back(const zar_action_context &context) {
  context.action_free_fn(context.action_data, nullptr);
}

zar_action_context *make_block(const zar_action_context &context) {
  ++n_live_actions;
  return new zar_action_context(context);
}

void give_back(zar_action_context *block) {
  block->action_free_fn(nullptr, block);
}

const Action &action_of(const zar_action &record) {
  return data_of(record.action_data).action;
}

const void *parameter_map_question(const std::string &name) {
  return name.c_str();
}

size_t live_action_data() {
  return n_live_actions;
}

size_t actions_freed_in_force() {
  return freed_in_force;
}

}  // namespace simulator::client
