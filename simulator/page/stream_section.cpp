// The sections that say what a stream of events did, and which of its lines are decided differently.
#include <algorithm>
#include <numeric>
#include <span>

#include "simulator/graph/names.h"
#include "simulator/page/sections.h"
#include "simulator/text/text.h"

namespace simulator::page {

namespace {

// The rows of a plot; the table behind it has all.
constexpr size_t kMostPlotted = 20;
// The rows of the table of changed decisions, and of them those with an example.
constexpr size_t kMostChanges = 500;
constexpr size_t kMostExamples = 100;

// ---- By name ----

using Named = std::vector<std::pair<std::string, Verdicts>>;

Table verdict_rows(std::string_view caption, std::string_view what, const Named &named) {
  Table table = verdict_table(caption, what);
  for (const auto &[name, verdicts] : named)
    add_verdicts(text(name), verdicts, table);
  return table;
}

Html verdicts_by(const std::string &id, const std::string &caption, std::string_view what,
                 const VerdictsByName &by_name) {
  Named all = by_name.all();
  if (const Verdicts &others = by_name.others(); others.all() > 0) all.emplace_back("all others", others);
  Html table = verdict_rows(caption, what, all).html({{"id", id}});
  if (all.size() <= kMostPlotted) return table;
  const Named first(all.begin(), all.begin() + kMostPlotted);
  return join({verdict_rows(concat(caption, ": the ", kMostPlotted, " with the most events"), what, first).html(),
               foldable(Fold::closed, {}, text(concat("all ", all.size())), table)});
}

// ---- Rules ----

Html hits_bar(size_t hits, size_t most) {
  const auto part = [](const char *name, size_t share) {
    return element("span", {{"class", name}, {"style", concat("flex-grow:", share)}}, Html());
  };
  Html bar;
  if (hits > 0) bar += part("hits", hits);
  if (hits < most) bar += part("rest", most - hits);
  return element("div", {{"class", "bar"}, {"aria-hidden", "true"}}, bar);
}

// The numbers of the rules, those that ran most often first.
std::vector<size_t> by_hits(const stream::Totals &totals) {
  std::vector<size_t> numbers(totals.rules.size());
  std::iota(numbers.begin(), numbers.end(), size_t{0});
  std::stable_sort(numbers.begin(), numbers.end(),
                   [&](size_t one, size_t other) { return totals.rules[one] > totals.rules[other]; });
  return numbers;
}

Table hits_table(const std::string &caption, const StreamFigures &figures, std::span<const size_t> numbers,
                 size_t most) {
  Table table(caption, {"Rule", "Class-map", "Hits", "Share of the most"});
  for (const size_t number : numbers) {
    const stream::RuleOfFile &rule = figures.rules()[number];
    const size_t hits = figures.totals().rules[number];
    table.add_row({row_heading(link_to(graph::id_of_rule(rule.name()), rule.name())), cell(rule.rule->class_map.value),
                   number_cell(hits), cell(hits_bar(hits, most))});
  }
  return table;
}

Html hits_of_rules(const StreamFigures &figures) {
  const std::vector<size_t> numbers = by_hits(figures.totals());
  if (numbers.empty()) return {};
  const size_t most = figures.totals().rules[numbers.front()];
  const auto idle =
      static_cast<size_t>(std::count(figures.totals().rules.begin(), figures.totals().rules.end(), size_t{0}));
  const Html never = idle == 0
                         ? element("p", "Every rule ran.")
                         : element("p", {{"class", "missed"}},
                                   text(concat(counted(idle, "rule", "rules"), " of ", numbers.size(), " never ran.")));
  const Html table = hits_table("How often each rule ran", figures, numbers, most).html({{"id", "stream-rules"}});
  if (numbers.size() <= kMostPlotted) return join({table, never});
  const std::span<const size_t> first = std::span(numbers).first(kMostPlotted);
  return join({hits_table(concat("How often rules ran: the first ", kMostPlotted), figures, first, most).html(), never,
               foldable(Fold::closed, {}, text(concat("all ", numbers.size(), " rules")), table)});
}

// ---- The stream ----

Html bad_lines(const StreamFigures &figures) {
  const size_t all = figures.totals().bad;
  if (all == 0) return {};
  std::string said = concat(counted(all, "bad line", "bad lines"), " did nothing");
  said += all > figures.bad().size() ? concat("; the first ", figures.bad().size(), ":") : ":";
  Table table("Bad lines", {"Line", "What is wrong with it"});
  for (const BadLine &line : figures.bad())
    table.add_row({row_heading(text(std::to_string(line.number))), cell(line.error)});
  return join({element("p", {{"class", "warning"}}, text(said)), table.html({{"id", "stream-bad"}})});
}

std::string extent_of(const stream::Totals &totals) {
  return concat(counted(totals.events, "event", "events"), "; ", counted(totals.added, "target", "targets"), " added, ",
                totals.deleted, " deleted.");
}

std::string lengths_of(const Stretches &stretches) {
  const size_t length = stretches.length();
  if (length == 1) return "Each column is one event.";
  return concat("Each column has ", length, " events; the last may have fewer.");
}

}  // namespace

Html stream_section(const Contents &contents) {
  if (!contents.stream) return {};
  const StreamFigures &figures = *contents.stream;
  const Html extent = element("p", concat(figures.name(), ": ", extent_of(figures.totals())));
  const std::string heading = "What happened in the stream";
  if (figures.totals().events == 0)
    return section("stream", heading, join({extent, bad_lines(figures), element("p", "The stream raised no event.")}));
  return section(
      "stream", heading,
      join({extent, bad_lines(figures), stopped_warning(figures.totals().stopped),
            over_time("stream-time", figures.over_time().all()), element("p", lengths_of(figures.over_time())),
            verdicts_by("stream-events", "Verdicts by event", "Event", figures.by_event()),
            element("p",
                    "Targets are counted together if they have the same policy-maps, in the same order, and the same "
                    "client."),
            verdicts_by("stream-targets", "Verdicts by kind of target", "Policy-maps and client", figures.by_kind()),
            hits_of_rules(figures)}));
}

Html stream_changes(const diff::StreamChanges &changes) {
  if (changes.differing() == 0)
    return element("p", concat("All ", counted(changes.lines(), "line", "lines"), " of the stream do as before."));
  Table table("What the stream does differently", {"Before", "After", "Differs in", "Lines", "First example"});
  const size_t shown = std::min(changes.groups().size(), kMostChanges);
  for (size_t at = 0; at < shown; ++at) {
    const diff::LineGroup &group = changes.groups()[at];
    const auto [before, after] = diff::decisions_of(group);
    const std::string first = concat("line ", group.first);
    table.add_row({cell(before), cell(after), cell(listed(group.aspects)), number_cell(group.lines),
                   cell(at < kMostExamples ? foldable(Fold::closed, {}, text(first), printed(diff::example_text(group)))
                                           : text(first))});
  }
  const Html cut = shown == changes.groups().size()
                       ? Html()
                       : element("p", {{"class", "warning"}},
                                 text(concat("Of ", changes.groups().size(), " kinds of differences, the first ", shown,
                                             " are shown.")));
  return join({element("p", concat(changes.differing(), " of ", counted(changes.lines(), "line", "lines"),
                                   " of the stream are decided differently. Lines that went from one decision to "
                                   "another alike are one row.")),
               table.html({{"id", "stream-changes"}}), cut});
}

}  // namespace simulator::page
