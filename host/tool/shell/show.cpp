#include "tool/shell/show.h"

#include <iostream>

#include "engine/engine.h"
#include "tool/inventory/describe.h"
#include "tool/inventory/running.h"
#include "tool/listing.h"
#include "tool/policy/write.h"

namespace tool::shell {

namespace {

// The repository as it stands. It does not find a target on which no policy-map is active; those are added.
std::optional<PolicyFile> read(const Session &session) {
  std::optional<PolicyFile> running = inventory::read_or_complain();
  if (!running) return std::nullopt;
  for (const Target &target : session.file().targets) {
    if (running->find_target(target.name.value)) continue;
    Target idle{.name = target.name, .client = target.client};
    const engine::Attributes *attributes = engine::attributes_of(session.repository().target_handle(target.name.value));
    for (const engine::AttributeId attribute : attributes->present()) {
      Assignment &assignment = idle.attributes.emplace_back();
      assignment.attribute.value = engine::attribute_name(attribute);
      assignment.text = attributes->find(attribute)->text;
    }
    running->targets.push_back(std::move(idle));
  }
  running->index();
  return running;
}

}  // namespace

bool show_objects(const Session &session, ObjectKind kind, const std::optional<std::string> &name) {
  const std::optional<PolicyFile> running = read(session);
  if (running) std::cout << inventory::describe(inventory::Relations(*running), kind, name);
  return running.has_value();
}

bool show_overview(const Session &session) {
  const std::optional<PolicyFile> running = read(session);
  if (running) std::cout << inventory::overview(inventory::Relations(*running));
  return running.has_value();
}

bool show_configuration() {
  const std::optional<PolicyFile> running = inventory::read_or_complain();
  if (running) std::cout << write_objects(*running);
  return running.has_value();
}

bool show_listing(const Session &session) {
  std::cout << listings(session.file(), session.repository());
  return true;
}

}  // namespace tool::shell
