#include "tests/walk/model/refusals.h"

#include <algorithm>

namespace model {

using calls::Op;
using calls::Param;
using calls::text;

namespace {

// ---- What operations say of a handle

template <typename Type>
bool names_nothing(const Model &model, uint32_t handle) {
  return model.resolve<Type>(handle) == nullptr;
}
bool names_no_map(const Model &model, uint32_t handle) {
  return model.resolve_map(handle) == nullptr;
}
bool is_zero(const Model &, uint32_t handle) {
  return handle == 0;
}

struct HandleRefusal {
  Param param;
  bool (*refused)(const Model &model, uint32_t handle);
  const char *message;
};

constexpr HandleRefusal kHandles[] = {
    {Param::pmap, names_nothing<Pmap>, "Error: input pmap context cannot be NULL"},
    {Param::cmap, names_nothing<Cmap>, "input class map handle context cannot be NULL"},
    {Param::event, names_nothing<Event>, "input event class action handle context cannot be NULL"},
    {Param::rule, names_nothing<Rule>, "input class action handle context cannot be NULL"},
    {Param::target, names_nothing<Target>, "Error: input target context cannot be NULL"},
    {Param::pmtr_map, names_nothing<PmtrMap>, "input pmtr-map handle context cannot be NULL"},
    {Param::action, names_nothing<Action>, "Error: input action context cannot be NULL"},
    {Param::filter, names_nothing<Filter>, "Error: input filter context cannot be NULL"},
};

// Handles that an operation refuses in words of its own, in which 0x%x is the handle. Without a message: an argument that
// is checked only if others were good, which is not compared.
struct OwnWords {
  Op op;
  size_t argument;
  bool (*refused)(const Model &model, uint32_t handle);
  const char *message;
};

constexpr const char *kNoEvent = "Error: event needs to be provided to look for class in control polies";

constexpr OwnWords kOwnWords[] = {
    {Op::zar_store_policy, 1, names_no_map, "Error: invalid pmap handle"},
    {Op::zar_store_class, 1, names_no_map, "Error: invalid cmap handle"},
    {Op::zar_store_pmtr_map, 1, names_no_map, "Error: invalid pmtr_map handle"},
    {Op::zar_delete_action, 0, names_nothing<Action>, "Error: action:0x%x is already NULL"},
    {Op::zar_delete_filter, 0, names_nothing<Filter>, "Error: filter:0x%x is already NULL"},
    {Op::zar_retrieve_class_num_in_event, 0, names_nothing<Event>, "Invalid event context"},
    {Op::zar_get_class_action, 2, names_nothing<Event>, kNoEvent},
    {Op::zar_get_next_class_action, 2, names_nothing<Event>, kNoEvent},
    {Op::zar_get_next_event_class, 2, is_zero, "Error: current event tuple handle cannot be NULL"},
    {Op::zar_get_next_class_action, 3, is_zero, "Error: current class action handle cannot be NULL"},
    {Op::zar_get_next_action, 2, is_zero, "Error: current action handle cannot be NULL"},
    {Op::zar_get_next_filter, 2, is_zero, "Error: current filter handle cannot be NULL"},
    {Op::zar_add_filter_to_class_before_filter, 2, names_nothing<Filter>, nullptr},
    {Op::zar_add_filter_to_class_after_filter, 2, names_nothing<Filter>, nullptr},
    {Op::zar_add_action_to_rule_before_action, 2, names_nothing<Action>, nullptr},
    {Op::zar_add_action_to_rule_after_action, 2, names_nothing<Action>, nullptr},
    {Op::zar_add_action_to_stored_policy, 4, names_nothing<Action>, nullptr},
    {Op::zar_remove_action_from_stored_policy, 4, names_nothing<Action>, nullptr},
    {Op::zar_add_class_action_to_stored_policy, 6, names_nothing<Action>, nullptr},
    {Op::zar_remove_action_from_pmtr_stmt_action, 2, names_nothing<Action>, nullptr},
    {Op::zar_pmtr_map_create_action, 0, names_nothing<PmtrMap>, nullptr},
    {Op::zar_activate_policy_by_name, 1, names_nothing<Target>, nullptr},
    {Op::kel_find_subscriber_parameter_map_by_name, 2, is_zero, nullptr},
    {Op::kel_create_subscriber_parameter_map, 2, is_zero, nullptr},
};

// ---- What operations say of NULL

struct NullRefusal {
  Param param;
  const char *message;
};

constexpr NullRefusal kNulls[] = {
    {Param::pmap_out, "input policy map handle cannot be NULL"},
    {Param::cmap_out, "clid:%d, input class map handle cannot be NULL"},
    {Param::pmtr_map_out, "clid:%d, input parameter-map handle cannot be NULL"},
    {Param::event_out, "Error: input event tuple handle cannot be NULL"},
    {Param::rule_out, "Error: input class action handle cannot be NULL"},
    {Param::action_out, "Error: input action handle cannot be NULL"},
    {Param::filter_out, "Error: input filter handle cannot be NULL"},
    {Param::target_out, "input target handle cannot be NULL"},
    {Param::target_info, "input target info cannot be NULL"},
    {Param::action_context, "Error: input action context cannot be NULL"},
    {Param::filter_context, "Error: input filter context cannot be NULL"},
};

// What follows the name of the operation; empty if the line is none of the kind.
std::string after_name(const std::string &line) {
  for (const std::string_view level : {"(ERR): ", "(info): "}) {
    if (!line.starts_with(level)) continue;
    const size_t end = line.find(": ", level.size());
    return end == std::string::npos ? std::string() : line.substr(end + 2);
  }
  return {};
}

// The message with the number in place of 'mark', if it has one.
std::string with_number(std::string message, std::string_view mark, uint32_t number) {
  const size_t at = message.find(mark);
  if (at == std::string::npos) return message;
  return message.replace(at, mark.size(), mark == "%d" ? text("%d", static_cast<int>(number)) : text("0x%x", number));
}

template <typename Row>
const Row *row_for(std::span<const Row> rows, Param param) {
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row &row) { return row.param == param; });
  return found == rows.end() ? nullptr : &*found;
}

const OwnWords *own_words(Op op, size_t argument) {
  const auto *found = std::find_if(std::begin(kOwnWords), std::end(kOwnWords),
                                   [&](const OwnWords &own) { return own.op == op && own.argument == argument; });
  return found == std::end(kOwnWords) ? nullptr : found;
}

// The client for which the operation works.
uint32_t client_of(const Model &model, const calls::Operation &operation, const Arguments &arguments) {
  return operation.params[0] == Param::clid ? arguments.number(0) : model.owner_of(kSubscriber);
}

}  // namespace

Refusals::Refusals(const Model &model, const calls::Call &call, const Arguments &arguments) {
  const calls::Operation &operation = calls::operation(call.op);
  const auto clid = client_of(model, operation, arguments);
  for (size_t i = 0; i < operation.count; ++i) {
    const Param param = operation.params[i];
    if (const OwnWords *own = own_words(call.op, i)) {
      if (own->message != nullptr)
        note(own->refused(model, arguments.handle(i)), with_number(own->message, "0x%x", arguments.handle(i)));
    } else if (param == Param::clid) {
      note(!model.known(clid),
           text("Wrong clid:%d, expected range: 1 - %zu", static_cast<int>(clid), model.clients.size()));
    } else if (param == Param::info) {
      note_info(arguments.info(i));
    } else if (const auto *null = row_for<NullRefusal>(kNulls, param)) {
      note(!arguments.given(i), with_number(null->message, "%d", clid));
    } else if (const auto *handle = row_for<HandleRefusal>(kHandles, param)) {
      note(handle->refused(model, arguments.handle(i)), handle->message);
    }
  }
  for (const std::string &message : bad_)
    good_.erase(message);
}

void Refusals::note(bool bad, const std::string &message) {
  (bad ? bad_ : good_).insert(message);
}

void Refusals::note_info(const zar_map_info *info) {
  note(info == nullptr, "input map info cannot be NULL");
  if (info == nullptr) return;
  note(info->domain == nullptr, "domain from input map info cannot be NULL");
  note(info->map_name == nullptr, "map name from input map info cannot be NULL");
  const auto type = static_cast<int>(info->domain_type);
  note(type != 1 && type != 2, text("domain type:%d from input map info is invalid expected range: 1 - 2", type));
}

std::string Refusals::difference(const std::vector<std::string> &traced, bool refused) const {
  bool named = false;
  for (const std::string &line : traced) {
    const std::string message = after_name(line);
    if (good_.contains(message)) return "\"" + line + "\" is traced although the argument is good";
    named = named || bad_.contains(message);
  }
  if (!refused || named || bad_.empty()) return {};
  return "\"" + *bad_.begin() + "\" is not traced";
}

}  // namespace model
