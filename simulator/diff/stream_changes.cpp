#include "simulator/diff/stream_changes.h"

#include <algorithm>
#include <tuple>

#include "simulator/diff/decisions.h"
#include "simulator/text/columns.h"
#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

std::vector<std::string> aspects_of(const LineDecision &before, const LineDecision &after) {
  if (before.error != after.error) return {kAspects[0]};
  std::vector<std::string> aspects;
  if (before.verdict != after.verdict) aspects.emplace_back(kAspects[1]);
  if (before.changed != after.changed) aspects.emplace_back(kAspects[2]);
  if (before.log != after.log) aspects.emplace_back(kAspects[3]);
  if (before.rules != after.rules || before.decided_by != after.decided_by) aspects.emplace_back(kAspects[4]);
  return aspects;
}

std::string decision_text(const LineDecision &decision) {
  if (!decision.error.empty()) return "impossible";
  if (decision.verdict.empty()) return "done";
  return decision.decided_by == "-" ? std::string(decision.verdict)
                                    : concat(decision.verdict, " ", decision.decided_by);
}

}  // namespace

std::pair<std::string, std::string> decisions_of(const LineGroup &group) {
  return {decision_text(unpacked(group.before)), decision_text(unpacked(group.after))};
}

std::string example_text(const LineGroup &group) {
  const LineDecision before = unpacked(group.before);
  const LineDecision after = unpacked(group.after);
  std::string text =
      concat("line ", group.first, ": ", before.event, before.event.empty() ? "" : " at ", before.target, "\n");
  const auto compare = [&](std::string_view what, std::string_view old_text, std::string_view new_text) {
    if (old_text == new_text) return;
    text += concat("  ", what, ": ", old_text.empty() ? "nothing" : old_text, " -> ",
                   new_text.empty() ? "nothing" : new_text, "\n");
  };
  compare("error", before.error, after.error);
  if (!before.error.empty() || !after.error.empty()) return text;
  compare("attributes", before.changed, after.changed);
  compare("log", before.log, after.log);
  compare("rules", before.rules, after.rules);
  return text;
}

namespace {

// The columns of the table, with its head.
struct Row {
  std::string lines;
  std::string before;
  std::string after;
  std::string differs;
};

std::vector<Row> rows_of(const StreamChanges &changes) {
  std::vector<Row> rows;
  rows.push_back({"Lines", "Before", "After", "Differs in"});
  for (const LineGroup &group : changes.groups()) {
    Row &row = rows.emplace_back();
    row.lines = std::to_string(group.lines);
    std::tie(row.before, row.after) = decisions_of(group);
    row.differs = listed(group.aspects);
  }
  return rows;
}

size_t widest(const std::vector<Row> &rows, std::string Row::*column) {
  size_t width = 0;
  for (const Row &row : rows)
    width = std::max(width, (row.*column).size());
  return width;
}

Json decision_json(std::string_view text) {
  const LineDecision decision = unpacked(text);
  Json json;
  json["error"] = decision.error.empty() ? Json(nullptr) : Json(decision.error);
  json["verdict"] = decision.verdict;
  json["decided_by"] = decision.decided_by;
  json["changed"] = decision.changed;
  json["log"] = decision.log;
  json["rules"] = decision.rules;
  return json;
}

}  // namespace

void StreamChanges::add(size_t line, std::string_view before, std::string_view after) {
  ++lines_;
  if (before == after) return;
  ++differing_;
  const LineDecision old_decision = unpacked(before);
  const LineDecision new_decision = unpacked(after);
  std::vector<std::string> aspects = aspects_of(old_decision, new_decision);
  std::string key = concat(decision_text(old_decision), "\n", decision_text(new_decision), "\n", listed(aspects));
  const auto [known, is_new] = by_key_.try_emplace(std::move(key), groups_.size());
  if (is_new) {
    LineGroup &group = groups_.emplace_back();
    group.aspects = std::move(aspects);
    group.first = line;
    group.before = before;
    group.after = after;
  }
  ++groups_[known->second].lines;
}

std::string text_of_stream(const StreamChanges &changes) {
  std::string text = concat(changes.differing(), " of ", changes.lines(), " lines differ\n");
  if (changes.groups().empty()) return text;
  const std::vector<Row> rows = rows_of(changes);
  const size_t lines = widest(rows, &Row::lines);
  const size_t before = widest(rows, &Row::before);
  const size_t after = widest(rows, &Row::after);
  for (size_t at = 0; at < rows.size(); ++at) {
    const Row &row = rows[at];
    text += concat(std::string(lines - row.lines.size(), ' '), row.lines, "  ", padded(row.before, before), "  ",
                   padded(row.after, after), "  ", row.differs, "\n");
    if (at > 0) text += indented(example_text(changes.groups()[at - 1]), "    ");
  }
  return text;
}

Json json_of_stream(const StreamChanges &changes, const std::string &stream) {
  Json json;
  json["stream"] = stream;
  json["lines"] = changes.lines();
  json["differing"] = changes.differing();
  json["decisions"] = Json::array();
  for (const LineGroup &group : changes.groups()) {
    const LineDecision before = unpacked(group.before);
    Json entry;
    entry["lines"] = group.lines;
    entry["aspects"] = group.aspects;
    entry["first"]["line"] = group.first;
    entry["first"]["event"] = before.event;
    entry["first"]["target"] = before.target;
    entry["first"]["before"] = decision_json(group.before);
    entry["first"]["after"] = decision_json(group.after);
    json["decisions"].push_back(std::move(entry));
  }
  return json;
}

}  // namespace simulator::diff
