// Platform trees as trees of typed records.
#pragma once

#include "platform/runtime.h"

namespace zar::tree {

template <class Record>
bool insert(avl_tree &tree, Record *record) {
  return i_avl_insert(&tree, record) != 0;
}

template <class Record>
Record *find(avl_tree &tree, const Record *probe) {
  return static_cast<Record *>(i_avl_search(&tree, probe));
}

// Takes out 'record', or the record that compares equal to it, and names what was taken out in 'removed'.
template <class Record>
bool remove(avl_tree &tree, Record *record, Record **removed) {
  void *taken = record;
  bool done = i_avl_delete(&tree, record, &taken) != 0;
  *removed = static_cast<Record *>(taken);
  return done;
}

template <class Record>
Record *first(avl_tree &tree) {
  void *record = nullptr;
  i_avl_get_first(tree.top.parent, &record);
  return static_cast<Record *>(record);
}

template <class Record>
Record *after(avl_tree &tree, Record *current) {
  void *record = nullptr;
  i_avl_get_next(&tree, current, &record);
  return static_cast<Record *>(record);
}

inline void empty(avl_tree &tree) {
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
