// Nothing is left behind, leftovers are found, and the simulator survives refusals of the runtime.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <regex>

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

using test::joined;
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

// What a failed request may leave behind: a line of the tear-down, and the message that explains it. Without a message,
// the library does not report that this request failed.
struct Explained {
  const char *left;
  const char *message;
};
constexpr Explained kExplained[] = {
    // A database keeps the trees that could be made, and nobody destroys one that no client has.
    {"(records of pool 0x3e00024|blocks of tag 0x3e0000[4567]): .*",
     "the (database|registration) of '.*' failed with status 3[78]"},
    {"blocks of tag 0x3e00034: . left, . expected", "the name of '.*' failed"},
    {"blocks of tag 0x3e00034: 2 left, 3 expected", nullptr},  // the name of the engine, which nothing shows
    // The handle of an event stays when there is no memory for its context.
    {"handles: . left, 0 expected", "the event of '.*' failed with status 38"},
    {"interned text \"subscriber\": .*", "the parameter-map of '.*' failed with status 41"},
    // Action handlers are not notified if there is no memory for their list of targets.
    {"actions freed in force: . left, 0 expected", nullptr},
    {".*", "the (deactivation|deletion|removal|destruction) of '.*' failed.*"},
};

bool matches(const std::string &line, const char *pattern) {
  return std::regex_match(line, std::regex(pattern));
}

bool is_message(const std::string &line) {
  return matches(line, "the .* of '.*' failed.*");
}

bool is_explained(const std::string &line, const std::vector<std::string> &lines) {
  return std::ranges::any_of(kExplained, [&](const Explained &row) {
    return matches(line, row.left) && (row.message == nullptr || std::ranges::any_of(lines, [&](const auto &other) {
                                         return matches(other, row.message);
                                       }));
  });
}

// How a life with faults ends. Unexplained leftovers and complaints of the runtime go to the standard error output.
enum class End { well, no_such_request, misused, silent, leftovers, killed };

// Builds, runs and tears down while the nth request of the runtime fails, and the 'later' one of the tear-down.
End live_with_faults(uint64_t nth, uint64_t later) {
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
  if (later > 0) runtime::fail_request(later);
  repository.tear_down();
  if (faults == 0 || runtime::injected_faults() - faults != (later > 0 ? 1U : 0U)) return End::no_such_request;

  if (!runtime::complaints().empty()) {
    std::fputs(joined(runtime::complaints()).c_str(), stderr);
    return End::misused;
  }
  const std::vector<std::string> &lines = repository.problems();
  if (!built && std::ranges::none_of(lines, is_message)) return End::silent;
  End end = End::well;
  for (const std::string &line : lines) {
    if (is_message(line) || is_explained(line, lines)) continue;
    std::fprintf(stderr, "not explained: %s\n", line.c_str());
    end = End::leftovers;
  }
  return end;
}

// In a process of its own: what is left behind stays there.
End end_of(uint64_t nth, uint64_t later) {
  const pid_t child = fork();
  if (child == 0) std::_Exit(static_cast<int>(live_with_faults(nth, later)));
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? static_cast<End>(WEXITSTATUS(status)) : End::killed;
}

TEST(Faults, OfEveryRequestLeaveNothingUnexplained) {
  uint64_t nth = 1;
  for (;; ++nth) {
    const End end = end_of(nth, 0);
    if (end == End::no_such_request) break;
    ASSERT_EQ(end, End::well) << "request " << nth;
  }
  std::printf("%llu requests failed in turn\n", static_cast<unsigned long long>(nth - 1));
  EXPECT_GT(nth, 100u);
}

// After every fourth request of the build and the scenario, each of the tear-down.
TEST(Faults, OfTheTearDownAfterOthersLeaveNothingUnexplained) {
  uint64_t pairs = 0;
  for (uint64_t nth = 1; end_of(nth, 0) != End::no_such_request; nth += 4)
    for (uint64_t later = 1;; ++later) {
      const End end = end_of(nth, later);
      if (end == End::no_such_request) break;
      ASSERT_EQ(end, End::well) << "request " << nth << ", and request " << later << " of the tear-down";
      ++pairs;
    }
  std::printf("%llu pairs of requests failed\n", static_cast<unsigned long long>(pairs));
  EXPECT_GT(pairs, 100u);
}

}  // namespace
