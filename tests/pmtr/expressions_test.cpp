// Filter expressions of statements, found by the keyword that they begin with.
#include <algorithm>
#include <utility>

#include "support/platform_log.h"
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kCopyTag = 0x3e00026;
constexpr const char *kName = "get_pmtr_filter_expr_by_type";

struct Expressions : Repository {
  const uint32_t abc = pmtr_map("abc");
  char out[1024] = "untouched";

  // A statement with these expressions, in this order.
  uint32_t statement_of_texts(uint32_t index, const std::vector<std::string> &expressions) {
    for (const std::string &each : expressions)
      statement(abc, index, each);
    return statement_of(abc, index)->internal_cmap;
  }
  uint32_t find(const char *keyword, uint32_t index = 10) {
    return kel_pmtr_map_get_filter_expr_by_type(abc, index, keyword, out);
  }
  static std::vector<std::string> asked(const std::vector<std::string> &expressions) {
    std::vector<std::string> calls;
    for (const std::string &each : expressions)
      calls.push_back("text " + each);
    return calls;
  }
};

TEST_F(Expressions, AreFoundByTheKeywordThatTheyBeginWith) {
  statement_of_texts(10, {"vendor cisco", "device phone", "device tablet", "vendor none"});
  EXPECT_REFUSED(0U, find("device"));
  EXPECT_STREQ(out, "device phone");
  EXPECT_TRACED(info("(info): matched: %s. returning: %s and %s", "device", "device phone", "device phone"));
  EXPECT_CALLS("text vendor cisco", "text device phone");
}

TEST_F(Expressions, AreCopiedOnceEach) {
  statement_of_texts(10, {"vendor", "device phone"});
  watch_requests();
  find("device");
  EXPECT_REQUESTS("duplicate 0x7e570001 \"vendor\"", "block 0x3e00026 of 16", "duplicate 0x7e570001 \"device phone\"",
                  "block 0x3e00026 of 22");
  EXPECT_EQ(blocks_out(kCopyTag) + blocks_out(kClientTextTag), 0U) << "the copy of a match is freed, too";
}

TEST_F(Expressions, AreGivenWithoutMatchPrefix) {
  const zar_filter_context context = filter_context("device phone");
  ASSERT_EQ(zar_pmtr_create_or_add_filter(abc, &context, 1, 0, 0, 10, 0, 0), 0U);
  EXPECT_EQ(find("device"), 0U);
  EXPECT_STREQ(out, "device phone");
  EXPECT_EQ(find("no-match"), 40U);
}

TEST_F(Expressions, AreWrittenWithTheirTerminatorAndNothingElse) {
  statement_of_texts(10, {"device"});
  std::fill(std::begin(out), std::end(out), '#');
  EXPECT_EQ(find("dev"), 0U);
  EXPECT_EQ(std::string(out, 8), std::string("device\0#", 8));
}

// The size of the caller's buffer is unknown, so no more of it is written than the text needs.
TEST_F(Expressions, NeedNoMoreRoomThanTheirLength) {
  statement_of_texts(10, {"device phone"});
  watch_platform();
  find("device");
  EXPECT_EQ(take_platform_calls({"copy"}), PlatformCalls{"copy 13 of 13 \"device phone\""});
}

TEST_F(Expressions, MustBeLongerThanTheKeyword) {
  statement_of_texts(10, {"device"});
  for (const char *keyword : {"device", "device ", "devices", "evice", "Device", "d evice"}) {
    EXPECT_REFUSED(40U, find(keyword));
    EXPECT_STREQ(out, "untouched");
    EXPECT_CALLS("text device");
    EXPECT_TRACED();
  }
  EXPECT_EQ(find("devic"), 0U);
}

TEST_F(Expressions, OfOneCharacterOrMoreMatchTheEmptyKeyword) {
  statement_of_texts(10, {"", "x"});
  EXPECT_REFUSED(0U, find(""));
  EXPECT_STREQ(out, "x");
  EXPECT_TRACED(info("(info): matched: %s. returning: %s and %s", "", "x", "x"));
}

TEST_F(Expressions, MatchNothingWithoutAKeyword) {
  statement_of_texts(10, {"a", "b"});
  EXPECT_REFUSED(40U, find(nullptr));
  EXPECT_STREQ(out, "untouched");
  EXPECT_CALLS("text a", "text b");
  EXPECT_TRACED();
}

// Every text of up to three letters out of two against every such keyword.
TEST_F(Expressions, MatchAsAPrefixThatIsShorter) {
  std::vector<std::string> words = {""};
  for (size_t i = 0; words[i].size() < 3; ++i) {
    words.push_back(words[i] + "a");
    words.push_back(words[i] + "b");
  }
  ASSERT_EQ(words.size(), 15U);
  const uint32_t cmap = statement_of_texts(10, {"probe"});
  Data &probe = data_of_filter(filters_of(cmap).front());
  for (const std::string &expression : words) {
    probe.name = expression;
    for (const std::string &keyword : words) {
      const bool matches = expression.size() > keyword.size() && expression.starts_with(keyword);
      EXPECT_EQ(find(keyword.c_str()), matches ? 0U : 40U) << expression << " with " << keyword;
      if (matches) {
        EXPECT_EQ(out, expression);
      }
    }
  }
}

// ---- Long keywords: the position is counted in one byte

struct LongKeywords : Expressions {
  static std::string x(size_t length) { return std::string(length, 'x'); }
};

TEST_F(LongKeywords, MatchUpTo255Characters) {
  statement_of_texts(10, {x(255), x(256)});
  EXPECT_REFUSED(0U, find(x(255).c_str()));
  EXPECT_EQ(out, x(256));
  EXPECT_CALLS("text " + x(255), "text " + x(256));
  EXPECT_EQ(find(x(254).c_str()), 0U);
  EXPECT_EQ(out, x(255));
}

TEST_F(LongKeywords, EndTheCallWhenTheCountRunsOver) {
  statement_of_texts(10, {x(300), "never asked"});
  for (const size_t length : {256U, 257U, 299U, 300U, 400U}) {
    EXPECT_REFUSED(40U, find(x(length).c_str()));
    EXPECT_STREQ(out, "untouched");
    EXPECT_CALLS("text " + x(300));
    EXPECT_TRACED();
  }
}

TEST_F(LongKeywords, ContinueWithTheNextExpressionWhereTheyDifferEarlier) {
  const std::string late_difference = x(255) + "y" + x(100);
  statement_of_texts(10, {"short", x(255), late_difference, "last"});
  EXPECT_REFUSED(40U, find(x(300).c_str()));
  EXPECT_CALLS("text short", "text " + x(255), "text " + late_difference, "text last");
}

TEST_F(LongKeywords, DoNotAffectLongExpressions) {
  statement_of_texts(10, {"device " + x(900)});
  EXPECT_EQ(find("device"), 0U);
  EXPECT_EQ(out, "device " + x(900));
}

// ---- What ends the search

TEST_F(Expressions, EndAtAFilterWithoutFunction) {
  breaks_invariants("its functions are taken from a record");
  const uint32_t cmap = statement_of_texts(10, {"first", "second", "device phone"});
  zar_filter *second = at<zar_filter>(filters_of(cmap)[1]);
  const zar_filter_str_fn function = std::exchange(second->filter_str_fn, nullptr);
  EXPECT_REFUSED(40U, find("device"));
  EXPECT_CALLS("text first");
  EXPECT_TRACED();
  EXPECT_EQ(find("fir"), 0U) << "the one before it is found";
  second->filter_str_fn = function;
}

TEST_F(Expressions, AreSearchedForAfterAFilterWithoutText) {
  const uint32_t cmap = statement_of_texts(10, {"mute", "device phone"});
  data_of_filter(filters_of(cmap)[0]).without_text = true;
  watch_requests();
  EXPECT_REFUSED(0U, find("device"));
  EXPECT_REQUESTS("block 0x3e00026 of 10", "duplicate 0x7e570001 \"device phone\"", "block 0x3e00026 of 22");
  EXPECT_EQ(find("mute"), 40U);
}

TEST_F(Expressions, EndWithoutMemoryForACopy) {
  const uint32_t cmap = statement_of_texts(10, {"vendor", "device phone", "device tablet"});
  runtime::fail_request(runtime::Service::block, 2);
  EXPECT_REFUSED(40U, find("device"));
  EXPECT_STREQ(out, "untouched");
  EXPECT_TRACED(error("(ERR): get_nvgen_str: Error: unable to malloc_named nvgen_str for filter:0x%p",
                      at<void>(filters_of(cmap)[1])));
  EXPECT_CALLS("text vendor", "text device phone");
}

TEST_F(Expressions, OfAStatementWithoutFiltersAreNone) {
  zar_filter_context unusable = filter_context("never made");
  unusable.filter_str_fn = nullptr;
  {
    const Quiet quiet;
    ASSERT_EQ(zar_pmtr_create_or_add_filter(abc, &unusable, 0, 0, 0, 10, 0, 0), 0U);
  }
  EXPECT_REFUSED(40U, find("device"));
  EXPECT_TRACED();
}

// ---- Arguments

TEST_F(Expressions, AreThoseOfAStatement) {
  EXPECT_REFUSED(39U, find("device", 10));
  EXPECT_TRACED(error("(ERR): %s: pmtr_map stmt not found for map-index %d", kName, 10));
  statement_of_texts(10, {"device phone"});
  for (const uint32_t index : {9U, 11U, 255U}) {
    EXPECT_REFUSED(39U, find("device", index));
    EXPECT_TRACED(error("(ERR): %s: pmtr_map stmt not found for map-index %d", kName, index));
  }
}

TEST_F(Expressions, AreSearchedForByTheLowByteOfTheIndex) {
  statement_of_texts(10, {"device phone"});
  statement_of_texts(511, {"device out of reach"});
  for (const uint32_t index : {10U, 266U, 0xffffff0aU}) {
    EXPECT_EQ(find("device", index), 0U);
    EXPECT_STREQ(out, "device phone");
  }
  forget_trace();
  EXPECT_EQ(find("device", 511), 39U);
  EXPECT_TRACED(error("(ERR): %s: pmtr_map stmt not found for map-index %d", kName, 255));
}

TEST_F(Expressions, NeedTheClassMapOfTheStatement) {
  const uint32_t cmap = statement_of_texts(10, {"device phone"});
  zar_handle_release(cmap);
  EXPECT_REFUSED(39U, find("device"));
  EXPECT_TRACED(destroyed_already(cmap), error("(ERR): %s: input class map handle context cannot be NULL", kName));
}

TEST_F(Expressions, NeedAnOutPlace) {
  statement_of_texts(10, {"device phone"});
  EXPECT_REFUSED(39U, kel_pmtr_map_get_filter_expr_by_type(abc, 10, "device", nullptr));
  EXPECT_ONE_ERROR();
}

TEST(ExpressionsUnderFaults, LeaveNothingBehind) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t abc = world.pmtr_map("abc");
    for (const char *expression : {"vendor", "device phone", "device tablet"})
      world.statement(abc, 10, expression);
    const std::string before = world.everything();
    char out[100] = "untouched";
    const uint32_t status =
        clock.during([&] { return kel_pmtr_map_get_filter_expr_by_type(abc, 10, "device t", out); });
    EXPECT_EQ(status, clock.hit() && (clock.failed_in(runtime::Service::block) ||
                                      clock.mode() != runtime::Fault::once || clock.failed().text == "device tablet")
                          ? 40U
                          : 0U);
    EXPECT_STREQ(out, status == 0 ? "device tablet" : "untouched");
    EXPECT_EQ(world.everything(), before);
  });
}

}  // namespace
