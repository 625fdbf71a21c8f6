// The section of a policy file about claims.
#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr ClaimKind kClaimKinds[] = {ClaimKind::never,       ClaimKind::always,    ClaimKind::never_runs,
                                     ClaimKind::always_runs, ClaimKind::ends_with, ClaimKind::never_fails};

void read_what_is_claimed(const Reader &reader, const yaml::Node &node, Claim &claim) {
  switch (claim.kind) {
    case ClaimKind::never:
    case ClaimKind::always:
      claim.subject = read_verdict(reader, node).value_or(Name{});
      return;
    case ClaimKind::never_runs:
    case ClaimKind::always_runs:
      claim.subject = reader.text(node, "a rule's name").value_or(Name{});
      return;
    case ClaimKind::ends_with:
      claim.values = read_expected_values(reader, node);
      if (node.kind == yaml::Kind::mapping && node.entries.empty())
        reader.diagnostics().add(node.position, "a claim about no attribute", "attributes and their values");
      return;
    case ClaimKind::never_fails:
      if (reader.flag(node, "the value of 'never-fails'").value_or(true)) return;
      reader.diagnostics().add(node.position, "'never-fails' cannot be false", "never-fails: true");
  }
}

// The one key that says what is claimed.
void read_kind(const Reader &reader, const yaml::Node &node, const Fields &fields, Claim &claim) {
  const yaml::Node *found = nullptr;
  for (const ClaimKind kind : kClaimKinds) {
    const yaml::Node *value = fields.find(to_string(kind));
    if (!value) continue;
    if (found) {
      reader.diagnostics().add(value->position,
                               concat("a claim with both '", to_string(claim.kind), "' and '", to_string(kind), "'"),
                               "one thing in a claim; more in claims of their own");
      return;
    }
    found = value;
    claim.kind = kind;
  }
  if (found) {
    read_what_is_claimed(reader, *found, claim);
  } else if (fields.is_sound()) {
    reader.diagnostics().add(node.position, "a claim that claims nothing",
                             "one of never, always, never-runs, always-runs, ends-with, never-fails");
  }
}

std::vector<Name> read_policies(const Reader &reader, const yaml::Node &node) {
  std::vector<Name> policies;
  if (node.kind == yaml::Kind::null || (node.kind == yaml::Kind::sequence && node.items.empty()))
    reader.diagnostics().add(node.position, "a claim about no policy-map",
                             "at least one policy-map, or no 'policies' for those of the targets");
  reader.list(node, "the list of a claim's policies", [&](const yaml::Node &item) {
    if (std::optional<Name> policy = reader.name(item, "a policy-map's name")) policies.push_back(std::move(*policy));
  });
  return policies;
}

}  // namespace

Claim read_claim(const Reader &reader, const yaml::Node &node, const std::string &default_name) {
  const Fields fields(
      node, "a claim",
      {"name", "event", "policies", "when", "never", "always", "never-runs", "always-runs", "ends-with", "never-fails"},
      reader.diagnostics());
  Claim claim{.name = {default_name, node.position}};
  if (const yaml::Node *name = fields.find("name"))
    claim.name = reader.text(*name, "a claim's name").value_or(Name{"", name->position});
  if (const yaml::Node *event = fields.require("event"))
    claim.event = reader.name(*event, "an event's name").value_or(Name{});
  if (const yaml::Node *policies = fields.find("policies")) claim.policies = read_policies(reader, *policies);
  if (const yaml::Node *when = fields.find("when")) claim.when = read_filters(reader, *when);
  read_kind(reader, node, fields, claim);
  return claim;
}

void read_claims(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.list(node, "the list of claims", [&](const yaml::Node &item) {
    file.claims.push_back(read_claim(reader, item, concat("claim ", file.claims.size() + 1)));
  });
}

}  // namespace simulator
