// zar diff: shows the differences between two policy files, and between their decisions.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/stream_diff.h"
#include "command/terminal.h"
#include "simulator/diff/render.h"
#include "simulator/service/results.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using diff::Files;
using diff::ObjectChange;
using diff::Replayed;

class DiffCommand final : public Command {
 public:
  const char *name() const override { return "diff"; }
  const char *summary() const override { return "Compare two policy files"; }

  void declare(Options &options) override {
    options.required_argument("OLD", before_, "A policy file");
    options.required_argument("NEW", after_, "The policy file to compare it with");
    options.option("--replay", "FILE", scenario_,
                   "Replay the scenario of this policy file, or the stream of this .jsonl file, on both and compare "
                   "what they decide");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Lists which objects were added, removed, changed and renamed; an object was renamed if\n"
        "another name has its contents. With --replay also which events of a scenario are\n"
        "decided differently, with the first difference explained on both sides. Each event\n"
        "changes the attributes that later events find, on each side by itself. A scenario can\n"
        "have the old names and the new ones. What was only renamed decides the same.\n"
        "The lines of a stream that are decided differently come as a table of decisions.\n"
        "Exit code 0: no difference; 1: there is one; 2: the scenario is empty or fits neither file.\n\n"
        "Examples:\n"
        "  zar diff old.yaml new.yaml\n"
        "  zar diff old.yaml new.yaml --replay new.yaml\n"
        "  zar diff old.yaml new.yaml --replay log.jsonl");
  }

  int run() override {
    if (!name_stdin_once({before_, after_, scenario_})) return kUsage;
    FileLoader loader(json_);
    const std::optional<PolicyFile> before = loader.load(before_);
    const std::optional<PolicyFile> after = loader.load(after_);
    std::optional<PolicyFile> scenario;
    const bool has_scenario = !scenario_.empty() && !is_stream(scenario_);
    if (has_scenario) scenario = loader.load(scenario_);
    if (!before || !after || (has_scenario && !scenario)) return loader.refuse(name());

    const Files files = {&*before, &*after};
    const diff::Renames renames = diff::find_renames(*before, *after);
    const std::vector<ObjectChange> changes = diff::compare(*before, *after, renames);
    std::optional<Replayed> replayed;
    if (scenario) {
      Complaints problems;
      replayed = diff::compare_replays(files, renames, scenario->scenario, problems);
      if (!replayed) return report_internal(problems);
      if (const std::string why = service::why_unfit(*scenario, *replayed, files); !why.empty()) {
        complain(why);
        return kUsage;
      }
    }
    if (is_stream(scenario_)) return diff_streams(files, renames, changes);
    if (json_) {
      print_json(std::cout,
                 service::diff_json(files, changes, replayed ? json_of_replay(*replayed, *scenario, files) : Json()));
    } else {
      write_text(files, changes, scenario, replayed);
    }
    return changes.empty() && (!replayed || replayed->different.empty()) ? kSuccess : kNo;
  }

 private:
  int diff_streams(const Files &files, const diff::Renames &renames, const std::vector<ObjectChange> &changes) const {
    const StreamDiff compared = compare_streams(files, renames, scenario_);
    if (json_) {
      print_json(std::cout, service::diff_json(files, changes, json_of_stream(compared.changes, scenario_)));
    } else {
      write_text(files, changes, std::nullopt, std::nullopt);
      std::cout << text_of_stream(compared.changes);
    }
    const bool same = changes.empty() && compared.changes.differing() == 0;
    return std::max(compared.code, same ? int{kSuccess} : int{kNo});
  }

  static void write_text(const Files &files, const std::vector<ObjectChange> &changes,
                         const std::optional<PolicyFile> &scenario, const std::optional<Replayed> &replayed) {
    const Colours colours = terminal::colours(terminal::Stream::out);
    for (const ObjectChange &change : changes)
      std::cout << terminal::fitted(text_of_change(change, files, colours));
    std::cout << terminal::fitted(diff::text_of_counts(count(changes)));
    if (replayed) std::cout << terminal::fitted(text_of_replay(*replayed, *scenario, files, colours));
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
