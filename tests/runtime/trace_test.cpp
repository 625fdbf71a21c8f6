#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "tests/runtime/fixture.h"

namespace {

class TraceTest : public RuntimeTest {
 protected:
  void SetUp() override {
    runtime::trace_to([this](const runtime::TraceLine &line) { lines.push_back(line); });
  }
  void TearDown() override {
    runtime::want_trace_levels(0);
    runtime::trace_to(nullptr);
    runtime::trace_to_stderr(false);
    runtime::trace_to_file("");
    runtime::filter_trace({});
    runtime::keep_trace_lines(0);
    RuntimeTest::TearDown();
  }
  // The texts that reached the sink.
  std::vector<std::string> texts() const {
    std::vector<std::string> result;
    for (const runtime::TraceLine &line : lines)
      result.push_back(line.text);
    return result;
  }
  static void send_some() {
    runtime::want_trace_levels(~0u);
    btrace_wrapper(1, 3, 0, "(ERR): store_policy: Error: avl insert failed\n");
    btrace_wrapper(1, 6, 0, "(info): store_policy: successful");
    btrace_wrapper(1, 6, 0, "(info): PMAP avl comp, nas:%d", 1);
    btrace_wrapper(1, 6, 0, "no category");
  }
  using Texts = std::vector<std::string>;

  std::vector<runtime::TraceLine> lines;
};

TEST_F(TraceTest, IsOffAtFirst) {
  EXPECT_EQ(runtime::wanted_trace_levels(), 0u);
  for (uint32_t level : {0u, 3u, 6u, 31u, 32u, UINT32_MAX})
    EXPECT_EQ(btrace_module_test(1, level), 0u);
  btrace_wrapper(1, 3, 0, "unwanted");
  EXPECT_TRUE(lines.empty());
}

TEST_F(TraceTest, ReservesAPlace) {
  btrace_wrapper(1, 3, 7, "unwanted");
  EXPECT_EQ(n_complaints(), 1u);
  runtime::clear_complaints();
}

TEST_F(TraceTest, EachLevelIsWantedOnItsOwn) {
  runtime::want_trace_levels(1u << 3 | 1u << 31);
  EXPECT_EQ(runtime::wanted_trace_levels(), 1u << 3 | 1u << 31);
  for (uint32_t level = 0; level < 70; ++level)
    EXPECT_EQ(btrace_module_test(9, level) != 0, level == 3 || level == 31) << level;
  btrace_wrapper(1, 3, 0, "wanted");
  btrace_wrapper(1, 6, 0, "unwanted");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text, "wanted");
}

TEST_F(TraceTest, ALineReportsWhatWasPassed) {
  runtime::want_trace_levels(~0u);
  btrace_wrapper(17, 6, 0, "(info): %s: 0x%x", "add", 0xabcu);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].module, 17u);
  EXPECT_EQ(lines[0].level, 6u);
  EXPECT_EQ(lines[0].format, "(info): %s: 0x%x");
  EXPECT_EQ(lines[0].text, "(info): add: 0xabc");
}

TEST_F(TraceTest, ALongMessageIsWhole) {
  runtime::want_trace_levels(~0u);
  std::string text(10000, 'm');
  btrace_wrapper(1, 3, 0, "%s!", text.c_str());
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text, text + "!");
}

TEST_F(TraceTest, AFileGetsALineForEachMessage) {
  std::string path = testing::TempDir() + "zar_trace_test_" + std::to_string(getpid());
  std::remove(path.c_str());
  runtime::want_trace_levels(~0u);
  ASSERT_TRUE(runtime::trace_to_file(path));
  btrace_wrapper(1, 3, 0, "without an end");
  btrace_wrapper(1, 3, 0, "with one\n");
  ASSERT_TRUE(runtime::trace_to_file(""));
  btrace_wrapper(1, 3, 0, "too late");
  ASSERT_TRUE(runtime::trace_to_file(path));
  btrace_wrapper(1, 3, 0, "appended");
  ASSERT_TRUE(runtime::trace_to_file(""));
  std::stringstream content;
  content << std::ifstream(path).rdbuf();
  EXPECT_EQ(content.str(), "without an end\nwith one\nappended\n");
  std::remove(path.c_str());
}

TEST_F(TraceTest, AFileThatCannotBeOpenedIsRefused) {
  EXPECT_FALSE(runtime::trace_to_file("/nowhere/at/all"));
}

TEST_F(TraceTest, StderrIsASinkBesideTheOthers) {
  runtime::want_trace_levels(~0u);
  runtime::trace_to_stderr(true);
  testing::internal::CaptureStderr();
  btrace_wrapper(1, 3, 0, "to be seen");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "to be seen\n");
  EXPECT_EQ(lines.size(), 1u);
}

// ---- Filters

TEST_F(TraceTest, AFilterLetsThroughTheSubjectsThatItNames) {
  runtime::filter_trace({.only = {"store_policy"}, .without = {}});
  send_some();
  EXPECT_EQ(texts(), (Texts{"(ERR): store_policy: Error: avl insert failed\n", "(info): store_policy: successful"}));
}

TEST_F(TraceTest, AFilterKnowsCategories) {
  runtime::filter_trace({.only = {"ERR"}, .without = {}});
  send_some();
  EXPECT_EQ(texts(), (Texts{"(ERR): store_policy: Error: avl insert failed\n"}));
}

TEST_F(TraceTest, AFilterLeavesOutWhatItNamesEvenIfItIsWanted) {
  runtime::filter_trace({.only = {"info", "no*"}, .without = {"* avl comp"}});
  send_some();
  EXPECT_EQ(texts(), (Texts{"(info): store_policy: successful", "no category"}));
}

// ---- Kept lines

TEST_F(TraceTest, KeepsNothingAtFirst) {
  send_some();
  EXPECT_EQ(runtime::kept_trace_lines(), Texts{});
  EXPECT_TRUE(runtime::trace_counts().empty());
}

TEST_F(TraceTest, KeepsTheLastLinesWithoutTheirEnds) {
  ASSERT_TRUE(runtime::keep_trace_lines(5));
  send_some();
  EXPECT_EQ(runtime::kept_trace_lines(),
            (Texts{"(ERR): store_policy: Error: avl insert failed", "(info): store_policy: successful",
                   "(info): PMAP avl comp, nas:1", "no category"}));
  send_some();
  EXPECT_EQ(runtime::kept_trace_lines(),
            (Texts{"no category", "(ERR): store_policy: Error: avl insert failed", "(info): store_policy: successful",
                   "(info): PMAP avl comp, nas:1", "no category"}));
  ASSERT_TRUE(runtime::keep_trace_lines(0));
  EXPECT_EQ(runtime::kept_trace_lines(), Texts{});
}

TEST_F(TraceTest, KeepsLinesWithoutASink) {
  runtime::trace_to(nullptr);
  ASSERT_TRUE(runtime::keep_trace_lines(1));
  send_some();
  EXPECT_EQ(runtime::kept_trace_lines(), Texts{"no category"});
}

TEST_F(TraceTest, KeepsOnlyWhatTheFilterLetsThrough) {
  runtime::filter_trace({.only = {"PMAP avl comp"}, .without = {}});
  ASSERT_TRUE(runtime::keep_trace_lines(9));
  send_some();
  EXPECT_EQ(runtime::kept_trace_lines(), Texts{"(info): PMAP avl comp, nas:1"});
}

TEST_F(TraceTest, CutsLongLines) {
  ASSERT_TRUE(runtime::keep_trace_lines(1));
  runtime::want_trace_levels(~0u);
  const std::string text(1000, 'm');
  btrace_wrapper(1, 3, 0, "%s", text.c_str());
  EXPECT_EQ(runtime::kept_trace_lines(), Texts{text.substr(0, 247)});
}

TEST_F(TraceTest, CountsLinesByCategoryAndSubject) {
  ASSERT_TRUE(runtime::keep_trace_lines(1));
  send_some();
  send_some();
  EXPECT_EQ(runtime::trace_counts(),
            (std::map<std::string, uint64_t>{
                {"ERR store_policy", 2}, {"info store_policy", 2}, {"info PMAP avl comp", 2}, {"no category", 2}}));
}

TEST_F(TraceTest, CountsTheOthersTogetherWhenThereAreTooManySubjects) {
  ASSERT_TRUE(runtime::keep_trace_lines(1));
  runtime::want_trace_levels(~0u);
  for (int number = 0; number < 300; ++number)
    btrace_wrapper(1, 3, 0, "subject %d", number);
  const auto counts = runtime::trace_counts();
  EXPECT_EQ(counts.size(), 256u);
  EXPECT_EQ(counts.at("(others)"), 45u);
  EXPECT_EQ(counts.at("subject 254"), 1u);
}

}  // namespace
