// Helpers for tests of the engine: policies with scripted filters and actions.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "engine/engine.h"
#include "zar/zar.h"

namespace test {

// Data of a filter: the result that the test wants.
struct ScriptedFilter {
  std::function<bool(engine::Run &)> matches;
  uint32_t handle = 0;

  const zar_filter &record() const { return *static_cast<const zar_filter *>(zar_handle_get_context(handle)); }
};

// Data of an action: what the test wants done when it runs.
struct ScriptedAction {
  std::string name;
  std::function<uint32_t(engine::Run &)> run;
  uint32_t handle = 0;

  const zar_action &record() const { return *static_cast<const zar_action *>(zar_handle_get_context(handle)); }
};

// A repository with the engine as its only client and the domain "test". Policies are CONTROL policy-maps unless said
// otherwise. Everything made here lives until the test ends; each test has a process of its own.
class EngineTest : public testing::Test {
 protected:
  // In the body of a test the plain name would be a member of the test framework.
  using Run = engine::Run;

  static constexpr uint32_t kControl = 1;
  static constexpr uint32_t kOther = 2;
  enum ClassMatch : uint32_t { kAll = 1, kAny = 2, kNone = 3 };
  enum EventMatch : uint32_t { kEvery = 1, kFirst = 2 };
  enum Execute : uint32_t { kRunAll = 1, kStopOnFailure = 2, kStopOnSuccess = 3 };

  EngineTest();
  ~EngineTest() override;

  ScriptedFilter &filter(bool matches) {
    return filter([matches](engine::Run &) { return matches; });
  }
  ScriptedFilter &filter(std::function<bool(engine::Run &)> matches);
  // An action that appends its name to 'ran', then returns 'result'.
  ScriptedAction &action(const std::string &name, uint32_t result = 0);
  ScriptedAction &action(const std::string &name, std::function<uint32_t(engine::Run &)> run);

  // Handles.
  uint32_t policy(const std::string &name, uint32_t domain_type = kControl);
  uint32_t event(uint32_t pmap, uint32_t event_id, EventMatch match = kEvery);
  uint32_t class_map(ClassMatch match, const std::vector<ScriptedFilter *> &filters, uint32_t no_match_bits = 0);
  uint32_t rule(uint32_t event, uint32_t class_num, uint32_t cmap, const std::vector<ScriptedAction *> &actions,
                Execute execute = kStopOnFailure);
  // A rule whose class-map always matches.
  uint32_t rule(uint32_t event, uint32_t class_num, const std::vector<ScriptedAction *> &actions,
                Execute execute = kStopOnFailure);
  uint32_t target(uint32_t pmap);
  void activate(uint32_t pmap, uint32_t target);

  zar_map_info info(const std::string &name, uint32_t domain_type = kControl);
  static zar_filter_context context_of(ScriptedFilter &filter);
  static zar_action_context context_of(ScriptedAction &action);

  // The names of the actions that ran, in order, with a blank between.
  std::string ran;

 private:
  std::deque<ScriptedFilter> filters_;
  std::deque<ScriptedAction> actions_;
  std::deque<std::string> names_;
  std::deque<zar_target_info> target_infos_;
  unsigned made_ = 0;
};

// For expectations: succeeds with a status of 0.
#define EXPECT_DONE(call) EXPECT_EQ((call), 0u)
#define ASSERT_DONE(call) ASSERT_EQ((call), 0u)

}  // namespace test
