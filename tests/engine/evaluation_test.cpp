// Whether a class-map matches, which filter decides, and what is counted.
#include "engine_fixture.h"

namespace {

using test::ScriptedFilter;

class ClassMapEvaluation : public test::EngineTest {
 protected:
  static constexpr uint32_t kEvent = 7;

  // Whether a rule with this class-map runs its action.
  bool matches(uint32_t cmap) {
    const uint32_t pmap = policy("policy-" + std::to_string(++policies_));
    rule(event(pmap, kEvent), 1, cmap, {&action("hit")});
    return engine::raise_event(target(pmap), kEvent).rules == 1;
  }

  static std::string counters(const ScriptedFilter &filter) {
    const zar_filter &record = filter.record();
    return std::to_string(record.exec_count) + " " + std::to_string(record.hit_count) + " " +
           std::to_string(record.miss_count) + " " + std::to_string(record.comp_count);
  }

 private:
  int policies_ = 0;
};

// Bit n of 'answers' is the result of filter n, bit n of 'inverted' whether it is a no-match filter.
bool expected(uint32_t match, unsigned filters, unsigned answers, unsigned inverted) {
  const unsigned all = (1U << filters) - 1;
  const unsigned holds = (answers ^ inverted) & all;
  if (match == 1) return holds == all;
  return match == 2 ? holds != 0 : holds == 0;
}

TEST_F(ClassMapEvaluation, FollowsTheMatchCriteriaForAllResultsAndInversions) {
  for (const ClassMatch match : {kAll, kAny, kNone}) {
    for (unsigned count = 0; count <= 3; ++count) {
      for (unsigned bits = 0; bits < 1U << (2 * count); ++bits) {
        const unsigned answers = bits & ((1U << count) - 1);
        const unsigned inverted = bits >> count;
        std::vector<ScriptedFilter *> filters;
        for (unsigned at = 0; at < count; ++at)
          filters.push_back(&filter((answers >> at & 1U) != 0));
        EXPECT_EQ(matches(class_map(match, filters, inverted)), expected(match, count, answers, inverted))
            << "criteria " << match << ", " << count << " filters, answers " << answers << ", inverted " << inverted;
      }
    }
  }
}

TEST_F(ClassMapEvaluation, OfMatchAllEndsAtTheFirstFilterThatDoesNotHold) {
  ScriptedFilter &first = filter(true);
  ScriptedFilter &second = filter(false);
  ScriptedFilter &third = filter(true);
  EXPECT_FALSE(matches(class_map(kAll, {&first, &second, &third})));
  EXPECT_EQ(counters(first), "1 1 0 0");
  EXPECT_EQ(counters(second), "1 0 1 1");
  EXPECT_EQ(counters(third), "0 0 0 0");
}

TEST_F(ClassMapEvaluation, OfMatchAllIsDecidedByTheLastFilterWhenAllHold) {
  ScriptedFilter &first = filter(true);
  ScriptedFilter &second = filter(true);
  EXPECT_TRUE(matches(class_map(kAll, {&first, &second})));
  EXPECT_EQ(counters(first), "1 1 0 0");
  EXPECT_EQ(counters(second), "1 1 0 1");
}

TEST_F(ClassMapEvaluation, OfMatchAnyEndsAtTheFirstFilterThatHolds) {
  ScriptedFilter &first = filter(false);
  ScriptedFilter &second = filter(true);
  ScriptedFilter &third = filter(true);
  EXPECT_TRUE(matches(class_map(kAny, {&first, &second, &third})));
  EXPECT_EQ(counters(first), "1 0 1 0");
  EXPECT_EQ(counters(second), "1 1 0 1");
  EXPECT_EQ(counters(third), "0 0 0 0");
}

TEST_F(ClassMapEvaluation, OfMatchNoneEndsAtTheFirstFilterThatHolds) {
  ScriptedFilter &first = filter(false);
  ScriptedFilter &second = filter(true);
  ScriptedFilter &third = filter(false);
  EXPECT_FALSE(matches(class_map(kNone, {&first, &second, &third})));
  EXPECT_EQ(counters(first), "1 0 1 0");
  EXPECT_EQ(counters(second), "1 1 0 1");
  EXPECT_EQ(counters(third), "0 0 0 0");
}

TEST_F(ClassMapEvaluation, CountsAnInvertedFilterByWhetherItHolds) {
  ScriptedFilter &inverted = filter(false);
  EXPECT_TRUE(matches(class_map(kAll, {&inverted}, 1)));
  EXPECT_EQ(counters(inverted), "1 1 0 1");
}

TEST_F(ClassMapEvaluation, TakesAnyNonZeroFlagForAnInversion) {
  ScriptedFilter &inverted = filter(false);
  const uint32_t cmap = class_map(kAll, {&inverted}, 1);
  static_cast<zar_filter *>(zar_handle_get_context(inverted.handle))->no_match = 200;
  EXPECT_TRUE(matches(cmap));
}

TEST_F(ClassMapEvaluation, CountsOnFromEventToEvent) {
  ScriptedFilter &only = filter(true);
  const uint32_t pmap = policy("gold");
  rule(event(pmap, kEvent), 1, class_map(kAll, {&only}), {});
  const uint32_t at = target(pmap);
  for (int raised = 0; raised < 3; ++raised)
    engine::raise_event(at, kEvent);
  EXPECT_EQ(counters(only), "3 3 0 3");
}

TEST_F(ClassMapEvaluation, ReadsTheAttributesOfTheTarget) {
  const engine::AttributeId vlan = engine::register_attribute("vlan");
  ScriptedFilter &tagged = filter([vlan](engine::Run &run) { return run.attribute(vlan) != nullptr; });
  const uint32_t pmap = policy("gold");
  rule(event(pmap, kEvent), 1, class_map(kAll, {&tagged}), {});
  const uint32_t with = target(pmap);
  const uint32_t without = target(pmap);
  engine::attributes_of(with)->set(vlan, "100");
  EXPECT_EQ(engine::raise_event(with, kEvent).rules, 1u);
  EXPECT_EQ(engine::raise_event(without, kEvent).rules, 0u);
}

}  // namespace
