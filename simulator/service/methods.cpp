#include "simulator/service/methods.h"

#include <algorithm>

#include "engine/engine.h"
#include "simulator/explanation/explanation_json.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/rehearsal.h"
#include "simulator/lint/ignores.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/policy/step_text.h"
#include "simulator/repository/run_step.h"
#include "simulator/service/results.h"
#include "simulator/service/service.h"
#include "simulator/session/show.h"
#include "simulator/text/json_object.h"
#include "simulator/text/text.h"

namespace simulator::service {

namespace {

using messages::ErrorCode;
using messages::Failure;

constexpr uint32_t kDefaultEffort = 10;  // seconds

[[noreturn]] void refuse(Complaints complaints) {
  const std::string first = complaints.empty() ? "refused" : complaints.front();
  throw failure(Refusal::refused, first, {{"complaints", std::move(complaints)}});
}

[[noreturn]] void refuse_problems(const Complaints &problems) {
  std::string all = "internal error";
  for (const std::string &problem : problems)
    all += concat(": ", problem);
  throw Failure(ErrorCode::internal_error, all);
}

Failure invalid_policy(const Source &source, const Diagnostics &diagnostics) {
  return failure(Refusal::invalid_policy, "the policy file is wrong",
                 {{"file_errors", Json::array({file_errors_json(source.name(), diagnostics)})}});
}

// What the request says instead of naming a policy file.
[[noreturn]] void miss_source() {
  throw Failure(ErrorCode::invalid_params, "'path' or 'text' is missing");
}

// ---- Files ------------------------------------------------------------------------------------------------------------------

Json version(Service &service, const Json &) {
  return {{"version", service.surroundings().version}, {"protocol", kProtocol}};
}

Json load(Service &service, const Json &params) {
  Diagnostics diagnostics;
  std::optional<Source> source = source_in(params, diagnostics);
  if (!source) miss_source();
  if (!diagnostics.empty()) throw invalid_policy(*source, diagnostics);
  service.load(std::move(*source));
  const PolicyFile &file = service.session().file();
  Json result;
  result["file"] = file.path;
  result["objects"] = {{"policies", file.policy_maps.size()},
                       {"classes", file.class_maps.size()},
                       {"parameter_maps", file.parameter_maps.size()},
                       {"targets", file.targets.size()}};
  return result;
}

// The work apart may build repositories: the copy of the session is not needed for it.
Source put_away(Service &service) {
  Source source = service.source();
  service.end();
  return source;
}

PolicyFile load_again(const Source &source) {
  Diagnostics diagnostics;
  std::optional<PolicyFile> file = simulator::load(source, diagnostics);
  // It was loaded before.
  if (!file) throw invalid_policy(source, diagnostics);
  return std::move(*file);
}

Json check(Service &service, const Json &params) {
  Diagnostics diagnostics;
  std::optional<Source> source = source_in(params, diagnostics);
  if (!source && !service.has_session()) throw failure(Refusal::nothing_loaded, "no policy is loaded");
  if (!source) source = service.source();
  service.end();
  std::optional<PolicyFile> file;
  if (diagnostics.empty()) file = simulator::load(*source, diagnostics);
  if (file) {
    Repository repository(*file);
    repository.build();
    if (!repository.finish().empty()) refuse_problems(repository.problems());
  }
  const bool good = file.has_value();
  return check_json(good, Json::array({checked_json(source->name(), good, diagnostics, file ? &*file : nullptr)}));
}

Json lint(Service &service, const Json &params) {
  const uint32_t effort = params.value("effort", kDefaultEffort);
  const reasoning::MayGoOn may_go_on = service.surroundings().clock(effort);
  const Source source = put_away(service);
  const PolicyFile file = load_again(source);
  Diagnostics diagnostics;
  const std::vector<lint::Ignore> ignores = lint::read_ignores(source, diagnostics);
  if (!diagnostics.empty()) throw invalid_policy(source, diagnostics);
  lint::Findings findings = lint::find_all(file, may_go_on);
  lint::apply(ignores, findings);
  if (!findings.problems.empty()) refuse_problems(findings.problems);
  Json result = begin_json("lint");
  result.update(linted_json(file, findings));
  return result;
}

Json test(Service &service, const Json &) {
  const PolicyFile file = load_again(put_away(service));
  Complaints problems;
  std::optional<Report> report = report_on_tests(file, Colours::off, problems);
  if (!report) refuse_problems(problems);
  add_claims(file, *report);
  return test_json(report->passed, report->failed, Json::array(), Json::array(),
                   Json::array({std::move(report->json)}));
}

// ---- Differences --------------------------------------------------------------------------------------------------------------

PolicyFile other_file(const Json &given) {
  Diagnostics diagnostics;
  const std::optional<Source> source = source_in(given, diagnostics);
  if (!source) miss_source();
  std::optional<PolicyFile> file;
  if (diagnostics.empty()) file = simulator::load(*source, diagnostics);
  if (!file) throw invalid_policy(*source, diagnostics);
  return std::move(*file);
}

Json replay_json(const diff::Files &files, const diff::Renames &renames, const PolicyFile &scenario) {
  Complaints problems;
  const std::optional<diff::Replayed> replayed = diff::compare_replays(files, renames, scenario.scenario, problems);
  if (!replayed) refuse_problems(problems);
  if (std::string why = why_unfit(scenario, *replayed, files); !why.empty()) refuse({std::move(why)});
  return diff::json_of_replay(*replayed, scenario, files);
}

Json diff(Service &service, const Json &params) {
  const PolicyFile before = load_again(put_away(service));
  const PolicyFile after = other_file(params);
  const diff::Files files = {&before, &after};
  const diff::Renames renames = diff::find_renames(before, after);
  Json replayed;
  if (params.contains("replay")) {
    const Json &replay = params["replay"];
    replayed =
        replay.is_boolean() ? replay_json(files, renames, before) : replay_json(files, renames, other_file(replay));
  }
  return diff_json(files, diff::compare(before, after, renames), std::move(replayed));
}

// ---- What happens -------------------------------------------------------------------------------------------------------------

void read_changes(const Json &params, const PolicyFile &file, Step &step) {
  Complaints complaints;
  for (const std::string &attribute : texts_in(params, "clear"))
    parse_clear(attribute, file, step, complaints);
  for (auto &[attribute, value] : attributes_in(params, "set"))
    add_set(attribute, std::move(value), file, step, complaints);
  if (!complaints.empty()) refuse(std::move(complaints));
}

Step read_step(const PolicyFile &file, const Json &params) {
  Complaints complaints;
  std::optional<Step> step = make_step(*text_in(params, "event"), *text_in(params, "target"), file, complaints);
  if (!step) refuse(std::move(complaints));
  read_changes(params, file, *step);
  return std::move(*step);
}

Json explained(const EventExplanation &explanation, const PolicyFile &file, const Step &step, const Json &params) {
  const std::optional<std::string> level = text_in(params, "level");
  return {{"explanation", explanation_json(explanation, file, step, level ? *parse_level(*level) : Level::rules)}};
}

Json raise(Service &service, const Json &params) {
  const PolicyFile &file = service.session().file();
  const Step step = read_step(file, params);
  const EventExplanation explanation = Recorder(file).raise(service.session().repository(), step);
  service.count_event();
  return explained(explanation, file, step, params);
}

Json explain(Service &service, const Json &params) {
  const PolicyFile &file = service.session().file();
  const Step step = read_step(file, params);
  return explained(rehearse(file, service.session().repository(), step), file, step, params);
}

// ---- Targets ------------------------------------------------------------------------------------------------------------------

void check_target(Service &service, const std::string &name) {
  session::Trouble trouble;
  if (!service.session().is_known(ObjectKind::target, name, trouble)) refuse(std::move(trouble.complaints));
}

Json attributes_json(Service &service, const std::string &name) {
  Json attributes = Json::object();
  for (const Assignment &now : session::attributes_now(service.session(), *service.session().file().find_target(name)))
    attributes[now.attribute.value] = now.text;
  return attributes;
}

Json set(Service &service, const Json &params) {
  Step step;
  step.target.value = *text_in(params, "target");
  check_target(service, step.target.value);
  read_changes(params, service.session().file(), step);
  change_attributes(service.session().repository(), step);
  Json result;
  result["target"] = step.target.value;
  result["attributes"] = attributes_json(service, step.target.value);
  return result;
}

// What a policy file has behind the name of a target.
std::string body_of_target(const Json &params) {
  std::string policies;
  for (const std::string &policy : texts_in(params, "policies"))
    policies += concat(policies.empty() ? "" : ", ", in_quotes(policy));
  std::string attributes;
  for (const auto &[attribute, value] : attributes_in(params, "attributes"))
    attributes += concat(attributes.empty() ? "" : ", ", in_quotes(attribute), ": ", in_quotes(value));
  const std::optional<std::string> client = text_in(params, "client");
  return concat("{", client ? concat("client: ", in_quotes(*client), ", ") : "", "policies: [", policies,
                "], attributes: {", attributes, "}}");
}

// Places in the text that was made of the parameters mean nothing to the client.
Complaints complaints_of(session::Trouble trouble) {
  if (!trouble.rejected) return std::move(trouble.complaints);
  Complaints complaints;
  for (const Diagnostic &diagnostic : trouble.rejected->diagnostics.sorted())
    complaints.push_back(concat(diagnostic.message, diagnostic.expected.empty() ? "" : "; expected: ",
                                diagnostic.expected, diagnostic.suggestion.empty() ? "" : "; did you mean ",
                                diagnostic.suggestion, diagnostic.suggestion.empty() ? "" : "?"));
  return complaints;
}

Json add_target(Service &service, const Json &params) {
  const std::string name = *text_in(params, "target");
  session::Trouble trouble;
  if (!service.session().create(word_of(ObjectKind::target), name, body_of_target(params), 1, trouble))
    refuse(complaints_of(std::move(trouble)));
  Json result;
  result["target"] = name;
  result["attributes"] = attributes_json(service, name);
  result["policies"] = Json::array();
  for (const Name &policy : service.session().file().find_target(name)->policies)
    result["policies"].push_back(policy.value);
  return result;
}

Json delete_target(Service &service, const Json &params) {
  const std::string name = *text_in(params, "target");
  session::Trouble trouble;
  if (!service.session().remove(word_of(ObjectKind::target), name, trouble)) refuse(std::move(trouble.complaints));
  return {{"target", name}};
}

// ---- What is there ------------------------------------------------------------------------------------------------------------

PolicyFile running(Service &service) {
  Complaints problems;
  std::optional<PolicyFile> running = session::running_file(service.session(), problems);
  if (!running) refuse_problems(problems);
  running->path = service.session().file().path;
  return std::move(*running);
}

Json show(Service &service, const Json &params) {
  const std::optional<std::string> kind_word = text_in(params, "kind");
  const std::optional<std::string> name = text_in(params, "name");
  if (name && !kind_word) throw Failure(ErrorCode::invalid_params, "'name' is for a 'kind'");
  Complaints complaints;
  const KindWord *kind = kind_word ? find_shown(*kind_word, complaints) : nullptr;
  if (kind_word && !kind) refuse(std::move(complaints));
  session::Trouble trouble;
  if (name && !service.session().is_known(kind->kind, *name, trouble)) refuse(std::move(trouble.complaints));
  const PolicyFile file = running(service);
  return show_json(inventory::Relations(file), kind, name);
}

Json config(Service &service, const Json &) {
  const PolicyFile file = running(service);
  return config_json(file, file.path);
}

Json stats(Service &service, const Json &) {
  Json result = service.figures();
  Json &session = result["session"];
  session["events"] = service.events();
  session["targets"] = service.has_session() ? service.session().file().targets.size() : 0;
  session["file"] = service.has_session() ? Json(service.session().file().path) : Json(nullptr);
  return result;
}

// The server does what there is to do.
Json nothing(Service &, const Json &) {
  return nullptr;
}

}  // namespace

std::span<const Method> methods() {
  using enum Takes;
  static const std::vector<Parameter> kEvent = {
      {"event", text, true}, {"target", text, true}, {"set", attributes}, {"clear", texts}, {"level", level}};
  static const Method kMethods[] = {
      {"version", "the versions of zar and of the protocol", {}, Place::here, false, version},
      {"load",
       "gives the session a policy file",
       {{"path", text}, {"text", text}, {"name", text}},
       Place::anew,
       false,
       load},
      {"check",
       "what is wrong with a policy file, or with the loaded one",
       {{"path", text}, {"text", text}, {"name", text}},
       Place::apart,
       false,
       check},
      {"raise", "sets attributes, raises an event, and explains what happened", kEvent, Place::here, true, raise},
      {"explain", "explains what raising an event would do; nothing is changed", kEvent, Place::here, true, explain},
      {"set",
       "changes attributes of a target",
       {{"target", text, true}, {"set", attributes}, {"clear", texts}},
       Place::here,
       true,
       set},
      {"targets.add",
       "adds a target",
       {{"target", text, true}, {"attributes", attributes}, {"policies", texts, true}, {"client", text}},
       Place::here,
       true,
       add_target},
      {"targets.delete", "deletes a target", {{"target", text, true}}, Place::here, true, delete_target},
      {"show",
       "the objects of the session, and what uses them",
       {{"kind", text}, {"name", text}},
       Place::apart,
       true,
       show},
      {"config", "the running configuration of the session", {}, Place::apart, true, config},
      {"lint", "what is provably wrong in the loaded file", {{"effort", seconds}}, Place::apart, true, lint},
      {"test", "runs the tests of the loaded file", {}, Place::apart, true, test},
      {"diff",
       "compares the loaded file with a new version",
       {{"path", text}, {"text", text}, {"name", text}, {"replay", policy}},
       Place::apart,
       true,
       diff},
      {"stats", "what the server and the session have done", {}, Place::here, false, stats},
      {"cancel",
       "ends the request with this id, under way or waiting",
       {{"id", id, true}},
       Place::here,
       false,
       nothing},
      {"shutdown", "ends the session; later requests are refused", {}, Place::here, false, nothing},
  };
  return kMethods;
}

const Method *find_method(std::string_view name) {
  const std::span<const Method> all = methods();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Method &method) { return method.name == name; });
  return found == all.end() ? nullptr : &*found;
}

std::string describe_methods() {
  std::string text;
  for (const Method &method : methods()) {
    text += concat("  ", method.name);
    for (const Parameter &parameter : method.parameters)
      text += parameter.required ? concat(" ", parameter.name) : concat(" [", parameter.name, "]");
    text += concat("\n      ", method.help, "\n");
  }
  return text;
}

}  // namespace simulator::service
