#include "simulator/testing/report.h"

#include "simulator/explanation/explanation_json.h"
#include "simulator/policy/position_json.h"
#include "simulator/testing/coverage.h"
#include "simulator/testing/run_tests.h"

namespace simulator {

namespace {

Json failure_json(const Failure &failure) {
  Json object;
  object["what"] = failure.what;
  object["expected"] = failure.expected;
  object["actual"] = failure.actual;
  return object;
}

std::string mark_of(bool passed, Colours colours) {
  return painted(colours, passed ? Tone::good : Tone::bad, passed ? "ok    " : "FAIL  ");
}

// The step that failed is named if there are several.
std::string step_text(const PolicyFile &file, const TestOutcome &outcome) {
  if (outcome.test->steps.size() == 1) return {};
  const Step &step = outcome.steps.back().step->step;
  const size_t left = outcome.test->steps.size() - outcome.steps.size();
  const std::string not_run = left == 0 ? "" : concat("; ", left, left == 1 ? " more was" : " more were", " not run");
  return concat("  step ", outcome.steps.size(), ", ", file.shown_path_of(step.position), ":", step.position.line, ": ",
                step.event.value, " at ", step.target.value, not_run, "\n");
}

// What went wrong in a test that failed, with the explanation of the event.
std::string failure_text(const PolicyFile &file, const TestOutcome &outcome, Colours colours) {
  const StepOutcome &last = outcome.steps.back();
  std::string text = step_text(file, outcome);
  for (const Failure &failure : last.failures) {
    text += concat("  ", failure.what, "\n    expected: ", failure.expected, "\n    actual:   ", failure.actual, "\n");
  }
  return concat(text, "  explanation\n",
                indented(explanation_text(last.explanation, file, last.step->step, Level::rules, colours), "    "));
}

Json test_json(const PolicyFile &file, const TestOutcome &outcome) {
  const StepOutcome &last = outcome.steps.back();
  Json object;
  object["name"] = outcome.test->name.value;
  add_position(object, outcome.test->name.position);
  object["passed"] = outcome.passed();
  object["failures"] = Json::array();
  for (const Failure &failure : last.failures)
    object["failures"].push_back(failure_json(failure));
  if (outcome.passed()) return object;
  if (outcome.test->steps.size() > 1) object["step"] = outcome.steps.size();
  object["explanation"] = explanation_json(last.explanation, file, last.step->step, Level::rules);
  return object;
}

JunitCase junit_case(const PolicyFile &file, const TestOutcome &outcome) {
  const Name &name = outcome.test->name;
  JunitCase junit{.name = name.value, .path = file.shown_path_of(name.position), .line = name.position.line};
  if (outcome.passed()) return junit;
  const Failure &first = outcome.steps.back().failures[0];
  junit.result = JunitCase::Result::failed;
  junit.message = concat(first.what, ": expected ", first.expected, ", actual ", first.actual);
  junit.details = concat("\n", failure_text(file, outcome, Colours::off));
  return junit;
}

void add_test(const PolicyFile &file, const TestOutcome &outcome, Colours colours, Report &report) {
  const Name &name = outcome.test->name;
  const bool passed = outcome.passed();
  ++(passed ? report.passed : report.failed);
  report.text += concat(mark_of(passed, colours), file.shown_path_of(name.position), ":", name.position.line, ": ",
                        escape_control_characters(name.value), "\n");
  if (!passed) report.text += failure_text(file, outcome, colours);
  report.json["tests"].push_back(test_json(file, outcome));
  report.junit.cases.push_back(junit_case(file, outcome));
}

void add_part(const PolicyFile &file, const std::string &name, const std::string &verb, const Coverage::Part &part,
              std::string &summary, std::string &missed, Json &json) {
  if (part.total > 0) summary += concat("  ", part.covered, " of ", part.total, " ", name, " ", verb, "\n");
  Json object;
  object["covered"] = part.covered;
  object["total"] = part.total;
  object["missed"] = Json::array();
  for (const Coverage::Missed &what : part.missed) {
    missed +=
        concat("  ", file.shown_path_of(what.position), ":", what.position.line, ": ", what.what, " ", what.why, "\n");
    Json entry;
    entry["what"] = what.what;
    entry["why"] = what.why;
    add_position(entry, what.position);
    object["missed"].push_back(std::move(entry));
  }
  json[name] = std::move(object);
}

void add_coverage(const PolicyFile &file, const Coverage &coverage, Report &report) {
  const Coverage::Part rules = coverage.rules();
  const Coverage::Part statements = coverage.statements();
  const Coverage::Part filters = coverage.filters();
  const size_t covered = rules.covered + statements.covered + filters.covered;
  const size_t total = rules.total + statements.total + filters.total;
  report.percent = percent_of(covered, total);

  std::string summary;
  std::string missed;
  Json json;
  json["percent"] = report.percent;
  add_part(file, "rules", "ran", rules, summary, missed, json);
  add_part(file, "statements", "matched", statements, summary, missed, json);
  add_part(file, "filters", "both held and did not", filters, summary, missed, json);
  report.text += total == 0
                     ? std::string("coverage: nothing to cover: the file has no rules, statements or filters\n")
                     : concat("coverage: ", report.percent, "%, ", covered, " of ", total, "\n", summary, missed);
  report.json["coverage"] = std::move(json);
}

}  // namespace

Report report_on(const PolicyFile &file, const std::string &name, const Repository &repository, Colours colours) {
  Report report;
  report.junit.name = file.path;
  report.json["file"] = file.path;
  report.json["sources"] = file.more_paths;
  // The counts come first in the output, but are known only at the end.
  report.json["passed"] = 0;
  report.json["failed"] = 0;
  report.json["tests"] = Json::array();
  Coverage coverage(file);
  run_tests(file, repository, [&](const TestOutcome &outcome) {
    for (const StepOutcome &step : outcome.steps)
      coverage.add(step.explanation);
    add_test(file, outcome, colours, report);
  });
  report.json["passed"] = report.passed;
  report.json["failed"] = report.failed;
  report.text += concat(escape_control_characters(name), ": ", report.passed, " passed, ", report.failed, " failed\n");
  add_coverage(file, coverage, report);
  return report;
}

std::optional<Report> report_on_tests(const PolicyFile &file, Colours colours, Complaints &problems) {
  Repository repository(file);
  std::optional<Report> report;
  if (repository.build()) report = report_on(file, file.path, repository, colours);
  for (const std::string &problem : repository.finish())
    problems.push_back(problem);
  return problems.empty() ? std::move(report) : std::nullopt;
}

}  // namespace simulator
