// Filters in class-maps: their position in the list, finding them by content, and removing them.
#include "composition.h"
#include "support/lines.h"

using namespace rig;

namespace {

constexpr uint32_t kFilterTag = 0x3e00041;

uint32_t evaluate_otherwise(void *, void *) {
  return 0;
}
void free_otherwise(void *, void *) {}
uint32_t answer_the_highest_bit(void *, void *) {
  return 0x80000000;
}

struct Filters : Composition {
  const uint32_t voice = stored_cmap("voice");

  // An operation that takes a class-map and a filter.
  struct Operation {
    const char *name;
    std::function<uint32_t(uint32_t cmap, uint32_t filter)> call;
  };
  static std::vector<Operation> operations(uint32_t reference) {
    return {
        {"add_filter_to_class", zar_add_filter_to_class},
        {"add_filter_to_class_before_filter",
         [=](uint32_t cmap, uint32_t filter) {
           return zar_add_filter_to_class_before_filter(cmap, filter, reference);
         }},
        {"add_filter_to_class_after_filter",
         [=](uint32_t cmap, uint32_t filter) { return zar_add_filter_to_class_after_filter(cmap, filter, reference); }},
        {"remove_filter_from_class", zar_remove_filter_from_class}};
  }

  uint32_t filter_of(const zar_filter_context &context, uint32_t no_match = 0) {
    const Quiet quiet;
    uint32_t handle = 0;
    EXPECT_EQ(zar_create_filter(&context, &handle, no_match), 0U);
    return note(Kind::filter, handle);
  }

  static Line lacks(const char *name, const char *function) {
    return error("(ERR): %s: Error: %s from input filter context cannot be NULL", name, function);
  }
};

// ---- Appending

TEST_F(Filters, AreAppendedInTheCallersOrder) {
  const Handles three{filter("b"), filter("a", 1), filter("c")};
  watch_requests();
  for (const uint32_t each : three) {
    EXPECT_EQ(zar_add_filter_to_class(voice, each), 0U);
    EXPECT_TRACED(info("(info): %s: filter:0x%x added to class:0x%x", "add_filter_to_class", each, voice));
  }
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(filters_of(voice), three);
}

TEST_F(Filters, AreOnlyLinkedByBeingAdded) {
  const uint32_t port = filter("port", 7);
  const zar_filter before = *at<zar_filter>(port);
  zar_add_filter_to_class(voice, port);
  const zar_filter after = *at<zar_filter>(port);
  EXPECT_EQ(after.handle, before.handle);
  EXPECT_EQ(after.filter_data, before.filter_data);
  EXPECT_EQ(after.no_match, 7);
  EXPECT_EQ(at<zar_cmap>(voice)->filter_type_mask, 0U);
}

TEST_F(Filters, AddedTwiceAreInTheListTwice) {
  const uint32_t port = filter_in(voice, "port");
  const uint32_t host = filter_in(voice, "host");
  EXPECT_EQ(zar_add_filter_to_class(voice, port), 0U);
  EXPECT_TRACED(info("(info): %s: filter:0x%x added to class:0x%x", "add_filter_to_class", port, voice));
  EXPECT_EQ(filters_of(voice), (Handles{port, host, port}));
}

TEST_F(Filters, MayBeInTwoClassMaps) {
  const uint32_t video = cmap("video");
  const uint32_t port = filter_in(voice, "port");
  EXPECT_EQ(zar_add_filter_to_class(video, port), 0U);
  EXPECT_EQ(filters_of(voice), Handles{port});
  EXPECT_EQ(filters_of(video), Handles{port});
}

TEST_F(Filters, OfTheCallersOwnMakingAreAccepted) {
  zar_filter own{};
  own.filter_eval_fn = evaluate_otherwise;
  own.filter_free_fn = free_otherwise;
  own.filter_str_fn = filter_text;
  own.filter_compare_fn = compare_data;
  own.handle = zar_handle_alloc(&own);
  zar_cmap own_class{};
  queue_init(&own_class.filters, 0);
  own_class.handle = zar_handle_alloc(&own_class);
  EXPECT_EQ(zar_add_filter_to_class(own_class.handle, own.handle), 0U);
  EXPECT_EQ(filters_of(own_class.handle), Handles{own.handle});
  EXPECT_EQ(zar_remove_filter_from_class(own_class.handle, own.handle), 0U);
  EXPECT_EQ(filters_of(own_class.handle), Handles{});
}

// ---- What every operation on a list refuses

TEST_F(Filters, NeedAClassMap) {
  const uint32_t listed = filter_in(voice, "listed");
  const uint32_t port = filter("port");
  for (const Operation &operation : operations(listed)) {
    SCOPED_TRACE(operation.name);
    expect_each_refused(39, Kind::cmap, {no_cmap(operation.name)},
                        [&](uint32_t handle) { return operation.call(handle, port); });
  }
}

TEST_F(Filters, NeedAFilter) {
  const uint32_t listed = filter_in(voice, "listed");
  for (const Operation &operation : operations(listed)) {
    SCOPED_TRACE(operation.name);
    expect_each_refused(39, Kind::filter, {no_filter(operation.name)},
                        [&](uint32_t handle) { return operation.call(voice, handle); });
  }
}

TEST_F(Filters, TraceBothBadHandlesTheClassMapFirst) {
  const uint32_t listed = filter_in(voice, "listed");
  for (const Operation &operation : operations(listed)) {
    SCOPED_TRACE(operation.name);
    EXPECT_REFUSED(39, operation.call(listed, 0));
    EXPECT_TRACED(another_kind(listed), no_cmap(operation.name), invalid_handle(), no_filter(operation.name));
  }
}

TEST_F(Filters, WithoutAFunctionAreRefusedWithALineForEachThatIsMissing) {
  breaks_invariants("its functions are taken from a record");
  const uint32_t listed = filter_in(voice, "listed");
  const uint32_t port = filter_in(voice, "port");
  zar_filter *record = at<zar_filter>(port);
  const zar_filter whole = *record;
  for (const Operation &operation : operations(listed)) {
    for (unsigned missing = 1; missing < 16; ++missing) {
      SCOPED_TRACE(text("%s without 0x%x", operation.name, missing));
      Lines complaints;
      if (missing & 1) complaints.push_back(lacks(operation.name, "filter_eval_fn"));
      if (missing & 2) complaints.push_back(lacks(operation.name, "filter_free_fn"));
      if (missing & 4) complaints.push_back(lacks(operation.name, "filter_str_fn"));
      if (missing & 8) complaints.push_back(lacks(operation.name, "filter_compare_fn"));
      record->filter_eval_fn = missing & 1 ? nullptr : whole.filter_eval_fn;
      record->filter_free_fn = missing & 2 ? nullptr : whole.filter_free_fn;
      record->filter_str_fn = missing & 4 ? nullptr : whole.filter_str_fn;
      record->filter_compare_fn = missing & 8 ? nullptr : whole.filter_compare_fn;
      EXPECT_REFUSED(39, operation.call(voice, port));
      EXPECT_EQ(take_trace(), complaints);
      EXPECT_REFUSED(39, operation.call(port, port));
      EXPECT_TRACED(another_kind(port), no_cmap(operation.name), complaints);
    }
  }
}

// ---- Inserting before and after

TEST_F(Filters, AreWhereEverySequenceOfInsertsPutsThem) {
  const OrderedList list{
      [&](uint32_t filter) { return zar_add_filter_to_class(voice, filter); },
      [&](uint32_t filter, uint32_t next) { return zar_add_filter_to_class_before_filter(voice, filter, next); },
      [&](uint32_t filter, uint32_t last) { return zar_add_filter_to_class_after_filter(voice, filter, last); },
      [&](uint32_t filter) { return zar_remove_filter_from_class(voice, filter); }, [&] { return filters_of(voice); }};
  expect_every_sequence_of_inserts(list, {filter("a"), filter("b"), filter("c"), filter("d")});
}

TEST_F(Filters, InsertedBeforeTheHeadBecomeTheHead) {
  const uint32_t head = filter_in(voice, "head");
  const uint32_t tail = filter_in(voice, "tail");
  const uint32_t port = filter("port");
  watch_requests();
  EXPECT_EQ(zar_add_filter_to_class_before_filter(voice, port, head), 0U);
  EXPECT_TRACED(info("(info): %s: adding filter:0x%x to class:0x%x before filter:0x%xas first entry",
                     "add_filter_to_class_before_filter", port, voice, head),
                info("(info): %s: filter:0x%x added to class:0x%x", "add_filter_to_class_before_filter", port, voice));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(filters_of(voice), (Handles{port, head, tail}));
}

TEST_F(Filters, InsertedBeforeAnotherComeRightBeforeIt) {
  const uint32_t head = filter_in(voice, "head");
  const uint32_t tail = filter_in(voice, "tail");
  const uint32_t port = filter("port");
  watch_requests();
  EXPECT_EQ(zar_add_filter_to_class_before_filter(voice, port, tail), 0U);
  EXPECT_TRACED(info("(info): %s: filter:0x%x added to class:0x%x", "add_filter_to_class_before_filter", port, voice));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(filters_of(voice), (Handles{head, port, tail}));
}

TEST_F(Filters, InsertedAfterTheLastBecomeTheTail) {
  const uint32_t head = filter_in(voice, "head");
  const uint32_t tail = filter_in(voice, "tail");
  const uint32_t port = filter("port");
  watch_requests();
  EXPECT_EQ(zar_add_filter_to_class_after_filter(voice, port, tail), 0U);
  EXPECT_TRACED(info("(info): %s: filter:0x%x added to class:0x%x after filter:0x%x",
                     "add_filter_to_class_after_filter", port, voice, tail));
  EXPECT_REQUESTS();
  EXPECT_CALLS();
  EXPECT_EQ(filters_of(voice), (Handles{head, tail, port}));
  const uint32_t host = filter_in(voice, "host");
  EXPECT_EQ(filters_of(voice), (Handles{head, tail, port, host})) << "the end of the list was lost";
}

TEST_F(Filters, AreNotInsertedWhereTheReferenceIsMissing) {
  const uint32_t video = cmap("video");
  const uint32_t elsewhere = filter_in(video, "elsewhere");
  const uint32_t nowhere = filter("nowhere");
  const uint32_t port = filter("port");
  const auto expect_refused = [&] {
    // The reference is only compared, not looked up, so a bad handle is traced only here.
    for (const uint32_t reference : {elsewhere, nowhere, port, voice, uint32_t{0}, uint32_t{0xfffffff0}}) {
      SCOPED_TRACE(reference);
      EXPECT_REFUSED(39, zar_add_filter_to_class_before_filter(voice, port, reference));
      EXPECT_TRACED(error("(ERR): %s: Error: Could not find filter hdl:0x%x in class-map to insert before",
                          "add_filter_to_class_before_filter", reference));
      EXPECT_REFUSED(39, zar_add_filter_to_class_after_filter(voice, port, reference));
      EXPECT_TRACED(error("(ERR): %s: Error: Could not find filter hdl:0x%x in class-map to insert after",
                          "add_filter_to_class_after_filter", reference));
    }
  };
  expect_refused();
  filter_in(voice, "listed");
  filter_in(voice, "listed too");
  expect_refused();
}

TEST_F(Filters, AreInsertedAtAListedReferenceWhoseHandleWasReleased) {
  const uint32_t head = filter_in(voice, "head");
  const uint32_t tail = filter_in(voice, "tail");
  const uint32_t before = filter("before");
  const uint32_t after = filter("after");
  zar_handle_release(tail);
  EXPECT_EQ(zar_add_filter_to_class_before_filter(voice, before, tail), 0U);
  EXPECT_EQ(zar_add_filter_to_class_after_filter(voice, after, tail), 0U);
  EXPECT_ERRORS();
  EXPECT_EQ(filters_of(voice), (Handles{head, before, tail, after}));
}

TEST_F(Filters, AreInsertedAtTheFirstOccurrenceOfAReferenceThatIsThereTwice) {
  const uint32_t twice = filter_in(voice, "twice");
  const uint32_t once = filter_in(voice, "once");
  add_filter(voice, twice);
  const uint32_t before = filter("before");
  const uint32_t after = filter("after");
  EXPECT_EQ(zar_add_filter_to_class_before_filter(voice, before, twice), 0U);
  EXPECT_EQ(zar_add_filter_to_class_after_filter(voice, after, twice), 0U);
  EXPECT_EQ(filters_of(voice), (Handles{before, twice, after, once, twice}));
}

TEST_F(Filters, InsertedAfterOneThatIsThereTwiceComeAfterItsFirstOccurrence) {
  const uint32_t twice = filter_in(voice, "twice");
  const uint32_t once = filter_in(voice, "once");
  add_filter(voice, twice);
  const uint32_t last = filter_in(voice, "last");
  const uint32_t port = filter("port");
  EXPECT_EQ(zar_add_filter_to_class_before_filter(voice, port, last), 0U);
  EXPECT_EQ(filters_of(voice), (Handles{twice, port, once, twice, last}));
}

// ---- Finding by content

struct RetrieveFilter : Filters {
  uint32_t out = 77;

  static Line retrieved(uint32_t filter, uint32_t cmap) {
    return info("(info): %s: retrieved matching filter:0x%x in class:0x%x", "retrieve_filter", filter, cmap);
  }
};

TEST_F(RetrieveFilter, ReturnsTheFirstWithThisContent) {
  filter_in(voice, "host");
  const zar_filter_context http = filter_context("http", "80");
  const uint32_t first = filter_of(http);
  add_filter(voice, first);
  add_filter(voice, filter_of(filter_context("web", "80")));
  const zar_filter_context sought = filter_context("sought", "80");
  watch_requests();
  EXPECT_EQ(zar_retrieve_filter(voice, &sought, 0, &out), 0U);
  EXPECT_EQ(out, first);
  EXPECT_CALLS("compare host sought", "compare http sought");
  EXPECT_TRACED(retrieved(first, voice));
  EXPECT_REQUESTS();
}

TEST_F(RetrieveFilter, ReturnsHandle0WhenNoneMatches) {
  filter_in(voice, "host");
  const zar_filter_context sought = filter_context("sought");
  EXPECT_REFUSED(0, zar_retrieve_filter(voice, &sought, 0, &out));
  EXPECT_EQ(out, 0U);
  EXPECT_CALLS("compare host sought");
  EXPECT_TRACED(retrieved(0, voice));
}

TEST_F(RetrieveFilter, ReturnsHandle0OfAnEmptyList) {
  const zar_filter_context sought = filter_context("sought");
  EXPECT_EQ(zar_retrieve_filter(voice, &sought, 0, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_TRACED(retrieved(0, voice));
}

TEST_F(RetrieveFilter, ComparesBeforeItChecksTheFlag) {
  filter_in(voice, "port", 1);
  const zar_filter_context sought = filter_context("sought", "port");
  EXPECT_EQ(zar_retrieve_filter(voice, &sought, 0, &out), 0U);
  EXPECT_EQ(out, 0U);
  EXPECT_CALLS("compare port sought");
  EXPECT_TRACED(retrieved(0, voice));
}

TEST_F(RetrieveFilter, ComparesFlagsAsTheLow8Bits) {
  const uint32_t match = filter_in(voice, "port", 0);
  const uint32_t no_match = filter_in(voice, "port", 1);
  const uint32_t no_match_too = filter_in(voice, "port", 2);
  const std::map<uint32_t, uint32_t> expected{{0, match},     {1, no_match},     {2, no_match_too},     {3, 0},
                                              {0x100, match}, {0x101, no_match}, {0xff02, no_match_too}};
  const zar_filter_context sought = filter_context("sought", "port");
  for (const auto &[flag, handle] : expected) {
    EXPECT_EQ(zar_retrieve_filter(voice, &sought, flag, &out), 0U);
    EXPECT_EQ(out, handle) << "flag " << flag;
  }
}

TEST_F(RetrieveFilter, SkipsOtherFunctionsWithoutComparing) {
  zar_filter_context otherwise = filter_context("port");
  otherwise.filter_free_fn = free_otherwise;
  add_filter(voice, filter_of(otherwise));
  otherwise = filter_context("port");
  otherwise.filter_eval_fn = evaluate_otherwise;
  add_filter(voice, filter_of(otherwise));
  const uint32_t port = filter_in(voice, "port");
  const zar_filter_context sought = filter_context("sought", "port");
  EXPECT_EQ(zar_retrieve_filter(voice, &sought, 0, &out), 0U);
  EXPECT_EQ(out, port);
  EXPECT_CALLS("compare port sought");
}

TEST_F(RetrieveFilter, CallsTheListedFiltersCompareFunction) {
  zar_filter_context equal_to_all = filter_context("port");
  equal_to_all.filter_compare_fn = answer_the_highest_bit;
  const uint32_t port = filter_of(equal_to_all);
  add_filter(voice, port);
  zar_filter_context sought = filter_context("sought");
  sought.filter_compare_fn = nullptr;
  sought.filter_str_fn = nullptr;
  EXPECT_EQ(zar_retrieve_filter(voice, &sought, 0, &out), 0U);
  EXPECT_EQ(out, port) << "any answer but 0 is equal";
  EXPECT_CALLS();
}

TEST_F(RetrieveFilter, LetsTheCompareFunctionLookUp) {
  const uint32_t stored = stored_cmap("stored");
  const uint32_t host = filter_in(voice, "host");
  const uint32_t port = filter_in(voice, "port");
  const zar_filter_context inner = filter_context("inner", "host");
  const zar_filter_context outer = filter_context("outer", "port");
  uint32_t inner_out = 77;
  uint32_t cmap_out = 77;
  data_of_filter(host).on_call = [&, entered = false]() mutable {
    if (std::exchange(entered, true)) return;
    EXPECT_EQ(zar_retrieve_filter(voice, &inner, 0, &inner_out), 0U);
    const zar_map_info info = map_info("stored");
    EXPECT_EQ(zar_retrieve_class(one, &info, &cmap_out), 0U);
  };
  EXPECT_REFUSED(0, zar_retrieve_filter(voice, &outer, 0, &out));
  EXPECT_EQ(out, port);
  EXPECT_EQ(inner_out, host);
  EXPECT_EQ(cmap_out, stored);
  EXPECT_CALLS("compare host outer", "compare host inner", "compare port outer");
}

TEST_F(RetrieveFilter, NeedsAnOutPlaceForTheHandle) {
  filter_in(voice, "port");
  const zar_filter_context sought = filter_context("sought", "port");
  EXPECT_REFUSED(39, zar_retrieve_filter(voice, &sought, 0, nullptr));
  EXPECT_TRACED(error("(ERR): %s: Error: input filter handle cannot be NULL", "retrieve_filter"));
  EXPECT_CALLS();
}

TEST_F(RetrieveFilter, NeedsAContextWithItsFreeAndFilterFunctions) {
  filter_in(voice, "port");
  EXPECT_REFUSED(39, zar_retrieve_filter(voice, nullptr, 0, &out));
  EXPECT_TRACED(no_filter("retrieve_filter"));
  zar_filter_context sought = filter_context("sought", "port");
  sought.filter_free_fn = nullptr;
  EXPECT_REFUSED(39, zar_retrieve_filter(voice, &sought, 0, &out));
  EXPECT_TRACED(lacks("retrieve_filter", "filter_free_fn"));
  sought.filter_eval_fn = nullptr;
  EXPECT_REFUSED(39, zar_retrieve_filter(voice, &sought, 0, &out));
  EXPECT_TRACED(lacks("retrieve_filter", "filter_free_fn"), lacks("retrieve_filter", "filter_fn"));
  sought.filter_free_fn = free_data;
  EXPECT_REFUSED(39, zar_retrieve_filter(voice, &sought, 0, &out));
  EXPECT_TRACED(lacks("retrieve_filter", "filter_fn"));
  EXPECT_EQ(out, 77U);
  EXPECT_CALLS();
}

TEST_F(RetrieveFilter, TracesEveryFaultBeforeItRefuses) {
  EXPECT_REFUSED(39, zar_retrieve_filter(0, nullptr, 0, nullptr));
  EXPECT_TRACED(error("(ERR): %s: Error: input filter handle cannot be NULL", "retrieve_filter"),
                no_filter("retrieve_filter"), invalid_handle(), no_cmap("retrieve_filter"));
}

// ---- Matching

struct MatchFilter : Filters {
  const uint32_t port = filter("port", 1);
  const zar_filter *record = at<zar_filter>(port);
};

TEST_F(MatchFilter, DependsOnTheFunctionsAndTheData) {
  zar_filter_context sought = filter_context("sought", "port");
  EXPECT_EQ(zar_match_filter_parameters(record, &sought), 1U) << "the no-match flag plays no part";
  EXPECT_CALLS("compare port sought");
  sought = filter_context("sought", "host");
  EXPECT_EQ(zar_match_filter_parameters(record, &sought), 0U);
  EXPECT_CALLS("compare port sought");
  EXPECT_TRACED();
}

TEST_F(MatchFilter, ComparesNothingWhereAFunctionDiffers) {
  zar_filter_context sought = filter_context("sought", "port");
  sought.filter_free_fn = free_otherwise;
  EXPECT_EQ(zar_match_filter_parameters(record, &sought), 0U);
  sought = filter_context("sought", "port");
  sought.filter_eval_fn = evaluate_otherwise;
  EXPECT_EQ(zar_match_filter_parameters(record, &sought), 0U);
  EXPECT_CALLS();
}

TEST_F(MatchFilter, CallsTheRecordsCompareFunctionAndReturns1ForAnythingButZero) {
  zar_filter_context equal_to_all = filter_context("all");
  equal_to_all.filter_compare_fn = answer_the_highest_bit;
  const zar_filter *all = at<zar_filter>(filter_of(equal_to_all));
  zar_filter_context sought = filter_context("sought");
  sought.filter_compare_fn = nullptr;
  EXPECT_EQ(zar_match_filter_parameters(all, &sought), 1U);
}

TEST_F(MatchFilter, IsNoMatchForARecordThatCannotCompare) {
  breaks_invariants("its functions are taken from a record");
  add_filter(voice, port);
  at<zar_filter>(port)->filter_compare_fn = nullptr;
  const zar_filter_context sought = filter_context("sought", "port");
  EXPECT_EQ(zar_match_filter_parameters(record, &sought), 0U);
  uint32_t out = 77;
  EXPECT_EQ(zar_retrieve_filter(voice, &sought, 1, &out), 0U);
  EXPECT_EQ(out, 0U);
}

TEST_F(MatchFilter, IsNoMatchWithoutARecordOrAContext) {
  const zar_filter_context sought = filter_context("sought", "port");
  EXPECT_EQ(zar_match_filter_parameters(nullptr, &sought), 0U);
  EXPECT_EQ(zar_match_filter_parameters(record, nullptr), 0U);
  EXPECT_EQ(zar_match_filter_parameters(nullptr, nullptr), 0U);
  EXPECT_TRACED();
  EXPECT_CALLS();
}

// ---- Taking out

TEST_F(Filters, RemovedStillExist) {
  const uint32_t port = filter_in(voice, "port");
  EXPECT_EQ(zar_remove_filter_from_class(voice, port), 0U);
  EXPECT_TRACED();
  EXPECT_CALLS();
  EXPECT_EQ(filters_of(voice), Handles{});
  EXPECT_TRUE(live(port));
  EXPECT_EQ(records_taken(kFilterTag), 1U);
  EXPECT_EQ(zar_add_filter_to_class(voice, port), 0U) << "it can go into a list again";
}

TEST_F(Filters, ThatAreNotInTheListAreRemovedWithoutEffect) {
  filter_in(voice, "listed");
  const uint32_t elsewhere = filter_in(cmap("video"), "elsewhere");
  const uint32_t nowhere = filter("nowhere");
  EXPECT_REFUSED(0, zar_remove_filter_from_class(voice, elsewhere));
  EXPECT_REFUSED(0, zar_remove_filter_from_class(voice, nowhere));
  EXPECT_TRACED();
}

TEST_F(Filters, ThatAreThereTwiceLoseTheirFirstOccurrence) {
  const uint32_t twice = filter_in(voice, "twice");
  const uint32_t once = filter_in(voice, "once");
  add_filter(voice, twice);
  EXPECT_EQ(zar_remove_filter_from_class(voice, twice), 0U);
  EXPECT_EQ(filters_of(voice), (Handles{once, twice}));
}

// ---- Faults

TEST(FiltersUnderFaults, LeaveNothingBehindOnceRemovedAndDeleted) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t voice = world.cmap("voice");
    const auto before = world.everything();
    const zar_filter_context port = world.filter_context("port");
    const zar_filter_context host = world.filter_context("host");
    uint32_t last = 0;
    uint32_t first = 0;
    clock.during([&] {
      const uint32_t last_status = zar_create_filter(&port, &last, 0);
      const uint32_t first_status = zar_create_filter(&host, &first, 1);
      EXPECT_EQ(zar_add_filter_to_class(voice, last), last_status == 0 ? 0U : 39U);
      EXPECT_EQ(zar_add_filter_to_class_before_filter(voice, first, last),
                last_status == 0 && first_status == 0 ? 0U : 39U);
    });
    Handles expected;
    if (first != 0 && last != 0) expected.push_back(first);
    if (last != 0) expected.push_back(last);
    EXPECT_EQ(World::filters_of(voice), expected);
    for (const uint32_t each : expected)
      EXPECT_EQ(zar_remove_filter_from_class(voice, each), 0U);
    for (const uint32_t each : {first, last})
      EXPECT_EQ(zar_delete_filter(each), each == 0 ? 39U : 0U);
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
