#include "support/repository.h"

#include <cstdio>
#include <cstdlib>

#include "host/engine/engine.h"
#include "platform/runtime.h"

namespace bench {

namespace {

constexpr uint32_t kTextTag = 0x3e000ff;

uint32_t start() {
  if (zar_init() == 0) must(1, "zar_init");
  must(engine::start(), "engine::start");
  uint32_t clid = 0;
  must(zar_client_register("bench", nullptr, &clid), "zar_client_register");
  must(zar_register_domain(clid, kDomain), "zar_register_domain");
  return clid;
}

void free_nothing(void *, void *) {}
uint32_t succeed(void *, void *) {
  return 0;
}
uint32_t hold(void *, void *) {
  return 1;
}
uint32_t differ(void *, void *) {
  return 0;
}
char *action_text(void *data, uint32_t) {
  return bstrdup_named(static_cast<const char *>(data), kTextTag);
}
char *filter_text(void *data) {
  return bstrdup_named(static_cast<const char *>(data), kTextTag);
}

}  // namespace

uint32_t clid() {
  static const uint32_t started = start();
  return started;
}

void must(uint32_t status, const char *what) {
  if (status == 0) return;
  std::fprintf(stderr, "%s answered %u\n", what, status);
  std::exit(EXIT_FAILURE);
}

std::vector<std::string> names(uint32_t count, const char *suffix) {
  static constexpr const char *kWords[] = {"access", "backbone", "customer",    "edge",
                                           "guest",  "premium",  "residential", "voice"};
  std::vector<std::string> all;
  all.reserve(count);
  for (uint32_t number = 0; number < count; ++number) {
    char name[64];
    std::snprintf(name, sizeof name, "%s-%05u%s", kWords[number % std::size(kWords)], number, suffix);
    all.emplace_back(name);
  }
  return all;
}

zar_action_context action_context(const char *text) {
  return {.action_data = const_cast<char *>(text),
          .action_free_fn = free_nothing,
          .action_entry_fn = succeed,
          .action_str_fn = action_text,
          .action_compare_fn = differ,
          .action_notify_fn = nullptr,
          .action_param_map_check_fn = nullptr};
}

zar_filter_context filter_context(const char *text) {
  return {.filter_data = const_cast<char *>(text),
          .filter_free_fn = free_nothing,
          .filter_eval_fn = hold,
          .filter_str_fn = filter_text,
          .filter_compare_fn = differ};
}

}  // namespace bench
