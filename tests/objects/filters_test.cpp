// The creation of filters, for class-maps and for statements of parameter-maps.
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;
constexpr uint32_t kPoolTag = 0x3e00041, kPmtrPoolTag = 0x3e00040;

// Both operations, which differ in the fields that they set, the tag of the pool and the line at the end.
struct Maker {
  const char *name;
  bool pmtr;
  uint32_t pool_tag;

  uint32_t operator()(const zar_filter_context *context, uint32_t *out, uint32_t no_match = 0) const {
    return pmtr ? zar_pmtr_create_filter(context, out, no_match, 0, 0, 0) : zar_create_filter(context, out, no_match);
  }
};
void PrintTo(const Maker &maker, std::ostream *out) {
  *out << maker.name;
}

struct Filters : Repository, ::testing::WithParamInterface<Maker> {
  const Maker &make = GetParam();
  zar_filter_context port = filter_context("port");
  uint32_t handle = kUntouched;

  static Line no_place() { return error("(ERR): %s: Error: input filter handle cannot be NULL", "create_filter"); }
  static Line no_context() { return error("(ERR): %s: Error: input filter context cannot be NULL", "create_filter"); }
  static Line no_free() {
    return error("(ERR): %s: Error: filter_free_fn from input filter context cannot be NULL", "create_filter");
  }
  static Line no_eval() {
    return error("(ERR): %s: Error: filter_fn from input filter context cannot be NULL", "create_filter");
  }
  static Line no_text_or_compare() {
    return error("(ERR): %s: Error: filter parse fn, filter compare hdl fn from input filter context cannot be NULL",
                 "create_filter");
  }
  static Line no_record() { return error("(ERR): create_filter: memory alloc for filter failed"); }
  Line created(const char *type) const {
    if (make.pmtr) return info("(info): create_filter: successful, filter:0x%x type:%s regex:%d", handle, type, 0);
    return info("(info): create_filter: successful, filter:0x%x type:%s", handle, type);
  }
};
INSTANTIATE_TEST_SUITE_P(Of, Filters,
                         ::testing::Values(Maker{"ClassMaps", false, kPoolTag},
                                           Maker{"Statements", true, kPmtrPoolTag}),
                         [](const auto &maker) { return std::string(maker.param.name); });

TEST_P(Filters, AreCreatedFromAContext) {
  NEEDS_FRESH_PROCESS();
  watch_requests();
  EXPECT_EQ(make(&port, &handle), 0U);
  EXPECT_TRACED(created("match"));
  EXPECT_REQUESTS(text("pool 0x%x of 80", make.pool_tag), text("record 0x%x of 80", make.pool_tag), "id 0x3e00023");
  EXPECT_EQ(pool_of(make.pool_tag), "80 bytes, 50 per chunk, flags 0x111");
  EXPECT_CALLS();

  const zar_filter &filter = *at<zar_filter>(handle);
  EXPECT_EQ(filter.handle, handle);
  EXPECT_EQ(filter.filter_data, port.filter_data);
  EXPECT_EQ(filter.filter_free_fn, port.filter_free_fn);
  EXPECT_EQ(filter.filter_eval_fn, port.filter_eval_fn);
  EXPECT_EQ(filter.filter_str_fn, port.filter_str_fn);
  EXPECT_EQ(filter.filter_compare_fn, port.filter_compare_fn);
  EXPECT_EQ(filter.no_match, 0U);
  EXPECT_EQ(filter.regex, 0U);
  EXPECT_EQ(filter.pmtr_flag_1, 0U);
  EXPECT_EQ(filter.pmtr_flag_2, 0U);
  EXPECT_EQ(filter.exec_count, 0U);
  EXPECT_EQ(filter.hit_count, 0U);
  EXPECT_EQ(filter.miss_count, 0U);
  EXPECT_EQ(filter.comp_count, 0U);
}

TEST_P(Filters, ShareThePoolThatWasMadeFirst) {
  NEEDS_FRESH_PROCESS();
  for (const bool pmtr : {false, true}) {
    if (pmtr == make.pmtr) continue;
    Maker{"", pmtr, 0}(&port, &handle);
  }
  const uint32_t first_tag = make.pmtr ? kPoolTag : kPmtrPoolTag;
  watch_requests();
  EXPECT_EQ(make(&port, &handle), 0U);
  EXPECT_REQUESTS(text("record 0x%x of 80", first_tag), "id 0x3e00023");
}

TEST_P(Filters, MatchOrDoNotMatchByTheLow8BitsOfTheFlag) {
  for (const auto &[flag, kept] : {std::pair(0U, 0U), {1U, 1U}, {255U, 255U}, {256U, 0U}, {0x1ffU, 255U}}) {
    EXPECT_EQ(make(&port, &handle, flag), 0U);
    EXPECT_EQ(at<zar_filter>(handle)->no_match, kept);
    EXPECT_TRACED(created(kept == 0 ? "match" : "no-match"));
  }
}

TEST_P(Filters, MayGoWithoutData) {
  port.filter_data = nullptr;
  EXPECT_EQ(make(&port, &handle), 0U);
  EXPECT_EQ(at<zar_filter>(handle)->filter_data, nullptr);
}

TEST_P(Filters, TraceAllFaultsOfTheirArguments) {
  // Which of place, free, evaluation, text and compare function are missing.
  for (unsigned missing = 1; missing < 32; ++missing) {
    SCOPED_TRACE(missing);
    zar_filter_context context = port;
    Lines lines;
    if (missing & 1) lines.push_back(no_place());
    if (missing & 2) context.filter_free_fn = nullptr;
    if (missing & 4) context.filter_eval_fn = nullptr;
    if (missing & 8) context.filter_str_fn = nullptr;
    if (missing & 16) context.filter_compare_fn = nullptr;
    if (missing & 2) lines.push_back(no_free());
    if (missing & 4) lines.push_back(no_eval());
    if (!(missing & 7)) lines.push_back(no_text_or_compare());

    watch_requests();
    EXPECT_REFUSED(39U, make(&context, missing & 1 ? nullptr : &handle));
    EXPECT_EQ(take_trace(), lines);
    EXPECT_REQUESTS();
  }
  EXPECT_EQ(handle, kUntouched);
}

TEST_P(Filters, NeedAContext) {
  EXPECT_REFUSED(39U, make(nullptr, &handle));
  EXPECT_TRACED(no_context());
  EXPECT_REFUSED(39U, make(nullptr, nullptr));
  EXPECT_TRACED(no_place(), no_context());
}

TEST_P(Filters, NeedTheirPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  watch_requests();
  EXPECT_REFUSED(38U, make(&port, &handle));
  EXPECT_REQUESTS(text("pool 0x%x of 80 failed", make.pool_tag));
  EXPECT_TRACED(no_record());
  EXPECT_EQ(handle, kUntouched);
  EXPECT_EQ(make(&port, &handle), 0U) << "the pool is tried again";
}

TEST_P(Filters, NeedARecord) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, make(&port, &handle));
  EXPECT_TRACED(no_record());
  EXPECT_EQ(handle, kUntouched);
}

TEST_P(Filters, NeedAHandle) {
  runtime::fail_request(runtime::Service::id, 1);
  EXPECT_REFUSED(37U, make(&port, &handle));
  EXPECT_TRACED(error("(ERR): create_filter: Could not create id for filter"));
  EXPECT_EQ(handle, kUntouched);
  EXPECT_CALLS();
}

TEST_P(Filters, BeginWithACleanRecord) {
  const uint32_t first = filter("first");
  zar_filter *record = at<zar_filter>(first);
  record->exec_count = record->hit_count = record->miss_count = record->comp_count = 77;
  record->regex = record->pmtr_flag_1 = record->pmtr_flag_2 = 7;
  ASSERT_EQ(zar_delete_filter(first), 0U);
  ASSERT_EQ(make(&port, &handle), 0U);
  const zar_filter &next = *at<zar_filter>(handle);
  EXPECT_EQ(next.exec_count + next.hit_count + next.miss_count + next.comp_count, 0U);
  EXPECT_EQ(next.regex + next.pmtr_flag_1 + next.pmtr_flag_2, 0);
}

struct StatementFilters : Repository {};

TEST_F(StatementFilters, KeepTheLow8BitsOfTheirFourValues) {
  const zar_filter_context port = filter_context("port");
  uint32_t handle = 0;
  EXPECT_EQ(zar_pmtr_create_filter(&port, &handle, 0x101, 0x102, 0x103, 0x104), 0U);
  const zar_filter &filter = *at<zar_filter>(handle);
  EXPECT_EQ(filter.no_match, 1U);
  EXPECT_EQ(filter.regex, 2U);
  EXPECT_EQ(filter.pmtr_flag_1, 3U);
  EXPECT_EQ(filter.pmtr_flag_2, 4U);
  EXPECT_TRACED(info("(info): create_filter: successful, filter:0x%x type:%s regex:%d", handle, "no-match", 2));
}

TEST_F(StatementFilters, TraceTheRegexFlagAsItIsStored) {
  const zar_filter_context port = filter_context("port");
  uint32_t handle = 0;
  EXPECT_EQ(zar_pmtr_create_filter(&port, &handle, 0, 256, 0, 0), 0U);
  EXPECT_TRACED(info("(info): create_filter: successful, filter:0x%x type:%s regex:%d", handle, "match", 0));
}

TEST(FilterWords, AreExported) {
  EXPECT_STREQ(zar_match, "match");
  EXPECT_STREQ(zar_no_match, "no-match");
}

TEST_P(Filters, UnderFaultsAreCreatedOrNot) {
  for_each_fault([this](FaultClock &clock) {
    World world;
    const zar_filter_context context = world.filter_context("port");
    const std::string before = world.everything();
    uint32_t out = kUntouched;
    const uint32_t status = clock.during([&] { return make(&context, &out); });
    EXPECT_EQ(status, !clock.hit() ? 0U : clock.failed_in(runtime::Service::id) ? 37U : 38U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(out, kUntouched);
    EXPECT_EQ(make(&context, &out), 0U);
  });
}

}  // namespace
