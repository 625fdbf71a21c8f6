// zar lint: the faults that it finds, and what it says when it cannot decide.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "runner.h"

namespace {

using Json = nlohmann::json;
using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kLint = "tests/command/policies/lint.yaml";

TEST(Lint, FindsSomethingOfEverything) {
  const Result result = run_zar({"lint", kLint});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("lint/lint.out", result.out);
}

TEST(Lint, WritesJson) {
  const Result result = run_zar({"lint", kLint, "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("lint/lint.json.out", result.out);
}

TEST(Lint, IsContentWithAGoodFile) {
  for (const char *name : {"guest-network", "interface-qos"}) {
    const Result result = run_zar({"lint", std::string("examples/") + name + ".yaml"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out + result.err, "");
  }
}

TEST(Lint, TellsOfAClassMapThatNoRuleHas) {
  const Result result = run_zar({"lint", "examples/broadband.yaml"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "examples/broadband.yaml:29:3: unused-class: class-map authorised is not used: no rule has it\n"
            "  29 |   authorised:\n"
            "     |   ^\n");
}

TEST(Lint, RefusesABadFile) {
  EXPECT_EQ(run_zar({"lint", "-"}, "clients: 7\n").code, 65);
}

TEST(Lint, TakesSeveralFilesAndEndsWithTheWorstCode) {
  const std::string found = run_zar({"lint", kLint}).out;
  const Result two = run_zar({"lint", "examples/guest-network.yaml", kLint});
  EXPECT_EQ(two.code, 1);
  EXPECT_EQ(two.out, found);
  const Result three = run_zar({"lint", "/nowhere", kLint, "examples/guest-network.yaml"});
  EXPECT_EQ(three.code, 65);
  EXPECT_EQ(three.out, found);
  EXPECT_TRUE(three.err.starts_with("/nowhere: error: cannot be opened")) << three.err;
  EXPECT_EQ(run_zar({"lint", "examples/guest-network.yaml", "examples/interface-qos.yaml"}).code, 0);
  EXPECT_EQ(run_zar({"lint", "-", "-"}, "{}\n").code, 2);
}

TEST(Lint, ListsSeveralFilesInItsObject) {
  const auto one = nlohmann::ordered_json::parse(run_zar({"lint", kLint, "--json"}).out);
  const Result result = run_zar({"lint", kLint, "/nowhere", "examples/guest-network.yaml", "--json"});
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  const auto several = nlohmann::ordered_json::parse(result.out);
  ASSERT_EQ(several["files"].size(), 2u);
  EXPECT_EQ(several["files"][0]["findings"], one["findings"]);
  EXPECT_EQ(several["files"][1]["findings"], nlohmann::ordered_json::array());
  EXPECT_EQ(several["file_errors"][0]["file"], "/nowhere");
}

// Lint knows nothing about anything outside the file.
TEST(Lint, SaysNothingOfPoliciesInAFileWithoutTargetsOrEvents) {
  const Result result = run_zar({"lint", "-"}, R"(
domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: []}]}}}}
)");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
}

// The explanation of a finding's example shows what the finding claims.
TEST(Lint, GivesExamplesThatShowTheShadow) {
  const Result result = run_zar({"explain", kLint, "--event", "ages@t", "--set", "age=40", "--level", "decision"});
  EXPECT_NE(result.out.find("rule p/ages/2, class-map adult: ran"), std::string::npos) << result.out;
}

TEST(Lint, FindsFaultsOfActionsRaisesAndAttributes) {
  const Result result = run_zar({"lint", "tests/command/policies/lint-actions.yaml"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("lint/actions.out", result.out);
}

// What a finding says about its example happens when the example is played.
TEST(Lint, GivesExamplesThatShowTheIgnoredDenial) {
  const Result result = run_zar({"explain", "tests/command/policies/lint-actions.yaml", "--event", "permits-later@t",
                                 "--set", "account-state=barred", "--set", "service=gold", "--level", "decision"});
  EXPECT_NE(result.out.find("permits-later at t: permit"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("rule p/authorise/10, class-map barred: ran"), std::string::npos) << result.out;
}

TEST(Lint, IgnoresWhatCommentsAskFor) {
  const Result result = run_zar({"lint", "tests/command/policies/lint-ignore.yaml"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("lint/ignore.out", result.out);
}

TEST(Lint, ListsInJsonWhatIsIgnored) {
  const Result result = run_zar({"lint", "tests/command/policies/lint-ignore.yaml", "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("lint/ignore.json.out", result.out);
}

TEST(Lint, FindsNothingWhereAllIsIgnored) {
  const Result result =
      run_zar({"lint", "-"}, "domains: {d: }\nclass-maps:\n  c: {}  # zar: ignore unused-class: later\n");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
}

TEST(Lint, RefusesCommentsThatIgnoreWithoutAReason) {
  const Result result = run_zar({"lint", "-"}, R"(domains: {d: }
class-maps:
  a: {}  # zar: ignore unused-class
  b: {}  # zar: ignore unused-clas: later
  c: {}  # zar: ignore
  d: {}  # zar: ignored by nobody
)");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("<stdin>:3:10: error: an ignore without a reason\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("<stdin>:4:10: error: there is no kind of finding 'unused-clas'\n"), std::string::npos);
  EXPECT_NE(result.err.find("did you mean 'unused-class'?"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("<stdin>:5:10: error: an ignore without the kind of finding\n"), std::string::npos);
  EXPECT_EQ(result.err.find("<stdin>:6"), std::string::npos) << result.err;
}

TEST(Lint, AppliesTheIgnoresOfEachOfSeveralFiles) {
  const std::string ignore = "tests/command/policies/lint-ignore.yaml";
  const auto one = nlohmann::ordered_json::parse(run_zar({"lint", ignore, "--json"}).out);
  const Result result = run_zar({"lint", kLint, ignore, "-", "--json"}, "domains: {d: }  # zar: ignore nothing: why\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  const auto several = nlohmann::ordered_json::parse(result.out);
  ASSERT_EQ(several["files"].size(), 2u);
  EXPECT_EQ(several["files"][0]["ignored"], nlohmann::ordered_json::array());
  EXPECT_EQ(several["files"][1]["ignored"], one["ignored"]);
  EXPECT_EQ(several["files"][1]["findings"], one["findings"]);
  EXPECT_EQ(several["file_errors"][0]["errors"][0]["message"], "there is no kind of finding 'nothing'");
}

// Lint cannot follow Unicode properties.
constexpr const char *kUndecidable = R"(
domains: {d: }
class-maps:
  capitals: {filters: [{attribute: name, regex: '^\p{Lu}{2}$'}]}
policy-maps: {p: {events: {e: {rules: [{number: 1, class: capitals, actions: []}]}}}}
)";

TEST(Lint, NamesWhatItCouldNotDecide) {
  const Result result = run_zar({"lint", "-"}, kUndecidable);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "<stdin>:4:3: undecided: whether class-map capitals match-all can match was not decided: it depends on a "
            "regular expression that lint cannot follow or that is too large\n"
            "  4 |   capitals: {filters: [{attribute: name, regex: '^\\p{Lu}{2}$'}]}\n"
            "    |   ^\n");
  EXPECT_EQ(result.err, "zar: <stdin>: 1 question was not decided\n");
}

TEST(Lint, FailsIfStrictWhenSomethingWasNotDecided) {
  EXPECT_EQ(run_zar({"lint", "-", "--strict"}, kUndecidable).code, 1);
  EXPECT_EQ(run_zar({"lint", "examples/guest-network.yaml", "--strict"}).code, 0);
}

// More pigeons than holes: that a hole has two of them follows from no small part of the class-maps.
std::string pigeons(int holes) {
  const auto name = [](int pigeon, int hole) { return "p" + std::to_string(pigeon) + "-" + std::to_string(hole); };
  std::string classes;
  std::string rules;
  int number = 0;
  const auto add = [&](const std::string &body) {
    ++number;
    classes += "  c" + std::to_string(number) + ": {" + body + "]}\n";
    rules +=
        "          - {number: " + std::to_string(number) + ", class: c" + std::to_string(number) + ", actions: []}\n";
  };
  for (int pigeon = 0; pigeon <= holes; ++pigeon) {
    std::string filters;
    for (int hole = 0; hole < holes; ++hole)
      filters += (hole == 0 ? "" : ", ") + ("{attribute: " + name(pigeon, hole)) + ", present: true}";
    add("match: none, filters: [" + filters);
  }
  for (int hole = 0; hole < holes; ++hole) {
    for (int one = 0; one <= holes; ++one) {
      for (int other = 0; other < one; ++other)
        add("filters: [{attribute: " + name(one, hole) + ", present: true}, {attribute: " + name(other, hole) +
            ", present: true}");
    }
  }
  add("filters: [");
  return "domains: {d: }\nclass-maps:\n" + classes +
         "policy-maps:\n  p:\n    events:\n      e:\n        match: first\n        rules:\n" + rules;
}

TEST(Lint, ProvesWhatNeedsEveryEarlierRule) {
  const Result result = run_zar({"lint", "-"}, pigeons(4));
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("shadowed-rule: rule p/e/46, class-map c46, never runs: earlier rules take all"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 49) << result.out;
}

// A graph whose points each have three lines, each line an attribute. Four class-maps for each point match where an even
// number of its lines is present, or an odd one at the last point. Since each line has two ends, one always matches; but
// no part of the graph shows it.
std::string parities(int points) {
  std::vector<std::vector<int>> lines_of(static_cast<size_t>(points));
  int line = 0;
  const auto connect = [&](int a, int b) {
    lines_of[static_cast<size_t>(a)].push_back(line);
    lines_of[static_cast<size_t>(b)].push_back(line++);
  };
  for (int point = 0; point < points; ++point)
    connect(point, (point + 1) % points);
  // Lines across the ring, as far apart as a multiplication spreads them.
  std::vector<bool> taken(static_cast<size_t>(points));
  for (int point = 0; point < points; ++point) {
    if (taken[static_cast<size_t>(point)]) continue;
    int other = (point * 23 + 17) % points;
    while (other == point || taken[static_cast<size_t>(other)])
      other = (other + 1) % points;
    taken[static_cast<size_t>(point)] = taken[static_cast<size_t>(other)] = true;
    connect(point, other);
  }
  std::string classes;
  std::string rules;
  int number = 0;
  const auto add = [&](const std::string &filters) {
    const std::string name = std::to_string(++number);
    classes += "  c" + name + ": {filters: [" + filters + "]}\n";
    rules += "          - {number: " + name + ", class: c" + name + ", actions: []}\n";
  };
  for (int point = 0; point < points; ++point) {
    for (unsigned present = 0; present < 8; ++present) {
      const unsigned count = (present & 1U) + (present >> 1U & 1U) + (present >> 2U);
      if ((count % 2 == 0) != (point + 1 < points)) continue;
      std::string filters;
      for (size_t at = 0; at < 3; ++at) {
        filters += (at == 0 ? "" : ", ") +
                   ("{attribute: l" + std::to_string(lines_of[static_cast<size_t>(point)][at])) + ", present: true" +
                   ((present >> at & 1U) != 0 ? "}" : ", no-match: true}");
      }
      add(filters);
    }
  }
  add("");
  return "domains: {d: }\nclass-maps:\n" + classes +
         "policy-maps:\n  p:\n    events:\n      e:\n        match: first\n        rules:\n" + rules;
}

TEST(Lint, GivesUpWhenTheEffortIsOver) {
  const Result result = run_zar({"lint", "-", "--effort", "0"}, parities(60));
  EXPECT_EQ(result.code, 0);
  EXPECT_NE(result.out.find("undecided: whether rule p/e/241, class-map c241, ever runs was not decided: the effort "
                            "was over\n"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(run_zar({"lint", "-", "--effort", "0", "--strict"}, parities(60)).code, 1);
}

TEST(Lint, DecidesTheSameQuestionWhereItIsSmall) {
  const Result result = run_zar({"lint", "-"}, parities(8));
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find("shadowed-rule: rule p/e/33, class-map c33, never runs"), std::string::npos) << result.out;
}

constexpr const char *kTwoKinds = R"(
domains: {d: }
class-maps:
  never: {filters: [{attribute: a, present: true}, {attribute: a, present: true, no-match: true}]}
  kept: {}  # zar: ignore unused-class: for later
policy-maps: {p: {events: {}}, q: {events: {}}}
targets: {t: {policies: [q]}}
)";

std::vector<std::string> kinds_found(const std::vector<std::string> &options) {
  std::vector<std::string> line{"lint", "-", "--json"};
  line.insert(line.end(), options.begin(), options.end());
  const Json output = Json::parse(run_zar(line, kTwoKinds).out);
  std::vector<std::string> kinds;
  for (const Json &finding : output["findings"])
    kinds.push_back(finding["kind"]);
  for (const Json &ignored : output["ignored"])
    kinds.push_back("ignored " + ignored["kind"].get<std::string>());
  return kinds;
}

TEST(Lint, ShowsOnlyTheKindsThatAreWanted) {
  using Kinds = std::vector<std::string>;
  const Kinds all{"impossible-class", "unused-class", "inactive-policy", "ignored unused-class"};
  EXPECT_EQ(kinds_found({}), all);
  EXPECT_EQ(kinds_found({"--only", "inactive-policy"}), Kinds{"inactive-policy"});
  EXPECT_EQ(kinds_found({"--only", "inactive-policy", "--only", "impossible-class"}),
            (Kinds{"impossible-class", "inactive-policy"}));
  EXPECT_EQ(kinds_found({"--except", "unused-class"}), (Kinds{"impossible-class", "inactive-policy"}));
  EXPECT_EQ(kinds_found({"--only", "raise-loop"}), Kinds{});
}

TEST(Lint, FailsOnlyForTheKindsThatAreWanted) {
  EXPECT_EQ(run_zar({"lint", "-", "--only", "inactive-policy"}, kTwoKinds).code, 1);
  EXPECT_EQ(run_zar({"lint", "-", "--only", "raise-loop"}, kTwoKinds).code, 0);
}

TEST(Lint, ListsWhatWasNotDecidedUnlessItIsExcepted) {
  const std::string undecided = "undecided: ";
  const std::string hard = parities(60);
  const auto lists_it = [&](const std::vector<std::string> &line) {
    return run_zar(line, hard).out.find(undecided) != std::string::npos;
  };
  EXPECT_TRUE(lists_it({"lint", "-", "--effort", "0", "--only", "raise-loop"}));
  EXPECT_FALSE(lists_it({"lint", "-", "--effort", "0", "--except", "undecided"}));
}

TEST(Lint, RefusesKindsThatItDoesNotKnow) {
  const Result result = run_zar({"lint", "-", "--only", "raise-lop"}, kTwoKinds);
  EXPECT_EQ(result.code, 2);
  EXPECT_NE(result.err.find("did you mean 'raise-loop'?"), std::string::npos) << result.err;
  EXPECT_EQ(run_zar({"lint", "-", "--only", "raise-loop", "--except", "raise-loop"}, kTwoKinds).code, 2);
}

TEST(Lint, RefusesEffortsThatAreNoNumbers) {
  for (const char *effort : {"-1", "1s", "010", "86401"}) {
    const Result result = run_zar({"lint", "examples/broadband.yaml", std::string("--effort=") + effort});
    EXPECT_EQ(result.code, 2) << effort;
    EXPECT_NE(result.err.find("whole number from 0 to 86400"), std::string::npos) << result.err;
  }
}

// The event raises itself once and would end by itself, but both rounds together raise more events than the engine
// allows.
TEST(Lint, CallsNothingALoopThatOnlyRaisesTooManyEvents) {
  const auto raises = [](int count, const std::string &event) {
    std::string actions;
    for (int raised = 0; raised < count; ++raised)
      actions += "{raise: " + event + "}, ";
    return actions;
  };
  const std::string file = R"(
domains: {d: }
class-maps:
  always: {}
  not-twice: {match: none, filters: [{attribute: tries, equals: '2'}]}
policy-maps:
  p:
    events:
      again: {rules: [{number: 1, class: not-twice, actions: [{count: tries}, )" +
                           raises(40, "many") + R"({raise: again}]}]}
      many: {rules: [{number: 1, class: always, actions: [)" +
                           raises(20, "other") + R"(]}]}
      other: {rules: [{number: 1, class: always, actions: []}]}
targets: {t: {policies: [p]}}
)";
  const Result stopped = run_zar({"explain", "-", "--event", "again@t", "--level", "decision"}, file);
  EXPECT_EQ(stopped.code, 1) << stopped.out;
  const Result result = run_zar({"lint", "-"}, file);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
}

// Chains and class-maps as large as the file.
TEST(Lint, EndsOnFilesThatWereMadeToBeHard) {
  std::string file = "domains: {d: }\nclass-maps:\n  c: {}\n  large:\n    filters:\n";
  for (int filter = 0; filter < 4000; ++filter)
    file += "    - {attribute: a, prefix: p" + std::to_string(filter) + ", no-match: true}\n";
  file += "policy-maps:\n  p:\n    events:\n";
  for (int event = 0; event < 1500; ++event) {
    file += "      e" + std::to_string(event) + ": {rules: [{number: 1, class: c, actions: [{raise: e" +
            std::to_string((event + 1) % 1500) + "}]}]}\n";
  }
  file += "targets: {t: {policies: [p]}}\nscenario: [{event: e0, target: t}]\n";
  const Result result = run_zar({"lint", "-"}, file);
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("<stdin>:4:3: unused-class: class-map large is not used: no rule has it\n"
                            "  4 |   large:\n"
                            "    |   ^\n"),
            std::string::npos);
  EXPECT_NE(result.out.find("raise-loop: event e0 raises e1, which raises e2"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(", and so on through 1484 more events, until"), std::string::npos) << result.out;
}

TEST(Lint, ComparesClassMapsWithThousandsOfPrefixes) {
  std::string wide;
  std::string narrow;
  for (int number = 1000; number < 3000; ++number) {
    wide += "    - {attribute: a, prefix: p" + std::to_string(number) + "}\n";
    narrow += "    - {attribute: a, prefix: p" + std::to_string(number) + "x}\n";
  }
  const Result result = run_zar({"lint", "-", "--only", "shadowed-rule"},
                                "domains: {d: }\nclass-maps:\n  wide:\n    match: any\n    filters:\n" + wide +
                                    "  narrow:\n    match: any\n    filters:\n" + narrow +
                                    "policy-maps:\n  p:\n    events:\n      e:\n        match: first\n        rules:\n"
                                    "          - {number: 1, class: wide, actions: []}\n"
                                    "          - {number: 2, class: narrow, actions: []}\n");
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("rule p/e/2, class-map narrow, never runs: an earlier rule takes all that it matches"),
            std::string::npos)
      << result.out;
}

}  // namespace
