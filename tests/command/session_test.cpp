// A session survives the refusal of any request of the runtime: the command that meets it succeeds anyway, or fails and
// leaves nothing behind. Once requests succeed again, the same command works.
#include <cstdio>
#include <sstream>
#include <utility>

#include "command/report.h"
#include "runner.h"
#include "runtime/control.h"
#include "simulator/session/commands.h"

namespace {

using simulator::session::Reply;
using simulator::session::Session;
using test::Result;

constexpr int kNotRefused = 99;
constexpr int kFailedAgain = 98;

const std::vector<std::string> kCommands = {
    "create class c {filters: [{attribute: x, equals: 1}, {attribute: y, regex: z, no-match: true}]}",
    "create parameter-map m {statements: [{index: 10, filters: [{attribute: x, equals: 1}], actions: [permit, deny]}]}",
    "create policy p {events: {e: {rules: [{number: 1, class: c, actions: [{apply: m}, {set: {x: 1}}]}]}}}",
    "create policy q {events: {f: {rules: []}, e: {rules: [{number: 1, class: c, actions: [permit]}]}}}",
    "create target t {policies: [p], attributes: {x: 0}}",
    "activate q t",
    "raise e@t x=1",
    "explain e@t",
    "show",
};

// They begin once all of the above are done.
const std::vector<std::string> kDeletions = {
    "deactivate q t",  "delete target t", "delete policy q",
    "delete policy p", "delete class c",  "delete parameter-map m",
};

bool is_done(const Reply &reply) {
  command::complain(reply.trouble.complaints);
  return reply.status == simulator::session::Status::done;
}

// Runs the commands while the nth request fails, then runs the failed ones again.
int survive(const std::vector<std::string> &before, const std::vector<std::string> &commands, uint64_t nth) {
  Session session;
  simulator::session::Trouble trouble;
  if (!session.begin(trouble) || !is_done(run(session, "create domain d", 1))) return kFailedAgain;
  for (const std::string &command : before) {
    if (!is_done(run(session, command, 1))) return kFailedAgain;
  }
  runtime::fail_request(nth);
  std::vector<std::string> failed;
  for (const std::string &command : commands) {
    if (!is_done(run(session, command, 2))) failed.push_back(command);
  }
  const bool refused = runtime::injected_faults() != 0;
  runtime::clear_faults();
  std::fprintf(stderr, "---- again\n");
  for (const std::string &command : failed) {
    if (!is_done(run(session, command, 3))) return kFailedAgain;
  }
  const int code = command::report_internal(session.end());
  return refused ? code : kNotRefused;
}

// What the library keeps on purpose if a request fails: the handle of an event whose context cannot be allocated, and
// the domain text of a parameter-map that was made and deleted again. Also, no handler is called for an action if there
// is no memory for the list of its targets.
bool is_kept_on_purpose(const std::string &line) {
  return line == "zar: internal error: handles: 1 left, 0 expected" ||
         line == "zar: internal error: interned text \"subscriber\": 2 left, 1 expected" ||
         line.starts_with("zar: internal error: actions freed in force: ");
}

bool is_only_what_is_kept(const std::string &messages) {
  std::istringstream lines(messages.substr(messages.find("---- again\n") + 11));
  for (std::string line; std::getline(lines, line);) {
    if (!is_kept_on_purpose(line)) return false;
  }
  return true;
}

// Returns how many requests failed in turn and how many of them were reported.
std::pair<uint64_t, uint64_t> survive_each(const std::vector<std::string> &before,
                                           const std::vector<std::string> &commands) {
  uint64_t nth = 1;
  uint64_t reported = 0;
  for (; nth < 1000; ++nth) {
    const Result result = test::run_in_child_process([&] { return survive(before, commands, nth); }, "");
    if (result.code == kNotRefused) break;
    EXPECT_TRUE(result.code == 0 || (result.code == 70 && is_only_what_is_kept(result.err)))
        << "request " << nth << ": " << result.code << ", " << result.err;
    reported += result.err.starts_with("----") ? 0 : 1;
  }
  std::printf("%llu requests failed in turn, %llu of them were reported\n", static_cast<unsigned long long>(nth - 1),
              static_cast<unsigned long long>(reported));
  EXPECT_LT(nth, 1000u);
  return {nth - 1, reported};
}

TEST(Session, SurvivesARefusalOfEveryRequestInTurn) {
  EXPECT_GT(survive_each({}, kCommands).second, 50u);
}

TEST(Session, SurvivesARefusalOfEveryRequestOfADeletion) {
  EXPECT_GT(survive_each(kCommands, kDeletions).first, 3u);
}

}  // namespace
