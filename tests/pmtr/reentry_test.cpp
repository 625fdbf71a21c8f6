// What text and free functions do while the statements of a parameter-map are searched, replaced and deleted.
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "lifecycle/lines.h"
#include "support/reentry.h"

using namespace rig;

namespace {

struct Statements : Lifecycle {
  const uint32_t abc = stored_pmtr_map("abc");
  zar_pmtr_map_stmt *const first = statement(abc, 1, "first");
  zar_pmtr_map_stmt *const second = statement(abc, 2, "second");
  const uint32_t permit = statement_action(abc, 1, 1, "permit"), drop = statement_action(abc, 1, 2, "drop");
  const uint32_t hidden = first->internal_cmap;
  uint32_t inner = 77;  // what the operation inside answered

  // Runs in the free function of the first action of the first statement.
  void while_freed(std::function<void()> act) { once_inside(data_of_action(permit), std::move(act)); }
};

// ---- A statement whose contents are being freed

TEST_F(Statements, ThatIsDeletedDoesNotExistForASecondDeletion) {
  while_freed([this] { inner = zar_pmtr_delete_filter(abc, 1); });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(inner, 37U);
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{2});
  for (const uint32_t each : {permit, drop, hidden})
    EXPECT_FALSE(live(each));
  EXPECT_CALLS("free permit", "free drop", "free first");
}

TEST_F(Statements, ThatIsDeletedDoesNotExistForADeletionOfItsRecord) {
  while_freed([this] { inner = zar_pmtr_delete_filter_by_stmt(first); });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(inner, 39U);
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{2});
}

TEST_F(Statements, ThatIsDeletedDoesNotExistForADeletionFromItsFilter) {
  once_inside(data_of_filter(filters_of(hidden).at(0)), [this] { inner = zar_pmtr_delete_filter(abc, 1); });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(inner, 37U);
  EXPECT_FALSE(live(hidden));
}

TEST_F(Statements, ThatIsDeletedAcceptsNothingMore) {
  const uint32_t more = action("more");
  while_freed([this, more] {
    EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 1, more), 39U);
    EXPECT_EQ(zar_remove_action_from_pmtr_stmt_action(abc, 1, drop), 39U);
    EXPECT_EQ(zar_add_statement_to_pmtr_map(abc, first), 39U);
    EXPECT_EQ(zar_get_internal_class_map(abc, 1), 0U);
  });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{2});
  EXPECT_EQ(zar_delete_action(more), 0U);
}

TEST_F(Statements, ThatIsDeletedIsNotCreatedAgainBeforeItsClassIsDeleted) {
  const zar_filter_context port = filter_context("port");
  while_freed([this, port] { inner = zar_pmtr_create_or_add_filter(abc, &port, 0, 0, 0, 1, 0, 0); });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(inner, 39U);
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{2});
}

TEST_F(Statements, ThatIsDeletedMayLoseTheNextOne) {
  while_freed([this] { inner = zar_pmtr_delete_filter(abc, 2); });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(inner, 0U);
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{});
}

TEST_F(Statements, ThatIsDeletedMayLoseItsParameterMap) {
  zar_db *const database = db;
  while_freed([this, database] { inner = zar_delete_stored_pmtr_map(abc, database); });
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 0U);
  EXPECT_EQ(inner, 0U);
  for (const uint32_t each : {abc, permit, drop, hidden})
    EXPECT_FALSE(live(each));
  EXPECT_EQ(cmaps_in(db), Handles{});
}

TEST_F(Statements, ThatIsReplacedMayLoseItsParameterMap) {
  const zar_filter_context port = filter_context("port");
  while_freed([this] { inner = zar_delete_stored_pmtr_map(abc, db); });
  EXPECT_EQ(zar_pmtr_create_or_add_filter(abc, &port, 0, 0, 0, 1, 1, 0), 39U);
  EXPECT_FALSE(live(abc));
  EXPECT_EQ(cmaps_in(db), Handles{});
}

// ---- A parameter-map whose statements are being freed

TEST_F(Statements, OfADeletedMapNoLongerSeeIt) {
  const uint32_t more = action("more");
  while_freed([this, more] {
    EXPECT_EQ(zar_delete_pmtr_map(abc), 39U);
    EXPECT_EQ(zar_delete_stored_pmtr_map(abc, db), 39U);
    EXPECT_EQ(zar_store_pmtr_map(one, abc), 39U);
    EXPECT_EQ(zar_pmtr_delete_filter(abc, 1), 39U);
    EXPECT_EQ(zar_pmtr_delete_filter(abc, 2), 39U);
    EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 2, more), 39U);
    EXPECT_EQ(zar_get_pmtr_map_name(abc), nullptr);
    EXPECT_EQ(zar_pmtr_delete_filter_by_stmt(first), 39U);
  });
  EXPECT_EQ(zar_delete_stored_pmtr_map(abc, db), 0U);
  for (const uint32_t each : {abc, permit, drop, hidden})
    EXPECT_FALSE(live(each));
  EXPECT_EQ(pmtr_maps_in(db), Handles{});
  EXPECT_EQ(cmaps_in(db), Handles{});
  EXPECT_CALLS("free permit", "free drop", "free first", "free second");
  EXPECT_EQ(zar_delete_action(more), 0U);
}

TEST_F(Statements, OfAnUnstoredMapThatIsDeletedNoLongerSeeIt) {
  const uint32_t xyz = pmtr_map("xyz");
  statement(xyz, 1, "first");
  const uint32_t only = statement_action(xyz, 1, 1, "only");
  once_inside(data_of_action(only), [this, xyz] { inner = zar_delete_pmtr_map(xyz); });
  EXPECT_EQ(zar_delete_pmtr_map(xyz), 0U);
  EXPECT_EQ(inner, 39U);
  EXPECT_FALSE(live(xyz));
}

// ---- Searches

TEST_F(Statements, AreSearchedAfterTheFilterThatATextFunctionDeletes) {
  const uint32_t taken = filter_in(hidden, "taken"), sought = filter_in(hidden, "sought");
  once_inside(data_of_filter(filters_of(hidden).at(0)), [this, taken] {
    EXPECT_EQ(zar_remove_filter_from_class(hidden, taken), 0U);
    EXPECT_EQ(zar_delete_filter(taken), 0U);
  });
  char out[32] = {};
  EXPECT_EQ(kel_pmtr_map_get_filter_expr_by_type(abc, 1, "soug", out), 0U);
  EXPECT_STREQ(out, "sought");
  EXPECT_TRUE(live(sought));
}

TEST_F(Statements, AreComparedAfterTheFilterThatACompareFunctionDeletes) {
  const uint32_t taken = filter_in(hidden, "taken"), sought = filter_in(hidden, "sought");
  once_inside(data_of_filter(filters_of(hidden).at(0)), [this, taken] {
    EXPECT_EQ(zar_remove_filter_from_class(hidden, taken), 0U);
    EXPECT_EQ(zar_delete_filter(taken), 0U);
  });
  const zar_filter_context context = filter_context("context", "sought");
  Data &old = data_of_filter(sought);
  EXPECT_EQ(zar_pmtr_create_or_add_filter(abc, &context, 0, 0, 0, 1, 0, 0), 0U);
  EXPECT_EQ(old.freed, 1) << "the equal filter has the new data";
  EXPECT_EQ(data_of_filter(sought).name, "context");
}

TEST_F(Statements, TakeANewActionThoughTheCompareFunctionUnlinksTheOldOne) {
  once_inside(data_of_action(permit),
              [this] { EXPECT_EQ(zar_remove_action_from_pmtr_stmt_action(abc, 1, permit), 0U); });
  EXPECT_NE(statement_action(abc, 1, 1, "other"), permit);
  EXPECT_EQ(statement_actions_of(abc, 1).size(), 2U);
  EXPECT_EQ(zar_delete_action(permit), 0U);
}

}  // namespace
