// zar run: runs the scenario of a policy file, or events given on the command line, and shows what happens.
#include <iostream>

#include "tool/account/account_json.h"
#include "tool/account/recorder.h"
#include "tool/arguments.h"
#include "tool/command.h"
#include "tool/exit_codes.h"
#include "tool/listing.h"
#include "tool/load_file.h"
#include "tool/narrator.h"
#include "tool/policy/text.h"
#include "tool/progress.h"
#include "tool/report.h"
#include "tool/simulation.h"
#include "tool/trace_levels.h"

namespace tool {

namespace {

void show_step(size_t number, const Step &step) {
  std::cout << "[" << number << "] " << step.event.value << " at " << step.target.value << '\n';
  for (const Name &attribute : step.clear)
    std::cout << "  given: no " << attribute.value << '\n';
  for (const Assignment &given : step.set) {
    std::cout << "  given: " << given.attribute.value << " " << as_word(given.text) << '\n';
  }
}

Json counts_json(const engine::Outcome &outcome) {
  Json object;
  object["policies"] = outcome.policies;
  object["rules"] = outcome.rules;
  object["actions"] = outcome.actions;
  object["failures"] = outcome.failures;
  return object;
}

Json attributes_json(uint32_t target) {
  Json object = Json::object();
  const engine::Attributes *attributes = engine::attributes_of(target);
  if (!attributes) return object;
  for (const engine::AttributeId attribute : attributes->present())
    object[engine::attribute_name(attribute)] = attributes->find(attribute)->text;
  return object;
}

class RunCommand final : public Command {
 public:
  void declare(CLI::App &program) override {
    app_ = program.add_subcommand("run", "Run the scenario of a policy file");
    app_->add_option("FILE", path_, "The policy file; - is standard input")->required();
    app_->add_option("--event", events_, "An event to raise instead of the file's scenario; may be given several times")
        ->type_name("NAME@TARGET")
        ->allow_extra_args(false);
    app_->add_option("--trace", trace_, "Show the library's own messages on standard error: error, or info for all")
        ->type_name("LEVEL")
        ->check(CLI::IsMember({"error", "info"}));
    app_->add_flag("--json", json_, "Write one JSON object");
    app_->footer(
        "Shows for each event which rules matched and what their actions did, then the\n"
        "library's listings with counters.\n\n"
        "Examples:\n"
        "  zar run examples/broadband.yaml\n"
        "  zar run policy.yaml --event session-start@line-1 --event session-stop@line-1\n"
        "  zar run policy.yaml --trace error\n"
        "  zar run policy.yaml --json");
  }

  int run() override {
    const std::optional<PolicyFile> file = load_file(path_);
    if (!file) return kBadFile;
    const std::optional<std::vector<Step>> given = given_steps(*file);
    if (!given) return kUsage;

    show_trace(trace_);
    Repository repository(*file);
    if (repository.build()) {
      const std::vector<Step> &steps = events_.empty() ? file->scenario : *given;
      if (json_) {
        write_json(*file, repository, steps);
      } else {
        write_text(*file, repository, steps);
      }
    }
    return finish(repository);
  }

 private:
  // The events of the command line; nothing when one of them is wrong.
  std::optional<std::vector<Step>> given_steps(const PolicyFile &file) const {
    std::vector<Step> steps;
    bool good = true;
    for (const std::string &event : events_) {
      std::optional<Step> step = parse_event(event, file);
      good = good && step;
      if (step) steps.push_back(std::move(*step));
    }
    return good ? std::optional(std::move(steps)) : std::nullopt;
  }

  void write_text(const PolicyFile &file, const Repository &repository, const std::vector<Step> &steps) const {
    Narrator narrator(std::cout);
    engine::observe(&narrator);
    Progress progress(steps.size());
    size_t number = 0;
    for (const Step &step : steps) {
      show_step(++number, step);
      run_step(file, repository, step);
      progress.step();
      // Messages of the library go elsewhere; they should meet the event that they belong to.
      if (!trace_.empty()) std::cout.flush();
    }
    engine::observe(nullptr);
    std::cout << listings(file, repository);
  }

  static void write_json(const PolicyFile &file, const Repository &repository, const std::vector<Step> &steps) {
    Json head = begin_json("run");
    head["file"] = file.path;
    JsonStream stream(std::cout, head, "events");
    const Recorder recorder(file);
    Progress progress(steps.size());
    size_t number = 0;
    for (const Step &step : steps) {
      const engine::Outcome outcome = run_step(file, repository, step);
      Json event;
      event["number"] = ++number;
      add_place_or_null(event, step.place);
      event["counts"] = counts_json(outcome);
      event["attributes"] = attributes_json(repository.target_handle(step.target.value));
      event["explanation"] = account_json(recorder.account(), file, step, Level::decision);
      stream.add(event);
      progress.step();
    }
    stream.end(Json());
  }

  std::string path_;
  std::vector<std::string> events_;
  std::string trace_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_run_command() {
  return std::make_unique<RunCommand>();
}

}  // namespace tool
