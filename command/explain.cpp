// zar explain: raises one event on one target and shows the path to its outcome.
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
#include "simulator/lint/reach.h"
#include "simulator/policy/step_text.h"

using namespace simulator;

namespace command {

namespace {

class ExplainCommand final : public Command {
 public:
  const char *name() const override { return "explain"; }
  const char *summary() const override { return "Explain what one event does on one target"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.option("--event", "NAME@TARGET", event_, "The event to raise");
    options.options("--set", "ATTR=VALUE", set_, "An attribute to set before the event; may be given several times");
    options.options("--clear", "ATTR", clear_, "An attribute to clear before the event; may be given several times");
    options.choice("--level", "LEVEL", level_, {"decision", "rules", "filters"},
                   "How much to show: decision, rules or filters");
    options.option("--reach", "POLICY/EVENT/RULE", reach_, "Instead: attributes that reach this rule, or why none do");
    options.number("--effort", "SECONDS", effort_, kMostEffort, "Computing time for --reach (10)");
    options.exclude("--event", "--reach");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Shows which policy-maps, rules, classes and filters were tried, what held, what\n"
        "decided, which actions ran and what they changed; and where nothing matched, the\n"
        "rule that came nearest and the first filter that stood against it. The target has\n"
        "its attributes of the file, changed by --clear and then by --set; the scenario of\n"
        "the file is not run. Each line begins with the place in the file it comes from.\n\n"
        "With --reach, exit code 0: the rule is reached; 1: it never is; 3: not decided.\n\n"
        "Examples:\n"
        "  zar explain examples/broadband.yaml --event session-start@line-0103\n"
        "  zar explain policy.yaml --event login@port-1 --set user=guest --clear blocked\n"
        "  zar explain policy.yaml --event login@port-1 --level filters\n"
        "  zar explain policy.yaml --reach access/login/20");
  }

  int run() override {
    if (event_.empty() && reach_.empty()) {
      complain("--event or --reach is required");
      std::cerr << "Run zar explain --help for help.\n";
      return kUsage;
    }
    const std::optional<PolicyFile> file = load_file(path_);
    if (!file) return kBadFile;
    if (!reach_.empty()) return explain_reach(*file);
    const std::optional<Step> step = given_step(*file);
    if (!step) return kUsage;

    Repository repository(*file);
    if (repository.build()) explain(*file, repository, *step);
    return finish(repository);
  }

 private:
  std::optional<Step> given_step(const PolicyFile &file) const {
    Complaints complaints;
    std::optional<Step> step = parse_event(event_, file, complaints);
    bool good = step.has_value();
    Step unused;
    Step &given = step ? *step : unused;
    for (const std::string &text : clear_)
      good &= parse_clear(text, file, given, complaints);
    for (const std::string &text : set_)
      good &= parse_set(text, file, given, complaints);
    complain(complaints);
    return good ? step : std::nullopt;
  }

  // The parser accepts no other word.
  Level level() const { return parse_level(level_).value_or(Level::rules); }

  void explain(const PolicyFile &file, const Repository &repository, const Step &step) const {
    const EventExplanation explanation = Recorder(file).raise(repository, step);
    if (json_) {
      Json object = begin_json("explain");
      object["explanation"] = explanation_json(explanation, file, step, level());
      print_json(std::cout, object);
    } else {
      std::cout << explanation_text(explanation, file, step, level(), terminal::colours(terminal::Stream::out));
    }
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
      std::cout << lint::text_of_reach(file, *rule, reach);
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
