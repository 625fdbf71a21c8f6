/* What a check does with its own process. */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "check.h"

enum { kRoom = 4096 };
enum { kMostWithSanitizer = 150 }; /* megabytes; the pieces are 240 */

/* There only with a sanitizer: gives back what it holds back of the freed memory, hundreds of megabytes. */
void __sanitizer_purge_allocator(void) __attribute__((weak));

char *zar_platform_check_lend(const char *text) {
  char *lent = mmap(NULL, kRoom, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  EXPECT(lent != MAP_FAILED && strlen(text) < kRoom, "this program could not prepare the text '%.40s'", text);
  return memcpy(lent, text, strlen(text) + 1);
}

/* The page stays reserved, so that nothing else moves there. */
void zar_platform_check_take_back(char *text) {
  EXPECT(mprotect(text, kRoom, PROT_NONE) == 0, "this program could not take a text back");
}

static long resident_kilobytes(void) {
  long size = 0;
  long resident = 0;
  FILE *statm = fopen("/proc/self/statm", "r");
  int read = statm ? fscanf(statm, "%ld %ld", &size, &resident) : 0;
  if (statm) fclose(statm);
  EXPECT(read == 2, "this program could not learn how much memory it uses");
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

void zar_platform_check_has_not_grown(int most) {
  static long at_first;
  if (__sanitizer_purge_allocator) __sanitizer_purge_allocator();
  long now = resident_kilobytes();
  if (at_first == 0) at_first = now;
  long growth = (now - at_first) / 1024;
  EXPECT(growth < (__sanitizer_purge_allocator ? kMostWithSanitizer : most),
         "the process has grown by %ld MB, though never more than %d bytes were in use", growth, kPiece);
}

void zar_platform_check_discard_output(void) {
  int nowhere = open("/dev/null", O_WRONLY);
  EXPECT(nowhere >= 0, "/dev/null cannot be opened");
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
}
