#include "tool/shell/show.h"

#include <iostream>

#include "engine/engine.h"
#include "tool/inventory/describe.h"
#include "tool/inventory/running.h"
#include "tool/listing.h"
#include "tool/policy/write.h"

namespace tool::shell {

namespace {

using inventory::Relations;

std::string describe(const Target &target, const Relations &) {
  return inventory::describe(target);
}

template <class Map>
std::string describe(const Map &map, const Relations &relations) {
  return inventory::describe(map, relations);
}

// Those with the name, or all for an empty one.
template <class Object>
void show_named(const std::vector<Object> &objects, const Relations &relations, std::string_view name) {
  bool first = true;
  for (const Object &object : objects) {
    if (!name.empty() && object.name.value != name) continue;
    std::cout << (first ? "" : "\n") << describe(object, relations);
    first = false;
  }
}

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

bool show_one(const Session &session, Kind kind, std::string_view name) {
  const std::optional<PolicyFile> running = read(session);
  if (!running) return false;
  const Relations relations(*running);
  if (kind == Kind::class_map) show_named(running->class_maps, relations, name);
  if (kind == Kind::parameter_map) show_named(running->parameter_maps, relations, name);
  if (kind == Kind::policy) show_named(running->policy_maps, relations, name);
  if (kind == Kind::target) show_named(running->targets, relations, name);
  return true;
}

bool show_kind(const Session &session, Kind kind) {
  return show_one(session, kind, {});
}

bool show_overview(const Session &session) {
  const std::optional<PolicyFile> running = read(session);
  if (running) std::cout << inventory::overview(Relations(*running));
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
