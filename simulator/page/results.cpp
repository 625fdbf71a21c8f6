// The sections that say what was found, tested, raised and changed.
#include <algorithm>

#include "simulator/diff/render.h"
#include "simulator/explanation/words.h"
#include "simulator/graph/names.h"
#include "simulator/lint/render.h"
#include "simulator/page/sections.h"
#include "simulator/prove/render.h"
#include "simulator/text/text.h"

namespace simulator::page {

namespace {

Html explained(const std::string &explanation) {
  if (explanation.empty()) return text("not kept: there are too many");
  return foldable(Fold::closed, {}, text("why"), printed(explanation));
}

// ---- What changed ----

Html object_changes(const Contents &contents) {
  const Against &against = *contents.against;
  if (against.changes.empty()) return element("p", "The objects are the same.");
  const diff::Files files = {against.before, contents.file};
  Html items;
  for (const diff::ObjectChange &change : against.changes)
    items += printed(diff::text_of_change(change, files, Colours::off));
  const std::string counts = diff::text_of_counts(diff::count(against.changes));
  return join({element("p", concat("Objects: ", counts.substr(0, counts.find('\n')), ".")),
               element("div", {{"class", "changes"}}, items)});
}

Html decision_changes(const diff::DecisionChanges &decisions) {
  if (decisions.different == 0)
    return element(
        "p", concat("All ", counted(decisions.events, "event", "events"), " of the scenario are decided as before."));
  Table table("What is decided differently",
              {"Event", "On targets with", "Before", "After", "Differs in", "Events", "First example"});
  for (const diff::DecisionGroup &group : decisions.groups) {
    const Html before = group.explained_before.empty() ? Html() : printed(group.explained_before);
    const Html after = group.explained_after.empty() ? Html() : printed(group.explained_after);
    const bool has_example = !before.empty() || !after.empty();
    const Html example = foldable(Fold::closed, {}, text(concat("event ", group.first + 1)),
                                  join({element("h5", "Before"), before, element("h5", "After"), after}));
    std::vector<std::string_view> aspects(group.aspects.begin(), group.aspects.end());
    table.add_row({row_heading(text(group.event)), cell(group.targets), cell(verdict_word(group.before)),
                   cell(verdict_word(group.after)), cell(comma_separated(aspects)), number_cell(group.events),
                   cell(has_example ? example : text(concat("event ", group.first + 1)))});
  }
  return join({element("p", concat(decisions.different, " of ", counted(decisions.events, "event", "events"),
                                   " of the scenario are decided differently.")),
               table.html({{"id", "decision-changes"}})});
}

// ---- Findings ----

Html finding_item(const Contents &contents, const lint::Finding &finding) {
  return element("li", printed(lint::text_of_finding(*contents.file, *contents.source, finding, Colours::off)));
}

Html ignored_list(const Contents &contents) {
  const std::vector<lint::IgnoredFinding> &ignored = contents.findings->ignored;
  if (ignored.empty()) return {};
  Html items;
  for (const lint::IgnoredFinding &one : ignored) {
    items +=
        element("li", join({printed(lint::text_of_finding(*contents.file, *contents.source, one.finding, Colours::off)),
                            element("p", concat("Ignored: ", one.reason))}));
  }
  return foldable(Fold::closed, {}, text(concat(ignored.size(), " ignored by comments")), element("ul", items));
}

// ---- Verdicts ----

Html verdicts_by(std::string_view caption, std::string_view what,
                 const std::vector<std::pair<std::string, Verdicts>> &named) {
  Table table = verdict_table(caption, what);
  for (const auto &[name, verdicts] : named)
    add_verdicts(text(name), verdicts, table);
  return table.html();
}

Html decisions_table(const Figures &figures) {
  Table table("What decided",
              {"Event", "On targets with", "Verdict", "Decided by rule", "Events", "First", "Explanation"});
  for (const DecisionGroup &group : figures.decisions()) {
    table.add_row(
        {row_heading(text(group.event)), cell(group.targets), cell(verdict_word(to_string(group.verdict))),
         cell(group.decided_by.empty() ? text("-") : link_to(graph::id_of_rule(group.decided_by), group.decided_by)),
         number_cell(group.events), number_cell(group.first), cell(explained(group.explanation))});
  }
  return table.html({{"id", "decisions"}});
}

}  // namespace

Html changes_section(const Contents &contents) {
  if (!contents.against) return {};
  const Against &against = *contents.against;
  const Html decisions = against.decisions ? decision_changes(*against.decisions)
                                           : element("p", "There is no scenario to compare decisions with.");
  const Html of_stream = against.lines ? stream_changes(*against.lines) : Html();
  return section("changes", "What changed",
                 join({element("p", concat("Compared with ", against.before->shown_path(), ".")), decisions, of_stream,
                       object_changes(contents)}));
}

Html findings_section(const Contents &contents) {
  const std::vector<lint::Finding> &all = contents.findings->all;
  Html items;
  for (const lint::Finding &finding : all)
    items += finding_item(contents, finding);
  const Html content = all.empty() ? element("p", "The file loads, and nothing in it is provably wrong.")
                                   : element("ul", {{"class", "findings"}}, items);
  return section("findings", "What was found", join({content, ignored_list(contents)}));
}

Html claims_section(const Contents &contents) {
  if (contents.claims->all.empty()) return {};
  Table table("Whether the claims hold on every target, whatever its attributes are", {"Claim", "Result", "Place"});
  for (const prove::Answer &answer : contents.claims->all) {
    const char *tone = answer.result == prove::Result::proved ? "permit" : "deny";
    const Html word = element("strong", {{"class", tone}}, text(prove::to_string(answer.result)));
    const std::string account = prove::text_of(*contents.file, answer, Colours::off, 0);
    const bool is_short = answer.result == prove::Result::proved && answer.notes.empty();
    table.add_row({row_heading(text(answer.name)),
                   cell(is_short ? word : foldable(Fold::closed, {}, word, printed(account))),
                   cell(place(*contents.file, answer.position))});
  }
  return section(
      "claims", "Claims",
      join({element("p", concat(prove::summary_of(*contents.claims), ".")), table.html({{"id", "claim-results"}})}));
}

Html tests_section(const Contents &contents) {
  const Report &report = *contents.tests;
  if (report.junit.cases.empty()) return section("tests", "Tests", element("p", "The file has no tests."));
  Table table("Results", {"Test", "Result", "Place"});
  for (const JunitCase &test : report.junit.cases) {
    const bool passed = test.result == JunitCase::Result::passed;
    const Html word = element("strong", {{"class", passed ? "permit" : "deny"}}, text(passed ? "passed" : "failed"));
    const Html result =
        passed ? word
               : foldable(Fold::closed, {}, join({word, text(concat(": ", test.message))}), printed(test.details));
    table.add_row({row_heading(text(test.name)), cell(result),
                   cell(element("span", {{"class", "place"}}, text(concat(test.path, ":", test.line))))});
  }
  const std::string summary = concat(report.passed, " passed, ", report.failed, " failed; together they cover ",
                                     report.percent, " percent of the rules, statements and filters.");
  const size_t coverage = report.text.find("coverage:");
  const Html missed = coverage == std::string::npos ? Html()
                                                    : foldable(Fold::closed, {}, text("what they cover"),
                                                               printed(std::string_view(report.text).substr(coverage)));
  return section("tests", "Tests", join({element("p", summary), table.html({{"id", "test-results"}}), missed}));
}

Html events_section(const Contents &contents) {
  const Figures &figures = *contents.figures;
  if (figures.events() == 0) return section("events", "What happened", element("p", "The file has no scenario."));
  return section(
      "events", "What happened",
      join({element("p", concat(counted(figures.events(), "event", "events"), " of the scenario.")),
            stopped_warning(figures.stopped()), verdicts_by("Verdicts by event", "Event", figures.by_event()),
            verdicts_by("Verdicts by the policy-maps of the target", "Policy-maps", figures.by_policies()),
            over_time("scenario-time", figures.over_time()), decisions_table(figures)}));
}

Html picture_section(const Contents &contents) {
  if (!contents.picture) return {};
  const Picture &picture = *contents.picture;
  const auto button = [](const char *id, const char *label, const char *shown) {
    return element("button", {{"type", "button"}, {"id", id}, {"aria-label", label}}, text(shown));
  };
  const Html tools = element(
      "div", {{"class", "tools needs-script"}},
      join(
          {button("closer", "zoom in", "+"), button("farther", "zoom out", "\xe2\x88\x92"),
           button("whole", "show all", "all"),
           element("label", join({text("Find "), element("input", {{"type", "search"}, {"id", "find-node"}}, Html())})),
           element("span", {{"id", "found-nodes"}, {"role", "status"}}, Html())}));
  const Html frame = element("div",
                             {{"id", "picture"},
                              {"class", "picture"},
                              {"tabindex", "0"},
                              {"role", "img"},
                              {"aria-label", "The graph of the policies; the tables above have its contents"}},
                             Html::made_elsewhere(picture.svg));
  const Html remark =
      picture.is_overview
          ? element("p", "Rules, class-maps and statements are left out: with them the picture would be too large.")
          : Html();
  return section("graph", "How the objects are connected",
                 join({element("p", "A click on a node goes to its description."), remark, tools, frame}));
}

}  // namespace simulator::page
