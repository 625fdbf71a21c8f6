// What can be proved: pairs of policies that are known to be equal or to differ, and claims at the edges of the engine.
#include <gtest/gtest.h>

#include "policy.h"
#include "simulator/policy/load.h"
#include "simulator/prove/claims.h"
#include "simulator/prove/comparison.h"
#include "simulator/text/text.h"

namespace {

using simulator::concat;
using simulator::PolicyFile;
using simulator::prove::Answer;
using simulator::prove::Answers;
using simulator::prove::Result;
using simulator::reasoning::Input;
using test::load_good;

simulator::reasoning::MayGoOn patience() {
  return [] { return true; };
}

// The rules of event 'e' of the only policy-map, after the class-maps.
std::string file_of(const std::string &classes, const std::string &rules, const std::string &match = "first") {
  return concat("domains: {d: , subscriber: }\nclass-maps:\n  always: {domain: d}\n", classes,
                "policy-maps:\n  p:\n    domain: d\n    events:\n      e:\n        match: ", match,
                "\n        rules:\n", rules, "targets: {t: {policies: [p]}}\n");
}

std::string rule(int number, const std::string &class_map, const std::string &actions) {
  return concat("          - {number: ", number, ", class: ", class_map, ", actions: [", actions, "]}\n");
}

std::string class_map(const std::string &name, const std::string &filters, const std::string &match = "all") {
  return concat("  ", name, ": {domain: d, match: ", match, ", filters: [", filters, "]}\n");
}

Answer only(Answers answers) {
  EXPECT_EQ(answers.all.size(), 1u);
  EXPECT_TRUE(answers.problems.empty());
  return answers.all.empty() ? Answer{} : std::move(answers.all[0]);
}

Answer compared(const std::string &before, const std::string &after) {
  const PolicyFile one = load_good(before);
  const PolicyFile other = load_good(after);
  Answer answer = only(simulator::prove::compare({.before = &one, .after = &other}, patience));
  answer.plays.clear();  // they refer to the files
  return answer;
}

Answer answer_to(const std::string &text, const std::string &claim) {
  const PolicyFile file = load_good(concat(text, "claims:\n  - {event: e, ", claim, "}\n"));
  Answer answer = only(simulator::prove::prove_claims(file, patience));
  answer.plays.clear();
  return answer;
}

Result result_of(const std::string &text, const std::string &claim) {
  return answer_to(text, claim).result;
}

const std::string kA1 = "{attribute: a, equals: '1'}";
const std::string kA2 = "{attribute: a, equals: '2'}";

// ---- Known to be equal ----------------------------------------------------------------------------------------------------

TEST(KnownToBeEqual, AreRulesOfDisjointClassesInAnotherOrder) {
  const std::string classes = class_map("one", kA1) + class_map("two", kA2);
  const std::string one = "{set: {x: '1'}}, permit";
  const std::string two = "{log: two}, deny";
  EXPECT_EQ(compared(file_of(classes, rule(10, "one", one) + rule(20, "two", two)),
                     file_of(classes, rule(10, "two", two) + rule(20, "one", one)))
                .result,
            Result::proved);
}

TEST(KnownToBeEqual, AreAClassAndTheTwoPartsItIsSplitInto) {
  const std::string whole = class_map("low", "{attribute: n, range: {min: 0, max: 99}}");
  const std::string parts = class_map("lower", "{attribute: n, range: {min: 0, max: 49}}") +
                            class_map("upper", "{attribute: n, range: {min: 50, max: 99}}");
  EXPECT_EQ(
      compared(file_of(whole, rule(10, "low", "{count: hits}, deny")),
               file_of(parts, rule(10, "lower", "{count: hits}, deny") + rule(20, "upper", "{count: hits}, deny")))
          .result,
      Result::proved);
}

TEST(KnownToBeEqual, ArePoliciesWhoseObjectsHaveOtherNames) {
  const std::string before = file_of(class_map("one", kA1), rule(10, "one", "permit"));
  std::string after = file_of(class_map("renamed", kA1), rule(77, "renamed", "permit"));
  const auto replace = [&](const std::string &from, const std::string &to) {
    after.replace(after.find(from), from.size(), to);
  };
  replace("  p:\n", "  q:\n");
  replace("[p]", "[q]");
  EXPECT_EQ(compared(before, after).result, Result::proved);
}

TEST(KnownToBeEqual, AreTwoRulesWithTheSameActionsAndOneForBoth) {
  const std::string both = class_map("both", kA1 + ", " + kA2, "any");
  const std::string each = class_map("one", kA1) + class_map("two", kA2);
  EXPECT_EQ(compared(file_of(each, rule(1, "one", "{set: {x: y}}") + rule(2, "two", "{set: {x: y}}")),
                     file_of(both, rule(1, "both", "{set: {x: y}}")))
                .result,
            Result::proved);
}

TEST(KnownToBeEqual, AreAnEventAndTheEventThatItRaises) {
  const std::string direct = file_of("", rule(1, "always", "{set: {x: y}}, {log: seen}"));
  const std::string raised =
      file_of("", rule(1, "always", "{raise: f}") +
                      "      f: {rules: [{number: 1, class: always, actions: [{set: {x: y}}, {log: seen}]}]}\n");
  const PolicyFile one = load_good(direct);
  const PolicyFile other = load_good(raised);
  const Answers answers = simulator::prove::compare({.before = &one, .after = &other}, patience);
  ASSERT_EQ(answers.all.size(), 2u);
  EXPECT_EQ(answers.all[0].result, Result::proved);
  EXPECT_EQ(answers.all[1].event, "f");
  EXPECT_EQ(answers.all[1].result, Result::refuted);
}

TEST(KnownToBeEqual, AreSettingTheValueThatAnAttributeHas) {
  EXPECT_EQ(compared(file_of(class_map("one", kA1), rule(1, "one", "permit")),
                     file_of(class_map("one", kA1), rule(1, "one", "{set: {a: '1'}}, permit")))
                .result,
            Result::proved);
}

// ---- Known to differ ------------------------------------------------------------------------------------------------------

TEST(KnownToDiffer, InOneValueAndAreRefutedWithIt) {
  const auto with_limit = [](int limit) {
    return file_of(class_map("low", concat("{attribute: n, range: {min: 0, max: ", limit, "}}")),
                   rule(10, "low", "deny"));
  };
  const Answer answer = compared(with_limit(99), with_limit(100));
  EXPECT_EQ(answer.result, Result::refuted);
  EXPECT_EQ(answer.witness, (Input{{"n", "100"}}));
  EXPECT_EQ(answer.what, (std::vector<std::string>{"the verdict: none -> deny"}));
}

TEST(KnownToDiffer, InTheOrderOfTwoLoggedTexts) {
  const Answer answer = compared(file_of("", rule(1, "always", "{log: one}, {log: two}")),
                                 file_of("", rule(1, "always", "{log: two}, {log: one}")));
  EXPECT_EQ(answer.result, Result::refuted);
  EXPECT_EQ(answer.what, (std::vector<std::string>{"the log: \"one\", \"two\" -> \"two\", \"one\""}));
}

TEST(KnownToDiffer, InANumberWrittenInTwoWays) {
  const Answer answer =
      compared(file_of(class_map("c", "{attribute: n, equals: '7'}"), rule(1, "c", "permit")),
               file_of(class_map("c", "{attribute: n, range: {min: 7, max: 7}}"), rule(1, "c", "permit")));
  EXPECT_EQ(answer.result, Result::refuted);
  EXPECT_EQ(answer.witness, (Input{{"n", "07"}}));
}

// ---- Claims ---------------------------------------------------------------------------------------------------------------

TEST(Claims, FollowWhatIsSetAndCountedBeforeARuleIsTried) {
  const std::string file =
      file_of(class_map("three", "{attribute: n, equals: '3'}"),
              rule(10, "always", "{set: {n: '2'}}, {count: n}") + rule(20, "three", "deny"), "all");
  EXPECT_EQ(result_of(file, "always: deny"), Result::proved);
  EXPECT_EQ(result_of(file, "always-runs: three"), Result::proved);
  EXPECT_EQ(result_of(file, "ends-with: {n: '3'}"), Result::proved);
  EXPECT_EQ(result_of(file, "never: deny"), Result::refuted);
}

TEST(Claims, AreAboutTargetsForWhichTheConditionsHoldBeforeTheEvent) {
  const std::string file = file_of(class_map("one", kA1), rule(10, "one", "{set: {a: '2'}}, permit"));
  EXPECT_EQ(result_of(file, concat("when: [", kA1, "], always: permit")), Result::proved);
  EXPECT_EQ(result_of(file, concat("when: [", kA2, "], never: permit")), Result::proved);
  const Answer answer = answer_to(file, "never: permit");
  EXPECT_EQ(answer.result, Result::refuted);
  EXPECT_EQ(answer.witness, (Input{{"a", "1"}}));
}

TEST(Claims, WhoseConditionsNoTargetSatisfiesSaySo) {
  const Answer answer = answer_to(file_of(class_map("one", kA1), rule(10, "one", "permit")),
                                  concat("when: [", kA1, ", ", kA2, "], always: permit"));
  EXPECT_EQ(answer.result, Result::proved);
  EXPECT_EQ(answer.notes.size(), 1u);
}

TEST(Claims, CountFromZeroWhenAnAttributeIsNoNumber) {
  const std::string file = file_of("", rule(10, "always", "{count: n}"));
  EXPECT_EQ(result_of(file, "when: [{attribute: n, present: true, no-match: true}], ends-with: {n: '1'}"),
            Result::proved);
  EXPECT_EQ(result_of(file, "when: [{attribute: n, prefix: x}], ends-with: {n: '1'}"), Result::proved);
  EXPECT_EQ(result_of(file, "when: [{attribute: n, range: {min: 41, max: 41}}], ends-with: {n: '42'}"), Result::proved);
  EXPECT_EQ(
      result_of(file,
                "when: [{attribute: n, range: {min: 9223372036854775807}}], ends-with: {n: '9223372036854775807'}"),
      Result::proved);
}

TEST(Claims, KnowWhichPrefixesNumbersHaveAfterACount) {
  const std::string file = file_of(class_map("twelve", "{attribute: n, prefix: '12'}"),
                                   rule(10, "always", "{count: n}") + rule(20, "twelve", "deny"), "all");
  EXPECT_EQ(result_of(file, "when: [{attribute: n, range: {min: 119, max: 128}}], always: deny"), Result::proved);
  EXPECT_EQ(result_of(file, "when: [{attribute: n, range: {min: 12, max: 118}}], never: deny"), Result::proved);
  EXPECT_EQ(answer_to(file, "when: [{attribute: n, range: {min: 20}}], never: deny").witness, (Input{{"n", "119"}}));
}

TEST(Claims, KnowThatARaiseFailsAtTheSixteenthLevel) {
  const std::string file = file_of("", rule(10, "always", "{count: n}, {raise: e}, {log: not reached}"));
  EXPECT_EQ(result_of(file, "when: [{attribute: n, equals: '0'}], ends-with: {n: '16'}"), Result::proved);
  EXPECT_EQ(result_of(file, "never-fails: true"), Result::refuted);
}

TEST(Claims, AreUndecidedWhenTheWaysThroughAnEventAreTooMany) {
  const std::string file = file_of("", rule(10, "always", "{raise: e}, {raise: e}, permit"));
  const Answer answer = answer_to(file, "always: permit");
  EXPECT_EQ(answer.result, Result::undecided);
  ASSERT_EQ(answer.why.size(), 1u);
  EXPECT_NE(answer.why[0].find("'raise e' in line 11: the ways through it lead to more than 1000 events"),
            std::string::npos)
      << answer.why[0];
}

TEST(Claims, NameTheExpressionThatCannotBeFollowed) {
  const std::string file = file_of(class_map("even", "{attribute: n, regex: '[02468]$'}"),
                                   rule(10, "always", "{count: n}") + rule(20, "even", "deny"), "all");
  const Answer answer = answer_to(file, "when: [{attribute: n, equals: '12'}], never: deny");
  EXPECT_EQ(answer.result, Result::undecided);
  EXPECT_EQ(answer.why,
            (std::vector<std::string>{"the regular expression \"[02468]$\" on attribute n after it was counted"}));
}

TEST(Claims, RunOutOfTimeWithoutAnAnswer) {
  const PolicyFile file =
      load_good(file_of(class_map("one", kA1), rule(10, "one", "permit")) + "claims: [{event: e, never: permit}]\n");
  const Answer answer = only(simulator::prove::prove_claims(file, [] { return [] { return 0U; }; }));
  EXPECT_EQ(answer.result, Result::undecided);
  EXPECT_EQ(answer.why, (std::vector<std::string>{"the time is over"}));
}

TEST(Claims, KeepTheVerdictOfARaisedEventItsOwn) {
  const std::string raised = "      f: {rules: [{number: 1, class: always, actions: [deny]}]}\n";
  const std::string file = file_of("", rule(10, "always", "permit, {raise: f}, deny") + raised);
  EXPECT_EQ(result_of(file, "always: permit"), Result::proved);
  EXPECT_EQ(result_of(file, "never-fails: true, policies: [p]"), Result::refuted);
}

TEST(Claims, KnowTheThreeWaysInWhichAClassMapMatches) {
  const std::string filters = kA1 + ", {attribute: b, present: true, no-match: true}";
  const auto answer = [&](const std::string &match, const std::string &when) {
    return result_of(file_of(class_map("c", filters, match), rule(1, "c", "permit")),
                     concat("when: [", when, "], always: permit"));
  };
  const std::string no_b = "{attribute: b, present: true, no-match: true}";
  EXPECT_EQ(answer("all", kA1 + ", " + no_b), Result::proved);
  EXPECT_EQ(answer("all", kA1), Result::refuted);
  EXPECT_EQ(answer("any", kA1), Result::proved);
  EXPECT_EQ(answer("any", no_b), Result::proved);
  EXPECT_EQ(answer("none", kA2 + ", {attribute: b, present: true}"), Result::proved);
  EXPECT_EQ(answer("none", kA2), Result::refuted);
}

TEST(KnownToBeEqual, AreCountingTheHighestNumberAndLeavingIt) {
  const PolicyFile one = load_good(file_of("", rule(1, "always", "{count: a}, permit")));
  const PolicyFile other = load_good(file_of(class_map("one", kA1), rule(1, "always", "permit")));
  const PolicyFile highest =
      load_good(file_of(class_map("c", "{attribute: a, equals: '9223372036854775807'}"), rule(1, "c", "permit")));
  const std::vector<simulator::Filter> when = {highest.class_maps.at(1).filters.at(0)};
  EXPECT_EQ(only(simulator::prove::compare({.before = &one, .after = &other, .when = when}, patience)).result,
            Result::proved);
}

TEST(Stricter, AllowsMoreDenialsAndNoMorePermits) {
  const PolicyFile strict =
      load_good(file_of(class_map("one", kA1), rule(10, "one", "deny") + rule(20, "always", "permit")));
  const PolicyFile lax = load_good(file_of("", rule(20, "always", "permit")));
  const auto answer = [](const PolicyFile &before, const PolicyFile &after) {
    return only(simulator::prove::compare({.before = &before, .after = &after, .stricter = true}, patience)).result;
  };
  EXPECT_EQ(answer(lax, strict), Result::proved);
  EXPECT_EQ(answer(strict, lax), Result::refuted);
}

}  // namespace
