#include "tool/policy/load.h"

#include "tool/policy/load_parts.h"

namespace tool {

namespace {

using Section = void (*)(const Reader &, const yaml::Node &, PolicyFile &);

PolicyFile read_sections(const yaml::Node &root, Diagnostics &diagnostics) {
  PolicyFile file;
  const Reader reader(diagnostics);
  const Fields fields(
      root, "a policy file",
      {"clients", "domains", "class-maps", "policy-maps", "parameter-maps", "targets", "scenario", "tests"},
      diagnostics);
  const auto section = [&](std::string_view key, Section read) {
    if (const yaml::Node *node = fields.find(key)) read(reader, *node, file);
  };
  section("clients", read_clients);
  section("domains", read_domains);
  section("class-maps", read_class_maps);
  section("policy-maps", read_policy_maps);
  section("parameter-maps", read_parameter_maps);
  section("targets", read_targets);
  section("scenario", read_scenario);
  section("tests", read_tests);
  return file;
}

}  // namespace

std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics) {
  const std::optional<yaml::Document> document = yaml::parse(source, diagnostics);
  if (!document) return std::nullopt;

  PolicyFile file = read_sections(document->root(), diagnostics);
  file.path = source.name();
  file.index();
  resolve(file, diagnostics);
  if (!diagnostics.empty()) return std::nullopt;
  return file;
}

}  // namespace tool
