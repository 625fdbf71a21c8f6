// zar shell: complete sessions from a pipe, and sessions at a terminal.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

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

constexpr const char *kPrompt = "zar> ";

// A terminal that gets no line-editing codes.
Terminal::Setup plain() {
  return {.kind = "dumb"};
}

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
  EXPECT_EQ(result.err,
            "<stdin>:4: 'now' is one word too many; expected: quit\n<stdin>:4: the session ends at this command\n");
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
        Failing{"quit now", "<stdin>:2: 'now' is one word too many; expected: quit\n"},
        Failing{"show config junk", "<stdin>:2: 'junk' is one word too many; expected: show config\n"},
        Failing{"show listing junk", "<stdin>:2: 'junk' is one word too many; expected: show listing\n"},
        Failing{"show policy service junk",
                "<stdin>:2: 'junk' is one word too many; expected: show [KIND [NAME] | config | listing]\n"},
        Failing{"clear counters now", "<stdin>:2: 'now' is one word too many; expected: clear counters\n"},
        Failing{"show client", "<stdin>:2: clients are shown all together, by show\n"},
        Failing{"undo", "<stdin>:2: there is nothing to undo\n"},
        Failing{
            "save examples/broadband.yaml",
            "<stdin>:2: examples/broadband.yaml has comments, a scenario, tests, claims, which a saved session lacks; "
            "'save examples/broadband.yaml force' overwrites it\n"},
        Failing{
            "save README.md",
            "<stdin>:2: README.md exists, and was not loaded in this session; 'save README.md force' overwrites it\n"},
        Failing{"save /nowhere/at-all", "<stdin>:2: /nowhere/at-all cannot be written: No such file or directory\n"},
        Failing{"save x now", "<stdin>:2: 'now' is not a word that save knows; expected: save FILE [force]\n"},
        Failing{"activate 'service line-0101", "<stdin>:2: a quote is not closed\n"},
        Failing{"raise session-strt@line-0101",
                "<stdin>:2: there is no event 'session-strt'; did you mean 'session-start'?\n"},
        Failing{"raise session-start@line-0101 acount=1",
                "<stdin>:2: there is no attribute 'acount'; did you mean 'account'?\n"},
        Failing{"explain session-start@line-0101 rule", "<stdin>:2: there is no level 'rule'; did you mean 'rules'?\n"},
        Failing{"set line-9999 account=1", "<stdin>:2: there is no target 'line-9999'\n"},
        Failing{"unset line-0101 acount", "<stdin>:2: there is no attribute 'acount'; did you mean 'account'?\n"},
        Failing{"activate service line-0101", "<stdin>:2: policy 'service' is active on target 'line-0101' already\n"},
        Failing{
            "delete class barred",
            "<stdin>:2: class-map 'barred' is used by rule authorisation/authorise/10 (examples/broadband.yaml:79)\n"},
        Failing{"delete policy authorisation",
                "<stdin>:2: only policy-map 'authorisation' handles the event 'authorise', which is raised by rule "
                "service/session-start/10 (examples/broadband.yaml:103)\n"},
        Failing{
            "delete client access",
            "<stdin>:2: clients cannot be deleted: the library keeps them as long as it runs; undo and reload can go "
            "back to before they were made\n"},
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

TEST(PipedSession, RunsTheScenarioAndTheTestsOfItsFile) {
  const std::string scenario = run_zar({"shell", kBroadband}, "run\n").out;
  EXPECT_GT(scenario.size(), 100u);
  EXPECT_TRUE(run_zar({"run", kBroadband}).out.starts_with(scenario + "\nPolicy-maps")) << scenario;
  EXPECT_EQ(run_zar({"shell", kBroadband}, "test\n").out + "5 claims, for zar prove to check\n",
            run_zar({"test", kBroadband}).out);
}

TEST(PipedSession, EndsAtAFailedTest) {
  const Result result = run_zar({"shell", "tests/command/policies/failing.yaml"}, "test\nshow\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, run_zar({"test", "tests/command/policies/failing.yaml"}).out);
  EXPECT_NE(result.err.find(" failed\n<stdin>:1: the session ends at this command\n"), std::string::npos) << result.err;
}

// A folder of its own for each test.
class Saving : public test::AtATerminal {
 protected:
  Saving() : folder_(testing::TempDir() + "zar-saving-" + std::to_string(getpid())) {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
  }
  ~Saving() override { std::filesystem::remove_all(folder_); }

  std::string path(const std::string &name) const { return folder_ + "/" + name; }
  void write(const std::string &name, const std::string &text) const { std::ofstream(path(name)) << text; }
  std::string read(const std::string &name) const {
    std::ifstream file(path(name));
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string folder_;
};

TEST_F(Saving, WritesWhatShowConfigShows) {
  const Result result =
      run_zar({"shell", kBroadband}, "create class mine\nsave " + path("new.yaml") + "\nshow config\n");
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "saved " + path("new.yaml") + "\n" + read("new.yaml"));
  EXPECT_EQ(run_zar({"check", path("new.yaml")}).code, 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_), {}), 1) << "a draft is left";
}

TEST_F(Saving, OverwritesWhatItHasLoadedOrSavedUntilSomeoneChangesIt) {
  write("a.yaml", "domains: {d: }\n");
  std::filesystem::permissions(path("a.yaml"), std::filesystem::perms(0640));
  const std::string save = "save " + path("a.yaml") + "\n";
  EXPECT_EQ(run_zar({"shell", path("a.yaml")}, "create class c\n" + save + "create class e\n" + save).code, 0);
  EXPECT_EQ(
      read("a.yaml"),
      "domains:\n  d: {}\nclass-maps:\n  c:\n    domain: d\n    match: all\n  e:\n    domain: d\n    match: all\n");
  EXPECT_EQ(std::filesystem::status(path("a.yaml")).permissions(), std::filesystem::perms(0640));

  Terminal terminal({"shell", path("a.yaml")}, plain());
  terminal.read_until(kPrompt);
  write("a.yaml", "domains: {other: }\n");
  terminal.type(save);
  terminal.read_until("has changed since it was loaded; 'save " + path("a.yaml") + " force' overwrites it\n");
  EXPECT_EQ(read("a.yaml"), "domains: {other: }\n");
  terminal.type("save " + path("a.yaml") + " force\n");
  terminal.read_until("saved ");
  terminal.type("quit\n");
  EXPECT_EQ(terminal.code(), 0);
  EXPECT_NE(read("a.yaml").find("class-maps"), std::string::npos);
}

TEST_F(Saving, FollowsALinkAndNamesWhatItLeavesOut) {
  write("a.yaml", "domains: {d: }\npolicy-maps: {p: {events: {}}}\ntargets: {t: {policies: [p]}}\n");
  std::filesystem::create_symlink("a.yaml", path("link.yaml"));
  const Result result = run_zar({"shell", path("a.yaml")}, "delete policy p\nsave " + path("link.yaml") + "\n");
  EXPECT_EQ(result.out, "saved " + path("link.yaml") + "\nleft out, without a policy-map: t\n");
  EXPECT_TRUE(std::filesystem::is_symlink(path("link.yaml")));
  EXPECT_EQ(read("a.yaml"), "domains:\n  d: {}\n");
}

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

class InteractiveSession : public test::AtATerminal {};

// Its own folder for the state of sessions, which does not exist yet.
class SessionWithHistory : public test::AtATerminal {
 protected:
  SessionWithHistory() : state_(testing::TempDir() + "zar-state-" + std::to_string(getpid())) {
    std::filesystem::remove_all(state_);
  }
  ~SessionWithHistory() override { std::filesystem::remove_all(state_); }

  std::string file() const { return state_ + "/zar/history"; }
  std::string saved() const {
    std::ifstream lines(file());
    return {std::istreambuf_iterator<char>(lines), {}};
  }
  Terminal::Setup setup() const { return {.environment = {"XDG_STATE_HOME=" + state_}, .kind = "dumb"}; }
  // Types lines, each once the one before is done, then ends the session.
  std::string talk(const std::vector<std::string> &lines) const {
    Terminal terminal({"shell"}, setup());
    for (const std::string &line : lines) {
      terminal.read_until(kPrompt);
      terminal.type(line + "\n");
    }
    terminal.read_until(kPrompt);
    terminal.type("quit\n");
    const std::string shown = terminal.read_to_end();
    EXPECT_EQ(terminal.code(), 0);
    return shown;
  }

  std::string state_;
};

TEST_F(SessionWithHistory, CallsLinesOfEarlierSessionsBack) {
  talk({"help load", "", "help quit"});
  EXPECT_EQ(saved(), "help load\nhelp quit\nquit\n");
  EXPECT_EQ(std::filesystem::status(file()).permissions(), std::filesystem::perms(0600));
  const std::string shown = talk({"\x1b[A\x1b[A\x1b[A"});
  EXPECT_NE(shown.find("adds the objects"), std::string::npos) << shown;
  EXPECT_EQ(saved(), "help load\nhelp quit\nquit\nhelp load\nquit\n");
}

TEST_F(SessionWithHistory, KeepsTheLastThousandLinesAndOnlyText) {
  std::filesystem::create_directories(state_ + "/zar");
  std::ofstream lines(file());
  lines << "first\n\x1b[31m\n\xff\n" << std::string(5000, 'x') << "\n";
  for (int line = 2; line <= 1000; ++line)
    lines << "line " << line << "\n";
  lines.close();
  std::filesystem::permissions(file(), std::filesystem::perms(0666));
  talk({"help quit"});
  std::string expected;
  for (int line = 3; line <= 1000; ++line)
    expected += "line " + std::to_string(line) + "\n";
  EXPECT_EQ(saved(), expected + "help quit\nquit\n");
  EXPECT_EQ(std::filesystem::status(file()).permissions(), std::filesystem::perms(0600));
}

TEST_F(SessionWithHistory, SaysOnceThatItCannotSaveAndGoesOn) {
  std::ofstream(state_) << "a file where the folder should be\n";
  const std::string shown = talk({"help load", "help quit"});
  const size_t first = shown.find("the history is not saved");
  EXPECT_NE(first, std::string::npos) << shown;
  EXPECT_EQ(shown.find("the history is not saved", first + 1), std::string::npos) << shown;
  EXPECT_NE(shown.find("ends the session\n"), std::string::npos) << shown;
}

TEST_F(SessionWithHistory, SavesNothingOfAPipe) {
  setenv("XDG_STATE_HOME", state_.c_str(), 1);
  EXPECT_EQ(run_zar({"shell"}, "show\n").code, 0);
  unsetenv("XDG_STATE_HOME");
  EXPECT_FALSE(std::filesystem::exists(state_));
}

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
  EXPECT_TRUE(terminal.read_until("half a line\nzar> ").ends_with("half a line\nzar> "));
  terminal.type("\x03");
  terminal.read_until("\nzar> ");
  terminal.type("help quit\n");
  terminal.read_until("ends the session\n");
  terminal.read_until(kPrompt);
  terminal.type("\x04");
  EXPECT_EQ(terminal.code(), 0);
}

TEST_F(InteractiveSession, StopsALoadThatNeverEndsOnCtrlC) {
  const std::string pipe = testing::TempDir() + "zar-pipe-" + std::to_string(getpid());
  std::remove(pipe.c_str());
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Terminal terminal({"shell"}, plain());
  terminal.read_until(kPrompt);
  terminal.type("create domain d\n");
  terminal.read_until(kPrompt);
  terminal.type("load " + pipe + "\n");
  // The command runs once it has opened the pipe, which waits for both ends.
  const int writer = open(pipe.c_str(), O_WRONLY);
  // One that comes between the opening and the reading has no effect, and a person would repeat it.
  std::atomic<bool> stopped = false;
  std::thread person([&] {
    while (!stopped) {
      terminal.type("\x03");
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
  });
  terminal.read_until("zar: interrupted; the session is as it was before\n");
  stopped = true;
  person.join();
  terminal.read_until(kPrompt);
  close(writer);
  terminal.type("show config\n");
  terminal.read_until("domains:\n  d: {}\n");
  terminal.type("quit\n");
  EXPECT_EQ(terminal.code(), 0);
  std::remove(pipe.c_str());
}

TEST_F(InteractiveSession, CompletesFiltersBehindABar) {
  Terminal terminal({"shell", kBroadband}, plain());
  terminal.read_until(kPrompt);
  terminal.type("show config | inc\tdomains\n");
  terminal.read_until("| include domains\ndomains:\n");
  terminal.read_until(kPrompt);
  terminal.type("quit\n");
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
