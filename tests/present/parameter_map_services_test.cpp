// What parameter-maps need from policies: which action uses one, newer data for an action or a filter, a policy-map by
// name.
#include <cstring>
#include <utility>

#include "support/wrong_handles.h"

using namespace rig;

namespace {

// ---- The question whether a parameter-map is in use

struct ParameterMapUse : Repository {
  static void claim(const char *domain, uint32_t clid) {
    const Quiet quiet;
    EXPECT_EQ(zar_register_domain(clid, domain), 0U);
  }
  // Lets the action answer for 'value'.
  static void let_use(uint32_t action, const void *value) { data_of_action(action).param_map = value; }
  static void make_dumb(uint32_t action) { at<zar_action>(action)->action_param_map_check_fn = nullptr; }

  int value = 0;
  int other_value = 0;
};

const Line kOwnDatabase = info("(info): %s: using client specific database", "check_param_map");
const Line kNoNext = info("(info): PMAP avl: get next, no next pmap");

TEST_F(ParameterMapUse, AsksEveryActionInTheOrderOfTheRules) {
  claim("d1", one);
  const uint32_t silver = stored_pmap("silver"), gold = stored_pmap("gold", {.domain = "d2"});
  action_in(rule(event_in(silver, 1), cmap("s")), "silver");
  const uint32_t start = event_in(gold, 1), stop = event_in(gold, 2);
  const uint32_t voice = rule(start, cmap("voice"), 2);
  action_in(voice, "b", 2);
  action_in(voice, "a", 1);
  action_in(rule(start, cmap("video"), 3), "c");
  action_in(rule(stop, cmap("rest")), "d");
  EXPECT_REFUSED(0U, zar_is_param_map_assoc_with_policy(&value));
  EXPECT_CALLS("uses a", "uses b", "uses c", "uses d", "uses silver");
  EXPECT_TRACED(kOwnDatabase, kNoNext);
}

TEST_F(ParameterMapUse, IsAnsweredByTheFirstThatUsesIt) {
  claim("d1", one);
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = rule(event_in(gold, 1), cmap("voice"));
  action_in(voice, "a", 1);
  let_use(action_in(voice, "b", 2), &value);
  action_in(voice, "c", 3);
  EXPECT_REFUSED(1U, zar_is_param_map_assoc_with_policy(&value));
  EXPECT_CALLS("uses a", "uses b");
  EXPECT_TRACED(kOwnDatabase);
  EXPECT_REFUSED(0U, zar_is_param_map_assoc_with_policy(&other_value));
  EXPECT_CALLS("uses a", "uses b", "uses c");
}

// Returns the value that a test gives, to distinguish any non-zero result from 1.
uint32_t the_answer = 0;
uint32_t answer(void *, const void *) {
  return the_answer;
}

TEST_F(ParameterMapUse, IsOneWhateverTheResultIs) {
  claim("d1", one);
  const uint32_t a = action_in(rule(event_in(stored_pmap("gold"), 1), cmap("voice")), "a");
  at<zar_action>(a)->action_param_map_check_fn = answer;
  for (const uint32_t each : {1U, 2U, 256U, 0xffffffffU}) {
    the_answer = each;
    EXPECT_EQ(zar_is_param_map_assoc_with_policy(&value), 1U);
  }
  the_answer = 0;
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&value), 0U);
}

TEST_F(ParameterMapUse, IsAskedWithTheValueAsItIs) {
  claim("d1", one);
  action_in(rule(event_in(stored_pmap("gold"), 1), cmap("voice")), "a");  // answers for NULL
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(nullptr), 1U);
  EXPECT_CALLS("uses a");
}

TEST_F(ParameterMapUse, IsNotAskedAfterAnActionThatCannotBeAsked) {
  claim("d1", one);
  const uint32_t start = event_in(stored_pmap("gold"), 1);
  const uint32_t voice = rule(start, cmap("voice"), 1), video = rule(start, cmap("video"), 2);
  make_dumb(action_in(voice, "a", 1));
  let_use(action_in(voice, "b", 2), &value);
  action_in(video, "c", 1);
  make_dumb(action_in(video, "d", 2));
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&value), 0U);
  EXPECT_CALLS("uses c");
}

TEST_F(ParameterMapUse, IsAskedOfPoliciesThatAreNotControlByTheSameRule) {
  claim("d1", one);
  const MapOptions plain = {.type = 2};
  stored_pmap("silver", plain);
  stored_cmap("voice", plain);
  stored_cmap("video", plain);
  const uint32_t voice = plain_rule("silver", "voice"), video = plain_rule("silver", "video");
  action_in(voice, "a", 1);
  make_dumb(action_in(voice, "b", 2));
  const uint32_t skipped = action_in(voice, "c", 3);
  const uint32_t last = action_in(video, "d", 1);
  let_use(skipped, &value);
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&value), 0U);
  EXPECT_CALLS("uses a", "uses d");
  let_use(last, &value);
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&value), 1U);
}

TEST_F(ParameterMapUse, IsNotAskedOfRecordsOfAnotherKind) {
  claim("d1", one);
  const uint32_t guest = cmap("guest");
  filter_in(guest, "f");
  const uint32_t parameters = pmtr_map("parameters");
  statement(parameters, 1);
  statement_action(parameters, 1, 1, "theirs");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_policy(one, guest), 0U);
    ASSERT_EQ(zar_store_policy(one, parameters), 0U);
  }
  action_in(rule(event_in(stored_pmap("zebra"), 1), cmap("voice")), "a");
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&value), 0U);
  EXPECT_CALLS("uses a");
}

TEST_F(ParameterMapUse, IsNotAskedWhereNobodyClaimedADomain) {
  action_in(rule(event_in(stored_pmap("gold"), 1), cmap("voice")), "a");
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(nullptr), 0U);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(ParameterMapUse, IsNotAskedOfPoliciesThatAreNotStored) {
  claim("d1", one);
  action_in(rule(event_in(pmap("gold"), 1), cmap("voice")), "a");
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(nullptr), 0U);
  EXPECT_CALLS();
  EXPECT_TRACED(kOwnDatabase, info("(info): PMAP avl: get first, no first pmap"));
}

TEST_F(ParameterMapUse, IsAskedOncePerClaimedDomainInTheirOrder) {
  const uint32_t three = client("three", database());
  claim("x", three);
  claim("b", two);
  claim("a", one);
  action_in(rule(event_in(stored_pmap("gold"), 1), cmap("voice")), "ours");
  action_in(rule(event_in(stored_pmap("gold", {.clid = three}), 1), cmap("voice")), "theirs");
  EXPECT_REFUSED(0U, zar_is_param_map_assoc_with_policy(&value));
  EXPECT_CALLS("uses theirs", "uses ours", "uses ours");
  EXPECT_TRACED(kOwnDatabase, kNoNext, info("(info): %s: using default database", "check_param_map"), kNoNext,
                kOwnDatabase, kNoNext);
}

TEST_F(ParameterMapUse, EndsAtAnOwnerOutOfRange) {
  claim("d1", one);
  claim("d2", two);
  let_use(action_in(rule(event_in(stored_pmap("gold"), 1), cmap("voice")), "a"), &value);
  auto *first = static_cast<zar_domain_entry *>(runtime::elements(&zar_domain_list).front());
  for (const uint32_t owner : {0U, 3U, 0xffffffffU}) {
    first->owner_clid = owner;
    EXPECT_REFUSED(0U, zar_is_param_map_assoc_with_policy(&value));
    EXPECT_TRACED(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "check_param_map", owner, 2));
    EXPECT_CALLS();
  }
}

TEST_F(ParameterMapUse, EndsAtAnOwnerWithoutDatabase) {
  claim("d1", two);
  claim("d2", one);
  let_use(action_in(rule(event_in(stored_pmap("gold"), 1), cmap("voice")), "a"), &value);
  zar_clients_info[1]->status = 0;
  EXPECT_REFUSED(0U, zar_is_param_map_assoc_with_policy(&value));
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "check_param_map", 2));
  zar_clients_info[1]->status = 1;
  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(0U, zar_is_param_map_assoc_with_policy(&value));
  EXPECT_TRACED(error("(ERR): Could not find default db"));
  EXPECT_CALLS();
}

// ---- Newer data for an action

struct ActionData : Repository {};

TEST_F(ActionData, IsReplacedAndTheOldFreed) {
  const uint32_t voice = rule(event_in(pmap("gold"), 1), cmap("voice"));
  const uint32_t log = action_in(voice, "log", 5);
  const zar_action before = *at<zar_action>(log);
  Data &newer = data("newer");
  const zar_action_context context = action_context(newer);
  zar_replace_old_action_hdl(log, &context);
  EXPECT_CALLS("free log");
  EXPECT_TRACED();

  zar_action expected = before;
  expected.action_data = &newer;
  EXPECT_EQ(memcmp(at<zar_action>(log), &expected, sizeof expected), 0) << "nothing else has changed";
  EXPECT_EQ(actions_of(voice), Handles{log});
  EXPECT_EQ(newer.freed, 0);
}

uint32_t another_entry(void *, void *) {
  return 0;
}
uint32_t another_compare(void *, void *) {
  return 0;
}
void another_free(void *, void *) {
  log_call("the wrong free function");
}

TEST_F(ActionData, IsReplacedButTheFunctionsStay) {
  const uint32_t log = action("log");
  zar_action_context context = action_context("newer");
  context.action_free_fn = another_free;
  context.action_entry_fn = another_entry;
  context.action_compare_fn = another_compare;
  context.action_str_fn = nullptr;
  context.action_notify_fn = nullptr;
  context.action_param_map_check_fn = nullptr;
  zar_replace_old_action_hdl(log, &context);
  EXPECT_CALLS("free log");
  const zar_action *record = at<zar_action>(log);
  EXPECT_EQ(record->action_data, context.action_data);
  EXPECT_EQ(record->action_free_fn, free_data);
  EXPECT_EQ(record->action_entry_fn, run_action);
  EXPECT_EQ(record->action_str_fn, action_text);
  EXPECT_EQ(record->action_compare_fn, compare_data);
  EXPECT_EQ(record->action_notify_fn, notify_action);
  EXPECT_EQ(record->action_param_map_check_fn, check_param_map);
  EXPECT_TRACED();
}

TEST_F(ActionData, MayBecomeNone) {
  const uint32_t log = action("log");
  zar_action_context context = action_context("newer");
  context.action_data = nullptr;
  zar_replace_old_action_hdl(log, &context);
  EXPECT_CALLS("free log");
  EXPECT_EQ(at<zar_action>(log)->action_data, nullptr);
}

// What keeps the data as it is: nothing is freed and nothing changes.
struct ActionDataStays : ActionData {
  void try_replace(uint32_t action, const zar_action_context *context) {
    const std::string before = everything();
    zar_replace_old_action_hdl(action, context);
    EXPECT_EQ(everything(), before);
    EXPECT_CALLS();
  }
};

TEST_F(ActionDataStays, WithoutAUsableContext) {
  const uint32_t log = action("log");
  try_replace(log, nullptr);
  EXPECT_TRACED(error("(ERR): %s: Error: input action context cannot be NULL", " "));

  zar_action_context context = action_context("newer");
  context.action_free_fn = nullptr;
  try_replace(log, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", " "));
  context.action_entry_fn = nullptr;
  try_replace(log, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", " "),
                error("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", " "));
}

TEST_F(ActionDataStays, WhereTheActionLacksAFunction) {
  breaks_invariants("its functions are taken from a record");
  const zar_action_context context = action_context("newer");
  const uint32_t log = action("log");
  zar_action *record = at<zar_action>(log);
  const zar_action whole = *record;
  record->action_entry_fn = nullptr;
  record->action_free_fn = nullptr;
  record->action_str_fn = nullptr;
  record->action_compare_fn = nullptr;
  try_replace(log, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", " "),
                error("(ERR): %s: Error: action_free_fn from input action context cannot be NULL", " "),
                error("(ERR): %s: Error: action_str_fn from input action context cannot be NULL", " "),
                error("(ERR): %s: Error: action_compare_fn from input action context cannot be NULL", " "));
  *record = whole;
  record->action_str_fn = nullptr;
  try_replace(log, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: action_str_fn from input action context cannot be NULL", " "));
}

TEST_F(ActionDataStays, AfterBothChecksWereTraced) {
  zar_action_context context = action_context("newer");
  context.action_entry_fn = nullptr;
  try_replace(0xfffffff0, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: action_entry_fn from input action context cannot be NULL", " "),
                error("(ERR): %s: Error: input action context cannot be NULL", " "));
}

// ---- Newer data for a filter

struct FilterData : Repository {};

TEST_F(FilterData, IsReplacedAndTheOldFreed) {
  const uint32_t voice = cmap("voice");
  const uint32_t dscp = filter_in(voice, "dscp", 1);
  at<zar_filter>(dscp)->hit_count = 9;
  const zar_filter before = *at<zar_filter>(dscp);
  Data &newer = data("newer");
  const zar_filter_context context = filter_context(newer);
  zar_replace_old_filter_hdl(dscp, &context);
  EXPECT_CALLS("free dscp");
  EXPECT_TRACED();

  zar_filter expected = before;
  expected.filter_data = &newer;
  EXPECT_EQ(memcmp(at<zar_filter>(dscp), &expected, sizeof expected), 0) << "nothing else has changed";
  EXPECT_EQ(filters_of(voice), Handles{dscp});
}

char *another_text(void *) {
  return nullptr;
}

TEST_F(FilterData, IsReplacedButTheFunctionsStay) {
  const uint32_t dscp = filter("dscp");
  zar_filter_context context = filter_context("newer");
  context.filter_free_fn = another_free;
  context.filter_eval_fn = another_entry;
  context.filter_str_fn = another_text;
  context.filter_compare_fn = nullptr;
  zar_replace_old_filter_hdl(dscp, &context);
  EXPECT_CALLS("free dscp");
  const zar_filter *record = at<zar_filter>(dscp);
  EXPECT_EQ(record->filter_data, context.filter_data);
  EXPECT_EQ(record->filter_free_fn, free_data);
  EXPECT_EQ(record->filter_eval_fn, evaluate_filter);
  EXPECT_EQ(record->filter_str_fn, filter_text);
  EXPECT_EQ(record->filter_compare_fn, compare_data);
  EXPECT_TRACED();
}

struct FilterDataStays : FilterData {
  void try_replace(uint32_t filter, const zar_filter_context *context) {
    const std::string before = everything();
    zar_replace_old_filter_hdl(filter, context);
    EXPECT_EQ(everything(), before);
    EXPECT_CALLS();
  }
};

TEST_F(FilterDataStays, WithoutAUsableContext) {
  const uint32_t dscp = filter("dscp");
  try_replace(dscp, nullptr);
  EXPECT_TRACED(error("(ERR): %s: Error: input filter context cannot be NULL", " "));

  zar_filter_context context = filter_context("newer");
  context.filter_free_fn = nullptr;
  try_replace(dscp, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", " "));
  context.filter_eval_fn = nullptr;
  try_replace(dscp, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", " "),
                error("(ERR): %s: Error: filter_fn from input filter context cannot be NULL", " "));
}

TEST_F(FilterDataStays, WhereTheFilterLacksAFunction) {
  breaks_invariants("its functions are taken from a record");
  const zar_filter_context context = filter_context("newer");
  const uint32_t dscp = filter("dscp");
  zar_filter *record = at<zar_filter>(dscp);
  const zar_filter whole = *record;
  record->filter_eval_fn = nullptr;
  record->filter_free_fn = nullptr;
  record->filter_str_fn = nullptr;
  record->filter_compare_fn = nullptr;
  try_replace(dscp, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: filter_eval_fn from input filter context cannot be NULL", " "),
                error("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", " "),
                error("(ERR): %s: Error: filter_str_fn from input filter context cannot be NULL", " "),
                error("(ERR): %s: Error: filter_compare_fn from input filter context cannot be NULL", " "));
  *record = whole;
  record->filter_compare_fn = nullptr;
  try_replace(dscp, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: filter_compare_fn from input filter context cannot be NULL", " "));
}

TEST_F(FilterDataStays, AfterBothChecksWereTraced) {
  zar_filter_context context = filter_context("newer");
  context.filter_eval_fn = nullptr;
  try_replace(0xfffffff0, &context);
  EXPECT_TRACED(error("(ERR): %s: Error: filter_fn from input filter context cannot be NULL", " "),
                error("(ERR): %s: Error: input filter context cannot be NULL", " "));
}

// ---- A policy-map of the engine's domain

struct SubscriberPolicy : Repository {
  static constexpr MapOptions kOfSubscribers = {.domain = "subscriber"};
};

const Line kNoOwner = info("(info): no registered owner for domain:%s, using default", "subscriber");

TEST_F(SubscriberPolicy, IsFoundByItsName) {
  const uint32_t gold = stored_pmap("gold", kOfSubscribers);
  EXPECT_REFUSED(gold, kel_is_policy_created("gold"));
  EXPECT_TRACED(kNoOwner, info("(info): %s: using client specific database", "retrieve_policy"),
                info("(info): retrieve_policy: successful, pmap:%s", "gold:subscriber:1"));
  EXPECT_CALLS();
}

TEST_F(SubscriberPolicy, IsOfThatDomainAndControlOnly) {
  stored_pmap("gold", {.domain = "access"});
  stored_pmap("gold", {.domain = "subscriber", .type = 2});
  pmap("gold", kOfSubscribers);
  EXPECT_REFUSED(0U, kel_is_policy_created("gold"));
  EXPECT_TRACED(kNoOwner, info("(info): %s: using client specific database", "retrieve_policy"),
                info("(info): retrieve_policy: search failed as there is no match clid:%d, name:%s", 1, "gold"));
}

TEST_F(SubscriberPolicy, IsSearchedForOnBehalfOfTheOwnerOfTheDomain) {
  const uint32_t three = client("three", database());
  {
    const Quiet quiet;
    ASSERT_EQ(zar_register_domain(three, "subscriber"), 0U);
  }
  stored_pmap("ours", kOfSubscribers);
  const uint32_t theirs = stored_pmap("theirs", {.domain = "subscriber", .clid = three});
  EXPECT_EQ(kel_is_policy_created("ours"), 0U);
  forget_trace();
  EXPECT_EQ(kel_is_policy_created("theirs"), theirs);
  EXPECT_TRACED(info("(info): domain:%s, owner  client:%d", "subscriber", 3),
                info("(info): %s: using client specific database", "retrieve_policy"),
                info("(info): retrieve_policy: successful, pmap:%s", "theirs:subscriber:1"));
}

TEST_F(SubscriberPolicy, IsWhateverIsStoredUnderTheKey) {
  const uint32_t voice = cmap("voice", kOfSubscribers);
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_policy(one, voice), 0U);
  }
  EXPECT_REFUSED(voice, kel_is_policy_created("voice"));
}

TEST_F(SubscriberPolicy, IsNoneWithoutAName) {
  EXPECT_REFUSED(0U, kel_is_policy_created(nullptr));
  EXPECT_TRACED(kNoOwner, error("(ERR): %s: map name from input map info cannot be NULL", "retrieve_policy"));
}

TEST_F(SubscriberPolicy, IsNoneWhereTheSearchFails) {
  stored_pmap("gold", kOfSubscribers);
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(0U, kel_is_policy_created("gold"));
  NEEDS_TRACE();
  EXPECT_TRACED(kNoOwner, error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "retrieve_policy", 1));
  zar_clients_info[0]->status = 1;
  avl_tree *tree = std::exchange(db->pmap_tree, nullptr);
  EXPECT_EQ(kel_is_policy_created("gold"), 0U);
  EXPECT_EQ(take_trace().back(), info("(info): retrieve_policy: search failed  clid:%d, name:%s", 1, "gold"));
  db->pmap_tree = tree;
}

TEST_F(SubscriberPolicy, IsNoneBeforeThereAreClients) {
  const uint32_t clients = std::exchange(zar_current_max_clients, 0);
  EXPECT_EQ(kel_is_policy_created("gold"), 0U);
  zar_current_max_clients = clients;
  EXPECT_ERRORS(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "retrieve_policy", 1, 0));
}

}  // namespace
