// Walks over queues while the queues change, against a model: every change at every step of every walk.
//
// The lists have an element twice, since shared actions may occur twice. The model is a sequence of entries, each
// visited or not; only the order says which element has which entry.
#include <algorithm>
#include <string>
#include <vector>

#include "core/queue.h"
#include "support/repository.h"

using namespace rig;

namespace {

struct Element {
  queue_link link;
  uint32_t handle;
};

struct Walking : BareProcess {
  static constexpr uint32_t kElements = 5;
  Element elements[kElements] = {};
  queue_head queue = {};

  Walking() {
    for (uint32_t at = 0; at < kElements; ++at)
      elements[at].handle = at;
    zar::make_empty(queue);
  }
  ~Walking() override { runtime::abandon(&queue); }

  void fill(const std::vector<uint32_t> &numbers) {
    runtime::abandon(&queue);
    for (const uint32_t number : numbers)
      zar::append(queue, &elements[number]);
  }
};

// The elements that a walk sees if its list changes.
class Model {
 public:
  explicit Model(const std::vector<uint32_t> &numbers) {
    for (const uint32_t number : numbers)
      entries_.push_back({number, true});
  }

  // The next element that was there from the beginning or was added between those; false at the end.
  bool step(uint32_t &number) {
    for (++at_; at_ < entries_.size(); ++at_) {
      if (!entries_[at_].visited) continue;
      number = entries_[at_].number;
      return true;
    }
    return false;
  }
  void append(uint32_t number) { entries_.push_back({number, false}); }
  void prepend(uint32_t number) { insert(0, number); }
  bool holds(uint32_t number) const { return place_of(number) < entries_.size(); }
  void insert_after(uint32_t predecessor, uint32_t number) { insert(place_of(predecessor) + 1, number); }
  void unlink(uint32_t number) {
    const size_t place = place_of(number);
    if (place < entries_.size()) remove(place);
  }
  void take_first() {
    if (!entries_.empty()) remove(0);
  }

 private:
  struct Entry {
    uint32_t number;
    bool visited;
  };

  size_t place_of(uint32_t number) const {
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [number](const Entry &entry) { return entry.number == number; });
    return static_cast<size_t>(found - entries_.begin());
  }
  // What comes in front of an element that the walk visits yet is visited too, or was passed.
  void insert(size_t place, uint32_t number) {
    const bool between = std::any_of(entries_.begin() + static_cast<std::ptrdiff_t>(place), entries_.end(),
                                     [](const Entry &entry) { return entry.visited; });
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(place), {number, between});
    if (at_ != kBefore && place <= at_) ++at_;
  }
  void remove(size_t place) {
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(place));
    if (at_ != kBefore && place <= at_) --at_;
  }

  static constexpr size_t kBefore = static_cast<size_t>(-1);
  std::vector<Entry> entries_;
  size_t at_ = kBefore;
};

// A change of a list: its kind, and the elements that it concerns.
struct Change {
  enum Kind { append, prepend, insert_after, unlink, take_first } kind;
  uint32_t number;
  uint32_t predecessor;
};

std::vector<Change> changes(const std::vector<uint32_t> &numbers) {
  constexpr uint32_t kNew = 4;
  std::vector<Change> out{{Change::append, kNew, 0}, {Change::prepend, kNew, 0}, {Change::take_first, 0, 0}};
  for (const uint32_t number : numbers) {
    out.push_back({Change::insert_after, kNew, number});
    out.push_back({Change::unlink, number, 0});
  }
  out.push_back({Change::unlink, kNew, 0});
  return out;
}

void make(Model &model, const Change &change) {
  switch (change.kind) {
    case Change::append:
      return model.append(change.number);
    case Change::prepend:
      return model.prepend(change.number);
    case Change::insert_after:
      return model.insert_after(change.predecessor, change.number);
    case Change::unlink:
      return model.unlink(change.number);
    case Change::take_first:
      return model.take_first();
  }
}
void make(queue_head &queue, Element *elements, const Change &change) {
  Element *element = &elements[change.number];
  switch (change.kind) {
    case Change::append:
      return zar::append(queue, element);
    case Change::prepend:
      return zar::prepend(queue, element);
    case Change::insert_after:
      return zar::insert_after(queue, &elements[change.predecessor], element);
    case Change::unlink:
      zar::unlink(queue, element);
      return;
    case Change::take_first:
      zar::take_first<Element>(queue);
  }
}

TEST_F(Walking, VisitsWhatTheModelVisitsWhateverTwoChangesAreMadeDuringTheWalk) {
  for (const std::vector<uint32_t> &numbers :
       std::vector<std::vector<uint32_t>>{{0}, {0, 1, 2}, {0, 0}, {0, 1, 0, 2}, {1, 0, 0}}) {
    const std::vector<Change> all = changes(numbers);
    for (const Change &first : all) {
      for (const Change &second : all) {
        for (size_t step = 0; step < numbers.size() + 1; ++step) {
          SCOPED_TRACE(text("of %zu: %d of %u and %d of %u at step %zu", numbers.size(), first.kind, first.number,
                            second.kind, second.number, step));
          fill(numbers);
          Model model(numbers);
          zar::Elements<Element> walk(queue);
          std::vector<uint32_t> visited, expected;
          const auto change_at = [&](size_t now) {
            if (now != step) return;
            for (const Change &change : {first, second}) {
              if (change.kind == Change::insert_after && !model.holds(change.predecessor)) continue;
              make(queue, elements, change);
              make(model, change);
            }
          };
          change_at(0);
          for (const Element &element : walk) {
            visited.push_back(element.handle);
            uint32_t number = 0;
            if (model.step(number)) expected.push_back(number);
            change_at(visited.size());
          }
          for (uint32_t number = 0; model.step(number);)
            expected.push_back(number);
          ASSERT_EQ(visited, expected);
        }
      }
    }
  }
}

TEST_F(Walking, IsMovedInEveryWalkOfTheQueueAndInNoOther) {
  fill({0, 1, 2});
  queue_head other = {};
  zar::make_empty(other);
  for (Element &element : elements)
    zar::append(other, &element);
  std::vector<uint32_t> outer, inner, elsewhere;
  zar::Elements<Element> of_other(other);
  for (const Element &element : zar::Elements<Element>(queue)) {
    outer.push_back(element.handle);
    for (const Element &again : zar::Elements<Element>(queue)) {
      inner.push_back(again.handle);
      if (again.handle == 0) zar::unlink(queue, &elements[1]);
    }
  }
  for (const Element &element : of_other)
    elsewhere.push_back(element.handle);
  EXPECT_EQ(outer, (std::vector<uint32_t>{0, 2}));
  EXPECT_EQ(inner, (std::vector<uint32_t>{0, 2, 0, 2}));
  EXPECT_EQ(elsewhere, (std::vector<uint32_t>{0, 1, 2, 3, 4}));
  runtime::abandon(&other);
}

TEST_F(Walking, EndsWhereTheMemoryOfTheQueueIsFreed) {
  struct Holder {
    uint32_t before;
    queue_head list;
  } holder = {};
  Holder neighbour = {};
  for (queue_head *list : {&holder.list, &neighbour.list}) {
    zar::make_empty(*list);
    for (Element &element : elements)
      zar::append(*list, &element);
  }
  uint32_t visits = 0, of_neighbour = 0;
  zar::Elements<Element> beside(neighbour.list);
  for (const Element &element : zar::Elements<Element>(holder.list)) {
    EXPECT_EQ(element.handle, visits++);
    zar::note_freed(&holder);
  }
  for ([[maybe_unused]] const Element &element : beside)
    ++of_neighbour;
  EXPECT_EQ(visits, 1U);
  EXPECT_EQ(of_neighbour, uint32_t{kElements});
  runtime::abandon(&holder.list);
  runtime::abandon(&neighbour.list);
}

TEST_F(Walking, FindsNoElementThatTheSearchRemoves) {
  fill({0, 1, 0, 2});
  const Element *found = zar::find<Element>(queue, [this](Element &element) {
    if (element.handle != 0) return false;
    if (queue.count == 4) zar::unlink(queue, &element);
    return true;
  });
  EXPECT_EQ(found, &elements[0]) << "its second place";
  EXPECT_EQ(queue.count, 3U);
  found = zar::find<Element>(queue, [this](Element &element) {
    zar::unlink(queue, &element);
    return true;
  });
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(queue.count, 0U);
}

}  // namespace
