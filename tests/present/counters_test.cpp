// The clearing of the counts that the engine keeps in actions and filters.
#include "support/repository.h"

using namespace rig;

namespace {

using Counts = std::vector<uint32_t>;

struct Counters : Repository {
  Counters() {
    const Quiet quiet;
    zar_register_domain(one, "d1");
  }

  uint32_t counted_action(uint32_t rule, const std::string &name, uint32_t count = 7) {
    const uint32_t handle = action_in(rule, name);
    at<zar_action>(handle)->executed_count = count;
    return handle;
  }
  static Counts executed(const Handles &actions) {
    Counts counts;
    for (const uint32_t action : actions)
      counts.push_back(at<zar_action>(action)->executed_count);
    return counts;
  }

  uint32_t counted_filter(uint32_t cmap, const std::string &name) {
    const uint32_t handle = filter_in(cmap, name);
    count(handle);
    return handle;
  }
  static void count(uint32_t filter) {
    zar_filter *record = at<zar_filter>(filter);
    record->exec_count = 1;
    record->hit_count = 2;
    record->miss_count = 3;
    record->comp_count = 4;
  }
  static Counts counts_of(uint32_t filter) {
    const zar_filter *record = at<zar_filter>(filter);
    return {record->exec_count, record->hit_count, record->miss_count, record->comp_count};
  }
  const Counts kCounted{1, 2, 3, 4};
  const Counts kCleared{0, 0, 0, 0};

  // A stored CONTROL policy-map with one counted action.
  uint32_t counted_policy(const char *name, const MapOptions &options = {}) {
    const uint32_t policy = stored_pmap(name, options);
    return counted_action(rule(event_in(policy, 1), cmap(name, options)), name);
  }
};

TEST_F(Counters, OfAPolicyAreClearedInEveryRuleOfEveryEvent) {
  const uint32_t gold = pmap("gold");
  const uint32_t start = event_in(gold, 1), stop = event_in(gold, 2);
  const uint32_t voice = rule(start, cmap("voice"), 1), video = rule(start, cmap("video"), 2);
  const uint32_t rest = rule(stop, cmap("rest"), 1);
  const Handles actions = {counted_action(voice, "a"), counted_action(voice, "b"), counted_action(video, "c"),
                           counted_action(rest, "d", 0xffffffff)};
  const std::string before = everything();
  zar_clear_pmap_counters(at<zar_pmap>(gold));
  EXPECT_EQ(executed(actions), (Counts{0, 0, 0, 0}));
  EXPECT_TRACED();
  EXPECT_CALLS();

  for (const uint32_t each : actions)
    at<zar_action>(each)->executed_count = 7;
  at<zar_action>(actions[3])->executed_count = 0xffffffff;
  EXPECT_EQ(everything(), before) << "nothing else has changed";
}

TEST_F(Counters, OfNoPolicyAreNone) {
  const uint32_t log = counted_policy("gold");
  zar_clear_pmap_counters(nullptr);
  EXPECT_EQ(executed({log}), Counts{7});
  EXPECT_TRACED();
}

TEST_F(Counters, OfAPolicyThatIsNotControlStay) {
  const MapOptions plain = {.type = 2};
  const uint32_t silver = stored_pmap("silver", plain);
  stored_cmap("voice", plain);
  const uint32_t log = counted_action(plain_rule("silver", "voice"), "log");
  zar_clear_pmap_counters(at<zar_pmap>(silver));
  EXPECT_EQ(zar_clear_policymap("d1", nullptr, 1), 0U);
  EXPECT_EQ(zar_clear_policymap("d1", "silver", 0), 0U);
  EXPECT_EQ(executed({log}), Counts{7});
}

TEST_F(Counters, OfAllPoliciesAreClearedTogether) {
  const Handles actions = {counted_policy("bronze"), counted_policy("gold"), counted_policy("other", {.domain = "d2"})};
  for (const uint32_t all : {1U, 256U}) {
    for (const uint32_t each : actions)
      at<zar_action>(each)->executed_count = 7;
    EXPECT_EQ(zar_clear_policymap("d1", nullptr, all), 0U);
    EXPECT_EQ(executed(actions), (Counts{0, 0, 0})) << "whatever domain the policy-maps of the database are of";
    EXPECT_TRACED(info("(info): %s: using client specific database", "clear_policymap"),
                  info("(info): PMAP avl: get next, no next pmap"));
  }
}

TEST_F(Counters, OfAllPoliciesAreClearedWhateverTheName) {
  const Handles actions = {counted_policy("bronze"), counted_policy("gold")};
  EXPECT_EQ(zar_clear_policymap("d1", "gold", 1), 0U);
  EXPECT_EQ(executed(actions), (Counts{0, 0}));
}

TEST_F(Counters, OfTheFirstPolicyOfANameAreCleared) {
  const Handles actions = {counted_policy("gol"), counted_policy("gold", {.domain = "d1"}),
                           counted_policy("gold", {.domain = "d2"}), counted_policy("golden")};
  EXPECT_EQ(zar_clear_policymap("d1", "gold", 0), 0U);
  EXPECT_EQ(executed(actions), (Counts{7, 0, 7, 7}));
  EXPECT_TRACED(info("(info): %s: using client specific database", "clear_policymap"));
}

TEST_F(Counters, OfAPolicyThatDoesNotExistAreNone) {
  const uint32_t log = counted_policy("gold");
  EXPECT_EQ(zar_clear_policymap("d1", "go", 0), 0U);
  EXPECT_EQ(zar_clear_policymap("d1", "gold1", 0), 0U);
  EXPECT_EQ(executed({log}), Counts{7});
}

TEST_F(Counters, OfAClassMapAreAllFour) {
  const uint32_t voice = stored_cmap("voice"), video = stored_cmap("video");
  const uint32_t first = counted_filter(voice, "a"), second = counted_filter(voice, "b");
  const uint32_t other = counted_filter(video, "c");
  const std::string before = everything();
  EXPECT_EQ(zar_clear_classmap("d1", "voice", 0), 0U);
  EXPECT_EQ(counts_of(first), kCleared);
  EXPECT_EQ(counts_of(second), kCleared);
  EXPECT_EQ(counts_of(other), kCounted);
  EXPECT_TRACED(info("(info): %s: using client specific database", "clear_classmap"));
  EXPECT_CALLS();

  count(first);
  count(second);
  EXPECT_EQ(everything(), before) << "nothing else has changed";
}

TEST_F(Counters, OfTheFirstClassMapOfANameAreCleared) {
  const uint32_t here = counted_filter(stored_cmap("voice", {.domain = "d1"}), "a");
  const uint32_t there = counted_filter(stored_cmap("voice", {.domain = "d2"}), "b");
  const uint32_t longer = counted_filter(stored_cmap("voices"), "c");
  EXPECT_EQ(zar_clear_classmap("d1", "voice", 0), 0U);
  EXPECT_EQ(counts_of(here), kCleared);
  EXPECT_EQ(counts_of(there), kCounted);
  EXPECT_EQ(counts_of(longer), kCounted);
}

TEST_F(Counters, OfAllClassMapsIncludeThoseOfTheHiddenOnes) {
  const uint32_t shown = counted_filter(stored_cmap("voice"), "a");
  const uint32_t hidden = counted_filter(stored_cmap("video", {.hidden = 1}), "b");
  const uint32_t abc = pmtr_map("abc");
  const uint32_t expression = filters_of(statement(abc, 1)->internal_cmap).front();
  count(expression);
  EXPECT_EQ(zar_clear_classmap("d1", nullptr, 1), 0U);
  for (const uint32_t filter : {shown, hidden, expression})
    EXPECT_EQ(counts_of(filter), kCleared);
  EXPECT_TRACED(info("(info): %s: using client specific database", "clear_classmap"),
                info("(info): CMAP avl: get next, no next cmap"));
}

TEST_F(Counters, OfAHiddenClassMapAreClearedByNameToo) {
  const uint32_t hidden = counted_filter(stored_cmap("video", {.hidden = 1}), "b");
  EXPECT_EQ(zar_clear_classmap("d1", "video", 0), 0U);
  EXPECT_EQ(counts_of(hidden), kCleared);
}

TEST_F(Counters, SkipRecordsOfAnotherKind) {
  const MapOptions elsewhere = {.domain = "d2"};
  const uint32_t guest_class = cmap("guest", elsewhere);
  const uint32_t guest_policy = pmap("guest", elsewhere);
  const uint32_t filter = counted_filter(guest_class, "f");
  const uint32_t log = counted_action(rule(event_in(guest_policy, 1), cmap("c")), "log");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_policy(one, guest_class), 0U);
    ASSERT_EQ(zar_store_class(one, guest_policy), 0U);
  }
  const uint32_t own_log = counted_policy("zebra");
  const uint32_t own_filter = counted_filter(stored_cmap("zebra"), "z");
  for (const uint32_t all : {0U, 1U}) {
    EXPECT_EQ(zar_clear_policymap("d1", "guest", all), 0U);
    EXPECT_EQ(zar_clear_classmap("d1", "guest", all), 0U);
  }
  EXPECT_EQ(counts_of(filter), kCounted);
  EXPECT_EQ(executed({log}), Counts{7});
  EXPECT_EQ(counts_of(own_filter), kCleared);
  EXPECT_EQ(executed({own_log}), Counts{0});
}

// Both operations refuse in the same way.
struct Clear {
  const char *name;
  uint32_t (*clear)(const char *domain, const char *name, uint32_t all);
};
const Clear kCommands[] = {{"clear_policymap", zar_clear_policymap}, {"clear_classmap", zar_clear_classmap}};

TEST_F(Counters, OfAnUnclaimedDomainStay) {
  const uint32_t log = counted_policy("gold");
  for (const Clear &command : kCommands) {
    for (const char *domain : {"d", "d11", "D1", ""}) {
      EXPECT_REFUSED(0U, command.clear(domain, nullptr, 1));
      EXPECT_TRACED();
    }
  }
  EXPECT_EQ(executed({log}), Counts{7});
}

TEST_F(Counters, NeedAnOwnerInRange) {
  counted_policy("gold");
  auto *claim = static_cast<zar_domain_entry *>(runtime::elements(&zar_domain_list).front());
  for (const Clear &command : kCommands) {
    for (const uint32_t owner : {0U, 3U, 0xffffffffU}) {
      claim->owner_clid = owner;
      EXPECT_REFUSED(39U, command.clear("d1", nullptr, 1));
      EXPECT_TRACED(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", command.name, owner, 2));
    }
  }
}

TEST_F(Counters, ThatWereClearedBeforeAFailureStayCleared) {
  breaks_invariants("a domain is claimed twice");
  const uint32_t log = counted_policy("gold");
  const uint32_t filter = counted_filter(stored_cmap("voice"), "a");
  {
    const Quiet quiet;
    zar_register_domain(one, "##");
  }
  auto *claim = static_cast<zar_domain_entry *>(runtime::elements(&zar_domain_list).back());
  std::string("d1").copy(claim->domain, 2);
  claim->owner_clid = 3;
  EXPECT_EQ(zar_clear_policymap("d1", nullptr, 1), 39U);
  EXPECT_EQ(executed({log}), Counts{0});
  EXPECT_EQ(zar_clear_classmap("d1", nullptr, 1), 39U);
  EXPECT_EQ(counts_of(filter), kCleared);
}

TEST_F(Counters, NeedAnActiveOwner) {
  counted_policy("gold");
  zar_clients_info[0]->status = 0;
  for (const Clear &command : kCommands) {
    EXPECT_REFUSED(37U, command.clear("d1", nullptr, 1));
    EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", command.name, 1));
  }
}

TEST_F(Counters, NeedADatabase) {
  counted_policy("gold");
  zar_clients_info[0]->database = nullptr;
  for (const Clear &command : kCommands) {
    EXPECT_REFUSED(37U, command.clear("d1", nullptr, 1));
    EXPECT_TRACED(error("(ERR): Could not find default db"));
  }
}

TEST_F(Counters, NeedADomainAndAName) {
  counted_policy("gold");
  for (const Clear &command : kCommands) {
    EXPECT_REFUSED(39U, command.clear(nullptr, "gold", 0));
    EXPECT_ONE_ERROR();
    EXPECT_REFUSED(39U, command.clear(nullptr, nullptr, 1));
    EXPECT_ONE_ERROR();
    EXPECT_REFUSED(39U, command.clear("d1", nullptr, 0));
    EXPECT_ONE_ERROR();
  }
}

TEST_F(Counters, AreSearchedForInTheDatabaseOfTheOwner) {
  const uint32_t three = client("three", database());
  {
    const Quiet quiet;
    ASSERT_EQ(zar_register_domain(three, "access"), 0U);
    ASSERT_EQ(zar_register_domain(two, "core"), 0U);
  }
  const uint32_t here = counted_policy("gold");
  const uint32_t there = counted_policy("gold", {.clid = three});
  EXPECT_EQ(zar_clear_policymap("access", "gold", 0), 0U);
  EXPECT_EQ(executed({here, there}), (Counts{7, 0}));
  forget_trace();
  EXPECT_EQ(zar_clear_policymap("core", "gold", 0), 0U);
  EXPECT_EQ(executed({here, there}), (Counts{0, 0}));
  EXPECT_TRACED(info("(info): %s: using default database", "clear_policymap"));
}

}  // namespace
