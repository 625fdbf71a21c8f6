// zar prove: whether claims hold on every target, or two versions of a file decide alike.
#include <algorithm>
#include <iostream>
#include <set>

#include "command/command.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "command/terminal.h"
#include "simulator/policy/load.h"
#include "simulator/policy/parse_condition.h"
#include "simulator/prove/claims.h"
#include "simulator/prove/comparison.h"
#include "simulator/prove/render.h"

using namespace simulator;

namespace command {

namespace {

constexpr uint32_t kDefaultTimeout = 60;  // seconds
constexpr uint32_t kMostTimeout = 86'400;

class ProveCommand final : public Command {
 public:
  const char *name() const override { return "prove"; }
  const char *summary() const override { return "Prove what policies do on every target"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.options("--claim", "CLAIM", claims_,
                    "A claim to prove instead of those in FILE; may be given several times");
    options.options("--only", "NAME", only_, "Prove only the claims with this name; may be given several times");
    options.option("--against", "OLD", against_, "Instead: whether FILE decides as this policy file does");
    options.options("--when", "FILTER", when_,
                    "With --against: only targets for which this holds, such as 'role equals guest'");
    options.flag("--stricter", stricter_, "With --against: only that FILE permits nothing that OLD denies");
    options.number("--timeout", "SECONDS", timeout_, kMostTimeout, "Time for each question (60)");
    options.flag("--json", json_, "Write one JSON object");
    for (const char *of_claims : {"--claim", "--only"})
      options.exclude(of_claims, "--against");
    options.epilogue(
        "Each claim of the section 'claims' says what an event never or always does on targets\n"
        "that have certain policy-maps, whatever their attributes are. A claim is proved, or\n"
        "refuted with attributes for which it does not hold and an account of what happens\n"
        "with them, or undecided with what stood in the way. With --against, the same for each\n"
        "event: whether both files give the same verdict, attributes and log.\n"
        "Exit code 0: all is proved; 1: something is refuted, or the file has no claims;\n"
        "3: something is undecided, and nothing refuted.\n\n"
        "Examples:\n"
        "  zar prove examples/broadband.yaml\n"
        "  zar prove policy.yaml --claim '{event: login, never: permit,\n"
        "    when: [{attribute: state, equals: closed}]}'\n"
        "  zar prove new.yaml --against old.yaml\n"
        "  zar prove new.yaml --against old.yaml --when 'not role equals guest'\n"
        "  zar prove new.yaml --against old.yaml --stricter");
  }

  int run() override {
    if (!is_good_usage()) return kUsage;
    FileLoader loader(json_);
    std::optional<PolicyFile> file = loader.load(path_);
    if (!against_.empty()) return compare(std::move(file), loader);
    if (!file) return loader.refuse(name());
    if (!take_claims(*file) || !select(*file)) return kUsage;
    if (file->claims.empty()) complain(concat(file->shown_path(), ": the file has no claims"));
    return write(*file, prove::prove_claims(*file, clock_for(timeout_)));
  }

 private:
  bool is_good_usage() const {
    if (against_.empty() && (stricter_ || !when_.empty())) {
      complain(concat(stricter_ ? "--stricter" : "--when", " compares two files: --against is missing"));
      return false;
    }
    return against_.empty() || name_stdin_once({path_, against_});
  }

  int compare(std::optional<PolicyFile> file, FileLoader &loader) const {
    const std::optional<PolicyFile> old = loader.load(against_);
    if (!file || !old) return loader.refuse(name());
    prove::Comparison comparison{.before = &*old, .after = &*file, .stricter = stricter_};
    Complaints complaints;
    for (const std::string &text : when_) {
      if (std::optional<Filter> filter = parse_condition(text, {&*file, &*old}, complaints))
        comparison.when.push_back(std::move(*filter));
    }
    complain(complaints);
    if (!complaints.empty()) return kUsage;
    note_what_is_left_out(*old, *file);
    const prove::Answers answers = prove::compare(comparison, clock_for(timeout_));
    if (answers.all.empty())
      complain("nothing to compare: no target, or without targets no policy-map, is in both files");
    return write(*file, answers);
  }

  static void note_what_is_left_out(const PolicyFile &old, const PolicyFile &file) {
    size_t left_out = 0;
    for (const Target &target : old.targets)
      left_out += file.find_target(target.name.value) ? 0 : 1;
    for (const Target &target : file.targets)
      left_out += old.find_target(target.name.value) ? 0 : 1;
    if (left_out == 0) return;
    complain(concat(left_out, left_out == 1 ? " target is" : " targets are",
                    " not compared: only one of the files has ", left_out == 1 ? "it" : "them"));
  }

  // Those of the command line instead of those of the file.
  bool take_claims(PolicyFile &file) const {
    if (claims_.empty()) return true;
    file.claims.clear();
    for (const std::string &text : claims_) {
      file.more_paths.emplace_back("--claim");
      const Source source("--claim", text, static_cast<uint32_t>(file.more_paths.size()));
      Diagnostics diagnostics;
      source.check(diagnostics);
      if (diagnostics.empty()) load_claim(file, source, diagnostics);
      if (diagnostics.empty()) continue;
      report(diagnostics, source);
      return false;
    }
    return true;
  }

  // Leaves only the claims of --only. False if one of the names is not that of a claim.
  bool select(PolicyFile &file) const {
    if (only_.empty()) return true;
    std::set<std::string_view> names;
    for (const Claim &claim : file.claims)
      names.insert(claim.name.value);
    Complaints complaints;
    for (const std::string &name : only_) {
      if (!names.contains(name)) complaints.push_back(no_such("claim", name, {names.begin(), names.end()}));
    }
    complain(complaints);
    std::erase_if(file.claims, [&](const Claim &claim) {
      return std::find(only_.begin(), only_.end(), claim.name.value) == only_.end();
    });
    return complaints.empty();
  }

  int write(const PolicyFile &file, const prove::Answers &answers) const {
    if (json_) {
      Json object = begin_json(name());
      object["file"] = file.path;
      object["against"] = against_.empty() ? Json(nullptr) : Json(against_);
      object.update(prove::json_of_counts(answers));
      object["answers"] = Json::array();
      for (const prove::Answer &answer : answers.all)
        object["answers"].push_back(prove::json_of(file, answer));
      print_json(std::cout, object);
    } else {
      for (const prove::Answer &answer : answers.all)
        std::cout << prove::text_of(file, answer, terminal::colours(terminal::Stream::out), terminal::width());
      std::cout << prove::summary_of(answers) << "\n";
    }
    return code_of(answers);
  }

  static int code_of(const prove::Answers &answers) {
    if (!answers.problems.empty()) return report_internal(answers.problems);
    if (answers.all.empty() || answers.count(prove::Result::refuted) != 0) return kNo;
    return answers.count(prove::Result::undecided) != 0 ? kUndecided : kSuccess;
  }

  std::string path_;
  std::vector<std::string> claims_;
  std::vector<std::string> only_;
  std::string against_;
  std::vector<std::string> when_;
  bool stricter_ = false;
  uint32_t timeout_ = kDefaultTimeout;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_prove_command() {
  return std::make_unique<ProveCommand>();
}

}  // namespace command
