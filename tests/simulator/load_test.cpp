// What the loader makes from a good file.
#include <gtest/gtest.h>

#include "tests/simulator/policy.h"

namespace {

using simulator::PolicyFile;
using simulator::Position;
using test::load_good;

constexpr const char *kSmall = R"(domains: {d: }
class-maps:
  always:
policy-maps:
  p:
    events:
      start:
        rules:
          - {number: 20, class: always, actions: [permit, {log: "two", number: 9}, deny]}
      stop:
        match: first
        rules: []
targets:
  t: {policies: [p]}
)";

TEST(Loading, FillsInTheDefaults) {
  const PolicyFile file = load_good(kSmall);
  EXPECT_EQ(file.domains.at(0).owner, std::nullopt);
  EXPECT_EQ(file.class_maps.at(0).match, simulator::ClassMatch::all);
  EXPECT_EQ(file.class_maps[0].domain.value, "d") << "the only domain is everybody's";
  const simulator::EventRules &start = file.policy_maps.at(0).events.at(0);
  EXPECT_EQ(start.match, simulator::EventMatch::all);
  EXPECT_EQ(start.rules.at(0).execute, simulator::Execute::stop_on_failure);
  EXPECT_EQ(file.policy_maps[0].events.at(1).match, simulator::EventMatch::first);
  EXPECT_EQ(file.targets.at(0).client, std::nullopt);
}

TEST(Loading, NumbersActionsFromTheOneBefore) {
  const PolicyFile file = load_good(kSmall);
  std::vector<uint32_t> numbers;
  for (const simulator::Action &action : file.policy_maps.at(0).events.at(0).rules.at(0).actions) {
    numbers.push_back(action.number);
  }
  EXPECT_EQ(numbers, (std::vector<uint32_t>{1, 9, 10}));
}

TEST(Loading, NumbersEventsByTheirFirstAppearance) {
  const PolicyFile file = load_good(kSmall);
  EXPECT_EQ(file.event_id("start"), 1u);
  EXPECT_EQ(file.event_id("stop"), 2u);
  EXPECT_EQ(file.event_id("other"), 0u);
}

TEST(Loading, KnowsWhereEverythingStands) {
  const PolicyFile file = load_good(kSmall);
  EXPECT_EQ(file.class_maps.at(0).name.position, (Position{3, 3}));
  const simulator::EventRules &start = file.policy_maps.at(0).events.at(0);
  EXPECT_EQ(start.event.position, (Position{7, 7}));
  EXPECT_EQ(start.rules.at(0).class_map.position, (Position{9, 33}));
  EXPECT_EQ(start.rules[0].actions.at(1).position, (Position{9, 59}));
  EXPECT_EQ(file.targets.at(0).policies.at(0).position, (Position{14, 18}));
}

TEST(Loading, CountsCharactersNotBytes) {
  // Two characters of two bytes each come before the second value.
  const PolicyFile file =
      load_good("domains: {d: }\nclass-maps: {c: {filters: [{equals: \"\xc3\xa4\xc3\xb6\", attribute: a}]}}\n");
  EXPECT_EQ(file.class_maps.at(0).filters.at(0).attribute.position, (Position{2, 54}));
}

TEST(Loading, FollowsAliases) {
  const PolicyFile file = load_good(R"(domains: {d: }
class-maps:
  one: &like {match: any, filters: [{attribute: a, present: true}]}
  two: *like
)");
  EXPECT_EQ(file.class_maps.at(1).match, simulator::ClassMatch::any);
  EXPECT_EQ(file.class_maps[1].filters.at(0).position, file.class_maps[0].filters.at(0).position);
}

TEST(Loading, TakesValuesAsTheyAreWritten) {
  const PolicyFile file = load_good(R"(domains: {d: }
policy-maps: {p: {events: {}}}
targets:
  t: {policies: [p], attributes: {a: 007, b: yes, c: 1e3, d: "", e: 'it''s'}}
)");
  std::vector<std::string> values;
  for (const simulator::Assignment &assignment : file.targets.at(0).attributes)
    values.push_back(assignment.text);
  EXPECT_EQ(values, (std::vector<std::string>{"007", "yes", "1e3", "", "it's"}));
}

TEST(Loading, SortsStatementsAndGivesAttributesTheirFilterTypes) {
  const PolicyFile file = load_good(R"(parameter-maps:
  m:
    statements:
      - {index: 20, filters: [{attribute: b, present: true}], actions: []}
      - {index: 10, filters: [{attribute: a, present: true}, {attribute: b, present: true}], actions: []}
)");
  const simulator::ParameterMap &map = file.parameter_maps.at(0);
  EXPECT_EQ(map.statements.at(0).index, 10u);
  // The types follow the sorted statements, so that their order in the file does not change the meaning.
  EXPECT_EQ(map.filter_type_of("a"), 0);
  EXPECT_EQ(map.filter_type_of("b"), 1);
}

TEST(Loading, TakesAFileThatSaysNothing) {
  const PolicyFile file = load_good("{}\n");
  EXPECT_TRUE(file.policy_maps.empty());
}

// ---- Further sources

struct LoadingMore : testing::Test {
  // What is wrong with the source, as people read it; nothing if it is good and was added.
  std::string add(const std::string &text, uint32_t first_line = 1) {
    simulator::Diagnostics diagnostics;
    const simulator::Source source("more.yaml", text, 0, first_line);
    const bool added = simulator::load_more(file, source, diagnostics);
    EXPECT_EQ(added, diagnostics.empty());
    return added ? "" : simulator::render(diagnostics, source);
  }
  // A policy-map that handles an event.
  std::string add_policy(const std::string &name, const std::string &event, const std::string &class_map = "always") {
    return add("policy-maps: {" + name + ": {events: {" + event + ": {rules: [{number: 1, class: " + class_map +
               ", actions: [{count: " + name + "}]}]}}}}\n");
  }

  PolicyFile file = load_good(kSmall);
};

TEST_F(LoadingMore, AddsObjectsAfterThoseThatAreThere) {
  const size_t handles = file.handles();
  EXPECT_EQ(add_policy("q", "third"), "");
  EXPECT_EQ(file.policy_maps.at(1).name.value, "q");
  EXPECT_EQ(file.policy_maps[1].domain.value, "d");
  EXPECT_EQ(file.find_policy_map("q"), &file.policy_maps[1]);
  EXPECT_EQ(file.event_id("start"), 1u);
  EXPECT_EQ(file.event_id("third"), 3u);
  EXPECT_EQ(file.handles(), handles + 4) << "a policy-map, an event, a rule and an action";
  EXPECT_EQ(file.attributes(), 1u);
}

TEST_F(LoadingMore, FindsEverythingHoweverMuchIsAdded) {
  for (int number = 0; number < 200; ++number)
    EXPECT_EQ(add("class-maps: {c" + std::to_string(number) + ": }\n"), "");
  for (const simulator::ClassMap &map : file.class_maps)
    EXPECT_EQ(file.find_class_map(map.name.value), &map);
  EXPECT_EQ(file.class_maps.size(), 201u);
}

TEST_F(LoadingMore, LeavesTheFileAsItWasIfTheSourceIsBad) {
  const size_t handles = file.handles();
  EXPECT_NE(add_policy("q", "third", "nobody").find("class-map 'nobody' is used by rule q/third/1, but not defined"),
            std::string::npos);
  EXPECT_EQ(file.policy_maps.size(), 1u);
  EXPECT_EQ(file.find_policy_map("q"), nullptr);
  EXPECT_EQ(file.event_id("third"), 0u);
  EXPECT_EQ(file.handles(), handles);
  EXPECT_EQ(file.attributes(), 0u);
  EXPECT_EQ(add_policy("q", "fourth"), "");
  EXPECT_EQ(file.event_id("fourth"), 3u);
}

TEST_F(LoadingMore, RefusesNamesThatAreTaken) {
  EXPECT_NE(add("targets: {t: {policies: [p]}}\n").find("there is a target 't' already"), std::string::npos);
  EXPECT_EQ(file.targets.size(), 1u);
}

TEST_F(LoadingMore, CanBeTakenBack) {
  const simulator::FileExtent before = file.extent();
  const size_t handles = file.handles();
  EXPECT_EQ(add_policy("q", "third"), "");
  EXPECT_EQ(add("domains: {d2: {owner: c}}\nclients: {c: {database: own}}\ntargets: {t2: {policies: [p]}}\n"), "");
  simulator::FileExtent shrunk = before;
  shrunk.events = file.events.size();
  file.shrink_to(shrunk);
  EXPECT_EQ(file.find_domain("d2"), nullptr);
  EXPECT_EQ(file.find_client("c"), nullptr);
  EXPECT_EQ(file.find_target("t2"), nullptr);
  EXPECT_EQ(file.find_policy_map("q"), nullptr);
  EXPECT_EQ(file.handles(), handles);
  EXPECT_EQ(file.event_id("third"), 0u) << "nothing handles it";
  EXPECT_EQ(add_policy("r", "fourth"), "");
  EXPECT_EQ(add_policy("q", "third"), "");
  EXPECT_EQ(file.event_id("third"), 3u) << "an event keeps its id";
  EXPECT_EQ(file.event_id("fourth"), 4u);
}

TEST_F(LoadingMore, CountsTheAttributesOfAllSources) {
  std::string filters;
  for (int number = 1; number <= 1000; ++number)
    filters += "{attribute: a" + std::to_string(number) + ", present: true}, ";
  EXPECT_EQ(add("class-maps: {many: {filters: [" + filters + "]}}\n"), "");
  EXPECT_EQ(file.attributes(), 1000u);
  EXPECT_EQ(add("class-maps: {same: {filters: [{attribute: a1, present: true}]}}\n"), "");
  const std::string another = "class-maps: {other: {filters: [{attribute: one, present: true}]}}\n";
  EXPECT_NE(add(another).find("'one' is one attribute too many"), std::string::npos);
  EXPECT_EQ(file.attributes(), 1000u);
}

TEST_F(LoadingMore, CountsTheHandlesOfAllSources) {
  std::string filters, classes;
  for (int number = 1; number <= 999; ++number)
    filters += "{attribute: a, present: true}, ";
  for (int number = 2; number <= 65; ++number)
    classes += ", c" + std::to_string(number) + ": {filters: *all}";
  EXPECT_EQ(add("class-maps: {c1: {filters: &all [" + filters + "]}" + classes + "}\n"), "");
  const size_t left = 65536 - file.handles();
  ASSERT_LT(left, 999u);
  EXPECT_NE(add("class-maps: {more: {filters: [" + filters + "]}}\n").find("the file makes 66"), std::string::npos);
  EXPECT_EQ(file.handles(), 65536 - left);
}

TEST_F(LoadingMore, CountsLinesFromTheFirst) {
  EXPECT_EQ(add("class-maps: {c: }\n", 40), "");
  EXPECT_EQ(file.class_maps.at(1).name.position, (Position{40, 14}));
  EXPECT_TRUE(add("targets:\n  t2: {policies: [nobody]}\n", 7).starts_with("more.yaml:8:19: "));
  EXPECT_TRUE(add("targets:\n\tt2:\n", 7).starts_with("more.yaml:8:1: error: not YAML: a tab in the indentation"));
  EXPECT_TRUE(add("{}\n---\n{}\n", 7).starts_with("more.yaml:8:1: error: a second document in the file"));
  EXPECT_TRUE(add("\n", 7).starts_with("more.yaml:7:1: error: the file is empty"));
  EXPECT_TRUE(add("targets: {t2: {policies: [nobody]}}\n", 7).find("targets: {t2: {policies: [nobody]}}") !=
              std::string::npos)
      << "the line is shown";
}

TEST(Texts, OfFiltersAndActionsAreOneLineEach) {
  const PolicyFile file = load_good(R"(domains: {d: }
class-maps:
  c:
    filters:
      - {attribute: a, equals: gold}
      - {attribute: a, equals: two words}
      - {attribute: a, prefix: ''}
      - {attribute: a, regex: '^x+$'}
      - {attribute: a, range: {min: 1, max: 2}}
      - {attribute: a, range: {min: -5}}
      - {attribute: a, range: {max: 7}}
      - {attribute: a, present: true}
policy-maps:
  p:
    events:
      e:
        rules:
          - number: 1
            class: c
            actions:
              - set: {a: b}
              - set: {a: ''}
              - clear: a
              - log: hello
              - count: a
              - permit
              - deny:
              - raise: e
              - apply: m
parameter-maps: {m: {statements: []}}
)");
  std::vector<std::string> filters;
  for (const simulator::Filter &filter : file.class_maps.at(0).filters)
    filters.push_back(to_string(filter));
  EXPECT_EQ(filters,
            (std::vector<std::string>{"a equals gold", "a equals \"two words\"", "a prefix \"\"", "a regex ^x+$",
                                      "a range 1..2", "a range -5..", "a range ..7", "a present"}));
  std::vector<std::string> actions;
  for (const simulator::Action &action : file.policy_maps.at(0).events.at(0).rules.at(0).actions) {
    actions.push_back(to_string(action));
  }
  EXPECT_EQ(actions, (std::vector<std::string>{"set a b", "set a \"\"", "clear a", "log \"hello\"", "count a", "permit",
                                               "deny", "raise e", "apply m"}));
}

}  // namespace
