// Streams: lines, what they ask for, and what they do to a repository.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/words.h"
#include "simulator/stream/render.h"
#include "simulator/stream/target_kinds.h"
#include "simulator/stream/totals.h"
#include "tests/simulator/policy.h"

namespace {

using namespace simulator;
using stream::Line;
using stream::LineReader;
using stream::Lines;
using stream::Request;
using test::load_good;

// ---- Lines --------------------------------------------------------------------------------------------------------------------

// The lines of a text that arrives in pieces of this size, as "NUMBER:TEXT", or "NUMBER:too long".
std::vector<std::string> lines_of(const std::string &text, size_t piece) {
  size_t given = 0;
  Lines lines([&](char *to, size_t room) {
    const size_t got = std::min({piece, room, text.size() - given});
    std::copy_n(text.data() + given, got, to);
    given += got;
    return got;
  });
  std::vector<std::string> all;
  Line line;
  while (lines.next(line))
    all.push_back(concat(line.number, ":", line.too_long ? "too long" : line.text));
  return all;
}

using Texts = std::vector<std::string>;

TEST(LinesOfAStream, AreNumberedWhereverTheirPiecesEnd) {
  for (const size_t piece : std::initializer_list<size_t>{1, 2, 3, 7, 1000}) {
    EXPECT_EQ(lines_of("first\n\nthird\nlast", piece), (Texts{"1:first", "3:third", "4:last"})) << piece;
    EXPECT_EQ(lines_of("first\n", piece), Texts{"1:first"}) << piece;
    EXPECT_EQ(lines_of("", piece), Texts()) << piece;
  }
}

TEST(LinesOfAStream, LeaveOutBlankLinesAndTheMarkOfUtf8) {
  EXPECT_EQ(lines_of("\xef\xbb\xbf{}\r\n \t\r\n{}\n", 1000), (Texts{"1:{}\r", "3:{}"}));
}

TEST(LinesOfAStream, MayHaveTheLargestLengthAndNoMore) {
  const std::string longest(stream::kLongestLine, 'a');
  for (const size_t piece : {size_t{4096}, size_t{1} << 30U}) {
    EXPECT_EQ(lines_of(longest + "\nb", piece), (Texts{"1:" + longest, "2:b"}));
    EXPECT_EQ(lines_of(longest + "a\nb\n", piece), (Texts{"1:too long", "2:b"}));
    EXPECT_EQ(lines_of("b\n" + longest + longest + longest + "\nb\n", piece), (Texts{"1:b", "2:too long", "3:b"}));
    EXPECT_EQ(lines_of("b\n" + longest + longest + longest, piece), (Texts{"1:b", "2:too long"}));
  }
}

// How many lines come together, and their numbers.
TEST(LinesOfAStream, ComeTogetherIfNothingHasToBeReadForThem) {
  std::vector<std::string> pieces{"1\n2\n\n4\n5\nsi", "x\n" + std::string(stream::kLongestTogether, '7') + "\n8\n",
                                  std::string(stream::kLongestTogether + 1, '9') + "\n10"};
  size_t next = 0;
  Lines lines([&](char *to, size_t) {
    if (next == pieces.size()) return size_t{0};
    const std::string &piece = pieces[next++];
    std::copy(piece.begin(), piece.end(), to);
    return piece.size();
  });
  const auto numbers = [&] {
    Line some[3];
    const size_t count = lines.next(some);
    std::string text;
    for (const Line &line : std::span(some).first(count))
      text += concat(" ", line.number);
    return text;
  };
  EXPECT_EQ(numbers(), " 1 2 4");
  EXPECT_EQ(numbers(), " 5");
  EXPECT_EQ(numbers(), " 6 7 8");
  EXPECT_EQ(numbers(), " 9");
  EXPECT_EQ(numbers(), " 10");
  EXPECT_EQ(numbers(), "");
}

// ---- Requests -----------------------------------------------------------------------------------------------------------------

std::string text_of(const Request &request) {
  std::string text = request.is == Request::Is::event        ? concat("event ", request.event, " at ", request.target)
                     : request.is == Request::Is::add_target ? concat("add ", request.target)
                                                             : concat("delete ", request.target);
  for (const std::string_view attribute : request.clear)
    text += concat(" -", attribute);
  for (const stream::Given &given : request.set)
    text += concat(" ", given.attribute, "=", given.text);
  for (const std::string_view policy : request.policies)
    text += concat(" ", policy);
  if (request.client) text += concat(" of ", *request.client);
  return text;
}

// What the line asks for, or what is wrong with it.
std::string read(std::string line) {
  LineReader reader;
  const size_t length = line.size();
  line.resize(length + stream::kPadding);
  const Request *request = reader.read(std::string_view(line).substr(0, length));
  return request ? text_of(*request) : reader.error();
}

TEST(LineOfAStream, IsAnEventOrATargetThatComesOrGoes) {
  EXPECT_EQ(read(R"({"event": "e", "target": "t"})"), "event e at t");
  EXPECT_EQ(read(R"({"clear": ["c", "d"], "set": {"a": "\u00e4\n", "b": ""}, "target": "t", "event": "e"})"),
            "event e at t -c -d a=\xc3\xa4\n b=");
  EXPECT_EQ(read(R"({"add-target": "t", "policies": ["p", "q"], "attributes": {"a": "1"}, "client": "c"})"),
            "add t a=1 p q of c");
  EXPECT_EQ(read(R"({"delete-target": "t"})"), "delete t");
}

TEST(LineOfAStream, MayHaveWholeNumbersAndFlagsAsValues) {
  EXPECT_EQ(
      read(R"({"event": "e", "target": "t", "set": {"a": 12, "b": -9223372036854775808, "c": true, "d": false}})"),
      "event e at t a=12 b=-9223372036854775808 c=true d=false");
  EXPECT_EQ(read(R"({"event": "e", "target": "t", "set": {"a": 1.50}})"),
            "an attribute's value is a number with a fraction or an exponent: expected a text, in quotes");
  EXPECT_EQ(read(R"({"event": "e", "target": "t", "set": {"a": 9223372036854775808}})"),
            "an attribute's value is a number: expected a text, in quotes");
  EXPECT_EQ(read(R"({"event": "e", "target": "t", "set": {"a": null}})"),
            "an attribute's value is null: expected a text, in quotes");
}

TEST(LineOfAStream, OfTheWrongTypeIsRefused) {
  EXPECT_EQ(read("[]"), "the line is a list: expected an object");
  EXPECT_EQ(read("7"), "the line is a number: expected an object");
  EXPECT_EQ(read(R"({"event": ["e"], "target": "t"})"), "the event is a list: expected a text");
  EXPECT_EQ(read(R"({"event": "e", "target": 5})"), "the target is a number: expected a text");
  EXPECT_EQ(read(R"({"event": "e", "target": "t", "set": ["a"]})"), "what the line sets is a list: expected an object");
  EXPECT_EQ(read(R"({"event": "e", "target": "t", "clear": "a"})"), "what the line clears is a text: expected a list");
  EXPECT_EQ(read(R"({"event": "e", "target": "t", "clear": [{}]})"),
            "an attribute to clear is an object: expected a text");
  EXPECT_EQ(read(R"({"add-target": "t", "policies": [null]})"), "a policy is null: expected a text");
  EXPECT_EQ(read(R"({"delete-target": true})"), "the target to delete is true or false: expected a text");
}

TEST(LineOfAStream, WithTheWrongKeysIsRefused) {
  EXPECT_EQ(read("{}"), "the line says nothing: expected one of the keys event, add-target, delete-target");
  EXPECT_EQ(read(R"({"evnt": "e", "target": "t"})"), "unknown key 'evnt' in the line; did you mean 'event'?");
  EXPECT_EQ(read(R"({"event": "e", "event": "e"})"), "duplicate key 'event' in the line: expected each key once");
  EXPECT_EQ(read(R"({"event": "e"})"), "an event has no 'target': expected the key target");
  EXPECT_EQ(read(R"({"add-target": "t"})"), "a target to add has no 'policies': expected the key policies");
  EXPECT_EQ(
      read(R"({"event": "e", "add-target": "t"})"),
      "a line with 'event' cannot have the key add-target: expected only one of the keys event, target, set, clear");
  EXPECT_EQ(read(R"({"delete-target": "t", "set": {}, "clear": []})"),
            "a line with 'delete-target' cannot have one of the keys set, clear: expected only the key delete-target");
}

TEST(LineOfAStream, ThatIsNoJsonIsRefused) {
  EXPECT_EQ(read(R"({"event": "e)"), "the line ends within a text: expected a JSON object in one line");
  EXPECT_EQ(read("{\"event\": \"\xff\"}"), "the line is not UTF-8: expected text in UTF-8");
  for (const char *text : {"{", "{}{}", "event", R"({"event": "e",})", R"({"event" "e"})"}) {
    EXPECT_EQ(read(text), "the line is no JSON: expected a JSON object in one line") << text;
  }
  // What is neither a text nor a number is the latter to newer versions of simdjson.
  const std::string reason = read(R"({"event": 'e'})");
  EXPECT_TRUE(reason == "the line is no JSON: expected a JSON object in one line" ||
              reason == "the line has a number that is none, or is beyond 64 bits: expected a text, in quotes")
      << reason;
  EXPECT_EQ(read(std::string(5000, '[') + std::string(5000, ']')),
            "the line is nested too deeply: expected a JSON object");
}

TEST(LineOfAStream, LeavesNothingToTheNextOne) {
  LineReader reader;
  const auto read_next = [&](std::string line) {
    const size_t length = line.size();
    line.resize(length + stream::kPadding);
    const Request *request = reader.read(std::string_view(line).substr(0, length));
    return request ? text_of(*request) : reader.error();
  };
  read_next(R"({"event": "e", "target": "t", "set": {"a": 5}, "clear": ["b"]})");
  EXPECT_EQ(read_next(R"({"event": "e", "target": "t"})"), "event e at t");
  read_next(R"({"add-target": "t", "policies": ["p"], "client": "c"})");
  EXPECT_EQ(read_next(R"({"add-target": "t", "policies": []})"), "add t");
}

// ---- Playing ------------------------------------------------------------------------------------------------------------------

// A repository with a player, and the lines that it has got so far.
class Stage {
 public:
  explicit Stage(PolicyFile file)
      : file_(std::move(file)),
        repository_(file_),
        built_(repository_.build()),
        player_(file_, repository_),
        renderer_(player_.rules()),
        kinds_(file_),
        totals_(player_.rules().size()) {
    EXPECT_TRUE(built_);
  }

  // Its result as JSON; for a bad line its error, for the others nothing.
  std::string play(std::string text) {
    const size_t length = text.size();
    text.resize(length + stream::kPadding);
    const stream::Played &played = player_.play({++lines_, std::string_view(text).substr(0, length)});
    totals_.count(counted(played));
    kind_ = kinds_.kind_of(played);
    if (!played.error.empty()) return std::string(played.error);
    std::string out;
    renderer_.append(out, played);
    return out;
  }

  // The same for lines that are read together, until one is bad.
  std::vector<std::string> play_together(const std::vector<std::string> &texts) {
    std::vector<std::string> padded;
    std::vector<stream::Line> lines;
    for (const std::string &text : texts) {
      const std::string &line = padded.emplace_back(text + std::string(stream::kPadding, ' '));
      lines.push_back({++lines_, std::string_view(line).substr(0, text.size())});
    }
    std::vector<std::string> all;
    player_.play(lines, [&](const stream::Played &played) {
      std::string &out = all.emplace_back(played.error);
      if (out.empty()) renderer_.append(out, played);
      return played.error.empty();
    });
    return all;
  }

  std::string totals() const { return stream::text_of(totals_, player_.rules(), Colours::off); }
  // Of the target of the last event; empty if the last line was none.
  const std::string &kind() const { return kind_; }
  const PolicyFile &file() const { return file_; }
  Repository &repository() { return repository_; }

 private:
  PolicyFile file_;
  Repository repository_;
  bool built_;
  stream::Player player_;
  stream::JsonRenderer renderer_;
  stream::TargetKinds kinds_;
  std::string kind_;
  stream::Totals totals_;
  size_t lines_ = 0;
};

constexpr const char *kCounter = R"(
domains: {d: }
class-maps:
  all: {}
  many: {filters: [{attribute: n, range: {min: 2}}]}
policy-maps:
  p:
    events:
      tick:
        rules:
          - {number: 1, class: all, actions: [{count: n}]}
          - {number: 2, class: many, actions: [{log: many}, deny]}
      reset: {rules: [{number: 1, class: all, actions: [{clear: n}, permit]}]}
  q: {events: {tick: {rules: [{number: 1, class: all, actions: [permit]}]}}}
targets:
  t: {policies: [p]}
)";

TEST(Stream, LetsTargetsComeAndGo) {
  Stage stage(load_good(kCounter));
  EXPECT_EQ(stage.play(R"({"add-target": "new", "policies": ["p", "q"], "attributes": {"n": 4}})"), "");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "new"})"),
            R"({"line":2,"event":"tick","target":"new","verdict":"permit","decided_by":{"rule":"q/tick/1","class_map":)"
            R"("all","line":14,"column":40,"action":{"number":1,"action":"permit","line":14,"column":65}},"changes":)"
            R"([{"attribute":"n","before":"4","after":"5"}],"log":["many"]})"
            "\n");
  EXPECT_EQ(stage.play(R"({"delete-target": "new"})"), "");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "new"})"), "there is no target 'new'");
  EXPECT_EQ(stage.play(R"({"add-target": "new", "policies": ["p"]})"), "");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "new"})"),
            R"({"line":6,"event":"tick","target":"new","verdict":"none","decided_by":null,"changes":)"
            R"([{"attribute":"n","before":null,"after":"1"}],"log":[]})"
            "\n")
      << "with nothing of the one before it";
  EXPECT_EQ(stage.totals(),
            "2 events, 2 targets added, 1 deleted, 1 bad line\n"
            "verdicts: 1 permit, 0 deny, 1 none\n"
            "rules that ran:\n"
            "  2  p/tick/1\n"
            "  1  p/tick/2\n"
            "  1  q/tick/1\n"
            "  never: 1 rule\n");
  EXPECT_TRUE(stage.repository().finish().empty());
}

TEST(Stream, PlaysLinesThatAreReadTogetherOneAfterTheOther) {
  const std::vector<std::string> lines{
      R"({"event": "tick", "target": "t"})",
      R"({"delete-target": "t"})",
      R"({"add-target": "t", "policies": ["p"], "attributes": {"n": "5"}})",
      R"({"event": "tick", "target": "t"})",
      R"({"add-target": "u", "policies": ["p", "q"]})",
      R"({"event": "tick", "target": "u"})",
      R"({"event": "tick", "target": "v"})",
      R"({"event": "tick", "target": "u"})",
  };
  Stage one_by_one(load_good(kCounter));
  std::vector<std::string> expected;
  for (size_t at = 0; at < 7; ++at)
    expected.push_back(one_by_one.play(lines[at]));
  EXPECT_EQ(expected[6], "there is no target 'v'");
  one_by_one.repository().finish();

  Stage together(load_good(kCounter));
  EXPECT_EQ(together.play_together(lines), expected) << "up to the bad one";
  EXPECT_NE(together.play(lines[5]).find(R"("before":"1","after":"2")"), std::string::npos)
      << "of what comes after a bad line, nothing is done";
}

TEST(Stream, ClearsBeforeItSets) {
  Stage stage(load_good(kCounter));
  stage.play(R"({"event": "tick", "target": "t", "set": {"n": 7}, "clear": ["n"]})");
  EXPECT_NE(stage.play(R"({"event": "tick", "target": "t"})").find(R"("before":"8","after":"9")"), std::string::npos);
}

TEST(Stream, RefusesALineAsAWhole) {
  Stage stage(load_good(kCounter));
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "t", "clear": ["n"], "set": {"n": 5, "m": 5}})"),
            "there is no attribute 'm'; did you mean 'n'?");
  EXPECT_EQ(stage.play(R"({"add-target": "new", "policies": ["p", "z"]})"),
            "there is no policy-map 'z'; did you mean 'p'?");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "new"})"), "there is no target 'new'");
  EXPECT_NE(stage.play(R"({"event": "tick", "target": "t"})").find(R"("before":null,"after":"1")"), std::string::npos);
}

TEST(Stream, RefusesNamesAndValuesInTheWordsOfPolicyFiles) {
  Stage stage(load_good(kCounter));
  EXPECT_EQ(stage.play(R"({"event": "tack", "target": "t"})"), "there is no event 'tack'; did you mean 'tick'?");
  EXPECT_EQ(stage.play(R"({"event": "a b", "target": "t"})"),
            "'a b' cannot be an event's name: expected 1 to 63 letters, digits and _-./+");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": ""})"),
            "'' cannot be a target's name: expected 1 to 63 letters, digits and _-./+:@");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "t", "clear": ["\u0000"]})"),
            std::string("'\0", 2) + "' cannot be an attribute's name: expected 1 to 63 letters, digits and _-./+");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "t", "set": {"n": 1, "n": 2}})"),
            "duplicate name 'n': expected each attribute once");
  EXPECT_EQ(stage.play(R"({"event": "tick", "target": "t", "set": {"n": ")" + std::string(4097, 'v') + "\"}}"),
            "the attribute 'n' cannot have a value of 4097 bytes: expected at most 4096 bytes");
  EXPECT_EQ(stage.play(R"({"add-target": "t", "policies": ["p"]})"),
            "there is a target 't' already: expected a name that no target has");
  EXPECT_EQ(
      stage.play(R"({"add-target": ")" + std::string(64, 'n') + R"(", "policies": ["p"]})"),
      "'" + std::string(40, 'n') + "...' cannot be a target's name: expected 1 to 63 letters, digits and _-./+:@");
  EXPECT_EQ(stage.play(R"({"add-target": "u", "policies": []})"),
            "target 'u' has no policy: expected at least one policy-map: no target exists without");
  EXPECT_EQ(stage.play(R"({"add-target": "u", "policies": ["p", "p"]})"),
            "policy-map 'p' is active already: expected each policy-map once on a target");
  EXPECT_EQ(stage.play(R"({"add-target": "u", "policies": ["p"], "client": "c"})"), "there is no client 'c'");
  EXPECT_EQ(stage.play(R"({"delete-target": "u"})"), "there is no target 'u'");
  EXPECT_EQ(stage.play(R"({"event": "tick")"), "the line is no JSON: expected a JSON object in one line");
  EXPECT_EQ(stage.file().targets.size(), 1U);
}

TEST(Stream, RefusesTargetsThatTheHandleTableHasNoRoomFor) {
  Stage stage(load_good(kCounter));
  size_t added = 0;
  std::string error;
  while (error.empty() && added < kMostHandles)
    error = stage.play(concat(R"({"add-target": "u)", ++added, R"(", "policies": ["p"]})"));
  EXPECT_EQ(error,
            "there would be 65538 objects: expected at most 65536: maps, filters, events, rules, actions, and two for "
            "each target");
  EXPECT_EQ(stage.file().handles() + 2 * (added - 1), 65536U) << "the last one was refused";
  EXPECT_EQ(stage.play(R"({"delete-target": "u1"})"), "");
  EXPECT_EQ(stage.play(R"({"add-target": "again", "policies": ["p"]})"), "");
  EXPECT_TRUE(stage.repository().finish().empty());
}

TEST(KindOfATarget, IsThatOfItsPolicyMapsAndItsClientAsItComesAndGoes) {
  Stage stage(load_good(std::string(kCounter) + "clients: {access: }\n"));
  const auto kind_after = [&](const std::string &text) {
    stage.play(text);
    return stage.kind();
  };
  EXPECT_EQ(kind_after(R"({"event": "tick", "target": "t"})"), "p");
  EXPECT_EQ(kind_after(R"({"add-target": "new", "policies": ["q", "p"], "client": "access"})"), "");
  EXPECT_EQ(kind_after(R"({"event": "tick", "target": "new"})"), "q, p (client access)");
  EXPECT_EQ(kind_after(R"({"add-target": "new", "policies": ["p"]})"), "") << "it is bad";
  EXPECT_EQ(kind_after(R"({"event": "tick", "target": "new"})"), "q, p (client access)");
  EXPECT_EQ(kind_after(R"({"delete-target": "new"})"), "");
  EXPECT_EQ(kind_after(R"({"event": "tick", "target": "new"})"), "") << "it is gone";
  EXPECT_EQ(kind_after(R"({"add-target": "new", "policies": ["p"]})"), "");
  EXPECT_EQ(kind_after(R"({"event": "tick", "target": "new"})"), "p");
}

// ---- The same as an explanation -------------------------------------------------------------------------------------------------

std::string text_of_file(const std::string &path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return std::move(text).str();
}

// The scenario of the file, then every event on every target.
std::vector<Step> steps_of(const PolicyFile &file) {
  std::vector<Step> steps = file.scenario;
  for (int round = 0; round < 2; ++round) {
    for (const std::string &event : file.events) {
      for (const Target &target : file.targets)
        steps.push_back({.event = {event, {}}, .target = target.name});
    }
  }
  return steps;
}

std::string line_of(const Step &step) {
  Json line;
  line["event"] = step.event.value;
  line["target"] = step.target.value;
  line["set"] = Json::object();
  for (const Assignment &set : step.set)
    line["set"][set.attribute.value] = set.text;
  line["clear"] = Json::array();
  for (const Name &attribute : step.clear)
    line["clear"].push_back(attribute.value);
  return line.dump();
}

// The result of a stream, made from the explanation of the event.
std::string result_of(size_t line, const Step &step, const EventExplanation &explanation) {
  Json result;
  result["line"] = line;
  result["event"] = step.event.value;
  result["target"] = step.target.value;
  result["verdict"] = to_string(explanation.outcome.verdict);
  result["decided_by"] = decided_by_json(explanation);
  result["changes"] = Json::array();
  for (const Change &change : net_changes(explanation))
    result["changes"].push_back(change_json(change));
  result["log"] = logs(explanation);
  if (const Refusals refused = refusals(explanation); refused.first) result["stopped"] = limit_text(refused);
  return result.dump() + "\n";
}

std::vector<std::string> explained(const PolicyFile &file, const std::vector<Step> &steps) {
  Repository repository(file);
  EXPECT_TRUE(repository.build());
  simulator::Recorder recorder(file);
  std::vector<std::string> results;
  for (const Step &step : steps)
    results.push_back(result_of(results.size() + 1, step, recorder.raise(repository, step)));
  return results;
}

class EveryPolicy : public testing::TestWithParam<const char *> {};

TEST_P(EveryPolicy, DoesInAStreamWhatItsExplanationsSay) {
  PolicyFile file = load_good(text_of_file(std::string(ZAR_SOURCE_DIR) + "/" + GetParam()));
  const std::vector<Step> steps = steps_of(file);
  ASSERT_GT(steps.size(), 5U);
  const std::vector<std::string> expected = explained(file, steps);
  Stage stage(std::move(file));
  for (size_t at = 0; at < steps.size(); ++at)
    EXPECT_EQ(stage.play(line_of(steps[at])), expected[at]);
  EXPECT_TRUE(stage.repository().finish().empty());
}

INSTANTIATE_TEST_SUITE_P(All, EveryPolicy,
                         testing::Values("examples/broadband.yaml", "examples/guest-network.yaml",
                                         "examples/interface-qos.yaml", "tests/command/policies/paths.yaml",
                                         "tests/command/policies/diff-old.yaml"),
                         [](const auto &parameter) {
                           std::string name = std::filesystem::path(parameter.param).stem().string();
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
