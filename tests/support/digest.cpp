// The repository as a text. Objects are found by their structure, starting at the trees and at what the makers made, and
// are written in the order of their handles. A pointer is followed only if a live handle names it, so that a state with
// dangling references can still be written.
#include <cinttypes>
#include <set>
#include <unordered_map>

#include "platform/runtime.h"
#include "support/repository.h"

namespace rig {

class Digest {
 public:
  explicit Digest(const World &world) : world_(world) {
    for (uint32_t handle : runtime::live_ids()) {
      // A handle can outlive its record; the record that has its place now was issued later.
      if (void *record = zar_handle_get_context(handle)) handles_[record] = handle;
    }
  }

  std::string text() {
    write_clients();
    write_domains();
    for (size_t i = 0; i < databases_.size(); ++i)
      write_database(i);
    for (const auto &[handle, kind] : world_.noted_) {
      const Quiet quiet;
      if (World::live(handle)) reach(kind, zar_handle_get_context(handle));
    }
    for (const auto &[handle, line] : objects_)
      head_ += line + "\n";
    return head_;
  }

 private:
  void add(const std::string &line) { head_ += line + "\n"; }

  // ---- Tables

  std::string database_name(const zar_db *database) {
    if (database == nullptr) return "none";
    for (size_t i = 0; i < databases_.size(); ++i) {
      if (databases_[i] == database) return rig::text("#%zu", i + 1);
    }
    databases_.push_back(database);
    return rig::text("#%zu", databases_.size());
  }

  void write_clients() {
    for (const zar_db *database : world_.databases_)
      database_name(database);
    add(rig::text("clients %u of %u", zar_current_max_clients, zar_allowed_max_clients));
    for (uint32_t i = 0; i < zar_current_max_clients && zar_clients_info != nullptr; ++i) {
      const zar_client_data *client = zar_clients_info[i];
      if (client == nullptr) {
        add(rig::text("client at %u: none", i));
        continue;
      }
      add(rig::text("client at %u: clid:%u \"%s\" status:%u database:%s removal:%d", i, client->clid,
                    client->name ? client->name : "(none)", client->status, database_name(client->database),
                    client->removal_vector != nullptr));
    }
  }

  void write_domains() {
    for (const void *element : runtime::elements(&zar_domain_list)) {
      const auto *entry = static_cast<const zar_domain_entry *>(element);
      add(rig::text("domain \"%s\" owner:%u", entry->domain, entry->owner_clid));
    }
  }

  void write_database(size_t at) {
    const zar_db *database = databases_[at];
    write_tree(at, "pmap_tree", database->pmap_tree, Kind::pmap);
    write_tree(at, "cmap_tree", database->cmap_tree, Kind::cmap);
    write_tree(at, "target_tree", database->target_tree, Kind::target);
    write_tree(at, "pmtr_map_tree", database->pmtr_map_tree, Kind::pmtr_map);
  }

  void write_tree(size_t at, const char *name, avl_tree *tree, Kind kind) {
    std::string line = rig::text("database #%zu %s:", at + 1, name);
    void *record = nullptr;
    if (tree != nullptr) i_avl_get_first(tree->top.parent, &record);
    while (record != nullptr) {
      line += ' ';
      line += reach(kind_in_tree(record, kind), record);
      i_avl_get_next(tree, record, &record);
    }
    add(line);
  }

  // A tree of maps accepts maps of every kind; the kind of a record that a maker created is known.
  Kind kind_in_tree(const void *record, Kind kind) const {
    const auto handle = handles_.find(record);
    if (handle == handles_.end()) return kind;
    const auto noted = world_.noted_.find(handle->second);
    return noted == world_.noted_.end() ? kind : noted->second;
  }

  // ---- Objects

  // The handle as a text; the object is written at its first occurrence.
  std::string reach(Kind kind, const void *record) {
    if (record == nullptr) return "none";
    const auto handle = handles_.find(record);
    if (handle == handles_.end()) return rig::text("?%p", record);
    if (objects_.try_emplace(handle->second).second) objects_[handle->second] = write(kind, record);
    return rig::text("0x%x", handle->second);
  }

  std::string write(Kind kind, const void *record) {
    switch (kind) {
      case Kind::pmap:
        return write_pmap(*static_cast<const zar_pmap *>(record));
      case Kind::cmap:
        return write_cmap(*static_cast<const zar_cmap *>(record));
      case Kind::action:
        return write_action(*static_cast<const zar_action *>(record));
      case Kind::filter:
        return write_filter(*static_cast<const zar_filter *>(record));
      case Kind::event:
        return write_event(*static_cast<const zar_event_tuple *>(record));
      case Kind::rule:
        return write_rule(*static_cast<const zar_class_action *>(record));
      case Kind::target:
        return write_target(*static_cast<const zar_target *>(record));
      case Kind::policy_context:
        return write_policy_context(*static_cast<const zar_target_policy_context *>(record));
      case Kind::pmtr_map:
        return write_pmtr_map(*static_cast<const zar_pmtr_map *>(record));
    }
    return "?";
  }

  // Each element as 'each' writes it, in order.
  template <typename Record, typename Each>
  std::string list(const queue_head &queue, Each each) {
    std::string out = "[";
    for (const void *element : runtime::elements(&queue)) {
      if (out.size() > 1) out += ' ';
      out += each(*static_cast<const Record *>(element));
    }
    return out + "]";
  }

  template <typename Record>
  std::string members(Kind kind, const queue_head &queue) {
    return list<Record>(queue, [&](const Record &record) { return reach(kind, &record); });
  }

  std::string write_pmap(const zar_pmap &pmap) {
    return rig::text("pmap 0x%x \"%s\" domain:\"%s\" type:%u hidden:%u key:%s count:%u", pmap.handle,
                     sdb_string_addr_ptr(pmap.name), sdb_string_addr_ptr(pmap.domain), pmap.domain_type, pmap.hidden,
                     pmap.hash_str, pmap.target_count) +
           " cmaps:" +
           list<zar_pmap_cmap_ref>(pmap.cmap_refs,
                                   [&](const zar_pmap_cmap_ref &ref) {
                                     return reach(Kind::cmap, ref.cmap) + rig::text("*%u", ref.ref_count);
                                   }) +
           " targets:" +
           list<zar_pmap_target_ref>(pmap.target_refs,
                                     [&](const zar_pmap_target_ref &ref) { return reach(Kind::target, ref.target); }) +
           " rules:" +
           (pmap.domain_type == 1 ? members<zar_event_tuple>(Kind::event, pmap.rule_list)
                                  : members<zar_class_action>(Kind::rule, pmap.rule_list));
  }

  std::string write_cmap(const zar_cmap &cmap) {
    return rig::text("cmap 0x%x \"%s\" domain:\"%s\" type:%u hidden:%u key:%s criteria:%u mask:0x%x", cmap.handle,
                     sdb_string_addr_ptr(cmap.name), sdb_string_addr_ptr(cmap.domain), cmap.domain_type, cmap.hidden,
                     cmap.hash_str, cmap.match_criteria, cmap.filter_type_mask) +
           " pmaps:" +
           list<zar_cmap_pmap_ref>(cmap.pmap_refs,
                                   [&](const zar_cmap_pmap_ref &ref) { return reach(Kind::pmap, ref.pmap); }) +
           " filters:" + members<zar_filter>(Kind::filter, cmap.filters);
  }

  static std::string function(auto *pointer) { return rig::text("%lx", reinterpret_cast<uintptr_t>(pointer)); }

  std::string write_action(const zar_action &action) {
    return rig::text("action 0x%x number:%u precedence:%u refs:%u executed:%u data:%p", action.handle,
                     action.action_num, action.precedence, action.ref_count, action.executed_count,
                     action.action_data) +
           " functions:" + function(action.action_free_fn) + "/" + function(action.action_entry_fn) + "/" +
           function(action.action_str_fn) + "/" + function(action.action_compare_fn) + "/" +
           function(action.action_notify_fn) + "/" + function(action.action_param_map_check_fn);
  }

  std::string write_filter(const zar_filter &filter) {
    return rig::text("filter 0x%x no_match:%u regex:%u flags:%u/%u counts:%u/%u/%u/%u data:%p", filter.handle,
                     filter.no_match, filter.regex, filter.pmtr_flag_1, filter.pmtr_flag_2, filter.exec_count,
                     filter.hit_count, filter.miss_count, filter.comp_count, filter.filter_data) +
           " functions:" + function(filter.filter_eval_fn) + "/" + function(filter.filter_free_fn) + "/" +
           function(filter.filter_str_fn) + "/" + function(filter.filter_compare_fn);
  }

  std::string write_event(const zar_event_tuple &event) {
    const zar_event_context *context = event.event_context;
    return rig::text("event 0x%x id:%d \"%s\" criteria:%u", event.handle, context ? context->event_id : 0,
                     context ? sdb_string_addr_ptr(context->event_name) : "(no context)", event.match_criteria) +
           " pmap:" + reach(Kind::pmap, event.pmap) +
           " rules:" + members<zar_class_action>(Kind::rule, event.class_actions);
  }

  std::string write_rule(const zar_class_action &rule) {
    return rig::text("rule 0x%x number:%u exec:%u", rule.handle, rule.class_num, rule.exec_criteria) +
           " cmap:" + reach(Kind::cmap, rule.cmap) + " actions:" + members<zar_action>(Kind::action, rule.actions);
  }

  std::string write_target(const zar_target &target) {
    return rig::text("target 0x%x info:%p", target.handle, target.target_info) + " active:" +
           list<zar_target_pmap>(target.active_pmaps,
                                 [&](const zar_target_pmap &entry) { return reach(Kind::pmap, entry.pmap); }) +
           rig::text(" reserved:%u", target.reserved_queue.count) +
           " context:" + reach(Kind::policy_context, target.policy_context);
  }

  std::string write_policy_context(const zar_target_policy_context &context) {
    return rig::text("policy context 0x%x ae:%p words:%p/%p", context.handle, context.ae_context, context.engine_word_1,
                     context.engine_word_2);
  }

  std::string write_pmtr_map(const zar_pmtr_map &map) {
    return rig::text("pmtr-map 0x%x \"%s\" domain:\"%s\" type:%u hidden:%u key:%s", map.handle,
                     sdb_string_addr_ptr(map.name), sdb_string_addr_ptr(map.domain), map.domain_type, map.hidden,
                     map.hash_str) +
           " statements:" + list<zar_pmtr_map_stmt>(map.stmt_queue, [&](const zar_pmtr_map_stmt &statement) {
             return rig::text("{%u cmap:", statement.map_index) + reach_by_handle(Kind::cmap, statement.internal_cmap) +
                    " actions:" + members<zar_action>(Kind::action, statement.action_queue) + "}";
           });
  }

  std::string reach_by_handle(Kind kind, uint32_t handle) {
    if (!World::live(handle)) return rig::text("?0x%x", handle);
    return reach(kind, zar_handle_get_context(handle));
  }

  const World &world_;
  const Quiet quiet_;
  std::vector<const zar_db *> databases_;
  std::unordered_map<const void *, uint32_t> handles_;
  std::map<uint32_t, std::string> objects_;
  std::string head_;
};

std::string World::digest() const {
  return Digest(*this).text();
}

}  // namespace rig
