// zar show: the objects of a repository, for people to read.
#include "runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;

constexpr const char *kHard = "tests/command/policies/config.yaml";

TEST(Show, ListsEverythingInShort) {
  const Result result = run_zar({"show", "examples/guest-network.yaml"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("show/overview.out", result.out);
}

TEST(Show, OfARepositoryWithNothingInItIsEmpty) {
  const Result result = run_zar({"show", "-"}, "{}\n");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
}

TEST(Show, TellsAllOfAKindInFull) {
  expect_golden("show/policies.out", run_zar({"show", "examples/broadband.yaml", "policy"}).out);
  expect_golden("show/classes.out", run_zar({"show", "examples/broadband.yaml", "class"}).out);
  expect_golden("show/targets.out", run_zar({"show", "examples/broadband.yaml", "target"}).out);
  expect_golden("show/parameter-maps.out", run_zar({"show", kHard, "parameter-map"}).out);
}

TEST(Show, TellsOneObject) {
  const Result result = run_zar({"show", "examples/broadband.yaml", "class", "barred"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out,
            "class-map barred match-any\n"
            "  domain: subscriber\n"
            "  database: of client access\n"
            "  used by: authorisation/authorise/10\n"
            "  match account-state equals closed\n"
            "  match unpaid-months range 3..\n");
}

TEST(Show, TellsWhatIsNotAsUsual) {
  EXPECT_EQ(run_zar({"show", kHard, "policy", "zz"}).out,
            "policy-map zz\n"
            "  domain: y\n"
            "  database: of client b\n"
            "  active on: s\n"
            "  event e3 match-first\n"
            "    rule 1, class-map a-none match-none, run-all\n"
            "    rule 255, class-map yes match-all, stop-on-success\n"
            "      1 deny\n"
            "      2 raise e1, precedence 9\n"
            "      3 set x 0x10\n"
            "      9 apply m\n"
            "  event e1 match-all\n");
  EXPECT_EQ(run_zar({"show", kHard, "target", "t:1@"}).out,
            "target t:1@\n"
            "  client: the engine\n"
            "  attribute alpha: 12:30\n"
            "  attribute b: \"a\\nb\"\n"
            "  attribute zeta: 007\n"
            "  policy-map 1: mm\n"
            "  policy-map 2: aa\n");
}

TEST(Show, GivesTheLibrarysListings) {
  const Result all = run_zar({"show", "examples/guest-network.yaml", "--listing"});
  EXPECT_EQ(all.code, 0);
  expect_golden("show/listing.out", all.out);

  const Result policy = run_zar({"show", "examples/guest-network.yaml", "policy", "guest-login", "--listing"});
  expect_golden("show/listing-of-one.out", policy.out);

  const Result classes = run_zar({"show", "examples/interface-qos.yaml", "class", "bulk", "--listing"});
  EXPECT_EQ(classes.out,
            "Class-maps of the default database\n"
            "  Class-map                   Action                         Exec  Hit  Miss  Comp\n"
            "  ---------                   ------                         ----  ---  ----  ----\n"
            "  match-any bulk              match application equals backup     0    0     0     0\n"
            "  match-any bulk              match application equals update     0    0     0     0\n");
}

TEST(Show, WritesJson) {
  const Result result = run_zar({"show", "examples/broadband.yaml", "class", "barred", "--json"});
  EXPECT_EQ(result.code, 0);
  expect_golden("show/class.json.out", result.out);
}

struct Wrong {
  const char *name;
  std::vector<std::string> arguments;
  std::string message;
};

// How the test framework prints a case.
void PrintTo(const Wrong &wrong, std::ostream *out) {
  *out << wrong.name;
}

class WrongShow : public testing::TestWithParam<Wrong> {};

TEST_P(WrongShow, IsToldWithExitCode2) {
  std::vector<std::string> arguments = {"show", "examples/broadband.yaml"};
  arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
  const Result result = run_zar(arguments);
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    All, WrongShow,
    testing::Values(
        Wrong{"AKind", {"polcy"}, "zar: there is no kind of object 'polcy'; did you mean 'policy'?\n"},
        Wrong{"NoKind", {""}, "zar: there is no kind of object ''\n"},
        Wrong{"AName", {"target", "line-101"}, "zar: there is no target 'line-101'; did you mean 'line-0101'?\n"},
        Wrong{"ANameOfAnotherKind", {"policy", "barred"}, "zar: there is no policy-map 'barred'\n"},
        Wrong{"NoName", {"parameter-map", ""}, "zar: there is no parameter-map ''\n"},
        Wrong{"AListing", {"target", "--listing"}, "zar: the library has no listing of targets\n"},
        Wrong{"AListingAsData",
              {"--listing", "--json"},
              "zar: --listing and --json exclude each other\nRun zar show --help for help.\n"}),
    [](const auto &parameter) { return std::string(parameter.param.name); });

TEST(Show, RefusesABadFile) {
  const Result result = run_zar({"show", "-", "class"}, "clients: 7\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("<stdin>:1:10: error: ")) << result.err;
}

}  // namespace
