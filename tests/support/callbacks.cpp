#include "support/callbacks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "host/runtime/control.h"
#include "platform/runtime.h"
#include "support/call_log.h"

namespace rig {
namespace {

std::vector<queue_head *> target_lists;
std::vector<Printed> printed_lines;

Data &as_data(void *data) {
  return *static_cast<Data *>(data);
}

void called(const Data &data, std::string call) {
  log_call(std::move(call));
  if (data.on_call) data.on_call();
}

// A list is used for several calls of one notification and holds the same record several times.
std::string target_ids(const queue_head *target_infos) {
  std::string out;
  for (const void *element : runtime::elements(target_infos)) {
    const auto *target_info = static_cast<const zar_target_info *>(element);
    out += text(out.empty() ? "%lu" : " %lu", target_info->target_id);
  }
  return out;
}

}  // namespace

std::function<void(uint32_t target, uint32_t pmap)> on_policy_removed;
std::function<void(const std::string &line)> on_printed;

void free_data(void *data, void *context) {
  if (context != nullptr) {
    // Both kinds of context begin with the data.
    const Data &owner = as_data(*static_cast<void **>(context));
    called(owner, "free context " + owner.name);
    return;
  }
  ASSERT_NE(data, nullptr) << "the free function got neither data nor context";
  Data &owner = as_data(data);
  EXPECT_EQ(++owner.freed, 1) << owner.name << " was freed twice";
  called(owner, "free " + owner.name);
}

uint32_t compare_data(void *stored_data, void *new_data) {
  called(as_data(stored_data), text("compare %s %s", as_data(stored_data).name, as_data(new_data).name));
  return as_data(stored_data).value == as_data(new_data).value ? 1 : 0;
}

uint32_t run_action(void *action_data, void *) {
  called(as_data(action_data), "run " + as_data(action_data).name);
  return 0;
}

uint32_t evaluate_filter(void *filter_data, void *) {
  called(as_data(filter_data), "evaluate " + as_data(filter_data).name);
  return 0;
}

char *action_text(void *action_data, uint32_t argument) {
  const Data &data = as_data(action_data);
  called(data, text("text %s %u", data.name, argument));
  return data.without_text ? nullptr : bstrdup_named(text("%s(%u)", data.name, argument).c_str(), kClientTextTag);
}

char *filter_text(void *filter_data) {
  const Data &data = as_data(filter_data);
  called(data, "text " + data.name);
  return data.without_text ? nullptr : bstrdup_named(data.name.c_str(), kClientTextTag);
}

void notify_action(uint32_t removed, void *action_data, queue_head *target_infos) {
  if (std::find(target_lists.begin(), target_lists.end(), target_infos) == target_lists.end())
    target_lists.push_back(target_infos);
  const Data &data = as_data(action_data);
  EXPECT_LE(removed, 1U);
  called(data, text("notify %s %s [%s]", removed ? "removed" : "added", data.name, target_ids(target_infos)));
}

uint32_t check_param_map(void *action_data, const void *param_map) {
  const Data &data = as_data(action_data);
  called(data, "uses " + data.name);
  return data.param_map == param_map ? 1 : 0;
}

void policy_removed(uint32_t target, uint32_t pmap) {
  log_call(text("removed target:0x%x pmap:0x%x", target, pmap));
  if (on_policy_removed) on_policy_removed(target, pmap);
}

zar_action_context action_context(Data &data) {
  return {&data, free_data, run_action, action_text, compare_data, notify_action, check_param_map};
}

zar_filter_context filter_context(Data &data) {
  return {&data, free_data, evaluate_filter, filter_text, compare_data};
}

void free_target_lists() {
  for (queue_head *list : std::exchange(target_lists, {})) {
    while (queue_dequeue(list) != nullptr) {
    }
    bfree_named(list);
  }
}

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#endif
void capture_printer(const char *format, ...) {
  va_list values;
  va_start(values, format);
  char line[4096];
  std::vsnprintf(line, sizeof line, format, values);
  va_end(values);
  printed_lines.push_back({format, line});
  if (on_printed) on_printed(line);
}
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

std::vector<Printed> &printed() {
  return printed_lines;
}

std::vector<std::string> take_printed() {
  std::vector<std::string> lines;
  for (Printed &line : std::exchange(printed_lines, {}))
    lines.push_back(std::move(line.text));
  return lines;
}

}  // namespace rig
