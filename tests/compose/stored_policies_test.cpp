// Assembling stored policy-maps by name: classes and actions under events and without, and removing classes.
#include "composition.h"
#include "support/lines.h"

using namespace rig;

namespace {

using runtime::Service;
using Counts = std::vector<std::pair<uint32_t, uint32_t>>;

constexpr const char *kAddClass = "add_class_to_stored_policy";
constexpr const char *kMatching = "get_matching_class_action_tuple";
constexpr const char *kRemoveClass = "remove_class_from_policy";
constexpr const char *kRemoveAction = "remove_action_from_stored_policy";

constexpr uint32_t kRuleTag = 0x3e00049;
constexpr uint32_t kEventTag = 0x3e00043;

struct StoredPolicies : Composition {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = stored_cmap("voice");
  const uint32_t video = stored_cmap("video");
  const uint32_t plain = stored_pmap("plain", {.type = 2});
  const zar_map_info gold_info = map_info("gold");
  const zar_map_info voice_info = map_info("voice");
  const zar_map_info video_info = map_info("video");
  const zar_map_info plain_info = map_info("plain", {.type = 2});
  const zar_map_info unknown_info = map_info("nowhere");
  const zar_event_context at_start = event_context(7);

  uint32_t add_class(const zar_map_info &policy, const zar_event_context *context, const zar_map_info &class_info,
                     uint32_t exec_criteria = 1, uint32_t class_num = 1) {
    return zar_add_class_to_stored_policy(one, &policy, context, "start", exec_criteria, class_num, &class_info);
  }
  uint32_t add_class_action(const zar_map_info &policy, const zar_event_context *context, uint32_t cmap,
                            uint32_t action, uint32_t exec_criteria = 1, uint32_t class_num = 1) {
    return zar_add_class_action_to_stored_policy(one, &policy, context, exec_criteria, cmap, class_num, action);
  }

  // ---- What is traced

  static Lines policy_found(const char *key) {
    return {info("(info): %s: using client specific database", "retrieve_policy"),
            info("(info): retrieve_policy: successful, pmap:%s", key)};
  }
  static Lines class_found(const char *key) {
    return {info("(info): %s: using client specific database", "retrieve_class"),
            info("(info): retrieve_class: successful, cmap:%s", key)};
  }
  Lines policy_missed(const char *name) const {
    return {info("(info): %s: using client specific database", "retrieve_policy"),
            info("(info): retrieve_policy: search failed as there is no match clid:%d, name:%s", one, name)};
  }
  Lines class_missed(const char *name) const {
    return {info("(info): %s: using client specific database", "retrieve_class"),
            info("(info): retrieve_class: search failed as there is no match clid:%d, name:%s", one, name)};
  }
  static Lines gold_and_voice() { return lines(policy_found("gold:d1:1"), class_found("voice:d1:1")); }

  static Line retrieved(uint32_t pmap, uint32_t cmap) {
    return info("(info): %s: retrieved stored policy:0x%x, stored class:0x%x", kAddClass, pmap, cmap);
  }
  static Line retrieved(uint32_t pmap) { return info("(info): %s: retrieved stored policy:0x%x", kAddClass, pmap); }

  static Line needs_event(const char *name) {
    return error("(ERR): %s: Error: event needs to be provided to add class for control polies", name);
  }
  static Line bad_criteria() { return error("(ERR): %s: Error: invalid action exec criteria", kAddClass); }
  static Line not_control(const char *name) {
    return error("(ERR): %s: Error: Policy map has to be CONTROL type", name);
  }

  static Line rule_created(uint32_t rule) {
    return info("(info): %s: class-action tuple created, hdl:0x%x", "create_class_action_tuple", rule);
  }
  // Of a class-action that comes to the head of an event's list; 'references' is between.
  static Lines rule_added(uint32_t rule, uint32_t cmap, uint32_t event, const Lines &references) {
    return lines(rule_created(rule),
                 info("(info): %s: class-action:0x%p adding to event:0x%x as first entry", "add_class_to_event",
                      at<zar_class_action>(rule), event),
                 references, info("(info): %s: added class:0x%x to event:0x%x", "add_class_to_event", cmap, event));
  }
};

TEST_F(StoredPolicies, NeedTheClassMapToTheEnd) {
  NEEDS_TRACE();
  when_traced(retrieved(plain, voice), [&] { zar_handle_release(voice); });
  EXPECT_EQ(add_class(plain_info, nullptr, voice_info, 3, 200), 39U);
  EXPECT_ERRORS(destroyed_already(voice), no_cmap(kAddClass));
  EXPECT_EQ(plain_rules_of(plain), Handles{});
}

// ---- A class in a stored policy-map that is not CONTROL

struct PlainPolicy : StoredPolicies {};

TEST_F(PlainPolicy, GetsTheClassActionAtItsEndWithoutNumberAndReferences) {
  rule(event_in(gold, 1), voice, 9);  // a number, where the record of a new class-action might come from
  const zar_event_context at_one = event_context(1);
  zar_remove_class_from_policy(gold, &at_one, voice, 9);
  forget_trace();
  EXPECT_EQ(add_class(plain_info, nullptr, voice_info, 3, 200), 0U);
  ASSERT_EQ(plain_rules_of(plain).size(), 1U);
  const uint32_t first = plain_rules_of(plain)[0];
  EXPECT_TRACED(policy_found("plain:d1:2"), class_found("voice:d1:1"), retrieved(plain, voice), rule_created(first));
  const auto *record = at<zar_class_action>(first);
  EXPECT_EQ(record->class_num, 0);
  EXPECT_EQ(record->exec_criteria, 3U);
  EXPECT_EQ(record->cmap, at<zar_cmap>(voice));
  EXPECT_EQ(actions_of(first), Handles{});
  EXPECT_EQ(cmap_refs_of(plain), Counts{});
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
  EXPECT_CALLS();
}

TEST_F(PlainPolicy, TakesClassesInTheOrderOfAdditionAndAsOftenAsTheyAreAdded) {
  for (const zar_map_info &each : {video_info, voice_info, video_info})
    EXPECT_EQ(add_class(plain_info, &at_start, each, 0, 9), 0U) << "an event is not checked";
  const Handles rules = plain_rules_of(plain);
  ASSERT_EQ(rules.size(), 3U);
  EXPECT_EQ(at<zar_class_action>(rules[0])->cmap, at<zar_cmap>(video));
  EXPECT_EQ(at<zar_class_action>(rules[1])->cmap, at<zar_cmap>(voice));
  EXPECT_EQ(at<zar_class_action>(rules[2])->cmap, at<zar_cmap>(video));
  EXPECT_EQ(at<zar_class_action>(rules[2])->exec_criteria, 2U) << "0 is the default";
  EXPECT_EQ(records_taken(kEventTag), 0U);
}

TEST_F(PlainPolicy, ReturnsTheFailureOfTheClassAction) {
  const Lines lookups = lines(policy_found("plain:d1:2"), class_found("voice:d1:1"), retrieved(plain, voice));
  rule(event(1), video);
  forget_trace();
  runtime::fail_request(Service::record, 1);
  EXPECT_REFUSED(37, add_class(plain_info, nullptr, voice_info));
  EXPECT_TRACED(lookups, error("(ERR): %s: memory alloc for class action failed", "create_class_action_tuple"));
  runtime::fail_request(Service::id, 1);
  EXPECT_REFUSED(37, add_class(plain_info, nullptr, voice_info));
  EXPECT_TRACED(lookups, error("(ERR): %s: Could not create id for class action", "create_class_action_tuple"));
}

TEST_F(PlainPolicy, GetsNoClassActionWhoseNewHandleIsLost) {
  NEEDS_TRACE();
  add_class(plain_info, nullptr, video_info);
  const std::string before = everything();
  forget_trace();
  lose_record_after("(info): create_class_action_tuple: class-action tuple created");
  EXPECT_EQ(add_class(plain_info, nullptr, voice_info), 37U);
  EXPECT_EQ(everything(), before) << "nothing is in the list, and the record is freed";
  const Lines errors = take_errors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_TRUE(errors[0].text.starts_with("(ERR): ZAR Found NULL context with handle")) << errors[0];
}

TEST_F(PlainPolicy, HasNoRuleToFindByNameSoThatActionsAreRefused) {
  add_class(plain_info, nullptr, voice_info);
  const uint32_t permit = action_in(plain_rules_of(plain)[0], "permit");
  const Lines lookups = lines(policy_found("plain:d1:2"), class_found("voice:d1:1"));
  forget_trace();
  EXPECT_REFUSED(39, zar_add_action_to_stored_policy(one, &plain_info, nullptr, &voice_info, permit));
  EXPECT_EQ(take_trace(), lookups);
  EXPECT_REFUSED(39, zar_remove_action_from_stored_policy(one, &plain_info, nullptr, &voice_info, permit));
  EXPECT_EQ(take_trace(), lookups);
  EXPECT_REFUSED(39, zar_add_action_to_stored_policy(one, &plain_info, &at_start, &voice_info, 0));
  EXPECT_EQ(take_trace(), lookups);
}

TEST_F(PlainPolicy, RefusesAClassWithAnActionBeforeTheActionIsJudged) {
  const uint32_t permit = action("permit");
  add_class(plain_info, nullptr, voice_info);
  forget_trace();
  EXPECT_REFUSED(39, add_class_action(plain_info, &at_start, voice, permit));
  const Lines refusal = lines(policy_found("plain:d1:2"), retrieved(plain), not_control(kAddClass));
  EXPECT_EQ(take_trace(), refusal);
  EXPECT_REFUSED(39, add_class_action(plain_info, nullptr, voice, permit));
  EXPECT_EQ(take_trace(), refusal) << "without an event it is the type that is wrong";
  EXPECT_REFUSED(39, add_class_action(plain_info, &at_start, voice, 0));
  EXPECT_TRACED(refusal, invalid_handle(), no_action(kAddClass));
}

TEST_F(PlainPolicy, RefusesToRemoveAClass) {
  add_class(plain_info, nullptr, voice_info);
  forget_trace();
  EXPECT_REFUSED(39, zar_remove_class_from_policy(plain, &at_start, voice, 0));
  EXPECT_TRACED(not_control(kRemoveClass));
  EXPECT_REFUSED(39, zar_remove_class_from_policy(plain, nullptr, 0, 0));
  EXPECT_TRACED(not_control(kRemoveClass), invalid_handle(), no_cmap(kRemoveClass));
}

// ---- A class in a stored CONTROL policy-map

struct ControlPolicy : StoredPolicies {
  Line event_there() const { return info("(info): %s: event:%d already existing in pmap:0x%x", kAddClass, 7, gold); }
  // Of the event that the first class brings about.
  Lines event_made(uint32_t event) const {
    return {info("(info): %s: event:%d not found in pmap:0x%x, adding now", kAddClass, 7, gold),
            info("(info): create_event: successful, action:0x%x", event),
            info("(info): %s: Added event tuple:0x%x, to pmap:0x%x success", "add_event", event, gold),
            info("(info): %s: updated references between event tuple:0x%x, and pmap:0x%x", "add_event", event, gold),
            info("(info): %s: event:%d added to pmap:0x%x", kAddClass, 7, gold)};
  }
};

TEST_F(ControlPolicy, GetsTheEventThatItLacks) {
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info, 3, 258), 0U);
  ASSERT_EQ(events_of(gold).size(), 1U);
  const uint32_t started = events_of(gold)[0];
  ASSERT_EQ(rules_of(started).size(), 1U);
  const uint32_t first = rules_of(started)[0];
  EXPECT_TRACED(gold_and_voice(), retrieved(gold, voice), event_made(started),
                rule_added(first, voice, started, references_added(gold, voice)));
  EXPECT_EQ(zar_get_event_id(started), 7U);
  EXPECT_STREQ(zar_get_event_name(started), "start");
  EXPECT_EQ(at<zar_event_tuple>(started)->pmap, at<zar_pmap>(gold));
  EXPECT_EQ(at<zar_class_action>(first)->class_num, 2);
  EXPECT_EQ(at<zar_class_action>(first)->exec_criteria, 3U);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
  EXPECT_CALLS();
}

TEST_F(ControlPolicy, KeepsTheEventThatIsThere) {
  event_in(gold, 6);
  const uint32_t started = event_in(gold, 7, "its own name");
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info), 0U);
  ASSERT_EQ(rules_of(started).size(), 1U);
  EXPECT_TRACED(gold_and_voice(), retrieved(gold, voice), event_there(),
                rule_added(rules_of(started)[0], voice, started, references_added(gold, voice)));
  EXPECT_EQ(events_of(gold).size(), 2U);
  EXPECT_STREQ(zar_get_event_name(started), "its own name");
}

TEST_F(ControlPolicy, NeedsNoNameForAnEventThatIsThere) {
  const uint32_t started = event_in(gold, 7);
  EXPECT_EQ(zar_add_class_to_stored_policy(one, &gold_info, &at_start, nullptr, 0, 1, &voice_info), 0U);
  EXPECT_EQ(rules_of(started).size(), 1U);
}

TEST_F(ControlPolicy, TakesAClassOnceAnEvent) {
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info, 1, 5), 0U);
  forget_trace();
  EXPECT_REFUSED(0, add_class(gold_info, &at_start, voice_info, 3, 6));
  EXPECT_TRACED(gold_and_voice(), retrieved(gold, voice), event_there(),
                info("(info): %s: class:0x%x already present in pmap:0x%x", kAddClass, voice, gold));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
}

TEST_F(ControlPolicy, CountsAClassUnderTwoEventsTwiceAndReleasesItWithTheSecond) {
  const zar_event_context at_stop = event_context(8);
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info), 0U);
  EXPECT_EQ(add_class(gold_info, &at_stop, voice_info), 0U);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 2}}));
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
  EXPECT_EQ(pmap_refs_of(voice), Handles{gold});
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_stop, voice, 1), 0U);
  EXPECT_EQ(cmap_refs_of(gold), Counts{});
  EXPECT_EQ(pmap_refs_of(voice), Handles{});
  EXPECT_EQ(events_of(gold).size(), 2U) << "events stay when their last class-action is deleted";
}

TEST_F(ControlPolicy, SkipsEventsWithoutAContext) {
  lose_event_context(event_in(gold, 7));
  const uint32_t started = event_in(gold, 7);
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info), 0U);
  EXPECT_ERRORS(no_event_context(kAddClass));
  EXPECT_EQ(rules_of(started).size(), 1U);
}

TEST_F(ControlPolicy, NeedsAnEventToAddAClass) {
  EXPECT_REFUSED(39, add_class(gold_info, nullptr, voice_info));
  EXPECT_TRACED(gold_and_voice(), retrieved(gold, voice), needs_event(kAddClass));
}

TEST_F(ControlPolicy, RefusesExecCriteriaFrom4On) {
  for (const uint32_t criteria : {4U, 256U, 0xffffffffU}) {
    EXPECT_REFUSED(39, add_class(gold_info, &at_start, voice_info, criteria));
    EXPECT_TRACED(gold_and_voice(), retrieved(gold, voice), bad_criteria());
    EXPECT_REFUSED(39, add_class(plain_info, nullptr, voice_info, criteria));
    EXPECT_TRACED(policy_found("plain:d1:2"), class_found("voice:d1:1"), retrieved(plain, voice), bad_criteria());
  }
}

TEST_F(ControlPolicy, TracesEveryFaultOfMapsEventAndCriteria) {
  EXPECT_REFUSED(39, add_class(gold_info, nullptr, unknown_info, 4));
  EXPECT_TRACED(policy_found("gold:d1:1"), class_missed("nowhere"), retrieved(gold, 0), needs_event(kAddClass),
                invalid_handle(), no_cmap(kAddClass), bad_criteria());
  EXPECT_REFUSED(39, add_class(unknown_info, nullptr, unknown_info, 4));
  EXPECT_TRACED(policy_missed("nowhere"), class_missed("nowhere"), retrieved(0, 0), invalid_handle(),
                no_pmap(kAddClass), invalid_handle(), no_cmap(kAddClass), bad_criteria());
}

TEST_F(ControlPolicy, IsFoundInTheDefaultDatabaseByAClientWithoutItsOwn) {
  EXPECT_EQ(zar_add_class_to_stored_policy(two, &gold_info, &at_start, "start", 0, 1, &voice_info), 0U);
  NEEDS_TRACE();
  EXPECT_EQ(traced()[0], info("(info): %s: using default database", "retrieve_policy"));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
}

TEST_F(ControlPolicy, MustBeAPolicyMapAndNotAnotherMapUnderItsName) {
  const uint32_t klass = cmap("mixed");
  const uint32_t policy = pmap("confused");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_policy(one, klass), 0U);
    ASSERT_EQ(zar_store_class(one, policy), 0U);
  }
  const zar_map_info mixed_info = map_info("mixed");
  const zar_map_info confused_info = map_info("confused");
  EXPECT_REFUSED(39, add_class(mixed_info, &at_start, confused_info));
  EXPECT_TRACED(policy_found("mixed:d1:1"), class_found("confused:d1:1"), retrieved(klass, policy), another_kind(klass),
                no_pmap(kAddClass), another_kind(policy), no_cmap(kAddClass));
}

TEST_F(ControlPolicy, KeepsNothingOfAnEventThatCannotBeMade) {
  const Lines lookups = lines(gold_and_voice(), retrieved(gold, voice),
                              info("(info): %s: event:%d not found in pmap:0x%x, adding now", kAddClass, 7, gold));
  EXPECT_REFUSED(37, zar_add_class_to_stored_policy(one, &gold_info, &at_start, nullptr, 0, 1, &voice_info));
  EXPECT_TRACED(lookups, error("(ERR): create_event: event name is NULL"));
  runtime::fail_request(Service::record, 1);
  EXPECT_REFUSED(37, add_class(gold_info, &at_start, voice_info));  // 38 inside
  EXPECT_TRACED(lookups, error("(ERR): create_event: memory alloc for event tuple failed"));
}

TEST_F(ControlPolicy, KeepsAnEventThatWasMadeAndCouldNotBeAdded) {
  NEEDS_TRACE();
  const zar_pmap *policy = at<zar_pmap>(gold);
  lose_record_after("(info): create_event: successful");
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info), 37U);
  EXPECT_ERRORS(error("(ERR): ZAR Found NULL context with handle [0x%x]\n", gold));
  EXPECT_EQ(policy->rule_list.count, 0U);
  EXPECT_EQ(records_taken(kEventTag), 1U);
}

TEST_F(ControlPolicy, KeepsAnEventWhoseClassActionCannotBeMade) {
  rule(event(1), video);
  forget_trace();
  runtime::fail_request(Service::record, 3);  // after the event and its context
  EXPECT_EQ(add_class(gold_info, &at_start, voice_info), 37U);
  ASSERT_EQ(events_of(gold).size(), 1U);
  const uint32_t started = events_of(gold)[0];
  EXPECT_TRACED(gold_and_voice(), retrieved(gold, voice), event_made(started),
                error("(ERR): %s: memory alloc for class action failed", "create_class_action_tuple"));
  EXPECT_EQ(rules_of(started), Handles{});
  EXPECT_EQ(cmap_refs_of(gold), Counts{});
}

// ---- Looking the maps up, in all four operations by name

struct ByName : StoredPolicies {
  const uint32_t permit = action("permit");

  struct Operation {
    const char *what;
    bool class_by_name;
    std::function<uint32_t(uint32_t clid, const zar_map_info *policy, const zar_map_info *class_info)> call;
  };
  std::vector<Operation> operations() {
    return {{"add class", true,
             [this](uint32_t clid, const zar_map_info *policy, const zar_map_info *class_info) {
               return zar_add_class_to_stored_policy(clid, policy, &at_start, "start", 0, 1, class_info);
             }},
            {"add class-action", false,
             [this](uint32_t clid, const zar_map_info *policy, const zar_map_info *) {
               return zar_add_class_action_to_stored_policy(clid, policy, &at_start, 0, voice, 1, permit);
             }},
            {"add action", true,
             [this](uint32_t clid, const zar_map_info *policy, const zar_map_info *class_info) {
               return zar_add_action_to_stored_policy(clid, policy, &at_start, class_info, permit);
             }},
            {"remove action", true, [this](uint32_t clid, const zar_map_info *policy, const zar_map_info *class_info) {
               return zar_remove_action_from_stored_policy(clid, policy, &at_start, class_info, permit);
             }}};
  }
};

TEST_F(ByName, NeedsAClientAndLooksBothMapsUpBeforeItRefuses) {
  for (const Operation &operation : operations()) {
    SCOPED_TRACE(operation.what);
    for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
      EXPECT_REFUSED(39, operation.call(clid, &gold_info, &voice_info));
      Lines expected{error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "retrieve_policy", clid, 2)};
      if (operation.class_by_name)
        expected.push_back(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "retrieve_class", clid, 2));
      EXPECT_EQ(take_trace(), expected);
    }
  }
}

TEST_F(ByName, NeedsAnActiveClient) {
  zar_clients_info[one - 1]->status = 0;
  for (const Operation &operation : operations()) {
    SCOPED_TRACE(operation.what);
    EXPECT_REFUSED(39, operation.call(one, &gold_info, &voice_info));
    Lines expected{error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "retrieve_policy", one)};
    if (operation.class_by_name)
      expected.push_back(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "retrieve_class", one));
    EXPECT_EQ(take_trace(), expected);
  }
}

TEST_F(ByName, NeedsAPolicyMapInfo) {
  const zar_map_info wrong_type = map_info("gold", {.type = 3});
  for (const Operation &operation : operations()) {
    SCOPED_TRACE(operation.what);
    const Lines then = operation.class_by_name ? class_found("voice:d1:1") : Lines{};
    EXPECT_REFUSED(39, operation.call(one, nullptr, &voice_info));
    EXPECT_TRACED(error("(ERR): %s: input map info cannot be NULL", "retrieve_policy"), then);
    EXPECT_REFUSED(39, operation.call(one, &wrong_type, &voice_info));
    EXPECT_TRACED(error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d",
                        "retrieve_policy", 3, 1, 2),
                  then);
  }
}

TEST_F(ByName, NeedsAClassMapInfo) {
  for (const Operation &operation : operations()) {
    if (!operation.class_by_name) continue;
    SCOPED_TRACE(operation.what);
    EXPECT_REFUSED(39, operation.call(one, &gold_info, nullptr));
    EXPECT_TRACED(policy_found("gold:d1:1"), error("(ERR): %s: input map info cannot be NULL", "retrieve_class"));
  }
}

// ---- A class with its action

struct AddClassAction : StoredPolicies {
  const uint32_t permit = action("permit");

  static Line found(uint32_t pmap) { return info("(info): %s: event:%d found in policy:0x%x", kAddClass, 7, pmap); }
  static Line no_matching_event() {
    return error("(ERR): %s: Error: no matching event:%d found in policy:%s", kAddClass, 7, "gold");
  }
};

TEST_F(AddClassAction, PutsTheRuleUnderTheEvent) {
  const uint32_t started = event_in(gold, 7);
  EXPECT_EQ(add_class_action(gold_info, &at_start, voice, permit, 0, 258), 0U);
  ASSERT_EQ(rules_of(started).size(), 1U);
  const uint32_t first = rules_of(started)[0];
  EXPECT_TRACED(
      policy_found("gold:d1:1"), retrieved(gold), found(gold),
      rule_added(first, voice, started, references_added(gold, voice)),
      info("(info): %s: class-action:0x%x adding action:0x%x as first entry", "add_action_to_rule", first, permit),
      info("(info): %s: added action:0x%x to class-action:0x%x", "add_action_to_rule", permit, first),
      info("(info): %s: added class:0x%x action:0x%x to policy:0x%x", kAddClass, voice, permit, gold));
  EXPECT_EQ(at<zar_class_action>(first)->class_num, 2);
  EXPECT_EQ(at<zar_class_action>(first)->exec_criteria, 2U);
  EXPECT_EQ(actions_of(first), Handles{permit});
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
  EXPECT_CALLS();
}

TEST_F(AddClassAction, TakesAClassMapThatIsNotStored) {
  event_in(gold, 7);
  EXPECT_EQ(add_class_action(gold_info, &at_start, cmap("unstored"), permit), 0U);
}

TEST_F(AddClassAction, LeavesTheActionOutWhereTheClassIsPresent) {
  const uint32_t started = event_in(gold, 7);
  rule(started, voice);
  EXPECT_REFUSED(0, add_class_action(gold_info, &at_start, voice, permit));
  EXPECT_TRACED(policy_found("gold:d1:1"), retrieved(gold), found(gold),
                info("(info): %s: class:0x%x already present in policy:0x%x", kAddClass, voice, gold));
}

TEST_F(AddClassAction, CreatesNoEvent) {
  const Lines refusal = lines(policy_found("gold:d1:1"), retrieved(gold), no_matching_event());
  EXPECT_REFUSED(39, add_class_action(gold_info, &at_start, voice, permit));
  EXPECT_EQ(take_trace(), refusal);
  event_in(gold, 8);
  EXPECT_REFUSED(39, add_class_action(gold_info, &at_start, voice, permit));
  EXPECT_EQ(take_trace(), refusal);
}

TEST_F(AddClassAction, SkipsEventsWithoutAContext) {
  lose_event_context(event_in(gold, 7));
  EXPECT_REFUSED(39, add_class_action(gold_info, &at_start, voice, permit));
  EXPECT_TRACED(policy_found("gold:d1:1"), retrieved(gold), no_event_context(kAddClass), no_matching_event());
  const uint32_t started = event_in(gold, 7);
  EXPECT_EQ(add_class_action(gold_info, &at_start, voice, permit), 0U);
  EXPECT_ERRORS(no_event_context(kAddClass));
  EXPECT_EQ(rules_of(started).size(), 1U);
}

TEST_F(AddClassAction, NeedsAnActionWithItsFunctions) {
  breaks_invariants("its functions are taken from a record");
  event_in(gold, 7);
  at<zar_action>(permit)->action_str_fn = nullptr;
  EXPECT_REFUSED(39, add_class_action(gold_info, &at_start, voice, permit));
  EXPECT_ERRORS(error("(ERR): %s: Error: action_str_fn from input action context cannot be NULL", kAddClass));
}

TEST_F(AddClassAction, RefusesExecCriteriaFrom4On) {
  event_in(gold, 7);
  for (const uint32_t criteria : {4U, 0xffffffffU}) {
    EXPECT_REFUSED(39, add_class_action(gold_info, &at_start, voice, permit, criteria));
    EXPECT_TRACED(policy_found("gold:d1:1"), bad_criteria());
  }
  EXPECT_REFUSED(39, add_class_action(gold_info, &at_start, 0, permit, 4));
  EXPECT_TRACED(policy_found("gold:d1:1"), invalid_handle(), no_cmap(kAddClass), bad_criteria());
}

TEST_F(AddClassAction, NeedsAStoredPolicyMapAndAnEventAndTracesTheActionWithThem) {
  EXPECT_REFUSED(39, add_class_action(unknown_info, &at_start, voice, permit));
  EXPECT_TRACED(policy_missed("nowhere"), retrieved(0), invalid_handle(), no_pmap(kAddClass));
  EXPECT_REFUSED(39, add_class_action(gold_info, nullptr, voice, permit));
  EXPECT_TRACED(policy_found("gold:d1:1"), retrieved(gold), needs_event(kAddClass));
  EXPECT_REFUSED(39, add_class_action(gold_info, nullptr, voice, 0));
  EXPECT_TRACED(policy_found("gold:d1:1"), retrieved(gold), needs_event(kAddClass), invalid_handle(),
                no_action(kAddClass));
}

TEST_F(AddClassAction, ReturnsTheFailureOfTheClassAction) {
  event_in(gold, 7);
  rule(event(1), video);
  forget_trace();
  runtime::fail_request(Service::record, 1);
  EXPECT_REFUSED(37, add_class_action(gold_info, &at_start, voice, permit));  // 38 inside
  EXPECT_ERRORS(error("(ERR): %s: memory alloc for class action failed", "create_class_action_tuple"));
}

TEST_F(AddClassAction, KeepsAClassActionWhoseActionCouldNotBeAdded) {
  NEEDS_TRACE();
  const uint32_t started = event_in(gold, 7);
  lose_record_after("(info): add_class_to_event: added class");
  EXPECT_EQ(add_class_action(gold_info, &at_start, voice, permit), 37U);
  const auto rules = runtime::elements(&at<zar_event_tuple>(started)->class_actions);
  ASSERT_EQ(rules.size(), 1U);
  const auto *first = static_cast<const zar_class_action *>(rules[0]);
  EXPECT_ERRORS(error("(ERR): ZAR Found NULL context with handle [0x%x]\n", first->handle),
                error("(ERR): %s: input class action handle context cannot be NULL", "add_action_to_rule"));
  EXPECT_EQ(first->actions.count, 0U);
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
}

// ---- An action in a rule that is found by name

struct ActionByName : StoredPolicies {
  const uint32_t started = event_in(gold, 7);
  const uint32_t permit = action("permit", 2);

  uint32_t add(const zar_map_info &policy, const zar_event_context *context, const zar_map_info &class_info,
               uint32_t action) {
    return zar_add_action_to_stored_policy(one, &policy, context, &class_info, action);
  }
  uint32_t remove(const zar_map_info &policy, const zar_event_context *context, const zar_map_info &class_info,
                  uint32_t action) {
    return zar_remove_action_from_stored_policy(one, &policy, context, &class_info, action);
  }

  // Both operations find the rule in the same way; the refusals are theirs in common.
  void expect_both_refused(const zar_map_info &policy, const zar_event_context *context, const zar_map_info &class_info,
                           const Lines &expected) {
    EXPECT_REFUSED(39, add(policy, context, class_info, permit));
    EXPECT_EQ(take_trace(), expected);
    EXPECT_REFUSED(39, remove(policy, context, class_info, permit));
    EXPECT_EQ(take_trace(), expected);
    EXPECT_REFUSED(39, remove(policy, context, class_info, 0));
    EXPECT_EQ(take_trace(), expected) << "the action is judged after the rule was found";
  }

  static Line present(uint32_t pmap) { return info("(info): %s: event:%d  present in pmap:0x%x", kMatching, 7, pmap); }
  static Lines found(uint32_t pmap, uint32_t rule) {
    return lines(gold_and_voice(), present(pmap),
                 info("(info): %s: class found under event event:%d in pmap:0x%x, class-action tuple:0x%p", kMatching,
                      7, pmap, at<zar_class_action>(rule)));
  }
};

TEST_F(ActionByName, GoesIntoTheRuleByItsNumber) {
  rule(started, video, 1);
  const uint32_t first = rule(started, voice, 2);
  rule(started, voice, 3);
  const uint32_t three = action_in(first, "three", 3);
  const uint32_t lowest = action_in(first, "one", 1);
  EXPECT_EQ(add(gold_info, &at_start, voice_info, permit), 0U);
  EXPECT_TRACED(
      found(gold, first),
      info("(info): %s: added action:0x%x to class-action:0x%x", "add_action_to_rule", permit, first),
      info("(info): %s: added action:0x%x to stored policy:%s", "add_action_to_stored_policy", permit, "gold"));
  EXPECT_EQ(actions_of(first), (Handles{lowest, permit, three}));
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
  EXPECT_CALLS();
}

TEST_F(ActionByName, IsRemovedFromTheRuleAndStillExists) {
  const uint32_t first = rule(started, voice);
  const uint32_t kept = action_in(first, "kept");
  add_action(first, permit);
  EXPECT_EQ(remove(gold_info, &at_start, voice_info, permit), 0U);
  EXPECT_EQ(take_trace(), found(gold, first));
  EXPECT_EQ(actions_of(first), Handles{kept});
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
  EXPECT_CALLS();
}

TEST_F(ActionByName, ThatIsThereTwiceLosesItsFirstOccurrence) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t first = rule(started, voice);
  const uint32_t kept = action_in(first, "kept");
  add_action(first, permit);
  EXPECT_EQ(zar_add_action_to_rule_before_action(first, permit, kept), 0U);
  ASSERT_EQ(actions_of(first), (Handles{permit, kept, permit}));
  EXPECT_EQ(remove(gold_info, &at_start, voice_info, permit), 0U);
  EXPECT_EQ(actions_of(first), (Handles{kept, permit}));
}

TEST_F(ActionByName, ThatIsNotInTheRuleCannotBeRemoved) {
  const uint32_t first = rule(started, voice);
  const uint32_t second = rule(started, video);
  add_action(second, permit);
  const Lines refusal = lines(found(gold, first), error("(ERR): Error: action:0x%x not present to remove", permit));
  EXPECT_REFUSED(39, remove(gold_info, &at_start, voice_info, permit));
  EXPECT_EQ(take_trace(), refusal);
  action_in(first, "another");
  EXPECT_REFUSED(39, remove(gold_info, &at_start, voice_info, permit));
  EXPECT_EQ(take_trace(), refusal);
}

TEST_F(ActionByName, ThatIsNoneFailsTheAddingWith37AndTheRemovalWith39) {
  const uint32_t first = rule(started, voice);
  for (const WrongHandle &wrong : wrong_handles(Kind::action)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(37, add(gold_info, &at_start, voice_info, wrong.handle));
    EXPECT_TRACED(found(gold, first), wrong.look_up, no_action("add_action_to_rule"));
    EXPECT_REFUSED(39, remove(gold_info, &at_start, voice_info, wrong.handle));
    EXPECT_TRACED(found(gold, first), wrong.look_up, no_action(kRemoveAction));
  }
}

TEST_F(ActionByName, WithoutItsFunctionsFailsTheAddingWith37AndTheRemovalWith39) {
  breaks_invariants("its functions are taken from a record");
  add_action(rule(started, voice), permit);
  at<zar_action>(permit)->action_entry_fn = nullptr;
  at<zar_action>(permit)->action_compare_fn = nullptr;
  for (const char *name : {"add_action_to_rule", kRemoveAction}) {
    const bool adding = name != kRemoveAction;
    EXPECT_REFUSED(adding ? 37U : 39U, adding ? add(gold_info, &at_start, voice_info, permit)
                                              : remove(gold_info, &at_start, voice_info, permit));
    EXPECT_ERRORS(error("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", name),
                  error("(ERR): %s: Error: action_compare_fn from input action context cannot be NULL", name));
  }
}

TEST_F(ActionByName, NeedsStoredMaps) {
  rule(started, voice);
  expect_both_refused(unknown_info, &at_start, voice_info,
                      lines(policy_missed("nowhere"), class_found("voice:d1:1"), invalid_handle(), no_pmap(kMatching)));
  expect_both_refused(gold_info, &at_start, unknown_info,
                      lines(policy_found("gold:d1:1"), class_missed("nowhere"), invalid_handle(), no_cmap(kMatching)));
  expect_both_refused(unknown_info, &at_start, unknown_info,
                      lines(policy_missed("nowhere"), class_missed("nowhere"), invalid_handle(), no_pmap(kMatching),
                            invalid_handle(), no_cmap(kMatching)));
}

TEST_F(ActionByName, NeedsAnEventContext) {
  rule(started, voice);
  expect_both_refused(gold_info, nullptr, voice_info, lines(gold_and_voice(), needs_event(kMatching)));
}

TEST_F(ActionByName, NeedsTheEventInThePolicyMap) {
  const zar_event_context at_stop = event_context(8);
  const Lines refusal = Lines{error("(ERR): %s: Error: no matching event:%d found in policy:%s", kMatching, 8, "gold")};
  expect_both_refused(gold_info, &at_stop, voice_info, lines(gold_and_voice(), refusal));
  zar_delete_event(started);
  forget_trace();
  expect_both_refused(gold_info, &at_stop, voice_info, lines(gold_and_voice(), refusal));
}

TEST_F(ActionByName, NeedsTheClassUnderTheEvent) {
  const Lines refusal =
      lines(gold_and_voice(), present(gold),
            error("(ERR): %s: Error: no matching class-map:%s found in policy:%s", kMatching, "voice", "gold"));
  expect_both_refused(gold_info, &at_start, voice_info, refusal);
  rule(started, video);
  rule(event_in(gold, 8), voice);
  expect_both_refused(gold_info, &at_start, voice_info, refusal);
}

TEST_F(ActionByName, IsFoundPastEventsWithoutAContext) {
  lose_event_context(started);
  const uint32_t first = rule(event_in(gold, 7), voice);
  EXPECT_EQ(add(gold_info, &at_start, voice_info, permit), 0U);
  EXPECT_EQ(actions_of(first), Handles{permit});
}

// ---- Removing a class

struct RemoveClass : StoredPolicies {
  const uint32_t started = event_in(gold, 7);

  static Line event_there(uint32_t pmap) {
    return info("(info): %s: event:%d already existing in pmap:0x%x", kRemoveClass, 7, pmap);
  }
  static Line class_there(uint32_t cmap, uint32_t number, uint32_t pmap) {
    return info("(info): %s: class:0x%x [num %d] present in pmap:0x%x", kRemoveClass, cmap, number, pmap);
  }
  static Line class_absent(uint32_t cmap) {
    return info("(info): %s: class-map:0x%x not present to remove", kRemoveClass, cmap);
  }
  static Line rule_freed(uint32_t rule) { return info("(info): class-action:0x%x freed", rule); }
};

TEST_F(RemoveClass, TakesTheRuleWithItsActionsAndKeepsTheEvent) {
  const auto before = everything();
  const uint32_t first = rule(started, voice, 2);
  const uint32_t permit = action_in(first, "permit", 1);
  const uint32_t drop = action_in(first, "drop", 2);
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 2), 0U);
  EXPECT_TRACED(event_there(gold), class_there(voice, 2, gold), references_removed(gold, voice), action_freed(permit),
                action_freed(drop), rule_freed(first));
  EXPECT_CALLS("free permit", "free drop");
  EXPECT_FALSE(live(first));
  EXPECT_EQ(events_of(gold), Handles{started});
  EXPECT_EQ(everything(), before);
}

TEST_F(RemoveClass, DropsOneReferenceOfASharedAction) {
  const uint32_t first = rule(started, voice);
  const uint32_t second = rule(started, video);
  const uint32_t permit = action_in(first, "permit");
  zar_increment_action(at<zar_action>(permit));
  add_action(second, permit);
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_TRACED(event_there(gold), class_there(voice, 1, gold), references_removed(gold, voice),
                info("(info): action:0x%x reference count:%d", permit, 1), rule_freed(first));
  EXPECT_CALLS();
  EXPECT_EQ(actions_of(second), Handles{permit});
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
}

TEST_F(RemoveClass, NeedsBothTheClassAndItsNumber) {
  rule(started, voice, 2);
  rule(started, video, 3);
  EXPECT_REFUSED(0, zar_remove_class_from_policy(gold, &at_start, voice, 3));
  EXPECT_TRACED(event_there(gold), class_absent(voice));
  EXPECT_REFUSED(0, zar_remove_class_from_policy(gold, &at_start, voice, 0));
  EXPECT_TRACED(event_there(gold), class_absent(voice));
}

TEST_F(RemoveClass, OfAnEventWithoutRulesIsASuccess) {
  rule(event_in(gold, 8), voice);
  EXPECT_REFUSED(0, zar_remove_class_from_policy(gold, &at_start, voice, 1));
  EXPECT_TRACED(event_there(gold), class_absent(voice));
}

TEST_F(RemoveClass, TakesTheFirstOfSeveralThatFit) {
  const uint32_t other_number = rule(started, voice, 1);
  const uint32_t first = rule(started, voice, 2);
  const uint32_t second = rule(started, voice, 2);
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 258), 0U) << "the low 8 bits count";
  EXPECT_TRACED(event_there(gold), class_there(voice, 2, gold), references_lowered(gold, voice), rule_freed(first));
  EXPECT_EQ(rules_of(started), (Handles{other_number, second}));
}

TEST_F(RemoveClass, LeavesOtherEventsAlone) {
  const uint32_t of_stop = rule(event_in(gold, 8), voice);
  rule(started, voice);
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_EQ(rules_of(started), Handles{});
  EXPECT_TRUE(live(of_stop));
  EXPECT_EQ(cmap_refs_of(gold), (Counts{{voice, 1}}));
}

TEST_F(RemoveClass, NeedsTheEventInThePolicyMap) {
  const zar_event_context at_stop = event_context(8);
  const Line refusal = error("(ERR): %s: event:%d not found in pmap:0x%x", kRemoveClass, 8, gold);
  EXPECT_REFUSED(39, zar_remove_class_from_policy(gold, &at_stop, voice, 1));
  EXPECT_TRACED(refusal);
  zar_delete_event(started);
  forget_trace();
  EXPECT_REFUSED(39, zar_remove_class_from_policy(gold, &at_stop, voice, 1));
  EXPECT_TRACED(refusal);
}

TEST_F(RemoveClass, SkipsEventsWithoutAContext) {
  lose_event_context(started);
  EXPECT_REFUSED(39, zar_remove_class_from_policy(gold, &at_start, voice, 1));
  EXPECT_TRACED(no_event_context(kRemoveClass),
                error("(ERR): %s: event:%d not found in pmap:0x%x", kRemoveClass, 7, gold));
  const uint32_t second = event_in(gold, 7);
  rule(second, voice);
  EXPECT_EQ(zar_remove_class_from_policy(gold, &at_start, voice, 1), 0U);
  EXPECT_ERRORS(no_event_context(kRemoveClass));
  EXPECT_EQ(rules_of(second), Handles{});
}

TEST_F(RemoveClass, NeedsAnEventContext) {
  const Line refusal =
      error("(ERR): %s: Error: event needs to be provided to remove class for control polies", kRemoveClass);
  EXPECT_REFUSED(39, zar_remove_class_from_policy(gold, nullptr, voice, 1));
  EXPECT_TRACED(refusal);
  EXPECT_REFUSED(39, zar_remove_class_from_policy(gold, nullptr, 0, 1));
  EXPECT_TRACED(refusal, invalid_handle(), no_cmap(kRemoveClass));
}

TEST_F(RemoveClass, TracesBothBadHandles) {
  EXPECT_REFUSED(39, zar_remove_class_from_policy(voice, nullptr, gold, 1));
  EXPECT_TRACED(another_kind(voice), no_pmap(kRemoveClass), another_kind(gold), no_cmap(kRemoveClass));
}

// ---- Faults

// Event handles that are left over: making an event keeps its handle when there is no record for the event context.
size_t event_handles_lost() {
  return static_cast<size_t>(std::count(trace_history().begin(), trace_history().end(),
                                        error("(ERR): create_event: memory alloc for event context failed")));
}

// Compares the live resources with the earlier ones, except handles that are known to be lost.
void expect_as_before(const World &world, const std::string &digest, runtime::Inventory inventory) {
  EXPECT_EQ(world.digest(), digest);
  inventory.ids += event_handles_lost();
  EXPECT_EQ(to_string(runtime::inventory()), to_string(inventory));
}

bool failed_under(const FaultClock &clock, uint32_t tag) {
  return clock.failed_in(Service::pool, tag) || clock.failed_in(Service::record, tag);
}
// Missing records of references are not reported.
bool failed_for_references(const FaultClock &clock) {
  return failed_under(clock, 0x3e0003f) || failed_under(clock, 0x3e0003e);
}

TEST(StoredPoliciesUnderFaults, AClassOfAControlPolicyMapIsAddedOrOnlyTheEventStays) {
  NEEDS_TRACE();
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.stored_pmap("gold");
    world.stored_cmap("voice");
    const zar_map_info gold_info = World::map_info("gold");
    const zar_map_info voice_info = World::map_info("voice");
    const zar_event_context at_start = World::event_context(7);
    const auto digest = world.digest();
    const auto inventory = runtime::inventory();
    const auto add = [&] {
      return zar_add_class_to_stored_policy(world.one, &gold_info, &at_start, "start", 0, 1, &voice_info);
    };
    const uint32_t status = clock.during(add);
    EXPECT_EQ(status, clock.hit() && !failed_for_references(clock) ? 37U : 0U);
    if (failed_under(clock, kRuleTag)) {
      EXPECT_EQ(World::events_of(gold).size(), 1U) << "the event stays";
    }
    if (World::events_of(gold).empty()) expect_as_before(world, digest, inventory);
    EXPECT_EQ(add(), 0U) << "the fault is over";
    ASSERT_EQ(World::events_of(gold).size(), 1U);
    EXPECT_EQ(World::rules_of(World::events_of(gold)[0]).size(), 1U);
    EXPECT_EQ(zar_delete_event(World::events_of(gold)[0]), 0U);
    expect_as_before(world, digest, inventory);
  });
}

TEST(StoredPoliciesUnderFaults, AClassOfAPlainPolicyMapIsAddedOrNothingIsLeft) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t plain = world.stored_pmap("plain", {.type = 2});
    world.stored_cmap("voice");
    const zar_map_info plain_info = World::map_info("plain", {.type = 2});
    const zar_map_info voice_info = World::map_info("voice");
    const auto before = world.everything();
    const uint32_t status = clock.during(
        [&] { return zar_add_class_to_stored_policy(world.one, &plain_info, nullptr, nullptr, 0, 1, &voice_info); });
    EXPECT_EQ(status, clock.hit() ? 37U : 0U);
    EXPECT_EQ(World::plain_rules_of(plain).size(), clock.hit() ? 0U : 1U);
    if (clock.hit()) {
      EXPECT_EQ(world.everything(), before);
    }
  });
}

TEST(StoredPoliciesUnderFaults, AClassWithItsActionIsAddedOrNothingIsLeft) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.stored_pmap("gold");
    const uint32_t voice = world.cmap("voice");
    const uint32_t permit = world.action("permit");
    const uint32_t started = world.event_in(gold, 7);
    const zar_map_info gold_info = World::map_info("gold");
    const zar_event_context at_start = World::event_context(7);
    const auto before = world.everything();
    const uint32_t status = clock.during(
        [&] { return zar_add_class_action_to_stored_policy(world.one, &gold_info, &at_start, 0, voice, 1, permit); });
    EXPECT_EQ(status, clock.hit() && !failed_for_references(clock) ? 37U : 0U);
    if (status != 0) {
      EXPECT_EQ(world.everything(), before);
      return;
    }
    ASSERT_EQ(World::rules_of(started).size(), 1U);
    EXPECT_EQ(World::actions_of(World::rules_of(started)[0]), Handles{permit});
  });
}

// A whole policy by name; each step may find that an earlier one failed.
TEST(StoredPoliciesUnderFaults, AWholePolicyGoesWithoutATrace) {
  NEEDS_TRACE();
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t gold = world.stored_pmap("gold");
    const uint32_t voice = world.stored_cmap("voice");
    world.stored_cmap("video");
    const zar_map_info gold_info = World::map_info("gold");
    const zar_map_info voice_info = World::map_info("voice");
    const zar_map_info video_info = World::map_info("video");
    const zar_event_context at_start = World::event_context(7);
    const zar_event_context at_stop = World::event_context(8);
    const zar_action_context permit_context = world.action_context("permit");
    const auto digest = world.digest();
    const auto inventory = runtime::inventory();
    uint32_t permit = 0;
    bool in_a_rule = false;
    clock.during([&] {
      zar_add_class_to_stored_policy(world.one, &gold_info, &at_start, "start", 0, 1, &voice_info);
      zar_add_class_to_stored_policy(world.one, &gold_info, &at_stop, "stop", 0, 1, &voice_info);
      zar_add_class_to_stored_policy(world.one, &gold_info, &at_stop, "stop", 0, 2, &video_info);
      zar_create_action(&permit_context, 1, 0, &permit);
      in_a_rule = zar_add_action_to_stored_policy(world.one, &gold_info, &at_start, &voice_info, permit) == 0;
      if (in_a_rule)
        in_a_rule = zar_remove_action_from_stored_policy(world.one, &gold_info, &at_start, &voice_info, permit) != 0;
      EXPECT_FALSE(in_a_rule);
      in_a_rule = zar_add_action_to_stored_policy(world.one, &gold_info, &at_stop, &video_info, permit) == 0;
      zar_remove_class_from_policy(gold, &at_start, voice, 1);
    });
    if (!in_a_rule) {
      EXPECT_EQ(zar_delete_action(permit), permit == 0 ? 39U : 0U);
    }
    for (const uint32_t event : World::events_of(gold))
      EXPECT_EQ(zar_delete_event(event), 0U);
    expect_as_before(world, digest, inventory);
  });
}

}  // namespace
