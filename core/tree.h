// Platform trees as trees of typed records.
#pragma once

#include "core/under_way.h"
#include "platform/runtime.h"

namespace zar::tree {

template <class Record>
bool insert(avl_tree &tree, Record *record) {
  if (i_avl_insert(&tree, record) == 0) return false;
  Watch::for_each([&tree, record](Watch &watch) { watch.note_entered(record, &tree); });
  return true;
}

template <class Record>
Record *find(avl_tree &tree, const Record *probe) {
  return static_cast<Record *>(i_avl_search(&tree, probe));
}

template <class Record>
Record *first(avl_tree &tree) {
  void *record = nullptr;
  i_avl_get_first(tree.top.parent, &record);
  return static_cast<Record *>(record);
}

// The record that follows 'current'; also when that has just been taken out.
template <class Record>
Record *after(avl_tree &tree, Record *current) {
  void *record = nullptr;
  i_avl_get_next(&tree, current, &record);
  return static_cast<Record *>(record);
}

// Walks that stand on a record that left its tree go on behind it.
template <class Record>
void note_removal(avl_tree &tree, Record *record) {
  TreeWalk::for_each([&tree, record](TreeWalk &walk) {
    if (walk.record() == record) walk.move_to(after(tree, record));
  });
  Watch::for_each([record](Watch &watch) { watch.note_entered(record, nullptr); });
}

// Takes out 'record', or the record that compares equal to it, and names what was taken out in 'removed'.
template <class Record>
bool remove(avl_tree &tree, Record *record, Record **removed) {
  void *taken = record;
  bool done = i_avl_delete(&tree, record, &taken) != 0;
  *removed = static_cast<Record *>(taken);
  if (done) note_removal(tree, *removed);
  return done;
}

// Walks over the tree are at their end.
inline void empty(avl_tree &tree) {
  TreeWalk::for_each([&tree](TreeWalk &walk) {
    if (walk.is_over(tree)) walk.move_to(nullptr);
  });
  Watch::for_each([&tree](Watch &watch) { watch.note_emptied(&tree); });
  i_avl_remove(&tree, &tree);
}

// The records that the tree's callbacks are given.
template <class Record>
const Record *record_of(const void *node) {
  return static_cast<const Record *>(node);
}
template <class Record>
Record *record_of(void *node) {
  return static_cast<Record *>(node);
}

}  // namespace zar::tree
