#include "proofs_fixture.h"

#include <map>
#include <optional>

#include "simulator/explanation/rehearsal.h"
#include "simulator/policy/load.h"
#include "simulator/prove/account.h"
#include "simulator/prove/claims.h"
#include "simulator/prove/comparison.h"
#include "simulator/repository/repository.h"
#include "simulator/text/text.h"

namespace test {

namespace {

using simulator::Claim;
using simulator::concat;
using simulator::EventExplanation;
using simulator::PolicyFile;
using simulator::Step;
using simulator::prove::Account;
using simulator::prove::Answer;
using simulator::prove::Answers;
using simulator::prove::Result;
using simulator::reasoning::Input;
using simulator::reasoning::Value;

// Every value that the filters below distinguish, also after some counts, and more.
const std::vector<Value> kValues = {std::nullopt, "0", "1", "2", "02", "x", "xy"};
const std::vector<std::string> kAttributes = {"a", "b"};

class Writer {
 public:
  explicit Writer(unsigned long seed) : random_(static_cast<std::mt19937::result_type>(seed)) {}

  std::string file();

 private:
  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
  std::string pick(const std::vector<std::string> &from) {
    return from[static_cast<size_t>(below(static_cast<int>(from.size())))];
  }
  std::string attribute() { return pick(kAttributes); }
  std::string filter(bool may_negate = true);
  std::string filters(int fewest, int most);
  std::string statement(int index);
  std::string action(const std::string &event);
  std::string actions(const std::string &event);
  std::string raised_by(const std::string &event);
  std::string rules(const std::string &event);
  std::string policy(const std::string &name, const std::vector<std::string> &events);
  std::string claim(int number);

  std::mt19937 random_;
};

std::string Writer::filter(bool may_negate) {
  static const std::vector<std::string> kTests = {"equals: '1'",
                                                  "equals: '2'",
                                                  "equals: '02'",
                                                  "equals: x",
                                                  "equals: ''",
                                                  "prefix: x",
                                                  "prefix: '0'",
                                                  "prefix: '1'",
                                                  "regex: 'y$'",
                                                  "regex: '^[0-9]+$'",
                                                  "present: true",
                                                  "range: {min: 0}",
                                                  "range: {max: 1}",
                                                  "range: {min: 2}",
                                                  "range: {min: 1, max: 7}",
                                                  "range: {min: 9223372036854775807}"};
  return concat("{attribute: ", attribute(), ", ", pick(kTests),
                may_negate && below(3) == 0 ? ", no-match: true}" : "}");
}

std::string Writer::filters(int fewest, int most) {
  std::string all;
  const int count = fewest + below(most - fewest + 1);
  for (int at = 0; at < count; ++at)
    all += concat(at == 0 ? "" : ", ", filter());
  return all;
}

// Filters of one attribute in a statement cannot mix match and no-match.
std::string Writer::statement(int index) {
  return concat("{index: ", index, ", filters: [", filter(false), below(2) == 0 ? ", " + filter(false) : "",
                "], actions: [", actions(""), "]}");
}

// Mostly events that lead no further; some raise each other without end.
std::string Writer::raised_by(const std::string &event) {
  if (below(40) == 0) return pick({"e", "f", "g"});
  return event == "e" ? pick({"f", "g"}) : "g";
}

// Of a statement if there is no event. Event g raises nothing but itself, and that rarely.
std::string Writer::action(const std::string &event) {
  switch (below(event.empty() || (event == "g" && below(20) != 0) ? 9 : 11)) {
    case 0:
    case 1:
      return concat("set: {", attribute(), ": ", pick({"'1'", "'2'", "x", "xy"}), "}");
    case 2:
      return concat("clear: ", attribute());
    case 3:
    case 4:
      return concat("count: ", attribute());
    case 5:
      return concat("log: ", pick({"one", "two"}));
    case 6:
    case 7:
      return "permit";
    case 8:
      return "deny";
    case 9:
      return concat("raise: ", raised_by(event));
    default:
      return "apply: m";
  }
}

std::string Writer::actions(const std::string &event) {
  std::string all;
  const int count = below(4);
  for (int at = 0; at < count; ++at) {
    const std::string one = action(event);
    const bool is_word = one == "permit" || one == "deny";
    all += concat(at == 0 ? "" : ", ", is_word ? one : concat("{", one, "}"));
  }
  return all;
}

std::string Writer::rules(const std::string &event) {
  std::string all = concat("{match: ", pick({"first", "all"}), ", rules: [");
  const int count = 1 + below(3);
  const int first = below(4);  // a class-map has one rule in an event
  for (int at = 1; at <= count; ++at) {
    all += concat(at == 1 ? "" : ", ", "{number: ", at, ", class: c", (first + at) % 4,
                  ", execute: ", pick({"run-all", "stop-on-failure", "stop-on-success"}), ", actions: [",
                  actions(event), "]}");
  }
  return all + "]}";
}

std::string Writer::policy(const std::string &name, const std::vector<std::string> &events) {
  std::string all = concat("  ", name, ":\n    domain: d\n    events:\n");
  for (const std::string &event : events)
    all += concat("      ", event, ": ", rules(event), "\n");
  return all;
}

std::string Writer::claim(int number) {
  const std::string what =
      pick({"never: permit", "never: deny", "never: none", "always: permit", "always: deny", "always: none",
            "never-runs: p/e/1", "never-runs: c1", "always-runs: p/e/1", "always-runs: c2", "ends-with: {a: '2'}",
            "ends-with: {b: }", "ends-with: {a: x, b: }", "never-fails: true"});
  return concat("  - {name: n", number, ", event: ", pick({"e", "e", "f"}), ", when: [", filters(0, 2), "], ", what,
                "}\n");
}

std::string Writer::file() {
  std::string text = "domains: {d: , subscriber: }\nclass-maps:\n";
  for (int number = 0; number < 4; ++number) {
    text += concat("  c", number, ": {domain: d, match: ", pick({"all", "any", "none"}), ", filters: [", filters(0, 3),
                   "]}\n");
  }
  text += concat("parameter-maps: {m: {statements: [", statement(1), ", ", statement(2), "]}}\npolicy-maps:\n");
  text += policy("p", {"e", "f"});
  text += policy("q", {"e", "g"});
  // A claim may only mention an attribute that something has, also where no filter and no action does.
  text += "targets:\n  t: {policies: [p, q]}\n  u: {policies: [p, q], attributes: {a: '0', b: '0'}}\nclaims:\n";
  for (int number = 0; number < 2; ++number)
    text += claim(number);
  return text;
}

// One character or word more or less often changes what a policy does.
std::string changed(const std::string &text, std::mt19937 &random) {
  static const std::vector<std::pair<std::string, std::string>> kChanges = {{"equals: '1'", "equals: '2'"},
                                                                            {"min: 2", "min: 3"},
                                                                            {"max: 1", "max: 0"},
                                                                            {"permit", "deny"},
                                                                            {"deny", "permit"},
                                                                            {"log: one", "log: two"},
                                                                            {"match: first", "match: all"},
                                                                            {"match: all", "match: first"},
                                                                            {"count: a", "count: b"},
                                                                            {"xy}", "x}"},
                                                                            {"run-all", "stop-on-failure"}};
  const auto &[from, to] = kChanges[random() % kChanges.size()];
  const size_t end = text.find("targets:");
  const size_t at = text.find(from, text.find("policy-maps:"));
  if (at == std::string::npos || at >= end) return text;
  return text.substr(0, at) + to + text.substr(at + from.size());
}

std::vector<Input> inputs() {
  std::vector<Input> all;
  for (const Value &a : kValues) {
    for (const Value &b : kValues)
      all.push_back({{"a", a}, {"b", b}});
  }
  return all;
}

Step step_for(const std::string &event, const Input &input) {
  Step step;
  step.event.value = event;
  step.target.value = "t";
  for (const auto &[attribute, value] : input) {
    if (!value) continue;
    step.set.push_back({{attribute, {}}, *value});
  }
  return step;
}

// What the engine does with every event on every target.
struct Seen {
  std::map<std::string, std::vector<Account>> accounts;  // by event
  std::vector<bool> claims_hold;                         // of the file
};

class Check {
 public:
  Check(const RandomPolicies &policies, ProofCounts &counts, std::vector<std::string> &problems)
      : policies_(&policies), counts_(&counts), problems_(&problems) {}

  Seen run(const PolicyFile &file);
  void compare(const Answer &answer, bool holds);

 private:
  void add(const PolicyFile &file, const EventExplanation &explanation, const Input &input, Seen &seen) const;
  void note(const std::string &problem) {
    ++counts_->wrong;
    problems_->push_back(concat(problem, "\n", policies_->text, policies_->changed));
  }

  const RandomPolicies *policies_;
  ProofCounts *counts_;
  std::vector<std::string> *problems_;
};

void Check::add(const PolicyFile &file, const EventExplanation &explanation, const Input &input, Seen &seen) const {
  Account account = simulator::prove::account_of(explanation, input);
  account.failed = false;
  seen.accounts[explanation.event].push_back(std::move(account));
  for (size_t at = 0; at < file.claims.size(); ++at) {
    const Claim &claim = file.claims[at];
    if (claim.event.value == explanation.event && simulator::prove::contradicts(claim, explanation, input))
      seen.claims_hold[at] = false;
  }
}

Seen Check::run(const PolicyFile &file) {
  Seen seen;
  seen.claims_hold.assign(file.claims.size(), true);
  simulator::Repository repository(file);
  if (!repository.build()) note("the library refuses this file");
  for (const char *event : {"e", "f", "g"}) {
    for (const Input &input : inputs()) {
      ++counts_->inputs;
      add(file, simulator::rehearse(file, repository, step_for(event, input)), input, seen);
    }
  }
  for (const std::string &problem : repository.finish())
    note(problem);
  return seen;
}

// A witness that the engine contradicts makes an answer undecided and names the fault; so a refutation is as good as the
// engine, also with a value that is none of those above.
void Check::compare(const Answer &answer, bool holds) {
  ++(answer.result == Result::proved    ? counts_->proved
     : answer.result == Result::refuted ? counts_->refuted
                                        : counts_->undecided);
  for (const std::string &why : answer.why) {
    if (why.find("fault of the prover") != std::string::npos) note(concat(answer.name, ": ", why));
  }
  if (answer.result == Result::proved && !holds) note(concat(answer.name, " is proved but does not hold"));
}

// A question may go on 5,000 times, for some minutes at most. They are counted, so that answers do not depend on how busy the
// machine is: one policy in a million would take an hour.
simulator::reasoning::MayGoOn patience() {
  return [left = 5000]() mutable { return left-- > 0; };
}

// Nothing, and a problem, if the file is not valid: then nothing would be compared.
std::optional<PolicyFile> load_valid(const std::string &text, std::vector<std::string> &problems) {
  simulator::Diagnostics diagnostics;
  const simulator::Source source("random.yaml", text);
  std::optional<PolicyFile> file = simulator::load(source, diagnostics);
  if (!file) problems.push_back(simulator::render(diagnostics, source));
  return file;
}

}  // namespace

RandomPolicies random_policies(unsigned long seed) {
  RandomPolicies policies{.text = Writer(seed).file(), .changed = {}};
  std::mt19937 random(static_cast<std::mt19937::result_type>(seed));
  policies.changed = changed(policies.text, random);
  return policies;
}

void check_proofs(const RandomPolicies &policies, ProofCounts &counts, std::vector<std::string> &problems) {
  const std::optional<PolicyFile> valid = load_valid(policies.text, problems);
  const std::optional<PolicyFile> valid_other = load_valid(policies.changed, problems);
  if (!valid || !valid_other) return;
  const PolicyFile &file = *valid;
  const PolicyFile &other = *valid_other;
  ++counts.policies;
  const Answers claims = simulator::prove::prove_claims(file, patience);
  const Answers comparison = simulator::prove::compare({.before = &other, .after = &file}, patience);
  for (const Answers *answers : {&claims, &comparison})
    problems.insert(problems.end(), answers->problems.begin(), answers->problems.end());

  Check check(policies, counts, problems);
  const Seen seen = check.run(file);
  const Seen seen_of_other = check.run(other);
  for (size_t at = 0; at < file.claims.size(); ++at)
    check.compare(claims.all.at(at), seen.claims_hold[at]);
  for (const Answer &answer : comparison.all)
    check.compare(answer, seen.accounts.at(answer.event) == seen_of_other.accounts.at(answer.event));
}

}  // namespace test
