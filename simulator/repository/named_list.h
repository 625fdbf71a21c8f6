// A list of objects with names.
#pragma once

#include <string_view>
#include <utility>

#include "simulator/policy/model.h"

namespace simulator {

// Objects in the order in which they were added; each has a member 'name' of its own that never changes. Finding and
// removing one costs the same however many there are. An object stays where it is until it is removed.
template <class Object>
class NamedList {
  struct Entry;

 public:
  // Goes through the objects in the order in which they were added.
  class Iterator {
   public:
    explicit Iterator(const Entry *entry) : entry_(entry) {}
    const Object &operator*() const { return entry_->object; }
    Iterator &operator++() {
      entry_ = entry_->next;
      return *this;
    }
    bool operator==(const Iterator &) const = default;

   private:
    const Entry *entry_;
  };

  NamedList() { by_name_.max_load_factor(0.5F); }  // most searches then read one entry
  NamedList(const NamedList &) = delete;
  NamedList &operator=(const NamedList &) = delete;

  Object &add(Object object) {
    std::string name = object.name;
    Entry &added = by_name_.try_emplace(std::move(name), std::move(object), last_).first->second;
    (last_ ? last_->next : first_) = &added;
    last_ = &added;
    return added.object;
  }
  // NULL when there is none.
  Object *find(std::string_view name) {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : &found->second.object;
  }
  const Object *find(std::string_view name) const {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : &found->second.object;
  }
  // 'name' may be that of the removed object itself.
  void remove(std::string_view name) {
    const auto found = by_name_.find(name);
    const Entry &removed = found->second;
    (removed.previous ? removed.previous->next : first_) = removed.next;
    (removed.next ? removed.next->previous : last_) = removed.previous;
    by_name_.erase(found);
  }

  size_t size() const { return by_name_.size(); }
  Iterator begin() const { return Iterator(first_); }
  Iterator end() const { return Iterator(nullptr); }
  const Object &back() const { return last_->object; }

 private:
  // An object is in the same block of memory as its name in the table, so that finding it reads no second one.
  struct Entry {
    Entry(Object &&of, Entry *after) : object(std::move(of)), previous(after) {}

    Object object;
    Entry *previous;
    Entry *next = nullptr;
  };

  ByName<Entry> by_name_;
  Entry *first_ = nullptr;
  Entry *last_ = nullptr;
};

}  // namespace simulator
