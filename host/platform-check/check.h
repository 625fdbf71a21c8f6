/*
 * zar-platform-check: checks, promise by promise, whether a platform runtime keeps the contract that the library relies
 * on. It is linked with that runtime and with no part of the library.
 *
 * Each promise is checked in its own process, which starts with the initial state of the runtime: a service that
 * crashes, hangs or corrupts its own state breaks one promise and not the following ones.
 *
 * The checks are linked into programs of others, so every external name begins with zar_platform_check_.
 */
#ifndef PLATFORM_CHECK_H
#define PLATFORM_CHECK_H

#include <stddef.h>
#include <stdint.h>
#include <stdnoreturn.h>

/* One promise. The check returns if it is kept and calls FAIL if it is not. */
typedef struct Promise {
  int number;           /* within its group; it never changes, and docs/platform.md has the same */
  const char *service;  /* the import that makes it */
  const char *sentence; /* what it promises, as in docs/platform.md */
  void (*check)(void);
} Promise;

/* The promises of one group of services. */
typedef struct Group {
  const char *name;
  const char *prefix; /* of the numbers, as in queue.4 */
  const Promise *promises;
  size_t n_promises;
  int (*is_linked)(void); /* returns whether the services are linked; NULL if the program cannot be linked without */
} Group;

extern const Group zar_platform_check_ids, zar_platform_check_pools, zar_platform_check_trees,
    zar_platform_check_queues, zar_platform_check_texts, zar_platform_check_allocation, zar_platform_check_copying,
    zar_platform_check_trace, zar_platform_check_engine;

/* Ends the check: the promise is broken, for the given reason. */
noreturn void zar_platform_check_broken(const char *format, ...) __attribute__((format(printf, 1, 2)));
#define FAIL zar_platform_check_broken

/* Ends the check unless 'condition' holds; the other arguments describe what was observed instead, as for printf. */
#define EXPECT(condition, ...)           \
  do {                                   \
    if (!(condition)) FAIL(__VA_ARGS__); \
  } while (0)

#define COUNT_OF(list) (sizeof(list) / sizeof((list)[0]))

/* The allocation tag of this program's requests. */
enum { kTag = 0x3e00099 };

/*
 * A copy of the text that is valid only until it is taken back: reading it afterwards crashes. It shows whether a
 * service keeps an argument that it should have copied. Texts are short.
 */
char *zar_platform_check_lend(const char *text);
void zar_platform_check_take_back(char *text);

/*
 * Expects that memory is used again: the process must not have grown by 'most' megabytes since it was called the first
 * time. A check calls it at the beginning, and again after it has requested, written to, and returned kPieces times
 * kPiece bytes, or kScraps times a few, with a limit that losing these, or 16 bytes each time, exceeds. The bookkeeping
 * of AddressSanitizer grows, and it reports itself what was lost: with it, only lost pieces exceed the limit.
 */
void zar_platform_check_has_not_grown(int most);
enum { kPiece = 20000, kPieces = 12000, kMostOfPieces = 64, kScraps = 400000, kMostOfScraps = 5 };

/* From now on, what this process prints is discarded: a runtime may print the messages of a check. */
void zar_platform_check_discard_output(void);

#endif
