// What all commands do alike with bad files and bad values.
#include <nlohmann/json.hpp>

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

// ---- Bad files in JSON

nlohmann::json errors_of_check(const std::string &file) {
  return nlohmann::json::parse(run_zar({"check", file, "--json"}).out)["files"][0]["errors"];
}

TEST(FileErrors, AreTheSameObjectsInTheJsonOfEveryCommand) {
  const nlohmann::json expected = errors_of_check(kBad);
  ASSERT_FALSE(expected.empty());
  size_t asked = 0;
  for (const std::string &command : commands_with("--json")) {
    if (command == "check" || command == "schema") continue;
    const Result result = run_zar(with(line_for(command, kBad), "--json"), "show\n");
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

TEST(FileErrors, StayOnStandardErrorWithoutJson) {
  for (const std::string &command : commands_with("--json")) {
    if (command == "schema") continue;
    const Result result = run_zar(line_for(command, "/nowhere"), "show\n");
    EXPECT_EQ(result.code, 65) << command;
    EXPECT_TRUE(result.err.starts_with("/nowhere: error: cannot be opened")) << command << ": " << result.err;
  }
}

}  // namespace
