// zar shell: complete sessions from a pipe, and sessions at a terminal.
#include <nlohmann/json.hpp>

#include "runner.h"
#include "simulator/session/words.h"
#include "terminal_runner.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;
using test::Terminal;

constexpr const char *kBroadband = "examples/broadband.yaml";

TEST(PipedSession, LivesAWholeLifeFromNothing) {
  const Result result = run_zar({"shell"}, R"(# Blank lines and comments are passed over.

create domain d
create class always
create class gold {filters: [{attribute: service, equals: gold}]}
create parameter-map m {statements: [{index: 1, filters: [{attribute: service, equals: gold}], actions: [count: n]}]}
create policy p {events: {start: {rules: [{number: 10, class: gold, actions: [{apply: m}, {log: it's gold}, permit]}]}}}
create policy q {events: {stop: {rules: [{number: 10, class: always, actions: [{clear: n}]}]}}}
create target t {policies: [p], attributes: {service: silver}}
explain start@t service=gold
raise start@t
set t service=gold
raise start@t
activate q t
show
show target t
raise stop@t service="two words"
show listing
clear counters
show listing
deactivate q t
delete policy q
delete policy p
show target t
unset t service
show target t
delete class gold
delete parameter-map m
delete target t
show config
quit
this is never read
)");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("shell/life.out", result.out);
}

TEST(PipedSession, BeginsWithAFileAndAddsOthers) {
  const Result result = run_zar({"shell", kBroadband}, R"(load examples/guest-network.yaml
show target 00:53:00:aa:01:01
raise session-start@line-0103
explain authorise@line-0101 decision account-state=closed
explain associate@00:53:00:aa:01:01 filters
raise session-start@line-0101
delete target line-0101
show policy service
show class barred
show parameter-map service-profiles
)");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("shell/files.out", result.out);
}

TEST(PipedSession, ShowsTheConfigurationThatTheCommandShows) {
  EXPECT_EQ(run_zar({"shell", kBroadband}, "show config\n").out, run_zar({"config", kBroadband}).out);
}

TEST(PipedSession, ExplainsWithoutChangingAnything) {
  const Result once = run_zar({"shell", kBroadband}, "explain session-start@line-0101\nshow target line-0101\n");
  const Result twice =
      run_zar({"shell", kBroadband}, "explain session-start@line-0101\nexplain session-start@line-0101\n");
  EXPECT_EQ(twice.out.size() % 2, 0u);
  EXPECT_EQ(twice.out.substr(0, twice.out.size() / 2), twice.out.substr(twice.out.size() / 2));
  EXPECT_EQ(once.out.find("starts: 1"), std::string::npos) << once.out;
}

TEST(PipedSession, ShowsTheLibrarysMessagesWhenAsked) {
  const Result result = run_zar({"shell", kBroadband}, "trace on\ndelete class volume-used-up\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_TRUE(result.err.ends_with("<stdin>:2: the session ends at this command\n")) << result.err;
  const Result traced = run_zar({"shell", kBroadband}, "trace on\ndeactivate service line-0101\ntrace off\n");
  EXPECT_NE(traced.err.find("service"), std::string::npos) << traced.err;
  EXPECT_EQ(run_zar({"shell", kBroadband}, "trace error\ntrace off\ndeactivate service line-0101\n").err, "");
}

TEST(PipedSession, WritesWhatComesOfEachCommandAsJson) {
  const Result result = run_zar({"shell", kBroadband, "--json"},
                                "show class barred\n\nexplain session-stop@line-0102 decision\nquit now\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "<stdin>:4: expected: quit\n<stdin>:4: the session ends at this command\n");
  const auto json = nlohmann::json::parse(result.out);
  ASSERT_EQ(json["commands"].size(), 4u);
  EXPECT_EQ(json["commands"][0]["output"], run_zar({"show", kBroadband, "class", "barred"}).out);
  EXPECT_EQ(json["commands"][2]["explanation"]["rules_run"][0]["rule"], "service/session-stop/10");
  EXPECT_EQ(json["commands"][2]["explanation"]["rules_run"][0]["source"], 1);
  EXPECT_EQ(json["commands"][3]["done"], false);
  EXPECT_EQ(json["sources"], nlohmann::json::array({kBroadband}));
}

struct Failing {
  std::string command;
  std::string message;
};

// How the test framework prints a case.
void PrintTo(const Failing &failing, std::ostream *out) {
  *out << failing.command;
}

class FailingCommand : public testing::TestWithParam<Failing> {};

TEST_P(FailingCommand, EndsAPipedSessionWithItsLine) {
  const Result result = run_zar({"shell", kBroadband}, "\n" + GetParam().command + "\nshow\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, GetParam().message + "<stdin>:2: the session ends at this command\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, FailingCommand,
    testing::Values(
        Failing{"rase session-start@line-0101", "<stdin>:2: there is no command 'rase'; did you mean 'raise'?\n"},
        Failing{"raise", "<stdin>:2: expected: raise EVENT@TARGET [ATTRIBUTE=VALUE ...]\n"},
        Failing{"quit now", "<stdin>:2: expected: quit\n"},
        Failing{"activate 'service line-0101", "<stdin>:2: a quote is not closed\n"},
        Failing{"raise session-strt@line-0101",
                "<stdin>:2: there is no event 'session-strt'; did you mean 'session-start'?\n"},
        Failing{"raise session-start@line-0101 acount=1",
                "<stdin>:2: there is no attribute 'acount'; did you mean 'account'?\n"},
        Failing{"explain session-start@line-0101 rule", "<stdin>:2: there is no level 'rule'; did you mean 'rules'?\n"},
        Failing{"set line-9999 account=1", "<stdin>:2: there is no target 'line-9999'\n"},
        Failing{"unset line-0101 acount", "<stdin>:2: there is no attribute 'acount'; did you mean 'account'?\n"},
        Failing{"activate service line-0101", "<stdin>:2: policy 'service' is active on target 'line-0101' already\n"},
        Failing{"delete class barred",
                "<stdin>:2: class-map 'barred' is needed: used by authorisation/authorise/10, in "
                "examples/broadband.yaml:80\n"},
        Failing{"delete class always",
                "<stdin>:2: class-map 'always' is needed: used by authorisation/authorise/30 and 2 others, in "
                "examples/broadband.yaml:91\n"},
        Failing{"delete parameter-map service-profiles",
                "<stdin>:2: parameter-map 'service-profiles' is needed: used by service/session-start/10, in "
                "examples/broadband.yaml:108\n"},
        Failing{"delete policy authorisation",
                "<stdin>:2: policy-map 'authorisation' is needed: without it, no policy-map handles the event "
                "'authorise', in examples/broadband.yaml:107\n"},
        Failing{"delete client access",
                "<stdin>:2: clients cannot be deleted, only class, parameter-map, policy, target\n"},
        Failing{"delete domain subscriber",
                "<stdin>:2: domains cannot be deleted, only class, parameter-map, policy, target\n"},
        Failing{"show client", "<stdin>:2: clients cannot be shown alone, only class, parameter-map, policy, target\n"},
        Failing{"show polcy", "<stdin>:2: there is no kind 'polcy'; did you mean 'policy'?\n"},
        Failing{"show policy servce", "<stdin>:2: there is no policy 'servce'; did you mean 'service'?\n"},
        Failing{"trace loud", "<stdin>:2: there is no level 'loud'\n"},
        Failing{"clear all", "<stdin>:2: there is nothing to clear but counters, no 'all'\n"},
        Failing{"help rase", "<stdin>:2: there is no command 'rase'; did you mean 'raise'?\n"},
        Failing{"load -", "<stdin>:2: standard input is for commands\n"},
        Failing{"load nowhere",
                "nowhere: error: cannot be opened: No such file or directory\n  expected: a policy file\n"},
        Failing{"create class x {match: al}",
                "<stdin>:2:28: error: 'al' cannot be the match criteria of a class-map\n"
                "  2 | {class-maps: {\"x\": {match: al}}}\n"
                "    |                            ^\n"
                "  expected: one of all, any, none\n"
                "  did you mean 'all'?\n"},
        Failing{"create class barred",
                "<stdin>:2:15: error: there is a class-map 'barred' already\n"
                "  2 | {class-maps: {\"barred\": }}\n"
                "    |               ^\n"
                "  expected: a name that no class-map has\n"},
        Failing{"create class x }, domains: {y:", "<stdin>:2: more than one class stands behind the name\n"}));

TEST(PipedSession, OfABadFileDoesNotBegin) {
  const Result result = run_zar({"shell", "nowhere"}, "show\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(run_zar({"shell", "-"}, "show\n").code, 2);
}

TEST(Words, AreSeparatedByBlanksUnlessQuoted) {
  const auto words = [](const char *text) { return simulator::session::split(text).words; };
  EXPECT_EQ(words("  a\tb  c "), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(words("a='b c' \"d'e\" ''"), (std::vector<std::string>{"a=b c", "d'e", ""}));
  EXPECT_EQ(words(" # a"), (std::vector<std::string>{}));
  EXPECT_EQ(words("a #b"), (std::vector<std::string>{"a", "#b"}));
  EXPECT_EQ(simulator::session::split("a b  {c: 'd'}  ").rest_after(2), "{c: 'd'}");
  EXPECT_EQ(simulator::session::split("a b").rest_after(2), "");
}

// ---- At a terminal --------------------------------------------------------------------------------------------------------------

constexpr const char *kPrompt = "zar> ";

// A terminal that gets no line-editing codes.
Terminal::Setup plain() {
  return {.kind = "dumb"};
}

class InteractiveSession : public test::AtATerminal {};

TEST_F(InteractiveSession, CompletesCommandsAndNames) {
  Terminal terminal({"shell", kBroadband}, plain());
  terminal.read_until(kPrompt);
  terminal.type("sho\t");
  terminal.read_until("show ");
  terminal.type("pol\t");
  terminal.read_until("show policy ");
  terminal.type("aut\t");
  terminal.read_until("show policy authorisation ");
  terminal.type("\n");
  terminal.read_until("policy-map authorisation\n");
  terminal.read_until(kPrompt);
  terminal.type("raise session-st\t");
  terminal.read_until("session-start@  session-stop@");
  terminal.type("a\tline\t3\n");
  terminal.read_until("session-start at line-0103\n");
  terminal.read_until(kPrompt);
  terminal.type("set line-0103 unp\t0\n");
  terminal.read_until("unpaid-months=0");
  terminal.read_until(kPrompt);
  terminal.type("load examples/guest\t");
  terminal.read_until("load examples/guest-network.yaml ");
  terminal.type("\nquit\n");
  EXPECT_EQ(terminal.code(), 0);
}

TEST_F(InteractiveSession, CallsEarlierLinesBack) {
  Terminal terminal({"shell", kBroadband}, plain());
  terminal.read_until(kPrompt);
  terminal.type("help quit\n");
  terminal.read_until("ends the session\n");
  terminal.read_until(kPrompt);
  terminal.type("help load\n");
  terminal.read_until("adds the objects");
  terminal.read_until(kPrompt);
  // Moves two lines up in the history.
  terminal.type("\x1b[A\x1b[A\n");
  terminal.read_until("ends the session\n");
  terminal.read_until(kPrompt);
  terminal.type("\x04");
  EXPECT_EQ(terminal.code(), 0);
}

TEST_F(InteractiveSession, GoesOnAfterAFailure) {
  Terminal terminal({"shell"}, plain());
  terminal.read_until(kPrompt);
  terminal.type("frob\n");
  terminal.read_until("zar: there is no command 'frob'\n");
  terminal.read_until(kPrompt);
  terminal.type("create domain d\n");
  terminal.read_until(kPrompt);
  terminal.type("show\n");
  terminal.read_until("the engine");
  terminal.type("quit\n");
  EXPECT_EQ(terminal.code(), 0);
}

TEST_F(InteractiveSession, GivesALineUpOnCtrlCAndEndsOnCtrlD) {
  Terminal terminal({"shell"}, plain());
  terminal.read_until(kPrompt);
  terminal.type("half a line\x03");
  terminal.read_until(kPrompt);
  terminal.type("help quit\n");
  terminal.read_until("ends the session\n");
  terminal.read_until(kPrompt);
  terminal.type("\x04");
  EXPECT_EQ(terminal.code(), 0);
}

TEST_F(InteractiveSession, IsSuspendedAndContinuedWithItsLine) {
  Terminal terminal({"shell"}, plain());
  terminal.read_until(kPrompt);
  terminal.type("help \x1a");
  EXPECT_TRUE(terminal.is_stopped());
  terminal.resume();
  terminal.read_until("zar> help ");
  terminal.type("quit\n");
  terminal.read_until("ends the session\n");
  terminal.read_until(kPrompt);
  terminal.type("quit\n");
  EXPECT_EQ(terminal.code(), 0);
}

}  // namespace
