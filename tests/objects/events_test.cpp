// The creation of events, and their match criteria.
#include "platform/runtime.h"
#include "support/lines.h"
#include "support/platform_log.h"
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;
constexpr uint32_t kTuplePool = 0x3e00043, kContextPool = 0x3e0004a;

struct Events : Repository {
  zar_event_context start = event_context(7);
  uint32_t handle = kUntouched;

  static Line no_place() { return error("(ERR): %s: Error: input event tuple handle cannot be NULL", "create_event"); }
  static Line no_context() { return error("(ERR): %s: Error: event context cannot be NULL", "create_event"); }
  static Line no_tuple() { return error("(ERR): create_event: memory alloc for event tuple failed"); }
  static Line no_context_record() { return error("(ERR): create_event: memory alloc for event context failed"); }

  // The pools are there, and requests are watched.
  void make_pools() {
    event(1, "other");
    watch_requests();
  }
};

TEST_F(Events, AreCreatedFromAnIdAndAName) {
  NEEDS_FRESH_PROCESS();
  watch_requests();
  EXPECT_EQ(zar_create_event(&start, "session-start", &handle), 0U);
  EXPECT_TRACED(info("(info): create_event: successful, action:0x%x", handle));
  EXPECT_REQUESTS("pool 0x3e00043 of 64", "pool 0x3e0004a of 16", "record 0x3e00043 of 64", "id 0x3e00023",
                  "record 0x3e0004a of 16", "text 0x3e0003d \"session-start\"");
  EXPECT_EQ(pool_of(kTuplePool), "64 bytes, 30 per chunk, flags 0x111");
  EXPECT_EQ(pool_of(kContextPool), "16 bytes, 30 per chunk, flags 0x111");

  const zar_event_tuple &event = *at<zar_event_tuple>(handle);
  EXPECT_EQ(event.handle, handle);
  EXPECT_EQ(event.pmap, nullptr);
  EXPECT_EQ(event.match_criteria, 1U);
  ASSERT_NE(event.event_context, nullptr);
  EXPECT_NE(event.event_context, &start);
  EXPECT_EQ(event.event_context->event_id, 7U);
  EXPECT_STREQ(sdb_string_addr_ptr(event.event_context->event_name), "session-start");
  EXPECT_EQ(runtime::elements(&event.class_actions), std::vector<void *>{});
  EXPECT_EQ(event.class_actions.limit, 0U);
}

TEST_F(Events, ReadNothingOfTheContextButTheId) {
  start.event_name = reinterpret_cast<sdb_ref>(0x10);
  EXPECT_EQ(zar_create_event(&start, "", &handle), 0U);
  EXPECT_STREQ(sdb_string_addr_ptr(at<zar_event_tuple>(handle)->event_context->event_name), "");
}

TEST_F(Events, MayShareIdAndName) {
  const uint32_t first = event(7, "start"), second = event(7, "start");
  EXPECT_NE(first, second);
  EXPECT_EQ(runtime::interned_texts()["start"], 2U);
}

TEST_F(Events, ShareTheirPools) {
  make_pools();
  EXPECT_EQ(zar_create_event(&start, "start", &handle), 0U);
  EXPECT_REQUESTS("record 0x3e00043 of 64", "id 0x3e00023", "record 0x3e0004a of 16", "text 0x3e0003d \"start\"");
}

TEST_F(Events, NeedAnOutPlaceForTheHandle) {
  watch_requests();
  EXPECT_REFUSED(39U, zar_create_event(&start, "start", nullptr));
  EXPECT_TRACED(no_place());
  EXPECT_REQUESTS();
}

TEST_F(Events, NeedAContext) {
  watch_requests();
  EXPECT_REFUSED(39U, zar_create_event(nullptr, "start", &handle));
  EXPECT_TRACED(no_context());
  EXPECT_REFUSED(39U, zar_create_event(nullptr, nullptr, nullptr));
  EXPECT_TRACED(no_place(), no_context());
  EXPECT_REQUESTS();
  EXPECT_EQ(handle, kUntouched);
}

TEST_F(Events, NeedThePoolOfTheirTuples) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  watch_requests();
  EXPECT_REFUSED(38U, zar_create_event(&start, "start", &handle));
  EXPECT_TRACED(no_tuple());
  EXPECT_REQUESTS("pool 0x3e00043 of 64 failed", "pool 0x3e0004a of 16");
  EXPECT_EQ(zar_create_event(&start, "start", &handle), 0U) << "the pool is tried again";
}

TEST_F(Events, NeedATuple) {
  make_pools();
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, zar_create_event(&start, "start", &handle));
  EXPECT_TRACED(no_tuple());
  EXPECT_REQUESTS("record 0x3e00043 of 64 failed");
  EXPECT_EQ(handle, kUntouched);
}

TEST_F(Events, NeedAHandle) {
  make_pools();
  runtime::fail_request(runtime::Service::id, 1);
  EXPECT_REFUSED(37U, zar_create_event(&start, "start", &handle));
  EXPECT_TRACED(error("(ERR): create_event: Could not create id for event tuple"));
  EXPECT_REQUESTS("record 0x3e00043 of 64", "id 0x3e00023 failed");
  EXPECT_EQ(handle, kUntouched);
}

// The only thing that a failure leaves behind: the handle.
TEST_F(Events, WithoutAContextRecordFreeTheTupleAndLeaveTheHandle) {
  make_pools();
  const std::string digest_before = digest();
  runtime::Inventory expected = runtime::inventory();
  runtime::fail_request(runtime::Service::record, 2);
  EXPECT_EQ(zar_create_event(&start, "start", &handle), 38U);
  EXPECT_TRACED(no_context_record());
  EXPECT_REQUESTS("record 0x3e00043 of 64", "id 0x3e00023", "record 0x3e0004a of 16 failed");
  EXPECT_EQ(handle, kUntouched);
  ++expected.ids;
  EXPECT_EQ(runtime::inventory(), expected);
  EXPECT_EQ(digest(), digest_before);
}

TEST_F(Events, WithoutThePoolOfContextsFreeTheTupleAndLeaveTheHandle) {
  NEEDS_FRESH_PROCESS();
  runtime::Inventory expected = runtime::inventory();
  runtime::fail_request(runtime::Service::pool, 2);
  EXPECT_EQ(zar_create_event(&start, "start", &handle), 38U);
  EXPECT_TRACED(no_context_record());
  ++expected.ids;
  EXPECT_EQ(runtime::inventory(), expected);
  EXPECT_EQ(zar_create_event(&start, "start", &handle), 0U) << "the pool is tried again";
}

TEST_F(Events, WhoseHandleWasLeftAreNotMistakenForTheNextOne) {
  make_pools();
  runtime::fail_request(runtime::Service::record, 2);
  zar_create_event(&start, "start", &handle);
  const uint32_t left_behind = runtime::live_ids().back();
  const uint32_t next = event(8, "next");
  ASSERT_EQ(zar_event_set_match_criteria(next, 2), 0U);
  EXPECT_EQ(zar_event_set_match_criteria(left_behind, 1), 39U);
  EXPECT_EQ(zar_event_get_match_criteria(next), 2U);
}

TEST_F(Events, NeedAName) {
  make_pools();
  EXPECT_REFUSED(37U, zar_create_event(&start, nullptr, &handle));
  EXPECT_TRACED(error("(ERR): create_event: event name is NULL"));
  EXPECT_REQUESTS("record 0x3e00043 of 64", "id 0x3e00023", "record 0x3e0004a of 16");
  EXPECT_TEXT_REMOVALS();
  EXPECT_EQ(handle, kUntouched);
}

TEST_F(Events, NeedTheirNameInterned) {
  make_pools();
  runtime::fail_request(runtime::Service::text, 1);
  EXPECT_REFUSED(37U, zar_create_event(&start, "start", &handle));
  EXPECT_TRACED(error("(ERR): create_event: Could not add event name to SDB name:%s", "start"));
  EXPECT_TEXT_REMOVALS();
  EXPECT_EQ(handle, kUntouched);
}

TEST_F(Events, WithoutANameFreeTheHandleThenTheTupleThenTheContext) {
  make_pools();
  watch_platform();
  EXPECT_EQ(zar_create_event(&start, nullptr, &handle), 37U);
  PlatformCalls calls = take_platform_calls({"record", "id 0x", "end id", "give back"});
  ASSERT_EQ(calls.size(), 6U);
  EXPECT_TRUE(calls[3].starts_with("end id")) << calls[3];
  calls.erase(calls.begin() + 3);
  EXPECT_EQ(calls, (PlatformCalls{"record 0x3e00043", "id 0x3e00023", "record 0x3e0004a", "give back 0x3e00043",
                                  "give back 0x3e0004a"}));
}

TEST_F(Events, BeginWithACleanRecord) {
  const uint32_t gold = pmap("gold");
  const uint32_t first = event_in(gold, 1, "first");
  ASSERT_EQ(zar_event_set_match_criteria(first, 2), 0U);
  ASSERT_EQ(zar_delete_policy(gold), 0U);
  ASSERT_FALSE(live(first));
  const zar_event_tuple &next = *at<zar_event_tuple>(event(2, "next"));
  EXPECT_EQ(next.pmap, nullptr);
  EXPECT_EQ(next.match_criteria, 1U);
}

// ---- Match criteria

struct MatchCriteria : Repository {
  uint32_t started = event(7);

  static Line invalid() {
    return error("(ERR): %s: Error: input pmap class match criteria is invalid", "event_set_match_criteria");
  }
};

TEST_F(MatchCriteria, OfANewEventAreMatchAll) {
  EXPECT_EQ(zar_event_get_match_criteria(started), 1U);
  EXPECT_TRACED();
}

TEST_F(MatchCriteria, AreSetTo1Or2) {
  for (const uint32_t criteria : {2U, 1U}) {
    EXPECT_EQ(zar_event_set_match_criteria(started, criteria), 0U);
    EXPECT_TRACED(info("(info): %s: setting match criteria to %d", "event_set_match_criteria", criteria));
    EXPECT_EQ(zar_event_get_match_criteria(started), criteria);
  }
}

TEST_F(MatchCriteria, Of0AreMatchAll) {
  zar_event_set_match_criteria(started, 2);
  forget_trace();
  EXPECT_EQ(zar_event_set_match_criteria(started, 0), 0U);
  EXPECT_TRACED(info("(info): %s: setting match criteria to match-all", "event_set_match_criteria"));
  EXPECT_EQ(zar_event_get_match_criteria(started), 1U);
}

TEST_F(MatchCriteria, From3OnAreRefused) {
  zar_event_set_match_criteria(started, 2);
  forget_trace();
  for (const uint32_t criteria : {3U, 257U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_event_set_match_criteria(started, criteria));
    EXPECT_TRACED(invalid());
  }
  EXPECT_EQ(zar_event_get_match_criteria(started), 2U);
}

TEST_F(MatchCriteria, NeedAnEvent) {
  for (const uint32_t criteria : {0U, 1U, 2U}) {
    EXPECT_REFUSED(39U, zar_event_set_match_criteria(0, criteria));
    EXPECT_TRACED(invalid_handle(), no_event("event_set_match_criteria"));
  }
  EXPECT_EQ(zar_event_get_match_criteria(0xfffffff0), 0U);
  EXPECT_TRACED(no_event("event_get_match_criteria"));
}

TEST_F(MatchCriteria, ReportBothFaults) {
  EXPECT_REFUSED(39U, zar_event_set_match_criteria(0xfffffff0, 3));
  EXPECT_TRACED(no_event("event_set_match_criteria"), invalid());
}

TEST(EventsUnderFaults, AreCreatedOrNot) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const zar_event_context start = World::event_context(7);
    const std::string digest_before = world.digest();
    runtime::Inventory expected = runtime::inventory();
    uint32_t handle = kUntouched;
    const uint32_t status = clock.during([&] { return zar_create_event(&start, "start", &handle); });
    using runtime::Service;
    const bool no_memory = clock.failed_in(Service::pool) || clock.failed_in(Service::record);
    EXPECT_EQ(status, !clock.hit() ? 0U : no_memory ? 38U : 37U);
    if (!clock.hit()) return;
    // Without a context record the handle stays behind. The pool of contexts is requested before the tuple, so that
    // when everything fails from there on there is no tuple.
    const bool once = clock.mode() == runtime::Fault::once;
    const bool handle_left =
        clock.failed_in(Service::record, kContextPool) || (clock.failed_in(Service::pool, kContextPool) && once);
    if (handle_left) ++expected.ids;
    EXPECT_EQ(runtime::inventory(), expected);
    EXPECT_EQ(world.digest(), digest_before);
    EXPECT_EQ(handle, kUntouched);
    EXPECT_EQ(zar_create_event(&start, "start", &handle), 0U);
  });
}

}  // namespace
