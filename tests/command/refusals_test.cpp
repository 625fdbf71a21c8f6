// Sub-commands that read the repository back survive the refusal of any request of the runtime: they print everything,
// or they report that they cannot and print nothing.
#include <cstdio>
#include <memory>

#include "command/program.h"
#include "runner.h"
#include "runtime/control.h"

namespace {

using test::Result;

constexpr const char *kEverything = R"(
clients: {a: {database: own}, b: {database: default}}
domains: {subscriber: {owner: a}, guest: {owner: b}}
class-maps:
  c1: {domain: subscriber, filters: [{attribute: x, equals: 1}, {attribute: y, regex: z, no-match: true}]}
  c2: {domain: guest, match: none}
policy-maps:
  p1:
    domain: subscriber
    events: {e1: {rules: [{number: 1, class: c1, actions: [{apply: m}, {set: {x: 1}}]}]}}
  p2:
    domain: guest
    events: {e1: {rules: [{number: 1, class: c2, actions: [{log: hello}]}]}}
parameter-maps:
  m: {statements: [{index: 10, filters: [{attribute: x, equals: 1}], actions: [permit]}]}
targets:
  t1: {client: a, policies: [p1, p2], attributes: {x: 0}}
  t2: {client: b, policies: [p2]}
scenario: [{event: e1, target: t1}]
)";

struct Asked {
  const char *name;
  std::unique_ptr<command::Command> (*make)();
  std::vector<std::string> arguments;
};

constexpr uint64_t kNever = 0;
constexpr int kNotRefused = 99;

// Runs the command while the nth request of the runtime fails; the code is kNotRefused if there was no such request.
Result run_with_refusal(const Asked &asked, uint64_t nth) {
  const auto work = [&] {
    command::Program program("zar", "", "", "");
    program.add(asked.make());
    std::vector<std::string> words = asked.arguments;
    words.insert(words.begin(), "zar");
    std::vector<char *> argv;
    for (std::string &word : words)
      argv.push_back(word.data());
    if (nth != kNever) runtime::fail_request(nth);
    const int code = program.run(static_cast<int>(argv.size()), argv.data());
    return nth != kNever && runtime::injected_faults() == 0 ? kNotRefused : code;
  };
  return test::run_in_child_process(work, kEverything);
}

class Refusals : public testing::TestWithParam<Asked> {};

TEST_P(Refusals, OfEveryRequestInTurnAreReported) {
  const Result good = run_with_refusal(GetParam(), kNever);
  ASSERT_EQ(good.code, 0) << good.err;
  uint64_t nth = 1;
  uint64_t reported = 0;
  for (;; ++nth) {
    const Result result = run_with_refusal(GetParam(), nth);
    if (result.code == kNotRefused) break;
    if (result.code == 0) {
      EXPECT_EQ(result.out, good.out) << "request " << nth;
      continue;
    }
    ++reported;
    EXPECT_EQ(result.code, 70) << "request " << nth;
    EXPECT_EQ(result.out, "") << "request " << nth;
    EXPECT_TRUE(result.err.starts_with("zar: internal error: ")) << "request " << nth << ": " << result.err;
    EXPECT_EQ(result.err.find("misuse"), std::string::npos) << "request " << nth << ": " << result.err;
  }
  std::printf("%llu requests failed in turn, %llu of them were reported\n", static_cast<unsigned long long>(nth - 1),
              static_cast<unsigned long long>(reported));
  EXPECT_GT(reported, 100u);
}

INSTANTIATE_TEST_SUITE_P(To, Refusals,
                         testing::Values(Asked{"Config", command::make_config_command, {"config", "-"}},
                                         Asked{"Graph", command::make_graph_command, {"graph", "-"}},
                                         Asked{"Show", command::make_show_command, {"show", "-"}},
                                         Asked{"ShowOfOne", command::make_show_command, {"show", "-", "policy", "p1"}}),
                         [](const auto &parameter) { return std::string(parameter.param.name); });

}  // namespace
