// The whole job: 800 policy-maps with 4 events of 4 rules of 3 actions each, 1,000 class-maps of 4 filters, 2,000 targets
// with 2 policy-maps each, 62,200 handles in all. It is built, all maps are looked up by name ten times in new orders,
// every handle is resolved in any order, everything is printed, and all is torn down; by the library or by the
// hand-written repository.
//
//   bench_whole_job zar|by-hand
//
// Prints a JSON object with the seconds of each phase, the growth of the process in bytes while building, how many of
// them the interface fixes, and a checksum of the output, which is the same for both. Under callgrind, the counts of each
// phase are dumped.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <random>

#include "by_hand/repository.h"
#include "support/counting.h"
#include "support/repository.h"

namespace {

using bench::must;

constexpr uint32_t kPolicies = 800, kEvents = 4, kRules = 4, kActions = 3;
constexpr uint32_t kClasses = 1000, kFilters = 4;
constexpr uint32_t kTargets = 2000, kLookups = 10;
constexpr uint32_t kMatchAny = 2;
constexpr char kEventNames[kEvents][16] = {"session-start", "authorise", "account-update", "session-stop"};

// ---- The printer of both sides: the lines are formatted and added to a checksum.

uint64_t checksum = 0, n_lines = 0;

[[gnu::format(printf, 1, 2)]] void print(const char *format, ...) {
  char line[256];
  va_list values;
  va_start(values, format);
  int length = std::vsnprintf(line, sizeof line, format, values);
  va_end(values);
  for (int at = 0; at < length; ++at)
    checksum = checksum * 31 + static_cast<unsigned char>(line[at]);
  ++n_lines;
}

// ---- The two sides, in the same words

class Library {
 public:
  uint32_t policy(const char *name) const {
    const uint32_t pmap = bench::new_policy(clid_, name);
    must(zar_store_policy(clid_, pmap), "zar_store_policy");
    return pmap;
  }
  uint32_t class_map(const char *name) const {
    zar_map_info info = bench::info_of(name);
    uint32_t cmap = 0;
    must(zar_create_class(clid_, &info, kMatchAny, &cmap), "zar_create_class");
    must(zar_store_class(clid_, cmap), "zar_store_class");
    return cmap;
  }
  uint32_t filter(uint32_t cmap, const char *text) const {
    zar_filter_context context = bench::filter_context(text);
    uint32_t filter = 0;
    must(zar_create_filter(&context, &filter, 0), "zar_create_filter");
    must(zar_add_filter_to_class(cmap, filter), "zar_add_filter_to_class");
    return filter;
  }
  uint32_t event(uint32_t pmap, uint32_t id, const char *name) const {
    zar_event_context context{.event_id = id, .event_name = nullptr};
    uint32_t event = 0;
    must(zar_create_event(&context, name, &event), "zar_create_event");
    must(zar_add_event(pmap, event), "zar_add_event");
    return event;
  }
  uint32_t rule(uint32_t event, uint32_t cmap, uint8_t number) const {
    uint32_t rule = 0;
    must(zar_add_class_to_event(event, cmap, 0, number, &rule), "zar_add_class_to_event");
    return rule;
  }
  uint32_t action(uint32_t rule, uint8_t number, const char *text) const {
    zar_action_context context = bench::action_context(text);
    uint32_t action = 0;
    must(zar_create_action(&context, number, 0, &action), "zar_create_action");
    must(zar_add_action_to_rule(rule, action), "zar_add_action_to_rule");
    return action;
  }
  uint32_t target(zar_target_info *info, uint32_t first, uint32_t second) const {
    uint32_t target = 0;
    must(zar_add_target(clid_, info, first, &target), "zar_add_target");
    must(zar_activate_policy(clid_, second, target), "zar_activate_policy");
    return target;
  }
  uint32_t find_policy(const char *name) const {
    zar_map_info info = bench::info_of(name);
    uint32_t pmap = 0;
    must(zar_retrieve_policy(clid_, &info, &pmap), "zar_retrieve_policy");
    return pmap;
  }
  uint32_t find_class(const char *name) const {
    zar_map_info info = bench::info_of(name);
    uint32_t cmap = 0;
    must(zar_retrieve_class(clid_, &info, &cmap), "zar_retrieve_class");
    return cmap;
  }
  bool resolves_policy(uint32_t handle) { return zar_get_pmap_name(handle) != nullptr; }
  bool resolves_class(uint32_t handle) { return zar_get_cmap_match_logical_op(handle) != 0; }
  bool resolves_filter(uint32_t handle) { return zar_handle_get_context(handle) != nullptr; }
  bool resolves_event(uint32_t handle) { return zar_get_event_id(handle) != 0; }
  bool resolves_rule(uint32_t handle) { return zar_get_class_num_from_class_action(handle) != 0; }
  bool resolves_action(uint32_t handle) { return zar_get_action_num(handle) != 0; }
  bool resolves_target(uint32_t handle) {
    return zar_verify_target_context(static_cast<zar_target *>(zar_handle_get_context(handle)), "") == 0;
  }
  void print_all() {
    must(zar_print_policymap("", print, bench::kDomain, nullptr, 1, 1), "zar_print_policymap");
    must(zar_print_classmap("", print, "", bench::kDomain, nullptr, 1), "zar_print_classmap");
  }
  void delete_target(uint32_t target) const { bench::delete_target(clid_, target); }
  void delete_policy(const char *name) const {
    zar_map_info info = bench::info_of(name);
    must(zar_delete_stored_policy_by_name(clid_, &info), "zar_delete_stored_policy_by_name");
  }
  void delete_class(const char *name) const {
    zar_map_info info = bench::info_of(name);
    must(zar_delete_stored_class_by_name(clid_, &info), "zar_delete_stored_class_by_name");
  }

 private:
  uint32_t clid_ = bench::clid();
};

class ByHand {
 public:
  uint32_t policy(const char *name) {
    uint32_t policy = must_be(repository_.create_policy(bench::info_of(name)));
    must_be(repository_.store_policy(policy));
    return policy;
  }
  uint32_t class_map(const char *name) {
    uint32_t class_map = must_be(repository_.create_class(bench::info_of(name), kMatchAny));
    must_be(repository_.store_class(class_map));
    return class_map;
  }
  uint32_t filter(uint32_t class_map, const char *text) {
    uint32_t filter = must_be(repository_.create_filter(bench::filter_context(text), false));
    must_be(repository_.add_filter(class_map, filter));
    return filter;
  }
  uint32_t event(uint32_t policy, uint32_t id, const char *name) {
    uint32_t event = must_be(repository_.create_event(id, name));
    must_be(repository_.add_event(policy, event));
    return event;
  }
  uint32_t rule(uint32_t event, uint32_t class_map, uint8_t number) {
    return must_be(repository_.add_rule(event, class_map, number));
  }
  uint32_t action(uint32_t rule, uint8_t number, const char *text) {
    uint32_t action = must_be(repository_.create_action(bench::action_context(text), number, 0));
    must_be(repository_.add_action(rule, action));
    return action;
  }
  uint32_t target(zar_target_info *info, uint32_t first, uint32_t second) {
    uint32_t target = must_be(repository_.add_target(info, first));
    must_be(repository_.activate(second, target));
    return target;
  }
  uint32_t find_policy(const char *name) { return repository_.retrieve_policy(bench::info_of(name)); }
  uint32_t find_class(const char *name) { return repository_.retrieve_class(bench::info_of(name)); }
  // Each reads the field that the library's accessor reads.
  bool resolves_policy(uint32_t handle) {
    const auto *policy = repository_.get<by_hand::PolicyMap>(handle);
    return policy && policy->name.c_str();
  }
  bool resolves_class(uint32_t handle) {
    const auto *class_map = repository_.get<by_hand::ClassMap>(handle);
    return class_map && class_map->match_criteria != 0;
  }
  bool resolves_filter(uint32_t handle) { return repository_.get<by_hand::Filter>(handle); }
  bool resolves_event(uint32_t handle) {
    const auto *event = repository_.get<by_hand::Event>(handle);
    return event && event->id != 0;
  }
  bool resolves_rule(uint32_t handle) {
    const auto *rule = repository_.get<by_hand::Rule>(handle);
    return rule && rule->number != 0;
  }
  bool resolves_action(uint32_t handle) {
    const auto *action = repository_.get<by_hand::Action>(handle);
    return action && action->number != 0;
  }
  bool resolves_target(uint32_t handle) { return repository_.get<by_hand::Target>(handle); }
  void print_all() {
    repository_.print_policies(print);
    repository_.print_classes(print);
  }
  void delete_target(uint32_t target) { must_be(repository_.delete_target(target)); }
  void delete_policy(const char *name) { must_be(repository_.delete_policy(find_policy(name))); }
  void delete_class(const char *name) { must_be(repository_.delete_class(find_class(name))); }

 private:
  template <class Result>
  static Result must_be(Result result) {
    must(result ? 0 : 1, "the repository by hand");
    return result;
  }

  by_hand::Repository repository_;
};

// ---- The job

struct Handles {
  std::vector<uint32_t> policies, classes, filters, events, rules, actions, targets;

  size_t count() const {
    return policies.size() + classes.size() + filters.size() + events.size() + rules.size() + actions.size() +
           targets.size();
  }
};

template <class Side>
class Job {
 public:
  Job() : policy_names_(bench::names(kPolicies)), class_names_(bench::names(kClasses, "c")), infos_(kTargets) {
    for (auto [handles, count] : {std::pair{&handles_.policies, kPolicies},
                                  {&handles_.classes, kClasses},
                                  {&handles_.filters, kClasses * kFilters},
                                  {&handles_.events, kPolicies * kEvents},
                                  {&handles_.rules, kPolicies * kEvents * kRules},
                                  {&handles_.actions, kPolicies * kEvents * kRules * kActions},
                                  {&handles_.targets, kTargets}}) {
      handles->resize(count);  // touches the memory before anything is measured
      handles->clear();
    }
  }

  void build() {
    for (const std::string &name : class_names_)
      build_class(name.c_str());
    for (const std::string &name : policy_names_)
      build_policy(name.c_str());
    for (uint32_t at = 0; at < kTargets; ++at) {
      uint32_t first = handles_.policies[at % kPolicies], second = handles_.policies[(at * 7 + 1) % kPolicies];
      handles_.targets.push_back(side_.target(&infos_[at], first, second));
    }
    must(handles_.count() == 62200 ? 0 : 1, "the number of handles");
  }
  void look_up() {
    std::vector<const char *> policies = pointers(policy_names_), classes = pointers(class_names_);
    for (uint32_t round = 0; round < kLookups; ++round) {
      std::shuffle(policies.begin(), policies.end(), random_);
      std::shuffle(classes.begin(), classes.end(), random_);
      for (const char *name : policies)
        found_ += side_.find_policy(name) != 0;
      for (const char *name : classes)
        found_ += side_.find_class(name) != 0;
    }
    must(found_ == size_t{kLookups} * (kPolicies + kClasses) ? 0 : 1, "the look-ups");
  }
  void resolve() {
    size_t live = 0;
    auto count = [&](std::vector<uint32_t> &handles, bool (Side::*resolves)(uint32_t)) {
      for (uint32_t handle : handles)
        live += (side_.*resolves)(handle);
    };
    count(handles_.policies, &Side::resolves_policy);
    count(handles_.classes, &Side::resolves_class);
    count(handles_.filters, &Side::resolves_filter);
    count(handles_.events, &Side::resolves_event);
    count(handles_.rules, &Side::resolves_rule);
    count(handles_.actions, &Side::resolves_action);
    count(handles_.targets, &Side::resolves_target);
    must(live == handles_.count() ? 0 : 1, "the resolving");
  }
  void shuffle() {
    for (auto *handles : {&handles_.policies, &handles_.classes, &handles_.filters, &handles_.events, &handles_.rules,
                          &handles_.actions, &handles_.targets})
      std::shuffle(handles->begin(), handles->end(), random_);
  }
  void print_all() { side_.print_all(); }
  // What no implementation of the interface can do without: its records, the texts that they point to, and 8 bytes for
  // a handle, which must lead to a record and change when it is issued again.
  size_t fixed_bytes() const {
    const auto texts_of = [](const std::vector<std::string> &names) {
      size_t bytes = 0;
      for (const std::string &name : names)
        bytes += name.size() + 1 + key_of(name).size() + 1;
      return bytes;
    };
    const size_t rules = handles_.rules.size(), active = 2 * handles_.targets.size();
    return handles_.policies.size() * sizeof(zar_pmap) + handles_.classes.size() * sizeof(zar_cmap) +
           handles_.filters.size() * sizeof(zar_filter) +
           handles_.events.size() * (sizeof(zar_event_tuple) + sizeof(zar_event_context)) +
           // No class-map is in two rules of one policy-map.
           rules * (sizeof(zar_class_action) + sizeof(zar_pmap_cmap_ref) + sizeof(zar_cmap_pmap_ref)) +
           handles_.actions.size() * sizeof(zar_action) + handles_.targets.size() * sizeof(zar_target) +
           active * (sizeof(zar_target_pmap) + sizeof(zar_pmap_target_ref)) + texts_of(policy_names_) +
           texts_of(class_names_) + handles_.count() * 8;
  }
  void tear_down() {
    for (uint32_t target : handles_.targets)
      side_.delete_target(target);
    for (const std::string &name : policy_names_)
      side_.delete_policy(name.c_str());
    for (const std::string &name : class_names_)
      side_.delete_class(name.c_str());
  }

 private:
  void build_class(const char *name) {
    uint32_t class_map = side_.class_map(name);
    handles_.classes.push_back(class_map);
    for (uint32_t at = 0; at < kFilters; ++at)
      handles_.filters.push_back(side_.filter(class_map, "account-state equals open"));
  }
  void build_policy(const char *name) {
    uint32_t policy = side_.policy(name);
    handles_.policies.push_back(policy);
    for (uint32_t id = 1; id <= kEvents; ++id) {
      uint32_t event = side_.event(policy, id, kEventNames[id - 1]);
      handles_.events.push_back(event);
      for (uint8_t number = 1; number <= kRules; ++number)
        build_rule(event, number);
    }
  }
  void build_rule(uint32_t event, uint8_t number) {
    uint32_t rule = side_.rule(event, handles_.classes[next_class_++ % kClasses], number);
    handles_.rules.push_back(rule);
    for (uint8_t action = 1; action <= kActions; ++action)
      handles_.actions.push_back(side_.action(rule, action, "count starts"));
  }
  // The key under which a map is found, which its record points to.
  static std::string key_of(const std::string &name) { return name + ":" + bench::kDomain + ":1"; }
  static std::vector<const char *> pointers(const std::vector<std::string> &names) {
    std::vector<const char *> result;
    for (const std::string &name : names)
      result.push_back(name.c_str());
    return result;
  }

  Side side_;
  std::vector<std::string> policy_names_, class_names_;
  std::vector<zar_target_info> infos_;
  Handles handles_;
  uint32_t next_class_ = 0;
  size_t found_ = 0;
  std::mt19937 random_{1};
};

// ---- Measurement

// Processor time, so that other processes are excluded.
double seconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

size_t resident_bytes() {
  std::ifstream statm("/proc/self/statm");
  size_t pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// 'count' comes before the names of the counts.
template <class Side>
void run(const std::string &count) {
  Job<Side> job;
  std::printf("{");
  auto phase = [&](const char *name, void (Job<Side>::*step)()) {
    double begin = seconds();
    bench::once(count + name, 1, [&] { (job.*step)(); });
    std::printf("\"%s\": %.6f, ", name, seconds() - begin);
  };
  size_t before = resident_bytes();
  phase("build", &Job<Side>::build);
  size_t grown = resident_bytes() - before, fixed = job.fixed_bytes();
  phase("look up by name", &Job<Side>::look_up);
  job.shuffle();
  phase("resolve", &Job<Side>::resolve);
  phase("print", &Job<Side>::print_all);
  phase("tear down", &Job<Side>::tear_down);
  std::printf("\"bytes grown\": %zu, \"bytes fixed\": %zu, \"lines\": %lu, \"checksum\": %lu}\n", grown, fixed, n_lines,
              checksum);
}

}  // namespace

int main(int count, char **arguments) {
  bench::clid();
  if (count == 2 && std::strcmp(arguments[1], "zar") == 0) {
    run<Library>("whole job: ");
  } else if (count == 2 && std::strcmp(arguments[1], "by-hand") == 0) {
    run<ByHand>("beside whole job: ");
  } else {
    std::fprintf(stderr, "usage: bench_whole_job zar|by-hand\n");
    return 2;
  }
  return 0;
}
