// The keyed trees: comparators, the tree operations, and the callbacks of the trees.
//
// Every operation is one template over a description of its tree: which tree of a database it is, the type of its
// records, how messages identify a record, and the texts. Differences between the texts are intentional: parameter-map
// records report some failures in the words of class-maps, and one message omits an argument that its siblings pass.
#include "core/trees.h"

#include <endian.h>

#include <algorithm>
#include <cstring>

#include "core/kinds.h"
#include "core/maps.h"
#include "core/status.h"
#include "core/trace.h"
#include "core/tree.h"
#include "zar/core.h"
#include "zar/lifecycle.h"

using namespace zar;

namespace {

// ---- Comparators

constexpr uint32_t kBefore = 0, kEqual = 1, kAfter = 2;

const char *text_or_empty(const char *text) {
  return text ? text : "";
}

// Sixteen characters as a number that orders as they do.
__extension__ using Block = unsigned __int128;
constexpr size_t kBlock = sizeof(Block);

uint64_t word_at(const char *text) {
  uint64_t word = 0;
  std::memcpy(&word, text, sizeof word);
  return be64toh(word);
}

Block block_at(const char *text) {
  return static_cast<Block>(word_at(text)) << 64 | word_at(text + sizeof(uint64_t));
}

// Without a branch, since a descent goes left and right at random.
template <class Value>
uint32_t order_of(Value nascent, Value tree) {
  return kEqual + (nascent > tree) - (nascent < tree);
}

// Over 'length' characters, which both keys have: this makes reading whole blocks safe. The last block overlaps the
// previous one if it would otherwise reach too far.
uint32_t compare_blocks(const char *nascent, const char *tree, size_t length) {
  if (length < kBlock) return order_of(std::memcmp(nascent, tree, length), 0);
  for (size_t at = 0;; at = std::min(at + kBlock, length - kBlock)) {
    Block nascent_block = block_at(nascent + at), tree_block = block_at(tree + at);
    if (nascent_block != tree_block) [[likely]]
      return nascent_block < tree_block ? kBefore : kAfter;
    if (at + kBlock >= length) return kEqual;
  }
}

// Over the length of the shorter key: two keys are equal if one begins with the other.
uint32_t compare_common_length(const char *nascent, const char *tree) {
  return compare_blocks(nascent, tree, std::min(std::strlen(nascent), std::strlen(tree)));
}

// Over the length of the key in the tree: a probe key that begins with it equals it, one that is shorter sorts before
// it.
uint32_t compare_tree_length(const char *nascent, const char *tree) {
  size_t nascent_length = std::strlen(nascent), tree_length = std::strlen(tree);
  uint32_t order = compare_blocks(nascent, tree, std::min(nascent_length, tree_length));
  return order == kEqual && nascent_length < tree_length ? kBefore : order;
}

template <KeyRule rule>
uint32_t compare_texts(const char *nascent, const char *tree) {
  if constexpr (rule == KeyRule::common_length) return compare_common_length(nascent, tree);
  return compare_tree_length(nascent, tree);
}

// Kept out of the comparisons, which are almost never traced. The level was already tested for the first message.
template <class Tree>
[[gnu::noinline, gnu::cold]] void trace_keys(const typename Tree::Record *nascent, const typename Tree::Record *tree) {
  SEND_INFO(Tree::kCompare, address(nascent), address(tree));
  if (nascent && tree) TRACE_INFO(Tree::kCompareKeys, or_null(nascent->hash_str), or_null(tree->hash_str));
}

// Each comparison of two records has two messages. If it is not traced, only the level of the first one is tested.
template <class Tree>
uint32_t compare_keys(const void *nascent_node, const void *tree_node) {
  const auto *nascent = tree::record_of<typename Tree::Record>(nascent_node);
  const auto *tree = tree::record_of<typename Tree::Record>(tree_node);
  if (traced(kTraceInfo)) [[unlikely]]
    trace_keys<Tree>(nascent, tree);
  if (nascent && tree) [[likely]]
    return compare_texts<Tree::kKeys>(text_or_empty(nascent->hash_str), text_or_empty(tree->hash_str));
  return !nascent && tree ? kBefore : kAfter;
}

[[gnu::noinline, gnu::cold]] void trace_targets(const zar_target *nascent, const zar_target *tree) {
  SEND_INFO("(info): Target avl comp, nas:0x%p, tree:0x%p", address(nascent), address(tree));
  if (!nascent || !tree) return;
  TRACE_INFO("(info): Target avl comp, nas val:0x%x, tree val:0x%x", nascent->handle, tree->handle);
  if (nascent->handle == tree->handle) TRACE_INFO("(info): Target avl comp, values matched");
}

// ---- The differences between the trees

// The target tree has two names, so that a trace shows whose database was meant.
struct TargetTree {
  using Record = zar_target;
  static avl_tree *of(const zar_db &database) { return database.target_tree; }
  static uint32_t key(const Record &record) { return record.handle; }
  static constexpr bool kDeleteErrorTellsPlace = true;
  static constexpr char kRemoveError[] = "(ERR): Target avl: remove tree error, database ptr cannot be NULL";
};

struct ClientTargetTree : TargetTree {
  static constexpr char kInsertFailed[] = "(ERR): Target avl: insert failed, target hdl:0x%x";
  static constexpr char kInsertError[] = "(ERR): Target avl: insert error, target_ptr:0x%p, db:0x%p";
  static constexpr char kSearchFailed[] = "(ERR): Target avl: search (client db) failed, zar target hdl:0x%x";
  static constexpr char kSearchError[] =
      "(ERR): Target avl: search (client db) error, target_ptr:0x%p, db:0x%p, result:0x%p";
  static constexpr char kDeleteFailed[] = "(ERR): Target avl: delete (client db) failed, zar target hdl:0x%x";
  static constexpr char kDeleteError[] =
      "(ERR): Target avl: delete (client db) error, target_ptr:0x%p, db:0x%p, result:0x%p";
};

struct DefaultTargetTree : TargetTree {
  static constexpr char kInsertFailed[] = "(ERR): Target avl: insert (default db) failed, target hdl:0x%x";
  static constexpr char kInsertError[] = "(ERR): Target avl: insert (default db)error, target_ptr:0x%p, db:0x%p";
  static constexpr char kSearchFailed[] = "(ERR): Target avl: search (default db) failed, target hdl:0x%x";
  static constexpr char kSearchError[] =
      "(ERR): Target avl: search (default db) error, target_ptr:0x%p, db:0x%p, result:0x%p";
  static constexpr char kDeleteFailed[] = "(ERR): Target avl: delete (default db) failed, zar target hdl:0x%x";
  static constexpr char kDeleteError[] =
      "(ERR): Target avl: delete (default db) error, target_ptr:0x%p, db:0x%p, result:0x%p";
};

// ---- The operations

// The tree in question, or NULL if there is no database or it lacks the tree.
template <class Tree>
avl_tree *tree_of(const zar_db *database) {
  return database ? Tree::of(*database) : nullptr;
}

template <class Tree, class Record>
uint32_t insert(zar_db *database, Record *record) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree || !record) {
    TRACE_ERROR(Tree::kInsertError, address(record), address(database));
    return kNo;
  }
  // A record that is about to be freed must not be found again.
  const bool stays = kinds::of(record->handle) != Kind::ending && !is_ending(record);
  if (stays && tree::insert(*tree, record)) return kYes;
  TRACE_ERROR(Tree::kInsertFailed, Tree::key(*record));
  return kNo;
}

// Succeeds whether or not there is such a map; the out place shows which.
template <class Tree, class Record>
uint32_t search_map(zar_db *database, Record *probe, Record **found_out) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree || !probe) {
    TRACE_ERROR(Tree::kSearchError, address(probe), address(database));
    return kNo;
  }
  *found_out = tree::find(*tree, probe);
  return kYes;
}

// Fails if there is no such target.
template <class Tree>
uint32_t search_target(zar_db *database, zar_target *probe, zar_target **found_out) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree || !probe || !found_out) {
    TRACE_ERROR(Tree::kSearchError, address(probe), address(database), address(found_out));
    return kNo;
  }
  *found_out = tree::find(*tree, probe);
  if (*found_out) return kYes;
  TRACE_ERROR(Tree::kSearchFailed, Tree::key(*probe));
  return kNo;
}

template <class Tree, class Record>
uint32_t remove(zar_db *database, Record *record, Record **removed_out) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree || !record || !removed_out) {
    if constexpr (Tree::kDeleteErrorTellsPlace) {
      TRACE_ERROR(Tree::kDeleteError, address(record), address(database), address(removed_out));
    } else {
      TRACE_ERROR(Tree::kDeleteError, address(record), address(database));
    }
    return kNo;
  }
  if (tree::remove(*tree, record, removed_out)) return kYes;
  TRACE_ERROR(Tree::kDeleteFailed, Tree::key(*record));
  return kNo;
}

template <class Tree, class Record>
uint32_t get_first(zar_db *database, Record **first_out) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree || !first_out) {
    TRACE_ERROR(Tree::kFirstError, address(first_out), address(database));
    return kNo;
  }
  tree::first(*tree, first_out);
  if (!*first_out) TRACE_INFO(Tree::kNoFirst);
  return kYes;
}

template <class Tree, class Record>
uint32_t get_next(zar_db *database, Record *current, Record **next_out) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree || !current || !next_out) {
    TRACE_ERROR(Tree::kNextError, address(current), address(database), address(next_out));
    return kNo;
  }
  tree::after(*tree, current, next_out);
  if (!*next_out) TRACE_INFO(Tree::kNoNext);
  return kYes;
}

template <class Tree>
uint32_t remove_all(zar_db *database) {
  avl_tree *tree = tree_of<Tree>(database);
  if (!tree) {
    TRACE_ERROR(Tree::kRemoveError);
    return kNo;
  }
  tree::empty(*tree);
  return kYes;
}

// A key compares equal to those that begin with it, so a search may meet another record first; only a walk can then
// show whether this record is there.
template <class Record>
bool contains(avl_tree &tree, const Record *record) {
  if (tree::find(tree, record) == record) [[likely]]
    return true;
  Record *other = nullptr;
  for (tree::first(tree, &other); other; tree::after(tree, other, &other))
    if (other == record) return true;
  return false;
}

template <class Tree, class Record>
bool remove_very(zar_db *database, Record *record) {
  avl_tree *tree = tree_of<Tree>(database);
  if (tree && !contains(*tree, record)) {
    TRACE_ERROR(Tree::kDeleteFailed, Tree::key(*record));
    return false;
  }
  Record *removed = nullptr;
  return remove<Tree>(database, record, &removed) != kNo;
}

// A map may exist outside a tree: emptying the tree frees no map.
template <class Tree>
void leave_alone(const void *node) {
  if (!node) TRACE_ERROR(Tree::kFreeNull);
}

}  // namespace

bool zar::remove_itself(zar_db *database, zar_pmap *record) {
  return remove_very<PolicyMaps::Tree>(database, record);
}

bool zar::remove_itself(zar_db *database, zar_cmap *record) {
  return remove_very<ClassMaps::Tree>(database, record);
}

bool zar::remove_itself(zar_db *database, zar_pmtr_map *record) {
  return remove_very<ParameterMaps::Tree>(database, record);
}

uint32_t zar_pmap_compare_string(const void *nascent, const void *tree) {
  return compare_keys<PolicyMaps::Tree>(nascent, tree);
}

uint32_t zar_cmap_compare_string(const void *nascent, const void *tree) {
  return compare_keys<ClassMaps::Tree>(nascent, tree);
}

uint32_t zar_pmtr_map_compare_string(const void *nascent, const void *tree) {
  return compare_keys<ParameterMaps::Tree>(nascent, tree);
}

uint32_t zar_target_compare_int(const void *nascent_node, const void *tree_node) {
  const auto *nascent = tree::record_of<zar_target>(nascent_node);
  const auto *tree = tree::record_of<zar_target>(tree_node);
  if (traced(kTraceInfo)) [[unlikely]]
    trace_targets(nascent, tree);
  if (!nascent || !tree) {
    TRACE_ERROR("(ERR): TARGET avl comp int: null nodes, nascent:0x%p, tree:0x%p", nascent_node, tree_node);
    return kAfter;
  }
  return order_of(nascent->handle, tree->handle);
}

uint32_t zar_avl_insert_pmap(zar_db *database, zar_pmap *record) {
  return insert<PolicyMaps::Tree>(database, record);
}

uint32_t zar_avl_insert_cmap(zar_db *database, zar_cmap *record) {
  return insert<ClassMaps::Tree>(database, record);
}

uint32_t zar_avl_insert_pmtr_map(zar_db *database, zar_pmtr_map *record) {
  return insert<ParameterMaps::Tree>(database, record);
}

uint32_t zar_avl_search_pmap(zar_db *database, zar_pmap *probe, zar_pmap **found_out) {
  return search_map<PolicyMaps::Tree>(database, probe, found_out);
}

uint32_t zar_avl_search_cmap(zar_db *database, zar_cmap *probe, zar_cmap **found_out) {
  return search_map<ClassMaps::Tree>(database, probe, found_out);
}

uint32_t zar_avl_search_pmtr_map(zar_db *database, zar_pmtr_map *probe, zar_pmtr_map **found_out) {
  return search_map<ParameterMaps::Tree>(database, probe, found_out);
}

uint32_t zar_avl_delete_pmap(zar_db *database, zar_pmap *record, zar_pmap **removed_out) {
  return remove<PolicyMaps::Tree>(database, record, removed_out);
}

uint32_t zar_avl_delete_cmap(zar_db *database, zar_cmap *record, zar_cmap **removed_out) {
  return remove<ClassMaps::Tree>(database, record, removed_out);
}

uint32_t zar_avl_delete_pmtr_map(zar_db *database, zar_pmtr_map *record, zar_pmtr_map **removed_out) {
  return remove<ParameterMaps::Tree>(database, record, removed_out);
}

uint32_t zar_avl_get_first_pmap(zar_db *database, zar_pmap **first_out) {
  return get_first<PolicyMaps::Tree>(database, first_out);
}

uint32_t zar_avl_get_first_cmap(zar_db *database, zar_cmap **first_out) {
  return get_first<ClassMaps::Tree>(database, first_out);
}

uint32_t zar_avl_get_first_pmtr_map(zar_db *database, zar_pmtr_map **first_out) {
  return get_first<ParameterMaps::Tree>(database, first_out);
}

uint32_t zar_avl_get_next_pmap(zar_db *database, zar_pmap *current, zar_pmap **next_out) {
  return get_next<PolicyMaps::Tree>(database, current, next_out);
}

uint32_t zar_avl_get_next_cmap(zar_db *database, zar_cmap *current, zar_cmap **next_out) {
  return get_next<ClassMaps::Tree>(database, current, next_out);
}

uint32_t zar_avl_get_next_pmtr_map(zar_db *database, zar_pmtr_map *current, zar_pmtr_map **next_out) {
  return get_next<ParameterMaps::Tree>(database, current, next_out);
}

uint32_t zar_avl_insert_target_client_db(zar_db *database, zar_target *target) {
  return insert<ClientTargetTree>(database, target);
}

uint32_t zar_avl_insert_target_default_db(zar_db *database, zar_target *target) {
  return insert<DefaultTargetTree>(database, target);
}

uint32_t zar_avl_search_target_client_db(zar_db *database, zar_target *probe, zar_target **found_out) {
  return search_target<ClientTargetTree>(database, probe, found_out);
}

uint32_t zar_avl_search_target_default_db(zar_db *database, zar_target *probe, zar_target **found_out) {
  return search_target<DefaultTargetTree>(database, probe, found_out);
}

uint32_t zar_avl_delete_target_client_db(zar_db *database, zar_target *target, zar_target **removed_out) {
  return remove<ClientTargetTree>(database, target, removed_out);
}

uint32_t zar_avl_delete_target_default_db(zar_db *database, zar_target *target, zar_target **removed_out) {
  return remove<DefaultTargetTree>(database, target, removed_out);
}

uint32_t zar_avl_remove_pmap(zar_db *database) {
  return remove_all<PolicyMaps::Tree>(database);
}

uint32_t zar_avl_remove_cmap(zar_db *database) {
  return remove_all<ClassMaps::Tree>(database);
}

uint32_t zar_avl_remove_pmtr_map(zar_db *database) {
  return remove_all<ParameterMaps::Tree>(database);
}

uint32_t zar_avl_remove_target(zar_db *database) {
  return remove_all<TargetTree>(database);
}

void zar_avl_free_pmap(void *node) {
  leave_alone<PolicyMaps::Tree>(node);
}

void zar_avl_free_cmap(void *node) {
  leave_alone<ClassMaps::Tree>(node);
}

void zar_avl_free_pmtr_map(void *node) {
  leave_alone<ParameterMaps::Tree>(node);
}

void zar_avl_free_target(void *node) {
  if (!node) {
    TRACE_ERROR("(ERR): Target avl: Received NULL in free target");
    return;
  }
  if (zar_delete_target(tree::record_of<zar_target>(node)->handle) != kSuccess)
    TRACE_ERROR("(ERR): Target avl: delete target:0x%p failed", address(node));
}
