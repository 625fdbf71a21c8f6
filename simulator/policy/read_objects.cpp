// The sections of a policy file about clients, domains, targets and the scenario.
#include "engine/engine.h"
#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator {

void read_clients(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.named(node, "a client's name", NameKind::map, [&](Name name, const yaml::Node &body) {
    if (name.value == engine::kClientName) {
      reader.diagnostics().add(name.position, concat("'", name.value, "' is the name of the engine's own client"),
                               "another name");
    }
    Client client{.name = std::move(name)};
    const Fields fields(body, "a client", {"database"}, reader.diagnostics());
    if (const yaml::Node *database = fields.find("database")) {
      client.own_database =
          reader.choice<bool>(*database, "a database", {{"own", true}, {"default", false}}).value_or(false);
    }
    file.clients.push_back(std::move(client));
  });
}

void read_domains(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.named(node, "a domain's name", NameKind::domain, [&](Name name, const yaml::Node &body) {
    Domain domain{.name = std::move(name)};
    const Fields fields(body, "a domain", {"owner"}, reader.diagnostics());
    if (const yaml::Node *owner = fields.find("owner")) domain.owner = reader.name(*owner, "a client's name");
    file.domains.push_back(std::move(domain));
  });
}

std::vector<Assignment> read_assignments(const Reader &reader, const yaml::Node &node) {
  std::vector<Assignment> assignments;
  reader.named(node, "an attribute's name", NameKind::map, [&](Name name, const yaml::Node &body) {
    if (std::optional<Name> text = reader.text(body, "an attribute's value")) {
      assignments.push_back({std::move(name), std::move(text->value)});
    }
  });
  return assignments;
}

void read_targets(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.named(node, "a target's name", NameKind::target, [&](Name name, const yaml::Node &body) {
    Target target{.name = std::move(name)};
    const Fields fields(body, "a target", {"client", "attributes", "policies"}, reader.diagnostics());
    if (const yaml::Node *client = fields.find("client")) target.client = reader.name(*client, "a client's name");
    if (const yaml::Node *attributes = fields.find("attributes")) {
      target.attributes = read_assignments(reader, *attributes);
    }
    if (const yaml::Node *policies = fields.require("policies")) {
      const bool is_list = policies->kind == yaml::Kind::sequence || policies->kind == yaml::Kind::null;
      if (is_list && policies->items.empty()) {
        reader.diagnostics().add(policies->position, concat("target '", target.name.value, "' has no policy"),
                                 "at least one policy-map: no target exists without");
      }
      reader.list(*policies, "the list of a target's policies", [&](const yaml::Node &item) {
        if (std::optional<Name> policy = reader.name(item, "a policy-map's name")) {
          target.policies.push_back(std::move(*policy));
        }
      });
    }
    file.targets.push_back(std::move(target));
  });
}

Step read_step(const Reader &reader, const Fields &fields, Position position) {
  Step step{.position = position};
  if (const yaml::Node *event = fields.require("event")) {
    step.event = reader.name(*event, "an event's name").value_or(Name{});
  }
  if (const yaml::Node *target = fields.require("target")) {
    step.target = reader.name(*target, "a target's name", NameKind::target).value_or(Name{});
  }
  if (const yaml::Node *set = fields.find("set")) step.set = read_assignments(reader, *set);
  if (const yaml::Node *clear = fields.find("clear")) {
    reader.list(*clear, "the list of attributes to clear", [&](const yaml::Node &item) {
      if (std::optional<Name> attribute = reader.name(item, "an attribute's name")) {
        step.clear.push_back(std::move(*attribute));
      }
    });
  }
  return step;
}

void read_scenario(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.list(node, "the scenario", [&](const yaml::Node &item) {
    const Fields fields(item, "an event of the scenario", {"event", "target", "set", "clear"}, reader.diagnostics());
    file.scenario.push_back(read_step(reader, fields, item.position));
  });
}

}  // namespace simulator
