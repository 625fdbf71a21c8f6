// The invariants of the records, walked from the ledger's notes.
//
// A pass visits each record and each list element a fixed number of times, so that it can run after every operation.
// The two sides of an association are compared by sums: each side adds up a digest of the pair; only if the sums
// differ, it searches for the pair that is on one side only. Marks in the notes show which elements are twice in a
// list, or in two lists. Callers' own records (fakes, probes, records that they made handles for) have no note and are
// skipped.
#include "core/debug/invariants.h"

#include <cstring>

#include "core/debug/notes.h"
#include "core/domains.h"
#include "core/handles.h"
#include "core/queue.h"
#include "core/status.h"

namespace zar::debug {

namespace {

uint64_t pass;
uint64_t met;

uint64_t mixed(uint64_t digest, uint64_t word) {
  digest = (digest ^ word) * 0xff51afd7ed558ccdu;
  return digest ^ digest >> 32;
}
uint64_t word_of(const void *address) {
  return reinterpret_cast<uintptr_t>(address);
}
uint64_t digest_of(const void *one, const void *other) {
  return mixed(mixed(1, word_of(one)), word_of(other));
}

template <class Record>
Record &record_of(const Note &note) {
  return *static_cast<Record *>(note.record);
}

template <class Visit>
void for_each_live(Visit visit) {
  for (uint32_t place = 0; place < live_count(); ++place)
    visit(live(place));
}
template <class Record, class Visit>
void for_each_live_record(Visit visit) {
  for_each_live([&](Note &note) {
    if (note.kind == kKindOf<Record>) visit(note, record_of<Record>(note));
  });
}

// ---- Invariants of every list

// Where an element was met, for messages.
struct Where {
  const char *record;  // the type that holds the list
  int number;          // the invariant about this list
  const char *list;
  uint32_t handle;  // of the holder
};

// The note of an element that must be a live record of this kind; NULL for a caller's own record.
template <class Record>
Note *live_element(const Where &where, const Record *element) {
  Note *note = note_of(element);
  if (!note) return nullptr;
  if (note->state == State::gone)
    broken(where.record, where.number, "'%s' of 0x%x holds a record that was freed", where.list, where.handle);
  if (note->kind != kKindOf<Record>)
    broken(where.record, where.number, "'%s' of 0x%x holds 0x%x, a record of another kind", where.list, where.handle,
           note->handle);
  return note;
}

// Checks that the element is in no other list, and in this one only once.
void expect_only_here(const Where &where, Note &note, const void *list) {
  if (note.pass == pass)
    broken(where.record, where.number, "0x%x is in '%s' of 0x%x and also somewhere else", note.handle, where.list,
           where.handle);
  if (note.list != list) {
    note.list = list;
    note.sequence = ++met;
  }
  note.pass = pass;
}

// The number of elements that the platform returns, or one more than the queue's count if there are more.
uint32_t count_elements(const queue_head &queue) {
  queue_cursor cursor{};
  uint32_t counted = 0;
  while (counted <= queue.count && queue_get_next(&queue, &cursor))
    ++counted;
  return counted;
}

// Visits the elements of a queue, and checks that it counts them correctly.
template <class Record, class Visit>
void for_each_element(const Where &where, const queue_head &queue, Visit visit) {
  for (Record &element : Elements<Record>(queue))
    visit(element);
  if (count_elements(queue) != queue.count)
    broken(where.record, where.number, "'%s' of 0x%x counts %u elements, but holds a different number", where.list,
           where.handle, queue.count);
}

// ---- What never changes

template <class Map>
uint64_t key_identity(const Map &map) {
  uint64_t digest = mixed(mixed(map.handle, word_of(map.name)), word_of(map.domain));
  return mixed(mixed(digest, map.domain_type), word_of(map.hash_str));
}
uint64_t identity_of(const zar_pmap &pmap) {
  return key_identity(pmap);
}
uint64_t identity_of(const zar_cmap &cmap) {
  return mixed(key_identity(cmap), uint64_t{cmap.match_criteria} << 32 | cmap.hidden);
}
uint64_t identity_of(const zar_pmtr_map &map) {
  return key_identity(map);
}

template <class Map>
void expect_same_identity(const char *record, Note &note, const Map &map) {
  uint64_t identity = identity_of(map);
  if (note.identity_known && note.identity != identity)
    broken(record, 1, "a field of 0x%x that must never change has changed", note.handle);
  note.identity = identity;
  note.identity_known = true;
}

// ---- Clients, domains, databases

void check_clients() {
  if (!zar_clients_info) return;
  if (zar_current_max_clients > zar_allowed_max_clients)
    broken("zar_client_data", 1, "there are %u clients in a table that has room for %u", zar_current_max_clients,
           zar_allowed_max_clients);
  for (uint32_t index = 0; index < zar_current_max_clients; ++index) {
    const zar_client_data *client = zar_clients_info[index];
    if (client && client->clid != index + 1)
      broken("zar_client_data", 1, "entry %u belongs to client %u", index, client->clid);
  }
}

void check_domains() {
  for (const zar_domain_entry &entry : Elements<zar_domain_entry>(zar_domain_list)) {
    const auto same = [&entry](const zar_domain_entry &other) {
      return &other == &entry || std::strcmp(other.domain, entry.domain) == 0;
    };
    if (find<zar_domain_entry>(zar_domain_list, same) != &entry)
      broken("zar_domain_entry", 1, "the domain '%s' is claimed twice", entry.domain);
  }
}

// Reports a node that was freed instead of visiting its children.
void check_nodes(const char *tree, const avl_node *node) {
  if (!node) return;
  if (Note *note = note_of(node)) {
    if (note->state == State::gone) broken("zar_db", 1, "'%s' holds a record that was freed", tree);
    if (note->stored) broken("zar_db", 1, "0x%x is in '%s' and also somewhere else", note->handle, tree);
    note->stored = true;
  }
  check_nodes(tree, node->left);
  check_nodes(tree, node->right);
}

void check_order(const avl_node *node, uint32_t &before) {
  if (!node) return;
  check_order(node->left, before);
  uint32_t handle = reinterpret_cast<const zar_target *>(node)->handle;
  if (handle <= before) broken("zar_db", 2, "0x%x comes after 0x%x in 'target_tree'", handle, before);
  before = handle;
  check_order(node->right, before);
}

void check_target_order(const avl_tree *tree) {
  if (!tree) return;
  uint32_t before = 0;
  check_order(tree->top.parent, before);
}

void check_tree(const char *name, const avl_tree *tree) {
  if (tree) check_nodes(name, tree->top.parent);
}

void check_databases() {
  for (uint32_t number = 0; number < database_count(); ++number) {
    const zar_db &db = database(number);
    check_tree("pmap_tree", db.pmap_tree);
    check_tree("cmap_tree", db.cmap_tree);
    check_tree("target_tree", db.target_tree);
    check_tree("pmtr_map_tree", db.pmtr_map_tree);
    check_target_order(db.target_tree);
  }
}

// ---- Rules

void check_actions(const zar_class_action &rule) {
  const Where where{"zar_class_action", 2, "actions", rule.handle};
  for_each_element<zar_action>(where, rule.actions, [&where](const zar_action &action) {
    if (Note *note = live_element(where, &action)) ++note->listings;
  });
}

void check_rules(const zar_event_tuple &event) {
  const Where where{"zar_event_tuple", 2, "class_actions", event.handle};
  const zar_class_action *before = nullptr;
  uint64_t sequence = 0;
  for_each_element<zar_class_action>(where, event.class_actions, [&](const zar_class_action &rule) {
    Note *note = live_element(where, &rule);
    if (!note) return;
    expect_only_here({"zar_class_action", 1, "class_actions", event.handle}, *note, &event.class_actions);
    if (before && before->class_num > rule.class_num)
      broken(where.record, where.number, "class number %u comes after %u in event 0x%x", rule.class_num,
             before->class_num, event.handle);
    if (before && before->class_num == rule.class_num && sequence > note->sequence)
      broken(where.record, where.number, "0x%x comes before 0x%x in event 0x%x, although it was added later",
             before->handle, rule.handle, event.handle);
    before = &rule;
    sequence = note->sequence;
  });
}

// ---- Policy-maps

void check_order_of_addition(const zar_pmap &pmap, const Note &note, uint64_t &sequence) {
  if (note.sequence < sequence)
    broken("zar_pmap", 2, "0x%x is in 'rule_list' of 0x%x after an element that was added later", note.handle,
           pmap.handle);
  sequence = note.sequence;
}

void check_events(const zar_pmap &pmap) {
  const Where where{"zar_pmap", 2, "rule_list", pmap.handle};
  uint64_t sequence = 0;
  for_each_element<zar_event_tuple>(where, pmap.rule_list, [&](const zar_event_tuple &event) {
    Note *note = live_element(where, &event);
    if (!note) return;
    expect_only_here({"zar_event_tuple", 1, "rule_list", pmap.handle}, *note, &pmap.rule_list);
    check_order_of_addition(pmap, *note, sequence);
    if (event.pmap != &pmap)
      broken("zar_event_tuple", 1, "0x%x is in 'rule_list' of 0x%x, but its 'pmap' does not point there", event.handle,
             pmap.handle);
  });
}

// An event without a context has no id.
bool same_event(const zar_event_tuple &one, const zar_event_tuple &other) {
  return one.event_context && other.event_context && one.event_context->event_id == other.event_context->event_id;
}

void check_event_ids(const zar_pmap &pmap) {
  // Policy-maps have a handful of events each: pairs are cheap.
  for (const zar_event_tuple &event : Elements<zar_event_tuple>(pmap.rule_list)) {
    const auto same = [&event](const zar_event_tuple &other) { return &other == &event || same_event(other, event); };
    if (find<zar_event_tuple>(pmap.rule_list, same) != &event)
      broken("zar_pmap", 2, "two events of 0x%x have the id %u", pmap.handle, event.event_context->event_id);
  }
}

void check_plain_rules(const zar_pmap &pmap) {
  const Where where{"zar_pmap", 2, "rule_list", pmap.handle};
  uint64_t sequence = 0;
  for_each_element<zar_class_action>(where, pmap.rule_list, [&](const zar_class_action &rule) {
    Note *note = live_element(where, &rule);
    if (!note) return;
    expect_only_here({"zar_class_action", 1, "rule_list", pmap.handle}, *note, &pmap.rule_list);
    check_order_of_addition(pmap, *note, sequence);
  });
}

void count_use(const Note &pmap, const zar_class_action &rule) {
  Note *cmap = note_of(rule.cmap);
  if (!cmap) return;
  if (cmap->state == State::gone) {
    if (pmap.lost_reference) return;
    broken("zar_class_action", 3, "the class-map of rule 0x%x in policy-map 0x%x was freed", rule.handle, pmap.handle);
  }
  if (cmap->used_by != pmap.record) {
    cmap->used_by = pmap.record;
    cmap->uses = 0;
  }
  ++cmap->uses;
}

// Calls 'visit' for each rule under the events of a CONTROL policy-map.
template <class Visit>
void for_each_use(const zar_pmap &pmap, Visit visit) {
  if (pmap.domain_type != kControl) return;
  for (const zar_event_tuple &event : Elements<zar_event_tuple>(pmap.rule_list))
    for (const zar_class_action &rule : Elements<zar_class_action>(event.class_actions))
      visit(rule);
}

// Checks that the list contains the referent only once.
void expect_listed_once(const Where &where, Note &referent, const void *list) {
  if (referent.referred_by == list)
    broken(where.record, where.number, "0x%x is listed twice in '%s' of 0x%x", referent.handle, where.list,
           where.handle);
  referent.referred_by = list;
}

void check_use_count(const Note &pmap, const Note &cmap, uint32_t ref_count) {
  uint32_t uses = cmap.used_by == pmap.record ? cmap.uses : 0;
  bool correct = ref_count == uses || (pmap.lost_reference && ref_count < uses);
  if (!correct || ref_count == 0)
    broken("zar_pmap", 3, "0x%x counts %u uses of class-map 0x%x, but there are %u", pmap.handle, ref_count,
           cmap.handle, uses);
}

void check_cmap_refs(Note &note, const zar_pmap &pmap) {
  const Where where{"zar_pmap", 3, "cmap_refs", pmap.handle};
  for_each_use(pmap, [&note](const zar_class_action &rule) { count_use(note, rule); });
  for_each_element<zar_pmap_cmap_ref>(where, pmap.cmap_refs, [&](const zar_pmap_cmap_ref &ref) {
    Note *cmap = live_element(where, ref.cmap);
    if (!cmap) return;
    expect_listed_once(where, *cmap, &pmap.cmap_refs);
    check_use_count(note, *cmap, ref.ref_count);
    if (!note.lost_reference) cmap->referrers += digest_of(&pmap, ref.cmap);
  });
  if (note.lost_reference) return;
  for_each_use(pmap, [&](const zar_class_action &rule) {
    const Note *cmap = note_of(rule.cmap);
    if (cmap && cmap->referred_by != &pmap.cmap_refs)
      broken(where.record, where.number, "0x%x does not count its uses of class-map 0x%x", pmap.handle, cmap->handle);
  });
}

void check_target_refs(const zar_pmap &pmap) {
  const Where where{"zar_pmap", 4, "target_refs", pmap.handle};
  for_each_element<zar_pmap_target_ref>(where, pmap.target_refs, [&](const zar_pmap_target_ref &ref) {
    Note *target = live_element(where, ref.target);
    if (!target) return;
    expect_listed_once(where, *target, &pmap.target_refs);
    target->referrers += digest_of(&pmap, ref.target);
  });
}

void check_pmap(Note &note, const zar_pmap &pmap) {
  expect_same_identity("zar_pmap", note, pmap);
  if (pmap.domain_type == kControl) {
    check_events(pmap);
    check_event_ids(pmap);
  } else {
    check_plain_rules(pmap);
  }
  check_target_refs(pmap);
}

// ---- Class-maps

const zar_pmap_cmap_ref *reference(const zar_pmap &pmap, const zar_cmap *cmap) {
  return find<zar_pmap_cmap_ref>(pmap.cmap_refs, [cmap](const zar_pmap_cmap_ref &ref) { return ref.cmap == cmap; });
}
const zar_cmap_pmap_ref *reference(const zar_cmap &cmap, const zar_pmap *pmap) {
  return find<zar_cmap_pmap_ref>(cmap.pmap_refs, [pmap](const zar_cmap_pmap_ref &ref) { return ref.pmap == pmap; });
}

// Reports the policy-map that uses the class-map but is missing from its list.
[[noreturn]] void report_missing_policy_map(const zar_cmap &cmap) {
  for_each_live_record<zar_pmap>([&cmap](const Note &, const zar_pmap &pmap) {
    if (reference(pmap, &cmap) && !reference(cmap, &pmap))
      broken("zar_cmap", 2, "0x%x lists class-map 0x%x in 'cmap_refs', but is missing from its 'pmap_refs'",
             pmap.handle, cmap.handle);
  });
  broken("zar_cmap", 2, "the references to 0x%x and those in its own list do not match", cmap.handle);
}

void check_pmap_refs(const Note &note, const zar_cmap &cmap) {
  const Where where{"zar_cmap", 2, "pmap_refs", cmap.handle};
  uint64_t sum = 0;
  for_each_element<zar_cmap_pmap_ref>(where, cmap.pmap_refs, [&](const zar_cmap_pmap_ref &ref) {
    Note *pmap = live_element(where, ref.pmap);
    if (!pmap) return;
    expect_listed_once(where, *pmap, &cmap.pmap_refs);
    if (!pmap->lost_reference) sum += digest_of(ref.pmap, &cmap);
    if (!reference(*ref.pmap, &cmap))
      broken(where.record, where.number, "0x%x is listed in 'pmap_refs' of 0x%x, but does not use it", pmap->handle,
             cmap.handle);
  });
  if (sum != note.referrers) report_missing_policy_map(cmap);
}

void check_filters(const zar_cmap &cmap) {
  const Where where{"zar_cmap", 3, "filters", cmap.handle};
  for_each_element<zar_filter>(where, cmap.filters,
                               [&where](const zar_filter &filter) { live_element(where, &filter); });
}

void check_cmap(Note &note, const zar_cmap &cmap) {
  expect_same_identity("zar_cmap", note, cmap);
  check_pmap_refs(note, cmap);
  check_filters(cmap);
}

// ---- Leaves

void check_event(const Note &note, const zar_event_tuple &event) {
  if (event.pmap && note.pass != pass && note_of(event.pmap))
    broken("zar_event_tuple", 1, "0x%x refers to a policy-map, but is missing from its 'rule_list'", event.handle);
}

void check_action(const Note &note, const zar_action &action) {
  if (action.ref_count == 0 || action.ref_count < note.listings)
    broken("zar_action", 1, "0x%x counts %u references and is in %u lists", action.handle, action.ref_count,
           note.listings);
  if (!action.action_free_fn || !action.action_entry_fn || !action.action_str_fn || !action.action_compare_fn)
    broken("zar_action", 2, "a required function of 0x%x is missing", action.handle);
}

void check_filter(const zar_filter &filter) {
  if (!filter.filter_free_fn || !filter.filter_eval_fn || !filter.filter_str_fn || !filter.filter_compare_fn)
    broken("zar_filter", 1, "a function of 0x%x is missing", filter.handle);
}

// ---- Targets

const zar_pmap_target_ref *reference(const zar_pmap &pmap, const zar_target *target) {
  return find<zar_pmap_target_ref>(pmap.target_refs,
                                   [target](const zar_pmap_target_ref &ref) { return ref.target == target; });
}
const zar_target_pmap *reference(const zar_target &target, const zar_pmap *pmap) {
  return find<zar_target_pmap>(target.active_pmaps, [pmap](const zar_target_pmap &ref) { return ref.pmap == pmap; });
}

// Reports the policy-map that only one of the two lists as active on the target.
[[noreturn]] void report_one_sided_activation(const zar_target &target) {
  for_each_live_record<zar_pmap>([&target](const Note &, const zar_pmap &pmap) {
    if (reference(pmap, &target) && !reference(target, &pmap))
      broken("zar_target", 2, "0x%x lists target 0x%x in 'target_refs', but is missing from its 'active_pmaps'",
             pmap.handle, target.handle);
    if (!reference(pmap, &target) && reference(target, &pmap))
      broken("zar_target", 2, "0x%x is listed in 'active_pmaps' of 0x%x, but does not list it in 'target_refs'",
             pmap.handle, target.handle);
  });
  broken("zar_target", 2, "the references to 0x%x and those in its own list do not match", target.handle);
}

void check_target(const Note &note, const zar_target &target) {
  if (target.handle != note.handle)
    broken("zar_target", 1, "the key of 0x%x has changed to 0x%x", note.handle, target.handle);
  const Where where{"zar_target", 2, "active_pmaps", target.handle};
  uint64_t sum = 0;
  for_each_element<zar_target_pmap>(where, target.active_pmaps, [&](const zar_target_pmap &active) {
    Note *pmap = live_element(where, active.pmap);
    if (!pmap) return;
    expect_listed_once(where, *pmap, &target.active_pmaps);
    sum += digest_of(active.pmap, &target);
  });
  if (sum != note.referrers) report_one_sided_activation(target);
  if (target.reserved_queue.count != 0) broken("zar_target", 3, "'reserved_queue' of 0x%x is not empty", target.handle);
}

// ---- Parameter-maps

void check_statement_actions(const zar_pmtr_map &map, const zar_pmtr_map_stmt &statement) {
  const Where where{"zar_pmtr_map_stmt", 1, "action_queue", map.handle};
  const zar_action *before = nullptr;
  for_each_element<zar_action>(where, statement.action_queue, [&](const zar_action &action) {
    if (Note *note = live_element(where, &action)) ++note->listings;
    if (before && before->action_num > action.action_num)
      broken(where.record, where.number, "action number %u comes after %u in statement %u of 0x%x", action.action_num,
             before->action_num, statement.map_index, map.handle);
    before = &action;
  });
}

void check_pmtr_map(Note &note, const zar_pmtr_map &map) {
  expect_same_identity("zar_pmtr_map", note, map);
  const Where where{"zar_pmtr_map", 2, "stmt_queue", map.handle};
  const zar_pmtr_map_stmt *before = nullptr;
  for_each_element<zar_pmtr_map_stmt>(where, map.stmt_queue, [&](const zar_pmtr_map_stmt &statement) {
    if (before && before->map_index > statement.map_index)
      broken(where.record, where.number, "map-index %u comes after %u in 0x%x", statement.map_index, before->map_index,
             map.handle);
    before = &statement;
    check_statement_actions(map, statement);
  });
}

// ---- A pass

void begin_pass(bool every_call) {
  ++pass;
  for_each_live([every_call](Note &note) {
    // An element that left its list, or may have left it and come back, counts as new.
    if (note.pass + 1 != pass || !every_call) note.list = nullptr;
    note.listings = note.uses = 0;
    note.used_by = note.referred_by = nullptr;
    note.referrers = 0;
    note.stored = false;
  });
}

// Checks records that hold others first: the checks of the records that they hold need the marks.
void check_holders() {
  for_each_live([](Note &note) {
    if (note.kind == Kind::pmap) check_pmap(note, record_of<zar_pmap>(note));
    if (note.kind == Kind::event_tuple) check_rules(record_of<zar_event_tuple>(note));
    if (note.kind == Kind::class_action) check_actions(record_of<zar_class_action>(note));
    if (note.kind == Kind::pmtr_map) check_pmtr_map(note, record_of<zar_pmtr_map>(note));
    if (note.kind == Kind::filter) check_filter(record_of<zar_filter>(note));
  });
  for_each_live_record<zar_pmap>([](Note &note, const zar_pmap &pmap) { check_cmap_refs(note, pmap); });
}

void check_held() {
  for_each_live([](Note &note) {
    if (note.kind == Kind::cmap) check_cmap(note, record_of<zar_cmap>(note));
    if (note.kind == Kind::target) check_target(note, record_of<zar_target>(note));
    if (note.kind == Kind::event_tuple) check_event(note, record_of<zar_event_tuple>(note));
    if (note.kind == Kind::action) check_action(note, record_of<zar_action>(note));
  });
}

}  // namespace

void check_invariants(bool every_call) {
  begin_pass(every_call);
  check_clients();
  check_domains();
  check_databases();
  check_holders();
  check_held();
}

}  // namespace zar::debug
