// Actions of statements: creating, replacing, adding, removing, finding by number and walking them.
#include <algorithm>
#include <cstdlib>

#include "support/when_traced.h"
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

Line no_matching_statement() {
  return error("(ERR): Error: No matching map stmt for this pmtr_map");
}

// The messages for an action record without some of its functions, in the order of the checks.
Lines all_functions_missing(const char *caller) {
  return {error("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", caller),
          error("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", caller),
          error("(ERR): %s: Error: action_str_fn from input action context cannot be NULL", caller),
          error("(ERR): %s: Error: action_compare_fn from input action context cannot be NULL", caller)};
}
void take_functions(zar_action *action) {
  action->action_entry_fn = nullptr;
  action->action_free_fn = nullptr;
  action->action_str_fn = nullptr;
  action->action_compare_fn = nullptr;
}

struct StatementActions : Repository {
  const uint32_t abc = pmtr_map("abc");
  const zar_pmtr_map_stmt *const ten = statement(abc, 10);
  uint32_t place = kUntouched;

  Handles actions() const { return statement_actions_of(abc, 10); }
  std::vector<uint32_t> numbers() const {
    std::vector<uint32_t> out;
    for (const uint32_t action : actions())
      out.push_back(at<zar_action>(action)->action_num);
    return out;
  }

  // The parts of the trace.
  Line found(uint32_t action, uint32_t number) const {
    return info("(info): %s: retrieved matching action:0x%x with action num:%d in pmtr-map-stmt-action:0x%p",
                "retrieve_action_num_in_pmtr_stmt_action", action, number, ten);
  }
  Lines put_first(uint32_t action, uint32_t number) const {
    return {info("(info): Found stmt. added action for map index: %d", 10),
            info("(info): %s: pmtr-map-stmt-action:0x%p adding action:0x%x as first entry for map-statement",
                 "add_action_to_pmtr_map_rule", ten, action),
            info("(info): Queued action for map index: %d action index: %d", 10, number), added(action)};
  }
  Lines put_behind(uint32_t action, uint32_t number) const {
    return {info("(info): Found stmt. added action for map index: %d", 10),
            info("(info): Inserted action for map index: %d action index: %d", 10, number), added(action)};
  }
  Line added(uint32_t action) const {
    return info("(info): %s: added action:0x%x to class-action:0x%p", "add_action_to_pmtr_map_rule", action, ten);
  }
  static Lines made(uint32_t action, uint32_t number) {
    return {info("(info): create_action: successful, action:0x%x", action),
            info("(info): Created action with index: %d", number)};
  }
  static Line context_freed(const zar_action_context &context) {
    return info("(info): free_client_context: freeing client action context:0x%p", &context);
  }
};

// ---- Making

struct MakingActions : StatementActions {
  zar_action_context context = action_context("log");

  uint32_t make(uint8_t number, uint16_t precedence, zar_action_context &from, uint32_t index = 10) {
    return zar_pmtr_map_create_action(abc, index, number, precedence, &from);
  }
};

TEST_F(MakingActions, MakesAnActionAndFreesTheContext) {
  EXPECT_EQ(make(3, 65535, context), 0U);
  ASSERT_EQ(actions().size(), 1U);
  const uint32_t action = actions().front();
  Lines expected = lines(found(0, 3), made(action, 3), put_first(action, 3));
  expected.push_back(info("(info): added action with index: %d", 3));
  expected.push_back(context_freed(context));
  EXPECT_EQ(take_trace(), expected);
  EXPECT_CALLS("free context log");
  const zar_action *record = at<zar_action>(action);
  EXPECT_EQ(record->action_num, 3);
  EXPECT_EQ(record->precedence, 65535);
  EXPECT_EQ(record->ref_count, 1U);
  EXPECT_EQ(data_of_action(action).name, "log");
}

TEST_F(MakingActions, KeepsTheOrderOfTheNumbers) {
  std::vector<uint8_t> order = {1, 2, 200, 255};
  do {
    statement(abc, 10);
    for (const uint8_t number : order) {
      zar_action_context each = action_context(text("a%d", number));
      EXPECT_EQ(make(number, 0, each), 0U);
    }
    EXPECT_EQ(numbers(), (std::vector<uint32_t>{1, 2, 200, 255}));
    for (const uint32_t action : actions()) {
      zar_remove_action_from_pmtr_stmt_action(abc, 10, action);
      zar_delete_action(action);
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(MakingActions, IsTracedAsInsertedAfterAnother) {
  statement_action(abc, 10, 2, "first");
  EXPECT_EQ(make(7, 0, context), 0U);
  const uint32_t action = actions().back();
  Lines expected = lines(found(0, 7), made(action, 7), put_behind(action, 7));
  expected.push_back(info("(info): added action with index: %d", 7));
  expected.push_back(context_freed(context));
  EXPECT_EQ(take_trace(), expected);
}

TEST_F(MakingActions, GivesNewDataToTheSameAction) {
  const uint32_t action = statement_action(abc, 10, 3, "old");
  at<zar_action>(action)->executed_count = 7;
  for (const uint16_t precedence : {uint16_t{0}, uint16_t{9}, uint16_t{65535}}) {
    const std::string old_name = data_of_action(action).name;
    zar_action_context same = action_context(text("newer %d", precedence), "old");
    EXPECT_EQ(make(3, precedence, same), 0U);
    EXPECT_EQ(actions(), Handles{action});
    EXPECT_EQ(at<zar_action>(action)->precedence, precedence);
    EXPECT_EQ(at<zar_action>(action)->executed_count, 7U);
    EXPECT_EQ(at<zar_action>(action)->ref_count, 1U);
    const std::string new_name = data_of_action(action).name;
    EXPECT_EQ(new_name, text("newer %d", precedence));
    EXPECT_TRACED(found(action, 3), info("(info): same action number: %d, same action.Replacing action in pmtr-map", 3),
                  context_freed(same));
    EXPECT_CALLS("compare " + old_name + " " + new_name, "free " + old_name, "free context " + new_name);
  }
}

TEST_F(MakingActions, NeedsTheSameActionToTheEnd) {
  NEEDS_TRACE();
  const uint32_t action = statement_action(abc, 10, 3, "old");
  zar_action_context same = action_context("newer", "old");
  when_traced(info("(info): same action number: %d, same action.Replacing action in pmtr-map", 3),
              [&] { zar_handle_release(action); });
  make(3, 9, same);
  EXPECT_EQ(take_errors().front(), destroyed_already(action));
}

TEST_F(MakingActions, GivesNewDataToTheSameActionOfAContextWithLess) {
  const uint32_t action = statement_action(abc, 10, 3, "old");
  zar_action_context same = action_context("newer", "old");
  same.action_str_fn = nullptr;
  same.action_compare_fn = nullptr;
  EXPECT_EQ(make(3, 1, same), 0U);
  EXPECT_EQ(actions(), Handles{action});
  EXPECT_EQ(data_of_action(action).name, "newer");
}

TEST_F(MakingActions, RemovesAnotherActionOfTheNumber) {
  statement_action(abc, 10, 2, "before");
  const uint32_t old_action = statement_action(abc, 10, 3, "old");
  statement_action(abc, 10, 4, "after");
  EXPECT_EQ(make(3, 8, context), 0U);
  EXPECT_EQ(numbers(), (std::vector<uint32_t>{2, 3, 4}));
  const uint32_t action = actions()[1];
  EXPECT_NE(action, old_action);
  Lines expected =
      lines(found(old_action, 3), info("(info): same action number: %d, but new action.Removed action in pmtr-map", 3),
            made(action, 3), put_behind(action, 3));
  expected.push_back(info("(info): added action with index: %d", 3));
  expected.push_back(context_freed(context));
  EXPECT_EQ(take_trace(), expected);
  EXPECT_CALLS("compare old log", "free context log");
  EXPECT_TRUE(live(old_action)) << "it is only unlinked";
  EXPECT_EQ(at<zar_action>(old_action)->ref_count, 1U);
  EXPECT_EQ(data_of_action(old_action).freed, 0);
}

uint32_t another_entry(void *, void *) {
  return 0;
}

TEST_F(MakingActions, TakesAnotherEntryFunctionForAnotherAction) {
  const uint32_t old_action = statement_action(abc, 10, 3, "log");
  context.action_entry_fn = another_entry;
  EXPECT_EQ(make(3, 8, context), 0U);
  EXPECT_NE(actions().front(), old_action);
  EXPECT_CALLS("free context log");
}

TEST_F(MakingActions, FreesTheContextWhereThereIsNoMap) {
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(0U, zar_pmtr_map_create_action(wrong.handle, 10, 3, 0, &context));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map("retrieve_action_num_in_pmtr_stmt_action"), context_freed(context));
    EXPECT_CALLS("free context log");
  }
}

TEST_F(MakingActions, FreesTheContextWhereNoActionCanBeMade) {
  context.action_str_fn = nullptr;
  EXPECT_REFUSED(0U, make(3, 0, context));
  EXPECT_TRACED(
      found(0, 3),
      error("(ERR): %s: Error: action parse fn, action compare hdl fn from input action context cannot be NULL",
            "create_action"),
      info("(info): Created action with index: %d", 3), context_freed(context));
  EXPECT_CALLS("free context log");

  zar_action_context good = action_context("drop");
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(0U, make(4, 0, good));
  EXPECT_TRACED(found(0, 4), error("(ERR): create_action: memory alloc for action failed"),
                info("(info): Created action with index: %d", 4), context_freed(good));
}

TEST_F(MakingActions, CannotFreeAContextWithoutFreeFunction) {
  context.action_free_fn = nullptr;
  EXPECT_REFUSED(0U, make(3, 0, context));
  EXPECT_TRACED(
      found(0, 3), error("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", "create_action"),
      error("(ERR): create_action: Invalid action_context"), info("(info): Created action with index: %d", 3));
  EXPECT_CALLS();
}

TEST_F(MakingActions, RemovesTheOtherActionEvenIfNoneCanBeMade) {
  const uint32_t old_action = statement_action(abc, 10, 3, "old");
  context.action_str_fn = nullptr;
  EXPECT_EQ(make(3, 0, context), 0U);
  EXPECT_EQ(actions(), Handles{});
  EXPECT_TRUE(live(old_action));
  EXPECT_CALLS("compare old log", "free context log");
}

TEST_F(MakingActions, DeletesTheActionWhereThereIsNoStatement) {
  const std::string before = everything();
  EXPECT_EQ(make(3, 0, context, 11), 1U);
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS("free log");
  NEEDS_TRACE();
  const Lines all = take_trace();
  ASSERT_EQ(all.size(), 7U);
  EXPECT_TRUE(all[0].text.starts_with("(info): create_action: successful, action:0x")) << all[0];
  const unsigned long made_action = std::strtoul(all[0].text.substr(all[0].text.rfind('x') + 1).c_str(), nullptr, 16);
  const uint32_t action = static_cast<uint32_t>(made_action);
  EXPECT_EQ(all, lines(made(action, 3), error("(ERR): Could not find stmt to add action for map index: %d", 11),
                       error("(ERR): Could not add action with index: %d", 3),
                       info("(info): action:0x%x reference count:%d", action, 0),
                       info("(info): action:0x%x chunk freed", action),
                       info("(info): %s: deleted action:0x%x", "delete_action", action)));
}

TEST_F(MakingActions, LeavesTheContextWhereTheActionCannotBeAdded) {
  NEEDS_TRACE();
  when_traced(info("(info): Created action with index: %d", 3), [&] { zar_handle_release(abc); });
  EXPECT_EQ(make(3, 0, context), 1U);
  EXPECT_CALLS("free log");
  EXPECT_ERRORS(destroyed_already(abc), no_pmtr_map("add_action_to_pmtr_map_rule"),
                error("(ERR): Could not add action with index: %d", 3));
}

TEST_F(MakingActions, NeedsAContext) {
  EXPECT_REFUSED(39U, zar_pmtr_map_create_action(abc, 10, 3, 0, nullptr));
  EXPECT_ONE_ERROR();
  statement_action(abc, 10, 3, "old");
  EXPECT_REFUSED(39U, zar_pmtr_map_create_action(abc, 10, 3, 0, nullptr));
  EXPECT_ONE_ERROR();
  EXPECT_CALLS();
}

TEST(MakingActionsUnderFaults, MakesAnActionOrNothing) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t abc = world.pmtr_map("abc");
    world.statement(abc, 10);
    const std::string before = world.everything();
    zar_action_context context = world.action_context("log");
    const auto make = [&] { return zar_pmtr_map_create_action(abc, 10, 3, 0, &context); };
    EXPECT_EQ(clock.during(make), 0U);
    EXPECT_CALLS("free context log");
    EXPECT_EQ(World::statement_actions_of(abc, 10).size(), clock.hit() ? 0U : 1U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    make();
    EXPECT_EQ(World::statement_actions_of(abc, 10).size(), 1U);
  });
}

// ---- Putting in

struct PuttingIn : StatementActions {};

TEST_F(PuttingIn, GoesByNumberAndOrderOfAdditionWhateverTheOrder) {
  const uint32_t action_numbers[] = {1, 2, 2, 3};
  Handles handles;
  for (const uint32_t number : action_numbers)
    handles.push_back(action("a", number));
  std::vector<size_t> order = {0, 1, 2, 3};
  do {
    Handles expected;
    for (const size_t each : order) {
      EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, handles[each]), 0U);
      expected.push_back(handles[each]);
    }
    std::stable_sort(expected.begin(), expected.end(), [](uint32_t left, uint32_t right) {
      return at<zar_action>(left)->action_num < at<zar_action>(right)->action_num;
    });
    EXPECT_EQ(actions(), expected);
    for (const uint32_t each : handles)
      EXPECT_EQ(zar_remove_action_from_pmtr_stmt_action(abc, 10, each), 0U);
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(PuttingIn, IsTracedByThePlace) {
  const uint32_t seven = action("a", 7), two_hundred = action("b", 200), one_more = action("c", 1);
  EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, seven), 0U);
  EXPECT_EQ(take_trace(), put_first(seven, 7));
  EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, two_hundred), 0U);
  EXPECT_EQ(take_trace(), put_behind(two_hundred, 200));
  EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, one_more), 0U);
  EXPECT_EQ(take_trace(), put_first(one_more, 1));
  EXPECT_EQ(at<zar_action>(seven)->ref_count, 1U) << "no reference is added";
}

TEST_F(PuttingIn, AfterOneThatIsThereTwiceComesAfterItsFirstOccurrence) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t twice = statement_action(abc, 10, 1, "twice");
  EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, twice), 0U);
  ASSERT_EQ(actions(), (Handles{twice, twice}));
  const uint32_t late = action("late", 1);
  EXPECT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, late), 0U);
  EXPECT_EQ(actions(), (Handles{twice, late, twice}));
  EXPECT_EQ(zar_remove_action_from_pmtr_stmt_action(abc, 10, twice), 0U);
  EXPECT_EQ(actions(), (Handles{late, twice})) << "the first occurrence is removed";
}

TEST_F(PuttingIn, StopsAtTheFirstFault) {
  breaks_invariants("its functions are taken from a record");
  const char *const name = "add_action_to_pmtr_map_rule";
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_add_action_to_pmtr_map_rule(wrong.handle, 99, 0xfffffff0));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map(name));
  }
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::action)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_add_action_to_pmtr_map_rule(abc, 99, wrong.handle));
    EXPECT_TRACED(wrong.look_up, error("(ERR): %s: Error: input action context cannot be NULL", name));
  }
  const uint32_t log = action("log");
  for (const uint32_t index : {9U, 11U, 266U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_add_action_to_pmtr_map_rule(abc, index, log));
    EXPECT_TRACED(error("(ERR): Could not find stmt to add action for map index: %d", index));
  }
  take_functions(at<zar_action>(log));
  EXPECT_REFUSED(39U, zar_add_action_to_pmtr_map_rule(abc, 10, log));
  EXPECT_EQ(take_trace(), all_functions_missing(name));
}

// ---- Taking out

struct TakingOut : StatementActions {};

TEST_F(TakingOut, OnlyUnlinks) {
  const uint32_t first = statement_action(abc, 10, 1, "a"), second = statement_action(abc, 10, 2, "b"),
                 third = statement_action(abc, 10, 3, "c");
  EXPECT_EQ(zar_remove_action_from_pmtr_stmt_action(abc, 10, second), 0U);
  EXPECT_EQ(actions(), (Handles{first, third}));
  EXPECT_TRUE(live(second));
  EXPECT_EQ(at<zar_action>(second)->ref_count, 1U);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(TakingOut, OfAnActionThatDoesNotExistChangesNothing) {
  statement_action(abc, 10, 1, "a");
  const uint32_t loose = action("b");
  EXPECT_REFUSED(0U, zar_remove_action_from_pmtr_stmt_action(abc, 10, loose));
  EXPECT_TRACED();
}

TEST_F(TakingOut, StopsAtTheFirstFault) {
  breaks_invariants("its functions are taken from a record");
  const char *const name = "remove_action_from_pmtr_stmt_action";
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_remove_action_from_pmtr_stmt_action(wrong.handle, 99, 0xfffffff0));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map(name));
  }
  EXPECT_REFUSED(39U, zar_remove_action_from_pmtr_stmt_action(abc, 99, 0xfffffff0));
  EXPECT_TRACED();
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::action)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_remove_action_from_pmtr_stmt_action(abc, 10, wrong.handle));
    EXPECT_TRACED(wrong.look_up, error("(ERR): %s: Error: input action context cannot be NULL", name));
  }
  const uint32_t log = statement_action(abc, 10, 1, "a");
  take_functions(at<zar_action>(log));
  EXPECT_REFUSED(39U, zar_remove_action_from_pmtr_stmt_action(abc, 10, log));
  EXPECT_EQ(take_trace(), all_functions_missing(name));
}

// ---- Finding by number

struct FindingByNumber : StatementActions {
  uint32_t find(uint32_t number, uint32_t index = 10) {
    return zar_retrieve_action_num_in_pmtr_stmt_action(abc, index, number, &place);
  }
};

TEST_F(FindingByNumber, ReturnsTheFirstOfTheNumber) {
  statement_action(abc, 10, 1, "a");
  const uint32_t first = statement_action(abc, 10, 2, "b");
  ASSERT_EQ(zar_add_action_to_pmtr_map_rule(abc, 10, action("c", 2)), 0U);
  forget_trace();
  EXPECT_REFUSED(0U, find(2));
  EXPECT_EQ(place, first);
  EXPECT_TRACED(found(first, 2));
}

TEST_F(FindingByNumber, ChecksTheLowByte) {
  const uint32_t action = statement_action(abc, 10, 1, "a");
  EXPECT_EQ(find(257), 0U);
  EXPECT_EQ(place, action);
  EXPECT_TRACED(found(action, 1));
}

TEST_F(FindingByNumber, ReturnsNothingForANumberThatDoesNotExist) {
  statement_action(abc, 10, 1, "a");
  EXPECT_REFUSED(0U, find(2));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(found(0, 2));
}

TEST_F(FindingByNumber, ReturnsNothingForAStatementThatDoesNotExist) {
  statement_action(abc, 10, 1, "a");
  EXPECT_REFUSED(0U, find(1, 11));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED();
}

TEST_F(FindingByNumber, StopsAtTheFirstFault) {
  const char *const name = "retrieve_action_num_in_pmtr_stmt_action";
  EXPECT_REFUSED(39U, zar_retrieve_action_num_in_pmtr_stmt_action(0xfffffff0, 10, 1, nullptr));
  EXPECT_TRACED(error("(ERR): %s: Error: input action handle cannot be NULL", name));
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_retrieve_action_num_in_pmtr_stmt_action(wrong.handle, 10, 1, &place));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map(name));
  }
  EXPECT_EQ(place, kUntouched);
}

// ---- The checks

struct ActionChecks : Repository {};

TEST_F(ActionChecks, NeedAHandle) {
  EXPECT_EQ(zar_pmtr_verify_action_hdl(1, "caller"), 0U);
  EXPECT_EQ(zar_pmtr_verify_action_hdl(0xffffffff, nullptr), 0U) << "it is not resolved";
  EXPECT_TRACED();
  EXPECT_EQ(zar_pmtr_verify_action_hdl(0, "caller"), 1U);
  EXPECT_TRACED(error("(ERR): %s: Error: input action handle cannot be NULL", "caller"));
  EXPECT_EQ(zar_pmtr_verify_action_hdl(0, nullptr), 1U);
  EXPECT_TRACED(error("(ERR): %s: Error: input action handle cannot be NULL", " "));
}

TEST_F(ActionChecks, NeedARecord) {
  EXPECT_EQ(zar_pmtr_verify_action_content(nullptr, "caller"), 1U);
  EXPECT_TRACED(error("(ERR): %s: Error: input action context cannot be NULL", "caller"));
  EXPECT_EQ(zar_pmtr_verify_action_content(nullptr, nullptr), 1U);
  EXPECT_TRACED(error("(ERR): %s: Error: input action context cannot be NULL", " "));
}

TEST_F(ActionChecks, NeedFourFunctions) {
  const zar_action whole = *at<zar_action>(action("log"));
  EXPECT_EQ(zar_pmtr_verify_action_content(&whole, "caller"), 0U);
  EXPECT_TRACED();
  for (const char *caller : {static_cast<const char *>("caller"), static_cast<const char *>(nullptr)}) {
    for (uint32_t missing = 1; missing < 16; ++missing) {
      zar_action part = whole;
      if ((missing & 1) != 0) part.action_entry_fn = nullptr;
      if ((missing & 2) != 0) part.action_free_fn = nullptr;
      if ((missing & 4) != 0) part.action_str_fn = nullptr;
      if ((missing & 8) != 0) part.action_compare_fn = nullptr;
      const Lines all = all_functions_missing(caller ? caller : " ");
      Lines expected;
      for (size_t i = 0; i < 4; ++i) {
        if ((missing >> i & 1) != 0) expected.push_back(all[i]);
      }
      EXPECT_EQ(zar_pmtr_verify_action_content(&part, caller), 1U);
      EXPECT_EQ(take_trace(), expected);
    }
  }
}

TEST_F(ActionChecks, DoNotNeedTheOtherTwo) {
  zar_action part = *at<zar_action>(action("log"));
  part.action_notify_fn = nullptr;
  part.action_param_map_check_fn = nullptr;
  part.action_data = nullptr;
  EXPECT_EQ(zar_pmtr_verify_action_content(&part, "caller"), 0U);
  EXPECT_TRACED();
}

// ---- Walking

struct WalkingActions : StatementActions {
  static constexpr const char *kFirst = "get_first_pmtr_map_action";
  static constexpr const char *kNext = "get_next_pmtr_map_action";

  uint32_t first(uint32_t index = 10) { return zar_pmtr_get_first_action_index(one, abc, index, &place); }
  uint32_t next(uint32_t current, uint32_t index = 10) {
    return zar_pmtr_get_next_action_index(one, abc, index, current, &place);
  }
};

TEST_F(WalkingActions, GoesInTheOrderOfTheNumbers) {
  const uint32_t seven = statement_action(abc, 10, 7, "a"), second = statement_action(abc, 10, 2, "b"),
                 five = statement_action(abc, 10, 5, "c");
  EXPECT_REFUSED(0U, first());
  EXPECT_EQ(place, second);
  EXPECT_TRACED(own_database(kFirst));
  EXPECT_REFUSED(0U, next(second));
  EXPECT_EQ(place, five);
  EXPECT_TRACED(own_database(kNext), info("(info): %s: current action:0x%x found.", kNext, second),
                info("(info): %s: success, action:0x%x found next to:0x%x", kNext, five, second));
  EXPECT_REFUSED(0U, next(five));
  EXPECT_EQ(place, seven);
  forget_trace();
  EXPECT_REFUSED(40U, next(seven));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database(kNext), info("(info): %s: current action:0x%x found.", kNext, seven),
                info("(info): %s: no next action found next to:0x%x", kNext, seven));
}

TEST_F(WalkingActions, WritesThePlaceOnceTheCurrentActionIsTraced) {
  NEEDS_TRACE();
  const uint32_t a = statement_action(abc, 10, 1, "a"), b = statement_action(abc, 10, 2, "b");
  const auto values_of_next = [this](uint32_t current, uint32_t index) {
    place = kUntouched;
    return values_when_traced(place, [=, this] { next(current, index); });
  };
  EXPECT_EQ(values_of_next(a, 10), (Handles{kUntouched, kUntouched, b}));
  EXPECT_EQ(values_of_next(b, 10), (Handles{kUntouched, kUntouched, 0}));
  EXPECT_EQ(values_of_next(abc, 10), (Handles{kUntouched, 0}));
  EXPECT_EQ(values_of_next(a, 11), (Handles{kUntouched, 0}));
}

TEST_F(WalkingActions, ContinuesFromActionsOfTheStatementOnly) {
  statement_action(abc, 10, 1, "a");
  statement(abc, 20);
  const uint32_t elsewhere = statement_action(abc, 20, 1, "b");
  for (const uint32_t current : {elsewhere, 0U, 0xfffffff0U, abc}) {
    place = kUntouched;
    EXPECT_REFUSED(40U, next(current));
    EXPECT_EQ(place, 0U);
    EXPECT_TRACED(own_database(kNext), info("(info): %s: Error: no matching action:0x%p found.", kNext, nullptr));
  }
}

TEST_F(WalkingActions, FindsNothingInAStatementWithoutActions) {
  EXPECT_REFUSED(40U, first());
  EXPECT_EQ(place, kUntouched);
  EXPECT_TRACED(own_database(kFirst), error("(ERR): Error: No actions for this pmtr_map stmt"));
  const uint32_t loose = action("loose");
  EXPECT_REFUSED(40U, next(loose));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database(kNext), info("(info): %s: Error: no matching action:0x%p found.", kNext, nullptr));
}

TEST_F(WalkingActions, FindsNothingWithoutTheStatement) {
  const uint32_t a = statement_action(abc, 10, 1, "a");
  EXPECT_REFUSED(40U, first(11));
  EXPECT_EQ(place, kUntouched);
  EXPECT_TRACED(own_database(kFirst), no_matching_statement());
  EXPECT_REFUSED(40U, next(a, 11));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database(kNext), no_matching_statement());
}

TEST_F(WalkingActions, StopsAtTheFirstFault) {
  const uint32_t a = statement_action(abc, 10, 1, "a");
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_pmtr_get_first_action_index(clid, 0xfffffff0, 11, &place));
    EXPECT_TRACED(wrong_clid(kFirst, clid));
    EXPECT_REFUSED(39U, zar_pmtr_get_next_action_index(clid, 0xfffffff0, 11, a, &place));
    EXPECT_TRACED(wrong_clid(kNext, clid));
  }
  zar_clients_info[0]->status = 0;
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_pmtr_get_first_action_index(one, wrong.handle, 11, &place));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map(kFirst));
    EXPECT_REFUSED(39U, zar_pmtr_get_next_action_index(one, wrong.handle, 11, a, &place));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map(kNext));
  }
  EXPECT_REFUSED(37U, first(11));
  EXPECT_TRACED(inactive_client(kFirst, 1));
  EXPECT_REFUSED(37U, next(a, 11));
  EXPECT_TRACED(inactive_client(kNext, 1));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(WalkingActions, NeedsAnOutPlace) {
  const uint32_t a = statement_action(abc, 10, 1, "a");
  EXPECT_REFUSED(39U, zar_pmtr_get_first_action_index(one, abc, 10, nullptr));
  EXPECT_ONE_ERROR();
  EXPECT_REFUSED(39U, zar_pmtr_get_next_action_index(one, abc, 10, a, nullptr));
  EXPECT_ONE_ERROR();
}

TEST_F(WalkingActions, WorksForAClientWithoutADatabaseOfItsOwn) {
  const uint32_t a = statement_action(abc, 10, 1, "a");
  EXPECT_EQ(zar_pmtr_get_first_action_index(two, abc, 10, &place), 0U);
  EXPECT_EQ(place, a);
  EXPECT_TRACED(info("(info): %s: using default database", kFirst));
}

}  // namespace
