// The notifications of action handlers, and their target lists.
#include <algorithm>
#include <utility>

#include "platform/runtime.h"
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kCollectedTag = 0x3e0000e;
constexpr uint32_t kActivationTag = 0x3e0000d;

// A call of a notification function, with what its list held then.
struct Notification {
  uint32_t removed;
  void *data;
  queue_head *list;
  std::vector<const void *> target_infos;
};
std::vector<Notification> notifications;

void keep_notification(uint32_t removed, void *data, queue_head *list) {
  const auto elements = runtime::elements(list);
  notifications.push_back({removed, data, list, {elements.begin(), elements.end()}});
}

struct Notifications : Repository {
  // An action with the notification function of this file.
  uint32_t noting_action_in(uint32_t rule, const std::string &name, uint32_t action_num = 1) {
    const uint32_t handle = action_in(rule, name, action_num);
    at<zar_action>(handle)->action_notify_fn = keep_notification;
    return handle;
  }
  // Actions without a notification function are not notified.
  static void make_deaf(uint32_t action) { at<zar_action>(action)->action_notify_fn = nullptr; }

  void TearDown() override {
    std::vector<queue_head *> lists;
    for (const Notification &each : std::exchange(notifications, {})) {
      if (std::find(lists.begin(), lists.end(), each.list) == lists.end()) lists.push_back(each.list);
    }
    for (queue_head *list : lists) {
      runtime::abandon(list);
      bfree_named(list);
    }
    Repository::TearDown();
  }
};

// A policy-map that is active on the targets 7 and 8, and then got its rules: two events, three class-actions.
struct ActivePolicy : Notifications {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t seven = target(gold, 7);
  const uint32_t eight = target(gold, 8);
  const uint32_t start = event_in(gold, 1, "start");
  const uint32_t stop = event_in(gold, 2, "stop");
  const uint32_t voice = rule(start, cmap("voice"), 1);
  const uint32_t video = rule(start, cmap("video"), 2);
  const uint32_t rest = rule(stop, cmap("rest"), 1);

  // Removes the targets' information, like a host that is about to end.
  static zar_target_info *detach(uint32_t target) {
    return std::exchange(at<zar_target>(target)->target_info, nullptr);
  }
};

// ---- One action

struct OneAction : ActivePolicy {};

TEST_F(OneAction, NotifiesItsHandlerOfAllTargetsOfThePolicy) {
  const uint32_t log = action("log");
  zar_shim_action_added_removed(log, gold, 1);
  EXPECT_CALLS("notify added log [7 8]");
  zar_shim_action_added_removed(log, gold, 256);
  EXPECT_CALLS("notify added log [7 8]");
  zar_shim_action_added_removed(log, gold, 0);
  EXPECT_CALLS("notify removed log [7 8]");
  EXPECT_TRACED();
}

TEST_F(OneAction, PassesItsOwnListWithTheCallersRecords) {
  const uint32_t log = noting_action_in(voice, "log");
  watch_requests();
  zar_shim_action_added_removed(log, gold, 1);
  EXPECT_EQ(take_requests().front(), "block 0x3e0000e of 24");
  ASSERT_EQ(notifications.size(), 1U);
  EXPECT_EQ(notifications[0].data, at<zar_action>(log)->action_data);
  EXPECT_EQ(notifications[0].target_infos,
            (std::vector<const void *>{at<zar_target>(seven)->target_info, at<zar_target>(eight)->target_info}));
  EXPECT_EQ(notifications[0].list->limit, 0U);
  EXPECT_EQ(blocks_out(kCollectedTag), 1U) << "the list is the handler's";
  zar_shim_action_added_removed(log, gold, 1);
  ASSERT_EQ(notifications.size(), 2U);
  EXPECT_NE(notifications[1].list, notifications[0].list) << "each call has its own";
}

TEST_F(OneAction, NeedNotBeInThePolicy) {
  const uint32_t other = stored_pmap("other");
  target(other, 9);
  zar_shim_action_added_removed(action_in(voice, "log"), other, 1);
  EXPECT_CALLS("notify added log [9]");
}

TEST_F(OneAction, NotifiesNobodyWhereThePolicyIsActiveNowhere) {
  const uint32_t idle = stored_pmap("idle");
  const uint32_t log = action_in(rule(event_in(idle, 1), cmap("c")), "log");
  const std::string before = everything();
  zar_shim_action_added_removed(log, idle, 1);
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(OneAction, LeavesOutTargetsWithoutInformation) {
  const uint32_t log = action("log");
  zar_target_info *info_of_seven = detach(seven);
  zar_shim_action_added_removed(log, gold, 1);
  EXPECT_CALLS("notify added log [8]");

  zar_target_info *info_of_eight = detach(eight);
  const std::string before = everything();
  zar_shim_action_added_removed(log, gold, 1);
  EXPECT_CALLS();
  EXPECT_EQ(everything(), before);
  at<zar_target>(seven)->target_info = info_of_seven;
  at<zar_target>(eight)->target_info = info_of_eight;
}

TEST_F(OneAction, WithoutNotificationFunctionDoesNothing) {
  const uint32_t log = action("log");
  make_deaf(log);
  const std::string before = everything();
  zar_shim_action_added_removed(log, gold, 1);
  zar_shim_action_added_removed(log, 0xfffffff0, 1);
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(OneAction, WithoutDataDoesNothing) {
  const uint32_t log = noting_action_in(voice, "log");
  void *own = std::exchange(at<zar_action>(log)->action_data, nullptr);
  const std::string before = everything();
  zar_shim_action_added_removed(log, gold, 1);
  EXPECT_EQ(everything(), before) << "a list that nobody gets is freed";
  EXPECT_TRUE(notifications.empty());
  EXPECT_TRACED();
  at<zar_action>(log)->action_data = own;
}

TEST_F(OneAction, ThatIsNoneDoesNothing) {
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::action)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    const std::string before = everything();
    zar_shim_action_added_removed(wrong.handle, 0xfffffff0, 1);
    EXPECT_EQ(everything(), before);
    EXPECT_CALLS();
    // Handle 0 means no action, and is not looked up.
    EXPECT_EQ(take_trace(), wrong.handle == 0 ? Lines{} : wrong.look_up);
  }
}

TEST_F(OneAction, WorksForAPolicyThatIsNotControl) {
  const uint32_t silver = stored_pmap("silver", {.type = 2});
  target(silver, 9);
  zar_shim_action_added_removed(action("log"), silver, 0);
  EXPECT_CALLS("notify removed log [9]");
}

TEST_F(OneAction, NotifiesNobodyWithoutMemoryForTheList) {
  const uint32_t log = action("log");
  const std::string before = everything();
  const uint64_t faults_before = runtime::injected_faults();
  runtime::fail_request(runtime::Service::block, 1);
  zar_shim_action_added_removed(log, gold, 1);
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(runtime::injected_faults(), faults_before + 1);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

// ---- An activation

struct Activation : ActivePolicy {
  static void invoke(uint32_t pmap, uint32_t target, uint32_t added) {
    zar_invoke_action_handler(at<zar_pmap>(pmap), at<zar_target>(target), added);
  }
};

TEST_F(Activation, NotifiesTheHandlersInTheOrderOfTheRules) {
  action_in(video, "c", 1);
  action_in(voice, "b", 2);
  action_in(voice, "a", 1);
  action_in(rest, "d", 1);
  invoke(gold, seven, 1);
  EXPECT_CALLS("notify added a [7]", "notify added b [7 7]", "notify added c [7 7 7]", "notify added d [7 7 7 7]");
  invoke(gold, eight, 0);
  EXPECT_CALLS("notify removed a [8]", "notify removed b [8 8]", "notify removed c [8 8 8]",
               "notify removed d [8 8 8 8]");
  invoke(gold, eight, 256);
  EXPECT_EQ(take_calls().front(), "notify added a [8]");
  EXPECT_TRACED();
}

TEST_F(Activation, NotifiesTheHandlerAtEachPlaceOfAnAction) {
  const uint32_t log = action_in(voice, "log");
  zar_increment_action(at<zar_action>(log));
  add_action(rest, log);
  invoke(gold, seven, 1);
  EXPECT_CALLS("notify added log [7]", "notify added log [7 7]");
}

TEST_F(Activation, PassesOneListToAllHandlers) {
  const uint32_t a = noting_action_in(voice, "a", 1);
  noting_action_in(voice, "b", 2);
  watch_requests();
  invoke(gold, seven, 1);
  EXPECT_EQ(take_requests().front(), "block 0x3e0000d of 24");
  ASSERT_EQ(notifications.size(), 2U);
  EXPECT_EQ(notifications[0].list, notifications[1].list);
  EXPECT_EQ(notifications[0].list->limit, 0U);
  EXPECT_EQ(notifications[0].data, at<zar_action>(a)->action_data);
  EXPECT_EQ(notifications[1].target_infos,
            (std::vector<const void *>{at<zar_target>(seven)->target_info, at<zar_target>(seven)->target_info}));
  EXPECT_EQ(blocks_out(kActivationTag), 1U) << "the list is the handlers'";
}

TEST_F(Activation, SkipsActionsWithoutNotificationFunction) {
  make_deaf(action_in(voice, "a", 1));
  action_in(voice, "b", 2);
  invoke(gold, seven, 1);
  EXPECT_CALLS("notify added b [7]");
}

TEST_F(Activation, NeedsNoListWhereNobodyListens) {
  make_deaf(action_in(voice, "a"));
  const std::string before = everything();
  watch_requests();
  invoke(gold, seven, 1);
  EXPECT_REQUESTS();
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
}

TEST_F(Activation, AlsoNotifiesActionsWithoutData) {
  const uint32_t a = noting_action_in(voice, "a");
  void *own = std::exchange(at<zar_action>(a)->action_data, nullptr);
  invoke(gold, seven, 1);
  ASSERT_EQ(notifications.size(), 1U);
  EXPECT_EQ(notifications[0].data, nullptr);
  at<zar_action>(a)->action_data = own;
}

TEST_F(Activation, NeedsBothRecords) {
  action_in(voice, "a");
  zar_invoke_action_handler(nullptr, at<zar_target>(seven), 1);
  zar_invoke_action_handler(at<zar_pmap>(gold), nullptr, 1);
  zar_invoke_action_handler(nullptr, nullptr, 1);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(Activation, RefusesATargetWithoutInformation) {
  action_in(voice, "a");
  zar_target_info *own = detach(seven);
  const std::string before = everything();
  invoke(gold, seven, 1);
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
  at<zar_target>(seven)->target_info = own;
}

TEST_F(Activation, OfAPolicyThatIsNotControlNotifiesNobody) {
  const MapOptions plain = {.type = 2};
  const uint32_t silver = stored_pmap("silver", plain);
  stored_cmap("voice", plain);
  action_in(plain_rule("silver", "voice"), "log");
  const uint32_t nine = target(silver, 9);
  const std::string before = everything();
  invoke(silver, nine, 1);
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
}

TEST_F(Activation, EndsWithoutMemoryForTheList) {
  action_in(voice, "a");
  action_in(rest, "b");
  const std::string before = everything();
  const uint64_t faults_before = runtime::injected_faults();
  runtime::fail_request(runtime::Service::block, 1);
  invoke(gold, seven, 1);
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(runtime::injected_faults(), faults_before + 1);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

// The handler of an earlier call keeps its list, so the target's information is in it and an entry of a second list
// must be allocated.
TEST_F(Activation, PassesNoEmptyListWithoutMemoryForAnEntry) {
  noting_action_in(voice, "a", 1);
  noting_action_in(voice, "b", 2);
  invoke(gold, seven, 1);
  ASSERT_EQ(notifications.size(), 2U);
  const std::string before = everything();
  runtime::fail_request(runtime::Service::queue_entry, 1, runtime::Fault::from_then_on);
  invoke(gold, seven, 1);
  runtime::clear_faults();
  EXPECT_EQ(notifications.size(), 2U);
  EXPECT_EQ(everything(), before) << "the list that nobody got is freed";

  runtime::fail_request(runtime::Service::queue_entry, 1);
  invoke(gold, seven, 1);
  ASSERT_EQ(notifications.size(), 3U) << "b is notified: its entry is there";
  EXPECT_EQ(notifications[2].data, at<zar_action>(actions_of(voice)[1])->action_data);
  EXPECT_EQ(notifications[2].target_infos, (std::vector<const void *>{at<zar_target>(seven)->target_info}));
}

TEST_F(OneAction, GetsNoEmptyListWithoutMemoryForAnEntry) {
  const uint32_t log = noting_action_in(voice, "log");
  zar_shim_action_added_removed(log, gold, 1);
  ASSERT_EQ(notifications.size(), 1U);
  const std::string before = everything();
  runtime::fail_request(runtime::Service::queue_entry, 1, runtime::Fault::from_then_on);
  zar_shim_action_added_removed(log, gold, 1);
  runtime::clear_faults();
  EXPECT_EQ(notifications.size(), 1U);
  EXPECT_EQ(everything(), before) << "the list that nobody got is freed";

  runtime::fail_request(runtime::Service::queue_entry, 1);
  zar_shim_action_added_removed(log, gold, 1);
  ASSERT_EQ(notifications.size(), 2U);
  EXPECT_EQ(notifications[1].target_infos, (std::vector<const void *>{at<zar_target>(eight)->target_info}))
      << "what is in the list counts";
}

TEST_F(Activation, AndDeactivationOfATargetNotifyTheHandlers) {
  const uint32_t silver = stored_pmap("silver");
  action_in(rule(event_in(silver, 1), cmap("c")), "log");
  EXPECT_EQ(zar_activate_policy(one, silver, seven), 0U);
  EXPECT_CALLS(instance_created(seven, one, "silver:d1:1"), "notify added log [7]");
  EXPECT_EQ(zar_deactivate_any_policy_for_target(one, seven), 0U);
  EXPECT_CALLS(instance_sought(seven, "gold:d1:1"), instance_deleted(seven, "gold:d1:1"),
               instance_sought(seven, "silver:d1:1"), instance_deleted(seven, "silver:d1:1"), "notify removed log [7]");
}

// ---- The removal of an event, or of a class-action

struct Removal : ActivePolicy {};

TEST_F(Removal, OfAnEventNotifiesTheHandlersOfAllItsActions) {
  action_in(video, "c", 1);
  action_in(voice, "b", 2);
  action_in(voice, "a", 1);
  action_in(rest, "other");
  zar_remove_action_handler_for_event(start, gold);
  EXPECT_CALLS("notify removed a [7 8]", "notify removed b [7 8 7 8]", "notify removed c [7 8 7 8 7 8]");
  EXPECT_TRACED();
}

TEST_F(Removal, OfAClassActionNotifiesTheHandlersOfItsActions) {
  action_in(voice, "b", 2);
  action_in(voice, "a", 1);
  action_in(video, "other");
  zar_remove_action_handler_for_class(voice, gold);
  EXPECT_CALLS("notify removed a [7 8]", "notify removed b [7 8 7 8]");
  EXPECT_TRACED();
}

// Both go by the same rules.
struct Command {
  const char *name;
  void (*remove)(uint32_t of, uint32_t pmap);
  Kind kind;
  const char *message;
};
void PrintTo(const Command &command, std::ostream *out) {
  *out << command.name;
}
const Command kCommands[] = {
    {"remove_action_handler_for_event", zar_remove_action_handler_for_event, Kind::event,
     "(ERR): %s: input event class action handle context cannot be NULL"},
    {"remove_action_handler_for_class", zar_remove_action_handler_for_class, Kind::rule,
     "(ERR): %s: input class action handle context cannot be NULL"},
};

struct EachRemoval : ActivePolicy, ::testing::WithParamInterface<Command> {
  uint32_t subject() const { return GetParam().kind == Kind::event ? start : voice; }
  void remove(uint32_t of, uint32_t pmap) const { GetParam().remove(of, pmap); }
  Line no_subject() const { return error(GetParam().message, GetParam().name); }
  Line no_policy() const { return info("(info): %s: Error: input pmap context cannot be NULL", GetParam().name); }
};
INSTANTIATE_TEST_SUITE_P(, EachRemoval, ::testing::ValuesIn(kCommands),
                         [](const auto &command) { return std::string(command.param.name); });

TEST_P(EachRemoval, PassesOneListToAllHandlers) {
  noting_action_in(voice, "a", 1);
  noting_action_in(voice, "b", 2);
  watch_requests();
  remove(subject(), gold);
  EXPECT_EQ(take_requests().front(), "block 0x3e0000e of 24");
  ASSERT_EQ(notifications.size(), 2U);
  EXPECT_EQ(notifications[0].removed, 1U);
  EXPECT_EQ(notifications[0].list, notifications[1].list);
  EXPECT_EQ(notifications[0].list->limit, 0U);
  EXPECT_EQ(blocks_out(kCollectedTag), 1U) << "the list is the handlers'";
}

TEST_P(EachRemoval, PassesNoEmptyListWithoutMemoryForAnyEntry) {
  noting_action_in(voice, "a");
  remove(subject(), gold);
  ASSERT_EQ(notifications.size(), 1U);
  const std::string before = everything();
  runtime::fail_request(runtime::Service::queue_entry, 1, runtime::Fault::from_then_on);
  remove(subject(), gold);
  runtime::clear_faults();
  EXPECT_EQ(notifications.size(), 1U);
  EXPECT_EQ(everything(), before) << "the list that nobody got is freed";
}

TEST_P(EachRemoval, SkipsActionsWithoutNotificationFunction) {
  make_deaf(action_in(voice, "a", 1));
  action_in(voice, "b", 2);
  remove(subject(), gold);
  EXPECT_CALLS("notify removed b [7 8]");
}

TEST_P(EachRemoval, AlsoNotifiesActionsWithoutData) {
  const uint32_t a = noting_action_in(voice, "a");
  void *own = std::exchange(at<zar_action>(a)->action_data, nullptr);
  remove(subject(), gold);
  ASSERT_EQ(notifications.size(), 1U);
  EXPECT_EQ(notifications[0].data, nullptr);
  at<zar_action>(a)->action_data = own;
}

TEST_P(EachRemoval, ReportsTheTargetsOfTheGivenPolicy) {
  action_in(voice, "a");
  const uint32_t other = stored_pmap("other");
  target(other, 9);
  remove(subject(), other);
  EXPECT_CALLS("notify removed a [9]");
}

TEST_P(EachRemoval, NotifiesNobodyWhereThePolicyIsActiveNowhere) {
  action_in(voice, "a");
  const uint32_t idle = stored_pmap("idle");
  const std::string before = everything();
  watch_requests();
  remove(subject(), idle);
  EXPECT_REQUESTS();
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
}

TEST_P(EachRemoval, LeavesOutTargetsWithoutInformation) {
  action_in(voice, "a");
  zar_target_info *info_of_seven = detach(seven);
  remove(subject(), gold);
  EXPECT_CALLS("notify removed a [8]");
  zar_target_info *info_of_eight = detach(eight);
  remove(subject(), gold);
  EXPECT_CALLS();
  at<zar_target>(seven)->target_info = info_of_seven;
  at<zar_target>(eight)->target_info = info_of_eight;
}

TEST_P(EachRemoval, TracesBothThatAreMissing) {
  remove(0xfffffff0, 0xfffffff1);
  EXPECT_TRACED(no_subject(), no_policy());
}

TEST_P(EachRemoval, EndsWithoutMemoryForTheList) {
  action_in(voice, "a", 1);
  action_in(voice, "b", 2);
  const std::string before = everything();
  const uint64_t faults_before = runtime::injected_faults();
  runtime::fail_request(runtime::Service::block, 1);
  remove(subject(), gold);
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(runtime::injected_faults(), faults_before + 1);
  EXPECT_CALLS() << "no second try for the next action";
  EXPECT_TRACED();
}

TEST_F(Removal, OfAnEventTriesNoOtherRuleWithoutMemoryForTheList) {
  action_in(voice, "a", 1);
  action_in(rule(start, cmap("other"), 2), "b", 1);
  const uint64_t faults_before = runtime::injected_faults();
  runtime::fail_request(runtime::Service::block, 1);
  zar_remove_action_handler_for_event(start, gold);
  EXPECT_EQ(runtime::injected_faults(), faults_before + 1);
  EXPECT_CALLS();
}

TEST_F(Removal, OfAClassActionWorksForAPolicyThatIsNotControl) {
  const MapOptions plain = {.type = 2};
  const uint32_t silver = stored_pmap("silver", plain);
  stored_cmap("voice", plain);
  const uint32_t plain_voice = plain_rule("silver", "voice");
  action_in(plain_voice, "log");
  target(silver, 9);
  zar_remove_action_handler_for_class(plain_voice, silver);
  EXPECT_CALLS("notify removed log [9]");
  EXPECT_TRACED();
}

TEST_F(Removal, OfAnEventRefusesAClassAction) {
  const MapOptions plain = {.type = 2};
  stored_pmap("silver", plain);
  stored_cmap("voice", plain);
  const uint32_t plain_voice = plain_rule("silver", "voice");
  zar_remove_action_handler_for_event(plain_voice, gold);
  EXPECT_TRACED(another_kind(plain_voice), error("(ERR): %s: input event class action handle context cannot be NULL",
                                                 "remove_action_handler_for_event"));
}

// ---- Under faults

TEST(NotificationsUnderFaults, ChangeNothingInTheRepository) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.stored_pmap("gold");
    const uint32_t seven = world.target(gold, 7);
    world.target(gold, 8);
    const uint32_t start = world.event_in(gold, 1);
    const uint32_t voice = world.rule(start, world.cmap("voice"));
    const uint32_t a = world.action_in(voice, "a", 1);
    world.action_in(voice, "b", 2);
    const std::string before = world.digest();
    const runtime::Inventory held = runtime::inventory();
    clock.during([&] {
      zar_shim_action_added_removed(a, gold, 1);
      zar_invoke_action_handler(World::at<zar_pmap>(gold), World::at<zar_target>(seven), 1);
      zar_remove_action_handler_for_event(start, gold);
      zar_remove_action_handler_for_class(voice, gold);
    });
    EXPECT_EQ(world.digest(), before);
    free_target_lists();
    EXPECT_EQ(to_string(runtime::inventory()), to_string(held)) << "only the lists were taken";
    zar_shim_action_added_removed(a, gold, 0);
    EXPECT_EQ(calls().back(), "notify removed a [7 8]");
  });
}

}  // namespace
