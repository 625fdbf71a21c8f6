// The evaluation of a statement: one slot for each of the filter types 0 to 4, all configured ones to be matched.
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kTypes = 5;

struct CompareTable : Repository {
  const uint32_t abc = pmtr_map("abc");
  const uint32_t cmap = statement(abc, 10, "type 0")->internal_cmap;

  // Gives the statement one filter of each type whose bit is in 'mask', and no others.
  void configure(uint32_t mask) { at<zar_cmap>(cmap)->filter_type_mask = mask; }
  // Offers the subscriber's value, or another one, for the type.
  void offer(uint32_t slot, bool matching = true) {
    const Quiet quiet;
    const zar_filter_context context = filter_context(matching ? "type 0" : "something else");
    zar_add_to_internal_cmap_compare(cmap, &context, 0, slot);
  }
  void begin() { zar_init_internal_cmap_compare(cmap); }
};

TEST_F(CompareTable, IsSatisfiedWhenEveryConfiguredTypeWasMatched) {
  for (const char *name : {"type 2", "type 4"}) {
    const zar_filter_context context = filter_context(name);
    ASSERT_EQ(zar_pmtr_create_or_add_filter(abc, &context, 0, 0, 0, 10, 0, static_cast<uint8_t>(name[5] - '0')), 0U);
  }
  take_calls();
  forget_trace();

  begin();
  EXPECT_TRACED();
  EXPECT_EQ(zar_internal_cmap_compare(), 0U);
  for (const char *name : {"type 0", "type 2", "type 4"}) {
    EXPECT_EQ(zar_internal_cmap_compare(), 0U);
    const zar_filter_context context = filter_context(name);
    zar_add_to_internal_cmap_compare(cmap, &context, 0, static_cast<uint32_t>(name[5] - '0'));
  }
  EXPECT_EQ(zar_internal_cmap_compare(), 1U);
  EXPECT_EQ(zar_internal_cmap_compare(), 1U) << "the table keeps what it holds";
  EXPECT_EQ(take_calls().front(), "compare type 0 type 0");
}

// All sets of configured types with all sets of matched and of failed ones among them, against what they mean.
TEST_F(CompareTable, IsCorrectForEverySetOfTypes) {
  for (uint32_t configured = 0; configured < 1U << kTypes; ++configured) {
    configure(configured);
    for (uint32_t matched = 0; matched < 1U << kTypes; ++matched) {
      if ((matched & ~configured) != 0) continue;
      begin();
      for (uint32_t slot = 0; slot < kTypes; ++slot) {
        if ((matched >> slot & 1) != 0) offer(slot);
      }
      EXPECT_EQ(zar_internal_cmap_compare(), configured != 0 && matched == configured ? 1U : 0U)
          << "configured " << configured << ", matched " << matched;
    }
  }
}

TEST_F(CompareTable, StartsAgainForEachStatement) {
  configure(1);
  begin();
  offer(0);
  ASSERT_EQ(zar_internal_cmap_compare(), 1U);
  begin();
  EXPECT_EQ(zar_internal_cmap_compare(), 0U) << "configured, not matched yet";
  offer(0);
  configure(0);
  begin();
  EXPECT_EQ(zar_internal_cmap_compare(), 0U) << "nothing is configured";
}

TEST_F(CompareTable, KnowsFiveTypesOnly) {
  configure(0xffffffe0);
  begin();
  EXPECT_EQ(zar_internal_cmap_compare(), 0U);
  offer(0);
  EXPECT_EQ(zar_internal_cmap_compare(), 1U) << "the types above 4 have no slot to wait for";
}

TEST_F(CompareTable, IsEmptyWithoutAClassMap) {
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::cmap)) {
    SCOPED_TRACE(wrong.what);
    configure(31);
    begin();
    forget_trace();
    zar_init_internal_cmap_compare(wrong.handle);
    EXPECT_EQ(take_trace(), wrong.look_up);
    EXPECT_EQ(zar_internal_cmap_compare(), 0U);
    offer(3);
    EXPECT_EQ(zar_internal_cmap_compare(), 1U) << "no other slot is configured";
  }
}

TEST_F(CompareTable, WaitsForATypeWhoseFilterWasRemoved) {
  const uint32_t type_0 = filters_of(cmap).front();
  ASSERT_EQ(zar_remove_filter_from_class(cmap, type_0), 0U);
  begin();
  EXPECT_EQ(zar_internal_cmap_compare(), 0U);
  const zar_filter_context context = filter_context("type 2");
  ASSERT_EQ(zar_pmtr_create_or_add_filter(abc, &context, 0, 0, 0, 10, 0, 2), 0U);
  begin();
  zar_add_to_internal_cmap_compare(cmap, &context, 0, 2);
  EXPECT_EQ(zar_internal_cmap_compare(), 0U) << "slot 0 is configured for good";
}

TEST_F(CompareTable, TakesTheLastResultOfASlot) {
  configure(1);
  begin();
  offer(0);
  offer(0, false);
  EXPECT_EQ(zar_internal_cmap_compare(), 0U);
  offer(0);
  EXPECT_EQ(zar_internal_cmap_compare(), 1U);
}

TEST_F(CompareTable, WritesSlotsThatWereNotConfigured) {
  configure(1);
  begin();
  offer(0);
  offer(3, false);
  EXPECT_EQ(zar_internal_cmap_compare(), 0U);
  offer(3);
  EXPECT_EQ(zar_internal_cmap_compare(), 1U);
}

TEST_F(CompareTable, IgnoresSlotsAbove4) {
  for (const uint32_t slot : {5U, 8U, 255U, 256U, 260U, 0x10000U, 0xffffffffU}) {
    configure(0);
    begin();
    offer(slot);
    EXPECT_EQ(zar_internal_cmap_compare(), 0U) << "slot " << slot;
    configure(31);
    begin();
    for (uint32_t each = 0; each < kTypes; ++each)
      offer(each);
    offer(slot, false);
    EXPECT_EQ(zar_internal_cmap_compare(), 1U) << "slot " << slot;
  }
}

TEST_F(CompareTable, SearchesForTheFilterWithItsMatchFlag) {
  configure(1);
  begin();
  const zar_filter_context context = filter_context("other name", "type 0");
  zar_add_to_internal_cmap_compare(cmap, &context, 1, 0);
  EXPECT_EQ(zar_internal_cmap_compare(), 0U);
  zar_add_to_internal_cmap_compare(cmap, &context, 256, 0);
  EXPECT_EQ(zar_internal_cmap_compare(), 1U) << "the low 8 bits of the flag count";
  EXPECT_CALLS("compare type 0 other name", "compare type 0 other name");
}

TEST_F(CompareTable, TracesTheSearch) {
  configure(1);
  begin();
  forget_trace();
  const zar_filter_context context = filter_context("type 0");
  zar_add_to_internal_cmap_compare(cmap, &context, 0, 0);
  EXPECT_TRACED(info("(info): %s: retrieved matching filter:0x%x in class:0x%x", "retrieve_filter",
                     filters_of(cmap).front(), cmap));
}

TEST_F(CompareTable, TreatsAFailedSearchAsAFailedType) {
  const zar_filter_context good = filter_context("type 0");
  zar_filter_context unusable = good;
  unusable.filter_eval_fn = nullptr;
  const auto fails = [&](uint32_t class_map, const zar_filter_context *context) {
    configure(1);
    begin();
    offer(0);
    EXPECT_EQ(zar_internal_cmap_compare(), 1U);
    zar_add_to_internal_cmap_compare(class_map, context, 0, 0);
    return zar_internal_cmap_compare() == 0;
  };
  EXPECT_FALSE(fails(cmap, &good));
  EXPECT_TRUE(fails(cmap, nullptr));
  EXPECT_TRUE(fails(cmap, &unusable));
  NEEDS_TRACE();
  for (const WrongHandle &wrong : wrong_handles(*this, Kind::cmap)) {
    EXPECT_TRUE(fails(wrong.handle, &good)) << wrong.what;
    EXPECT_EQ(take_errors().back(),
              error("(ERR): %s: input class map handle context cannot be NULL", "retrieve_filter"));
  }
}

TEST_F(CompareTable, IsOneForAllClassMaps) {
  const uint32_t other = statement(abc, 20, "type 0")->internal_cmap;
  configure(1);
  begin();
  const zar_filter_context context = filter_context("type 0");
  zar_add_to_internal_cmap_compare(other, &context, 0, 0);
  EXPECT_EQ(zar_internal_cmap_compare(), 1U);
}

TEST_F(CompareTable, ChangesNothingInTheRepository) {
  configure(3);
  const std::string before = everything();
  begin();
  offer(0);
  offer(1, false);
  zar_internal_cmap_compare();
  EXPECT_EQ(everything(), before);
}

}  // namespace
