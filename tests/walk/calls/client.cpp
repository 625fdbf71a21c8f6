#include "tests/walk/calls/client.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "host/runtime/control.h"
#include "platform/runtime.h"

namespace calls {
namespace {

constexpr uint32_t kTextTag = 0x7e570002;
constexpr size_t kMostCharacters = 32768;

std::vector<queue_head *> target_lists;

__attribute__((format(printf, 1, 0))) std::string formatted(const char *format, va_list values) {
  std::array<char, kMostCharacters> buffer;
  std::vsnprintf(buffer.data(), buffer.size(), format, values);
  return buffer.data();
}

char *given_away(const std::string &content) {
  return bstrdup_named(content.c_str(), kTextTag);
}

std::string target_ids(const queue_head *target_infos) {
  std::string ids;
  for (const void *element : runtime::elements(target_infos))
    ids += text(" %lu", static_cast<unsigned long>(static_cast<const zar_target_info *>(element)->target_id));
  return ids;
}

// Each function of a client begins with this.
void called(std::string line) {
  log().push_back(std::move(line));
  if (when_called()) when_called()();
}

void called_to_free(const char *function, const void *data, void *const *context) {
  if (context == nullptr) {
    called(text("%s %u", function, id_of(data)));
  } else {
    // Both kinds of context begin with the data.
    called(text("%s context %u, data %u", function, id_of(*context), id_of(data)));
  }
}

}  // namespace

std::string text(const char *format, ...) {
  va_list values;
  va_start(values, format);
  std::string out = formatted(format, values);
  va_end(values);
  return out;
}

std::vector<std::string> &log() {
  static std::vector<std::string> lines;
  return lines;
}

std::function<void()> &when_called() {
  static std::function<void()> does;
  return does;
}

uint32_t id_of(const void *data) {
  return data == nullptr ? 0 : static_cast<const Data *>(data)->id;
}

std::string action_text_of(const Data &data, uint32_t argument) {
  return text("do %u with %u", data.value, argument);
}

std::string filter_text_of(const Data &data) {
  // The text begins with keywords of every length.
  return text("type%u is %u", data.value, data.id);
}

void free_data(void *data, void *context) {
  called_to_free("free", data, static_cast<void **>(context));
}
void free_data_too(void *data, void *context) {
  called_to_free("free too", data, static_cast<void **>(context));
}

uint32_t run_action(void *, void *) {
  return 0;
}
uint32_t run_action_too(void *, void *) {
  return 1;
}

char *action_text(void *data, uint32_t argument) {
  called(text("text of %u with %u", id_of(data), argument));
  if (data == nullptr || static_cast<Data *>(data)->mute) return nullptr;
  return given_away(action_text_of(*static_cast<Data *>(data), argument));
}

char *filter_text(void *data) {
  called(text("text of %u", id_of(data)));
  if (data == nullptr || static_cast<Data *>(data)->mute) return nullptr;
  return given_away(filter_text_of(*static_cast<Data *>(data)));
}

uint32_t compare_data(void *stored, void *offered) {
  called(text("compare %u %u", id_of(stored), id_of(offered)));
  if (stored == nullptr || offered == nullptr) return stored == offered ? 1 : 0;
  return static_cast<Data *>(stored)->value == static_cast<Data *>(offered)->value ? 1 : 0;
}

void notify(uint32_t removed, void *data, queue_head *target_infos) {
  if (std::find(target_lists.begin(), target_lists.end(), target_infos) == target_lists.end())
    target_lists.push_back(target_infos);
  called(text("notify %u of %u:", removed, id_of(data)) + target_ids(target_infos));
}

uint32_t check_param_map(void *data, const void *param_map) {
  called(text("uses %u", id_of(data)));
  return data != nullptr && param_map_of(static_cast<Data *>(data)->value) == param_map ? 1 : 0;
}

void policy_removed(uint32_t target, uint32_t pmap) {
  called(text("removed target:0x%x pmap:0x%x", target, pmap));
}

#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#endif
void print(const char *format, ...) {
  va_list values;
  va_start(values, format);
  called("print " + formatted(format, values));
  va_end(values);
}
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

const void *param_map_of(uint8_t value) {
  static const std::array<char, 256> places{};
  return &places[value];
}

void end_target_lists() {
  for (queue_head *list : std::exchange(target_lists, {})) {
    runtime::abandon(list);
    bfree_named(list);
  }
}

}  // namespace calls
