#include <string.h>

#include "check.h"
#include "platform/runtime.h"

enum { kRoom = 8 };

/* Copies into a buffer that is followed by bytes that must stay as they are. */
static void gives(const char *from, size_t count, int is_success, const char *wanted) {
  char to[kRoom + 4];
  memset(to, '#', sizeof to);
  int result = strncpy_s(to, kRoom, from, count);
  EXPECT((result == 0) == is_success, "for '%s' and %zu characters it answered %d", from ? from : "(NULL)", count,
         result);
  EXPECT(memchr(to, '\0', kRoom) && strcmp(to, wanted) == 0,
         "for '%s' and %zu characters it left '%.*s' instead of '%s'", from ? from : "(NULL)", count, (int)kRoom, to,
         wanted);
  EXPECT(memcmp(to + kRoom, "####", 4) == 0, "it wrote behind the buffer");
}

static void copies(void) {
  gives("gold", kRoom, 1, "gold");
  gives("", kRoom, 1, "");
}

static void copies_what_just_fits(void) {
  gives("1234567", 100, 1, "1234567");
}

static void copies_no_more_than_asked(void) {
  gives("gold", 2, 1, "go");
  gives("golden goose", 6, 1, "golden");
}

static void refuses_what_does_not_fit(void) {
  gives("12345678", 100, 0, "");
  gives("golden goose", kRoom, 0, "");
}

static void refuses_null(void) {
  gives(NULL, kRoom, 0, "");
}

static const Promise promises[] = {
    {"strncpy_s", "copies a text with its end, and answers 0", copies},
    {"strncpy_s", "copies a text that just fits", copies_what_just_fits},
    {"strncpy_s", "copies no more characters than asked, and ends the text", copies_no_more_than_asked},
    {"strncpy_s", "answers non-zero and leaves an empty text when it does not fit", refuses_what_does_not_fit},
    {"strncpy_s", "answers non-zero and leaves an empty text for a NULL source", refuses_null},
};
const Group copying = {"copying", promises, COUNT_OF(promises)};
