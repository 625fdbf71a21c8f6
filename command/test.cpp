// zar test: runs the tests in policy files, and reports what they cover.
#include <algorithm>
#include <iostream>
#include <set>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/more_tests.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/service/results.h"
#include "simulator/testing/junit.h"
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
    options.options("--with", "TESTS", with_,
                    "A file with tests to run besides those in FILE; may be given several times");
    options.options("--only", "NAME", only_, "Run only the tests with this name; may be given several times");
    options.option("--junit", "FILE", junit_, "Also write the results to this file, as JUnit XML");
    options.percentage("--min-coverage", min_coverage_, "Fail when a file's tests cover less than this many percent");
    options.flag("--json", json_, "Write one JSON object");
    options.epilogue(
        "Each test of the section 'tests' raises one event, or several in steps, on targets as\n"
        "the file has them and compares what happens with what it expects: the rules that run,\n"
        "attributes afterwards, the verdict, the texts that are logged. The first step that\n"
        "fails ends its test and is explained. Coverage counts rules that ran, statements that\n"
        "matched, and filters that both held and did not.\n"
        "Exit code 0: all tests passed; 1: one failed, a file has none, or too little is covered.\n\n"
        "Examples:\n"
        "  zar test policy.yaml\n"
        "  zar test policy.yaml --with tests.yaml --junit results.xml\n"
        "  zar test examples/*.yaml --min-coverage 80");
  }

  int run() override {
    std::vector<std::string> all = paths_;
    all.insert(all.end(), with_.begin(), with_.end());
    if (!name_stdin_once(all)) return kUsage;
    FileLoader loader(json_);
    MoreTests more;
    if (!more.read(with_, loader)) {
      if (json_) write_json(0, 0, Json::array(), loader.errors(), Json::array());
      return kBadFile;
    }

    int worst = kSuccess;
    std::vector<Entry> files;
    for (const std::string &path : paths_)
      worst = std::max(worst, work_on_one([&] { return load(path, more, loader, files); }));
    if (!select(files)) return kUsage;
    return std::max(worst, test_all(files, loader.errors()));
  }

 private:
  // A file; nothing if it is bad.
  struct Entry {
    std::string path;
    std::optional<PolicyFile> file{};
  };

  static int load(const std::string &path, const MoreTests &more, FileLoader &loader, std::vector<Entry> &files) {
    Entry &entry = files.emplace_back(Entry{path});
    entry.file = loader.load(path);
    if (entry.file && more.add_to(*entry.file, loader)) return kSuccess;
    entry.file.reset();
    return kBadFile;
  }

  // Whether each name of --only is that of a test. A name that is not in the good files may be in a bad one.
  bool know_names(const std::vector<Entry> &files) const {
    std::set<std::string_view> names;
    for (const Entry &entry : files) {
      if (!entry.file) return true;
      for (const Test &test : entry.file->tests)
        names.insert(test.name.value);
    }
    Complaints complaints;
    for (const std::string &name : only_) {
      if (!names.contains(name)) complaints.push_back(no_such("test", name, {names.begin(), names.end()}));
    }
    complain(complaints);
    return complaints.empty();
  }

  // Leaves only the tests of --only, and the files that have one. False if one of the names is not that of a test.
  bool select(std::vector<Entry> &files) const {
    if (only_.empty()) return true;
    if (!know_names(files)) return false;
    const auto is_wanted = [&](const Test &test) {
      return std::find(only_.begin(), only_.end(), test.name.value) != only_.end();
    };
    for (Entry &entry : files) {
      if (entry.file) std::erase_if(entry.file->tests, [&](const Test &test) { return !is_wanted(test); });
    }
    std::erase_if(files, [](const Entry &entry) { return entry.file && entry.file->tests.empty(); });
    return true;
  }

  int test_all(const std::vector<Entry> &files, const Json &file_errors) const {
    int worst = kSuccess;
    Report all;
    all.json = Json::array();
    Json bad_files = Json::array();
    std::vector<JunitSuite> suites;
    for (const Entry &entry : files) {
      std::optional<Report> report;
      if (entry.file) worst = std::max(worst, work_on_one([&] { return test(*entry.file, report); }));
      suites.push_back(report ? std::move(report->junit) : suite_of_bad(entry.path));
      if (!report) {
        bad_files.push_back(entry.path);
        continue;
      }
      all.passed += report->passed;
      all.failed += report->failed;
      if (!json_) std::cout << terminal::fitted(report->text);
      all.json.push_back(std::move(report->json));
    }
    if (json_) {
      write_json(all.passed, all.failed, std::move(bad_files), file_errors, std::move(all.json));
    } else if (paths_.size() > 1) {
      std::cout << concat("all files: ", all.passed, " passed, ", all.failed, " failed\n");
    }
    return std::max(worst, write_junit(suites));
  }

  // A build server that reads only this must see that something went wrong.
  static JunitSuite suite_of_bad(const std::string &path) {
    return {.name = path,
            .cases = {{.name = path,
                       .path = path,
                       .result = JunitCase::Result::error,
                       .message = "the tests of the file could not be run"}}};
  }

  int write_junit(const std::vector<JunitSuite> &suites) const {
    return junit_.empty() ? kSuccess : write_result(junit_, junit_xml(suites));
  }

  static void write_json(size_t passed, size_t failed, Json bad_files, Json file_errors, Json files) {
    print_json(std::cout,
               service::test_json(passed, failed, std::move(bad_files), std::move(file_errors), std::move(files)));
  }

  int test(const PolicyFile &file, std::optional<Report> &report) const {
    Complaints problems;
    report = report_on_tests(file, terminal::colours(terminal::Stream::out), problems);
    if (!report) return report_internal(problems);
    service::add_claims(file, *report);
    return judge(file, *report);
  }

  int judge(const PolicyFile &file, const Report &report) const {
    const bool covered = report.percent >= min_coverage_;
    if (!covered) complain(concat(file.shown_path(), ": ", report.percent, "% covered, ", min_coverage_, "% wanted"));
    if (file.tests.empty()) complain(concat(file.shown_path(), ": the file has no tests"));
    return report.failed == 0 && covered && !file.tests.empty() ? kSuccess : kNo;
  }

  std::vector<std::string> paths_;
  std::vector<std::string> with_;
  std::vector<std::string> only_;
  std::string junit_;
  uint32_t min_coverage_ = 0;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_test_command() {
  return std::make_unique<TestCommand>();
}

}  // namespace command
