#include "engine_fixture.h"

#include "platform/engine.h"
#include "platform/runtime.h"

namespace test {

namespace {

constexpr uint32_t kTextTag = 0x7e57;

void keep_filter(void *, void *) {}
void keep_action(void *, void *) {}

uint32_t evaluate(void *filter_data, void *run) {
  return static_cast<ScriptedFilter *>(filter_data)->matches(engine::Run::from(run));
}

uint32_t enter(void *action_data, void *run) {
  return static_cast<ScriptedAction *>(action_data)->run(engine::Run::from(run));
}

char *describe_filter(void *) {
  return bstrdup_named("scripted", kTextTag);
}
char *describe_action(void *action_data, uint32_t) {
  return bstrdup_named(static_cast<ScriptedAction *>(action_data)->name.c_str(), kTextTag);
}

uint32_t same(void *stored, void *other) {
  return stored == other;
}

void notify(uint32_t, void *, queue_head *targets) {
  engine::keep_target_list(targets);
}

}  // namespace

EngineTest::EngineTest() {
  zar_init();
  EXPECT_DONE(engine::start());
  EXPECT_DONE(zar_register_domain(kel_clid, "test"));
}

EngineTest::~EngineTest() {
  engine::observe(nullptr);
  engine::release_target_lists();
}

ScriptedFilter &EngineTest::filter(std::function<bool(engine::Run &)> matches) {
  return filters_.emplace_back(ScriptedFilter{std::move(matches)});
}

ScriptedAction &EngineTest::action(const std::string &name, uint32_t result) {
  return action(name, [result](engine::Run &) { return result; });
}

ScriptedAction &EngineTest::action(const std::string &name, std::function<uint32_t(engine::Run &)> run) {
  return actions_.emplace_back(ScriptedAction{name, [this, name, run = std::move(run)](engine::Run &at) {
                                                ran += (ran.empty() ? "" : " ") + name;
                                                return run(at);
                                              }});
}

zar_map_info EngineTest::info(const std::string &name, uint32_t domain_type) {
  return {"test", domain_type, names_.emplace_back(name).c_str(), 0};
}

zar_filter_context EngineTest::context_of(ScriptedFilter &filter) {
  return {&filter, keep_filter, evaluate, describe_filter, same};
}

zar_action_context EngineTest::context_of(ScriptedAction &action) {
  return {&action, keep_action, enter, describe_action, same, notify, nullptr};
}

uint32_t EngineTest::policy(const std::string &name, uint32_t domain_type) {
  const zar_map_info named = info(name, domain_type);
  uint32_t pmap = 0;
  EXPECT_DONE(zar_create_policy(kel_clid, &named, &pmap));
  EXPECT_DONE(zar_store_policy(kel_clid, pmap));
  return pmap;
}

uint32_t EngineTest::event(uint32_t pmap, uint32_t event_id, EventMatch match) {
  const zar_event_context context{event_id, nullptr};
  uint32_t tuple = 0;
  EXPECT_DONE(zar_create_event(&context, ("event-" + std::to_string(event_id)).c_str(), &tuple));
  EXPECT_DONE(zar_event_set_match_criteria(tuple, match));
  EXPECT_DONE(zar_add_event(pmap, tuple));
  return tuple;
}

uint32_t EngineTest::class_map(ClassMatch match, const std::vector<ScriptedFilter *> &filters, uint32_t no_match_bits) {
  const zar_map_info named = info("class-" + std::to_string(++made_));
  uint32_t cmap = 0;
  EXPECT_DONE(zar_create_class(kel_clid, &named, match, &cmap));
  for (size_t at = 0; at < filters.size(); ++at) {
    const zar_filter_context context = context_of(*filters[at]);
    EXPECT_DONE(zar_create_filter(&context, &filters[at]->handle, no_match_bits >> at & 1U));
    EXPECT_DONE(zar_add_filter_to_class(cmap, filters[at]->handle));
  }
  return cmap;
}

uint32_t EngineTest::rule(uint32_t event, uint32_t class_num, uint32_t cmap,
                          const std::vector<ScriptedAction *> &actions, Execute execute) {
  uint32_t class_action = 0;
  EXPECT_DONE(zar_add_class_to_event(event, cmap, execute, class_num, &class_action));
  uint32_t number = 0;
  for (ScriptedAction *action : actions) {
    const zar_action_context context = context_of(*action);
    EXPECT_DONE(zar_create_action(&context, ++number, 0, &action->handle));
    EXPECT_DONE(zar_add_action_to_rule(class_action, action->handle));
  }
  return class_action;
}

uint32_t EngineTest::rule(uint32_t event, uint32_t class_num, const std::vector<ScriptedAction *> &actions,
                          Execute execute) {
  return rule(event, class_num, class_map(kAll, {}), actions, execute);
}

uint32_t EngineTest::target(uint32_t pmap) {
  zar_target_info &information = target_infos_.emplace_back();
  uint32_t handle = 0;
  EXPECT_DONE(zar_add_target(kel_clid, &information, pmap, &handle));
  return handle;
}

void EngineTest::activate(uint32_t pmap, uint32_t target) {
  EXPECT_DONE(zar_activate_policy(kel_clid, pmap, target));
}

}  // namespace test
