// Queues that may contain an element several times, and may share elements.
//
// An element has one link word, which is enough for one entry. So an entry is either the element itself, linked through
// its own word, or an allocated cell that points to the element. Cells serve in two cases:
// - the element's word is in use: the element has another entry;
// - the queue is long. Its cells know their predecessors, and the element's word points to its cell: this element is
//   found and removed without a search, which matters for a policy-map's 60,000 targets.
// The low bits of a word say what it is; no pointer to an element or a cell has any of them.
//
// 1. While no entry uses an element's word, it is 0, or kFormer if the element may have cells that its word does not
//    show. The last entry of a queue links to kEnd.
// 2. An empty queue has head 0 and tail 0; a queue head of zeros is one.
// 3. An element that is in no queue can always be entered: a long queue can do without the cell. A further entry needs
//    one, whose allocation can fail.
// 4. An element whose word points to its cell has no other entry, or the cell does not name its queue.
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

// From this number of elements on, a queue is long: a search costs more than a cell.
constexpr uint32_t kLong = 32;

// The lowest bits of words. An entry is an element (no bit) or a cell.
constexpr uintptr_t kBits = 7;
constexpr uintptr_t kCell = 1;    // the address of a cell: an entry
constexpr uintptr_t kEnd = 2;     // alone: after the last entry
constexpr uintptr_t kOwn = 4;     // the address of the cell that is this element's entry in a long queue
constexpr uintptr_t kFormer = 6;  // alone: no entry uses the word

struct Cell;

class Entry {
 public:
  constexpr Entry() = default;
  explicit Entry(void *word) : word_(reinterpret_cast<uintptr_t>(word)) {}
  static Entry of_cell(const Cell *cell) { return Entry(reinterpret_cast<uintptr_t>(cell) | kCell); }
  static Entry end() { return Entry(kEnd); }

  void *word() const { return reinterpret_cast<void *>(word_); }
  explicit operator bool() const { return word_ != 0 && word_ != kEnd; }
  bool is_end() const { return word_ == kEnd; }
  bool operator==(const Entry &) const = default;

  // NULL if the entry is the element itself, or is none.
  Cell *cell() const { return (word_ & kCell) != 0 ? reinterpret_cast<Cell *>(word_ - kCell) : nullptr; }
  inline void *element() const;
  Entry next() const { return Entry(link()); }
  void set_next(Entry next) { link() = next.word(); }
  inline void set_predecessor(Entry predecessor) const;

  // Frees the element's word, or the cell.
  inline void release() const;

 private:
  explicit Entry(uintptr_t word) : word_(word) {}
  inline void *&link() const;

  uintptr_t word_ = 0;
};

struct Cell {
  void *element;
  void *next;
  Entry predecessor;        // none: this is the head
  const queue_head *queue;  // NULL unless the element's word points here; kUnknown if the element has other entries
};

constexpr queue_head kUnknown = {};

struct Cells {
  RecordStore store{sizeof(Cell), 64};
  uint32_t n_further = 0;  // cells to which no element's word points
};

Cells &cells() {
  return immortal<Cells>();
}

// ---- The link word of an element

uintptr_t word_of(const void *element) {
  return reinterpret_cast<uintptr_t>(static_cast<const queue_link *>(element)->next);
}
void set_word(void *element, uintptr_t word) {
  static_cast<queue_link *>(element)->next = reinterpret_cast<void *>(word);
}
bool is_unused(uintptr_t word) {
  return word == 0 || word == kFormer;
}
void free_word(void *element) {
  set_word(element, cells().n_further == 0 ? 0 : kFormer);
}

// The cell to which the element's word points, or NULL. The memory may be no element, and its word anything.
Cell *own_cell(const void *element) {
  const uintptr_t word = word_of(element);
  if ((word & kBits) != kOwn) return nullptr;
  auto *cell = reinterpret_cast<Cell *>(word - kOwn);
  return cells().store.is_out(cell) && cell->element == element ? cell : nullptr;
}

// ---- Entries

void *Entry::element() const {
  const Cell *own = cell();
  return own ? own->element : word();
}
void *&Entry::link() const {
  Cell *own = cell();
  return own ? own->next : static_cast<queue_link *>(word())->next;
}
void Entry::set_predecessor(Entry predecessor) const {
  if (Cell *own = cell()) own->predecessor = predecessor;
}
void Entry::release() const {
  Cell *const own = cell();
  if (!own) return free_word(word());
  if (own->queue)
    free_word(own->element);
  else
    --cells().n_further;
  cells().store.give_without_search(own);
}

Cell *new_cell(Service service, void *element, const queue_head *queue) {
  if (refused(service, 0, sizeof(Cell))) return nullptr;
  auto *cell = static_cast<Cell *>(cells().store.take());
  if (cell) *cell = {.element = element, .next = nullptr, .predecessor = {}, .queue = queue};
  return cell;
}

Entry further_entry(void *element) {
  const Cell *cell = new_cell(Service::queue_entry, element, nullptr);
  if (!cell) {
    note_out_of_memory();
    btrace_wrapper(0, kErrorLevel, 0, "(ERR): queue: no memory to queue %p once more\n", element);
    return {};
  }
  ++cells().n_further;
  if (Cell *own = own_cell(element)) own->queue = &kUnknown;
  return Entry::of_cell(cell);
}

// An entry for 'element' that is not linked yet; none if there is no memory for it.
Entry new_entry(const queue_head &queue, void *element) {
  const uintptr_t word = word_of(element);
  if (!is_unused(word)) return further_entry(element);
  if (queue.count < kLong || word == kFormer) [[likely]]
    return Entry(element);
  Cell *cell = new_cell(Service::queue_cell, element, &queue);
  if (!cell) return Entry(element);
  set_word(element, reinterpret_cast<uintptr_t>(cell) | kOwn);
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
  entry.set_predecessor({});
  entry.next().set_predecessor(entry);
  queue.head = entry.word();
  if (!queue.tail) queue.tail = queue.head;
  ++queue.count;
}

void link_after(queue_head &queue, Entry predecessor, Entry entry) {
  entry.set_next(predecessor.next());
  predecessor.set_next(entry);
  entry.set_predecessor(predecessor);
  entry.next().set_predecessor(entry);
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
  next.set_predecessor(predecessor);
  --queue.count;
  entry.release();
}

struct Found {
  Entry predecessor;
  Entry entry;  // none: absent
};

Found find_first(const queue_head &queue, const void *element) {
  if (queue.count > kLong)
    if (const Cell *cell = own_cell(element); cell && cell->queue == &queue)
      return {cell->predecessor, Entry::of_cell(cell)};
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
  if (Entry entry = new_entry(*queue, element)) link_last(*queue, entry);
}

void queue_requeue(queue_head *queue, void *element) {
  if (!may_enter(queue, element)) return;
  if (Entry entry = new_entry(*queue, element)) link_first(*queue, entry);
}

void queue_insqueue(queue_head *queue, void *element, void *predecessor) {
  if (!may_enter(queue, element)) return;
  Entry after = find_first(*queue, predecessor).entry;
  // It is better to put an element with an unknown position at the tail than to drop it.
  if (!after) complain("%p was put after %p, which is not in the queue", element, predecessor);
  Entry entry = new_entry(*queue, element);
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
  return cells().store.live();
}

std::vector<void *> elements(const void *queue) {
  std::vector<void *> result;
  if (!queue) return result;
  for (Entry entry(static_cast<const queue_head *>(queue)->head); entry; entry = entry.next())
    result.push_back(entry.element());
  return result;
}

void abandon(queue_head *queue) {
  if (!queue) return;
  for (Entry entry(queue->head); entry;) {
    const Entry next = entry.next();
    entry.release();
    entry = next;
  }
  queue_init(queue, queue->limit);
}

}  // namespace runtime
