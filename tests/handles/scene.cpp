#include "handles/scene.h"
#include "support/lines.h"

namespace handles {

const char *name_of(Kind kind) {
  switch (kind) {
    case Kind::pmap:
      return "a policy-map";
    case Kind::cmap:
      return "a class-map";
    case Kind::action:
      return "an action";
    case Kind::filter:
      return "a filter";
    case Kind::event:
      return "an event";
    case Kind::rule:
      return "a class-action";
    case Kind::target:
      return "a target";
    case Kind::policy_context:
      return "a policy context";
    case Kind::pmtr_map:
      return "a parameter-map";
  }
  return "?";
}

uint32_t &Objects::of(Kind kind) {
  switch (kind) {
    case Kind::pmap:
      return pmap;
    case Kind::cmap:
      return cmap;
    case Kind::action:
      return action;
    case Kind::filter:
      return filter;
    case Kind::event:
      return event;
    case Kind::rule:
      return rule;
    case Kind::target:
      return target;
    case Kind::policy_context:
      return policy_context;
    case Kind::pmtr_map:
      break;
  }
  return pmtr_map;
}

Scene::Scene() {
  gold = map_info("gold");
  voice = map_info("voice");
  start = event_context(kEventId);

  linked.pmap = stored_pmap("gold");
  linked.cmap = stored_cmap("voice");
  linked.filter = filter_in(linked.cmap, "dscp");
  linked.event = event_in(linked.pmap, kEventId, "start");
  linked.rule = rule(linked.event, linked.cmap);
  linked.action = action_in(linked.rule, "police");
  linked.target = target(linked.pmap, 1);
  linked.pmtr_map = stored_pmtr_map("limits");
  statement(linked.pmtr_map, kMapIndex);
  statement(linked.pmtr_map, kMapIndex + 1);
  statement_action = this->rig::World::statement_action(linked.pmtr_map, kMapIndex, 1, "mark");
  this->rig::World::statement_action(linked.pmtr_map, kMapIndex, 2, "count");
  stored_cmap_alone = stored_cmap("bulk");
  {
    const rig::Quiet quiet;
    linked.policy_context = note(Kind::policy_context, zar_create_policy_context(linked.target)->handle);
  }
  for (Kind kind : kKinds)
    spare.of(kind) = make(kind);

  action_twin = action_context("action twin", "police");
  filter_twin = filter_context("filter twin", "dscp");
  info = target_info(77);
  rig::forget_trace();
  rig::take_calls();
}

// The next scene starts the repository again, which loses this one. It is kept reachable, so that only real leaks show.
Scene::~Scene() {
  static std::vector<const void *> past;
  past.push_back(zar_clients_info);
}

uint32_t Scene::make(Kind kind) {
  const rig::Quiet quiet;
  const std::string name = "spare" + std::to_string(++number_);
  switch (kind) {
    case Kind::pmap:
      return pmap(name.c_str());
    case Kind::cmap:
      return cmap(name.c_str());
    case Kind::action:
      return action(name);
    case Kind::filter:
      return filter(name);
    case Kind::event:
      return event(number_);
    case Kind::rule: {
      const uint32_t own_event = event(number_);
      const uint32_t handle = rule(own_event, linked.cmap);
      event_of_rule_[handle] = own_event;
      return handle;
    }
    case Kind::target:
      return target(stored_pmap(name.c_str()), number_);
    case Kind::policy_context:
      return note(Kind::policy_context, zar_create_policy_context(make(Kind::target))->handle);
    case Kind::pmtr_map:
      return pmtr_map(name.c_str());
  }
  return 0;
}

void Scene::end(Kind kind, uint32_t handle) {
  const rig::Quiet quiet;
  uint32_t status = 0;
  switch (kind) {
    case Kind::pmap:
      status = zar_delete_policy(handle);
      break;
    case Kind::cmap:
      status = zar_delete_class(handle);
      break;
    case Kind::action:
      status = zar_delete_action(handle);
      break;
    case Kind::filter:
      status = zar_delete_filter(handle);
      break;
    case Kind::event:
      status = zar_delete_event(handle);
      break;
    case Kind::rule:
      status = zar_delete_event(event_of_rule_.at(handle));
      break;
    case Kind::target:
      status = zar_remove_target(one, handle, &info_out);
      status += zar_delete_target(handle);
      info_out = nullptr;
      break;
    case Kind::policy_context:
      FAIL() << "no operation takes one";
    case Kind::pmtr_map:
      status = zar_delete_pmtr_map(handle);
      break;
  }
  EXPECT_EQ(status, 0U) << name_of(kind) << " was not deleted";
}

namespace {

uint32_t &handle_in(void *record, Kind kind) {
  switch (kind) {
    case Kind::pmap:
      return static_cast<zar_pmap *>(record)->handle;
    case Kind::cmap:
      return static_cast<zar_cmap *>(record)->handle;
    case Kind::action:
      return static_cast<zar_action *>(record)->handle;
    case Kind::filter:
      return static_cast<zar_filter *>(record)->handle;
    case Kind::event:
      return static_cast<zar_event_tuple *>(record)->handle;
    case Kind::rule:
      return static_cast<zar_class_action *>(record)->handle;
    case Kind::target:
      return static_cast<zar_target *>(record)->handle;
    case Kind::policy_context:
      return static_cast<zar_target_policy_context *>(record)->handle;
    case Kind::pmtr_map:
      break;
  }
  return static_cast<zar_pmtr_map *>(record)->handle;
}

// The engine knows its instances by the handles of their targets.
void rename_instances(uint32_t from, uint32_t to) {
  auto &instances = rig::engine().instances_;
  const std::string old_start = rig::text("0x%x/", from), new_start = rig::text("0x%x/", to);
  for (auto at = instances.begin(); at != instances.end();) {
    auto next = std::next(at);
    if (at->first.starts_with(old_start)) {
      auto node = instances.extract(at);
      node.key() = new_start + node.key().substr(old_start.size());
      instances.insert(std::move(node));
    }
    at = next;
  }
}

}  // namespace

uint32_t Scene::adopt(Kind kind, uint32_t handle) {
  const rig::Quiet quiet;
  void *record = at<void>(handle);
  auto *as_target = static_cast<zar_target *>(record);
  // A target's handle is its key, so it leaves its tree while it changes.
  zar_target *removed = nullptr;
  if (kind == Kind::target) {
    EXPECT_EQ(zar_avl_delete_target_client_db(db, as_target, &removed), 1U);
  }

  zar_handle_release(handle);
  const uint32_t adopted = zar_handle_alloc(record);
  EXPECT_NE(adopted, 0U);
  handle_in(record, kind) = adopted;

  if (kind == Kind::target) {
    EXPECT_EQ(zar_avl_insert_target_client_db(db, as_target), 1U);
    rename_instances(handle, adopted);
  }
  return note(kind, adopted);
}

std::vector<Stranger> handles_of_nothing(Scene &scene, Kind kind) {
  const uint32_t released = scene.make(kind);
  scene.end(kind, released);
  const uint32_t replaced = scene.make(kind);
  [[maybe_unused]] const void *place = rig::World::at<void>(replaced);
  scene.end(kind, replaced);
  const uint32_t successor = scene.make(kind);
  // A pool reuses the record that was returned last. On the heap, for the sanitizers, it does not.
  if constexpr (!ZAR_RECORDS_ON_HEAP) {
    EXPECT_EQ(rig::World::at<void>(successor), place);
  }
  EXPECT_NE(replaced, successor);

  // The ids of a place in the table differ in their high bits; no record came after this one in its place yet.
  const uint32_t never_issued = successor ^ 0x80000000U;

  const auto ended = [](uint32_t handle) { return Lines{rig::destroyed_already(handle)}; };
  return {
      {"0", 0, {rig::invalid_handle()}},
      {"all ones", UINT32_MAX, {}},
      {"never issued", never_issued, {}},
      {"released", released, ended(released)},
      {"released, its record issued anew", replaced, ended(replaced)},
  };
}

Stranger of_another_kind(Scene &scene, Kind kind) {
  const uint32_t handle = scene.linked.of(kind);
  return {name_of(kind), handle, {rig::another_kind(handle)}};
}

}  // namespace handles
