/*
 * zar-platform-check: checks, promise by promise, whether a platform runtime keeps the contract that the library relies
 * on. It is linked with that runtime and with no part of the library.
 *
 * Each promise is checked in its own process, which starts with the initial state of the runtime: a service that
 * crashes, hangs or corrupts its own state breaks one promise and not the following ones.
 */
#ifndef PLATFORM_CHECK_H
#define PLATFORM_CHECK_H

#include <stddef.h>
#include <stdint.h>
#include <stdnoreturn.h>

/* One promise. The check returns if it is kept and calls 'broken' if it is not. */
typedef struct Promise {
  const char *service;  /* the imported function that makes it */
  const char *sentence; /* what it promises; docs/platform.md has the full contract */
  void (*check)(void);
} Promise;

/* The promises of one group of services. */
typedef struct Group {
  const char *name;
  const Promise *promises;
  size_t n_promises;
} Group;

extern const Group id_tables, pools, trees, queues, texts, allocation, copying, trace;

/* Ends the check: the promise is broken, for the given reason. */
noreturn void broken(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Ends the check unless 'condition' holds; the other arguments describe what was observed instead, as for printf. */
#define EXPECT(condition, ...)             \
  do {                                     \
    if (!(condition)) broken(__VA_ARGS__); \
  } while (0)

#define COUNT_OF(list) (sizeof(list) / sizeof((list)[0]))

/* The allocation tag of this program's requests. */
enum { kTag = 0x3e00099 };

#endif
