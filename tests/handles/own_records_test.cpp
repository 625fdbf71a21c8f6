// Records in the caller's own memory, under handles that the caller made for them.
#include "handles/scene.h"
#include "platform/runtime.h"
#include "support/lines.h"

using namespace handles;

namespace {

struct OwnRecords : ::testing::Test, Scene {
  void TearDown() override { EXPECT_EQ(runtime::complaints(), std::vector<std::string>{}) << "misuse of the runtime"; }
};

TEST_F(OwnRecords, AClassMapTakesFiltersAndIsRead) {
  zar_cmap own{};
  queue_init(&own.filters, 0);
  queue_init(&own.pmap_refs, 0);
  own.match_criteria = 2;
  own.handle = zar_handle_alloc(&own);

  EXPECT_EQ(zar_add_filter_to_class(own.handle, spare.filter), 0U);
  uint32_t first = 0;
  EXPECT_EQ(zar_get_filter(one, own.handle, &first), 0U);
  EXPECT_EQ(first, spare.filter);
  EXPECT_EQ(zar_get_cmap_match_logical_op(own.handle), 2U);
  EXPECT_EQ(rig::take_errors(), Lines{});
  EXPECT_EQ(zar_remove_filter_from_class(own.handle, spare.filter), 0U);
}

TEST_F(OwnRecords, AnActionIsInARule) {
  zar_action own{};
  own.action_num = 9;
  own.action_free_fn = rig::free_data;
  own.action_entry_fn = rig::run_action;
  own.action_str_fn = rig::action_text;
  own.action_compare_fn = rig::compare_data;
  own.handle = zar_handle_alloc(&own);

  EXPECT_EQ(zar_add_action_to_rule(linked.rule, own.handle), 0U);
  EXPECT_EQ(actions_of(linked.rule), (rig::Handles{linked.action, own.handle}));
  EXPECT_EQ(zar_get_action_num(own.handle), 9U);
  EXPECT_EQ(rig::take_errors(), Lines{});
  EXPECT_EQ(zar_remove_action_from_class_action(linked.rule, own.handle), 0U);
}

TEST_F(OwnRecords, APolicyMapIsStoredUnderItsOwnKey) {
  char key[] = "own:d1:1";
  zar_pmap own{};
  own.domain_type = 1;
  own.hash_str = key;
  queue_init(&own.rule_list, 0);
  own.handle = zar_handle_alloc(&own);

  EXPECT_EQ(zar_store_policy(one, own.handle), 0U);
  const zar_map_info name = map_info("own");
  uint32_t found = 0;
  EXPECT_EQ(zar_retrieve_policy(one, &name, &found), 0U);
  EXPECT_EQ(found, own.handle);
  EXPECT_EQ(zar_add_event(own.handle, spare.event), 0U);
  EXPECT_EQ(rig::take_errors(), Lines{});

  EXPECT_EQ(zar_delete_event(spare.event), 0U);
  zar_pmap *removed = nullptr;
  EXPECT_EQ(zar_avl_delete_pmap(db, &own, &removed), 1U);
}

// The client is notified of each target, although the library did not issue the handle and cannot detect when the
// record is freed.
TEST_F(OwnRecords, APolicyMapThatIsDeletedIsReportedToItsClient) {
  for (const bool by_name : {true, false}) {
    SCOPED_TRACE(by_name ? "by name" : "by handle");
    const uint32_t made = make(Kind::pmap);
    const uint32_t own = adopt(Kind::pmap, made);
    const std::string spare_name = zar_get_pmap_name(own);
    const zar_map_info name = map_info(spare_name.c_str());
    ASSERT_EQ(zar_store_policy(one, own), 0U);
    const uint32_t first = target(own, 31), second = target(own, 32);
    zar_client_register_target_policy_removal_vector(one, rig::policy_removed);
    rig::take_calls();

    EXPECT_EQ(by_name ? zar_delete_stored_policy_by_name(one, &name) : zar_delete_stored_policy(one, own), 0U);
    std::vector<std::string> reports = rig::take_calls();
    std::erase_if(reports, [](const std::string &call) { return !call.starts_with("removed "); });
    EXPECT_EQ(reports, (std::vector<std::string>{rig::text("removed target:0x%x pmap:0x%x", first, own),
                                                 rig::text("removed target:0x%x pmap:0x%x", second, own)}));
    EXPECT_EQ(active_on(first), rig::Handles{});
    EXPECT_FALSE(live(own));
  }
}

// A caller's released handle is as dead as any other.
TEST_F(OwnRecords, AReleasedHandleIsRefused) {
  zar_cmap own{};
  own.handle = zar_handle_alloc(&own);
  zar_handle_release(own.handle);
  EXPECT_EQ(zar_get_cmap_match_logical_op(own.handle), 0U);
  EXPECT_TRACED(rig::destroyed_already(own.handle),
                rig::error("(ERR): %s: input class map handle context cannot be NULL", " "));
}

}  // namespace
