// Output that only terminals get: colour and progress.
#include "terminal_runner.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "runner.h"
#include "simulator/text/width.h"

namespace {

using test::run_zar;
using test::Terminal;

// The output of a command at a terminal.
std::string shown(const std::vector<std::string> &arguments, const Terminal::Setup &setup = {}) {
  Terminal terminal(arguments, setup);
  return terminal.read_to_end();
}

std::string without_colours(const std::string &text) {
  std::string plain;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\x1b') {
      at = text.find('m', at);
    } else {
      plain += text[at];
    }
  }
  return plain;
}

class Colour : public test::AtATerminal, public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(Colour, IsForTerminalsOnly) {
  const test::Result plain = run_zar(GetParam());
  EXPECT_EQ((plain.out + plain.err).find('\x1b'), std::string::npos);
  const std::string coloured = shown(GetParam());
  EXPECT_NE(coloured.find('\x1b'), std::string::npos) << coloured;
  // This test ignores the exit code, and a terminal does not separate the two streams.
  EXPECT_EQ(without_colours(coloured), plain.out + plain.err);
}

TEST_P(Colour, IsNeverUsedWithNoColor) {
  EXPECT_EQ(shown(GetParam(), {.environment = {"NO_COLOR=1"}}).find('\x1b'), std::string::npos);
  EXPECT_NE(shown(GetParam(), {.environment = {"NO_COLOR="}}).find('\x1b'), std::string::npos) << "it is empty";
}

// The same command line with one more word.
std::vector<std::string> with(std::vector<std::string> arguments, const std::string &word) {
  arguments.push_back(word);
  return arguments;
}

TEST_P(Colour, IsAsTheUserWantsIt) {
  EXPECT_EQ(shown(with(GetParam(), "--color=never")).find('\x1b'), std::string::npos);
  const std::string coloured = shown(GetParam());
  EXPECT_EQ(shown(with(GetParam(), "--color=auto")), coloured);
  EXPECT_EQ(shown(with(GetParam(), "--color=always"), {.environment = {"NO_COLOR=1"}}), coloured);
  const test::Result elsewhere = run_zar(with(GetParam(), "--color=always"));
  EXPECT_NE((elsewhere.out + elsewhere.err).find('\x1b'), std::string::npos);
}

TEST_P(Colour, IsNotForDumbTerminals) {
  EXPECT_EQ(shown(GetParam(), {.kind = "dumb"}).find('\x1b'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(All, Colour,
                         testing::Values(std::vector<std::string>{"check", "nowhere"},
                                         std::vector<std::string>{"explain", "examples/broadband.yaml", "--event",
                                                                  "session-start@line-0103"},
                                         std::vector<std::string>{"run", "examples/broadband.yaml"},
                                         std::vector<std::string>{"test", "tests/command/policies/failing.yaml"},
                                         std::vector<std::string>{"diff", "tests/command/policies/diff-old.yaml",
                                                                  "tests/command/policies/diff-new.yaml"}),
                         [](const auto &parameter) { return parameter.param[0]; });

size_t longest_line(const std::string &text) {
  std::istringstream lines(text);
  size_t longest = 0;
  for (std::string line; std::getline(lines, line);)
    longest = std::max(longest, simulator::columns_of(line));
  return longest;
}

std::string without_layout(const std::string &text) {
  std::string rest;
  for (const char character : without_colours(text)) {
    if (character != ' ' && character != '\n') rest += character;
  }
  return rest;
}

const std::string kOld = "tests/command/policies/diff-old.yaml";
const std::string kNew = "tests/command/policies/diff-new.yaml";

class Narrow : public test::AtATerminal, public testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(Narrow, TerminalsGetShorterLines) {
  const std::string plain = run_zar(GetParam()).out;
  EXPECT_GT(longest_line(plain), 60u) << "nothing to wrap";
  for (const uint16_t columns : std::initializer_list<uint16_t>{40, 60, 80}) {
    const std::string narrow = shown(GetParam(), {.columns = columns});
    EXPECT_LE(longest_line(narrow), columns) << narrow;
    const std::string variable = "COLUMNS=" + std::to_string(columns);
    EXPECT_EQ(shown(GetParam(), {.environment = {variable}}), narrow);
  }
  EXPECT_EQ(without_colours(shown(GetParam(), {.environment = {"COLUMNS=wide"}})), plain);
}

INSTANTIATE_TEST_SUITE_P(All, Narrow,
                         testing::Values(std::vector<std::string>{"explain", "examples/broadband.yaml", "--event",
                                                                  "session-start@line-0103", "--level", "filters"},
                                         std::vector<std::string>{"explain", "examples/broadband.yaml", "--event",
                                                                  "session-start@*"},
                                         std::vector<std::string>{"run", "examples/broadband.yaml", "--summary"},
                                         std::vector<std::string>{"run", "examples/broadband.yaml", "--no-listings",
                                                                  "--event", "session-start@*"},
                                         std::vector<std::string>{"explain", "examples/broadband.yaml", "--reach",
                                                                  "service/session-start/20"},
                                         std::vector<std::string>{"test", "tests/command/policies/failing.yaml"},
                                         std::vector<std::string>{"diff", kOld, kNew, "--replay", kOld}),
                         [](const auto &parameter) { return parameter.param[0] + std::to_string(parameter.index); });

class Wrapped : public test::AtATerminal {};

TEST_F(Wrapped, LinesKeepTheirPlacesAndTheirDepth) {
  const std::string shown_text = without_colours(
      shown({"explain", "examples/broadband.yaml", "--event", "volume-update@line-0102", "--level", "decision"},
            {.columns = 40}));
  EXPECT_EQ(shown_text,
            "examples/broadband.yaml\n"
            "142  volume-update at line-0102: none\n"
            "39     the nearest is rule\n"
            "         service/volume-update/10,\n"
            "         class-map volume-used-up\n"
            "         match-all: volume-left range\n"
            "         ..0 does not hold: volume-left\n"
            "         is 20\n");
}

TEST_F(Wrapped, TextLosesNothing) {
  const std::vector<std::string> line = {"run", "examples/broadband.yaml", "--summary"};
  EXPECT_EQ(without_layout(shown(line, {.columns = 40})), without_layout(run_zar(line).out));
}

// A scenario with this many events, in a file that is deleted with the object.
class LongScenario {
 public:
  explicit LongScenario(size_t events) : path_(testing::TempDir() + "zar-" + std::to_string(getpid()) + ".yaml") {
    std::string text =
        "domains: {d: }\n"
        "policy-maps: {p: {events: {e: {rules: []}}}}\n"
        "targets: {t: {policies: [p]}}\n"
        "scenario:\n";
    for (size_t at = 0; at < events; ++at)
      text += "  - {event: e, target: t}\n";
    std::ofstream(path_) << text;
  }
  ~LongScenario() { std::remove(path_.c_str()); }
  LongScenario(const LongScenario &) = delete;
  LongScenario &operator=(const LongScenario &) = delete;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

class Progress : public test::AtATerminal {};

TEST_F(Progress, OfALongScenarioIsShownWhereTheResultsDoNotGo) {
  const LongScenario scenario(10'000);
  for (const char *json : {"", "--json"}) {
    std::vector<std::string> arguments = {"run", scenario.path()};
    if (*json) arguments.emplace_back(json);
    const std::string progress = shown(arguments, {.output_elsewhere = true});
    EXPECT_TRUE(progress.starts_with("\r\x1b[K1000 of 10000 events\r\x1b[K2000 of 10000 events")) << progress;
    EXPECT_TRUE(progress.ends_with("10000 of 10000 events\r\x1b[K")) << progress;
  }
  EXPECT_EQ(run_zar({"run", scenario.path()}).err, "");
  EXPECT_EQ(shown({"run", scenario.path()}).find(" of 10000 events"), std::string::npos);
}

TEST_F(Progress, OfAShortScenarioIsNotShown) {
  const LongScenario scenario(9'999);
  EXPECT_EQ(shown({"run", scenario.path()}, {.output_elsewhere = true}), "");
}

}  // namespace
