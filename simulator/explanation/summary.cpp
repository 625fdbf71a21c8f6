#include "simulator/explanation/summary.h"

#include <algorithm>

#include "simulator/explanation/words.h"
#include "simulator/text/text.h"
#include "simulator/text/wrap.h"

namespace simulator {

namespace {

constexpr size_t kVerdictColumns = std::string_view("permit").size();

std::string blanks(size_t columns, size_t taken) {
  return std::string(columns - taken, ' ');
}

}  // namespace

Summary::Summary(const PolicyFile &file, const std::vector<Step> &steps, Colours colours, size_t width)
    : file_(&file), colours_(colours), width_(width), number_columns_(std::to_string(steps.size()).size()) {
  for (const Step &step : steps) {
    event_columns_ = std::max(event_columns_, step.event.value.size());
    target_columns_ = std::max(target_columns_, step.target.value.size());
  }
}

std::string Summary::decision_of(const EventExplanation &explanation) const {
  const std::optional<Decision> decided = decision(explanation);
  if (!decided) return "-";
  const RuleRun &run = decided->rule;
  const Position position = run.rule->rule->position;
  return concat(rule_name(*run.policy, *run.event, *run.rule->rule), "  ", file_->path_of(position), ":",
                position.line);
}

std::string Summary::line(size_t number, const Step &step, const EventExplanation &explanation) const {
  constexpr std::string_view kGap = "  ";
  const std::string shown = std::to_string(number);
  const std::string &event = step.event.value;
  const std::string &target = step.target.value;
  const engine::Verdict verdict = explanation.outcome.verdict;
  std::string text =
      concat(blanks(number_columns_, shown.size()), shown, kGap, event, blanks(event_columns_, event.size()), kGap,
             target, blanks(target_columns_, target.size()), kGap, verdict_text(verdict, colours_),
             blanks(kVerdictColumns, std::string_view(to_string(verdict)).size()), kGap, decision_of(explanation));
  if (const Refusals refused = refusals(explanation); refused.first)
    text += concat(kGap, painted(colours_, Tone::bad, "error: "), limit_text(refused));
  return wrapped(text, width_, number_columns_ + kGap.size()) + "\n";
}

}  // namespace simulator
