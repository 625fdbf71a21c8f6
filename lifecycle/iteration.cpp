// The stateless walks: over the maps of a database, and over the events, class-actions, actions and filters in queues.
//
// The cursor of a walk is the handle of the element that the caller holds. A queue walk finds it again from the head
// each time; if the element is gone, the walk ends silently with handle 0.
#include "compose/rules.h"
#include "lifecycle/tree_walks.h"
#include "zar/lifecycle.h"

using namespace zar;

namespace {

// ---- Maps in trees

template <MapDescription Maps>
uint32_t next_map(uint32_t clid, uint32_t current_handle, uint32_t *handle_out) {
  bool valid = valid_clid(Maps::Walk::kNext, clid);
  auto *current = require_any_map<typename Maps::Record>(Maps::Walk::kNext, current_handle);
  valid &= Maps::place_given(Maps::Walk::kNext, clid, handle_out);
  if (!current || !valid) return kInvalidArgument;
  return map_after<Maps>(clid, current, handle_out);
}

// ---- Elements in queues

// Writes the handle of the first element, or 0.
template <class Element, class TraceEmpty, class TraceFound>
uint32_t give_first(const queue_head &queue, uint32_t *handle_out, TraceEmpty trace_empty, TraceFound trace_found) {
  const auto *element = first<Element>(queue);
  *handle_out = element ? element->handle : 0;
  if (element) {
    trace_found(*handle_out);
  } else {
    trace_empty();
  }
  return kSuccess;
}

// The texts of a next-element walk. 'container' is the handle of the record with the queue.
struct NextEventText {
  static constexpr char kName[] = "get_next_event_class";
  static constexpr char kGone[] = "(info): %s: success, event-class:0x%x not present in the pmap:0x%x";
  static constexpr char kEnd[] = "(info): %s: success, no event-class next to:0x%x in the pmap:0x%x";
  static void trace_cursor(uint32_t, uint32_t) {}
  static void trace_found(uint32_t next, uint32_t, uint32_t container) {
    TRACE_INFO("(info): %s: success, next event-class:0x%x in pmap:0x%x", kName, next, container);
  }
};

struct NextClassActionText {
  static constexpr char kName[] = "get_next_class_action";
  static constexpr char kGone[] = "(info): %s: success, class-action:0x%x not present in the pmap:0x%x";
  static constexpr char kEnd[] = "(info): %s: success, no class-action next to:0x%x in the pmap:0x%x";
  static void trace_cursor(uint32_t, uint32_t) {}
  static void trace_found(uint32_t next, uint32_t, uint32_t container) {
    TRACE_INFO("(info): %s: success, next class-action:0x%x in pmap:0x%x", kName, next, container);
  }
};

struct NextActionText {
  static constexpr char kName[] = "get_next_action";
  static constexpr char kGone[] = "(info): %s: Error: no matching action:0x%x found in class-action tuple:0x%x";
  static constexpr char kEnd[] = "(info): %s: no next action found next to:0x%x in class-action:0x%x";
  static void trace_cursor(uint32_t current, uint32_t container) {
    TRACE_INFO("(info): %s: current action:0x%x found in class-action:0x%x", kName, current, container);
  }
  static void trace_found(uint32_t next, uint32_t current, uint32_t container) {
    TRACE_INFO("(info): %s: success, action:0x%x found next to:0x%x in class-action:0x%x", kName, next, current,
               container);
  }
};

struct NextFilterText {
  static constexpr char kName[] = "get_next_filter";
  static constexpr char kGone[] = "(info): %s: Error: no matching filter:0x%x found in class-map:0x%x";
  static constexpr char kEnd[] = "(info): %s: no filter found next to:0x%x in cmap:0x%x";
  static void trace_cursor(uint32_t current, uint32_t container) {
    TRACE_INFO("(info): %s: current filter:0x%x found in cmap:0x%x", kName, current, container);
  }
  static void trace_found(uint32_t next, uint32_t current, uint32_t container) {
    TRACE_INFO("(info): %s: success, filter:0x%x found next to:0x%x in cmap:0x%x", kName, next, current, container);
  }
};

// Writes the handle of the element after the first one with the handle 'current', or 0.
template <class Element, class Text>
uint32_t give_next(const queue_head &queue, uint32_t container, uint32_t current, uint32_t *handle_out) {
  auto found = find_with_next<Element>(queue, [current](const Element &element) { return element.handle == current; });
  if (!found.current) {
    TRACE_INFO(Text::kGone, Text::kName, current, container);
    *handle_out = 0;
    return kSuccess;
  }
  Text::trace_cursor(current, container);
  *handle_out = found.next ? found.next->handle : 0;
  if (found.next) {
    Text::trace_found(*handle_out, current, container);
  } else {
    TRACE_INFO(Text::kEnd, Text::kName, current, container);
  }
  return kSuccess;
}

bool current_action_given(const char *name, uint32_t handle) {
  if (handle == 0) TRACE_ERROR("(ERR): %s: Error: current action handle cannot be NULL", name);
  return handle != 0;
}

bool current_filter_given(const char *name, uint32_t handle) {
  if (handle == 0) TRACE_ERROR("(ERR): %s: Error: current filter handle cannot be NULL", name);
  return handle != 0;
}

bool current_event_given(const char *name, uint32_t handle) {
  if (handle == 0) TRACE_ERROR("(ERR): %s: Error: current event tuple handle cannot be NULL", name);
  return handle != 0;
}

bool current_class_action_given(const char *name, uint32_t handle) {
  if (handle == 0) TRACE_ERROR("(ERR): %s: Error: current class action handle cannot be NULL", name);
  return handle != 0;
}

// Where a walk over class-actions takes place: under an event of a CONTROL policy-map, and nowhere in any other.
struct EventOfPolicy {
  EventOfPolicy(const char *name, uint32_t pmap_handle, uint32_t event_handle)
      : pmap(require<zar_pmap>(name, pmap_handle)) {
    if (!pmap || !is_control(*pmap)) return;
    event = resolve<zar_event_tuple>(event_handle);
    if (!event) TRACE_ERROR("(ERR): %s: Error: event needs to be provided to look for class in control polies", name);
  }
  bool valid() const { return pmap && (event || !is_control(*pmap)); }

  const zar_pmap *pmap;
  const zar_event_tuple *event = nullptr;
};

}  // namespace

uint32_t zar_get_first_policy(uint32_t clid, uint32_t *pmap_out) {
  return first_map<PolicyMaps>(clid, pmap_out);
}

uint32_t zar_get_next_policy(uint32_t clid, uint32_t current, uint32_t *pmap_out) {
  return next_map<PolicyMaps>(clid, current, pmap_out);
}

uint32_t zar_get_first_class(uint32_t clid, uint32_t *cmap_out) {
  return first_map<ClassMaps>(clid, cmap_out);
}

uint32_t zar_get_next_class(uint32_t clid, uint32_t current, uint32_t *cmap_out) {
  return next_map<ClassMaps>(clid, current, cmap_out);
}

// In a policy-map that is not CONTROL the elements are class-actions.
uint32_t zar_get_event_class(uint32_t clid, uint32_t pmap_handle, uint32_t *event_out) {
  static constexpr char kName[] = "get_event_class";
  bool valid = valid_clid(kName, clid);
  auto *pmap = require<zar_pmap>(kName, pmap_handle);
  valid &= event_place_given(kName, event_out);
  if (!pmap || !valid) return kInvalidArgument;

  auto empty = [=] { TRACE_INFO("(info): %s: success, no event-class in the pmap:0x%x", kName, pmap_handle); };
  auto found = [=](uint32_t handle) {
    TRACE_INFO("(info): %s: success, first event-class:0x%x in the pmap:0x%x", kName, handle, pmap_handle);
  };
  if (is_control(*pmap)) return give_first<zar_event_tuple>(pmap->rule_list, event_out, empty, found);
  return give_first<zar_class_action>(pmap->rule_list, event_out, empty, found);
}

uint32_t zar_get_next_event_class(uint32_t clid, uint32_t pmap_handle, uint32_t current, uint32_t *event_out) {
  const char *name = NextEventText::kName;
  bool valid = valid_clid(name, clid);
  const auto *pmap = require<zar_pmap>(name, pmap_handle);
  if (!current_event_given(name, current)) return kInvalidArgument;
  valid &= event_place_given(name, event_out);
  if (!pmap || !valid) return kInvalidArgument;

  if (is_control(*pmap))
    return give_next<zar_event_tuple, NextEventText>(pmap->rule_list, pmap_handle, current, event_out);
  return give_next<zar_class_action, NextEventText>(pmap->rule_list, pmap_handle, current, event_out);
}

// For a policy-map that is not CONTROL this and the next operation succeed without a result: the out place keeps its
// value.
uint32_t zar_get_class_action(uint32_t clid, uint32_t pmap_handle, uint32_t event_handle, uint32_t *class_action_out) {
  static constexpr char kName[] = "get_class_action";
  bool valid = valid_clid(kName, clid);
  EventOfPolicy place(kName, pmap_handle, event_handle);
  valid &= class_action_place_given(kName, class_action_out);
  if (!place.valid() || !valid) return kInvalidArgument;
  if (!place.event) return kSuccess;

  return give_first<zar_class_action>(
      place.event->class_actions, class_action_out,
      [=] {
        TRACE_INFO("(info): %s: success, no class-action in pmap:0x%x under eventhdl:0x%x", kName, pmap_handle,
                   event_handle);
      },
      [=](uint32_t handle) {
        TRACE_INFO("(info): %s: success, found class-action:0x%x in pmap:0x%x under eventhdl:0x%x", kName, handle,
                   pmap_handle, event_handle);
      });
}

uint32_t zar_get_next_class_action(uint32_t clid, uint32_t pmap_handle, uint32_t event_handle, uint32_t current,
                                   uint32_t *class_action_out) {
  const char *name = NextClassActionText::kName;
  bool valid = valid_clid(name, clid);
  EventOfPolicy place(name, pmap_handle, event_handle);
  if (!current_class_action_given(name, current)) return kInvalidArgument;
  valid &= class_action_place_given(name, class_action_out);
  if (!place.valid() || !valid) return kInvalidArgument;
  if (!place.event) return kSuccess;

  return give_next<zar_class_action, NextClassActionText>(place.event->class_actions, pmap_handle, current,
                                                          class_action_out);
}

uint32_t zar_get_action(uint32_t clid, uint32_t class_action, uint32_t *action_out) {
  static constexpr char kName[] = "get_action";
  bool valid = valid_clid(kName, clid);
  auto *rule = require<zar_class_action>(kName, class_action);
  valid &= action_place_given(kName, action_out);
  if (!rule || !valid) return kInvalidArgument;

  return give_first<zar_action>(
      rule->actions, action_out,
      [=] { TRACE_INFO("(info): %s: success, no actions in class-action:0x%x", kName, class_action); },
      [=](uint32_t handle) {
        TRACE_INFO("(info): %s: success, first action0x%x in class-action:0x%x", kName, handle, class_action);
      });
}

uint32_t zar_get_next_action(uint32_t clid, uint32_t class_action, uint32_t current, uint32_t *action_out) {
  const char *name = NextActionText::kName;
  bool valid = valid_clid(name, clid);
  const auto *rule = require<zar_class_action>(name, class_action);
  valid &= current_action_given(name, current);
  valid &= action_place_given(name, action_out);
  if (!rule || !valid) return kInvalidArgument;
  return give_next<zar_action, NextActionText>(rule->actions, class_action, current, action_out);
}

uint32_t zar_get_filter(uint32_t clid, uint32_t cmap_handle, uint32_t *filter_out) {
  static constexpr char kName[] = "get_filter";
  bool valid = valid_clid(kName, clid);
  auto *cmap = require<zar_cmap>(kName, cmap_handle);
  valid &= filter_place_given(kName, filter_out);
  if (!cmap || !valid) return kInvalidArgument;

  return give_first<zar_filter>(
      cmap->filters, filter_out,
      [=] { TRACE_INFO("(info): %s: success, no filters in cmap:0x%x", kName, cmap_handle); },
      [=](uint32_t handle) {
        TRACE_INFO("(info): %s: success, first filter:0x%x in cmap:0x%x", kName, handle, cmap_handle);
      });
}

uint32_t zar_get_next_filter(uint32_t clid, uint32_t cmap_handle, uint32_t current, uint32_t *filter_out) {
  const char *name = NextFilterText::kName;
  bool valid = valid_clid(name, clid);
  const auto *cmap = require<zar_cmap>(name, cmap_handle);
  valid &= current_filter_given(name, current);
  valid &= filter_place_given(name, filter_out);
  if (!cmap || !valid) return kInvalidArgument;
  return give_next<zar_filter, NextFilterText>(cmap->filters, cmap_handle, current, filter_out);
}
