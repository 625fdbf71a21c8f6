// Shared by the samples: filters and actions with only a text, and a stop at the first refusal. The embedding example
// has a filter and an action that really evaluate and run.
#ifndef SAMPLE_H
#define SAMPLE_H

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zar/platform/engine.h"
#include "zar/platform/runtime.h"
#include "zar/zar.h"

static inline void must(uint32_t status, const char *call) {
  if (status == 0) return;
  printf("%s: %u\n", call, status);
  exit(1);
}
#define MUST(call) must(call, #call)

static inline void free_text(void *data, void *context) {
  (void)context;
  bfree_named(data);
}
static inline char *copy_text(const void *data) {
  return bstrdup_named(data, 0);
}
static inline uint32_t same_text(void *stored, void *given) {
  return strcmp(stored, given) == 0;
}
static inline uint32_t do_nothing(void *data, void *run) {
  (void)data, (void)run;
  return 0;
}
static inline char *action_text(void *data, uint32_t argument) {
  (void)argument;
  return copy_text(data);
}
static inline char *filter_text(void *data) {
  return copy_text(data);
}

static inline uint32_t new_filter(const char *text) {
  const zar_filter_context context = {copy_text(text), free_text, do_nothing, filter_text, same_text};
  uint32_t filter = 0;
  MUST(zar_create_filter(&context, &filter, 0));
  return filter;
}
static inline uint32_t new_action(const char *text, uint32_t number) {
  const zar_action_context context = {copy_text(text), free_text, do_nothing, action_text, same_text, NULL, NULL};
  uint32_t action = 0;
  MUST(zar_create_action(&context, number, 0, &action));
  return action;
}

// The one client that the samples need, with a database and a domain of its own.
static inline uint32_t begin(const char *domain, zar_db **database) {
  uint32_t clid = 0;
  zar_init();
  MUST(zar_create_database(database));
  MUST(zar_client_register("sample", *database, &clid));
  MUST(zar_register_domain(clid, domain));
  return clid;
}

#endif
