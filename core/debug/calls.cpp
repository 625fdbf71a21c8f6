// Where a debug build looks at each operation from outside: the compiler calls these two functions at the begin and at the
// end of every function of the library.
//
// The depth tells the operation that a caller called from what runs inside it, callbacks that call back into the library
// included: in there the records may be half changed. When the outermost operation ends, all that is noted is checked
// against the invariants. A pass takes as long as there are records, so in a large repository it comes after every so
// many operations, and the time that it takes is a fixed share of the whole.
//
// Checked is what is called while ZAR_CHECKS=on stands in the environment, as it does for the tests: a daemon that leaves
// out what callers owe, such as taking a map out of its tree before it is deleted, has to get the described answers of
// any build.
#include <dlfcn.h>
#include <pthread.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/debug/invariants.h"
#include "core/debug/notes.h"

namespace zar::debug {

namespace {

// Up to so many records there is a pass after every operation. What is above makes passes rarer: one more operation goes
// by without a pass for this many records.
constexpr uint32_t kAlwaysChecked = 256;
constexpr uint32_t kRecordsAnOperation = 8;
constexpr int kStandardError = 2;

bool wanted;
bool checking;
uint32_t depth;
uint32_t unchecked_calls;
const void *operation;
bool called;
pthread_t caller;

// What is called from outside is exported, and so has a name.
const char *name_of_operation() {
  Dl_info found{};
  dladdr(operation, &found);
  return found.dli_sname;
}

[[noreturn]] void called_from_elsewhere() {
  dprintf(kStandardError, "zar: %s was called from another thread than the first operation\n", name_of_operation());
  std::abort();
}

bool pass_is_due() {
  uint32_t live = live_count();
  return live <= kAlwaysChecked || unchecked_calls > (live - kAlwaysChecked) / kRecordsAnOperation;
}

// Checks that went on without a word would pass on what they cannot know.
[[noreturn]] void ledger_is_full() {
  dprintf(kStandardError,
          "zar: the checks have no room after %u records and %u databases: run this without ZAR_CHECKS=on\n",
          noted_count(), database_count());
  std::abort();
}

void check() {
  ++unchecked_calls;
  if (overflowed()) ledger_is_full();
  if (!pass_is_due()) return;
  checking = true;
  check_invariants(unchecked_calls == 1);
  checking = false;
  unchecked_calls = 0;
}

void begin(const void *function) {
  operation = function;
  const char *wish = std::getenv("ZAR_CHECKS");
  wanted = wish && std::strcmp(wish, "on") == 0;
  if (!called) caller = pthread_self();
  called = true;
}

void enter(const void *function) {
  if (checking) return;
  if (depth == 0) begin(function);
  if (wanted && pthread_equal(pthread_self(), caller) == 0) called_from_elsewhere();
  ++depth;
}

void leave() {
  if (!checking && --depth == 0 && wanted) check();
}

}  // namespace

void broken(const char *record, int number, const char *format, ...) {
  dprintf(kStandardError, "zar: %s left invariant %d of %s broken: ", name_of_operation(), number, record);
  va_list values;
  va_start(values, format);
  vdprintf(kStandardError, format, values);
  va_end(values);
  dprintf(kStandardError, unchecked_calls == 1 ? "\n" : " (or one of the %u operations before it did)\n",
          unchecked_calls - 1);
  std::abort();
}

}  // namespace zar::debug

// The names are the compiler's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void __cyg_profile_func_enter(void *function, void *call_site);
extern "C" void __cyg_profile_func_exit(void *function, void *call_site);

extern "C" void __cyg_profile_func_enter(void *function, void *) {
  zar::debug::enter(function);
}
extern "C" void __cyg_profile_func_exit(void *, void *) {
  zar::debug::leave();
}
// NOLINTEND(bugprone-reserved-identifier)
