#include "simulator/session/show.h"

#include <algorithm>

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

}  // namespace

std::vector<Assignment> attributes_now(const Session &session, const Target &target) {
  const engine::Attributes *attributes = engine::attributes_of(session.repository().target_handle(target.name.value));
  std::vector<Assignment> assignments;
  for (const engine::AttributeId attribute : attributes->present()) {
    Assignment &assignment = assignments.emplace_back();
    assignment.attribute.value = engine::attribute_name(attribute);
    assignment.text = attributes->find(attribute)->text;
  }
  std::sort(assignments.begin(), assignments.end(),
            [](const Assignment &a, const Assignment &b) { return a.attribute.value < b.attribute.value; });
  return assignments;
}

namespace {

// By name: the order of the file changes when an object is deleted.
std::vector<const Target *> idle_targets(const Session &session, const PolicyFile &running) {
  std::vector<const Target *> idle;
  for (const Target &target : session.file().targets) {
    if (!running.find_target(target.name.value)) idle.push_back(&target);
  }
  std::sort(idle.begin(), idle.end(), [](const Target *a, const Target *b) { return a->name.value < b->name.value; });
  return idle;
}

}  // namespace

// Reading the repository does not find targets without an active policy-map; those are added.
std::optional<PolicyFile> running_file(const Session &session, Complaints &complaints) {
  std::optional<PolicyFile> running = read(session, complaints);
  if (!running) return std::nullopt;
  for (const Target *target : idle_targets(session, *running))
    running->targets.push_back(
        {.name = target->name, .client = target->client, .attributes = attributes_now(session, *target)});
  running->index();
  return running;
}

std::optional<std::string> show_objects(const Session &session, ObjectKind kind, const std::optional<std::string> &name,
                                        Complaints &complaints) {
  const std::optional<PolicyFile> running = running_file(session, complaints);
  if (!running) return std::nullopt;
  return inventory::describe(inventory::Relations(*running), kind, name);
}

std::optional<std::string> show_overview(const Session &session, Complaints &complaints) {
  const std::optional<PolicyFile> running = running_file(session, complaints);
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
