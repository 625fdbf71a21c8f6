// Typed walks over the queues of repository records.
#pragma once

#include "platform/runtime.h"

namespace engine {

// The records of a queue, head to tail. The walk fetches the next record before it returns one, so the returned one may
// be removed from the queue.
template <class Record>
class Records {
 public:
  explicit Records(const queue_head &queue) : queue_(&queue) {}

  class Iterator {
   public:
    Iterator() = default;
    explicit Iterator(const queue_head &queue) : queue_(&queue), next_(fetch()) { advance(); }
    Record &operator*() const { return *current_; }
    Iterator &operator++() {
      advance();
      return *this;
    }
    bool operator!=(const Iterator &end) const { return current_ != end.current_; }

   private:
    Record *fetch() { return static_cast<Record *>(queue_get_next(queue_, &cursor_)); }
    void advance() {
      current_ = next_;
      if (next_) next_ = fetch();
    }

    const queue_head *queue_ = nullptr;
    queue_cursor cursor_{};
    Record *current_ = nullptr;
    Record *next_ = nullptr;
  };

  Iterator begin() const { return Iterator(*queue_); }
  Iterator end() const { return Iterator(); }

 private:
  const queue_head *queue_;
};

}  // namespace engine
