// The tests of filters and the effects of actions, in a repository built from a file.
#include <gtest/gtest.h>
#include "engine/engine.h"

#include "simulator/repository/repository.h"
#include "simulator/repository/run_step.h"
#include "tests/simulator/policy.h"

namespace {

using engine::Outcome;
using engine::Verdict;
using test::load_good;

// A repository of a file with one target "t", for raising events on it.
class World {
 public:
  explicit World(const std::string &text) : file_(load_good(text)), repository_(file_) {
    EXPECT_TRUE(repository_.build()) << problems();
  }
  ~World() {
    repository_.tear_down();
    EXPECT_EQ(problems(), "");
  }
  World(const World &) = delete;
  World &operator=(const World &) = delete;

  Outcome raise(const std::string &event) {
    return engine::raise_event(repository_.target_handle("t"), file_.event_id(event));
  }
  void set(const std::string &attribute, const std::string &text) {
    attributes().set(engine::register_attribute(attribute), text);
  }
  void clear(const std::string &attribute) { attributes().clear(engine::register_attribute(attribute)); }
  // "-" when the target has no such attribute.
  std::string get(const std::string &attribute) {
    const engine::Attribute *found = attributes().find(engine::register_attribute(attribute));
    return found ? found->text : "-";
  }

 private:
  engine::Attributes &attributes() { return *engine::attributes_of(repository_.target_handle("t")); }
  std::string problems() const {
    std::string all;
    for (const std::string &problem : repository_.problems())
      all += problem + "\n";
    return all;
  }

  simulator::PolicyFile file_;
  simulator::Repository repository_;
};

struct FilterCase {
  std::string filter;
  std::vector<std::string> matching;
  std::vector<std::string> other;
  bool matches_absence;
};

// How the test framework prints a case.
void PrintTo(const FilterCase &given, std::ostream *out) {
  *out << given.filter;
}

class Filters : public testing::TestWithParam<FilterCase> {};

TEST_P(Filters, MatchWhatTheySay) {
  const FilterCase &given = GetParam();
  World world("domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, " + given.filter + "}]}}\n" +
              "policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: []}]}}}}\n" +
              "targets: {t: {policies: [p]}}\n");
  EXPECT_EQ(world.raise("e").rules, given.matches_absence ? 1u : 0u) << "absent";
  for (const std::string &value : given.matching) {
    world.set("a", value);
    EXPECT_EQ(world.raise("e").rules, 1u) << value;
  }
  for (const std::string &value : given.other) {
    world.set("a", value);
    EXPECT_EQ(world.raise("e").rules, 0u) << value;
  }
  world.clear("a");
  EXPECT_EQ(world.raise("e").rules, given.matches_absence ? 1u : 0u) << "absent again";
}

INSTANTIATE_TEST_SUITE_P(
    All, Filters,
    testing::Values(
        FilterCase{"equals: gold", {"gold"}, {"", "Gold", "golden", "gol"}, false},
        FilterCase{"equals: ''", {""}, {" "}, false},
        FilterCase{"equals: gold, no-match: true", {"", "golden"}, {"gold"}, true},
        FilterCase{"equals: gold, no-match: false", {"gold"}, {"golden"}, false},
        FilterCase{"prefix: go", {"go", "gold"}, {"g", "ago", ""}, false},
        FilterCase{"prefix: ''", {"", "gold"}, {}, false}, FilterCase{"regex: 'b+'", {"b", "abba"}, {"", "aa"}, false},
        FilterCase{"regex: '^[a-z]+$'", {"abc"}, {"", "ab1"}, false}, FilterCase{"regex: ''", {"", "x"}, {}, false},
        FilterCase{"range: {min: 10, max: 20}", {"10", "15", "20", "015"}, {"9", "21", "-15", "x", "", "15.0"}, false},
        FilterCase{"range: {min: -5}", {"-5", "0", "9223372036854775807"}, {"-6", "9223372036854775808"}, false},
        FilterCase{"range: {max: 0}", {"0", "-9223372036854775808"}, {"1"}, false},
        FilterCase{"range: {min: 10}, no-match: true", {"9", "x"}, {"10"}, true},
        FilterCase{"present: true", {"", "x"}, {}, false},
        FilterCase{"present: true, no-match: true", {}, {"", "x"}, true}));

// Rules e1, e2, ..., each with the given actions.
std::string policy_with(const std::vector<std::string> &rules) {
  std::string text = "domains: {d: }\nclass-maps: {c: }\npolicy-maps:\n  p:\n    events:\n";
  int number = 0;
  for (const std::string &rule : rules) {
    text += "      e" + std::to_string(++number) + ": {rules: [{number: 1, class: c, " + rule + "}]}\n";
  }
  return text + "targets: {t: {policies: [p]}}\n";
}

TEST(Actions, SetClearAndCount) {
  World world(policy_with({"actions: [{set: {a: gold}}, {count: n}, {count: n}]", "actions: [{clear: a}]"}));
  EXPECT_EQ(world.raise("e1").failures, 0u);
  EXPECT_EQ(world.get("a"), "gold");
  EXPECT_EQ(world.get("n"), "2");
  EXPECT_EQ(world.raise("e2").failures, 0u);
  EXPECT_EQ(world.get("a"), "-");
}

TEST(Actions, FailToClearWhatIsNotThere) {
  World world(policy_with({"actions: [{clear: a}, {set: {b: 1}}]"}));
  const Outcome outcome = world.raise("e1");
  EXPECT_EQ(outcome.failures, 1u);
  EXPECT_EQ(world.get("b"), "-") << "stop-on-failure is the default";
}

TEST(Actions, PermitAndDeny) {
  World world(policy_with({"actions: [permit]", "actions: [deny]", "actions: [deny, permit]", "actions: [{log: x}]"}));
  EXPECT_EQ(world.raise("e1").verdict, Verdict::permit);
  EXPECT_EQ(world.raise("e2").verdict, Verdict::deny);
  EXPECT_EQ(world.raise("e3").verdict, Verdict::permit);
  EXPECT_EQ(world.raise("e4").verdict, Verdict::none);
}

TEST(Actions, RaiseFailsWhenTheEventIsDenied) {
  World world(policy_with({"actions: [{raise: e2}, {set: {after: deny}}]", "actions: [deny]",
                           "actions: [{raise: e4}, {set: {after: permit}}]", "actions: [permit]",
                           "actions: [{raise: e6}, {set: {after: nothing}}]", "actions: []"}));
  world.raise("e1");
  EXPECT_EQ(world.get("after"), "-");
  world.raise("e3");
  EXPECT_EQ(world.get("after"), "permit");
  world.raise("e5");
  EXPECT_EQ(world.get("after"), "nothing");
}

TEST(Actions, RunToTheFirstSuccess) {
  World world(policy_with({"execute: stop-on-success, actions: [{clear: a}, {set: {b: 1}}, {set: {c: 1}}]"}));
  world.raise("e1");
  EXPECT_EQ(world.get("b"), "1");
  EXPECT_EQ(world.get("c"), "-");
}

TEST(Actions, RunAllWhateverFails) {
  World world(policy_with({"execute: run-all, actions: [{clear: a}, {set: {b: 1}}]"}));
  EXPECT_EQ(world.raise("e1").failures, 1u);
  EXPECT_EQ(world.get("b"), "1");
}

constexpr const char *kProfiles = R"(
domains: {d: }
class-maps: {c: }
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [{apply: profiles}, permit]}]}}}}
parameter-maps:
  profiles:
    statements:
      - index: 10
        filters: [{attribute: service, equals: gold}, {attribute: region, regex: '^n'}]
        actions: [{set: {rate: 100}}, {set: {queue: high}}]
      - index: 20
        filters: [{attribute: service, equals: gold}, {attribute: service, prefix: silver}]
        actions: [{set: {rate: 50}}]
      - index: 30
        filters: [{attribute: service, present: true, no-match: true}, {attribute: age, range: {min: 18}}]
        actions: [{set: {rate: 1}}]
      - index: 40
        filters: [{attribute: service, equals: broken}]
        actions: [{clear: nothing}]
targets: {t: {policies: [p]}}
)";

TEST(ParameterMaps, ApplyTheFirstStatementThatMatches) {
  World world(kProfiles);
  world.set("service", "gold");
  world.set("region", "north");
  EXPECT_EQ(world.raise("e").verdict, Verdict::permit);
  EXPECT_EQ(world.get("rate") + " " + world.get("queue"), "100 high");
}

TEST(ParameterMaps, TakeFiltersOfOneAttributeAsAlternatives) {
  World world(kProfiles);
  world.set("service", "gold");
  world.raise("e");
  EXPECT_EQ(world.get("rate"), "50");
  world.set("service", "silver-plus");
  world.set("rate", "0");
  world.raise("e");
  EXPECT_EQ(world.get("rate"), "50");
}

TEST(ParameterMaps, InvertNoMatchFilters) {
  World world(kProfiles);
  world.set("age", "20");
  world.raise("e");
  EXPECT_EQ(world.get("rate"), "1");
}

TEST(ParameterMaps, FailWhenNothingMatches) {
  World world(kProfiles);
  world.set("service", "iron");
  const Outcome outcome = world.raise("e");
  EXPECT_EQ(outcome.verdict, Verdict::none) << "the rule ended at the failure";
  EXPECT_EQ(outcome.failures, 1u);
}

TEST(ParameterMaps, FailWhenAnActionFails) {
  World world(kProfiles);
  world.set("service", "broken");
  EXPECT_EQ(world.raise("e").verdict, Verdict::none);
}

TEST(ParameterMaps, AreKnownToBeInUse) {
  World world(kProfiles);
  const std::string name = "profiles";
  const std::string other = "others";
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(name.c_str()), 1u);
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(other.c_str()), 0u);
}

TEST(Steps, ChangeAttributesBeforeTheirEvent) {
  const simulator::PolicyFile file = load_good(policy_with({"actions: [{clear: a}]"}) +
                                               "scenario: [{event: e1, target: t, set: {a: 1}, clear: [a, b]}]\n");
  simulator::Repository repository(file);
  ASSERT_TRUE(repository.build());
  EXPECT_EQ(run_step(file, repository, file.scenario.at(0)).failures, 0u) << "what is set is set after the clearing";
}

}  // namespace
