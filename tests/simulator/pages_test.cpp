// What the page for reviewers is made of: HTML, figures of a scenario, groups of decisions, the overview of a graph.
#include <gtest/gtest.h>

#include "policy.h"
#include "simulator/diff/decision_groups.h"
#include "simulator/graph/of_file.h"
#include "simulator/graph/overview.h"
#include "simulator/page/figures.h"
#include "simulator/page/html.h"
#include "simulator/page/stream_figures.h"
#include "simulator/page/words.h"

namespace {

using simulator::Complaints;
using simulator::PolicyFile;
using simulator::page::Figures;
using test::load_good;

namespace page = simulator::page;

// ---- HTML ----

TEST(Html, OfATextHasNoMarkup) {
  EXPECT_EQ(page::text("<a href=\"x\">&'").string(), "&lt;a href=&quot;x&quot;&gt;&amp;'");
  EXPECT_EQ(page::text("\x1b[2J").string(), "\\x1b[2J");
}

TEST(Html, OfAnElementEscapesItsAttributes) {
  EXPECT_EQ(page::element("p", {{"title", "\"><b>"}}, page::text("x")).string(),
            "<p title=\"&quot;&gt;&lt;b&gt;\">x</p>");
  EXPECT_EQ(page::element("input", {{"id", "a"}}, {}).string(), "<input id=\"a\">");
}

TEST(Html, OfALinkFindsIdsWithAnyCharacters) {
  EXPECT_EQ(page::link_to("rule p/e/1", "x").string(), "<a href=\"#rule%20p/e/1\">x</a>");
  EXPECT_EQ(page::link_to("\xc3\xa4\"%", "x").string(), "<a href=\"#%C3%A4%22%25\">x</a>");
}

TEST(Html, OfATableHasACaptionAndARowForEach) {
  page::Table table("All", {"Name", "Count"});
  EXPECT_TRUE(table.empty());
  table.add_row({page::row_heading(page::text("a")), page::number_cell(7)}, {{"id", "r"}});
  EXPECT_FALSE(table.empty());
  EXPECT_EQ(table.html({{"id", "t"}}).string(),
            "<div class=\"scrolls\" tabindex=\"0\"><table id=\"t\"><caption>All</caption><thead><tr><th "
            "scope=\"col\">Name</th>"
            "<th scope=\"col\">Count</th></tr></thead><tbody><tr id=\"r\"><th scope=\"row\">a</th>"
            "<td class=\"number\">7</td></tr>\n</tbody></table></div>");
}

// ---- Words ----

std::string words(const std::string &filter) {
  const PolicyFile file = load_good("domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, " + filter + "}]}}\n");
  std::string text = page::words_of(file.class_maps[0].filters[0]).string();
  for (const char *mark : {"<span class=\"attribute\">", "</span>", "<code>", "</code>", "<em>", "</em>"}) {
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark))
      text.erase(at, std::string(mark).size());
  }
  return text;
}

TEST(Words, SayWhatFiltersTest) {
  EXPECT_EQ(words("equals: b"), "a is b");
  EXPECT_EQ(words("prefix: b"), "a begins with b");
  EXPECT_EQ(words("regex: b+"), "a matches b+");
  EXPECT_EQ(words("present: true"), "a has a value");
  EXPECT_EQ(words("range: {min: 3}"), "a is 3 or more");
  EXPECT_EQ(words("range: {max: 3}"), "a is 3 or less");
  EXPECT_EQ(words("range: {min: 3, max: 3}"), "a is the number 3");
  EXPECT_EQ(words("range: {min: -3, max: 3}"), "a is a number from -3 to 3");
  EXPECT_EQ(words("range: {min: -9223372036854775808, max: 9223372036854775807}"), "a is a whole number");
  EXPECT_EQ(words("equals: b, no-match: true"), "not: a is b");
}

// ---- Figures ----

// Event 'a' raises 'b', which permits, and then denies where the attribute says so.
constexpr const char *kNested = R"(
domains: {d: }
class-maps:
  always: {}
  closed: {filters: [{attribute: state, equals: closed}]}
parameter-maps:
  m: {statements: [{index: 7, filters: [{attribute: state, equals: open}], actions: [{set: {speed: "1"}}]}]}
policy-maps:
  p:
    events:
      a:
        rules:
          - {number: 1, class: always, actions: [{raise: b}, {apply: m}]}
          - {number: 2, class: closed, actions: [deny]}
      b: {rules: [{number: 1, class: always, actions: [permit]}]}
  q: {events: {b: {rules: []}}}
targets:
  open: {attributes: {state: open}, policies: [p]}
  closed: {attributes: {state: closed}, policies: [p]}
  other: {policies: [q, p]}
scenario:
  - {event: a, target: open}
  - {event: a, target: closed}
  - {event: b, target: other}
  - {event: b, target: open}
)";

Figures figures_of(const PolicyFile &file) {
  Complaints problems;
  std::optional<Figures> figures = page::figures_of(file, problems);
  EXPECT_TRUE(problems.empty());
  return std::move(*figures);
}

TEST(PageFigures, CountRulesOfRaisedEventsToo) {
  const PolicyFile file = load_good(kNested);
  const Figures figures = figures_of(file);
  const auto &events = file.policy_maps[0].events;
  const Figures::OfRule raising = figures.of(events[0].rules[0]);
  EXPECT_EQ(raising.tried, 2u);
  EXPECT_EQ(raising.ran, 2u);
  EXPECT_EQ(raising.decided.all(), 0u) << "the verdict of a raised event does not reach the raising one";
  const Figures::OfRule denying = figures.of(events[0].rules[1]);
  EXPECT_EQ(denying.tried, 2u);
  EXPECT_EQ(denying.ran, 1u);
  EXPECT_EQ(denying.decided.deny, 1u);
  EXPECT_EQ(figures.of(events[1].rules[0]).ran, 4u) << "two raised, two by themselves";
}

TEST(PageFigures, CountFiltersAndStatements) {
  const PolicyFile file = load_good(kNested);
  const Figures figures = figures_of(file);
  const Figures::OfFilter closed = figures.of(file.class_maps[1].filters[0]);
  EXPECT_EQ(closed.held, 1u);
  EXPECT_EQ(closed.did_not, 1u);
  const simulator::Statement &statement = file.parameter_maps[0].statements[0];
  EXPECT_EQ(figures.matches_of(statement), 1u);
  EXPECT_EQ(figures.of(statement.filters[0]).held, 1u);
  EXPECT_EQ(figures.of(statement.filters[0]).did_not, 1u);
}

TEST(PageFigures, GroupEventsByWhatDecided) {
  const PolicyFile file = load_good(kNested);
  const Figures figures = figures_of(file);
  EXPECT_EQ(figures.events(), 4u);
  ASSERT_EQ(figures.decisions().size(), 4u);
  const page::DecisionGroup &denied = figures.decisions()[1];
  EXPECT_EQ(denied.event, "a");
  EXPECT_EQ(denied.targets, "p");
  EXPECT_EQ(denied.decided_by, "p/a/2");
  EXPECT_EQ(denied.events, 1u);
  EXPECT_EQ(denied.first, 2u);
  EXPECT_NE(denied.explanation.find("a at closed: deny"), std::string::npos) << denied.explanation;
  EXPECT_EQ(figures.decisions()[2].targets, "q, p");
  ASSERT_EQ(figures.by_event().size(), 2u);
  EXPECT_EQ(figures.by_event()[0].second.none, 1u);
  EXPECT_EQ(figures.by_event()[0].second.deny, 1u);
  EXPECT_EQ(figures.by_event()[1].second.permit, 2u);
  ASSERT_EQ(figures.by_policies().size(), 2u);
  EXPECT_EQ(figures.by_policies()[0].second.all(), 3u);
}

TEST(PageFigures, DivideALongScenario) {
  std::string text = kNested;
  for (int event = 0; event < 117; ++event)
    text += "  - {event: a, target: closed}\n";
  const PolicyFile file = load_good(text);
  const Figures figures = figures_of(file);
  ASSERT_EQ(figures.over_time().size(), 41u) << "121 events in stretches of three";
  EXPECT_EQ(figures.over_time()[1].first, 4u);
  EXPECT_EQ(figures.over_time()[1].verdicts.all(), 3u);
  EXPECT_EQ(figures.over_time()[40].verdicts.all(), 1u);
}

TEST(PageFigures, CountEventsThatALimitStopped) {
  const PolicyFile file = load_good(
      "domains: {d: }\nclass-maps: {c: }\npolicy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: "
      "[{raise: e}]}]}}}}\n"
      "targets: {t: {policies: [p]}}\nscenario: [{event: e, target: t}]\n");
  EXPECT_EQ(figures_of(file).stopped(), 1u);
  EXPECT_EQ(figures_of(load_good(kNested)).stopped(), 0u);
}

TEST(PageFigures, ExplainOnlyTheFirstGroups) {
  std::string rules;
  std::string events;
  for (int event = 0; event < 301; ++event) {
    const std::string name = "e" + std::to_string(event);
    rules += name + ": {rules: [{number: 1, class: c, actions: [permit]}]}, ";
    events += "{event: " + name + ", target: t}, ";
  }
  const PolicyFile file = load_good("domains: {d: }\nclass-maps: {c: }\npolicy-maps: {p: {events: {" + rules +
                                    "}}}\ntargets: {t: {policies: [p]}}\nscenario: [" + events + "]\n");
  const Figures figures = figures_of(file);
  ASSERT_EQ(figures.decisions().size(), 301u);
  EXPECT_NE(figures.decisions()[299].explanation, "");
  EXPECT_EQ(figures.decisions()[300].explanation, "");
}

// ---- Figures of a stream ----

using engine::Verdict;

std::string text_of(const page::Verdicts &verdicts) {
  return std::to_string(verdicts.permit) + " " + std::to_string(verdicts.deny) + " " + std::to_string(verdicts.none);
}

TEST(Stretches, HoldEveryEventOfAStreamOfAnyLength) {
  constexpr size_t kMost = page::Stretches::kMost;
  for (const size_t events : {size_t{1}, kMost - 1, kMost, kMost + 1, 2 * kMost, 2 * kMost + 1, 7 * kMost + 3}) {
    page::Stretches stretches;
    for (size_t event = 0; event < events; ++event)
      stretches.add(event % 3 == 0 ? Verdict::deny : Verdict::permit);
    EXPECT_LE(stretches.all().size(), kMost) << events;
    EXPECT_EQ(stretches.all().size(), (events + stretches.length() - 1) / stretches.length()) << events;
    size_t first = 0;
    for (const page::Stretch &stretch : stretches.all()) {
      const size_t end = std::min(first + stretches.length(), events);
      const size_t denied = (end + 2) / 3 - (first + 2) / 3;
      EXPECT_EQ(stretch.first, first + 1) << events;
      EXPECT_EQ(text_of(stretch.verdicts), text_of({.permit = end - first - denied, .deny = denied})) << events;
      first = end;
    }
    EXPECT_EQ(first, events);
  }
}

TEST(Stretches, AreLongerOnlyIfThereWouldBeTooMany) {
  page::Stretches stretches;
  for (size_t event = 0; event < page::Stretches::kMost; ++event)
    stretches.add(Verdict::none);
  EXPECT_EQ(stretches.length(), 1u);
  stretches.add(Verdict::none);
  EXPECT_EQ(stretches.length(), 2u);
}

TEST(VerdictsByName, HaveTheNameWithTheMostEventsFirst) {
  page::VerdictsByName names;
  names.add("a", Verdict::permit);
  names.add("b", Verdict::deny);
  names.add("b", Verdict::none);
  const auto all = names.all();
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].first + " " + text_of(all[0].second), "b 0 1 1");
  EXPECT_EQ(all[1].first + " " + text_of(all[1].second), "a 1 0 0");
}

TEST(VerdictsByName, CountNamesTogetherWhenThereAreTooMany) {
  page::VerdictsByName names;
  constexpr size_t kMost = page::VerdictsByName::kMost;
  for (size_t name = 0; name < kMost + 3; ++name)
    names.add(std::to_string(name), Verdict::permit);
  names.add("0", Verdict::deny);
  names.add(std::to_string(kMost), Verdict::deny);
  EXPECT_EQ(names.all().size(), kMost);
  EXPECT_EQ(text_of(names.all()[0].second), "1 1 0");
  EXPECT_EQ(text_of(names.others()), "3 1 0");
}

TEST(StreamFigures, KeepTheErrorsOfTheFirstBadLines) {
  const PolicyFile file = load_good("{}");
  page::StreamFigures figures("log", file);
  for (size_t line = 1; line <= page::StreamFigures::kMostBad + 5; ++line)
    figures.add_bad(line, "wrong");
  EXPECT_EQ(figures.totals().bad, page::StreamFigures::kMostBad + 5);
  ASSERT_EQ(figures.bad().size(), page::StreamFigures::kMostBad);
  EXPECT_EQ(figures.bad().back().number, page::StreamFigures::kMostBad);
}

// ---- Groups of decisions ----

simulator::diff::DecisionChanges group(const PolicyFile &before, const PolicyFile &after, size_t explained = 10) {
  Complaints problems;
  const auto changes = simulator::diff::group_decisions({&before, &after}, simulator::diff::find_renames(before, after),
                                                        after.scenario, explained, problems);
  EXPECT_TRUE(problems.empty());
  return *changes;
}

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  return text.replace(text.find(from), from.size(), to);
}

TEST(DecisionGroups, HaveOneRowForEventsThatChangedAlike) {
  const std::string more = std::string(kNested) + "  - {event: a, target: closed}\n";
  const PolicyFile before = load_good(more);
  const PolicyFile after = load_good(replaced(more, "[deny]", "[permit]"));
  const auto changes = group(before, after);
  EXPECT_EQ(changes.events, 5u);
  EXPECT_EQ(changes.different, 2u);
  ASSERT_EQ(changes.groups.size(), 1u);
  EXPECT_EQ(changes.groups[0].event, "a");
  EXPECT_EQ(changes.groups[0].targets, "p");
  EXPECT_EQ(changes.groups[0].before, "deny");
  EXPECT_EQ(changes.groups[0].after, "permit");
  EXPECT_EQ(changes.groups[0].aspects, std::vector<std::string>{"verdict"});
  EXPECT_EQ(changes.groups[0].events, 2u);
  EXPECT_EQ(changes.groups[0].first, 1u);
  EXPECT_NE(changes.groups[0].explained_before.find("a at closed: deny"), std::string::npos);
  EXPECT_NE(changes.groups[0].explained_after.find("a at closed: permit"), std::string::npos);
}

TEST(DecisionGroups, OfEqualFilesAreNone) {
  const PolicyFile file = load_good(kNested);
  const auto changes = group(file, file);
  EXPECT_EQ(changes.events, 4u);
  EXPECT_EQ(changes.different, 0u);
  EXPECT_TRUE(changes.groups.empty());
}

TEST(DecisionGroups, SayWhyAnEventCouldNotBeRaisedBefore) {
  const PolicyFile before = load_good(replaced(kNested, "  other: {policies: [q, p]}\n", "  else: {policies: [q]}\n")
                                          .substr(0, std::string(kNested).find("scenario:") - 4));
  const auto changes = group(before, load_good(kNested));
  ASSERT_EQ(changes.groups.size(), 1u);
  EXPECT_EQ(changes.groups[0].before, "there is no target other");
  EXPECT_EQ(changes.groups[0].explained_before, "");
  EXPECT_EQ(changes.groups[0].targets, "q, p");
}

TEST(DecisionGroups, AreExplainedOnlyUpToALimit) {
  const PolicyFile before = load_good(kNested);
  const PolicyFile after =
      load_good(replaced(replaced(kNested, "[deny]", "[permit]"), "[permit]}]}\n  q", "[deny]}]}\n  q"));
  const auto changes = group(before, after, 1);
  ASSERT_GT(changes.groups.size(), 1u);
  EXPECT_NE(changes.groups[0].explained_after, "");
  EXPECT_EQ(changes.groups[1].explained_after, "");
}

// ---- The overview ----

TEST(Overview, KeepsWhatContainsRules) {
  Complaints problems;
  const auto graph = simulator::graph::graph_of_file(load_good(kNested), problems);
  ASSERT_TRUE(graph);
  const simulator::graph::Graph shown = simulator::graph::overview(*graph);
  for (const auto &node : shown.nodes) {
    EXPECT_NE(node.kind, simulator::graph::NodeKind::rule);
    EXPECT_NE(node.kind, simulator::graph::NodeKind::class_map);
    EXPECT_NE(node.kind, simulator::graph::NodeKind::statement);
  }
  size_t applied = 0;
  size_t raised = 0;
  for (const auto &edge : shown.edges) {
    if (edge.from != "event p/a") continue;
    applied += edge.kind == simulator::graph::EdgeKind::applies ? edge.hits : 0;
    raised += edge.kind == simulator::graph::EdgeKind::raises ? edge.hits : 0;
  }
  EXPECT_EQ(applied, 2u);
  EXPECT_EQ(raised, 2u);
}

}  // namespace
