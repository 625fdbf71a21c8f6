#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "check.h"
#include "platform/runtime.h"

enum { kErrors = 3, kInformation = 6, kModule = 1 };

static void result_is_constant(void) {
  for (uint32_t level = kErrors; level <= kInformation; level += kInformation - kErrors) {
    uint32_t first = btrace_module_test(kModule, level);
    for (int i = 0; i < 1000; i++) {
      uint32_t again = btrace_module_test(kModule, level);
      EXPECT((again != 0) == (first != 0), "for level %u it returned %u and then %u", level, first, again);
    }
  }
}

/* A runtime may print the messages below; they must not appear between the promises. This process traces no others. */
static void discard_output(void) {
  int nowhere = open("/dev/null", O_WRONLY);
  EXPECT(nowhere >= 0, "/dev/null cannot be opened");
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
}

/* All conversions in the library's messages. */
static void accepts_every_conversion(void) {
  int thing;
  discard_output();
  btrace_wrapper(kModule, kInformation, 0, "%s", "no conversion but this");
  btrace_wrapper(kModule, kInformation, 0, "%s: handle:0x%x pointer:0x%p", "check", 0xffffffffu, (void *)&thing);
  btrace_wrapper(kModule, kErrors, 0, "%s: number:%d, target:0x%lu", " ", -1, ~0ul);
}

static void accepts_long_texts(void) {
  static char text[20000];
  memset(text, 'x', sizeof text - 1);
  discard_output();
  btrace_wrapper(kModule, kErrors, 0, "name:%s", text);
  EXPECT(strlen(text) == sizeof text - 1, "it wrote to the caller's text");
}

static const Promise promises[] = {
    {"btrace_module_test", "returns the same result until the levels are changed", result_is_constant},
    {"btrace_wrapper", "accepts the conversions %s %d %x %p %lu", accepts_every_conversion},
    {"btrace_wrapper", "accepts texts of any length", accepts_long_texts},
};
const Group trace = {"trace", promises, COUNT_OF(promises)};
