// The arguments of platform services that have no other visible effect.
#include "support/platform_log.h"
#include "support/repository.h"

using namespace rig;

namespace {

struct MadeThings : Repository {
  MadeThings() { watch_platform(); }

  static PlatformCalls made() { return take_platform_calls({"id table", "pool", "queue init", "tree empty"}); }
};

TEST_F(MadeThings, OfTheStart) {
  start_again();
  EXPECT_EQ(made(), (PlatformCalls{"queue init 0", "id table 256 256 \"ZAR PMAP HANDLE IDs\" 0x3e00023"}));
}

TEST_F(MadeThings, OfEmptyingATreeNameTheTreeTwice) {
  zar_destroy_database(db);
  EXPECT_EQ(made(), (PlatformCalls{text("tree empty %p %p", db->pmap_tree, db->pmap_tree),
                                   text("tree empty %p %p", db->cmap_tree, db->cmap_tree),
                                   text("tree empty %p %p", db->target_tree, db->target_tree),
                                   text("tree empty %p %p", db->pmtr_map_tree, db->pmtr_map_tree)}));
}

TEST_F(MadeThings, OfANewMapMakeUnlimitedQueues) {
  NEEDS_FRESH_PROCESS();
  pmap("gold");
  EXPECT_EQ(made(), (PlatformCalls{"pool 152 20 0x111 0 0x3e00037", "queue init 0", "queue init 0", "queue init 0"}));
  watch_platform();
  cmap("voice");
  EXPECT_EQ(made(), (PlatformCalls{"pool 136 20 0x111 0 0x3e0003a", "queue init 0", "queue init 0"}));
  watch_platform();
  pmtr_map("values");
  EXPECT_EQ(made(), (PlatformCalls{"pool \"ZAR DB pmtr-map chunk\" 104 20 0x111 0 0", "queue init 0"}));
}

TEST_F(MadeThings, OfANewEventMakeBothPoolsAndAQueue) {
  NEEDS_FRESH_PROCESS();
  event(1);
  EXPECT_EQ(made(), (PlatformCalls{"pool 64 30 0x111 0 0x3e00043", "pool 16 30 0x111 0 0x3e0004a", "queue init 0"}));
}

TEST_F(MadeThings, OfANewRuleMakeAQueue) {
  const uint32_t start = event(1), voice = cmap("voice");
  rule(start, voice, 1);
  watch_platform();
  rule(start, voice, 2);
  EXPECT_EQ(made(), PlatformCalls{"queue init 0"});
}

TEST_F(MadeThings, OfANewStatementMakeItsQueueAndThoseOfItsClassMap) {
  const uint32_t values = pmtr_map("values");
  statement(values, 1);
  watch_platform();
  statement(values, 2);
  EXPECT_EQ(made(), (PlatformCalls{"queue init 0", "queue init 0", "queue init 0"}));
}

TEST_F(MadeThings, OfANewTargetMakeBothItsQueues) {
  const uint32_t gold = pmap("gold");
  target(gold, 1);
  watch_platform();
  target(gold, 2);
  EXPECT_EQ(made(), (PlatformCalls{"queue init 0", "queue init 0"}));
}

TEST_F(MadeThings, OfANotificationMakeItsList) {
  const uint32_t gold = pmap("gold");
  action_in(rule(event_in(gold, 1), cmap("voice")), "permit");
  const uint32_t interface = target(pmap("silver"));
  watch_platform();
  activate(gold, interface);
  EXPECT_EQ(made(), PlatformCalls{"queue init 0"});
}

}  // namespace
