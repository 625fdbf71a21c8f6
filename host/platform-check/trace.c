#include <string.h>

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

/* All conversions in the library's messages, with and without a line end. */
static void accepts_every_conversion(void) {
  int thing;
  zar_platform_check_discard_output();
  btrace_wrapper(kModule, kInformation, 0, "%s", "no conversion but this");
  btrace_wrapper(kModule, kInformation, 0, "%s: handle:0x%x pointer:0x%p\n", "check", 0xffffffffu, (void *)&thing);
  btrace_wrapper(kModule, kErrors, 0, "%s: number:%d, target:0x%lu, handle %u", " ", -1, ~0ul, 0xffffffffu);
}

static void accepts_long_texts(void) {
  static char text[20000];
  memset(text, 'x', sizeof text - 1);
  zar_platform_check_discard_output();
  btrace_wrapper(kModule, kErrors, 0, "name:%s", text);
  EXPECT(strlen(text) == sizeof text - 1, "it wrote to the caller's text");
}

static void values_are_not_kept(void) {
  char *text = zar_platform_check_lend("gold");
  zar_platform_check_discard_output();
  btrace_wrapper(kModule, kErrors, 0, "%s", text);
  zar_platform_check_take_back(text);
  btrace_wrapper(kModule, kErrors, 0, "%s", "silver");
}

static const Promise promises[] = {
    {1, "btrace_module_test", "returns the same result until the levels are changed", result_is_constant},
    {2, "btrace_wrapper", "accepts the conversions %s %d %u %x %p %lu, with and without a line end",
     accepts_every_conversion},
    {3, "btrace_wrapper", "accepts texts of any length", accepts_long_texts},
    {4, "btrace_wrapper", "needs the values only during the call", values_are_not_kept},
};
const Group zar_platform_check_trace = {"trace", "trace", promises, COUNT_OF(promises), NULL};
