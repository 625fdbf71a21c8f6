#include "tests/walk/model/model.h"

#include <algorithm>
#include <cstddef>

#include "host/runtime/control.h"
#include "platform/runtime.h"

namespace model {
namespace {

constexpr size_t kLongestKey = 99;
// A number in the form that failures show.
std::string hex(uint64_t value) {
  return calls::text("0x%lx", static_cast<unsigned long>(value));
}

bool begins(const std::string &whole, const std::string &beginning) {
  return whole.compare(0, beginning.size(), beginning) == 0;
}

template <typename Type>
void remove_first(std::vector<Type> &list, const Type &element) {
  const auto found = std::find(list.begin(), list.end(), element);
  if (found != list.end()) list.erase(found);
}

bool before(const Map *left, const Map *right) {
  return left->key < right->key;
}

}  // namespace

// ---- Seen

void Seen::fail(const std::string &what) {
  if (failure_.empty()) failure_ = what;
}

uint32_t Seen::fresh(size_t i) {
  const uint32_t handle = arguments_.numbers_out[i];
  if (handle == 0 || handle == calls::kUntouched) fail(calls::text("argument %zu received no new handle", i + 1));
  puts_[i] = handle;
  return handle;
}

void Seen::judge() {
  if (answers_ && answer_->value != *answers_) fail("returned " + hex(answer_->value) + ", not " + hex(*answers_));
  if (answers_text_ && answer_->text != *answers_text_)
    fail("returned " + answer_->text.value_or("no text") + ", not " + answers_text_->value_or("no text"));
  judge_places();
}

void Seen::judge_places() {
  for (size_t i = 0; i < puts_.size(); ++i) {
    const uint32_t number = arguments_.numbers_out[i];
    const void *pointer = arguments_.pointers_out[i];
    if (puts_[i] && number != *puts_[i])
      fail(calls::text("argument %zu received ", i + 1) + hex(number) + ", not " + hex(*puts_[i]));
    if (pointers_[i] && pointer != *pointers_[i])
      fail(calls::text("argument %zu received %p, not %p", i + 1, pointer, *pointers_[i]));
    const bool expected = puts_[i] || pointers_[i] || !arguments_.given(i);
    if (!expected && number != 0 && number != calls::kUntouched)
      fail(calls::text("argument %zu unexpectedly received ", i + 1) + hex(number));
  }
}

// ---- Objects

Model::Model() = default;

Object *Model::any_behind(uint32_t handle) const {
  const auto found = objects_.find(handle);
  return found == objects_.end() || found->second->life == Life::nameless ? nullptr : found->second.get();
}

Map *Model::map_behind(uint32_t handle) const {
  Object *object = any_behind(handle);
  if (object == nullptr) return nullptr;
  const bool map = object->kind == Kind::pmap || object->kind == Kind::cmap || object->kind == Kind::pmtr_map;
  return map ? static_cast<Map *>(object) : nullptr;
}

Map *Model::resolve_map(uint32_t handle) const {
  Map *map = map_behind(handle);
  return map == nullptr || map->life != Life::live ? nullptr : map;
}

void Model::forget(const Object &object) {
  objects_.erase(object.handle);
}

bool valid(const zar_map_info *info) {
  return info != nullptr && info->domain != nullptr && info->map_name != nullptr &&
         (info->domain_type == 1 || info->domain_type == 2);
}

bool usable(const zar_action_context *context) {
  return context != nullptr && context->action_free_fn != nullptr && context->action_entry_fn != nullptr;
}
bool usable(const zar_filter_context *context) {
  return context != nullptr && context->filter_free_fn != nullptr && context->filter_eval_fn != nullptr;
}
bool complete(const zar_action_context *context) {
  return usable(context) && context->action_str_fn != nullptr && context->action_compare_fn != nullptr;
}
bool complete(const zar_filter_context *context) {
  return usable(context) && context->filter_str_fn != nullptr && context->filter_compare_fn != nullptr;
}

// ---- Clients, domains, databases

Database *Model::database_of(uint32_t clid) {
  if (!known(clid) || !clients[clid - 1].active) return nullptr;
  Database *own = clients[clid - 1].database;
  return own != nullptr ? own : clients[0].database;
}

Database *Model::database_at(const zar_db *record) {
  for (const auto &database : databases)
    if (database->record == record) return database.get();
  return nullptr;
}

uint32_t Model::owner_of(const std::string &domain) const {
  for (const auto &[claimed, owner] : domains)
    if (claimed == domain) return owner;
  return 1;
}

// ---- Trees

std::string Model::key_of(const zar_map_info &info) {
  const std::string whole =
      std::string(info.map_name) + ":" + info.domain + ":" + std::to_string(static_cast<int32_t>(info.domain_type));
  return whole.substr(0, kLongestKey);
}

namespace {

// The nodes that may compare equal to the key.
std::vector<Map *> equals(const Tree &tree, const std::string &key) {
  std::vector<Map *> found;
  for (Map *node : tree.nodes)
    if (begins(key, node->key) || (tree.symmetric && begins(node->key, key))) found.push_back(node);
  return found;
}

// Whether every search for the key ends at the only equal node: at its own place or at that of the node before.
bool always_found(const Tree &tree, const std::string &key, const Map *only) {
  if (tree.symmetric) return true;
  const Map *last = nullptr;
  for (const Map *node : tree.nodes)
    if (node->key <= key) last = node;
  return last == only;
}

}  // namespace

bool Model::open_to_the_tree(const Tree &tree, const std::string &key) {
  const std::vector<Map *> found = equals(tree, key);
  return !found.empty() && (found.size() > 1 || !always_found(tree, key, found.front()));
}

Map *Model::search(Tree &tree, const std::string &key) {
  const std::vector<Map *> found = equals(tree, key);
  if (found.empty()) return nullptr;
  if (!open_to_the_tree(tree, key)) return found.front();
  const auto answer = asked.find({&tree, key});
  return answer == asked.end() ? found.front() : answer->second;
}

void Model::ask(Tree &tree, const avl_tree *library_tree, const std::string &key) {
  if (!open_to_the_tree(tree, key)) return;
  const std::vector<Map *> found = equals(tree, key);
  zar_pmap probe{};
  std::string text = key;
  probe.hash_str = text.data();
  const void *record = i_avl_search(const_cast<avl_tree *>(library_tree), &probe);
  Map *answer = nullptr;
  for (Map *node : found)
    if (node->record == record) answer = node;
  asked[{&tree, key}] = answer;
}

void Model::ask(const std::string &key) {
  for (const auto &database : databases) {
    ask(database->pmaps, database->record->pmap_tree, key);
    ask(database->cmaps, database->record->cmap_tree, key);
    ask(database->pmtr_maps, database->record->pmtr_map_tree, key);
  }
}

bool Model::insert(Tree &tree, Map &map) {
  if (map.life != Life::live || map.tree != nullptr || search(tree, map.key) != nullptr) return false;
  enter(tree, map);
  return true;
}

void Model::enter(Tree &tree, Map &map) {
  tree.nodes.insert(std::upper_bound(tree.nodes.begin(), tree.nodes.end(), &map, before), &map);
  map.tree = &tree;
}

void Model::take_out(Map &map) {
  if (map.tree == nullptr) return;
  Tree &tree = *std::exchange(map.tree, nullptr);
  remove_first(tree.nodes, &map);
  for (TreeWalk *walk : tree.walks)
    walk->taken_out(map);
}

void Model::empty(Tree &tree) {
  for (TreeWalk *walk : tree.walks)
    walk->emptied();
  for (Map *map : std::exchange(tree.nodes, {}))
    map->tree = nullptr;
}

Map *TreeWalk::next() {
  if (!std::exchange(begun_, true)) return at_ = Model::first(tree_);
  if (!std::exchange(moved_, false) && at_ != nullptr) at_ = Model::next(tree_, *at_);
  return at_;
}

void TreeWalk::taken_out(const Map &map) {
  if (at_ != &map) return;
  at_ = Model::next(tree_, map);
  moved_ = true;
}

void TreeWalk::emptied() {
  at_ = nullptr;
  begun_ = true;
}

Map *Model::next(const Tree &tree, const Map &map) {
  for (Map *node : tree.nodes) {
    if (node->key <= map.key) continue;
    // A node that compares equal to a map outside the tree does not come after it.
    if (map.tree != &tree && tree.symmetric && begins(node->key, map.key)) continue;
    return node;
  }
  return nullptr;
}

Found Model::retrieve(uint32_t clid, const zar_map_info *info, Kind kind) {
  if (!known(clid) || !valid(info)) return {kInvalid, 0};
  Database *database = database_of(clid);
  if (database == nullptr) return {kFailed, 0};
  const Map *map = search(database->tree(kind), key_of(*info));
  return {0, map == nullptr ? 0 : map->handle};
}

// ---- Around a call

void Model::foresee(const calls::Call &call, const Arguments &arguments) {
  const calls::Operation &what = calls::operation(call.op);
  for (size_t i = 0; i < what.count; ++i) {
    const calls::Param param = what.params[i];
    if (param == calls::Param::info && valid(arguments.info(i))) ask(key_of(*arguments.info(i)));
    const Map *map = arguments.handle(i) == 0 ? nullptr : map_behind(arguments.handle(i));
    if (map != nullptr) ask(map->key);
    if (param == calls::Param::name && arguments.given(i))
      for (uint32_t type : {1U, 2U}) {
        const zar_map_info info{kSubscriber, type, arguments.text(i), 0};
        ask(key_of(info));
      }
  }
  const zar_map_info autoconf{kSubscriber, 1, kAutoconf, 0};
  ask(key_of(autoconf));
  if (call.op != calls::Op::zar_pmtr_create_or_add_filter) return;
  if (const PmtrMap *map = resolve<PmtrMap>(arguments.handle(0))) {
    const std::string name = "__PMTR__" + map->name + std::to_string(static_cast<int32_t>(arguments.number(5)));
    const zar_map_info hidden{kSubscriber, 1, name.c_str(), 1};
    ask(key_of(hidden));
  }
}

void Model::follow(const calls::Call &call, const Arguments &arguments, Seen &seen) {
  using Prediction = void (*)(Model &, const Arguments &, Seen &);
  static constexpr std::array<Prediction, static_cast<size_t>(calls::Op::count)> kPredictions = {
#define OPERATION(weight, name, ...) predict::name,
#include "tests/walk/calls/operations.inc"
#undef OPERATION
  };
  kPredictions[static_cast<size_t>(call.op)](*this, arguments, seen);
}

// ---- Steps of operations

Event *Model::event_of(const Pmap &pmap, uint32_t id) const {
  for (Event *event : pmap.events)
    if (event->id == id) return event;
  return nullptr;
}

Rule *Model::rule_of(const Event &event, const Cmap &cmap) {
  for (Rule *rule : event.rules)
    if (rule->cmap == &cmap) return rule;
  return nullptr;
}

Rule *Model::stored_rule(const Arguments &arguments) {
  const Found stored_policy = retrieve(arguments.number(0), arguments.info(1), Kind::pmap);
  const Found stored_class = retrieve(arguments.number(0), arguments.info(3), Kind::cmap);
  const Pmap *pmap = resolve<Pmap>(stored_policy.handle);
  const Cmap *cmap = resolve<Cmap>(stored_class.handle);
  if (pmap == nullptr || !pmap->control() || !arguments.given(2) || cmap == nullptr) return nullptr;
  const Event *event = event_of(*pmap, arguments.pointer<const zar_event_context>(2)->event_id);
  return event == nullptr ? nullptr : rule_of(*event, *cmap);
}

void Model::update_references(Pmap &pmap, Cmap &cmap) {
  const auto found =
      std::find_if(pmap.cmap_refs.begin(), pmap.cmap_refs.end(), [&](const auto &ref) { return ref.first == &cmap; });
  if (found != pmap.cmap_refs.end()) {
    ++found->second;
  } else {
    pmap.cmap_refs.emplace_back(&cmap, 1);
  }
  if (std::find(cmap.pmap_refs.begin(), cmap.pmap_refs.end(), &pmap) == cmap.pmap_refs.end())
    cmap.pmap_refs.push_back(&pmap);
}

void Model::remove_references(Pmap &pmap, Cmap &cmap) {
  const auto found =
      std::find_if(pmap.cmap_refs.begin(), pmap.cmap_refs.end(), [&](const auto &ref) { return ref.first == &cmap; });
  if (found == pmap.cmap_refs.end() || --found->second > 0) return;
  pmap.cmap_refs.erase(found);
  remove_first(cmap.pmap_refs, &pmap);
}

void Model::lose_references() {
  for (Pmap *pmap : all<Pmap>()) {
    std::vector<std::pair<Cmap *, uint32_t>> kept;
    for (const void *element : runtime::elements(&static_cast<const zar_pmap *>(pmap->record)->cmap_refs)) {
      const auto &ref = *static_cast<const zar_pmap_cmap_ref *>(element);
      for (const auto &[cmap, count] : pmap->cmap_refs)
        if (cmap->record == ref.cmap) kept.emplace_back(cmap, std::min(count, ref.ref_count));
    }
    pmap->cmap_refs = std::move(kept);
  }
  for (Cmap *cmap : all<Cmap>()) {
    const auto elements = runtime::elements(&static_cast<const zar_cmap *>(cmap->record)->pmap_refs);
    std::erase_if(cmap->pmap_refs, [&](const Pmap *pmap) {
      return std::none_of(elements.begin(), elements.end(), [&](const void *element) {
        return static_cast<const zar_cmap_pmap_ref *>(element)->pmap == pmap->record;
      });
    });
  }
}

Rule &Model::add_rule(uint32_t handle, Cmap &cmap, uint32_t exec_criteria, Event *event, uint32_t number) {
  Rule &rule = add<Rule>(handle);
  rule.cmap = &cmap;
  rule.exec_criteria = exec_criteria == 0 ? 2 : exec_criteria;
  rule.event = event;
  if (event == nullptr || event->pmap == nullptr) ++cmap.uncounted;
  if (event == nullptr) return rule;
  rule.number = static_cast<uint8_t>(number);
  const auto place = std::find_if(event->rules.begin(), event->rules.end(),
                                  [&](const Rule *present) { return present->number > rule.number; });
  event->rules.insert(place, &rule);
  if (event->pmap != nullptr) update_references(*event->pmap, cmap);
  return rule;
}

uint32_t Model::newcomer(const queue_head &queue, size_t handle_at, Seen &seen) const {
  for (const void *element : runtime::elements(&queue)) {
    const auto handle = *reinterpret_cast<const uint32_t *>(static_cast<const char *>(element) + handle_at);
    if (!was_seen(handle)) return handle;
  }
  seen.fail("the list has no new element");
  return 0;
}

uint32_t Model::new_event(const Pmap &pmap, Seen &seen) const {
  return newcomer(static_cast<const zar_pmap *>(pmap.record)->rule_list, offsetof(zar_event_tuple, handle), seen);
}
uint32_t Model::new_rule(const Event &event, Seen &seen) const {
  return newcomer(static_cast<const zar_event_tuple *>(event.record)->class_actions, offsetof(zar_class_action, handle),
                  seen);
}
uint32_t Model::new_rule(const Pmap &pmap, Seen &seen) const {
  return newcomer(static_cast<const zar_pmap *>(pmap.record)->rule_list, offsetof(zar_class_action, handle), seen);
}
uint32_t Model::new_filter(const Cmap &cmap, Seen &seen) const {
  return newcomer(static_cast<const zar_cmap *>(cmap.record)->filters, offsetof(zar_filter, handle), seen);
}

namespace {

std::string freed(const zar_filter_context &context) {
  return calls::text(context.filter_free_fn == calls::free_data ? "free %u" : "free too %u",
                     calls::id_of(context.filter_data));
}
std::string freed(const zar_action_context &context) {
  return calls::text(context.action_free_fn == calls::free_data ? "free %u" : "free too %u",
                     calls::id_of(context.action_data));
}

}  // namespace

void Model::drop_reference(Action &action) {
  if (--action.refs > 0) return;
  const Busy busy(*this, {&action});
  action.life = Life::ending;
  called(freed(action.context));
  forget(action);
}

void Model::free_filter(Filter &filter) {
  const Busy busy(*this, {&filter});
  filter.life = Life::ending;
  called(freed(filter.context));
  forget(filter);
}

void Model::replace_data(Action &action, const zar_action_context &context) {
  const Busy busy(*this, {&action});
  const std::string line = freed(action.context);
  action.context.action_data = context.action_data;
  called(line);
}

void Model::replace_data(Filter &filter, const zar_filter_context &context) {
  const Busy busy(*this, {&filter});
  const std::string line = freed(filter.context);
  filter.context.filter_data = context.filter_data;
  called(line);
}

void Model::free_rule(Rule &rule) {
  const Busy busy(*this, {&rule});
  rule.life = Life::ending;
  if (rule.event == nullptr || rule.event->pmap == nullptr) --rule.cmap->uncounted;
  while (!rule.actions.empty()) {
    Action &action = *rule.actions.take_first();
    --action.listed;
    drop_reference(action);
  }
  forget(rule);
}

void Model::delete_event(Event &event) {
  const Busy busy(*this, {&event, event.pmap});
  event.life = Life::ending;
  if (event.pmap != nullptr) event.pmap->events.remove(&event);
  while (!event.rules.empty()) {
    Rule &rule = *event.rules.take_first();
    if (event.pmap != nullptr) remove_references(*event.pmap, *rule.cmap);
    free_rule(rule);
  }
  forget(event);
}

void Model::delete_rules_of(Pmap &pmap) {
  const Busy busy(*this, {&pmap});
  for (Walk events(pmap.events); Event *event = events.next();)
    delete_event(*event);
  while (!pmap.rules.empty())
    free_rule(*pmap.rules.take_first());
}

void Model::delete_autoconf_policy() {
  const zar_map_info info{kSubscriber, 1, kAutoconf, 0};
  const Found found = retrieve(owner_of(kSubscriber), &info, Kind::pmap);
  if (Pmap *pmap = resolve<Pmap>(found.handle)) delete_rules_of(*pmap);
}

void Model::delete_policy(Pmap &pmap) {
  const Busy busy(*this, {&pmap});
  if (pmap.name == kAutoconf) {
    delete_autoconf_policy();
    delete_rules_of(pmap);
    return;
  }
  pmap.life = Life::ending;
  delete_rules_of(pmap);
  for (Walk targets(pmap.targets); Target *target = targets.next();)
    disassociate(pmap, *target);
  forget(pmap);
}

// The client that is notified of removals may store the policy-map again, or delete it.
uint32_t Model::delete_policy_of_tree(uint32_t clid, Pmap &pmap) {
  const uint32_t handle = pmap.handle;
  take_out(pmap);
  for (Walk targets(pmap.targets); Target *target = targets.next();) {
    const uint32_t target_handle = target->handle;
    disassociate(pmap, *target);
    if (clients[clid - 1].has_removal_function)
      called(calls::text("removed target:0x%x pmap:0x%x", target_handle, handle));
  }
  if (resolve<Pmap>(handle) == nullptr) return kInvalid;
  take_out(pmap);
  delete_policy(pmap);
  return 0;
}

void Model::free_class(Cmap &cmap) {
  const Busy busy(*this, {&cmap});
  cmap.life = Life::ending;
  while (!cmap.filters.empty())
    free_filter(*cmap.filters.take_first());
  forget(cmap);
}

uint32_t Model::delete_stored_class(uint32_t clid, uint32_t handle) {
  Cmap *cmap = resolve<Cmap>(handle);
  if (!known(clid) || cmap == nullptr) return kInvalid;
  Database *database = database_of(clid);
  if (database == nullptr) return kFailed;
  if (!cmap->pmap_refs.empty()) return kInvalid;
  if (cmap->tree != &database->cmaps) return kTree;
  take_out(*cmap);
  free_class(*cmap);
  return 0;
}

// ---- Targets

bool Model::refuses(calls::Refusal request) {
  if (refusal != request) return false;
  refusal = calls::Refusal::none;
  return true;
}

namespace {

std::string place_of(const Target &target, const Pmap &pmap) {
  return calls::text("0x%x/", target.handle) + calls::instance_key(pmap.name.c_str(), pmap.domain.c_str(), pmap.type);
}

}  // namespace

uint32_t Model::associate(uint32_t clid, Target &target, Pmap &pmap) {
  const Busy busy(*this, {&target, &pmap});
  target.active.push_back(&pmap);
  pmap.targets.push_back(&target);
  const std::string place = place_of(target, pmap);
  called("create " + place + calls::text(" clid:%u", clid));
  if (refuses(calls::Refusal::create)) {
    disassociate(pmap, target);
    return kFailed;
  }
  instances_.insert(place);
  notify_handlers(pmap, target, true);
  return 0;
}

bool Model::disassociate(Pmap &pmap, Target &target) {
  const Busy busy(*this, {&target, &pmap});
  pmap.targets.remove(&target);
  target.active.remove(&pmap);
  const std::string place = place_of(target, pmap);
  called("find " + place);
  if (refuses(calls::Refusal::find) || !instances_.contains(place)) return false;
  called("delete " + place);
  if (refuses(calls::Refusal::remove)) return false;
  instances_.erase(place);
  notify_handlers(pmap, target, false);
  return true;
}

void Model::notify_handlers(Pmap &pmap, const Target &target, bool added) {
  const auto id = static_cast<unsigned long>(target.info->target_id);
  std::string list;
  for (Walk events(pmap.events); Event *event = events.next();)
    for (Walk rules(event->rules); Rule *rule = rules.next();)
      for (Walk actions(rule->actions); const Action *action = actions.next();) {
        if (action->context.action_notify_fn == nullptr) continue;
        const Busy busy(*this, {action});
        list += calls::text(" %lu", id);
        called(calls::text("notify %u of %u:", added ? 0U : 1U, calls::id_of(action->context.action_data)) + list);
      }
}

// A handler notified of a deactivation may activate another policy-map on the target, as long as the target has a
// handle.
uint32_t Model::delete_target(Target &target) {
  const Busy busy(*this, {&target});
  target.being_deleted = true;
  for (Walk active(target.active); Pmap *pmap = active.next();)
    disassociate(*pmap, target);
  target.life = Life::nameless;
  for (Walk active(target.active); Pmap *pmap = active.next();)
    disassociate(*pmap, target);
  Context *context = target.context;
  const bool stays = context != nullptr && context->used && (called("free the context"), true) &&
                     refuses(calls::Refusal::free_context);
  forget(target);
  if (stays) {
    lost_records += 2;
    lost_ids += 1;
    return kFailed;
  }
  if (context != nullptr) forget(*context);
  return 0;
}

void Model::destroy(Database &database) {
  empty(database.pmaps);
  empty(database.cmaps);
  while (!database.targets.empty()) {
    Target &target = *database.targets.begin()->second;
    database.targets.erase(target.handle);
    target.stored_in = nullptr;
    delete_target(target);
  }
  empty(database.pmtr_maps);
}

// ---- Content

bool Model::same(const Filter &filter, const zar_filter_context &context) {
  if (filter.context.filter_free_fn != context.filter_free_fn ||
      filter.context.filter_eval_fn != context.filter_eval_fn)
    return false;
  return compare(filter, filter.context.filter_data, context.filter_data);
}

bool Model::same(const Action &action, const zar_action_context &context) {
  if (action.context.action_free_fn != context.action_free_fn ||
      action.context.action_entry_fn != context.action_entry_fn)
    return false;
  return compare(action, action.context.action_data, context.action_data);
}

bool Model::compare(const Object &object, const void *stored, const void *offered) {
  const Busy busy(*this, {&object});
  called(calls::text("compare %u %u", calls::id_of(stored), calls::id_of(offered)));
  if (stored == nullptr || offered == nullptr) return stored == offered;
  return static_cast<const calls::Data *>(stored)->value == static_cast<const calls::Data *>(offered)->value;
}

Filter *Model::filter_like(Cmap &cmap, const zar_filter_context &context, uint32_t no_match) {
  for (Walk filters(cmap.filters); Filter *filter = filters.next();)
    if (same(*filter, context) && filters.still_in_list() && filter->no_match == static_cast<uint8_t>(no_match))
      return filter;
  return nullptr;
}

void Model::free_context(const zar_action_context &context) {
  if (context.action_free_fn == nullptr) return;
  called(calls::text(
      context.action_free_fn == calls::free_data ? "free context %u, data 0" : "free too context %u, data 0",
      calls::id_of(context.action_data)));
}

std::optional<std::string> Model::text_of(const Action &action, uint32_t argument) {
  const Busy busy(*this, {&action});
  const auto *data = static_cast<const calls::Data *>(action.context.action_data);
  called(calls::text("text of %u with %u", calls::id_of(data), argument));
  if (data == nullptr || data->mute) return {};
  return calls::action_text_of(*data, argument);
}

std::optional<std::string> Model::text_of(const Filter &filter) {
  const Busy busy(*this, {&filter});
  const auto *data = static_cast<const calls::Data *>(filter.context.filter_data);
  called(calls::text("text of %u", calls::id_of(data)));
  if (data == nullptr || data->mute) return {};
  return calls::filter_text_of(*data);
}

// ---- Parameter-maps

std::shared_ptr<Statement> Model::statement_of(const PmtrMap &map, uint32_t index) {
  for (const auto &statement : map.statements)
    if (statement->index == index && !statement->ending) return statement;
  return nullptr;
}

void Model::end_statement(Statement &statement, uint32_t owner) {
  const Busy busy(*this, {&statement});
  statement.ending = true;
  while (!statement.actions.empty()) {
    Action &action = *statement.actions.take_first();
    --action.listed;
    drop_reference(action);
  }
  delete_stored_class(owner, statement.cmap);
}

// The statement stays in the list until its contents are freed.
void Model::delete_statement(PmtrMap &map, uint32_t index) {
  const Busy busy(*this, {&map});
  const std::shared_ptr<Statement> statement = statement_of(map, index);
  end_statement(*statement, owner_of(kSubscriber));
  map.statements.remove(statement);
}

void Model::delete_pmtr_map(PmtrMap &map) {
  const Busy busy(*this, {&map});
  map.life = Life::ending;
  while (!map.statements.empty()) {
    const std::shared_ptr<Statement> statement = map.statements.take_first();
    end_statement(*statement, owner_of(kSubscriber));
  }
  ++lost_texts[map.domain];
  forget(map);
}

uint32_t Model::find_subscriber_map(const char *name, uint32_t type, uint32_t *handle) {
  const zar_map_info info{kSubscriber, type, name, 0};
  const Found found = retrieve(owner_of(kSubscriber), &info, Kind::pmtr_map);
  *handle = found.handle;
  return found.status == 0 && found.handle == 0 ? kNothing : found.status;
}

}  // namespace model
