// A list of objects with names.
#pragma once

#include <boost/intrusive/list.hpp>
#include <boost/intrusive/unordered_set.hpp>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

// Objects in the order in which they were added; each has a member 'name' of its own that never changes, and that no other
// has. Finding and removing one costs the same however many there are. An object stays where it is until it is removed.
template <class Object>
class NamedList {
  struct Entry;

 public:
  // Goes through the objects in the order in which they were added.
  class Iterator;

  NamedList() = default;
  NamedList(const NamedList &) = delete;
  NamedList &operator=(const NamedList &) = delete;
  ~NamedList() {
    by_name_.clear();
    in_order_.clear_and_dispose(std::default_delete<Entry>());
  }

  Object &add(Object object) {
    auto added = std::make_unique<Entry>(std::move(object));
    if (2 * (size() + 1) > buckets_.size()) grow();
    by_name_.insert(*added);
    in_order_.push_back(*added);
    return added.release()->object;
  }
  // NULL when there is none.
  Object *find(std::string_view name) {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : &found->object;
  }
  const Object *find(std::string_view name) const {
    const auto found = by_name_.find(name);
    return found == by_name_.end() ? nullptr : &found->object;
  }
  // The two steps of a search, for a caller who makes several at once: each begins to bring into the processor's cache what
  // the search reads next.
  void prefetch_bucket(std::string_view name) const { __builtin_prefetch(&buckets_[by_name_.bucket(name)]); }
  void prefetch_object(std::string_view name) const {
    const size_t bucket = by_name_.bucket(name);
    const auto first = by_name_.begin(bucket);
    if (first != by_name_.end(bucket)) __builtin_prefetch(&*first);
  }
  // 'name' may be that of the removed object itself.
  void remove(std::string_view name) {
    const auto found = by_name_.find(name);
    Entry *removed = &*found;
    by_name_.erase(found);
    in_order_.erase_and_dispose(in_order_.iterator_to(*removed), std::default_delete<Entry>());
  }

  size_t size() const { return in_order_.size(); }
  Iterator begin() const { return Iterator(in_order_.begin()); }
  Iterator end() const { return Iterator(in_order_.end()); }
  const Object &back() const { return in_order_.back().object; }

 private:
  // The table's links are in the object's block of memory, so that a search waits for two blocks: a bucket and an object.
  using TableHook =
      boost::intrusive::unordered_set_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>,
                                                boost::intrusive::store_hash<true>>;
  using OrderHook = boost::intrusive::list_base_hook<boost::intrusive::link_mode<boost::intrusive::normal_link>>;
  struct Entry : TableHook, OrderHook {
    explicit Entry(Object &&of) : object(std::move(of)) {}

    Object object;
  };
  struct NameOf {
    using type = std::string_view;
    std::string_view operator()(const Entry &entry) const { return entry.object.name; }
  };
  using Order = boost::intrusive::list<Entry, boost::intrusive::base_hook<OrderHook>>;
  using Table = boost::intrusive::unordered_set<
      Entry, boost::intrusive::base_hook<TableHook>, boost::intrusive::key_of_value<NameOf>,
      boost::intrusive::hash<std::hash<std::string_view>>, boost::intrusive::equal<std::equal_to<>>,
      boost::intrusive::power_2_buckets<true>, boost::intrusive::compare_hash<true>>;
  using Buckets = std::vector<typename Table::bucket_type>;

  // At least twice as many buckets as objects: most searches then read one object.
  void grow() {
    Buckets more(2 * buckets_.size());
    by_name_.rehash({more.data(), more.size()});
    buckets_.swap(more);
  }

  Buckets buckets_ = Buckets(16);
  Table by_name_{{buckets_.data(), buckets_.size()}};
  Order in_order_;
};

template <class Object>
class NamedList<Object>::Iterator {
 public:
  explicit Iterator(const typename Order::const_iterator &at) : at_(at) {}
  const Object &operator*() const { return at_->object; }
  Iterator &operator++() {
    ++at_;
    return *this;
  }
  bool operator==(const Iterator &) const = default;

 private:
  typename Order::const_iterator at_;
};

}  // namespace simulator
