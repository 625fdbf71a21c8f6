#include "simulator/editing/study.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "simulator/editing/hover.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/words.h"
#include "simulator/lint/ignores.h"
#include "simulator/lint/render.h"
#include "simulator/prove/claims.h"
#include "simulator/prove/render.h"
#include "simulator/repository/repository.h"
#include "simulator/testing/run_tests.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

Problem problem_of(const lint::Finding &finding, const Source &source) {
  Problem problem{.span = span_at(source, finding.position),
                  .severity = finding.kind == lint::Kind::undecided ? Severity::information : Severity::warning,
                  .code = lint::to_string(finding.kind),
                  .message = finding.message};
  if (finding.input) problem.message += concat("; for example: ", lint::text_of_input(*finding.input));
  for (const lint::Reason &reason : finding.because)
    problem.related.push_back({span_at(source, reason.position), reason.what});
  return problem;
}

void add_lint(const Source &source, const PolicyFile &file, const reasoning::MayGoOn &may_go_on, Studied &studied) {
  Diagnostics diagnostics;
  const std::vector<lint::Ignore> ignores = lint::read_ignores(source, diagnostics);
  for (const Diagnostic &diagnostic : diagnostics.sorted())
    studied.problems.push_back({.span = span_at(source, diagnostic.position),
                                .message = concat(diagnostic.message, "; expected: ", diagnostic.expected),
                                .suggestion = diagnostic.suggestion});
  lint::Findings findings = lint::find_all(file, may_go_on);
  lint::apply(ignores, findings);
  for (const lint::Finding &finding : findings.all)
    studied.problems.push_back(problem_of(finding, source));
  studied.remarks.insert(studied.remarks.end(), findings.problems.begin(), findings.problems.end());
}

void add_decisions(const Source &source, const PolicyFile &file, Studied &studied) {
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &event : policy.events)
      studied.decisions.push_back({source.offset_of(event.event.position), decisions_of(event)});
  }
}

std::string times(size_t count) {
  return concat(count, count == 1 ? " hit" : " hits");
}

// What the scenario did to the events and rules of the file.
class Hits {
 public:
  void add(const EventExplanation &explanation) {
    add_event(explanation);
    for_each_action(explanation, [&](const ActionExplanation &action) {
      if (action.raised) add_event(*action.raised);
    });
    for (const RuleRun &run : rules_run(explanation))
      ++rules_[run.rule->rule];
  }

  void write(const PolicyFile &file, const Source &source, Studied &studied) const {
    for (const PolicyMap &policy : file.policy_maps) {
      for (const EventRules &event : policy.events)
        write(event, source, studied);
    }
  }

 private:
  using Verdicts = std::map<engine::Verdict, size_t>;

  void add_event(const EventExplanation &explanation) {
    for (const PolicyExplanation &policy : explanation.policies) {
      if (policy.event) ++events_[policy.event][explanation.outcome.verdict];
    }
  }

  void write(const EventRules &event, const Source &source, Studied &studied) const {
    const auto verdicts = events_.find(&event);
    size_t total = 0;
    std::string text;
    if (verdicts != events_.end()) {
      for (const auto &[verdict, count] : verdicts->second) {
        total += count;
        text += concat(text.empty() ? ": " : ", ", count, " ", to_string(verdict));
      }
    }
    studied.events.push_back({source.offset_of(event.event.position), concat("scenario: ", times(total), text)});
    for (const Rule &rule : event.rules) {
      const auto found = rules_.find(&rule);
      studied.rules.push_back({source.offset_of(rule.position), times(found == rules_.end() ? 0 : found->second)});
    }
  }

  std::unordered_map<const EventRules *, Verdicts> events_;
  std::unordered_map<const Rule *, size_t> rules_;
};

void play_scenario(const Source &source, const PolicyFile &file, const Repository &repository,
                   const reasoning::MayGoOn &may_go_on, Studied &studied) {
  Hits hits;
  Recorder recorder(file);
  for (const Step &step : file.scenario) {
    if (!may_go_on()) {
      studied.remarks.push_back(concat("the scenario was played up to line ", step.position.line, " only"));
      return;
    }
    const EventExplanation explanation = recorder.raise(repository, step);
    studied.steps.push_back({source.offset_of(step.position), to_string(explanation.outcome.verdict)});
    hits.add(explanation);
  }
  if (!file.scenario.empty()) hits.write(file, source, studied);
}

TestResult result_of(const TestOutcome &outcome) {
  if (outcome.passed()) return {true, "passed"};
  std::string text = concat("failed in step ", outcome.steps.size());
  for (const Failure &failure : outcome.steps.back().failures)
    text += concat("; ", failure.what, ": expected ", failure.expected, ", but got ", failure.actual);
  return {false, text};
}

void add_runs(const Source &source, const PolicyFile &file, const reasoning::MayGoOn &may_go_on, Studied &studied) {
  Repository repository(file);
  if (repository.build()) {
    play_scenario(source, file, repository, may_go_on, studied);
    run_tests(file, repository, [&](const TestOutcome &outcome) {
      studied.tests.push_back({source.offset_of(outcome.test->name.position), result_of(outcome).text});
    });
  }
  const Complaints &problems = repository.finish();
  studied.remarks.insert(studied.remarks.end(), problems.begin(), problems.end());
}

// A claim that does not hold says what happens, and with which attributes.
std::string text_of(const prove::Answer &answer) {
  std::string text = prove::to_string(answer.result);
  for (const std::string &happens : answer.what)
    text += concat("; ", happens);
  if (answer.result == prove::Result::refuted) text += concat("; for example: ", lint::text_of_input(answer.witness));
  for (const std::string &reason : answer.why)
    text += concat("; ", reason);
  return text;
}

void add_claims(const Source &source, const PolicyFile &file, const reasoning::MayGoOn &may_go_on, Studied &studied) {
  const prove::Answers answers = prove::prove_claims(file, [&] { return may_go_on; });
  for (const prove::Answer &answer : answers.all)
    studied.claims.push_back({source.offset_of(answer.position), text_of(answer)});
  studied.remarks.insert(studied.remarks.end(), answers.problems.begin(), answers.problems.end());
}

// ---- As JSON ----

Json json_of(const Span &span) {
  return {span.begin, span.end};
}

Span span_of(const Json &json) {
  return {json.at(0).get<size_t>(), json.at(1).get<size_t>()};
}

Json json_of(const Problem &problem) {
  Json related = Json::array();
  for (const RelatedPlace &place : problem.related)
    related.push_back({{"span", json_of(place.span)}, {"message", place.message}});
  return {{"span", json_of(problem.span)},
          {"severity", static_cast<int>(problem.severity)},
          {"code", problem.code},
          {"message", problem.message},
          {"suggestion", problem.suggestion},
          {"related", std::move(related)}};
}

Problem problem_of(const Json &json) {
  Problem problem{.span = span_of(json.at("span")),
                  .severity = static_cast<Severity>(json.at("severity").get<int>()),
                  .code = json.at("code"),
                  .message = json.at("message"),
                  .suggestion = json.at("suggestion")};
  for (const Json &place : json.at("related"))
    problem.related.push_back({span_of(place.at("span")), place.at("message")});
  return problem;
}

Json json_of(const Note &note) {
  return {{"offset", note.offset}, {"text", note.text}};
}

template <class Value>
Json array_of(const std::vector<Value> &values) {
  Json array = Json::array();
  for (const Value &value : values)
    array.push_back(json_of(value));
  return array;
}

std::vector<Note> notes_of(const Json &array) {
  std::vector<Note> notes;
  for (const Json &json : array)
    notes.push_back({json.at("offset"), json.at("text")});
  return notes;
}

std::vector<Problem> problems_of(const Json &array) {
  std::vector<Problem> problems;
  for (const Json &json : array)
    problems.push_back(problem_of(json));
  return problems;
}

}  // namespace

Checked check(const Analysis &analysis) {
  return {analysis.problems, analysis.outline.names(), analysis.file.has_value()};
}

Studied study(const std::string &text, const PolicyFile &file, const reasoning::MayGoOn &may_go_on) {
  Studied studied;
  const Source source(file.path, text);
  add_decisions(source, file, studied);
  add_runs(source, file, may_go_on, studied);
  add_lint(source, file, may_go_on, studied);
  add_claims(source, file, may_go_on, studied);
  return studied;
}

std::optional<TestResult> run_test(const Source &source, const std::string &name) {
  Diagnostics diagnostics;
  std::optional<PolicyFile> loaded = load(source, diagnostics);
  if (!loaded) return TestResult{false, "not run: the file has errors"};
  PolicyFile &file = *loaded;
  std::erase_if(file.tests, [&](const Test &test) { return test.name.value != name; });
  if (file.tests.empty()) return std::nullopt;
  TestResult result{false, "the repository refuses the file"};
  Repository repository(file);
  if (repository.build()) run_tests(file, repository, [&](const TestOutcome &outcome) { result = result_of(outcome); });
  repository.finish();
  return result;
}

Json json_of(const Checked &checked) {
  return {{"problems", array_of(checked.problems)}, {"names", checked.names}, {"valid", checked.is_valid}};
}

Json json_of(const Studied &studied) {
  return {{"problems", array_of(studied.problems)}, {"decisions", array_of(studied.decisions)},
          {"rules", array_of(studied.rules)},       {"events", array_of(studied.events)},
          {"steps", array_of(studied.steps)},       {"tests", array_of(studied.tests)},
          {"claims", array_of(studied.claims)},     {"remarks", studied.remarks}};
}

Checked checked_of(const Json &json) {
  return {problems_of(json.at("problems")), json.at("names").get<Names>(), json.at("valid").get<bool>()};
}

Studied studied_of(const Json &json) {
  return {problems_of(json.at("problems")), notes_of(json.at("decisions")),
          notes_of(json.at("rules")),       notes_of(json.at("events")),
          notes_of(json.at("steps")),       notes_of(json.at("tests")),
          notes_of(json.at("claims")),      json.at("remarks").get<std::vector<std::string>>()};
}

}  // namespace simulator::editing
