// zar run --events: a stream of events, and of targets that come and go.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "runner.h"
#include "scratch_file.h"

namespace {

using test::expect_golden;
using test::Result;
using test::run_zar;
using test::ScratchFile;

constexpr const char *kPolicy = "examples/broadband.yaml";

// Sessions that come and go, and a bad line of each sort.
constexpr const char *kStream = R"({"event": "session-start", "target": "line-0101"}
{"add-target": "line-9", "client": "access", "policies": ["authorisation", "service"], "attributes": {"access": "fibre", "service": "flat", "account": 9, "circuit-id": "olt-1/1/9"}}
{"event": "session-start", "target": "line-9"}

{"event": "session-start", "target": "line-9", "set": {"unpaid-months": 3}}
{"event": "session-strat", "target": "line-9"}
{"event": "volume-update", "target": "line-0102", "set": {"volume-left": 0, "colour": "red"}}
{"event": "session-start",
{"event": "volume-update", "target": "line-0102", "set": {"volume-left": 0}, "clear": ["account"]}
{"delete-target": "line-9"}
{"event": "session-stop", "target": "line-9"}
{"event": "session-stop", "target": "line-0101"})";

// The last line of the summary has the time that the stream took.
std::string without_time(std::string text) {
  const size_t at = text.rfind("\ntook ");
  EXPECT_NE(at, std::string::npos) << text;
  EXPECT_NE(text.find(" events a second\n", at), std::string::npos) << text;
  return text.substr(0, at + 1);
}

TEST(Stream, PrintsALineForEachEvent) {
  const ScratchFile stream(kStream, "events.jsonl");
  const Result result = run_zar({"run", kPolicy, "--events", "-"}, kStream);
  EXPECT_EQ(result.code, 65);
  expect_golden("stream/text.out", result.out);
  expect_golden("stream/bad-lines.err", without_time(result.err));
  EXPECT_EQ(run_zar({"run", kPolicy, "--events", stream.path()}).out, result.out);
}

TEST(Stream, CanBeWrittenAsJsonLines) {
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--jsonl"}, kStream);
  EXPECT_EQ(result.code, 65);
  expect_golden("stream/results.jsonl", result.out);
  expect_golden("stream/bad-lines.err", without_time(result.err));
}

TEST(Stream, CanBeCountedWithoutResults) {
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--no-results"}, kStream);
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.out, "");
  expect_golden("stream/bad-lines.err", without_time(result.err));
}

TEST(Stream, WithoutBadLinesIsGood) {
  const Result result =
      run_zar({"run", kPolicy, "--events", "-"}, R"({"event": "session-start", "target": "line-0102"})");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "1  session-start  line-0102  permit  service/session-start/10  examples/broadband.yaml:103\n");
  EXPECT_EQ(without_time(result.err),
            "1 event, 0 targets added, 0 deleted, 0 bad lines\n"
            "verdicts: 1 permit, 0 deny, 0 none\n"
            "rules that ran:\n"
            "  1  authorisation/authorise/20\n"
            "  1  service/session-start/10\n"
            "  never: 5 rules\n");
}

TEST(Stream, MayBeEmpty) {
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--jsonl"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("0 events, 0 targets added, 0 deleted, 0 bad lines\n")) << result.err;
}

TEST(Stream, EndsAtTheFirstBadLineIfItIsStrict) {
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--jsonl", "--strict"}, kStream);
  const std::string whole = run_zar({"run", kPolicy, "--events", "-", "--jsonl"}, kStream).out;
  EXPECT_EQ(result.code, 65);
  EXPECT_TRUE(whole.starts_with(result.out));
  EXPECT_TRUE(result.out.ends_with(
      "{\"line\":6,\"error\":\"there is no event 'session-strat'; did you mean 'session-start'?\"}\n"))
      << result.out;
  EXPECT_NE(result.err.find("<stdin>:6: error: there is no event 'session-strat'"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("\n3 events, 1 target added, 0 deleted, 1 bad line\n"), std::string::npos) << result.err;
}

TEST(Stream, WhoseEventsRaiseTooManyOthersSaysNo) {
  const Result result = run_zar({"run", "tests/command/policies/paths.yaml", "--events", "-", "--jsonl"},
                                R"({"event": "loop", "target": "t"})");
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.out.find(R"("stopped":"more than 16 events are nested: raise loop is refused)"), std::string::npos)
      << result.out;
  EXPECT_NE(result.err.find(", 1 stopped by a limit\n"), std::string::npos) << result.err;
}

TEST(Stream, ThatCannotBeReadIsAnError) {
  const Result missing = run_zar({"run", kPolicy, "--events", "/nowhere"});
  EXPECT_EQ(missing.code, 65);
  EXPECT_EQ(missing.err, "zar: /nowhere: cannot be opened: No such file or directory\n");
  const Result folder = run_zar({"run", kPolicy, "--events", "examples"});
  EXPECT_EQ(folder.code, 65);
  EXPECT_TRUE(folder.err.starts_with("examples: error: cannot be read: Is a directory\n")) << folder.err;
}

TEST(Stream, IsPlayedOnOneGoodPolicyFile) {
  EXPECT_EQ(run_zar({"run", "/nowhere", "--events", "-"}).code, 65);
  const Result two = run_zar({"run", kPolicy, kPolicy, "--events", "-"});
  EXPECT_EQ(two.code, 2);
  EXPECT_EQ(two.err, "zar: a stream is played on one policy file\n");
  const Result twice = run_zar({"run", "-", "--events", "-"});
  EXPECT_EQ(twice.code, 2);
  EXPECT_EQ(twice.err, "zar: standard input can be only one of the files\n");
}

TEST(Stream, HasOptionsOfItsOwn) {
  EXPECT_EQ(run_zar({"run", kPolicy, "--jsonl"}).err, "zar: --jsonl needs --events\nRun zar run --help for help.\n");
  EXPECT_EQ(run_zar({"run", kPolicy, "--strict"}).code, 2);
  EXPECT_EQ(run_zar({"run", kPolicy, "--events", "-", "--json"}).code, 2);
  EXPECT_EQ(run_zar({"run", kPolicy, "--events", "-", "--event", "session-start@*"}).code, 2);
  EXPECT_EQ(run_zar({"run", kPolicy, "--events", "-", "--jsonl", "--no-results"}).err,
            "zar: --jsonl and --no-results exclude each other\nRun zar run --help for help.\n");
}

// ---- Several processes ------------------------------------------------------------------------------------------------------

// Sessions that come, do something and go, a few at a time, and some bad lines for each process.
std::string long_stream() {
  std::string text;
  const auto line_of = [](const std::string &what, int session) {
    return "{\"" + what + "\": \"session-" + std::to_string(session) + "\"";
  };
  for (int session = 0; session < 600; ++session) {
    const std::string target = ", \"target\": \"session-" + std::to_string(session) + "\"";
    text += line_of("add-target", session) +
            ", \"policies\": [\"authorisation\", \"service\"], \"attributes\": {\"access\": " +
            (session % 2 == 0 ? "\"fibre\"" : "\"dsl\"") + "}}\n";
    text += "{\"event\": \"session-start\"" + target + ", \"set\": {\"unpaid-months\": " + std::to_string(session % 5) +
            "}}\n\n";
    if (session % 7 == 0) text += "{\"event\": \"no-event\"" + target + "}\n";
    if (session % 11 == 0) text += "{\"event\": \"session-start\"" + target + "\n";
    if (session >= 10) text += line_of("delete-target", session - 10) + "}\n";
  }
  return text;
}

class Jobs : public testing::TestWithParam<const char *> {};

TEST_P(Jobs, WriteWhatOneProcessWrites) {
  const std::string stream = long_stream();
  for (const char *form : {"--jsonl", "--no-results"}) {
    const Result one = run_zar({"run", kPolicy, "--events", "-", form}, stream);
    const Result several = run_zar({"run", kPolicy, "--events", "-", form, "--jobs", GetParam()}, stream);
    EXPECT_EQ(several.code, 65);
    EXPECT_EQ(several.out, one.out);
    EXPECT_EQ(without_time(several.err), without_time(one.err));
    EXPECT_NE(several.err.find("600 targets added, 590 deleted, 141 bad lines"), std::string::npos) << several.err;
  }
}

TEST_P(Jobs, EndWhereOneProcessEndsIfTheyAreStrict) {
  const std::string stream = long_stream();
  const Result one = run_zar({"run", kPolicy, "--events", "-", "--strict"}, stream);
  const Result several = run_zar({"run", kPolicy, "--events", "-", "--strict", "--jobs", GetParam()}, stream);
  EXPECT_EQ(several.code, 65);
  EXPECT_EQ(several.out, one.out);
  EXPECT_EQ(without_time(several.err), without_time(one.err));
}

INSTANTIATE_TEST_SUITE_P(Of, Jobs, testing::Values("0", "2", "5"));

// ---- Hostile streams ------------------------------------------------------------------------------------------------------------

std::string repeated(const std::string &line, size_t times) {
  std::string text;
  for (size_t at = 0; at < times; ++at)
    text += line;
  return text;
}

size_t lines_of(const std::string &text) {
  return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(HostileStream, OfManyBadLinesIsCounted) {
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--no-results"}, repeated("x\n", 100'000));
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.err.find(
                "zar: of 100000 bad lines, the first 100 are shown\n0 events, 0 targets added, 0 deleted, 100000 bad "
                "lines\n"),
            std::string::npos)
      << result.err;
  EXPECT_EQ(lines_of(result.err.substr(0, result.err.find("zar: of "))), 100U);
}

TEST(HostileStream, MayHaveALineOfAnyLength) {
  const std::string good = "{\"event\": \"session-stop\", \"target\": \"line-0101\"}\n";
  const std::string stream = good + std::string(size_t{64} << 20U, '{') + "\n" + good;
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--jsonl"}, stream);
  EXPECT_EQ(result.code, 65);
  EXPECT_NE(result.out.find(
                "\n{\"line\":2,\"error\":\"the line is too long: expected at most 1048576 bytes\"}\n{\"line\":3,"),
            std::string::npos)
      << result.out;
}

TEST(HostileStream, OfBytesThatAreNoTextIsRefusedLineByLine) {
  std::string stream;
  for (int byte = 0; byte < 256; ++byte)
    stream += std::string("{\"event\": \"") + static_cast<char>(byte) + "\", \"target\": \"line-0101\"}\n";
  const Result result = run_zar({"run", kPolicy, "--events", "-", "--jsonl"}, stream);
  EXPECT_EQ(result.code, 65);
  // A line break makes two bad lines of one.
  EXPECT_EQ(lines_of(result.out), 257U);
  EXPECT_EQ(result.err.find('\0'), std::string::npos);
  EXPECT_EQ(result.err.find('\x1b'), std::string::npos);
}

TEST(HostileStream, ThatIsCutAnywhereIsBadInItsLastLineAtMost) {
  const std::string line = R"({"event": "session-start", "target": "line-0101", "set": {"unpaid-months": 3}})";
  for (size_t length = 1; length < line.size(); length += 7) {
    const Result result = run_zar({"run", kPolicy, "--events", "-", "--jsonl"}, line + "\n" + line.substr(0, length));
    EXPECT_EQ(result.code, 65);
    EXPECT_EQ(lines_of(result.out), 2U) << result.out;
    EXPECT_NE(result.out.find("{\"line\":2,\"error\":"), std::string::npos) << result.out;
  }
}

// ---- Endings ------------------------------------------------------------------------------------------------------------------

// zar while it runs, with pipes to it and from it.
class Running {
 public:
  explicit Running(const std::vector<std::string> &arguments) {
    EXPECT_EQ(pipe(in_), 0);
    EXPECT_EQ(pipe(out_), 0);
    EXPECT_EQ(pipe(err_), 0);
    child_ = fork();
    if (child_ == 0) become(arguments);
    for (const int descriptor : {in_[0], out_[1], err_[1]})
      close(descriptor);
  }
  ~Running() {
    close_input();
    close_output();
    close(err_[0]);
  }
  Running(const Running &) = delete;
  Running &operator=(const Running &) = delete;

  void write(const std::string &text) const {
    EXPECT_EQ(::write(in_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void close_input() { close_once(in_[1]); }
  void close_output() { close_once(out_[0]); }
  // Waits for this many lines of results.
  std::string read_lines(size_t count) const {
    std::string text;
    char byte = 0;
    while (lines_of(text) < count && read(out_[0], &byte, 1) == 1)
      text += byte;
    return text;
  }
  std::string errors() const {
    std::string text;
    char bytes[4096];
    for (ssize_t got = read(err_[0], bytes, sizeof bytes); got > 0; got = read(err_[0], bytes, sizeof bytes))
      text.append(bytes, static_cast<size_t>(got));
    return text;
  }
  void interrupt() const { kill(child_, SIGINT); }
  // Kills the first of its own processes.
  void kill_child() const {
    const std::string path = "/proc/" + std::to_string(child_) + "/task/" + std::to_string(child_) + "/children";
    pid_t first = -1;
    std::ifstream(path) >> first;
    ASSERT_GT(first, 0) << path;
    kill(first, SIGKILL);
  }
  int wait_status() const {
    int status = 0;
    EXPECT_EQ(waitpid(child_, &status, 0), child_);
    return status;
  }

 private:
  static void close_once(int &descriptor) {
    if (descriptor >= 0) close(descriptor);
    descriptor = -1;
  }
  [[noreturn]] void become(const std::vector<std::string> &arguments) {
    dup2(in_[0], STDIN_FILENO);
    dup2(out_[1], STDOUT_FILENO);
    dup2(err_[1], STDERR_FILENO);
    for (const int descriptor : {in_[0], in_[1], out_[0], out_[1], err_[0], err_[1]})
      close(descriptor);
    std::vector<std::string> copies = arguments;
    copies.insert(copies.begin(), "zar");
    std::vector<char *> argv;
    for (std::string &argument : copies)
      argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (chdir(ZAR_SOURCE_DIR) == 0) execv(ZAR_BINARY, argv.data());
    _exit(127);
  }

  int in_[2]{};
  int out_[2]{};
  int err_[2]{};
  pid_t child_ = -1;
};

constexpr const char *kGood = "{\"event\": \"session-start\", \"target\": \"line-0102\"}\n";

TEST(LiveStream, ShowsEachResultWhenItsLineHasCome) {
  Running zar({"run", kPolicy, "--events", "-", "--jsonl"});
  for (int line = 1; line <= 3; ++line) {
    zar.write(kGood);
    EXPECT_TRUE(zar.read_lines(1).starts_with("{\"line\":" + std::to_string(line) + ","));
  }
  zar.close_input();
  EXPECT_TRUE(zar.errors().starts_with("3 events, "));
  EXPECT_EQ(zar.wait_status(), 0);
}

TEST(LiveStream, ThatIsInterruptedSaysWhatWasDone) {
  Running zar({"run", kPolicy, "--events", "-", "--jsonl"});
  zar.write(kGood);
  zar.read_lines(1);
  zar.interrupt();
  const std::string errors = zar.errors();
  EXPECT_TRUE(errors.starts_with("1 event, ")) << errors;
  const int status = zar.wait_status();
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
}

TEST(LiveStream, OfSeveralProcessesIsShownAtOnceAndInterruptedAlike) {
  Running zar({"run", kPolicy, "--events", "-", "--jsonl", "--jobs", "3"});
  for (int line = 1; line <= 3; ++line) {
    zar.write(kGood);
    EXPECT_TRUE(zar.read_lines(1).starts_with("{\"line\":" + std::to_string(line) + ","));
  }
  zar.interrupt();
  const std::string errors = zar.errors();
  EXPECT_TRUE(errors.starts_with("3 events, ")) << errors;
  const int status = zar.wait_status();
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
}

TEST(LiveStream, EndsWithAMessageWhenOneOfItsProcessesDies) {
  Running zar({"run", kPolicy, "--events", "-", "--jsonl", "--jobs", "2"});
  zar.write(kGood);
  zar.read_lines(1);
  zar.kill_child();
  const std::string errors = zar.errors();
  EXPECT_TRUE(errors.starts_with("zar: internal error: a process of the stream ended early\n1 event, ")) << errors;
  EXPECT_EQ(WEXITSTATUS(zar.wait_status()), 70);
}

class LeftStream : public testing::TestWithParam<const char *> {};

TEST_P(LeftStream, EndsWithAMessageWhenItsReaderLeaves) {
  Running zar({"run", kPolicy, "--events", "-", "--jsonl", "--jobs", GetParam()});
  zar.close_output();
  zar.write(repeated(kGood, 100));
  zar.close_input();
  const std::string errors = zar.errors();
  EXPECT_TRUE(errors.ends_with("zar: standard output cannot be written\n")) << errors;
  EXPECT_EQ(WEXITSTATUS(zar.wait_status()), 70);
}

INSTANTIATE_TEST_SUITE_P(InJobs, LeftStream, testing::Values("1", "2"));

TEST(Stream, EndsWithAMessageWhenTheDiskIsFull) {
  const ScratchFile stream(repeated(kGood, 20'000), "events.jsonl");
  const Result result = test::run_in_child_process([&] {
    const int full = open("/dev/full", O_WRONLY);
    if (full < 0 || dup2(full, STDOUT_FILENO) < 0 || chdir(ZAR_SOURCE_DIR) != 0) return 126;
    execl(ZAR_BINARY, "zar", "run", kPolicy, "--events", stream.path().c_str(), "--jsonl", nullptr);
    return 127;
  });
  EXPECT_EQ(result.code, 70);
  EXPECT_TRUE(result.err.ends_with("zar: standard output cannot be written\n")) << result.err;
  EXPECT_EQ(result.err.find("20000 events"), std::string::npos) << "it ends early: " << result.err;
}

}  // namespace
