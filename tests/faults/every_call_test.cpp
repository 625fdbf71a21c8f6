// Every operation with every one of its platform requests failing: in sequences of calls that build repositories, each
// call is made with its first request failing, in its own repository, then with its second, until none is left; once,
// and from that request on. Each time the call must report it, the repository must be unchanged, nothing may leak, and
// the same call must then succeed. One table (tests/walk/partial.cpp) lists the exceptions with the states that they may
// leave: the repository must be in one of these, everything in it is then deleted, and nothing else may be left.
//
//   faults_every_call [--sequences N] [--seed S] [--pairs yes]
//
// With pairs the repeated call has a second fault, at every request in turn. The exit status is 1 if something is wrong,
// and 3 if nothing is, but the sequences do not reach every service and every line of the table.
#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/walk/calls/bytes.h"
#include "tests/walk/partial.h"
#include "tests/walk/walk.h"

namespace {

using Calls = std::vector<calls::Call>;
using runtime::Fault;
using runtime::Service;

constexpr size_t kCalls = 90;
constexpr size_t kMostRequests = 400;  // no call makes as many
constexpr int kNotAllReached = 3;

struct Settings {
  uint64_t sequences = 60;
  uint64_t seed = 1;
  bool pairs = false;
};

struct Tally {
  uint64_t points = 0;
  uint64_t pairs = 0;
  std::map<Service, uint64_t> by_service;
  std::set<calls::Op> operations;
  std::map<calls::Op, std::set<size_t>> left;  // which of the states in the operation's line of the table
};

// What the sequences are too short to reach by chance: shared actions, texts and listings, notified handlers.
Calls particular_calls() {
  using enum calls::Op;
  using namespace calls::bytes;
  const std::vector<calls::Call> more = {
      call(zar_add_action_to_rule, {slot(1), slot(1)}),
      call(zar_add_action_to_rule_after_action, {slot(1), slot(0), slot(1)}),
      call(zar_remove_action_from_class_action, {slot(1), slot(0)}),
      call(zar_add_action_to_rule_before_action, {slot(1), slot(0), slot(1)}),
      call(zar_remove_action_from_class_action, {slot(1), slot(0)}),
      call(zar_add_action_to_stored_policy, {kClientOne, kNameA, kControl, event(1), kNameA, kControl, slot(0)}),
      call(zar_remove_action_from_stored_policy, {kClientOne, kNameA, kControl, event(1), kNameA, kControl, slot(0)}),
      call(zar_create_class, {kClientOne, kNameB, kControl, criteria(1), slot(1)}),
      call(zar_add_class_action_to_stored_policy,
           {kClientOne, kNameA, kControl, event(1), criteria(1), slot(1), number(3), slot(0)}),
      call(zar_create_class, {kClientOne, name(2), kControl, criteria(1), slot(2)}),
      call(zar_create_event, {event(2), kNameA, slot(2)}),
      call(zar_add_class_to_event, {slot(2), slot(2), criteria(1), number(4), slot(2)}),
      call(zar_add_event, {slot(0), slot(2)}),
      call(zar_add_action_to_pmtr_map_rule, {slot(0), number(1), slot(0)}),
      call(zar_get_filter_nvgen_str, {slot(0)}),
      call(zar_get_filter_nvgen_str_internal, {slot(0)}),
      call(zar_get_action_nvgen_str, {slot(0), number(1)}),
      call(kel_pmtr_map_get_filter_expr_by_type, {slot(0), number(1), kKeywordT, kGiven}),
      call(zar_print_policymap, {kGiven, kGiven, kFirstDomain, kNameA, kYes, kYes}),
      call(zar_print_classmap, {kGiven, kGiven, kGiven, kFirstDomain, kNameA, kYes}),
      call(zar_shim_action_added_removed, {slot(0), slot(0), kYes}),
      call(zar_invoke_action_handler, {slot(0), slot(0), kYes}),
      call(zar_remove_action_handler_for_event, {slot(0), slot(0)}),
      call(zar_remove_action_handler_for_class, {slot(0), slot(0)}),
      call(zar_deactivate_policy_by_name_from_all_targets, {kClientOne, kNameA, kControl}),
      call(zar_activate_policy_by_name, {kClientOne, slot(0), kNameA, kControl}),
      call(zar_deactivate_policy_by_name, {kClientOne, slot(0), kNameA, kControl}),
      call(zar_activate_policy, {kClientOne, slot(0), slot(0)}),
      call(zar_deactivate_policy_by_handle_from_all_targets, {kClientOne, slot(0)}),
      call(zar_activate_policy, {kClientOne, slot(0), slot(0)}),
      call(zar_deactivate_any_policy_for_target, {kClientOne, slot(0)}),
      call(zar_activate_policy, {kClientOne, slot(0), slot(0)}),
      call(zar_remove_target, {kClientOne, slot(0), kGiven}),
      call(zar_avl_insert_target_client_db, {kGiven, slot(0)}),
      call(zar_remove_target, {kClientOne, slot(0), kGiven}),
      call(zar_avl_insert_target_default_db, {kGiven, slot(0)}),
      call(zar_remove_target, {kClientOne, slot(0), kGiven}),
      call(zar_delete_target, {slot(0)}),
      call(kel_create_subscriber_parameter_map, {kNameB, criteria(1), slot(1)}),
      call(kel_find_subscriber_parameter_map_by_name, {kNameB, criteria(1), slot(1)}),
      call(kel_is_pmap_created, {kNameB}),
      call(kel_delete_subscriber_parameter_map, {kNameB, criteria(1)}),
      call(zar_activate_policy, {kClientOne, slot(0), slot(1)}),
      call(zar_delete_stored_policy, {kClientOne, slot(0)}),
      call(zar_create_policy, {kClientOne, kNameA, kControl, slot(0)}),
      call(zar_store_policy, {kClientOne, slot(0)}),
      call(zar_add_class_to_stored_policy,
           {kClientOne, kNameA, kControl, event(0), kNameA, criteria(1), number(1), kNameA, kControl}),
      call(zar_get_event_class, {kClientOne, slot(0), slot(0)}),
      call(zar_get_class_action, {kClientOne, slot(0), slot(0), slot(0)}),
      call(zar_create_action, {context(0), number(1), number(1), slot(2)}),
      call(zar_add_action_to_rule, {slot(0), slot(2)}),
      call(zar_activate_policy, {kClientOne, slot(0), slot(1)}),
      call(zar_delete_stored_policy_by_name, {kClientOne, kNameA, kControl}),
  };
  Calls all = walk::building_calls();
  all.insert(all.end(), more.begin(), more.end());
  // More clients than the table has room for at first.
  for (uint8_t client = 0; client < 8; ++client)
    all.push_back(call(zar_client_register, {name(client), kGiven, kGiven}));
  return all;
}

enum class Came { to_the_fault, to_none, to_a_failure };

// The call at 'at' with the plan's faults, after those before it; then all is deleted. A failure is added to 'wrong'.
Came try_plan(const Calls &calls, size_t at, const walk::FaultPlan &plan, std::optional<size_t> left_state,
              Tally &tally, std::vector<std::string> &wrong) {
  std::vector<std::string> lines;
  walk::Options options;
  options.lines = &lines;
  options.look_every = 1000;  // only the call with the fault is checked
  options.left_state = left_state;
  walk::Session session(options);
  for (size_t i = 0; i < at; ++i)
    if (!session.step(calls[i])) break;
  if (session.failure().empty() && session.step_with_fault(calls[at], plan)) session.finish();
  if (!session.failure().empty()) {
    if (wrong.empty()) wrong = lines;
    wrong.push_back(session.failure());
    return Came::to_a_failure;
  }
  for (const auto &[service, count] : session.faults_by_service())
    tally.by_service[service] += count;
  if (session.partial()) tally.left[calls[at].op].insert(*left_state);
  if (session.faults() > 0) tally.operations.insert(calls[at].op);
  return session.faults() == plan.requests.size() || session.partial() ? Came::to_the_fault : Came::to_none;
}

// The same, expecting one of the states that the call may leave.
Came try_plan(const Calls &calls, size_t at, const walk::FaultPlan &plan, Tally &tally) {
  const walk::Partial *described = walk::partial_state_of(calls[at].op);
  const size_t states = described == nullptr ? 0 : described->left.size();
  std::vector<std::string> wrong;
  size_t state = 0;
  do {
    const auto expected = states == 0 ? std::nullopt : std::optional(state);
    const Came came = try_plan(calls, at, plan, expected, tally, wrong);
    if (came != Came::to_a_failure) return came;
  } while (++state < states);
  for (const std::string &line : wrong)
    std::printf("  %s\n", line.c_str());
  return Came::to_a_failure;
}

bool every_second(const Calls &calls, size_t at, uint64_t first, Tally &tally) {
  for (uint64_t second = 1; second <= kMostRequests; ++second) {
    const Came came = try_plan(calls, at, {{first, second}, Fault::once}, tally);
    if (came != Came::to_the_fault) return came == Came::to_none;
    ++tally.pairs;
  }
  return false;
}

bool every_request(const Calls &calls, size_t at, Fault mode, const Settings &settings, Tally &tally) {
  for (uint64_t nth = 1; nth <= kMostRequests; ++nth) {
    const Came came = try_plan(calls, at, {{nth}, mode}, tally);
    if (came != Came::to_the_fault) return came == Came::to_none;
    ++tally.points;
    const bool partial = walk::partial_state_of(calls[at].op) != nullptr;
    if (settings.pairs && mode == Fault::once && !partial && !every_second(calls, at, nth, tally)) return false;
  }
  std::printf("%s meets more requests than any call makes\n", calls::operation(calls[at].op).name);
  return false;
}

bool expect(bool holds, const char *what) {
  if (!holds) std::printf("not so: %s\n", what);
  return holds;
}

// Requests of the start-up and of pools that live as long as the process are not among those of calls.
bool every_service_failed(const Tally &tally) {
  bool all = true;
  for (Service service : {Service::id, Service::record, Service::block, Service::duplicate, Service::text,
                          Service::tree_init, Service::tree_insert, Service::queue_entry}) {
    const auto found = tally.by_service.find(service);
    const uint64_t times = found == tally.by_service.end() ? 0 : found->second;
    std::printf("  %-12s failed %llu times\n", runtime::to_string(service), static_cast<unsigned long long>(times));
    all = all && times > 0;
  }
  return expect(all, "every service that calls use has failed");
}

bool every_line_used(const Tally &tally) {
  bool all = true;
  const auto missing = [&](const char *what, calls::Op op, const char *of_it) {
    std::printf("  %s: %s%s\n", calls::operation(op).name, what, of_it);
    all = false;
  };
  size_t states = 0;
  for (const walk::Partial &line : walk::partial_states()) {
    if (!tally.operations.contains(line.op)) missing("no request failed", line.op, "");
    const auto found = tally.left.find(line.op);
    for (size_t i = 0; i < line.left.size(); ++i)
      if (found == tally.left.end() || !found->second.contains(i))
        missing("no failed request left ", line.op, line.left[i].what);
    states += line.left.size();
  }
  std::printf("%zu operations in the table of partial states, %zu states that they may leave\n",
              walk::partial_states().size(), states);
  return expect(all, "each operation in the table has met a fault, and left each state that it may leave");
}

bool every_call(const Calls &calls, size_t from, const Settings &settings, Tally &tally) {
  for (size_t at = from; at < calls.size(); ++at)
    for (Fault mode : {Fault::once, Fault::from_then_on})
      if (!every_request(calls, at, mode, settings, tally)) return false;
  return true;
}

int try_sequences(const Settings &settings) {
  Tally tally;
  if (!every_call(particular_calls(), 0, settings, tally)) return 1;
  // The random sequences begin with the same repository.
  for (uint64_t i = 0; i < settings.sequences; ++i) {
    const Calls calls = walk::random_calls(2 * (settings.seed + i) + 1, kCalls);
    if (!every_call(calls, walk::building_calls().size(), settings, tally)) return 1;
  }
  std::printf("%llu fault points, %llu pairs, in %zu operations; sequences from seed %llu\n",
              static_cast<unsigned long long>(tally.points), static_cast<unsigned long long>(tally.pairs),
              tally.operations.size(), static_cast<unsigned long long>(settings.seed));
  const bool services = every_service_failed(tally);
  // A night's few sequences need not come to each.
  const bool lines = settings.pairs || every_line_used(tally);
  if (!expect(tally.points > 0, "there are fault points")) return 1;
  return services && lines ? 0 : kNotAllReached;
}

}  // namespace

int main(int count, char **arguments) {
  Settings settings;
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string name = arguments[i];
    if (name == "--sequences") settings.sequences = std::stoull(arguments[i + 1]);
    if (name == "--seed") settings.seed = std::stoull(arguments[i + 1]);
    if (name == "--pairs") settings.pairs = true;
  }
  return try_sequences(settings);
}
