// zar run: runs the scenarios of policy files, or events given on the command line, and shows what happens.
#include <algorithm>
#include <iostream>
#include <unordered_set>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/more_tests.h"
#include "command/progress.h"
#include "command/report.h"
#include "command/stream.h"
#include "command/terminal.h"
#include "command/trace_levels.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/outline.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/summary.h"
#include "simulator/policy/step_text.h"
#include "simulator/policy/target_pattern.h"
#include "simulator/repository/listings.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// A valid file, and the events to raise on it.
struct Prepared {
  PolicyFile file;
  std::vector<Step> given;  // from the command line; if empty, those of the scenario are run

  const std::vector<Step> &steps() const { return given.empty() ? file.scenario : given; }
};

bool changes(const Step &step, std::string_view attribute) {
  return std::any_of(step.set.begin(), step.set.end(),
                     [&](const Assignment &given) { return given.attribute.value == attribute; }) ||
         std::any_of(step.clear.begin(), step.clear.end(), [&](const Name &name) { return name.value == attribute; });
}

// Sets attributes before the first event of each target; what that event itself sets or clears comes after.
void set_at_first(const std::vector<Assignment> &set, std::vector<Step> &steps) {
  std::unordered_set<std::string_view> begun;
  for (Step &step : steps) {
    if (!begun.insert(step.target.value).second) continue;
    std::vector<Assignment> all;
    for (const Assignment &given : set) {
      if (!changes(step, given.attribute.value)) all.push_back(given);
    }
    step.set.insert(step.set.begin(), all.begin(), all.end());
  }
}

class RunCommand final : public Command {
 public:
  const char *name() const override { return "run"; }
  const char *summary() const override { return "Run the scenario of policy files"; }

  void declare(Options &options) override {
    options.required_arguments("FILE", paths_, "Policy files; - is standard input");
    options.options("--event", "NAME@TARGET", events_,
                    "An event to raise instead of a file's scenario; a * in TARGET stands for any characters; may be "
                    "given several times");
    options.options("--set", "ATTR=VALUE", set_,
                    "An attribute to set before the first event of each target; may be given several times");
    options.options("--with", "TESTS", with_,
                    "A file with a scenario that follows the one in FILE; may be given several times");
    options.flag("--summary", summary_, "Show one line for each event, and no listings");
    options.flag("--no-listings", no_listings_, "Leave the library's listings out");
    options.choice("--trace", "LEVEL", trace_, {"error", "info"},
                   "Show the library's own messages on standard error: error, or info for all");
    options.flag("--json", json_, "Write one JSON object");
    options.exclude("--summary", "--json");
    options.option("--events", "EVENTS", stream_.events,
                   "A stream of events to play instead of a scenario, as JSON Lines; - is standard input");
    options.flag("--jsonl", stream_.jsonl, "With --events: write a JSON object for each event, one in a line");
    options.flag("--no-results", stream_.no_results, "With --events: write only the summary of the stream");
    options.flag("--strict", stream_.strict, "With --events: end at the first bad line");
    options.number("--jobs", "N", stream_.jobs, kMostJobs,
                   "With --events: share the targets among N processes; 0 is one for each processor");
    for (const char *option : {"--jsonl", "--no-results", "--strict", "--jobs"})
      options.need(option, "--events");
    for (const char *option : {"--event", "--set", "--with", "--summary", "--no-listings", "--json"})
      options.exclude("--events", option);
    options.exclude("--jsonl", "--no-results");
    options.epilogue(
        "Shows for each event which rules matched and what their actions did, then the\n"
        "library's listings with counters. Of several files each has a repository of its own.\n"
        "Exit code 0: good; 1: an event was stopped, because it raised too many others;\n"
        "65: a file is wrong, or a line of a stream.\n\n"
        "Examples:\n"
        "  zar run examples/broadband.yaml\n"
        "  zar run policy.yaml --event session-start@line-1 --event session-stop@line-1\n"
        "  zar run policy.yaml --event 'session-start@*' --summary\n"
        "  zar run policy.yaml --trace error\n"
        "  zar run examples/*.yaml\n"
        "  zar run policy.yaml --json\n"
        "  zar run policy.yaml --events log.jsonl --jsonl > results.jsonl");
  }

  int run() override {
    if (!stream_.events.empty()) return run_stream_of_events();
    std::vector<std::string> all = paths_;
    all.insert(all.end(), with_.begin(), with_.end());
    if (!name_stdin_once(all)) return kUsage;
    FileLoader loader(json_);
    if (!more_.read(with_, loader)) {
      std::optional<JsonStream> none = begin_files();
      end_files(none, Json::array(), loader.errors());
      return kBadFile;
    }
    show_trace(trace_);
    return run_files(loader);
  }

 private:
  int run_stream_of_events() {
    if (!name_stdin_once({paths_[0], stream_.events})) return kUsage;
    if (paths_.size() > 1) {
      complain("a stream is played on one policy file");
      return kUsage;
    }
    std::optional<PolicyFile> file = FileLoader(false).load(paths_[0]);
    if (!file) return kBadFile;
    show_trace(trace_);
    return work_on_one([&] { return run_stream(*file, stream_); });
  }

  int run_files(FileLoader &loader) const {
    int worst = kSuccess;
    Json bad_files = Json::array();
    std::optional<JsonStream> files;
    if (paths_.size() > 1) files = begin_files();
    for (const std::string &path : paths_) {
      std::optional<Prepared> prepared;
      const int code = work_on_one([&] {
        const int good = prepare(path, loader, prepared);
        // If the events are wrong for the only file, this is just wrong usage, without any output.
        if (good != kUsage && !files) files = begin_files();
        if (!prepared) return good;
        if (!json_ && paths_.size() > 1)
          std::cout << (path == paths_[0] ? "" : "\n") << "file " << escape_control_characters(path) << "\n\n";
        return play(*prepared, files ? &*files : nullptr);
      });
      worst = std::max(worst, code);
      if (!prepared) bad_files.push_back(path);
    }
    end_files(files, std::move(bad_files), loader.errors());
    return worst;
  }

  std::optional<JsonStream> begin_files() const {
    if (!json_) return std::nullopt;
    return JsonStream(std::cout, begin_json("run"), "files");
  }

  static void end_files(std::optional<JsonStream> &files, Json bad_files, Json file_errors) {
    if (!files) return;
    Json tail;
    tail["bad_files"] = std::move(bad_files);
    tail["file_errors"] = std::move(file_errors);
    files->end(tail);
  }

  // Returns an exit code; sets 'prepared' on success.
  int prepare(const std::string &path, FileLoader &loader, std::optional<Prepared> &prepared) const {
    std::optional<PolicyFile> file = loader.load(path);
    if (!file || !more_.add_to(*file, loader)) return kBadFile;
    std::optional<std::vector<Step>> given = given_steps(*file);
    if (!given) return kUsage;
    prepared.emplace(Prepared{std::move(*file), std::move(*given)});
    return kSuccess;
  }

  int play(const Prepared &prepared, JsonStream *files) const {
    Repository repository(prepared.file);
    bool ended = true;
    if (repository.build()) {
      if (files) {
        ended = write_json(prepared, repository, *files);
      } else {
        ended = summary_ ? write_summary(prepared, repository) : write_text(prepared, repository);
      }
    }
    return std::max(finish(repository), ended ? int{kSuccess} : int{kNo});
  }

  // The events of the command line, or those of the scenario if it only changes them. Nothing if anything is wrong.
  std::optional<std::vector<Step>> given_steps(const PolicyFile &file) const {
    std::vector<Step> steps;
    Complaints complaints;
    for (const std::string &event : events_) {
      for (Step &step : parse_events(event, file, complaints))
        steps.push_back(std::move(step));
    }
    Step first;
    for (const std::string &text : set_)
      parse_set(text, file, first, complaints);
    complain(complaints);
    if (!complaints.empty()) return std::nullopt;
    if (events_.empty() && !set_.empty()) steps = file.scenario;
    set_at_first(first.set, steps);
    return steps;
  }

  // Raises the events one after the other, and passes each with its number to 'each'. False if a limit stopped one.
  template <class Each>
  static bool raise_all(const Prepared &prepared, const Repository &repository, Each each) {
    Recorder recorder(prepared.file);
    Progress progress(prepared.steps().size());
    size_t number = 0;
    bool ended = true;
    for (const Step &step : prepared.steps()) {
      const EventExplanation explanation = recorder.raise(repository, step);
      ended &= refusals(explanation).first == nullptr;
      each(++number, step, explanation);
      progress.step();
    }
    return ended;
  }

  // Messages of the library go to another stream; flush, so that they appear next to their event.
  void end_event() const {
    if (!trace_.empty()) std::cout.flush();
  }

  bool write_text(const Prepared &prepared, const Repository &repository) const {
    const Colours colours = terminal::colours(terminal::Stream::out);
    const auto write = [&](size_t number, const Step &step, const EventExplanation &explanation) {
      std::cout << terminal::fitted(heading(number, step) + outline(explanation, prepared.file, colours));
      end_event();
    };
    const bool ended = raise_all(prepared, repository, write);
    const std::string lists = no_listings_ ? "" : listings(prepared.file, repository);
    if (!lists.empty()) std::cout << '\n' << lists;
    return ended;
  }

  bool write_summary(const Prepared &prepared, const Repository &repository) const {
    const Summary lines(prepared.file, prepared.steps(), terminal::colours(terminal::Stream::out), terminal::width());
    const auto write = [&](size_t number, const Step &step, const EventExplanation &explanation) {
      std::cout << lines.line(number, step, explanation);
      end_event();
    };
    return raise_all(prepared, repository, write);
  }

  static bool write_json(const Prepared &prepared, const Repository &repository, JsonStream &files) {
    const PolicyFile &file = prepared.file;
    Json head;
    head["file"] = file.path;
    head["sources"] = file.more_paths;
    JsonStream stream(std::cout, head, "events", files.begin_element());
    const auto write = [&](size_t number, const Step &step, const EventExplanation &explanation) {
      stream.add(event_json(number, explanation, file, step, repository));
    };
    const bool ended = raise_all(prepared, repository, write);
    stream.end(Json());
    return ended;
  }

  std::vector<std::string> paths_;
  std::vector<std::string> events_;
  std::vector<std::string> set_;
  std::vector<std::string> with_;
  MoreTests more_;
  std::string trace_;
  StreamWishes stream_;
  bool summary_ = false;
  bool no_listings_ = false;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_run_command() {
  return std::make_unique<RunCommand>();
}

}  // namespace command
