// The notifications of an observer, and their order.
#include "engine_fixture.h"

namespace {

using engine::Run;

// Records its notifications, one line per call.
class Diary final : public engine::Observer {
 public:
  std::string text;

  void event_begins(const Run &run) override { line("event " + std::to_string(run.event_id()) + " begins"); }
  void event_ends(const Run &run, const engine::Outcome &outcome) override {
    line("event " + std::to_string(run.event_id()) + " ends after " + std::to_string(outcome.actions) + " actions");
  }
  void nested_too_deep(const Run &run) override { line("too deep at " + std::to_string(run.depth())); }
  void policy_begins(const zar_pmap &pmap, const zar_event_tuple *tuple) override {
    line(std::string("policy ") + zar_get_pmap_name(pmap.handle) + (tuple ? " begins" : " does not handle it"));
  }
  void policy_ends(const zar_pmap &pmap) override {
    line(std::string("policy ") + zar_get_pmap_name(pmap.handle) + " ends");
  }
  void filter_evaluated(const zar_filter &filter, bool holds) override {
    line("filter " + std::string(holds ? "holds" : "does not hold") + " in its evaluation " +
         std::to_string(filter.exec_count));
  }
  void class_evaluated(const zar_cmap &, bool matches, const zar_filter *decided_by) override {
    line(std::string("class ") + (matches ? "matches" : "does not match") + (decided_by ? "" : ", undecided"));
  }
  void rule_begins(const zar_class_action &rule, bool matches) override {
    line("rule " + std::to_string(rule.class_num) + (matches ? " runs" : " does not run"));
  }
  void action_begins(const zar_action &action) override {
    line("action " + std::to_string(action.action_num) + " begins");
  }
  void action_ends(const zar_action &action, uint32_t result) override {
    line("action " + std::to_string(action.action_num) + " answers " + std::to_string(result));
  }
  void rule_cut_short(const zar_class_action &rule, const zar_action &last) override {
    line("rule " + std::to_string(rule.class_num) + " ends at action " + std::to_string(last.action_num));
  }
  void attribute_changed(engine::AttributeId attribute, const std::string *before, const std::string *after) override {
    line(engine::attribute_name(attribute) + ": " + (before ? *before : "-") + " -> " + (after ? *after : "-"));
  }
  void decided(engine::Verdict verdict) override { line(verdict == engine::Verdict::permit ? "permit" : "deny"); }
  void logged(std::string_view logged_text) override { line("log " + std::string(logged_text)); }

 private:
  void line(const std::string &one) { text += one + "\n"; }
};

class Observation : public test::EngineTest {
 protected:
  Observation() { engine::observe(&diary); }
  Diary diary;
};

TEST_F(Observation, ReportsEveryStepOfAnEvent) {
  const uint32_t silver = policy("silver");
  const uint32_t gold = policy("gold");
  event(silver, 2);
  const uint32_t start = event(gold, 1);
  rule(start, 10, class_map(kAll, {&filter(true), &filter(false), &filter(true)}), {&action("never")});
  rule(start, 20, class_map(kAny, {&filter(true)}), {&action("fails", 1), &action("never")});
  rule(start, 30, {&action("log and permit", [](Run &run) {
         run.log("hello");
         run.decide(engine::Verdict::permit);
         return 0u;
       })});
  const uint32_t at = target(silver);
  activate(gold, at);

  engine::raise_event(at, 1);
  EXPECT_EQ(diary.text,
            "event 1 begins\n"
            "policy silver does not handle it\n"
            "policy silver ends\n"
            "policy gold begins\n"
            "filter holds in its evaluation 1\n"
            "filter does not hold in its evaluation 1\n"
            "class does not match\n"
            "rule 10 does not run\n"
            "filter holds in its evaluation 1\n"
            "class matches\n"
            "rule 20 runs\n"
            "action 1 begins\n"
            "action 1 answers 1\n"
            "rule 20 ends at action 1\n"
            "class matches, undecided\n"
            "rule 30 runs\n"
            "action 1 begins\n"
            "log hello\n"
            "permit\n"
            "action 1 answers 0\n"
            "policy gold ends\n"
            "event 1 ends after 2 actions\n");
}

TEST_F(Observation, DoesNotReportARuleCutShortByItsLastAction) {
  const uint32_t gold = policy("gold");
  rule(event(gold, 1), 1, {&action("good"), &action("bad", 1)});
  engine::raise_event(target(gold), 1);
  EXPECT_NE(diary.text.find("action 2 answers 1\npolicy gold ends\n"), std::string::npos) << diary.text;
}

TEST_F(Observation, ReportsChangesOfAttributes) {
  const engine::AttributeId user = engine::register_attribute("user");
  const engine::AttributeId tries = engine::register_attribute("tries");
  const uint32_t gold = policy("gold");
  rule(event(gold, 1), 1, {&action("change", [=](Run &run) {
         run.set_attribute(user, "alice");
         run.set_attribute(user, "bob");
         run.count_attribute(tries);
         EXPECT_TRUE(run.clear_attribute(user));
         EXPECT_FALSE(run.clear_attribute(user));
         return 0u;
       })});
  const uint32_t at = target(gold);
  diary.text.clear();

  engine::raise_event(at, 1);
  EXPECT_NE(diary.text.find("user: - -> alice\n"
                            "user: alice -> bob\n"
                            "tries: - -> 1\n"
                            "user: bob -> -\n"
                            "action 1 answers 0\n"),
            std::string::npos)
      << diary.text;
}

TEST_F(Observation, ReportsEventsWithinEvents) {
  const uint32_t gold = policy("gold");
  rule(event(gold, 1), 1, {&action("raise", [](Run &run) { return run.raise(2) ? 0u : 1u; })});
  event(gold, 2);

  engine::raise_event(target(gold), 1);
  EXPECT_EQ(diary.text,
            "event 1 begins\n"
            "policy gold begins\n"
            "class matches, undecided\n"
            "rule 1 runs\n"
            "action 1 begins\n"
            "event 2 begins\n"
            "policy gold begins\n"
            "policy gold ends\n"
            "event 2 ends after 0 actions\n"
            "action 1 answers 0\n"
            "policy gold ends\n"
            "event 1 ends after 1 actions\n");
}

TEST_F(Observation, ReportsARefusedRaise) {
  const uint32_t gold = policy("gold");
  rule(event(gold, 1), 1, {&action("raise", [](Run &run) { return run.raise(1) ? 0u : 1u; })});
  engine::raise_event(target(gold), 1);
  const std::string line = "too deep at " + std::to_string(engine::kMaxDepth - 1) + "\n";
  EXPECT_EQ(diary.text.find(line), diary.text.rfind(line));
  EXPECT_NE(diary.text.find(line), std::string::npos);
}

TEST_F(Observation, EndsWithTheObserver) {
  const uint32_t gold = policy("gold");
  event(gold, 1);
  const uint32_t at = target(gold);
  engine::observe(nullptr);
  engine::raise_event(at, 1);
  EXPECT_EQ(diary.text, "");
}

}  // namespace
