// Platform queues as typed lists.
#pragma once

#include "platform/runtime.h"

namespace zar {

// The elements of a queue in order. The walk has fetched the next element before it gives one out, so the element at hand
// may be taken out and freed; no other may.
template <class Record>
class Elements {
 public:
  explicit Elements(const queue_head &queue) : queue_(queue) {}

  class Iterator {
   public:
    explicit Iterator(const queue_head &queue)
        : queue_(&queue), current_(fetch()), upcoming_(current_ ? fetch() : nullptr) {}
    Record &operator*() const { return *current_; }
    Iterator &operator++() {
      current_ = upcoming_;
      upcoming_ = current_ ? fetch() : nullptr;
      return *this;
    }
    bool operator!=(decltype(nullptr)) const { return current_ != nullptr; }

   private:
    Record *fetch() { return static_cast<Record *>(queue_get_next(queue_, &cursor_)); }

    const queue_head *queue_;
    queue_cursor cursor_{};
    Record *current_;
    Record *upcoming_;
  };

  Iterator begin() const { return Iterator(queue_); }
  decltype(nullptr) end() const { return nullptr; }

 private:
  const queue_head &queue_;
};

inline void make_empty(queue_head &queue) {
  queue_init(&queue, 0);
}

template <class Record>
void append(queue_head &queue, Record *element) {
  queue_enqueue(&queue, element);
}
template <class Record>
void prepend(queue_head &queue, Record *element) {
  queue_requeue(&queue, element);
}
template <class Record>
void insert_after(queue_head &queue, Record *predecessor, Record *element) {
  queue_insqueue(&queue, element, predecessor);
}
template <class Record>
void unlink(queue_head &queue, Record *element) {
  queue_unqueue(&queue, element);
}
// The head, taken off the queue, or NULL.
template <class Record>
Record *take_first(queue_head &queue) {
  return static_cast<Record *>(queue_dequeue(&queue));
}

// The element that 'wanted' accepts first, or NULL.
template <class Record, class Wanted>
Record *find(const queue_head &queue, Wanted wanted) {
  for (Record &element : Elements<Record>(queue))
    if (wanted(element)) return &element;
  return nullptr;
}
template <class Record>
Record *find_handle(const queue_head &queue, uint32_t handle) {
  return find<Record>(queue, [handle](const Record &element) { return element.handle == handle; });
}
template <class Record>
Record *first(const queue_head &queue) {
  return find<Record>(queue, [](const Record &) { return true; });
}
template <class Record>
Record *element_at(const queue_head &queue, uint32_t position) {
  return find<Record>(queue, [&position](const Record &) { return position-- == 0; });
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

// Hands the elements that stand in the queue to 'visit', head first. 'visit' may change the queue in any way: take out
// the element that it is given, take out others, append new ones. What it leaves is passed over.
template <class Record, class Visit>
void drain(queue_head &queue, Visit visit) {
  uint32_t left_behind = 0;
  for (uint32_t visits = queue.count; visits > 0 && left_behind < queue.count; --visits) {
    Record *element = element_at<Record>(queue, left_behind);
    visit(*element);
    if (element_at<Record>(queue, left_behind) == element) ++left_behind;
  }
}

// Where an element was put by an insert.
enum class Place { nowhere, first, later };

// Puts 'element' behind the leading elements whose number, as 'number_of' tells it, is not above its own: equal numbers
// keep their order of arrival. 'announce_first' is called before an element that none precedes is put at the head.
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

// Puts 'element' right before the first element with the handle 'reference'. 'announce_first' is called before it becomes
// the head.
template <class Record, class AnnounceFirst>
Place insert_before_handle(queue_head &queue, Record *element, uint32_t reference, AnnounceFirst announce_first) {
  Record *predecessor = nullptr;
  for (Record &other : Elements<Record>(queue)) {
    if (other.handle == reference) {
      if (predecessor) {
        insert_after(queue, predecessor, element);
        return Place::later;
      }
      announce_first();
      prepend(queue, element);
      return Place::first;
    }
    predecessor = &other;
  }
  return Place::nowhere;
}

// Puts 'element' right after the first element with the handle 'reference'.
template <class Record>
Place insert_after_handle(queue_head &queue, Record *element, uint32_t reference) {
  Record *other = find_handle<Record>(queue, reference);
  if (!other) return Place::nowhere;
  insert_after(queue, other, element);
  return Place::later;
}

}  // namespace zar
