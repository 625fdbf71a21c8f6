#include "simulator/testing/run_tests.h"

#include "simulator/explanation/rehearsal.h"
#include "simulator/explanation/words.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

void refresh(const Target &target, const Repository &repository) {
  engine::Attributes &attributes = *engine::attributes_of(repository.target_handle(target.name.value));
  for (const engine::AttributeId attribute : attributes.present())
    attributes.clear(attribute);
  for (const Assignment &given : target.attributes)
    attributes.set(engine::register_attribute(given.attribute.value), given.text);
}

bool names(const Name &expected, const RuleRun &run) {
  return expected.value == run.rule->class_map->name.value ||
         expected.value == rule_name(*run.policy, *run.event, *run.rule->rule);
}

bool are_named(const std::vector<Name> &expected, const std::vector<RuleRun> &runs) {
  if (expected.size() != runs.size()) return false;
  for (size_t at = 0; at < runs.size(); ++at) {
    if (!names(expected[at], runs[at])) return false;
  }
  return true;
}

std::vector<std::string> texts_of(const std::vector<Name> &names) {
  std::vector<std::string> texts;
  for (const Name &name : names)
    texts.push_back(name.value);
  return texts;
}

// The rules that ran, written like the expectation: by class-map if it names a class-map.
std::vector<std::string> texts_of(const std::vector<RuleRun> &runs, const std::vector<Name> &expected) {
  std::vector<std::string> texts;
  for (const RuleRun &run : runs) {
    const bool by_class =
        texts.size() < expected.size() && expected[texts.size()].value == run.rule->class_map->name.value;
    texts.push_back(by_class ? run.rule->class_map->name.value : rule_name(*run.policy, *run.event, *run.rule->rule));
  }
  return texts;
}

std::vector<Failure> failures_of(const Expectation &expect, const EventExplanation &explanation,
                                 const engine::Attributes &attributes) {
  std::vector<Failure> failures;
  if (expect.rules) {
    const std::vector<RuleRun> runs = rules_run(explanation);
    if (!are_named(*expect.rules, runs)) {
      failures.push_back({"rules", listed(texts_of(*expect.rules)), listed(texts_of(runs, *expect.rules))});
    }
  }
  const char *verdict = to_string(explanation.outcome.verdict);
  if (expect.verdict && expect.verdict->value != verdict) {
    failures.push_back({"verdict", expect.verdict->value, verdict});
  }
  for (const ExpectedValue &expected : expect.attributes) {
    const engine::Attribute *found = attributes.find(engine::register_attribute(expected.attribute.value));
    const std::optional<std::string> actual = found ? std::optional(found->text) : std::nullopt;
    if (actual == expected.text) continue;
    failures.push_back({concat("attribute ", expected.attribute.value), value_text(expected.text), value_text(actual)});
  }
  if (expect.log) {
    const std::vector<std::string> actual = logs(explanation);
    const std::vector<std::string> expected = texts_of(*expect.log);
    if (actual != expected) failures.push_back({"log", listed_in_quotes(expected), listed_in_quotes(actual)});
  }
  // Nothing that an event does before it is stopped can be relied on.
  if (const Refusals refused = refusals(explanation); refused.first)
    failures.push_back({"limit", "an event that ends by itself", limit_text(refused)});
  return failures;
}

StepOutcome run_step_of(const TestStep &step, const Repository &repository, Recorder &recorder) {
  StepOutcome outcome{.step = &step, .explanation = recorder.raise(repository, step.step)};
  const engine::Attributes &after = *engine::attributes_of(repository.target_handle(step.step.target.value));
  outcome.failures = failures_of(step.expect, outcome.explanation, after);
  return outcome;
}

TestOutcome run_test(const Test &test, const PolicyFile &file, const Repository &repository, Recorder &recorder) {
  for (const TestStep &step : test.steps)
    refresh(*file.find_target(step.step.target.value), repository);
  TestOutcome outcome{.test = &test};
  for (const TestStep &step : test.steps) {
    outcome.steps.push_back(run_step_of(step, repository, recorder));
    if (!outcome.passed()) break;
  }
  return outcome;
}

}  // namespace

void run_tests(const PolicyFile &file, const Repository &repository,
               const std::function<void(const TestOutcome &)> &each) {
  Rehearsal recorder(file);
  for (const Test &test : file.tests) {
    interruption::check();
    each(run_test(test, file, repository, recorder));
  }
}

}  // namespace simulator
