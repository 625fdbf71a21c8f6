// zar explain: raises one event on one target and shows the path to its outcome.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/explanation_text.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/verdicts.h"
#include "simulator/lint/reach.h"
#include "simulator/policy/step_text.h"
#include "simulator/policy/target_pattern.h"

using namespace simulator;

namespace command {

namespace {

class ExplainCommand final : public Command {
 public:
  const char *name() const override { return "explain"; }
  const char *summary() const override { return "Explain what one event does on one target"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.option("--event", "NAME@TARGET", event_, "The event to raise; a * in TARGET stands for any characters");
    options.options("--set", "ATTR=VALUE", set_, "An attribute to set before the event; may be given several times");
    options.options("--clear", "ATTR", clear_, "An attribute to clear before the event; may be given several times");
    options.choice("--level", "LEVEL", level_, {"decision", "rules", "filters"},
                   "How much to show: decision, rules or filters");
    options.option("--reach", "POLICY/EVENT/RULE", reach_, "Instead: attributes that reach this rule, or why none do");
    options.number("--effort", "SECONDS", effort_, kMostEffort, "Computing time for --reach (10)");
    for (const char *of_events : {"--event", "--set", "--clear", "--level"})
      options.exclude(of_events, "--reach");
    options.exclude("--event", "--effort");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Shows which policy-maps, rules, classes and filters were tried, what held, what\n"
        "decided, which actions ran and what they changed; and where nothing matched, the\n"
        "rule that came nearest and the first filter that stood against it. The target has\n"
        "its attributes of the file, changed by --clear and then by --set; the scenario of\n"
        "the file is not run. Each line begins with the place in the file it comes from.\n"
        "With a * in TARGET, shows the verdicts on all targets that fit, grouped by what decided.\n"
        "Exit code 0: good; 1: an event was stopped, because it raised too many others.\n"
        "With --reach, 0: the rule is reached; 1: it never is; 3: not decided.\n\n"
        "Examples:\n"
        "  zar explain examples/broadband.yaml --event session-start@line-0103\n"
        "  zar explain policy.yaml --event login@port-1 --set user=guest --clear blocked\n"
        "  zar explain policy.yaml --event 'login@*'\n"
        "  zar explain policy.yaml --event login@port-1 --level filters\n"
        "  zar explain policy.yaml --reach access/login/20");
  }

  int run() override {
    if (event_.empty() && reach_.empty()) {
      complain("--event or --reach is required");
      std::cerr << "Run zar explain --help for help.\n";
      return kUsage;
    }
    FileLoader loader(json_);
    const std::optional<PolicyFile> file = loader.load(path_);
    if (!file) return loader.refuse(name());
    if (!reach_.empty()) return explain_reach(*file);
    const std::vector<Step> steps = given_steps(*file);
    if (steps.empty()) return kUsage;

    Repository repository(*file);
    bool ended = true;
    if (repository.build())
      ended = has_pattern(event_) ? tabulate(*file, repository, steps) : explain(*file, repository, steps[0]);
    return std::max(finish(repository), ended ? int{kSuccess} : int{kNo});
  }

 private:
  // The event on each target that it names; none if anything is wrong.
  std::vector<Step> given_steps(const PolicyFile &file) const {
    Complaints complaints;
    std::vector<Step> steps = parse_events(event_, file, complaints);
    Step given;
    for (const std::string &text : clear_)
      parse_clear(text, file, given, complaints);
    for (const std::string &text : set_)
      parse_set(text, file, given, complaints);
    complain(complaints);
    if (!complaints.empty()) return {};
    for (Step &step : steps) {
      step.clear = given.clear;
      step.set = given.set;
    }
    return steps;
  }

  // The parser accepts no other word.
  Level level() const { return parse_level(level_).value_or(Level::rules); }

  // Both return false if a limit stopped an event.
  bool explain(const PolicyFile &file, const Repository &repository, const Step &step) const {
    const EventExplanation explanation = Recorder(file).raise(repository, step);
    if (json_) {
      Json object = begin_json("explain");
      object["explanation"] = explanation_json(explanation, file, step, level());
      print_json(std::cout, object);
    } else {
      std::cout << explanation_text(explanation, file, step, level(), terminal::colours(terminal::Stream::out),
                                    terminal::width());
    }
    return refusals(explanation).first == nullptr;
  }

  // Each target has attributes of its own, so no event changes what the next one finds.
  bool tabulate(const PolicyFile &file, const Repository &repository, const std::vector<Step> &steps) const {
    Recorder recorder(file);
    Verdicts verdicts;
    for (const Step &step : steps)
      verdicts.add(step.target.value, recorder.raise(repository, step));
    if (json_) {
      Json object = begin_json("explain");
      object["verdicts"] = verdicts_json(verdicts, file, steps[0]);
      print_json(std::cout, object);
    } else {
      std::cout << verdicts_text(verdicts, file, steps[0].event.value, terminal::colours(terminal::Stream::out),
                                 terminal::width());
    }
    return !verdicts.any_stopped();
  }

  int explain_reach(const PolicyFile &file) const {
    Complaints complaints;
    const std::optional<lint::RuleOf> rule = lint::parse_rule(reach_, file, complaints);
    complain(complaints);
    if (!rule) return kUsage;

    const lint::Reach reach = lint::reach(file, *rule, for_seconds(effort_));
    if (json_) {
      Json object = begin_json("explain");
      object["reach"] = lint::json_of_reach(file, *rule, reach);
      print_json(std::cout, object);
    } else {
      std::cout << terminal::fitted(lint::text_of_reach(file, *rule, reach));
    }
    if (!reach.problems.empty()) return report_internal(reach.problems);
    if (reach.answer == lint::Answer::undecided) return kUndecided;
    return reach.answer == lint::Answer::reached ? kSuccess : kNo;
  }

  std::string path_;
  std::string event_;
  std::string reach_;
  uint32_t effort_ = kDefaultEffort;
  std::vector<std::string> set_;
  std::vector<std::string> clear_;
  std::string level_ = "rules";
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_explain_command() {
  return std::make_unique<ExplainCommand>();
}

}  // namespace command
