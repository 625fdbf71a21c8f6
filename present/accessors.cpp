// Reading records through their handles, the configuration texts, and freeing callers' contexts.
//
// An accessor whose handle has no context traces this under a blank name and returns 0 or no text.
#include <cstdio>

#include "core/callbacks.h"
#include "core/checks.h"
#include "core/text.h"
#include "platform/tags.h"
#include "zar/objects.h"
#include "zar/present.h"

using namespace zar;

namespace {

constexpr char kNoName[] = " ";

// The result of 'read' for the record behind 'handle', or 'Answer{}' if there is none.
template <class Record, class Read>
auto read_of(uint32_t handle, Read read) -> decltype(read(*require<Record>(kNoName, handle))) {
  Record *record = require<Record>(kNoName, handle);
  return record ? read(*record) : decltype(read(*record)){};
}

const char *event_name_of(const zar_event_tuple &event) {
  return event.event_context ? text_of(event.event_context->event_name) : nullptr;
}

const char *match_criteria_name(uint32_t criteria) {
  static constexpr const char *kNames[] = {nullptr, "match-all", "match-any", "match-none"};
  return criteria < sizeof kNames / sizeof *kNames ? kNames[criteria] : nullptr;
}

}  // namespace

// ---- Policy-maps

uint32_t zar_is_policy_hidden(uint32_t pmap) {
  return read_of<zar_pmap>(pmap, [](const zar_pmap &record) { return record.hidden; });
}

void zar_unhide_policy(uint32_t pmap) {
  if (auto *record = require<zar_pmap>(kNoName, pmap)) record->hidden = 0;
}

const char *zar_get_pmap_domain(uint32_t pmap) {
  return read_of<zar_pmap>(pmap, [](const zar_pmap &record) { return text_of(record.domain); });
}

// ---- Events

uint32_t zar_get_event_id(uint32_t event) {
  return read_of<zar_event_tuple>(
      event, [](const zar_event_tuple &tuple) { return tuple.event_context ? tuple.event_context->event_id : 0; });
}

const char *zar_get_event_name(uint32_t event) {
  return read_of<zar_event_tuple>(event, event_name_of);
}

const char *zar_get_event_class_match_criteria(uint32_t event) {
  return read_of<zar_event_tuple>(
      event, [](const zar_event_tuple &tuple) { return kel_pmap_class_match_get_string_short(tuple.match_criteria); });
}

// ---- Class-actions

const char *zar_get_class_name_from_class_action(uint32_t class_action) {
  return read_of<zar_class_action>(class_action, [](const zar_class_action &rule) -> const char * {
    return rule.cmap ? text_of(rule.cmap->name) : nullptr;
  });
}

uint32_t zar_get_class_num_from_class_action(uint32_t class_action) {
  return read_of<zar_class_action>(class_action, [](const zar_class_action &rule) { return uint32_t{rule.class_num}; });
}

const char *zar_get_action_exec_criteria(uint32_t class_action) {
  return read_of<zar_class_action>(class_action, [](const zar_class_action &rule) {
    return kel_pmap_action_exec_criteria_get_string_short(rule.exec_criteria);
  });
}

// ---- Class-maps

const char *zar_get_cmap_name(uint32_t cmap) {
  return read_of<zar_cmap>(cmap, [](const zar_cmap &record) { return text_of(record.name); });
}

const char *zar_get_cmap_domain(uint32_t cmap) {
  return read_of<zar_cmap>(cmap, [](const zar_cmap &record) { return text_of(record.domain); });
}

uint32_t zar_get_cmap_if_hidden(uint32_t cmap) {
  return read_of<zar_cmap>(cmap, [](const zar_cmap &record) { return record.hidden; });
}

uint32_t zar_get_cmap_match_logical_op(uint32_t cmap) {
  return read_of<zar_cmap>(cmap, [](const zar_cmap &record) { return record.match_criteria; });
}

const char *zar_get_cmap_match_criteria(uint32_t cmap) {
  return read_of<zar_cmap>(cmap, [](const zar_cmap &record) { return match_criteria_name(record.match_criteria); });
}

// ---- Actions

uint32_t zar_get_action_num(uint32_t action) {
  auto *record = resolve<zar_action>(action);
  if (record) return record->action_num;
  TRACE_ERROR("(ERR): get_action_num: action context:0x%x is NULL", action);
  return 0;
}

uint32_t zar_get_precedence_value(uint32_t action) {
  auto *record = resolve<zar_action>(action);
  if (record) return record->precedence;
  TRACE_ERROR("(ERR): get_precedence: action context:0x%x is NULL", action);
  return 0;
}

// ---- Configuration texts

char *zar_get_action_nvgen_str(uint32_t action, uint32_t argument) {
  auto *record = resolve<zar_action>(action);
  if (!record) {
    TRACE_ERROR("(ERR): get_nvgen_str: Error: action:0x%x is NULL", action);
    return nullptr;
  }
  return record->action_str_fn ? call("action_str_fn", record->action_str_fn, record->action_data, argument) : nullptr;
}

char *zar_get_filter_nvgen_str(uint32_t filter) {
  const auto *record = resolve<zar_filter>(filter);
  if (!record) {
    TRACE_ERROR("(ERR): get_nvgen_str: Error: filter:0x%x is NULL", filter);
    return nullptr;
  }
  return zar_get_filter_nvgen_str_internal(record);
}

char *zar_get_filter_nvgen_str_internal(const zar_filter *filter) {
  if (!filter || !filter->filter_str_fn) return nullptr;
  OwnedText text(call("filter_str_fn", filter->filter_str_fn, filter->filter_data));
  if (!text) return nullptr;

  // Room for the longer prefix, a blank and the terminator.
  const size_t size = std::strlen(text.get()) + 10;
  OwnedText line = OwnedText::of_size(size, ZAR_TAG_FILTER_TEXT);
  if (!line) {
    TRACE_ERROR("(ERR): get_nvgen_str: Error: unable to vud_kel_calloc_named nvgen_str for filter:0x%p",
                address(filter));
    return nullptr;
  }
  std::snprintf(line.get(), size, "%s %s", filter->no_match ? zar_no_match : zar_match, text.get());
  return line.keep();
}

// ---- Callers' contexts

void zar_free_client_action_context(zar_action_context *context) {
  if (!context || !context->action_free_fn) return;
  TRACE_INFO("(info): free_client_context: freeing client action context:0x%p", address(context));
  call("action_free_fn", context->action_free_fn, nullptr, context);
}

void zar_free_client_filter_context(zar_filter_context *context) {
  if (!context || !context->filter_free_fn) return;
  TRACE_INFO("(info): free_client_context: freeing client filter context:0x%p", address(context));
  call("filter_free_fn", context->filter_free_fn, nullptr, context);
}

void zar_free_client_filter_params_context(zar_filter_context *context) {
  if (!context || !context->filter_free_fn) return;
  TRACE_INFO("(info): free_client_context: freeing client filter params and context:0x%p", address(context));
  call("filter_free_fn", context->filter_free_fn, context->filter_data, context);
}

// ---- Hooks of the engine

void kel_vbuginf(const char *, ...) {}

// Event debugging counts as active, whatever the trace settings are.
uint32_t kel_debugging_event_active(void) {
  return kYes;
}
