// The deletion of class-maps: unstored ones by handle, stored ones by handle and by name, none while a policy-map refers
// to it.
#include <ostream>
#include <utility>

#include "lifecycle/lines.h"

using namespace rig;

namespace {

constexpr const char *kVoice = "voice:d1:1";
constexpr uint32_t kCmapPool = 0x3e0003a, kCmapKey = 0x3e0003c, kFilterPool = 0x3e00041;

Line freeing_filter(const char *operation, uint32_t filter) {
  return info("(info): %s: Freeing filter:0x%x", operation, filter);
}
Line filter_freed(uint32_t filter) {
  return info("(info): Free filter:0x%x successful", filter);
}
Line still_referred(const char *operation, uint32_t cmap) {
  return info("(info): %s: cmap:0x%x cannot be deleted as the below policy-maps are referring to it", operation, cmap);
}
Line by_policy(const char *operation, const char *policy) {
  return info("(info): %s: pmap name:%s ", operation, policy);
}

// ---- What the three operations have in common

enum class By { unstored_handle, handle, name };

const char *to_text(By by) {
  return by == By::unstored_handle ? "UnstoredByHandle" : by == By::handle ? "ByHandle" : "ByName";
}
[[maybe_unused]] void PrintTo(By by, std::ostream *out) {
  *out << to_text(by);
}

struct DeletingClasses : Lifecycle, ::testing::WithParamInterface<By> {
  static const char *operation() {
    switch (GetParam()) {
      case By::unstored_handle:
        return "delete_class";
      case By::handle:
        return "delete_stored_class";
      case By::name:
        return "delete_stored_class_by_name";
    }
    return "?";
  }
  // A class-map such as the operation deletes.
  uint32_t deletable(const char *name, const MapOptions &options = {}) {
    return GetParam() == By::unstored_handle ? cmap(name, options) : stored_cmap(name, options);
  }
  static uint32_t delete_class(uint32_t clid, uint32_t cmap_handle, const char *name) {
    const zar_map_info info = map_info(name);
    switch (GetParam()) {
      case By::unstored_handle:
        return zar_delete_class(cmap_handle);
      case By::handle:
        return zar_delete_stored_class(clid, cmap_handle);
      case By::name:
        return zar_delete_stored_class_by_name(clid, &info);
    }
    return 0;
  }
  static Lines database_found() {
    return GetParam() == By::unstored_handle ? Lines{} : Lines{own_database(operation())};
  }
  static Line deleted(uint32_t cmap_handle, const char *name) {
    switch (GetParam()) {
      case By::unstored_handle:
        return info("(info): %s: successfully delete cmap:0x%x", operation(), cmap_handle);
      case By::handle:
        return info("(info): %s: successfully deleted stored cmap:0x%x", operation(), cmap_handle);
      case By::name:
        return info("(info): %s: successfully deleted stored class:%s", operation(), name);
    }
    return {};
  }
};
INSTANTIATE_TEST_SUITE_P(, DeletingClasses, ::testing::Values(By::unstored_handle, By::handle, By::name),
                         [](const auto &param) { return to_text(param.param); });

TEST_P(DeletingClasses, FreesHandleTextsKeyAndRecord) {
  const uint32_t other = deletable("video");
  const std::string before = everything();
  const size_t records = records_out(kCmapPool), keys = blocks_out(kCmapKey);
  const uint32_t voice = deletable("voice");
  watch_requests();
  EXPECT_EQ(delete_class(one, voice, "voice"), 0U);
  EXPECT_TRACED(database_found(), deleted(voice, "voice"));
  EXPECT_TEXT_REMOVALS("0x3e0003b \"voice\"", "0x3e00033 \"d1\"");
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_FALSE(live(voice));
  EXPECT_TRUE(live(other));
  EXPECT_EQ(records_out(kCmapPool), records);
  EXPECT_EQ(blocks_out(kCmapKey), keys);
  EXPECT_EQ(everything(), before);
}

TEST_P(DeletingClasses, FreesTheFiltersFromTheHead) {
  const std::string before = everything();
  const size_t records = records_out(kFilterPool);
  const uint32_t voice = deletable("voice");
  const uint32_t port = filter_in(voice, "port"), rate = filter_in(voice, "rate");
  watch_requests();
  EXPECT_EQ(delete_class(one, voice, "voice"), 0U);
  EXPECT_TRACED(database_found(), freeing_filter(operation(), port), filter_freed(port),
                freeing_filter(operation(), rate), filter_freed(rate), deleted(voice, "voice"));
  EXPECT_CALLS("free port", "free rate");
  EXPECT_REQUESTS();
  EXPECT_FALSE(live(port));
  EXPECT_FALSE(live(rate));
  EXPECT_EQ(records_out(kFilterPool), records);
  EXPECT_EQ(everything(), before);
}

TEST_P(DeletingClasses, DoesWithoutAFreeFunction) {
  const uint32_t voice = deletable("voice");
  const uint32_t port = filter_in(voice, "port");
  at<zar_filter>(port)->filter_free_fn = nullptr;
  EXPECT_EQ(delete_class(one, voice, "voice"), 0U);
  EXPECT_CALLS();
  EXPECT_FALSE(live(port));
}

TEST_P(DeletingClasses, RefusesAReferredOneAndNamesItsPolicies) {
  const uint32_t voice = deletable("voice");
  filter_in(voice, "port");
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  const uint32_t start = event_in(gold, 1);
  rule(start, voice, 1);
  rule(start, voice, 2);
  rule(event_in(silver, 1), voice);
  EXPECT_REFUSED(39U, delete_class(one, voice, "voice"));
  EXPECT_TRACED(database_found(), still_referred(operation(), voice), by_policy(operation(), "gold"),
                by_policy(operation(), "silver"));
  EXPECT_CALLS();
}

TEST_P(DeletingClasses, NamesNoPolicyForAReferenceWithoutOne) {
  breaks_invariants("a reference loses its policy-map");
  const uint32_t voice = deletable("voice");
  rule(event_in(pmap("gold"), 1), voice);
  rule(event_in(pmap("silver"), 1), voice);
  auto *reference = static_cast<zar_cmap_pmap_ref *>(runtime::elements(&at<zar_cmap>(voice)->pmap_refs)[0]);
  zar_pmap *gold_record = std::exchange(reference->pmap, nullptr);
  EXPECT_EQ(delete_class(one, voice, "voice"), 39U);
  reference->pmap = gold_record;
  EXPECT_TRACED(database_found(), still_referred(operation(), voice), by_policy(operation(), "silver"));
  EXPECT_TRUE(live(voice));
}

TEST_P(DeletingClasses, SucceedsOnceTheLastReferenceIsDropped) {
  const uint32_t voice = deletable("voice");
  const uint32_t gold = pmap("gold"), silver = pmap("silver");
  rule(event_in(gold, 1), voice);
  rule(event_in(silver, 1), voice);
  EXPECT_EQ(zar_delete_policy(gold), 0U);
  forget_trace();
  EXPECT_REFUSED(39U, delete_class(one, voice, "voice"));
  EXPECT_TRACED(database_found(), still_referred(operation(), voice), by_policy(operation(), "silver"));
  EXPECT_EQ(zar_delete_policy(silver), 0U);
  EXPECT_EQ(delete_class(one, voice, "voice"), 0U);
  EXPECT_FALSE(live(voice));
}

TEST_P(DeletingClasses, WorksOnlyOnce) {
  const uint32_t voice = deletable("voice");
  EXPECT_EQ(delete_class(one, voice, "voice"), 0U);
  forget_trace();
  if (GetParam() == By::name) {
    EXPECT_REFUSED(0U, delete_class(one, voice, "voice"));
    EXPECT_TRACED(own_database(operation()),
                  info("(info): %s: no policy-map with name:%s stored to remove for clid:%d", operation(), "voice", 1));
  } else {
    EXPECT_REFUSED(39U, delete_class(one, voice, "voice"));
    EXPECT_TRACED(destroyed_already(voice), no_cmap(operation()));
  }
}

// ---- Unstored class-maps

struct DeletingUnstoredClasses : Lifecycle {};

TEST_F(DeletingUnstoredClasses, LeaveAStoredOneInTheTree) {
  breaks_invariants("what stands in a tree is deleted");
  const uint32_t voice = stored_cmap("voice");
  const void *record = at<zar_cmap>(voice);
  EXPECT_EQ(zar_delete_class(voice), 0U);
  EXPECT_FALSE(live(voice));
  EXPECT_EQ(static_cast<const void *>(db->cmap_tree->top.parent), record) << "the tree holds a deleted record";
  // This tree must not be read any more.
  db->cmap_tree->top.parent = nullptr;
}

// ---- Stored class-maps

struct DeletingStoredClasses : DeletingClasses {
  static Line avl_delete_failed() { return error("(ERR): %s: Error: avl delete failed", operation()); }
};
INSTANTIATE_TEST_SUITE_P(, DeletingStoredClasses, ::testing::Values(By::handle, By::name),
                         [](const auto &param) { return to_text(param.param); });

TEST_P(DeletingStoredClasses, RemovesThemFromTheTree) {
  const uint32_t video = stored_cmap("video"), data_class = stored_cmap("data"), voice = stored_cmap("voice");
  EXPECT_EQ(delete_class(one, video, "video"), 0U);
  EXPECT_EQ(cmaps_in(db), (Handles{data_class, voice}));
}

TEST_P(DeletingStoredClasses, WorksInTheDatabaseOfTheClient) {
  const uint32_t voice = stored_cmap("voice");
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  const uint32_t other_voice = stored_cmap("voice", {.clid = three});

  EXPECT_EQ(delete_class(three, other_voice, "voice"), 0U);
  EXPECT_EQ(cmaps_in(other_db), Handles{});
  EXPECT_EQ(cmaps_in(db), Handles{voice});
  forget_trace();
  EXPECT_EQ(delete_class(two, voice, "voice"), 0U) << "client two works in the default database";
  EXPECT_TRACED(default_database(operation()), deleted(voice, "voice"));
  EXPECT_EQ(cmaps_in(db), Handles{});
}

TEST_P(DeletingStoredClasses, NeedsAValidClient) {
  const uint32_t voice = stored_cmap("voice");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, delete_class(clid, voice, "voice"));
    EXPECT_TRACED(wrong_clid(operation(), clid));
  }
}

TEST_P(DeletingStoredClasses, NeedsADatabase) {
  const uint32_t voice = stored_cmap("voice");
  // The database is looked up before the references are checked.
  rule(event_in(pmap("gold"), 1), voice);
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(37U, delete_class(one, voice, "voice"));
  EXPECT_TRACED(inactive_client(operation(), one));
  zar_clients_info[0]->status = 1;

  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(37U, delete_class(two, voice, "voice"));
  EXPECT_TRACED(no_default_database());
  zar_clients_info[0]->database = db;

  zar_client_data *client_two = std::exchange(zar_clients_info[1], nullptr);
  EXPECT_REFUSED(37U, delete_class(two, voice, "voice"));
  EXPECT_TRACED(missing_client(operation(), two));
  zar_clients_info[1] = client_two;
}

TEST_P(DeletingStoredClasses, FailsWithTheTree) {
  const uint32_t voice = stored_cmap("voice");
  filter_in(voice, "port");
  const std::string before = everything();
  runtime::fail_next_tree_delete();
  EXPECT_EQ(delete_class(one, voice, "voice"), 41U);
  EXPECT_EQ(everything(), before);
  EXPECT_TRACED(own_database(operation()), error("(ERR): CMAP avl: delete failed, hash str:%s", kVoice),
                avl_delete_failed());
  EXPECT_CALLS();
}

TEST_P(DeletingStoredClasses, ChecksTheReferencesBeforeTheTree) {
  const uint32_t voice = stored_cmap("voice");
  rule(event_in(pmap("gold"), 1), voice);
  runtime::fail_next_tree_delete();
  EXPECT_REFUSED(39U, delete_class(one, voice, "voice"));
  EXPECT_EQ(cmaps_in(db), Handles{voice});
  runtime::clear_faults();
}

TEST_P(DeletingStoredClasses, DeletesAHiddenOne) {
  const uint32_t voice = stored_cmap("voice", {.hidden = 1});
  EXPECT_EQ(delete_class(one, voice, "voice"), 0U);
  EXPECT_FALSE(live(voice));
}

// ---- By handle alone

struct DeletingClassesByHandle : Lifecycle {};

TEST_F(DeletingClassesByHandle, NeedAClass) {
  for (const uint32_t clid : {one, 9U}) {
    const Lines about_clid = clid == one ? Lines{} : Lines{wrong_clid("delete_stored_class", clid)};
    for (const auto &[what, handle, look_up] : wrong_handles(pmap("gold"))) {
      EXPECT_REFUSED(39U, zar_delete_stored_class(clid, handle));
      EXPECT_TRACED(about_clid, look_up, no_cmap("delete_stored_class"));
    }
  }
}

TEST_F(DeletingClassesByHandle, NeedAStoredOne) {
  const uint32_t voice = cmap("voice");
  EXPECT_REFUSED(41U, zar_delete_stored_class(one, voice));
  EXPECT_TRACED(own_database("delete_stored_class"), error("(ERR): CMAP avl: delete failed, hash str:%s", kVoice),
                error("(ERR): %s: Error: avl delete failed", "delete_stored_class"));
}

TEST_F(DeletingClassesByHandle, FailWithoutATree) {
  const uint32_t voice = stored_cmap("voice");
  avl_tree *tree = std::exchange(db->cmap_tree, nullptr);
  EXPECT_EQ(zar_delete_stored_class(one, voice), 41U);
  NEEDS_TRACE();
  ASSERT_FALSE(traced().empty());
  EXPECT_EQ(traced().back(), error("(ERR): %s: Error: avl delete failed", "delete_stored_class"));
  db->cmap_tree = tree;
  EXPECT_EQ(cmaps_in(db), Handles{voice});
}

TEST_F(DeletingClassesByHandle, FindTheRecordBehindOneWhoseKeyItExtends) {
  // The third one rotates the tree, so that the search for the long key finds the short one first.
  const uint32_t longer = stored_cmap("voice:d1", {.domain = "1x"});
  const uint32_t shorter = stored_cmap("voice"), least = stored_cmap("audio");
  EXPECT_EQ(zar_delete_stored_class(one, longer), 0U);
  EXPECT_FALSE(live(longer));
  EXPECT_EQ(cmaps_in(db), (Handles{least, shorter}));
}

TEST_F(DeletingClassesByHandle, DeleteExactlyThatRecord) {
  const uint32_t voice = stored_cmap("voice");
  const uint32_t twin = cmap("voice");
  EXPECT_REFUSED(41U, zar_delete_stored_class(one, twin));
  NEEDS_TRACE();
  EXPECT_EQ(traced().back(), error("(ERR): %s: Error: avl delete failed", "delete_stored_class"));
  EXPECT_EQ(cmaps_in(db), Handles{voice});
}

TEST_F(DeletingClassesByHandle, DeleteExactlyThatRecordWhereItsKeyExtendsAnother) {
  const uint32_t voice = stored_cmap("voice");
  const uint32_t extended = cmap("voice:d1", {.domain = "1"});
  EXPECT_REFUSED(41U, zar_delete_stored_class(one, extended));
  EXPECT_EQ(cmaps_in(db), Handles{voice});
}

TEST_F(DeletingClassesByHandle, LookInNoOtherDatabase) {
  const uint32_t voice = stored_cmap("voice");
  zar_db *other_db = database();
  const uint32_t three = client("three", other_db);
  EXPECT_REFUSED(41U, zar_delete_stored_class(three, voice));
  EXPECT_EQ(cmaps_in(db), Handles{voice});
}

TEST_F(DeletingClassesByHandle, LeaveTheTreeOfPoliciesAlone) {
  const uint32_t voice = cmap("voice");
  ASSERT_EQ(zar_store_policy(one, voice), 0U);
  EXPECT_REFUSED(41U, zar_delete_stored_class(one, voice));
  EXPECT_EQ(pmaps_in(db), Handles{voice});
}

// ---- By name alone

struct DeletingClassesByName : Lifecycle {
  static constexpr const char *kName = "delete_stored_class_by_name";
};

TEST_F(DeletingClassesByName, NeedAName) {
  stored_cmap("voice");
  for (const uint32_t clid : {one, 9U}) {
    const Lines about_clid = clid == one ? Lines{} : Lines{wrong_clid(kName, clid)};
    EXPECT_REFUSED(39U, zar_delete_stored_class_by_name(clid, nullptr));
    EXPECT_TRACED(about_clid, no_map_info(kName));

    const zar_map_info empty{nullptr, 0, nullptr, 0};
    EXPECT_REFUSED(39U, zar_delete_stored_class_by_name(clid, &empty));
    EXPECT_TRACED(
        about_clid, error("(ERR): %s: domain from input map info cannot be NULL", kName),
        error("(ERR): %s: map name from input map info cannot be NULL", kName),
        error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d", kName, 0, 1, 2));
  }
}

TEST_F(DeletingClassesByName, SucceedWhereNothingIsStored) {
  const uint32_t voice = stored_cmap("voice");
  cmap("video");
  for (const MapOptions &other : {MapOptions{.domain = "d2"}, MapOptions{.type = 2}}) {
    const zar_map_info info = map_info("voice", other);
    EXPECT_REFUSED(0U, zar_delete_stored_class_by_name(one, &info));
  }
  forget_trace();
  const zar_map_info video = map_info("video");
  EXPECT_REFUSED(0U, zar_delete_stored_class_by_name(two, &video));
  EXPECT_TRACED(default_database(kName),
                info("(info): %s: no policy-map with name:%s stored to remove for clid:%d", kName, "video", 2));
  EXPECT_EQ(cmaps_in(db), Handles{voice});
}

TEST_F(DeletingClassesByName, FailWhenTheSearchFails) {
  const uint32_t voice = stored_cmap("voice");
  const zar_map_info info = map_info("voice");
  avl_tree *tree = std::exchange(db->cmap_tree, nullptr);
  EXPECT_EQ(zar_delete_stored_class_by_name(one, &info), 41U);
  NEEDS_TRACE();
  ASSERT_FALSE(traced().empty());
  EXPECT_EQ(traced().back(), error("(ERR): %s: clid:%d class:%s search failed", kName, 1, "voice"));
  db->cmap_tree = tree;
  EXPECT_EQ(cmaps_in(db), Handles{voice});
}

TEST_F(DeletingClassesByName, FindALongNameByItsCutKey) {
  const std::string name(120, 'n');
  const uint32_t longest = stored_cmap(name.c_str());
  const std::string same_key = std::string(99, 'n') + "other";
  const zar_map_info info = map_info(same_key.c_str());
  EXPECT_EQ(zar_delete_stored_class_by_name(one, &info), 0U);
  EXPECT_FALSE(live(longest));
}

TEST_F(DeletingClassesByName, DeleteTheOneWhoseKeyTheirsExtends) {
  const uint32_t voice = stored_cmap("voice");
  const zar_map_info info = map_info("voice:d1", {.domain = "1"});
  EXPECT_EQ(zar_delete_stored_class_by_name(one, &info), 0U);
  EXPECT_TRACED(own_database(kName), rig::info("(info): %s: successfully deleted stored class:%s", kName, "voice:d1"));
  EXPECT_FALSE(live(voice));
}

TEST_F(DeletingClassesByName, DeleteNoneWhoseKeyExtendsTheirs) {
  const uint32_t extended = stored_cmap("voice:d1", {.domain = "1"});
  const zar_map_info info = map_info("voice");
  EXPECT_REFUSED(0U, zar_delete_stored_class_by_name(one, &info));
  EXPECT_EQ(cmaps_in(db), Handles{extended});
}

TEST_F(DeletingClassesByName, UnlinkARecordOfAnotherKindAndRefuseIt) {
  const uint32_t gold = pmap("gold"), values = pmtr_map("values");
  target(gold);
  const std::string before = everything();
  ASSERT_EQ(zar_store_class(one, gold), 0U);
  ASSERT_EQ(zar_store_class(one, values), 0U);
  const zar_map_info gold_info = map_info("gold");
  EXPECT_EQ(zar_delete_stored_class_by_name(one, &gold_info), 39U);
  const zar_map_info values_info = map_info("values", {.domain = "subscriber"});
  EXPECT_EQ(zar_delete_stored_class_by_name(one, &values_info), 39U);
  EXPECT_CALLS();
  EXPECT_EQ(cmaps_in(db), Handles{});
  EXPECT_EQ(everything(), before);
}

// ---- Under faults: a class-map's resources are freed, which requests nothing that could fail.

TEST(DeletingClassesUnderFaults, NeedsNothing) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const std::string before = world.everything();
    const zar_map_info info = World::map_info("voice");
    uint32_t voice = 0;
    if (clock.during([&] { return zar_create_class(world.one, &info, 1, &voice); }) != 0) {
      EXPECT_TRUE(clock.hit());
      EXPECT_EQ(world.everything(), before);
      return;
    }
    world.filter_in(voice, "port");
    if (clock.during([&] { return zar_store_class(world.one, voice); }) != 0) {
      EXPECT_TRUE(clock.failed_in(runtime::Service::tree_insert));
      EXPECT_EQ(clock.during([&] { return zar_delete_stored_class(world.one, voice); }), 41U);
      EXPECT_EQ(clock.during([&] { return zar_delete_stored_class_by_name(world.one, &info); }), 0U);
      EXPECT_EQ(clock.during([&] { return zar_delete_class(voice); }), 0U);
    } else {
      EXPECT_FALSE(clock.hit());
      EXPECT_EQ(clock.during([&] { return zar_delete_stored_class_by_name(world.one, &info); }), 0U);
      EXPECT_FALSE(clock.hit());
    }
    EXPECT_FALSE(World::live(voice));
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
