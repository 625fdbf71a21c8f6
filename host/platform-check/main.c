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

static const Group *const groups[] = {
    &zar_platform_check_ids,     &zar_platform_check_pools, &zar_platform_check_trees,
    &zar_platform_check_queues,  &zar_platform_check_texts, &zar_platform_check_allocation,
    &zar_platform_check_copying, &zar_platform_check_trace, &zar_platform_check_engine,
};
enum { kGroups = sizeof groups / sizeof groups[0] };

/*
 * What a runtime needs before its first service, if anything. A program may define it; it is called at the beginning of
 * the process of each check.
 */
void zar_platform_check_set_up(void);
#pragma weak zar_platform_check_set_up

/* The process of a check writes to this file descriptor how the promise was broken. */
static int detail_fd;

void zar_platform_check_broken(const char *format, ...) {
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
    if (zar_platform_check_set_up) zar_platform_check_set_up();
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

static int is_linked(const Group *group) {
  return !group->is_linked || group->is_linked();
}

static void print_promise(const char *before, const Group *group, const Promise *promise) {
  printf("%s%s.%d %s %s\n", before, group->prefix, promise->number, promise->service, promise->sentence);
}

/* What was checked. */
typedef struct Result {
  size_t n_promises, n_broken;
} Result;

/* Prints a line for each promise of the group. */
static void check_group(const Group *group, Result *result) {
  printf("%s%s\n", group->name, is_linked(group) ? "" : ": not linked with this program, not checked");
  if (!is_linked(group)) return;
  result->n_promises += group->n_promises;
  for (size_t i = 0; i < group->n_promises; i++) {
    char detail[kDetailRoom];
    int kept = is_kept(&group->promises[i], detail);
    print_promise(kept ? "  kept    " : "  BROKEN  ", group, &group->promises[i]);
    if (!kept) printf("          %s\n", detail);
    result->n_broken += !kept;
  }
}

static int list_promises(void) {
  for (size_t i = 0; i < kGroups; i++) {
    for (size_t j = 0; j < groups[i]->n_promises; j++)
      print_promise("", groups[i], &groups[i]->promises[j]);
  }
  return 0;
}

static int show_usage(FILE *to) {
  fprintf(to,
          "usage: zar-platform-check [--seconds N] [GROUP ...]\n"
          "       zar-platform-check --list\n\n"
          "Checks whether the platform runtime that this program is linked with keeps the contract that the\n"
          "repository relies on. A promise whose check takes longer than N seconds (1 to %d, default 60) is\n"
          "broken. Without a GROUP, it checks all groups; the engine only if the program is linked with one:\n",
          kMostSeconds);
  for (size_t i = 0; i < kGroups; i++)
    fprintf(to, "  '%s'\n", groups[i]->name);
  fprintf(to, "\n--list prints all promises, with their numbers, and checks none.\n");
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

/* Finds the groups that were asked for. Returns how many there are, or 0 if one of them does not exist. */
static size_t choose_groups(int n_names, char **names, const Group **chosen) {
  if (n_names > kGroups) return 0;
  if (n_names == 0) memcpy(chosen, groups, sizeof groups);
  for (int i = 0; i < n_names; i++) {
    chosen[i] = find_group(names[i]);
    if (!chosen[i]) return 0;
  }
  return n_names == 0 ? kGroups : (size_t)n_names;
}

static int check_groups(const Group **chosen, size_t n_chosen) {
  Result result = {0, 0};
  for (size_t i = 0; i < n_chosen; i++)
    check_group(chosen[i], &result);
  printf("%zu of %zu promises are kept\n", result.n_promises - result.n_broken, result.n_promises);
  return result.n_broken ? 1 : 0;
}

int main(int n_arguments, char **arguments) {
  const Group *chosen[kGroups];
  int first = 1;

  if (n_arguments == 2 && strcmp(arguments[1], "--help") == 0) return show_usage(stdout);
  if (n_arguments == 2 && strcmp(arguments[1], "--list") == 0) return list_promises();
  if (n_arguments > 1 && strcmp(arguments[1], "--seconds") == 0) {
    if (n_arguments == 2 || !read_seconds(arguments[2])) return show_usage(stderr);
    first = 3;
  }
  size_t n_chosen = choose_groups(n_arguments - first, arguments + first, chosen);
  if (n_chosen == 0) return show_usage(stderr);
  if (n_chosen == 1 && !is_linked(chosen[0])) {
    fprintf(stderr, "zar-platform-check: this program is not linked with an engine\n");
    return 2;
  }
  return check_groups(chosen, n_chosen);
}
