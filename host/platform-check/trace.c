#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "check.h"
#include "platform/runtime.h"

enum { kErrors = 3, kInformation = 6, kModule = 1 };

static void answers_steadily(void) {
  for (uint32_t level = kErrors; level <= kInformation; level += kInformation - kErrors) {
    uint32_t first = btrace_module_test(kModule, level);
    for (int i = 0; i < 1000; i++) {
      uint32_t again = btrace_module_test(kModule, level);
      EXPECT((again != 0) == (first != 0), "for level %u it answered %u and then %u", level, first, again);
    }
  }
}

/* If the runtime printed the messages below, they would appear between the promises. This process traces no others. */
static void show_nothing(void) {
  int nowhere = open("/dev/null", O_WRONLY);
  EXPECT(nowhere >= 0, "/dev/null cannot be opened");
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
}

/* All conversions in the library's messages. */
static void takes_every_conversion(void) {
  int thing;
  show_nothing();
  btrace_wrapper(kModule, kInformation, 0, "%s", "no conversion but this");
  btrace_wrapper(kModule, kInformation, 0, "%s: handle:0x%x pointer:0x%p", "check", 0xffffffffu, (void *)&thing);
  btrace_wrapper(kModule, kErrors, 0, "%s: number:%d, target:0x%lu", " ", -1, ~0ul);
}

static void takes_long_texts(void) {
  static char text[20000];
  memset(text, 'x', sizeof text - 1);
  show_nothing();
  btrace_wrapper(kModule, kErrors, 0, "name:%s", text);
  EXPECT(strlen(text) == sizeof text - 1, "it wrote into the caller's text");
}

static const Promise promises[] = {
    {"btrace_module_test", "answers the same question alike until somebody changes the levels", answers_steadily},
    {"btrace_wrapper", "takes the conversions %s %d %x %p %lu", takes_every_conversion},
    {"btrace_wrapper", "takes texts of any length", takes_long_texts},
};
const Group trace = {"trace", promises, COUNT_OF(promises)};
