// Statements of parameter-maps: creating them with their hidden class-maps, filling, replacing, walking and deleting
// them.
#include <algorithm>
#include <cstring>

#include "platform/runtime.h"
#include "support/platform_log.h"
#include "support/when_traced.h"
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;
constexpr const char *kPool = "ZAR DB pmtr-map stmt chunk";

const Line kNoOwner = info("(info): no registered owner for domain:%s, using default", "subscriber");

Line no_memory_for_name() {
  return error("(ERR): create_pmtr_map: memory alloc for map_info map_name failed clid:%d", 1);
}

struct Statements : Repository {
  const uint32_t abc = pmtr_map("abc", {.domain = "access"});
  uint32_t place = kUntouched;

  // What a filter is added with, beside its context.
  struct Options {
    uint8_t no_match = 0;
    uint8_t regex = 0;
    uint8_t flag_3 = 0;
    uint8_t replace = 0;
    uint8_t type = 0;
  };
  uint32_t add(uint32_t index, const zar_filter_context &context, const Options &options) {
    return zar_pmtr_create_or_add_filter(abc, &context, options.no_match, options.regex, options.flag_3, index,
                                         options.replace, options.type);
  }
  uint32_t add(uint32_t index, const zar_filter_context &context) { return add(index, context, {}); }
  uint32_t add(uint32_t index, const std::string &name, const Options &options) {
    return add(index, filter_context(name), options);
  }
  uint32_t add(uint32_t index, const std::string &name) { return add(index, name, {}); }

  uint32_t hidden_cmap(uint32_t index) const { return statement_of(abc, index)->internal_cmap; }
  uint32_t mask(uint32_t index) const { return at<zar_cmap>(hidden_cmap(index))->filter_type_mask; }
  Handles filters(uint32_t index) const { return filters_of(hidden_cmap(index)); }

  // The parts of the trace.
  static Lines class_made(uint32_t cmap, const char *name) {
    return {info("(info): Hidden classmap name: %s", name), info("(info): create_class: successful, cmap:0x%x", cmap),
            own_database("store_class"), info("(info): store_class: successful"),
            info("(info): Created pmtr_internal_classmap: %s", name)};
  }
  static Lines put_first(const zar_pmtr_map_stmt *statement, uint32_t index) {
    return {info("(info): %s: pmtr-map-stmt:0x%p adding statement with index:%d as first entry as pmtr-map statement",
                 "add_pmtr_map_stmt_to_pmtr_map", statement, index),
            info("(info): Queued statement for map index: %d at pmtr-map", index), listed(statement, index)};
  }
  static Lines put_behind(const zar_pmtr_map_stmt *statement, uint32_t index) {
    return {info("(info): Inserted statement for map index: %d into pmtr-map", index), listed(statement, index)};
  }
  static Line listed(const zar_pmtr_map_stmt *statement, uint32_t index) {
    return info("(info): %s: added statement:0x%p with index:%d into pmtr-map statement list",
                "add_pmtr_map_stmt_to_pmtr_map", statement, index);
  }
  static Line found(uint32_t filter, uint32_t cmap) {
    return info("(info): %s: retrieved matching filter:0x%x in class:0x%x", "retrieve_filter", filter, cmap);
  }
  static Lines filter_added(uint32_t filter, uint32_t cmap, const char *type = "match", int regex = 0) {
    return {found(0, cmap),
            info("(info): create_filter: successful, filter:0x%x type:%s regex:%d", filter, type, regex),
            info("(info): Created filter for internal class"),
            info("(info): %s: filter:0x%x added to class:0x%x", "add_filter_to_class", filter, cmap),
            info("(info): Added filter to internal class")};
  }
  static Lines action_freed(uint32_t action) {
    return {info("(info): %s: Freeing action:0x%x", "delete_pmtr_map_statement", action),
            info("(info): action:0x%x reference count:%d", action, 0), info("(info): action:0x%x chunk freed", action)};
  }
  static Lines class_deleted(uint32_t cmap, const Handles &filters, uint32_t index) {
    Lines lines = {own_database("delete_stored_class")};
    for (const uint32_t filter : filters) {
      lines.push_back(info("(info): %s: Freeing filter:0x%x", "delete_stored_class", filter));
      lines.push_back(info("(info): Free filter:0x%x successful", filter));
    }
    lines.push_back(info("(info): %s: successfully deleted stored cmap:0x%x", "delete_stored_class", cmap));
    lines.push_back(info("(info): internal class-map for map index %dremoved", index));
    return lines;
  }
  static Line statement_removed(const zar_pmtr_map_stmt *statement) {
    return info("(info): %s: Pmtr-map stmt:0x%p removed", "delete_pmtr_map_statement", statement);
  }
};

// ---- A new statement

struct NewStatement : Statements {};

TEST_F(NewStatement, IsTracedStepByStep) {
  EXPECT_EQ(add(10, "expression"), 0U);
  const zar_pmtr_map_stmt *statement = statement_of(abc, 10);
  const uint32_t cmap = statement->internal_cmap;
  EXPECT_TRACED(kNoOwner, kNoOwner, class_made(cmap, "__PMTR__abc10"), put_first(statement, 10),
                filter_added(filters(10).front(), cmap));
  EXPECT_CALLS();
}

TEST_F(NewStatement, OwnsAHiddenClassMapOfTheEnginesDomain) {
  add(10, "expression");
  const zar_cmap *cmap = at<zar_cmap>(hidden_cmap(10));
  EXPECT_STREQ(zar_get_cmap_name(cmap->handle), "__PMTR__abc10");
  EXPECT_STREQ(zar_get_cmap_domain(cmap->handle), "subscriber");
  EXPECT_EQ(cmap->domain_type, 1U);
  EXPECT_EQ(cmap->hidden, 1U);
  EXPECT_EQ(cmap->match_criteria, 1U);
  EXPECT_STREQ(cmap->hash_str, "__PMTR__abc10:subscriber:1");
  EXPECT_EQ(cmaps_in(db), Handles{cmap->handle}) << "it is stored";
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{10});
  EXPECT_EQ(statement_actions_of(abc, 10), Handles{});
  EXPECT_EQ(statement_of(abc, 10)->action_queue.limit, 0U);
}

TEST_F(NewStatement, RequestsWhatItNeedsInOrder) {
  NEEDS_FRESH_PROCESS();
  EXPECT_EQ(pool_of(kPool), "") << "the pool is made with the first statement";
  watch_requests();
  add(10, "expression");
  EXPECT_REQUESTS("pool \"ZAR DB pmtr-map stmt chunk\" of 40", "record of 40", "duplicate 0x3e0002b \"subscriber\"",
                  "block 0x3e00028 of 14", "pool 0x3e0003a of 136", "record 0x3e0003a of 136", "id 0x3e00023",
                  "text 0x3e0003b \"__PMTR__abc10\"", "text 0x3e00033 \"subscriber\"",
                  "duplicate 0x3e0003c \"__PMTR__abc10:subscriber:1\"", "tree insert", "pool 0x3e00040 of 80",
                  "record 0x3e00040 of 80", "id 0x3e00023");
  EXPECT_EQ(pool_of(kPool), "40 bytes, 20 per chunk, flags 0x111");
  EXPECT_EQ(pool_of(0x3e00040), "80 bytes, 50 per chunk, flags 0x111");
  EXPECT_EQ(blocks_out(0x3e0002b) + blocks_out(0x3e00028), 0U) << "name and domain are not kept";
  EXPECT_STREQ(zar_db_pmtr_map_stmt_chunk_str, kPool);
  add(11, "expression");
  EXPECT_EQ(take_requests().front(), "record of 40");
}

// When the copies of name and domain are freed: a new statement is added to the list after that, one that replaces
// another before it.
TEST_F(NewStatement, FreesTheCopiedTextsBeforeItIsInTheListUnlessItReplacesAnother) {
  const zar_pmtr_map *map = at<zar_pmtr_map>(abc);
  const PlatformCalls of_texts{"duplicate 0x3e0002", "block 0x3e0002", "free 0x3e0002",
                               text("prepend %p", &map->stmt_queue)};
  watch_platform();
  add(10, "expression");
  PlatformCalls listed{text("prepend %p %p", &map->stmt_queue, statement_of(abc, 10))};
  EXPECT_EQ(take_platform_calls(of_texts),
            (PlatformCalls{"duplicate 0x3e0002b \"subscriber\"", "block 0x3e00028 of 1 14", "free 0x3e00028",
                           "free 0x3e0002b", listed[0]}));
  watch_platform();
  add(10, "expression", {.replace = 1});
  listed = {text("prepend %p %p", &map->stmt_queue, statement_of(abc, 10))};
  EXPECT_EQ(take_platform_calls(of_texts),
            (PlatformCalls{"duplicate 0x3e0002e \"subscriber\"", "block 0x3e00027 of 1 15", listed[0], "free 0x3e00027",
                           "free 0x3e0002e"}));
}

// A map-index, and how it prints.
struct Index {
  uint32_t index;
  const char *printed;
};
const Index kIndexes[] = {{0, "0"},
                          {9, "9"},
                          {10, "10"},
                          {99, "99"},
                          {100, "100"},
                          {999, "999"},
                          {1000, "1000"},
                          {65536, "65536"},
                          {0x7fffffff, "2147483647"},
                          {0xffffffff, "-1"},
                          {0x80000000, "-2147483648"}};

TEST_F(NewStatement, NamesItsClassMapAfterMapAndIndexHoweverLong) {
  cmap("makes the pool");
  statement(abc, 5);
  for (const Index &each : kIndexes) {
    const std::string name = std::string("__PMTR__abc") + each.printed;
    const size_t digits = strlen(each.printed);
    watch_requests();
    EXPECT_EQ(add(each.index, "expression"), 0U);
    EXPECT_EQ(zar_get_cmap_name(hidden_cmap(each.index)), name);
    EXPECT_EQ(take_requests()[2], text("block 0x3e00028 of %zu", std::max<size_t>(3 + 11, 8 + 3 + digits + 1)));

    watch_requests();
    EXPECT_EQ(add(each.index, "expression", {.replace = 1}), 0U);
    EXPECT_EQ(zar_get_cmap_name(hidden_cmap(each.index)), name);
    EXPECT_EQ(take_requests()[2], text("block 0x3e00027 of %zu", std::max<size_t>(3 + 12, 8 + 3 + digits + 1)));
  }
}

TEST_F(NewStatement, NamesItsClassMapAfterLongMapsToo) {
  const std::string longest(500, 'm');
  const uint32_t map = pmtr_map(longest.c_str());
  const uint32_t cmap = statement(map, 0x80000000)->internal_cmap;
  EXPECT_EQ(zar_get_cmap_name(cmap), "__PMTR__" + longest + "-2147483648");

  // The cut keys of all its statements are equal, so that there is room for one.
  const zar_filter_context context = filter_context("other");
  EXPECT_REFUSED(39U, zar_pmtr_create_or_add_filter(map, &context, 0, 0, 0, 1, 0, 0));
}

TEST_F(NewStatement, BelongsToTheOwnerOfTheDomain) {
  zar_db *theirs = database();
  const uint32_t three = client("three", theirs);
  {
    const Quiet quiet;
    ASSERT_EQ(zar_register_domain(three, "subscriber"), 0U);
  }
  EXPECT_EQ(add(10, "expression"), 0U);
  const Line owner = info("(info): domain:%s, owner  client:%d", "subscriber", 3);
  NEEDS_TRACE();
  const Lines lines = take_trace();
  EXPECT_EQ(lines[0], owner);
  EXPECT_EQ(lines[1], owner);
  EXPECT_EQ(cmaps_in(theirs), Handles{hidden_cmap(10)});
  EXPECT_EQ(cmaps_in(db), Handles{});
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 10), 0U);
  EXPECT_EQ(cmaps_in(theirs), Handles{});
}

TEST_F(NewStatement, IsSortedByItsIndex) {
  for (const uint32_t index : {5U, 1U, 3U, 0xffffffffU, 0U, 0x7fffffffU})
    EXPECT_EQ(add(index, "expression"), 0U);
  EXPECT_EQ(map_indexes_of(abc), (std::vector<uint32_t>{0, 1, 3, 5, 0x7fffffff, 0xffffffff}));
}

TEST_F(NewStatement, IsTracedAsInsertedAfterAnother) {
  statement(abc, 5);
  add(7, "expression");
  NEEDS_TRACE();
  const Lines lines = take_trace();
  const Lines expected = put_behind(statement_of(abc, 7), 7);
  EXPECT_NE(std::search(lines.begin(), lines.end(), expected.begin(), expected.end()), lines.end());
}

TEST_F(NewStatement, NeedsItsPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  EXPECT_REFUSED(38U, add(10, "expression"));
  EXPECT_ERRORS(error("(ERR): create_pmtr_map: memory alloc for pmtr_map stmt failed clid:%d, name:%s", 1, "abc"));
  EXPECT_EQ(add(10, "expression"), 0U) << "the pool is tried again";
}

TEST_F(NewStatement, NeedsARecord) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, add(10, "expression"));
  EXPECT_TRACED(kNoOwner,
                error("(ERR): create_pmtr_map: memory alloc for pmtr_map stmt failed clid:%d, name:%s", 1, "abc"));
}

TEST_F(NewStatement, NeedsADuplicateOfTheDomain) {
  runtime::fail_request(runtime::Service::duplicate, 1);
  EXPECT_REFUSED(38U, add(10, "expression"));
  EXPECT_ERRORS(no_memory_for_name());
}

TEST_F(NewStatement, NeedsANameBuffer) {
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_REFUSED(38U, add(10, "expression"));
  EXPECT_TRACED(kNoOwner, kNoOwner, no_memory_for_name());
}

TEST_F(NewStatement, NeedsAClassMap) {
  statement(abc, 5);
  runtime::fail_request(runtime::Service::record, 2);
  EXPECT_REFUSED(39U, add(10, "expression"));
  EXPECT_TRACED(kNoOwner, kNoOwner, info("(info): Hidden classmap name: %s", "__PMTR__abc10"),
                error("(ERR): create_class: memory alloc for cmap failed clid:%d, name:%s", 1, "__PMTR__abc10"),
                error("(ERR): Failure creating pmtr_internal_classmap: %s", "__PMTR__abc10"), invalid_handle(),
                error("(ERR): %s: input class map handle context cannot be NULL", "delete_class"));
}

TEST_F(NewStatement, NeedsAClassMapOfAFreeName) {
  const uint32_t squatter = stored_cmap("__PMTR__abc10", {.domain = "subscriber"});
  EXPECT_REFUSED(39U, add(10, "expression"));
  NEEDS_TRACE();
  const Lines lines = take_trace();
  const Lines expected = {error("(ERR): CMAP avl: insert failed, hash str:%s", "__PMTR__abc10:subscriber:1"),
                          error("(ERR): store_class: Error: avl insert failed"),
                          error("(ERR): Failure creating pmtr_internal_classmap: %s", "__PMTR__abc10")};
  EXPECT_NE(std::search(lines.begin(), lines.end(), expected.begin(), expected.end()), lines.end());
  EXPECT_TRUE(lines.back().text.starts_with("(info): delete_class: successfully delete cmap:0x")) << lines.back();
  EXPECT_EQ(cmaps_in(db), Handles{squatter});
}

TEST_F(NewStatement, NeedsAnActiveOwner) {
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(39U, add(10, "expression"));
  EXPECT_ERRORS(inactive_client("store_class", 1),
                error("(ERR): Failure creating pmtr_internal_classmap: %s", "__PMTR__abc10"));
}

TEST_F(NewStatement, NeedsItsMapToTheEnd) {
  NEEDS_TRACE();
  const runtime::Inventory before = runtime::inventory();
  when_traced(info("(info): Created pmtr_internal_classmap: %s", "__PMTR__abc10"), [&] { zar_handle_release(abc); });
  EXPECT_EQ(add(10, "expression"), 37U);
  EXPECT_ERRORS(destroyed_already(abc), no_pmtr_map("add_pmtr_map_stmt_to_pmtr_map"),
                error("(ERR): Failure enqueing pmtr map statement withmap-index: %d", 10));
  runtime::Inventory expected = before;
  expected.ids -= 1;
  EXPECT_EQ(to_string(runtime::inventory()), to_string(expected)) << "everything that was created is freed";
  EXPECT_EQ(cmaps_in(db), Handles{});
}

TEST_F(NewStatement, NeedsItsClassMapToTheEnd) {
  NEEDS_TRACE();
  when_traced(info("(info): Created pmtr_internal_classmap: %s", "__PMTR__abc10"),
              [&] { zar_handle_release(cmaps_in(db).front()); });
  EXPECT_EQ(add(10, "expression"), 37U);
  const Lines errors = take_errors();
  EXPECT_TRUE(std::any_of(errors.begin(), errors.end(), [](const Line &line) {
    return line.text.ends_with(": class-map handle context cannot be NULL");
  }));
  EXPECT_EQ(errors.back(), error("(ERR): Failed to get context for internal class"));
}

TEST_F(NewStatement, NeedsAParameterMapAndAFilter) {
  const zar_filter_context context = filter_context("expression");
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_pmtr_create_or_add_filter(wrong.handle, &context, 0, 0, 0, 1, 0, 0));
    EXPECT_TRACED(kNoOwner, wrong.look_up, no_pmtr_map("add_filter_to_pmtr_map"));
  }
  forget_trace();
  EXPECT_REFUSED(39U, zar_pmtr_create_or_add_filter(abc, nullptr, 0, 0, 0, 1, 0, 0));
  EXPECT_ONE_ERROR();
  statement(abc, 1);
  EXPECT_REFUSED(39U, zar_pmtr_create_or_add_filter(abc, nullptr, 0, 0, 0, 1, 1, 0));
  EXPECT_ONE_ERROR();
}

TEST_F(NewStatement, StaysWithoutItsFilterWhenTheContextIsUnusable) {
  zar_filter_context context = filter_context("expression");
  context.filter_free_fn = nullptr;
  EXPECT_EQ(add(10, context), 0U);
  EXPECT_ERRORS(error("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", "retrieve_filter"));
  EXPECT_EQ(filters(10), Handles{});
  EXPECT_EQ(mask(10), 0U);
}

TEST_F(NewStatement, StaysWithoutItsFilterWhenNoneCanBeMade) {
  zar_filter_context context = filter_context("expression");
  context.filter_str_fn = nullptr;
  EXPECT_EQ(add(10, context, {.type = 2}), 0U);
  NEEDS_TRACE();
  EXPECT_EQ(take_trace().back(),
            error("(ERR): %s: Error: filter parse fn, filter compare hdl fn from input filter context cannot be NULL",
                  "create_filter"));
  EXPECT_EQ(filters(10), Handles{});
  EXPECT_EQ(mask(10), 0U);
  EXPECT_CALLS();
}

TEST(NewStatementUnderFaults, FreesWhatItCreated) {
  for_each_fault([](FaultClock &clock) {
    using runtime::Service;
    World world;
    const uint32_t abc = world.pmtr_map("abc");
    const std::string before = world.everything();
    const zar_filter_context context = world.filter_context("expression");
    const auto add = [&] { return zar_pmtr_create_or_add_filter(abc, &context, 0, 0, 0, 10, 0, 0); };
    const uint32_t status = clock.during(add);
    const auto filters = [&] { return World::filters_of(World::statement_of(abc, 10)->internal_cmap).size(); };
    if (!clock.hit()) {
      EXPECT_EQ(status, 0U);
      EXPECT_EQ(filters(), 1U);
      return;
    }
    if (status == 0) {
      EXPECT_TRUE(clock.failed_in(Service::pool, 0x3e00040) || clock.failed_in(Service::record, 0x3e00040) ||
                  clock.failed_in(Service::id))
          << "nothing but the filter may be missing";
      EXPECT_EQ(filters(), 0U);
    } else {
      const bool no_statement =
          (clock.failed_in(Service::pool) || clock.failed_in(Service::record)) && clock.failed().tag == 0;
      const bool no_name = clock.failed_in(Service::duplicate, 0x3e0002b) || clock.failed_in(Service::block);
      EXPECT_EQ(status, no_statement || no_name ? 38U : 39U);
      EXPECT_EQ(world.everything(), before);
    }
    EXPECT_EQ(add(), 0U);
    EXPECT_EQ(filters(), 1U);
    EXPECT_CALLS();
  });
}

// ---- More filters

struct MoreFilters : Statements {};

TEST_F(MoreFilters, JoinTheStatement) {
  statement(abc, 10, "first");
  const uint32_t cmap = hidden_cmap(10);
  EXPECT_EQ(add(10, "second", {.no_match = 1, .regex = 7, .flag_3 = 8, .type = 2}), 0U);
  ASSERT_EQ(filters(10).size(), 2U);
  const uint32_t second = filters(10)[1];
  EXPECT_TRACED(kNoOwner, filter_added(second, cmap, "no-match", 7));
  const zar_filter *record = at<zar_filter>(second);
  EXPECT_EQ(record->no_match, 1);
  EXPECT_EQ(record->regex, 7);
  EXPECT_EQ(record->pmtr_flag_1, 8);
  EXPECT_EQ(record->pmtr_flag_2, 2);
  EXPECT_EQ(data_of_filter(second).name, "second");
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{10});
  EXPECT_EQ(cmaps_in(db), Handles{cmap});
}

TEST_F(MoreFilters, SetTheBitOfTheirType) {
  uint32_t expected = 0;
  for (const uint8_t type : std::initializer_list<uint8_t>{0, 4, 2, 31, 33, 255, 32}) {
    EXPECT_EQ(add(10, text("type %d", type), {.type = type}), 0U);
    expected |= 1U << (type % 32);
    EXPECT_EQ(mask(10), expected) << "type " << int{type};
    EXPECT_EQ(at<zar_filter>(filters(10).back())->pmtr_flag_2, type);
  }
}

TEST_F(MoreFilters, EqualToOnePresentReplaceItsData) {
  statement(abc, 10, "first");
  statement(abc, 10, "second");
  const Handles before = filters(10);
  Data &newer = data("newer", "second");
  EXPECT_EQ(add(10, filter_context(newer), {.regex = 9, .type = 3}), 0U);
  EXPECT_EQ(filters(10), before);
  EXPECT_EQ(&data_of_filter(before[1]), &newer);
  EXPECT_EQ(at<zar_filter>(before[1])->regex, 0) << "only the data is new";
  EXPECT_EQ(mask(10), 1U);
  EXPECT_CALLS("compare first newer", "compare second newer", "free second");
  EXPECT_TRACED(kNoOwner, found(before[1], hidden_cmap(10)));
}

TEST_F(MoreFilters, DifferInTheirMatchFlag) {
  statement(abc, 10, "first");
  EXPECT_EQ(add(10, filter_context("other", "first"), {.no_match = 1}), 0U);
  EXPECT_EQ(filters(10).size(), 2U);
  EXPECT_CALLS("compare first other");
}

TEST_F(MoreFilters, AreNotMadeFromAContextWithoutText) {
  statement(abc, 10, "first");
  zar_filter_context context = filter_context("second");
  context.filter_str_fn = nullptr;
  EXPECT_REFUSED(0U, add(10, context, {.type = 3}));
  EXPECT_CALLS("compare first second");
  EXPECT_TRACED(
      kNoOwner, found(0, hidden_cmap(10)),
      error("(ERR): %s: Error: filter parse fn, filter compare hdl fn from input filter context cannot be NULL",
            "create_filter"));
}

TEST_F(MoreFilters, AreNotSearchedForWithAnUnusableContext) {
  statement(abc, 10, "first");
  zar_filter_context context = filter_context("second");
  context.filter_free_fn = nullptr;
  context.filter_eval_fn = nullptr;
  EXPECT_REFUSED(0U, add(10, context));
  EXPECT_TRACED(kNoOwner,
                error("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", "retrieve_filter"),
                error("(ERR): %s: Error: filter_fn from input filter context cannot be NULL", "retrieve_filter"));
}

TEST_F(MoreFilters, AreDeletedAgainWhenTheyCannotBeAdded) {
  NEEDS_TRACE();
  statement(abc, 10, "first");
  const uint32_t cmap = hidden_cmap(10);
  const runtime::Inventory before = runtime::inventory();
  when_traced(info("(info): Created filter for internal class"), [] { runtime::lose_next_pointer(); });
  EXPECT_EQ(add(10, "second", {.type = 3}), 0U) << "the caller is not notified";
  EXPECT_CALLS("compare first second", "free second");
  EXPECT_ERRORS(error("(ERR): ZAR Found NULL context with handle [0x%x]\n", cmap),
                error("(ERR): %s: input class map handle context cannot be NULL", "add_filter_to_class"),
                error("(ERR): Failure creating filter for internal class"));
  runtime::Inventory expected = before;
  expected.ids -= 1;  // the class-map's, which the damaged table lost
  EXPECT_EQ(to_string(runtime::inventory()), to_string(expected));
}

TEST_F(MoreFilters, ReportTheDeletionOfTheOneThatCouldNotBeAdded) {
  NEEDS_TRACE();
  statement(abc, 10, "first");
  when_traced(info("(info): Created filter for internal class"), [] { runtime::lose_next_pointer(); });
  add(10, "second");
  const Lines lines = take_trace();
  ASSERT_GE(lines.size(), 3U);
  EXPECT_TRUE(lines[lines.size() - 3].text.starts_with("(info): Free filter:0x"));
  EXPECT_TRUE(lines[lines.size() - 2].text.starts_with("(info): delete_filter: deleted filter:0x"));
  EXPECT_EQ(lines.back(), error("(ERR): Failure creating filter for internal class"));
}

TEST_F(MoreFilters, NeedTheClassMapOfTheStatement) {
  statement(abc, 10, "first");
  const uint32_t cmap = hidden_cmap(10);
  zar_handle_release(cmap);
  NEEDS_TRACE();
  for (const bool usable : {true, false}) {
    zar_filter_context context = filter_context("second");
    if (!usable) context.filter_free_fn = nullptr;
    EXPECT_REFUSED(37U, add(10, context));
    EXPECT_EQ(take_errors().back(), error("(ERR): Failed to get context for internal class"));
  }
  EXPECT_CALLS();
}

TEST(MoreFiltersUnderFaults, AreAddedOrNotAndNothingElse) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t abc = world.pmtr_map("abc");
    const uint32_t cmap = world.statement(abc, 10, "first")->internal_cmap;
    const std::string before = world.everything();
    const zar_filter_context context = world.filter_context("second");
    const auto add = [&] { return zar_pmtr_create_or_add_filter(abc, &context, 0, 0, 0, 10, 0, 3); };
    EXPECT_EQ(clock.during(add), 0U);
    EXPECT_EQ(World::filters_of(cmap).size(), clock.hit() ? 1U : 2U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(add(), 0U);
    EXPECT_EQ(World::at<zar_cmap>(cmap)->filter_type_mask, 9U);
  });
}

// ---- Replacement

struct Replacement : Statements {};

TEST_F(Replacement, DeletesTheStatementAndCreatesItAgain) {
  const zar_pmtr_map_stmt *old_statement = statement(abc, 10, "old");
  const uint32_t old_cmap = hidden_cmap(10);
  const Handles old_filters = filters(10);
  const uint32_t old_action = statement_action(abc, 10, 1, "action");
  EXPECT_EQ(add(10, "new", {.replace = 255, .type = 4}), 0U);
  EXPECT_CALLS("free action", "free old");
  const zar_pmtr_map_stmt *statement = statement_of(abc, 10);
  const uint32_t cmap = statement->internal_cmap;
  Lines expected = lines(kNoOwner, kNoOwner, action_freed(old_action), class_deleted(old_cmap, old_filters, 10));
  expected.push_back(statement_removed(old_statement));
  expected.push_back(info("(info): Pmtr-map statement for map index %dremoved", 10));
  expected.push_back(kNoOwner);
  expected = lines(expected, class_made(cmap, "__PMTR__abc10"), put_first(statement, 10));
  EXPECT_TRACED(expected, filter_added(filters(10).front(), cmap));
  EXPECT_FALSE(live(old_action) || live(old_cmap) || live(old_filters.front()));
  EXPECT_EQ(mask(10), 1U << 4);
  EXPECT_EQ(cmaps_in(db), Handles{cmap});
  EXPECT_EQ(statement_actions_of(abc, 10), Handles{});
}

TEST_F(Replacement, RequestsWhatItNeedsInOrder) {
  statement(abc, 10);
  watch_requests();
  add(10, "new", {.replace = 1});
  EXPECT_REQUESTS("record of 40", "duplicate 0x3e0002e \"subscriber\"", "block 0x3e00027 of 15",
                  "record 0x3e0003a of 136", "id 0x3e00023", "text 0x3e0003b \"__PMTR__abc10\"",
                  "text 0x3e00033 \"subscriber\"", "duplicate 0x3e0003c \"__PMTR__abc10:subscriber:1\"", "tree insert",
                  "record 0x3e00040 of 80", "id 0x3e00023");
  EXPECT_EQ(blocks_out(0x3e0002e) + blocks_out(0x3e00027), 0U);
}

TEST_F(Replacement, FreesItsDuplicatesOnceTheStatementIsQueued) {
  NEEDS_TRACE();
  statement(abc, 10);
  size_t held = 99;
  when_traced(info("(info): Queued statement for map index: %d at pmtr-map", 10),
              [&] { held = blocks_out(0x3e0002e) + blocks_out(0x3e00027); });
  add(10, "new", {.replace = 1});
  EXPECT_EQ(held, 2U);
}

TEST_F(Replacement, OfAStatementThatDoesNotExistCreatesIt) {
  statement(abc, 5);
  watch_requests();
  EXPECT_EQ(add(10, "new", {.replace = 1}), 0U);
  EXPECT_EQ(take_requests()[1], "duplicate 0x3e0002b \"subscriber\"");
  EXPECT_EQ(map_indexes_of(abc), (std::vector<uint32_t>{5, 10}));
}

TEST_F(Replacement, KeepsTheOtherStatements) {
  for (const uint32_t index : {1U, 2U, 3U})
    statement(abc, index);
  const uint32_t first = hidden_cmap(1), last = hidden_cmap(3);
  EXPECT_EQ(add(2, "new", {.replace = 1}), 0U);
  EXPECT_EQ(map_indexes_of(abc), (std::vector<uint32_t>{1, 2, 3}));
  EXPECT_EQ(hidden_cmap(1), first);
  EXPECT_EQ(hidden_cmap(3), last);
}

TEST_F(Replacement, ThatFailsHasDeletedTheStatementAnyway) {
  using runtime::Service;
  const struct {
    Service service;
    uint64_t nth;
    uint32_t status;
    Line message;
  } cases[] = {
      {Service::record, 1, 38, error("(ERR): create_pmtr_map: memory alloc for pmtr_map stmt failed clid:%d", 1)},
      {Service::duplicate, 1, 38, no_memory_for_name()},
      {Service::block, 1, 38, no_memory_for_name()},
      {Service::tree_insert, 1, 39, error("(ERR): Failure creating pmtr_internal_classmap: %s", "__PMTR__abc10")},
  };
  const std::string empty = everything();
  NEEDS_TRACE();
  for (const auto &each : cases) {
    statement(abc, 10, "old");
    runtime::fail_request(each.service, each.nth);
    EXPECT_EQ(add(10, "new", {.replace = 1}), each.status);
    EXPECT_EQ(take_errors().back(), each.message);
    EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{});
    EXPECT_EQ(everything(), empty);
    EXPECT_CALLS("free old");
  }
}

TEST_F(Replacement, ContinuesWhereTheOldStatementCannotBeDeleted) {
  NEEDS_TRACE();
  statement(abc, 10, "old");
  const auto lose_it = [] { runtime::lose_next_pointer(); };
  when_traced(kNoOwner, lose_it, 2);
  add(10, "new", {.replace = 1});
  const Lines lines = take_trace();
  const Lines expected = {error("(ERR): ZAR Found NULL context with handle [0x%x]\n", abc),
                          no_pmtr_map("delete_pmtr_map_statement"),
                          error("(ERR): Pmtr-map statement for map index %dcannot be removed", 10), kNoOwner,
                          info("(info): Hidden classmap name: %s", "__PMTR__abc10")};
  EXPECT_NE(std::search(lines.begin(), lines.end(), expected.begin(), expected.end()), lines.end());
}

TEST_F(Replacement, NeedsItsMapToTheEnd) {
  NEEDS_TRACE();
  const std::string abc_alone = to_string(runtime::inventory());
  statement(abc, 10, "old");
  when_traced(info("(info): Created pmtr_internal_classmap: %s", "__PMTR__abc10"), [&] { zar_handle_release(abc); });
  EXPECT_EQ(add(10, "new", {.replace = 1}), 37U);
  EXPECT_ERRORS(destroyed_already(abc), no_pmtr_map("add_pmtr_map_stmt_to_pmtr_map"),
                error("(ERR): Failure enqueing pmtr map statement withmap-index: %d", 10));
  runtime::Inventory now = runtime::inventory();
  now.ids += 1;  // the map's
  EXPECT_EQ(to_string(now), abc_alone);
}

TEST(ReplacementUnderFaults, LeavesAWholeStatementOrNone) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t abc = world.pmtr_map("abc");
    const std::string empty = world.everything();
    world.statement(abc, 10, "old");
    const zar_filter_context context = world.filter_context("new");
    const auto replace = [&] { return zar_pmtr_create_or_add_filter(abc, &context, 0, 0, 0, 10, 1, 0); };
    const uint32_t status = clock.during(replace);
    EXPECT_EQ(calls(), std::vector<std::string>{"free old"});
    if (status != 0) {
      EXPECT_EQ(world.everything(), empty);
    }
    EXPECT_EQ(World::map_indexes_of(abc).size(), status == 0 ? 1U : 0U);
    EXPECT_TRUE(status == 0 || clock.hit());
    EXPECT_EQ(replace(), 0U);
    EXPECT_EQ(World::filters_of(World::statement_of(abc, 10)->internal_cmap).size(), 1U);
  });
}

// ---- Statements put in by hand

struct ByHand : Statements {
  // A caller's own statements are removed before they go out of scope.
  void TearDown() override {
    while (queue_dequeue(&at<zar_pmtr_map>(abc)->stmt_queue) != nullptr) {
    }
    Statements::TearDown();
  }
  std::vector<const void *> elements() const {
    const auto found = runtime::elements(&at<zar_pmtr_map>(abc)->stmt_queue);
    return {found.begin(), found.end()};
  }
};

TEST_F(ByHand, AreInOrderOfIndexAndAdditionWhateverTheOrder) {
  const uint32_t indexes[] = {1, 2, 2, 3};
  int order[] = {0, 1, 2, 3};
  do {
    zar_pmtr_map_stmt statements[4] = {};
    std::vector<const void *> expected;
    for (const int each : order) {
      statements[each].map_index = indexes[each];
      EXPECT_EQ(zar_add_statement_to_pmtr_map(abc, &statements[each]), 0U);
      expected.push_back(&statements[each]);
    }
    std::stable_sort(expected.begin(), expected.end(), [](const void *left, const void *right) {
      return static_cast<const zar_pmtr_map_stmt *>(left)->map_index <
             static_cast<const zar_pmtr_map_stmt *>(right)->map_index;
    });
    EXPECT_EQ(elements(), expected);
    while (queue_dequeue(&at<zar_pmtr_map>(abc)->stmt_queue) != nullptr) {
    }
  } while (std::next_permutation(std::begin(order), std::end(order)));
}

TEST_F(ByHand, AreTracedByTheirPlace) {
  zar_pmtr_map_stmt statements[3] = {};
  const uint32_t indexes[] = {5, 0xffffffff, 1};
  const Lines expected[] = {put_first(&statements[0], 5), put_behind(&statements[1], 0xffffffff),
                            put_first(&statements[2], 1)};
  for (int i = 0; i < 3; ++i) {
    statements[i].map_index = indexes[i];
    EXPECT_EQ(zar_add_statement_to_pmtr_map(abc, &statements[i]), 0U);
    EXPECT_EQ(take_trace(), expected[i]);
  }
  EXPECT_EQ(map_indexes_of(abc), (std::vector<uint32_t>{1, 5, 0xffffffff}));
  while (queue_dequeue(&at<zar_pmtr_map>(abc)->stmt_queue) != nullptr) {
  }
}

TEST_F(ByHand, NeedAParameterMapAndAStatement) {
  zar_pmtr_map_stmt own{};
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_add_statement_to_pmtr_map(wrong.handle, &own));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map("add_pmtr_map_stmt_to_pmtr_map"));
  }
  EXPECT_REFUSED(39U, zar_add_statement_to_pmtr_map(abc, nullptr));
  EXPECT_ONE_ERROR();
}

// ---- Deletion

struct Deletion : Statements {};

TEST_F(Deletion, DeletesFiltersActionsAndClassMap) {
  const std::string before = everything();
  const zar_pmtr_map_stmt *gone = statement(abc, 10, "first");
  statement(abc, 10, "second");
  const Handles old_filters = filters(10);
  const uint32_t cmap = hidden_cmap(10);
  const uint32_t late = statement_action(abc, 10, 2, "late"), early = statement_action(abc, 10, 1, "early");
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 10), 0U);
  Lines expected = lines(kNoOwner, action_freed(early), action_freed(late));
  expected = lines(expected, class_deleted(cmap, old_filters, 10));
  expected.push_back(statement_removed(gone));
  EXPECT_EQ(take_trace(), expected);
  EXPECT_CALLS("free early", "free late", "free first", "free second");
  EXPECT_EQ(everything(), before);
}

TEST_F(Deletion, KeepsTheOtherStatements) {
  for (const uint32_t gone : {1U, 2U, 3U}) {
    std::vector<uint32_t> rest;
    for (const uint32_t index : {1U, 2U, 3U}) {
      statement(abc, index);
      if (index != gone) rest.push_back(index);
    }
    EXPECT_EQ(zar_pmtr_delete_filter(abc, gone), 0U);
    EXPECT_EQ(map_indexes_of(abc), rest);
    for (const uint32_t index : rest)
      EXPECT_EQ(zar_pmtr_delete_filter(abc, index), 0U);
  }
}

TEST_F(Deletion, DropsOneReferenceOnASharedAction) {
  statement(abc, 10);
  const uint32_t shared = statement_action(abc, 10, 1, "shared");
  zar_increment_action(at<zar_action>(shared));
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 10), 0U);
  NEEDS_TRACE();
  const Lines lines = take_trace();
  EXPECT_EQ(lines[1], info("(info): %s: Freeing action:0x%x", "delete_pmtr_map_statement", shared));
  EXPECT_EQ(lines[2], info("(info): action:0x%x reference count:%d", shared, 1));
  EXPECT_TRUE(live(shared));
}

TEST_F(Deletion, RefusesAnIndexThatDoesNotExist) {
  EXPECT_REFUSED(37U, zar_pmtr_delete_filter(abc, 0));
  EXPECT_TRACED(kNoOwner, error("(ERR): delete_pmtr_map_stmt: pmtr_map stmt not found for map-index %d", 0));
  statement(abc, 10);
  for (const uint32_t index : {9U, 11U, 0xffffffffU, 266U}) {
    EXPECT_REFUSED(37U, zar_pmtr_delete_filter(abc, index));
    EXPECT_TRACED(kNoOwner, error("(ERR): delete_pmtr_map_stmt: pmtr_map stmt not found for map-index %d", index));
  }
}

TEST_F(Deletion, ContinuesWhereTheClassMapIsInUse) {
  const zar_pmtr_map_stmt *gone = statement(abc, 10, "first");
  const uint32_t cmap = hidden_cmap(10);
  rule(event_in(pmap("gold"), 1), cmap);
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 10), 0U);
  EXPECT_TRACED(kNoOwner, own_database("delete_stored_class"),
                info("(info): %s: cmap:0x%x cannot be deleted as the below policy-maps are referring to it",
                     "delete_stored_class", cmap),
                info("(info): %s: pmap name:%s ", "delete_stored_class", "gold"),
                error("(ERR): internal class-map for map index %dcannot be removed", 10), statement_removed(gone));
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{});
  EXPECT_EQ(cmaps_in(db), Handles{cmap});
  EXPECT_EQ(add(10, "again"), 39U) << "the name of its class-map is taken";
}

TEST_F(Deletion, ContinuesWithoutADatabase) {
  statement(abc, 10);
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_pmtr_delete_filter(abc, 10), 0U);
  EXPECT_ERRORS(inactive_client("delete_stored_class", 1),
                error("(ERR): internal class-map for map index %dcannot be removed", 10));
  EXPECT_EQ(map_indexes_of(abc), std::vector<uint32_t>{});
}

struct DeletionByStatement : Statements {
  zar_pmtr_map_stmt *take_out() {
    return static_cast<zar_pmtr_map_stmt *>(queue_dequeue(&at<zar_pmtr_map>(abc)->stmt_queue));
  }
};

TEST_F(DeletionByStatement, DeletesFiltersActionsAndClassMap) {
  const std::string before = everything();
  statement(abc, 10, "first");
  const Handles old_filters = filters(10);
  const uint32_t cmap = hidden_cmap(10), action = statement_action(abc, 10, 1, "action");
  zar_pmtr_map_stmt *taken = take_out();
  EXPECT_EQ(zar_pmtr_delete_filter_by_stmt(taken), 0U);
  Lines expected = lines(action_freed(action), class_deleted(cmap, old_filters, 10));
  expected.push_back(statement_removed(taken));
  NEEDS_TRACE();
  Lines lines = take_trace();
  EXPECT_EQ(std::erase(lines, kNoOwner), 1U) << "the owner of the class-map is looked up";
  EXPECT_EQ(lines, expected);
  EXPECT_CALLS("free action", "free first");
  EXPECT_EQ(everything(), before);
}

TEST_F(DeletionByStatement, ContinuesWhereTheClassMapIsInUse) {
  statement(abc, 10, "first");
  rule(event_in(pmap("gold"), 1), hidden_cmap(10));
  EXPECT_EQ(zar_pmtr_delete_filter_by_stmt(take_out()), 0U);
  EXPECT_ERRORS(error("(ERR): internal class-map for map index %dcannot be removed", 10));
}

TEST_F(DeletionByStatement, NeedsAStatement) {
  EXPECT_REFUSED(39U, zar_pmtr_delete_filter_by_stmt(nullptr));
  EXPECT_ERRORS(error("(ERR): Cannot delete null pmtr-map statement."));
}

// ---- Walking the indexes

struct Indexes : Statements {};

TEST_F(Indexes, AreWalkedInTheirOrder) {
  for (const uint32_t index : {5U, 1U, 0xffffffffU, 3U})
    statement(abc, index);
  std::vector<uint32_t> walked;
  EXPECT_REFUSED(0U, zar_get_first_pmtr_map_index(one, abc, &place));
  EXPECT_TRACED(own_database("get_first_pmtr_map_index"));
  for (uint32_t status = 0; status == 0; status = zar_get_next_pmtr_map_index(one, abc, place, &place))
    walked.push_back(place);
  EXPECT_EQ(walked, (std::vector<uint32_t>{1, 3, 5, 0xffffffff}));
  EXPECT_EQ(place, 0U);
}

TEST_F(Indexes, EndWith40) {
  statement(abc, 5);
  EXPECT_REFUSED(40U, zar_get_next_pmtr_map_index(two, abc, 5, &place));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(info("(info): %s: using default database", "get_next_pmtr_map_index"),
                error("(ERR): Error: No next map statements for this pmtr_map"));
}

TEST_F(Indexes, ThatDoNotExistHaveNoNext) {
  statement(abc, 5);
  statement(abc, 7);
  for (const uint32_t index : {0U, 4U, 6U, 8U, 261U}) {
    place = kUntouched;
    EXPECT_REFUSED(40U, zar_get_next_pmtr_map_index(one, abc, index, &place));
    EXPECT_EQ(place, 0U);
    EXPECT_ERRORS(error("(ERR): Error: No next map statements for this pmtr_map"));
  }
}

TEST_F(Indexes, OfAnEmptyMapAreNone) {
  EXPECT_REFUSED(40U, zar_get_first_pmtr_map_index(one, abc, &place));
  EXPECT_EQ(place, 0U);
  EXPECT_TRACED(own_database("get_first_pmtr_map_index"), error("(ERR): Error: No map statements for this pmtr_map"));
  place = kUntouched;
  EXPECT_REFUSED(40U, zar_get_next_pmtr_map_index(one, abc, 0, &place));
  EXPECT_EQ(place, 0U);
}

TEST_F(Indexes, NeedAClientAMapAndADatabase) {
  statement(abc, 5);
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_get_first_pmtr_map_index(clid, 0xfffffff0, &place));
    EXPECT_TRACED(wrong_clid("get_first_pmtr_map_index", clid));
    EXPECT_REFUSED(39U, zar_get_next_pmtr_map_index(clid, 0xfffffff0, 5, nullptr));
    EXPECT_TRACED(wrong_clid("get_next_pmtr_map_index", clid));
  }
  zar_clients_info[0]->status = 0;
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::pmtr_map)) {
    SCOPED_TRACE(wrong.what);
    forget_trace();
    EXPECT_REFUSED(39U, zar_get_first_pmtr_map_index(one, wrong.handle, &place));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map("get_first_pmtr_map_index"));
    EXPECT_REFUSED(39U, zar_get_next_pmtr_map_index(one, wrong.handle, 5, nullptr));
    EXPECT_TRACED(wrong.look_up, no_pmtr_map("get_next_pmtr_map_index"));
  }
  EXPECT_REFUSED(37U, zar_get_first_pmtr_map_index(one, abc, &place));
  EXPECT_TRACED(inactive_client("get_first_pmtr_map_index", 1));
  EXPECT_REFUSED(37U, zar_get_next_pmtr_map_index(one, abc, 5, &place));
  EXPECT_TRACED(inactive_client("get_next_pmtr_map_index", 1));
  EXPECT_EQ(place, kUntouched);
}

TEST_F(Indexes, NeedAnOutPlace) {
  statement(abc, 5);
  EXPECT_REFUSED(39U, zar_get_first_pmtr_map_index(one, abc, nullptr));
  EXPECT_ONE_ERROR();
  EXPECT_REFUSED(39U, zar_get_next_pmtr_map_index(one, abc, 5, nullptr));
  EXPECT_TRACED();
}

// ---- The hidden class-map of a statement

struct HiddenClassMap : Statements {};

TEST_F(HiddenClassMap, IsGivenByMapAndIndex) {
  statement(abc, 5);
  statement(abc, 261);
  EXPECT_EQ(zar_get_internal_class_map(abc, 5), hidden_cmap(5));
  EXPECT_EQ(zar_get_internal_class_map(abc, 261), hidden_cmap(261));
  EXPECT_TRACED();
}

TEST_F(HiddenClassMap, IsNoneForAnIndexThatDoesNotExist) {
  EXPECT_REFUSED(0U, zar_get_internal_class_map(abc, 0));
  statement(abc, 5);
  EXPECT_REFUSED(0U, zar_get_internal_class_map(abc, 6));
  EXPECT_TRACED();
}

}  // namespace
