// zar test: runs the tests that policy files hold, and tells what they cover.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/explanation_text.h"
#include "simulator/policy/position_json.h"
#include "simulator/testing/coverage.h"
#include "simulator/testing/run_tests.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// What came of the tests of one file, as it is told.
struct Told {
  std::string text;
  Json json;
  size_t passed = 0;
  size_t failed = 0;
};

Json failure_json(const Failure &failure) {
  Json object;
  object["what"] = failure.what;
  object["expected"] = failure.expected;
  object["actual"] = failure.actual;
  return object;
}

std::string mark_of(bool passed) {
  return painted(terminal::colours(terminal::Stream::out), passed ? Tone::good : Tone::bad,
                 passed ? "ok    " : "FAIL  ");
}

void tell_test(const PolicyFile &file, const TestOutcome &outcome, const EventExplanation &explanation, Told &told) {
  const Test &test = *outcome.test;
  const bool passed = outcome.failures.empty();
  ++(passed ? told.passed : told.failed);
  told.text += concat(mark_of(passed), file.path, ":", test.name.position.line, ": ",
                      escape_control_characters(test.name.value), "\n");
  Json object;
  object["name"] = test.name.value;
  add_position(object, test.name.position);
  object["passed"] = passed;
  object["failures"] = Json::array();
  for (const Failure &failure : outcome.failures) {
    told.text +=
        concat("  ", failure.what, "\n    expected: ", failure.expected, "\n    actual:   ", failure.actual, "\n");
    object["failures"].push_back(failure_json(failure));
  }
  if (!passed) {
    told.text += "  explanation\n" + indented(explanation_text(explanation, file, test.step, Level::rules,
                                                               terminal::colours(terminal::Stream::out)),
                                              "    ");
    object["explanation"] = explanation_json(explanation, file, test.step, Level::rules);
  }
  told.json["tests"].push_back(std::move(object));
}

void tell_part(const PolicyFile &file, const std::string &name, const std::string &verb, const Coverage::Part &part,
               std::string &summary, std::string &missed, Json &json) {
  if (part.total > 0) summary += concat("  ", part.covered, " of ", part.total, " ", name, " ", verb, "\n");
  Json object;
  object["covered"] = part.covered;
  object["total"] = part.total;
  object["missed"] = Json::array();
  for (const Coverage::Missed &what : part.missed) {
    missed += concat("  ", file.path, ":", what.position.line, ": ", what.what, " ", what.why, "\n");
    Json entry;
    entry["what"] = what.what;
    entry["why"] = what.why;
    add_position(entry, what.position);
    object["missed"].push_back(std::move(entry));
  }
  json[name] = std::move(object);
}

// Answers the covered share in percent.
uint32_t tell_coverage(const PolicyFile &file, const Coverage &coverage, Told &told) {
  const Coverage::Part rules = coverage.rules();
  const Coverage::Part statements = coverage.statements();
  const Coverage::Part filters = coverage.filters();
  const size_t covered = rules.covered + statements.covered + filters.covered;
  const size_t total = rules.total + statements.total + filters.total;
  const uint32_t percent = percent_of(covered, total);

  std::string summary;
  std::string missed;
  Json json;
  json["percent"] = percent;
  tell_part(file, "rules", "ran", rules, summary, missed, json);
  tell_part(file, "statements", "matched", statements, summary, missed, json);
  tell_part(file, "filters", "both held and did not", filters, summary, missed, json);
  told.text += concat("coverage: ", percent, "%, ", covered, " of ", total, "\n", summary, missed);
  told.json["coverage"] = std::move(json);
  return percent;
}

class TestCommand final : public Command {
 public:
  const char *name() const override { return "test"; }
  const char *summary() const override { return "Run the tests of policy files"; }

  void declare(Options &options) override {
    options.required_arguments("FILE", paths_, "Policy files; - is standard input");
    options.percentage("--min-coverage", min_coverage_, "Fail when a file's tests cover less than this many percent");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Each test of the section 'tests' raises one event on a target as the file has it and\n"
        "compares what happens with what it expects: the rules that run, attributes afterwards,\n"
        "the verdict, the texts that are logged. Every failure is explained. Coverage counts\n"
        "rules that ran, statements that matched, and filters that both held and did not.\n"
        "Exit code 0: all tests passed; 1: one failed, a file has none, or too little is covered.\n\n"
        "Examples:\n"
        "  zar test policy.yaml\n"
        "  zar test examples/*.yaml --min-coverage 80");
  }

  int run() override {
    if (!name_stdin_once(paths_)) return kUsage;
    int worst = kSuccess;
    size_t passed = 0;
    size_t failed = 0;
    Json files = Json::array();
    Json bad_files = Json::array();
    for (const std::string &path : paths_) {
      Told told;
      const int code = work_on_one([&] { return test(path, told); });
      worst = std::max(worst, code);
      if (code == kBadFile || code == kInternal) {
        bad_files.push_back(path);
        continue;
      }
      passed += told.passed;
      failed += told.failed;
      if (!json_) std::cout << told.text;
      files.push_back(std::move(told.json));
    }
    if (json_) {
      write_json(passed, failed, std::move(bad_files), std::move(files));
    } else if (paths_.size() > 1) {
      std::cout << concat("all files: ", passed, " passed, ", failed, " failed\n");
    }
    return worst;
  }

 private:
  static void write_json(size_t passed, size_t failed, Json bad_files, Json files) {
    Json object = begin_json("test");
    object["passed"] = passed;
    object["failed"] = failed;
    object["bad_files"] = std::move(bad_files);
    object["files"] = std::move(files);
    print_json(std::cout, object);
  }

  int test(const std::string &path, Told &told) const {
    const std::optional<PolicyFile> file = load_file(path);
    if (!file) return kBadFile;

    Repository repository(*file);
    if (!repository.build()) return finish(repository);
    Coverage coverage(*file);
    told.json["file"] = file->path;
    told.json["passed"] = 0;
    told.json["failed"] = 0;
    told.json["tests"] = Json::array();
    run_tests(*file, repository, [&](const TestOutcome &outcome, const EventExplanation &explanation) {
      coverage.add(explanation);
      tell_test(*file, outcome, explanation, told);
    });
    const bool good = sum_up(*file, coverage, told);
    const int code = finish(repository);
    return code != kSuccess ? code : good ? kSuccess : kNo;
  }

  bool sum_up(const PolicyFile &file, const Coverage &coverage, Told &told) const {
    told.json["passed"] = told.passed;
    told.json["failed"] = told.failed;
    told.text += concat(file.path, ": ", told.passed, " passed, ", told.failed, " failed\n");
    const uint32_t percent = tell_coverage(file, coverage, told);
    if (percent < min_coverage_) complain(concat(file.path, ": ", percent, "% covered, ", min_coverage_, "% wanted"));
    if (file.tests.empty()) complain(concat(file.path, ": the file has no tests"));
    return told.failed == 0 && percent >= min_coverage_ && !file.tests.empty();
  }

  std::vector<std::string> paths_;
  uint32_t min_coverage_ = 0;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_test_command() {
  return std::make_unique<TestCommand>();
}

}  // namespace command
