#include "simulator/policy/load.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

using Section = void (*)(const Reader &, const yaml::Node &, PolicyFile &);

// What the sections hold, and whether they can hold all the names that the file defines. If not, a section was lost, and
// it is of no use to report each name that was in it as unknown.
struct Sections {
  PolicyFile file;
  bool have_all_names = true;
};

Sections read_sections(const yaml::Node &root, Diagnostics &diagnostics) {
  Sections sections;
  PolicyFile &file = sections.file;
  const Reader reader(diagnostics);
  const Fields fields(
      root, "a policy file",
      {"clients", "domains", "class-maps", "policy-maps", "parameter-maps", "targets", "scenario", "tests", "claims"},
      diagnostics);
  sections.have_all_names = fields.is_sound();
  const auto section = [&](std::string_view key, Section read) {
    const yaml::Node *node = fields.find(key);
    if (!node) return;
    read(reader, *node, file);
    const bool defines_names = key != "scenario" && key != "tests" && key != "claims";
    const bool is_mapping = node->kind == yaml::Kind::mapping || node->kind == yaml::Kind::null;
    if (defines_names && !is_mapping) sections.have_all_names = false;
  };
  section("clients", read_clients);
  section("domains", read_domains);
  section("class-maps", read_class_maps);
  section("policy-maps", read_policy_maps);
  section("parameter-maps", read_parameter_maps);
  section("targets", read_targets);
  section("scenario", read_scenario);
  section("tests", read_tests);
  section("claims", read_claims);
  return sections;
}

template <class Object, class Find>
void check_names_are_new(const std::vector<Object> &more, std::string_view what, Find find, Diagnostics &diagnostics) {
  for (const Object &object : more) {
    if (!find(object.name.value)) continue;
    diagnostics.add(object.name.position, concat("there is a ", what, " '", object.name.value, "' already"),
                    concat("a name that no ", what, " has"));
  }
}

void check_names_are_new(const PolicyFile &base, const PolicyFile &more, Diagnostics &diagnostics) {
  using Text = std::string_view;
  const auto check = [&](const auto &objects, Text what, auto find) {
    check_names_are_new(objects, what, find, diagnostics);
  };
  check(more.clients, "client", [&](Text name) { return base.find_client(name); });
  check(more.domains, "domain", [&](Text name) { return base.find_domain(name); });
  check(more.class_maps, "class-map", [&](Text name) { return base.find_class_map(name); });
  check(more.policy_maps, "policy-map", [&](Text name) { return base.find_policy_map(name); });
  check(more.parameter_maps, "parameter-map", [&](Text name) { return base.find_parameter_map(name); });
  check(more.targets, "target", [&](Text name) { return base.find_target(name); });
}

// A map that names no domain belongs to the only domain of its own source, even when the other sources have several.
template <class Map>
void fill_domains(std::vector<Map> &maps, const Domain &only) {
  for (Map &map : maps) {
    if (map.domain.position.line == 0) map.domain = {only.name.value, map.name.position};
  }
}

}  // namespace

bool load_more(PolicyFile &file, const Source &source, Diagnostics &diagnostics) {
  SourceSteps steps;
  return load_more(file, source, diagnostics, steps);
}

bool load_more(PolicyFile &file, const Source &source, Diagnostics &diagnostics, SourceSteps &steps) {
  const std::optional<yaml::Document> document = yaml::parse(source, diagnostics);
  if (!document) return false;

  PolicyFile more = read_sections(document->root(), diagnostics).file;
  check_names_are_new(file, more, diagnostics);
  // While a name means two things, no other check makes sense.
  if (!diagnostics.empty()) return false;
  if (more.domains.size() == 1) {
    fill_domains(more.class_maps, more.domains[0]);
    fill_domains(more.policy_maps, more.domains[0]);
  }
  const FileExtent before = file.extent();
  file.scenario = std::move(more.scenario);
  file.tests = std::move(more.tests);
  file.claims = std::move(more.claims);
  file.append(std::move(more));
  resolve(file, before, diagnostics);
  SourceSteps found = {std::exchange(file.scenario, {}), std::exchange(file.tests, {}), std::exchange(file.claims, {})};
  if (diagnostics.empty()) {
    steps = std::move(found);
    return true;
  }
  file.shrink_to(before);
  return false;
}

bool load_tests(PolicyFile &file, const Source &source, Diagnostics &diagnostics) {
  const std::optional<yaml::Document> document = yaml::parse(source, diagnostics);
  if (!document) return false;

  PolicyFile more;
  const Reader reader(diagnostics);
  const Fields fields(document->root(), "a file of tests", {"scenario", "tests"}, diagnostics);
  if (const yaml::Node *scenario = fields.find("scenario")) read_scenario(reader, *scenario, more);
  if (const yaml::Node *tests = fields.find("tests")) read_tests(reader, *tests, more);
  const size_t steps = file.scenario.size();
  const size_t tests = file.tests.size();
  std::move(more.scenario.begin(), more.scenario.end(), std::back_inserter(file.scenario));
  std::move(more.tests.begin(), more.tests.end(), std::back_inserter(file.tests));
  resolve(file, file.extent(), diagnostics);
  if (diagnostics.empty()) return true;
  file.scenario.resize(steps);
  file.tests.resize(tests);
  return false;
}

bool load_claim(PolicyFile &file, const Source &source, Diagnostics &diagnostics) {
  const std::optional<yaml::Document> document = yaml::parse(source, diagnostics);
  if (!document) return false;

  const Reader reader(diagnostics);
  file.claims.push_back(read_claim(reader, document->root(), concat("claim ", file.claims.size() + 1)));
  resolve(file, file.extent(), diagnostics);
  if (diagnostics.empty()) return true;
  file.claims.pop_back();
  return false;
}

std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics) {
  const std::optional<yaml::Document> document = yaml::parse(source, diagnostics);
  return document ? load(*document, source, diagnostics) : std::nullopt;
}

std::optional<PolicyFile> load(const yaml::Document &document, const Source &source, Diagnostics &diagnostics) {
  Sections sections = read_sections(document.root(), diagnostics);
  PolicyFile &file = sections.file;
  file.path = source.name();
  file.index();
  if (sections.have_all_names) resolve(file, {}, diagnostics);
  if (!diagnostics.empty()) return std::nullopt;
  return std::optional<PolicyFile>(std::move(sections.file));
}

}  // namespace simulator
