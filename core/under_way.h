// Activities under way while callbacks run, and how they avoid following a deleted record.
//
// A daemon's callbacks run inside operations that walk lists and trees, and call back into the library. The walks must
// not visit anything that they remove or delete there. So each walk, and each watch over a record, is on a list while
// it exists, newest first, and the typed layer reports to this list every record that it removes from a queue or a tree
// or returns to a pool. There are as many entries as nested walks, and almost always nothing is reported: a walk costs
// two words to enter the list and to leave it.
//
// - QueueWalk has a position in a queue. It ends after the elements that were there when it began, so elements added at
//   the end during the walk are not visited and every walk terminates; elements inserted among the remaining ones are
//   visited.
// - TreeWalk has a current record in a tree.
// - Watched refers to a record that may be deleted, or enter a tree, while callbacks run.
// - Ending marks a record without a handle to retire while its contents are freed.
#pragma once

#include "platform/runtime.h"

namespace zar {

// A list of objects on the call stack.
template <class Entry>
class UnderWay {
 public:
  UnderWay(const UnderWay &) = delete;
  UnderWay &operator=(const UnderWay &) = delete;

  template <class Visit>
  static void for_each(Visit visit) {
    for (Entry *entry = newest; entry; entry = entry->older_)
      visit(*entry);
  }
  template <class Wanted>
  static bool any(Wanted wanted) {
    for (const Entry *entry = newest; entry; entry = entry->older_)
      if (wanted(*entry)) return true;
    return false;
  }

 protected:
  UnderWay() : older_(newest) { newest = static_cast<Entry *>(this); }
  ~UnderWay() { newest = older_; }

 private:
  inline static Entry *newest = nullptr;
  Entry *older_;
};

// ---- Queues

// A position is the number of elements before an element. One element may have several positions in a queue.
class QueueWalk : public UnderWay<QueueWalk> {
 public:
  explicit QueueWalk(const queue_head &queue)
      : queue_(&queue), end_(static_cast<int32_t>(queue.count)), ahead_(static_cast<int32_t>(queue.count)) {}

  // The next element, or NULL after the last.
  void *next() {
    if (--ahead_ >= 0) [[likely]]
      return current_ = queue_get_next(queue_, &cursor_);
    ahead_ = 0;
    return current_ = nullptr;
  }
  // Whether the element returned last has not been removed from its position since.
  bool stays() const { return current_ != nullptr; }

  bool is_over(const queue_head &queue) const { return queue_ == &queue; }
  void note_insertion(int32_t place);
  void note_removal(int32_t place);
  // The memory that contains the queue is freed.
  void note_freed(const char *begin, const char *end) {
    const char *queue = reinterpret_cast<const char *>(queue_);
    if (queue < begin || queue >= end) return;
    queue_ = nullptr;
    current_ = nullptr;
    end_ = ahead_ = 0;
  }

 private:
  // The number of positions up to and including the current one.
  int32_t passed() const { return end_ - ahead_; }

  const queue_head *queue_;
  queue_cursor cursor_{};
  void *current_ = nullptr;
  int32_t end_;    // the number of positions up to the last one to visit
  int32_t ahead_;  // how many of them were not visited yet
};

inline void QueueWalk::note_insertion(int32_t place) {
  if (place >= end_) return;
  if (place >= passed()) ++ahead_;
  ++end_;
}

// A cursor is used only as far as the platform promises: it survives insertions, and the removal of an element that it
// has passed. So it is set again, from the head, when anything is removed.
inline void QueueWalk::note_removal(int32_t place) {
  if (place + 1 == passed()) current_ = nullptr;
  if (place < end_) {
    if (place >= passed()) --ahead_;
    --end_;
  }
  cursor_ = {};
  for (int32_t at = 0; at < passed(); ++at)
    queue_get_next(queue_, &cursor_);
}

// Whether a walk over the queue is under way.
inline bool is_walked(const queue_head &queue) {
  return QueueWalk::any([&queue](const QueueWalk &walk) { return walk.is_over(queue); });
}

// ---- Trees

class TreeWalk : public UnderWay<TreeWalk> {
 public:
  explicit TreeWalk(const avl_tree *tree) : tree_(tree) {}

  void stand_on(void *record) { record_ = record; }
  // The current record: the one that was set or, if that has left the tree, the one after it.
  void *record() const { return record_; }
  // Whether the walk was moved since the last call.
  bool moved() {
    if (!moved_) [[likely]]
      return false;
    moved_ = false;
    return true;
  }

  bool is_over(const avl_tree &tree) const { return tree_ == &tree; }
  void move_to(void *record) {
    record_ = record;
    moved_ = true;
  }

 private:
  const avl_tree *tree_;
  void *record_ = nullptr;
  bool moved_ = false;
};

// ---- Records

// What is known about a record since a watch over it began.
class Watch : public UnderWay<Watch> {
 public:
  explicit Watch(const void *record) : record_(record) {}

  void note_freed(const void *record) {
    if (record_ == record) record_ = nullptr;
  }
  void note_entered(const void *record, avl_tree *tree) {
    if (record_ == record) entered_ = tree;
  }
  void note_emptied(const avl_tree *tree) {
    if (entered_ == tree) entered_ = nullptr;
  }

 protected:
  bool gone() const { return !record_; }
  // The tree into which the record was inserted since then, or NULL.
  avl_tree *entered() const { return entered_; }

 private:
  const void *record_;
  avl_tree *entered_ = nullptr;
};

// A record that may be deleted at any time; test it before each use.
template <class Record>
class Watched : public Watch {
 public:
  explicit Watched(Record *record) : Watch(record), record_(record) {}

  Record *get() const { return record_; }
  Record *operator->() const { return record_; }
  explicit operator bool() const { return !gone(); }
  using Watch::entered;

 private:
  Record *record_;
};

// A record whose contents are being freed.
class Ending : public UnderWay<Ending> {
 public:
  explicit Ending(const void *record) : record_(record) {}
  bool is_of(const void *record) const { return record_ == record; }

 private:
  const void *record_;
};

inline bool is_ending(const void *record) {
  return Ending::any([record](const Ending &ending) { return ending.is_of(record); });
}

// 'record' is returned to its pool: walks over the queues in it end, and watches over it take note.
template <class Record>
void note_freed(const Record *record) {
  QueueWalk::for_each([record](QueueWalk &walk) {
    walk.note_freed(reinterpret_cast<const char *>(record), reinterpret_cast<const char *>(record + 1));
  });
  Watch::for_each([record](Watch &watch) { watch.note_freed(record); });
}

}  // namespace zar
