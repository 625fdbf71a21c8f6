#include <ctype.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "check.h"

enum { kKept = 0, kBroken = 1, kDetailRoom = 256 };

/* A promise whose check takes longer is broken. All checks are quick, but one took over ten seconds in an emulator. */
static unsigned seconds = 60;
enum { kMostSeconds = 3600 };

static const Group *const groups[] = {&id_tables, &pools, &trees, &queues, &texts, &allocation, &copying, &trace};
enum { kGroups = sizeof groups / sizeof groups[0] };

/* The process of a check writes to this file descriptor how the promise was broken. */
static int detail_fd;

void broken(const char *format, ...) {
  char detail[kDetailRoom];
  va_list values;
  va_start(values, format);
  int length = vsnprintf(detail, sizeof detail, format, values);
  va_end(values);
  if (length > 0 && write(detail_fd, detail, strlen(detail)) < 0) _exit(kBroken);
  _exit(kBroken);
}

static void describe_end(int status, char *detail) {
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
    snprintf(detail, kDetailRoom, "the service did not return within %u seconds", seconds);
  } else if (WIFSIGNALED(status)) {
    snprintf(detail, kDetailRoom, "the service crashed: %s", strsignal(WTERMSIG(status)));
  } else if (WEXITSTATUS(status) != kKept && detail[0] == '\0') {
    snprintf(detail, kDetailRoom, "the service ended the process with status %d", WEXITSTATUS(status));
  }
}

/* A broken service may leave anything in a text. Characters that cannot be printed become question marks. */
static void read_all(int from, char *to, size_t room) {
  ssize_t length = 0;
  size_t used = 0;
  while (used + 1 < room && (length = read(from, to + used, room - 1 - used)) > 0)
    used += (size_t)length;
  to[used] = '\0';
  for (char *at = to; *at; at++)
    *at = isprint((unsigned char)*at) ? *at : '?';
}

/* Returns whether the promise is kept. If it is not, 'detail' receives the reason. */
static int is_kept(const Promise *promise, char *detail) {
  int ends[2], status = 0;
  if (pipe(ends) != 0) exit(70);
  fflush(NULL);
  pid_t child = fork();
  if (child < 0) exit(70);
  if (child == 0) {
    detail_fd = ends[1];
    close(ends[0]);
    alarm(seconds);
    promise->check();
    _exit(kKept);
  }
  close(ends[1]);
  read_all(ends[0], detail, kDetailRoom);
  close(ends[0]);
  if (waitpid(child, &status, 0) < 0) exit(70);
  describe_end(status, detail);
  return WIFEXITED(status) && WEXITSTATUS(status) == kKept;
}

/* Prints a line for each promise of the group, and returns how many are broken. */
static size_t check_group(const Group *group) {
  size_t n_broken = 0;
  printf("%s\n", group->name);
  for (size_t i = 0; i < group->n_promises; i++) {
    const Promise *promise = &group->promises[i];
    char detail[kDetailRoom];
    if (is_kept(promise, detail)) {
      printf("  kept    %s %s\n", promise->service, promise->sentence);
    } else {
      printf("  BROKEN  %s %s\n          %s\n", promise->service, promise->sentence, detail);
      n_broken++;
    }
  }
  return n_broken;
}

static int show_usage(FILE *to) {
  fprintf(to,
          "usage: zar-platform-check [--seconds N] [GROUP ...]\n\n"
          "Checks whether the platform runtime that this program is linked with keeps the contract that the\n"
          "repository relies on. A promise whose check takes longer than N seconds (1 to %d, default 60) is\n"
          "broken. Without a GROUP, it checks all groups:\n",
          kMostSeconds);
  for (size_t i = 0; i < kGroups; i++)
    fprintf(to, "  '%s'\n", groups[i]->name);
  fprintf(to, "\nExit status: 0 if all promises are kept, 1 if at least one is broken, 2 for wrong usage.\n");
  return to == stdout ? 0 : 2;
}

static const Group *find_group(const char *name) {
  for (size_t i = 0; i < kGroups; i++) {
    if (strcmp(groups[i]->name, name) == 0) return groups[i];
  }
  return NULL;
}

/* Returns whether the text is a number of seconds. */
static int read_seconds(const char *text) {
  char *end;
  const unsigned long number = strtoul(text, &end, 10);
  if (!isdigit((unsigned char)*text) || *end || number < 1 || number > kMostSeconds) return 0;
  seconds = (unsigned)number;
  return 1;
}

int main(int n_arguments, char **arguments) {
  size_t n_broken = 0, n_promises = 0;
  const Group *chosen[kGroups];
  size_t n_chosen = 0;
  int first = 1;

  if (n_arguments == 2 && strcmp(arguments[1], "--help") == 0) return show_usage(stdout);
  if (n_arguments > 1 && strcmp(arguments[1], "--seconds") == 0) {
    if (n_arguments == 2 || !read_seconds(arguments[2])) return show_usage(stderr);
    first = 3;
  }
  if (n_arguments - first > kGroups) return show_usage(stderr);
  for (int i = first; i < n_arguments; i++) {
    chosen[n_chosen] = find_group(arguments[i]);
    if (!chosen[n_chosen++]) return show_usage(stderr);
  }
  if (n_chosen == 0) {
    memcpy(chosen, groups, sizeof groups);
    n_chosen = kGroups;
  }

  for (size_t i = 0; i < n_chosen; i++) {
    n_promises += chosen[i]->n_promises;
    n_broken += check_group(chosen[i]);
  }
  printf("%zu of %zu promises are kept\n", n_promises - n_broken, n_promises);
  return n_broken ? 1 : 0;
}
