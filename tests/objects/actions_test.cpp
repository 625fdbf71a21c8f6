// The creation of actions.
#include "platform/runtime.h"
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;
constexpr uint32_t kPoolTag = 0x3e00044;

struct Actions : Repository {
  zar_action_context permit = action_context("permit");
  uint32_t handle = kUntouched;

  static Lines no_place() {
    return {error("(ERR): %s: Error: input action handle cannot be NULL", "create_action"),
            error("(ERR): create_action: Invalid action_hdl")};
  }
  static Line no_context() { return error("(ERR): %s: Error: input action context cannot be NULL", "create_action"); }
  static Line no_free() {
    return error("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", "create_action");
  }
  static Line no_entry() {
    return error("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", "create_action");
  }
  static Line invalid_context() { return error("(ERR): create_action: Invalid action_context"); }
  static Line no_text_or_compare() {
    return error("(ERR): %s: Error: action parse fn, action compare hdl fn from input action context cannot be NULL",
                 "create_action");
  }
};

TEST_F(Actions, AreCreatedFromAContext) {
  NEEDS_FRESH_PROCESS();
  watch_requests();
  EXPECT_EQ(zar_create_action(&permit, 3, 700, &handle), 0U);
  EXPECT_TRACED(info("(info): create_action: successful, action:0x%x", handle));
  EXPECT_REQUESTS("pool 0x3e00044 of 80", "record 0x3e00044 of 80", "id 0x3e00023");
  EXPECT_EQ(pool_of(kPoolTag), "80 bytes, 50 per chunk, flags 0x111");
  EXPECT_CALLS();

  const zar_action &action = *at<zar_action>(handle);
  EXPECT_EQ(action.handle, handle);
  EXPECT_EQ(action.action_num, 3U);
  EXPECT_EQ(action.precedence, 700U);
  EXPECT_EQ(action.ref_count, 1U);
  EXPECT_EQ(action.executed_count, 0U);
  EXPECT_EQ(action.action_data, permit.action_data);
  EXPECT_EQ(action.action_free_fn, permit.action_free_fn);
  EXPECT_EQ(action.action_entry_fn, permit.action_entry_fn);
  EXPECT_EQ(action.action_str_fn, permit.action_str_fn);
  EXPECT_EQ(action.action_compare_fn, permit.action_compare_fn);
  EXPECT_EQ(action.action_notify_fn, permit.action_notify_fn);
  EXPECT_EQ(action.action_param_map_check_fn, permit.action_param_map_check_fn);
}

TEST_F(Actions, ShareAPool) {
  action("deny");
  watch_requests();
  EXPECT_EQ(zar_create_action(&permit, 1, 0, &handle), 0U);
  EXPECT_REQUESTS("record 0x3e00044 of 80", "id 0x3e00023");
}

TEST_F(Actions, KeepTheLowBitsOfTheirNumbers) {
  EXPECT_EQ(zar_create_action(&permit, 0x1ff, 0x1fffe, &handle), 0U);
  EXPECT_EQ(at<zar_action>(handle)->action_num, 0xffU);
  EXPECT_EQ(at<zar_action>(handle)->precedence, 0xfffeU);
  EXPECT_EQ(zar_create_action(&permit, 0xffffff00, 0xffff0000, &handle), 0U);
  EXPECT_EQ(at<zar_action>(handle)->action_num, 0U);
  EXPECT_EQ(at<zar_action>(handle)->precedence, 0U);
}

TEST_F(Actions, MayGoWithoutDataNotificationAndParameterMapCheck) {
  permit.action_data = nullptr;
  permit.action_notify_fn = nullptr;
  permit.action_param_map_check_fn = nullptr;
  EXPECT_EQ(zar_create_action(&permit, 1, 0, &handle), 0U);
  EXPECT_EQ(at<zar_action>(handle)->action_data, nullptr);
  EXPECT_EQ(at<zar_action>(handle)->action_notify_fn, nullptr);
  EXPECT_EQ(at<zar_action>(handle)->action_param_map_check_fn, nullptr);
}

TEST_F(Actions, TraceAllFaultsOfTheirArguments) {
  // Which of place, free, entry, text and compare function are missing.
  for (unsigned missing = 1; missing < 32; ++missing) {
    SCOPED_TRACE(missing);
    zar_action_context context = permit;
    Lines lines;
    if (missing & 1) lines = no_place();
    if (missing & 2) context.action_free_fn = nullptr;
    if (missing & 4) context.action_entry_fn = nullptr;
    if (missing & 8) context.action_str_fn = nullptr;
    if (missing & 16) context.action_compare_fn = nullptr;
    if (missing & 2) lines.push_back(no_free());
    if (missing & 4) lines.push_back(no_entry());
    if (missing & 6) lines.push_back(invalid_context());
    if (!(missing & 7)) lines.push_back(no_text_or_compare());

    watch_requests();
    EXPECT_REFUSED(39U, zar_create_action(&context, 1, 0, missing & 1 ? nullptr : &handle));
    EXPECT_EQ(take_trace(), lines);
    EXPECT_REQUESTS();
  }
  EXPECT_EQ(handle, kUntouched);
}

TEST_F(Actions, NeedAContext) {
  EXPECT_REFUSED(39U, zar_create_action(nullptr, 1, 0, &handle));
  EXPECT_TRACED(no_context(), invalid_context());
  EXPECT_REFUSED(39U, zar_create_action(nullptr, 1, 0, nullptr));
  EXPECT_TRACED(no_place()[0], no_place()[1], no_context(), invalid_context());
}

TEST_F(Actions, NeedTheirPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  watch_requests();
  EXPECT_REFUSED(38U, zar_create_action(&permit, 1, 0, &handle));
  EXPECT_REQUESTS("pool 0x3e00044 of 80 failed");
  EXPECT_TRACED(error("(ERR): create_action: memory alloc for action failed"));
  EXPECT_EQ(handle, kUntouched);
  EXPECT_EQ(zar_create_action(&permit, 1, 0, &handle), 0U) << "the pool is tried again";
}

TEST_F(Actions, NeedARecord) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, zar_create_action(&permit, 1, 0, &handle));
  EXPECT_TRACED(error("(ERR): create_action: memory alloc for action failed"));
  EXPECT_EQ(handle, kUntouched);
}

TEST_F(Actions, NeedAHandle) {
  runtime::fail_request(runtime::Service::id, 1);
  EXPECT_REFUSED(37U, zar_create_action(&permit, 1, 0, &handle));
  EXPECT_TRACED(error("(ERR): create_action: Could not create id for action "));
  EXPECT_EQ(handle, kUntouched);
  EXPECT_CALLS();
}

TEST_F(Actions, BeginWithACleanRecord) {
  const uint32_t first = action("deny", 9, 9);
  at<zar_action>(first)->executed_count = 77;
  ASSERT_EQ(zar_delete_action(first), 0U);
  EXPECT_EQ(at<zar_action>(action("permit"))->executed_count, 0U);
}

// ---- Giving a record back

TEST_F(Actions, AreReturnedToTheirPoolAsTheyAre) {
  const uint32_t permit_action = action("permit");
  zar_action *record = at<zar_action>(permit_action);
  EXPECT_NE(zar_free_action_from_action_chunk(record), 0U);
  EXPECT_EQ(records_out(kPoolTag), 0U);
  EXPECT_TRUE(live(permit_action)) << "handle and data are the caller's to release";
  EXPECT_CALLS();
  EXPECT_TRACED();
  zar_handle_release(permit_action);
}

TEST_F(Actions, ThatAreNullAreNotReturned) {
  action("permit");
  EXPECT_REFUSED(0U, zar_free_action_from_action_chunk(nullptr));
}

TEST(ActionsUnderFaults, AreCreatedOrNot) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const zar_action_context permit = world.action_context("permit");
    const std::string before = world.everything();
    uint32_t handle = kUntouched;
    const uint32_t status = clock.during([&] { return zar_create_action(&permit, 1, 0, &handle); });
    EXPECT_EQ(status, !clock.hit() ? 0U : clock.failed_in(runtime::Service::id) ? 37U : 38U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(handle, kUntouched);
    EXPECT_EQ(zar_create_action(&permit, 1, 0, &handle), 0U);
  });
}

}  // namespace
