// zar diff: what is different between two policy files, and what they decide differently.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/diff/objects.h"
#include "simulator/diff/replay.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/policy/position_json.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using diff::Decided;
using diff::Difference;
using diff::Object;
using diff::ObjectChange;

const char *name_of_change(const ObjectChange &change) {
  return !change.before ? "added" : !change.after ? "removed" : "changed";
}

std::string painted_name_of_change(const ObjectChange &change) {
  const Tone tone = !change.before ? Tone::good : !change.after ? Tone::bad : Tone::changed;
  return painted(terminal::colours(terminal::Stream::out), tone, name_of_change(change));
}

// ---- What is different ------------------------------------------------------------------------------------------------------

struct Files {
  const PolicyFile *before;
  const PolicyFile *after;
};

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

std::string text_of_change(const ObjectChange &change, const Files &files) {
  const auto at = [](const PolicyFile &file, const Object &object) {
    return concat(file.path, ":", object.position.line);
  };
  const Object &object = change.before ? *change.before : *change.after;
  std::string text = concat(painted_name_of_change(change), " ");
  if (change.before) text += at(*files.before, *change.before);
  if (change.before && change.after) text += " -> ";
  if (change.after) text += at(*files.after, *change.after);
  text += concat(": ", object.kind, " ", object.name, "\n");
  for (const Difference &difference : change.differences)
    text += text_of_difference(difference);
  return text;
}

Json json_of_object(const std::optional<Object> &object) {
  if (!object) return nullptr;
  Json json;
  json["name"] = object->name;
  add_position(json, object->position);
  return json;
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

struct Counts {
  size_t added = 0;
  size_t removed = 0;
  size_t changed = 0;
};

Counts count(const std::vector<ObjectChange> &changes) {
  Counts counts;
  for (const ObjectChange &change : changes)
    ++(!change.before ? counts.added : !change.after ? counts.removed : counts.changed);
  return counts;
}

// ---- What is decided differently --------------------------------------------------------------------------------------------

// What of a decision can be different, in the order of telling.
constexpr const char *kAspects[] = {"possible", "verdict", "attributes", "log", "rules"};

std::vector<std::string> aspects_of(const Decided &before, const Decided &after) {
  if (before.impossible != after.impossible) return {kAspects[0]};
  std::vector<std::string> aspects;
  if (before.verdict != after.verdict) aspects.push_back(kAspects[1]);
  if (before.changed != after.changed) aspects.push_back(kAspects[2]);
  if (before.log != after.log) aspects.push_back(kAspects[3]);
  if (before.rules != after.rules) aspects.push_back(kAspects[4]);
  return aspects;
}

struct DifferentEvent {
  size_t number;  // in the scenario, from 0
  std::vector<std::string> aspects;
};

struct Replayed {
  std::vector<DifferentEvent> different;
  size_t impossible = 0;  // events that can be raised on neither side, and so decide nothing
  Decided first_before{};
  Decided first_after{};
  diff::ReplayedStep before{};  // the first that is decided differently
  diff::ReplayedStep after{};
};

std::string value_or_unchanged(const Decided &decided, const std::string &attribute) {
  const auto found = decided.changed.find(attribute);
  if (found == decided.changed.end()) return "unchanged";
  return found->second ? as_word(*found->second) : "cleared";
}

std::string texts_of_log(const std::vector<std::string> &log) {
  std::vector<std::string> texts;
  for (const std::string &text : log)
    texts.push_back(simulator::quoted(text));
  return listed(texts);
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
  line("log", texts_of_log(before.log), texts_of_log(after.log));
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
  return concat(scenario.path, ":", step.position.line, ": [", number + 1, "] ", step.event.value, " at ",
                step.target.value);
}

std::string text_of_step(const diff::ReplayedStep &replayed, const PolicyFile &file) {
  if (!replayed.impossible.empty()) return replayed.impossible + "\n";
  return explanation_text(replayed.explanation, file, replayed.step, Level::rules,
                          terminal::colours(terminal::Stream::out));
}

Json json_of_step(const diff::ReplayedStep &replayed, const PolicyFile &file) {
  if (!replayed.impossible.empty()) return nullptr;
  return explanation_json(replayed.explanation, file, replayed.step, Level::rules);
}

std::string text_of_replay(const Replayed &replayed, const PolicyFile &scenario, const Files &files) {
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
  text += concat("in ", files.before->path, "\n", indented(text_of_step(replayed.before, *files.before), "  "));
  text += concat("in ", files.after->path, "\n", indented(text_of_step(replayed.after, *files.after), "  "));
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

class DiffCommand final : public Command {
 public:
  const char *name() const override { return "diff"; }
  const char *summary() const override { return "Compare two policy files"; }

  void declare(Options &options) override {
    options.required_argument("OLD", before_, "A policy file");
    options.required_argument("NEW", after_, "The policy file to compare it with");
    options.option("--replay", "FILE", scenario_,
                   "Replay the scenario of this policy file on both and compare what they decide");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Tells which objects were added, removed and changed. With --replay also which events\n"
        "of a scenario are decided differently, with the first difference explained on both\n"
        "sides. Each event changes the attributes that later events find, on each side by itself.\n"
        "Exit code 0: no difference; 1: there is one.\n\n"
        "Examples:\n"
        "  zar diff old.yaml new.yaml\n"
        "  zar diff old.yaml new.yaml --replay new.yaml");
  }

  int run() override {
    if (!name_stdin_once({before_, after_, scenario_})) return kUsage;
    const std::optional<PolicyFile> before = load_file(before_);
    const std::optional<PolicyFile> after = load_file(after_);
    std::optional<PolicyFile> scenario;
    if (!scenario_.empty()) scenario = load_file(scenario_);
    if (!before || !after || (!scenario_.empty() && !scenario)) return kBadFile;

    const Files files = {&*before, &*after};
    const std::vector<ObjectChange> changes = diff::compare(*before, *after);
    std::optional<Replayed> replayed;
    if (scenario) {
      Complaints problems;
      replayed = replay(files, scenario->scenario, problems);
      if (!replayed) return report_internal(problems);
    }
    if (json_) {
      write_json(files, changes, scenario, replayed);
    } else {
      write_text(files, changes, scenario, replayed);
    }
    return changes.empty() && (!replayed || replayed->different.empty()) ? kSuccess : kNo;
  }

 private:
  static std::optional<Replayed> replay(const Files &files, const std::vector<Step> &steps, Complaints &problems) {
    const std::optional<std::vector<Decided>> before = diff::replay(*files.before, steps, problems);
    const std::optional<std::vector<Decided>> after = diff::replay(*files.after, steps, problems);
    if (!before || !after) return std::nullopt;

    Replayed replayed;
    for (size_t at = 0; at < steps.size(); ++at) {
      const bool possible = (*before)[at].impossible.empty() || (*after)[at].impossible.empty();
      if (!possible) ++replayed.impossible;
      std::vector<std::string> aspects = aspects_of((*before)[at], (*after)[at]);
      if (!aspects.empty()) replayed.different.push_back({at, std::move(aspects)});
    }
    if (replayed.different.empty()) return replayed;

    const size_t first = replayed.different[0].number;
    std::optional<diff::ReplayedStep> of_before = diff::replay_to(*files.before, steps, first, problems);
    std::optional<diff::ReplayedStep> of_after = diff::replay_to(*files.after, steps, first, problems);
    if (!of_before || !of_after) return std::nullopt;
    replayed.first_before = (*before)[first];
    replayed.first_after = (*after)[first];
    replayed.before = std::move(*of_before);
    replayed.after = std::move(*of_after);
    return replayed;
  }

  static void write_text(const Files &files, const std::vector<ObjectChange> &changes,
                         const std::optional<PolicyFile> &scenario, const std::optional<Replayed> &replayed) {
    for (const ObjectChange &change : changes)
      std::cout << text_of_change(change, files);
    const Counts counts = count(changes);
    std::cout << concat(counts.added, " added, ", counts.removed, " removed, ", counts.changed, " changed\n");
    if (replayed) std::cout << text_of_replay(*replayed, *scenario, files);
  }

  static void write_json(const Files &files, const std::vector<ObjectChange> &changes,
                         const std::optional<PolicyFile> &scenario, const std::optional<Replayed> &replayed) {
    Json json = begin_json("diff");
    json["old"] = files.before->path;
    json["new"] = files.after->path;
    const Counts counts = count(changes);
    json["added"] = counts.added;
    json["removed"] = counts.removed;
    json["changed"] = counts.changed;
    json["changes"] = Json::array();
    for (const ObjectChange &change : changes)
      json["changes"].push_back(json_of_change(change));
    json["replay"] = replayed ? json_of_replay(*replayed, *scenario, files) : Json(nullptr);
    print_json(std::cout, json);
  }

  std::string before_;
  std::string after_;
  std::string scenario_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_diff_command() {
  return std::make_unique<DiffCommand>();
}

}  // namespace command
