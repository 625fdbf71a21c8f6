// Nothing is left behind, leftovers are found, and the simulator survives refusals of the runtime.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include "engine/engine.h"
#include "platform/engine.h"
#include "platform/runtime.h"

#include "runtime/control.h"
#include "simulator/repository/leftovers.h"
#include "simulator/repository/repository.h"
#include "simulator/repository/run_step.h"
#include "tests/simulator/policy.h"

namespace {

using test::load_good;

constexpr const char *kEverything = R"(
clients: {a: {database: own}, b: {database: default}}
domains: {subscriber: {owner: a}, guest: {owner: b}, engine: }
class-maps:
  c1: {domain: subscriber, filters: [{attribute: x, equals: 1}, {attribute: y, regex: z, no-match: true}]}
  c2: {domain: subscriber}
  c3: {domain: guest, match: none}
policy-maps:
  p1:
    domain: subscriber
    events:
      e1: {rules: [{number: 2, class: c2, actions: [{apply: m1}, {raise: e2}]}, {number: 1, class: c1, actions: []}]}
      e2: {match: first, rules: [{number: 1, class: c2, actions: [{set: {x: 1}}, permit]}]}
  p2:
    domain: guest
    events: {e1: {rules: [{number: 1, class: c3, actions: [{log: hello}]}]}}
parameter-maps:
  m1:
    statements:
      - {index: 10, filters: [{attribute: x, equals: 1}, {attribute: y, present: true}], actions: [permit, {apply: m2}]}
      - {index: 20, filters: [{attribute: x, present: true, no-match: true}], actions: [{count: n}]}
  m2: {statements: []}
targets:
  t1: {client: a, policies: [p1, p2], attributes: {x: 0}}
  t2: {client: b, policies: [p2]}
scenario: [{event: e1, target: t1}, {event: e1, target: t2}]
)";

std::string joined(const std::vector<std::string> &lines) {
  std::string all;
  for (const std::string &line : lines)
    all += line + "\n";
  return all;
}

TEST(TearDown, LeavesNothing) {
  const simulator::PolicyFile file = load_good(kEverything);
  simulator::Repository repository(file);
  ASSERT_TRUE(repository.build());
  for (const simulator::Step &step : file.scenario)
    EXPECT_EQ(run_step(file, repository, step).status, 0u);
  repository.tear_down();
  EXPECT_EQ(joined(repository.problems()), "");
}

TEST(TearDown, LeavesNothingOfManyClients) {
  std::string text = "clients:\n";
  for (int at = 0; at < 25; ++at)
    text += "  client-" + std::to_string(at) + ": {database: own}\n";
  const simulator::PolicyFile file = load_good(text);
  simulator::Repository repository(file);
  ASSERT_TRUE(repository.build());
  repository.tear_down();
  EXPECT_EQ(joined(repository.problems()), "");
}

TEST(TearDown, HappensOnce) {
  const simulator::PolicyFile file = load_good(kEverything);
  simulator::Repository repository(file);
  ASSERT_TRUE(repository.build());
  repository.tear_down();
  repository.tear_down();
  EXPECT_EQ(joined(repository.problems()), "");
}

// What a process keeps after the file above: three clients including the engine, three domains, the databases of the
// engine and of client a, and two deleted parameter-maps.
constexpr simulator::Kept kKept = {3, 3, 2, 2, true, false};

class Leftovers : public testing::Test {
 protected:
  Leftovers() : file_(load_good(kEverything)), repository_(file_) { EXPECT_TRUE(repository_.build()); }
  std::string after_tear_down() {
    repository_.tear_down();
    EXPECT_EQ(joined(find_leftovers({}, kKept)), joined(repository_.problems()));
    return joined(repository_.problems());
  }

 private:
  simulator::PolicyFile file_;
  simulator::Repository repository_;
};

TEST_F(Leftovers, OfABlockAreFound) {
  void *block = bcalloc_named(1, 1, 0x1234);
  EXPECT_EQ(after_tear_down(), "blocks of tag 0x1234: 1 left, 0 expected\n");
  bfree_named(block);
}

TEST_F(Leftovers, OfATextAreFound) {
  sdb_ref text = nullptr;
  sdb_add_block("left", 4, &text, 1);
  EXPECT_EQ(after_tear_down(), "interned text \"left\": 1 left, 0 expected\n");
  sdb_remove_block(text, 1);
}

TEST_F(Leftovers, OfAnEventAreFound) {
  const zar_event_context context{1, nullptr};
  uint32_t event = 0;
  ASSERT_EQ(zar_create_event(&context, "left", &event), 0u);
  EXPECT_EQ(after_tear_down(),
            "handles: 1 left, 0 expected\n"
            "records of pool 0x3e00043: 1 left, 0 expected\n"
            "records of pool 0x3e0004a: 1 left, 0 expected\n"
            "interned text \"left\": 1 left, 0 expected\n");
  zar_delete_event(event);
}

TEST_F(Leftovers, OfTheEngineAreFound) {
  void *instance = nullptr;
  const zar_map_info key = {"subscriber", 1, "left", 0};
  ASSERT_EQ(kel_create_policy_instance(&instance, 1, 1, &key), 0u);
  EXPECT_EQ(after_tear_down(), "policy instances: 1 left, 0 expected\n");
}

TEST_F(Leftovers, ThatShouldBeThereAreMissed) {
  after_tear_down();
  const std::string missed = joined(simulator::find_leftovers({}, {4, 3, 2, 3, true, false}));
  EXPECT_EQ(missed,
            "records of pool 0x3e00025: 3 left, 4 expected\n"
            "blocks of tag 0x3e00034: 3 left, 4 expected\n"
            "interned text \"subscriber\": 2 left, 3 expected\n");
}

TEST_F(Leftovers, IncludeMisuseOfTheRuntime) {
  int nothing = 0;
  bfree_named(&nothing);
  EXPECT_NE(after_tear_down().find("misuse: "), std::string::npos);
}

// Builds, runs and tears down while the nth request of the runtime fails; its process ends with the result. Returns 0
// if all went well, 1 if there was no nth request, 2 if the runtime was misused, 3 if a build failed without a message.
int survive(uint64_t nth) {
  const simulator::PolicyFile file = load_good(kEverything);
  simulator::Repository repository(file);
  runtime::fail_request(nth);
  const bool built = repository.build();
  if (built) {
    for (const simulator::Step &step : file.scenario)
      run_step(file, repository, step);
  }
  const uint64_t faults = runtime::injected_faults();
  runtime::clear_faults();
  repository.tear_down();
  for (const std::string &complaint : runtime::complaints())
    std::fprintf(stderr, "%s\n", complaint.c_str());
  if (!runtime::complaints().empty()) return 2;
  if (faults == 0) return 1;
  return !built && repository.problems().empty() ? 3 : 0;
}

int outcome_of(uint64_t nth) {
  const pid_t child = fork();
  if (child == 0) std::_Exit(survive(nth));
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Faults, OfEveryRequestInTurnAreSurvived) {
  uint64_t nth = 1;
  for (;; ++nth) {
    const int outcome = outcome_of(nth);
    if (outcome == 1) break;
    ASSERT_EQ(outcome, 0) << "request " << nth;
  }
  std::printf("%llu requests failed in turn\n", static_cast<unsigned long long>(nth - 1));
  EXPECT_GT(nth, 100u);
}

}  // namespace
