// The control side of the stand-in platform runtime: what a test or the host may inspect and control. The library never
// includes this; it knows the runtime only through the imported services.
//
// One process has one runtime. All functions are for the one thread that calls the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

struct queue_head;

// The shared library exports only the declarations here and the services.
#pragma GCC visibility push(default)

namespace runtime {

// ---- What is live ---------------------------------------------------------------------------------------------------

// Ids that were issued and not deleted, over all tables, in the order of issue.
std::vector<uint32_t> live_ids();

struct PoolInfo {
  std::string name;        // empty for a pool created without a name
  uint32_t tag = 0;        // 0 for a pool created with a name
  size_t record_size = 0;  // bytes
  uint32_t per_chunk = 0;  // records
  uint32_t flags = 0;
  size_t live = 0;   // records in use
  size_t total = 0;  // records ever handed out
};
// Every pool, in the order of creation.
std::vector<PoolInfo> pools();
// Records in use, over all pools.
size_t live_records();

struct BlockCount {
  size_t blocks = 0;  // live
  size_t bytes = 0;   // live
  size_t total = 0;   // ever allocated
  bool operator==(const BlockCount &) const = default;
};
// Named allocation by tag: every tag that was ever used, including those with nothing live.
std::map<uint32_t, BlockCount> blocks_by_tag();
size_t live_blocks();

// The interned texts that are live, with their counts.
std::map<std::string, uint32_t> interned_texts();

// Queue entries that were allocated, because the element was already in a queue or the queue was long.
size_t live_queue_entries();

// Everything that is live, for a comparison of before and after. Tags and texts with nothing live are left out.
struct Inventory {
  size_t ids = 0;
  size_t records = 0;
  std::map<uint32_t, size_t> blocks;
  std::map<std::string, uint32_t> texts;
  size_t queue_entries = 0;  // those that were allocated
  bool empty() const { return ids == 0 && records == 0 && blocks.empty() && texts.empty() && queue_entries == 0; }
  bool operator==(const Inventory &) const = default;
};
Inventory inventory();
// One line per item, for messages.
std::string to_string(const Inventory &inventory);

// ---- Requests -------------------------------------------------------------------------------------------------------

// The services that can refuse a request. A long queue does without a cell for the next element: it only searches for
// that one.
enum class Service {
  id_table,
  id,
  pool,
  record,
  block,
  duplicate,
  text,
  tree_init,
  tree_insert,
  queue_entry,
  queue_cell
};
const char *to_string(Service service);

struct Request {
  Service service{};
  uint32_t tag = 0;  // 0 if the service takes none
  size_t size = 0;   // bytes: of a record, a block, or a text without its terminator
  std::string text;  // of a duplicate, an interned text, a named pool, an id table
  bool failed = false;
};
// Starts or stops the recording of requests; starting discards the recorded ones. Off at first.
void record_requests(bool on);
const std::vector<Request> &recorded_requests();

// Requests so far that were refused because there was no memory. Those that a schedule of faults refused do not count.
uint64_t requests_out_of_memory();

// A text removed from the string database while requests are recorded: the text and the tag of the removal.
struct TextRemoval {
  std::string text;
  uint32_t tag = 0;
};
const std::vector<TextRemoval> &recorded_text_removals();

// ---- Faults ---------------------------------------------------------------------------------------------------------

enum class Fault { once, from_then_on };
// The 'nth' fallible request from now on fails (1: the next), of any service or of one. A later call replaces the
// schedule; each service may have its own schedule in addition to the one for any service.
void fail_request(uint64_t nth, Fault mode = Fault::once);
void fail_request(Service service, uint64_t nth, Fault mode = Fault::once);
void clear_faults();
// Fallible requests so far, whether they failed or not; of any service, or of one.
uint64_t fallible_requests();
uint64_t fallible_requests(Service service);
// Requests that failed because of a schedule.
uint64_t injected_faults();
// The next look-up of a live id returns status 0 with a NULL pointer, as a corrupted table would.
void lose_next_pointer();
// Tree deletions and searches are not fallible requests; the next deletion can still be made to fail.
void fail_next_tree_delete();

// ---- Misuse ---------------------------------------------------------------------------------------------------------

// Misuse of the services by callers (a record returned twice, a predecessor that is not in the queue, a text removed
// more often than added, ...), oldest first. Tests assert that it is empty.
const std::vector<std::string> &complaints();
void clear_complaints();

// ---- Trace ----------------------------------------------------------------------------------------------------------

struct TraceLine {
  uint32_t module = 0;
  uint32_t level = 0;
  std::string format;  // as the library passed it
  std::string text;    // formatted
};
// The wanted levels, one bit for each level (0 to 31). 0 at first: off.
void want_trace_levels(uint32_t bits);
uint32_t wanted_trace_levels();
// Where wanted messages go: all sinks that are set. None at first.
void trace_to_stderr(bool on);
// Appends to 'path'; an empty path ends this. False if the file cannot be opened.
bool trace_to_file(const std::string &path);
void trace_to(std::function<void(const TraceLine &)> sink);

// Which of the wanted messages go on, to the sinks and to the kept lines. A pattern is one of a shell; it matches the
// category or the subject of a message: "(ERR): store_policy: Error: ..." has the category "ERR" and the subject
// "store_policy", "(info): PMAP avl: get next, ..." has "info" and "PMAP avl".
struct TraceFilter {
  std::vector<std::string> only;     // empty: every message
  std::vector<std::string> without;  // these not, even if 'only' matches
};
void filter_trace(TraceFilter filter);

// Keeps the last 'n_lines' lines in memory, up to 247 characters of each, and counts all by category and subject; 0 ends
// this and forgets them. A debugger finds both in a core file. False if there is no memory, and nothing has changed.
bool keep_trace_lines(size_t n_lines);
std::vector<std::string> kept_trace_lines();
// By category and subject, such as "ERR store_policy"; the 256th and all further ones are counted as "(others)".
std::map<std::string, uint64_t> trace_counts();

// ---- Queues -----------------------------------------------------------------------------------------------------------

// The elements of a queue, without changing anything (for tests and displays).
std::vector<void *> elements(const void *queue_head);

// Empties a queue that is about to be discarded, so that its elements are free for other queues. The owner of a target
// list calls this while the elements still exist, then frees the list. If a list is freed without it, its elements stay
// marked as queued: they can still be queued again, but every entry must then be allocated, and the entries that the
// list had allocated are lost.
void abandon(queue_head *queue);

}  // namespace runtime

#pragma GCC visibility pop
