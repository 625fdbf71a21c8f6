// zar explain --reach: attributes that reach a rule, or what takes everything before it.
#include "runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kLint = "tests/command/policies/lint.yaml";

TEST(Reach, GivesAttributesThatReachTheRule) {
  const Result result = run_zar({"explain", "examples/interface-qos.yaml", "--reach", "mark-ingress/ingress/30"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("explain/reach.out", result.out);
}

// Raising the event with these attributes shows that the rule runs.
TEST(Reach, GivesAttributesWithWhichTheRuleRuns) {
  const Result reach = run_zar({"explain", kLint, "--reach", "p/ages/5"});
  EXPECT_EQ(reach.out,
            "tests/command/policies/lint.yaml:63:22: rule p/ages/5, class-map ageless, is reached\n"
            "  for example: age is absent\n"
            "  played with: policy-map p\n");
  const Result played = run_zar({"explain", kLint, "--event", "ages@t", "--clear", "age", "--level", "decision"});
  EXPECT_NE(played.out.find("rule p/ages/5, class-map ageless: ran"), std::string::npos) << played.out;
}

TEST(Reach, NamesTheRulesThatTakeEverything) {
  const Result result = run_zar({"explain", kLint, "--reach", "p/ages/3"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "tests/command/policies/lint.yaml:62:22: rule p/ages/3, class-map any-age, is never reached: earlier rules "
            "take all that it matches\n"
            "  tests/command/policies/lint.yaml:60:22: rule 1, class-map minor match-all\n"
            "  tests/command/policies/lint.yaml:61:22: rule 2, class-map adult match-all\n");
}

TEST(Reach, NamesTheFiltersThatContradictEachOther) {
  const Result result = run_zar({"explain", kLint, "--reach", "p/never/1"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(
      result.out,
      "tests/command/policies/lint.yaml:74:32: rule p/never/1, class-map apart, is never reached: class-map apart "
      "match-all can never match\n"
      "  tests/command/policies/lint.yaml:26:21: must hold: a prefix ab\n"
      "  tests/command/policies/lint.yaml:26:49: must hold: a prefix ac\n");
}

TEST(Reach, WritesJson) {
  const Result result = run_zar({"explain", kLint, "--reach", "p/ages/3", "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("explain/reach.json.out", result.out);
}

TEST(Reach, AdmitsWhatItCouldNotDecide) {
  const std::string file = R"(
domains: {d: }
class-maps: {capitals: {filters: [{attribute: name, regex: '^\p{Lu}{2}$'}]}}
policy-maps: {p: {events: {e: {match: first, rules: [{number: 1, class: capitals, actions: []}]}}}}
)";
  const Result result = run_zar({"explain", "-", "--reach", "p/e/1"}, file);
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.out,
            "<stdin>:4:63: whether rule p/e/1, class-map capitals, is ever reached was not decided: it depends on a "
            "regular expression that lint cannot follow or that is too large\n");
}

// The first rule changes what the second tests, so its class-map is never what decides.
TEST(Reach, AdmitsThatEarlierRulesChangeWhatIsTested) {
  const std::string file = R"(
domains: {d: }
class-maps: {always: {}, gold: {filters: [{attribute: service, equals: gold}]}}
policy-maps:
  p:
    events:
      e:
        rules:
          - {number: 1, class: always, actions: [{set: {service: silver}}]}
          - {number: 2, class: gold, actions: [deny]}
)";
  const Result result = run_zar({"explain", "-", "--reach", "p/e/2"}, file);
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.out.find("earlier rules or policy-maps change the attributes that it tests"), std::string::npos)
      << result.out;
}

TEST(Reach, AvoidsEarlierRulesThatChangeWhatIsTested) {
  const std::string file = R"(
domains: {d: }
class-maps:
  east: {filters: [{attribute: region, equals: east}]}
  gold: {filters: [{attribute: service, equals: gold}]}
policy-maps:
  p:
    events:
      e:
        rules:
          - {number: 1, class: east, actions: [{set: {service: silver}}]}
          - {number: 2, class: gold, actions: [deny]}
)";
  const Result result = run_zar({"explain", "-", "--reach", "p/e/2"}, file);
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "<stdin>:12:22: rule p/e/2, class-map gold, is reached\n"
            "  for example: region is absent, service is gold\n"
            "  played with: policy-map p\n");
}

TEST(Reach, RefusesRulesThatTheFileDoesNotHave) {
  const Result result = run_zar({"explain", kLint, "--reach", "p/age/3"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zar: there is no rule 'p/age/3'; did you mean 'p/ages/3'?\n");
}

TEST(Reach, ExcludesAnEventAndWhatChangesIt) {
  for (const char *option : {"--event=ages@t", "--set=age=7", "--clear=age", "--level=rules"}) {
    const Result result = run_zar({"explain", kLint, "--reach", "p/ages/3", option});
    EXPECT_EQ(result.code, 2) << option;
    EXPECT_NE(result.err.find("--reach exclude each other"), std::string::npos) << result.err;
  }
}

TEST(Reach, HasTheEffortToItself) {
  const Result result = run_zar({"explain", kLint, "--event", "ages@t", "--effort", "1"});
  EXPECT_EQ(result.code, 2);
  EXPECT_NE(result.err.find("--event and --effort exclude each other"), std::string::npos) << result.err;
}

TEST(Reach, WritesTheErrorsOfABadFileIntoItsObject) {
  const Result result = run_zar({"explain", "-", "--reach", "p/e/1", "--json"}, "clients: 7\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("\"file_errors\""), std::string::npos) << result.out;
}

}  // namespace
