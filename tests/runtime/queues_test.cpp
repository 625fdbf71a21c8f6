#include <algorithm>
#include <deque>
#include <memory>

#include "tests/runtime/fixture.h"

namespace {

struct Item {
  queue_link link{};
  int name = 0;
};

class QueuesTest : public RuntimeTest {
 protected:
  void SetUp() override {
    queue_init(&queue, 0);
    queue_init(&other, 0);
    for (int i = 0; i < 5; ++i)
      items[i].name = i;
  }
  void TearDown() override {
    runtime::abandon(&queue);
    runtime::abandon(&other);
    EXPECT_EQ(runtime::live_queue_entries(), 0u);
    RuntimeTest::TearDown();
  }

  using Elements = std::vector<void *>;

  // By a walk, which has to agree with the control side and with the count.
  static Elements walk(const queue_head &which) {
    Elements elements;
    queue_cursor cursor{};
    while (void *element = queue_get_next(&which, &cursor))
      elements.push_back(element);
    EXPECT_EQ(queue_get_next(&which, &cursor), nullptr) << "past the last stays past the last";
    EXPECT_EQ(elements, runtime::elements(&which));
    EXPECT_EQ(elements.size(), which.count);
    return elements;
  }
  Elements named(std::vector<size_t> indexes) {
    Elements elements;
    for (size_t index : indexes)
      elements.push_back(&items[index]);
    return elements;
  }
  void enqueue(std::vector<size_t> indexes) {
    for (size_t index : indexes)
      queue_enqueue(&queue, &items[index]);
  }

  queue_head queue{}, other{};
  Item items[5];
};

TEST_F(QueuesTest, ElementsComeOutInTheOrderInWhichTheyWentIn) {
  enqueue({0, 1, 2});
  EXPECT_EQ(walk(queue), named({0, 1, 2}));
  EXPECT_EQ(queue_dequeue(&queue), &items[0]);
  EXPECT_EQ(queue_dequeue(&queue), &items[1]);
  EXPECT_EQ(queue_dequeue(&queue), &items[2]);
  EXPECT_EQ(queue_dequeue(&queue), nullptr);
  EXPECT_EQ(queue.count, 0u);
  EXPECT_EQ(queue.head, nullptr);
}

TEST_F(QueuesTest, AHeadOfZerosIsAnEmptyQueue) {
  queue_head zeros{};
  EXPECT_EQ(queue_dequeue(&zeros), nullptr);
  queue_unqueue(&zeros, &items[0]);
  EXPECT_EQ(walk(zeros), Elements());
  queue_enqueue(&zeros, &items[0]);
  EXPECT_EQ(walk(zeros), named({0}));
  EXPECT_EQ(queue_dequeue(&zeros), &items[0]);
}

TEST_F(QueuesTest, RequeuePutsAtTheHead) {
  queue_requeue(&queue, &items[0]);
  queue_requeue(&queue, &items[1]);
  enqueue({2});
  EXPECT_EQ(walk(queue), named({1, 0, 2}));
}

TEST_F(QueuesTest, InsqueuePutsRightAfterThePredecessor) {
  enqueue({0, 1});
  queue_insqueue(&queue, &items[2], &items[0]);
  queue_insqueue(&queue, &items[3], &items[1]);
  enqueue({4});
  EXPECT_EQ(walk(queue), named({0, 2, 1, 3, 4}));
}

TEST_F(QueuesTest, InsqueueGoesAfterTheFirstOfSeveralPredecessors) {
  enqueue({0, 1, 0, 2, 0});
  queue_insqueue(&queue, &items[3], &items[0]);
  EXPECT_EQ(walk(queue), named({0, 3, 1, 0, 2, 0}));
}

TEST_F(QueuesTest, WithoutItsPredecessorAnElementGoesToTheTail) {
  enqueue({0, 1});
  queue_insqueue(&queue, &items[2], &items[4]);
  queue_insqueue(&queue, &items[3], nullptr);
  EXPECT_EQ(walk(queue), named({0, 1, 2, 3}));
  EXPECT_EQ(n_complaints(), 2u);
}

TEST_F(QueuesTest, UnqueueRemovesFromAnyPlace) {
  enqueue({0, 1, 2, 3, 4});
  queue_unqueue(&queue, &items[2]);
  EXPECT_EQ(walk(queue), named({0, 1, 3, 4}));
  queue_unqueue(&queue, &items[0]);
  EXPECT_EQ(walk(queue), named({1, 3, 4}));
  queue_unqueue(&queue, &items[4]);
  EXPECT_EQ(walk(queue), named({1, 3}));
  enqueue({0});
  EXPECT_EQ(walk(queue), named({1, 3, 0}));
}

TEST_F(QueuesTest, UnqueueOfWhatIsAbsentDoesNothing) {
  enqueue({0, 1});
  queue_enqueue(&other, &items[2]);
  queue_unqueue(&queue, &items[2]);
  queue_unqueue(&queue, &items[3]);
  queue_unqueue(&queue, nullptr);
  EXPECT_EQ(walk(queue), named({0, 1}));
  EXPECT_EQ(walk(other), named({2}));
}

TEST_F(QueuesTest, OnePlaceCostsNoAllocation) {
  uint64_t before = runtime::fallible_requests();
  enqueue({0, 1, 2, 3, 4});
  queue_unqueue(&queue, &items[4]);
  queue_requeue(&queue, &items[4]);
  queue_unqueue(&queue, &items[1]);
  queue_insqueue(&queue, &items[1], &items[4]);
  queue_dequeue(&queue);
  queue_enqueue(&other, &items[4]);
  EXPECT_EQ(runtime::fallible_requests(), before);
  EXPECT_EQ(runtime::live_queue_entries(), 0u);
}

TEST_F(QueuesTest, AnElementMayBeInSeveralQueues) {
  enqueue({0, 1, 2});
  for (size_t index : {2u, 1u, 0u})
    queue_enqueue(&other, &items[index]);
  EXPECT_EQ(walk(queue), named({0, 1, 2}));
  EXPECT_EQ(walk(other), named({2, 1, 0}));
  EXPECT_EQ(runtime::live_queue_entries(), 3u);
  queue_unqueue(&queue, &items[1]);
  EXPECT_EQ(walk(queue), named({0, 2}));
  EXPECT_EQ(walk(other), named({2, 1, 0}));
  EXPECT_EQ(queue_dequeue(&other), &items[2]);
  EXPECT_EQ(walk(queue), named({0, 2}));
  EXPECT_EQ(runtime::live_queue_entries(), 2u);
}

TEST_F(QueuesTest, AnElementMayBeInOneQueueSeveralTimes) {
  enqueue({0, 1, 0, 0, 2, 0});
  EXPECT_EQ(walk(queue), named({0, 1, 0, 0, 2, 0}));
  queue_unqueue(&queue, &items[0]);
  EXPECT_EQ(walk(queue), named({1, 0, 0, 2, 0})) << "the first goes";
  queue_requeue(&queue, &items[0]);
  queue_unqueue(&queue, &items[2]);
  EXPECT_EQ(walk(queue), named({0, 1, 0, 0, 0}));
  for (size_t expected : {0u, 1u, 0u, 0u, 0u})
    EXPECT_EQ(queue_dequeue(&queue), &items[expected]);
  EXPECT_EQ(queue_dequeue(&queue), nullptr);
}

TEST_F(QueuesTest, AnElementThatLeftItsOnlyOwnPlaceIsEnteredWithoutAnAllocationAgain) {
  enqueue({0, 0});
  EXPECT_EQ(runtime::live_queue_entries(), 1u);
  queue_unqueue(&queue, &items[0]);
  enqueue({0});
  EXPECT_EQ(runtime::live_queue_entries(), 1u);
  EXPECT_EQ(walk(queue), named({0, 0}));
}

TEST_F(QueuesTest, ACursorIsNotDisturbedByInserting) {
  enqueue({0, 1});
  queue_cursor cursor{};
  EXPECT_EQ(queue_get_next(&queue, &cursor), &items[0]);
  queue_requeue(&queue, &items[2]);
  queue_insqueue(&queue, &items[3], &items[0]);
  enqueue({4});
  EXPECT_EQ(queue_get_next(&queue, &cursor), &items[3]);
  EXPECT_EQ(queue_get_next(&queue, &cursor), &items[1]);
  EXPECT_EQ(queue_get_next(&queue, &cursor), &items[4]);
  EXPECT_EQ(queue_get_next(&queue, &cursor), nullptr);
}

TEST_F(QueuesTest, AnElementMayBeRemovedAndFreedOnceTheNextOneWasFetched) {
  for (int i = 0; i < 10; ++i)
    queue_enqueue(&queue, new Item{{}, i});
  queue_cursor cursor{};
  auto current = static_cast<Item *>(queue_get_next(&queue, &cursor));
  for (int i = 0; i < 10; ++i) {
    auto next = static_cast<Item *>(queue_get_next(&queue, &cursor));
    ASSERT_EQ(current->name, i);
    queue_unqueue(&queue, current);
    delete current;
    current = next;
  }
  EXPECT_EQ(current, nullptr);
  EXPECT_EQ(queue_get_next(&queue, &cursor), nullptr);
  EXPECT_EQ(queue.count, 0u);
}

TEST_F(QueuesTest, TheSameHoldsForAnElementWithSeveralOccurrences) {
  enqueue({0, 1, 0, 0, 1});
  queue_cursor cursor{};
  Elements seen;
  void *current = queue_get_next(&queue, &cursor);
  while (current) {
    void *next = queue_get_next(&queue, &cursor);
    seen.push_back(current);
    queue_unqueue(&queue, current);  // its first entry is the one that the walk has just left
    current = next;
  }
  EXPECT_EQ(seen, named({0, 1, 0, 0, 1}));
  EXPECT_EQ(queue.count, 0u);
}

TEST_F(QueuesTest, AFullQueueSaysSoAndKeepsWhatItHas) {
  std::vector<runtime::TraceLine> lines;
  runtime::want_trace_levels(1u << 3);
  runtime::trace_to([&lines](const runtime::TraceLine &line) { lines.push_back(line); });
  queue_init(&queue, 2);
  enqueue({0, 1, 2});
  queue_requeue(&queue, &items[3]);
  queue_insqueue(&queue, &items[4], &items[0]);
  runtime::trace_to(nullptr);
  runtime::want_trace_levels(0);
  EXPECT_EQ(walk(queue), named({0, 1}));
  EXPECT_EQ(lines.size(), 3u);
  EXPECT_EQ(n_complaints(), 3u);
  queue_dequeue(&queue);
  enqueue({2});
  EXPECT_EQ(walk(queue), named({1, 2}));
}

TEST_F(QueuesTest, WithoutMemoryForAnotherPlaceNothingChanges) {
  enqueue({0, 1});
  runtime::fail_request(runtime::Service::queue_entry, 1);
  queue_enqueue(&other, &items[0]);
  EXPECT_EQ(walk(other), Elements());
  EXPECT_EQ(walk(queue), named({0, 1}));
  EXPECT_EQ(runtime::live_queue_entries(), 0u);
  queue_enqueue(&other, &items[0]);
  EXPECT_EQ(walk(other), named({0}));
}

TEST_F(QueuesTest, AnAbandonedListLeavesItsElementsFree) {
  auto list = std::make_unique<queue_head>();
  queue_init(list.get(), 0);
  enqueue({0});
  for (Item &item : items)
    queue_enqueue(list.get(), &item);
  EXPECT_EQ(runtime::live_queue_entries(), 1u);
  runtime::abandon(list.get());
  list.reset();
  EXPECT_EQ(runtime::live_queue_entries(), 0u);
  EXPECT_EQ(walk(queue), named({0}));
  uint64_t before = runtime::fallible_requests();
  enqueue({1, 2, 3, 4});
  EXPECT_EQ(runtime::fallible_requests(), before);
  runtime::abandon(nullptr);
}

TEST_F(QueuesTest, AListThatWasDiscardedFullDoesNoHarm) {
  {
    queue_head list;
    queue_init(&list, 0);
    for (Item &item : items)
      queue_enqueue(&list, &item);
  }
  enqueue({3, 1, 4});
  EXPECT_EQ(walk(queue), named({3, 1, 4}));
  queue_unqueue(&queue, &items[1]);
  EXPECT_EQ(walk(queue), named({3, 4}));
}

TEST_F(QueuesTest, ALinkWordThatWasNeverClearedDoesNoHarm) {
  items[0].link.next = reinterpret_cast<void *>(uintptr_t{0xa5a5a5a5a5a5a5a5});
  enqueue({0, 1});
  EXPECT_EQ(walk(queue), named({0, 1}));
}

TEST_F(QueuesTest, MisuseIsRefused) {
  queue_enqueue(nullptr, &items[0]);
  queue_requeue(&queue, nullptr);
  queue_insqueue(nullptr, &items[0], &items[1]);
  EXPECT_EQ(n_complaints(), 3u);
  queue_cursor cursor{};
  EXPECT_EQ(queue_get_next(nullptr, &cursor), nullptr);
  EXPECT_EQ(queue_get_next(&queue, nullptr), nullptr);
  EXPECT_EQ(queue_dequeue(nullptr), nullptr);
  queue_unqueue(nullptr, &items[0]);
  queue_init(nullptr, 0);
}

// ---- Long queues

struct LongQueuesTest : QueuesTest {
  static constexpr size_t kShort = 32;

  void SetUp() override {
    QueuesTest::SetUp();
    for (Item &item : many)
      queue_enqueue(&queue, &item);
  }
  // All of them but those at the given positions.
  Elements all_but(std::vector<size_t> missing) {
    Elements elements;
    for (size_t at = 0; at < many.size(); ++at)
      if (std::find(missing.begin(), missing.end(), at) == missing.end()) elements.push_back(&many[at]);
    return elements;
  }

  std::vector<Item> many = std::vector<Item>(100);
};

TEST_F(LongQueuesTest, HaveACellForEachElementAfterTheFirst32) {
  EXPECT_EQ(walk(queue), all_but({}));
  EXPECT_EQ(runtime::live_queue_entries(), many.size() - kShort);
}

TEST_F(LongQueuesTest, LoseElementsAtAnyPlace) {
  for (size_t at : {0u, 31u, 32u, 50u, 51u, 49u, 99u})
    queue_unqueue(&queue, &many[at]);
  EXPECT_EQ(walk(queue), all_but({0, 31, 32, 49, 50, 51, 99}));
  queue_enqueue(&queue, &many[99]);
  EXPECT_EQ(walk(queue), all_but({0, 31, 32, 49, 50, 51}));
}

TEST_F(LongQueuesTest, TakeElementsAtAnyPlace) {
  for (size_t at : {40u, 41u, 99u})
    queue_unqueue(&queue, &many[at]);
  queue_insqueue(&queue, &many[40], &many[39]);
  queue_insqueue(&queue, &many[41], &many[40]);
  queue_insqueue(&queue, &many[99], &many[98]);
  EXPECT_EQ(walk(queue), all_but({}));
  queue_requeue(&queue, &items[0]);
  queue_unqueue(&queue, &items[0]);
  EXPECT_EQ(walk(queue), all_but({}));
}

TEST_F(LongQueuesTest, LoseTheFirstOfSeveralOccurrences) {
  queue_enqueue(&queue, &many[70]);
  queue_requeue(&queue, &many[80]);
  queue_unqueue(&queue, &many[70]);
  queue_unqueue(&queue, &many[80]);
  Elements expected = all_but({70});
  expected.push_back(&many[70]);
  EXPECT_EQ(walk(queue), expected);
}

TEST_F(LongQueuesTest, LoseTheFirstOccurrenceAlsoAfterAnotherListHeldTheElement) {
  queue_enqueue(&other, &many[70]);
  queue_enqueue(&queue, &many[70]);  // the second time
  queue_unqueue(&queue, &many[70]);  // the first time
  queue_unqueue(&other, &many[70]);
  queue_enqueue(&queue, &many[70]);
  queue_unqueue(&queue, &many[70]);
  Elements expected = all_but({70});
  expected.push_back(&many[70]);
  EXPECT_EQ(walk(queue), expected);
}

TEST_F(LongQueuesTest, KeepTheirElementsWhenAnotherQueueLosesThem) {
  for (size_t at : {10u, 70u}) {
    queue_unqueue(&other, &many[at]);  // never there
    queue_enqueue(&other, &many[at]);
  }
  queue_unqueue(&other, &many[70]);
  EXPECT_EQ(walk(other), Elements{&many[10]});
  EXPECT_EQ(walk(queue), all_but({}));
  queue_unqueue(&queue, &many[70]);
  queue_unqueue(&queue, &many[10]);
  EXPECT_EQ(walk(queue), all_but({10, 70}));
}

TEST_F(LongQueuesTest, ShareElementsWithOtherLongQueues) {
  for (Item &item : many)
    queue_enqueue(&other, &item);
  queue_unqueue(&queue, &many[60]);
  queue_unqueue(&other, &many[61]);
  EXPECT_EQ(walk(queue), all_but({60}));
  EXPECT_EQ(walk(other), all_but({61}));
}

TEST_F(LongQueuesTest, DoWithoutCellsIfThereIsNoMemoryForThem) {
  runtime::abandon(&queue);
  runtime::fail_request(runtime::Service::queue_cell, 10, runtime::Fault::from_then_on);
  for (Item &item : many)
    queue_enqueue(&queue, &item);
  EXPECT_EQ(runtime::live_queue_entries(), 9u);
  queue_unqueue(&queue, &many[90]);
  EXPECT_EQ(walk(queue), all_but({90}));
  runtime::clear_faults();
}

TEST_F(LongQueuesTest, DoNotFollowALinkWordThatWasNeverInitialised) {
  for (uintptr_t word : {uintptr_t{0xa5a5a5a5a5a5a5a4}, reinterpret_cast<uintptr_t>(&many[50]) + 4}) {
    items[0].link.next = reinterpret_cast<void *>(word);
    queue_unqueue(&queue, &items[0]);
    queue_enqueue(&queue, &items[0]);
    queue_unqueue(&queue, &items[0]);
    EXPECT_EQ(walk(queue), all_but({}));
  }
}

TEST_F(LongQueuesTest, DoNotFollowTheLinkWordOfACopy) {
  items[0].link = many[50].link;
  queue_unqueue(&queue, &items[0]);
  EXPECT_EQ(walk(queue), all_but({}));
}

// ---- Any

struct Lists {
  size_t n_elements;
  size_t longest;
};

class SeveralQueues : public QueuesTest, public testing::WithParamInterface<Lists> {};

TEST_P(SeveralQueues, OfSharedElementsBehaveAsLists) {
  Random random(31337);
  struct Pair {
    queue_head queue{};
    std::deque<void *> model;
  };
  std::vector<Pair> pairs(4);
  std::vector<Item> pool(GetParam().n_elements);
  for (int step = 0; step < 40000; ++step) {
    auto &[head, model] = random.pick(pairs);
    void *element = &random.pick(pool);
    auto place = std::find(model.begin(), model.end(), element);
    switch (random.below(model.size() < GetParam().longest ? 6 : 4)) {
      case 0:
      case 1:
        queue_unqueue(&head, element);
        if (place != model.end()) model.erase(place);
        break;
      case 2:
        ASSERT_EQ(queue_dequeue(&head), model.empty() ? nullptr : model.front());
        if (!model.empty()) model.pop_front();
        break;
      case 3:
        if (place != model.end()) {
          void *added = &random.pick(pool);
          queue_insqueue(&head, added, element);
          model.insert(place + 1, added);
        }
        break;
      case 4:
        queue_enqueue(&head, element);
        model.push_back(element);
        break;
      default:
        queue_requeue(&head, element);
        model.push_front(element);
    }
    ASSERT_EQ(walk(head), Elements(model.begin(), model.end()));
  }
  for (Pair &pair : pairs)
    runtime::abandon(&pair.queue);
  EXPECT_EQ(runtime::live_queue_entries(), 0u);
  uint64_t before = runtime::fallible_requests(runtime::Service::queue_entry);
  for (Item &item : pool)
    queue_enqueue(&queue, &item);
  EXPECT_EQ(runtime::fallible_requests(runtime::Service::queue_entry), before) << "the elements are free";
  runtime::abandon(&queue);
}

INSTANTIATE_TEST_SUITE_P(All, SeveralQueues, testing::Values(Lists{12, 20}, Lists{120, 60}),
                         [](const auto &about) { return about.param.longest > 32 ? "Long" : "Short"; });

}  // namespace
