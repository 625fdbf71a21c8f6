// The listings of policy-maps and class-maps, as the caller's printer gets them.
#include <algorithm>
#include <utility>

#include "support/repository.h"

using namespace rig;

namespace {

using Strings = std::vector<std::string>;

constexpr uint32_t kEventTag = 0x3e0000f;
constexpr uint32_t kClassTag = 0x3e0000c;
constexpr uint32_t kAllRowsTag = 0x3e0000a;
constexpr uint32_t kOneRowTag = 0x3e0000b;

const Line kOwnDatabaseOfPolicies = info("(info): %s: using client specific database", "print_policymap");
const Line kOwnDatabaseOfClasses = info("(info): %s: using client specific database", "print_classmap");
const Line kNoNextPolicy = info("(info): PMAP avl: get next, no next pmap");
const Line kNoNextClass = info("(info): CMAP avl: get next, no next cmap");

struct Listings : Repository {
  Listings() { claim("d1", one); }

  static void claim(const char *domain, uint32_t clid) {
    const Quiet quiet;
    EXPECT_EQ(zar_register_domain(clid, domain), 0U);
  }
  // The record of the only claim.
  static zar_domain_entry *claim_of_d1() {
    return static_cast<zar_domain_entry *>(runtime::elements(&zar_domain_list).front());
  }
  // Makes two claims of one domain, which registration would refuse.
  static void claim_twice(const char *domain, uint32_t clid) {
    breaks_invariants("one client claims a domain twice");
    const std::string other(std::string(domain).size(), '#');
    claim(other.c_str(), clid);
    auto *entry = static_cast<zar_domain_entry *>(runtime::elements(&zar_domain_list).back());
    std::string(domain).copy(entry->domain, other.size());
  }
  // The formats of the lines so far.
  static Strings formats() {
    Strings out;
    for (const Printed &line : printed())
      out.push_back(line.format);
    return out;
  }
};

#define EXPECT_FORMATS(...) EXPECT_EQ(formats(), (Strings{__VA_ARGS__}))

// ---- Policy-maps

struct PolicyListing : Listings {
  static uint32_t print(const char *name, uint32_t all = 0, uint32_t control = 0, const char *domain = "d1") {
    return zar_print_policymap("> ", capture_printer, domain, name, all, control);
  }

  // A stored policy-map with one event, rule and action, each named after it.
  uint32_t small_policy(const std::string &name, const MapOptions &options = {}) {
    const uint32_t policy = stored_pmap(name.c_str(), options);
    const uint32_t start = event_in(policy, 1, ("start-" + name).c_str());
    action_in(rule(start, cmap(("class-" + name).c_str()), 1, 1), "action-" + name);
    return policy;
  }
  static Strings lines_of_small(const std::string &name) {
    return {"> " + name, ">   event start-" + name + " match-all", ">     1 class class-" + name + " do-all",
            ">       1 action-" + name + "(0)"};
  }
};

Strings operator+(Strings first, const Strings &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST_F(PolicyListing, IsShortWithoutTheControlFlag) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t start = event_in(gold, 7, "session-start"), stop = event_in(gold, 8, "session-stop");
  at<zar_event_tuple>(stop)->match_criteria = 2;
  const uint32_t voice = rule(start, cmap("voice"), 10, 1);
  rule(start, cmap("video"), 255, 3);
  add_action(voice, action("log", 3, 5));
  add_action(voice, action("drop", 200, 6));
  EXPECT_REFUSED(0U, print("gold"));
  EXPECT_FORMATS("%s%s", "%s  %s", "%s    %s", "%s      %u %s", "%s      %u %s", "%s    %s", "%s  %s");
  EXPECT_PRINTED("> gold", ">   event session-start match-all", ">     10 class voice do-all", ">       3 log(0)",
                 ">       200 drop(0)", ">     255 class video do-until-success", ">   event session-stop match-first");
  EXPECT_CALLS("text log 0", "text drop 0");
  EXPECT_TRACED(kOwnDatabaseOfPolicies);
}

TEST_F(PolicyListing, IsLongWithTheControlFlag) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = rule(event_in(gold, 7, "session-start"), cmap("voice"), 10, 2);
  add_action(voice, action("log", 3, 65535));
  add_action(voice, action("drop", 4, 0));
  at<zar_action>(actions_of(voice)[0])->executed_count = 0xffffffff;
  for (const uint32_t control : {1U, 256U}) {
    EXPECT_REFUSED(0U, print("gold", 0, control));
    EXPECT_FORMATS("%s%s%s", "%s  %-12s%s", "%s    %-12s%s", "%s      %-8s%u %s", "%s      %-8s%u %s",
                   "%s      %-10s%u", "%s      %-8s%u %s", "%s      %-8s%u %s", "%s      %-10s%u");
    EXPECT_PRINTED("> Control_Policy: gold", ">   Event:      event session-start match-all",
                   ">     Class-map:  10 class voice do-until-failure", ">       Action: 3 log(0)",
                   ">       Precedence:65535 log(0)", ">       Executed: 4294967295", ">       Action: 4 drop(0)",
                   ">       Precedence:0 drop(0)", ">       Executed: 0");
    EXPECT_CALLS("text log 0", "text drop 0");
    EXPECT_TRACED(kOwnDatabaseOfPolicies);
  }
}

TEST_F(PolicyListing, ComposesEachLineInABufferOfItsOwn) {
  small_policy("gold");
  watch_requests();
  print("gold");
  EXPECT_REQUESTS("block 0x3e0000f of 100", "block 0x3e0000c of 100", "duplicate 0x7e570001 \"action-gold(0)\"");
  print("gold", 0, 1);
  EXPECT_REQUESTS("block 0x3e0000f of 100", "block 0x3e0000c of 100", "duplicate 0x7e570001 \"action-gold(0)\"");
  EXPECT_EQ(blocks_out(kEventTag) + blocks_out(kClassTag) + blocks_out(kClientTextTag), 0U);
}

// What the printer finds allocated during the lines of an action.
TEST_F(PolicyListing, FreesATextBeforeItPrintsHowOftenTheActionRan) {
  small_policy("gold");
  std::vector<size_t> texts_out;
  on_printed = [&texts_out](const std::string &) { texts_out.push_back(blocks_out(kClientTextTag)); };
  print("gold", 0, 1);
  on_printed = nullptr;
  EXPECT_PRINTED("> Control_Policy: gold", ">   Event:      event start-gold match-all",
                 ">     Class-map:  1 class class-gold do-all", ">       Action: 1 action-gold(0)",
                 ">       Precedence:0 action-gold(0)", ">       Executed: 0");
  EXPECT_EQ(texts_out, (std::vector<size_t>{0, 0, 0, 1, 1, 0}));
}

// The buffer of a line exists only while the line is printed.
TEST_F(PolicyListing, FreesTheBufferOfALineOnceItIsPrinted) {
  small_policy("gold");
  std::vector<size_t> buffers_out;
  on_printed = [&buffers_out](const std::string &) {
    buffers_out.push_back(10 * blocks_out(kEventTag) + blocks_out(kClassTag));
  };
  print("gold");
  on_printed = nullptr;
  EXPECT_EQ(buffers_out, (std::vector<size_t>{0, 10, 1, 0}));
}

TEST_F(PolicyListing, CountsTheRunsOfAnActionWithoutText) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = rule(event_in(gold, 7, "start"), cmap("voice"), 1, 1);
  const uint32_t mute = action_in(voice, "mute");
  action_in(voice, "log", 2);
  data_of_action(mute).without_text = true;
  at<zar_action>(mute)->executed_count = 12;
  print("gold", 0, 1);
  EXPECT_PRINTED("> Control_Policy: gold", ">   Event:      event start match-all",
                 ">     Class-map:  1 class voice do-all", ">       Executed: 12", ">       Action: 2 log(0)",
                 ">       Precedence:0 log(0)", ">       Executed: 0");
  print("gold");
  EXPECT_PRINTED("> gold", ">   event start match-all", ">     1 class voice do-all", ">       2 log(0)");
}

TEST_F(PolicyListing, CutsComposedTextsAt99Characters) {
  const std::string longest(120, 'x');
  const uint32_t gold = stored_pmap("gold");
  rule(event_in(gold, 7, longest.c_str()), cmap(longest.c_str()), 1, 1);
  for (const uint32_t control : {0U, 1U}) {
    print("gold", 0, control);
    const Strings lines = take_printed();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], (control ? ">   Event:      event " : ">   event ") + longest.substr(0, 99 - 6));
    EXPECT_EQ(lines[2], (control ? ">     Class-map:  1 class " : ">     1 class ") + longest.substr(0, 99 - 8));
  }
}

TEST_F(PolicyListing, NeverCutsNamesOfPoliciesAndTextsOfActions) {
  const std::string longest(300, 'x');
  const uint32_t policy = stored_pmap(longest.c_str());
  action_in(rule(event_in(policy, 7, "start"), cmap("voice"), 1, 1), longest);
  print(longest.c_str());
  EXPECT_PRINTED("> " + longest, ">   event start match-all", ">     1 class voice do-all",
                 ">       1 " + longest + "(0)");
}

TEST_F(PolicyListing, LeavesOutTheLineOfAnEventWithoutContextOrName) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t bare = event_in(gold, 1, "bare"), nameless = event_in(gold, 2, "nameless");
  action_in(rule(bare, cmap("voice"), 1, 1), "log");
  action_in(rule(nameless, cmap("video"), 2, 1), "drop");
  zar_event_context *context = std::exchange(at<zar_event_tuple>(bare)->event_context, nullptr);
  const sdb_ref name = std::exchange(at<zar_event_tuple>(nameless)->event_context->event_name, nullptr);
  print("gold");
  EXPECT_PRINTED("> gold", ">     1 class voice do-all", ">       1 log(0)", ">     2 class video do-all",
                 ">       1 drop(0)");
  at<zar_event_tuple>(bare)->event_context = context;
  at<zar_event_tuple>(nameless)->event_context->event_name = name;
}

TEST_F(PolicyListing, LeavesOutTheLineOfAnActionWithoutTextFunction) {
  breaks_invariants("its functions are taken from a record");
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = rule(event_in(gold, 1, "start"), cmap("voice"), 1, 1);
  const uint32_t log = action_in(voice, "log");
  at<zar_action>(log)->action_str_fn = nullptr;
  print("gold");
  EXPECT_PRINTED("> gold", ">   event start match-all", ">     1 class voice do-all");
}

TEST_F(PolicyListing, LeavesOutTheLineOfAClassActionWithoutClassMap) {
  breaks_invariants("a rule loses its class-map");
  const uint32_t gold = stored_pmap("gold");
  const uint32_t voice = rule(event_in(gold, 1, "start"), cmap("voice"), 1, 1);
  action_in(voice, "log");
  zar_cmap *cmap = std::exchange(at<zar_class_action>(voice)->cmap, nullptr);
  watch_requests();
  print("gold");
  EXPECT_PRINTED("> gold", ">   event start match-all", ">       1 log(0)");
  EXPECT_REQUESTS("block 0x3e0000f of 100", "duplicate 0x7e570001 \"log(0)\"");
  at<zar_class_action>(voice)->cmap = cmap;
}

TEST_F(PolicyListing, StopsAPolicyWithoutMemoryForAnEvent) {
  const uint32_t gold = small_policy("gold");
  rule(event_in(gold, 2, "stop"), cmap("rest"), 2, 1);
  small_policy("silver");
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_FORMATS("%s%s", "%sUnable to allocate memory for event_buf\n", "%s%s", "%s  %s", "%s    %s", "%s      %u %s");
  EXPECT_EQ(take_printed(),
            (Strings{"> gold", "> Unable to allocate memory for event_buf\n"} + lines_of_small("silver")));

  runtime::fail_request(runtime::Service::block, 3);
  EXPECT_REFUSED(0U, print("gold"));
  EXPECT_EQ(take_printed(), (lines_of_small("gold") + Strings{"> Unable to allocate memory for event_buf\n"}))
      << "the rules of the event are left out with it";
}

TEST_F(PolicyListing, SkipsTheRestOfAnEventWithoutMemoryForAClass) {
  const uint32_t gold = stored_pmap("gold");
  const uint32_t start = event_in(gold, 1, "start"), stop = event_in(gold, 2, "stop");
  action_in(rule(start, cmap("a"), 1, 1), "a");
  action_in(rule(start, cmap("b"), 2, 1), "b");
  action_in(rule(start, cmap("c"), 3, 1), "c");
  action_in(rule(stop, cmap("d"), 4, 1), "d");
  runtime::fail_request(runtime::Service::block, 3);
  EXPECT_REFUSED(0U, print("gold"));
  EXPECT_FORMATS("%s%s", "%s  %s", "%s    %s", "%s      %u %s", "%sUnable to allocate memory for cmap_buf\n", "%s  %s",
                 "%s    %s", "%s      %u %s");
  EXPECT_PRINTED("> gold", ">   event start match-all", ">     1 class a do-all", ">       1 a(0)",
                 "> Unable to allocate memory for cmap_buf\n", ">   event stop match-all", ">     4 class d do-all",
                 ">       1 d(0)");
  EXPECT_CALLS("text a 0", "text d 0");
}

TEST_F(PolicyListing, OfAllIsInTheOrderOfTheTree) {
  for (const char *name : {"silver", "bronze", "gold"})
    small_policy(name);
  small_policy("other", {.domain = "d2"});
  const Strings all =
      lines_of_small("bronze") + lines_of_small("gold") + lines_of_small("other") + lines_of_small("silver");
  for (const uint32_t flag : {1U, 256U}) {
    EXPECT_REFUSED(0U, print(nullptr, flag));
    EXPECT_EQ(take_printed(), all) << "of whatever domain they are";
    EXPECT_TRACED(kOwnDatabaseOfPolicies, kNoNextPolicy);
  }
  EXPECT_EQ(print("gold", 1), 0U);
  EXPECT_EQ(take_printed(), all) << "the name does not count";
}

TEST_F(PolicyListing, OfOneIsTheFirstOfTheName) {
  small_policy("gol");
  const uint32_t first = stored_pmap("gold", {.domain = "d1"});
  event_in(first, 1, "first");
  small_policy("gold", {.domain = "d2"});
  small_policy("golden");
  EXPECT_REFUSED(0U, print("gold"));
  EXPECT_PRINTED("> gold", ">   event first match-all");
  EXPECT_TRACED(kOwnDatabaseOfPolicies);
}

TEST_F(PolicyListing, OfAHiddenPolicyIsLikeAnyOther) {
  small_policy(builtin_autoconf_policy);
  print(nullptr, 1);
  EXPECT_EQ(take_printed(), lines_of_small(builtin_autoconf_policy));
}

TEST_F(PolicyListing, OfAPolicyThatDoesNotExistIsEmpty) {
  small_policy("gold");
  for (const char *name : {"gol", "gold1", "Gold", ""}) {
    EXPECT_REFUSED(0U, print(name));
    EXPECT_PRINTED();
    EXPECT_TRACED(kOwnDatabaseOfPolicies, kNoNextPolicy);
  }
}

TEST_F(PolicyListing, OfAnEmptyDatabaseIsEmpty) {
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_PRINTED();
  EXPECT_TRACED(kOwnDatabaseOfPolicies, info("(info): PMAP avl: get first, no first pmap"));
}

TEST_F(PolicyListing, OfAPolicyThatIsNotControlIsItsHead) {
  const MapOptions plain = {.type = 2};
  stored_pmap("silver", plain);
  stored_cmap("voice", plain);
  action_in(plain_rule("silver", "voice"), "log");
  EXPECT_REFUSED(0U, print("silver"));
  EXPECT_PRINTED("> silver");
  EXPECT_REFUSED(0U, print(nullptr, 1, 1));
  EXPECT_PRINTED("> Control_Policy: silver");
  EXPECT_CALLS();
}

TEST_F(PolicyListing, SkipsRecordsOfAnotherKind) {
  const uint32_t guest = cmap("guest");
  filter_in(guest, "f");
  const uint32_t parameters = pmtr_map("parameters");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_policy(one, guest), 0U);
    ASSERT_EQ(zar_store_policy(one, parameters), 0U);
  }
  small_policy("zebra");
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_EQ(take_printed(), lines_of_small("zebra"));
  EXPECT_REFUSED(0U, print("guest"));
  EXPECT_PRINTED();
}

TEST_F(PolicyListing, OfAnUnclaimedDomainIsEmpty) {
  small_policy("gold");
  for (const char *domain : {"d", "d11", "D1", "d2", ""}) {
    EXPECT_REFUSED(0U, print(nullptr, 1, 0, domain));
    EXPECT_PRINTED();
    EXPECT_TRACED();
  }
}

TEST_F(PolicyListing, WorksInTheDatabaseOfTheOwner) {
  const uint32_t three = client("three", database());
  claim("access", three);
  claim("core", two);
  small_policy("gold");
  small_policy("theirs", {.clid = three});
  EXPECT_EQ(print(nullptr, 1, 0, "access"), 0U);
  EXPECT_EQ(take_printed(), lines_of_small("theirs"));
  EXPECT_TRACED(kOwnDatabaseOfPolicies, kNoNextPolicy);
  EXPECT_EQ(print(nullptr, 1, 0, "core"), 0U);
  EXPECT_EQ(take_printed(), lines_of_small("gold"));
  EXPECT_TRACED(info("(info): %s: using default database", "print_policymap"), kNoNextPolicy);
}

TEST_F(PolicyListing, IsRepeatedForEachClaimOfTheDomain) {
  claim_twice("d1", two);
  small_policy("gold");
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_EQ(take_printed(), (lines_of_small("gold") + lines_of_small("gold")));
  EXPECT_REFUSED(0U, print("gold"));
  EXPECT_EQ(take_printed(), (lines_of_small("gold") + lines_of_small("gold")));
}

TEST_F(PolicyListing, KeepsTheLinesThatWerePrintedBeforeAFailure) {
  claim_twice("d1", two);
  small_policy("gold");
  zar_clients_info[1]->status = 0;
  EXPECT_REFUSED(37U, print(nullptr, 1));
  EXPECT_EQ(take_printed(), lines_of_small("gold"));
  EXPECT_ERRORS(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "print_policymap", 2));
}

TEST_F(PolicyListing, NeedsAnOwnerInRange) {
  small_policy("gold");
  for (const uint32_t owner : {0U, 3U, 0xffffffffU}) {
    claim_of_d1()->owner_clid = owner;
    EXPECT_REFUSED(39U, print(nullptr, 1));
    EXPECT_TRACED(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "print_policymap", owner, 2));
    EXPECT_PRINTED();
  }
}

TEST_F(PolicyListing, NeedsAnActiveOwnerAndADatabase) {
  small_policy("gold");
  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(37U, print("gold"));
  EXPECT_TRACED(error("(ERR): Could not find default db"));
  zar_clients_info[0]->status = 2;
  EXPECT_REFUSED(37U, print("gold"));
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "print_policymap", 1));
  EXPECT_PRINTED();
}

TEST_F(PolicyListing, NeedsAPrinterADomainAndAName) {
  small_policy("gold");
  EXPECT_REFUSED(39U, zar_print_policymap("> ", nullptr, "d1", "gold", 0, 0));
  EXPECT_ONE_ERROR();
  EXPECT_REFUSED(39U, print("gold", 0, 0, nullptr));
  EXPECT_ONE_ERROR();
  EXPECT_REFUSED(39U, print(nullptr, 0));
  EXPECT_ONE_ERROR();
  EXPECT_PRINTED();
}

TEST_F(PolicyListing, TreatsNoPrefixAsAnEmptyOne) {
  const uint32_t gold = stored_pmap("gold");
  rule(event_in(gold, 1, "start"), cmap("voice"), 1, 1);
  EXPECT_EQ(zar_print_policymap(nullptr, capture_printer, "d1", "gold", 0, 0), 0U);
  EXPECT_PRINTED("gold", "  event start match-all", "    1 class voice do-all");
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_EQ(zar_print_policymap(nullptr, capture_printer, "d1", "gold", 0, 0), 0U);
  EXPECT_PRINTED("gold", "Unable to allocate memory for event_buf\n");
}

TEST(PolicyListingUnderFaults, LeavesNothingBehind) {
  for_each_fault([](FaultClock &clock) {
    World world;
    zar_register_domain(world.one, "d1");
    const uint32_t gold = world.stored_pmap("gold");
    for (const uint32_t id : {1U, 2U}) {
      const uint32_t start = world.event_in(gold, id, "start");
      world.action_in(world.rule(start, world.cmap("voice"), 1, 1), "log");
      world.action_in(world.rule(start, world.cmap("video"), 2, 1), "drop");
    }
    const std::string before = world.everything();
    zar_print_policymap("> ", capture_printer, "d1", "gold", 0, 1);
    const Strings whole = take_printed();

    EXPECT_EQ(clock.during([] { return zar_print_policymap("> ", capture_printer, "d1", "gold", 0, 1); }), 0U);
    const Strings lines = take_printed();
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(lines == whole, !clock.hit());
    const auto said = [&](const char *line) { return std::find(lines.begin(), lines.end(), line) != lines.end(); };
    if (clock.mode() != runtime::Fault::once) return;
    EXPECT_EQ(said("> Unable to allocate memory for event_buf\n"), clock.failed_in(runtime::Service::block, kEventTag));
    EXPECT_EQ(said("> Unable to allocate memory for cmap_buf\n"), clock.failed_in(runtime::Service::block, kClassTag));
  });
}

// ---- Class-maps

struct ClassListing : Listings {
  static uint32_t print(const char *name, uint32_t all = 0, const char *domain = "d1") {
    return zar_print_classmap("> ", capture_printer, " <", domain, name, all);
  }

  const Strings kHead = {"> Class-map                   Action                         Exec  Hit  Miss  Comp <",
                         "> ---------                   ------                         ----  ---  ----  ---- <"};

  static std::string row(const std::string &class_map, const std::string &filter, const std::string &counts) {
    return text("> %-27s %-29s %s <", class_map, filter, counts);
  }
  static std::string row(const std::string &class_map, const std::string &filter) {
    return row(class_map, filter, "    0    0     0     0");
  }

  static void count(uint32_t filter, uint32_t exec, uint32_t hit, uint32_t miss, uint32_t comp) {
    zar_filter *record = at<zar_filter>(filter);
    record->exec_count = exec;
    record->hit_count = hit;
    record->miss_count = miss;
    record->comp_count = comp;
  }

  uint32_t small_class(const std::string &name, const MapOptions &options = {}) {
    const uint32_t handle = stored_cmap(name.c_str(), options);
    filter_in(handle, "f-" + name);
    return handle;
  }
  static Strings row_of_small(const std::string &name) { return {row("match-all " + name, "match f-" + name)}; }
};

TEST_F(ClassListing, IsATableOfFilters) {
  const uint32_t voice = stored_cmap("voice", {.match_criteria = 2});
  count(filter_in(voice, "dscp"), 1, 22, 333, 4444);
  filter_in(voice, "port", 1);
  EXPECT_REFUSED(0U, print("voice"));
  EXPECT_FORMATS("%s%-28s%-29s%6s%5s%6s%6s%s", "%s%-28s%-29s%6s%5s%6s%6s%s", "%s%-27s %-29s %5lu %4lu %5lu %5lu%s",
                 "%s%-27s %-29s %5lu %4lu %5lu %5lu%s");
  EXPECT_PRINTED("> Class-map                   Action                         Exec  Hit  Miss  Comp <",
                 "> ---------                   ------                         ----  ---  ----  ---- <",
                 "> match-any voice             match dscp                        1   22   333  4444 <",
                 "> match-any voice             no-match port                     0    0     0     0 <");
  EXPECT_CALLS("text dscp", "text port");
  EXPECT_TRACED(kOwnDatabaseOfClasses);
}

TEST_F(ClassListing, KeepsCountsInsideTheirColumns) {
  const uint32_t probe = filter_in(stored_cmap("voice"), "f");
  const struct {
    uint32_t exec, hit, miss, comp;
    const char *shown;
  } cases[] = {
      {1000, 1000, 1000, 1000, " 1000    0  1000  1000"},
      {9999, 999, 9999, 9999, " 9999  999  9999  9999"},
      {10000, 10000, 10000, 10000, "    0    0     0     0"},
      {12345, 12345, 23456, 34567, " 2345  345  3456  4567"},
      {0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff, " 7295  295  7295  7295"},
  };
  for (const auto &each : cases) {
    count(probe, each.exec, each.hit, each.miss, each.comp);
    print("voice");
    EXPECT_EQ(take_printed(), (kHead + Strings{row("match-all voice", "match f", each.shown)}));
  }
}

TEST_F(ClassListing, ComposesItsRowsInOneBuffer) {
  small_class("video");
  small_class("voice");
  watch_requests();
  print("voice");
  EXPECT_REQUESTS("block 0x3e0000b of 100", "duplicate 0x7e570001 \"f-voice\"", "block 0x3e00009 of 17");
  print(nullptr, 1);
  EXPECT_REQUESTS("block 0x3e0000a of 100", "duplicate 0x7e570001 \"f-video\"", "block 0x3e00009 of 17",
                  "duplicate 0x7e570001 \"f-voice\"", "block 0x3e00009 of 17");
  EXPECT_EQ(blocks_out(kAllRowsTag) + blocks_out(kOneRowTag) + blocks_out(0x3e00009), 0U);
}

TEST_F(ClassListing, CutsTheClassMapAt99CharactersAndTheFilterNowhere) {
  const std::string longest(120, 'x');
  filter_in(stored_cmap(longest.c_str()), longest);
  print(longest.c_str());
  EXPECT_EQ(take_printed(), (kHead + Strings{row("match-all " + longest.substr(0, 99 - 10), "match " + longest)}));
}

TEST_F(ClassListing, OfAClassMapWithoutFiltersIsOnlyTheHeader) {
  stored_cmap("voice");
  EXPECT_REFUSED(0U, print("voice"));
  EXPECT_EQ(take_printed(), kHead);
}

TEST_F(ClassListing, OfAllIsInTheOrderOfTheTree) {
  for (const char *name : {"voice", "data", "video"})
    small_class(name);
  small_class("other", {.domain = "d2"});
  const Strings all =
      kHead + row_of_small("data") + row_of_small("other") + row_of_small("video") + row_of_small("voice");
  for (const uint32_t flag : {1U, 256U}) {
    EXPECT_REFUSED(0U, print(nullptr, flag));
    EXPECT_EQ(take_printed(), all);
    EXPECT_TRACED(kOwnDatabaseOfClasses, kNoNextClass);
  }
  EXPECT_EQ(print("voice", 1), 0U);
  EXPECT_EQ(take_printed(), all) << "the name does not count";
}

TEST_F(ClassListing, OfOneIsTheFirstOfTheName) {
  small_class("voice", {.domain = "d1"});
  filter_in(stored_cmap("voice", {.domain = "d2"}), "second");
  small_class("voices");
  EXPECT_REFUSED(0U, print("voice"));
  EXPECT_EQ(take_printed(), (kHead + row_of_small("voice")));
  EXPECT_TRACED(kOwnDatabaseOfClasses);
}

TEST_F(ClassListing, OfAClassMapThatDoesNotExistIsOnlyTheHeader) {
  small_class("voice");
  for (const char *name : {"voic", "voice1", "Voice", ""}) {
    EXPECT_REFUSED(0U, print(name));
    EXPECT_EQ(take_printed(), kHead);
    EXPECT_TRACED(kOwnDatabaseOfClasses, kNoNextClass);
  }
}

TEST_F(ClassListing, OfAnEmptyDatabaseIsOnlyTheHeader) {
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_EQ(take_printed(), kHead);
  EXPECT_TRACED(kOwnDatabaseOfClasses, info("(info): CMAP avl, get first: no first cmap"));
}

TEST_F(ClassListing, OfAllLeavesHiddenOnesOut) {
  small_class("a-hidden", {.hidden = 1});
  small_class("voice");
  const uint32_t abc = pmtr_map("abc");
  statement(abc, 10, "expression");
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_EQ(take_printed(), (kHead + row_of_small("voice")));
}

TEST_F(ClassListing, OfAHiddenOneByNameIsPrinted) {
  const uint32_t abc = pmtr_map("abc");
  statement(abc, 10, "expression");
  EXPECT_REFUSED(0U, print("__PMTR__abc10"));
  EXPECT_EQ(take_printed(), (kHead + Strings{row("match-all __PMTR__abc10", "match expression")}));
}

TEST_F(ClassListing, OfAllPrintsWhatHasLostItsHandle) {
  const uint32_t voice = small_class("voice", {.hidden = 1});
  zar_handle_release(voice);
  EXPECT_EQ(print(nullptr, 1), 0U);
  EXPECT_EQ(take_printed(), (kHead + row_of_small("voice"))) << "nothing shows that it is hidden";
  NEEDS_TRACE();
  const Lines lines = take_errors();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), error("(ERR):  : input class map handle context cannot be NULL")),
            1);
}

TEST_F(ClassListing, FindsNothingUnderTheNameThatAClassMapHasLost) {
  breaks_invariants("a class-map loses its name");
  const uint32_t voice = small_class("voice");
  const sdb_ref name = std::exchange(at<zar_cmap>(voice)->name, nullptr);
  print("voice");
  EXPECT_EQ(take_printed(), kHead);
  at<zar_cmap>(voice)->name = name;
}

TEST_F(ClassListing, SkipsRecordsOfAnotherKind) {
  const uint32_t guest = pmap("guest");
  event_in(guest, 1);
  const uint32_t parameters = pmtr_map("parameters");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_store_class(one, guest), 0U);
    ASSERT_EQ(zar_store_class(one, parameters), 0U);
  }
  small_class("zebra");
  EXPECT_REFUSED(0U, print(nullptr, 1));
  EXPECT_EQ(take_printed(), (kHead + row_of_small("zebra")));
  EXPECT_REFUSED(0U, print("guest"));
  EXPECT_EQ(take_printed(), kHead);
}

TEST_F(ClassListing, OfAnUnclaimedDomainIsOnlyTheHeader) {
  small_class("voice");
  for (const char *domain : {"d", "d11", "D1", ""}) {
    EXPECT_REFUSED(0U, print(nullptr, 1, domain));
    EXPECT_EQ(take_printed(), kHead);
    EXPECT_TRACED();
  }
}

TEST_F(ClassListing, WorksInTheDatabaseOfTheOwner) {
  const uint32_t three = client("three", database());
  claim("access", three);
  claim("core", two);
  small_class("voice");
  small_class("theirs", {.clid = three});
  EXPECT_EQ(print(nullptr, 1, "access"), 0U);
  EXPECT_EQ(take_printed(), (kHead + row_of_small("theirs")));
  forget_trace();
  EXPECT_EQ(print(nullptr, 1, "core"), 0U);
  EXPECT_EQ(take_printed(), (kHead + row_of_small("voice")));
  EXPECT_TRACED(info("(info): %s: using default database", "print_classmap"), kNoNextClass);
}

TEST_F(ClassListing, HasOneHeadAndRowsForEachClaimOfTheDomain) {
  claim_twice("d1", two);
  small_class("voice");
  watch_requests();
  EXPECT_EQ(print(nullptr, 1), 0U);
  EXPECT_EQ(take_printed(), (kHead + row_of_small("voice") + row_of_small("voice")));
  EXPECT_REQUESTS("block 0x3e0000a of 100", "duplicate 0x7e570001 \"f-voice\"", "block 0x3e00009 of 17",
                  "block 0x3e0000a of 100", "duplicate 0x7e570001 \"f-voice\"", "block 0x3e00009 of 17");
}

TEST_F(ClassListing, SaysThatThereIsNoMemory) {
  small_class("voice");
  for (const uint32_t all : {0U, 1U}) {
    runtime::fail_request(runtime::Service::block, 1);
    EXPECT_REFUSED(37U, print("voice", all));
    EXPECT_EQ(formats().back(), "%sUnable to allocate memory for buf\n");
    EXPECT_EQ(take_printed(), (kHead + Strings{"> Unable to allocate memory for buf\n"}));
    EXPECT_CALLS();
  }
}

TEST_F(ClassListing, EndsAtAFilterWithoutText) {
  const uint32_t voice = small_class("voice");
  data_of_filter(filter_in(voice, "mute")).without_text = true;
  filter_in(voice, "never asked");
  small_class("zebra");
  const Strings before = kHead + row_of_small("voice");

  EXPECT_REFUSED(37U, print("voice"));
  EXPECT_EQ(formats().back(), "%sRunning config changed, please redo" + std::string(33, ' ') + "\n");
  EXPECT_EQ(take_printed(),
            (before + Strings{"> Running config changed, please redo                                 \n"}));
  EXPECT_CALLS("text f-voice", "text mute");

  EXPECT_REFUSED(37U, print(nullptr, 1));
  EXPECT_EQ(formats().back(), "%sRunning config changed, please redo" + std::string(25, ' ') + "\n");
  EXPECT_EQ(take_printed(), (before + Strings{"> Running config changed, please redo                         \n"}));
  EXPECT_CALLS("text f-voice", "text mute");
}

TEST_F(ClassListing, EndsAtAFilterWhoseTextFindsNoMemory) {
  small_class("voice");
  runtime::fail_request(runtime::Service::block, 2);
  EXPECT_REFUSED(37U, print("voice"));
  EXPECT_EQ(take_printed(), (kHead + Strings{"> Running config changed, please redo" + std::string(33, ' ') + "\n"}));
  const uint32_t filter = filters_of(cmaps_in(db).front()).front();
  EXPECT_ERRORS(
      error("(ERR): get_nvgen_str: Error: unable to vud_kel_calloc_named nvgen_str for filter:0x%p", at<void>(filter)));
}

TEST_F(ClassListing, NeedsAnOwnerInRange) {
  small_class("voice");
  for (const uint32_t owner : {0U, 3U, 0xffffffffU}) {
    claim_of_d1()->owner_clid = owner;
    EXPECT_REFUSED(39U, print(nullptr, 1));
    EXPECT_TRACED(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "print_classmap", owner, 2));
    EXPECT_EQ(take_printed(), kHead);
  }
}

TEST_F(ClassListing, NeedsAnActiveOwnerAndADatabase) {
  small_class("voice");
  zar_clients_info[0]->database = nullptr;
  EXPECT_REFUSED(37U, print("voice"));
  EXPECT_TRACED(error("(ERR): Could not find default db"));
  EXPECT_EQ(take_printed(), kHead);
  zar_clients_info[0]->status = 2;
  EXPECT_REFUSED(37U, print("voice"));
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "print_classmap", 1));
  EXPECT_EQ(take_printed(), kHead);
}

TEST_F(ClassListing, NeedsAPrinterADomainAndAName) {
  small_class("voice");
  EXPECT_REFUSED(39U, zar_print_classmap("> ", nullptr, " <", "d1", "voice", 0));
  EXPECT_ONE_ERROR();
  EXPECT_REFUSED(39U, print("voice", 0, nullptr));
  EXPECT_ONE_ERROR();
  EXPECT_REFUSED(39U, print(nullptr, 0));
  EXPECT_ONE_ERROR();
  EXPECT_PRINTED();
}

TEST_F(ClassListing, TreatsNoPrefixAndNoSuffixAsEmptyOnes) {
  small_class("voice");
  EXPECT_EQ(zar_print_classmap(nullptr, capture_printer, nullptr, "d1", "voice", 0), 0U);
  Strings bare;
  for (const std::string &line : kHead + row_of_small("voice"))
    bare.push_back(line.substr(2, line.size() - 4));
  EXPECT_EQ(take_printed(), bare);
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_EQ(zar_print_classmap(nullptr, capture_printer, nullptr, "d1", "voice", 0), 37U);
  EXPECT_EQ(take_printed().back(), "Unable to allocate memory for buf\n");
}

TEST(ClassListingUnderFaults, FailsWith37AndLeavesNothingBehind) {
  for_each_fault([](FaultClock &clock) {
    World world;
    zar_register_domain(world.one, "d1");
    world.filter_in(world.stored_cmap("video"), "f");
    const uint32_t voice = world.stored_cmap("voice");
    world.filter_in(voice, "g");
    world.filter_in(voice, "h");
    const std::string before = world.everything();
    const uint32_t status =
        clock.during([] { return zar_print_classmap("> ", capture_printer, " <", "d1", nullptr, 1); });
    EXPECT_EQ(status, clock.hit() ? 37U : 0U);
    EXPECT_EQ(world.everything(), before);
    const bool no_buffer = clock.failed_in(runtime::Service::block, kAllRowsTag);
    const Strings lines = take_printed();
    EXPECT_EQ(lines.back().starts_with("> Unable to allocate memory for buf\n"), no_buffer);
    EXPECT_EQ(lines.back().starts_with("> Running config changed, please redo "), clock.hit() && !no_buffer);
  });
}

}  // namespace
