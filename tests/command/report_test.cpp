// zar report: the page for reviewers, as the command writes it. report_page_test.py reads it in a browser.
#include <cstdlib>

#include "runner.h"
#include "scratch_file.h"

namespace {

using test::Result;
using test::run_zar;

constexpr const char *kBroadband = "examples/broadband.yaml";

class ReportTest : public testing::Test {
 protected:
  const std::string &page() const { return page_.path(); }
  std::string page_text() const { return page_.text(); }

 private:
  test::ScratchFile page_{"", "page.html"};
};

size_t count(const std::string &text, const std::string &part) {
  size_t found = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
    ++found;
  return found;
}

// A file with texts that are markup.
constexpr const char *kHostile = R"(
domains: {d: }
class-maps:
  c: {filters: [{attribute: a, equals: '</code><script>document.title="x"</script>'}]}
policy-maps:
  p: {events: {e: {rules: [{number: 1, class: c, actions: [{log: '<img src=x onerror=alert(1)>'}, {set: {a: "&amp;\"'><i>"}}]}]}}}
targets: {t: {attributes: {a: '</code><script>document.title="x"</script>'}, policies: [p]}}
scenario: [{event: e, target: t}]
tests: [{name: '</td></tr></table>', event: e, target: t, expect: {verdict: deny}}]
)";

TEST_F(ReportTest, IsOnePageThatFetchesNothing) {
  const Result result = run_zar({"report", kBroadband, "-o", page()});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
  const std::string text = page_text();
  EXPECT_TRUE(text.starts_with("<!doctype html>\n<html lang=\"en\">")) << text.substr(0, 100);
  EXPECT_TRUE(text.ends_with("</html>\n"));
  EXPECT_EQ(text.find(" src="), std::string::npos);
  EXPECT_EQ(text.find("<link"), std::string::npos);
  EXPECT_EQ(text.find("url("), std::string::npos);
  EXPECT_NE(text.find("default-src 'none'"), std::string::npos);
}

TEST_F(ReportTest, GoesToStandardOutputWithoutAPath) {
  ASSERT_EQ(run_zar({"report", kBroadband, "--output", page()}).code, 0);
  const Result result = run_zar({"report", kBroadband});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, page_text());
}

TEST_F(ReportTest, IsTheSameEveryTime) {
  EXPECT_EQ(run_zar({"report", kBroadband}).out, run_zar({"report", kBroadband}).out);
}

TEST_F(ReportTest, HasARowForEachRuleWithWhatItDid) {
  const std::string text = run_zar({"report", kBroadband, "--no-graph"}).out;
  EXPECT_EQ(count(text, "<tr id=\"rule "), 7u);
  EXPECT_NE(text.find("<td class=\"number\">4</td><td class=\"number\">1</td><td class=\"number\">1</td>"),
            std::string::npos)
      << "rule authorisation/authorise/10 was tried four times, ran once and decided once";
}

TEST_F(ReportTest, ShowsTextsOfAFileAsTexts) {
  const std::string text = run_zar({"report", "-", "--no-graph"}, kHostile).out;
  EXPECT_EQ(count(text, "<script>"), 1u) << "the page's own";
  EXPECT_EQ(text.find("<img"), std::string::npos);
  EXPECT_EQ(text.find("<i>"), std::string::npos);
  EXPECT_NE(text.find("&lt;/td&gt;&lt;/tr&gt;&lt;/table&gt;"), std::string::npos);
  EXPECT_NE(text.find("&amp;amp;"), std::string::npos);
}

TEST_F(ReportTest, SaysThatThereIsNothing) {
  const Result result = run_zar({"report", "-", "--no-graph"}, "{}\n");
  EXPECT_EQ(result.code, 0);
  for (const char *said :
       {"The file loads, and nothing in it is provably wrong.", "The file has no tests.", "The file has no scenario."})
    EXPECT_NE(result.out.find(said), std::string::npos) << said;
  EXPECT_EQ(result.out.find("id=\"policies\""), std::string::npos);
}

TEST_F(ReportTest, ComparesWithAnotherFile) {
  const std::string text = run_zar({"report", "tests/command/policies/diff-new.yaml", "--against",
                                    "tests/command/policies/diff-old.yaml", "--no-graph"})
                               .out;
  EXPECT_NE(text.find("Compared with tests/command/policies/diff-old.yaml."), std::string::npos);
  EXPECT_NE(text.find("Objects: 3 added, 6 removed, 7 changed."), std::string::npos);
  EXPECT_EQ(run_zar({"report", kBroadband, "--no-graph"}).out.find("What changed"), std::string::npos);
}

TEST_F(ReportTest, FoldsPoliciesThatHaveNotChanged) {
  const std::string same = run_zar({"report", kBroadband, "--against", kBroadband, "--no-graph"}).out;
  EXPECT_EQ(count(same, "<details class=\"policy\">"), 2u);
  EXPECT_NE(same.find("The objects are the same."), std::string::npos);
  EXPECT_NE(same.find("All 7 events of the scenario are decided as before."), std::string::npos);
  EXPECT_EQ(count(run_zar({"report", kBroadband, "--no-graph"}).out, "<details class=\"policy\" open=\"\">"), 2u);
}

TEST_F(ReportTest, CountsInJsonWhatThePageShows) {
  const Result result = run_zar({"report", kBroadband, "-o", page(), "--json", "--against", kBroadband});
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("\"events\": 7,"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("\"events_decided_differently\": 0"), std::string::npos) << result.out;
  const Result without = run_zar({"report", kBroadband, "--json"});
  EXPECT_EQ(without.code, 2);
  EXPECT_EQ(without.err, "zar: --json needs --output: the page itself is no JSON\n");
}

constexpr const char *kEvents = R"({"event": "session-start", "target": "line-0101"}
{"event": "session-start", "target": "nobody"}
)";

TEST_F(ReportTest, ShowsAStreamBesidesTheScenario) {
  const Result result = run_zar({"report", kBroadband, "--events", "-", "-o", page(), "--json"}, kEvents);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  for (const char *said : {"\"events\": 7,", "\"stream\": \"<stdin>\"", "\"events\": 1,", "\"bad_lines\": 1,",
                           "\"lines_decided_differently\": null"})
    EXPECT_NE(result.out.find(said), std::string::npos) << said << result.out;
  for (const char *said : {"What happened in the stream", "&lt;stdin&gt;: 1 event; 0 targets added, 0 deleted.",
                           "1 bad line did nothing:", "Each column is one event.", "7 events of the scenario."})
    EXPECT_NE(page_text().find(said), std::string::npos) << said;
  EXPECT_EQ(page_text().find("stream-changes"), std::string::npos);
}

TEST_F(ReportTest, ComparesAStreamOnBothFiles) {
  const std::string same =
      run_zar({"report", kBroadband, "--against", kBroadband, "--events", "-", "--no-graph"}, kEvents).out;
  EXPECT_NE(same.find("All 1 line of the stream do as before."), std::string::npos)
      << "one that is bad on both sides decides nothing";
  EXPECT_NE(same.find("1 bad line did nothing:"), std::string::npos);
}

TEST_F(ReportTest, SaysThatAStreamHasNoEvents) {
  const Result result = run_zar({"report", kBroadband, "--events", "-", "--no-graph"}, "\n");
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("The stream raised no event."), std::string::npos);
}

TEST_F(ReportTest, OfAStreamThatCannotBeReadIsNotWritten) {
  const Result missing = run_zar({"report", kBroadband, "--events", "/nowhere/log.jsonl", "-o", page()});
  EXPECT_EQ(missing.code, 65);
  EXPECT_EQ(missing.err, "/nowhere/log.jsonl: error: cannot be opened: No such file or directory\n");
  const Result folder = run_zar({"report", kBroadband, "--events", "examples", "-o", page()});
  EXPECT_EQ(folder.code, 65);
  EXPECT_EQ(folder.err, "examples: error: cannot be read: Is a directory\n");
  EXPECT_EQ(run_zar({"report", "-", "--events", "-", "-o", page()}, kEvents).code, 2);
  EXPECT_EQ(page_text(), "");
}

TEST_F(ReportTest, OfABadFileIsNotWritten) {
  for (const auto &line : {std::vector<std::string>{"report", "README.md", "-o", page()},
                           std::vector<std::string>{"report", kBroadband, "--against", "README.md", "-o", page()}}) {
    const Result result = run_zar(line);
    EXPECT_EQ(result.code, 65);
    EXPECT_NE(result.err.find("README.md:"), std::string::npos) << result.err;
    EXPECT_EQ(page_text(), "");
  }
}

TEST_F(ReportTest, OfACommentThatIgnoresWithoutAReasonIsNotWritten) {
  const Result result =
      run_zar({"report", "-", "--no-graph"}, "domains: {d: }\nclass-maps:\n  c: {} # zar: ignore unused-class\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
}

TEST_F(ReportTest, ListsWhatCommentsIgnoreApart) {
  const std::string text = run_zar({"report", "-", "--no-graph"},
                                   "domains: {d: }\nclass-maps:\n  c: {} # zar: ignore unused-class: for later\n")
                               .out;
  EXPECT_NE(text.find("nothing in it is provably wrong"), std::string::npos);
  EXPECT_NE(text.find("1 ignored by comments"), std::string::npos);
  EXPECT_NE(text.find("Ignored: for later"), std::string::npos);
}

TEST_F(ReportTest, ThatCannotBeWrittenIsAnError) {
  const Result result = run_zar({"report", kBroadband, "--no-graph", "-o", "/nowhere/page.html"});
  EXPECT_EQ(result.code, 70);
  EXPECT_EQ(result.err, "zar: /nowhere/page.html cannot be written: No such file or directory\n");
}

TEST_F(ReportTest, NeedsGraphvizForThePictureOnly) {
  const std::string path = std::getenv("PATH");
  setenv("PATH", "/nowhere", 1);
  const Result with = run_zar({"report", kBroadband});
  const Result without = run_zar({"report", kBroadband, "--no-graph"});
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(with.code, 2);
  EXPECT_EQ(with.out, "");
  EXPECT_EQ(
      with.err,
      "zar: dot, which draws pictures, is not installed; it comes with graphviz; --no-graph leaves the picture out\n");
  EXPECT_EQ(without.code, 0);
  EXPECT_EQ(without.out.find("<svg"), std::string::npos);
}

// Rules that never match, up to 200 for each event, each with a class-map of its own.
std::string many_rules(int rules) {
  std::string classes = "domains: {d: }\nclass-maps:\n";
  std::string events = "policy-maps:\n  p:\n    events:\n";
  for (int rule = 0; rule < rules; ++rule) {
    const std::string name = "n" + std::to_string(rule);
    classes += "  " + name + ": {filters: [{attribute: a, present: true}]}\n";
    if (rule % 200 == 0) events += "      e" + std::to_string(rule / 200) + ":\n        rules:\n";
    events += "        - {number: " + std::to_string(rule % 200 + 1) + ", class: " + name + ", actions: [permit]}\n";
  }
  return classes + events + "targets: {t: {policies: [p]}}\n";
}

TEST_F(ReportTest, DrawsAnOverviewWhereAPictureOfAllWouldBeTooLarge) {
  const std::string of_few = run_zar({"report", "-"}, many_rules(300)).out;
  EXPECT_EQ(of_few.find("Rules, class-maps and statements are left out"), std::string::npos);
  EXPECT_NE(of_few.find("<title>rule p/e0/1</title>"), std::string::npos);
  const std::string of_many = run_zar({"report", "-"}, many_rules(500)).out;
  EXPECT_NE(of_many.find("Rules, class-maps and statements are left out"), std::string::npos);
  EXPECT_EQ(of_many.find("<title>rule "), std::string::npos);
  EXPECT_NE(of_many.find("<title>event p/e2</title>"), std::string::npos);
}

}  // namespace
