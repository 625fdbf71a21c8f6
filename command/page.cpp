// zar report: writes a page about a policy file for those who review it.
#include <iostream>

#include "command/command.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/page_stream.h"
#include "command/picture.h"
#include "command/report.h"
#include "command/stream_results.h"
#include "simulator/diff/render.h"
#include "simulator/graph/compact.h"
#include "simulator/graph/dot.h"
#include "simulator/graph/of_file.h"
#include "simulator/graph/overview.h"
#include "simulator/lint/ignores.h"
#include "simulator/page/page.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/prove/claims.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

class ReportCommand final : public Command {
 public:
  const char *name() const override { return "report"; }
  const char *summary() const override { return "Write a page about a policy file for its reviewers"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file; - is standard input");
    options.option("--against", "OLD", before_, "The policy file to compare it with");
    options.option("--events", "LOG", events_, "A stream of events to show too, JSON Lines; - is standard input");
    options.option("-o,--output", "PAGE", output_, "Where the page goes; standard output by default");
    options.flag("--no-graph", no_graph_, "Leave the picture out, which needs graphviz");
    options.number("--effort", "SECONDS", effort_, kMostEffort,
                   "Time for hard questions of lint, and for each claim (10)");
    options.flag("--json", json_, "Write one JSON object with what the page counts; needs --output");
    options.epilogue(
        "The page is one HTML file that needs nothing else, neither this command nor a network. It\n"
        "shows what the policies do, in words, with what the scenario did; what lint finds; whether\n"
        "the claims hold; the results of the tests; and a picture of the graph. With --against also\n"
        "what changed in the objects, and which events of the scenario are decided differently.\n"
        "With --events also the verdicts of a stream over time, by event and by kind of target, how\n"
        "often each rule ran, and the bad lines; with both, which lines are decided differently.\n"
        "Exit code 0: the page was written, whatever it says.\n\n"
        "Examples:\n"
        "  zar report policy.yaml -o report.html\n"
        "  zar report new.yaml --against old.yaml -o report.html\n"
        "  zar report new.yaml --against old.yaml --events log.jsonl -o report.html");
  }

  int run() override {
    if (!name_stdin_once({path_, before_, events_})) return kUsage;
    if (json_ && output_.empty()) {
      complain("--json needs --output: the page itself is no JSON");
      return kUsage;
    }
    Loaded loaded = load_path(path_);
    std::vector<lint::Ignore> ignores;
    if (loaded.file) ignores = lint::read_ignores(loaded.source, loaded.diagnostics);
    FileLoader loader(json_);
    loader.note(loaded.source, loaded.diagnostics);
    std::optional<PolicyFile> before;
    if (!before_.empty()) before = loader.load(before_);
    if (!loaded.diagnostics.empty() || (!before_.empty() && !before)) return loader.refuse(name());
    if (events_.empty()) return write(loaded, ignores, before ? &*before : nullptr, nullptr);
    return write_with_stream(loaded, ignores, before ? &*before : nullptr);
  }

 private:
  int write_with_stream(const Loaded &loaded, const std::vector<lint::Ignore> &ignores,
                        const PolicyFile *before) const {
    StreamInput input(events_);
    if (!input.error().empty()) {
      BadLines(input.name()).report_input(input.error());
      return kBadFile;
    }
    StreamStudy study = study_stream(*loaded.file, before, input);
    return study.code == kSuccess ? write(loaded, ignores, before, &study) : study.code;
  }

  // Everything is found out one after the other: there is one repository at a time. 'stream' may be NULL.
  int write(const Loaded &loaded, const std::vector<lint::Ignore> &ignores, const PolicyFile *before,
            StreamStudy *stream) const {
    const PolicyFile &file = *loaded.file;
    Complaints problems;
    lint::Findings findings = lint::find_all(file, for_seconds(effort_));
    lint::apply(ignores, findings);
    problems = findings.problems;
    const std::optional<Report> tests = report_on_tests(file, Colours::off, problems);
    const prove::Answers claims = prove::prove_claims(file, clock_for(effort_));
    problems.insert(problems.end(), claims.problems.begin(), claims.problems.end());
    const std::optional<page::Figures> figures = page::figures_of(file, problems);
    std::optional<page::Against> against;
    if (before) against = compare(*before, file, problems);
    if (against && stream) against->lines = std::move(stream->changes);
    std::optional<page::Picture> picture;
    const int drawn = no_graph_ ? kSuccess : draw_graph(file, problems, picture);
    if (!problems.empty()) return report_internal(problems);
    if (drawn != kSuccess) return drawn;
    const page::Contents contents{.file = &file,
                                  .source = &loaded.source,
                                  .figures = &*figures,
                                  .findings = &findings,
                                  .tests = &*tests,
                                  .claims = &claims,
                                  .stream = stream ? &stream->figures : nullptr,
                                  .against = std::move(against),
                                  .picture = std::move(picture)};
    return put(contents);
  }

  static page::Against compare(const PolicyFile &before, const PolicyFile &file, Complaints &problems) {
    constexpr size_t kExplained = 100;
    const diff::Renames renames = diff::find_renames(before, file);
    page::Against against{.before = &before, .changes = diff::compare(before, file, renames)};
    if (!file.scenario.empty())
      against.decisions = diff::group_decisions({&before, &file}, renames, file.scenario, kExplained, problems);
    return against;
  }

  // Returns an exit code.
  static int draw_graph(const PolicyFile &file, Complaints &problems, std::optional<page::Picture> &picture) {
    constexpr size_t kMostNodes = 400;
    const std::optional<graph::Graph> made = graph::graph_of_file(file, problems);
    if (!made) return kInternal;
    graph::Graph shown = graph::compact(*made);
    const bool is_large = shown.nodes.size() > kMostNodes;
    if (is_large) shown = graph::overview(*made);
    const Drawn drawn = draw(graph::to_dot(shown, graph::caption_of(file)), "svg");
    if (!drawn.problem.empty()) {
      complain(drawn.is_installed ? drawn.problem : concat(drawn.problem, "; --no-graph leaves the picture out"));
      return drawn.is_installed ? kInternal : kUsage;
    }
    // What comes before the element belongs to files, not to pages.
    const size_t begin = drawn.picture.find("<svg");
    picture = page::Picture{drawn.picture.substr(std::min(begin, drawn.picture.size())), is_large};
    return kSuccess;
  }

  int put(const page::Contents &contents) const {
    const std::string page = page::page_of(contents);
    if (output_.empty()) {
      std::cout << page;
      return kSuccess;
    }
    const int code = write_result(output_, page);
    if (code == kSuccess && json_) print_json(std::cout, json_of(contents));
    return code;
  }

  Json json_of(const page::Contents &contents) const {
    Json object = begin_json("report");
    object["file"] = contents.file->path;
    object["page"] = output_;
    object["findings"] = contents.findings->all.size();
    object["ignored"] = contents.findings->ignored.size();
    object["claims_proved"] = contents.claims->count(prove::Result::proved);
    object["claims_refuted"] = contents.claims->count(prove::Result::refuted);
    object["claims_undecided"] = contents.claims->count(prove::Result::undecided);
    object["tests_passed"] = contents.tests->passed;
    object["tests_failed"] = contents.tests->failed;
    object["coverage_percent"] = contents.tests->percent;
    object["events"] = contents.figures->events();
    object["against"] = contents.against ? Json(contents.against->before->path) : Json(nullptr);
    object["changes"] = contents.against ? Json(contents.against->changes.size()) : Json(nullptr);
    const bool is_replayed = contents.against && contents.against->decisions;
    object["events_decided_differently"] = is_replayed ? Json(contents.against->decisions->different) : Json(nullptr);
    object["stream"] = json_of_stream(contents);
    return object;
  }

  static Json json_of_stream(const page::Contents &contents) {
    if (!contents.stream) return nullptr;
    const stream::Totals &totals = contents.stream->totals();
    Json object;
    object["stream"] = contents.stream->name();
    object["events"] = totals.events;
    object["bad_lines"] = totals.bad;
    const bool is_compared = contents.against && contents.against->lines;
    object["lines_decided_differently"] = is_compared ? Json(contents.against->lines->differing()) : Json(nullptr);
    return object;
  }

  std::string path_;
  std::string before_;
  std::string events_;
  std::string output_;
  bool no_graph_ = false;
  uint32_t effort_ = kDefaultEffort;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_report_command() {
  return std::make_unique<ReportCommand>();
}

}  // namespace command
