// How a debug build observes each operation: the compiler calls these two functions at the beginning and at the end of
// every function of the library.
//
// The depth distinguishes the operation that a caller called from what runs inside it, including callbacks that call
// back into the library: in them, the records may be half changed. When the outermost operation ends, all noted records
// are checked against the invariants. The time of a pass grows with the number of records, so in a large repository it
// runs only after every n-th operation, and takes a fixed share of the total time.
//
// Checks run only while ZAR_CHECKS=on is set in the environment, as it is for the tests: a daemon that neglects a duty
// of callers, such as removing a map from its tree before deleting it, must get the documented results in every build.
#include <dlfcn.h>
#include <pthread.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/debug/calls.h"
#include "core/debug/invariants.h"
#include "core/debug/notes.h"

namespace zar::debug {

namespace {

// Up to this many records, every operation is followed by a pass. Above it, passes are rarer: for each
// kRecordsAnOperation records one more operation goes without a pass.
constexpr uint32_t kAlwaysChecked = 256;
constexpr uint32_t kRecordsAnOperation = 8;
constexpr int kStandardError = 2;

bool wanted;
bool checking;
uint32_t depth;
uint32_t unchecked_calls;
const void *operation;
bool called;
bool started;  // zar_init was called, perhaps before the checks were asked for
pthread_t caller;

[[noreturn]] void called_before_the_start() {
  dprintf(kStandardError, "zar: %s was called before zar_init: call zar_init once, before everything else\n",
          name_of_operation());
  std::abort();
}

[[noreturn]] void called_on_another_thread() {
  dprintf(kStandardError, "zar: %s was called on a different thread than the first operation\n", name_of_operation());
  std::abort();
}

bool pass_is_due() {
  uint32_t live = live_count();
  return live <= kAlwaysChecked || unchecked_calls > (live - kAlwaysChecked) / kRecordsAnOperation;
}

// Checks that continued silently would overlook records.
[[noreturn]] void ledger_is_full() {
  dprintf(kStandardError,
          "zar: the checks ran out of room after %u records and %u databases: run this without ZAR_CHECKS=on\n",
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
  const char *setting = std::getenv("ZAR_CHECKS");
  wanted = setting && std::strcmp(setting, "on") == 0;
  if (!called) caller = pthread_self();
  called = true;
  if (!started) started = std::strcmp(name_of_operation(), "zar_init") == 0;
  if (wanted && !started) called_before_the_start();
}

void enter(const void *function) {
  if (checking) return;
  if (depth == 0) begin(function);
  if (wanted && pthread_equal(pthread_self(), caller) == 0) called_on_another_thread();
  ++depth;
}

void leave() {
  if (!checking && --depth == 0 && wanted) check();
}

}  // namespace

bool checks_run() {
  return wanted;
}

// Operations called from outside are exported, and so have a name.
const char *name_of_operation() {
  const char *name = exported_name(operation);
  return name ? name : "a function that is not exported";
}

const char *exported_name(const void *address) {
  Dl_info found{};
  return dladdr(address, &found) != 0 && found.dli_saddr == address ? found.dli_sname : nullptr;
}

void broken(const char *record, int number, const char *format, ...) {
  dprintf(kStandardError, "zar: %s broke invariant %d of %s: ", name_of_operation(), number, record);
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
