// Platform queues as typed lists.
#pragma once

#include "core/under_way.h"
#include "platform/runtime.h"

namespace zar {

// The elements of a queue in order. Even if the queue changes during the walk, no removed element is returned, and each
// one that stays is returned once.
template <class Record>
class Elements {
 public:
  explicit Elements(const queue_head &queue) : walk_(queue) {}

  // Whether the current element is still in the queue.
  bool stays() const { return walk_.stays(); }

  class Iterator {
   public:
    explicit Iterator(QueueWalk &walk) : walk_(&walk), current_(walk.next()) {}
    Record &operator*() const { return *static_cast<Record *>(current_); }
    Iterator &operator++() {
      current_ = walk_->next();
      return *this;
    }
    bool operator!=(decltype(nullptr)) const { return current_ != nullptr; }

   private:
    QueueWalk *walk_;
    void *current_;
  };

  Iterator begin() { return Iterator(walk_); }
  decltype(nullptr) end() const { return nullptr; }

 private:
  QueueWalk walk_;
};

inline void make_empty(queue_head &queue) {
  queue_init(&queue, 0);
}

// The position of the first occurrence of 'element', or the number of elements if there is none.
inline int32_t place_of(const queue_head &queue, const void *element) {
  const auto count = static_cast<int32_t>(queue.count);
  queue_cursor cursor{};
  int32_t place = 0;
  while (place < count && queue_get_next(&queue, &cursor) != element)
    ++place;
  return place;
}

inline void note_insertion(const queue_head &queue, int32_t place) {
  QueueWalk::for_each([&queue, place](QueueWalk &walk) {
    if (walk.is_over(queue)) walk.note_insertion(place);
  });
}
inline void note_removal(const queue_head &queue, int32_t place) {
  QueueWalk::for_each([&queue, place](QueueWalk &walk) {
    if (walk.is_over(queue)) walk.note_removal(place);
  });
}

// No walk visits elements added after the last one.
template <class Record>
void append(queue_head &queue, Record *element) {
  queue_enqueue(&queue, element);
}
template <class Record>
void prepend(queue_head &queue, Record *element) {
  const uint32_t count = queue.count;
  queue_requeue(&queue, element);
  if (queue.count != count) note_insertion(queue, 0);
}
template <class Record>
void insert_after(queue_head &queue, Record *predecessor, Record *element) {
  const uint32_t count = queue.count;
  queue_insqueue(&queue, element, predecessor);
  if (queue.count != count && is_walked(queue)) [[unlikely]]
    note_insertion(queue, place_of(queue, predecessor) + 1);
}
// Removes the first occurrence of the element; returns whether there was one.
template <class Record>
bool unlink(queue_head &queue, Record *element) {
  const uint32_t count = queue.count;
  if (!is_walked(queue)) [[likely]] {
    queue_unqueue(&queue, element);
    return queue.count != count;
  }
  const int32_t place = place_of(queue, element);
  queue_unqueue(&queue, element);
  if (queue.count == count) return false;
  note_removal(queue, place);
  return true;
}
// Removes and returns the head, or returns NULL.
template <class Record>
Record *take_first(queue_head &queue) {
  void *head = queue_dequeue(&queue);
  if (head) note_removal(queue, 0);
  return static_cast<Record *>(head);
}

// The first element that 'wanted' accepts, or NULL. An element that 'wanted' removes is not returned.
template <class Record, class Wanted>
Record *find(const queue_head &queue, Wanted wanted) {
  Elements<Record> elements(queue);
  for (Record &element : elements)
    if (wanted(element) && elements.stays()) return &element;
  return nullptr;
}
// Whether 'wanted' accepts an element, even if it then removes it.
template <class Record, class Wanted>
bool any(const queue_head &queue, Wanted wanted) {
  for (Record &element : Elements<Record>(queue))
    if (wanted(element)) return true;
  return false;
}
template <class Record>
Record *find_handle(const queue_head &queue, uint32_t handle) {
  return find<Record>(queue, [handle](const Record &element) { return element.handle == handle; });
}
template <class Record>
Record *first(const queue_head &queue) {
  return find<Record>(queue, [](const Record &) { return true; });
}

// The element that follows the first one with 'handle'.
template <class Record>
struct Successor {
  Record *current = nullptr;  // NULL: no element has the handle
  Record *next = nullptr;     // NULL: it is the last
};
template <class Record, class Wanted>
Successor<Record> find_with_next(const queue_head &queue, Wanted wanted) {
  Successor<Record> result;
  for (Record &element : Elements<Record>(queue)) {
    if (result.current) {
      result.next = &element;
      break;
    }
    if (wanted(element)) result.current = &element;
  }
  return result;
}

// Where an insertion put an element.
enum class Place { nowhere, first, later };

// Inserts 'element' after the leading elements whose number, given by 'number_of', is not above its own: equal numbers
// stay in order of insertion. 'announce_first' is called before an element is inserted at the head.
template <class Record, class NumberOf, class AnnounceFirst>
Place insert_by_number(queue_head &queue, Record *element, NumberOf number_of, AnnounceFirst announce_first) {
  Record *passed = nullptr;
  for (Record &other : Elements<Record>(queue)) {
    if (number_of(*element) < number_of(other)) break;
    passed = &other;
  }
  if (passed) {
    insert_after(queue, passed, element);
    return Place::later;
  }
  announce_first();
  prepend(queue, element);
  return Place::first;
}

// Inserts 'element' right before the first element with the handle 'reference'. 'announce_first' is called before it
// becomes the head.
template <class Record, class AnnounceFirst>
Place insert_before_handle(queue_head &queue, Record *element, uint32_t reference, AnnounceFirst announce_first) {
  Record *predecessor = nullptr;
  const Record *found = find<Record>(queue, [&predecessor, reference](Record &other) {
    if (other.handle == reference) return true;
    predecessor = &other;
    return false;
  });
  if (!found) return Place::nowhere;
  if (predecessor) {
    insert_after(queue, predecessor, element);
    return Place::later;
  }
  announce_first();
  prepend(queue, element);
  return Place::first;
}

// Inserts 'element' right after the first element with the handle 'reference'.
template <class Record>
Place insert_after_handle(queue_head &queue, Record *element, uint32_t reference) {
  Record *other = find_handle<Record>(queue, reference);
  if (!other) return Place::nowhere;
  insert_after(queue, other, element);
  return Place::later;
}

}  // namespace zar
