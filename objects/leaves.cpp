#include "objects/leaves.h"

#include "core/callbacks.h"
#include "core/checks.h"
#include "core/pool.h"
#include "core/queue.h"
#include "core/text.h"
#include "platform/tags.h"
#include "zar/compose.h"

using namespace zar;

const char *const zar_match = "match";
const char *const zar_no_match = "no-match";

const char *const zar_db_action_chunk_str = "ZAR DB action chunk";
const char *const zar_db_filter_chunk_str = "ZAR DB filter chunk";
const char *const zar_db_event_tuple_chunk_str = "ZAR DB event tuple chunk";
const char *const zar_db_event_context_chunk_str = "ZAR DB event context chunk";

namespace {

constexpr uint32_t kMatchAll = 1, kMatchFirst = 2;

// Additional fields of a parameter-map's filter; the library only stores them.
struct FilterFlags {
  uint8_t no_match;
  uint8_t regex = 0;
  uint8_t pmtr_1 = 0;
  uint8_t pmtr_2 = 0;
};

void copy_context(zar_action &action, const zar_action_context &context) {
  action.action_data = context.action_data;
  action.action_free_fn = context.action_free_fn;
  action.action_entry_fn = context.action_entry_fn;
  action.action_str_fn = context.action_str_fn;
  action.action_compare_fn = context.action_compare_fn;
  action.action_notify_fn = context.action_notify_fn;
  action.action_param_map_check_fn = context.action_param_map_check_fn;
}

uint8_t low_byte(uint32_t value) {
  return static_cast<uint8_t>(value);
}

// The filter pool is shared; its tag is that of its first user.
uint32_t make_filter(const zar_filter_context *context, uint32_t *filter_out, const FilterFlags &flags,
                     uint32_t pool_tag) {
  static constexpr char kName[] = "create_filter";
  bool place_given = filter_place_given(kName, filter_out);
  if (zar_verify_filter_context(context, kName) != kSuccess || !place_given) return kInvalidArgument;
  if (!context->filter_str_fn || !context->filter_compare_fn) {
    TRACE_ERROR("(ERR): %s: Error: filter parse fn, filter compare hdl fn from input filter context cannot be NULL",
                kName);
    return kInvalidArgument;
  }

  Pooled<zar_filter> filter = filter_pool.take_with_tag(pool_tag);
  if (!filter) {
    TRACE_ERROR("(ERR): create_filter: memory alloc for filter failed");
    return kNoMemory;
  }
  HeldHandle handle;
  if (!handle.issue(filter.get())) {
    TRACE_ERROR("(ERR): create_filter: Could not create id for filter");
    return kFailed;
  }
  filter->filter_data = context->filter_data;
  filter->filter_eval_fn = context->filter_eval_fn;
  filter->filter_free_fn = context->filter_free_fn;
  filter->filter_str_fn = context->filter_str_fn;
  filter->filter_compare_fn = context->filter_compare_fn;
  filter->no_match = flags.no_match;
  filter->regex = flags.regex;
  filter->pmtr_flag_1 = flags.pmtr_1;
  filter->pmtr_flag_2 = flags.pmtr_2;
  filter.keep();
  *filter_out = handle.keep();
  return kSuccess;
}

const char *type_of(const FilterFlags &flags) {
  return flags.no_match ? zar_no_match : zar_match;
}

// Interns the event's name; a missing one is a failure too.
bool intern_event_name(HeldText &held, zar_event_context &context, const char *name) {
  if (!name) {
    TRACE_ERROR("(ERR): create_event: event name is NULL");
    return false;
  }
  if (held.intern(context.event_name, name, ZAR_TAG_EVENT_NAME)) return true;
  TRACE_ERROR("(ERR): create_event: Could not add event name to SDB name:%s", name);
  return false;
}

// On failure, first the handle is released, then the tuple, then its context.
uint32_t make_event(const zar_event_context &wanted, const char *name, uint32_t *event_out) {
  event_tuple_pool.ready();
  event_context_pool.ready();
  Pooled<zar_event_context> context;
  Pooled<zar_event_tuple> tuple = event_tuple_pool.take_if_ready();
  if (!tuple) {
    TRACE_ERROR("(ERR): create_event: memory alloc for event tuple failed");
    return kNoMemory;
  }
  HeldHandle handle;
  if (!handle.issue(tuple.get())) {
    TRACE_ERROR("(ERR): create_event: Could not create id for event tuple");
    return kFailed;
  }
  context = event_context_pool.take_if_ready();
  if (!context) {
    TRACE_ERROR("(ERR): create_event: memory alloc for event context failed");
    // The handle is not released here: it stays live and counts against the cap, although it names nothing.
    handle.orphan();
    return kNoMemory;
  }
  context->event_id = wanted.event_id;
  HeldText held_name;
  if (!intern_event_name(held_name, *context, name)) return kFailed;

  held_name.keep();
  tuple->match_criteria = kMatchAll;
  tuple->event_context = context.keep();
  make_empty(tuple->class_actions);
  tuple.keep();
  *event_out = handle.keep();
  TRACE_INFO("(info): create_event: successful, action:0x%x", *event_out);
  return kSuccess;
}

}  // namespace

uint32_t zar::zar_verify_action_context(const zar_action_context *context, const char *caller) {
  if (!context) {
    TRACE_ERROR("(ERR): %s: Error: input action context cannot be NULL", or_blank(caller));
    return kCheckFailed;
  }
  if (!context->action_free_fn)
    TRACE_ERROR("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", or_blank(caller));
  if (!context->action_entry_fn)
    TRACE_ERROR("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", or_blank(caller));
  return context->action_free_fn && context->action_entry_fn ? kSuccess : kCheckFailed;
}

uint32_t zar::zar_verify_filter_context(const zar_filter_context *context, const char *caller) {
  if (!context) {
    TRACE_ERROR("(ERR): %s: Error: input filter context cannot be NULL", or_blank(caller));
    return kCheckFailed;
  }
  if (!context->filter_free_fn)
    TRACE_ERROR("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", or_blank(caller));
  if (!context->filter_eval_fn)
    TRACE_ERROR("(ERR): %s: Error: filter_fn from input filter context cannot be NULL", or_blank(caller));
  return context->filter_free_fn && context->filter_eval_fn ? kSuccess : kCheckFailed;
}

uint32_t zar::zar_verify_filter_content(const zar_filter *filter, const char *caller) {
  if (!filter) {
    TRACE_ERROR("(ERR): %s: Error: input filter context cannot be NULL", or_blank(caller));
    return kCheckFailed;
  }
  if (!filter->filter_eval_fn)
    TRACE_ERROR("(ERR): %s: Error: filter_eval_fn from input filter context cannot be NULL", or_blank(caller));
  if (!filter->filter_free_fn)
    TRACE_ERROR("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", or_blank(caller));
  if (!filter->filter_str_fn)
    TRACE_ERROR("(ERR): %s: Error: filter_str_fn from input filter context cannot be NULL", or_blank(caller));
  if (!filter->filter_compare_fn)
    TRACE_ERROR("(ERR): %s: Error: filter_compare_fn from input filter context cannot be NULL", or_blank(caller));
  bool complete =
      filter->filter_eval_fn && filter->filter_free_fn && filter->filter_str_fn && filter->filter_compare_fn;
  return complete ? kSuccess : kCheckFailed;
}

zar_filter *zar::require_filter(const char *name, uint32_t handle) {
  auto *filter = resolve<zar_filter>(handle);
  return zar_verify_filter_content(filter, name) == kSuccess ? filter : nullptr;
}

void zar::zar_free_filter(zar_filter *filter) {
  uint32_t handle = filter->handle;
  retire(handle);
  if (filter->filter_free_fn) call("filter_free_fn", filter->filter_free_fn, filter->filter_data, nullptr);
  zar_handle_release(handle);
  filter_pool.give_back(filter);
  TRACE_INFO("(info): Free filter:0x%x successful", handle);
}

uint32_t zar_create_action(const zar_action_context *context, uint32_t action_num, uint32_t precedence,
                           uint32_t *action_out) {
  static constexpr char kName[] = "create_action";
  bool place_given = action_place_given(kName, action_out);
  if (!place_given) TRACE_ERROR("(ERR): create_action: Invalid action_hdl");
  if (zar_verify_action_context(context, kName) != kSuccess) {
    TRACE_ERROR("(ERR): create_action: Invalid action_context");
    return kInvalidArgument;
  }
  if (!place_given) return kInvalidArgument;
  if (!context->action_str_fn || !context->action_compare_fn) {
    TRACE_ERROR("(ERR): %s: Error: action parse fn, action compare hdl fn from input action context cannot be NULL",
                kName);
    return kInvalidArgument;
  }

  Pooled<zar_action> action = action_pool.take();
  if (!action) {
    TRACE_ERROR("(ERR): create_action: memory alloc for action failed");
    return kNoMemory;
  }
  HeldHandle handle;
  if (!handle.issue(action.get())) {
    TRACE_ERROR("(ERR): create_action: Could not create id for action ");
    return kFailed;
  }
  action->ref_count = 1;
  action->action_num = low_byte(action_num);
  action->precedence = static_cast<uint16_t>(precedence);
  copy_context(*action, *context);
  action.keep();
  *action_out = handle.keep();
  TRACE_INFO("(info): create_action: successful, action:0x%x", *action_out);
  return kSuccess;
}

uint32_t zar_create_filter(const zar_filter_context *context, uint32_t *filter_out, uint32_t no_match) {
  FilterFlags flags{.no_match = low_byte(no_match)};
  uint32_t status = make_filter(context, filter_out, flags, ZAR_TAG_FILTER_RECORD);
  if (status == kSuccess)
    TRACE_INFO("(info): create_filter: successful, filter:0x%x type:%s", *filter_out, type_of(flags));
  return status;
}

uint32_t zar_pmtr_create_filter(const zar_filter_context *context, uint32_t *filter_out, uint32_t no_match,
                                uint32_t regex, uint32_t flag_1, uint32_t flag_2) {
  FilterFlags flags{low_byte(no_match), low_byte(regex), low_byte(flag_1), low_byte(flag_2)};
  uint32_t status = make_filter(context, filter_out, flags, ZAR_TAG_STATEMENT_FILTER_RECORD);
  if (status == kSuccess) {
    TRACE_INFO("(info): create_filter: successful, filter:0x%x type:%s regex:%d", *filter_out, type_of(flags),
               flags.regex);
  }
  return status;
}

uint32_t zar_create_event(const zar_event_context *context, const char *name, uint32_t *event_out) {
  static constexpr char kName[] = "create_event";
  bool place_given = event_place_given(kName, event_out);
  if (!context) {
    TRACE_ERROR("(ERR): %s: Error: event context cannot be NULL", kName);
    return kInvalidArgument;
  }
  if (!place_given) return kInvalidArgument;
  return make_event(*context, name, event_out);
}

uint32_t zar_event_set_match_criteria(uint32_t event, uint32_t criteria) {
  static constexpr char kName[] = "event_set_match_criteria";
  auto *tuple = require<zar_event_tuple>(kName, event);
  if (criteria > kMatchFirst) {
    TRACE_ERROR("(ERR): %s: Error: input pmap class match criteria is invalid", kName);
    return kInvalidArgument;
  }
  if (!tuple) return kInvalidArgument;

  // 0 means match-all.
  if (criteria == 0) {
    tuple->match_criteria = kMatchAll;
    TRACE_INFO("(info): %s: setting match criteria to match-all", kName);
  } else {
    tuple->match_criteria = criteria;
    TRACE_INFO("(info): %s: setting match criteria to %d", kName, criteria);
  }
  return kSuccess;
}

uint32_t zar_event_get_match_criteria(uint32_t event) {
  auto *tuple = require<zar_event_tuple>("event_get_match_criteria", event);
  return tuple ? tuple->match_criteria : 0;
}

uint32_t zar_free_action_from_action_chunk(zar_action *action) {
  return action ? action_pool.give_back(action) : 0;
}
