#include "simulator/diff/render.h"

#include <algorithm>

#include "simulator/explanation/explanation_json.h"
#include "simulator/policy/position_json.h"
#include "simulator/text/text.h"

namespace simulator::diff {

namespace {

const char *name_of_change(const ObjectChange &change) {
  if (!change.before) return "added";
  if (!change.after) return "removed";
  return change.differences.empty() ? "renamed" : "changed";
}

std::string painted_name_of_change(const ObjectChange &change, Colours colours) {
  const Tone tone = !change.before ? Tone::good : !change.after ? Tone::bad : Tone::changed;
  return painted(colours, tone, name_of_change(change));
}

std::string text_of_difference(const Difference &difference) {
  const std::string front = concat("  ", difference.property, ": ");
  if (!difference.is_list || difference.reordered) {
    return concat(front, listed(difference.before), " -> ", listed(difference.after), "\n");
  }
  std::string text;
  for (const std::string &gone : difference.before)
    text += concat(front, "- ", gone, "\n");
  for (const std::string &come : difference.after)
    text += concat(front, "+ ", come, "\n");
  return text;
}

Json json_of_object(const std::optional<Object> &object) {
  if (!object) return nullptr;
  Json json;
  json["name"] = object->name;
  add_position(json, object->position);
  return json;
}

}  // namespace

Counts count(const std::vector<ObjectChange> &changes) {
  Counts counts;
  for (const ObjectChange &change : changes) {
    size_t &of_both = change.differences.empty() ? counts.renamed : counts.changed;
    ++(!change.before ? counts.added : !change.after ? counts.removed : of_both);
  }
  return counts;
}

std::string text_of_counts(const Counts &counts) {
  const std::string renamed = counts.renamed == 0 ? "" : concat(", ", counts.renamed, " renamed");
  return concat(counts.added, " added, ", counts.removed, " removed, ", counts.changed, " changed", renamed, "\n");
}

std::string text_of_change(const ObjectChange &change, const Files &files, Colours colours) {
  const auto at = [](const PolicyFile &file, const Object &object) {
    return concat(file.shown_path_of(object.position), ":", object.position.line);
  };
  const Object &object = change.before ? *change.before : *change.after;
  std::string text = concat(painted_name_of_change(change, colours), " ");
  if (change.before) text += at(*files.before, *change.before);
  if (change.before && change.after) text += " -> ";
  if (change.after) text += at(*files.after, *change.after);
  text += concat(": ", object.kind, " ", object.name);
  const bool renamed = change.before && change.after && change.differences.empty();
  text += renamed ? concat(" -> ", change.after->name, "\n") : "\n";
  for (const Difference &difference : change.differences)
    text += text_of_difference(difference);
  return text;
}

Json json_of_change(const ObjectChange &change) {
  Json json;
  json["change"] = name_of_change(change);
  json["kind"] = change.before ? change.before->kind : change.after->kind;
  json["old"] = json_of_object(change.before);
  json["new"] = json_of_object(change.after);
  json["differences"] = Json::array();
  for (const Difference &difference : change.differences) {
    Json entry;
    entry["property"] = difference.property;
    entry["old"] = difference.before;
    entry["new"] = difference.after;
    json["differences"].push_back(std::move(entry));
  }
  return json;
}

namespace {

std::string value_or_unchanged(const Decided &decided, const std::string &attribute) {
  const auto found = decided.changed.find(attribute);
  if (found == decided.changed.end()) return "unchanged";
  return found->second ? as_word(*found->second) : "cleared";
}

std::string compared(const Decided &before, const Decided &after) {
  std::string text;
  const auto line = [&](const std::string &what, const std::string &was, const std::string &is) {
    if (was != is) text += concat("  ", what, ": ", was, " -> ", is, "\n");
  };
  const auto possible = [](const Decided &decided) { return decided.impossible.empty() ? "yes" : decided.impossible; };
  line("possible", possible(before), possible(after));
  if (!text.empty()) return text;
  line("verdict", before.verdict, after.verdict);
  std::map<std::string, std::optional<std::string>> either = before.changed;
  either.insert(after.changed.begin(), after.changed.end());
  for (const auto &[attribute, any] : either)
    line(concat("attribute ", attribute), value_or_unchanged(before, attribute), value_or_unchanged(after, attribute));
  line("log", listed_in_quotes(before.log), listed_in_quotes(after.log));
  line("rules", listed(before.rules), listed(after.rules));
  return text;
}

size_t count_of(const Replayed &replayed, const std::string &aspect) {
  return static_cast<size_t>(
      std::count_if(replayed.different.begin(), replayed.different.end(), [&](const DifferentEvent &event) {
        return std::find(event.aspects.begin(), event.aspects.end(), aspect) != event.aspects.end();
      }));
}

std::string event_text(const PolicyFile &scenario, size_t number) {
  const Step &step = scenario.scenario[number];
  return concat(scenario.shown_path(), ":", step.position.line, ": [", number + 1, "] ", step.event.value, " at ",
                step.target.value);
}

std::string text_of_step(const ReplayedStep &replayed, const PolicyFile &file, Colours colours) {
  if (!replayed.impossible.empty()) return replayed.impossible + "\n";
  return explanation_text(replayed.explanation, file, replayed.step, Level::rules, colours);
}

Json json_of_step(const ReplayedStep &replayed, const PolicyFile &file) {
  if (!replayed.impossible.empty()) return nullptr;
  return explanation_json(replayed.explanation, file, replayed.step, Level::rules);
}

}  // namespace

std::string text_of_replay(const Replayed &replayed, const PolicyFile &scenario, const Files &files, Colours colours) {
  constexpr size_t kMostShown = 20;
  std::string text = concat(replayed.different.size(), " of ", scenario.scenario.size(), " events differ\n");
  if (replayed.impossible > 0) text += concat("  ", replayed.impossible, " can be raised on neither side\n");
  if (replayed.different.empty()) return text;
  for (const char *aspect : kAspects) {
    if (const size_t many = count_of(replayed, aspect)) text += concat("  ", many, " in ", aspect, "\n");
  }
  for (size_t at = 0; at < std::min(kMostShown, replayed.different.size()); ++at) {
    const DifferentEvent &event = replayed.different[at];
    text += concat(event_text(scenario, event.number), ": ", listed(event.aspects), "\n");
  }
  if (replayed.different.size() > kMostShown) text += concat("and ", replayed.different.size() - kMostShown, " more\n");

  text += concat("the first difference: ", event_text(scenario, replayed.different[0].number), "\n");
  text += compared(replayed.first_before, replayed.first_after);
  text += concat("in ", files.before->shown_path(), "\n",
                 indented(text_of_step(replayed.before, *files.before, colours), "  "));
  text += concat("in ", files.after->shown_path(), "\n",
                 indented(text_of_step(replayed.after, *files.after, colours), "  "));
  return text;
}

Json json_of_replay(const Replayed &replayed, const PolicyFile &scenario, const Files &files) {
  Json json;
  json["scenario"] = scenario.path;
  json["events"] = scenario.scenario.size();
  json["differing"] = replayed.different.size();
  json["impossible"] = replayed.impossible;
  for (const char *aspect : kAspects)
    json["counts"][aspect] = count_of(replayed, aspect);
  json["differences"] = Json::array();
  for (const DifferentEvent &event : replayed.different) {
    const Step &step = scenario.scenario[event.number];
    Json entry;
    entry["number"] = event.number + 1;
    entry["event"] = step.event.value;
    entry["target"] = step.target.value;
    add_position(entry, step.position);
    entry["aspects"] = event.aspects;
    json["differences"].push_back(std::move(entry));
  }
  json["first"] = nullptr;
  if (replayed.different.empty()) return json;
  Json first;
  first["number"] = replayed.different[0].number + 1;
  first["old"] = json_of_step(replayed.before, *files.before);
  first["new"] = json_of_step(replayed.after, *files.after);
  json["first"] = std::move(first);
  return json;
}

}  // namespace simulator::diff
