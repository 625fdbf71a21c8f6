// A policy file as the loader understood it: every object has its position, every default is filled in, every reference
// valid.
//
// All sub-commands work on this and on the repository that is built from it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "simulator/policy/position.h"

namespace re2 {
class RE2;
}

namespace simulator {

using Name = Located<std::string>;

struct Client {
  Name name{};
  bool own_database = false;  // else the default database, which is the engine's
};

struct Domain {
  Name name{};
  std::optional<Name> owner{};  // nothing: the engine
};

enum class FilterKind : uint8_t { equals, prefix, regex, range, present };

struct Filter {
  Position position{};
  Name attribute{};
  FilterKind kind = FilterKind::present;
  std::string text{};                         // equals, prefix, regex
  std::shared_ptr<const re2::RE2> pattern{};  // regex
  int64_t low = 0;                            // range, both ends included
  int64_t high = 0;
  bool no_match = false;
};

enum class ActionKind : uint8_t { set, clear, log, count, permit, deny, raise, apply };

struct Action {
  Position position{};
  uint32_t number = 0;      // 1 to 255, the order in the rule
  uint32_t precedence = 0;  // 16 bits
  ActionKind kind = ActionKind::permit;
  Name subject{};      // set, clear, count: an attribute; raise: an event; apply: a parameter-map
  std::string text{};  // set: the value; log: the text
};

enum class ClassMatch : uint32_t { all = 1, any = 2, none = 3 };
enum class EventMatch : uint32_t { all = 1, first = 2 };
enum class Execute : uint32_t { run_all = 1, stop_on_failure = 2, stop_on_success = 3 };

struct ClassMap {
  Name name{};
  Name domain{};
  ClassMatch match = ClassMatch::all;
  std::vector<Filter> filters{};
};

struct Rule {
  Position position{};
  uint32_t number = 0;  // 1 to 255, the order in the event
  Name class_map{};
  Execute execute = Execute::stop_on_failure;
  std::vector<Action> actions{};
};

struct EventRules {
  Name event{};
  EventMatch match = EventMatch::all;
  std::vector<Rule> rules{};
};

struct PolicyMap {
  Name name{};
  Name domain{};
  std::vector<EventRules> events{};
};

struct Statement {
  Position position{};
  uint32_t index = 0;
  std::vector<Filter> filters{};  // the filters of one attribute: one of them must hold
  std::vector<Action> actions{};
};

struct ParameterMap {
  Name name{};
  std::vector<std::string> attributes{};  // at most five; the index of an attribute is its filter type
  std::vector<Statement> statements{};    // in map-index order

  uint8_t filter_type_of(std::string_view attribute) const;
};

struct Assignment {
  Name attribute{};
  std::string text{};
};

struct Target {
  Name name{};
  std::optional<Name> client{};  // nothing: the engine
  std::vector<Assignment> attributes{};
  std::vector<Name> policies{};  // in order of activation; at least one
};

// One event of the scenario.
struct Step {
  Position position{};
  Name event{};
  Name target{};
  std::vector<Assignment> set{};  // before the event
  std::vector<Name> clear{};      // before the event
};

// What an attribute should be after an event.
struct ExpectedValue {
  Name attribute{};
  std::optional<std::string> text{};  // nothing: absent
};

// What a test expects of an event. A part that is left out may be anything.
struct Expectation {
  // The rules that run, in the order in which they begin, including those of raised events: each a POLICY/EVENT/NUMBER,
  // or the name of the rule's class-map.
  std::optional<std::vector<Name>> rules{};
  std::vector<ExpectedValue> attributes{};
  std::optional<Name> verdict{};           // permit, deny or none
  std::optional<std::vector<Name>> log{};  // the texts that are logged, in order
};

// One event of a test, and what is expected of it.
struct TestStep {
  Step step{};
  Expectation expect{};
};

// Events, each on a target in the state in which the one before left it.
struct Test {
  Name name{};
  std::vector<TestStep> steps{};  // at least one
};

enum class ClaimKind : uint8_t { never, always, never_runs, always_runs, ends_with, never_fails };

// What holds for every target that has certain policy-maps, whatever its attributes are.
struct Claim {
  Name name{};
  Name event{};                  // raised by the host
  std::vector<Name> policies{};  // active in this order; none: each list of policy-maps that a target of the file has
  std::vector<Filter> when{};    // they hold before the event
  ClaimKind kind = ClaimKind::never_fails;
  Name subject{};                       // never, always: permit, deny or none; never-runs, always-runs: a rule
  std::vector<ExpectedValue> values{};  // ends-with
};

// By a name, which is stored with the value.
//
// The hash function is not declared noexcept, so that the standard library stores each hash: a search then compares
// numbers and reads the names of no other objects.
struct NameHash {
  using is_transparent = void;
  size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
};
template <class Value>
using ByName = std::unordered_map<std::string, Value, NameHash, std::equal_to<>>;

// What objects use by name.
enum class Used : uint8_t { attribute, class_map, parameter_map, event };  // event: they raise it
inline constexpr size_t kUsed = 4;

// By name, how often something is used.
class UseCounts {
 public:
  void add(std::string_view name);
  void remove(std::string_view name);
  size_t of(std::string_view name) const;
  // The names that are used.
  size_t names() const { return counts_.size(); }

 private:
  ByName<size_t> counts_;
};

// How many objects the lists of a file have.
struct FileExtent {
  size_t clients = 0;
  size_t domains = 0;
  size_t class_maps = 0;
  size_t policy_maps = 0;
  size_t parameter_maps = 0;
  size_t targets = 0;
  size_t events = 0;
};

// The repository's handle table holds this many.
inline constexpr size_t kMostHandles = 65536;
// One is for its policy context.
inline constexpr size_t kHandlesOfTarget = 2;

struct PolicyFile {
  PolicyFile() = default;
  PolicyFile(PolicyFile &&) = default;
  PolicyFile &operator=(PolicyFile &&) = default;

  std::string path{};                     // of source 0, the only one for most files
  std::vector<std::string> more_paths{};  // of the sources from 1 on: more files of a session, or files of tests
  std::vector<Client> clients{};
  std::vector<Domain> domains{};
  std::vector<ClassMap> class_maps{};
  std::vector<PolicyMap> policy_maps{};
  std::vector<ParameterMap> parameter_maps{};
  std::vector<Target> targets{};
  std::vector<Step> scenario{};
  std::vector<Test> tests{};
  std::vector<Claim> claims{};

  // The events that policy-maps handle, in the order of their first appearance; the id of an event is its position plus
  // 1. An event keeps its id when the policy-maps change, even when no policy-map handles it any more.
  std::vector<std::string> events{};

  // The same objects, indexed, without the scenario, the tests and the claims.
  PolicyFile copy_of_objects() const;
  const std::string &path_of(Position position) const {
    return position.source == 0 ? path : more_paths[position.source - 1];
  }

  // The same for people, as every output shows texts from outside.
  std::string shown_path_of(Position position) const;
  std::string shown_path() const { return shown_path_of({}); }

  const Client *find_client(std::string_view name) const;
  const Domain *find_domain(std::string_view name) const;
  const ClassMap *find_class_map(std::string_view name) const;
  const PolicyMap *find_policy_map(std::string_view name) const;
  const ParameterMap *find_parameter_map(std::string_view name) const;
  const Target *find_target(std::string_view name) const;
  // 0 when no policy-map handles it.
  uint32_t event_id(std::string_view name) const;

  // Fills the indices and 'events'; call it whenever the lists are complete.
  void index();

  FileExtent extent() const;
  // Adds the objects of 'more' at the end, and indexes them. Their names are new.
  void append(PolicyFile &&more);
  // Removes the objects and events that were added after the file had this extent.
  void shrink_to(const FileExtent &extent);
  // Remove an object of the file. The last object of the list takes its place, so the cost does not depend on the
  // number of objects. Whatever names the object must be gone or go too.
  void remove_class_map(std::string_view name);
  void remove_policy_map(std::string_view name);
  void remove_parameter_map(std::string_view name);
  void remove_target(std::string_view name);

  // How often the objects use something by this name.
  size_t uses(Used what, std::string_view name) const { return uses_[static_cast<size_t>(what)].of(name); }
  // The policy-maps that handle an event.
  size_t handlers(std::string_view event) const;

  // The handles that the repository needs for the objects.
  size_t handles() const { return handles_; }
  // The different attributes that the objects mention.
  size_t attributes() const { return uses_[static_cast<size_t>(Used::attribute)].names(); }

 private:
  // Positions in a list.
  using Index = ByName<size_t>;
  struct Event {
    uint32_t id;
    size_t handlers;  // policy-maps that handle it
  };

  void index_from(const FileExtent &first);
  template <class Object>
  void index_from(const std::vector<Object> &objects, size_t first, Index &index);
  template <class Object>
  void shrink(std::vector<Object> &objects, Index &index, size_t size);
  template <class Object>
  void remove(std::vector<Object> &objects, Index &index, std::string_view name);
  template <class Object>
  void note(const Object &object);
  template <class Object>
  void forget(const Object &object);
  void note_events(const PolicyMap &policy);
  void forget_events(const PolicyMap &policy);

  Index client_index_;
  Index domain_index_;
  Index class_map_index_;
  Index policy_map_index_;
  Index parameter_map_index_;
  Index target_index_;
  ByName<Event> event_index_;  // also those that nothing handles any more
  size_t handles_ = 0;
  std::array<UseCounts, kUsed> uses_;  // by what is used
};

// The words of a policy file.
const char *to_string(FilterKind kind);
const char *to_string(ActionKind kind);
const char *to_string(ClassMatch match);
const char *to_string(EventMatch match);
const char *to_string(Execute execute);
const char *to_string(ClaimKind kind);

// The name of a rule: "POLICY/EVENT/NUMBER".
std::string rule_name(const PolicyMap &policy, const EventRules &event, const Rule &rule);

// The rules of an event, and the actions of a rule or a statement, in the order in which they run.
std::vector<const Rule *> in_order(const std::vector<Rule> &rules);
std::vector<const Action *> in_order(const std::vector<Action> &actions);

// The names of the policy-maps of a target, in their order: "authorisation, service".
std::string policies_text(const Target &target);

// A filter and an action in one line, as in listings and messages.
std::string to_string(const Filter &filter);
std::string to_string(const Action &action);
// A filter with its no-match: "ssid prefix guest", "not ssid prefix guest".
std::string filter_text(const Filter &filter);

}  // namespace simulator
