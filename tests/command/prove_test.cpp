// zar prove: what it prints, its exit codes, and what it refuses.
#include "runner.h"
#include "scratch_file.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kPolicies = "tests/command/policies/prove.yaml";
constexpr const char *kChanged = "tests/command/policies/prove-changed.yaml";

TEST(Prove, AnswersEachClaimOfAFile) {
  const Result result = run_zar({"prove", kPolicies});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "");
  expect_golden("prove/claims.out", result.out);
}

TEST(Prove, WritesJson) {
  const Result result = run_zar({"prove", kPolicies, "--only", "nobody is permitted", "--json"});
  EXPECT_EQ(result.code, 1);
  expect_golden("prove/claims.json.out", result.out);
}

TEST(Prove, ComparesTwoFilesEventByEvent) {
  const Result result = run_zar({"prove", kChanged, "--against", kPolicies});
  EXPECT_EQ(result.code, 1);
  expect_golden("prove/against.out", result.out);
}

TEST(Prove, ComparesOnlyWhereAConditionHolds) {
  const Result result = run_zar({"prove", kChanged, "--against", kPolicies, "--when", "not role equals guest"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "proved  tests/command/policies/prove-changed.yaml: event login with policy-map access\n"
            "proved  tests/command/policies/prove-changed.yaml: event visit with policy-map access\n"
            "2 proved, 0 refuted, 0 undecided\n");
}

TEST(Prove, AsksWhetherAChangeOnlyDeniesMore) {
  EXPECT_EQ(run_zar({"prove", kPolicies, "--against", kChanged, "--stricter"}).code, 0);
  const Result laxer = run_zar({"prove", kChanged, "--against", kPolicies, "--stricter"});
  EXPECT_EQ(laxer.code, 1);
  EXPECT_NE(laxer.out.find("  the verdict: deny -> permit\n  for example: role is guest\n"), std::string::npos)
      << laxer.out;
}

TEST(Prove, SaysHowManyTargetsItCannotCompare) {
  const Result result = run_zar({"prove", kPolicies, "--against", "-"},
                                "domains: {d: }\nclass-maps: {c: }\npolicy-maps:\n"
                                "  p: {events: {login: {rules: [{number: 1, class: c, actions: [permit]}]}}}\n"
                                "targets: {t: {policies: [p]}, u: {policies: [p]}}\n");
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "zar: 1 target is not compared: only one of the files has it\n");
}

TEST(Prove, TakesClaimsFromTheCommandLineInsteadOfThoseOfTheFile) {
  const Result result = run_zar({"prove", kPolicies, "--claim", "{event: login, name: mine, never: none}"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "proved  --claim:1: mine\n1 proved, 0 refuted, 0 undecided\n");
}

TEST(Prove, NamesWhatStoodInTheWay) {
  const Result result = run_zar({"prove", kPolicies, "--only", "an even number is refused"});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.out,
            "undecided  tests/command/policies/prove.yaml:46: an even number is refused\n"
            "  in the way: the regular expression \"[02468]$\" on attribute visits after it was counted\n"
            "0 proved, 0 refuted, 1 undecided\n");
}

TEST(Prove, IsUndecidedWithoutTime) {
  const Result result = run_zar({"prove", kPolicies, "--only", "nobody is permitted", "--timeout", "0"});
  EXPECT_EQ(result.code, 3);
  EXPECT_NE(result.out.find("  in the way: the time is over\n"), std::string::npos) << result.out;
}

TEST(Prove, NeedsClaims) {
  const Result result = run_zar({"prove", "tests/command/policies/paths.yaml"});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.err, "zar: tests/command/policies/paths.yaml: the file has no claims\n");
}

TEST(Prove, ProvesTheClaimsOfTheExamples) {
  for (const char *example : {"broadband", "guest-network", "interface-qos"}) {
    const Result result = run_zar({"prove", std::string("examples/") + example + ".yaml"});
    EXPECT_EQ(result.code, 0) << result.out;
  }
}

TEST(Prove, RefusesClaimsThatMeanNothing) {
  const auto error_of = [](const std::string &claim) { return run_zar({"prove", kPolicies, "--claim", claim}).err; };
  EXPECT_TRUE(error_of("{event: login}").starts_with("--claim:1:1: error: a claim that claims nothing\n"));
  EXPECT_TRUE(error_of("{event: logon, never: permit}").find("'login'") != std::string::npos);
  EXPECT_TRUE(error_of("{event: login, never: permit, always: deny}")
                  .starts_with("--claim:1:39: error: a claim with both 'never' and 'always'\n"));
  EXPECT_TRUE(error_of("{event: login, never-runs: acces/login/1}")
                  .starts_with("--claim:1:28: error: there is no rule or class-map 'acces/login/1'\n"));
  EXPECT_TRUE(error_of("{event: login, never: permit, policies: [acess]}").find("did you mean") != std::string::npos);
  EXPECT_TRUE(error_of("{event: login, ends-with: {rol: }}")
                  .starts_with("--claim:1:28: error: nothing in the file mentions the attribute 'rol'\n"));
  EXPECT_TRUE(
      error_of("{event: login, ends-with: {}}").starts_with("--claim:1:27: error: a claim about no attribute\n"));
  EXPECT_EQ(run_zar({"prove", kPolicies, "--claim", "{event: login}"}).code, 2);
}

TEST(Prove, RefusesOptionsThatDoNotGoTogether) {
  EXPECT_EQ(run_zar({"prove", kPolicies, "--stricter"}).err,
            "zar: --stricter compares two files: --against is missing\n");
  EXPECT_EQ(run_zar({"prove", kPolicies, "--when", "role present"}).code, 2);
  EXPECT_EQ(run_zar({"prove", kPolicies, "--against", kChanged, "--only", "x"}).code, 2);
  const Result unknown = run_zar({"prove", kPolicies, "--against", kChanged, "--when", "rol equals guest"});
  EXPECT_EQ(unknown.code, 2);
  EXPECT_EQ(unknown.err, "zar: there is no attribute 'rol'; did you mean 'role'?\n");
  EXPECT_TRUE(run_zar({"prove", kPolicies, "--against", kChanged, "--when", "role is guest"})
                  .err.starts_with("zar: 'role is guest' is not a filter: "));
  EXPECT_EQ(run_zar({"prove", kPolicies, "--only", "an operator gets"}).err,
            "zar: there is no claim 'an operator gets'; did you mean 'an operator gets in'?\n");
}

}  // namespace
