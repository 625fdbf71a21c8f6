// What the engine keeps in addition to the repository, and that it frees it.
#include "engine_fixture.h"

#include <array>

#include "platform/engine.h"
#include "runtime/control.h"

namespace {

using State = test::EngineTest;

TEST_F(State, TheEngineIsTheFirstClientWithTheDefaultDatabase) {
  EXPECT_EQ(kel_clid, 1u);
  zar_db *database = nullptr;
  uint32_t other = 0;
  ASSERT_DONE(zar_client_register("other", nullptr, &other));
  uint32_t is_default = 0;
  EXPECT_EQ(zar_get_client_database_handle(other, "test", &database, &is_default), 1u);
  EXPECT_EQ(is_default, 1u);
  EXPECT_EQ(database, zar_clients_info[0]->database);
}

TEST_F(State, OfATargetIsCreatedWhenItIsRequested) {
  const uint32_t at = target(policy("gold"));
  EXPECT_EQ(engine::live_target_states(), 0u);
  engine::Attributes *attributes = engine::attributes_of(at);
  EXPECT_NE(attributes, nullptr);
  EXPECT_EQ(engine::attributes_of(at), attributes);
  EXPECT_EQ(engine::live_target_states(), 1u);
}

TEST_F(State, OfATargetIsDeletedWithTheTarget) {
  const uint32_t at = target(policy("gold"));
  engine::attributes_of(at)->set(engine::register_attribute("user"), "alice");
  zar_target_info *information = nullptr;
  ASSERT_DONE(zar_remove_target(kel_clid, at, &information));
  ASSERT_DONE(zar_delete_target(at));
  EXPECT_EQ(engine::live_target_states(), 0u);
  EXPECT_EQ(engine::live_instances(), 0u);
  EXPECT_EQ(engine::attributes_of(at), nullptr);
}

TEST_F(State, OfOneTargetIsNotThatOfAnother) {
  const uint32_t pmap = policy("gold");
  const uint32_t one = target(pmap);
  const uint32_t other = target(pmap);
  const engine::AttributeId user = engine::register_attribute("user");
  engine::attributes_of(one)->set(user, "alice");
  EXPECT_EQ(engine::attributes_of(other)->find(user), nullptr);
}

TEST_F(State, IsNeitherMadeNorChangedWhenItIsPrefetched) {
  const uint32_t pmap = policy("gold");
  const uint32_t without_state = target(pmap);
  const uint32_t with_state = target(pmap);
  const engine::AttributeId user = engine::register_attribute("user");
  engine::attributes_of(with_state)->set(user, "alice");
  const uint32_t inactive = target(pmap);
  ASSERT_DONE(zar_deactivate_any_policy_for_target(kel_clid, inactive));
  engine::prefetch(std::array{without_state, uint32_t{0}, with_state, inactive});
  engine::prefetch({});
  EXPECT_EQ(engine::live_target_states(), 1u);
  EXPECT_EQ(engine::attributes_of(with_state)->find(user)->text, "alice");
  EXPECT_EQ(engine::raise_event(with_state, 7).status, 0u);
}

TEST_F(State, InstancesFollowActivations) {
  const uint32_t gold = policy("gold");
  const uint32_t silver = policy("silver");
  const uint32_t at = target(gold);
  activate(silver, at);
  target(gold);
  EXPECT_EQ(engine::live_instances(), 3u);
  ASSERT_DONE(zar_deactivate_any_policy_for_target(kel_clid, at));
  EXPECT_EQ(engine::live_instances(), 1u);
}

TEST_F(State, TargetListsAreKeptOnceAndReleasedWithTheirElements) {
  const uint32_t gold = policy("gold");
  rule(event(gold, 1), 1, {&action("a"), &action("b"), &action("c")});
  target(gold);
  EXPECT_EQ(engine::kept_target_lists(), 1u) << "one list serves all the calls of an activation";
  target(gold);
  EXPECT_EQ(engine::kept_target_lists(), 2u);

  engine::release_target_lists();
  EXPECT_EQ(engine::kept_target_lists(), 0u);
  EXPECT_EQ(runtime::blocks_by_tag()[0x3e0000d].blocks, 0u);
  EXPECT_EQ(runtime::live_queue_entries(), 0u);
  EXPECT_TRUE(runtime::complaints().empty());
}

TEST_F(State, NoTargetListIsAlsoFine) {
  engine::keep_target_list(nullptr);
  EXPECT_EQ(engine::kept_target_lists(), 0u);
}

}  // namespace
