// What all commands do alike with bad files and bad values.
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "runner.h"

namespace {

using test::Result;
using test::run_zar;

constexpr const char *kGood = "examples/broadband.yaml";
constexpr const char *kBad = "README.md";

// The sub-commands in the help's list that have the option.
std::vector<std::string> commands_with(const std::string &option) {
  std::istringstream help(run_zar({"--help"}).out);
  std::vector<std::string> names;
  bool listed = false;
  for (std::string line; std::getline(help, line);) {
    if (listed && line.starts_with("  ")) {
      const std::string name = line.substr(2, line.find(' ', 2) - 2);
      if (run_zar({"help", name}).out.find("  " + option) != std::string::npos) names.push_back(name);
    }
    listed = line == "Subcommands:" || (listed && !line.empty());
  }
  return names;
}

// A command line that works on the file.
std::vector<std::string> line_for(const std::string &command, const std::string &file) {
  if (command == "diff") return {command, file, kGood};
  if (command == "explain") return {command, file, "--event", "session-start@line-0101"};
  return {command, file};
}

std::vector<std::string> with(std::vector<std::string> line, const std::string &word) {
  line.push_back(word);
  return line;
}

// The same with its output in JSON.
std::vector<std::string> in_json(std::vector<std::string> line) {
  const bool writes_a_file = line[0] == "report";
  line = with(std::move(line), "--json");
  return writes_a_file ? with(with(std::move(line), "--output"), "/dev/null") : line;
}

// ---- Bad files in JSON

nlohmann::json errors_of_check(const std::string &file) {
  return nlohmann::json::parse(run_zar({"check", file, "--json"}).out)["files"][0]["errors"];
}

TEST(FileErrors, AreTheSameObjectsInTheJsonOfEveryCommand) {
  const nlohmann::json expected = errors_of_check(kBad);
  ASSERT_FALSE(expected.empty());
  size_t asked = 0;
  for (const std::string &command : commands_with("--json")) {
    // These two have the errors of each file with its other results; the schema is of no file.
    if (command == "check" || command == "fmt" || command == "schema") continue;
    const Result result = run_zar(in_json(line_for(command, kBad)), "show\n");
    EXPECT_EQ(result.code, 65) << command;
    EXPECT_EQ(result.err, "") << command;
    nlohmann::json errors = nlohmann::json::parse(result.out)["file_errors"];
    ASSERT_EQ(errors.size(), 1u) << command << ": " << result.out;
    EXPECT_EQ(errors[0]["file"], kBad) << command;
    // A session numbers its sources.
    for (nlohmann::json &error : errors[0]["errors"])
      error.erase("source");
    EXPECT_EQ(errors[0]["errors"], expected) << command;
    EXPECT_EQ(errors[0]["more_errors"], 0) << command;
    ++asked;
  }
  EXPECT_GE(asked, 9u);
}

TEST(FileErrors, AreTheWholeOutputOfACommandWithoutAGoodFile) {
  const Result result = run_zar({"graph", "-", "--json"}, "clients: 7\n");
  EXPECT_EQ(result.out,
            "{\n"
            "  \"schema_version\": 1,\n"
            "  \"command\": \"graph\",\n"
            "  \"file_errors\": [\n"
            "    {\n"
            "      \"file\": \"<stdin>\",\n"
            "      \"errors\": [\n"
            "        {\n"
            "          \"line\": 1,\n"
            "          \"column\": 10,\n"
            "          \"message\": \"what stands here is a single value\",\n"
            "          \"expected\": \"a mapping from a client's name to what belongs to it\",\n"
            "          \"suggestion\": null\n"
            "        }\n"
            "      ],\n"
            "      \"more_errors\": 0\n"
            "    }\n"
            "  ]\n"
            "}\n");
}

TEST(FileErrors, OfAllFilesOfADiffAreListed) {
  const auto json = nlohmann::json::parse(run_zar({"diff", "/nowhere", kGood, "--replay", kBad, "--json"}).out);
  ASSERT_EQ(json["file_errors"].size(), 2u);
  EXPECT_EQ(json["file_errors"][0]["file"], "/nowhere");
  EXPECT_EQ(json["file_errors"][0]["errors"][0]["line"], nullptr);
  EXPECT_EQ(json["file_errors"][1]["file"], kBad);
}

TEST(FileErrors, OfALoadInASessionAreWithTheCommand) {
  const Result result = run_zar({"shell", "--json"}, "create domain d\nload README.md\n");
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(result.err, "<stdin>:2: the session ends at this command\n");
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["commands"][0]["file_errors"], nlohmann::json::array());
  EXPECT_EQ(json["commands"][1]["file_errors"][0]["file"], kBad);
}

// ---- Values

constexpr const char *kOneTarget = R"(domains: {d: }
class-maps: {c: {filters: [{attribute: x, present: true}]}}
policy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: [permit]}]}}}}
targets: {t: {policies: [p], attributes: {x: VALUE}}}
)";

std::string file_with(const std::string &value) {
  std::string file = kOneTarget;
  return file.replace(file.find("VALUE"), 5, value);
}

// Whether a command took a value; the others exit with one of the codes for bad input.
bool took(const Result &result) {
  EXPECT_TRUE(result.code == 0 || result.code == 2 || result.code == 65) << result.code << result.err;
  EXPECT_EQ(result.code == 0, result.err.empty()) << result.err;
  return result.code == 0;
}

// Every way to give an attribute a value. The file has the target t with the attribute x.
struct WayIn {
  const char *name;
  bool (*takes)(const std::string &value);
};

void PrintTo(const WayIn &way, std::ostream *out) {
  *out << way.name;
}

bool session_takes(const std::string &command) {
  return took(run_zar({"shell"},
                      "create domain d\ncreate class c {filters: [{attribute: x, present: true}]}\n"
                      "create policy p {events: {e: {rules: [{number: 1, class: c, actions: [permit]}]}}}\n"
                      "create target t {policies: [p], attributes: {x: 1}}\n" +
                          command + "\n"));
}

const WayIn kWaysIn[] = {
    {"File",
     [](const std::string &value) {
       const std::string file = file_with("'" + value + "'");
       return took(run_zar({"check", "-"}, file));
     }},
    {"Scenario",
     [](const std::string &value) {
       const std::string scenario = "scenario: [{event: e, target: t, set: {x: '" + value + "'}}]\n";
       return took(run_zar({"check", "-"}, file_with("1") + scenario));
     }},
    {"Test",
     [](const std::string &value) {
       const std::string test =
           "tests: [{event: e, target: t, set: {x: '" + value + "'}, expect: {verdict: permit}}]\n";
       return took(run_zar({"check", "-"}, file_with("1") + test));
     }},
    {"Option",
     [](const std::string &value) {
       return took(run_zar({"explain", "-", "--event", "e@t", "--set", "x=" + value}, file_with("1")));
     }},
    {"Set", [](const std::string &value) { return session_takes("set t 'x=" + value + "'"); }},
    {"Raise", [](const std::string &value) { return session_takes("raise e@t 'x=" + value + "'"); }},
    {"Explain", [](const std::string &value) { return session_takes("explain e@t 'x=" + value + "'"); }},
    {"Create",
     [](const std::string &value) {
       return session_takes("create target u {policies: [p], attributes: {x: '" + value + "'}}");
     }},
};

class Values : public testing::TestWithParam<WayIn> {};

TEST_P(Values, HaveTheSameBoundsInEveryWayIn) {
  EXPECT_TRUE(GetParam().takes(std::string(4096, 'x')));
  EXPECT_FALSE(GetParam().takes(std::string(4097, 'x')));
  EXPECT_TRUE(GetParam().takes("gr\xc3\xbc\xc3\x9f"));
  EXPECT_FALSE(GetParam().takes("\xff"));
  EXPECT_FALSE(GetParam().takes("\xed\xa0\x80"));
  EXPECT_FALSE(GetParam().takes("cut \xc3"));
}

INSTANTIATE_TEST_SUITE_P(Of, Values, testing::ValuesIn(kWaysIn),
                         [](const auto &parameter) { return std::string(parameter.param.name); });

TEST(BadValues, ThatAreRefusedAreDescribed) {
  const std::string good = file_with("1");
  EXPECT_EQ(run_zar({"explain", "-", "--event", "e@t", "--set", "x=" + std::string(5000, 'y')}, good).err,
            "zar: the attribute 'x' cannot have a value of 5000 bytes: expected at most 4096 bytes\n");
  EXPECT_EQ(run_zar({"explain", "-", "--event", "e@t", "--set", "x=\xff"}, good).err,
            "zar: the attribute 'x' cannot have a value that is not UTF-8: expected text in UTF-8\n");
}

// Whatever a session took, it writes as a file that loads.
TEST(BadValues, OfASessionMakeAGoodFile) {
  const Result shown =
      run_zar({"shell", kGood}, "set line-0101 'account=" + std::string(4096, '\x01') + "'\nshow config\n");
  ASSERT_EQ(shown.code, 0) << shown.err;
  EXPECT_EQ(run_zar({"check", "-"}, shown.out).code, 0);
}

// ---- What is printed

// A name and values that would colour the terminal, forge a line, turn the text around or break its encoding.
constexpr const char *kEvil = "\x1b[31m\nforged: \xe2\x80\xae\xc2\x9b";

constexpr const char *kEvilFile = R"(domains: {d: }
class-maps:
  c: {filters: [{attribute: x, equals: &evil "\e[31m\nforged: \u202e\x9b"}]}
  never: {filters: [{attribute: x, equals: *evil }, {attribute: x, equals: *evil , no-match: true}]}
policy-maps:
  p:
    events:
      e:
        rules:
          - {number: 1, class: c, actions: [{log: *evil }, {set: {y: *evil }}, {apply: m}]}
          - {number: 2, class: never, actions: []}
parameter-maps: {m: {statements: [{index: 1, filters: [{attribute: y, prefix: *evil }], actions: [{log: *evil }]}]}}
targets: {t: {policies: [p], attributes: {x: *evil }}}
scenario: [{event: e, target: t, set: {x: *evil }}]
tests: [{name: *evil , event: e, target: t, set: {x: *evil }, expect: {verdict: deny, log: [], attributes: {y: *evil , x: }}}]
)";

class Printed : public testing::Test {
 protected:
  Printed() {
    std::ofstream(path_) << kEvilFile;
    std::ofstream(bad_path_) << "\"\\e\\u202e\\x9b\": 1\nclients: {\"\xe2\x80\xae\": }\n";
  }
  ~Printed() override {
    std::remove(path_.c_str());
    std::remove(bad_path_.c_str());
  }

  // What the command prints about the files, whether it likes them or not.
  static std::string printed(const std::vector<std::string> &line) {
    const Result result = run_zar(line, "show\nshow config\nshow listing\nshow target t\nexplain e@t x='" +
                                            std::string("\x1b\xe2\x80\xae") + "'\nraise e@t\nload \x1b\xe2\x80\xae\n");
    EXPECT_GE(result.code, 0);
    return result.out + result.err;
  }

  const std::string path_ = testing::TempDir() + std::to_string(getpid()) + kEvil + "good\xff.yaml";
  const std::string bad_path_ = testing::TempDir() + std::to_string(getpid()) + kEvil + "bad\xff.yaml";
};

void expect_harmless(const std::string &text, const std::string &of) {
  ASSERT_FALSE(text.empty()) << of;
  for (const char *evil : {"\x1b", "\nforged", "\xe2\x80\xae", "\xc2\x9b", "\xff"})
    EXPECT_EQ(text.find(evil), std::string::npos) << of << ":\n" << text;
}

TEST_F(Printed, IsNothingThatATerminalObeysOrNobodySees) {
  size_t asked = 0;
  for (const std::string &command : commands_with("-h,--help")) {
    if (command == "schema" || command == "help") continue;
    for (const std::string &path : {path_, bad_path_}) {
      std::vector<std::string> line = line_for(command, path);
      if (command == "explain") line = {command, path, "--event", "e@t", "--set", "x=\x1b\xe2\x80\xae"};
      expect_harmless(printed(line), command);
      ++asked;
    }
  }
  EXPECT_GE(asked, 20u);
  expect_harmless(printed({"run", path_, path_}), "run of two");
  expect_harmless(printed({"show", path_, "target"}), "show target");
  expect_harmless(printed({"show", path_, "class", kEvil}), "an unknown name");
  expect_harmless(printed({"diff", path_, kGood, "--replay", path_}), "replay");
  expect_harmless(printed({kEvil}), "an unknown command");
}

// The file name is no UTF-8: JSON, which has no bytes, gets a replacement.
TEST_F(Printed, IsEscapedInJsonAsJsonDoes) {
  for (const std::string &command : commands_with("--json")) {
    if (command == "schema") continue;
    std::vector<std::string> line = line_for(command, path_);
    if (command == "explain") line = {command, path_, "--event", "e@t"};
    const std::string text = run_zar(in_json(line), "raise e@t\n").out;
    expect_harmless(text, command);
    EXPECT_NE(text.find("\\u202e"), std::string::npos) << command << text;
    EXPECT_NE(nlohmann::json::parse(text).dump().find("\xe2\x80\xae"), std::string::npos) << command;
  }
}

TEST_F(Printed, IsNotChangedByItsEscapes) {
  const std::string config = run_zar({"config", path_}).out;
  EXPECT_NE(config.find("\\u202e"), std::string::npos) << config;
  EXPECT_EQ(run_zar({"config", "-"}, config).out, config);
  EXPECT_EQ(run_zar({"diff", path_, "-"}, config).code, 0);
}

// ---- Bad files as text

TEST(FileErrors, StayOnStandardErrorWithoutJson) {
  for (const std::string &command : commands_with("--json")) {
    if (command == "schema") continue;
    const Result result = run_zar(line_for(command, "/nowhere"), "show\n");
    EXPECT_EQ(result.code, 65) << command;
    EXPECT_TRUE(result.err.starts_with("/nowhere: error: cannot be opened")) << command << ": " << result.err;
  }
}

}  // namespace
