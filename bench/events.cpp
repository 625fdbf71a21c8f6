// Events on a target in the reference engine: 4 policy-maps with 4 rules each, whose class-maps have 4 filters each.
// All filters match and each rule has an action, so that nothing ends early. Also counts allocations per event.
#include "host/engine/engine.h"
#include "support/jobs.h"
#include "support/repository.h"
#include "tests/engine/allocations.h"

namespace {

using bench::must;

constexpr uint32_t kEvent = 7, kMatchAll = 1, kRunAll = 1;
constexpr uint32_t kPolicies = 4, kRules = 4, kFilters = 4;

engine::AttributeId attribute;

uint32_t is_open(void *, void *run) {
  const engine::Attribute *state = engine::Run::from(run).attribute(attribute);
  return state && state->text == "open";
}

class Target {
 public:
  Target() {
    attribute = engine::register_attribute("account-state");
    for (uint32_t number = 0; number < kPolicies; ++number)
      activate(policy(number));
    engine::attributes_of(target_)->set(attribute, "open");
  }
  engine::Outcome raise() const { return engine::raise_event(target_, kEvent); }

 private:
  uint32_t policy(uint32_t number) const {
    std::string name = "policy-" + std::to_string(number);
    zar_event_context context{.event_id = kEvent, .event_name = nullptr};
    const uint32_t pmap = bench::new_policy(clid_, name.c_str());
    uint32_t event = 0;
    must(zar_create_event(&context, "authorise", &event), "zar_create_event");
    must(zar_add_event(pmap, event), "zar_add_event");
    for (uint32_t rule = 1; rule <= kRules; ++rule)
      add_rule(event, name + "-" + std::to_string(rule), rule);
    return pmap;
  }
  void add_rule(uint32_t event, const std::string &name, uint32_t number) const {
    zar_map_info info = bench::info_of(name.c_str());
    uint32_t cmap = 0, rule = 0, action = 0;
    must(zar_create_class(clid_, &info, kMatchAll, &cmap), "zar_create_class");
    for (uint32_t at = 0; at < kFilters; ++at) {
      zar_filter_context context = bench::filter_context("state");
      context.filter_eval_fn = is_open;
      uint32_t filter = 0;
      must(zar_create_filter(&context, &filter, 0), "zar_create_filter");
      must(zar_add_filter_to_class(cmap, filter), "zar_add_filter_to_class");
    }
    must(zar_add_class_to_event(event, cmap, kRunAll, number, &rule), "zar_add_class_to_event");
    zar_action_context context = bench::action_context("permit");
    must(zar_create_action(&context, 1, 0, &action), "zar_create_action");
    must(zar_add_action_to_rule(rule, action), "zar_add_action_to_rule");
  }
  void activate(uint32_t pmap) {
    if (target_ == 0)
      must(zar_add_target(clid_, &info_, pmap, &target_), "zar_add_target");
    else
      must(zar_activate_policy(clid_, pmap, target_), "zar_activate_policy");
  }

  uint32_t clid_ = bench::clid();
  zar_target_info info_{};
  uint32_t target_ = 0;
};

void raise_events(benchmark::State &state, const Target &target) {
  if (target.raise().actions != kPolicies * kRules) state.SkipWithError("not all rules ran");
  const size_t before = test::allocations();
  for (auto _ : state)  // NOLINT(clang-analyzer-deadcode.DeadStores): that is how it is counted
    benchmark::DoNotOptimize(target.raise());
  state.counters["allocations per event"] =
      static_cast<double>(test::allocations() - before) / static_cast<double>(state.iterations());
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

void bench::register_jobs(uint32_t) {
  auto target = std::make_shared<Target>();
  job("event, 4 policies of 4 rules of 4 filters", kLibrary,
      [=](benchmark::State &state) { raise_events(state, *target); });
}
