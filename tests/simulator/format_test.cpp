// The canonical layout of policy files, and that formatting changes nothing but the layout.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "simulator/format/format.h"
#include "simulator/format/line_diff.h"
#include "simulator/policy/load.h"
#include "simulator/policy/write.h"
#include "tests/simulator/policy.h"

namespace {

using simulator::Complaints;
using simulator::Diagnostics;
using simulator::PolicyFile;
using simulator::Source;
using test::joined;

struct Formatted {
  std::optional<std::string> text;
  Diagnostics diagnostics;
  Complaints defects;
};

// Of a text that loads.
Formatted format(const std::string &text) {
  Formatted result;
  const Source source("test.yaml", text);
  const std::optional<PolicyFile> file = simulator::load(source, result.diagnostics);
  EXPECT_TRUE(file) << render(result.diagnostics, source) << text;
  if (file) result.text = simulator::format::formatted(source, *file, result.diagnostics, result.defects);
  return result;
}

std::string format_good(const std::string &text) {
  const Formatted result = format(text);
  EXPECT_EQ(result.defects, Complaints());
  EXPECT_TRUE(result.text) << render(result.diagnostics, Source("test.yaml", text));
  return result.text.value_or("");
}

// The layout of 'before' is 'after', whose layout is its own.
void expect_layout(const std::vector<std::string> &before, const std::vector<std::string> &after) {
  EXPECT_EQ(format_good(joined(before)), joined(after));
  EXPECT_EQ(format_good(joined(after)), joined(after));
}

void expect_kept(const std::vector<std::string> &lines) {
  EXPECT_EQ(format_good(joined(lines)), joined(lines));
}

void expect_refused(const std::string &text, const std::string &why) {
  const Formatted result = format(text);
  EXPECT_FALSE(result.text) << *result.text;
  EXPECT_EQ(result.defects, Complaints());
  ASSERT_EQ(result.diagnostics.count(), 1U);
  EXPECT_EQ(result.diagnostics.sorted()[0].message, why);
}

TEST(Format, IndentsByTwoBlanks) {
  expect_layout(
      {
          "domains:",
          "    d:",
          "class-maps:",
          " a:",
          "       match: any",
          "       filters:",
          "       -   {attribute: x, equals: 1}",
      },
      {
          "domains:",
          "  d:",
          "class-maps:",
          "  a:",
          "    match: any",
          "    filters:",
          "      - {attribute: x, equals: 1}",
      });
}

TEST(Format, PutsOneBlankBetweenTheWordsInBrackets) {
  expect_layout(
      {
          "domains:   { d:,e :  { } }  ",
          "clients: { \"c\":{database:   own},}",
          "class-maps: {a: {domain: d, filters: [{attribute:   x,present: true} ,{ attribute: y, present: true }]}}",
          "policy-maps: {p: {domain: d,events: {e: {rules: [ ]}}}}",
      },
      {
          "domains: {d: , e: {}}",
          "clients: {\"c\": {database: own}}",
          "class-maps: {a: {domain: d, filters: [{attribute: x, present: true}, {attribute: y, present: true}]}}",
          "policy-maps: {p: {domain: d, events: {e: {rules: []}}}}",
      });
}

TEST(Format, KeepsAtMostOneEmptyLine) {
  expect_layout(
      {
          "", "# front",     "", "",     "", "domains:", "", "  d:", "", "", "  e:   ", "   ", "clients:",
          "", "  # comment", "", "  c:", "", "",
      },
      {
          "# front",
          "",
          "domains:",
          "  d:",
          "",
          "  e:",
          "",
          "clients:",
          "  # comment",
          "",
          "  c:",
      });
}

TEST(Format, EndsTheLastLine) {
  EXPECT_EQ(format_good("domains: {d: }"), "domains: {d: }\n");
  EXPECT_EQ(format_good("{}"), "{}\n");
}

// A class-map whose line in brackets has this length.
std::string class_map_of(size_t length) {
  const std::string front = "  a: {filters: [{attribute: x, equals: '";
  const std::string back = "'}]}";
  return front + std::string(length - front.size() - back.size(), 'v') + back;
}

TEST(Format, OpensBracketsThatNeedMoreThan120Columns) {
  expect_kept({"domains: {d: }", "class-maps:", class_map_of(120)});
  const std::string longer = class_map_of(121);
  const std::string filters = longer.substr(longer.find('{') + 1, longer.size() - longer.find('{') - 2);
  expect_layout({"domains: {d: }", "class-maps:", longer}, {"domains: {d: }", "class-maps:", "  a:", "    " + filters});
}

TEST(Format, CountsCharactersAndNotBytes) {
  std::string line = class_map_of(120);
  for (size_t at = line.find('v'); at != std::string::npos; at = line.find('v'))
    line.replace(at, 1, "ü");
  expect_kept({"domains: {d: }", "class-maps:", line});
}

TEST(Format, OpensBracketsThatWereOnSeveralLines) {
  expect_layout(
      {
          "{",
          "  \"domains\": {\"d\": null},",
          "  \"policy-maps\": {",
          "    \"p\": {\"events\": {",
          "      \"e\": {\"rules\": []}",
          "    }}",
          "  }",
          "}",
      },
      {
          "\"domains\": {\"d\": null}",
          "\"policy-maps\":",
          "  \"p\":",
          "    \"events\":",
          "      \"e\": {\"rules\": []}",
      });
}

TEST(Format, OpensBracketsWithCommentsInThem) {
  expect_layout(
      {
          "domains: { # first",
          "  d: , # second",
          "  # third",
          "  e: {owner: c} # fourth",
          "} # fifth",
          "clients: {",
          "  c: } # sixth",
          "class-maps: {a: {domain: d, filters: [] # seventh",
          "}}",
          "policy-maps: {} # eighth",
          "parameter-maps: { # ninth",
          "# tenth",
          "}",
      },
      {
          "domains:  # first",
          "  d:  # second",
          "  # third",
          "  e: {owner: c}  # fourth",
          "# fifth",
          "clients:",
          "  c:  # sixth",
          "class-maps:",
          "  a:",
          "    domain: d",
          "    filters: []  # seventh",
          "policy-maps: {}  # eighth",
          "parameter-maps: {}  # ninth",
          "# tenth",
      });
}

TEST(Format, PutsWhatIsShortIntoBrackets) {
  expect_layout(
      {
          "domains: {d: }",
          "class-maps:",
          "  c:",
          "    filters:",
          "      - attribute: x",
          "        range:",
          "          min: 1",
          "        no-match: true",
          "policy-maps:",
          "  p:",
          "    events:",
          "      e:",
          "        rules:",
          "          - number: 1",
          "            class: c",
          "            actions:",
          "              - set:",
          "                  x: 1",
          "targets:",
          "  t:",
          "    attributes:",
          "      x: 2",
          "    policies:",
          "      - p",
          "scenario:",
          "  - event: e",
          "    target: t",
          "    set:",
          "      x: 1",
          "      y: 2",
          "    clear: [",
          "      z",
          "    ]",
      },
      {
          "domains: {d: }",
          "class-maps:",
          "  c:",
          "    filters:",
          "      - {attribute: x, range: {min: 1}, no-match: true}",
          "policy-maps:",
          "  p:",
          "    events:",
          "      e:",
          "        rules:",
          "          - number: 1",
          "            class: c",
          "            actions:",
          "              - set: {x: 1}",
          "targets:",
          "  t:",
          "    attributes:",
          "      x: 2",
          "    policies: [p]",
          "scenario:",
          "  - event: e",
          "    target: t",
          "    set: {x: 1, y: 2}",
          "    clear: [z]",
      });
}

TEST(Format, LeavesOnLinesWhatCannotStandInBrackets) {
  const auto filter = [](const std::string &equals) -> std::vector<std::string> {
    return {
        "domains: {d: }", "class-maps:", "  c:", "    filters:", "      - attribute: x", "        equals: " + equals};
  };
  expect_kept(filter("one, two"));
  expect_kept(filter("what?"));
  expect_kept(filter("a{2}"));
  expect_kept(filter("x[]"));
  expect_kept(filter("one  # not two"));
  expect_kept(filter(std::string(100, 'v')));
  expect_layout(
      filter("'one, two'"),
      {"domains: {d: }", "class-maps:", "  c:", "    filters:", "      - {attribute: x, equals: 'one, two'}"});
}

TEST(Format, LeavesOnLinesWhatWasOnLines) {
  expect_kept({
      "clients:",
      "  c:",
      "    database: own",
      "domains:",
      "  d:",
      "    owner: c",
      "class-maps:",
      "  a: {match: any}",
      "  b:",
      "    match: any",
  });
}

TEST(Format, IndentsCommentsLikeWhatTheyBelongTo) {
  expect_layout(
      {
          "  # of the file",
          "domains:",
          "      # of d",
          "  d:",
          "  # at the end of domains",
          "      # so is this",
          "# of clients",
          "clients:",
          "  c:",
          "      database: own",
          "      # at the end of c",
          "    # at the end of clients, although it is indented more",
          " # of class-maps, although it is indented",
          "class-maps:",
          "  a:",
          "    filters:",
          "    # of the filter",
          "    - {attribute: x, equals: 1}",
          "    # of match",
          "    match: any",
          "# at the end of the file",
      },
      {
          "# of the file",
          "domains:",
          "  # of d",
          "  d:",
          "  # at the end of domains",
          "  # so is this",
          "# of clients",
          "clients:",
          "  c:",
          "    database: own",
          "    # at the end of c",
          "  # at the end of clients, although it is indented more",
          "# of class-maps, although it is indented",
          "class-maps:",
          "  a:",
          "    filters:",
          "      # of the filter",
          "      - {attribute: x, equals: 1}",
          "    # of match",
          "    match: any",
          "# at the end of the file",
      });
}

TEST(Format, KeepsTheBlanksInFrontOfCommentsAtTheEndOfALine) {
  expect_layout(
      {
          "domains: # one blank becomes two",
          "    d:       # a column",
          "    e-e:     # of comments   ",
          "clients: {c: {database: 'own'}}#none",
      },
      {
          "domains:  # one blank becomes two",
          "  d:       # a column",
          "  e-e:     # of comments",
          "clients: {c: {database: 'own'}}  #none",
      });
}

TEST(Format, KeepsCommentsBetweenAKeyAndItsValue) {
  expect_layout(
      {
          "domains: {d: {owner: c}}",
          "clients:",
          "  c:",
          "    database: # one",
          "         # two",
          "         own # three",
          "class-maps:",
          "  a:",
          "    filters:",
          "      - # four",
          "        {attribute: x, present: true}",
          "      -    # five",
          "        attribute: y",
          "        present: true",
      },
      {
          "domains: {d: {owner: c}}",
          "clients:",
          "  c:",
          "    database:  # one",
          "      # two",
          "      own  # three",
          "class-maps:",
          "  a:",
          "    filters:",
          "      -  # four",
          "        {attribute: x, present: true}",
          "      -    # five",
          "        attribute: y",
          "        present: true",
      });
}

// What looks like a comment in a text is none.
TEST(Format, KeepsTextsAsTheyAreWritten) {
  expect_kept({
      "domains: {d: }",
      "class-maps:",
      "  \"a\":",
      "    filters:",
      "      - {attribute: x, equals: 'it''s # no comment'}",
      "      - {attribute: x, equals: \"a \\\" # \\\\\"}",
      "      - {attribute: x, equals: a#b:c}",
      "      - {attribute: x, equals: ~x}",
      "      - {attribute: x, equals: null-and-void}",
      "      - {attribute: x, regex: '^[a-z]{2}, (a|b)?$'}",
  });
}

constexpr const char *kAction =
    "policy-maps: {p: {events: {e: {rules: [{number: 1, class: a, actions: [log: 'x']}]}}}}";

TEST(Format, WritesAPairInAListWithItsBraces) {
  expect_layout({"domains: {d: }", "class-maps: {a: }", kAction},
                {"domains: {d: }", "class-maps: {a: }",
                 "policy-maps: {p: {events: {e: {rules: [{number: 1, class: a, actions: [{log: 'x'}]}]}}}}"});
}

// A rule with these lines of actions, each with the indentation that the layout gives them.
std::vector<std::string> with_actions(const std::vector<std::string> &actions) {
  std::vector<std::string> lines = {"domains: {d: }",       "class-maps: {a: }",
                                    "policy-maps:",         "  p:",
                                    "    events:",          "      e:",
                                    "        rules:",       "          - number: 1",
                                    "            class: a", "            actions:"};
  lines.insert(lines.end(), actions.begin(), actions.end());
  return lines;
}

TEST(Format, KeepsTheLinesOfTextsOfSeveralLines) {
  expect_layout(with_actions({
                    "             - log: a text",
                    "                     of several lines",
                    "",
                    "                     with an empty one   # comment",
                    "             - log: 'in quotes",
                    "               it''s",
                    "                          three lines' # comment",
                    "             - log: \"ends in a blank\\",
                    "                       \\ here  \\\" \"",
                    "             - log:",
                    "                 below its key",
                }),
                with_actions({
                    "              - log: a text",
                    "                  of several lines",
                    "",
                    "                  with an empty one   # comment",
                    "              - log: 'in quotes",
                    "                  it''s",
                    "                  three lines'  # comment",
                    "              - log: \"ends in a blank\\",
                    "                  \\ here  \\\" \"",
                    "              - log: below its key",
                }));
}

TEST(Format, MovesBlocksOfTextWithTheirLines) {
  expect_layout(with_actions({
                    "             - log: |",
                    "                    first",
                    "                      second  ",
                    "",
                    "                    # no comment",
                    "",
                    "             # comment",
                    "             - log: >-   # folded",
                    "                folded",
                    "                text",
                    "             - log: |2+",
                    std::string(18, ' ') + "led by a blank",
                    "",
                    "",
                    "             - log: |1-",
                    std::string(17, ' ') + "so is this",
                    "             - permit",
                }),
                with_actions({
                    "              - log: |",
                    "                  first",
                    "                    second  ",
                    "",
                    "                  # no comment",
                    "",
                    "              # comment",
                    "              - log: >-  # folded",
                    "                  folded",
                    "                  text",
                    "              - log: |2+",
                    std::string(19, ' ') + "led by a blank",
                    "",
                    "",
                    "              - log: |1-",
                    std::string(18, ' ') + "so is this",
                    "              - permit",
                }));
}

TEST(Format, KeepsAnchorsAndAliases) {
  expect_layout(
      {
          "domains: &none { d:  ,  e: }",
          "clients: {c: &own {database: own}, f: *own }",
          "class-maps:",
          "    &a a: &body  # comment",
          "        domain: d",
          "    b: *body",
          "    c:  {domain: &first d, match: &any any}",
          "parameter-maps:",
          "  m:",
          "    statements:",
          "      - {index: 1, filters: &f [{attribute: x, present: true}], actions: &none-2 [ ]}",
          "      - {index: 2, filters: *f, actions: *none-2 }",
      },
      {
          "domains: &none {d: , e: }",
          "clients: {c: &own {database: own}, f: *own}",
          "class-maps:",
          "  &a a: &body  # comment",
          "    domain: d",
          "  b: *body",
          "  c: {domain: &first d, match: &any any}",
          "parameter-maps:",
          "  m:",
          "    statements:",
          "      - {index: 1, filters: &f [{attribute: x, present: true}], actions: &none-2 []}",
          "      - {index: 2, filters: *f, actions: *none-2}",
      });
}

TEST(Format, KeepsTheMarksOfADocument) {
  expect_layout({"# front", "%YAML 1.2  ", "---   # begins", "domains:   {d: }", "...", "# back"},
                {"# front", "%YAML 1.2", "---   # begins", "domains: {d: }", "...", "# back"});
}

TEST(Format, WritesKeysWithoutQuestionMarks) {
  expect_layout({"? domains", ": {d: }", "? clients  # comment", "? class-maps", ": {? a : {match: any}}"},
                {"domains: {d: }", "clients:  # comment", "class-maps: {a: {match: any}}"});
}

TEST(Format, KeepsWordsThatMeanNothing) {
  expect_layout({"clients: ~", "domains: {d: null , e: ~}", "class-maps:", "  Null", "policy-maps:"},
                {"clients: ~", "domains: {d: null, e: ~}", "class-maps: Null", "policy-maps:"});
}

TEST(Format, EndsLinesWithANewlineAlone) {
  EXPECT_EQ(format_good("domains: {d: }\r\n# comment\r\n\r\n\r\nclients:\r\n"),
            "domains: {d: }\n# comment\n\nclients:\n");
}

TEST(Format, RefusesWhatItCannotLayOut) {
  expect_refused("domains: {d: }\nclients: {c: {database: ! own}}\n", "a tag");
  expect_refused("domains: {d: } # a\r# b\n", "a carriage return in the middle of a line");
  expect_refused("domains: {d: }\ntargets: {}\nclients:\n  c:\n    database: |-\n      own",
                 "the file ends in a block of text, without a newline");
}

TEST(Format, FindsAllComments) {
  const Source source("test.yaml", "# one\ndomains: {d: } # two\n#three\nclients: [ # four\n]\nx: '# five' # six");
  EXPECT_EQ(simulator::format::comments_of(source),
            (std::vector<std::string>{"# one", "# two", "#three", "# four", "# six"}));
}

// ---- Properties -------------------------------------------------------------------------------------------------------

std::vector<std::string> policy_texts() {
  std::vector<std::filesystem::path> paths;
  for (const char *folder : {"/examples", "/tests/command/policies"}) {
    for (const auto &entry : std::filesystem::directory_iterator(std::string(ZAR_SOURCE_DIR) + folder)) {
      if (entry.path().extension() == ".yaml") paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> texts;
  for (const std::filesystem::path &path : paths) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    texts.push_back(std::move(text).str());
  }
  return texts;
}

std::optional<PolicyFile> load_text(const std::string &text) {
  Diagnostics diagnostics;
  const Source source("test.yaml", text);
  source.check(diagnostics);
  return diagnostics.empty() ? simulator::load(source, diagnostics) : std::nullopt;
}

// What equal files have in common, with their scenarios and tests but without positions.
std::string contents_of(const PolicyFile &file) {
  std::ostringstream text;
  text << write_objects(file);
  const auto add_step = [&](const simulator::Step &step) {
    text << step.event.value << " at " << step.target.value;
    for (const simulator::Assignment &set : step.set)
      text << " set " << set.attribute.value << " " << simulator::in_quotes(set.text);
    for (const simulator::Name &clear : step.clear)
      text << " clear " << clear.value;
    text << "\n";
  };
  for (const simulator::Step &step : file.scenario)
    add_step(step);
  for (const simulator::Test &test : file.tests) {
    text << simulator::in_quotes(test.name.value) << ": ";
    for (const simulator::TestStep &step : test.steps) {
      add_step(step.step);
      for (const simulator::Name &rule : step.expect.rules.value_or(std::vector<simulator::Name>()))
        text << " rule " << rule.value;
      for (const simulator::ExpectedValue &value : step.expect.attributes)
        text << " " << value.attribute.value << " " << (value.text ? simulator::in_quotes(*value.text) : "absent");
      text << (step.expect.verdict ? step.expect.verdict->value : "any") << "\n";
    }
  }
  return std::move(text).str();
}

// Does something to a text that may change its meaning or destroy it, but often leaves a good file.
class Mutator {
 public:
  explicit Mutator(uint32_t seed) : random_(seed) {}

  std::string mutated(std::string text) {
    for (size_t count = 1 + below(4); count > 0; --count)
      mutate(text);
    return text;
  }

 private:
  size_t below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(random_); }
  size_t place(const std::string &text) { return below(text.size()); }
  size_t end_of_line(const std::string &text) { return std::min(text.find('\n', place(text)), text.size() - 1); }
  size_t start_of_line(const std::string &text) { return end_of_line(text) + 1; }
  std::string mark() { return "# mark " + std::to_string(++marks_) + "."; }
  std::string blanks() { return std::string(below(7), ' '); }

  // The same at one of the places where 'what' is found.
  void replace_one(std::string &text, const std::string &what, const std::string &by) {
    const size_t found = text.find(what, place(text));
    if (found != std::string::npos) text.replace(found, what.size(), by);
  }

  static void replace_all(std::string &text, const std::string &what, const std::string &by) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
      text.replace(at, what.size(), by);
  }

  void mutate(std::string &text) {
    constexpr std::string_view kSpecial = "{}[]:,#'\"|>&*-?! \t\n~";
    switch (below(12)) {
      case 0:
        replace_all(text, "\n", "\r\n");
        break;
      case 1:
        replace_all(text, "  ", "    ");
        break;
      case 2:
        replace_all(text, "  - ", "- ");
        break;
      case 3:
        replace_one(text, ", ", ",\n" + blanks());
        break;
      case 4:
        replace_one(text, "{", "{ " + mark() + "\n" + blanks());
        break;
      case 5:
        replace_one(text, "}", " " + mark() + "\n}");
        break;
      case 6:
        replace_one(text, ": ", ":\n" + blanks() + "      ");
        break;
      case 7:
        replace_one(text, ": ", ": " + mark() + "\n      ");
        break;
      case 8:
        replace_one(text, "log: ", "log: |-" + std::string(below(2), '\n') + "\n" + std::string(24, ' '));
        break;
      case 9:
        text.insert(place(text), 1, kSpecial[below(kSpecial.size())]);
        break;
      case 10:
        text.erase(place(text), 1 + below(3));
        break;
      default:
        insert_between_lines(text);
        break;
    }
  }

  void insert_between_lines(std::string &text) {
    switch (below(4)) {
      case 0:
        text.insert(end_of_line(text), blanks() + mark());
        break;
      case 1:
        text.insert(start_of_line(text), blanks() + mark() + "\n");
        break;
      case 2:
        text.insert(start_of_line(text), blanks() + "\n");
        break;
      default:
        text.insert(end_of_line(text), blanks());
        break;
    }
  }

  std::mt19937 random_;
  int marks_ = 0;
};

// The marks of the mutator, found without knowing anything about YAML.
std::vector<std::string> marks_in(const std::string &text) {
  std::vector<std::string> marks;
  for (size_t at = text.find("# mark "); at != std::string::npos; at = text.find("# mark ", at + 1))
    marks.push_back(text.substr(at, text.find('.', at) - at));
  return marks;
}

void expect_only_the_layout_changes(const std::string &text, const PolicyFile &file, size_t &refused) {
  const Formatted result = format(text);
  ASSERT_EQ(result.defects, Complaints());
  if (!result.text) {
    ASSERT_EQ(result.diagnostics.count(), 1U);
    // It depends on the version of yaml-cpp whether many such files can be loaded at all.
    if (result.diagnostics.sorted()[0].message != "a carriage return in the middle of a line") ++refused;
    return;
  }
  const std::optional<PolicyFile> again = load_text(*result.text);
  ASSERT_TRUE(again);
  EXPECT_EQ(contents_of(*again), contents_of(file));
  EXPECT_EQ(marks_in(*result.text), marks_in(text));
  EXPECT_EQ(format_good(*result.text), *result.text);
}

// The parameter is the first of the seeds. A part takes little time, also under sanitizers.
constexpr uint32_t kMutants = 60;
constexpr uint32_t kMutantsOfPart = 15;
struct MutatedFiles : testing::TestWithParam<uint32_t> {};

TEST_P(MutatedFiles, KeepAllButTheirLayout) {
  size_t good = 0;
  size_t refused = 0;
  for (const std::string &text : policy_texts()) {
    for (uint32_t seed = GetParam(); seed < GetParam() + kMutantsOfPart; ++seed) {
      const std::string mutant = Mutator(seed).mutated(text);
      const std::optional<PolicyFile> file = load_text(mutant);
      if (!file) continue;
      ++good;
      SCOPED_TRACE("seed " + std::to_string(seed) + " of\n" + mutant);
      expect_only_the_layout_changes(mutant, *file, refused);
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(good, 38U) << "the mutants are too wild to show anything";
  EXPECT_LT(refused * 10, good) << "too many are refused";
}

INSTANTIATE_TEST_SUITE_P(Format, MutatedFiles, testing::Range(0U, kMutants, kMutantsOfPart));

TEST(Format, KeepsTheExamples) {
  size_t examples = 0;
  for (const auto &entry : std::filesystem::directory_iterator(ZAR_SOURCE_DIR "/examples")) {
    if (entry.path().extension() != ".yaml") continue;
    std::ostringstream text;
    text << std::ifstream(entry.path(), std::ios::binary).rdbuf();
    EXPECT_EQ(format_good(text.str()), text.str()) << entry.path();
    ++examples;
  }
  EXPECT_GE(examples, 3U);
}

// The configuration that is written from a repository is laid out as well, except where a line is too long.
TEST(Format, KeepsWhatIsWrittenFromObjects) {
  for (const std::string &text : policy_texts()) {
    const std::string written = write_objects(*load_text(text));
    std::istringstream lines(written);
    bool fits = true;
    for (std::string line; std::getline(lines, line);)
      fits = fits && line.size() <= 120;
    if (fits) {
      EXPECT_EQ(format_good(written), written);
    }
  }
}

// ---- Differences ----------------------------------------------------------------------------------------------------

using simulator::format::unified_diff;

TEST(LineDiff, OfEqualTextsIsEmpty) {
  EXPECT_EQ(unified_diff("f", "a\nb\n", "a\nb\n"), "");
}

TEST(LineDiff, ShowsThreeLinesAroundEachChange) {
  EXPECT_EQ(unified_diff("f", "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n13\n14\n",
                         "1\n2\n3\n4\nfive\n6\n7\n8\n9\n10\n11\n13\n14\n"),
            "--- f\n+++ f\n"
            "@@ -2,13 +2,12 @@\n 2\n 3\n 4\n-5\n+five\n 6\n 7\n 8\n 9\n 10\n 11\n-12\n 13\n 14\n");
  EXPECT_EQ(unified_diff("f", "1\n2\n3\n4\n5\n6\n7\n8\n9\n", "one\n2\n3\n4\n5\n6\n7\n8\nnine\n"),
            "--- f\n+++ f\n"
            "@@ -1,4 +1,4 @@\n-1\n+one\n 2\n 3\n 4\n"
            "@@ -6,4 +6,4 @@\n 6\n 7\n 8\n-9\n+nine\n");
}

TEST(LineDiff, MarksAnEndWithoutANewline) {
  EXPECT_EQ(unified_diff("f", "a", "a\n"), "--- f\n+++ f\n@@ -1,1 +1,1 @@\n-a\n\\ No newline at end of file\n+a\n");
  EXPECT_EQ(unified_diff("f", "", "a\n"), "--- f\n+++ f\n@@ -0,0 +1,1 @@\n+a\n");
}

TEST(LineDiff, ReplacesEverythingWhenTooMuchDiffers) {
  std::string before;
  std::string after;
  for (int at = 0; at < 3000; ++at) {
    before += "a" + std::to_string(at) + "\n";
    after += "b" + std::to_string(at) + "\n";
  }
  const std::string diff = unified_diff("f", "same\n" + before, "same\n" + after);
  EXPECT_TRUE(diff.starts_with("--- f\n+++ f\n@@ -1,3001 +1,3001 @@\n same\n-a0\n-a1\n")) << diff.substr(0, 100);
  EXPECT_TRUE(diff.ends_with("+b2999\n"));
}

}  // namespace
