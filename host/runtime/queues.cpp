// Queues that may contain an element several times, and may share elements.
//
// An element has one link word, which is enough for one entry. So an entry of a queue is either the element itself,
// linked through its own word, or, if that word is in use, an allocated cell that points to the element. The lowest bit
// in the words of heads, links and cells says which it is; no pointer to an element has that bit.
//
// 1. An element's link word is 0 exactly while no entry uses it. The last entry of a queue therefore links to kEnd.
// 2. An empty queue has head 0 and tail 0; a queue head of zeros is one.
// 3. An element that is in no queue is entered without an allocation; any other needs a cell, whose allocation can
//    fail.
//
// It does not matter which entry is the element itself: when that one is removed, the cells stay as they are, and the
// next entry uses the word again. If a word stays in use forever, because a list was discarded while full, this costs
// cells but does no harm: it is followed only from that list.
#include "host/runtime/monitor.h"
#include "host/runtime/record_store.h"
#include "host/runtime/services.h"

using namespace runtime;

namespace {

constexpr uint32_t kErrorLevel = 3;

struct Cell {
  void *element;
  void *next;
};

struct Cells {
  RecordStore store{sizeof(Cell), 64};
};

RecordStore &cells() {
  return immortal<Cells>().store;
}

// The values of links: an element, a cell with its lowest bit set, the end, or nothing.
class Entry {
 public:
  constexpr Entry() = default;
  explicit Entry(void *word) : word_(reinterpret_cast<uintptr_t>(word)) {}
  static Entry of_cell(Cell *cell) { return Entry(reinterpret_cast<char *>(cell) + kCellBit); }
  static Entry end() {
    Entry entry;
    entry.word_ = kEnd;
    return entry;
  }

  void *word() const { return reinterpret_cast<void *>(word_); }
  explicit operator bool() const { return word_ != 0 && word_ != kEnd; }
  bool is_end() const { return word_ == kEnd; }
  bool operator==(const Entry &) const = default;

  void *element() const { return is_cell() ? cell()->element : word(); }
  Entry next() const { return Entry(link()); }
  void set_next(Entry next) { link() = next.word(); }

  // Frees the element's word, or the cell.
  void release() {
    if (is_cell())
      cells().give(cell());
    else
      link() = nullptr;
  }

 private:
  static constexpr uintptr_t kCellBit = 1, kEnd = 2;

  bool is_cell() const { return (word_ & kCellBit) != 0; }
  Cell *cell() const { return reinterpret_cast<Cell *>(word_ - kCellBit); }
  void *&link() const { return is_cell() ? cell()->next : static_cast<queue_link *>(word())->next; }

  uintptr_t word_ = 0;
};

// An entry for 'element' that is not linked yet; none if there is no memory for it.
Entry new_entry(void *element) {
  if (!static_cast<queue_link *>(element)->next) [[likely]]
    return Entry(element);
  Cell *cell = refused(Service::queue_entry, 0, sizeof(Cell)) ? nullptr : static_cast<Cell *>(cells().take());
  if (!cell) {
    note_out_of_memory();
    btrace_wrapper(0, kErrorLevel, 0, "(ERR): queue: no memory to queue %p once more\n", element);
    return {};
  }
  cell->element = element;
  return Entry::of_cell(cell);
}

// Whether 'element' may be entered; otherwise records the reason.
bool may_enter(const queue_head *queue, const void *element) {
  if (!queue || !element) {
    complain("%p was put into the queue %p", element, static_cast<const void *>(queue));
    return false;
  }
  if (queue->limit == 0 || queue->count < queue->limit) [[likely]]
    return true;
  btrace_wrapper(0, kErrorLevel, 0, "(ERR): queue: %p is full with %u elements, %p is not queued\n",
                 static_cast<const void *>(queue), queue->limit, element);
  complain("%p was put into the full queue %p", element, static_cast<const void *>(queue));
  return false;
}

void link_first(queue_head &queue, Entry entry) {
  entry.set_next(queue.head ? Entry(queue.head) : Entry::end());
  queue.head = entry.word();
  if (!queue.tail) queue.tail = queue.head;
  ++queue.count;
}

void link_after(queue_head &queue, Entry predecessor, Entry entry) {
  entry.set_next(predecessor.next());
  predecessor.set_next(entry);
  if (entry.next().is_end()) queue.tail = entry.word();
  ++queue.count;
}

void link_last(queue_head &queue, Entry entry) {
  if (queue.tail)
    link_after(queue, Entry(queue.tail), entry);
  else
    link_first(queue, entry);
}

// 'predecessor' is none if 'entry' is the head.
void unlink(queue_head &queue, Entry predecessor, Entry entry) {
  Entry next = entry.next();
  if (predecessor)
    predecessor.set_next(next);
  else
    queue.head = next ? next.word() : nullptr;
  if (!next) queue.tail = predecessor.word();
  --queue.count;
  entry.release();
}

struct Found {
  Entry predecessor;
  Entry entry;  // none: absent
};

Found find_first(const queue_head &queue, const void *element) {
  Found found;
  for (found.entry = Entry(queue.head); found.entry; found.entry = found.entry.next()) {
    if (found.entry.element() == element) return found;
    found.predecessor = found.entry;
  }
  return {};
}

}  // namespace

void queue_init(queue_head *queue, uint32_t limit) {
  if (queue) *queue = {nullptr, nullptr, 0, limit};
}

void queue_enqueue(queue_head *queue, void *element) {
  if (!may_enter(queue, element)) return;
  if (Entry entry = new_entry(element)) link_last(*queue, entry);
}

void queue_requeue(queue_head *queue, void *element) {
  if (!may_enter(queue, element)) return;
  if (Entry entry = new_entry(element)) link_first(*queue, entry);
}

void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  if (!may_enter(queue, element)) return;
  Entry after = find_first(*queue, predecessor).entry;
  // It is better to put an element with an unknown position at the tail than to drop it.
  if (!after) complain("%p was put after %p, which is not in the queue", element, predecessor);
  Entry entry = new_entry(element);
  if (!entry) return;
  if (after)
    link_after(*queue, after, entry);
  else
    link_last(*queue, entry);
}

void *queue_dequeue(queue_head *queue) {
  if (!queue || !queue->head) return nullptr;
  Entry first(queue->head);
  void *element = first.element();
  unlink(*queue, {}, first);
  return element;
}

void queue_unqueue(queue_head *queue, void *element) {
  if (!queue || !element) return;
  if (Found found = find_first(*queue, element); found.entry) unlink(*queue, found.predecessor, found.entry);
}

void *queue_get_next(const queue_head *queue, queue_cursor *cursor) {
  if (!queue || !cursor) return nullptr;
  Entry at(cursor->position);
  if (at.is_end()) return nullptr;
  Entry next = at ? at.next() : Entry(queue->head);
  // A cursor at the last element stays there, since that element may be gone by the next call.
  cursor->position = next ? next.word() : Entry::end().word();
  return next ? next.element() : nullptr;
}

namespace runtime {

size_t live_queue_entries() {
  return cells().live();
}

std::vector<void *> elements(const void *queue) {
  std::vector<void *> result;
  if (!queue) return result;
  for (Entry entry(static_cast<const queue_head *>(queue)->head); entry; entry = entry.next())
    result.push_back(entry.element());
  return result;
}

void abandon(queue_head *queue) {
  while (queue_dequeue(queue)) {
  }
}

}  // namespace runtime
