// The repository as a good engineer would write it with only the standard library: string-keyed maps, vectors, owners,
// and a hash table for the handles. It does what the jobs of the benchmarks need, with the checks that such an
// interface needs (live handles, right kinds, no duplicates, no deletion of objects in use), and reports to its callers
// by result.
//
// It differs from the library where its author has a choice: objects are C++ objects, texts are std::string, a handle
// is the next number, the table of handles owns the objects, and there is no trace. Where a list may be long, a
// policy-map's targets, an element knows its place in it, and nothing searches it. Targets are indexed by their handles,
// because callers walk them in this order.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "zar/types.h"

namespace by_hand {

using Handle = uint32_t;  // 0: none

struct PolicyMap;
struct ClassMap;
struct Event;
struct Target;

struct Action {
  Handle handle = 0;
  uint8_t number = 0;
  uint16_t precedence = 0;
  uint32_t executed = 0;
  zar_action_context context{};
};

struct Filter {
  Handle handle = 0;
  bool inverted = false;
  uint32_t executed = 0, hits = 0, misses = 0, decisions = 0;
  zar_filter_context context{};
};

struct Rule {
  Handle handle = 0;
  uint8_t number = 0;
  uint32_t exec_criteria = 2;
  ClassMap *class_map = nullptr;
  std::vector<Action *> actions;  // by number
};

struct Event {
  Handle handle = 0;
  uint32_t id = 0;
  uint32_t match_criteria = 1;
  std::string name;
  PolicyMap *policy = nullptr;
  std::vector<Rule *> rules;  // by number
};

struct ClassMap {
  Handle handle = 0;
  std::string name, domain, key;
  uint32_t type = 0, match_criteria = 0;
  bool stored = false;
  std::vector<Filter *> filters;
  uint32_t uses = 0;  // rules that have it
};

struct PolicyMap {
  Handle handle = 0;
  std::string name, domain, key;
  uint32_t type = 0;
  bool stored = false;
  std::vector<Event *> events;
  std::list<Target *> targets;  // in order of activation
};

struct Target {
  struct Active {
    PolicyMap *policy;
    void *instance;                       // the engine's
    std::list<Target *>::iterator place;  // in the policy-map's list
  };
  Handle handle = 0;
  zar_target_info *info = nullptr;
  std::vector<Active> active;
};

class Repository {
 public:
  Handle create_policy(const zar_map_info &info);
  Handle create_class(const zar_map_info &info, uint32_t match_criteria);
  Handle create_action(const zar_action_context &context, uint8_t number, uint16_t precedence);
  Handle create_filter(const zar_filter_context &context, bool inverted);
  Handle create_event(uint32_t id, const char *name);

  bool store_policy(Handle handle);
  bool store_class(Handle handle);
  Handle retrieve_policy(const zar_map_info &info) const;
  Handle retrieve_class(const zar_map_info &info) const;

  bool add_filter(Handle class_handle, Handle filter_handle);
  bool add_event(Handle policy_handle, Handle event_handle);
  Handle add_rule(Handle event_handle, Handle class_handle, uint8_t number);
  bool add_action(Handle rule_handle, Handle action_handle);

  Handle add_target(zar_target_info *info, Handle policy_handle);
  bool activate(Handle policy_handle, Handle target_handle);
  bool deactivate_everywhere(Handle handle);

  bool delete_policy(Handle handle);
  bool delete_class(Handle handle);
  bool delete_action(Handle handle);
  bool delete_filter(Handle handle);
  bool delete_event(Handle handle);
  bool delete_target(Handle handle);

  // The common beginning of the accessors of each kind.
  template <class Object>
  Object *get(Handle handle) {
    const auto found = objects_.find(handle);
    if (found == objects_.end()) return nullptr;
    const auto *owner = std::get_if<std::unique_ptr<Object>>(&found->second);
    return owner ? owner->get() : nullptr;
  }

  // The same lines as the library's listings, line by line through a printer like printf.
  void print_policies(zar_printer_fn print) const;
  void print_classes(zar_printer_fn print) const;

 private:
  using Owner =
      std::variant<std::unique_ptr<PolicyMap>, std::unique_ptr<ClassMap>, std::unique_ptr<Action>,
                   std::unique_ptr<Filter>, std::unique_ptr<Event>, std::unique_ptr<Rule>, std::unique_ptr<Target>>;

  template <class Object>
  Object &make();
  void remove(Event &event);
  void remove(Rule &rule);
  bool is_active(const PolicyMap &policy, const Target &target) const;
  bool link(PolicyMap &policy, Target &target);
  static void unlink(PolicyMap &policy, Target &target);
  static void tell_actions(const PolicyMap &policy, bool removed);

  std::unordered_map<Handle, Owner> objects_;
  Handle last_handle_ = 0;
  std::map<std::string, PolicyMap *, std::less<>> policies_;
  std::map<std::string, ClassMap *, std::less<>> classes_;
  std::set<Handle> targets_;
};

}  // namespace by_hand
