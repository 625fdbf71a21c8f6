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
    RuntimeTest::TearDown();
  }

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

}  // namespace
