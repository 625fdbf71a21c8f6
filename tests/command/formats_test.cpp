// The formats of check and lint for other programs.
#include <nlohmann/json.hpp>

#include <algorithm>

#include "runner.h"
#include "simulator/findings/github.h"
#include "simulator/findings/sarif.h"

namespace {

using simulator::findings::Finding;
using simulator::findings::github_of;
using simulator::findings::Level;
using simulator::findings::Report;
using simulator::findings::sarif_of;
using test::Result;
using test::run_zar;

constexpr const char *kLint = "tests/command/policies/lint.yaml";

Report report_of(Finding finding) {
  Report report;
  report.findings.push_back(std::move(finding));
  return report;
}

// ---- Annotations

TEST(Annotations, NameFileLineAndColumn) {
  const Result result = run_zar({"check", "-", "--format", "github"}, "clients: {aaa: {databse: own}}\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "::error file=<stdin>,line=1,col=17,title=invalid-policy::unknown key 'databse' in a client"
            "%0Aexpected: the key database%0Adid you mean 'database'?\n");
}

TEST(Annotations, OfLintAreWarnings) {
  const Result result = run_zar({"lint", "examples/broadband.yaml", "--format", "github"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(
      result.out,
      "::warning file=examples/broadband.yaml,line=29,col=3,title=unused-class::class-map authorised is not used: "
      "no rule has it\n");
}

TEST(Annotations, OfAWholeFileHaveNoLine) {
  EXPECT_EQ(run_zar({"check", "/nowhere", "--format", "github"}).out,
            "::error file=/nowhere,title=invalid-policy::cannot be opened: No such file or directory"
            "%0Aexpected: a policy file\n");
}

TEST(Annotations, EscapeWhatWouldEndThem) {
  EXPECT_EQ(github_of(report_of({.rule = "r", .message = "50%,\r\n::b", .place = {"a:b,c%\n.yaml", 1, 2}})),
            "::error file=a%3Ab%2Cc%25%0A.yaml,line=1,col=2,title=r::50%25,%0D%0A::b\n");
  EXPECT_EQ(github_of(report_of({.rule = "r", .message = "\x1b[2J\xe2\x80\xae", .place = {"\x1b", 1, 2}})),
            "::error file=\\x1b,line=1,col=2,title=r::\\x1b[2J\\u202e\n");
}

TEST(Annotations, ListTheOtherPlacesAndTheRemarks) {
  Report report = report_of({.rule = "r",
                             .level = Level::warning,
                             .message = "m",
                             .notes = {"n"},
                             .place = {"f", 1, 2},
                             .related = {{{"f", 3, 4}, "because"}}});
  report.remarks.push_back("more\nto come");
  EXPECT_EQ(github_of(report),
            "::warning file=f,line=1,col=2,title=r::m%0An%0Af:3:4: because\n"
            "::notice::more%0Ato come\n");
}

// Lint cannot follow Unicode properties.
constexpr const char *kUndecidable = R"(
domains: {d: }
class-maps:
  capitals: {filters: [{attribute: name, regex: '^\p{Lu}{2}$'}]}
policy-maps: {p: {events: {e: {rules: [{number: 1, class: capitals, actions: []}]}}}}
)";

TEST(Annotations, OfWhatWasNotDecidedAreNotices) {
  const Result result = run_zar({"lint", "-", "--format", "github"}, kUndecidable);
  EXPECT_EQ(result.code, 0);
  EXPECT_TRUE(result.out.starts_with("::notice file=<stdin>,line=4,col=3,title=undecided::")) << result.out;
}

TEST(Annotations, LeaveOutWhatACommentIgnores) {
  const Result result = run_zar({"lint", "-", "--format", "github"},
                                "domains: {d: }\nclass-maps:\n  c: {}  # zar: ignore unused-class: later\n");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
}

TEST(Annotations, AreOneLineForEachFinding) {
  const std::string annotations = run_zar({"lint", kLint, "--format", "github"}).out;
  const auto json = nlohmann::json::parse(run_zar({"lint", kLint, "--json"}).out);
  EXPECT_EQ(static_cast<size_t>(std::count(annotations.begin(), annotations.end(), '\n')), json["findings"].size());
}

// ---- SARIF; sarif_test.py validates whole logs

TEST(Sarif, HasAResultWithItsPlace) {
  const auto log = nlohmann::json::parse(run_zar({"lint", "examples/broadband.yaml", "--format", "sarif"}).out);
  const auto &run = log["runs"][0];
  EXPECT_EQ(log["version"], "2.1.0");
  EXPECT_EQ(run["tool"]["driver"]["name"], "zar");
  EXPECT_EQ(run["columnKind"], "unicodeCodePoints");
  ASSERT_EQ(run["results"].size(), 1u);
  const auto &result = run["results"][0];
  EXPECT_EQ(result["ruleId"], "unused-class");
  EXPECT_EQ(result["level"], "warning");
  EXPECT_EQ(result["message"]["text"], "class-map authorised is not used: no rule has it");
  const auto &place = result["locations"][0]["physicalLocation"];
  EXPECT_EQ(place["artifactLocation"]["uri"], "examples/broadband.yaml");
  EXPECT_EQ(place["region"]["startLine"], 29);
  EXPECT_EQ(place["region"]["startColumn"], 3);
}

TEST(Sarif, NamesFilesByUris) {
  const auto uri_of = [](const std::string &path) {
    return sarif_of(report_of({.rule = "r", .message = "m", .place = {path, 0, 0}}),
                    true)["runs"][0]["results"][0]["locations"][0]["physicalLocation"]["artifactLocation"]["uri"];
  };
  EXPECT_EQ(uri_of("a/b-c_d.yaml"), "a/b-c_d.yaml");
  EXPECT_EQ(uri_of("/etc/zar/a b.yaml"), "file:///etc/zar/a%20b.yaml");
  EXPECT_EQ(uri_of("a:b#c?d%.yaml"), "a%3Ab%23c%3Fd%25.yaml");
  EXPECT_EQ(uri_of("\xc3\xa4\xff"), "%C3%A4%FF");
  EXPECT_EQ(uri_of("<stdin>"), "%3Cstdin%3E");
}

TEST(Sarif, HasTheReasonsAsRelatedPlaces) {
  const auto log = nlohmann::json::parse(run_zar({"lint", kLint, "--format", "sarif"}).out);
  size_t related = 0;
  for (const auto &result : log["runs"][0]["results"])
    related += result.value("relatedLocations", nlohmann::json::array()).size();
  size_t because = 0;
  const auto json = nlohmann::json::parse(run_zar({"lint", kLint, "--json"}).out);
  for (const auto &finding : json["findings"])
    because += finding["because"].size();
  EXPECT_EQ(related, because);
  EXPECT_GT(related, 0u);
}

TEST(Sarif, HasWhatWasNotDecidedAsANote) {
  const Result result = run_zar({"lint", "-", "--format", "sarif"}, kUndecidable);
  EXPECT_EQ(result.code, 0);
  const auto log = nlohmann::json::parse(result.out);
  ASSERT_EQ(log["runs"][0]["results"].size(), 1u);
  EXPECT_EQ(log["runs"][0]["results"][0]["ruleId"], "undecided");
  EXPECT_EQ(log["runs"][0]["results"][0]["level"], "note");
}

TEST(Sarif, SuppressesWhatACommentIgnores) {
  const Result result =
      run_zar({"lint", "-", "--format", "sarif"},
              "domains: {d: }\nclass-maps:\n  c: {}  # zar: ignore unused-class: later\n  d: {}  # no reason\n");
  EXPECT_EQ(result.code, 1);
  const auto log = nlohmann::json::parse(result.out);
  ASSERT_EQ(log["runs"][0]["results"].size(), 2u);
  for (const auto &found : log["runs"][0]["results"]) {
    const bool is_ignored = found["locations"][0]["physicalLocation"]["region"]["startLine"] == 3;
    EXPECT_EQ(found["suppressions"], is_ignored
                                         ? nlohmann::json::parse(R"([{"kind": "inSource", "justification": "later"}])")
                                         : nlohmann::json::array());
  }
}

TEST(Formats, KeepTheExitCodes) {
  for (const char *format : {"text", "json", "sarif", "github"}) {
    EXPECT_EQ(run_zar({"check", "examples/broadband.yaml", "--format", format}).code, 0) << format;
    EXPECT_EQ(run_zar({"check", "README.md", "examples/broadband.yaml", "--format", format}).code, 65) << format;
    EXPECT_EQ(run_zar({"lint", "examples/guest-network.yaml", "--format", format}).code, 0) << format;
    EXPECT_EQ(run_zar({"lint", "examples/broadband.yaml", "--format", format}).code, 1) << format;
    EXPECT_EQ(run_zar({"lint", "examples/broadband.yaml", "/nowhere", "--format", format}).code, 65) << format;
  }
}

TEST(Formats, OfTextAndJsonAreThoseWithoutTheOption) {
  for (const char *command : {"check", "lint"}) {
    for (const char *file : {"examples/broadband.yaml", "README.md"}) {
      const Result text = run_zar({command, file});
      const Result same = run_zar({command, file, "--format", "text"});
      EXPECT_EQ(same.out, text.out);
      EXPECT_EQ(same.err, text.err);
      EXPECT_EQ(run_zar({command, file, "--format", "json"}).out, run_zar({command, file, "--json"}).out);
    }
  }
}

}  // namespace
