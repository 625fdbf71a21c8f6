#include "tests/runtime/fixture.h"

namespace {

class ControlTest : public RuntimeTest {};

TEST_F(ControlTest, TheInventoryOfAFreshRuntimeIsEmpty) {
  EXPECT_TRUE(runtime::inventory().empty());
  EXPECT_EQ(runtime::to_string(runtime::inventory()), "");
}

TEST_F(ControlTest, TheInventoryListsWhatIsLive) {
  runtime::Inventory before = runtime::inventory();
  int object = 0;
  uint16_t table = id_create_new_table(1, 1, "table", 0);
  id_get(&object, table, 0);
  chunk_pool *pool = chunk_create_bmalloc(32, 10, 0, 0, 0);
  void *record = chunk_malloc(pool);
  void *block = bcalloc_named(1, 8, 0x3e00004);
  sdb_ref text = nullptr;
  ASSERT_NE(sdb_add_block("gold", 4, &text, 0), 0u);
  queue_link element{};
  queue_head queue{};
  queue_enqueue(&queue, &element);
  queue_enqueue(&queue, &element);

  EXPECT_FALSE(runtime::inventory().empty());
  EXPECT_EQ(runtime::to_string(runtime::inventory()),
            "ids: 1\n"
            "records: 1\n"
            "blocks of tag 0x3e00004: 1\n"
            "text \"gold\": 1\n"
            "queue entries: 1\n");

  id_destroy_table(table);
  chunk_free(pool, record);
  bfree_named(block);
  sdb_remove_block(text, 0);
  runtime::abandon(&queue);
  EXPECT_EQ(runtime::inventory(), before);
}

TEST_F(ControlTest, ComplaintsAreKeptInOrderUntilTheyAreCleared) {
  int object = 0;
  bfree_named(&object);
  chunk_free(nullptr, &object);
  const std::vector<std::string> &said = runtime::complaints();
  ASSERT_EQ(said.size(), 2u);
  EXPECT_NE(said[0].find("freed"), std::string::npos) << said[0];
  EXPECT_NE(said[1].find("no pool"), std::string::npos) << said[1];
  runtime::clear_complaints();
  EXPECT_TRUE(runtime::complaints().empty());
}

TEST_F(ControlTest, TheElementsOfNoQueueAreNone) {
  EXPECT_TRUE(runtime::elements(nullptr).empty());
}

}  // namespace
