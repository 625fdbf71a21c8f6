// A process can have one repository after another, each leaves behind exactly what it says, and an event can be
// rehearsed and explained without a terminal.
#include <malloc.h>

#include <gtest/gtest.h>

#include "runtime/control.h"
#include "simulator/explanation/explanation_text.h"
#include "simulator/explanation/outline.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/rehearsal.h"
#include "simulator/inventory/read.h"
#include "simulator/policy/write.h"
#include "simulator/repository/listings.h"
#include "simulator/repository/repository.h"
#include "simulator/session/commands.h"
#include "tests/simulator/child_process.h"
#include "tests/simulator/policy.h"

namespace {

using simulator::EventExplanation;
using simulator::Kept;
using simulator::PolicyFile;
using simulator::Recorder;
using simulator::Repository;
using test::joined;
using test::load_good;

constexpr const char *kAccess = R"(
clients: {a: {database: own}, b: {database: default}}
domains: {subscriber: {owner: a}, guest: {owner: b}, engine: }
class-maps:
  gold: {domain: subscriber, filters: [{attribute: service, equals: gold}, {attribute: blocked, present: true, no-match: true}]}
  any: {domain: guest}
policy-maps:
  p:
    domain: subscriber
    events:
      start: {rules: [{number: 1, class: gold, actions: [{apply: m}, {raise: next}, {count: starts}]}]}
      next: {match: first, rules: [{number: 1, class: gold, actions: [{set: {seen: "yes"}}, permit]}]}
  q:
    domain: guest
    events: {start: {rules: [{number: 5, class: any, actions: [{log: hello}]}]}}
parameter-maps:
  m: {statements: [{index: 10, filters: [{attribute: service, equals: gold}], actions: [{set: {rate: 100}}]}]}
targets:
  t: {client: a, policies: [p, q], attributes: {service: gold}}
scenario: [{event: start, target: t}]
)";

// Shares clients and domains with the file above, in another order.
constexpr const char *kShop = R"(
clients: {c: {database: own}, b: {database: default}, a: {database: own}}
domains: {goods: {owner: c}, guest: {owner: b}, subscriber: {owner: a}}
class-maps: {cheap: {domain: guest, filters: [{attribute: price, range: {max: 10}}]}}
policy-maps:
  sale: {domain: guest, events: {buy: {rules: [{number: 1, class: cheap, actions: [permit]}]}}}
targets: {till: {client: c, policies: [sale], attributes: {price: 5}}}
scenario: [{event: buy, target: till}]
)";

// Here the client a works in the default database, and the domain guest belongs to the engine.
constexpr const char *kOther = R"(
clients: {a: {database: default}}
domains: {guest: }
class-maps: {any: {domain: guest}}
policy-maps:
  r: {domain: guest, events: {start: {rules: [{number: 1, class: any, actions: [deny]}]}}}
targets: {t: {client: a, policies: [r]}}
scenario: [{event: start, target: t}]
)";

// The output of the scenario and of the listings after it, on a repository built for it.
struct Life {
  std::string output;
  std::string problems;
  Kept kept;
};
Life live(const PolicyFile &file) {
  Life life;
  Repository repository(file);
  if (repository.build()) {
    Recorder recorder(file);
    for (const simulator::Step &step : file.scenario)
      life.output += outline(recorder.raise(repository, step), file);
    life.output += listings(file, repository);
    simulator::Complaints unreadable;
    if (const auto running = simulator::inventory::read(repository, unreadable)) life.output += write_objects(*running);
    life.output += joined(unreadable);
  }
  life.problems = joined(repository.finish());
  life.kept = repository.kept();
  return life;
}

// The same in a process without any other repository.
std::string output_alone(const char *text) {
  const test::Result result = test::run_in_child_process([&] {
    const Life life = live(load_good(text));
    std::fputs(life.output.c_str(), stdout);
    std::fflush(stdout);
    return life.problems.empty() ? 0 : 1;
  });
  EXPECT_EQ(result.code, 0);
  return result.out;
}

TEST(Repositories, OfTheSameFileAreAlikeAndKeepNothingMore) {
  const PolicyFile file = load_good(kAccess);
  const Life first = live(file);
  EXPECT_EQ(first.problems, "");
  EXPECT_EQ(first.kept, (Kept{3, 3, 2, 1, true, false}));

  const Life second = live(file);
  EXPECT_EQ(second.problems, "");
  EXPECT_EQ(second.kept, (Kept{.deleted_parameter_maps = 1}));
  EXPECT_EQ(second.output, first.output);
  EXPECT_NE(first.output.find("verdict: permit"), std::string::npos) << first.output;
}

TEST(Repositories, OfFilesThatShareNamesUseWhatIsRegistered) {
  EXPECT_EQ(live(load_good(kAccess)).problems, "");
  const Life shop = live(load_good(kShop));
  EXPECT_EQ(shop.problems, "");
  EXPECT_EQ(shop.kept, (Kept{.clients = 1, .domains = 1, .databases = 1})) << "a, b, guest and subscriber are there";
  EXPECT_EQ(shop.output, output_alone(kShop)) << "nothing of the first repository shows";
  EXPECT_EQ(live(load_good(kAccess)).output, output_alone(kAccess));
}

TEST(Repositories, BeginAnewWhereANameStandsForSomethingElse) {
  EXPECT_EQ(live(load_good(kAccess)).problems, "");
  const Life other = live(load_good(kOther));
  EXPECT_EQ(other.problems, "");
  EXPECT_EQ(other.kept, (Kept{2, 1, 1, 0, true, false})) << "the engine, a, guest, and a table for them";
  EXPECT_EQ(other.output, output_alone(kOther));
  const Life again = live(load_good(kAccess));
  EXPECT_EQ(again.problems, "");
  EXPECT_EQ(again.kept, (Kept{3, 3, 2, 1, true, false}));
}

TEST(Repositories, BeginAnewWhereADomainHasAnotherOwner) {
  EXPECT_EQ(live(load_good("clients: {a: }\ndomains: {d: {owner: a}}\n")).problems, "");
  const Life other = live(load_good("clients: {a: }\ndomains: {d: }\n"));
  EXPECT_EQ(other.problems, "");
  EXPECT_EQ(other.kept, (Kept{2, 1, 1, 0, true, false}));
}

// The library would store the parameter-map with the client a, which the second file does not have.
TEST(Repositories, BeginAnewWhereParameterMapsWouldGoToAnEarlierClient) {
  EXPECT_EQ(live(load_good(kAccess)).problems, "");
  const char *map =
      "parameter-maps: {m: {statements: [{index: 10, filters: [{attribute: a, present: true}], actions: [permit]}]}}\n";
  const Life other = live(load_good(map));
  EXPECT_EQ(other.problems, "");
  EXPECT_EQ(other.kept, (Kept{1, 0, 1, 1, true, false}));
  EXPECT_EQ(other.output, output_alone(map));
  EXPECT_NE(other.output.find("parameter-maps:"), std::string::npos) << other.output;
}

TEST(Repositories, GrowTheTableOfClientsOnce) {
  std::string text = "clients:\n";
  for (int at = 0; at < 25; ++at)
    text += "  client-" + std::to_string(at) + ": {database: own}\n";
  const Life first = live(load_good(text));
  EXPECT_EQ(first.problems, "");
  EXPECT_EQ(first.kept, (Kept{26, 0, 26, 0, true, true}));
  const Life second = live(load_good(text + "  one-more: \n"));
  EXPECT_EQ(second.problems, "");
  EXPECT_EQ(second.kept, (Kept{.clients = 1}));
}

TEST(Repositories, ThatFailHalfWayLeaveTheNextOnesGood) {
  const PolicyFile file = load_good(kAccess);
  uint64_t nth = 1;
  uint64_t refused = 0;
  for (;; ++nth) {
    {
      Repository repository(file);
      const uint64_t faults = runtime::injected_faults();
      runtime::fail_request(nth);
      if (!repository.build()) ++refused;
      const bool reached = runtime::injected_faults() != faults;
      runtime::clear_faults();
      repository.finish();
      if (!reached) break;
    }
    const Life next = live(file);
    ASSERT_EQ(next.problems, "") << "after request " << nth << " failed";
    ASSERT_NE(next.output.find("verdict: permit"), std::string::npos) << "after request " << nth << " failed";
  }
  std::printf("%llu requests failed in turn, %llu builds were refused\n", static_cast<unsigned long long>(nth - 1),
              static_cast<unsigned long long>(refused));
  EXPECT_GT(refused, 50u);
}

TEST(Repositories, AThousandInARowTakeNoMoreMemory) {
  const PolicyFile access = load_good(kAccess);
  const PolicyFile shop = load_good(kShop);
  const auto both = [&] {
    EXPECT_EQ(live(access).problems, "");
    EXPECT_EQ(live(shop).problems, "");
  };
  for (int at = 0; at < 100; ++at)
    both();
  simulator::Holdings before = simulator::take_stock();
  const size_t bytes_before = mallinfo2().uordblks;
  for (int at = 0; at < 400; ++at)
    both();
  const simulator::Holdings after = simulator::take_stock();
  before.texts["subscriber"] += 400;  // one reference for each deleted parameter-map
  EXPECT_EQ(after.texts, before.texts);
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.records, before.records);
  EXPECT_EQ(after.counts, before.counts);
  EXPECT_LE(mallinfo2().uordblks, bytes_before + 16384) << "of all heap blocks, the runtime's own included";
}

TEST(Repositories, AreRefusedBesideOneAnother) {
  const PolicyFile file = load_good(kAccess);
  const PolicyFile shop = load_good(kShop);
  Repository first(file);
  ASSERT_TRUE(first.build());
  Repository second(shop);
  EXPECT_FALSE(second.build());
  EXPECT_EQ(joined(second.finish()), "another repository of this process is not taken down yet\n");
  EXPECT_EQ(joined(first.finish()), "") << "the first does not notice";
  EXPECT_EQ(live(shop).problems, "");
}

TEST(Repositories, EachHaveRoomForAllAttributes) {
  for (const char *prefix : {"a", "b"}) {
    std::string text = "domains: {d: }\nclass-maps:\n";
    for (int at = 0; at < 900; ++at) {
      const std::string name = prefix + std::to_string(at);
      text += "  " + name + ": {filters: [{attribute: " + name + ", equals: " + name + "}]}\n";
    }
    text += std::string("policy-maps: {p: {events: {e: {rules: [{number: 1, class: ") + prefix +
            "899, actions: [permit]}]}}}}\ntargets: {t: {policies: [p], attributes: {" + prefix + "899: " + prefix +
            "899}}}\nscenario: [{event: e, target: t}]\n";
    const Life life = live(load_good(text));
    EXPECT_EQ(life.problems, "");
    EXPECT_NE(life.output.find("verdict: permit"), std::string::npos) << prefix;
  }
}

// ---- Events -----------------------------------------------------------------------------------------------------------------

TEST(Explanations, OutliveTheRepository) {
  const PolicyFile file = load_good(kAccess);
  const simulator::Step &step = file.scenario[0];
  EventExplanation explanation;
  std::string text;
  {
    Repository repository(file);
    ASSERT_TRUE(repository.build());
    explanation = Recorder(file).raise(repository, step);
    text = explanation_text(explanation, file, step, simulator::Level::filters, simulator::Colours::off);
  }
  EXPECT_EQ(live(load_good(kShop)).problems, "") << "whatever was freed is used again";
  EXPECT_EQ(explanation_text(explanation, file, step, simulator::Level::filters, simulator::Colours::off), text);
  EXPECT_EQ(explanation.policies.at(0).rules.at(0).filters.at(0).filter, file.class_maps[0].filters.data());
  EXPECT_EQ(explanation.policies[0].rules[0].actions.at(2).action, &file.policy_maps[0].events[0].rules[0].actions[2]);
}

TEST(Rehearsals, SayWhatAnEventDoesAndChangeNothing) {
  const PolicyFile file = load_good(kAccess);
  const simulator::Step &step = file.scenario[0];
  Repository repository(file);
  ASSERT_TRUE(repository.build());
  Recorder(file).raise(repository, step);
  const std::string listed = listings(file, repository);
  simulator::Complaints unreadable;
  const std::string running = write_objects(*simulator::inventory::read(repository, unreadable));

  const EventExplanation rehearsed = rehearse(file, repository, step);
  EXPECT_EQ(listings(file, repository), listed);
  EXPECT_EQ(write_objects(*simulator::inventory::read(repository, unreadable)), running);
  EXPECT_EQ(outline(rehearsed, file), outline(Recorder(file).raise(repository, step), file));
  EXPECT_NE(listings(file, repository), listed) << "an event that is raised is counted";
  EXPECT_EQ(joined(repository.finish()), "");
}

TEST(Sessions, AreDrivenWithoutATerminal) {
  using simulator::session::Status;
  simulator::session::Session session;
  simulator::session::Trouble trouble;
  ASSERT_TRUE(session.begin(trouble));
  size_t number = 0;
  const auto run_line = [&](const std::string &line) { return run(session, line, ++number); };
  EXPECT_EQ(run_line("create domain d").status, Status::done);
  EXPECT_EQ(run_line("create class c {filters: [{attribute: x, equals: 1}]}").status, Status::done);
  EXPECT_EQ(run_line("create policy p {events: {e: {rules: [{number: 1, class: c, actions: [permit]}]}}}").status,
            Status::done);
  EXPECT_EQ(run_line("create target t {policies: [p], attributes: {x: 1}}").status, Status::done);

  const simulator::session::Reply raised = run_line("raise e@t");
  ASSERT_TRUE(raised.event.has_value());
  EXPECT_EQ(raised.event->explanation.outcome.verdict, engine::Verdict::permit);
  EXPECT_EQ(raised.output, "") << "an event is shown in the form that the reader likes";
  const simulator::session::Reply explained = run_line("explain e@t decision x=2");
  ASSERT_TRUE(explained.event && explained.event->rehearsed);
  EXPECT_EQ(explained.event->level, simulator::Level::decision);
  EXPECT_EQ(explained.event->explanation.outcome.verdict, engine::Verdict::none);

  const simulator::session::Reply wrong = run_line("raise e@u");
  EXPECT_EQ(wrong.status, Status::failed);
  EXPECT_EQ(joined(wrong.trouble.complaints), "there is no target 'u'; did you mean 't'?\n");
  const simulator::session::Reply rejected = run_line("create class k {match: some}");
  EXPECT_EQ(rejected.status, Status::failed);
  ASSERT_TRUE(rejected.trouble.rejected.has_value());
  EXPECT_EQ(rejected.trouble.rejected->diagnostics.count(), 1u);
  EXPECT_EQ(run_line("trace on").trace_level, "info");
  EXPECT_EQ(run_line("quit").status, Status::quit);
  EXPECT_EQ(joined(session.end()), "");
}

// A session begins before it knows which clients it will need.
TEST(Sessions, RefuseAClientThatTheProcessKnowsOtherwise) {
  EXPECT_EQ(live(load_good("clients: {a: {database: own}}\n")).problems, "");
  simulator::session::Session session;
  simulator::session::Trouble trouble;
  ASSERT_TRUE(session.begin(trouble));
  const simulator::session::Reply refused = run(session, "create client a {database: default}", 1);
  EXPECT_EQ(refused.status, simulator::session::Status::failed);
  EXPECT_EQ(joined(refused.trouble.complaints),
            "the registration with another kind of database than before of 'a' failed\n");
  EXPECT_EQ(run(session, "create client a {database: own}", 2).status, simulator::session::Status::done);
  EXPECT_EQ(joined(session.end()), "");
}

}  // namespace
