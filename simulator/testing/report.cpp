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

void add_test(const PolicyFile &file, const TestOutcome &outcome, const EventExplanation &explanation, Colours colours,
              Report &report) {
  const Test &test = *outcome.test;
  const bool passed = outcome.failures.empty();
  ++(passed ? report.passed : report.failed);
  report.text += concat(mark_of(passed, colours), file.shown_path_of(test.name.position), ":", test.name.position.line, ": ",
                        escape_control_characters(test.name.value), "\n");
  Json object;
  object["name"] = test.name.value;
  add_position(object, test.name.position);
  object["passed"] = passed;
  object["failures"] = Json::array();
  for (const Failure &failure : outcome.failures) {
    report.text +=
        concat("  ", failure.what, "\n    expected: ", failure.expected, "\n    actual:   ", failure.actual, "\n");
    object["failures"].push_back(failure_json(failure));
  }
  if (!passed) {
    report.text +=
        "  explanation\n" + indented(explanation_text(explanation, file, test.step, Level::rules, colours), "    ");
    object["explanation"] = explanation_json(explanation, file, test.step, Level::rules);
  }
  report.json["tests"].push_back(std::move(object));
}

void add_part(const PolicyFile &file, const std::string &name, const std::string &verb, const Coverage::Part &part,
              std::string &summary, std::string &missed, Json &json) {
  if (part.total > 0) summary += concat("  ", part.covered, " of ", part.total, " ", name, " ", verb, "\n");
  Json object;
  object["covered"] = part.covered;
  object["total"] = part.total;
  object["missed"] = Json::array();
  for (const Coverage::Missed &what : part.missed) {
    missed += concat("  ", file.shown_path_of(what.position), ":", what.position.line, ": ", what.what, " ", what.why, "\n");
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
  report.text += concat("coverage: ", report.percent, "%, ", covered, " of ", total, "\n", summary, missed);
  report.json["coverage"] = std::move(json);
}

// The tests may be those of a file, or of the files that were added to another.
std::string_view name_of(const PolicyFile &file) {
  if (file.more_paths.empty()) return file.path;
  return file.more_paths.size() == 1 ? std::string_view(file.more_paths[0]) : "all files";
}

}  // namespace

Report report_on(const PolicyFile &file, const Repository &repository, Colours colours) {
  Report report;
  report.json["file"] = file.path;
  // The counts come first in the output, but are known only at the end.
  report.json["passed"] = 0;
  report.json["failed"] = 0;
  report.json["tests"] = Json::array();
  Coverage coverage(file);
  run_tests(file, repository, [&](const TestOutcome &outcome, const EventExplanation &explanation) {
    coverage.add(explanation);
    add_test(file, outcome, explanation, colours, report);
  });
  report.json["passed"] = report.passed;
  report.json["failed"] = report.failed;
  report.text += concat(name_of(file), ": ", report.passed, " passed, ", report.failed, " failed\n");
  add_coverage(file, coverage, report);
  return report;
}

std::optional<Report> report_on_tests(const PolicyFile &file, Colours colours, Complaints &problems) {
  Repository repository(file);
  std::optional<Report> report;
  if (repository.build()) report = report_on(file, repository, colours);
  for (const std::string &problem : repository.finish())
    problems.push_back(problem);
  return problems.empty() ? std::move(report) : std::nullopt;
}

}  // namespace simulator
