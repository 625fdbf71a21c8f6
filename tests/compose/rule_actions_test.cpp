// Actions in rules: their order, finding them, and the count of their references.
#include "composition.h"
#include "support/lines.h"

using namespace rig;

namespace {

using runtime::Service;

constexpr uint32_t kActionTag = 0x3e00044;

uint32_t run_otherwise(void *, void *) {
  return 0;
}
void free_otherwise(void *, void *) {}
uint32_t answer_the_highest_bit(void *, void *) {
  return 0x80000000;
}

// Shared by what is asked of the records themselves and of rules.
struct Actions : Composition {
  uint32_t action_of(const zar_action_context &context, uint32_t action_num = 1) {
    const Quiet quiet;
    uint32_t handle = 0;
    EXPECT_EQ(zar_create_action(&context, action_num, 0, &handle), 0U);
    return note(Kind::action, handle);
  }

  static Line lacks(const char *name, const char *function) {
    return error("(ERR): %s: Error: %s from input action context cannot be NULL", name, function);
  }

  // Removes functions from the record, one for each bit, and returns the expected complaints.
  static Lines take_functions(zar_action &record, const zar_action &whole, unsigned missing, const char *name) {
    record.action_entry_fn = missing & 1 ? nullptr : whole.action_entry_fn;
    record.action_free_fn = missing & 2 ? nullptr : whole.action_free_fn;
    record.action_str_fn = missing & 4 ? nullptr : whole.action_str_fn;
    record.action_compare_fn = missing & 8 ? nullptr : whole.action_compare_fn;
    Lines complaints;
    if (missing & 1) complaints.push_back(lacks(name, "action_entry_fn"));
    if (missing & 2) complaints.push_back(lacks(name, "action_free_fn"));
    if (missing & 4) complaints.push_back(lacks(name, "action_str_fn"));
    if (missing & 8) complaints.push_back(lacks(name, "action_compare_fn"));
    return complaints;
  }
};

struct RuleActions : Actions {
  const uint32_t started = event(1);
  const uint32_t voice = rule(started, cmap("voice"));
  const uint32_t video = rule(started, cmap("video"), 2);

  // An operation that takes a class-action and an action.
  struct Operation {
    const char *name;
    std::function<uint32_t(uint32_t rule, uint32_t action)> call;
  };
  static std::vector<Operation> operations(uint32_t reference) {
    return {
        {"add_action_to_rule", zar_add_action_to_rule},
        {"add_action_to_rule_before_action",
         [=](uint32_t rule, uint32_t action) { return zar_add_action_to_rule_before_action(rule, action, reference); }},
        {"add_action_to_rule_after_action",
         [=](uint32_t rule, uint32_t action) { return zar_add_action_to_rule_after_action(rule, action, reference); }},
        {"remove_action_from_class_action", zar_remove_action_from_class_action}};
  }

  static Lines added(uint32_t action, uint32_t rule) {
    return {info("(info): %s: added action:0x%x to class-action:0x%x", "add_action_to_rule", action, rule)};
  }
  static Lines added_as_first(uint32_t action, uint32_t rule) {
    return lines(
        info("(info): %s: class-action:0x%x adding action:0x%x as first entry", "add_action_to_rule", rule, action),
        added(action, rule));
  }
};

// ---- The check of a record

struct VerifyAction : Actions {};

TEST_F(VerifyAction, AcceptsARecordWithTheFourFunctionsThatRulesNeed) {
  zar_action_context context = action_context("permit");
  context.action_notify_fn = nullptr;
  context.action_param_map_check_fn = nullptr;
  EXPECT_EQ(zar_verify_action_content(at<zar_action>(action_of(context)), "caller"), 0U);
  EXPECT_TRACED();
  EXPECT_CALLS();
}

TEST_F(VerifyAction, NamesEveryFunctionThatIsMissing) {
  breaks_invariants("its functions are taken from a record");
  zar_action *record = at<zar_action>(action("permit"));
  const zar_action whole = *record;
  for (unsigned missing = 1; missing < 16; ++missing) {
    const Lines complaints = take_functions(*record, whole, missing, "caller");
    EXPECT_EQ(zar_verify_action_content(record, "caller"), 1U);
    EXPECT_EQ(take_trace(), complaints);
  }
}

TEST_F(VerifyAction, RefusesNull) {
  EXPECT_EQ(zar_verify_action_content(nullptr, "caller"), 1U);
  EXPECT_TRACED(no_action("caller"));
}

TEST_F(VerifyAction, PrintsASpaceForACallerWithoutAName) {
  breaks_invariants("its functions are taken from a record");
  EXPECT_EQ(zar_verify_action_content(nullptr, nullptr), 1U);
  EXPECT_TRACED(no_action(" "));
  zar_action *record = at<zar_action>(action("permit"));
  const Lines complaints = take_functions(*record, zar_action{}, 15, " ");
  EXPECT_EQ(zar_verify_action_content(record, nullptr), 1U);
  EXPECT_EQ(take_trace(), complaints);
}

// ---- The order by number

TEST_F(RuleActions, Numbered3122StandAs1223AndZeroGoesToTheHead) {
  const uint32_t three = action_in(voice, "three", 3);
  const uint32_t lowest = action_in(voice, "one", 1);
  const uint32_t middle = action_in(voice, "two", 2);
  const uint32_t middle_too = action_in(voice, "two too", 2);
  EXPECT_EQ(actions_of(voice), (Handles{lowest, middle, middle_too, three}));
  const uint32_t zero = action("zero", 0);
  watch_requests();
  EXPECT_EQ(zar_add_action_to_rule(voice, zero), 0U);
  EXPECT_EQ(take_trace(), added_as_first(zero, voice));
  EXPECT_EQ(actions_of(voice), (Handles{zero, lowest, middle, middle_too, three}));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
}

// Every sequence of four numbers of three, so that every order and every tie is among them.
TEST_F(RuleActions, AreOrderedByNumberAndThenByOrderOfAddition) {
  for (uint32_t sequence = 0; sequence < 3 * 3 * 3 * 3; ++sequence) {
    SCOPED_TRACE(sequence);
    std::vector<std::pair<uint32_t, uint32_t>> expected;  // number and handle
    uint32_t numbers = sequence;
    for (int i = 0; i < 4; ++i, numbers /= 3) {
      const uint32_t number = numbers % 3;
      const uint32_t each = action("each", number);
      forget_trace();
      EXPECT_EQ(zar_add_action_to_rule(voice, each), 0U);
      const bool first = expected.empty() || expected.front().first > number;
      EXPECT_EQ(take_trace(), first ? added_as_first(each, voice) : added(each, voice));
      expected.emplace_back(number, each);
      std::stable_sort(expected.begin(), expected.end(), [](auto &a, auto &b) { return a.first < b.first; });
      Handles handles;
      for (const auto &[ignored, handle] : expected)
        handles.push_back(handle);
      ASSERT_EQ(actions_of(voice), handles);
    }
    for (const auto &[ignored, handle] : expected) {
      EXPECT_EQ(zar_remove_action_from_class_action(voice, handle), 0U);
      EXPECT_EQ(zar_delete_action(handle), 0U);
    }
    ASSERT_EQ(actions_of(voice), Handles{});
  }
}

TEST_F(RuleActions, OutOfOrderAreWalkedInListOrder) {
  const uint32_t lowest = action_in(voice, "one", 1);
  const uint32_t middle = action_in(voice, "two", 2);
  const uint32_t three = action("three", 3);
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, three, middle), 0U);
  ASSERT_EQ(actions_of(voice), (Handles{lowest, three, middle}));
  const uint32_t middle_too = action_in(voice, "two too", 2);
  EXPECT_EQ(actions_of(voice), (Handles{lowest, middle_too, three, middle})) << "the 3 ends the walk";
  EXPECT_EQ(zar_remove_action_from_class_action(voice, lowest), 0U);
  EXPECT_EQ(zar_remove_action_from_class_action(voice, middle_too), 0U);
  forget_trace();
  EXPECT_EQ(zar_add_action_to_rule(voice, middle_too), 0U);
  EXPECT_EQ(take_trace(), added_as_first(middle_too, voice)) << "the 3 at the head ends the walk at once";
  EXPECT_EQ(actions_of(voice), (Handles{middle_too, three, middle}));
}

TEST_F(RuleActions, AddedKeepTheirCount) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t permit = action_in(voice, "permit");
  EXPECT_EQ(zar_add_action_to_rule(video, permit), 0U);
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
  EXPECT_EQ(actions_of(voice), Handles{permit});
  EXPECT_EQ(actions_of(video), Handles{permit});
  EXPECT_EQ(zar_remove_action_from_class_action(video, permit), 0U);
}

TEST_F(RuleActions, AddedTwiceAreThereTwice) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t permit = action_in(voice, "permit");
  EXPECT_EQ(zar_add_action_to_rule(voice, permit), 0U);
  EXPECT_EQ(take_trace(), added(permit, voice));
  EXPECT_EQ(actions_of(voice), (Handles{permit, permit}));
  EXPECT_EQ(zar_remove_action_from_class_action(voice, permit), 0U);
  EXPECT_EQ(actions_of(voice), Handles{permit});
}

TEST_F(RuleActions, AreTakenByRulesOfPolicyMapsThatAreNotControl) {
  stored_pmap("plain", {.type = 2});
  stored_cmap("plain-class", {.type = 2});
  const uint32_t plain = plain_rule("plain", "plain-class");
  const uint32_t permit = action("permit");
  EXPECT_EQ(zar_add_action_to_rule(plain, permit), 0U);
  EXPECT_EQ(actions_of(plain), Handles{permit});
}

TEST_F(RuleActions, OfTheCallersOwnMakingAreAccepted) {
  zar_action own{};
  const zar_action_context context = action_context("own");
  own.action_data = context.action_data;
  own.action_entry_fn = context.action_entry_fn;
  own.action_free_fn = context.action_free_fn;
  own.action_str_fn = context.action_str_fn;
  own.action_compare_fn = context.action_compare_fn;
  own.handle = zar_handle_alloc(&own);
  zar_class_action own_rule{};
  own_rule.handle = zar_handle_alloc(&own_rule);
  queue_init(&own_rule.actions, 0);
  EXPECT_EQ(zar_add_action_to_rule(own_rule.handle, own.handle), 0U);
  EXPECT_EQ(actions_of(own_rule.handle), Handles{own.handle});
  EXPECT_EQ(zar_remove_action_from_class_action(own_rule.handle, own.handle), 0U);
  EXPECT_EQ(actions_of(own_rule.handle), Handles{});
}

// ---- What every operation on a rule refuses

TEST_F(RuleActions, NeedARule) {
  const uint32_t listed = action_in(voice, "listed");
  const uint32_t permit = action("permit");
  for (const Operation &operation : operations(listed)) {
    SCOPED_TRACE(operation.name);
    expect_each_refused(39, Kind::rule, {no_rule(operation.name)},
                        [&](uint32_t handle) { return operation.call(handle, permit); });
  }
}

TEST_F(RuleActions, NeedAnAction) {
  const uint32_t listed = action_in(voice, "listed");
  for (const Operation &operation : operations(listed)) {
    SCOPED_TRACE(operation.name);
    expect_each_refused(39, Kind::action, {no_action(operation.name)},
                        [&](uint32_t handle) { return operation.call(voice, handle); });
  }
}

TEST_F(RuleActions, TraceBothBadHandlesTheRuleFirst) {
  const uint32_t listed = action_in(voice, "listed");
  for (const Operation &operation : operations(listed)) {
    SCOPED_TRACE(operation.name);
    EXPECT_REFUSED(39, operation.call(listed, 0));
    EXPECT_TRACED(another_kind(listed), no_rule(operation.name), invalid_handle(), no_action(operation.name));
  }
}

TEST_F(RuleActions, WithoutAFunctionAreRefusedWithALineForEachThatIsMissing) {
  breaks_invariants("its functions are taken from a record");
  const uint32_t listed = action_in(voice, "listed");
  const uint32_t permit = action_in(voice, "permit");
  zar_action *record = at<zar_action>(permit);
  const zar_action whole = *record;
  for (const Operation &operation : operations(listed)) {
    for (unsigned missing = 1; missing < 16; ++missing) {
      SCOPED_TRACE(text("%s without 0x%x", operation.name, missing));
      const Lines complaints = take_functions(*record, whole, missing, operation.name);
      EXPECT_REFUSED(39, operation.call(voice, permit));
      EXPECT_EQ(take_trace(), complaints);
      EXPECT_REFUSED(39, operation.call(permit, permit));
      EXPECT_TRACED(another_kind(permit), no_rule(operation.name), complaints);
    }
  }
}

// ---- Inserting before and after

TEST_F(RuleActions, AreWhereEverySequenceOfInsertsPutsThem) {
  // Of one number, so that the ordered insert is an append.
  const OrderedList list{
      [&](uint32_t action) { return zar_add_action_to_rule(voice, action); },
      [&](uint32_t action, uint32_t next) { return zar_add_action_to_rule_before_action(voice, action, next); },
      [&](uint32_t action, uint32_t last) { return zar_add_action_to_rule_after_action(voice, action, last); },
      [&](uint32_t action) { return zar_remove_action_from_class_action(voice, action); },
      [&] { return actions_of(voice); }};
  expect_every_sequence_of_inserts(list, {action("a"), action("b"), action("c"), action("d")});
}

TEST_F(RuleActions, InsertedBeforeTheHeadBecomeTheHeadWhateverTheirNumber) {
  const uint32_t head = action_in(voice, "head", 1);
  const uint32_t permit = action("permit", 9);
  watch_requests();
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, permit, head), 0U);
  EXPECT_TRACED(info("(info): %s: adding action:0x%x to class-action:0x%x before action:0x%xas first entry",
                     "add_action_to_rule_before_action", permit, voice, head),
                info("(info): %s: added action:0x%x to class-action:0x%x before action:0x%x",
                     "add_action_to_rule_before_action", permit, voice, head));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(actions_of(voice), (Handles{permit, head}));
}

TEST_F(RuleActions, InsertedBeforeAnotherComeRightBeforeIt) {
  const uint32_t head = action_in(voice, "head", 1);
  const uint32_t tail = action_in(voice, "tail", 2);
  const uint32_t permit = action("permit", 9);
  watch_requests();
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, permit, tail), 0U);
  EXPECT_TRACED(info("(info): %s: added action:0x%x to class-action:0x%x before action:0x%x",
                     "add_action_to_rule_before_action", permit, voice, tail));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(actions_of(voice), (Handles{head, permit, tail}));
}

TEST_F(RuleActions, InsertedAfterTheLastBecomeTheTailWhateverTheirNumber) {
  const uint32_t head = action_in(voice, "head", 1);
  const uint32_t tail = action_in(voice, "tail", 2);
  const uint32_t permit = action("permit", 0);
  watch_requests();
  EXPECT_EQ(zar_add_action_to_rule_after_action(voice, permit, tail), 0U);
  EXPECT_TRACED(info("(info): %s: added action:0x%x to class-action:0x%x after action:0x%x",
                     "add_action_to_rule_after_action", permit, voice, tail));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(actions_of(voice), (Handles{head, tail, permit}));
}

TEST_F(RuleActions, AreNotInsertedWhereTheReferenceIsMissing) {
  const uint32_t elsewhere = action_in(video, "elsewhere");
  const uint32_t nowhere = action("nowhere");
  const uint32_t permit = action("permit");
  const auto expect_refused = [&] {
    // The reference is only compared, not looked up, so a bad handle is traced only here.
    for (const uint32_t reference : {elsewhere, nowhere, permit, voice, uint32_t{0}, uint32_t{0xfffffff0}}) {
      SCOPED_TRACE(reference);
      EXPECT_REFUSED(39, zar_add_action_to_rule_before_action(voice, permit, reference));
      EXPECT_TRACED(error("(ERR): %s: Could not find action hdl:0x%x in class-action to insert before",
                          "add_action_to_rule_before_action", reference));
      EXPECT_REFUSED(39, zar_add_action_to_rule_after_action(voice, permit, reference));
      EXPECT_TRACED(error("(ERR): %s: Error: Could not find action hdl:0x%x in class-action to insert after",
                          "add_action_to_rule_after_action", reference));
    }
  };
  expect_refused();
  action_in(voice, "listed");
  action_in(voice, "listed too");
  expect_refused();
}

TEST_F(RuleActions, AreInsertedAtAListedReferenceWhoseHandleWasReleased) {
  const uint32_t head = action_in(voice, "head");
  const uint32_t tail = action_in(voice, "tail");
  const uint32_t before = action("before");
  const uint32_t after = action("after");
  zar_handle_release(tail);
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, before, tail), 0U);
  EXPECT_EQ(zar_add_action_to_rule_after_action(voice, after, tail), 0U);
  EXPECT_ERRORS();
  EXPECT_EQ(actions_of(voice), (Handles{head, before, tail, after}));
}

TEST_F(RuleActions, AreInsertedAtTheFirstOccurrenceOfAReferenceThatIsThereTwice) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t twice = action_in(voice, "twice");
  const uint32_t once = action_in(voice, "once");
  add_action(voice, twice);
  const uint32_t before = action("before");
  const uint32_t after = action("after");
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, before, twice), 0U);
  EXPECT_EQ(zar_add_action_to_rule_after_action(voice, after, twice), 0U);
  EXPECT_EQ(actions_of(voice), (Handles{before, twice, after, once, twice}));
  EXPECT_EQ(zar_remove_action_from_class_action(voice, twice), 0U);
  EXPECT_EQ(actions_of(voice), (Handles{before, after, once, twice})) << "the first occurrence is removed";
}

TEST_F(RuleActions, InsertedAfterOneThatIsThereTwiceComeAfterItsFirstOccurrence) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t twice = action_in(voice, "twice");
  const uint32_t once = action_in(voice, "once");
  const uint32_t last = action_in(voice, "last", 9);
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, twice, last), 0U);
  ASSERT_EQ(actions_of(voice), (Handles{twice, once, twice, last}));
  const uint32_t before = action("before");
  EXPECT_EQ(zar_add_action_to_rule_before_action(voice, before, last), 0U);
  EXPECT_EQ(actions_of(voice), (Handles{twice, before, once, twice, last}));
}

TEST_F(RuleActions, OrderedAfterOneThatIsThereTwiceComeAfterItsFirstOccurrence) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t twice = action_in(voice, "twice");
  const uint32_t once = action_in(voice, "once");
  add_action(voice, twice);
  EXPECT_EQ(zar_remove_action_from_class_action(voice, once), 0U);
  ASSERT_EQ(actions_of(voice), (Handles{twice, twice}));
  EXPECT_EQ(zar_add_action_to_rule(voice, once), 0U);
  EXPECT_EQ(actions_of(voice), (Handles{twice, once, twice}));
}

// ---- Taking out

TEST_F(RuleActions, RemovedStillExistWithTheirCount) {
  const uint32_t permit = action_in(voice, "permit");
  EXPECT_EQ(zar_remove_action_from_class_action(voice, permit), 0U);
  EXPECT_TRACED();
  EXPECT_CALLS();
  EXPECT_EQ(actions_of(voice), Handles{});
  EXPECT_TRUE(live(permit));
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 1U);
}

TEST_F(RuleActions, ThatAreNotInTheRuleAreRemovedWithoutEffect) {
  action_in(voice, "listed");
  const uint32_t elsewhere = action_in(video, "elsewhere");
  const uint32_t nowhere = action("nowhere");
  EXPECT_REFUSED(0, zar_remove_action_from_class_action(voice, elsewhere));
  EXPECT_REFUSED(0, zar_remove_action_from_class_action(voice, nowhere));
  EXPECT_TRACED();
}

// ---- Matching

struct MatchAction : Actions {
  const uint32_t permit = action("permit", 5);

  // Both operations, which differ in how the action is given.
  uint32_t both_match(const zar_action_context *context) {
    const uint32_t by_record = zar_match_action_parameters(at<zar_action>(permit), context);
    const std::vector<std::string> calls_by_record = take_calls();
    EXPECT_EQ(zar_compare_actions(permit, context), by_record);
    EXPECT_EQ(calls(), calls_by_record);
    EXPECT_TRACED();
    return by_record;
  }
};

TEST_F(MatchAction, DependsOnTheFunctionsAndTheData) {
  zar_action_context sought = action_context("sought", "permit");
  EXPECT_EQ(both_match(&sought), 1U);
  EXPECT_CALLS("compare permit sought");
  sought = action_context("sought", "drop");
  EXPECT_EQ(both_match(&sought), 0U);
  EXPECT_CALLS("compare permit sought");
}

TEST_F(MatchAction, ComparesNothingWhereAFunctionDiffers) {
  zar_action_context sought = action_context("sought", "permit");
  sought.action_free_fn = free_otherwise;
  EXPECT_EQ(both_match(&sought), 0U);
  sought = action_context("sought", "permit");
  sought.action_entry_fn = run_otherwise;
  EXPECT_EQ(both_match(&sought), 0U);
  EXPECT_CALLS();
}

TEST_F(MatchAction, CallsTheRecordsCompareFunctionAndReturns1ForAnythingButZero) {
  at<zar_action>(permit)->action_compare_fn = answer_the_highest_bit;
  zar_action_context sought = action_context("sought");
  sought.action_compare_fn = nullptr;
  sought.action_str_fn = nullptr;
  EXPECT_EQ(both_match(&sought), 1U);
  EXPECT_CALLS();
}

TEST_F(MatchAction, IsNoMatchForARecordThatCannotCompare) {
  breaks_invariants("its functions are taken from a record");
  at<zar_action>(permit)->action_compare_fn = nullptr;
  const zar_action_context sought = action_context("sought", "permit");
  EXPECT_EQ(both_match(&sought), 0U);
  EXPECT_CALLS();
}

TEST_F(MatchAction, IsNoMatchWithoutARecordOrAContext) {
  const zar_action_context sought = action_context("sought", "permit");
  EXPECT_EQ(both_match(nullptr), 0U);
  EXPECT_EQ(zar_match_action_parameters(nullptr, &sought), 0U);
  EXPECT_EQ(zar_match_action_parameters(nullptr, nullptr), 0U);
  EXPECT_TRACED();
  EXPECT_CALLS();
}

// ---- Finding by content

struct RetrieveAction : RuleActions {
  uint32_t out = 77;

  static Line retrieved(uint32_t action, uint32_t rule) {
    return info("(info): %s: retrieved matching action:0x%x in class-action:0x%x", "retrieve_action", action, rule);
  }
  static Line no_place(const char *name) { return error("(ERR): %s: Error: input action handle cannot be NULL", name); }
};

TEST_F(RetrieveAction, ReturnsTheFirstWithThisContent) {
  action_in(voice, "drop");
  const uint32_t first = action_of(action_context("permit", "value"));
  add_action(voice, first);
  add_action(voice, action_of(action_context("allow", "value")));
  const zar_action_context sought = action_context("sought", "value");
  watch_requests();
  EXPECT_EQ(zar_retrieve_action(voice, &sought, &out), 0U);
  EXPECT_EQ(out, first);
  EXPECT_CALLS("compare drop sought", "compare permit sought");
  EXPECT_TRACED(retrieved(first, voice));
  EXPECT_REQUESTS();
}

TEST_F(RetrieveAction, ReturnsHandle0WhenNoneMatches) {
  const zar_action_context sought = action_context("sought");
  EXPECT_EQ(zar_retrieve_action(voice, &sought, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(retrieved(0, voice));
  action_in(voice, "drop");
  out = 77;
  EXPECT_REFUSED(0, zar_retrieve_action(voice, &sought, &out));
  EXPECT_EQ(out, 0U);
  EXPECT_CALLS("compare drop sought");
  EXPECT_TRACED(retrieved(0, voice));
}

TEST_F(RetrieveAction, SkipsOtherFunctionsWithoutComparing) {
  zar_action_context otherwise = action_context("permit");
  otherwise.action_free_fn = free_otherwise;
  add_action(voice, action_of(otherwise));
  otherwise = action_context("permit");
  otherwise.action_entry_fn = run_otherwise;
  add_action(voice, action_of(otherwise));
  const uint32_t permit = action_in(voice, "permit");
  const zar_action_context sought = action_context("sought", "permit");
  EXPECT_EQ(zar_retrieve_action(voice, &sought, &out), 0U);
  EXPECT_EQ(out, permit);
  EXPECT_CALLS("compare permit sought");
}

TEST_F(RetrieveAction, CallsTheListedActionsCompareFunction) {
  zar_action_context equal_to_all = action_context("permit");
  equal_to_all.action_compare_fn = answer_the_highest_bit;
  const uint32_t permit = action_of(equal_to_all);
  add_action(voice, permit);
  zar_action_context sought = action_context("sought");
  sought.action_compare_fn = nullptr;
  sought.action_str_fn = nullptr;
  EXPECT_EQ(zar_retrieve_action(voice, &sought, &out), 0U);
  EXPECT_EQ(out, permit);
  EXPECT_CALLS();
}

TEST_F(RetrieveAction, LetsTheCompareFunctionLookUp) {
  const uint32_t stored = stored_pmap("stored");
  const uint32_t permit = action_in(voice, "permit");
  const uint32_t drop = action_in(voice, "drop");
  const zar_action_context inner = action_context("inner", "permit");
  const zar_action_context outer = action_context("outer", "drop");
  uint32_t inner_out = 77;
  uint32_t pmap_out = 77;
  data_of_action(permit).on_call = [&, entered = false]() mutable {
    if (std::exchange(entered, true)) return;
    EXPECT_EQ(zar_retrieve_action(voice, &inner, &inner_out), 0U);
    const zar_map_info info = map_info("stored");
    EXPECT_EQ(zar_retrieve_policy(one, &info, &pmap_out), 0U);
  };
  EXPECT_REFUSED(0, zar_retrieve_action(voice, &outer, &out));
  EXPECT_EQ(out, drop);
  EXPECT_EQ(inner_out, permit);
  EXPECT_EQ(pmap_out, stored);
  EXPECT_CALLS("compare permit outer", "compare permit inner", "compare drop outer");
}

TEST_F(RetrieveAction, NeedsAnOutPlaceForTheHandle) {
  action_in(voice, "permit");
  const zar_action_context sought = action_context("sought", "permit");
  EXPECT_REFUSED(39, zar_retrieve_action(voice, &sought, nullptr));
  EXPECT_TRACED(no_place("retrieve_action"));
  EXPECT_CALLS();
}

TEST_F(RetrieveAction, NeedsAContextWithItsFreeAndEntryFunctions) {
  action_in(voice, "permit");
  EXPECT_REFUSED(39, zar_retrieve_action(voice, nullptr, &out));
  EXPECT_TRACED(no_action("retrieve_action"));
  zar_action_context sought = action_context("sought", "permit");
  sought.action_free_fn = nullptr;
  EXPECT_REFUSED(39, zar_retrieve_action(voice, &sought, &out));
  EXPECT_TRACED(lacks("retrieve_action", "action_free_fn"));
  sought.action_entry_fn = nullptr;
  EXPECT_REFUSED(39, zar_retrieve_action(voice, &sought, &out));
  EXPECT_TRACED(lacks("retrieve_action", "action_free_fn"), lacks("retrieve_action", "action_entry_fn"));
  sought.action_free_fn = free_data;
  EXPECT_REFUSED(39, zar_retrieve_action(voice, &sought, &out));
  EXPECT_TRACED(lacks("retrieve_action", "action_entry_fn"));
  EXPECT_EQ(out, 77U);
  EXPECT_CALLS();
}

TEST_F(RetrieveAction, TracesEveryFaultBeforeItRefuses) {
  EXPECT_REFUSED(39, zar_retrieve_action(0, nullptr, nullptr));
  EXPECT_TRACED(no_place("retrieve_action"), no_action("retrieve_action"), invalid_handle(),
                no_rule("retrieve_action"));
}

// ---- Finding by number

struct RetrieveActionNum : RetrieveAction {
  static constexpr const char *kName = "retrieve_action_num_in_class_action";

  static Line retrieved_num(uint32_t action, uint32_t number, uint32_t rule) {
    return info("(info): %s: retrieved matching action:0x%x with action num:%d in class-action:0x%x", kName, action,
                number, rule);
  }
};

TEST_F(RetrieveActionNum, ReturnsTheFirstOfTheNumber) {
  action_in(voice, "one", 1);
  const uint32_t first = action_in(voice, "two", 2);
  action_in(voice, "two too", 2);
  EXPECT_REFUSED(0, zar_retrieve_action_num_in_class_action(voice, 2, &out));
  EXPECT_EQ(out, first);
  EXPECT_TRACED(retrieved_num(first, 2, voice));
  EXPECT_CALLS();
}

TEST_F(RetrieveActionNum, MasksTheNumber) {
  const uint32_t lowest = action_in(voice, "one", 1);
  EXPECT_EQ(zar_retrieve_action_num_in_class_action(voice, 257, &out), 0U);
  EXPECT_EQ(out, lowest);
  EXPECT_TRACED(retrieved_num(lowest, 1, voice));
}

TEST_F(RetrieveActionNum, ReturnsHandle0WhenThereIsNone) {
  EXPECT_EQ(zar_retrieve_action_num_in_class_action(voice, 2, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(retrieved_num(0, 2, voice));
  action_in(voice, "one", 1);
  out = 77;
  EXPECT_EQ(zar_retrieve_action_num_in_class_action(voice, 0x1ff, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(retrieved_num(0, 255, voice));
}

TEST_F(RetrieveActionNum, NeedsAnOutPlaceForTheHandle) {
  EXPECT_REFUSED(39, zar_retrieve_action_num_in_class_action(voice, 1, nullptr));
  EXPECT_TRACED(no_place(kName));
  EXPECT_REFUSED(39, zar_retrieve_action_num_in_class_action(0, 1, nullptr));
  EXPECT_TRACED(no_place(kName), invalid_handle(), no_rule(kName));
}

// ---- The count of references

struct ActionReferences : Actions {
  const uint32_t permit = action("permit");

  static Line counted(uint32_t action, uint32_t count) {
    return info("(info): action:0x%x reference count:%d", action, count);
  }
};

TEST_F(ActionReferences, AreCountedUpSilently) {
  EXPECT_EQ(zar_increment_action(at<zar_action>(permit)), 1U);
  EXPECT_EQ(zar_increment_action(at<zar_action>(permit)), 1U);
  EXPECT_EQ(at<zar_action>(permit)->ref_count, 3U);
  EXPECT_TRACED();
  EXPECT_CALLS();
}

TEST_F(ActionReferences, OfNullAreNone) {
  EXPECT_EQ(zar_increment_action(nullptr), 0U);
  EXPECT_EQ(zar_free_action(nullptr), 0U);
  EXPECT_TRACED();
}

TEST_F(ActionReferences, AreDroppedOneByOneAndTheLastFrees) {
  zar_action *record = at<zar_action>(permit);
  zar_increment_action(record);
  EXPECT_EQ(zar_free_action(record), 1U);
  EXPECT_TRACED(counted(permit, 1));
  EXPECT_CALLS();
  EXPECT_EQ(record->ref_count, 1U);
  EXPECT_EQ(records_taken(kActionTag), 1U);
  EXPECT_EQ(zar_free_action(record), 1U);
  EXPECT_TRACED(counted(permit, 0), info("(info): action:0x%x chunk freed", permit));
  EXPECT_CALLS("free permit");
  EXPECT_FALSE(live(permit));
  EXPECT_EQ(records_taken(kActionTag), 0U);
}

TEST_F(ActionReferences, FreeTheDataThenTheHandleThenTheRecord) {
  NEEDS_TRACE();
  bool handle_there = false;
  size_t records_there = 0;
  data_of_action(permit).on_call = [&] {
    handle_there = live(permit);
    records_there = records_taken(kActionTag);
  };
  bool handle_there_later = true;
  size_t records_there_later = 0;
  when_traced(info("(info): action:0x%x chunk freed", permit), [&] {
    handle_there_later = live(permit);
    records_there_later = records_taken(kActionTag);
  });
  zar_free_action(at<zar_action>(permit));
  EXPECT_TRUE(handle_there);
  EXPECT_EQ(records_there, 1U);
  EXPECT_FALSE(handle_there_later);
  EXPECT_EQ(records_there_later, 1U);
  EXPECT_EQ(records_taken(kActionTag), 0U);
}

TEST_F(ActionReferences, OfDataWithoutAFreeFunctionLeaveTheData) {
  zar_action *record = at<zar_action>(permit);
  record->action_free_fn = nullptr;
  EXPECT_EQ(zar_free_action(record), 1U);
  EXPECT_EQ(take_trace(), action_freed(permit));
  EXPECT_CALLS();
  EXPECT_FALSE(live(permit));
  EXPECT_EQ(records_taken(kActionTag), 0U);
}

TEST_F(ActionReferences, DroppedTooOftenWrapAndNeverFree) {
  zar_action *record = at<zar_action>(permit);
  record->ref_count = 0;
  EXPECT_EQ(zar_free_action(record), 1U);
  EXPECT_TRACED(counted(permit, 0xffffffff));
  EXPECT_CALLS();
  EXPECT_EQ(record->ref_count, 0xffffffffU);
  EXPECT_TRUE(live(permit));
}

// ---- Faults

TEST(RuleActionsUnderFaults, LeaveNothingBehindOnceTheRuleIsDeleted) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t klass = world.cmap("voice");
    const auto before = world.everything();
    const uint32_t started = world.event(1);
    const uint32_t voice = world.rule(started, klass);
    const zar_action_context permit = world.action_context("permit");
    const zar_action_context drop = world.action_context("drop");
    uint32_t second = 0;
    uint32_t first = 0;
    clock.during([&] {
      const uint32_t second_status = zar_create_action(&permit, 2, 0, &second);
      const uint32_t first_status = zar_create_action(&drop, 1, 0, &first);
      EXPECT_EQ(zar_add_action_to_rule(voice, second), second_status == 0 ? 0U : 39U);
      EXPECT_EQ(zar_add_action_to_rule_before_action(voice, first, second),
                first_status == 0 && second_status == 0 ? 0U : 39U);
    });
    Handles expected;
    if (first != 0 && second != 0) expected.push_back(first);
    if (second != 0) expected.push_back(second);
    EXPECT_EQ(World::actions_of(voice), expected);
    if (second == 0) {
      EXPECT_EQ(zar_delete_action(first), first == 0 ? 39U : 0U) << "it came into no rule";
    }
    EXPECT_EQ(zar_delete_event(started), 0U);
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
