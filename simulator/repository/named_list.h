// A list of objects with names.
#pragma once

#include <list>
#include <string_view>
#include <utility>

#include "simulator/policy/model.h"

namespace simulator {

// Objects in the order in which they were added; each has a member 'name' of its own that never changes. Finding and
// removing one costs the same however many there are. An object stays where it is until it is removed.
template <class Object>
class NamedList {
 public:
  Object &add(Object object) {
    Object &added = objects_.emplace_back(std::move(object));
    by_name_.emplace(added.name, std::prev(objects_.end()));
    return added;
  }
  // NULL when there is none.
  Object *find(std::string_view name) {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : &*found->second;
  }
  const Object *find(std::string_view name) const {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : &*found->second;
  }
  // 'name' may be that of the removed object itself.
  void remove(std::string_view name) {
    const auto found = by_name_.find(name);
    objects_.erase(found->second);
    by_name_.erase(found);
  }

  size_t size() const { return objects_.size(); }
  auto begin() const { return objects_.begin(); }
  auto end() const { return objects_.end(); }
  const Object &back() const { return objects_.back(); }

 private:
  std::list<Object> objects_;
  ByName<typename std::list<Object>::iterator> by_name_;
};

}  // namespace simulator
