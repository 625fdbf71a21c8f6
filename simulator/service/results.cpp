#include "simulator/service/results.h"

#include "simulator/inventory/json.h"
#include "simulator/lint/render.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/text/json_object.h"
#include "simulator/text/text.h"

namespace simulator::service {

const KindWord *find_shown(std::string_view word, Complaints &complaints) {
  std::vector<std::string_view> words;
  for (const ObjectKind shown : kShown) {
    words.push_back(word_of(shown).word);
    if (word == words.back()) return &word_of(shown);
  }
  complaints.push_back(no_such("kind of object", word, words));
  return nullptr;
}

namespace {

Json objects_json(const PolicyFile &file) {
  Json object;
  object["policy_maps"] = file.policy_maps.size();
  object["class_maps"] = file.class_maps.size();
  object["parameter_maps"] = file.parameter_maps.size();
  object["targets"] = file.targets.size();
  return object;
}

}  // namespace

Json checked_json(const std::string &name, bool good, const Diagnostics &diagnostics, const PolicyFile *file) {
  Json json;
  json["file"] = name;
  json["good"] = good;
  add_errors(json, diagnostics);
  json["objects"] = file ? objects_json(*file) : Json(nullptr);
  return json;
}

Json check_json(bool good, Json files) {
  Json object = begin_json("check");
  object["good"] = good;
  object["files"] = std::move(files);
  return object;
}

Json show_json(const inventory::Relations &relations, const KindWord *kind, const std::optional<std::string> &name) {
  Json json = begin_json("show");
  json["file"] = relations.file().path;
  json["clients"] = inventory::json_of(relations.file().clients);
  json["domains"] = inventory::json_of(relations.file().domains);
  json["objects"] = Json::array();
  for (const ObjectKind shown : kShown) {
    if (!kind || kind->kind == shown) inventory::add_objects(json["objects"], relations, shown, name);
  }
  return json;
}

Json config_json(const PolicyFile &running, const std::string &path) {
  Json json = begin_json("config");
  json["file"] = path;
  json["clients"] = inventory::json_of(running.clients);
  json["domains"] = inventory::json_of(running.domains);
  json["class_maps"] = inventory::json_of(running.class_maps);
  json["parameter_maps"] = inventory::json_of(running.parameter_maps);
  json["policy_maps"] = inventory::json_of(running.policy_maps);
  json["targets"] = inventory::json_of(running.targets);
  return json;
}

Json linted_json(const PolicyFile &file, const lint::Findings &findings) {
  Json object;
  object["file"] = file.path;
  object["complete"] = findings.complete;
  object["findings"] = Json::array();
  for (const lint::Finding &finding : findings.all)
    object["findings"].push_back(lint::json_of_finding(finding));
  object["ignored"] = Json::array();
  for (const lint::IgnoredFinding &ignored : findings.ignored)
    object["ignored"].push_back(lint::json_of_ignored(ignored));
  return object;
}

// Proofs may take long, so claims are only pointed out.
void add_claims(const PolicyFile &file, Report &report) {
  const size_t claims = file.claims.size();
  report.json["claims"] = claims;
  if (claims > 0) report.text += concat(claims, claims == 1 ? " claim" : " claims", ", for zar prove to check\n");
}

Json test_json(size_t passed, size_t failed, Json bad_files, Json file_errors, Json files) {
  Json object = begin_json("test");
  object["passed"] = passed;
  object["failed"] = failed;
  object["bad_files"] = std::move(bad_files);
  object["file_errors"] = std::move(file_errors);
  object["files"] = std::move(files);
  return object;
}

Json diff_json(const diff::Files &files, const std::vector<diff::ObjectChange> &changes, Json replay) {
  Json json = begin_json("diff");
  json["old"] = files.before->path;
  json["new"] = files.after->path;
  const diff::Counts counts = diff::count(changes);
  json["added"] = counts.added;
  json["removed"] = counts.removed;
  json["changed"] = counts.changed;
  json["renamed"] = counts.renamed;
  json["changes"] = Json::array();
  for (const diff::ObjectChange &change : changes)
    json["changes"].push_back(diff::json_of_change(change));
  json["replay"] = std::move(replay);
  return json;
}

std::string why_unfit(const PolicyFile &scenario, const diff::Replayed &replayed, const diff::Files &files) {
  const size_t events = scenario.scenario.size();
  if (replayed.impossible < events) return {};
  if (events == 0) return concat(scenario.path, ": there is no scenario to replay");
  const Step &first = scenario.scenario[0];
  return concat(scenario.path, ": the scenario fits neither file: none of its ", events,
                " events can be raised; the first, ", first.event.value, " at ", first.target.value, ": ",
                replayed.why_impossible_before, " in ", files.before->path, ", and ", replayed.why_impossible_after,
                " in ", files.after->path);
}

}  // namespace simulator::service
