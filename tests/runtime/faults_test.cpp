#include <functional>

#include "tests/runtime/fixture.h"

namespace {

using runtime::Fault;
using runtime::Request;
using runtime::Service;

uint32_t never_equal(const void *, const void *) {
  return 0;
}

// One request of a service, which is undone immediately; false if it was refused.
struct Requester {
  Service service;
  bool (*make)();
};
void PrintTo(const Requester &requester, std::ostream *out) {
  *out << runtime::to_string(requester.service);
}

bool request_table() {
  uint16_t table = id_create_new_table(1, 1, "table", 11);
  return table != 0 && id_destroy_table(table) != 0;
}

bool request_id() {
  static int object;
  static const uint16_t table = id_create_new_table(1, 1, "table", 11);
  uint32_t id = id_get(&object, table, 12);
  return id != 0 && id_delete(id, table) != 0;
}

bool request_pool() {
  return chunk_create_bmalloc(40, 10, 0, 0, 13) != nullptr;
}

bool request_record() {
  static chunk_pool *pool = chunk_create_bmalloc(40, 10, 0, 0, 14);
  void *record = chunk_malloc(pool);
  return record && chunk_free(pool, record) != 0;
}

bool request_block() {
  void *block = bcalloc_named(2, 8, 15);
  bfree_named(block);
  return block != nullptr;
}

bool request_duplicate() {
  char *copy = bstrdup_named("copy", 16);
  bfree_named(copy);
  return copy != nullptr;
}

bool request_text() {
  sdb_ref reference = nullptr;
  return sdb_add_block("text", 4, &reference, 17) != 0 && sdb_remove_block(reference, 18) != 0;
}

bool request_tree() {
  avl_tree tree;
  return i_avl_tree_init(&tree, never_equal, nullptr) != 0;
}

bool request_insert() {
  static avl_tree tree;
  static const bool ready = i_avl_tree_init(&tree, never_equal, nullptr) != 0;
  avl_node node{};
  void *removed;
  return ready && i_avl_insert(&tree, &node) != 0 && i_avl_delete(&tree, &node, &removed) != 0;
}

bool request_entry() {
  static queue_link element;
  queue_head once{}, twice{};
  queue_enqueue(&once, &element);
  queue_enqueue(&twice, &element);
  bool entered = twice.count == 1;
  queue_dequeue(&twice);
  queue_dequeue(&once);
  return entered;
}

bool request_cell() {
  static queue_link elements[33];
  queue_head queue{};
  const size_t before = runtime::live_queue_entries();
  for (queue_link &element : elements)
    queue_enqueue(&queue, &element);
  const bool has_cell = runtime::live_queue_entries() > before;
  runtime::abandon(&queue);
  return has_cell;
}

const std::vector<Requester> kRequesters = {
    {Service::id_table, request_table},    {Service::id, request_id},           {Service::pool, request_pool},
    {Service::record, request_record},     {Service::block, request_block},     {Service::duplicate, request_duplicate},
    {Service::text, request_text},         {Service::tree_init, request_tree},  {Service::tree_insert, request_insert},
    {Service::queue_entry, request_entry}, {Service::queue_cell, request_cell},
};

class FaultsTest : public RuntimeTest, public testing::WithParamInterface<Requester> {
 protected:
  void SetUp() override {
    for (const Requester &requester : kRequesters)
      ASSERT_TRUE(requester.make());  // what is made once is made
    before = runtime::inventory();
  }
  void TearDown() override {
    runtime::clear_faults();
    runtime::record_requests(false);
    EXPECT_EQ(runtime::to_string(runtime::inventory()), runtime::to_string(before));
    RuntimeTest::TearDown();
  }

  static std::vector<bool> make(size_t times, bool (*request)() = GetParam().make) {
    std::vector<bool> granted;
    while (times-- > 0)
      granted.push_back(request());
    return granted;
  }
  static bool (*other_than(Service service))() { return service == Service::block ? request_record : request_block; }

  runtime::Inventory before;
};

TEST_P(FaultsTest, EveryRequestIsCounted) {
  uint64_t of_any = runtime::fallible_requests(), of_this = runtime::fallible_requests(GetParam().service);
  make(3);
  EXPECT_EQ(runtime::fallible_requests(GetParam().service), of_this + 3);
  EXPECT_EQ(runtime::fallible_requests(), of_any + 3);
}

TEST_P(FaultsTest, TheNthRequestFailsOnce) {
  uint64_t injected = runtime::injected_faults();
  runtime::fail_request(GetParam().service, 3);
  EXPECT_EQ(make(5), (std::vector<bool>{true, true, false, true, true}));
  EXPECT_EQ(runtime::injected_faults(), injected + 1);
}

TEST_P(FaultsTest, RequestsFailFromTheNthOnUntilTheFaultsAreCleared) {
  uint64_t injected = runtime::injected_faults();
  runtime::fail_request(GetParam().service, 2, Fault::from_then_on);
  EXPECT_EQ(make(4), (std::vector<bool>{true, false, false, false}));
  EXPECT_EQ(runtime::injected_faults(), injected + 3);
  runtime::clear_faults();
  EXPECT_EQ(make(2), (std::vector<bool>{true, true}));
}

TEST_P(FaultsTest, TheClockOfAnyServiceAlsoFailsThisOne) {
  runtime::fail_request(2);
  EXPECT_EQ(make(3), (std::vector<bool>{true, false, true}));
  runtime::fail_request(1, Fault::from_then_on);
  EXPECT_EQ(make(2), (std::vector<bool>{false, false}));
}

TEST_P(FaultsTest, TheClockOfOneServiceDoesNotCountOthers) {
  runtime::fail_request(GetParam().service, 1);
  EXPECT_EQ(make(3, other_than(GetParam().service)), (std::vector<bool>{true, true, true}));
  EXPECT_EQ(make(1), (std::vector<bool>{false}));
}

TEST_P(FaultsTest, ARefusedRequestIsRecordedAsFailed) {
  runtime::fail_request(GetParam().service, 2);
  runtime::record_requests(true);
  make(2);
  ASSERT_EQ(runtime::recorded_requests().size(), 2u);
  EXPECT_EQ(runtime::recorded_requests()[0].service, GetParam().service);
  EXPECT_FALSE(runtime::recorded_requests()[0].failed);
  EXPECT_TRUE(runtime::recorded_requests()[1].failed);
}

INSTANTIATE_TEST_SUITE_P(Each, FaultsTest, testing::ValuesIn(kRequesters),
                         [](const auto &param) { return std::string(runtime::to_string(param.param.service)); });

class FaultClockTest : public FaultsTest {};

TEST_F(FaultClockTest, SchedulesOfServicesRunBesideTheOneForAny) {
  runtime::fail_request(4);
  runtime::fail_request(Service::block, 1);
  runtime::fail_request(Service::record, 2);
  EXPECT_FALSE(request_block());
  EXPECT_TRUE(request_record());
  EXPECT_FALSE(request_record());
  EXPECT_FALSE(request_id());
  EXPECT_TRUE(request_id());
}

TEST_F(FaultClockTest, ARequestThatFailsByOneScheduleCountsForTheOtherToo) {
  runtime::fail_request(1);
  runtime::fail_request(Service::block, 2);
  EXPECT_EQ(make(3, request_block), (std::vector<bool>{false, false, true}));
}

TEST_F(FaultClockTest, ALaterCallReplacesTheSchedule) {
  runtime::fail_request(1, Fault::from_then_on);
  runtime::fail_request(3);
  EXPECT_EQ(make(4, request_block), (std::vector<bool>{true, true, false, true}));
  runtime::fail_request(Service::block, 1, Fault::from_then_on);
  runtime::fail_request(Service::block, 2);
  EXPECT_EQ(make(3, request_block), (std::vector<bool>{true, false, true}));
}

TEST_F(FaultClockTest, RequestsAreRecordedWithWhatWasAskedFor) {
  runtime::record_requests(true);
  make(1, request_table);
  make(1, request_id);
  make(1, request_record);
  make(1, request_block);
  make(1, request_duplicate);
  make(1, request_text);
  chunk_create("a name", 24, 10, 0, 0, 0);
  runtime::record_requests(false);
  make(1, request_block);

  struct Expected {
    Service service;
    uint32_t tag;
    size_t size;
    std::string text;
  };
  const std::vector<Expected> expected = {{Service::id_table, 11, 0, "table"}, {Service::id, 12, 0, ""},
                                          {Service::record, 14, 40, ""},       {Service::block, 15, 16, ""},
                                          {Service::duplicate, 16, 4, "copy"}, {Service::text, 17, 4, "text"},
                                          {Service::pool, 0, 24, "a name"}};
  const std::vector<Request> &recorded = runtime::recorded_requests();
  ASSERT_EQ(recorded.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(recorded[i].service, expected[i].service) << i;
    EXPECT_EQ(recorded[i].tag, expected[i].tag) << i;
    EXPECT_EQ(recorded[i].size, expected[i].size) << i;
    EXPECT_EQ(recorded[i].text, expected[i].text) << i;
    EXPECT_FALSE(recorded[i].failed) << i;
  }
  ASSERT_EQ(runtime::recorded_text_removals().size(), 1u);
  EXPECT_EQ(runtime::recorded_text_removals()[0].text, "text");
  EXPECT_EQ(runtime::recorded_text_removals()[0].tag, 18u);
}

TEST_F(FaultClockTest, StartingARecordingForgetsTheLastOne) {
  runtime::record_requests(true);
  make(2, request_text);
  runtime::record_requests(false);
  EXPECT_EQ(runtime::recorded_requests().size(), 2u);
  runtime::record_requests(true);
  EXPECT_TRUE(runtime::recorded_requests().empty());
  EXPECT_TRUE(runtime::recorded_text_removals().empty());
}

TEST_F(FaultClockTest, ARequestThatNoMemoryCouldServeIsRecordedAsFailed) {
  runtime::record_requests(true);
  EXPECT_EQ(bcalloc_named(SIZE_MAX, 2, 15), nullptr);
  ASSERT_EQ(runtime::recorded_requests().size(), 1u);
  EXPECT_TRUE(runtime::recorded_requests()[0].failed);
}

TEST_F(FaultClockTest, ALiveIdCanLoseItsPointerOnce) {
  int object = 0;
  uint16_t table = id_create_new_table(1, 1, "table", 0);
  uint32_t id = id_get(&object, table, 0), status = 99;
  runtime::lose_next_pointer();
  EXPECT_EQ(id_to_ptr(id + 1, &status, table), nullptr);
  EXPECT_EQ(status, 1u) << "an id that is not live is no occasion";
  EXPECT_EQ(id_to_ptr(id, &status, table), nullptr);
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(id_to_ptr(id, &status, table), &object);
  id_destroy_table(table);
}

TEST_F(FaultClockTest, ClearingTakesBackTheSingleFaultsToo) {
  int object = 0;
  uint16_t table = id_create_new_table(1, 1, "table", 0);
  uint32_t id = id_get(&object, table, 0), status = 99;
  runtime::lose_next_pointer();
  runtime::fail_next_tree_delete();
  runtime::clear_faults();
  EXPECT_EQ(id_to_ptr(id, &status, table), &object);
  EXPECT_TRUE(request_insert());
  id_destroy_table(table);
}

}  // namespace
