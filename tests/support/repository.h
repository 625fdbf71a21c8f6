// The helpers shared by the tests. A test looks like this:
//
//   #include "support/repository.h"
//   using namespace rig;
//
//   struct Storing : Repository {};              // clients one (clid 1, owns the default database 'db') and two (none)
//
//   TEST_F(Storing, ASecondPolicyOfTheSameKeyIsRefused) {
//     const uint32_t first = stored_pmap("gold");                     // makers leave no trace and no calls behind
//     const uint32_t second = pmap("gold", {.domain = "d1"});
//     EXPECT_REFUSED(41, zar_store_policy(one, second));              // this status, and the repository is as before
//     EXPECT_TRACED(info("(info): %s: using client specific database", "store_policy"),
//                   error("(ERR): PMAP avl: insert failed, hash str:%s", "gold:d1:1"),
//                   error("(ERR): store_policy: Error: avl insert failed"));
//     EXPECT_EQ(pmaps_in(db), Handles{first});
//     EXPECT_CALLS();                                                 // neither engine nor callbacks were called
//   }
//
//   TEST(StoringUnderFaults, FreesEverything) {
//     for_each_fault([](FaultClock &clock) {                          // a fresh process for every request in turn
//       World world;
//       const auto before = world.everything();
//       uint32_t pmap = 0;
//       const auto gold = world.map_info("gold");
//       const uint32_t status = clock.during([&] { return zar_create_policy(world.one, &gold, &pmap); });
//       if (!clock.hit()) return;                                     // none is left to fail
//       EXPECT_EQ(status, clock.failed_in(runtime::Service::record) ? 38 : 37);
//       EXPECT_EQ(world.everything(), before);
//       EXPECT_EQ(zar_create_policy(world.one, &gold, &pmap), 0);     // the fault is over
//     });
//   }
//
// Expectations check what happened since the last one (EXPECT_TRACED, EXPECT_ERRORS, EXPECT_CALLS, EXPECT_PRINTED) and
// forget it. Lines of level 3 are error(...), of level 6 info(...); texts are the library's own, including the prefix.
// Lines in which comparators report the nodes that they visit are omitted until hear_comparisons(true).
//
// The library's requests to the runtime are recorded from watch_requests() on and expected with EXPECT_REQUESTS and
// EXPECT_TEXT_REMOVALS (requests.h). Programs that link with zar_test_platform see every call of the platform, in order
// and with the places that it passes, and can step into one (platform_log.h). What the library loses on purpose is
// reported to the leak check with lost_on_purpose() or LosesOnPurpose (leaks.h).
//
// Each test runs in a process of its own under ctest, because pools live as long as the process. A test whose outcome
// depends on pools that are not there yet begins with NEEDS_FRESH_PROCESS(), and is skipped in a process that is not fresh.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/runtime/control.h"
#include "support/call_log.h"
#include "support/callbacks.h"
#include "support/faults.h"
#include "support/leaks.h"
#include "support/requests.h"
#include "support/scripted_engine.h"
#include "support/trace.h"
#include "zar/zar.h"

namespace rig {

enum class Kind { pmap, cmap, action, filter, event, rule, target, policy_context, pmtr_map };

using Handles = std::vector<uint32_t>;

// Optional arguments of the makers of maps, besides the name.
struct MapOptions {
  const char *domain = "d1";
  uint32_t type = 1;
  uint32_t match_criteria = 1;  // of a class-map
  uint32_t hidden = 0;          // of a class-map
  uint32_t clid = 0;            // 0: client one
};

// Resets the surroundings of a test: engine, callbacks, trace and runtime as at the start. A World does this itself.
void start_rig();
// For a test that damages records on purpose, or neglects a duty of callers: a debug build does not check the
// invariants in the rest of the test. 'what' describes what is broken.
void breaks_invariants(const char *what);
// How often this was called in this process.
int rigs_started();

// A newly started repository with two clients, and everything to fill and read it.
class World {
 public:
  World();
  ~World();
  World(const World &) = delete;
  World &operator=(const World &) = delete;

  // Client one owns 'db', which is the default database; client two has no database and so works in the same.
  zar_db *db = nullptr;
  uint32_t one = 0;
  uint32_t two = 0;

  // ---- Makers: each makes one exported call, expects success, and leaves no trace and no calls in the logs
  // ------------

  zar_db *database();
  uint32_t client(const char *name, zar_db *database = nullptr);

  uint32_t pmap(const char *name, const MapOptions &options = {});
  uint32_t stored_pmap(const char *name, const MapOptions &options = {});
  uint32_t cmap(const char *name, const MapOptions &options = {});
  uint32_t stored_cmap(const char *name, const MapOptions &options = {});
  // Type 1 is what the engine says of the domain "subscriber".
  uint32_t pmtr_map(const char *name, const MapOptions &options = {.domain = "subscriber"});
  uint32_t stored_pmtr_map(const char *name, const MapOptions &options = {.domain = "subscriber"});

  uint32_t action(const std::string &name, uint32_t action_num = 1, uint32_t precedence = 0);
  uint32_t filter(const std::string &name, uint32_t no_match = 0);
  uint32_t event(uint32_t id, const char *name = "event");

  void add_filter(uint32_t cmap, uint32_t filter);
  uint32_t filter_in(uint32_t cmap, const std::string &name, uint32_t no_match = 0);
  void add_event(uint32_t pmap, uint32_t event);
  uint32_t event_in(uint32_t pmap, uint32_t id, const char *name = "event");
  // A class-action under an event.
  uint32_t rule(uint32_t event, uint32_t cmap, uint32_t class_num = 1, uint32_t exec_criteria = 0);
  // A class-action of a stored policy-map that is not CONTROL; both maps are of the given domain.
  uint32_t plain_rule(const char *policy, const char *class_name, const MapOptions &options = {.type = 2});
  void add_action(uint32_t rule, uint32_t action);
  uint32_t action_in(uint32_t rule, const std::string &name, uint32_t action_num = 1);

  // A target with the id 'target_id' on which 'pmap' is active.
  uint32_t target(uint32_t pmap, uintptr_t target_id = 1, uint32_t clid = 0);
  void activate(uint32_t pmap, uint32_t target);

  // Adds the filter 'name' to the statement 'map_index', which is created if it does not exist; returns its record.
  zar_pmtr_map_stmt *statement(uint32_t pmtr_map, uint32_t map_index, const std::string &name = "expression");
  // The handle of the new action.
  uint32_t statement_action(uint32_t pmtr_map, uint32_t map_index, uint8_t action_num, const std::string &name);

  // Adds to the digest an object that a test created itself and that no other object leads to.
  uint32_t note(Kind kind, uint32_t handle);

  // Starts the library again, as no host would: clients, domains and handles are forgotten.
  static void start_again();

  // ---- Arguments ------------------------------------------------------------------------------------------------------

  static zar_map_info map_info(const char *name, const MapOptions &options = {});
  static zar_event_context event_context(uint32_t id);
  // A data block of this world; by default its value is its name.
  Data &data(const std::string &name);
  Data &data(const std::string &name, const std::string &value);
  // Contexts with a new data block, or with an existing one.
  static zar_action_context action_context(Data &data) { return rig::action_context(data); }
  static zar_filter_context filter_context(Data &data) { return rig::filter_context(data); }
  zar_action_context action_context(const std::string &name);
  zar_action_context action_context(const std::string &name, const std::string &value);
  zar_filter_context filter_context(const std::string &name);
  zar_filter_context filter_context(const std::string &name, const std::string &value);
  zar_target_info *target_info(uintptr_t target_id);

  // ---- Readers: they change nothing and leave no trace
  // ----------------------------------------------------------------

  // The record behind a handle: at<zar_pmap>(gold)->domain_type.
  template <typename Record>
  static Record *at(uint32_t handle) {
    return static_cast<Record *>(record_of(handle));
  }
  static bool live(uint32_t handle);
  // The data behind an action or filter that was made with callbacks.h.
  static Data &data_of_action(uint32_t action);
  static Data &data_of_filter(uint32_t filter);

  static Handles pmaps_in(const zar_db *database);
  static Handles cmaps_in(const zar_db *database);
  static Handles pmtr_maps_in(const zar_db *database);
  static Handles targets_in(const zar_db *database);

  static Handles filters_of(uint32_t cmap);
  static Handles events_of(uint32_t pmap);
  static Handles plain_rules_of(uint32_t pmap);
  static Handles rules_of(uint32_t event);
  static Handles actions_of(uint32_t rule);
  // Class-maps with their reference counts, in the order of the list.
  static std::vector<std::pair<uint32_t, uint32_t>> cmap_refs_of(uint32_t pmap);
  static Handles pmap_refs_of(uint32_t cmap);
  static Handles active_on(uint32_t target);
  static Handles targets_of(uint32_t pmap);
  static std::vector<uint32_t> map_indexes_of(uint32_t pmtr_map);
  static zar_pmtr_map_stmt *statement_of(uint32_t pmtr_map, uint32_t map_index);
  static Handles statement_actions_of(uint32_t pmtr_map, uint32_t map_index);

  // The state of the whole repository as a text, one line an object: client table, domains, trees in their order, and every
  // object that a tree, another object or a maker leads to, with all its fields, lists, counts and counters.
  std::string digest() const;
  // The same with the live resources of the platform runtime, so that a leak is visible.
  std::string everything() const;

 private:
  friend class Digest;
  static void *record_of(uint32_t handle);

  std::map<uint32_t, Kind> noted_;
  std::vector<zar_db *> databases_;
  std::deque<Data> data_;
  std::deque<zar_target_info> target_infos_;
};

// The fixture: a world, and a check of the platform runtime's complaints at the end.
class Repository : public ::testing::Test, public World {
 protected:
  void TearDown() override;
};

// The fixture for tests before start-up: nothing was started yet.
class BareProcess : public ::testing::Test {
 protected:
  BareProcess() { start_rig(); }
  void TearDown() override;
};

}  // namespace rig

// The call returns 'status' and changes nothing, neither in the repository nor in the resources of the runtime.
#define EXPECT_REFUSED(status, call)                             \
  do {                                                           \
    const std::string everything_before_the_call = everything(); \
    EXPECT_EQ((call), status);                                   \
    EXPECT_EQ(everything(), everything_before_the_call);         \
  } while (false)

#define NEEDS_FRESH_PROCESS() \
  if (::rig::rigs_started() > 1) GTEST_SKIP() << "pools live as long as the process: run this test alone"
