// zar graph: draws the policies of a repository, with the effects of the scenario.
#include <unistd.h>

#include "runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kHard = "tests/command/policies/config.yaml";

Result run_dot(const std::string &graph) {
  return test::run_in_child_process(
      [] {
        execlp("dot", "dot", "-Tplain", nullptr);
        return 127;
      },
      graph);
}

TEST(Graph, IsDot) {
  expect_golden("graph/broadband.out", run_zar({"graph", "examples/broadband.yaml"}).out);
}

TEST(Graph, IsReadByDotWithoutAWord) {
  for (const char *path : {"examples/broadband.yaml", "examples/guest-network.yaml", "examples/interface-qos.yaml",
                           kHard, "tests/command/policies/paths.yaml"}) {
    const Result result = run_zar({"graph", path});
    EXPECT_EQ(result.code, 0) << path;
    const Result drawn = run_dot(result.out);
    EXPECT_EQ(drawn.code, 0) << path;
    EXPECT_EQ(drawn.err, "") << path;
  }
  EXPECT_EQ(run_dot(run_zar({"graph", "-"}, "{}\n").out).code, 0);
}

constexpr const char *kCounted = R"(
domains: {d: }
class-maps:
  low: {filters: [{attribute: x, range: {max: 5}}]}
  high: {filters: [{attribute: x, range: {min: 6}}]}
  rest: {}
parameter-maps:
  m:
    statements:
      - {index: 1, filters: [{attribute: x, equals: 9}], actions: [{raise: after}]}
      - {index: 2, filters: [{attribute: x, present: true}], actions: []}
  unused: {statements: []}
policy-maps:
  p:
    events:
      e:
        match: first
        rules:
          - {number: 1, class: low, actions: [{raise: after}, {raise: after}]}
          - {number: 2, class: high, actions: [{apply: m}]}
          - {number: 3, class: rest, actions: [permit]}
      after: {rules: [{number: 1, class: rest, actions: [{count: n}]}]}
      silent: {rules: []}
targets:
  t1: {policies: [p]}
  t2: {policies: [p]}
scenario:
  - {event: e, target: t1, set: {x: 1}}
  - {event: e, target: t2, set: {x: 7}}
  - {event: e, target: t2, set: {x: 9}}
)";

bool has_line(const Result &result, const std::string &line) {
  return ("\n" + result.out).find("\n  " + line + "\n") != std::string::npos;
}

TEST(Graph, CountsWhatTheScenarioDid) {
  const Result result = run_zar({"graph", "-"}, kCounted);
  ASSERT_EQ(result.code, 0) << result.err;
  for (const char *edge : {
           // Events that the scenario raises, on both targets together.
           R"("target t1" -> "policy-map p" [label="3", color="#505050", fontcolor="#505050"];)",
           R"("policy-map p" -> "event p/e" [label="3", color="#505050", fontcolor="#505050"];)",
           // Rule 1 took one event, so rule 2 was tried twice.
           R"("event p/e" -> "rule p/e/1" [label="1 of 3", color="#505050", fontcolor="#505050"];)",
           R"("event p/e" -> "rule p/e/2" [label="2 of 2", color="#505050", fontcolor="#505050"];)",
           R"("rule p/e/2" -> "parameter-map m" [label="2", color="#505050", fontcolor="#505050"];)",
           R"("parameter-map m" -> "statement m/1" [label="1 of 2", color="#505050", fontcolor="#505050"];)",
           R"("parameter-map m" -> "statement m/2" [label="1 of 1", color="#505050", fontcolor="#505050"];)",
           // Raised twice by rule 1, once by the statement.
           R"("policy-map p" -> "event p/after" [label="3", color="#505050", fontcolor="#505050"];)",
           R"("event p/after" -> "rule p/after/1" [label="3 of 3", color="#505050", fontcolor="#505050"];)",
       })
    EXPECT_TRUE(has_line(result, edge)) << edge << "\n" << result.out;
  EXPECT_NE(result.out.find(R"("rule p/e/1" -> "event p/after" [constraint=false, label="2",)"), std::string::npos);
  EXPECT_NE(result.out.find(R"("statement m/1" -> "event p/after" [constraint=false, label="1",)"), std::string::npos);
  EXPECT_NE(result.out.find(R"("event p/e" -> "rule p/e/3" [label="0 of 0", style=dashed,)"), std::string::npos);
}

// The ids of the nodes that are marked as never hit.
std::vector<std::string> never_hit(const std::string &dot) {
  std::vector<std::string> ids;
  for (size_t at = 0; at < dot.size();) {
    const size_t end = dot.find('\n', at);
    const std::string line = dot.substr(at, end - at);
    if (line.find("never hit") != std::string::npos) ids.push_back(line.substr(0, line.find(" [")));
    at = end + 1;
  }
  return ids;
}

TEST(Graph, MarksWhatWasNeverHit) {
  EXPECT_EQ(never_hit(run_zar({"graph", "-"}, kCounted).out),
            (std::vector<std::string>{R"(  "rule p/e/3")", R"(  "event p/silent")", R"(  "parameter-map unused")"}));
}

TEST(Graph, OfAFileWithoutAScenarioHasNoCounts) {
  const Result result = run_zar({"graph", "tests/command/policies/paths.yaml"});
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("paths.yaml, without a scenario<br"), std::string::npos);
  EXPECT_EQ(never_hit(result.out), std::vector<std::string>());
  EXPECT_EQ(result.out.find(" -> \"event p/start\" [label"), std::string::npos);
  EXPECT_EQ(result.out.find("dashed"), std::string::npos);
}

TEST(Graph, DrawsTargetsWithTheSamePoliciesAsOne) {
  const Result result = run_zar({"graph", "-"}, R"(
domains: {d: }
policy-maps: {p: {events: {}}, q: {events: {}}}
targets:
  t1: {policies: [p, q]}
  t2: {policies: [q, p]}
  t3: {policies: [p, q]}
)");
  EXPECT_NE(result.out.find("<b>2 targets</b><br align=\"left\"/>t1<br align=\"left\"/>t3<br align=\"left\"/>>"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("<b>target</b><br align=\"left\"/>t2<br align=\"left\"/>>"), std::string::npos);
}

// With an edge from each raise to each policy-map, the picture would grow with the product of both.
TEST(Graph, GathersRaisesOfAnEventThatSeveralPoliciesHandle) {
  const Result result = run_zar({"graph", "-"}, R"(
domains: {d: }
class-maps: {c: , never: {filters: [{attribute: x, present: true}]}}
policy-maps:
  p: {events: {e: {rules: [{number: 1, class: c, actions: [{raise: f}]}, {number: 2, class: never, actions: [{raise: f}]}]}}}
  q: {events: {f: {rules: []}}}
  r: {events: {f: {rules: []}}}
targets: {t: {policies: [p, q]}}
scenario: [{event: e, target: t}, {event: e, target: t}]
)");
  ASSERT_EQ(result.code, 0) << result.err;
  const std::string hit = R"(, color="#c07000", fontcolor="#c07000"];)";
  EXPECT_TRUE(has_line(result, R"("rule p/e/1" -> "raised f" [constraint=false, label="2")" + hit)) << result.out;
  EXPECT_TRUE(has_line(result, R"("raised f" -> "event q/f" [constraint=false, label="2")" + hit)) << result.out;
  EXPECT_NE(result.out.find(R"("rule p/e/2" -> "raised f" [constraint=false, label="0", style=dashed,)"),
            std::string::npos);
  EXPECT_NE(result.out.find(R"("raised f" -> "event r/f" [constraint=false, label="0", style=dashed,)"),
            std::string::npos);
  EXPECT_EQ(result.out.find(R"("rule p/e/1" -> "event)"), std::string::npos);
}

TEST(Graph, LeavesNothingForDotToSubstitute) {
  const Result result = run_zar({"graph", "-"}, R"(
domains: {d: }
class-maps: {c: {filters: [{attribute: a, equals: '\N'}]}}
)");
  EXPECT_NE(result.out.find("a equals \"&#92;&#92;N\"<br"), std::string::npos) << result.out;
}

TEST(Graph, CutsWhatIsTooLongForAPicture) {
  std::string filters;
  for (int at = 0; at < 15; ++at)
    filters += "{attribute: a, equals: " + std::to_string(at) + "}, ";
  const std::string umlauts(40, 'x');
  const Result result = run_zar({"graph", "-"}, "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, equals: \"" +
                                                    umlauts + "ü<&ü>ü\"}, " + filters + "]}}\n");
  EXPECT_NE(result.out.find("<br align=\"left\"/>a equals " + umlauts + "ü&lt;&amp;ü&gt;ü<br"), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("a equals 10<br align=\"left\"/>and 4 more<br align=\"left\"/>>"), std::string::npos);
  EXPECT_EQ(result.out.find("a equals 11"), std::string::npos);

  // A text is never cut inside a character.
  const Result cut = run_zar(
      {"graph", "-"}, "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, equals: \"x" + std::string(80, 'y') +
                          "\"}, {attribute: a, equals: " + "üüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüüü}]}}\n");
  EXPECT_NE(cut.out.find("a equals x" + std::string(50, 'y') + "...<br"), std::string::npos) << cut.out;
  EXPECT_NE(cut.out.find("a equals üüüüüüüüüüüüüüüüüüüüüüüüü...<br"), std::string::npos) << cut.out;
}

TEST(Graph, WritesJson) {
  const Result result = run_zar({"graph", "-", "--json"}, kCounted);
  EXPECT_EQ(result.code, 0);
  expect_golden("graph/counted.json.out", result.out);
}

TEST(Graph, RefusesABadFile) {
  const Result result = run_zar({"graph", "-"}, "clients: 7\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(run_zar({"graph"}).code, 2);
}

}  // namespace
