// Which policies, events, rules and actions an event reaches, in which order, and the outcome.
#include "allocations.h"
#include "engine_fixture.h"
#include "platform/engine.h"
#include "runtime/control.h"

namespace {

using engine::Outcome;
using engine::Verdict;
using test::ScriptedAction;

constexpr uint32_t kStart = 1;
constexpr uint32_t kStop = 2;

using Events = test::EngineTest;

TEST_F(Events, ReachTheActivePoliciesInTheOrderOfActivation) {
  const uint32_t silver = policy("silver");
  const uint32_t gold = policy("gold");
  const uint32_t iron = policy("iron");
  rule(event(silver, kStart), 1, {&action("silver")});
  rule(event(gold, kStart), 1, {&action("gold")});
  rule(event(iron, kStart), 1, {&action("iron")});
  const uint32_t at = target(gold);
  activate(iron, at);
  activate(silver, at);

  EXPECT_EQ(engine::raise_event(at, kStart).policies, 3u);
  EXPECT_EQ(ran, "gold iron silver");
}

TEST_F(Events, ReachOnlyThePoliciesThatAreActiveOnTheirTarget) {
  const uint32_t gold = policy("gold");
  const uint32_t silver = policy("silver");
  rule(event(gold, kStart), 1, {&action("gold")});
  rule(event(silver, kStart), 1, {&action("silver")});
  const uint32_t at = target(gold);
  target(silver);
  activate(silver, at);
  const zar_map_info named = info("silver");
  ASSERT_DONE(zar_deactivate_policy_by_name(kel_clid, at, &named));

  EXPECT_EQ(engine::raise_event(at, kStart).policies, 1u);
  EXPECT_EQ(ran, "gold");
}

TEST_F(Events, SkipPoliciesThatAreNotControl) {
  const uint32_t marking = policy("marking", kOther);
  const zar_map_info marking_info = info("marking", kOther);
  const zar_map_info class_info = info("voice");
  uint32_t cmap = 0;
  ASSERT_DONE(zar_create_class(kel_clid, &class_info, kAll, &cmap));
  ASSERT_DONE(zar_store_class(kel_clid, cmap));
  ASSERT_DONE(zar_add_class_to_stored_policy(kel_clid, &marking_info, nullptr, nullptr, 0, 1, &class_info));
  const uint32_t gold = policy("gold");
  rule(event(gold, kStart), 1, {&action("gold")});
  const uint32_t at = target(marking);
  activate(gold, at);

  struct Visited final : engine::Observer {
    std::string names;
    void policy_begins(const zar_pmap &pmap, const zar_event_tuple *) override {
      names += zar_get_pmap_name(pmap.handle);
    }
  } visited;
  engine::observe(&visited);
  EXPECT_EQ(engine::raise_event(at, kStart).policies, 1u);
  EXPECT_EQ(ran, "gold");
  EXPECT_EQ(visited.names, "gold");
}

TEST_F(Events, ReachTheRulesOfTheirOwnIdOnly) {
  const uint32_t gold = policy("gold");
  rule(event(gold, kStart), 1, {&action("start")});
  rule(event(gold, kStop), 1, {&action("stop")});
  const uint32_t at = target(gold);

  engine::raise_event(at, kStop);
  EXPECT_EQ(ran, "stop");
  EXPECT_EQ(engine::raise_event(at, 3).policies, 0u);
  EXPECT_EQ(ran, "stop");
}

TEST_F(Events, ReachRulesInClassNumberOrder) {
  const uint32_t gold = policy("gold");
  const uint32_t start = event(gold, kStart);
  rule(start, 5, {&action("5a")});
  rule(start, 2, {&action("2")});
  rule(start, 5, {&action("5b")});
  rule(start, 1, {&action("1")});

  engine::raise_event(target(gold), kStart);
  EXPECT_EQ(ran, "1 2 5a 5b");
}

TEST_F(Events, OfMatchAllRunEveryRuleThatMatches) {
  const uint32_t gold = policy("gold");
  const uint32_t start = event(gold, kStart, kEvery);
  rule(start, 1, {&action("1")});
  rule(start, 2, class_map(kAll, {&filter(false)}), {&action("2")});
  rule(start, 3, {&action("3")});

  EXPECT_EQ(engine::raise_event(target(gold), kStart).rules, 2u);
  EXPECT_EQ(ran, "1 3");
}

TEST_F(Events, OfMatchFirstRunTheFirstRuleThatMatches) {
  const uint32_t gold = policy("gold");
  const uint32_t start = event(gold, kStart, kFirst);
  rule(start, 1, class_map(kAll, {&filter(false)}), {&action("1")});
  rule(start, 2, {&action("2")});
  rule(start, 3, {&action("3")});

  EXPECT_EQ(engine::raise_event(target(gold), kStart).rules, 1u);
  EXPECT_EQ(ran, "2");
}

TEST_F(Events, OfMatchFirstEndWithinTheirPolicyOnly) {
  const uint32_t gold = policy("gold");
  const uint32_t silver = policy("silver");
  rule(event(gold, kStart, kFirst), 1, {&action("gold")});
  rule(event(silver, kStart, kFirst), 1, {&action("silver")});
  const uint32_t at = target(gold);
  activate(silver, at);

  engine::raise_event(at, kStart);
  EXPECT_EQ(ran, "gold silver");
}

// How many of three actions run, by exec criteria, for every combination of results; bit n set: action n fails.
TEST_F(Events, RunActionsAsTheExecCriteriaSay) {
  const size_t run_all[] = {3, 3, 3, 3, 3, 3, 3, 3};
  const size_t stop_on_failure[] = {3, 1, 2, 1, 3, 1, 2, 1};
  const size_t stop_on_success[] = {1, 2, 1, 3, 1, 2, 1, 3};
  for (unsigned failing = 0; failing < 8; ++failing) {
    for (const auto &[execute, expected] :
         {std::pair{kRunAll, run_all[failing]}, std::pair{kStopOnFailure, stop_on_failure[failing]},
          std::pair{kStopOnSuccess, stop_on_success[failing]}}) {
      const uint32_t pmap = policy("policy-" + std::to_string(failing) + "-" + std::to_string(execute));
      std::vector<ScriptedAction *> actions;
      for (unsigned at = 0; at < 3; ++at)
        actions.push_back(&action(std::to_string(at), failing >> at & 1U));
      rule(event(pmap, kStart), 1, actions, execute);
      ran.clear();
      const Outcome outcome = engine::raise_event(target(pmap), kStart);
      EXPECT_EQ(ran, std::string("0 1 2").substr(0, 2 * expected - 1)) << "criteria " << execute << ", " << failing;
      EXPECT_EQ(outcome.actions, expected);
    }
  }
}

TEST_F(Events, CountTheActionsThatRanAndFailed) {
  const uint32_t gold = policy("gold");
  ScriptedAction &good = action("good");
  ScriptedAction &bad = action("bad", 1);
  ScriptedAction &never = action("never");
  rule(event(gold, kStart), 1, {&good, &bad, &never});
  const uint32_t at = target(gold);

  const Outcome outcome = engine::raise_event(at, kStart);
  engine::raise_event(at, kStart);
  EXPECT_EQ(outcome.actions, 2u);
  EXPECT_EQ(outcome.failures, 1u);
  EXPECT_EQ(good.record().executed_count, 2u);
  EXPECT_EQ(bad.record().executed_count, 2u);
  EXPECT_EQ(never.record().executed_count, 0u);
}

TEST_F(Events, ShowTheChangesOfOneRuleToTheNext) {
  const engine::AttributeId mark = engine::register_attribute("mark");
  const uint32_t gold = policy("gold");
  const uint32_t start = event(gold, kStart);
  rule(start, 1, {&action("set", [mark](Run &run) {
         run.set_attribute(mark, "ef");
         return 0u;
       })});
  rule(start, 2, class_map(kAll, {&filter([mark](Run &run) { return run.attribute(mark) != nullptr; })}),
       {&action("seen")});
  const uint32_t at = target(gold);

  engine::raise_event(at, kStart);
  EXPECT_EQ(ran, "set seen");
  EXPECT_EQ(engine::attributes_of(at)->find(mark)->text, "ef");
}

TEST_F(Events, HaveTheVerdictThatWasGivenLast) {
  const uint32_t gold = policy("gold");
  const auto decide = [](Verdict verdict) {
    return [verdict](Run &run) {
      run.decide(verdict);
      return 0u;
    };
  };
  const uint32_t start = event(gold, kStart);
  rule(start, 1, {&action("permit", decide(Verdict::permit))});
  const uint32_t at = target(gold);
  EXPECT_EQ(engine::raise_event(at, kStop).verdict, Verdict::none);
  EXPECT_EQ(engine::raise_event(at, kStart).verdict, Verdict::permit);

  rule(start, 2, {&action("deny", decide(Verdict::deny))});
  EXPECT_EQ(engine::raise_event(at, kStart).verdict, Verdict::deny);
}

TEST_F(Events, RaisedByActionsHaveAVerdictOfTheirOwn) {
  const uint32_t gold = policy("gold");
  Verdict inner = Verdict::none;
  rule(event(gold, kStart), 1, {&action("raise", [&inner](Run &run) {
         inner = run.raise(kStop)->verdict;
         return 0u;
       })});
  rule(event(gold, kStop), 1, {&action("deny", [](Run &run) {
         EXPECT_EQ(run.depth(), 1u);
         EXPECT_EQ(run.event_id(), kStop);
         run.decide(Verdict::deny);
         return 0u;
       })});

  EXPECT_EQ(engine::raise_event(target(gold), kStart).verdict, Verdict::none);
  EXPECT_EQ(inner, Verdict::deny);
  EXPECT_EQ(ran, "raise deny");
}

TEST_F(Events, NestToABoundedDepth) {
  const uint32_t gold = policy("gold");
  unsigned deepest = 0;
  bool refused = false;
  rule(event(gold, kStart), 1, {&action("again", [&](Run &run) {
         deepest = run.depth();
         refused = !run.raise(kStart);
         return 0u;
       })});

  engine::raise_event(target(gold), kStart);
  EXPECT_EQ(deepest, engine::kMaxDepth - 1);
  EXPECT_FALSE(refused) << "the outermost raise is not the one that was too deep";
}

TEST_F(Events, NestABoundedNumberOfTimes) {
  const uint32_t gold = policy("gold");
  size_t runs = 0;
  rule(event(gold, kStart), 1, {&action("twice", [&](Run &run) {
         ++runs;
         run.raise(kStart);
         run.raise(kStart);
         return 0u;
       })});
  const uint32_t at = target(gold);

  engine::raise_event(at, kStart);
  EXPECT_EQ(runs, engine::kMaxNested + 1);
  // The next event of the host has the full number again.
  runs = 0;
  engine::raise_event(at, kStart);
  EXPECT_EQ(runs, engine::kMaxNested + 1);
}

TEST_F(Events, OnAnythingButATargetAreRefused) {
  const uint32_t gold = policy("gold");
  for (const uint32_t handle : {0U, ~0U, gold}) {
    EXPECT_EQ(engine::raise_event(handle, kStart).status, 39u) << handle;
    EXPECT_EQ(engine::attributes_of(handle), nullptr) << handle;
  }
}

TEST_F(Events, SeeTheCurrentPolicyWhenTheyAreRaised) {
  const uint32_t gold = policy("gold");
  const uint32_t start = event(gold, kStart);
  const uint32_t at = target(gold);
  engine::raise_event(at, kStart);
  rule(start, 1, {&action("new")});
  engine::raise_event(at, kStart);
  EXPECT_EQ(ran, "new");
}

// This measures the heap requests of the whole process and the library's requests to the runtime.
TEST_F(Events, AllocateNothing) {
  const engine::AttributeId mark = engine::register_attribute("mark");
  const engine::AttributeId count = engine::register_attribute("count");
  uint32_t at = 0;
  for (int made = 0; made < 4; ++made) {
    const uint32_t pmap = policy("policy-" + std::to_string(made));
    const uint32_t start = event(pmap, kStart);
    for (uint32_t number = 1; number <= 4; ++number) {
      rule(start, number, class_map(kAll, {&filter(true), &filter(true), &filter(true), &filter(true)}),
           {&action("", [=](Run &run) {
             run.set_attribute(mark, "ef");
             run.count_attribute(count);
             run.clear_attribute(mark);
             return 0u;
           })});
    }
    if (at == 0) {
      at = target(pmap);
    } else {
      activate(pmap, at);
    }
  }
  engine::raise_event(at, kStart);

  ran.reserve(4096);
  const size_t allocations_before = test::allocations();
  const uint64_t requests_before = runtime::fallible_requests();
  for (int raised = 0; raised < 10; ++raised)
    engine::raise_event(at, kStart);
  EXPECT_EQ(test::allocations(), allocations_before);
  EXPECT_EQ(runtime::fallible_requests(), requests_before);
  EXPECT_EQ(engine::attributes_of(at)->find(count)->number, 11 * 16);
}

}  // namespace
