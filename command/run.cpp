// zar run: runs the scenarios of policy files, or events given on the command line, and shows what happens.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/progress.h"
#include "command/report.h"
#include "command/trace_levels.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/outline.h"
#include "simulator/explanation/recorder.h"
#include "simulator/policy/step_text.h"
#include "simulator/repository/listings.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

void show_step(size_t number, const Step &step) {
  std::cout << "[" << number << "] " << step.event.value << " at " << step.target.value << '\n';
  for (const Name &attribute : step.clear)
    std::cout << "  given: no " << attribute.value << '\n';
  for (const Assignment &given : step.set) {
    std::cout << "  given: " << given.attribute.value << " " << as_word(given.text) << '\n';
  }
}

// A valid file, and the events to raise on it.
struct Prepared {
  PolicyFile file;
  std::vector<Step> given;  // from the command line; if empty, those of the scenario are run

  const std::vector<Step> &steps() const { return given.empty() ? file.scenario : given; }
};

class RunCommand final : public Command {
 public:
  const char *name() const override { return "run"; }
  const char *summary() const override { return "Run the scenario of policy files"; }

  void declare(Options &options) override {
    options.required_arguments("FILE", paths_, "Policy files; - is standard input");
    options.options("--event", "NAME@TARGET", events_,
                    "An event to raise instead of a file's scenario; may be given several times");
    options.choice("--trace", "LEVEL", trace_, {"error", "info"},
                   "Show the library's own messages on standard error: error, or info for all");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Shows for each event which rules matched and what their actions did, then the\n"
        "library's listings with counters. Of several files each has a repository of its own.\n\n"
        "Examples:\n"
        "  zar run examples/broadband.yaml\n"
        "  zar run policy.yaml --event session-start@line-1 --event session-stop@line-1\n"
        "  zar run policy.yaml --trace error\n"
        "  zar run examples/*.yaml\n"
        "  zar run policy.yaml --json");
  }

  int run() override {
    if (!name_stdin_once(paths_)) return kUsage;
    show_trace(trace_);
    return run_files();
  }

 private:
  int run_files() const {
    int worst = kSuccess;
    Json bad_files = Json::array();
    std::optional<JsonStream> files;
    if (paths_.size() > 1) files = begin_files();
    for (const std::string &path : paths_) {
      std::optional<Prepared> prepared;
      const int code = work_on_one([&] {
        const int good = prepare(path, prepared);
        // If the events are wrong for the only file, this is just wrong usage, without any output.
        if (good != kUsage && !files) files = begin_files();
        if (!prepared) return good;
        if (!json_ && paths_.size() > 1) std::cout << (path == paths_[0] ? "" : "\n") << "file " << path << "\n\n";
        return play(*prepared, files ? &*files : nullptr);
      });
      worst = std::max(worst, code);
      if (!prepared) bad_files.push_back(path);
    }
    end_files(files, std::move(bad_files));
    return worst;
  }

  std::optional<JsonStream> begin_files() const {
    if (!json_) return std::nullopt;
    return JsonStream(std::cout, begin_json("run"), "files");
  }

  static void end_files(std::optional<JsonStream> &files, Json bad_files) {
    if (!files) return;
    Json tail;
    tail["bad_files"] = std::move(bad_files);
    files->end(tail);
  }

  // Returns an exit code; sets 'prepared' on success.
  int prepare(const std::string &path, std::optional<Prepared> &prepared) const {
    std::optional<PolicyFile> file = load_file(path);
    if (!file) return kBadFile;
    std::optional<std::vector<Step>> given = given_steps(*file);
    if (!given) return kUsage;
    prepared.emplace(Prepared{std::move(*file), std::move(*given)});
    return kSuccess;
  }

  int play(const Prepared &prepared, JsonStream *files) const {
    Repository repository(prepared.file);
    if (repository.build()) {
      if (files) {
        write_json(prepared, repository, *files);
      } else {
        write_text(prepared, repository);
      }
    }
    return finish(repository);
  }

  // The events of the command line; nothing if one of them is wrong.
  std::optional<std::vector<Step>> given_steps(const PolicyFile &file) const {
    std::vector<Step> steps;
    Complaints complaints;
    for (const std::string &event : events_) {
      std::optional<Step> step = parse_event(event, file, complaints);
      if (step) steps.push_back(std::move(*step));
    }
    complain(complaints);
    return complaints.empty() ? std::optional(std::move(steps)) : std::nullopt;
  }

  void write_text(const Prepared &prepared, const Repository &repository) const {
    Recorder recorder(prepared.file);
    Progress progress(prepared.steps().size());
    size_t number = 0;
    for (const Step &step : prepared.steps()) {
      show_step(++number, step);
      std::cout << outline(recorder.raise(repository, step), prepared.file);
      progress.step();
      // Messages of the library go to another stream; flush, so that they appear next to their event.
      if (!trace_.empty()) std::cout.flush();
    }
    const std::string lists = listings(prepared.file, repository);
    if (!lists.empty()) std::cout << '\n' << lists;
  }

  static void write_json(const Prepared &prepared, const Repository &repository, JsonStream &files) {
    const PolicyFile &file = prepared.file;
    Json head;
    head["file"] = file.path;
    JsonStream stream(std::cout, head, "events", files.begin_element());
    Recorder recorder(file);
    Progress progress(prepared.steps().size());
    size_t number = 0;
    for (const Step &step : prepared.steps()) {
      const EventExplanation explanation = recorder.raise(repository, step);
      stream.add(event_json(++number, explanation, file, step, repository));
      progress.step();
    }
    stream.end(Json());
  }

  std::vector<std::string> paths_;
  std::vector<std::string> events_;
  std::string trace_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_run_command() {
  return std::make_unique<RunCommand>();
}

}  // namespace command
