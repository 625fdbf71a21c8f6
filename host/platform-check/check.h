/*
 * zar-platform-check: says of a platform runtime, promise by promise, whether it keeps the contract that the library
 * relies on. It is linked with the runtime in question and with nothing of the library.
 *
 * Each promise is checked in a process of its own, which begins with the runtime as it stood at the start: a service that
 * crashes, hangs or spoils its own state breaks one promise and not the following ones.
 */
#ifndef PLATFORM_CHECK_H
#define PLATFORM_CHECK_H

#include <stddef.h>
#include <stdint.h>
#include <stdnoreturn.h>

/* One promise. The check returns when it is kept and calls 'broken' when it is not. */
typedef struct Promise {
  const char *service;  /* the imported name that makes it */
  const char *sentence; /* what it promises, as docs/platform.md says it */
  void (*check)(void);
} Promise;

/* The promises of one group of services. */
typedef struct Group {
  const char *name;
  const Promise *promises;
  size_t n_promises;
} Group;

extern const Group id_tables, pools, trees, queues, texts, allocation, copying, trace;

/* Ends the check: the promise is broken, and this is how it showed. */
noreturn void broken(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Ends the check unless 'condition' holds; what follows says what was seen instead, as for printf. */
#define EXPECT(condition, ...)             \
  do {                                     \
    if (!(condition)) broken(__VA_ARGS__); \
  } while (0)

#define COUNT_OF(list) (sizeof(list) / sizeof((list)[0]))

/* The allocation tag of this program's requests. */
enum { kTag = 0x3e00099 };

#endif
