// zar graph: draws the policies of a repository, with the effects of the scenario.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

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
           // Events of the scenario and those that rules raise, on both targets together.
           R"("target t1" -> "policy-map p" [label="6", color="#505050", fontcolor="#505050"];)",
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

// The listing of 'zar run' counts the same.
TEST(Graph, CountsEventsOfAPolicyThatOnlyRulesRaise) {
  constexpr const char *kRaised = R"(
domains: {d: }
class-maps: {all: {}}
policy-maps:
  outer: {events: {e: {rules: [{number: 1, class: all, actions: [{raise: f}, {raise: f}]}]}}}
  inner: {events: {f: {rules: [{number: 1, class: all, actions: [{count: n}]}]}}}
targets: {t: {policies: [outer, inner]}, u: {policies: [outer]}}
scenario: [{event: e, target: t}, {event: e, target: t}, {event: e, target: u}]
)";
  const Result result = run_zar({"graph", "-"}, kRaised);
  const std::string hit = R"(, color="#505050", fontcolor="#505050"];)";
  EXPECT_TRUE(has_line(result, R"("target t" -> "policy-map inner" [label="4")" + hit)) << result.out;
  EXPECT_TRUE(has_line(result, R"("policy-map inner" -> "event inner/f" [label="4")" + hit)) << result.out;
  EXPECT_TRUE(has_line(result, R"("event inner/f" -> "rule inner/f/1" [label="4 of 4")" + hit)) << result.out;
  EXPECT_TRUE(has_line(result, R"("target t" -> "policy-map outer" [label="2")" + hit)) << result.out;
  EXPECT_TRUE(has_line(result, R"("target u" -> "policy-map outer" [label="1")" + hit)) << result.out;
  const std::string listed = run_zar({"run", "-"}, kRaised).out;
  EXPECT_NE(listed.find("count n\n        Executed: 4\n"), std::string::npos) << listed;
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

TEST(Graph, PutsTheTestsOfAClassMapThatOneRuleUsesIntoThatRule) {
  const Result result = run_zar({"graph", "-"}, kCounted);
  EXPECT_NE(
      result.out.find("<b>1 low match-all</b><br align=\"left\"/>x range ..5<br align=\"left\"/>1 raise after<br"),
      std::string::npos)
      << result.out;
  EXPECT_EQ(result.out.find("\"class-map low\""), std::string::npos);
  // Two rules use this one.
  EXPECT_NE(result.out.find("<b>3 rest</b><br"), std::string::npos);
  EXPECT_NE(result.out.find("\"rule p/e/3\" -> \"class-map rest\""), std::string::npos);

  const Result whole = run_zar({"graph", "-", "--no-fold"}, kCounted);
  EXPECT_NE(whole.out.find("<b>1 low</b><br align=\"left\"/>1 raise after<br"), std::string::npos);
  EXPECT_NE(whole.out.find("\"rule p/e/1\" -> \"class-map low\""), std::string::npos);
}

// ---- Parts of a graph -------------------------------------------------------------------------------------------------

constexpr const char *kParts = R"(
domains: {d: }
class-maps: {all: , never: {match: any}}
parameter-maps:
  m: {statements: [{index: 1, filters: [{attribute: x, present: true}], actions: [{raise: stop}]}]}
  n: {statements: []}
policy-maps:
  p:
    events:
      start:
        rules:
          - {number: 1, class: all, actions: [{apply: m}, {raise: inner}]}
          - {number: 2, class: never, actions: [deny]}
      stop: {rules: [{number: 1, class: all, actions: [permit]}]}
  q:
    events:
      inner: {rules: [{number: 1, class: all, actions: [{apply: n}]}]}
      other: {rules: []}
targets: {t: {policies: [p, q], attributes: {x: 1}}, u: {policies: [q]}}
scenario: [{event: start, target: t}]
)";

using Ids = std::vector<std::string>;

// The ids of the nodes, each class-map included.
Ids nodes_of(std::vector<std::string> options) {
  std::vector<std::string> words = {"graph", "-", "--no-fold"};
  words.insert(words.end(), options.begin(), options.end());
  const Result result = run_zar(words, kParts);
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(run_dot(result.out).code, 0);
  Ids ids;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    const bool is_node = line.starts_with("  \"") && line.find("label=<") != std::string::npos;
    if (is_node) ids.push_back(line.substr(3, line.find('"', 3) - 3));
  }
  return ids;
}

TEST(Graph, ShowsOneEventAndWhatItLeadsTo) {
  EXPECT_EQ(nodes_of({"--event", "inner"}), (Ids{"target t", "target u", "policy-map q", "event q/inner",
                                                 "rule q/inner/1", "class-map all", "parameter-map n"}));
  EXPECT_EQ(nodes_of({"--event", "stop", "--event", "other"}),
            (Ids{"target t", "target u", "policy-map p", "event p/stop", "rule p/stop/1", "policy-map q",
                 "event q/other", "class-map all"}));
  // Both events that this one raises, directly and through the parameter-map.
  EXPECT_EQ(nodes_of({"--event", "start"}),
            (Ids{"target t", "target u", "policy-map p", "event p/start", "rule p/start/1", "rule p/start/2",
                 "event p/stop", "rule p/stop/1", "policy-map q", "event q/inner", "rule q/inner/1", "class-map all",
                 "class-map never", "parameter-map m", "statement m/1", "parameter-map n"}));
}

TEST(Graph, ShowsOnePolicyMapAndTheEventsOfOthersWithoutTheirRules) {
  EXPECT_EQ(nodes_of({"--policy", "p"}), (Ids{"target t", "policy-map p", "event p/start", "rule p/start/1",
                                              "rule p/start/2", "event p/stop", "rule p/stop/1", "event q/inner",
                                              "class-map all", "class-map never", "parameter-map m", "statement m/1"}));
  EXPECT_NE(run_zar({"graph", "-", "--policy", "p"}, kParts)
                .out.find("<b>inner</b><br align=\"left\"/>match-all<br align=\"left\"/>of policy-map q<br"),
            std::string::npos);
  EXPECT_EQ(nodes_of({"--policy", "q", "--event", "inner"}),
            (Ids{"target t", "target u", "policy-map q", "event q/inner", "rule q/inner/1", "class-map all",
                 "parameter-map n"}));
  EXPECT_EQ(nodes_of({"--policy", "p", "--policy", "q"}).size(), nodes_of({}).size());
}

TEST(Graph, ShowsOnlyWhatTheScenarioReached) {
  EXPECT_EQ(nodes_of({"--hit-only"}),
            (Ids{"target t", "policy-map p", "event p/start", "rule p/start/1", "event p/stop", "rule p/stop/1",
                 "policy-map q", "event q/inner", "rule q/inner/1", "class-map all", "parameter-map m", "statement m/1",
                 "parameter-map n"}));
  EXPECT_EQ(nodes_of({"--hit-only", "--event", "inner"}),
            (Ids{"target t", "policy-map q", "event q/inner", "rule q/inner/1", "class-map all", "parameter-map n"}));
}

TEST(Graph, RefusesWhatTheFileDoesNotHave) {
  const Result result = run_zar({"graph", "-", "--policy", "P", "--event", "stopp"}, kParts);
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "zar: there is no policy-map 'P'; did you mean 'p'?\n"
            "zar: there is no event 'stopp'; did you mean 'stop'?\n");

  const Result still = run_zar({"graph", "tests/command/policies/paths.yaml", "--hit-only"});
  EXPECT_EQ(still.code, 2);
  EXPECT_EQ(still.err, "zar: tests/command/policies/paths.yaml has no scenario: nothing was hit\n");
}

// ---- Large graphs -----------------------------------------------------------------------------------------------------

// A file with an event of this number of rules; the second rule matches. Another event has a rule with the third
// class-map.
std::string with_rules(int rules) {
  std::string classes;
  std::string list;
  for (int at = 1; at <= rules; ++at) {
    const std::string number = std::to_string(at);
    classes +=
        "  c" + number + ": {filters: [{attribute: x, equals: value-" + number + "}, {attribute: y, present: true}]}\n";
    list +=
        "          - {number: " + number + ", class: c" + number + ", actions: [{set: {z: " + number + "}}, permit]}\n";
  }
  return "domains: {d: }\nclass-maps:\n" + classes +
         "policy-maps:\n  p:\n    events:\n      e:\n        match: first\n        rules:\n" + list +
         "      f: {rules: [{number: 1, class: c3, actions: [deny]}]}\n"
         "targets: {t: {policies: [p], attributes: {x: value-2, y: 1}}}\nscenario: [{event: e, target: t}]\n";
}

size_t count_of(const std::string &text, const std::string &part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

// Width and height in inches, as dot draws it.
std::pair<double, double> size_of(const std::string &dot) {
  const Result drawn = run_dot(dot);
  EXPECT_EQ(drawn.code, 0);
  EXPECT_EQ(drawn.err, "");
  std::istringstream text(drawn.out);
  std::string word;
  double scale = 0;
  double width = 0;
  double height = 0;
  text >> word >> scale >> width >> height;
  return {width, height};
}

TEST(Graph, GivesTheRulesOfALongEventSeveralColumns) {
  const Result result = run_zar({"graph", "-"}, with_rules(60));
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("<b>2 c2 match-all</b>   1 of 1<br align=\"left\"/>x equals value-2, y present<br "
                            "align=\"left\"/>1 set z 2; 2 permit<br align=\"left\"/>>"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(count_of(result.out, "\"event p/e\" -> \"rule "), 1U);
  // Two rules use the third class-map: the one of the short event has an edge to it.
  EXPECT_NE(result.out.find("<b>3 c3 match-all</b>   0 of 0, <font color=\"#b03030\"><i>never hit</i></font><br "
                            "align=\"left\"/>x equals value-3, y present<br"),
            std::string::npos);
  EXPECT_EQ(count_of(result.out, " -> \"class-map c3\""), 1U);
  EXPECT_EQ(count_of(result.out, "\"class-map"), 3U) << "the node, its edge and its column";
  EXPECT_NE(result.out.find("\"rule p/e/1\" -> \"rule p/e/26\" [style=invis];"), std::string::npos);
  EXPECT_NE(result.out.find("\"rule p/e/26\" -> \"rule p/e/51\" [style=invis];"), std::string::npos);

  const Result short_event = run_zar({"graph", "-"}, with_rules(25));
  EXPECT_EQ(count_of(short_event.out, "\"event p/e\" -> \"rule "), 25U);
}

// In one column they would be 200 inches high. A screen of 1920 by 1080 pixels shows this at half the size.
TEST(Graph, FitsTwoHundredRulesOnAScreen) {
  const auto [width, height] = size_of(run_zar({"graph", "-"}, with_rules(200)).out);
  EXPECT_LT(width, 40.0);
  EXPECT_LT(height, 24.0);
  EXPECT_GT(height, 10.0) << "where are the rules?";
}

// ---- Pictures ---------------------------------------------------------------------------------------------------------

class Scratch {
 public:
  Scratch() : path_(testing::TempDir() + "zar-graph-XXXXXX") { EXPECT_NE(mkdtemp(path_.data()), nullptr); }
  ~Scratch() { std::filesystem::remove_all(path_); }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;

  std::string path_of(const std::string &name) const { return path_ + "/" + name; }
  std::string read(const std::string &name) const {
    std::ostringstream text;
    text << std::ifstream(path_of(name), std::ios::binary).rdbuf();
    return std::move(text).str();
  }

 private:
  std::string path_;
};

TEST(Graph, DrawsPictures) {
  const Scratch folder;
  const Result result = run_zar(
      {"graph", "examples/broadband.yaml", "--svg", folder.path_of("a.svg"), "--png", folder.path_of("-b.png")});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_NE(folder.read("a.svg").find("rule authorisation/authorise/10"), std::string::npos);
  EXPECT_TRUE(folder.read("-b.png").starts_with("\x89PNG"));
}

TEST(Graph, SaysThatPicturesNeedGraphviz) {
  const Scratch folder;
  const std::string path = std::getenv("PATH");
  setenv("PATH", "/nowhere", 1);
  const Result result = run_zar({"graph", "examples/broadband.yaml", "--svg", folder.path_of("a.svg")});
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zar: dot, which draws pictures, is not installed; it comes with graphviz\n");
  EXPECT_FALSE(std::filesystem::exists(folder.path_of("a.svg")));
}

TEST(Graph, SaysThatAPictureCannotBeWritten) {
  const Result result = run_zar({"graph", "examples/broadband.yaml", "--svg", "/nowhere/a.svg"});
  EXPECT_EQ(result.code, 70);
  EXPECT_EQ(result.err, "zar: /nowhere/a.svg cannot be written: No such file or directory\n");
  EXPECT_EQ(run_zar({"graph", "examples/broadband.yaml", "--svg", "a.svg", "--json"}).code, 2);
}

// Names of files and texts of rules are not markup, and dot reads every character of them.
TEST(Graph, IsSafeFromHostileNames) {
  const Scratch folder;
  const std::string path = folder.path_of("\"><b>&amp;\\N\n\x1b%s;.yaml");
  std::ofstream(path)
      << "domains: {d: }\n"
         "class-maps: {c: {filters: [{attribute: a, equals: \"</b>]]>\\\"&lt;\\u202e\\uffff\\ufffe{|}\"}]}}\n"
         "targets: {\"a:b@c\": {policies: [p]}}\n"
         "policy-maps: {p: {events: {}}}\n";
  const Result result = run_zar({"graph", path});
  ASSERT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
  EXPECT_NE(result.out.find("\"target a:b@c\" -> \"policy-map p\""), std::string::npos);
  const Result drawn = run_dot(result.out);
  EXPECT_EQ(drawn.code, 0);
  EXPECT_EQ(drawn.err, "");
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
