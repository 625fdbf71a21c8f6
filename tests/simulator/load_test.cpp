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
