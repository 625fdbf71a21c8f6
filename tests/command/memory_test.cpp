// Every command in an address space that is too small: it says so, and nothing else.
#include <algorithm>
#include <cstdio>

#include "runner.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZAR_HAS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define ZAR_HAS_SANITIZER 1
#endif
#endif

namespace {

using test::Result;
using test::run_zar;
using test::run_zar_within;

constexpr size_t kMiB = 1 << 20;

// Large enough to need several megabytes.
std::string large_file() {
  std::string file = "domains: {d: }\nclass-maps:\n";
  for (int map = 0; map < 150; ++map) {
    const std::string number = std::to_string(map);
    file += "  c" + number + ": {filters: [{attribute: x, equals: v" + number + "}, {attribute: y, prefix: w}]}\n";
  }
  file += "policy-maps:\n  p:\n    events:\n      e:\n        rules:\n";
  for (int rule = 1; rule < 60; ++rule) {
    const std::string number = std::to_string(rule);
    file += "          - {number: " + number + ", class: c" + number + ", actions: [{set: {z: '" + number + "'}}]}\n";
  }
  file += "targets:\n";
  for (int target = 0; target < 100; ++target)
    file += "  t" + std::to_string(target) + ": {policies: [p], attributes: {x: v7, y: w}}\n";
  return file +
         "scenario: [{event: e, target: t1}]\n"
         "tests: [{event: e, target: t1, expect: {attributes: {z: '7'}}}]\n";
}

struct Line {
  const char *name;
  std::vector<std::string> arguments;
  std::string input;
};

void PrintTo(const Line &line, std::ostream *out) {
  *out << line.name;
}

// The smallest address space, to 256 KiB, in which the command ends with this code.
size_t enough_for(const std::vector<std::string> &arguments, const std::string &input, int code) {
  size_t too_small = 0;
  size_t enough = 512 * kMiB;
  EXPECT_EQ(run_zar_within(enough, arguments, input).code, code);
  while (enough - too_small > kMiB / 4) {
    const size_t middle = (too_small + enough) / 2;
    (run_zar_within(middle, arguments, input).code == code ? enough : too_small) = middle;
  }
  return enough;
}

// Sizes from 'least' to 'enough'; half of them just below the end, where the last small requests fail.
std::vector<size_t> sizes_between(size_t least, size_t enough) {
  constexpr size_t kSteps = 6;
  std::vector<size_t> sizes;
  for (size_t at = 0; at < kSteps; ++at) {
    sizes.push_back(least + (enough - least) * at / kSteps);
    sizes.push_back(enough - std::min(3 * kMiB, enough - least) * (at + 1) / kSteps);
  }
  return sizes;
}

class Memory : public testing::TestWithParam<Line> {};

TEST_P(Memory, ThatIsTooSmallIsAnErrorOfItsOwn) {
#ifdef ZAR_HAS_SANITIZER
  GTEST_SKIP() << "a sanitizer needs an address space without a limit";
#endif
  const auto &[name, arguments, input] = GetParam();
  const Result good = run_zar(arguments, input);
  ASSERT_TRUE(good.code == 0 || good.code == 1) << good.err;

  const size_t least = enough_for({"--version"}, "", 0);
  const size_t enough = enough_for(arguments, input, good.code);
  ASSERT_GT(enough, least) << "the command needs too little for a test";

  size_t failures = 0;
  for (const size_t memory : sizes_between(least, enough)) {
    const Result result = run_zar_within(memory, arguments, input);
    if (result.code == good.code) {
      EXPECT_EQ(result.out, good.out);
      continue;
    }
    ++failures;
    EXPECT_EQ(result.code, 70) << memory << " bytes: " << result.err;
    EXPECT_TRUE(result.err == "zar: out of memory\n" ||
                (result.err.starts_with("<stdin>:") && result.err.find(": out of memory\n") != std::string::npos))
        << memory << " bytes: " << result.err;
  }
  std::printf("%s: %zu sizes from %zu to %zu KiB were too small\n", name, failures, least >> 10, enough >> 10);
  EXPECT_GT(failures, 6u);
}

std::vector<Line> lines() {
  const std::string file = large_file();
  std::string commands = "create domain d\n";
  for (int map = 0; map < 500; ++map)
    commands += "create class c" + std::to_string(map) + " {filters: [{attribute: x, present: true}]}\n";
  return {{"check", {"check", "-"}, file},
          {"config", {"config", "-"}, file},
          {"diff", {"diff", "examples/broadband.yaml", "-", "--replay", "examples/broadband.yaml"}, file},
          {"explain", {"explain", "-", "--event", "e@t1", "--json"}, file},
          {"graph", {"graph", "-", "--json"}, file},
          {"lint", {"lint", "-"}, file},
          {"run", {"run", "-"}, file},
          {"shell", {"shell"}, commands},
          {"show", {"show", "-"}, file},
          {"test", {"test", "-", "--json"}, file}};
}

INSTANTIATE_TEST_SUITE_P(Of, Memory, testing::ValuesIn(lines()),
                         [](const auto &parameter) { return std::string(parameter.param.name); });

}  // namespace
