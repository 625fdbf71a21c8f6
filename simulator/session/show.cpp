#include "simulator/session/show.h"

#include "engine/engine.h"
#include "simulator/inventory/describe.h"
#include "simulator/inventory/read.h"
#include "simulator/policy/write.h"
#include "simulator/repository/listings.h"

namespace simulator::session {

namespace {

std::optional<PolicyFile> read(const Session &session, Complaints &complaints) {
  Complaints problems;
  std::optional<PolicyFile> running = inventory::read(session.repository(), problems);
  for (const std::string &problem : problems)
    complaints.push_back(concat("internal error: ", problem));
  return running;
}

// The repository as it is now. Reading it does not find targets without an active policy-map; those are added.
std::optional<PolicyFile> read_with_idle_targets(const Session &session, Complaints &complaints) {
  std::optional<PolicyFile> running = read(session, complaints);
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

std::optional<std::string> show_objects(const Session &session, ObjectKind kind, const std::optional<std::string> &name,
                                        Complaints &complaints) {
  const std::optional<PolicyFile> running = read_with_idle_targets(session, complaints);
  if (!running) return std::nullopt;
  return inventory::describe(inventory::Relations(*running), kind, name);
}

std::optional<std::string> show_overview(const Session &session, Complaints &complaints) {
  const std::optional<PolicyFile> running = read_with_idle_targets(session, complaints);
  if (!running) return std::nullopt;
  return inventory::overview(inventory::Relations(*running));
}

std::optional<std::string> show_configuration(const Session &session, Complaints &complaints) {
  const std::optional<PolicyFile> running = read(session, complaints);
  if (!running) return std::nullopt;
  return write_objects(*running);
}

std::string show_listing(const Session &session) {
  return listings(session.file(), session.repository());
}

}  // namespace simulator::session
