// Compares the library's records with the model's objects, as far as the public records show them.
#include <functional>

#include "host/runtime/control.h"
#include "platform/runtime.h"
#include "tests/walk/model/model.h"

namespace model {
namespace {

// The first difference between one object and its record.
class Comparison {
 public:
  explicit Comparison(std::string name) : name_(std::move(name)) {}

  template <typename Value>
  void same(const char *field, const Value &library, const Value &expected) {
    if (library != expected) note(field, std::to_string(library), std::to_string(expected));
  }
  void same(const char *field, const char *library, const std::string &expected) {
    if (library == nullptr || library != expected) note(field, library == nullptr ? "NULL" : library, expected);
  }
  void same_pointer(const char *field, const void *library, const void *expected) {
    if (library != expected) note(field, calls::text("%p", library), calls::text("%p", expected));
  }
  // Compares what 'of_element' returns for each element of a queue with what 'of_object' returns for the model's.
  template <typename Record, typename List, typename OfElement, typename OfObject>
  void same_list(const char *field, const queue_head &queue, const List &list, OfElement of_element,
                 OfObject of_object) {
    if (queue.count != list.size()) note(field, text_of(queue.count), text_of(list.size()));
    if (queue.count == 0) return;
    const std::vector<void *> elements = runtime::elements(&queue);
    if (elements.size() != list.size()) return note(field, text_of(elements.size()), text_of(list.size()));
    size_t at = 0;
    for (const auto &object : list) {
      const auto library = of_element(*static_cast<const Record *>(elements[at]));
      const auto expected = of_object(object);
      if (library != expected) note(calls::text("%s[%zu]", field, at), text_of(library), text_of(expected));
      ++at;
    }
  }
  // Compares a queue that holds the records of the objects themselves.
  template <typename Record, typename Type>
  void same_members(const char *field, const queue_head &queue, const List<Type *> &list) {
    same_list<Record>(
        field, queue, list, [](const Record &record) { return record.handle; },
        [](const Type *object) { return object->handle; });
  }

  const std::string &result() const { return result_; }

 private:
  static const std::string &text_of(const std::string &text) { return text; }
  static std::string text_of(uint64_t number) { return calls::text("0x%lx", static_cast<unsigned long>(number)); }
  void note(const std::string &field, const std::string &library, const std::string &expected) {
    if (result_.empty()) result_ = name_ + ": " + field + " is " + library + ", not " + expected;
  }

  std::string name_;
  std::string result_;
};

uint32_t handle_of(const Object *object) {
  return object->handle;
}

void compare(Comparison &c, const Pmap &pmap) {
  const auto &record = *static_cast<const zar_pmap *>(pmap.record);
  c.same("handle", record.handle, pmap.handle);
  c.same("name", sdb_string_addr_ptr(record.name), pmap.name);
  c.same("domain", sdb_string_addr_ptr(record.domain), pmap.domain);
  c.same("domain_type", record.domain_type, pmap.type);
  c.same("hidden", record.hidden, pmap.hidden);
  c.same("hash_str", record.hash_str, pmap.key);
  c.same("target_count", record.target_count, 0U);
  using Reference = std::pair<Cmap *, uint32_t>;
  c.same_list<zar_pmap_cmap_ref>(
      "cmap_refs", record.cmap_refs, pmap.cmap_refs, [](const auto &ref) { return ref.cmap->handle; },
      [](const Reference &ref) { return ref.first->handle; });
  c.same_list<zar_pmap_cmap_ref>(
      "counts of cmap_refs", record.cmap_refs, pmap.cmap_refs, [](const auto &ref) { return ref.ref_count; },
      [](const Reference &ref) { return ref.second; });
  c.same_list<zar_pmap_target_ref>(
      "target_refs", record.target_refs, pmap.targets, [](const auto &ref) { return ref.target->handle; }, handle_of);
  if (pmap.control()) {
    c.same_members<zar_event_tuple>("rule_list", record.rule_list, pmap.events);
  } else {
    c.same_members<zar_class_action>("rule_list", record.rule_list, pmap.rules);
  }
}

void compare(Comparison &c, const Cmap &cmap) {
  const auto &record = *static_cast<const zar_cmap *>(cmap.record);
  c.same("handle", record.handle, cmap.handle);
  c.same("name", sdb_string_addr_ptr(record.name), cmap.name);
  c.same("domain", sdb_string_addr_ptr(record.domain), cmap.domain);
  c.same("domain_type", record.domain_type, cmap.type);
  c.same("hidden", record.hidden, cmap.hidden);
  c.same("hash_str", record.hash_str, cmap.key);
  c.same("match_criteria", record.match_criteria, cmap.match_criteria);
  c.same("filter_type_mask", record.filter_type_mask, cmap.mask);
  c.same_list<zar_cmap_pmap_ref>(
      "pmap_refs", record.pmap_refs, cmap.pmap_refs, [](const auto &ref) { return ref.pmap->handle; }, handle_of);
  c.same_members<zar_filter>("filters", record.filters, cmap.filters);
}

void compare(Comparison &c, const Action &action) {
  const auto &record = *static_cast<const zar_action *>(action.record);
  c.same("handle", record.handle, action.handle);
  c.same("action_num", record.action_num, action.number);
  c.same("precedence", record.precedence, action.precedence);
  c.same("ref_count", record.ref_count, action.refs);
  c.same("executed_count", record.executed_count, action.executed);
  c.same_pointer("action_data", record.action_data, action.context.action_data);
  c.same("action_free_fn", record.action_free_fn == action.context.action_free_fn, true);
  c.same("action_entry_fn", record.action_entry_fn == action.context.action_entry_fn, true);
  c.same("action_str_fn", record.action_str_fn == action.context.action_str_fn, true);
  c.same("action_compare_fn", record.action_compare_fn == action.context.action_compare_fn, true);
  c.same("action_notify_fn", record.action_notify_fn == action.context.action_notify_fn, true);
  c.same("action_param_map_check_fn", record.action_param_map_check_fn == action.context.action_param_map_check_fn,
         true);
}

void compare(Comparison &c, const Filter &filter) {
  const auto &record = *static_cast<const zar_filter *>(filter.record);
  c.same("handle", record.handle, filter.handle);
  c.same_pointer("filter_data", record.filter_data, filter.context.filter_data);
  c.same("filter_eval_fn", record.filter_eval_fn == filter.context.filter_eval_fn, true);
  c.same("filter_free_fn", record.filter_free_fn == filter.context.filter_free_fn, true);
  c.same("filter_str_fn", record.filter_str_fn == filter.context.filter_str_fn, true);
  c.same("filter_compare_fn", record.filter_compare_fn == filter.context.filter_compare_fn, true);
  c.same("no_match", record.no_match, filter.no_match);
  c.same("regex", record.regex, filter.regex);
  c.same("pmtr_flag_1", record.pmtr_flag_1, filter.flag_1);
  c.same("pmtr_flag_2", record.pmtr_flag_2, filter.flag_2);
  c.same("exec_count", record.exec_count, filter.counts[0]);
  c.same("hit_count", record.hit_count, filter.counts[1]);
  c.same("miss_count", record.miss_count, filter.counts[2]);
  c.same("comp_count", record.comp_count, filter.counts[3]);
}

void compare(Comparison &c, const Event &event) {
  const auto &record = *static_cast<const zar_event_tuple *>(event.record);
  c.same("handle", record.handle, event.handle);
  c.same_pointer("pmap", record.pmap, event.pmap == nullptr ? nullptr : event.pmap->record);
  c.same("match_criteria", record.match_criteria, event.criteria);
  c.same("event_id", record.event_context->event_id, event.id);
  c.same("event_name", sdb_string_addr_ptr(record.event_context->event_name), event.name);
  c.same_members<zar_class_action>("class_actions", record.class_actions, event.rules);
}

void compare(Comparison &c, const Rule &rule) {
  const auto &record = *static_cast<const zar_class_action *>(rule.record);
  c.same("handle", record.handle, rule.handle);
  c.same("class_num", record.class_num, rule.number);
  c.same("exec_criteria", record.exec_criteria, rule.exec_criteria);
  c.same_pointer("cmap", record.cmap, rule.cmap->record);
  c.same_members<zar_action>("actions", record.actions, rule.actions);
}

void compare(Comparison &c, const Target &target) {
  const auto &record = *static_cast<const zar_target *>(target.record);
  c.same("handle", record.handle, target.handle);
  c.same_pointer("target_info", record.target_info, target.info);
  c.same_list<zar_target_pmap>(
      "active_pmaps", record.active_pmaps, target.active, [](const auto &entry) { return entry.pmap->handle; },
      handle_of);
  c.same("reserved_queue", record.reserved_queue.count, 0U);
  c.same_pointer("policy_context", record.policy_context, target.context == nullptr ? nullptr : target.context->record);
}

// The engine's words: the walk's host writes only the first.
void compare(Comparison &c, const Context &context) {
  const auto &record = *static_cast<const zar_target_policy_context *>(context.record);
  c.same("handle", record.handle, context.handle);
  c.same("whether ae_context is set", record.ae_context != nullptr, context.used);
  c.same_pointer("engine_word_1", record.engine_word_1, nullptr);
  c.same_pointer("engine_word_2", record.engine_word_2, nullptr);
}

void compare(Comparison &c, const PmtrMap &map) {
  const auto &record = *static_cast<const zar_pmtr_map *>(map.record);
  c.same("handle", record.handle, map.handle);
  c.same("name", sdb_string_addr_ptr(record.name), map.name);
  c.same("domain", sdb_string_addr_ptr(record.domain), map.domain);
  c.same("domain_type", record.domain_type, map.type);
  c.same("hidden", static_cast<uint32_t>(record.hidden), map.hidden);
  c.same("hash_str", record.hash_str, map.key);
  c.same_list<zar_pmtr_map_stmt>(
      "indexes of stmt_queue", record.stmt_queue, map.statements,
      [](const auto &record_of) { return record_of.map_index; },
      [](const auto &statement) { return statement->index; });
  c.same_list<zar_pmtr_map_stmt>(
      "class-maps of stmt_queue", record.stmt_queue, map.statements,
      [](const auto &record_of) { return record_of.internal_cmap; },
      [](const auto &statement) { return statement->cmap; });
  if (!c.result().empty()) return;
  const std::vector<void *> statements = runtime::elements(&record.stmt_queue);
  for (size_t i = 0; i < statements.size(); ++i)
    c.same_members<zar_action>("action_queue", static_cast<const zar_pmtr_map_stmt *>(statements[i])->action_queue,
                               map.statements[i]->actions);
}

template <typename Type>
std::string compared(const char *kind, const Object &object) {
  Comparison comparison(calls::text("%s 0x%x", kind, object.handle));
  compare(comparison, static_cast<const Type &>(object));
  return comparison.result();
}

std::string compared(const Object &object) {
  switch (object.kind) {
    case Kind::pmap:
      return compared<Pmap>("pmap", object);
    case Kind::cmap:
      return compared<Cmap>("cmap", object);
    case Kind::action:
      return compared<Action>("action", object);
    case Kind::filter:
      return compared<Filter>("filter", object);
    case Kind::event:
      return compared<Event>("event", object);
    case Kind::rule:
      return compared<Rule>("rule", object);
    case Kind::target:
      return compared<Target>("target", object);
    case Kind::policy_context:
      return compared<Context>("policy context", object);
    case Kind::pmtr_map:
      return compared<PmtrMap>("parameter-map", object);
  }
  return {};
}

std::string compared(const char *name, const avl_tree *tree, const std::vector<const void *> &expected) {
  size_t at = 0;
  void *record = nullptr;
  i_avl_get_first(tree->top.parent, &record);
  for (; record != nullptr; ++at) {
    if (at >= expected.size() || expected[at] != record)
      return calls::text("%s holds an unexpected record at position %zu", name, at);
    i_avl_get_next(const_cast<avl_tree *>(tree), record, &record);
  }
  return at == expected.size() ? "" : calls::text("%s holds %zu records, not %zu", name, at, expected.size());
}

std::vector<const void *> records_of(const Tree &tree) {
  std::vector<const void *> records;
  for (const Map *map : tree.nodes)
    records.push_back(map->record);
  return records;
}

std::string compared(const Database &database) {
  const zar_db &record = *database.record;
  std::string result = compared("the policy-map tree", record.pmap_tree, records_of(database.pmaps));
  if (result.empty()) result = compared("the class-map tree", record.cmap_tree, records_of(database.cmaps));
  if (result.empty()) result = compared("the parameter-map tree", record.pmtr_map_tree, records_of(database.pmtr_maps));
  std::vector<const void *> targets;
  for (const auto &[handle, target] : database.targets)
    targets.push_back(target->record);
  if (result.empty()) result = compared("the target tree", record.target_tree, targets);
  return result;
}

std::string compared(const std::vector<Client> &clients) {
  if (zar_current_max_clients != clients.size()) return "the number of clients is wrong";
  constexpr size_t kRoom = 10;
  if (zar_allowed_max_clients != (clients.size() + kRoom - 1) / kRoom * kRoom && clients.size() > kRoom)
    return "the size of the client table is wrong";
  for (size_t i = 0; i < clients.size(); ++i) {
    Comparison c(calls::text("client %zu", i + 1));
    const zar_client_data &record = *zar_clients_info[i];
    c.same("clid", record.clid, static_cast<uint32_t>(i + 1));
    if (clients[i].named) {
      c.same("name", record.name, clients[i].name);
    } else {
      c.same_pointer("name", record.name, nullptr);
    }
    c.same("status", record.status, clients[i].active ? 1U : 0U);
    c.same_pointer("database", record.database, clients[i].database == nullptr ? nullptr : clients[i].database->record);
    c.same("removal_vector", record.removal_vector != nullptr, clients[i].has_removal_function);
    if (!c.result().empty()) return c.result();
  }
  return {};
}

std::string compared(const std::vector<std::pair<std::string, uint32_t>> &domains) {
  Comparison c("domains");
  using Claim = std::pair<std::string, uint32_t>;
  c.same_list<zar_domain_entry>(
      "owners", zar_domain_list, domains, [](const auto &entry) { return entry.owner_clid; },
      [](const Claim &claim) { return claim.second; });
  c.same_list<zar_domain_entry>(
      "names", zar_domain_list, domains, [](const auto &entry) { return std::string(entry.domain); },
      [](const Claim &claim) { return claim.first; });
  return c.result();
}

}  // namespace

std::string Model::difference() const {
  std::string result = compared(clients);
  if (result.empty()) result = compared(domains);
  for (const auto &database : databases)
    if (result.empty()) result = compared(*database);
  for (const auto &[handle, object] : objects_)
    if (result.empty()) result = compared(*object);
  return result;
}

}  // namespace model
