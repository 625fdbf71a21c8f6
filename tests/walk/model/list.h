// A list that may change in any way, or be deleted, during walks over it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace model {

template <typename Element>
class Walk;

// 'Element' is a pointer of some kind.
template <typename Element>
class List {
 public:
  using Place = typename std::vector<Element>::const_iterator;

  List() = default;
  ~List() {
    for (Walk<Element> *walk : walks_)
      walk->list_ = nullptr;
  }
  List(const List &) = delete;
  List &operator=(const List &) = delete;

  Place begin() const { return elements_.begin(); }
  Place end() const { return elements_.end(); }
  size_t size() const { return elements_.size(); }
  bool empty() const { return elements_.empty(); }
  const Element &front() const { return elements_.front(); }
  const Element &operator[](size_t i) const { return elements_[i]; }

  void push_back(Element element) { insert(end(), std::move(element)); }
  // Inserts the element before the place.
  void insert(Place place, Element element) {
    const auto at = static_cast<size_t>(place - begin());
    elements_.insert(place, std::move(element));
    for (Walk<Element> *walk : walks_)
      walk->inserted(at);
  }
  void erase(Place place) {
    const auto at = static_cast<size_t>(place - begin());
    elements_.erase(place);
    for (Walk<Element> *walk : walks_)
      walk->erased(at);
  }
  // Removes the first occurrence of the element; does nothing if it is absent.
  void remove(const Element &element) {
    const Place found = std::find(begin(), end(), element);
    if (found != end()) erase(found);
  }
  Element take_first() {
    Element first = front();
    erase(begin());
    return first;
  }

 private:
  friend class Walk<Element>;

  std::vector<Element> elements_;
  std::vector<Walk<Element> *> walks_;
};

// Visits each element once that is in the list from the beginning of the walk to its end. It visits an element added
// during the walk if this is after the last visited element and before one that was there at the beginning.
template <typename Element>
class Walk {
 public:
  explicit Walk(List<Element> &list) : list_(&list), end_(list.size()) { list.walks_.push_back(this); }
  ~Walk() {
    if (list_ != nullptr) std::erase(list_->walks_, this);
  }
  Walk(const Walk &) = delete;
  Walk &operator=(const Walk &) = delete;

  // The next element, or an empty pointer.
  Element next() {
    in_list_ = list_ != nullptr && passed_ < end_;
    return in_list_ ? (*list_)[passed_++] : Element{};
  }
  // Whether the last visited element is still in the list.
  bool still_in_list() const { return in_list_ && list_ != nullptr; }

 private:
  friend class List<Element>;

  void inserted(size_t at) {
    if (at < passed_) ++passed_;
    if (at < end_) ++end_;
  }
  void erased(size_t at) {
    if (at < end_) --end_;
    if (at >= passed_) return;
    --passed_;
    if (at == passed_) in_list_ = false;
  }

  List<Element> *list_;
  size_t passed_ = 0;
  size_t end_;  // how many places it visits in all
  bool in_list_ = false;
};

}  // namespace model
