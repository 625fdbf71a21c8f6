// A model of the repository in standard containers. It knows no record, pool or queue: it implements what a client may
// expect from the headers, one function per operation. It takes only two things from the library: the handles of new
// objects, which cannot be predicted, and which of several keys that compare equal a tree finds first.
//
// Functions of clients may call back. The model then follows the running call up to that function, follows the calls
// made within it, and continues. So it predicts exactly what each call does and which elements a walk still visits,
// including those added during the walk; apart from the two things above, it never relies on the library. Not covered:
// an engine that calls back, requests that fail during nested calls, records that callers made themselves, and calls
// that would delete the object for which a function is called, or the holder of the object.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/walk/calls/operations.h"
#include "tests/walk/model/list.h"

namespace model {

using calls::Arguments;

enum class Kind { pmap, cmap, action, filter, event, rule, target, policy_context, pmtr_map };

// An object that is being freed has a handle that operations no longer accept; then, for a while, a record without one.
enum class Life { live, ending, nameless };

struct Object {
  virtual ~Object() = default;
  Kind kind{};
  Life life = Life::live;
  uint32_t handle = 0;
  void *record = nullptr;  // for comparisons alone
};

struct Tree;

struct Map : Object {
  std::string name;
  std::string domain;
  uint32_t type = 0;
  uint32_t hidden = 0;
  std::string key;
  Tree *tree = nullptr;
};

struct Cmap;
struct Target;
struct Event;
struct Rule;

struct Pmap : Map {
  static constexpr Kind kKind = Kind::pmap;
  std::vector<std::pair<Cmap *, uint32_t>> cmap_refs;
  List<Target *> targets;
  List<Event *> events;  // of a CONTROL policy-map
  List<Rule *> rules;    // of any other
  bool control() const { return type == 1; }
};

struct Filter;

struct Cmap : Map {
  static constexpr Kind kKind = Kind::cmap;
  uint32_t match_criteria = 0;
  uint32_t mask = 0;
  std::vector<Pmap *> pmap_refs;
  List<Filter *> filters;
  int uncounted =
      0;  // rules that use it without a reference: those of free events and of policy-maps that are not CONTROL
};

struct Action : Object {
  static constexpr Kind kKind = Kind::action;
  zar_action_context context{};
  uint8_t number = 0;
  uint16_t precedence = 0;
  uint32_t refs = 1;
  uint32_t executed = 0;
  uint32_t listed = 0;  // the number of lists that it is in
};

struct Filter : Object {
  static constexpr Kind kKind = Kind::filter;
  zar_filter_context context{};
  uint8_t no_match = 0;
  uint8_t regex = 0;
  uint8_t flag_1 = 0;
  uint8_t flag_2 = 0;
  std::array<uint32_t, 4> counts{};  // executions, hits, misses, comparisons
  bool listed = false;
};

struct Event : Object {
  static constexpr Kind kKind = Kind::event;
  uint32_t id = 0;
  std::string name;
  uint32_t criteria = 1;
  Pmap *pmap = nullptr;
  List<Rule *> rules;
};

struct Rule : Object {
  static constexpr Kind kKind = Kind::rule;
  uint8_t number = 0;
  uint32_t exec_criteria = 0;
  Cmap *cmap = nullptr;
  Event *event = nullptr;  // NULL: in a policy-map that is not CONTROL
  List<Action *> actions;
};

struct Context : Object {
  static constexpr Kind kKind = Kind::policy_context;
  bool used = false;  // the engine has put something into it
};

struct Database;

struct Target : Object {
  static constexpr Kind kKind = Kind::target;
  zar_target_info *info = nullptr;
  List<Pmap *> active;
  Context *context = nullptr;
  Database *stored_in = nullptr;
  bool being_deleted = false;
};

struct Statement {
  bool ending = false;
  uint32_t index = 0;
  uint32_t cmap = 0;  // a handle, since the class-map may be deleted first
  List<Action *> actions;
};

struct PmtrMap : Map {
  static constexpr Kind kKind = Kind::pmtr_map;
  List<std::shared_ptr<Statement>> statements;
};

// The maps of a tree in the order of their keys.
class TreeWalk;

struct Tree {
  bool symmetric = false;  // as for policy-maps: only the length of the shorter key is compared, whichever it is
  std::vector<Map *> nodes;
  std::vector<TreeWalk *> walks;
};

// Visits the maps of a tree. If the last visited map is removed, it continues with the one after it.
class TreeWalk {
 public:
  explicit TreeWalk(Tree &tree) : tree_(tree) { tree.walks.push_back(this); }
  ~TreeWalk() { std::erase(tree_.walks, this); }
  TreeWalk(const TreeWalk &) = delete;
  TreeWalk &operator=(const TreeWalk &) = delete;

  Map *next();
  void taken_out(const Map &map);
  void emptied();

 private:
  Tree &tree_;
  Map *at_ = nullptr;
  bool begun_ = false;
  bool moved_ = false;  // 'at_' was not visited yet
};

struct Database {
  zar_db *record = nullptr;
  Tree pmaps{true, {}, {}};
  Tree cmaps;
  Tree pmtr_maps;
  std::map<uint32_t, Target *> targets;
  Tree &tree(Kind kind) { return kind == Kind::pmap ? pmaps : kind == Kind::cmap ? cmaps : pmtr_maps; }
};

struct Client {
  std::string name;
  Database *database = nullptr;
  bool active = true;
  bool has_removal_function = false;
  bool named = true;  // false: there was no memory for a copy of the name
};

// The expected results and outputs of a call, for comparison with its actual behaviour. Most of them are set before the
// call has ended.
class Seen {
 public:
  explicit Seen(const Arguments &arguments) : arguments_(arguments) {}

  void answers(uint64_t value) { answers_ = value; }
  void answers_text(std::optional<std::string> text) { answers_text_ = std::move(text); }
  // The number that the call writes to the result place 'i', which is not NULL.
  void puts(size_t i, uint32_t value) { puts_[i] = value; }
  void puts_pointer(size_t i, const void *pointer) { pointers_[i] = pointer; }
  // After the call: the handle in the place, which was never seen before.
  uint32_t fresh(size_t i);
  // After the call.
  uint64_t answer() const { return answer_->value; }
  void ends(const calls::Answer &answer) { answer_ = &answer; }
  // Compares, and checks that nothing else was written.
  void judge();
  void fail(const std::string &what);
  const std::string &failure() const { return failure_; }

 private:
  void judge_places();

  const Arguments &arguments_;
  const calls::Answer *answer_ = nullptr;
  std::optional<uint64_t> answers_;
  std::optional<std::optional<std::string>> answers_text_;
  std::array<std::optional<uint32_t>, calls::kMostArguments> puts_;
  std::array<std::optional<const void *>, calls::kMostArguments> pointers_;
  std::string failure_;
};

// What an operation on a stored map finds by its name.
struct Found {
  uint32_t status = 0;
  uint32_t handle = 0;
};

class Model {
 public:
  Model();

  // ---- Around a call

  // False for calls that the headers forbid, such as deleting an object that is still in a list. They are not made.
  bool fair(const calls::Call &call, const Arguments &arguments);
  // False if the call would delete something that is busy.
  bool leaves_alone(const calls::Call &call, const Arguments &arguments);
  // Asks the trees what they find first, if the call may depend on it.
  void foresee(const calls::Call &call, const Arguments &arguments);
  // What the call does.
  void follow(const calls::Call &call, const Arguments &arguments, Seen &seen);
  // The first difference between the library and the model; empty if there is none.
  std::string difference() const;

  // ---- Calls of clients and of the engine

  std::vector<std::string> log;       // what the call should have logged
  std::function<void()> when_called;  // what happens while one of them is called, before it returns
  void called(std::string line) {
    log.push_back(std::move(line));
    if (when_called) when_called();
  }
  // The object for which a client is called, or that a running operation uses while it calls a client: the client may
  // do anything except delete the object or its holder.
  class Busy {
   public:
    Busy(Model &model, std::initializer_list<const void *> things) : model_(model), count_(things.size()) {
      model_.busy_.insert(model_.busy_.end(), things);
    }
    ~Busy() { model_.busy_.resize(model_.busy_.size() - count_); }
    Busy(const Busy &) = delete;
    Busy &operator=(const Busy &) = delete;

   private:
    Model &model_;
    size_t count_;
  };
  bool is_busy(const void *thing) const {
    return thing != nullptr && std::find(busy_.begin(), busy_.end(), thing) != busy_.end();
  }

  bool busy(const Rule &rule) const;
  bool busy(const Event &event) const;
  bool busy(const Pmap &pmap) const;
  bool busy(const Cmap &cmap) const;
  bool busy(const Statement &statement) const;
  bool busy(const PmtrMap &map) const;

  // ---- Objects

  // What an operation finds for the handle.
  template <typename Type>
  Type *resolve(uint32_t handle) const {
    Type *object = behind<Type>(handle);
    return object == nullptr || object->life != Life::live ? nullptr : object;
  }
  Map *resolve_map(uint32_t handle) const;
  // The object that has the handle, even if operations no longer accept it.
  template <typename Type>
  Type *behind(uint32_t handle) const {
    Object *object = any_behind(handle);
    return object == nullptr || object->kind != Type::kKind ? nullptr : static_cast<Type *>(object);
  }
  Map *map_behind(uint32_t handle) const;
  Object *any_behind(uint32_t handle) const;
  template <typename Type>
  Type &add(uint32_t handle) {
    auto made = std::make_unique<Type>();
    made->kind = Type::kKind;
    made->handle = handle;
    made->record = zar_handle_get_context(handle);
    Type &object = *made;
    seen_.insert(handle);
    objects_[handle] = std::move(made);
    return object;
  }
  template <typename Type>
  Type &add_map(uint32_t handle, const zar_map_info &info) {
    Type &map = add<Type>(handle);
    map.name = info.map_name;
    map.domain = info.domain;
    map.type = info.domain_type;
    map.key = key_of(info);
    return map;
  }
  void forget(const Object &object);
  bool was_seen(uint32_t handle) const { return seen_.contains(handle); }
  template <typename Type>
  std::vector<Type *> all() const {
    std::vector<Type *> found;
    for (const auto &[handle, object] : objects_)
      if (object->kind == Type::kKind) found.push_back(static_cast<Type *>(object.get()));
    return found;
  }

  // ---- Clients, domains, databases

  bool known(uint32_t clid) const { return clid - 1 < clients.size(); }
  Database *database_of(uint32_t clid);
  Database *database_at(const zar_db *record);
  uint32_t owner_of(const std::string &domain) const;

  // ---- Trees

  static std::string key_of(const zar_map_info &info);
  Map *search(Tree &tree, const std::string &key);
  // Whether the result of a search depends on the shape of the tree.
  static bool open_to_the_tree(const Tree &tree, const std::string &key);
  bool insert(Tree &tree, Map &map);
  static void enter(Tree &tree, Map &map);
  static void take_out(Map &map);
  static void empty(Tree &tree);
  static Map *first(const Tree &tree) { return tree.nodes.empty() ? nullptr : tree.nodes.front(); }
  static Map *next(const Tree &tree, const Map &map);

  // ---- Steps of operations

  Found retrieve(uint32_t clid, const zar_map_info *info, Kind kind);
  // The event of the policy-map that has the id, or NULL.
  Event *event_of(const Pmap &pmap, uint32_t id) const;
  static Rule *rule_of(const Event &event, const Cmap &cmap);
  // The rule for the policy-map, event and class-map that the arguments of a stored-policy operation name, or NULL.
  Rule *stored_rule(const Arguments &arguments);
  static void update_references(Pmap &pmap, Cmap &cmap);
  static void remove_references(Pmap &pmap, Cmap &cmap);
  // Forgets the references that the library does not have.
  void lose_references();
  Rule &add_rule(uint32_t handle, Cmap &cmap, uint32_t exec_criteria, Event *event, uint32_t number);
  // The handle of the object in a list of the library that was never seen before.
  uint32_t newcomer(const queue_head &queue, size_t handle_at, Seen &seen) const;
  uint32_t new_event(const Pmap &pmap, Seen &seen) const;
  uint32_t new_rule(const Event &event, Seen &seen) const;
  uint32_t new_rule(const Pmap &pmap, Seen &seen) const;
  uint32_t new_filter(const Cmap &cmap, Seen &seen) const;

  void drop_reference(Action &action);
  void free_filter(Filter &filter);
  void replace_data(Action &action, const zar_action_context &context);
  void replace_data(Filter &filter, const zar_filter_context &context);
  void free_rule(Rule &rule);
  void delete_event(Event &event);
  void delete_rules_of(Pmap &pmap);
  void delete_autoconf_policy();
  void delete_policy(Pmap &pmap);
  uint32_t delete_policy_of_tree(uint32_t clid, Pmap &pmap);
  void free_class(Cmap &cmap);
  uint32_t delete_stored_class(uint32_t clid, uint32_t handle);

  uint32_t associate(uint32_t clid, Target &target, Pmap &pmap);
  bool disassociate(Pmap &pmap, Target &target);
  void notify_handlers(Pmap &pmap, const Target &target, bool added);
  uint32_t delete_target(Target &target);
  void destroy(Database &database);

  // The first statement with the index, or NULL.
  static std::shared_ptr<Statement> statement_of(const PmtrMap &map, uint32_t index);
  void end_statement(Statement &statement, uint32_t owner);
  void delete_statement(PmtrMap &map, uint32_t index);
  void delete_pmtr_map(PmtrMap &map);
  uint32_t find_subscriber_map(const char *name, uint32_t type, uint32_t *handle);
  Filter *filter_like(Cmap &cmap, const zar_filter_context &context, uint32_t no_match);
  bool same(const Filter &filter, const zar_filter_context &context);
  bool same(const Action &action, const zar_action_context &context);
  bool compare(const Object &object, const void *stored, const void *offered);
  void free_context(const zar_action_context &context);
  std::optional<std::string> text_of(const Action &action, uint32_t argument);
  std::optional<std::string> text_of(const Filter &filter);
  bool refuses(calls::Refusal request);

  std::vector<Client> clients;
  std::vector<std::pair<std::string, uint32_t>> domains;
  std::vector<std::unique_ptr<Database>> databases;
  std::array<char, 5> compare_table{};
  calls::Refusal refusal = calls::Refusal::none;

  // What the trees found first among several keys that compare equal.
  std::map<std::pair<const Tree *, std::string>, Map *> asked;

  // Whether a filter or an action that a call on parameter-maps creates can be had.
  bool leaves_can_be_created = true;

  // What the library leaves behind, as documented.
  uint32_t lost_ids = 0;
  uint32_t lost_records = 0;
  uint32_t lost_blocks = 0;
  std::map<std::string, uint32_t> lost_texts;

 private:
  void ask(const std::string &key);
  void ask(Tree &tree, const avl_tree *library_tree, const std::string &key);

  std::map<uint32_t, std::unique_ptr<Object>> objects_;
  std::set<uint32_t> seen_;
  std::set<std::string> instances_;
  std::vector<const void *> busy_;
};

// ---- Checks of arguments

bool valid(const zar_map_info *info);
// 'usable' is enough for a comparison; 'complete' is needed for a creation.
bool usable(const zar_action_context *context);
bool usable(const zar_filter_context *context);
bool complete(const zar_action_context *context);
bool complete(const zar_filter_context *context);

constexpr uint32_t kFailed = 37, kInvalid = 39, kNothing = 40, kTree = 41;
inline constexpr const char *kSubscriber = "subscriber";
inline constexpr const char *kAutoconf = "BUILTIN_AUTOCONF_POLICY";

// The prediction of each operation.
namespace predict {
#define OPERATION(weight, name, ...) void name(Model &m, const Arguments &a, Seen &seen);
#include "tests/walk/calls/operations.inc"
#undef OPERATION
}  // namespace predict

}  // namespace model
