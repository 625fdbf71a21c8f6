// zar test: runs the tests in policy files, and reports what they cover.
#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/testing/report.h"

using namespace simulator;

namespace command {

namespace {

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
    FileLoader loader(json_);
    Json files = Json::array();
    Json bad_files = Json::array();
    for (const std::string &path : paths_) {
      std::optional<Report> report;
      worst = std::max(worst, work_on_one([&] { return test(path, loader, report); }));
      if (!report) {
        bad_files.push_back(path);
        continue;
      }
      passed += report->passed;
      failed += report->failed;
      if (!json_) std::cout << report->text;
      files.push_back(std::move(report->json));
    }
    if (json_) {
      write_json(passed, failed, std::move(bad_files), loader.errors(), std::move(files));
    } else if (paths_.size() > 1) {
      std::cout << concat("all files: ", passed, " passed, ", failed, " failed\n");
    }
    return worst;
  }

 private:
  static void write_json(size_t passed, size_t failed, Json bad_files, Json file_errors, Json files) {
    Json object = begin_json("test");
    object["passed"] = passed;
    object["failed"] = failed;
    object["bad_files"] = std::move(bad_files);
    object["file_errors"] = std::move(file_errors);
    object["files"] = std::move(files);
    print_json(std::cout, object);
  }

  int test(const std::string &path, FileLoader &loader, std::optional<Report> &report) const {
    const std::optional<PolicyFile> file = loader.load(path);
    if (!file) return kBadFile;
    Complaints problems;
    report = report_on_tests(*file, terminal::colours(terminal::Stream::out), problems);
    return report ? judge(*file, *report) : report_internal(problems);
  }

  int judge(const PolicyFile &file, const Report &report) const {
    const bool covered = report.percent >= min_coverage_;
    if (!covered) complain(concat(file.path, ": ", report.percent, "% covered, ", min_coverage_, "% wanted"));
    if (file.tests.empty()) complain(concat(file.path, ": the file has no tests"));
    return report.failed == 0 && covered && !file.tests.empty() ? kSuccess : kNo;
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
