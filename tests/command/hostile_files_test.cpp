// Files that are made to do harm: each gets its error before the test's time limit.
#include "runner.h"

namespace {

using test::Result;
using test::run_zar;

std::string repeated(const std::string &text, size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (size_t at = 0; at < times; ++at)
    all += text;
  return all;
}

std::string numbered(const std::string &before, const std::string &after, size_t times) {
  std::string all;
  for (size_t at = 0; at < times; ++at)
    all += before + std::to_string(at) + after;
  return all;
}

// The first line of the check's errors for a file.
std::string first_error(const std::string &text) {
  const Result result = run_zar({"check", "-"}, text);
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  return result.err.substr(0, result.err.find('\n'));
}

constexpr const char *kOneRule = R"(domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: )";

TEST(Hostile, NestingIsBounded) {
  EXPECT_EQ(first_error("clients: " + repeated("[", 32) + repeated("]", 32)), "<stdin>:1:41: error: nested too deep");
  EXPECT_EQ(first_error("clients: " + repeated("[", 31) + repeated("]", 31)),
            "<stdin>:1:10: error: what stands here is a list");
  for (const char *opening : {"[", "{a: ", "- ", "? ", "[{a: ", "? - "}) {
    EXPECT_TRUE(first_error(repeated(opening, 20000)).ends_with(" error: nested too deep")) << opening;
  }
}

TEST(Hostile, ScalarsAreBounded) {
  EXPECT_EQ(first_error("clients: " + std::string(1000000, 'x')), "<stdin>:1:10: error: a value of 1000000 bytes");
  EXPECT_EQ(first_error("clients: \"" + std::string(1000000, 'x') + "\""),
            "<stdin>:1:10: error: a value of 1000000 bytes");
  EXPECT_EQ(first_error("? " + std::string(1000000, 'x') + "\n: 1\n"), "<stdin>:1:3: error: a value of 1000000 bytes");
}

TEST(Hostile, FilesAreBounded) {
  EXPECT_EQ(first_error(std::string(17 * 1024 * 1024, '#')), "<stdin>: error: is too large");
}

TEST(Hostile, AliasesDoNotExplode) {
  std::string bomb = "a0: &a0 [x, x, x, x, x, x, x, x, x]\n";
  for (int at = 1; at < 12; ++at) {
    const std::string before = "*a" + std::to_string(at - 1);
    const std::string name = "a" + std::to_string(at);
    bomb += name + ": &" + name + " [" + repeated(before + " , ", 8) + before + "]\n";
  }
  EXPECT_EQ(first_error(bomb), "<stdin>:7:28: error: aliases that stand for too much");
  EXPECT_EQ(first_error("clients: &a {x: *a}\n"), "<stdin>:1:17: error: an alias inside of what it stands for");
}

TEST(Hostile, CountsAreBounded) {
  EXPECT_EQ(first_error("clients:\n" + numbered("  c", ": {}\n", 20000)), "<stdin>: error: the file has 20000 clients");
  EXPECT_EQ(first_error("domains: {d: }\nclass-maps:\n" + numbered("  c", ": {}\n", 66000)),
            "<stdin>: error: the file makes 66000 objects");
  EXPECT_EQ(first_error("domains: {d: }\npolicy-maps: {p: {events: {}}}\ntargets: {t: {policies: [p], attributes: {" +
                        numbered("a", ": 1, ", 5000) + "}}}\n"),
            "<stdin>:3:8933: error: 'a1000' is one attribute too many");
  EXPECT_EQ(first_error(kOneRule + ("[" + repeated("permit, ", 20000)) + "]}]}}}}\n"),
            "<stdin>:3:2112: error: action number 256");
}

TEST(Hostile, ErrorsAreBounded) {
  const Result result = run_zar({"check", "-"}, "clients: {a: {" + numbered("k", ": 1, ", 50000) + "}}\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_TRUE(result.err.ends_with("<stdin>: at least 900 more errors\n")) << result.err.size();
  EXPECT_LT(result.err.size(), 100000u);
}

TEST(Hostile, LongLinesTakeNoLonger) {
  EXPECT_EQ(first_error("clients: {" + numbered("c", ": {}, ", 50000) + "}\n"),
            "<stdin>: error: the file has 50000 clients");
}

TEST(Hostile, RegularExpressionsDoNotExplode) {
  const auto with = [](const std::string &pattern) {
    return "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, regex: '" + pattern + "'}]}}\n";
  };
  EXPECT_EQ(
      first_error(with("((a{1000}){1000}){1000}")),
      "<stdin>:2:50: error: not a regular expression: a repetition that is too long or ends before it begins: {1000}");
  EXPECT_EQ(first_error(with("\\pL{900}")), "<stdin>:2:50: error: not a regular expression: it takes too much memory");
}

TEST(Hostile, ManyRegularExpressionsAreTooMuchWork) {
  EXPECT_NE(first_error("domains: {d: }\nclass-maps:\n  c:\n    filters:\n" +
                        numbered("      - {attribute: a, regex: '^[a-z]{1,200}", "$'}\n", 6000))
                .find("error: too much work in the regular expressions up to here"),
            std::string::npos);
}

TEST(Hostile, BytesThatAreNoTextAreFound) {
  const auto at = [](const std::string &bytes) { return first_error("clients: {a" + bytes + ": {}}\n"); };
  EXPECT_EQ(at("\xff"), "<stdin>:1:12: error: the byte 0xff is no text");
  EXPECT_EQ(at("\xc3"), "<stdin>:1:12: error: the byte 0xc3 is no text");
  EXPECT_EQ(at("\xc0\xaf"), "<stdin>:1:12: error: the byte 0xc0 is no text");
  EXPECT_EQ(at("\xe0\x80\xaf"), "<stdin>:1:12: error: the byte 0xe0 is no text");
  EXPECT_EQ(at("\xed\xa0\x80"), "<stdin>:1:12: error: the byte 0xed is no text");
  EXPECT_EQ(at("\xf4\x90\x80\x80"), "<stdin>:1:12: error: the byte 0xf4 is no text");
  EXPECT_EQ(at(std::string(1, '\0')), "<stdin>:1:12: error: the byte 0x00 is no text");
  EXPECT_EQ(at("\x1b[31m"), "<stdin>:1:12: error: the byte 0x1b is no text");
  EXPECT_EQ(at("\xc2\x9b"), "<stdin>:1:12: error: the byte 0xc2 is no text");
  EXPECT_EQ(first_error("clients: {}\n# \xf0\x9f\x98\x80 \x80\n"), "<stdin>:2:5: error: the byte 0x80 is no text");
}

TEST(Hostile, BytesThatAreNoTextAreNotShown) {
  for (const char *bytes : {"\xff", "\xc2\x9b", "\x1b[31m"}) {
    const Result result = run_zar({"check", "-"}, "clients: {a" + std::string(bytes) + ": {}}\n");
    EXPECT_EQ(result.err.find(bytes), std::string::npos) << result.err;
  }
}

// A double-quoted scalar can contain any character.
TEST(Hostile, NothingOfAFileIsObeyedByATerminal) {
  const std::string bad = run_zar({"check", "-"}, "domains: {\"\\e[2J\\x9b\": }\n\"\\e[2J\\x9b\": 1\n").err;
  const std::string failed = run_zar({"test", "-"}, R"(domains: {d: }
class-maps: {c: {filters: [{attribute: x, equals: &evil "\e[2J\x9b"}]}}
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [{log: *evil}, {set: {y: *evil}}]}]}}}}
targets: {t: {policies: [p]}}
tests: [{name: *evil , event: e, target: t, set: {x: *evil}, expect: {verdict: deny, log: []}}]
)")
                                 .out;
  EXPECT_NE(bad.find("\\x1b[2J"), std::string::npos) << bad;
  EXPECT_TRUE(failed.starts_with("FAIL  <stdin>:2: \\x1b[2J\\u009b\n")) << failed;
  for (const char *control : {"\x1b", "\xc2\x9b"})
    EXPECT_EQ((bad + failed).find(control), std::string::npos) << bad << failed;
}

TEST(Hostile, ColumnsAreRightOnLongLinesToo) {
  // 300 characters of two bytes each, then the error.
  EXPECT_EQ(first_error("clients: {} # " + repeated("\xc3\xa4", 300) + "\x01\n"),
            "<stdin>:1:315: error: the byte 0x01 is no text");
}

}  // namespace
