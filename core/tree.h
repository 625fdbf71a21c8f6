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

// An out place for a record in the form that the platform expects: it writes to the caller's own.
template <class Record>
void **place(Record **record_out) {
  return reinterpret_cast<void **>(record_out);
}

template <class Record>
void first(avl_tree &tree, Record **first_out) {
  i_avl_get_first(tree.top.parent, place(first_out));
}

// The record that follows 'current', even if 'current' has just been removed.
template <class Record>
void after(avl_tree &tree, Record *current, Record **next_out) {
  i_avl_get_next(&tree, current, place(next_out));
}

// Walks whose current record left its tree continue after it.
template <class Record>
void note_removal(avl_tree &tree, Record *record) {
  TreeWalk::for_each([&tree, record](TreeWalk &walk) {
    if (walk.record() != record) return;
    Record *next = nullptr;
    after(tree, record, &next);
    walk.move_to(next);
  });
  Watch::for_each([record](Watch &watch) { watch.note_entered(record, nullptr); });
}

// Removes 'record', or the record that compares equal to it, and writes the removed record to 'removed_out', or
// 'record' if none was removed.
template <class Record>
bool remove(avl_tree &tree, Record *record, Record **removed_out) {
  *removed_out = record;
  if (i_avl_delete(&tree, record, place(removed_out)) == 0) return false;
  note_removal(tree, *removed_out);
  return true;
}

// Ends all walks over the tree.
inline void empty(avl_tree &tree) {
  TreeWalk::for_each([&tree](TreeWalk &walk) {
    if (walk.is_over(tree)) walk.move_to(nullptr);
  });
  Watch::for_each([&tree](Watch &watch) { watch.note_emptied(&tree); });
  i_avl_remove(&tree, &tree);
}

// The records passed to the tree's callbacks.
template <class Record>
const Record *record_of(const void *node) {
  return static_cast<const Record *>(node);
}
template <class Record>
Record *record_of(void *node) {
  return static_cast<Record *>(node);
}

}  // namespace zar::tree
