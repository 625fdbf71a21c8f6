#include <string.h>

#include "check.h"
#include "platform/runtime.h"

enum { kRoom = 8 };

static void copy_results_in(const char *from, size_t count, int is_success, const char *wanted) {
  char to[kRoom + 4];
  memset(to, '#', sizeof to);
  int result = strncpy_s(to, kRoom, from, count);
  EXPECT((result == 0) == is_success, "for '%s' and %zu characters, it returned %d", from ? from : "(NULL)", count,
         result);
  EXPECT(memchr(to, '\0', kRoom) && strcmp(to, wanted) == 0,
         "for '%s' and %zu characters, it left '%.*s' instead of '%s'", from ? from : "(NULL)", count, (int)kRoom, to,
         wanted);
}

static void copies(void) {
  copy_results_in("gold", kRoom, 1, "gold");
  copy_results_in("", kRoom, 1, "");
}

static void copies_what_just_fits(void) {
  copy_results_in("1234567", 100, 1, "1234567");
}

static void copies_no_more_than_requested(void) {
  copy_results_in("gold", 2, 1, "go");
  copy_results_in("golden goose", 6, 1, "golden");
}

static void refuses_what_does_not_fit(void) {
  copy_results_in("12345678", 100, 0, "");
  copy_results_in("golden goose", kRoom, 0, "");
}

static void refuses_null(void) {
  copy_results_in(NULL, kRoom, 0, "");
}

static void writes_only_to_the_buffer(void) {
  static const char *const texts[] = {"", "gold", "1234567", "12345678", "golden goose"};
  for (size_t i = 0; i < COUNT_OF(texts); i++) {
    char to[kRoom + 4];
    memset(to, '#', sizeof to);
    strncpy_s(to + 2, kRoom, texts[i], 100);
    EXPECT(memcmp(to, "##", 2) == 0, "for '%s', it wrote before the buffer", texts[i]);
    EXPECT(memcmp(to + 2 + kRoom, "##", 2) == 0, "for '%s', it wrote past the end of the buffer", texts[i]);
  }
}

static const Promise promises[] = {
    {1, "strncpy_s", "copies a text with its terminator and returns 0, the empty text too", copies},
    {2, "strncpy_s", "copies a text that just fits", copies_what_just_fits},
    {3, "strncpy_s", "copies no more characters than requested, and terminates the text",
     copies_no_more_than_requested},
    {4, "strncpy_s", "returns non-zero and leaves an empty text if the text does not fit", refuses_what_does_not_fit},
    {5, "strncpy_s", "returns non-zero and leaves an empty text if the source is NULL", refuses_null},
    {6, "strncpy_s", "writes only to the buffer", writes_only_to_the_buffer},
};
const Group zar_platform_check_copying = {"copying", "copy", promises, COUNT_OF(promises), NULL};
