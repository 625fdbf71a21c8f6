/* What a check does with its own process. */
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "check.h"

enum { kRoom = 4096 };
enum { kMostHeldBack = 400 }; /* megabytes; the pieces are 600 */

/* There only if AddressSanitizer is: it holds back 256 MB of what was freed, several times that in small blocks. */
void __asan_init(void) __attribute__((weak));

char *zar_platform_check_lend(const char *text) {
  char *lent = mmap(NULL, kRoom, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  EXPECT(lent != MAP_FAILED && strlen(text) < kRoom, "this program could not prepare the text '%.40s'", text);
  return memcpy(lent, text, strlen(text) + 1);
}

/* The page stays reserved, so that nothing else moves there. */
void zar_platform_check_take_back(char *text) {
  EXPECT(mprotect(text, kRoom, PROT_NONE) == 0, "this program could not take a text back");
}

void zar_platform_check_has_not_grown(int most) {
  static long at_first;
  struct rusage usage;
  EXPECT(getrusage(RUSAGE_SELF, &usage) == 0, "this program could not learn how much memory it uses");
  if (at_first == 0) at_first = usage.ru_maxrss;
  long growth = (usage.ru_maxrss - at_first) / 1024;
  EXPECT(growth < (__asan_init ? kMostHeldBack : most),
         "the process has grown by %ld MB, though never more than %d bytes were in use", growth, kPiece);
}

void zar_platform_check_discard_output(void) {
  int nowhere = open("/dev/null", O_WRONLY);
  EXPECT(nowhere >= 0, "/dev/null cannot be opened");
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
}
